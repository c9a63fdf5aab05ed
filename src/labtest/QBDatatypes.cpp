#include "labtest/QBDatatypes.h"

namespace tw {

const char* TestTypeName(TQBTestType type) {
    static const char* const names[QBTestTypeCount] = {
        "triaxial", "oedometer", "CRS", "DSS", "CDSS", "general", "pressuremeter", "cyctriaxial"};
    int index = static_cast<int>(type);
    return index >= 0 && index < QBTestTypeCount ? names[index] : "";
}

const char* TestClassTypeName(TQBTestType type) {
    static const char* const names[QBTestTypeCount] = {
        "Triaxial", "Oedometer", "CRS", "DSS", "CDSS", "General", "Pressuremeter", "CycTriaxial"};
    int index = static_cast<int>(type);
    return index >= 0 && index < QBTestTypeCount ? names[index] : "";
}

const char* LoadDirectionSuffix(TQBLoadDirection direction) {
    static const char* const suffixes[QBLoadDirectionCount] = {"xx", "yy", "zz", "xy", "yz", "zx"};
    return suffixes[static_cast<int>(direction)];
}

const std::vector<std::string>& BehaviorStrings() {
    static const std::vector<std::string> values{"qbbhDrained", "qbbhUndrained"};
    return values;
}
const std::vector<std::string>& BehaviorCaptions() {
    static const std::vector<std::string> values{"Drained", "Undrained"};
    return values;
}
const std::vector<std::string>& ConsolidationStrings() {
    static const std::vector<std::string> values{"qbcIsotropic", "qbcK0"};
    return values;
}
const std::vector<std::string>& ConsolidationCaptions() {
    static const std::vector<std::string> values{"Isotropic", "K0"};
    return values;
}
const std::vector<std::string>& DirectionStrings() {
    static const std::vector<std::string> values{"qbdCompression", "qbdExtension"};
    return values;
}
const std::vector<std::string>& DirectionCaptions() {
    static const std::vector<std::string> values{"Compression", "Extension"};
    return values;
}
const std::vector<std::string>& TestControlTypeStrings() {
    static const std::vector<std::string> values{"tctStrain", "tctStress"};
    return values;
}
const std::vector<std::string>& TestControlTypeCaptions() {
    static const std::vector<std::string> values{"Strain", "Stress"};
    return values;
}
const std::vector<std::string>& BoundaryConditionTypeStrings() {
    static const std::vector<std::string> values{"bcFixedStrain", "bcFixedStress"};
    return values;
}
const std::vector<std::string>& BoundaryConditionTypeCaptions() {
    static const std::vector<std::string> values{"Fixed strain", "Fixed stress"};
    return values;
}

std::string StressSymbol(TQBLoadDirection direction, bool effective) {
    const std::string suffix = LoadDirectionSuffix(direction);
    if (direction > ldZZ)
        return "@t#_" + suffix + "#";
    return std::string(effective ? "@s#'_" : "@s#_") + suffix + "#";
}

std::string StrainSymbol(TQBLoadDirection direction) {
    return std::string(direction > ldZZ ? "@g#_" : "@e#_") + LoadDirectionSuffix(direction) + "#";
}

} // namespace tw
