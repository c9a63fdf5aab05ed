#include "objects/ComparisonUtils.h"

#include "services/Format.h"

#include <cctype>

namespace tw {

void TDoubleEqualityEvaluator::AddEvaluationFunction(const std::string& key,
                                                     TEvaluation evaluation) {
    FEvaluations[key] = std::move(evaluation);
}

bool TDoubleEqualityEvaluator::Evaluate(double a, double b, const std::string& key) const {
    auto it = FEvaluations.find(key);
    if (it == FEvaluations.end() || !it->second)
        throw EComparisonException(
            Format("Unable to compare the values %s and %s, no evaluation function is defined!",
                   FloatToStr(a), FloatToStr(b)));
    return it->second(a, b);
}

namespace {
int Lower(char c) {
    return std::tolower(static_cast<unsigned char>(c));
}
} // namespace

bool TCaseInsensitiveStringComparer::Equals(std::string_view a, std::string_view b) {
    return a.size() == b.size() && Compare(a, b) == 0;
}

int TCaseInsensitiveStringComparer::Compare(std::string_view a, std::string_view b) {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        const int d = Lower(a[i]) - Lower(b[i]);
        if (d != 0)
            return d;
    }
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

size_t TCaseInsensitiveStringComparer::Hash(std::string_view text) {
    size_t hash = 14695981039346656037ull; // FNV-1a over the lower-case bytes
    for (char c : text) {
        hash ^= static_cast<size_t>(Lower(c));
        hash *= 1099511628211ull;
    }
    return hash;
}

} // namespace tw
