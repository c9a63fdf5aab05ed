#pragma once
// The pressuremeter test (2D, axisymmetric only): a borehole of inner radius R0 is expanded by a
// radial displacement. The displacement stands in the first phase's xx strain increment as
// u = radial strain * R0; the test is drained and has neither suction nor temperature.

#include "labtest/QBTestBase.h"
#include "labtest/QBTestHelper.h"

namespace tw {

class TQBTestPressuremeter : public TQBTestWithConsolidation, public ITestWithInitialStress {
    TW_KOV_CLASS(TQBTestPressuremeter, TQBTestWithConsolidation)
public:
    using TQBTestWithConsolidation::TQBTestWithConsolidation;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttPressuremeter; }

    // |effective yy| in pascal ("AbsSigyyEinit"); setting it sets yy to minus the value and the
    // horizontal stresses to K0 times it.
    double InitialStressValue() const override;
    void SetInitialStressValue(double pascal) override;
    double Duration() const;
    int NumSteps() const;
    // |xx increment of the first phase| / R0, in percent.
    double MaxRadialStrain() const;
    void SetMaxRadialStrain(double percent);
    // In metres.
    double InnerRadius() const;
    // The first phase's xx increment := |radial strain| * R0.
    void SetDisplacementIncrement(double radialStrain);

    bool CanHaveSuctionEnabled() const override { return false; }
    bool CanHaveThermalEnabled() const override { return false; }
    std::string ToString() const override;

protected:
    void AddDefaultChartSettings() override;
    void SetDefaultValues(bool clearResults) override;
    void UpdatePropertyAvailability() override;
};

} // namespace tw
