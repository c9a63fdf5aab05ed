#pragma once
// The constitutive models of the kernel: a stress update of one stress point for one strain
// increment, with the consistent tangent of that update.

#include "KernelTypes.h"

namespace tw::kernel {

class TSoilModel {
public:
    virtual ~TSoilModel() = default;

    // The effective stress at the end of a strain increment, from the stress at its start. When
    // tangent is given it receives d(newStress)/d(strainIncrement). Returns false when the model
    // finds no stress; the caller then takes a smaller increment.
    virtual bool Update(const Vec6& stress, const Vec6& strainIncrement, Vec6& newStress,
                        Mat6* tangent) const = 0;

    // The value of the yield function at a stress: at most zero inside the elastic domain, in
    // stress units; models without yield surface answer a negative number.
    virtual double YieldValue(const Vec6& stress) const = 0;

    virtual const Mat6& Elastic() const = 0;
    virtual double ShearModulus() const = 0;
    virtual double PoissonRatio() const = 0;
};

class TLinearElastic final : public TSoilModel {
public:
    TLinearElastic(double g, double nu);

    bool Update(const Vec6& stress, const Vec6& strainIncrement, Vec6& newStress,
                Mat6* tangent) const override;
    double YieldValue(const Vec6&) const override { return -1.0; }
    const Mat6& Elastic() const override { return FElastic; }
    double ShearModulus() const override { return FG; }
    double PoissonRatio() const override { return FNu; }

private:
    double FG;
    double FNu;
    Mat6 FElastic;
};

} // namespace tw::kernel
