#include "labtest/QBProjectTools.h"

#include "labtest/QBTestBase.h"
#include "materials/KovMaterialX.h"
#include "materials/MaterialXExceptions.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyValueKinds.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <cmath>

namespace tw {

TW_KOV_CLASS_IMPL(TQBVirtualProjectTools, TKovObject, nullptr)
TW_KOV_CLASS_IMPL(TQBCalculationTools, TQBVirtualProjectTools, nullptr)
TW_KOV_CLASS_IMPL(TQBSaveTools, TQBVirtualProjectTools, nullptr)
TW_KOV_CLASS_IMPL(TQBMaterialTools, TQBVirtualProjectTools, nullptr)

namespace {

void Add(TQBValidationFindings& findings, TQBValidationSeverity severity, std::string text,
         std::vector<std::string> parameters = {}) {
    findings.push_back({severity, std::move(text), std::move(parameters)});
}

std::string Shown(double base, TQuantityType quantity, const IQuantityPresenter* units) {
    return FloatToStr(units ? units->ToPresentation(quantity, base) : base);
}

// A stored number of the material: finite and within its declared range.
void ValidateNumber(const TIPDouble& property, const IQuantityPresenter* units,
                    TQBValidationFindings& findings) {
    const auto* withUnit = dynamic_cast<const TIPDoubleWithUnit*>(&property);
    const TQuantityType quantity = withUnit ? withUnit->QuantityType() : qtDummy;
    const IQuantityPresenter* presenter = withUnit ? units : nullptr;
    const double value = property.Value();
    if (!std::isfinite(value)) {
        Add(findings, qvsError,
            Format(Translate("The value for %s is not set."), property.Name()) + "\r\n" +
                Translate("Please specify a valid value."),
            {property.Name()});
        return;
    }
    const auto* limits = property.Declaration() ? property.Declaration()->DoubleLimits() : nullptr;
    if (limits && limits->Active() && (value < limits->Min || value > limits->Max))
        Add(findings, qvsError,
            Format(Translate("%s must be between %s and %s."), property.Name(),
                   Shown(limits->Min, quantity, presenter),
                   Shown(limits->Max, quantity, presenter)),
            {property.Name()});
}

} // namespace

void TQBValidation::ValidateMaterial(const TKovMaterialX& material, const IQuantityPresenter* units,
                                     TQBValidationFindings& findings) {
    const std::string selector = material.ModelSelectorName();
    if (!selector.empty()) {
        const auto* model =
            dynamic_cast<const TIPEnumeration*>(material.FindUserProperty(selector));
        if (!model || model->IntValue() == 0)
            Add(findings, qvsError,
                Format(Translate("The value for %s is not set."), selector) + "\r\n" +
                    Translate("Please specify a valid value."),
                {selector});
    }
    // The stored values: those a file may bring in out of range.
    for (const TKovIntrinsicProperty* property : material.InternalProperties())
        if (const auto* number = dynamic_cast<const TIPDouble*>(property))
            ValidateNumber(*number, units, findings);
    // The user's values are computed from them: each must be computable. Their ranges are what a
    // user may type; a computed value may lie outside (an assumed saturation of a dry weight).
    for (const TKovIntrinsicProperty* property : material.UserProperties()) {
        if (!property->IsPublished())
            continue;
        try {
            property->ValueAsText();
        } catch (const EKovException& e) {
            Add(findings, qvsError, Format("%s: %s", property->Name(), e.what()),
                {property->Name()});
        }
    }
}

void TQBValidation::ValidateTest(const TQBTestBase& test, TQBValidationFindings& findings) {
    if (test.Phases().Count() == 0) {
        Add(findings, qvsError,
            Format(Translate("%s has no phases."), test.Name()) + "\r\n" +
                Translate("Add a phase to the test."));
        return;
    }
    int steps = 0;
    for (int i = 0; i < test.Phases().Count(); ++i)
        steps += std::max(0, test.Phases()[i].Steps());
    if (steps == 0)
        Add(findings, qvsError,
            Format(Translate("%s has no steps to calculate."), test.Name()) + "\r\n" +
                Translate("Give at least one phase a number of steps."));
}

bool TQBValidation::ContainsErrors(const TQBValidationFindings& findings) {
    for (const auto& finding : findings)
        if (finding.Severity == qvsError)
            return true;
    return false;
}

std::string TQBValidation::FindingLine(const TQBValidationFinding& finding) {
    std::string text = finding.Text;
    for (char& c : text)
        if (c == '\r' || c == '\n')
            c = ' ';
    // CR LF became two blanks.
    std::string single;
    for (char c : text)
        if (!(c == ' ' && !single.empty() && single.back() == ' '))
            single += c;
    return Format("%s: %s", Translate(finding.Severity == qvsError ? "Error" : "Warning"),
                  Trim(single));
}

bool TQBValidation::PassesFilter(const TQBValidationFinding& finding, TQBValidationFilter filter) {
    switch (filter) {
    case qvfErrors:
        return finding.Severity == qvsError;
    case qvfWarnings:
        return finding.Severity == qvsWarning;
    case qvfAll:
        return true;
    }
    return true;
}

} // namespace tw
