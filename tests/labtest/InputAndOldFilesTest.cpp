// The host's input file with a material of every model, a material file that lacks a value, and
// the old forms of files that must still load: initial stresses and phase increments as texts,
// results as rows of objects, project files in their own units, the unit weight of water.

#include "TestFileSupport.h"

#include "labtest/QBResultsOld.h"
#include "labtest/QBTestList.h"
#include "services/Strings.h"

using namespace tw;
using namespace tw::testing;

namespace {

// Gives each stored number a value of its own within its limits, so that a lost value shows.
void ScrambleStoredNumbers(TKovMaterialX& material) {
    int i = 0;
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        if (auto* number = dynamic_cast<TIPDouble*>(property); number && !number->IsDerived()) {
            const double min = number->MinValue(), max = number->MaxValue();
            ++i;
            double value = 0.05 + 0.01 * (i % 11) + 1e-7 * i;
            if (max > min && (value < min || value > max))
                value = max < 1e300 ? min + (max - min) * 0.37 : min + 1.5;
            number->SetValue(value);
        }
}

double Stored(const TKovMaterialX& material, const char* name) {
    return std::get<double>(material.FindInternalProperty(name)->GetValueRecord());
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::unique_ptr<THierarchicStorage> Tree(const std::string& file) {
    return LoadStorageFromFile(file);
}

struct OldFilesFixture : ::testing::Test {
    TKovObjectManager Manager;
    TMessageRecorder Messages;
    std::unique_ptr<TQBProject> Project;
    TTemporaryFolder Folder;

    void SetUp() override {
        Manager.LockRevert();
        Project = Make<TQBProject>(&Manager, HardeningSoilSand(), tm3D);
        Manager.UnlockRevert();
        Manager.ClearRevertStacks();
        SetUpTriaxial(*Project->TriaxialTest());
        FillResults(Project->TriaxialTest()->Results(), 4);
    }
    // The triaxial test as an XML test file, to edit.
    std::string TestFile() {
        const std::string file = Folder.File("triaxial.twt.xml");
        Project->WriteTestResultsXML(file, ttTriaxial);
        return file;
    }
};

} // namespace

TEST(InputFiles, AMaterialOfEveryModelReadsBackWithUnitsAndExpansions) {
    SetUpMaterials();
    TTemporaryFolder folder;
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    units.Length.SetPresentationUnit("cm");
    units.Temperature.SetPresentationUnit("°C");
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        SCOPED_TRACE(MaterialModelCaption(model));
        auto material = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Soil", model, nullptr);
        ScrambleStoredNumbers(*material);
        auto input = Make<TTarnwickInput>(nullptr);
        input->SetMaterialXCopy(*material);
        input->SetGravityAndRhoWater(9.80665, 998.2);
        input->SetSystemOfUnits(units);
        input->SetThermalExpansions(5.3e-5, 2.07e-4);
        for (const char* extension : {".xml", ".kovml"}) {
            SCOPED_TRACE(extension);
            const std::string file = folder.File(std::string("input") + extension);
            WriteTarnwickInput(*input, file);
            THPReadErrorList errors;
            auto read = ReadTarnwickInput(file, &errors);
            EXPECT_FALSE(errors.HasErrorOfSeverity(hresInfo)) << errors.AsText();
            ASSERT_NE(read->SoilMaterialX(), nullptr);
            EXPECT_EQ(read->SoilMaterialX()->GetSoilModel(), model);
            EXPECT_EQ(StoredValues(*read->MaterialX()), StoredValues(*input->MaterialX()));
            EXPECT_EQ(read->MaterialX()->Identification(), "Soil");
            EXPECT_TRUE(read->SystemOfUnits().IsEqualTo(units));
            EXPECT_EQ(read->IceThermalExpansion(), 5.3e-5);
            EXPECT_EQ(read->LiquidThermalExpansion(), 2.07e-4);
            EXPECT_EQ(read->Gravity(), 9.80665);
            EXPECT_EQ(read->RhoWater(), 998.2);
            // The material asks the container for the project's values.
            EXPECT_DOUBLE_EQ(*read->SoilMaterialX()->GetNumber("GravityAcceleration"), 9.80665);
            EXPECT_DOUBLE_EQ(*read->SoilMaterialX()->GetNumber("RhoWater"), 998.2);
        }
    }
}

TEST(InputFiles, AValueTheFileLacksTakesItsOrganizerDefault) {
    SetUpMaterials();
    TTemporaryFolder folder;
    const double organizerDefault = Stored(*HardeningSoilSand(), "GenuchtenGn");
    auto sand = HardeningSoilSand();
    sand->FindInternalProperty("GenuchtenGn")->LoadValue(TVarRec(2.5));
    sand->FindInternalProperty("eInit")->LoadValue(TVarRec(0.71));
    const std::string file = folder.File("sand.xml");
    THierarchicPersisters::Instance().PersistObject(*sand, file);
    auto tree = Tree(file);
    THierarchicStorage& internal = *tree->GetChildByName("Internal");
    ASSERT_TRUE(internal.RemoveChildByName("GenuchtenGn"));
    internal.AddChild("NoSuchParameter").SetValueAsDouble(3.0);
    tree->SaveToFile(file);

    // A new material from the file.
    THPReadErrorList errors;
    auto read =
        THierarchicPersisters::Instance().LoadNew<TKovSoilMaterialX>(nullptr, file, &errors);
    EXPECT_EQ(Stored(*read, "GenuchtenGn"), organizerDefault);
    EXPECT_EQ(Stored(*read, "eInit"), 0.71);
    EXPECT_TRUE(Contains(errors.AsText(), "Data for new property \"GenuchtenGn\" not found"))
        << errors.AsText();
    EXPECT_TRUE(Contains(errors.AsText(), "no stored value \"NoSuchParameter\""))
        << errors.AsText();
    EXPECT_FALSE(errors.HasErrorOfSeverity(hresError));

    // Read into a material that had another value: the default, not its own; and it keeps
    // asking its project.
    auto existing = TMaterialXFactory::CreateSoilMaterialX(
        nullptr, "Other", mxsmmMohrCoulomb, [](const std::string& name) -> std::optional<TVarRec> {
            if (name == "Gravity")
                return TVarRec(9.5);
            return std::nullopt;
        });
    existing->FindInternalProperty("GenuchtenGn")->LoadValue(TVarRec(3.5));
    THPReadErrorList more;
    THierarchicPersisters::Instance().LoadObject(*existing, file, &more);
    EXPECT_EQ(existing->GetSoilModel(), mxsmmHardeningSoil);
    EXPECT_EQ(Stored(*existing, "GenuchtenGn"), organizerDefault);
    EXPECT_EQ(StoredValues(*existing), StoredValues(*read));
    EXPECT_DOUBLE_EQ(*existing->GetNumber("GravityAcceleration"), 9.5);

    // Read in place by the persister itself (as a container reads its material): the value
    // before the read doesn't survive either.
    auto inPlace = HardeningSoilSand();
    inPlace->FindInternalProperty("GenuchtenGn")->LoadValue(TVarRec(4.5));
    THPReadErrorList direct;
    THierarchicPersisters::Instance().PersisterFor(*inPlace).LoadObjectDirectlyFromStorage(
        *inPlace, *Tree(file), &direct);
    EXPECT_EQ(Stored(*inPlace, "GenuchtenGn"), organizerDefault);
    EXPECT_EQ(StoredValues(*inPlace), StoredValues(*read));
}

TEST(InputFiles, TheUnitWeightOfWaterOfOldFilesBecomesItsDensity) {
    SetUpMaterials();
    TTemporaryFolder folder;
    auto input = Make<TTarnwickInput>(nullptr);
    input->SetMaterialXCopy(*HardeningSoilSand());
    input->SetGravityAndRhoWater(9.8, 1234.0);
    const std::string file = folder.File("old.xml");
    WriteTarnwickInput(*input, file);
    auto tree = Tree(file);
    ASSERT_TRUE(tree->RemoveChildByName("RhoWater"));
    tree->AddChild("WaterWeight").SetValueAsDouble(9800.0);
    tree->SaveToFile(file);
    auto read = ReadTarnwickInput(file, nullptr);
    EXPECT_DOUBLE_EQ(read->RhoWater(), 1000.0);
    EXPECT_DOUBLE_EQ(*read->SoilMaterialX()->GetNumber("RhoWater"), 1000.0);
}

TEST_F(OldFilesFixture, InitialStressesAndPhaseIncrementsAsTextsLoad) {
    const std::string file = TestFile();
    auto tree = Tree(file);
    THierarchicStorage& test = *tree->GetChildByName("Test");
    for (TQBLoadDirection d : AllLoadDirections)
        ASSERT_TRUE(
            test.RemoveChildByName(std::string("Sig") + LoadDirectionSuffix(d) + "TotInit"));
    test.AddChild("InitialStresses")
        .SetValueAsString("-11000\t-22000\t-33000\t-4000\t-5000\t-6000");
    THierarchicStorage& phase = test.GetChildByName("Phases")->GetChildByIndex(1);
    for (TQBLoadDirection d : AllLoadDirections) {
        ASSERT_TRUE(phase.RemoveChildByName(TQBPhase::StressIncrementName(d)));
        ASSERT_TRUE(phase.RemoveChildByName(TQBPhase::StrainIncrementName(d)));
        ASSERT_TRUE(phase.RemoveChildByName(TQBPhase::BoundaryConditionName(d)));
    }
    phase.AddChild("StressIncrements").SetValueAsString("1000\t2000\t3000\t4000\t5000\t6000");
    phase.AddChild("StrainIncrements").SetValueAsString("-1\t-2\t-3\t-4\t-5\t-6");
    phase.AddChild("BoundaryConditions").SetValueAsString("1\t0\t1\t0\t0\t1");
    tree->SaveToFile(file);

    THPReadErrorList errors;
    auto read = ReadTestResultsFile(file, &errors);
    const TQBLoadDirectionDoubleArray stresses{-11000, -22000, -33000, -4000, -5000, -6000};
    EXPECT_EQ(read->InitialEffectiveStresses(), stresses);
    const TQBPhase& loaded = read->Phases()[1];
    EXPECT_EQ(loaded.StressIncrements(),
              (TQBLoadDirectionDoubleArray{1000, 2000, 3000, 4000, 5000, 6000}));
    EXPECT_EQ(loaded.StrainIncrements(), (TQBLoadDirectionDoubleArray{-1, -2, -3, -4, -5, -6}));
    EXPECT_EQ(loaded.BoundaryConditions(),
              (TQBBoundaryConditions{bcFixedStress, bcFixedStrain, bcFixedStress, bcFixedStrain,
                                     bcFixedStrain, bcFixedStress}));
    // The old elements stand for the phase's increments: no message about them.
    EXPECT_FALSE(Contains(errors.AsText(), "inc\"")) << errors.AsText();
    // The other phases are as they were.
    EXPECT_EQ(PropertyTexts(read->Phases()[2]),
              PropertyTexts(Project->TriaxialTest()->Phases()[2]));

    // An old text that is no six numbers is a warning, and the phase keeps its values.
    auto broken = Tree(file);
    broken->GetChildByName("Test")
        ->GetChildByName("Phases")
        ->GetChildByIndex(1)
        .GetChildByName("StressIncrements")
        ->SetValueAsString("1\t2\tthree");
    broken->SaveToFile(file);
    THPReadErrorList warnings;
    EXPECT_EQ(ReadTestResultsFile(file, &warnings)->Phases()[1].StressIncrements(),
              (TQBLoadDirectionDoubleArray{}));
    EXPECT_TRUE(warnings.HasErrorOfSeverity(hresWarning)) << warnings.AsText();
}

TEST_F(OldFilesFixture, ResultsOfOldFilesLoadFromTheirRows) {
    const std::string file = TestFile();
    // A row of the old form: time, sigma'1 and the choice.
    auto addRow = [](TKovObjectList& rows, std::unique_ptr<TQBResultOld> row, double time,
                     double sigma1, bool selected) {
        row->Property<TIPDouble>("Time").SetValue(time);
        row->Property<TIPDouble>("SigmaEffective1").SetValue(sigma1);
        row->Property<TIPBoolean>("IsSelected").SetValue(selected);
        rows.Add(row.release());
    };
    auto check = [&](const TQBResults& results) {
        ASSERT_EQ(results.RowCount(), 3);
        EXPECT_EQ(results.GetValueByType(1, rtT), 60.0);
        EXPECT_EQ(results.GetValueByType(2, rtSig1), -300e3);
        EXPECT_TRUE(results.GetIsSelectedRow(1));
        EXPECT_FALSE(results.GetIsSelectedRow(2));
    };
    auto& persisters = THierarchicPersisters::Instance();

    // 2023: a results object holding the rows, under "Results".
    {
        auto tree = Tree(file);
        THierarchicStorage& test = *tree->GetChildByName("Test");
        ASSERT_TRUE(test.RemoveChildByName("BulkResults"));
        auto rows = Make<TQBResultsOld_2023_1>(nullptr);
        for (int i = 0; i < 3; ++i)
            addRow(*rows, Make<TQBResultOld_2023_1>(nullptr), 60.0 * i, -100e3 * (i + 1), i == 1);
        persisters.PersistObject(*rows, test.AddChild("Results"));
        const std::string old = Folder.File("2023.twt.xml");
        tree->SaveToFile(old);
        THPReadErrorList errors;
        check(ReadTestResultsFile(old, &errors)->Results());
        EXPECT_FALSE(errors.HasErrorOfSeverity(hresWarning)) << errors.AsText();
    }
    // Older: a plain list of "QBResult" rows.
    {
        auto tree = Tree(file);
        THierarchicStorage& test = *tree->GetChildByName("Test");
        ASSERT_TRUE(test.RemoveChildByName("BulkResults"));
        auto rows = Make<TKovObservableObjectList>(nullptr, true);
        for (int i = 0; i < 3; ++i)
            addRow(*rows, Make<TQBResultOld>(nullptr), 60.0 * i, -100e3 * (i + 1), i == 1);
        persisters.PersistObject(*rows, test.AddChild("Results"));
        const std::string old = Folder.File("oldest.twt.xml");
        tree->SaveToFile(old);
        check(ReadTestResultsFile(old, nullptr)->Results());
    }
    // Neither: a test without results, and nothing to report.
    {
        auto tree = Tree(file);
        ASSERT_TRUE(tree->GetChildByName("Test")->RemoveChildByName("BulkResults"));
        const std::string none = Folder.File("none.twt.xml");
        tree->SaveToFile(none);
        THPReadErrorList errors;
        EXPECT_EQ(ReadTestResultsFile(none, &errors)->Results().RowCount(), 0);
        EXPECT_FALSE(errors.HasErrorOfSeverity(hresInfo)) << errors.AsText();
    }
}

TEST_F(OldFilesFixture, AProjectFileInItsOwnUnitsIsConverted) {
    const std::string file = Folder.File("old.qbo.xml");
    Project->WriteQBO(file);
    // The triaxial test's initial stresses as an old file holds them: in its own units.
    auto edit = [&](bool old, const char* force, int forceOrdinal) {
        auto tree = Tree(file);
        if (old) {
            EXPECT_TRUE(tree->RemoveChildByName("UnitSystemVersion"));
        }
        THierarchicStorage& unit = *tree->GetChildByName("UnitForce");
        unit.GetChildByName("TextValue")->SetValueAsString(force);
        unit.GetChildByName("IntegerValue")->SetValueAsInt32(forceOrdinal);
        THierarchicStorage& test = *tree->GetChildByName("MainTests")->GetChildByName("Triaxial");
        test.GetChildByName("SigxxTotInit")->SetValueAsDouble(-75);
        test.GetChildByName("SigyyTotInit")->SetValueAsDouble(-150);
        const std::string edited = Folder.File("edited.qbo.xml");
        tree->SaveToFile(edited);
        return edited;
    };
    TUniqueIDRegister identities;
    auto read = [&](const std::string& edited) {
        TKovObjectManager manager(&identities);
        manager.LockRevert();
        auto other = Make<TQBProject>(&manager, HardeningSoilSand(), tm3D);
        manager.UnlockRevert();
        other->ReadQBO(edited);
        return std::make_tuple(other->TriaxialTest()->GetInitialTotalStress(ldXX),
                               other->TriaxialTest()->GetInitialTotalStress(ldYY),
                               other->SystemOfUnits().PresentationUnitText(qtForce));
    };
    EXPECT_EQ(read(edit(true, "kN", 4)), std::make_tuple(-75e3, -150e3, std::string("kN")));
    EXPECT_EQ(read(edit(true, "N", 0)), std::make_tuple(-75.0, -150.0, std::string("N")));
    // The text decides over the ordinal, which is for texts a later version no longer knows.
    EXPECT_EQ(read(edit(true, "kN", 0)), std::make_tuple(-75e3, -150e3, std::string("kN")));
    // A file of this version holds base units.
    EXPECT_EQ(read(edit(false, "kN", 4)), std::make_tuple(-75.0, -150.0, std::string("kN")));
}
