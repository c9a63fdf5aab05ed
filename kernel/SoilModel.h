#pragma once
// The constitutive models of the kernel: a stress update of one stress point for one strain
// increment over one time increment, with the tangent of that update.

#include "KernelTypes.h"

#include <array>

namespace tw::kernel {

// The internal variables of a model at one stress point (hardening parameters, strain history);
// each model gives the places their meaning, and a model without any leaves them 0.
constexpr int HistorySize = 16;
using THistory = std::array<double, HistorySize>;

// What a model updates: the effective stress and its internal variables.
struct TModelPoint {
    Vec6 Stress = Vec6::Zero();
    THistory History{};
};

class TSoilModel {
public:
    virtual ~TSoilModel() = default;

    // Sets the internal variables of a sample that starts at point.Stress: the hardening that its
    // history (preconsolidation) left. Models without internal variables leave them 0.
    virtual void Initialise(TModelPoint& point) const { point.History.fill(0.0); }

    // The point at the end of a strain increment over a time increment (in the time unit of the
    // file), from the point at its start. When tangent is given it receives
    // d(stress)/d(strainIncrement). Returns false when the model finds no state; the caller then
    // takes a smaller increment, and fault, when given, receives why (a static text).
    virtual bool Integrate(const TModelPoint& start, const Vec6& strainIncrement,
                           double timeIncrement, TModelPoint& end, Mat6* tangent,
                           const char** fault = nullptr) const = 0;

    // The value of the failure criterion at a stress: at most zero where the material can carry
    // it, in stress units; models without one answer a negative number.
    virtual double YieldValue(const Vec6& stress) const = 0;
    // A stress scale of the material's strength (cohesion, tensile strength) for the tolerance of
    // that check.
    virtual double StrengthScale() const { return 0.0; }

    // The elastic stiffness at a point: the first guess of an increment's iteration.
    virtual Mat6 ElasticTangent(const TModelPoint& point) const = 0;
    // A shear modulus representative of the material, in stress units, for tolerances.
    virtual double ShearModulus() const = 0;
    // How closely the update follows the model, relative to the stress: iterations on the
    // stress cannot ask for more.
    virtual double Accuracy() const { return 1e-12; }
    // Whether time changes the response (creep): then the time of a phase matters.
    virtual bool IsTimeDependent() const { return false; }
    // Why the model cannot start from this effective stress (a static text), or nullptr.
    virtual const char* InitialStateFault(const Vec6&) const { return nullptr; }
    // Bounds the work of one update (for models that subdivide it): an update that needs more
    // substeps fails.
    virtual void LimitSubsteps(int) {}
};

// A model whose plastic volume hardens a cap: the preconsolidation of the sample sets where the
// cap starts.
class ICapModel {
public:
    virtual ~ICapModel() = default;
    // The isotropic pressure at which the cap through this effective stress cuts the p axis
    // (positive in compression).
    virtual double CapPressure(const Vec6& stress) const = 0;
    // The cap of the sample's preconsolidation, the same measure; the sample's own stress may
    // push it further.
    void SetPreconsolidation(double capPressure) { FPreconsolidation = capPressure; }
    double Preconsolidation() const { return FPreconsolidation; }
    // K0nc of the model: the stress ratio of one-dimensional primary loading.
    virtual double K0nc() const = 0;

private:
    double FPreconsolidation = 0.0;
};

class TLinearElastic final : public TSoilModel {
public:
    TLinearElastic(double g, double nu);

    bool Integrate(const TModelPoint& start, const Vec6& strainIncrement, double timeIncrement,
                   TModelPoint& end, Mat6* tangent, const char** fault) const override;
    double YieldValue(const Vec6&) const override { return -1.0; }
    Mat6 ElasticTangent(const TModelPoint&) const override { return FElastic; }
    double ShearModulus() const override { return FG; }

private:
    double FG;
    Mat6 FElastic;
};

} // namespace tw::kernel
