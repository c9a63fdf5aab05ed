#include "storage/SimpleValuePersisters.h"

#include "services/Format.h"

#include <limits>

namespace tw {

TW_KOV_ABSTRACT_CLASS_IMPL(TBaseSimpleValueObject, TKovObject, nullptr)
TW_KOV_CLASS_IMPL(TSVOString, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVOBoolean, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVOByte, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVOInteger, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVODouble, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVOInt64, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVOUniqueID, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVODateTime, TBaseSimpleValueObject, nullptr)
TW_KOV_CLASS_IMPL(TSVOClass, TBaseSimpleValueObject, nullptr)

namespace {
template <typename SVO> auto& ValueOf(TKovObject& object) {
    return *static_cast<SVO&>(object).FValue;
}
} // namespace

// Each load keeps the variable's value when the node holds nothing it can read.

void THPByte::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                           THPReadErrorList* errors) {
    auto& value = ValueOf<TSVOByte>(object);
    const int32_t read = storage.GetValueAsInt32(value);
    if (read < 0 || read > 255) {
        ReportReadProblem(errors, hresWarning,
                          Format("The byte %s holds %d", storage.Name(), read));
        return;
    }
    value = static_cast<uint8_t>(read);
}
void THPByte::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    storage.SetValueAsInt32(ValueOf<TSVOByte>(object));
}

void THPClass::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                            THPReadErrorList* errors) {
    auto& svo = static_cast<TSVOClass&>(object);
    const std::string text = storage.GetValueAsString();
    if (text.empty() || text == "__nil__") {
        *svo.FValue = nullptr;
        return;
    }
    const TKovClass* cls = svo.FTextToClass ? svo.FTextToClass(text) : nullptr;
    if (!cls) {
        ReportReadProblem(errors, hresWarning,
                          Format("Could not find a class for type name %s!", text));
        return;
    }
    *svo.FValue = cls;
}
void THPClass::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    auto& svo = static_cast<TSVOClass&>(object);
    storage.SetValueAsString(*svo.FValue && svo.FClassToText ? svo.FClassToText(*svo.FValue)
                                                             : "__nil__");
}

void THPUniqueID::DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                               THPReadErrorList* errors) {
    auto& value = ValueOf<TSVOUniqueID>(object);
    const std::string text = storage.GetValueAsString();
    TUniqueID id;
    if (text.empty() || text == "{}") {
        value = TUniqueID::Empty();
    } else if (TUniqueID::TryParse(text, id)) {
        value = id;
    } else {
        ReportReadProblem(errors, hresWarning,
                          Format("Invalid identity \"%s\" in %s", text, storage.Name()));
    }
}
void THPUniqueID::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    const TUniqueID& value = ValueOf<TSVOUniqueID>(object);
    storage.SetValueAsString(value.IsEmpty() ? "{}" : value.ToString());
}

void THPDateTime::DoLoadObject(TKovObject& object, THierarchicStorage& storage, THPReadErrorList*) {
    auto& value = ValueOf<TSVODateTime>(object);
    value.Days = storage.GetValueAsDouble(value.Days);
}
void THPDateTime::DoPersistObject(TKovObject& object, THierarchicStorage& storage) {
    storage.SetValueAsDouble(ValueOf<TSVODateTime>(object).Days);
}

void RegisterSimpleValuePersisters(THierarchicPersisters& persisters) {
    persisters.RegisterPersister(std::make_unique<THPString>());
    persisters.RegisterPersister(std::make_unique<THPBoolean>());
    persisters.RegisterPersister(std::make_unique<THPByte>());
    persisters.RegisterPersister(std::make_unique<THPInteger>());
    persisters.RegisterPersister(std::make_unique<THPInt64>());
    persisters.RegisterPersister(std::make_unique<THPDouble>());
    persisters.RegisterPersister(std::make_unique<THPClass>());
    persisters.RegisterPersister(std::make_unique<THPUniqueID>());
    persisters.RegisterPersister(std::make_unique<THPDateTime>());
}

} // namespace tw
