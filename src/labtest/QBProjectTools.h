#pragma once
// The project's tools among its global helpers: the objects that take the commands which name no
// target. `calculate Triaxial_1` goes to the calculation tools, `validate Material` to the
// material tools, `save Triaxial_1 "file"` to the save tools. Each keeps the project it serves;
// the commands themselves stand in their accessors (OAQBTools.h).
//
// Validation here is what the objects can tell by themselves: a soil model is chosen, every
// stored number lies in the range its declaration gives, every user value can be computed, a
// test has phases with steps. The rule groups of each soil model (stiffness ratios, strength
// parameters that must not all be zero, ...) are not checked yet.

#include "objects/KovBaseClasses.h"

#include <string>
#include <vector>

namespace tw {

class IQuantityPresenter;
class TQBProject;
class TQBTestBase;
class TKovMaterialX;

class TQBVirtualProjectTools : public TKovObject {
    TW_KOV_CLASS(TQBVirtualProjectTools, TKovObject)
public:
    using TKovObject::TKovObject;
    // The project these tools serve; set by the project that makes them.
    TQBProject* ParentProject() const { return FParentProject; }
    void SetParentProject(TQBProject* project) { FParentProject = project; }

private:
    TQBProject* FParentProject = nullptr;
};

class TQBCalculationTools : public TQBVirtualProjectTools {
    TW_KOV_CLASS(TQBCalculationTools, TQBVirtualProjectTools)
public:
    using TQBVirtualProjectTools::TQBVirtualProjectTools;
};

class TQBSaveTools : public TQBVirtualProjectTools {
    TW_KOV_CLASS(TQBSaveTools, TQBVirtualProjectTools)
public:
    using TQBVirtualProjectTools::TQBVirtualProjectTools;
};

class TQBMaterialTools : public TQBVirtualProjectTools {
    TW_KOV_CLASS(TQBMaterialTools, TQBVirtualProjectTools)
public:
    using TQBVirtualProjectTools::TQBVirtualProjectTools;
};

// One finding of a validation: its severity, its text (a heading and, after CR LF, advice) and
// the names of the parameters it concerns.
enum TQBValidationSeverity { qvsWarning, qvsError };
// What a validation's output shows.
enum TQBValidationFilter { qvfErrors, qvfWarnings, qvfAll };
struct TQBValidationFinding {
    TQBValidationSeverity Severity = qvsError;
    std::string Text;
    std::vector<std::string> Parameters;
};
using TQBValidationFindings = std::vector<TQBValidationFinding>;

class TQBValidation {
public:
    // The material: a soil model is chosen, every stored number is finite and lies within its
    // declared range, and every published user value can be computed. Ranges are shown in the
    // presentation units of `units` (nullptr: base units).
    static void ValidateMaterial(const TKovMaterialX& material, const IQuantityPresenter* units,
                                 TQBValidationFindings& findings);
    // The test: at least one phase, and steps to compute.
    static void ValidateTest(const TQBTestBase& test, TQBValidationFindings& findings);
    static bool ContainsErrors(const TQBValidationFindings& findings);
    // "Error: %s" or "Warning: %s", line ends turned into blanks.
    static std::string FindingLine(const TQBValidationFinding& finding);
    static bool PassesFilter(const TQBValidationFinding& finding, TQBValidationFilter filter);
};

} // namespace tw
