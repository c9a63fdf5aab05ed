#pragma once
// What one command gives back: objects (found or made; not owned, they live in the model),
// numbers, an optional content tree, comment lines, and the outcome: an error code with its
// additional information. A user's mistake is an error code here, never an exception.

#include "commands/ContentData.h"
#include "services/Format.h"

#include <memory>
#include <string>
#include <vector>

namespace tw {

class TKovObject;

enum TCommandErrorCode {
    cecNoError,
    cecCouldNotExecute,
    cecPatternNotImplemented,
    cecZeroCommandMatches,
    cecZeroPatternMatches,
    cecMultipleCommandMatches,
    cecMultiplePatternMatches,
    cecInvalidParameters,
    cecExecutionFailed
};

// Line ends between the lines of additional information and comments.
inline constexpr const char* CommandLineBreak = "\r\n";

// The text of an error code when the output carries none of its own. The command name and object
// text fill the two codes that name them.
std::string CommandErrorCodeText(TCommandErrorCode code, const std::string& commandName = "",
                                 const std::string& objectText = "");

class TCommandOutput {
public:
    TCommandOutput() = default;
    TCommandOutput(const TCommandOutput& other) { Assign(other); }
    TCommandOutput& operator=(const TCommandOutput& other) {
        if (this != &other)
            Assign(other);
        return *this;
    }

    TCommandErrorCode ErrorCode() const { return FErrorCode; }
    void SetErrorCode(TCommandErrorCode code) { FErrorCode = code; }
    bool HasError() const { return FErrorCode != cecNoError; }
    // Lines joined by CommandLineBreak.
    const std::string& AdditionalInfo() const { return FAdditionalInfo; }
    void SetAdditionalInfo(const std::string& info) { FAdditionalInfo = info; }
    const std::vector<std::string>& AdditionalComments() const { return FAdditionalComments; }

    // Clears everything and sets the outcome.
    void InitializeAsOK();
    void InitializeAsOK(const std::string& info);
    template <typename... Args> void InitializeAsOK(const char* format, const Args&... args) {
        InitializeAsOK(Format(format, args...));
    }
    void InitializeAsError(TCommandErrorCode code);
    void InitializeAsError(TCommandErrorCode code, const std::string& info);
    template <typename... Args>
    void InitializeAsError(TCommandErrorCode code, const char* format, const Args&... args) {
        InitializeAsError(code, Format(format, args...));
    }

    void AddAdditionalInfoLine(const std::string& line);
    template <typename... Args>
    void AddAdditionalInfoLine(const char* format, const Args&... args) {
        AddAdditionalInfoLine(Format(format, args...));
    }
    void AddAdditionalCommentLine(const std::string& line) { FAdditionalComments.push_back(line); }

    void AddResultObject(TKovObject* object) { FResultObjects.push_back(object); }
    void AddResultObjectsFrom(const TCommandOutput& other);
    // Replaces the result objects by those of `other`.
    void CopyResultObjectsFrom(const TCommandOutput& other);
    void AddResultValue(double value) { FResultValues.push_back(value); }
    int ResultObjectsCount() const { return static_cast<int>(FResultObjects.size()); }
    int ResultValuesCount() const { return static_cast<int>(FResultValues.size()); }
    TKovObject* GetResultObject(int index) const { return FResultObjects.at(index); }
    double GetResultValue(int index) const { return FResultValues.at(index); }
    TKovObject* LastResultObject() const {
        return FResultObjects.empty() ? nullptr : FResultObjects.back();
    }
    const std::vector<TKovObject*>& ResultObjects() const { return FResultObjects; }
    const std::vector<double>& ResultValues() const { return FResultValues; }

    void SetJSONObject(std::unique_ptr<TPASContentData> data) { FJSONObject = std::move(data); }
    const TPASContentData* JSONObject() const { return FJSONObject.get(); }
    std::unique_ptr<TPASContentData> ExtractJSONObject() { return std::move(FJSONObject); }

    void Assign(const TCommandOutput& other);
    // Takes the outcome of a command run on behalf of this one: its error code (when it failed),
    // its information and comment lines, its objects and values.
    void UpdateFromFollowupCommand(const TCommandOutput& followup);

private:
    std::vector<TKovObject*> FResultObjects;
    std::vector<double> FResultValues;
    std::unique_ptr<TPASContentData> FJSONObject;
    std::vector<std::string> FAdditionalComments;
    TCommandErrorCode FErrorCode = cecNoError;
    std::string FAdditionalInfo;
};

} // namespace tw
