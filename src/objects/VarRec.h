#pragma once
// The tagged value record that carries a property's value, message arguments and generic values
// between layers.

#include <cstdint>
#include <string>
#include <variant>

namespace tw {

class TKovObject;

using TVarRec = std::variant<int32_t, bool, double, std::string, TKovObject*>;

inline bool VarIsInteger(const TVarRec& v) {
    return std::holds_alternative<int32_t>(v);
}
inline bool VarIsBoolean(const TVarRec& v) {
    return std::holds_alternative<bool>(v);
}
inline bool VarIsFloat(const TVarRec& v) {
    return std::holds_alternative<double>(v);
}
inline bool VarIsString(const TVarRec& v) {
    return std::holds_alternative<std::string>(v);
}
inline bool VarIsObject(const TVarRec& v) {
    return std::holds_alternative<TKovObject*>(v);
}

// The record's value as text, for captions and messages.
std::string VarRecToString(const TVarRec& v);

} // namespace tw
