#pragma once
// Simple values as objects, so that a persister can hand a plain variable (a text, a number, a
// class, a GUID, a date) to the same machinery as an object: each TSVO... object points to the
// variable, which must outlive it, and its persister writes the variable as the node's value.

#include "storage/HierarchicPersisters.h"

namespace tw {

class TBaseSimpleValueObject : public TKovObject {
    TW_KOV_CLASS(TBaseSimpleValueObject, TKovObject)
public:
    TBaseSimpleValueObject() : TKovObject(static_cast<TKovObjectManager*>(nullptr)) {}

protected:
    bool UsesNameRegistry() const override { return false; }
};

#define TW_SIMPLE_VALUE_OBJECT(Class, Type)                                                        \
    class Class : public TBaseSimpleValueObject {                                                  \
        TW_KOV_CLASS(Class, TBaseSimpleValueObject)                                                \
    public:                                                                                        \
        explicit Class(Type* value) : FValue(value) {}                                             \
        Type* FValue = nullptr;                                                                    \
    };

TW_SIMPLE_VALUE_OBJECT(TSVOString, std::string)
TW_SIMPLE_VALUE_OBJECT(TSVOBoolean, bool)
TW_SIMPLE_VALUE_OBJECT(TSVOByte, uint8_t)
TW_SIMPLE_VALUE_OBJECT(TSVOInteger, int32_t)
TW_SIMPLE_VALUE_OBJECT(TSVODouble, double)
TW_SIMPLE_VALUE_OBJECT(TSVOInt64, int64_t)
TW_SIMPLE_VALUE_OBJECT(TSVOUniqueID, TUniqueID)
TW_SIMPLE_VALUE_OBJECT(TSVODateTime, TDateTime)

#undef TW_SIMPLE_VALUE_OBJECT

// A class-valued variable with the two functions that turn a class into text and back.
class TSVOClass : public TBaseSimpleValueObject {
    TW_KOV_CLASS(TSVOClass, TBaseSimpleValueObject)
public:
    TSVOClass(const TKovClass** value, TClassToText toText, TTextToClass toClass)
        : FValue(value), FClassToText(std::move(toText)), FTextToClass(std::move(toClass)) {}
    const TKovClass** FValue = nullptr;
    TClassToText FClassToText;
    TTextToClass FTextToClass;
};

// The persisters of the simple values; the quoted text is each one's default storage name.
template <typename SVO> class THPSimpleValue : public THPCustomObject {
public:
    const TKovClass& SupportedClass() const override { return SVO::StaticClass(); }
    bool RecordsPostLoad() const override { return false; }

protected:
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override {
        *static_cast<SVO&>(target).FValue = *static_cast<SVO&>(loaded).FValue;
    }
};

// A variable whose value the node holds as one of its own value types: `Get` and `Set` are the
// storage's accessors of that type. Reading keeps the variable's value when the node holds none.
template <typename SVO, auto Get, auto Set> class THPPlainValue : public THPSimpleValue<SVO> {
protected:
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage, THPReadErrorList*) override {
        auto& value = *static_cast<SVO&>(object).FValue;
        value = (storage.*Get)(value);
    }
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override {
        (storage.*Set)(*static_cast<SVO&>(object).FValue);
    }
};

#define TW_PLAIN_VALUE_PERSISTER(Class, SVO, Type, StorageName)                                    \
    class Class : public THPPlainValue<SVO, &THierarchicStorage::GetValueAs##Type,                 \
                                       &THierarchicStorage::SetValueAs##Type> {                    \
    public:                                                                                        \
        std::string GetDefaultStorageName(const TKovObject*) const override {                      \
            return StorageName;                                                                    \
        }                                                                                          \
    };

TW_PLAIN_VALUE_PERSISTER(THPString, TSVOString, String, "string")
TW_PLAIN_VALUE_PERSISTER(THPBoolean, TSVOBoolean, Boolean, "Boolean")
TW_PLAIN_VALUE_PERSISTER(THPInteger, TSVOInteger, Int32, "Integer")
TW_PLAIN_VALUE_PERSISTER(THPInt64, TSVOInt64, Int64, "Int64")
TW_PLAIN_VALUE_PERSISTER(THPDouble, TSVODouble, Double, "Double")

#undef TW_PLAIN_VALUE_PERSISTER

// The kinds that check or convert what they read.
#define TW_SIMPLE_VALUE_PERSISTER(Class, SVO, StorageName)                                         \
    class Class : public THPSimpleValue<SVO> {                                                     \
    public:                                                                                        \
        std::string GetDefaultStorageName(const TKovObject*) const override {                      \
            return StorageName;                                                                    \
        }                                                                                          \
                                                                                                   \
    protected:                                                                                     \
        void DoLoadObject(TKovObject& object, THierarchicStorage& storage,                         \
                          THPReadErrorList* errors) override;                                      \
        void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;            \
    };

TW_SIMPLE_VALUE_PERSISTER(THPByte, TSVOByte, "Byte")
TW_SIMPLE_VALUE_PERSISTER(THPClass, TSVOClass, "Class")
TW_SIMPLE_VALUE_PERSISTER(THPUniqueID, TSVOUniqueID, "UniqueID")
TW_SIMPLE_VALUE_PERSISTER(THPDateTime, TSVODateTime, "DateTime")

#undef TW_SIMPLE_VALUE_PERSISTER

// Registers the simple-value persisters (the registry does so on first use).
void RegisterSimpleValuePersisters(THierarchicPersisters& persisters);

} // namespace tw
