#include "KernelInput.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

namespace tw::kernel {

namespace {

// "file:line: reason", or "file: reason" when no single line is at fault.
std::string Located(const std::string& fileName, int line, const std::string& reason) {
    std::string text = fileName;
    if (line > 0) {
        text += ':';
        text += std::to_string(line);
    }
    text += ": ";
    text += reason;
    return text;
}

} // namespace

EKernelInput::EKernelInput(std::string fileName, int line, std::string reason)
    : std::runtime_error(Located(fileName, line, reason)), FFileName(std::move(fileName)),
      FLine(line), FReason(std::move(reason)) {}

const char* TestTypeName(TTestType type) {
    static const char* const names[] = {"triaxial", "oedometer", "CRS",           "DSS",
                                        "CDSS",     "general",   "pressuremeter", "cyctriaxial"};
    return names[static_cast<int>(type)];
}

const char* DrainageName(TDrainage drainage) {
    static const char* const names[] = {"drained", "undrained A", "undrained B", "undrained C",
                                        "non-porous"};
    return names[static_cast<int>(drainage)];
}

namespace {

std::string_view Trim(std::string_view text) {
    const char* blanks = " \t\r\n\f\v";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    const auto last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}

// A line of the file: the value text before the first "=", and the label behind it.
struct TSplitLine {
    std::string_view Value;
    std::string_view Label;
};

TSplitLine Split(std::string_view line) {
    const auto equals = line.find('=');
    if (equals == std::string_view::npos)
        return {Trim(line), {}};
    return {Trim(line.substr(0, equals)), Trim(line.substr(equals + 1))};
}

bool ParseDouble(std::string_view text, double& value) {
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    if (text.empty())
        return false;
    const auto result =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::general);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() &&
           std::isfinite(value);
}

bool ParseInt(std::string_view text, int& value) {
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    if (text.empty())
        return false;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// A head stands alone: "[name]", with no label. A value that merely starts with "[" (a material
// named "[A] clay") is no head.
bool IsSectionHead(std::string_view line) {
    const auto trimmed = Trim(line);
    return trimmed.size() >= 2 && trimmed.front() == '[' && trimmed.back() == ']' &&
           trimmed.find('=') == std::string_view::npos;
}

std::string Quote(std::string_view text) {
    constexpr size_t limit = 60;
    std::string shown(text.substr(0, limit));
    if (text.size() > limit)
        shown += "...";
    return "\"" + shown + "\"";
}

// Walks the lines of the file, one value at a time, and names the line of every fault.
class TLineCursor {
public:
    TLineCursor(std::string fileName, std::string_view text) : FFileName(std::move(fileName)) {
        if (text.substr(0, 3) == "\xEF\xBB\xBF")
            text.remove_prefix(3);
        size_t start = 0;
        while (start < text.size()) {
            auto end = text.find('\n', start);
            if (end == std::string_view::npos)
                end = text.size();
            auto line = text.substr(start, end - start);
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            FLines.push_back(line);
            start = end + 1;
        }
    }

    [[noreturn]] void Fail(int line, const std::string& reason) const {
        throw EKernelInput(FFileName, line, reason);
    }
    [[noreturn]] void Fail(const std::string& reason) const { Fail(FCurrent + 1, reason); }

    // Puts the cursor on the head of a section, searched from the top without regard to case.
    bool FindSection(std::string_view name) {
        for (size_t i = 0; i < FLines.size(); ++i) {
            const auto trimmed = Trim(FLines[i]);
            if (trimmed.find('[') != std::string_view::npos && EqualsNoCase(trimmed, name)) {
                FCurrent = static_cast<int>(i);
                return true;
            }
        }
        return false;
    }
    void RequireSection(std::string_view name) {
        if (!FindSection(name))
            Fail(0, "section " + std::string(name) + " is missing");
    }

    // The line behind the current one; its number becomes the current line number.
    std::string_view Next(std::string_view what) {
        if (FCurrent + 1 >= static_cast<int>(FLines.size()))
            Fail(static_cast<int>(FLines.size()) + 1,
                 "the file ends where " + Quote(what) + " was expected");
        ++FCurrent;
        return FLines[FCurrent];
    }
    // The line behind the current one without moving, or nothing at the end of the file.
    const std::string_view* Peek() const {
        return FCurrent + 1 < static_cast<int>(FLines.size()) ? &FLines[FCurrent + 1] : nullptr;
    }
    int LineNumber() const { return FCurrent + 1; }

    std::string_view NextValue(std::string_view what) {
        const auto line = Next(what);
        if (IsSectionHead(line))
            Fail("found the section head " + Quote(Trim(line)) + " where " + Quote(what) +
                 " was expected");
        return Split(line).Value;
    }
    std::string ReadString(std::string_view what) { return std::string(NextValue(what)); }
    double ReadDouble(std::string_view what) {
        const auto text = NextValue(what);
        double value = 0.0;
        if (!ParseDouble(text, value))
            Fail("expected a number for " + Quote(what) + ", found " + Quote(text));
        return value;
    }
    int ReadInt(std::string_view what) {
        const auto text = NextValue(what);
        int value = 0;
        if (!ParseInt(text, value))
            Fail("expected an integer for " + Quote(what) + ", found " + Quote(text));
        return value;
    }
    int ReadChoice(std::string_view what, int first, int last) {
        const int value = ReadInt(what);
        if (value < first || value > last)
            Fail(Quote(what) + " is " + std::to_string(value) + "; it must be " +
                 std::to_string(first) + (last == first + 1 ? " or " : " to ") +
                 std::to_string(last));
        return value;
    }
    // A list line: six values separated by tabs, then the label.
    template <typename T, typename Parse>
    std::array<T, 6> ReadList(std::string_view what, Parse parse, const char* kind) {
        const auto text = NextValue(what);
        std::array<T, 6> values{};
        size_t count = 0;
        size_t pos = 0;
        while (pos < text.size()) {
            const auto start = text.find_first_not_of(" \t", pos);
            if (start == std::string_view::npos)
                break;
            auto end = text.find_first_of(" \t", start);
            if (end == std::string_view::npos)
                end = text.size();
            const auto field = text.substr(start, end - start);
            if (count < 6 && !parse(field, values[count]))
                Fail("expected " + std::string(kind) + " for value " + std::to_string(count + 1) +
                     " of " + Quote(what) + ", found " + Quote(field));
            ++count;
            pos = end;
        }
        if (count != 6)
            Fail("expected 6 values for " + Quote(what) + ", found " + std::to_string(count));
        return values;
    }
    Vec6 ReadDoubles6(std::string_view what) {
        const auto values = ReadList<double>(what, ParseDouble, "a number");
        return Vec6(values.data());
    }
    std::array<int, 6> ReadInts6(std::string_view what) {
        return ReadList<int>(what, ParseInt, "an integer");
    }
    std::string_view CurrentLabel() const { return Split(FLines[FCurrent]).Label; }

    // True when the section has ended: the end of the file, a blank line or the next head.
    bool SectionEnds() const {
        const auto* next = Peek();
        return next == nullptr || Trim(*next).empty() || IsSectionHead(*next);
    }

private:
    std::string FFileName;
    std::vector<std::string_view> FLines;
    int FCurrent = -1;
};

void ReadHeader(TLineCursor& file, TKernelInput& input) {
    file.RequireSection("[header]");
    input.Version = file.ReadInt("file version number");
    if (input.Version < FirstFileVersion)
        file.Fail("file version " + std::to_string(input.Version) +
                  ": this kernel reads versions " + std::to_string(FirstFileVersion) + " and " +
                  std::to_string(LastFileVersion));
    if (input.Version > LastFileVersion)
        input.Warnings.push_back("file version " + std::to_string(input.Version) +
                                 " is newer than this kernel knows; read as version " +
                                 std::to_string(LastFileVersion));
    input.MaterialName = file.ReadString("materialname");
    auto unit = [&](const char* what) {
        auto name = file.ReadString(what);
        if (name.empty())
            file.Fail(Quote(what) + " is empty");
        return name;
    };
    input.ForceUnit = unit("unit of force");
    input.LengthUnit = unit("unit of length");
    input.TimeUnit = unit("unit of time");
    if (input.Version >= 9) {
        input.TemperatureUnit = unit("unit of temperature");
        input.WaterWeight = file.ReadDouble("water weight");
    }
}

void ReadSoilModelData(TLineCursor& file, TKernelInput& input) {
    file.RequireSection("[soilmodeldata]");
    input.ModelNumber = file.ReadInt("soil model type");
    input.ModelLine = file.LineNumber();
    constexpr std::string_view prefix = "soil model type";
    auto caption = file.CurrentLabel();
    if (caption.substr(0, prefix.size()) == prefix)
        caption = Trim(caption.substr(prefix.size()));
    input.ModelCaption = std::string(caption);
    input.LibraryName = file.ReadString("dll name");
    // An empty drainage line counts as drained.
    const auto text = file.NextValue("drainage");
    input.DrainageLine = file.LineNumber();
    int drainage = 0;
    if (!text.empty() && !ParseInt(text, drainage))
        file.Fail("expected an integer for \"drainage\", found " + Quote(text));
    if (drainage < 0 || drainage > 4)
        file.Fail("\"drainage\" is " + std::to_string(drainage) + "; it must be 0 to 4");
    input.Drainage = static_cast<TDrainage>(drainage);
}

void ReadSoilParameters(TLineCursor& file, TKernelInput& input) {
    file.RequireSection("[soilparameters]");
    input.FirstParameterLine = file.LineNumber() + 1;
    for (int place = 0; place < ParameterCount; ++place) {
        const auto* next = file.Peek();
        if (next == nullptr || Trim(*next).empty() || IsSectionHead(*next))
            file.Fail(file.LineNumber() + 1, "[soilparameters] holds " + std::to_string(place) +
                                                 " values; it must hold " +
                                                 std::to_string(ParameterCount));
        input.Parameters[place] = file.ReadDouble("soil parameter " + std::to_string(place));
    }
    if (!file.SectionEnds())
        file.Fail(file.LineNumber() + 1,
                  "[soilparameters] holds more than " + std::to_string(ParameterCount) + " values");
}

void ReadExtraParameters(TLineCursor& file, TKernelInput& input) {
    // Version 8 files of the legacy route may come without this section.
    if (!file.FindSection("[extraparameters]")) {
        if (input.Version >= 9)
            file.Fail(0, "section [extraparameters] is missing");
        return;
    }
    input.HasExtraParameters = true;
    input.WaterThermalExpansion = file.ReadDouble("water thermal expansion");
    input.IceThermalExpansion = file.ReadDouble("ice thermal expansion");
    input.MassUnitConversion = file.ReadDouble("mass unit conversion");
    input.UseUnfrozenWaterContent = file.ReadInt("useUWC");
    if (input.UseUnfrozenWaterContent != 1)
        return;
    input.UnfrozenWaterRows = file.ReadInt("number of rows");
    const int rowsLine = file.LineNumber();
    if (input.UnfrozenWaterRows < 0)
        file.Fail("\"number of rows\" is negative");
    // The cells stand one a line, row by row; the file does not say how many columns a row has,
    // so the cell count must be a whole multiple of the rows.
    while (!file.SectionEnds())
        input.UnfrozenWaterCells.push_back(file.ReadDouble("unfrozen water content table cell"));
    const auto cells = static_cast<int>(input.UnfrozenWaterCells.size());
    const int rows = input.UnfrozenWaterRows;
    if ((rows == 0 && cells != 0) || (rows > 0 && (cells == 0 || cells % rows != 0)))
        file.Fail(rowsLine, "the unfrozen water content table has " + std::to_string(rows) +
                                " rows but " + std::to_string(cells) + " cells");
}

void ReadPhase(TLineCursor& file, TKernelInput& input, int index) {
    TPhaseInput phase;
    const std::string fallback = "phase " + std::to_string(index + 1);
    phase.Steps = file.ReadInt("number of steps in " + fallback);
    phase.Line = file.LineNumber();
    constexpr std::string_view prefix = "number of steps in ";
    const auto label = file.CurrentLabel();
    phase.Name = label.substr(0, prefix.size()) == prefix
                     ? std::string(Trim(label.substr(prefix.size())))
                     : fallback;
    if (phase.Name.empty())
        phase.Name = fallback;
    const std::string& n = phase.Name;
    if (phase.Steps < 0)
        file.Fail("\"number of steps in " + n + "\" is " + std::to_string(phase.Steps) +
                  "; a phase takes no steps or more");
    // A phase of no steps (a blank phase the user inserted) applies nothing; say so, and go on.
    if (phase.Steps == 0)
        input.Warnings.push_back(n + " has no steps; it applies nothing");
    input.TotalSteps += phase.Steps;
    if (input.TotalSteps > MaxTotalSteps)
        file.Fail("the test takes more than " + std::to_string(MaxTotalSteps) +
                  " steps, the most this kernel computes in one run");
    phase.Duration = file.ReadDouble("phase duration for " + n);
    if (phase.Duration < 0.0)
        file.Fail("\"phase duration for " + n + "\" is negative");
    // The time of the rows is the sum of the durations: it must stay a finite number.
    input.TotalDuration += phase.Duration;
    if (!std::isfinite(input.TotalDuration))
        file.Fail("the phase durations up to " + n + " add up beyond the largest number");
    phase.StrainIncrements = file.ReadDoubles6("strain increments for " + n);
    phase.StressIncrements = file.ReadDoubles6("stress increments for " + n);
    const auto conditions = file.ReadInts6("boundary conditions");
    for (int i = 0; i < 6; ++i) {
        if (conditions[i] != 0 && conditions[i] != 1)
            file.Fail("boundary condition " + std::to_string(i + 1) + " of " + n + " is " +
                      std::to_string(conditions[i]) + "; it must be 0 (strain) or 1 (stress)");
        phase.FixedStress[i] = conditions[i] == 1;
    }
    if (input.Version >= 9) {
        phase.SuctionIncrement = file.ReadDouble("suction increment for " + n);
        phase.TemperatureIncrement = file.ReadDouble("temperature increment for " + n);
    }
    input.Phases.push_back(std::move(phase));
}

void ReadTestParameters(TLineCursor& file, TKernelInput& input) {
    file.RequireSection("[testparameters]");
    const int type = file.ReadInt("test type");
    input.TestTypeLine = file.LineNumber();
    if (type < 0 || type > 7)
        file.Fail("Unknown test type: " + std::to_string(type));
    input.TestType = static_cast<TTestType>(type);
    input.Undrained = file.ReadChoice("behavior", 0, 1) == 1;
    if (input.Version >= 9) {
        input.Unsaturated = file.ReadChoice("unsaturated", 0, 1) == 1;
        input.UnsaturatedLine = file.LineNumber();
        input.Thermal = file.ReadChoice("thermal", 0, 1) == 1;
        input.ThermalLine = file.LineNumber();
    }
    input.Tolerance = file.ReadDouble("error1");
    if (!(input.Tolerance > 0.0))
        file.Fail("\"error1\" must be above 0");
    input.Relaxation = file.ReadDouble("relax");
    if (!(input.Relaxation > 0.0 && input.Relaxation <= 2.0))
        file.Fail("\"relax\" must lie above 0 and at most 2");
    input.MaxIterations = file.ReadInt("maxiter");
    if (input.MaxIterations < 1)
        file.Fail("\"maxiter\" must be at least 1");
    input.ArcLength = file.ReadChoice("arclength", 0, 1) == 1;
    input.PreconsolidationStress = file.ReadDouble("isotropic preconsolidation stress");
    input.MobilisedShearStrength = file.ReadDouble("mob. rel. shear strength");
    input.InnerRadius = file.ReadDouble("inner radius");
    input.InnerRadiusLine = file.LineNumber();
    if (input.InnerRadius < 0.0)
        file.Fail("\"inner radius\" is negative");
    input.ControlType = file.ReadChoice("test control type", 0, 1);
    input.InitialStress = file.ReadDoubles6("initial stresses");
    input.InitialStressLine = file.LineNumber();
    if (input.Version >= 9) {
        input.InitialSuction = file.ReadDouble("initial suction");
        input.InitialTemperature = file.ReadDouble("initial temperature");
    }
    const int phases = file.ReadInt("number of phases");
    const int countLine = file.LineNumber();
    if (phases < 0)
        file.Fail("\"number of phases\" is negative");
    for (int i = 0; i < phases; ++i) {
        if (file.SectionEnds())
            file.Fail(countLine, "\"number of phases\" is " + std::to_string(phases) +
                                     ", but the section ends after " + std::to_string(i));
        ReadPhase(file, input, i);
    }
    if (!file.SectionEnds())
        file.Fail(file.LineNumber() + 1, "[testparameters] goes on behind the " +
                                             std::to_string(phases) +
                                             " phases that \"number of phases\" announces");
}

} // namespace

TKernelInput ParseKernelInput(const std::string& fileName, std::string_view text) {
    TLineCursor file(fileName, text);
    TKernelInput input;
    input.FileName = fileName;
    ReadHeader(file, input);
    ReadSoilModelData(file, input);
    ReadSoilParameters(file, input);
    ReadExtraParameters(file, input);
    ReadTestParameters(file, input);
    return input;
}

double TKernelInput::KiloPascal() const {
    // The units of the lab's projects: force in kN, length in m.
    struct TFactor {
        const char* Name;
        double Value;
    };
    static constexpr TFactor Forces[] = {
        {"N", 0.001}, {"kN", 1.0}, {"MN", 1000.0}, {"lbf", 4.448221615e-3}, {"kip", 4.448221615}};
    static constexpr TFactor Lengths[] = {{"mm", 0.001},  {"cm", 0.01},   {"m", 1.0},
                                          {"km", 1000.0}, {"in", 0.0254}, {"ft", 0.3048},
                                          {"yd", 0.9144}};
    auto find = [](const auto& table, const std::string& name) {
        for (const auto& f : table)
            if (name == f.Name)
                return f.Value;
        return 0.0;
    };
    const double force = find(Forces, ForceUnit);
    const double length = find(Lengths, LengthUnit);
    if (force == 0.0 || length == 0.0)
        return 0.0;
    // One pressure unit of the file is force / length^2 kPa (force in kN, length in m).
    return length * length / force;
}

TKernelInput ReadKernelInput(const std::string& fileName) {
    std::ifstream stream(fileName, std::ios::binary);
    if (!stream)
        throw EKernelInput(fileName, 0,
                           std::string("cannot open the input file: ") + std::strerror(errno));
    std::ostringstream text;
    text << stream.rdbuf();
    if (stream.bad())
        throw EKernelInput(fileName, 0, "cannot read the input file");
    return ParseKernelInput(fileName, text.str());
}

} // namespace tw::kernel
