#pragma once
// The root of what the running program holds: the soil material under test, one test of each
// type, the tests loaded for comparison, and the choice of calculation kernel. DoTest writes the
// kernel input for a test, runs the kernel, reads its result file back and tells the observers.

#include "labtest/QBProjectCommands.h"
#include "labtest/QBPropertyNames.h"
#include "labtest/QBTestList.h"
#include "materials/KovMaterialX.h"
#include "materials/TestMaterial.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "units/SystemOfUnits.h"

#include <functional>
#include <memory>
#include <string>

namespace tw {

TW_DECLARE_EXCEPTION(EQBProjectException, EKovException)

class THPReadErrorList;

class TQBProject : public TKovObservableObject {
    TW_KOV_CLASS(TQBProject, TKovObservableObject)
public:
    // A project without material and without tests, for the 3D kernel.
    explicit TQBProject(TKovObjectManager* manager);
    // A project on a material, with one main test per type (no pressuremeter in 3D). The
    // project takes the presentation units of `units`, else those of a new project.
    TQBProject(TKovObjectManager* manager, std::unique_ptr<ITestMaterial> material,
               TQBTestMethod testMethod, const TSystemOfUnits* units = nullptr);
    // A project on a framework soil material, which it names "Material" and keeps in its
    // material list "Materials". The project answers the material's questions about gravity and
    // water, sets the material client to its dimension and registers the kernel's material
    // writer.
    TQBProject(TKovObjectManager* manager, std::unique_ptr<TKovSoilMaterialX> material,
               TQBTestMethod testMethod, const TSystemOfUnits* units = nullptr);
    ~TQBProject() override;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    TQBTestList& MainTests() const { return *FMainTests; }
    TQBTestList& LoadedTests() const { return *FLoadedTests; }
    TQBTestBase* TriaxialTest() const { return FMainTests->ByTestType(ttTriaxial); }
    TQBTestBase* CycTriaxialTest() const { return FMainTests->ByTestType(ttCycTriaxial); }
    TQBTestBase* OedometerTest() const { return FMainTests->ByTestType(ttOedometer); }
    TQBTestBase* CRSTest() const { return FMainTests->ByTestType(ttCRS); }
    TQBTestBase* DSSTest() const { return FMainTests->ByTestType(ttDSS); }
    TQBTestBase* CDSSTest() const { return FMainTests->ByTestType(ttCDSS); }
    TQBTestBase* GeneralTest() const { return FMainTests->ByTestType(ttGeneral); }
    // nullptr in a 3D project.
    TQBTestBase* PressuremeterTest() const { return FMainTests->ByTestType(ttPressuremeter); }

    TQBTestMethod TestMethod() const { return FTestMethod; }
    // The kernel the next runs use (the window's kernel menu). The tests keep the method they
    // were made with, and a test's results stay until its next run.
    void SetTestMethod(TQBTestMethod method) { FTestMethod = method; }
    bool Is3D() const { return FTestMethod == tm3D; }
    int Version() const { return Property(ip::Version).Value(); }

    // The material under test: the framework material, else the one the project was given.
    ITestMaterial* MainMaterial() const {
        return FMainMaterialX ? static_cast<ITestMaterial*>(FMainMaterialX) : FMainMaterial.get();
    }
    // The framework material under test, and the list that owns it; nullptr in a project on
    // another material.
    TKovSoilMaterialX* MainMaterialX() const { return FMainMaterialX; }
    TKovMaterialXList* MainMaterialXList() const { return FMainMaterialXList.get(); }
    // Makes the framework material under test a copy of `source`, as one undo step: the object
    // stays (tests keep their reference), the delete callbacks run on it first, and the main
    // tests follow it and are out of sync with their results.
    void SetMainMaterialX(const TKovMaterialX& source);
    // The project's gravity (m/s2) and unit weight of water (N/m3), which its materials ask for.
    double Gravity() const { return FConstants->Gravity; }
    double WaterWeight() const { return FConstants->WaterWeight; }
    void SetGravityAndWaterWeight(double gravity, double waterWeight);
    // The answers a material of this project gets to "Gravity", "WaterWeight" and
    // "IdentificationNumber"; they stay valid after the project is gone.
    TPropertyQueryFunc MaterialQueryFunction() const;
    std::string MainMaterialIdentification() const;
    // Replaces the material under test: the delete callbacks run on the old one, the main tests
    // follow the new one and are out of sync with their results.
    void SetMainMaterial(std::unique_ptr<ITestMaterial> material);
    void SetOnNewMainMaterial(std::function<void()> handler) {
        FOnNewMainMaterial = std::move(handler);
    }

    // The folder of the kernel executables, with a trailing "/".
    const std::string& ApplicationDirectory() const { return FApplicationDirectory; }
    void SetApplicationDirectory(const std::string& directory);

    // Suction and thermal switch every main test that can have them.
    bool IsSuctionEnabled() const;
    void SetIsSuctionEnabled(bool enabled);
    bool IsThermalEnabled() const;
    void SetIsThermalEnabled(bool enabled);

    double LiquidThermalExpansion() const { return FLiquidThermalExpansion; }
    void SetLiquidThermalExpansion(double value) { FLiquidThermalExpansion = value; }
    double IceThermalExpansion() const { return FIceThermalExpansion; }
    void SetIceThermalExpansion(double value) { FIceThermalExpansion = value; }

    // Called, in order of registration, with a material before it is deleted.
    using TDeleteCallback = std::function<void(ITestMaterial*)>;
    void AddDeleteCallback(TDeleteCallback callback) {
        FDeleteCallbacks.push_back(std::move(callback));
    }
    // Runs the callbacks, then deletes every loaded test that uses the material.
    void DeleteMaterial(ITestMaterial* material);
    using TMXDeleteCallback = std::function<void(TKovMaterialX*)>;
    void AddMXDeleteCallback(TMXDeleteCallback callback) {
        FMXDeleteCallbacks.push_back(std::move(callback));
    }
    void DeleteMaterialX(TKovMaterialX* material);

    // Adds a test loaded from a file for comparison; the title is composed here, with the
    // material's identification or the one given.
    void AddLoadedTest(std::unique_ptr<TQBTestBase> test);
    void AddLoadedTest(std::unique_ptr<TQBTestBase> test, const std::string& identification);
    // The title of a loaded test, from its type and its material's identification.
    std::string ComposeTitle(const TQBTestBase& test) const;
    std::string ComposeTitle(const TQBTestBase& test, const std::string& identification) const;

    // The project's files (QBProjectFiles.cpp). A read raises, leaving the project as it was,
    // for a file that cannot be read; the message names the file. Problems that don't stop it go
    // into `errors`.
    // A test file (".twt.kovml"): the test joins the loaded tests with a static copy of the
    // material it was calculated with and the behaviour it had. Answers the test.
    TQBTestBase& ReadTestResultsXML(const std::string& fileName,
                                    THPReadErrorList* errors = nullptr);
    // Writes the main test of a type with its results and a copy of the material, through a
    // temporary file beside the target.
    void WriteTestResultsXML(const std::string& fileName, TQBTestType testType);
    // The whole project (".qbo.xml"): units, main and loaded tests; not the material, which
    // comes from the host. ReadQBO replaces the project's tests and units by the file's; a file
    // without "UnitSystemVersion" holds its numbers in its own units and is converted.
    bool WriteQBO(const std::string& fileName);
    bool ReadQBO(const std::string& fileName, THPReadErrorList* errors = nullptr);
    // The project's own presentation units; the "UnitLength", "UnitForce" and "UnitTime"
    // properties follow them, and they follow the properties.
    TSystemOfUnits& SystemOfUnits() const { return *FSystemOfUnits; }
    // A pressure in pascal in the project's presentation unit.
    double PressureInProjectUnits(double pascal) const;

    // The calculation run. Answers false when the kernel ran but its result file could not be
    // read; true also when the kernel is missing (the user has been told).
    bool DoTest(TQBTestType testType);
    // Writes the kernel input file of a main test into the working directory; answers its path.
    std::string WriteQBC(TQBTestType testType);
    // Reads a kernel result file into the main test of that type.
    bool ReadQBR(const std::string& fileName, TQBTestType testType);
    // The kernel executable for the project's method: "qbabc_2d" or "qbabc_3d".
    std::string KernelExecutableName() const;
    // What the kernel wrote on its standard output and error during the last run (why it
    // refused its input, or stopped before the end with the rows so far), trimmed; empty when
    // it wrote nothing.
    const std::string& LastKernelMessage() const { return FLastKernelMessage; }

    void Close() {
        if (FOnCloseProject)
            FOnCloseProject();
    }
    void SetOnCloseProject(std::function<void()> handler) { FOnCloseProject = std::move(handler); }

    // The project's interpreter, its command histories and its global helpers
    // (QBProjectCommands.h). A memento has none.
    TQBProjectCommands& Commands() const { return *FCommands; }

protected:
    void Initialize() override;
    void PropertyChanged(TKovIntrinsicProperty& property) override;

private:
    void CreateTests();
    void MainMaterialChanged();

    std::string FApplicationDirectory;
    std::string FLastKernelMessage;
    std::vector<TDeleteCallback> FDeleteCallbacks;
    std::vector<TMXDeleteCallback> FMXDeleteCallbacks;
    std::unique_ptr<ITestMaterial> FMainMaterial;
    std::unique_ptr<TKovMaterialXList> FMainMaterialXList;
    TKovSoilMaterialX* FMainMaterialX = nullptr; // owned by FMainMaterialXList
    struct TConstants {
        double Gravity = 9.81;       // m/s2
        double WaterWeight = 9810.0; // N/m3: water of 1000 kg/m3
    };
    std::shared_ptr<TConstants> FConstants = std::make_shared<TConstants>();
    std::unique_ptr<TQBTestList> FLoadedTests;
    std::unique_ptr<TQBTestList> FMainTests;
    TQBTestMethod FTestMethod = tm3D;
    double FLiquidThermalExpansion = 0.0;
    double FIceThermalExpansion = 0.0;
    TObserver FMaterialUpdateObserver;
    std::function<void()> FOnNewMainMaterial;
    std::function<void()> FOnCloseProject;
    std::unique_ptr<TSystemOfUnits> FSystemOfUnits;
    TObserver FUnitsObserver;
    int FSystemOfUnitsQueryFuncIdentifier = 0;
    std::unique_ptr<TQBProjectCommands> FCommands;
};

} // namespace tw
