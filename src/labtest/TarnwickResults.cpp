#include "labtest/TarnwickResults.h"

#include "labtest/QBPersisters.h"
#include "labtest/QBPropertyNames.h"
#include "labtest/QBTestList.h"
#include "services/Format.h"
#include "services/Strings.h"

namespace tw {

TW_KOV_CLASS_IMPL(TTarnwickResults, TTarnwickMaterialContainer, nullptr)

TTarnwickResults::~TTarnwickResults() {
    FTest.reset(); // it may ask for the material
}

void TTarnwickResults::SetTest(std::unique_ptr<TQBTestBase> test) {
    FTest = std::move(test);
    if (!FTest)
        return;
    FTest->SetOwnedMaterial(nullptr);
    FTest->SetOnGetMaterial([this]() -> ITestMaterial* { return SoilMaterialX(); });
}

std::unique_ptr<TQBTestBase> TTarnwickResults::ExtractTest() {
    if (FTest)
        FTest->SetOnGetMaterial(nullptr);
    return std::move(FTest);
}

namespace {
constexpr const char* TestTypeNodeName = "TestType";
constexpr const char* TestName = "Test";
} // namespace

const TKovClass& THPTarnwickResults::SupportedClass() const {
    return TTarnwickResults::StaticClass();
}

void THPTarnwickResults::AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) {
    THPTarnwickMaterialContainer::AddAdditionalObjects(object, list);
    if (TQBTestBase* test = static_cast<TTarnwickResults&>(object).Test())
        list.Add(TestName, test);
}

void THPTarnwickResults::PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage) {
    TAdditionalPersistObjects list;
    AddAdditionalObjects(object, list);
    for (int i = 0; i < list.Count(); ++i) {
        TAdditionalPersister& entry = list[i];
        if (entry.FIsEmptyAndShouldNotBeWritten)
            continue;
        // The type comes first: a reader makes the test before it reads it.
        if (SameText(entry.FStorageName, TestName))
            storage.AddChild(TestTypeNodeName).SetValueAsString(entry.FObject->GetObjectTypeName());
        entry.FPersister->PersistObjectDirectlyInStorage(*entry.FObject,
                                                         storage.AddChild(entry.FStorageName));
    }
}

void THPTarnwickResults::BeforeLoad(TKovObject& object, THierarchicStorage& storage,
                                    THPReadErrorList* errors) {
    THPTarnwickMaterialContainer::BeforeLoad(object, storage, errors);
    auto& results = static_cast<TTarnwickResults&>(object);
    const THierarchicStorage* typeNode = storage.GetChildByName(TestTypeNodeName);
    const THierarchicStorage* testNode = storage.GetChildByName(TestName);
    const std::string typeName = typeNode ? typeNode->GetValueAsString() : std::string();
    TQBTestType type;
    if (!testNode || !TestTypeOfClassTypeName(typeName, type)) {
        ReportReadProblem(errors, hresError,
                          testNode ? Format("Could not find a class for type name %s!", typeName)
                                   : Format("The file holds no test (no \"%s\" in \"%s\")",
                                            TestName, storage.Name()),
                          &object);
        return;
    }
    results.SetTest(CreateTest(type, object.ObjectManager(), StoredTestMethod(*testNode)));
}

void THPTarnwickResults::CommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    THPTarnwickMaterialContainer::CommitLoadedObject(target, loaded);
    auto& into = static_cast<TTarnwickResults&>(target);
    into.SetTest(static_cast<TTarnwickResults&>(loaded).ExtractTest());
}

// ---------------------------------------------------------------------------------------------

void WriteTestResultsFile(const TQBTestBase& test, const std::string& fileName) {
    RegisterTarnwickPersistence();
    const auto* material = dynamic_cast<const TKovMaterialX*>(test.Material());
    if (!material)
        throw EQBTestException(
            Format("The test %s runs on no framework material and cannot be written to %s",
                   test.Name(), fileName));
    auto results = Make<TTarnwickResults>(nullptr);
    results->SetMaterialXCopy(*material);
    std::unique_ptr<TQBTestBase> clone = test.Clone();
    clone->SetName(test.Name());
    results->SetTest(std::move(clone));
    THierarchicPersisters::Instance().PersistObject(*results, fileName);
}

std::unique_ptr<TQBTestBase> ReadTestResultsFile(const std::string& fileName,
                                                 THPReadErrorList* errors) {
    RegisterTarnwickPersistence();
    std::unique_ptr<TTarnwickResults> results =
        THierarchicPersisters::Instance().LoadNew<TTarnwickResults>(nullptr, fileName, errors);
    TQBTestBase* test = results->Test();
    if (!test || !results->SoilMaterialX())
        throw EHierarchicPersisterException(
            Format("Error reading \"%s\": the file holds no test on a soil material", fileName));
    // A clone has identities of its own (the file's stay with the file, which may be read again)
    // and owns a static copy of the material. The rows are handed over, not copied.
    const TQBBehavior behaviour = test->Behavior();
    const int rows = test->Results().RowCount();
    TQBResults::TColumns columns = test->Results().TakeRows();
    std::unique_ptr<TQBTestBase> loaded = test->Clone();
    loaded->Results().ReplaceRows(rows, std::move(columns));
    if (loaded->HasResults())
        loaded->DoAfterLoadResults();
    loaded->SetName(test->Name());
    if (loaded->Behavior() != behaviour) {
        loaded->EnableAllBehaviors();
        loaded->Property(ip::Behaviour).SetIntValue(behaviour);
    }
    loaded->SetMaterialInSyncWithTest(true);
    return loaded;
}

} // namespace tw
