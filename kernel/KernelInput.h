#pragma once
// The kernel input file: what it holds and how it is read. Values stay in the units of the file;
// strain increments are fractions, compression negative.

#include "KernelTypes.h"

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tw::kernel {

// A fault of the input file: the file, the line counted from 1 (0 when no single line is at
// fault) and the reason.
class EKernelInput : public std::runtime_error {
public:
    EKernelInput(std::string fileName, int line, std::string reason);
    const std::string& FileName() const { return FFileName; }
    int Line() const { return FLine; }
    const std::string& Reason() const { return FReason; }

private:
    std::string FFileName;
    int FLine;
    std::string FReason;
};

enum class TTestType {
    Triaxial = 0,
    Oedometer = 1,
    CRS = 2,
    DSS = 3,
    CDSS = 4,
    General = 5,
    Pressuremeter = 6,
    CycTriaxial = 7
};

enum class TDrainage { Drained = 0, UndrainedA = 1, UndrainedB = 2, UndrainedC = 3, NonPorous = 4 };

const char* TestTypeName(TTestType type);
const char* DrainageName(TDrainage drainage);

constexpr int ParameterCount = 200;
constexpr int FirstFileVersion = 8;
constexpr int LastFileVersion = 9;
// More steps than this in one test is taken for a fault of the file rather than computed: the
// result would run to hundreds of megabytes.
constexpr long long MaxTotalSteps = 1'000'000;

struct TPhaseInput {
    std::string Name; // as the file names it, e.g. "phase 2, cycle 1"
    int Line = 0;     // of its step count
    int Steps = 0;
    double Duration = 0.0;
    Vec6 StrainIncrements = Vec6::Zero(); // whole phase, fractions
    Vec6 StressIncrements = Vec6::Zero(); // whole phase, pressure unit
    std::array<bool, 6> FixedStress{};    // boundary condition: false strain, true stress
    double SuctionIncrement = 0.0;
    double TemperatureIncrement = 0.0;
};

struct TKernelInput {
    std::string FileName;
    std::vector<std::string> Warnings;

    // [header]
    int Version = 0;
    std::string MaterialName;
    std::string ForceUnit, LengthUnit, TimeUnit, TemperatureUnit;
    double WaterWeight = 0.0;

    // [soilmodeldata]
    int ModelNumber = 0;
    int ModelLine = 0;
    std::string ModelCaption; // the label of the model line behind "soil model type "
    std::string LibraryName;
    TDrainage Drainage = TDrainage::Drained;
    int DrainageLine = 0;

    // [soilparameters]
    std::array<double, ParameterCount> Parameters{};
    int FirstParameterLine = 0;
    int ParameterLine(int place) const { return FirstParameterLine + place; }

    // [extraparameters]
    bool HasExtraParameters = false;
    double WaterThermalExpansion = 0.0;
    double IceThermalExpansion = 0.0;
    double MassUnitConversion = 0.0;
    int UseUnfrozenWaterContent = 0;
    int UnfrozenWaterRows = 0;
    std::vector<double> UnfrozenWaterCells;

    // [testparameters]
    TTestType TestType = TTestType::Triaxial;
    int TestTypeLine = 0;
    bool Undrained = false;
    bool Unsaturated = false;
    int UnsaturatedLine = 0;
    bool Thermal = false;
    int ThermalLine = 0;
    double Tolerance = 0.0;
    double Relaxation = 0.0;
    int MaxIterations = 0;
    bool ArcLength = false;
    double PreconsolidationStress = 0.0;
    double MobilisedShearStrength = -1.0;
    double InnerRadius = 0.0;
    int InnerRadiusLine = 0;
    int ControlType = 0;
    Vec6 InitialStress = Vec6::Zero(); // effective, pressure unit
    int InitialStressLine = 0;
    double InitialSuction = 0.0;
    double InitialTemperature = 0.0;
    std::vector<TPhaseInput> Phases;
    long long TotalSteps = 0;
    double TotalDuration = 0.0;

    std::string PressureUnit() const { return ForceUnit + "/" + LengthUnit + "2"; }
    // One kPa in the pressure unit of the file (1 for kN/m2, 0.001 for MN/m2), or 0 when the
    // force or the length unit is not one the lab writes.
    double KiloPascal() const;
};

// Reads the whole file; raises EKernelInput when it cannot be opened or does not hold what a
// kernel input file holds.
TKernelInput ReadKernelInput(const std::string& fileName);
// The same from text in memory; fileName only names the file in messages.
TKernelInput ParseKernelInput(const std::string& fileName, std::string_view text);

} // namespace tw::kernel
