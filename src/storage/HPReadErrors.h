#pragma once
// Problems met while reading a file that do not stop the read: each with a severity, a text and
// the objects it concerns. The names of those objects are kept beside them, so a report still
// reads right after the objects are gone; an object that is destroyed drops out of its records.

#include "objects/KovBaseClasses.h"
#include "storage/StorageExceptions.h"

#include <memory>
#include <string>
#include <vector>

namespace tw {

enum THPReadErrorSeverity { hresInfo = 0, hresWarning = 1, hresError = 2 };

class THPReadError {
public:
    THPReadError(THPReadErrorSeverity severity, const std::string& error);
    THPReadError(const THPReadError&) = delete;
    THPReadError& operator=(const THPReadError&) = delete;
    ~THPReadError();

    const std::string& Error() const { return FError; }
    THPReadErrorSeverity Severity() const { return FSeverity; }

    // Adds an object the error concerns (nullptr adds only `name`).
    void AddTargetObject(TKovObject* object, const std::string& name = "");
    void RemoveTargetObject(TKovObject* object);
    // Forgets all targets.
    void Delete();
    // The first live target, or nullptr.
    TKovObject* GetOffendingObject() const;
    // nullptr once the object is gone.
    TKovObject* GetTargetObject(int index) const;
    std::string GetTargetObjectName(int index) const { return FObjectNames.at(index); }
    int TargetObjectsCount() const { return static_cast<int>(FObjectNames.size()); }
    std::string TargetObjectNamesCommaSeparated() const;

private:
    struct TTarget {
        TKovObject* Object;
        int Handle;
    };
    std::string FError;
    THPReadErrorSeverity FSeverity;
    std::vector<TTarget> FTargetObjects;
    std::vector<std::string> FObjectNames;
};

class THPReadErrorList {
public:
    int Count() const { return static_cast<int>(FErrors.size()); }
    bool Empty() const { return FErrors.empty(); }
    THPReadError& GetError(int index) const { return *FErrors.at(index); }
    THPReadError& AddError(THPReadErrorSeverity severity, const std::string& text,
                           const std::string& objectName = "", TKovObject* object = nullptr);
    // An error about a property of an object: both are targets.
    THPReadError& AddError(THPReadErrorSeverity severity, const std::string& text,
                           TKovObject* object, TKovObject* property);
    // Most severe first; equal severities keep their order.
    void SortByDecreasingSeverity();
    bool HasErrorOfSeverity(THPReadErrorSeverity severity) const;
    void Clear() { FErrors.clear(); }
    // One line per error, most severe first: "Error: text (objects)".
    std::string AsText() const;

private:
    std::vector<std::unique_ptr<THPReadError>> FErrors;
};

const char* SeverityName(THPReadErrorSeverity severity);

// The read problems as the user reads them: one line each, "Hint: ", "Warning: " or "Error: "
// and the text, in the order of the list (sort it first for the most severe first). Raises
// "Unexpected error severity: %d" for another severity.
std::vector<std::string> ReadFeedbackLines(const THPReadErrorList& errors);

// A problem of a read: recorded when there is a list, else raised as EHierarchicPersisterException.
void ReportReadProblem(THPReadErrorList* errors, THPReadErrorSeverity severity,
                       const std::string& text, TKovObject* object = nullptr,
                       TKovObject* property = nullptr);

} // namespace tw
