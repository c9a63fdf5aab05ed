#pragma once
// The names of the lab's intrinsic properties that code reaches by name, each with its kind. The
// declarations use them too, so a misspelt name or a wrong kind fails to compile. Names are the
// ones files and commands use, so they never change.

#include "objects/IntrinsicPropertyValueKinds.h"
#include "objects/PropertyName.h"

namespace tw::ip {

inline constexpr TPropertyName<TIPDoubleWithUnit> AbsSigyyinit{"AbsSigyyinit"};
inline constexpr TPropertyName<TIPDoubleWithUnit> AbsSigyyTotinit{"AbsSigyyTotinit"};
inline constexpr TPropertyName<TIPBoolean> ApplyMobilisedShearStrength{
    "ApplyMobilisedShearStrength"};
inline constexpr TPropertyName<TIPBoolean> ArcLength{"ArcLength"};
inline constexpr TPropertyName<TIPEnumeration> Behaviour{"Behaviour"};
inline constexpr TPropertyName<TIPText> Caption{"Caption"};
inline constexpr TPropertyName<TIPDoubleWithUnit> CellPressure{"CellPressure"};
inline constexpr TPropertyName<TIPEnumeration> ChartType{"ChartType"};
inline constexpr TPropertyName<TIPEnumeration> Consolidation{"Consolidation"};
inline constexpr TPropertyName<TIPInteger> Cycles{"Cycles"};
inline constexpr TPropertyName<TIPKovObject> CyclicPhases{"CyclicPhases"};
inline constexpr TPropertyName<TIPEnumeration> Direction{"Direction"};
inline constexpr TPropertyName<TIPDoubleWithUnit> Duration{"Duration"};
inline constexpr TPropertyName<TIPDouble> Error{"Error"};
inline constexpr TPropertyName<TIPKovObject> FirstPhase{"FirstPhase"};
inline constexpr TPropertyName<TIPBoolean> Flipped{"Flipped"};
inline constexpr TPropertyName<TIPDoubleWithUnit> InnerRadius{"InnerRadius"};
inline constexpr TPropertyName<TIPBoolean> InvertedSign{"InvertedSign"};
inline constexpr TPropertyName<TIPBoolean> IsVisible{"IsVisible"};
inline constexpr TPropertyName<TIPInteger> Iteration{"Iteration"};
inline constexpr TPropertyName<TIPDouble> K0{"K0"};
inline constexpr TPropertyName<TIPKovObject> LastPhase{"LastPhase"};
inline constexpr TPropertyName<TIPBoolean> Logarithmic{"Logarithmic"};
inline constexpr TPropertyName<TIPDouble> MobilisedShearStrength{"MobilisedShearStrength"};
inline constexpr TPropertyName<TIPBoolean> Orthonormal{"Orthonormal"};
inline constexpr TPropertyName<TIPKovObject> Phases{"Phases"};
inline constexpr TPropertyName<TIPDoubleWithUnit> PreconsolidationPressure{
    "PreconsolidationPressure"};
inline constexpr TPropertyName<TIPDouble> Relax{"Relax"};
inline constexpr TPropertyName<TIPKovObject> Results{"Results"};
inline constexpr TPropertyName<TIPEnumeration> ResultType{"ResultType"};
inline constexpr TPropertyName<TIPDouble> SeInit{"SeInit"};
inline constexpr TPropertyName<TIPBoolean> Selected{"Selected"};
inline constexpr TPropertyName<TIPInteger> Steps{"Steps"};
inline constexpr TPropertyName<TIPDoubleWithUnit> StoredShearStrainAmplitude{
    "StoredShearStrainAmplitude"};
inline constexpr TPropertyName<TIPDoubleWithUnit> StoredShearStressAmplitude{
    "StoredShearStressAmplitude"};
inline constexpr TPropertyName<TIPInteger> StrainSelection{"StrainSelection"};
inline constexpr TPropertyName<TIPInteger> StressSelection{"StressSelection"};
inline constexpr TPropertyName<TIPBoolean> SuctionCondition{"SuctionCondition"};
inline constexpr TPropertyName<TIPDoubleWithUnit> SuctionInc{"SuctionInc"};
inline constexpr TPropertyName<TIPDoubleWithUnit> SuctionInit{"SuctionInit"};
inline constexpr TPropertyName<TIPDoubleWithUnit> TempInc{"TempInc"};
inline constexpr TPropertyName<TIPDoubleWithUnit> TempInit{"TempInit"};
inline constexpr TPropertyName<TIPEnumeration> TestControlType{"TestControlType"};
inline constexpr TPropertyName<TIPBoolean> ThermalCondition{"ThermalCondition"};
inline constexpr TPropertyName<TIPText> Title{"Title"};
inline constexpr TPropertyName<TIPDoubleWithUnit> TotalCellPressure{"TotalCellPressure"};
inline constexpr TPropertyName<TIPInteger> Version{"Version"};
inline constexpr TPropertyName<TIPBoolean> Visible{"Visible"};

} // namespace tw::ip
