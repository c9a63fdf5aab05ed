#include "MaterialTestSupport.h"

#include <iostream>

using namespace tw;
using namespace tw::testing;

static ::testing::Environment* const Environment =
    ::testing::AddGlobalTestEnvironment(new TMaterialEnvironment);

TEST(Smoke, CreatesMohrCoulombAndHardeningSoil) {
    auto mc = MakeSoil(mxsmmMohrCoulomb);
    for (auto& [name, value] : AllUserValues(*mc))
        std::cout << name << " = " << value << "\n";
    auto hs = MakeSoil(mxsmmHardeningSoil);
    EXPECT_EQ(hs->GetSoilModel(), mxsmmHardeningSoil);
}
