#pragma once
// What a test file (".twt.kovml") holds: one material and one test calculated on it. The file
// stores the test's class type name under "TestType" and the test under "Test"; reading makes the
// test of that type first and reads it with the persister of tests.

#include "labtest/QBTestBase.h"
#include "labtest/TarnwickPersistence.h"

namespace tw {

class TTarnwickResults : public TTarnwickMaterialContainer {
    TW_KOV_CLASS(TTarnwickResults, TTarnwickMaterialContainer)
public:
    using TTarnwickMaterialContainer::TTarnwickMaterialContainer;
    ~TTarnwickResults() override;

    TQBTestBase* Test() const { return FTest.get(); }
    // The test runs on this container's material.
    void SetTest(std::unique_ptr<TQBTestBase> test);
    std::unique_ptr<TQBTestBase> ExtractTest();

private:
    std::unique_ptr<TQBTestBase> FTest;
};

class THPTarnwickResults : public THPTarnwickMaterialContainer {
public:
    const TKovClass& SupportedClass() const override;
    void CommitLoadedObject(TKovObject& target, TKovObject& loaded) override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    void PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage) override;
    // Makes the test of the stored type; an unknown type is an error of the file.
    void BeforeLoad(TKovObject& object, THierarchicStorage& storage,
                    THPReadErrorList* errors) override;
};

// Writes `test` with its results and a copy of the framework material it runs on, by the file's
// extension, through a temporary file beside the target. Raises for a test on another material.
void WriteTestResultsFile(const TQBTestBase& test, const std::string& fileName);
// Reads a test file into a test of its own, without manager: it owns a static copy of the
// material it was calculated with and keeps the behaviour it was calculated with, even one that
// material would not allow now. Raises, with the file's name, for a file that cannot be read.
std::unique_ptr<TQBTestBase> ReadTestResultsFile(const std::string& fileName,
                                                 THPReadErrorList* errors);

} // namespace tw
