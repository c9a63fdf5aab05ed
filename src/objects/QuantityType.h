#pragma once
// The kinds of physical quantity that a declared number, a chart axis or a command parameter can
// hold. Values are held in base units; a presenter converts them for the user. The presenter is
// implemented by the system of units, which sits above this library.

#include <string>

namespace tw {

enum TQuantityType : int {
    qtDummy,
    qtForce,
    qtTime,
    qtLength,
    qtMass,
    qtTemperature,
    qtTemperatureInterval,
    qtPower,
    qtEnergy,
    qtAngle,
    qtAngleRad,
    qtAccelerationG,
    qtPercentage,
    qtFrequencyHertz,
    qtLinload,
    qtLinloadPerAngleRad,
    qtForcePerAngleRad,
    qtPressure,
    qtPerPressure,
    qtSpeed,
    qtSpeedPerLength,
    qtAcceleration,
    qtFlowrate,
    qtMassDensity,
    qtThermalConductivity,
    qtSpecificHeat,
    qtHeatInteraction,
    qtKinematicViscosity,
    qtDynamicViscosity,
    qtDynamicViscosity_Mass,
    qtBendingStiffnessPerLength,
    qtBendingMoment,
    qtBendingMomentPerLength,
    qtBendingMomentPerLengthPerRad,
    qtVolumetricWeight,
    qtPressurePerLength,
    qtSurface,
    qtArea,
    qtVolume,
    qtLength4,
    qtPerLength,
    qtMomentOfForce,
    qtLinloadPerLength,
    qtLinloadPerLengthPerLength,
    qtLengthPerLength,
    qtPercentagePerLength,
    qtPerTime,
    qtFlowratePerLength,
    qtFlowratePerAngleRad,
    qtPerTemperature,
    qtVapourDiffusion,
    qtThermalInsulance,
    qtPowerCU,
    qtHeatFlux,
    qtHeatFluxInc,
    qtVapourFlux,
    qtTemperatureInc,
    qtTransferCoefficient,
    qtSpecificHeatCapacity,
    qtLatentHeat,
    qtHeatGeneration,
    qtDeltaHeatFlux,
    qtTotalHeatFlux,
    qtTotalHeatFluxPerAngleRad,
    qtTotalVapourFlux,
    qtTotalVapourFluxPerLength,
    qtTotalVapourFluxPerAngleRad,
    qtSpecificSurfaceArea,
    qtSpeedAlwaysPerSecond,
    qtAccelerationAlwaysPerSecondSquare,
    qtGravity,
    qtTimeAlwaysSecond,
    qtLengthAlwaysMM,
    qtDrainageConductivity,
    qtLength3PerLength,
    qtFlexuralRigidityPerLength,
    qtSurfaceTransfer,
    qtRotationalSpeedAlwaysPerSecond,
    qtRotationalAccelerationAlwaysPerSecondSquare,
    qtTemperatureAlwaysKelvin,
    qtRotationalSpeedRadAlwaysPerSecond,
    qtPressurePerTemperature,
    qtAtomicAngle
};

constexpr int QuantityTypeCount = 83;

// The enumerator's name without the "qt" prefix ("Pressure" for qtPressure).
const char* QuantityTypeName(TQuantityType quantity);

// Converts between base units and the units shown to the user.
class IQuantityPresenter {
public:
    virtual ~IQuantityPresenter() = default;
    virtual double ToPresentation(TQuantityType quantity, double baseValue) const = 0;
    virtual double FromPresentation(TQuantityType quantity, double presentedValue) const = 0;
    virtual std::string PresentationUnitText(TQuantityType quantity) const = 0;
};

} // namespace tw
