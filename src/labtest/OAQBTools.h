#pragma once
// The accessors of the project's tools: `calculate` (`ca`) a test through the project's DoTest and
// the kernel, `save` (`sv`) a test's results to a file, and `validate` (`val`) a material, with an
// optional filter ("Errors", "Warnings", "All"). The tools have neither `set` nor `rename`.

#include "commands/OAKovObject.h"

namespace tw {

class TOAQBCalculationTools : public TOAKovObject {
public:
    TOAQBCalculationTools();

private:
    void ComCalculate(TKovObject* object, const TCommandParameterList& parameters,
                      TCommandOutput& output, bool predict) const;
};

class TOAQBSaveTools : public TOAKovObject {
public:
    TOAQBSaveTools();

    // The file a test is saved to: the name as given, with ".twt.kovml" added when it ends in no
    // extension of a storage format (".kovml", ".xml").
    static std::string TestFileName(const std::string& name);

private:
    void ComSave(TKovObject* object, const TCommandParameterList& parameters,
                 TCommandOutput& output, bool predict) const;
    // `loadconfiguration Triaxial_1 "FILE"`: a saved test configuration into the test.
    void ComLoadConfiguration(TKovObject* object, const TCommandParameterList& parameters,
                              TCommandOutput& output, bool predict) const;
};

class TOAQBMaterialTools : public TOAKovObject {
public:
    TOAQBMaterialTools();

    // The filter of `validate`: "Errors", "Warnings" or "All".
    static const TComParClassRef& FilterClass();

private:
    void ComValidate(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

// `validate` of a material through its tools or the material itself: the findings that pass the
// filter, one line each ("Error: ...", "Warning: ..."), or "No problems found."; fails only for
// an object that is no framework material.
void ValidateMaterialCommand(TKovObject* material, int filter, TCommandOutput& output,
                             bool predict);

} // namespace tw
