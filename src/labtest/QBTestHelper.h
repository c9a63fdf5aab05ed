#pragma once
// The seams between the test types and the derived properties they share: the cyclic tests
// (cyclic triaxial, cyclic simple shear) and the tests whose initial state is one vertical stress
// (simple shear, pressuremeter). A maker of such a property raises when the class it declares
// for does not implement the interface the property needs; so does reading or writing it on an
// object that doesn't.

#include "labtest/QBDatatypes.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

namespace tw {

class TQBTestBase;

// A test driven by generated load cycles around an initial phase.
class ICyclicTest {
public:
    virtual ~ICyclicTest() = default;

    // The amplitudes as stored with the test: strain in percent, stress in pascal. They outlive
    // the cyclic phases (a test without cycles keeps them) and are what the phases are built from.
    virtual double StoredStrainAmplitude() const = 0;
    virtual void SetStoredStrainAmplitude(double percent) = 0;
    virtual double StoredStressAmplitude() const = 0;
    virtual void SetStoredStressAmplitude(double pascal) = 0;
    // The user's amplitude properties; only that of the current control is shown.
    virtual TIPDouble& StrainAmplitudeIP() const = 0;
    virtual TIPDouble& StressAmplitudeIP() const = 0;
    virtual bool IsStrainTestControl() const = 0;

    // The direction the cycles drive, and the boundary conditions of the cyclic phases under the
    // current control.
    virtual TQBLoadDirection CyclicDirection() const = 0;
    virtual TQBBoundaryConditions CyclicBoundaryConditions() const = 0;
    // The cycles as read back from the phase list; never negative.
    virtual int NumberOfCycles() const = 0;
    // Of the last loop of the results; 0 until computed.
    virtual double DampingRatio() const = 0;
};

// A test whose initial state is given by the magnitude of its vertical effective stress.
class ITestWithInitialStress {
public:
    virtual ~ITestWithInitialStress() = default;
    // |effective yy| in pascal; setting it makes the vertical stress compressive and the
    // horizontal ones follow.
    virtual double InitialStressValue() const = 0;
    virtual void SetInitialStressValue(double pascal) = 0;
};

// Declaring helpers of the lab tests' derived properties.
class TQBTestHelper {
public:
    // "NumberOfCycles", "NumberOfStepsPerQuarterCycle", "DurationPerCycle": writing any of them
    // rebuilds the cyclic phases.
    static void AddDerivedNumberOfCycles(TKovIntrinsicPropertyDeclarationList& list);
    static void AddDerivedNumberOfStepsPerQuarterCycle(TKovIntrinsicPropertyDeclarationList& list);
    static void AddDerivedDurationPerCycle(TKovIntrinsicPropertyDeclarationList& list);
    // "StoredShearStrainAmplitude" and "StoredShearStressAmplitude": hidden, stored values.
    static void AddStoredAmplitudes(TKovIntrinsicPropertyDeclarationList& list);
    // The user's amplitudes: they read the stored ones; writing the one of the current control
    // rebuilds the cyclic phases.
    static void AddDerivedStrainAmplitude(TKovIntrinsicPropertyDeclarationList& list,
                                          const std::string& name, const std::string& caption);
    static void AddDerivedStressAmplitude(TKovIntrinsicPropertyDeclarationList& list,
                                          const std::string& name, const std::string& caption);
    // The stress increment of the initial phase in the cyclic direction, in pascal.
    static void AddDerivedInitialStressIncrement(TKovIntrinsicPropertyDeclarationList& list,
                                                 const std::string& name,
                                                 const std::string& caption);

    // The initial stress value of ITestWithInitialStress, limited to [min, max].
    static void AddDerivedInitialStress(TKovIntrinsicPropertyDeclarationList& list,
                                        const std::string& name, const std::string& caption,
                                        double min, double max);

    // The duration (seconds) and the steps of the first phase.
    static void AddDerivedFirstPhaseDuration(TKovIntrinsicPropertyDeclarationList& list);
    static void AddDerivedFirstPhaseSteps(TKovIntrinsicPropertyDeclarationList& list);

    // A derived enumeration property of the boundary condition types.
    static void AddDerivedBoundaryCondition(TKovIntrinsicPropertyDeclarationList& list,
                                            const std::string& name,
                                            TDerivedAccessors<int> accessors,
                                            TKovIntrinsicPropertyConfig config = 0,
                                            const std::string& caption = "");
};

} // namespace tw
