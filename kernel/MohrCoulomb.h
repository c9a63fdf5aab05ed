#pragma once
// Linear elastic, perfectly plastic Mohr-Coulomb soil with a non-associated flow rule and an
// optional tension cut-off. The stress is returned exactly in principal stress space, onto the
// planes, edges and apexes of the yield surface, without smoothing.

#include "SoilModel.h"

#include <array>
#include <vector>

namespace tw::kernel {

struct TMohrCoulombParameters {
    double G = 0.0;        // shear modulus, pressure unit
    double Nu = 0.0;       // Poisson's ratio
    double Cohesion = 0.0; // pressure unit
    double SinPhi = 0.0;   // sine of the friction angle
    double SinPsi = 0.0;   // sine of the dilatancy angle
    bool TensionCutOff = false;
    double TensileStrength = 0.0; // pressure unit, at least 0
};

class TMohrCoulomb final : public TSoilModel {
public:
    explicit TMohrCoulomb(const TMohrCoulombParameters& parameters);

    // The stress update itself: the model has no internal variables and no time.
    bool Update(const Vec6& stress, const Vec6& strainIncrement, Vec6& newStress,
                Mat6* tangent) const;
    const Mat6& Elastic() const { return FElastic; }

    bool Integrate(const TModelPoint& start, const Vec6& strainIncrement, double timeIncrement,
                   TModelPoint& end, Mat6* tangent, const char** fault) const override;
    double YieldValue(const Vec6& stress) const override;
    double StrengthScale() const override { return FStrengthScale; }
    Mat6 ElasticTangent(const TModelPoint&) const override { return FElastic; }
    double ShearModulus() const override { return FParameters.G; }

    // The return of a trial stress given by its principal values sorted from the most tensile
    // (x(0)) to the most compressive (x(2)). On success, stress holds the returned principal
    // values in the same order, tangent d(stress)/d(x), and feature names what the stress was
    // returned to ("elastic" when it was not).
    struct TPrincipalReturn {
        Vec3 Stress;
        Mat3 Tangent;
        const char* Feature = "elastic";
    };
    bool ReturnPrincipal(const Vec3& x, TPrincipalReturn& result) const;

    // Whether the tension cut-off takes part: it is on, and the tensile strength lies below the
    // apex of the Mohr-Coulomb cone (otherwise the cone cuts off more than it would).
    bool TensionActive() const { return FTensionActive; }

private:
    // The yield planes in sorted principal space (x0 >= x1 >= x2): f = a.x - k, flow direction b.
    // 0: the Mohr-Coulomb plane of x0 and x2; 1: that of x1 and x2, which meets plane 0 on the
    // compression meridian x0 = x1; 2: that of x0 and x1, which meets it on the extension meridian
    // x1 = x2; 3, 4, 5: the tension cut-off planes of x0, x1, x2.
    enum { PlaneCount = 6 };
    std::array<Vec3, PlaneCount> FA;
    std::array<Vec3, PlaneCount> FB;
    std::array<double, PlaneCount> FK;

    // One combination of active planes, with everything that does not depend on the trial stress
    // worked out beforehand: multipliers = Multipliers * x - MultiplierOffset, and the returned
    // stress = Projection * x + Offset.
    struct TActiveSet {
        int Count = 0;
        std::array<int, 3> Planes{};
        Mat3 Multipliers = Mat3::Zero();
        Vec3 MultiplierOffset = Vec3::Zero();
        Vec3 Weights = Vec3::Ones(); // a.D.b of each active plane: a multiplier in stress units
        Mat3 Projection = Mat3::Identity();
        Vec3 Offset = Vec3::Zero();
        const char* Feature = "";
    };
    void AddActiveSet(std::initializer_list<int> planes, const char* feature);
    double MaxYield(const Vec3& x) const;

    TMohrCoulombParameters FParameters;
    Mat6 FElastic;
    Mat3 FElasticPrincipal;
    bool FTensionActive = false;
    bool FApexReturn = false; // trials that no face or edge returns go to the apex
    double FApex = 0.0;
    double FStrengthScale = 0.0;
    std::vector<TActiveSet> FActiveSets;
};

} // namespace tw::kernel
