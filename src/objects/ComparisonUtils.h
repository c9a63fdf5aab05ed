#pragma once
// Small comparison helpers: keyed evaluators of the equality of two numbers, the comparison of
// stored functions, and a case-insensitive comparer of texts.

#include "services/KovException.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace tw {

TW_DECLARE_EXCEPTION(EComparisonException, EKovException)

// Decides whether two numbers are equal by a rule chosen by key (a tolerance per quantity, for
// example). Asking for a key without a rule raises.
class TDoubleEqualityEvaluator {
public:
    using TEvaluation = std::function<bool(double a, double b)>;

    // Adds the rule for `key`, or replaces it.
    void AddEvaluationFunction(const std::string& key, TEvaluation evaluation);
    bool HasEvaluationFunction(const std::string& key) const {
        return FEvaluations.count(key) != 0;
    }
    bool Evaluate(double a, double b, const std::string& key) const;

private:
    std::map<std::string, TEvaluation> FEvaluations;
};

// Two stored functions are equal when they are the same function object (copies of one
// declaration share it), when both are empty, or when both hold the same plain function. Two
// closures made separately can't be told apart by their code and count as different.
struct TAnonymousFunctionComparer {
    template <typename F>
    static bool AreEqual(const std::shared_ptr<const std::function<F>>& a,
                         const std::shared_ptr<const std::function<F>>& b) {
        if (a == b)
            return true;
        const bool emptyA = !a || !*a, emptyB = !b || !*b;
        if (emptyA || emptyB)
            return emptyA && emptyB;
        return AreEqual(*a, *b);
    }

    template <typename F>
    static bool AreEqual(const std::function<F>& a, const std::function<F>& b) {
        if (!a || !b)
            return !a && !b;
        if (a.target_type() != b.target_type())
            return false;
        using TPlain = std::add_pointer_t<F>;
        const TPlain* pa = a.template target<TPlain>();
        const TPlain* pb = b.template target<TPlain>();
        return pa && pb && *pa == *pb;
    }
};

// Case-insensitive (ASCII) equality, order and hash of texts, for maps keyed by names.
struct TCaseInsensitiveStringComparer {
    static bool Equals(std::string_view a, std::string_view b);
    // Negative, zero or positive, as a before, equal to or after b.
    static int Compare(std::string_view a, std::string_view b);
    static size_t Hash(std::string_view text);

    bool operator()(std::string_view a, std::string_view b) const { return Compare(a, b) < 0; }
};

} // namespace tw
