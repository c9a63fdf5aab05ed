#include "labtest/QBTestHelper.h"
#include "labtest/QBPropertyNames.h"

#include "labtest/QBCyclicTestHelper.h"
#include "labtest/QBTestBase.h"

#include <cfloat>
#include <climits>
#include <memory>
#include <optional>

namespace tw {

namespace {
const char* const NeedsCyclicTest =
    "This derived property can only be added to tests implementing ICyclicTest";
const char* const NeedsInitialStress =
    "This derived property can only be added to tests implementing ITestWithInitialStress";

// Raises when the class the list declares for is concrete and does not implement I. An abstract
// class can't be asked; its properties raise on use instead.
template <typename I>
void RequireInterface(const TKovIntrinsicPropertyDeclarationList& list, const char* message) {
    const TKovClass* owner = list.OwnerClass();
    if (!owner || owner->IsAbstract())
        return;
    std::unique_ptr<TKovObject> blank(owner->CreateBlank());
    if (!dynamic_cast<I*>(blank.get()))
        throw EQBTestException(message);
}

template <typename I> I& InterfaceOf(const TKovIntrinsicProperty& property, const char* message) {
    auto* implementation = dynamic_cast<I*>(property.Owner());
    if (!implementation)
        throw EQBTestException(message);
    return *implementation;
}

ICyclicTest& CyclicOf(const TKovIntrinsicProperty& property) {
    return InterfaceOf<ICyclicTest>(property, NeedsCyclicTest);
}

TQBTestBase& TestOf(const TKovIntrinsicProperty& property) {
    auto* test = dynamic_cast<TQBTestBase*>(property.Owner());
    if (!test)
        throw EQBTestException(Format("Property %s belongs to no test", property.Name()));
    return *test;
}

// The test behind a property that needs ICyclicTest; raises when the owner has no cycles.
TQBTestBase& CyclicTestOf(const TKovIntrinsicProperty& property) {
    CyclicOf(property);
    return TestOf(property);
}

// Rebuilds with the current values of the phase list, but for what the caller changes.
void Rebuild(const TKovIntrinsicProperty& property, std::optional<int> cycles,
             std::optional<int> steps, std::optional<double> duration) {
    TQBTestBase& test = TestOf(property);
    ICyclicTest& cyclic = CyclicOf(property);
    TQBCyclicTestHelper::RebuildPhases(
        test, cyclic, cycles.value_or(cyclic.NumberOfCycles()),
        steps.value_or(TQBCyclicTestHelper::StepsPerQuarterCycle(test)),
        duration.value_or(TQBCyclicTestHelper::DurationPerCycle(test)));
}
} // namespace

void TQBTestHelper::AddDerivedNumberOfCycles(TKovIntrinsicPropertyDeclarationList& list) {
    RequireInterface<ICyclicTest>(list, NeedsCyclicTest);
    list.AddDerivedInteger(
        "NumberOfCycles",
        {[](const TKovIntrinsicProperty& p) { return CyclicOf(p).NumberOfCycles(); },
         [](TKovIntrinsicProperty& p, const int32_t& v) {
             Rebuild(p, v, std::nullopt, std::nullopt);
         }},
        0, "Number of cycles", 0, INT_MAX);
}

void TQBTestHelper::AddDerivedNumberOfStepsPerQuarterCycle(
    TKovIntrinsicPropertyDeclarationList& list) {
    RequireInterface<ICyclicTest>(list, NeedsCyclicTest);
    list.AddDerivedInteger("NumberOfStepsPerQuarterCycle",
                           {[](const TKovIntrinsicProperty& p) {
                                return TQBCyclicTestHelper::StepsPerQuarterCycle(CyclicTestOf(p));
                            },
                            [](TKovIntrinsicProperty& p, const int32_t& v) {
                                // The initial phase shares the step count of the quarter cycles: it
                                // is where the value is read back from.
                                if (TQBPhase* first = TestOf(p).Phases().GetItems(0))
                                    first->SetSteps(v);
                                Rebuild(p, std::nullopt, v, std::nullopt);
                            }},
                           0, "Number of steps per quarter cycle", 1, INT_MAX);
}

void TQBTestHelper::AddDerivedDurationPerCycle(TKovIntrinsicPropertyDeclarationList& list) {
    RequireInterface<ICyclicTest>(list, NeedsCyclicTest);
    list.AddDerivedDoubleWithUnit("DurationPerCycle", qtTime,
                                  {[](const TKovIntrinsicProperty& p) {
                                       return TQBCyclicTestHelper::DurationPerCycle(
                                           CyclicTestOf(p));
                                   },
                                   [](TKovIntrinsicProperty& p, const double& v) {
                                       Rebuild(p, std::nullopt, std::nullopt, v);
                                   }},
                                  0, "Duration per cycle", 0.0, DBL_MAX);
}

void TQBTestHelper::AddStoredAmplitudes(TKovIntrinsicPropertyDeclarationList& list) {
    RequireInterface<ICyclicTest>(list, NeedsCyclicTest);
    // Plain stored values, so that undo, copies and files keep them like any other property.
    list.AddDoubleWithUnit(ip::StoredShearStrainAmplitude.Name, qtPercentage, ipkNotPublished, "",
                           -DBL_MAX, DBL_MAX);
    list.AddDoubleWithUnit(ip::StoredShearStressAmplitude.Name, qtPercentage, ipkNotPublished, "",
                           -DBL_MAX, DBL_MAX);
}

void TQBTestHelper::AddDerivedStrainAmplitude(TKovIntrinsicPropertyDeclarationList& list,
                                              const std::string& name, const std::string& caption) {
    RequireInterface<ICyclicTest>(list, NeedsCyclicTest);
    list.AddDerivedDoubleWithUnit(
        name, qtPercentage,
        {[](const TKovIntrinsicProperty& p) { return CyclicOf(p).StoredStrainAmplitude(); },
         [](TKovIntrinsicProperty& p, const double& v) {
             ICyclicTest& cyclic = CyclicOf(p);
             cyclic.SetStoredStrainAmplitude(v);
             if (cyclic.IsStrainTestControl())
                 Rebuild(p, std::nullopt, std::nullopt, std::nullopt);
         }},
        0, caption, -DBL_MAX, DBL_MAX);
}

void TQBTestHelper::AddDerivedStressAmplitude(TKovIntrinsicPropertyDeclarationList& list,
                                              const std::string& name, const std::string& caption) {
    RequireInterface<ICyclicTest>(list, NeedsCyclicTest);
    list.AddDerivedDoubleWithUnit(
        name, qtPressure,
        {[](const TKovIntrinsicProperty& p) { return CyclicOf(p).StoredStressAmplitude(); },
         [](TKovIntrinsicProperty& p, const double& v) {
             ICyclicTest& cyclic = CyclicOf(p);
             cyclic.SetStoredStressAmplitude(v);
             if (!cyclic.IsStrainTestControl())
                 Rebuild(p, std::nullopt, std::nullopt, std::nullopt);
         }},
        0, caption, -DBL_MAX, DBL_MAX);
}

void TQBTestHelper::AddDerivedInitialStressIncrement(TKovIntrinsicPropertyDeclarationList& list,
                                                     const std::string& name,
                                                     const std::string& caption) {
    RequireInterface<ICyclicTest>(list, NeedsCyclicTest);
    list.AddDerivedDoubleWithUnit(
        name, qtPressure,
        {[](const TKovIntrinsicProperty& p) {
             const ICyclicTest& cyclic = CyclicOf(p);
             const TQBTestBase& test = TestOf(p);
             const TQBPhase* first = test.CreatedForRevert() ? nullptr : test.Phases().GetItems(0);
             return first ? first->GetStressIncrement(cyclic.CyclicDirection()) : 0.0;
         },
         [](TKovIntrinsicProperty& p, const double& v) {
             const ICyclicTest& cyclic = CyclicOf(p);
             if (TQBPhase* first = TestOf(p).Phases().GetItems(0))
                 first->SetStressIncrement(cyclic.CyclicDirection(), v);
         }},
        0, caption, -DBL_MAX, DBL_MAX);
}

void TQBTestHelper::AddDerivedInitialStress(TKovIntrinsicPropertyDeclarationList& list,
                                            const std::string& name, const std::string& caption,
                                            double min, double max) {
    RequireInterface<ITestWithInitialStress>(list, NeedsInitialStress);
    list.AddDerivedDoubleWithUnit(
        name, qtPressure,
        {[](const TKovIntrinsicProperty& p) {
             return InterfaceOf<ITestWithInitialStress>(p, NeedsInitialStress).InitialStressValue();
         },
         [](TKovIntrinsicProperty& p, const double& v) {
             InterfaceOf<ITestWithInitialStress>(p, NeedsInitialStress).SetInitialStressValue(v);
         }},
        0, caption, min, max);
}

void TQBTestHelper::AddDerivedFirstPhaseDuration(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDerivedDoubleWithUnit(ip::Duration.Name, qtTime,
                                  {[](const TKovIntrinsicProperty& p) {
                                       const TQBTestBase& test = TestOf(p);
                                       const TQBPhase* first = test.CreatedForRevert()
                                                                   ? nullptr
                                                                   : test.Phases().GetItems(0);
                                       return first ? first->Duration() : 0.0;
                                   },
                                   [](TKovIntrinsicProperty& p, const double& v) {
                                       if (TQBPhase* first = TestOf(p).Phases().GetItems(0))
                                           first->SetDuration(v);
                                   }},
                                  0, "Duration", 0.0, DBL_MAX);
}

void TQBTestHelper::AddDerivedFirstPhaseSteps(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddDerivedInteger(ip::Steps.Name,
                           {[](const TKovIntrinsicProperty& p) {
                                const TQBTestBase& test = TestOf(p);
                                const TQBPhase* first =
                                    test.CreatedForRevert() ? nullptr : test.Phases().GetItems(0);
                                return first ? first->Steps() : 0;
                            },
                            [](TKovIntrinsicProperty& p, const int32_t& v) {
                                if (TQBPhase* first = TestOf(p).Phases().GetItems(0))
                                    first->SetSteps(v);
                            }},
                           0, "Number of steps", 0, INT_MAX);
}

void TQBTestHelper::AddDerivedBoundaryCondition(TKovIntrinsicPropertyDeclarationList& list,
                                                const std::string& name,
                                                TDerivedAccessors<int> accessors,
                                                TKovIntrinsicPropertyConfig config,
                                                const std::string& caption) {
    list.AddDerivedEnumeration(name, BoundaryConditionTypeStrings(), std::move(accessors), config,
                               caption, BoundaryConditionTypeCaptions());
}

} // namespace tw
