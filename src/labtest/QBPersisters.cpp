#include "labtest/QBPersisters.h"

#include "labtest/Increments.h"
#include "labtest/QBResultsOld.h"
#include "labtest/QBTestList.h"
#include "labtest/TarnwickResults.h"
#include "materials/MaterialXFactory.h"
#include "objects/ClassObjectAssociations.h"
#include "objects/KovValues.h"
#include "objects/UpdateBracket.h"
#include "services/Format.h"
#include "services/Strings.h"
#include "units/ProjectUnits.h"

#include <charconv>
#include <cstring>
#include <mutex>

namespace tw {

namespace {

// The storage names of a test's owned objects, which the test's reference properties stand for.
constexpr const char* PhasesName = "Phases";
constexpr const char* CyclicPhasesName = "CyclicPhases";
constexpr const char* ChartSettingsName = "ChartSettings";
constexpr const char* LoadedChartSettingsName = "LoadedChartSettings";
constexpr const char* BulkResultsName = "BulkResults";
constexpr const char* OldResultsName = "Results";
constexpr const char* InitialStressesName = "InitialStresses";
constexpr const char* MaterialXName = "MaterialX";
constexpr const char* TestMethodName = "TestMethod";

bool IsEntry(const TAdditionalPersister& entry, const char* name) {
    return SameText(entry.FStorageName, name);
}

// Old elements are read into objects of their own, made for the read and never written.
template <typename T>
TAdditionalPersister& AddReadOnlyEntry(TAdditionalPersistObjects& list, const char* name) {
    return list.Add(name, Make<T>(nullptr).release(), true, true);
}

} // namespace

bool TestTypeOfClassTypeName(const std::string& name, TQBTestType& type) {
    for (int t = 0; t < QBTestTypeCount; ++t)
        if (SameText(name, TestClassTypeName(static_cast<TQBTestType>(t)))) {
            type = static_cast<TQBTestType>(t);
            return true;
        }
    return false;
}

TQBTestMethod StoredTestMethod(const THierarchicStorage& storage) {
    return storage.GetNamedValue(TestMethodName) == "0" ? tm2D : tm3D;
}

// ---------------------------------------------------------------------------------------------
// Numbers and flags

void WriteStoredDoubles(THierarchicStorage& storage, std::span<const double> values) {
    if (storage.LikesBlobs()) {
        storage.SetValueAsBlobBuffer(values.data(), values.size() * sizeof(double));
        return;
    }
    std::string text;
    text.reserve(values.size() * 12);
    for (double value : values) {
        if (!text.empty())
            text += ' ';
        text += THierarchicStorage::DoubleToStorageString(value);
    }
    storage.SetValueAsString(text);
}

void WriteStoredBooleans(THierarchicStorage& storage, std::span<const uint8_t> flags) {
    if (storage.LikesBlobs()) {
        storage.SetValueAsBlobBuffer(flags.data(), flags.size());
        return;
    }
    std::string text(flags.size(), '0');
    for (size_t i = 0; i < flags.size(); ++i)
        if (flags[i])
            text[i] = '1';
    storage.SetValueAsString(text);
}

bool ReadStoredDoubles(const THierarchicStorage& storage, std::vector<double>& values) {
    if (storage.ValueType() == svtBlob) {
        const uint64_t size = storage.GetValueAsBlobSize();
        if (size % sizeof(double) != 0)
            return false;
        std::vector<double> read(size / sizeof(double));
        storage.GetValueAsBlobBuffer(read.data(), size);
        values = std::move(read);
        return true;
    }
    const std::string text = storage.GetValueAsString();
    std::vector<double> read;
    const char* p = text.data();
    const char* end = p + text.size();
    while (p < end) {
        if (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r') {
            ++p;
            continue;
        }
        double value;
        // "." always, whatever the locale; from_chars takes no leading "+", which no writer
        // writes.
        const auto [next, ec] = std::from_chars(p, end, value);
        if (ec != std::errc() ||
            (next < end && *next != ' ' && *next != '\t' && *next != '\n' && *next != '\r'))
            return false;
        read.push_back(value);
        p = next;
    }
    values = std::move(read);
    return true;
}

bool ReadStoredBooleans(const THierarchicStorage& storage, std::vector<uint8_t>& flags) {
    if (storage.ValueType() == svtBlob) {
        std::vector<uint8_t> read = storage.GetValueAsBlobBuffer();
        for (uint8_t& flag : read)
            flag = flag ? 1 : 0;
        flags = std::move(read);
        return true;
    }
    const std::string text = storage.GetValueAsString();
    std::vector<uint8_t> read(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '0' && text[i] != '1')
            return false;
        read[i] = text[i] == '1';
    }
    flags = std::move(read);
    return true;
}

// ---------------------------------------------------------------------------------------------
// THPQBProject

const TKovClass& THPQBProject::SupportedClass() const {
    return TQBProject::StaticClass();
}

void THPQBProject::AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) {
    THPKovObservableObject::AddAdditionalObjects(object, list);
    auto& project = static_cast<TQBProject&>(object);
    list.Add("MainTests", &project.MainTests());
    list.Add("LoadedTests", &project.LoadedTests());
}

void THPQBProject::PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage) {
    THPKovObservableObject::PersistAdditionalObjects(object, storage);
    storage.AddChild("UnitSystemVersion").SetValueAsInt32(CurrentUnitSystemVersion);
}

void THPQBProject::PostLoad(TKovObject& object, THPReadErrorList* errors) {
    THPKovObservableObject::PostLoad(object, errors);
    auto& project = static_cast<TQBProject&>(object);
    for (TQBTestList* list : {&project.MainTests(), &project.LoadedTests()})
        for (int i = 0; i < list->Count(); ++i) {
            TQBTestBase* test = list->GetItems(i);
            if (!test)
                continue;
            if (!test->OwnsMaterial())
                test->SetOnGetMaterial([&project] { return project.MainMaterial(); });
            test->DoAfterLoadFromStorage();
            if (list == &project.LoadedTests())
                test->SetTitle(project.ComposeTitle(*test));
        }
    for (int i = 0; i < project.IntrinsicPropertiesCount(); ++i)
        ApplyProjectUnitProperty(*project.GetIntrinsicProperty(i), project.SystemOfUnits());
}

// ---------------------------------------------------------------------------------------------
// THPQBTestList

const TKovClass& THPQBTestList::SupportedClass() const {
    return TQBTestList::StaticClass();
}

void THPQBTestList::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                 THPReadErrorList* errors) {
    THPKovObject::DoLoadObject(object, storage, errors);
    auto& list = static_cast<TQBTestList&>(object);
    list.Clear();
    for (int i = 0; i < storage.ChildCount(); ++i) {
        THierarchicStorage& child = storage.GetChildByIndex(i);
        TQBTestType type;
        if (!TestTypeOfClassTypeName(child.Name(), type)) {
            ReportReadProblem(errors, hresWarning,
                              Format("Encountered unknown object type: %s.", child.Name()), &list);
            continue;
        }
        std::unique_ptr<TQBTestBase> test =
            CreateTest(type, list.ObjectManager(), StoredTestMethod(child));
        THierarchicPersisters::Instance().PersisterFor(*test).LoadObjectDirectlyFromStorage(
            *test, child, errors);
        list.Add(test.release());
    }
}

// ---------------------------------------------------------------------------------------------
// THPQBTest

const TKovClass& THPQBTest::SupportedClass() const {
    return TQBTestBase::StaticClass();
}

bool THPQBTest::PersistThisProperty(const TKovIntrinsicProperty& property) const {
    if (ip::Phases.Is(property) || ip::CyclicPhases.Is(property) || ip::Results.Is(property))
        return false;
    return THPKovObservableObject::PersistThisProperty(property);
}

void THPQBTest::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObservableObject::DoPersistObject(object, storage);
    storage.SetNamedValue(TestMethodName,
                          static_cast<TQBTestBase&>(object).TestMethod() == tm2D ? "0" : "1");
}

void THPQBTest::AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) {
    THPKovObservableObject::AddAdditionalObjects(object, list);
    auto& test = static_cast<TQBTestBase&>(object);
    AddReadOnlyEntry<TStressIncrements>(list, InitialStressesName);
    list.Add(PhasesName, &test.Phases());
    list.Add(CyclicPhasesName, &test.CyclicPhases());
    list.Add(ChartSettingsName, &test.ChartSettings());
    list.Add(LoadedChartSettingsName, &test.LoadedChartSettings());
    list.Add(BulkResultsName, &test.Results());
    if (test.OwnsMaterial())
        if (auto* material = dynamic_cast<TKovMaterialX*>(test.Material()))
            list.Add(MaterialXName, material);
}

void THPQBTest::BeforeLoad(TKovObject& object, THierarchicStorage& storage,
                           THPReadErrorList* errors) {
    THPKovObservableObject::BeforeLoad(object, storage, errors);
    auto& test = static_cast<TQBTestBase&>(object);
    // A test that keeps its own material: the material is made first, and read in its turn.
    if (storage.GetChildByName(MaterialXName) && !test.OwnsMaterial())
        test.SetOwnedMaterial(
            TMaterialXFactory::CreateSoilMaterialX(nullptr, "", mxsmmNone, nullptr));
}

void THPQBTest::AfterLoadAdditional(TKovObject& object, TAdditionalPersister& entry,
                                    THierarchicStorage& child, THPReadErrorList* errors) {
    THPKovObservableObject::AfterLoadAdditional(object, entry, child, errors);
    if (!IsEntry(entry, InitialStressesName))
        return;
    auto& test = static_cast<TQBTestBase&>(object);
    const auto& stresses = static_cast<const TStressIncrements&>(*entry.FObject);
    for (TQBLoadDirection d : AllLoadDirections)
        test.SetInitialEffectiveStress(d, stresses.GetIncrement(d));
}

namespace {
std::vector<const TKovObservableObject*> Rows(const TKovObjectList& list) {
    std::vector<const TKovObservableObject*> rows;
    for (TKovObject* item : list.Items())
        if (auto* row = dynamic_cast<const TKovObservableObject*>(item))
            rows.push_back(row);
    return rows;
}
} // namespace

void THPQBTest::HandleNotFoundAdditionalObjectsSubStorageFor(TKovObject& object,
                                                             TAdditionalPersister& entry,
                                                             THierarchicStorage& storage,
                                                             THPReadErrorList* errors) {
    if (!IsEntry(entry, BulkResultsName)) {
        THPKovObservableObject::HandleNotFoundAdditionalObjectsSubStorageFor(object, entry, storage,
                                                                             errors);
        return;
    }
    THierarchicStorage* old = storage.GetChildByName(OldResultsName);
    if (!old)
        return; // no results at all: the test has none
    auto& results = static_cast<TQBTestBase&>(object).Results();
    auto& persisters = THierarchicPersisters::Instance();
    // The oldest files: a plain list of rows named "QBResult"; later ones a results object.
    std::unique_ptr<TKovObjectList> rows;
    if (old->ChildCount() > 0 && SameText(old->GetChildByIndex(0).Name(), "QBResult"))
        rows = Make<TKovObservableObjectList>(nullptr, true);
    else
        rows = Make<TQBResultsOld_2023_1>(nullptr);
    persisters.PersisterFor(*rows).LoadObjectDirectlyFromStorage(*rows, *old, errors);
    try {
        results.LoadFromList(Rows(*rows));
    } catch (const EQBResultsException& e) {
        ReportReadProblem(errors, hresError, e.what(), &object);
    }
}

void THPQBTest::CommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    if (THPLoadSession* session = THPLoadSession::Current())
        session->Retarget(loaded, target);
    auto& into = static_cast<TQBTestBase&>(target);
    auto& from = static_cast<TQBTestBase&>(loaded);
    // The test keeps the material it runs on; the one read comes along only when it was the
    // test's own.
    const TQBTestBase::TGetMaterial onGetMaterial = into.OnGetMaterial();
    into.CopyFrom(from);
    into.SetOnGetMaterial(onGetMaterial);
    into.Results().CopyFrom(from.Results());
    if (from.OwnsMaterial())
        into.SetOwnedMaterial(from.Material()->CreateStaticCopy());
}

void THPQBTest::PostLoad(TKovObject& object, THPReadErrorList* errors) {
    THPKovObservableObject::PostLoad(object, errors);
    auto& test = static_cast<TQBTestBase&>(object);
    test.UpdateAdvancedResultsVisibility();
    if (test.HasResults())
        test.DoAfterLoadResults();
}

// ---------------------------------------------------------------------------------------------
// THPQBPhase

namespace {
constexpr const char* OldStressesName = "StressIncrements";
constexpr const char* OldStrainsName = "StrainIncrements";
constexpr const char* OldConditionsName = "BoundaryConditions";

bool IsIncrementProperty(const TKovIntrinsicProperty& property) {
    for (TQBLoadDirection d : AllLoadDirections)
        if (SameText(property.Name(), TQBPhase::StressIncrementName(d)) ||
            SameText(property.Name(), TQBPhase::StrainIncrementName(d)) ||
            SameText(property.Name(), TQBPhase::BoundaryConditionName(d)))
            return true;
    return false;
}
} // namespace

const TKovClass& THPQBPhase::SupportedClass() const {
    return TQBPhase::StaticClass();
}

void THPQBPhase::AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) {
    THPKovParentableObject::AddAdditionalObjects(object, list);
    AddReadOnlyEntry<TStressIncrements>(list, OldStressesName);
    AddReadOnlyEntry<TStrainIncrements>(list, OldStrainsName);
    AddReadOnlyEntry<TBoundaryConditions>(list, OldConditionsName);
}

void THPQBPhase::AfterLoadAdditional(TKovObject& object, TAdditionalPersister& entry,
                                     THierarchicStorage& child, THPReadErrorList* errors) {
    THPKovParentableObject::AfterLoadAdditional(object, entry, child, errors);
    auto& phase = static_cast<TQBPhase&>(object);
    if (IsEntry(entry, OldStressesName))
        phase.SetStressIncrements(static_cast<TStressIncrements&>(*entry.FObject).QBStresses());
    else if (IsEntry(entry, OldStrainsName))
        phase.SetStrainIncrements(static_cast<TStrainIncrements&>(*entry.FObject).QBStrains());
    else if (IsEntry(entry, OldConditionsName))
        phase.SetBoundaryConditions(
            static_cast<TBoundaryConditions&>(*entry.FObject).QBBoundaryConditions());
}

void THPQBPhase::HandleNotFoundAdditionalObjectsSubStorageFor(TKovObject& object,
                                                              TAdditionalPersister& entry,
                                                              THierarchicStorage& storage,
                                                              THPReadErrorList* errors) {
    const auto* property = dynamic_cast<const TKovIntrinsicProperty*>(entry.FObject);
    if (property && IsIncrementProperty(*property) &&
        (storage.GetChildByName(OldStressesName) || storage.GetChildByName(OldStrainsName) ||
         storage.GetChildByName(OldConditionsName)))
        return;
    THPKovParentableObject::HandleNotFoundAdditionalObjectsSubStorageFor(object, entry, storage,
                                                                         errors);
}

// ---------------------------------------------------------------------------------------------
// THPQBChartSettings

const TKovClass& THPQBChartSettings::SupportedClass() const {
    return TQBChartSettings::StaticClass();
}

void THPQBChartSettings::AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) {
    THPKovObservableObject::AddAdditionalObjects(object, list);
    auto& settings = static_cast<TQBChartSettings&>(object);
    list.Add("ChartXAxisSettings", &settings.XAxis());
    list.Add("ChartYAxisSettings", &settings.YAxis());
}

void THPQBChartSettings::PostLoad(TKovObject& object, THPReadErrorList* errors) {
    THPKovObservableObject::PostLoad(object, errors);
    auto& settings = static_cast<TQBChartSettings&>(object);
    settings.SetSortIndex(ChartTypeInfo(settings.ChartType()).Order);
}

// ---------------------------------------------------------------------------------------------
// THPIncrements, THPBoundaryConditions

const TKovClass& THPIncrements::SupportedClass() const {
    return TIncrements::StaticClass();
}

void THPIncrements::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObject::DoPersistObject(object, storage);
    storage.SetValueAsString(static_cast<TIncrements&>(object).ToString());
}

void THPIncrements::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                 THPReadErrorList* errors) {
    THPKovObject::DoLoadObject(object, storage, errors);
    try {
        static_cast<TIncrements&>(object).LoadFromString(storage.GetValueAsString());
    } catch (const EIncrementsException& e) {
        ReportReadProblem(errors, hresWarning, Format("%s: %s", storage.Name(), e.what()), &object);
    }
}

void THPIncrements::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    target.Assign(loaded);
}

const TKovClass& THPBoundaryConditions::SupportedClass() const {
    return TBoundaryConditions::StaticClass();
}

void THPBoundaryConditions::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObject::DoPersistObject(object, storage);
    storage.SetValueAsString(static_cast<TBoundaryConditions&>(object).ToString());
}

void THPBoundaryConditions::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                         THPReadErrorList* errors) {
    THPKovObject::DoLoadObject(object, storage, errors);
    try {
        static_cast<TBoundaryConditions&>(object).LoadFromString(storage.GetValueAsString());
    } catch (const EIncrementsException& e) {
        ReportReadProblem(errors, hresWarning, Format("%s: %s", storage.Name(), e.what()), &object);
    }
}

// ---------------------------------------------------------------------------------------------
// THPQBResults

namespace {
std::string ColumnNodeName(int type) {
    return std::string("ResultColumn-") +
           ResultTypeInfo(static_cast<TQBResultType>(type)).PropertyName;
}
std::string IsSetNodeName(int type) {
    return std::string("ResultIsSet-") +
           ResultTypeInfo(static_cast<TQBResultType>(type)).PropertyName;
}
} // namespace

const TKovClass& THPQBResults::SupportedClass() const {
    return TQBResults::StaticClass();
}

void THPQBResults::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObject::DoPersistObject(object, storage);
    const auto& results = static_cast<const TQBResults&>(object);
    for (int i = 0; i < QBResultTypeCount; ++i) {
        const auto type = static_cast<TQBResultType>(i);
        WriteStoredDoubles(storage.AddChild(ColumnNodeName(i)), results.Column(type));
        WriteStoredBooleans(storage.AddChild(IsSetNodeName(i)), results.IsSetColumn(type));
    }
    WriteStoredBooleans(storage.AddChild("ResultIsSelected"), results.SelectedRows());
    storage.AddChild("ResultRowCount").SetValueAsInt32(results.RowCount());
}

void THPQBResults::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                THPReadErrorList* errors) {
    THPKovObject::DoLoadObject(object, storage, errors);
    auto& results = static_cast<TQBResults&>(object);
    auto fault = [&](const std::string& text) {
        ReportReadProblem(errors, hresError, Format("%s of %s", text, storage.Name()), &object);
    };
    const THierarchicStorage* countNode = storage.GetChildByName("ResultRowCount");
    const int64_t rows = countNode ? countNode->GetValueAsInt64(-1) : -1;
    if (rows < 0 || rows > INT32_MAX) {
        fault("No valid row count");
        return;
    }
    // The columns the file holds first: their data bounds the rows, so that a row count of a
    // corrupt file cannot make columns of nothing.
    TQBResults::TColumns columns;
    bool anyColumn = false;
    const auto rowCount = static_cast<size_t>(rows);
    for (int i = 0; i < QBResultTypeCount; ++i) {
        const THierarchicStorage* values = storage.GetChildByName(ColumnNodeName(i));
        if (!values)
            continue;
        anyColumn = true;
        // A blob of another length is refused before it is read.
        if ((values->ValueType() == svtBlob &&
             values->GetValueAsBlobSize() != rowCount * sizeof(double)) ||
            !ReadStoredDoubles(*values, columns.Values[i]) ||
            columns.Values[i].size() != rowCount) {
            fault(Format("%s does not hold %d numbers", ColumnNodeName(i), rows));
            return;
        }
    }
    if (rowCount > 0 && !anyColumn) {
        fault(Format("%d rows without values", rows));
        return;
    }
    for (int i = 0; i < QBResultTypeCount; ++i) {
        const bool stored = columns.Values[i].size() == rowCount;
        if (!stored)
            columns.Values[i].assign(rowCount, 0.0);
        if (const THierarchicStorage* flags = storage.GetChildByName(IsSetNodeName(i))) {
            if (!ReadStoredBooleans(*flags, columns.IsSet[i]) ||
                columns.IsSet[i].size() != rowCount) {
                fault(Format("%s does not hold %d flags", IsSetNodeName(i), rows));
                return;
            }
        } else {
            // Values without flags are values set.
            columns.IsSet[i].assign(rowCount, stored && rowCount > 0 ? 1 : 0);
        }
    }
    if (const THierarchicStorage* selected = storage.GetChildByName("ResultIsSelected")) {
        if (!ReadStoredBooleans(*selected, columns.Selected) ||
            columns.Selected.size() != rowCount) {
            fault(Format("The choice of rows does not hold %d rows", rows));
            return;
        }
    } else {
        columns.Selected.assign(rowCount, 0);
    }
    results.ReplaceRows(static_cast<int>(rows), std::move(columns));
}

void THPQBResults::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    static_cast<TQBResults&>(target).CopyFrom(static_cast<TQBResults&>(loaded));
}

// ---------------------------------------------------------------------------------------------
// THPKovValues

const TKovClass& THPKovValues::SupportedClass() const {
    return TKovValues::StaticClass();
}

void THPKovValues::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    THPKovObject::DoPersistObject(object, storage);
    WriteStoredDoubles(storage, static_cast<TKovValues&>(object).Values());
}

void THPKovValues::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                                THPReadErrorList* errors) {
    THPKovObject::DoLoadObject(object, storage, errors);
    std::vector<double> values;
    if (!ReadStoredDoubles(storage, values)) {
        ReportReadProblem(errors, hresWarning,
                          Format("%s holds no list of numbers", storage.Name()), &object);
        return;
    }
    static_cast<TKovValues&>(object).SetValues(std::move(values));
}

void THPKovValues::DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) {
    target.Assign(loaded);
}

// ---------------------------------------------------------------------------------------------
// Registration

void RegisterTarnwickPersistence() {
    static std::once_flag once;
    std::call_once(once, [] {
        auto& classes = TKovObjectClassRegistry::Instance();
        for (int t = 0; t < QBTestTypeCount; ++t) {
            auto test = CreateTest(static_cast<TQBTestType>(t), nullptr, tm2D);
            classes.RegisterClass(&test->ClassType());
        }
        for (const TKovClass* cls : {&TQBProject::StaticClass(),
                                     &TQBTestList::StaticClass(),
                                     &TQBPhase::StaticClass(),
                                     &TQBPhaseList::StaticClass(),
                                     &TQBCyclicPhases::StaticClass(),
                                     &TQBCyclicPhasesList::StaticClass(),
                                     &TQBChartSettings::StaticClass(),
                                     &TQBChartSettingsList::StaticClass(),
                                     &TQBAxisSettings::StaticClass(),
                                     &TQBResults::StaticClass(),
                                     &TStressIncrements::StaticClass(),
                                     &TStrainIncrements::StaticClass(),
                                     &TBoundaryConditions::StaticClass(),
                                     &TQBResultOld::StaticClass(),
                                     &TQBResultOld_2023_1::StaticClass(),
                                     &TQBResultsOld_2023_1::StaticClass(),
                                     &TKovSoilMaterialX::StaticClass(),
                                     &TKovMaterialConstructionParameters::StaticClass(),
                                     &TTarnwickMaterialContainer::StaticClass(),
                                     &TTarnwickInput::StaticClass(),
                                     &TTarnwickResults::StaticClass()})
            classes.RegisterClass(cls);

        auto& persisters = THierarchicPersisters::Instance();
        persisters.RegisterPersister(std::make_unique<THPQBProject>());
        persisters.RegisterPersister(std::make_unique<THPQBTestList>());
        persisters.RegisterPersister(std::make_unique<THPQBTest>());
        persisters.RegisterPersister(std::make_unique<THPQBPhase>());
        persisters.RegisterPersister(std::make_unique<THPQBChartSettings>());
        persisters.RegisterPersister(std::make_unique<THPIncrements>());
        persisters.RegisterPersister(std::make_unique<THPBoundaryConditions>());
        persisters.RegisterPersister(std::make_unique<THPTarnwickResults>());
        persisters.RegisterPersister(std::make_unique<THPQBResults>());
        persisters.RegisterPersister(std::make_unique<THPKovValues>());
        persisters.RegisterPersister(std::make_unique<THPKovMaterialX>());
        persisters.RegisterPersister(std::make_unique<THPTarnwickMaterialContainer>());
    });
}

} // namespace tw
