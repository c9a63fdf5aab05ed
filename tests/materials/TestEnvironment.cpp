#include "MaterialTestSupport.h"

static ::testing::Environment* const Environment =
    ::testing::AddGlobalTestEnvironment(new tw::testing::TMaterialEnvironment);
