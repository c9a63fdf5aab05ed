#pragma once
// What the storage fuzz targets do with a tree they could read: ask every node for everything,
// write it again and read that back, copy it to the other back-end, and read an object from it.
// Bad input may raise (the entry points catch the storage's exceptions); it must not crash.

#include "objects/ClassObjectAssociations.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/KovObjectLists.h"
#include "objects/ObjectManager.h"
#include "storage/HSKovBinaryXML.h"
#include "storage/HSNativeXML.h"
#include "storage/KovPersisters.h"

#include <vector>

namespace tw::fuzzing {

// An object with a stored property of each plain kind and an owned list, for reading.
class TFuzzThing : public TKovObservableObject {
    TW_KOV_CLASS(TFuzzThing, TKovObservableObject)
public:
    explicit TFuzzThing(TKovObjectManager* manager)
        : TKovObservableObject(manager), Items(Make<TKovObjectList>(manager, true)) {}
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
        list.AddDouble("Number", 0, "", -10, 10);
        list.AddInteger("Count");
        list.AddBoolean("Flag");
        list.AddText("Text");
        list.AddEnumeration("Choice", {"One", "Two"});
        list.AddObject("Ref", TFuzzThing::StaticClass());
    }
    std::unique_ptr<TKovObjectList> Items;
};

class THPFuzzThing : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override { return TFuzzThing::StaticClass(); }

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override {
        THPKovObservableObject::AddAdditionalObjects(object, list);
        list.Add("Items", static_cast<TFuzzThing&>(object).Items.get());
    }
};

inline void Walk(const THierarchicStorage& root) {
    std::vector<const THierarchicStorage*> pending{&root};
    while (!pending.empty()) {
        const THierarchicStorage* node = pending.back();
        pending.pop_back();
        try {
            node->Name();
            node->ValueType();
            node->GetValueAsBoolean();
            node->GetValueAsInt32();
            node->GetValueAsInt64();
            node->GetValueAsDouble();
            node->GetValueAsString();
            for (int i = 0; i < node->NamedValuesCount(); ++i)
                node->GetNamedValue(node->GetNamedValueNameByNr(i)), node->GetNamedValueByNr(i);
            if (node->ValueType() == svtBlob)
                node->GetValueAsBlobBuffer();
        } catch (const EKovException&) {
        }
        for (int i = 0; i < node->ChildCount(); ++i)
            pending.push_back(&node->GetChildByIndex(i));
    }
}

// Everything a program could do with a tree it read.
inline void Exercise(THierarchicStorage& root) {
    Walk(root);
    try {
        TMemoryStream saved;
        root.SaveToStream(saved);
        saved.SetPosition(0);
        auto again = root.StorageClass().Create("");
        again->LoadFromStream(saved, "again");
        again->SameAs(root);
    } catch (const EKovException&) {
    }
    try {
        THSKovBinaryXML kovml(root.Name());
        kovml.CopyFrom(root);
        THSNativeXML xml(root.Name());
        xml.CopyFrom(kovml);
    } catch (const EKovException&) {
    }
    static THPObject& persister = []() -> THPObject& {
        TKovObjectClassRegistry::Instance().RegisterClass(&TFuzzThing::StaticClass());
        return THierarchicPersisters::Instance().RegisterPersister(
            std::make_unique<THPFuzzThing>());
    }();
    (void)persister;
    try {
        TUniqueIDRegister uids;
        TKovObjectManager manager(&uids);
        THPReadErrorList errors;
        THierarchicPersisters::Instance().LoadNewObject(TFuzzThing::StaticClass(), &manager, root,
                                                        &errors);
    } catch (const EKovException&) {
    }
}

} // namespace tw::fuzzing
