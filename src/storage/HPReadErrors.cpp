#include "storage/HPReadErrors.h"

#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <algorithm>

namespace tw {

const char* SeverityName(THPReadErrorSeverity severity) {
    switch (severity) {
    case hresInfo:
        return "Information";
    case hresWarning:
        return "Warning";
    default:
        return "Error";
    }
}

void ReportReadProblem(THPReadErrorList* errors, THPReadErrorSeverity severity,
                       const std::string& text, TKovObject* object, TKovObject* property) {
    if (!errors)
        throw EHierarchicPersisterException(text);
    errors->AddError(severity, text, object, property);
}

THPReadError::THPReadError(THPReadErrorSeverity severity, const std::string& error)
    : FError(error), FSeverity(severity) {}

THPReadError::~THPReadError() {
    Delete();
}

void THPReadError::AddTargetObject(TKovObject* object, const std::string& name) {
    int handle = 0;
    if (object)
        handle = object->AddPermanentDestroyCallback([this](TKovObject* gone) {
            for (auto& target : FTargetObjects)
                if (target.Object == gone)
                    target.Object = nullptr;
        });
    FTargetObjects.push_back({object, handle});
    FObjectNames.push_back(!name.empty() || !object ? name : object->Name());
}

void THPReadError::RemoveTargetObject(TKovObject* object) {
    for (size_t i = 0; i < FTargetObjects.size(); ++i)
        if (FTargetObjects[i].Object == object) {
            object->RemovePermanentDestroyCallback(FTargetObjects[i].Handle);
            FTargetObjects.erase(FTargetObjects.begin() + static_cast<std::ptrdiff_t>(i));
            FObjectNames.erase(FObjectNames.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
}

void THPReadError::Delete() {
    for (const auto& target : FTargetObjects)
        if (target.Object)
            target.Object->RemovePermanentDestroyCallback(target.Handle);
    FTargetObjects.clear();
    FObjectNames.clear();
}

TKovObject* THPReadError::GetOffendingObject() const {
    for (const auto& target : FTargetObjects)
        if (target.Object)
            return target.Object;
    return nullptr;
}

TKovObject* THPReadError::GetTargetObject(int index) const {
    return FTargetObjects.at(index).Object;
}

std::string THPReadError::TargetObjectNamesCommaSeparated() const {
    std::vector<std::string> names;
    for (const auto& name : FObjectNames)
        if (!name.empty())
            names.push_back(name);
    return Join(names, ", ");
}

THPReadError& THPReadErrorList::AddError(THPReadErrorSeverity severity, const std::string& text,
                                         const std::string& objectName, TKovObject* object) {
    FErrors.push_back(std::make_unique<THPReadError>(severity, text));
    if (object || !objectName.empty())
        FErrors.back()->AddTargetObject(object, objectName);
    return *FErrors.back();
}

THPReadError& THPReadErrorList::AddError(THPReadErrorSeverity severity, const std::string& text,
                                         TKovObject* object, TKovObject* property) {
    THPReadError& error = AddError(severity, text, "", object);
    if (property)
        error.AddTargetObject(property);
    return error;
}

void THPReadErrorList::SortByDecreasingSeverity() {
    std::stable_sort(FErrors.begin(), FErrors.end(),
                     [](const auto& a, const auto& b) { return a->Severity() > b->Severity(); });
}

bool THPReadErrorList::HasErrorOfSeverity(THPReadErrorSeverity severity) const {
    return std::any_of(FErrors.begin(), FErrors.end(),
                       [&](const auto& error) { return error->Severity() == severity; });
}

std::string THPReadErrorList::AsText() const {
    std::vector<const THPReadError*> sorted;
    for (const auto& error : FErrors)
        sorted.push_back(error.get());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto* a, const auto* b) { return a->Severity() > b->Severity(); });
    std::string text;
    for (const THPReadError* error : sorted) {
        text += SeverityName(error->Severity());
        text += ": ";
        text += error->Error();
        const std::string names = error->TargetObjectNamesCommaSeparated();
        if (!names.empty())
            text += " (" + names + ")";
        text += "\n";
    }
    return text;
}

std::vector<std::string> ReadFeedbackLines(const THPReadErrorList& errors) {
    std::vector<std::string> lines;
    for (int i = 0; i < errors.Count(); ++i) {
        const THPReadError& error = errors.GetError(i);
        const char* label;
        switch (error.Severity()) {
        case hresInfo:
            label = "Hint";
            break;
        case hresWarning:
            label = "Warning";
            break;
        case hresError:
            label = "Error";
            break;
        default:
            throw EKovException(
                Format("Unexpected error severity: %d", static_cast<int>(error.Severity())));
        }
        std::string line = Translate(label) + ": " + error.Error();
        if (error.TargetObjectsCount() > 0)
            line += " (" + error.TargetObjectNamesCommaSeparated() + ")";
        lines.push_back(line);
    }
    return lines;
}

} // namespace tw
