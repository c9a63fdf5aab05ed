#pragma once
// A system of units: the presentation units of one project (or one material list, one file).
// Values in the model stay in base units; the system says how each kind of quantity is shown.
// Fourteen simple units take their presentation from the user; every other unit is a compound of
// them and follows at once: with length in "ft" a pressure reads "kN/ft²".
//
// The units are public fields named after their quantity (`units.Pressure`), and GetUnit finds
// the unit of a TQuantityType. The system is also the IQuantityPresenter through which a number
// with a unit converts (TIPDoubleWithUnit::GetPresentationValue(&units)).
//
// Observers attached to the system hear any change of any of its units; a change of one simple
// unit, with the compounds it refreshes, reaches them as one notification.
//
// Units are changed on the main thread; other threads may read while nothing changes.

#include "objects/QuantityType.h"
#include "units/Unit.h"
#include "units/UnitConversionDictionary.h"

#include <array>
#include <string>

namespace tw {

// GetUnit of a value outside TQuantityType.
TW_DECLARE_EXCEPTION(EUnknownUnit, EUnitException)

class TSystemOfUnits : public IQuantityPresenter {
public:
    // Every unit in its base text ("N", "m", "s", ...), except AtomicAngle, which is held in
    // radians and shown in degrees.
    TSystemOfUnits();
    // A system with the presentation units of `source`; observers are not copied. Explicit:
    // a system is large, and passed by reference.
    explicit TSystemOfUnits(const TSystemOfUnits& source);
    TSystemOfUnits& operator=(const TSystemOfUnits&) = delete;
    ~TSystemOfUnits() override = default;

    // Takes the presentation texts of the fourteen simple units of `source`, in the order of
    // SimpleUnits(), with one notification at the end. Raises, and keeps the units copied so
    // far, if `source` has a text this system's table does not know.
    void CopyUnitsFrom(const TSystemOfUnits& source);
    // Whether the fourteen simple units have exactly the same presentation texts.
    bool IsEqualTo(const TSystemOfUnits& other) const;

    // The unit of a quantity; raises EUnknownUnit ("Unknown unit: %d") for a value outside
    // TQuantityType. qtSurface answers Area.
    TUnit_Abstract& GetUnit(TQuantityType quantityType);
    const TUnit_Abstract& GetUnit(TQuantityType quantityType) const;

    // A pressure, in presentation units, smaller in magnitude than 1 Pa comes back as 0, so that
    // residuals of a calculation don't show as numbers whatever the unit; anything else comes
    // back unchanged.
    double Round_InvariantUnit(double value, TQuantityType quantityType) const;

    // Sets the force unit and the mass unit that goes with it ("N" kg, "kN" t, "MN" kt, "lbf" lb,
    // "kip" klb; any other force leaves the mass alone), with one notification.
    void SetForcePresentationUnit(const std::string& text);

    // The units a new project starts with: kN, m, day, K, kJ, kW, t. One notification.
    void SetUnitsOfNewProject();

    // The simple units whose texts define the system, in the order they are copied and stored:
    // Force, Time, Length, Mass, Temperature, TemperatureInterval, Power, Angle, AngleRad,
    // AtomicAngle, Percentage, FrequencyHertz, AccelerationG, Energy.
    static constexpr size_t SimpleUnitCount = 14;
    std::array<TSimpleUnit*, SimpleUnitCount> SimpleUnits();
    std::array<const TSimpleUnit*, SimpleUnitCount> SimpleUnits() const;

    void AttachObserver(TObserver* observer) { FObservable.AttachObserver(observer); }
    void DetachObserver(TObserver* observer) { FObservable.DetachObserver(observer); }
    // For BeginUpdate/EndUpdate around several changes. Notifications name the system as sender.
    TObservable& Observable() { return FObservable; }

    TCompoundUnit& Surface() { return Area; }
    const TUnitConversionDictionary& UnitConversionDictionary() const {
        return FUnitConversionDict;
    }

    // IQuantityPresenter: base value to presentation and back through GetUnit(quantity); the
    // unit text is the translated presentation, as users read it.
    double ToPresentation(TQuantityType quantity, double baseValue) const override {
        return GetUnit(quantity).ToPresentation(baseValue);
    }
    double FromPresentation(TQuantityType quantity, double presentedValue) const override {
        return GetUnit(quantity).ToSI(presentedValue);
    }
    std::string PresentationUnitText(TQuantityType quantity) const override {
        return GetUnit(quantity).TranslatedPresentationUnit();
    }

private:
    friend class TUnit_Abstract;
    void MapQuantities();

    // Declared before the units, which use them while they are built and leave them when they
    // are destroyed.
    TUnitConversionDictionary FUnitConversionDict;
    TObservable FObservable{this};
    TObserver FUnitObserver{
        TObserver::TOnNotify([this](TNotifySender) { FObservable.NotifyObservers(); })};

public:
    TDummyUnit Dummy{this};

    // Simple units: name, base text, tolerance in the base unit.
    TSimpleUnit Force{this, "Force", "N", 1e-6};
    TSimpleUnit Time{this, "Time", "s", 1e-5};
    TSimpleUnit Length{this, "Length", "m", 1e-9};
    TSimpleUnit Mass{this, "Mass", "kg", 1e-6};
    TComplexUnit Temperature{this, "Temperature", "K", 0.001};
    TSimpleUnit TemperatureInterval{this, "TemperatureInterval", "K", 0.001};
    TSimpleUnit Power{this, "Power", "W", 1e-6};
    TSimpleUnit Energy{this, "Energy", "J", 1e-6};
    TSimpleUnit Angle{this, "Angle", "°", 0.001};
    TSimpleUnit AngleRad{this, "AngleRad", "rad", 1e-6};
    TSimpleUnit AtomicAngle{this, "AtomicAngle", "radian", 1e-6};
    TSimpleUnit AccelerationG{this, "AccelerationG", "g", 1e-6};
    TSimpleUnit Percentage{this, "Percentage", "%", 1e-6};
    TSimpleUnit FrequencyHertz{this, "FrequencyHertz", "Hz", 0.001};

    // Compound units: members in order, not reduced.
    TCompoundUnit Linload{this, "Linload", {{&Force, 1}, {&Length, -1}}};
    TCompoundUnit LinloadPerAngleRad{
        this, "LinloadPerAngleRad", {{&Force, 1}, {&Length, -1}, {&AngleRad, -1}}};
    TCompoundUnit ForcePerAngleRad{this, "ForcePerAngleRad", {{&Force, 1}, {&AngleRad, -1}}};
    TCompoundUnit Pressure{this, "Pressure", {{&Force, 1}, {&Length, -2}}};
    TCompoundUnit PerPressure{this, "PerPressure", {{&Length, 2}, {&Force, -1}}};
    TCompoundUnit Speed{this, "Speed", {{&Length, 1}, {&Time, -1}}};
    TCompoundUnit SpeedPerLength{
        this, "SpeedPerLength", {{&Length, 1}, {&Time, -1}, {&Length, -1}}};
    TCompoundUnit Acceleration{this, "Acceleration", {{&Length, 1}, {&Time, -2}}};
    TCompoundUnit Flowrate{this, "Flowrate", {{&Length, 3}, {&Time, -1}}};
    TCompoundUnit MassDensity{this, "MassDensity", {{&Mass, 1}, {&Length, -3}}};
    TCompoundUnit ThermalConductivity{
        this, "ThermalConductivity", {{&Power, 1}, {&Length, -1}, {&Temperature, -1}}};
    TCompoundUnit SpecificHeat{
        this, "SpecificHeat", {{&Energy, 1}, {&Mass, -1}, {&Temperature, -1}}};
    TCompoundUnit HeatInteraction{
        this, "HeatInteraction", {{&Power, 1}, {&Length, -2}, {&Temperature, -1}}};
    TCompoundUnit KinematicViscosity{this, "KinematicViscosity", {{&Length, 2}, {&Time, -1}}};
    TCompoundUnit DynamicViscosity{
        this, "DynamicViscosity", {{&Force, 1}, {&Time, 1}, {&Length, -2}}};
    TCompoundUnit DynamicViscosity_Mass{
        this, "DynamicViscosity_Mass", {{&Mass, 1}, {&Length, -1}, {&Time, -1}}};
    TCompoundUnit BendingStiffnessPerLength{
        this, "BendingStiffnessPerLength", {{&Force, 1}, {&Length, 2}, {&Length, -1}}};
    TCompoundUnit BendingMoment{this, "BendingMoment", {{&Force, 1}, {&Length, 1}}};
    TCompoundUnit BendingMomentPerLength{
        this, "BendingMomentPerLength", {{&Force, 1}, {&Length, 1}, {&Length, -1}}};
    TCompoundUnit BendingMomentPerLengthPerRad{
        this,
        "BendingMomentPerLengthPerRad",
        {{&Force, 1}, {&Length, 1}, {&Length, -1}, {&AngleRad, -1}}};
    TCompoundUnit VolumetricWeight{this, "VolumetricWeight", {{&Force, 1}, {&Length, -3}}};
    TCompoundUnit PressurePerLength{
        this, "PressurePerLength", {{&Force, 1}, {&Length, -2}, {&Length, -1}}};
    TCompoundUnit Area{this, "Area", {{&Length, 2}}};
    TCompoundUnit Volume{this, "Volume", {{&Length, 3}}};
    TCompoundUnit Length4{this, "Length4", {{&Length, 4}}};
    TCompoundUnit PerLength{this, "PerLength", {{&Length, -1}}};
    TCompoundUnit MomentOfForce{this, "MomentOfForce", {{&Force, 1}, {&Length, 1}}};
    TCompoundUnit LinLoadPerLength{
        this, "LinLoadPerLength", {{&Force, 1}, {&Length, -1}, {&Length, -1}}};
    TCompoundUnit LinLoadPerLengthPerLength{
        this,
        "LinLoadPerLengthPerLength",
        {{&Force, 1}, {&Length, -1}, {&Length, -1}, {&Length, -1}}};
    TCompoundUnit LengthPerLength{this, "LengthPerLength", {{&Length, 1}, {&Length, -1}}};
    TCompoundUnit PercentagePerLength{
        this, "PercentagePerLength", {{&Percentage, 1}, {&Length, -1}}};
    TCompoundUnit PerTime{this, "PerTime", {{&Time, -1}}};
    TCompoundUnit FlowratePerLength{
        this, "FlowratePerLength", {{&Length, 3}, {&Time, -1}, {&Length, -1}}};
    TCompoundUnit FlowratePerAngleRad{
        this, "FlowratePerAngleRad", {{&Length, 3}, {&Time, -1}, {&AngleRad, -1}}};
    TCompoundUnit PerTemperature{this, "PerTemperature", {{&Temperature, -1}}};
    TCompoundUnit VapourDiffusion{this, "VapourDiffusion", {{&Length, 2}, {&Time, -1}}};
    TCompoundUnit ThermalInsulance{
        this, "ThermalInsulance", {{&Length, 2}, {&Temperature, 1}, {&Power, -1}}};
    TCompoundUnit PowerCU{this, "PowerCU", {{&Force, 1}, {&Length, 1}, {&Time, -1}}};
    TCompoundUnit HeatFlux{this, "HeatFlux", {{&Power, 1}, {&Length, -2}}};
    TCompoundUnit HeatFluxInc{this, "HeatFluxInc", {{&Power, 1}, {&Length, -2}, {&Length, -1}}};
    TCompoundUnit VapourFlux{this, "VapourFlux", {{&Mass, 1}, {&Length, -2}, {&Time, -1}}};
    TCompoundUnit TemperatureInc{this, "TemperatureInc", {{&Temperature, 1}, {&Length, -1}}};
    TCompoundUnit TransferCoefficient{
        this, "TransferCoefficient", {{&Power, 1}, {&Length, -2}, {&Temperature, -1}}};
    TCompoundUnit SpecificHeatCapacity{
        this, "SpecificHeatCapacity", {{&Energy, 1}, {&Mass, -1}, {&Temperature, -1}}};
    TCompoundUnit LatentHeat{this, "LatentHeat", {{&Energy, 1}, {&Mass, -1}}};
    TCompoundUnit HeatGeneration{this, "HeatGeneration", {{&Power, 1}, {&Length, -3}}};
    TCompoundUnit DeltaHeatFlux{this, "DeltaHeatFlux", {{&Power, 1}, {&Length, -2}}};
    TCompoundUnit TotalHeatFlux{this, "TotalHeatFlux", {{&Power, 1}, {&Length, -1}}};
    TCompoundUnit TotalHeatFluxPerAngleRad{
        this, "TotalHeatFluxPerAngleRad", {{&Power, 1}, {&AngleRad, -1}}};
    TCompoundUnit TotalVapourFlux{this, "TotalVapourFlux", {{&Mass, 1}, {&Time, -1}}};
    TCompoundUnit TotalVapourFluxPerLength{
        this, "TotalVapourFluxPerLength", {{&Mass, 1}, {&Time, -1}, {&Length, -1}}};
    TCompoundUnit TotalVapourFluxPerAngleRad{
        this, "TotalVapourFluxPerAngleRad", {{&Mass, 1}, {&Time, -1}, {&AngleRad, -1}}};
    TCompoundUnit DrainageConductivity{
        this, "DrainageConductivity", {{&Length, 3}, {&Time, -1}, {&Length, -1}}};
    TCompoundUnit Length3PerLength{this, "Length3PerLength", {{&Length, 3}, {&Length, -1}}};
    TCompoundUnit FlexuralRigidityPerLength{
        this, "FlexuralRigidityPerLength", {{&Force, 1}, {&Length, 2}, {&Length, -1}}};
    TCompoundUnit SurfaceTransfer{
        this, "SurfaceTransfer", {{&Power, 1}, {&Length, -2}, {&Temperature, -1}}};
    TCompoundUnit PressurePerTemperature{
        this, "PressurePerTemperature", {{&Force, 1}, {&Length, -2}, {&Temperature, -1}}};

    // Units with fixed text: the member (if any) and the post-fix of both text forms.
    TCompoundUnitWithConstUnits SpecificSurfaceArea{this, "SpecificSurfaceArea", "m²/g"};
    TCompoundUnitWithConstUnits SpeedAlwaysPerSecond{
        this, "SpeedAlwaysPerSecond", "/s", {{&Length, 1}}};
    TCompoundUnitWithConstUnits AccelerationAlwaysPerSecondSquare{
        this, "AccelerationAlwaysPerSecondSquare", "/s²", {{&Length, 1}}};
    TCompoundUnitWithConstUnits Gravity{this, "Gravity", "/s²", {{&Length, 1}}};
    TCompoundUnitWithConstUnits TimeAlwaysSecond{this, "TimeAlwaysSecond", "s"};
    TCompoundUnitWithConstUnits LengthAlwaysMM{this, "LengthAlwaysMM", "mm"};
    TCompoundUnitWithConstUnits RotationalSpeedPerSecond{
        this, "RotationalSpeedPerSecond", "/s", {{&Angle, 1}}};
    TCompoundUnitWithConstUnits RotationalAccelerationPerSecondSquare{
        this, "RotationalAccelerationPerSecondSquare", "/s²", {{&Angle, 1}}};
    TCompoundUnitWithConstUnits TemperatureAlwaysKelvin{this, "TemperatureAlwaysKelvin", "K"};
    TCompoundUnitWithConstUnits RotationalSpeedRadAlwaysPerSecond{
        this, "RotationalSpeedRadAlwaysPerSecond", "/s", {{&AngleRad, 1}}};

private:
    std::array<TUnit_Abstract*, QuantityTypeCount> FUnitByQuantity{};
};

} // namespace tw
