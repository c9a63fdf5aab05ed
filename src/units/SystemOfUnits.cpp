#include "units/SystemOfUnits.h"

#include "objects/UpdateBracket.h"
#include "services/Format.h"

#include <cmath>

namespace tw {

TSystemOfUnits::TSystemOfUnits() {
    MapQuantities();
    // Angles of atoms of the model are computed in radians and read in degrees.
    AtomicAngle.SetPresentationUnit("°");
}

TSystemOfUnits::TSystemOfUnits(const TSystemOfUnits& source) : TSystemOfUnits() {
    CopyUnitsFrom(source);
}

void TSystemOfUnits::MapQuantities() {
    TUnit_Abstract* const units[QuantityTypeCount] = {
        &Dummy,                                 // qtDummy
        &Force,                                 // qtForce
        &Time,                                  // qtTime
        &Length,                                // qtLength
        &Mass,                                  // qtMass
        &Temperature,                           // qtTemperature
        &TemperatureInterval,                   // qtTemperatureInterval
        &Power,                                 // qtPower
        &Energy,                                // qtEnergy
        &Angle,                                 // qtAngle
        &AngleRad,                              // qtAngleRad
        &AccelerationG,                         // qtAccelerationG
        &Percentage,                            // qtPercentage
        &FrequencyHertz,                        // qtFrequencyHertz
        &Linload,                               // qtLinload
        &LinloadPerAngleRad,                    // qtLinloadPerAngleRad
        &ForcePerAngleRad,                      // qtForcePerAngleRad
        &Pressure,                              // qtPressure
        &PerPressure,                           // qtPerPressure
        &Speed,                                 // qtSpeed
        &SpeedPerLength,                        // qtSpeedPerLength
        &Acceleration,                          // qtAcceleration
        &Flowrate,                              // qtFlowrate
        &MassDensity,                           // qtMassDensity
        &ThermalConductivity,                   // qtThermalConductivity
        &SpecificHeat,                          // qtSpecificHeat
        &HeatInteraction,                       // qtHeatInteraction
        &KinematicViscosity,                    // qtKinematicViscosity
        &DynamicViscosity,                      // qtDynamicViscosity
        &DynamicViscosity_Mass,                 // qtDynamicViscosity_Mass
        &BendingStiffnessPerLength,             // qtBendingStiffnessPerLength
        &BendingMoment,                         // qtBendingMoment
        &BendingMomentPerLength,                // qtBendingMomentPerLength
        &BendingMomentPerLengthPerRad,          // qtBendingMomentPerLengthPerRad
        &VolumetricWeight,                      // qtVolumetricWeight
        &PressurePerLength,                     // qtPressurePerLength
        &Area,                                  // qtSurface
        &Area,                                  // qtArea
        &Volume,                                // qtVolume
        &Length4,                               // qtLength4
        &PerLength,                             // qtPerLength
        &MomentOfForce,                         // qtMomentOfForce
        &LinLoadPerLength,                      // qtLinloadPerLength
        &LinLoadPerLengthPerLength,             // qtLinloadPerLengthPerLength
        &LengthPerLength,                       // qtLengthPerLength
        &PercentagePerLength,                   // qtPercentagePerLength
        &PerTime,                               // qtPerTime
        &FlowratePerLength,                     // qtFlowratePerLength
        &FlowratePerAngleRad,                   // qtFlowratePerAngleRad
        &PerTemperature,                        // qtPerTemperature
        &VapourDiffusion,                       // qtVapourDiffusion
        &ThermalInsulance,                      // qtThermalInsulance
        &PowerCU,                               // qtPowerCU
        &HeatFlux,                              // qtHeatFlux
        &HeatFluxInc,                           // qtHeatFluxInc
        &VapourFlux,                            // qtVapourFlux
        &TemperatureInc,                        // qtTemperatureInc
        &TransferCoefficient,                   // qtTransferCoefficient
        &SpecificHeatCapacity,                  // qtSpecificHeatCapacity
        &LatentHeat,                            // qtLatentHeat
        &HeatGeneration,                        // qtHeatGeneration
        &DeltaHeatFlux,                         // qtDeltaHeatFlux
        &TotalHeatFlux,                         // qtTotalHeatFlux
        &TotalHeatFluxPerAngleRad,              // qtTotalHeatFluxPerAngleRad
        &TotalVapourFlux,                       // qtTotalVapourFlux
        &TotalVapourFluxPerLength,              // qtTotalVapourFluxPerLength
        &TotalVapourFluxPerAngleRad,            // qtTotalVapourFluxPerAngleRad
        &SpecificSurfaceArea,                   // qtSpecificSurfaceArea
        &SpeedAlwaysPerSecond,                  // qtSpeedAlwaysPerSecond
        &AccelerationAlwaysPerSecondSquare,     // qtAccelerationAlwaysPerSecondSquare
        &Gravity,                               // qtGravity
        &TimeAlwaysSecond,                      // qtTimeAlwaysSecond
        &LengthAlwaysMM,                        // qtLengthAlwaysMM
        &DrainageConductivity,                  // qtDrainageConductivity
        &Length3PerLength,                      // qtLength3PerLength
        &FlexuralRigidityPerLength,             // qtFlexuralRigidityPerLength
        &SurfaceTransfer,                       // qtSurfaceTransfer
        &RotationalSpeedPerSecond,              // qtRotationalSpeedAlwaysPerSecond
        &RotationalAccelerationPerSecondSquare, // qtRotationalAccelerationAlwaysPerSecondSquare
        &TemperatureAlwaysKelvin,               // qtTemperatureAlwaysKelvin
        &RotationalSpeedRadAlwaysPerSecond,     // qtRotationalSpeedRadAlwaysPerSecond
        &PressurePerTemperature,                // qtPressurePerTemperature
        &AtomicAngle,                           // qtAtomicAngle
    };
    static_assert(qtAtomicAngle == QuantityTypeCount - 1);
    for (int i = 0; i < QuantityTypeCount; ++i)
        FUnitByQuantity[i] = units[i];
}

TUnit_Abstract& TSystemOfUnits::GetUnit(TQuantityType quantityType) {
    const int index = static_cast<int>(quantityType);
    if (index < 0 || index >= QuantityTypeCount)
        throw EUnknownUnit(Format("Unknown unit: %d", index));
    return *FUnitByQuantity[index];
}

const TUnit_Abstract& TSystemOfUnits::GetUnit(TQuantityType quantityType) const {
    return const_cast<TSystemOfUnits*>(this)->GetUnit(quantityType);
}

std::array<TSimpleUnit*, TSystemOfUnits::SimpleUnitCount> TSystemOfUnits::SimpleUnits() {
    return {&Force,         &Time,  &Length,   &Mass,        &Temperature, &TemperatureInterval,
            &Power,         &Angle, &AngleRad, &AtomicAngle, &Percentage,  &FrequencyHertz,
            &AccelerationG, &Energy};
}

std::array<const TSimpleUnit*, TSystemOfUnits::SimpleUnitCount>
TSystemOfUnits::SimpleUnits() const {
    auto units = const_cast<TSystemOfUnits*>(this)->SimpleUnits();
    std::array<const TSimpleUnit*, SimpleUnitCount> result;
    for (size_t i = 0; i < SimpleUnitCount; ++i)
        result[i] = units[i];
    return result;
}

void TSystemOfUnits::CopyUnitsFrom(const TSystemOfUnits& source) {
    if (&source == this)
        return;
    const auto from = source.SimpleUnits();
    const auto to = SimpleUnits();
    TUpdateBracket update(FObservable);
    for (size_t i = 0; i < SimpleUnitCount; ++i)
        to[i]->SetPresentationUnit(from[i]->PresentationUnit());
    update.Close();
}

bool TSystemOfUnits::IsEqualTo(const TSystemOfUnits& other) const {
    const auto mine = SimpleUnits();
    const auto theirs = other.SimpleUnits();
    for (size_t i = 0; i < SimpleUnitCount; ++i)
        if (mine[i]->PresentationUnit() != theirs[i]->PresentationUnit())
            return false;
    return true;
}

double TSystemOfUnits::Round_InvariantUnit(double value, TQuantityType quantityType) const {
    if (quantityType == qtPressure && std::fabs(value) < Pressure.ToPresentation(1.0))
        return 0.0;
    return value;
}

void TSystemOfUnits::SetForcePresentationUnit(const std::string& text) {
    TUpdateBracket update(FObservable);
    Force.SetPresentationUnit(text);
    const std::string& force = Force.PresentationUnit();
    const char* mass = force == "N"     ? "kg"
                       : force == "kN"  ? "t"
                       : force == "MN"  ? "kt"
                       : force == "lbf" ? "lb"
                       : force == "kip" ? "klb"
                                        : nullptr;
    if (mass)
        Mass.SetPresentationUnit(mass);
    update.Close();
}

void TSystemOfUnits::SetUnitsOfNewProject() {
    TUpdateBracket update(FObservable);
    Force.SetPresentationUnit("kN");
    Length.SetPresentationUnit("m");
    Time.SetPresentationUnit("day");
    Temperature.SetPresentationUnit("K");
    Energy.SetPresentationUnit("kJ");
    Power.SetPresentationUnit("kW");
    Mass.SetPresentationUnit("t");
    update.Close();
}

} // namespace tw
