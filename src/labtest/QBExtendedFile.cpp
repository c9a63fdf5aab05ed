#include "labtest/QBExtendedFile.h"
#include "labtest/QBPropertyNames.h"
#include "objects/UpdateBracket.h"

#include "labtest/QBRFile.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <cmath>
#include <numbers>

namespace tw {

namespace {
// Strain increments are held in percent and written as fractions.
constexpr double PercentToFraction = 0.01;
constexpr double FractionToPercent = 100.0;
// Before version 6 the test type ordinal 4 stood for the general test.
constexpr int OldGeneralTestOrdinal = 4;

const TKovIntrinsicProperty* InnerRadiusProperty(const TQBTestBase& test) {
    return test.TestType() == ttPressuremeter ? test.GetIntrinsicPropertyByName(ip::InnerRadius)
                                              : nullptr;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// TQBExtendedFile

void TQBExtendedFile::WriteStrains(const TQBLoadDirectionDoubleArray& percent,
                                   const std::string& label) {
    TQBLoadDirectionDoubleArray fractions;
    for (TQBLoadDirection d : AllLoadDirections)
        fractions[d] = percent[d] * PercentToFraction;
    WriteDoubleList(fractions.data(), QBLoadDirectionCount, label);
}

void TQBExtendedFile::WriteStresses(const TQBLoadDirectionDoubleArray& pascal,
                                    const std::string& label) {
    const TUnit_Abstract& pressure = Unit(qtPressure);
    TQBLoadDirectionDoubleArray presented;
    for (TQBLoadDirection d : AllLoadDirections)
        presented[d] = pressure.ToPresentation(pascal[d]);
    WriteDoubleList(presented.data(), QBLoadDirectionCount, label);
}

void TQBExtendedFile::WriteBoundaryConditions(const TQBBoundaryConditions& conditions,
                                              const std::string& label) {
    int ordinals[QBLoadDirectionCount];
    for (TQBLoadDirection d : AllLoadDirections)
        ordinals[d] = static_cast<int>(conditions[d]);
    WriteIntegerList(ordinals, QBLoadDirectionCount, label);
}

TQBLoadDirectionDoubleArray TQBExtendedFile::ReadStrains() {
    const std::vector<double> values = ReadNextLineAsDoubles(QBLoadDirectionCount);
    TQBLoadDirectionDoubleArray percent;
    for (TQBLoadDirection d : AllLoadDirections)
        percent[d] = values[d] * FractionToPercent;
    return percent;
}

TQBLoadDirectionDoubleArray TQBExtendedFile::ReadStresses() {
    const std::vector<double> values = ReadNextLineAsDoubles(QBLoadDirectionCount);
    const TUnit_Abstract& pressure = Unit(qtPressure);
    TQBLoadDirectionDoubleArray pascal;
    for (TQBLoadDirection d : AllLoadDirections)
        pascal[d] = pressure.ToSI(values[d]);
    return pascal;
}

TQBBoundaryConditions TQBExtendedFile::ReadBoundaryConditions() {
    const std::vector<int> values = ReadNextLineAsIntegers(QBLoadDirectionCount);
    TQBBoundaryConditions conditions;
    for (TQBLoadDirection d : AllLoadDirections) {
        if (values[d] != bcFixedStrain && values[d] != bcFixedStress)
            throw EQBFileException(
                Format("Boundary condition %d in line %d of %s is neither 0 (strain) nor 1 "
                       "(stress)",
                       values[d], Pos(), FileName()));
        conditions[d] = static_cast<TQBBoundaryConditionType>(values[d]);
    }
    return conditions;
}

void TQBExtendedFile::WriteResults(const TQBResults& results) {
    Guarded([&] {
        const TSystemOfUnits& units = StorageSystemOfUnits();
        WriteSection("[testresults]");
        std::string line;
        for (int row = 0; row < results.RowCount(); ++row) {
            line.clear();
            for (int index = 0; index < results.ResultColCount(); ++index) {
                if (index > 0)
                    line += '\t';
                if (results.GetIsSetByIndex(row, index))
                    line += FloatToStr(results.GetPresentationValueByIndex(row, index, &units));
            }
            WriteRawLine(line);
        }
    });
}

void TQBExtendedFile::ReadResults(TQBResults& results) {
    SetPosBySection("[testresults]", 0, true);
    const TResultRowConversion conversion(&StorageSystemOfUnits());
    TUpdateBracket update(results);
    try {
        results.ClearRows();
        while (!EndOfFile()) {
            const std::string line = ReadNextLine();
            if (Trim(line).empty())
                continue;
            ReadResultRow(line, results, results.AddNewRow(), VersionNumber(), conversion);
        }
        results.CalculateDerivedResults();
    } catch (...) {
        results.ClearRows(); // no half-read results
        throw;
    }
    update.Close();
}

void TQBExtendedFile::LoadTest(TQBTestBase& test) {
    TUndoSnapshot snapshot(test, "Read test from file");
    TUpdateBracket update(test);
    ReadTestData(test);
    update.Close();
    snapshot.Close();
}

// ---------------------------------------------------------------------------------------------
// TQBCFile: writing

TQBCFile::TQBCFile(const TSystemOfUnits* units, const std::string& fileName)
    : TQBExtendedFile(units, fileName) {
    SetKeepsPreviousFileOnFailure(false);
}

void TQBCFile::WriteAll(const TQBTestBase& test, const ITestMaterial* material,
                        double iceThermalExpansion, double liquidThermalExpansion) {
    Guarded([&] {
        WriteMaterialX(material);
        WriteExtraParameters(material, iceThermalExpansion, liquidThermalExpansion);
        WriteTest(test);
    });
}

void TQBCFile::WriteExtraParameters(const ITestMaterial* material, double iceThermalExpansion,
                                    double liquidThermalExpansion) {
    Guarded([&] {
        const TSystemOfUnits& units = StorageSystemOfUnits();
        // An expansion per kelvin becomes one per degree of the file.
        const TUnit_Abstract& perTemperature = units.PerTemperature;
        WriteSection("[extraparameters]");
        WriteDouble(perTemperature.ToPresentation(liquidThermalExpansion),
                    "water thermal expansion");
        WriteDouble(perTemperature.ToPresentation(iceThermalExpansion), "ice thermal expansion");
        WriteDouble(units.Mass.ToSI(1.0), "mass unit conversion");
        const int method =
            material ? static_cast<int>(std::lround(
                           material->GetNumber("UnfrozenWaterSaturationMethod").value_or(0.0)))
                     : 0;
        WriteInteger(method, "useUWC");
        if (method != 1)
            return;
        const TTestMaterialTable table =
            material->GetTable("UnfrozenWaterSaturationTable").value_or(TTestMaterialTable{});
        WriteInteger(static_cast<int>(table.Rows.size()), "number of rows");
        for (const std::vector<double>& row : table.Rows)
            for (size_t c = 0; c < row.size(); ++c) {
                const TQuantityType quantity =
                    c < table.ColumnQuantities.size() ? table.ColumnQuantities[c] : qtDummy;
                WriteDouble(units.GetUnit(quantity).ToPresentation(row[c]));
            }
    });
}

void TQBCFile::WriteTest(const TQBTestBase& test) {
    Guarded([&] {
        const TSystemOfUnits& units = StorageSystemOfUnits();
        const bool version9 = VersionNumber() >= QBFileVersion;
        const bool suction = test.IsSuctionEnabled();
        const bool thermal = test.IsThermalEnabled();

        WriteSection("[testparameters]");
        WriteInteger(test.TestType(), TestTypeName(test.TestType()));
        WriteInteger(test.Behavior(), "behavior");
        if (version9) {
            WriteInteger(suction ? 1 : 0, "unsaturated");
            WriteInteger(thermal ? 1 : 0, "thermal");
        }
        WriteDouble(test.Error(), "error1");
        WriteDouble(test.Relax(), "relax");
        WriteInteger(test.MaxIter(), "maxiter");
        // The label carries the state.
        WriteInteger(test.ArcLength() ? 1 : 0, test.ArcLength() ? "arclength on" : "arclength off");
        WriteInitialConditions(test);
        if (test.ApplyMobShearStrength())
            WriteDouble(test.MobilisedShearStrength(), "mob. rel. shear strength");
        else
            WriteInteger(-1, "mob. rel. shear strength");
        const auto* radius = dynamic_cast<const TIPDouble*>(InnerRadiusProperty(test));
        WriteDouble(radius ? units.Length.ToPresentation(radius->Value()) : 0.0, "inner radius");
        WriteInteger(test.TestControlType(), "test control type");
        WriteStresses(test.InitialEffectiveStresses(), "initial stresses");
        if (version9) {
            if (suction)
                WriteDouble(units.Pressure.ToPresentation(test.InitialSuction()),
                            "initial suction");
            else
                WriteInteger(0, "initial suction");
            if (thermal)
                WriteDouble(units.Temperature.ToPresentation(test.InitialTemperature()),
                            "initial temperature");
            else
                WriteInteger(0, "initial temperature");
        }
        WriteInteger(test.PhaseCountIncludingCycles(), "number of phases");

        // A phase that starts a cyclic definition is written with all its cycles, and the walk
        // goes on behind the definition's last phase. A definition whose last phase isn't behind
        // its first in the list starts nothing, as it counts for nothing in the number above.
        const TQBPhaseList& phases = test.Phases();
        for (int i = 0; i < phases.Count(); ++i) {
            const TQBPhase& phase = phases[i];
            const std::optional<TQBCyclicPhases*> cyclic =
                test.GetCyclicPhasesForStartPhase(&phase);
            const int last = cyclic ? phases.IndexOf((*cyclic)->LastPhase()) : -1;
            if (last > i) {
                const int cycles = (*cyclic)->Cycles();
                for (int cycle = 1; cycle <= cycles; ++cycle)
                    for (int j = i; j <= last; ++j)
                        WritePhase(test, phases[j], Format("phase %d, cycle %d", j + 1, cycle));
                i = last;
            } else {
                WritePhase(test, phase, "phase " + std::to_string(i + 1));
            }
        }
        WriteBlankLine();
    });
}

void TQBCFile::WritePhase(const TQBTestBase& test, const TQBPhase& phase, const std::string& name) {
    const TSystemOfUnits& units = StorageSystemOfUnits();
    WriteInteger(phase.Steps(), "number of steps in " + name);
    WriteDouble(units.Time.ToPresentation(phase.Duration()), "phase duration for " + name);
    WriteStrains(phase.StrainIncrements(), "strain increments for " + name);
    WriteStresses(phase.StressIncrements(), "stress increments for " + name);
    WriteBoundaryConditions(phase.BoundaryConditions(), "boundary conditions");
    if (VersionNumber() >= QBFileVersion) {
        if (test.IsSuctionEnabled())
            WriteDouble(units.Pressure.ToPresentation(phase.SuctionIncrement()),
                        "suction increment for " + name);
        else
            WriteInteger(0, "suction increment for " + name);
        if (test.IsThermalEnabled())
            WriteDouble(units.TemperatureInterval.ToPresentation(phase.TemperatureIncrement()),
                        "temperature increment for " + name);
        else
            WriteInteger(0, "temperature increment for " + name);
    }
}

void TQBCFile::WriteInitialConditions(const TQBTestBase& test) {
    WriteDouble(IsotropicPreconsolidationStress(test.Material(), test.PreconsolidationPressure(),
                                                StorageSystemOfUnits()),
                "isotropic preconsolidation stress");
}

double IsotropicPreconsolidationStress(const ITestMaterial* material, double verticalPascal,
                                       const TSystemOfUnits& units) {
    const double s = units.Pressure.ToPresentation(verticalPascal);
    if (std::fabs(s) < QBTolerance || !material)
        return 0.0;
    auto number = [&](const char* name) {
        const std::optional<double> value = material->GetNumber(name);
        if (!value)
            throw EQBFileException(Format("The material \"%s\" has no value \"%s\"",
                                          material->Identification(), name));
        return *value;
    };
    auto nonZero = [&](const char* name) {
        const double value = number(name);
        if (std::fabs(value) < QBTolerance)
            throw EQBFileException(
                Format("The isotropic preconsolidation stress of material \"%s\" can't be "
                       "computed: \"%s\" is 0",
                       material->Identification(), name));
        return value;
    };
    auto stresses = [&](double k0nc, double& p, double& q) {
        p = (2.0 * k0nc + 1.0) / 3.0 * s;
        q = (1.0 - k0nc) * s;
    };
    const TMXSoil_MaterialModel model = material->SoilModel();
    auto unexpected = [&] {
        return EQBFileException(Format("Unexpected soil model: %s", MaterialModelCaption(model)));
    };
    double p = 0.0, q = 0.0;
    switch (model) {
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall: {
        const THSCapAlphaFunction& capAlpha = HSCapAlphaFunction();
        if (!capAlpha)
            throw unexpected();
        const double k0nc = number("HSK0nc");
        stresses(k0nc, p, q);
        const double alpha = capAlpha(*material, k0nc);
        if (std::fabs(alpha) < QBTolerance)
            return 0.0;
        return std::sqrt(p * p + (q / alpha) * (q / alpha));
    }
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep: {
        stresses(number("SSK0nc"), p, q);
        const double m = nonZero("SSM");
        const double c = units.Pressure.ToPresentation(number("cRef"));
        const double phi = number("phi") * std::numbers::pi / 180.0; // degrees
        const double tanPhi = std::tan(phi);
        // c cot(phi): no cohesion adds nothing, even without friction.
        const double cohesion = std::fabs(c) < QBTolerance ? 0.0 : c / tanPhi;
        return p + q * q / (m * m) / (p + cohesion);
    }
    case mxsmmModifiedCamClay: {
        stresses(number("MCCK0nc"), p, q);
        const double m = nonZero("MCCMCsl");
        if (std::fabs(p) < QBTolerance)
            return 1.0;
        return q * q / (m * m) / p + p;
    }
    case mxsmmSOInviscid:
    case mxsmmSOViscid:
        throw unexpected();
    default:
        return 0.0; // no preconsolidation in the model
    }
}

// ---------------------------------------------------------------------------------------------
// TQBCFile: reading

void TQBCFile::ReadTestData(TQBTestBase& test) {
    ReadHeader();
    ReadTestParameters(test);
}

void TQBCFile::ReadTestParameters(TQBTestBase& test) {
    const int version = VersionNumber();
    if (version >= QBFileVersion)
        throw EQBFileException(Format(
            "The test parameters of a file of version %d can't be read: %s", version, FileName()));
    const TSystemOfUnits& units = StorageSystemOfUnits();
    SetPosBySection("[testparameters]", 0, true);

    int type = ReadNextLineAsInteger();
    if (version < 6 && type == OldGeneralTestOrdinal)
        type = ttGeneral;
    if (type != test.TestType())
        throw EQBFileException("Test type in file doesn't match type of test.");
    test.Property(ip::Behaviour).SetIntValue(ReadNextLineAsInteger());
    test.Property(ip::Error).SetValue(ReadNextLineAsDouble());
    test.Property(ip::Relax).SetValue(ReadNextLineAsDouble());
    test.Property(ip::Iteration).SetValue(ReadNextLineAsInteger());
    test.Property(ip::ArcLength).SetValue(ReadNextLineAsInteger() != 0);
    test.Property(ip::PreconsolidationPressure)
        .SetValue(units.Pressure.ToSI(ReadNextLineAsDouble()));
    const double mobilised = ReadNextLineAsDouble();
    test.Property(ip::ApplyMobilisedShearStrength).SetValue(mobilised > 0);
    test.Property(ip::MobilisedShearStrength).SetValue(mobilised > 0 ? mobilised : 0.0);
    if (version >= 8) {
        const double radius = ReadNextLineAsDouble();
        if (TKovIntrinsicProperty* property = test.GetIntrinsicPropertyByName(ip::InnerRadius))
            if (auto* number = dynamic_cast<TIPDouble*>(property))
                number->SetValue(units.Length.ToSI(radius));
        test.Property(ip::TestControlType).SetIntValue(ReadNextLineAsInteger());
    }
    const TQBLoadDirectionDoubleArray stresses = ReadStresses();
    for (TQBLoadDirection d : AllLoadDirections)
        test.SetInitialEffectiveStress(d, stresses[d]);
    // Before version 6 one set of boundary conditions held for all phases.
    TQBBoundaryConditions conditions{};
    if (version < 6)
        conditions = ReadBoundaryConditions();
    const int count = ReadNextLineAsInteger();
    if (count < 0)
        throw EQBFileException(
            Format("The number of phases in line %d of %s is negative", Pos(), FileName()));

    test.ClipPhases(0);
    test.CyclicPhases().Clear();
    for (int i = 0; i < count; ++i) {
        const int steps = ReadNextLineAsInteger();
        const double duration = units.Time.ToSI(ReadNextLineAsDouble());
        const TQBLoadDirectionDoubleArray strains = ReadStrains();
        const TQBLoadDirectionDoubleArray phaseStresses = ReadStresses();
        if (version >= 6)
            conditions = ReadBoundaryConditions();
        test.Phases().AddWithSettings(&test, steps, duration, strains, phaseStresses, conditions);
    }
    test.DoAfterLoadPhases();
}

// ---------------------------------------------------------------------------------------------
// TQBTFile

TQBTFile::TQBTFile(const TSystemOfUnits* units, const std::string& fileName)
    : TQBCFile(units, fileName) {
    SetVersionNumber(8);
    SetKeepsPreviousFileOnFailure(true);
}

void TQBTFile::WriteTest(const TQBTestBase& test) {
    Guarded([&] {
        TQBCFile::WriteTest(test);
        WriteResults(test.Results());
    });
}

void TQBTFile::WriteInitialConditions(const TQBTestBase& test) {
    WriteDouble(StorageSystemOfUnits().Pressure.ToPresentation(test.PreconsolidationPressure()),
                "isotropic preconsolidation stress");
}

void TQBTFile::ReadTestData(TQBTestBase& test) {
    TQBCFile::ReadTestData(test);
    ReadResults(test.Results());
    test.DoAfterLoadResults();
    test.DoAfterLoadFromStorage();
}

// ---------------------------------------------------------------------------------------------
// TQBSFile

TQBSFile::TQBSFile(const TSystemOfUnits* units, const std::string& fileName)
    : TQBCFile(units, fileName) {
    SetVersionNumber(8);
    SetKeepsPreviousFileOnFailure(true);
}

void TQBSFile::WriteTest(const TQBTestBase& test) {
    Guarded([&] {
        WriteHeader(nullptr, 8);
        TQBCFile::WriteTest(test);
        // The test keeps no chart settings of its own yet: the section holds none.
        WriteSection("[chartsettings]");
        WriteInteger(0, "number of charts");
    });
}

void TQBSFile::WriteInitialConditions(const TQBTestBase& test) {
    WriteDouble(StorageSystemOfUnits().Pressure.ToPresentation(test.PreconsolidationPressure()),
                "isotropic preconsolidation stress");
}

void TQBSFile::ReadTestData(TQBTestBase& test) {
    test.ResetToDefault(false);
    TQBCFile::ReadTestData(test);
    if (SetPosBySection("[chartsettings]", 0, false)) {
        // One line a chart; they have nowhere to go until tests keep chart settings.
        const int charts = ReadNextLineAsInteger();
        for (int i = 0; i < charts && !EndOfFile(); ++i)
            ReadNextLine();
    }
    test.DoAfterLoadFromStorage();
}

} // namespace tw
