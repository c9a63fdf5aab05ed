// Every soil model: made, switched to every other model and back, copied, written, and held to
// the ranges of its values.

#include "MaterialTestSupport.h"

#include "materials/SoilUserDefinedModels.h"

#include <cmath>

using namespace tw;
using namespace tw::testing;

namespace {

std::map<std::string, std::string> Stored(const TKovMaterialX& material) {
    std::map<std::string, std::string> values;
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        values[property->Name()] = property->ValueAsText();
    return values;
}

// Values a user would give each model's own parameters (a medium soil, kN and m).
void Typical(TKovMaterialX& material, TMXSoil_MaterialModel model) {
    auto set = [&](const char* name, double value) { SetUser(material, name, value); };
    if (material.FindUserProperty("phi"))
        set("phi", 28.0);
    switch (model) {
    case mxsmmHardeningSoil:
    case mxsmmHardeningSoilSmall:
        set("E50Ref", 30e6);
        set("EOedRef", 30e6);
        set("EURRef", 90e6);
        break;
    case mxsmmSoftSoil:
    case mxsmmSoftSoilCreep:
    case mxsmmSOInviscid:
    case mxsmmSOViscid:
        set("IndexMethod", mxsirmStandard);
        set("lambdaModified", 0.1);
        set("kappaModified", 0.02);
        break;
    case mxsmmModifiedCamClay:
        set("lambda", 0.2);
        set("kappa", 0.04);
        set("MCCMCsl", 1.2);
        break;
    default:
        break;
    }
}

} // namespace

TEST(AllSoilModels, SwitchToEveryOtherModelAndBackKeepsTheStoredValues) {
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels())
        for (TMXSoil_MaterialModel other : AllSoilMaterialModels()) {
            if (other == model)
                continue;
            auto material = MakeSoil(model);
            ScrambleStoredNumbers(*material);
            const auto before = Stored(*material);
            SetUser(*material, "SoilModel", other);
            ASSERT_EQ(material->GetSoilModel(), other);
            const auto there = Stored(*material);
            SetUser(*material, "SoilModel", model);
            ASSERT_EQ(material->GetSoilModel(), model);
            const auto back = Stored(*material);
            for (const auto& [name, value] : before) {
                if (name == "SoilModel" || !there.count(name))
                    continue; // a value the other model lacks comes back as its default
                EXPECT_EQ(back.at(name), value) << name << " of " << MaterialModelCaption(model)
                                                << " lost through " << MaterialModelCaption(other);
            }
        }
}

TEST(AllSoilModels, CopyAndWriteEveryModel) {
    TUserDLLs::RegisterLibrary("udsm_hps64.dll", {{"HPS", 1, {{"K", "K", qtPressure, 1e6, 30}}}});
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        auto material = MakeSoil(model);
        Typical(*material, model);
        if (model == mxsmmUserDefined) {
            TMaterialXTools::SetUserPropertyValueFrom(*material, "DllFile",
                                                      TVarRec(std::string("udsm_hps64.dll")));
            TMaterialXTools::SetUserPropertyValueFrom(*material, "ModelInDll",
                                                      TVarRec(std::string("HPS")));
        }
        auto copy = TMaterialXFactory::CreateCopy(nullptr, *material);
        EXPECT_EQ(AllUserValues(*copy), AllUserValues(*material)) << MaterialModelCaption(model);
        if (model == mxsmmNone)
            continue; // the kernel has no number for it
        TRecordingLineWriter file;
        KernelMaterialWriter()->WriteMaterialBlocks(file, static_cast<TKovSoilMaterialX&>(*copy));
        EXPECT_EQ(file.Lines.size(), 211u) << MaterialModelCaption(model);
        EXPECT_EQ(file.Lines[1].find(
                      std::to_string(TMXWriterQueryFunctions::GetSoilTypeIntegerValue(*material))),
                  0u);
    }
    TUserDLLs::UnregisterLibrary("udsm_hps64.dll");
}

TEST(AllSoilModels, AValueOutOfItsRangeIsRefusedAndChangesNothing) {
    // Every writable number of every model, written just outside its range as a user would:
    // refused with its range in the message, and the material stays as it was.
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        auto material = MakeSoil(model);
        Typical(*material, model);
        const auto before = AllUserValues(*material);
        int refused = 0;
        for (TKovIntrinsicProperty* property : material->UserProperties()) {
            const auto* number = dynamic_cast<const TIPDouble*>(property);
            if (!number || property->ReadOnly())
                continue;
            for (double outside : {number->MinValue() - 1.0, number->MaxValue() + 1.0}) {
                if (!std::isfinite(outside) || std::fabs(outside) > 1e300)
                    continue; // no number lies beyond the largest double
                EXPECT_THROW(SetUser(*material, property->Name(), outside),
                             EMaterialXValueOutOfRange)
                    << property->Name() << " of " << MaterialModelCaption(model);
                ++refused;
            }
        }
        EXPECT_GT(refused, 10) << MaterialModelCaption(model);
        EXPECT_EQ(AllUserValues(*material), before) << MaterialModelCaption(model);
    }
}

TEST(AllSoilModels, EveryWriteEitherTakesOrRaisesItsOwnTextAndChangesNothing) {
    // Every writable number of every model, written with a value inside its range: it takes, or
    // its setter refuses it with a material error (a division by zero, say), and then the
    // material is as it was before the write. No other failure may escape.
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        auto material = MakeSoil(model);
        Typical(*material, model);
        std::vector<std::string> names;
        for (TKovIntrinsicProperty* property : material->UserProperties())
            if (dynamic_cast<const TIPDouble*>(property) && !property->ReadOnly())
                names.push_back(property->Name());
        for (const std::string& name : names) {
            TKovIntrinsicProperty* property = material->FindUserProperty(name);
            if (!property || property->ReadOnly())
                continue; // an earlier write changed what this model shows
            const auto* number = static_cast<const TIPDouble*>(property);
            const double min = number->MinValue(), max = number->MaxValue();
            const double value = max < 1e300 ? min + (max - min) * 0.37 : std::max(min, 0.0) + 1.5;
            const auto before = AllUserValues(*material);
            try {
                SetUser(*material, name, value);
            } catch (const EMaterialXException& e) {
                EXPECT_EQ(AllUserValues(*material), before)
                    << name << " of " << MaterialModelCaption(model) << ": " << e.what();
            }
        }
    }
}

TEST(AllSoilModels, EveryWriteOfEveryModelIsTakenBackByUndo) {
    // A setter that stores outside the write's undo step would leave a trace after undo.
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        SCOPED_TRACE(MaterialModelCaption(model));
        TKovObjectManager manager;
        auto material = MakeSoil(model, &manager);
        manager.ClearRevertStacks();
        const auto fresh = AllUserValues(*material);
        Typical(*material, model);
        SetUser(*material, "eInit", 0.7);
        SetUser(*material, "DrainageType", mxsdtNonPorous);
        const int steps = manager.UndoCount();
        ASSERT_GT(steps, 1);
        const auto typical = AllUserValues(*material);
        for (int i = 0; i < steps; ++i)
            manager.Undo();
        EXPECT_EQ(AllUserValues(*material), fresh);
        for (int i = 0; i < steps; ++i)
            manager.Redo();
        EXPECT_EQ(AllUserValues(*material), typical);
    }
}

TEST(AllSoilModels, TheKernelRecordOfEveryModelGoesBackIntoAMaterialOfThatModel) {
    // Writing a material and reading its record into a fresh material of the model brings back
    // every value a user may write: the reverse map undoes the sines and the units of the file.
    // (Values the material derives, such as Jointed Rock's G_t, stay the fresh material's.)
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        if (model == mxsmmNone || model == mxsmmUserDefined)
            continue; // no kernel number, no library
        SCOPED_TRACE(MaterialModelCaption(model));
        // Stored numbers of their own, so that a place the reverse map misses shows.
        auto material = MakeSoil(model);
        ScrambleStoredNumbers(*material);
        Typical(*material, model);
        TRecordingLineWriter first;
        KernelMaterialWriter()->WriteMaterialBlocks(first, *material);
        const std::vector<double> record = first.Record();
        auto fresh = MakeSoil(model);
        Typical(*fresh, model); // the methods and switches a record doesn't carry
        TMaterialXDataProviderTools::ApplyProlaysRValuesToMaterialX(*fresh, record,
                                                                    first.StorageSystemOfUnits());
        int compared = 0;
        TMaterialXDataProviderTools::GetDataProviderCollectionFor(*fresh)
            ->EnumerateDataEntriesOfType(
                mxdpdtProlaysR, [&](TMX_DataProviderIndex place, const TMXValueFunction& function) {
                    const bool user = function.Kind == TMXValueFunction::vfkUser ||
                                      function.Kind == TMXValueFunction::vfkSinOfUser;
                    const TKovIntrinsicProperty* property =
                        user ? fresh->FindUserProperty(function.Property) : nullptr;
                    if (!property || property->ReadOnly())
                        return;
                    ++compared;
                    const double back = function(*fresh).Number();
                    const double there = function(*material).Number();
                    EXPECT_NEAR(back, there, 1e-9 * std::max(1.0, std::fabs(there)))
                        << "place " << place << " " << function.Property;
                });
        EXPECT_GT(compared, 20);
    }
}

TEST(AllSoilModels, CopiesOfEveryModelHoldEveryValueOfTheirSource) {
    // With a value of its own in every stored number, a copy and a static copy read the same as
    // their source, and the copy stays derived where the source is.
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        SCOPED_TRACE(MaterialModelCaption(model));
        auto material = MakeSoil(model);
        ScrambleStoredNumbers(*material);
        Typical(*material, model);
        SetUser(*material, "DrainageType", mxsdtNonPorous);
        const auto values = AllUserValues(*material);
        auto copy = TMaterialXFactory::CreateCopy(nullptr, *material);
        EXPECT_EQ(AllUserValues(*copy), values);
        auto frozen = TMaterialXFactory::CreateStaticCopy(nullptr, *material);
        EXPECT_EQ(AllUserValues(*frozen), values);
        // The static copy no longer follows its stored values; the copy does.
        SetUser(*material, "eInit", 0.9);
        SetUser(*copy, "eInit", 0.9);
        EXPECT_EQ(AllUserValues(*copy), AllUserValues(*material));
        EXPECT_EQ(AllUserValues(*frozen).at("nInit"), values.at("nInit"));
        EXPECT_NE(AllUserValues(*material).at("nInit"), values.at("nInit"));
    }
}

TEST(AllSoilModels, AfterEverySwitchEveryChoiceIsOneTheModelOffers) {
    // The drainage and the interface stiffness, taken to their last valid value (for the
    // drainage the last but non-porous, which every model takes), and switched to every other
    // model: no choice may stay at a value the new model doesn't offer.
    auto enumerations = [](const TKovMaterialX& material) {
        std::vector<const TIPEnumeration*> found;
        for (TKovIntrinsicProperty* property : material.UserProperties())
            if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(property))
                found.push_back(enumeration);
        return found;
    };
    for (TMXSoil_MaterialModel model : AllSoilMaterialModels())
        for (TMXSoil_MaterialModel other : AllSoilMaterialModels()) {
            if (other == model)
                continue;
            auto material = MakeSoil(model);
            for (const char* name : {"DrainageType", "InterfacesStiffnessMethod"}) {
                auto& choice = static_cast<TIPEnumeration&>(*material->FindUserProperty(name));
                for (int value = choice.Count() - 1; value >= 0; --value)
                    if (!choice.IsDisabled(value) &&
                        !(choice.Name() == "DrainageType" && value == mxsdtNonPorous)) {
                        SetUser(*material, name, value);
                        break;
                    }
            }
            SetUser(*material, "SoilModel", other);
            for (const TIPEnumeration* enumeration : enumerations(*material))
                EXPECT_FALSE(enumeration->IsDisabled(enumeration->IntValue()))
                    << enumeration->Name() << " from " << MaterialModelCaption(model) << " to "
                    << MaterialModelCaption(other);
        }
}
