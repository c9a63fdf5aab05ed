#include "commands/KovGroup.h"

namespace tw {

TW_KOV_CLASS_IMPL(TKovGroup, TKovReferenceList, nullptr)

} // namespace tw
