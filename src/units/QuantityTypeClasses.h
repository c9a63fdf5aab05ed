#pragma once
// One class per quantity, so that a quantity can be given as a type: a command parameter for a
// pressure is TComParDoubleWithUnit<TQuantityTypeClass_Pressure>. Each class answers its
// TQuantityType by the static GetQuantityType. Atomic angles have no class: no command takes one.

#include "objects/QuantityType.h"

#include <concepts>
#include <tuple>

namespace tw {

class TQuantityTypeClass_Abstract {
protected:
    TQuantityTypeClass_Abstract() = default;
};

// A type that names a quantity.
template <typename T>
concept QuantityTypeClass = std::derived_from<T, TQuantityTypeClass_Abstract> && requires {
    { T::GetQuantityType() } -> std::same_as<TQuantityType>;
};

#define TW_QUANTITY_TYPE_CLASS(Name, Quantity)                                                     \
    class TQuantityTypeClass_##Name : public TQuantityTypeClass_Abstract {                         \
    public:                                                                                        \
        static constexpr TQuantityType GetQuantityType() { return Quantity; }                      \
        static constexpr const char* ClassName() { return "TQuantityTypeClass_" #Name; }           \
    };

TW_QUANTITY_TYPE_CLASS(Dummy, qtDummy)
TW_QUANTITY_TYPE_CLASS(Force, qtForce)
TW_QUANTITY_TYPE_CLASS(Time, qtTime)
TW_QUANTITY_TYPE_CLASS(Length, qtLength)
TW_QUANTITY_TYPE_CLASS(Mass, qtMass)
TW_QUANTITY_TYPE_CLASS(Temperature, qtTemperature)
TW_QUANTITY_TYPE_CLASS(TemperatureInterval, qtTemperatureInterval)
TW_QUANTITY_TYPE_CLASS(Power, qtPower)
TW_QUANTITY_TYPE_CLASS(Energy, qtEnergy)
TW_QUANTITY_TYPE_CLASS(Angle, qtAngle)
TW_QUANTITY_TYPE_CLASS(AngleRad, qtAngleRad)
TW_QUANTITY_TYPE_CLASS(AccelerationG, qtAccelerationG)
TW_QUANTITY_TYPE_CLASS(Percentage, qtPercentage)
TW_QUANTITY_TYPE_CLASS(FrequencyHertz, qtFrequencyHertz)
TW_QUANTITY_TYPE_CLASS(Linload, qtLinload)
TW_QUANTITY_TYPE_CLASS(LinloadPerAngleRad, qtLinloadPerAngleRad)
TW_QUANTITY_TYPE_CLASS(ForcePerAngleRad, qtForcePerAngleRad)
TW_QUANTITY_TYPE_CLASS(Pressure, qtPressure)
TW_QUANTITY_TYPE_CLASS(PerPressure, qtPerPressure)
TW_QUANTITY_TYPE_CLASS(Speed, qtSpeed)
TW_QUANTITY_TYPE_CLASS(SpeedPerLength, qtSpeedPerLength)
TW_QUANTITY_TYPE_CLASS(Acceleration, qtAcceleration)
TW_QUANTITY_TYPE_CLASS(Flowrate, qtFlowrate)
TW_QUANTITY_TYPE_CLASS(MassDensity, qtMassDensity)
TW_QUANTITY_TYPE_CLASS(ThermalConductivity, qtThermalConductivity)
TW_QUANTITY_TYPE_CLASS(SpecificHeat, qtSpecificHeat)
TW_QUANTITY_TYPE_CLASS(HeatInteraction, qtHeatInteraction)
TW_QUANTITY_TYPE_CLASS(KinematicViscosity, qtKinematicViscosity)
TW_QUANTITY_TYPE_CLASS(DynamicViscosity, qtDynamicViscosity)
TW_QUANTITY_TYPE_CLASS(DynamicViscosity_Mass, qtDynamicViscosity_Mass)
TW_QUANTITY_TYPE_CLASS(BendingStiffnessPerLength, qtBendingStiffnessPerLength)
TW_QUANTITY_TYPE_CLASS(BendingMoment, qtBendingMoment)
TW_QUANTITY_TYPE_CLASS(BendingMomentPerLength, qtBendingMomentPerLength)
TW_QUANTITY_TYPE_CLASS(BendingMomentPerLengthPerRad, qtBendingMomentPerLengthPerRad)
TW_QUANTITY_TYPE_CLASS(VolumetricWeight, qtVolumetricWeight)
TW_QUANTITY_TYPE_CLASS(PressurePerLength, qtPressurePerLength)
TW_QUANTITY_TYPE_CLASS(Surface, qtSurface)
TW_QUANTITY_TYPE_CLASS(Area, qtArea)
TW_QUANTITY_TYPE_CLASS(Volume, qtVolume)
TW_QUANTITY_TYPE_CLASS(Length4, qtLength4)
TW_QUANTITY_TYPE_CLASS(PerLength, qtPerLength)
TW_QUANTITY_TYPE_CLASS(MomentOfForce, qtMomentOfForce)
TW_QUANTITY_TYPE_CLASS(LinloadPerLength, qtLinloadPerLength)
TW_QUANTITY_TYPE_CLASS(LinloadPerLengthPerLength, qtLinloadPerLengthPerLength)
TW_QUANTITY_TYPE_CLASS(LengthPerLength, qtLengthPerLength)
TW_QUANTITY_TYPE_CLASS(PercentagePerLength, qtPercentagePerLength)
TW_QUANTITY_TYPE_CLASS(PerTime, qtPerTime)
TW_QUANTITY_TYPE_CLASS(FlowRatePerLength, qtFlowratePerLength)
TW_QUANTITY_TYPE_CLASS(FlowratePerAngleRad, qtFlowratePerAngleRad)
TW_QUANTITY_TYPE_CLASS(PerTemperature, qtPerTemperature)
TW_QUANTITY_TYPE_CLASS(VapourDiffusion, qtVapourDiffusion)
TW_QUANTITY_TYPE_CLASS(ThermalInsulance, qtThermalInsulance)
TW_QUANTITY_TYPE_CLASS(PowerCU, qtPowerCU)
TW_QUANTITY_TYPE_CLASS(HeatFlux, qtHeatFlux)
TW_QUANTITY_TYPE_CLASS(HeatFluxInc, qtHeatFluxInc)
TW_QUANTITY_TYPE_CLASS(VapourFlux, qtVapourFlux)
TW_QUANTITY_TYPE_CLASS(TemperatureInc, qtTemperatureInc)
TW_QUANTITY_TYPE_CLASS(TransferCoefficient, qtTransferCoefficient)
TW_QUANTITY_TYPE_CLASS(SpecificHeatCapacity, qtSpecificHeatCapacity)
TW_QUANTITY_TYPE_CLASS(LatentHeat, qtLatentHeat)
TW_QUANTITY_TYPE_CLASS(HeatGeneration, qtHeatGeneration)
TW_QUANTITY_TYPE_CLASS(DeltaHeatFlux, qtDeltaHeatFlux)
TW_QUANTITY_TYPE_CLASS(TotalHeatFlux, qtTotalHeatFlux)
TW_QUANTITY_TYPE_CLASS(TotalHeatFluxPerAngleRad, qtTotalHeatFluxPerAngleRad)
TW_QUANTITY_TYPE_CLASS(TotalVapourFlux, qtTotalVapourFlux)
TW_QUANTITY_TYPE_CLASS(TotalVapourFluxPerLength, qtTotalVapourFluxPerLength)
TW_QUANTITY_TYPE_CLASS(TotalVapourFluxPerAngleRad, qtTotalVapourFluxPerAngleRad)
TW_QUANTITY_TYPE_CLASS(SpecificSurfaceArea, qtSpecificSurfaceArea)
TW_QUANTITY_TYPE_CLASS(SpeedAlwaysPerSecond, qtSpeedAlwaysPerSecond)
TW_QUANTITY_TYPE_CLASS(AccelerationAlwaysPerSecondSquare, qtAccelerationAlwaysPerSecondSquare)
TW_QUANTITY_TYPE_CLASS(Gravity, qtGravity)
TW_QUANTITY_TYPE_CLASS(TimeAlwaysSecond, qtTimeAlwaysSecond)
TW_QUANTITY_TYPE_CLASS(LengthAlwaysMM, qtLengthAlwaysMM)
TW_QUANTITY_TYPE_CLASS(DrainageConductivity, qtDrainageConductivity)
TW_QUANTITY_TYPE_CLASS(Length3PerLength, qtLength3PerLength)
TW_QUANTITY_TYPE_CLASS(FlexuralRigidityPerLength, qtFlexuralRigidityPerLength)
TW_QUANTITY_TYPE_CLASS(SurfaceTransfer, qtSurfaceTransfer)
TW_QUANTITY_TYPE_CLASS(RotationalSpeedAlwaysPerSecond, qtRotationalSpeedAlwaysPerSecond)
TW_QUANTITY_TYPE_CLASS(RotationalAccelerationAlwaysPerSecondSquare,
                       qtRotationalAccelerationAlwaysPerSecondSquare)
TW_QUANTITY_TYPE_CLASS(TemperatureAlwaysKelvin, qtTemperatureAlwaysKelvin)
TW_QUANTITY_TYPE_CLASS(RotationalSpeedRadAlwaysPerSecond, qtRotationalSpeedRadAlwaysPerSecond)
TW_QUANTITY_TYPE_CLASS(PressurePerTemperature, qtPressurePerTemperature)

#undef TW_QUANTITY_TYPE_CLASS

// Every quantity class, in the order of TQuantityType: for making one instantiation of a template
// per quantity.
using TAllQuantityTypeClasses = std::tuple<
    TQuantityTypeClass_Dummy, TQuantityTypeClass_Force, TQuantityTypeClass_Time,
    TQuantityTypeClass_Length, TQuantityTypeClass_Mass, TQuantityTypeClass_Temperature,
    TQuantityTypeClass_TemperatureInterval, TQuantityTypeClass_Power, TQuantityTypeClass_Energy,
    TQuantityTypeClass_Angle, TQuantityTypeClass_AngleRad, TQuantityTypeClass_AccelerationG,
    TQuantityTypeClass_Percentage, TQuantityTypeClass_FrequencyHertz, TQuantityTypeClass_Linload,
    TQuantityTypeClass_LinloadPerAngleRad, TQuantityTypeClass_ForcePerAngleRad,
    TQuantityTypeClass_Pressure, TQuantityTypeClass_PerPressure, TQuantityTypeClass_Speed,
    TQuantityTypeClass_SpeedPerLength, TQuantityTypeClass_Acceleration, TQuantityTypeClass_Flowrate,
    TQuantityTypeClass_MassDensity, TQuantityTypeClass_ThermalConductivity,
    TQuantityTypeClass_SpecificHeat, TQuantityTypeClass_HeatInteraction,
    TQuantityTypeClass_KinematicViscosity, TQuantityTypeClass_DynamicViscosity,
    TQuantityTypeClass_DynamicViscosity_Mass, TQuantityTypeClass_BendingStiffnessPerLength,
    TQuantityTypeClass_BendingMoment, TQuantityTypeClass_BendingMomentPerLength,
    TQuantityTypeClass_BendingMomentPerLengthPerRad, TQuantityTypeClass_VolumetricWeight,
    TQuantityTypeClass_PressurePerLength, TQuantityTypeClass_Surface, TQuantityTypeClass_Area,
    TQuantityTypeClass_Volume, TQuantityTypeClass_Length4, TQuantityTypeClass_PerLength,
    TQuantityTypeClass_MomentOfForce, TQuantityTypeClass_LinloadPerLength,
    TQuantityTypeClass_LinloadPerLengthPerLength, TQuantityTypeClass_LengthPerLength,
    TQuantityTypeClass_PercentagePerLength, TQuantityTypeClass_PerTime,
    TQuantityTypeClass_FlowRatePerLength, TQuantityTypeClass_FlowratePerAngleRad,
    TQuantityTypeClass_PerTemperature, TQuantityTypeClass_VapourDiffusion,
    TQuantityTypeClass_ThermalInsulance, TQuantityTypeClass_PowerCU, TQuantityTypeClass_HeatFlux,
    TQuantityTypeClass_HeatFluxInc, TQuantityTypeClass_VapourFlux,
    TQuantityTypeClass_TemperatureInc, TQuantityTypeClass_TransferCoefficient,
    TQuantityTypeClass_SpecificHeatCapacity, TQuantityTypeClass_LatentHeat,
    TQuantityTypeClass_HeatGeneration, TQuantityTypeClass_DeltaHeatFlux,
    TQuantityTypeClass_TotalHeatFlux, TQuantityTypeClass_TotalHeatFluxPerAngleRad,
    TQuantityTypeClass_TotalVapourFlux, TQuantityTypeClass_TotalVapourFluxPerLength,
    TQuantityTypeClass_TotalVapourFluxPerAngleRad, TQuantityTypeClass_SpecificSurfaceArea,
    TQuantityTypeClass_SpeedAlwaysPerSecond, TQuantityTypeClass_AccelerationAlwaysPerSecondSquare,
    TQuantityTypeClass_Gravity, TQuantityTypeClass_TimeAlwaysSecond,
    TQuantityTypeClass_LengthAlwaysMM, TQuantityTypeClass_DrainageConductivity,
    TQuantityTypeClass_Length3PerLength, TQuantityTypeClass_FlexuralRigidityPerLength,
    TQuantityTypeClass_SurfaceTransfer, TQuantityTypeClass_RotationalSpeedAlwaysPerSecond,
    TQuantityTypeClass_RotationalAccelerationAlwaysPerSecondSquare,
    TQuantityTypeClass_TemperatureAlwaysKelvin,
    TQuantityTypeClass_RotationalSpeedRadAlwaysPerSecond,
    TQuantityTypeClass_PressurePerTemperature>;

} // namespace tw
