#include "objects/ClassObjectAssociations.h"

namespace tw {

TKovObjectClassRegistry& TKovObjectClassRegistry::Instance() {
    static TKovObjectClassRegistry instance;
    return instance;
}

} // namespace tw
