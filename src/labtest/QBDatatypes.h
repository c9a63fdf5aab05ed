#pragma once
// The data types of the laboratory tests. Ordinals are those of the kernel files.

#include <array>
#include <string>
#include <vector>

namespace tw {

enum TQBTestMethod : int { tm2D = 0, tm3D = 1 };

enum TQBTestType : int {
    ttTriaxial = 0,
    ttOedometer = 1,
    ttCRS = 2,
    ttDSS = 3,
    ttCDSS = 4,
    ttGeneral = 5,
    ttPressuremeter = 6,
    ttCycTriaxial = 7,
};
constexpr int QBTestTypeCount = 8;

enum TQBBehavior : int { qbbhDrained = 0, qbbhUndrained = 1 };
enum TQBConsolidation : int { qbcIsotropic = 0, qbcK0 = 1 };
enum TQBDirection : int { qbdCompression = 0, qbdExtension = 1 };
enum TTestControlType : int { tctStrain = 0, tctStress = 1 };
enum TQBLoadDirection : int { ldXX = 0, ldYY = 1, ldZZ = 2, ldXY = 3, ldYZ = 4, ldZX = 5 };
constexpr int QBLoadDirectionCount = 6;
enum TQBBoundaryConditionType : int { bcFixedStrain = 0, bcFixedStress = 1 };
enum TQBAdditionalLines : int { adCurrent = 0, adAll = 1, adNone = 2 };
enum TQBAxisCategory : int { acStrain = 0, acStress = 1, acTime = 2, acTemperature = 3 };

using TQBLoadDirectionDoubleArray = std::array<double, QBLoadDirectionCount>;
using TQBBoundaryConditions = std::array<TQBBoundaryConditionType, QBLoadDirectionCount>;

// Real numbers of the tests compare within this, absolute.
constexpr double QBTolerance = 1e-12;

// The phase of a new test runs a day in 100 steps.
constexpr double OneDay = 86400.0; // seconds
constexpr int DefaultPhaseSteps = 100;

constexpr TQBLoadDirection AllLoadDirections[QBLoadDirectionCount] = {ldXX, ldYY, ldZZ,
                                                                      ldXY, ldYZ, ldZX};

// The lower-case names of the test types, used in kernel files and messages.
const char* TestTypeName(TQBTestType type);
// The type names of the test classes ("Triaxial", "CycTriaxial", ...): what files and commands
// call them, their captions, and the root of their default names.
const char* TestClassTypeName(TQBTestType type);
// The suffix of a direction in property names: "xx", "yy", "zz", "xy", "yz", "zx".
const char* LoadDirectionSuffix(TQBLoadDirection direction);
// The symbols of a direction in caption markup: "@s#'_xx#" (effective) or "@s#_xx#" for a normal
// stress, "@t#_xy#" for a shear stress, "@e#_xx#" for a strain and "@g#_xy#" for a shear strain
// (an engineering strain).
std::string StressSymbol(TQBLoadDirection direction, bool effective);
std::string StrainSymbol(TQBLoadDirection direction);

// Enumerated strings and captions of the typed enumeration properties.
const std::vector<std::string>& BehaviorStrings();
const std::vector<std::string>& BehaviorCaptions();
const std::vector<std::string>& ConsolidationStrings();
const std::vector<std::string>& ConsolidationCaptions();
const std::vector<std::string>& DirectionStrings();
const std::vector<std::string>& DirectionCaptions();
const std::vector<std::string>& TestControlTypeStrings();
const std::vector<std::string>& TestControlTypeCaptions();
const std::vector<std::string>& BoundaryConditionTypeStrings();
const std::vector<std::string>& BoundaryConditionTypeCaptions();

} // namespace tw
