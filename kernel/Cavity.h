#pragma once
// The pressuremeter test: a cylindrical cavity of radius R0 in plane strain, expanded by the
// radial displacement u of its wall, solved as a radial boundary value problem. The soil from
// R0 outwards is a column of axisymmetric elements, each with its own stress point running the
// soil model: radial strain du/dr in the model's xx, hoop strain u/r in zz, vertical strain 0 in
// yy. The elements grow geometrically outwards to 100 R0, where the soil beyond is taken as
// elastic with the shear modulus of the initial state: its radial stress there follows
// sigma_r = sigma_r0 - 2 G u / r, the exact response of an elastic exterior (so the boundary
// does not change the result). The elements have linear displacement and one integration point
// (at mid-radius), which keeps them free of locking when the soil flows at constant volume.
//
// The rows describe the cavity wall, as the lab reads them: xx and zz strain u / R0 (so that the
// volumetric strain is 2 u / R0, the small-strain volume change of the cavity), yy strain 0, xx
// stress the cavity pressure as the reaction of the wall (effective: total less the pore
// pressure next to the wall), yy and zz the vertical and hoop stresses next to the wall.

#include "ElementTest.h"

#include <vector>

namespace tw::kernel {

class TCavityTest {
public:
    static constexpr int DefaultElements = 100;
    static constexpr double OuterRadiusRatio = 100.0;

    TCavityTest(const TSoilModel& model, const TPoreFluid& fluid, const TIterationControl& control,
                double innerRadius, int elements = DefaultElements);

    // One row of the wall per step.
    struct TWall {
        double Time = 0.0;
        double Displacement = 0.0;  // u of the wall, length unit
        Vec6 Stress = Vec6::Zero(); // effective: xx the cavity pressure, yy vertical, zz hoop
        double PExcess = 0.0;
    };
    using TStepSink = std::function<void(const TWall&)>;

    // Starts every element at the initial effective stress (and its model's history), and
    // describes that state.
    TWall Start(const Vec6& initialStress);
    TElementTest::TOutcome Run(const std::vector<TPhaseInput>& phases, const TStepSink& onStep);

private:
    struct TElement {
        double Inner, Outer, Middle, Weight; // radii, and the volume per radian
        TStressPointState State;
        Mat6 Tangent; // total stress tangent of the last converged increment
    };
    // Strains of an element for the nodal displacements a (inner) and b (outer).
    Vec6 Strain(const TElement& e, double a, double b) const;
    bool SolveIncrement(double wallIncrement, double timeIncrement);
    TWall Wall() const;

    const TSoilModel& FModel;
    TPoreFluid FFluid;
    TIterationControl FControl;
    double FInnerRadius;
    std::vector<double> FRadius;       // nodes
    std::vector<double> FDisplacement; // u of the nodes, converged
    std::vector<TElement> FElements;
    std::vector<double> FExternal; // nodal forces that hold the initial stresses
    double FFarField = 0.0;        // shear modulus of the soil beyond the last node
    double FTime = 0.0;
    const char* FFault = nullptr;
    TElementTest::TOutcome FOutcome;
};

} // namespace tw::kernel
