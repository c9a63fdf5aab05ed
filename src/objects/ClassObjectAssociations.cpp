#include "objects/ClassObjectAssociations.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

namespace tw {

TKovObjectClassRegistry& TKovObjectClassRegistry::Instance() {
    static TKovObjectClassRegistry instance;
    return instance;
}

} // namespace tw
