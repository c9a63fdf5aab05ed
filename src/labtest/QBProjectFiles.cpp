// The project's files: test files into and out of the project, and the whole project as XML.

#include "labtest/QBPersisters.h"
#include "labtest/QBProject.h"
#include "labtest/TarnwickResults.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Strings.h"
#include "units/ProjectUnits.h"

#include <filesystem>
#include <optional>

namespace tw {

TQBTestBase& TQBProject::ReadTestResultsXML(const std::string& fileName, THPReadErrorList* errors) {
    std::unique_ptr<TQBTestBase> test = ReadTestResultsFile(fileName, errors);
    TQBTestBase& added = *test;
    AddLoadedTest(std::move(test));
    return added;
}

void TQBProject::WriteTestResultsXML(const std::string& fileName, TQBTestType testType) {
    const TQBTestBase* test = FMainTests->ByTestType(testType);
    if (!test)
        throw EQBProjectException(Format("Unknown test type: %d", static_cast<int>(testType)));
    WriteTestResultsFile(*test, fileName);
}

bool TQBProject::WriteQBO(const std::string& fileName) {
    RegisterTarnwickPersistence();
    THierarchicPersisters::Instance().PersistObject(*this, fileName);
    std::error_code ignored;
    return std::filesystem::exists(fileName, ignored);
}

namespace {
// The three units an old project file stands in: each an enumeration node with its text and
// ordinal, the text preferred.
void ReadLegacyUnits(const THierarchicStorage& root, TSystemOfUnits& units) {
    for (TProjectUnitKind kind : {pukLength, pukForce, pukTime}) {
        const TProjectUnitList& list = ProjectUnitList(kind);
        const THierarchicStorage* node = root.GetChildByName(list.PropertyName);
        if (!node)
            continue;
        const THierarchicStorage* text = node->GetChildByName("TextValue");
        const THierarchicStorage* number = node->GetChildByName("IntegerValue");
        int ordinal = -1;
        if (text)
            for (size_t i = 0; i < list.Strings.size(); ++i)
                if (SameText(list.Strings[i], text->GetValueAsString()))
                    ordinal = static_cast<int>(i);
        if (ordinal < 0 && number)
            ordinal = number->GetValueAsInt32(-1);
        if (ordinal >= 0 && ordinal < static_cast<int>(list.Strings.size()))
            SetProjectUnit(units, kind, ordinal);
    }
}
} // namespace

bool TQBProject::ReadQBO(const std::string& fileName, THPReadErrorList* errors) {
    RegisterTarnwickPersistence();
    THighPerformanceMode highPerformance(ObjectManager());
    THPReadErrorList ownErrors;
    THPReadErrorList* readErrors = errors ? errors : &ownErrors;
    std::unique_ptr<THierarchicStorage> storage = LoadStorageFromFile(fileName);
    try {
        if (!SameText(storage->Name(), GetObjectTypeName()))
            throw EStorageIncompatibleFile(Format("Could not find node: %s", GetObjectTypeName()));
        // Older files hold numbers with units in their own units, which the file's unit
        // properties name: they are converted on reading.
        const THierarchicStorage* versionNode = storage->GetChildByName("UnitSystemVersion");
        const int version = versionNode ? versionNode->GetValueAsInt32(-1) : -1;
        std::optional<TSystemOfUnits> legacyUnits;
        std::optional<TScopedPersister> legacy;
        if (version < 0) {
            legacyUnits.emplace(*FSystemOfUnits);
            ReadLegacyUnits(*storage, *legacyUnits);
            legacy.emplace(std::make_unique<THPLegacyConversionIPDoubleWithUnit>(*legacyUnits));
        }
        THierarchicPersisters::Instance().LoadObject(*this, *storage, readErrors);
    } catch (const std::exception& e) {
        const std::string prefix = Format("Error reading \"%s\": ", fileName);
        const std::string text = e.what();
        throw EHierarchicPersisterException(StartsText(prefix, text) ? text : prefix + text);
    }
    if (TKovObjectManager* manager = ObjectManager())
        manager->ClearRevertStacks();
    return true;
}

} // namespace tw
