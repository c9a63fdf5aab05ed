// Persisters: a model object with every stored kind of property, owned and referenced lists and
// plain fields goes to each back-end and comes back whole, with its identities and references;
// old files still load; and a read that fails leaves the model as it was.

#include "PersistedThings.h"
#include "StorageTestTools.h"
#include "storage/ApplicationVersion.h"
#include "storage/HSKovBinaryXML.h"
#include "storage/HSNativeXML.h"
#include "storage/SimpleValuePersisters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tw;
using namespace tw::testing;
using ::testing::HasSubstr;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

namespace {

const TUniqueID BoreholeID = [] {
    TUniqueID id;
    TUniqueID::TryParse("{11111111-2222-3333-4444-555555555555}", id);
    return id;
}();

// A sample with a value in every property, three layers, two favourites and all fields.
std::unique_ptr<TSoilSample> FullSample(TKovObjectManager& manager) {
    SoilPersister();
    auto sample = Make<TSoilSample>(&manager);
    sample->SetName("Sample");
    sample->Pressure().SetValue(-125000.5);
    sample->Count().SetValue(-7);
    sample->Drained().SetValue(true);
    sample->Label().SetValue("Dense sand & <gravel>");
    sample->Behaviour().SetIntValue(2);
    sample->Curve().SetColCount(2);
    sample->Curve().SetValues({0, 0, 1.5, -2.25, 3, 0.125});
    sample->Photo().SetValue(std::vector<uint8_t>(300, 0xAB));
    TSystemOfUnits units;
    units.SetUnitsOfNewProject();
    sample->Units().SetValue(units);
    sample->Colour().SetRGB(10, 20, 30);
    auto& first = sample->AddLayer(1.5);
    auto& second = sample->AddLayer(2.5);
    auto& third = sample->AddLayer(3.5);
    // The reference is written before its target.
    sample->Partner().SetValue(&third);
    sample->Favourites().Add(&third);
    sample->Favourites().Add(&first);
    (void)second;
    sample->Note = "a note";
    sample->Sealed = true;
    sample->Grade = 200;
    sample->Blows = -31;
    sample->Serial = int64_t(1) << 50;
    sample->Depth = 12.75;
    sample->LayerClass = &TSoilLayer::StaticClass();
    sample->Borehole = BoreholeID;
    sample->Taken = {45000.25};
    return sample;
}

void ExpectSameSample(const TSoilSample& read, const TSoilSample& written) {
    EXPECT_EQ(read.UniqueID(), written.UniqueID());
    EXPECT_EQ(read.Name(), written.Name());
    EXPECT_EQ(read.Pressure().Value(), written.Pressure().Value());
    EXPECT_EQ(read.Count().Value(), written.Count().Value());
    EXPECT_EQ(read.Drained().Value(), written.Drained().Value());
    EXPECT_EQ(read.Label().Value(), written.Label().Value());
    EXPECT_EQ(read.Behaviour().IntValue(), written.Behaviour().IntValue());
    EXPECT_EQ(read.Curve().ColCount(), 2);
    EXPECT_EQ(read.Curve().GetValues(), written.Curve().GetValues());
    EXPECT_EQ(read.Photo().Value(), written.Photo().Value());
    EXPECT_TRUE(read.Units().Value().IsEqualTo(written.Units().Value()));
    EXPECT_EQ(read.Colour().Value(), written.Colour().Value());
    ASSERT_EQ(read.Layers().Count(), 3);
    for (int i = 0; i < 3; ++i) {
        auto* layer = read.Layers().GetItemAs<TSoilLayer>(i);
        auto* original = written.Layers().GetItemAs<TSoilLayer>(i);
        ASSERT_NE(layer, nullptr);
        EXPECT_EQ(layer->UniqueID(), original->UniqueID());
        EXPECT_EQ(layer->Thickness().Value(), original->Thickness().Value());
        EXPECT_EQ(layer->Parent(), &read);
    }
    // References resolve to the objects read, in the stored order.
    EXPECT_EQ(read.Partner().Value(), read.Layers().GetItem(2));
    ASSERT_EQ(read.Favourites().Count(), 2);
    EXPECT_EQ(read.Favourites().GetItem(0), read.Layers().GetItem(2));
    EXPECT_EQ(read.Favourites().GetItem(1), read.Layers().GetItem(0));
    EXPECT_EQ(read.Note, written.Note);
    EXPECT_EQ(read.Sealed, written.Sealed);
    EXPECT_EQ(read.Grade, written.Grade);
    EXPECT_EQ(read.Blows, written.Blows);
    EXPECT_EQ(read.Serial, written.Serial);
    EXPECT_EQ(read.Depth, written.Depth);
    EXPECT_EQ(read.LayerClass, written.LayerClass);
    EXPECT_EQ(read.Borehole, written.Borehole);
    EXPECT_EQ(read.Taken, written.Taken);
}

} // namespace

TEST(Persisters, AnObjectWithEveryKindOfValueComesBackWholeFromEachBackEnd) {
    TTemporaryFolder folder;
    TKovObjectManager writer;
    auto sample = FullSample(writer);
    auto& persisters = THierarchicPersisters::Instance();
    for (const char* extension : {".xml", ".kovml"}) {
        const std::string file = folder.File(std::string("sample") + extension);
        persisters.PersistObject(*sample, file);
        // A reader with a register of its own, as another run of the program would be.
        TUniqueIDRegister uids;
        TKovObjectManager reader(&uids);
        THPReadErrorList errors;
        auto read = persisters.LoadNew<TSoilSample>(&reader, file, &errors);
        ASSERT_TRUE(read);
        EXPECT_TRUE(errors.Empty()) << errors.AsText();
        ExpectSameSample(*read, *sample);
        EXPECT_EQ(uids.Get(sample->UniqueID()), read.get());
        EXPECT_EQ(read->PostLoads, 1);
        EXPECT_TRUE(read->PartnerResolvedAtPostLoad);
        // Reading records no undo step.
        EXPECT_EQ(reader.UndoCount(), 0);

        // Byte for byte: what was read writes the same file.
        const std::string again = folder.File(std::string("again") + extension);
        persisters.PersistObject(*read, again);
        if (std::string(extension) == ".xml")
            EXPECT_EQ(ReadFileBytes(again), ReadFileBytes(file));
        else
            EXPECT_EQ(KovmlBody(ReadFileBytes(again)), KovmlBody(ReadFileBytes(file)));
    }
    // The stored tree: one node per property by its clean name; empty values have none.
    auto xml = LoadStorageFromFile(folder.File("sample.xml"));
    EXPECT_EQ(xml->Name(), "soilsample");
    EXPECT_NE(xml->GetChildByName("pressure"), nullptr);
    EXPECT_EQ(xml->GetChildByName("comments"), nullptr);
    EXPECT_EQ(xml->GetChildByName("UserFeatures"), nullptr);
    EXPECT_EQ(xml->GetChildByName("behaviour")->GetChildByName("TextValue")->GetValueAsString(),
              "Undrained B");
    EXPECT_EQ(xml->GetChildByName("Layers")->ChildCount(), 3);
    EXPECT_EQ(xml->GetChildByName("Layers")->GetChildByIndex(0).Name(), "SoilLayer");
    EXPECT_EQ(xml->GetChildByName("Favourites")->GetChildByIndex(0).Name(), "ItemID");
    EXPECT_EQ(xml->GetNamedValue("ID"), sample->UniqueID().ToString());
}

TEST(Persisters, AReadIntoAnObjectReplacesItsStateOnlyWhenTheWholeReadSucceeded) {
    TTemporaryFolder folder;
    TKovObjectManager manager;
    auto sample = FullSample(manager);
    auto& persisters = THierarchicPersisters::Instance();
    persisters.PersistObject(*sample, folder.File("full.kovml"));
    persisters.PersistObject(*sample, folder.File("full.xml"));

    auto target = Make<TSoilSample>(&manager);
    target->SetName("Target");
    target->Count().SetValue(99);
    target->Note = "old";
    target->AddLayer(9);
    const TUniqueID targetID = target->UniqueID();
    TKovObject* oldLayer = target->Layers().GetItem(0);
    manager.ClearRevertStacks();
    auto expectUnchanged = [&] {
        EXPECT_EQ(target->Name(), "Target");
        EXPECT_EQ(target->UniqueID(), targetID);
        EXPECT_EQ(target->Count().Value(), 99);
        EXPECT_EQ(target->Note, "old");
        ASSERT_EQ(target->Layers().Count(), 1);
        EXPECT_EQ(target->Layers().GetItem(0), oldLayer);
        EXPECT_EQ(manager.UIDRegister().Get(targetID), target.get());
    };

    // A kovml file cut short, an XML file that is not well formed, a layer of an unknown class
    // (without a list of read errors), a file of another type.
    const std::string kovml = ReadFileBytes(folder.File("full.kovml"));
    WriteFileBytes(folder.File("cut.kovml"), kovml.substr(0, kovml.size() / 2));
    std::string xml = ReadFileBytes(folder.File("full.xml"));
    WriteFileBytes(folder.File("broken.xml"), xml.substr(0, xml.size() - 20));
    std::string unknown = xml;
    unknown.replace(unknown.find("<SoilLayer"), 10, "<ClayLayer");
    unknown.replace(unknown.find("</SoilLayer>"), 12, "</ClayLayer>");
    WriteFileBytes(folder.File("unknown.xml"), unknown);
    TKovObjectManager other;
    auto layer = Make<TSoilLayer>(&other);
    persisters.PersistObject(*layer, folder.File("layer.xml"));
    for (const char* name : {"cut.kovml", "broken.xml", "unknown.xml", "layer.xml", "none.xml"}) {
        EXPECT_THAT(
            [&] { persisters.LoadObject(*target, folder.File(name), nullptr); },
            ThrowsMessage<std::exception>(HasSubstr("Error reading \"" + folder.File(name) + "\"")))
            << name;
        expectUnchanged();
    }
    EXPECT_THAT([&] { persisters.LoadObject(*target, folder.File("unknown.xml"), nullptr); },
                ThrowsMessage<std::exception>(
                    HasSubstr("Unknown object type in Layers: ClayLayer. Perhaps the class was not "
                              "registered")));
    // With a list the unknown layer is skipped with a warning, and the rest is read.
    THPReadErrorList errors;
    auto partial = persisters.LoadNew<TSoilSample>(&other, folder.File("unknown.xml"), &errors);
    EXPECT_EQ(partial->Layers().Count(), 2);
    ASSERT_EQ(errors.Count(), 1);
    EXPECT_EQ(errors.GetError(0).Severity(), hresWarning);
    EXPECT_EQ(errors.GetError(0).Error(), "Encountered unknown object type: ClayLayer.");

    // A good file replaces everything: values, fields, items, name and identity.
    persisters.LoadObject(*target, folder.File("full.kovml"), nullptr);
    EXPECT_EQ(target->Name(), "Target"); // the stored name is taken by the sample
    EXPECT_EQ(target->Count().Value(), -7);
    EXPECT_EQ(target->Note, "a note");
    EXPECT_EQ(target->Layers().Count(), 3);
    EXPECT_EQ(target->UniqueID(), sample->UniqueID());
    EXPECT_EQ(target->Layers().GetItemAs<TSoilLayer>(0)->Parent(), target.get());
    EXPECT_EQ(target->Partner().Value(), target->Layers().GetItem(2));
    EXPECT_EQ(target->PostLoads, 1);
    // Reading the sample over itself keeps its name.
    sample->Note = "changed";
    persisters.LoadObject(*sample, folder.File("full.xml"), nullptr);
    EXPECT_EQ(sample->Name(), "Sample");
    EXPECT_EQ(sample->Note, "a note");
    EXPECT_EQ(manager.UndoCount(), 0);
}

TEST(Persisters, MissingAndRenamedPropertiesAndEnumerationsOfOldFiles) {
    SoilPersister();
    TKovObjectManager manager;
    auto sample = Make<TSoilSample>(&manager);
    sample->Label().SetValue("kept");
    sample->Count().SetValue(5);
    sample->Behaviour().SetIntValue(1);
    THSNativeXML root("SoilSample");
    THierarchicPersisters::Instance().PersistObject(*sample, root);
    std::string xml = SaveToBytes(root);
    // An old file: "Count" was called "NumberOfBlows", "Pressure" did not exist, and the
    // behaviour was saved by a version that called it "Half drained" at index 0.
    xml.replace(xml.find("<count"), 6, "<NumberOfBlows");
    xml.replace(xml.find("</count>"), 8, "</NumberOfBlows>");
    const size_t pressure = xml.find("<pressure");
    xml.erase(pressure, xml.find("</pressure>") + 11 - pressure);
    xml.replace(xml.find("Undrained A"), 11, "Half drained");
    xml.replace(xml.find("<IntegerValue>1<"), 16, "<IntegerValue>0<");
    const auto load = [&](THPReadErrorList* errors) {
        TKovObjectManager reader;
        auto storage = LoadFromBytes<THSNativeXML>(xml);
        auto object = THierarchicPersisters::Instance().LoadNewObject(TSoilSample::StaticClass(),
                                                                      &reader, *storage, errors);
        auto* read = static_cast<TSoilSample*>(object.get());
        return std::make_tuple(read->Count().Value(), read->Behaviour().IntValue(),
                               read->Label().Value());
    };
    THPReadErrorList errors;
    EXPECT_EQ(load(&errors), std::make_tuple(0, 0, std::string("kept")));
    // The missing property says so; the empty ones (Comments, Photo, ...) stay silent.
    ASSERT_EQ(errors.Count(), 2) << errors.AsText();
    EXPECT_EQ(errors.GetError(0).Error(),
              "Data for new property \"Pressure\" not found. The default value has been set.");
    EXPECT_EQ(errors.GetError(0).Severity(), hresInfo);
    EXPECT_EQ(errors.GetError(0).TargetObjectNamesCommaSeparated(), "SoilSample_1, Pressure");
    EXPECT_EQ(errors.GetError(1).Error(),
              "Data for new property \"Count\" not found. The default value has been set.");

    auto& mappings = THPPropertyNameMappings::Instance();
    mappings.Add(TKovObservableObject::StaticClass(), "NumberOfBlows", "Count");
    EXPECT_THAT(
        [&] { mappings.Add(TKovObservableObject::StaticClass(), "numberofblows", "Other"); },
        ThrowsMessage<std::exception>(
            StrEq("Cannot add two mappings for the same OldName: numberofblows")));
    EXPECT_EQ(std::get<0>(load(nullptr)), 5);
    mappings.Remove(TKovObservableObject::StaticClass());

    // A text the enumeration knows after a legacy mapping wins over the number.
    auto& declaration =
        const_cast<TIPEnumerationDeclaration&>(sample->Behaviour().EnumerationDeclaration());
    declaration.AddLegacyMapping("Half drained", "Undrained A");
    EXPECT_EQ(std::get<1>(load(nullptr)), 1);
}

TEST(Persisters, AFileOfANewerVersionIsRefusedAndLeavesNothingBehind) {
    TTemporaryFolder folder;
    auto& persister = SoilPersister();
    persister.Versioned = true;
    TKovObjectManager manager;
    auto sample = Make<TSoilSample>(&manager);
    const TApplicationVersion running = TApplicationVersion::Running();
    TApplicationVersion newer = running;
    newer.Build += 1;
    TApplicationVersion::SetRunning(newer);
    THierarchicPersisters::Instance().PersistObject(*sample, folder.File("new.kovml"));
    TApplicationVersion::SetRunning(running);
    THierarchicPersisters::Instance().PersistObject(*sample, folder.File("same.kovml"));

    TKovObjectManager reader;
    THPReadErrorList errors;
    EXPECT_THROW(THierarchicPersisters::Instance().LoadNew<TSoilSample>(
                     &reader, folder.File("new.kovml"), &errors),
                 EHPReadAbandoned);
    ASSERT_EQ(errors.Count(), 1);
    EXPECT_EQ(errors.GetError(0).Severity(), hresError);
    EXPECT_EQ(errors.GetError(0).Error(),
              "TSoilSample's version (" + newer.ToString() + ") is newer than the current (" +
                  running.ToString() +
                  ") and cannot be loaded. The project file is not compatible with this "
                  "application version.");
    // The objects made for the read are gone, and the report still names the sample.
    EXPECT_EQ(reader.ObjectRegistry().Count(), 0u);
    EXPECT_EQ(errors.GetError(0).GetOffendingObject(), nullptr);
    EXPECT_EQ(errors.GetError(0).TargetObjectNamesCommaSeparated(), "SoilSample_1");

    // With earlier errors in the list the check is skipped; the same version passes.
    THPReadErrorList earlier;
    earlier.AddError(hresWarning, "earlier");
    EXPECT_TRUE(THierarchicPersisters::Instance().LoadNew<TSoilSample>(
        &reader, folder.File("new.kovml"), &earlier));
    THPReadErrorList none;
    EXPECT_TRUE(THierarchicPersisters::Instance().LoadNew<TSoilSample>(
        &reader, folder.File("same.kovml"), &none));
    EXPECT_TRUE(none.Empty()) << none.AsText();
    persister.Versioned = false;
}

TEST(Persisters, TheRegistryChoosesTheClosestPersister) {
    SoilPersister();
    auto& persisters = THierarchicPersisters::Instance();
    EXPECT_EQ(persisters.GetPersisterFor(TSoilSample::StaticClass()), &SoilPersister());
    EXPECT_NE(dynamic_cast<THPKovParentableObject*>(
                  persisters.GetPersisterFor(TSoilLayer::StaticClass())),
              nullptr);
    EXPECT_NE(
        dynamic_cast<THPIPDouble*>(persisters.GetPersisterFor(TIPDoubleWithUnit::StaticClass())),
        nullptr);
    EXPECT_NE(dynamic_cast<THPIPInteger*>(persisters.GetPersisterFor(TIPColor::StaticClass())),
              nullptr);
    EXPECT_NE(dynamic_cast<THPKovObject*>(persisters.GetPersisterFor(TKovObject::StaticClass())),
              nullptr);
    EXPECT_EQ(persisters.GetPersisterFor(static_cast<const TKovObject*>(nullptr)), nullptr);

    // A persister registered later for the same class takes over, and leaves again.
    {
        TSystemOfUnits units;
        units.SetUnitsOfNewProject(); // kN, m: a pressure of 1 reads 1 kN/m2
        TScopedPersister legacy(std::make_unique<THPLegacyConversionIPDoubleWithUnit>(units));
        EXPECT_NE(dynamic_cast<THPLegacyConversionIPDoubleWithUnit*>(
                      persisters.GetPersisterFor(TIPDoubleWithUnit::StaticClass())),
                  nullptr);
        THSKovBinaryXML root("SoilSample");
        root.AddChild("pressure").SetValueAsDouble(2.5);
        TKovObjectManager reader;
        auto read = persisters.LoadNewObject(TSoilSample::StaticClass(), &reader, root, nullptr);
        EXPECT_DOUBLE_EQ(static_cast<TSoilSample&>(*read).Pressure().Value(), 2500.0);
    }
    EXPECT_EQ(dynamic_cast<THPLegacyConversionIPDoubleWithUnit*>(
                  persisters.GetPersisterFor(TIPDoubleWithUnit::StaticClass())),
              nullptr);
}

TEST(Persisters, ReferencesToUnknownObjectsAndReadErrorReports) {
    SoilPersister();
    TKovObjectManager manager;
    auto sample = Make<TSoilSample>(&manager);
    TKovObjectManager outside;
    auto stranger = Make<TSoilLayer>(&outside);
    auto& kept = sample->AddLayer(1);
    sample->Favourites().Add(stranger.get());
    sample->Favourites().Add(&kept);
    THSKovBinaryXML root("SoilSample");
    THierarchicPersisters::Instance().PersistObject(*sample, root);
    stranger.reset();

    TUniqueIDRegister uids;
    TKovObjectManager reader(&uids);
    auto read = THierarchicPersisters::Instance().LoadNewObject(TSoilSample::StaticClass(), &reader,
                                                                root, nullptr);
    auto& favourites = static_cast<TSoilSample&>(*read).Favourites();
    // The unknown one is skipped silently; the known one is there.
    ASSERT_EQ(favourites.Count(), 1);
    EXPECT_EQ(favourites.GetItem(0)->UniqueID(), kept.UniqueID());

    THPReadErrorList errors;
    errors.AddError(hresInfo, "first");
    errors.AddError(hresError, "worst", "", read.get());
    errors.AddError(hresWarning, "middle", "named only");
    errors.SortByDecreasingSeverity();
    EXPECT_EQ(errors.GetError(0).Error(), "worst");
    EXPECT_EQ(errors.GetError(2).Error(), "first");
    EXPECT_EQ(errors.GetError(0).GetTargetObject(0), read.get());
    const std::string name = read->Name();
    read.reset();
    EXPECT_EQ(errors.GetError(0).GetTargetObject(0), nullptr);
    EXPECT_EQ(errors.GetError(0).TargetObjectNamesCommaSeparated(), name);
    EXPECT_EQ(errors.AsText(),
              "Error: worst (" + name + ")\nWarning: middle (named only)\nInformation: first\n");
}

TEST(Persisters, AnObjectTakesItsStoredIdentity) {
    TUniqueIDRegister uids;
    TKovObjectManager manager(&uids);
    auto sample = Make<TSoilSample>(&manager);
    const TUniqueID before = sample->UniqueID();
    sample->SetUniqueID(BoreholeID);
    EXPECT_EQ(sample->UniqueID(), BoreholeID);
    EXPECT_EQ(uids.Get(BoreholeID), sample.get());
    EXPECT_EQ(uids.Get(before), nullptr);
    // The stored identity replaces another object's entry; that object's end leaves it alone.
    auto other = Make<TSoilSample>(&manager);
    other->SetUniqueID(BoreholeID);
    sample.reset();
    EXPECT_EQ(uids.Get(BoreholeID), other.get());
    other->SetUniqueID(TUniqueID::Empty());
    EXPECT_EQ(other->UniqueID(), BoreholeID);
}
