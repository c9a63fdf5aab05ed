#include "objects/VarRec.h"

#include "objects/KovBaseClasses.h"
#include "services/Format.h"

#include <type_traits>
#include <variant>

namespace tw {

std::string VarRecToString(const TVarRec& v) {
    return std::visit(
        [](const auto& value) -> std::string {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, bool>)
                return value ? "True" : "False";
            else if constexpr (std::is_same_v<T, int32_t>)
                return std::to_string(value);
            else if constexpr (std::is_same_v<T, double>)
                return FloatToStr(value);
            else if constexpr (std::is_same_v<T, std::string>)
                return value;
            else
                return value ? value->Name() : std::string("nil");
        },
        v);
}

} // namespace tw
