#include "objects/AccessStrategies.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

#include "services/Strings.h"

namespace tw {

namespace {
std::string Quoted(const std::string& text) {
    return Format("\"%s\"", text);
}
} // namespace

bool TAccessStrategyIP_Base::GetIsValidForReading() const {
    return Property().IsPublished();
}

bool TAccessStrategyIP_Base::GetIsValidForWriting() const {
    return !Property().ReadOnly();
}

bool TAccessStrategyIP_Base::GetChildrenArePublished() const {
    return Property().IsPublished();
}

std::string TAccessStrategyIP_Base::GetAsCommandParam() const {
    TVarRec value;
    if (!Property().SaveValue(value))
        return "";
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&Property()))
        return Quoted(enumeration->StrValueCompact());
    if (VarIsString(value))
        return Quoted(ReplaceAll(std::get<std::string>(value), "\"", "\"\""));
    if (VarIsObject(value)) {
        const TKovObject* object = std::get<TKovObject*>(value);
        return object ? object->Name() : "nil";
    }
    return VarRecToString(value);
}

void TASIP_Default::WrongVarType() const {
    throw EIntrinsicPropertyAssignError("TASIP_Default.DoGetValue called with wrong var type");
}

int TASIP_Default::CompareValue(const TVarRec& value) const {
    return Property().CompareValue(value);
}

TVarRec TASIP_Default::GetValue() const {
    return Property().GetValueRecord();
}

std::string TASIP_Default::GetValueText() const {
    TKovIntrinsicProperty& p = Property();
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&p))
        return enumeration->StrValueOriginal();
    TVarRec value;
    if (!p.SaveValue(value))
        return p.ValueAsText();
    if (VarIsObject(value)) {
        const TKovObject* object = std::get<TKovObject*>(value);
        return object ? object->Name() : "<not assigned>";
    }
    return VarRecToString(value);
}

void TASIP_Default::SetValue(const TVarRec& value) {
    TKovIntrinsicProperty& p = Property();
    if (auto* enumeration = dynamic_cast<TIPEnumeration*>(&p)) {
        if (VarIsInteger(value))
            enumeration->SetIntValue(std::get<int32_t>(value));
        else if (VarIsString(value))
            enumeration->SetStrValue(std::get<std::string>(value));
        else
            WrongVarType();
    } else if (auto* boolean = dynamic_cast<TIPBoolean*>(&p)) {
        if (!VarIsBoolean(value))
            WrongVarType();
        boolean->SetValue(std::get<bool>(value));
    } else if (auto* integer = dynamic_cast<TIPInteger*>(&p)) {
        if (!VarIsInteger(value))
            WrongVarType();
        integer->SetValue(std::get<int32_t>(value));
    } else if (auto* number = dynamic_cast<TIPDouble*>(&p)) {
        double x;
        if (VarIsFloat(value))
            number->SetValue(std::get<double>(value));
        else if (VarIsInteger(value))
            number->SetValue(std::get<int32_t>(value));
        else if (VarIsString(value) && TryStrToFloat(Trim(std::get<std::string>(value)), x))
            number->SetValue(x);
        else
            WrongVarType();
    } else if (auto* text = dynamic_cast<TIPText*>(&p)) {
        if (!VarIsString(value))
            WrongVarType();
        text->SetValue(std::get<std::string>(value));
    } else if (auto* reference = dynamic_cast<TIPKovObject*>(&p)) {
        if (!VarIsObject(value))
            WrongVarType();
        reference->SetValue(std::get<TKovObject*>(value));
    } else if (!p.LoadValue(value)) {
        WrongVarType();
    }
}

} // namespace tw
