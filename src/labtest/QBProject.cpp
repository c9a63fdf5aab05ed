#include "labtest/QBProject.h"
#include "labtest/QBPropertyNames.h"
#include "objects/UpdateBracket.h"

#include "commands/KovTaskController.h"
#include "labtest/QBExtendedFile.h"
#include "labtest/QBKernelRun.h"
#include "labtest/QBRFile.h"
#include "labtest/QBTestTriaxial.h"
#include "materials/MaterialXClient.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilKernelMaterialWriter.h"
#include "objects/ObjectManager.h"
#include "services/Localisation.h"
#include "services/RuntimeSettings.h"
#include "services/Strings.h"
#include "services/UserMessages.h"
#include "units/ProjectUnits.h"
#include "units/SystemOfUnitsQueryFunctionsRegistry.h"

#include <charconv>
#include <filesystem>
#include <fstream>

namespace tw {

namespace {
// One undo step around changes of several objects, with the manager's own snapshot: the project
// itself has nothing to back up.
struct TManagerSnapshot {
    TKovObjectManager* Manager;
    TManagerSnapshot(TKovObjectManager* manager, const std::string& caption) : Manager(manager) {
        if (Manager)
            Manager->UndoBeginSnapshot(caption);
    }
    ~TManagerSnapshot() {
        if (Manager)
            Manager->UndoEndSnapshot();
    }
};
} // namespace

TW_KOV_CLASS_IMPL(TQBProject, TKovObservableObject, &TQBProject::DeclareProperties)

void TQBProject::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddInteger(ip::Version.Name);
    DeclareProjectUnitProperties(list);
}

TQBProject::TQBProject(TKovObjectManager* manager)
    : TKovObservableObject(manager), FApplicationDirectory(tw::ApplicationDirectory()),
      FSystemOfUnits(std::make_unique<TSystemOfUnits>()) {
    FSystemOfUnits->SetUnitsOfNewProject();
    {
        // The project owns its lists for its whole life: their creation is no step to undo.
        TRevertLock lock(manager);
        FLoadedTests = Make<TQBTestList>(nullptr);
        FMainTests = Make<TQBTestList>(manager);
        FMainTests->SetName("Tests");
    }
    FMaterialUpdateObserver.SetOnNotify([this](TNotifySender) { MainMaterialChanged(); });
    FUnitsObserver.SetOnNotify(
        [this](TNotifySender) { ProjectUnitPropertiesFromSystem(*FSystemOfUnits, *this); });
    FSystemOfUnits->AttachObserver(&FUnitsObserver);
    // Objects of this project's manager are shown in its units.
    FSystemOfUnitsQueryFuncIdentifier =
        TSystemOfUnitsQueryFunctionsRegistry::AddQueryFunctionWithLowestPriority(
            [this, manager](const TKovObject* object) -> TSystemOfUnits* {
                return object && (object == this || (manager && object->ObjectManager() == manager))
                           ? FSystemOfUnits.get()
                           : nullptr;
            });
}

TQBProject::TQBProject(TKovObjectManager* manager, std::unique_ptr<ITestMaterial> material,
                       TQBTestMethod testMethod, const TSystemOfUnits* units)
    : TQBProject(manager) {
    if (units)
        FSystemOfUnits->CopyUnitsFrom(*units);
    FMainMaterial = std::move(material);
    if (FMainMaterial)
        FMainMaterial->MaterialObservable().AttachObserver(&FMaterialUpdateObserver);
    FTestMethod = testMethod;
}

TQBProject::TQBProject(TKovObjectManager* manager, std::unique_ptr<TKovSoilMaterialX> material,
                       TQBTestMethod testMethod, const TSystemOfUnits* units)
    : TQBProject(manager) {
    if (units)
        FSystemOfUnits->CopyUnitsFrom(*units);
    FTestMethod = testMethod;
    TMaterialXClient_Abstract::SetInstance(
        std::make_unique<TMaterialXClientTarnwick>(testMethod == tm2D ? mxcgt2D : mxcgt3D));
    RegisterSoilKernelMaterialWriter();
    if (!material)
        return;
    TRevertLock lock(manager);
    // The material lives in the project's manager, so that its changes are undone with the
    // project's; one made elsewhere comes in as a copy.
    if (material->ObjectManager() != manager)
        material.reset(static_cast<TKovSoilMaterialX*>(
            TMaterialXFactory::CreateCopy(manager, *material).release()));
    FMainMaterialXList = Make<TKovMaterialXList>(manager);
    FMainMaterialXList->SetName("Materials");
    material->SetPropertyQueryFunc(MaterialQueryFunction());
    material->SetName("Material");
    FMainMaterialX = material.get();
    FMainMaterialXList->Add(material.release());
    // The client's dimension decides what the material shows.
    TMaterialXIPConfigurator::UpdateMaterialXIPConfigurations(*FMainMaterialX);
    FMainMaterialX->MaterialObservable().AttachObserver(&FMaterialUpdateObserver);
}

TPropertyQueryFunc TQBProject::MaterialQueryFunction() const {
    return [constants = FConstants](const std::string& name) -> std::optional<TVarRec> {
        if (name == "Gravity")
            return TVarRec(constants->Gravity);
        if (name == "WaterWeight")
            return TVarRec(constants->WaterWeight);
        if (name == "IdentificationNumber")
            return TVarRec(int32_t(1));
        return std::nullopt;
    };
}

void TQBProject::SetGravityAndWaterWeight(double gravity, double waterWeight) {
    FConstants->Gravity = gravity;
    FConstants->WaterWeight = waterWeight;
    MainMaterialChanged();
}

TQBProject::~TQBProject() {
    if (FCreatedForRevert)
        return; // a memento holds values only
    TSystemOfUnitsQueryFunctionsRegistry::RemoveQueryFunction(FSystemOfUnitsQueryFuncIdentifier);
    FSystemOfUnits->DetachObserver(&FUnitsObserver);
    if (ITestMaterial* material = MainMaterial())
        material->MaterialObservable().DetachObserver(&FMaterialUpdateObserver);
    // The stacks go first: they may hold deleted tests and phases.
    if (TKovObjectManager* manager = ObjectManager())
        if (!manager->IsUndoRedoSnapshotOpened())
            manager->ClearRevertStacks();
    FCommands.reset(); // its helpers know the project, and their groups refer to tests
    FMainTests.reset();
    FLoadedTests.reset();
    FMainMaterialX = nullptr;
    FMainMaterialXList.reset();
}

void TQBProject::Initialize() {
    Property(ip::Version).SetValue(8);
    ProjectUnitPropertiesFromSystem(*FSystemOfUnits, *this);
    FCommands = std::make_unique<TQBProjectCommands>(*this);
    if (MainMaterial())
        CreateTests();
}

void TQBProject::PropertyChanged(TKovIntrinsicProperty& property) {
    ApplyProjectUnitProperty(property, *FSystemOfUnits);
}

void TQBProject::CreateTests() {
    for (int type = 0; type < QBTestTypeCount; ++type) {
        const auto testType = static_cast<TQBTestType>(type);
        if (FTestMethod == tm3D && testType == ttPressuremeter)
            continue; // a 3D project has no pressuremeter test
        auto test = CreateTest(testType, ObjectManager(), FTestMethod);
        test->SetOnGetMaterial([this] { return MainMaterial(); });
        FMainTests->Add(test.release());
    }
    for (int i = 0; i < FMainTests->Count(); ++i)
        FMainTests->GetItems(i)->UpdateMaterialDependentProperties();
}

std::string TQBProject::MainMaterialIdentification() const {
    const ITestMaterial* material = MainMaterial();
    return material ? material->Identification() : std::string();
}

void TQBProject::SetMainMaterialX(const TKovMaterialX& source) {
    if (!FMainMaterialX)
        throw EQBProjectException("The project has no framework material to set");
    TManagerSnapshot snapshot(ObjectManager(), "Set the main material");
    DeleteMaterialX(FMainMaterialX);
    FMainMaterialX->Assign(source);
    FMainMaterialX->SetPropertyQueryFunc(MaterialQueryFunction());
    FMainMaterialX->SetName("Material");
    MainMaterialChanged();
    for (int i = 0; i < FMainTests->Count(); ++i)
        FMainTests->GetItems(i)->UpdateAllowedBehaviors();
    if (FOnNewMainMaterial)
        FOnNewMainMaterial();
}

void TQBProject::DeleteMaterialX(TKovMaterialX* material) {
    for (const auto& callback : FMXDeleteCallbacks)
        callback(material);
    if (auto* soil = dynamic_cast<TKovSoilMaterialX*>(material))
        FLoadedTests->DeleteItemsWithMaterial(soil);
}

void TQBProject::SetMainMaterial(std::unique_ptr<ITestMaterial> material) {
    if (FMainMaterialX) {
        // The framework material stays: tests keep their reference to it.
        const auto* source = dynamic_cast<const TKovMaterialX*>(material.get());
        if (!source)
            throw EQBProjectException("The main material of this project is a framework material");
        SetMainMaterialX(*source);
        return;
    }
    if (FMainMaterial) {
        FMainMaterial->MaterialObservable().DetachObserver(&FMaterialUpdateObserver);
        DeleteMaterial(FMainMaterial.get());
    }
    FMainMaterial = std::move(material);
    if (FMainMaterial)
        FMainMaterial->MaterialObservable().AttachObserver(&FMaterialUpdateObserver);
    if (FMainTests->Count() == 0 && FMainMaterial)
        CreateTests();
    MainMaterialChanged();
    for (int i = 0; i < FMainTests->Count(); ++i)
        FMainTests->GetItems(i)->UpdateAllowedBehaviors();
    if (FOnNewMainMaterial)
        FOnNewMainMaterial();
}

void TQBProject::MainMaterialChanged() {
    for (int i = 0; i < FMainTests->Count(); ++i) {
        TQBTestBase* test = FMainTests->GetItems(i);
        test->SetMaterialInSyncWithTest(false);
        test->UpdateMaterialDependentProperties();
    }
}

void TQBProject::SetApplicationDirectory(const std::string& directory) {
    FApplicationDirectory = directory;
    if (FApplicationDirectory.empty() || FApplicationDirectory.back() != '/')
        FApplicationDirectory += '/';
}

bool TQBProject::IsSuctionEnabled() const {
    for (int i = 0; i < FMainTests->Count(); ++i)
        if (FMainTests->GetItems(i)->IsSuctionEnabled())
            return true;
    return false;
}

void TQBProject::SetIsSuctionEnabled(bool enabled) {
    TManagerSnapshot snapshot(ObjectManager(),
                              enabled ? "Switch suction on" : "Switch suction off");
    for (int i = 0; i < FMainTests->Count(); ++i) {
        TQBTestBase* test = FMainTests->GetItems(i);
        test->Property(ip::SuctionCondition).SetValue(enabled && test->CanHaveSuctionEnabled());
    }
}

bool TQBProject::IsThermalEnabled() const {
    for (int i = 0; i < FMainTests->Count(); ++i)
        if (FMainTests->GetItems(i)->IsThermalEnabled())
            return true;
    return false;
}

void TQBProject::SetIsThermalEnabled(bool enabled) {
    TManagerSnapshot snapshot(ObjectManager(),
                              enabled ? "Switch thermal on" : "Switch thermal off");
    for (int i = 0; i < FMainTests->Count(); ++i) {
        TQBTestBase* test = FMainTests->GetItems(i);
        test->Property(ip::ThermalCondition).SetValue(enabled && test->CanHaveThermalEnabled());
    }
}

void TQBProject::DeleteMaterial(ITestMaterial* material) {
    for (const auto& callback : FDeleteCallbacks)
        callback(material);
    FLoadedTests->DeleteItemsWithMaterial(material);
}

void TQBProject::AddLoadedTest(std::unique_ptr<TQBTestBase> test) {
    const std::string identification = test->MaterialIdentification();
    AddLoadedTest(std::move(test), identification);
}

void TQBProject::AddLoadedTest(std::unique_ptr<TQBTestBase> test,
                               const std::string& identification) {
    test->SetTitle(ComposeTitle(*test, identification));
    FLoadedTests->Add(test.release());
}

double TQBProject::PressureInProjectUnits(double pascal) const {
    return FSystemOfUnits->ToPresentation(qtPressure, pascal);
}

std::string TQBProject::ComposeTitle(const TQBTestBase& test) const {
    return ComposeTitle(test, test.MaterialIdentification());
}

std::string TQBProject::ComposeTitle(const TQBTestBase& test, const std::string& id) const {
    switch (test.TestType()) {
    case ttTriaxial: {
        const auto& triaxial = static_cast<const TQBTestTriaxial&>(test);
        return Format(Translate("%s (sig3 = %.1f, eps;max = %.3e)"), id,
                      PressureInProjectUnits(triaxial.CellPressure()), triaxial.MaximumStrain());
    }
    case ttOedometer:
        return Format(Translate("%s (Oedometer)"), id);
    case ttGeneral:
        return Format(Translate("%s (General)"), id);
    default:
        return Format(Translate("%s (Unknown)"), id);
    }
}

std::string TQBProject::KernelExecutableName() const {
    switch (FTestMethod) {
    case tm2D:
        return "qbabc_2d";
    case tm3D:
        return "qbabc_3d";
    }
    throw EQBProjectException("Unknown test method");
}

std::string TQBProject::WriteQBC(TQBTestType testType) {
    const std::string path = KernelWorkingDirectory() + "tokernel.qbc";
    TQBTestBase* test = FMainTests->ByTestType(testType);
    if (!test)
        throw EQBProjectException(Format("Unknown test type: %d", static_cast<int>(testType)));
    TQBCFile file(FSystemOfUnits.get(), path);
    file.WriteAll(*test, MainMaterial(), FIceThermalExpansion, FLiquidThermalExpansion);
    file.Close();
    return path;
}

bool TQBProject::ReadQBR(const std::string& fileName, TQBTestType testType) {
    TQBTestBase* test = FMainTests->ByTestType(testType);
    if (!test)
        throw EQBProjectException("TQBProject.ReadQBR: unknown testtype found.");
    TQBRFile file(*FSystemOfUnits, fileName);
    file.LoadTest(*test);
    return true;
}

bool TQBProject::DoTest(TQBTestType testType) {
    bool result = true;
    const std::string executable = KernelExecutableName();
    const std::string inputFile = WriteQBC(testType);
    const std::string resultFile =
        std::filesystem::path(inputFile).replace_extension(".qbr").string();
    // A stale result of an earlier run can never be read.
    std::error_code ec;
    std::filesystem::remove(resultFile, ec);
    const std::string kernelPath = FApplicationDirectory + executable;
    if (!std::filesystem::exists(kernelPath)) {
        UserMessages().ShowMessage(Translate("Test kernel not available."), "Tarnwick");
        return result;
    }

    // What this run adds to the kernel log is the reason of a failure.
    const std::uintmax_t logSizeBefore = KernelLogSize();
    FLastKernelMessage.clear();

    bool success = false;
    TQBTestBase& test = *FMainTests->ByTestType(testType);
    test.Results().ClearRows();
    {
        TUpdateBracket testUpdate(test);
        // The rows are read on the worker; the results tell their observers once, on this thread.
        TUpdateBracket resultsUpdate(test.Results());
        TKovTaskController::ExecuteThreaded(
            Translate("Calculating..."),
            [&] {
                auto kernelTask = CreateKernelTask(kernelPath, inputFile);
                TKovTaskController::ExecuteThreaded(*kernelTask);
                try {
                    success = ReadQBR(resultFile, testType);
                } catch (const std::exception&) {
                    success = false; // reported below, as any failed run
                }
            },
            tppNormal);
        resultsUpdate.Close();
        testUpdate.Close();
    }
    if (TKovObjectManager* manager = ObjectManager())
        if (!manager->IsUndoRedoSnapshotOpened())
            manager->ClearRevertStacks();
    // A kernel that stopped part-way says why on standard error; its rows so far count as the
    // run's results, and the reason stays for the caller to show beside them.
    FLastKernelMessage = KernelLogSince(logSizeBefore);
    if (!success) {
        UserMessages().ShowDetailedMessage(
            Translate("There was an error during the execution of the test."), "Tarnwick",
            FLastKernelMessage);
    }
    result = success;
    test.UpdateAdvancedResultsVisibility();
    test.SetMaterialInSyncWithTest(true);
    test.EndCalculationObservable().NotifyObservers(&test);
    return result;
}

} // namespace tw
