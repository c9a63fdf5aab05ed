#include "objects/IntrinsicPropertyTools.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/IntrinsicPropertyList.h"

#include "objects/IntrinsicPropertyKinds.h"
#include "objects/KovObjectLists.h"

#include <map>
#include <mutex>

namespace tw {

namespace {

std::map<const TKovClass*, TIntrinsicPropertyTools::TGetter>& Getters() {
    static std::map<const TKovClass*, TIntrinsicPropertyTools::TGetter> getters = [] {
        std::map<const TKovClass*, TIntrinsicPropertyTools::TGetter> g;
        g[&TIPBoolean::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            return TValue(static_cast<const TIPBoolean&>(p).Value());
        };
        g[&TIPInteger::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            return TValue(static_cast<const TIPInteger&>(p).Value());
        };
        g[&TIPDouble::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            return TValue(static_cast<const TIPDouble&>(p).Value());
        };
        g[&TIPText::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            return TValue(static_cast<const TIPText&>(p).Value());
        };
        g[&TIPEnumeration::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            return TValue(static_cast<const TIPEnumeration&>(p).IntValue());
        };
        g[&TIPKovObject::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            return TValue(static_cast<const TIPKovObject&>(p).Value());
        };
        g[&TIPBlob::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            const auto& bytes = static_cast<const TIPBlob&>(p).Value();
            return TValue(std::string(bytes.begin(), bytes.end()));
        };
        g[&TIPTable::StaticClass()] = [](const TKovIntrinsicProperty& p) {
            const auto& table = static_cast<const TIPTable&>(p);
            TValue::TArray rows;
            for (int r = 0; r < table.RowCount(); ++r) {
                TValue::TArray row;
                for (double v : table.Row(r))
                    row.emplace_back(v);
                rows.emplace_back(std::move(row));
            }
            return TValue(std::move(rows));
        };
        return g;
    }();
    return getters;
}

std::mutex& GettersMutex() {
    static std::mutex mutex;
    return mutex;
}

int KindOrder(const TValue& v) {
    switch (v.Data.index()) {
    case 2: // integer and number are one kind
    case 3:
        return 2;
    default:
        return static_cast<int>(v.Data.index());
    }
}

double AsNumber(const TValue& v) {
    return std::holds_alternative<int64_t>(v.Data) ? static_cast<double>(v.As<int64_t>())
                                                   : v.As<double>();
}

template <typename T> int Order(const T& a, const T& b) {
    return a < b ? -1 : b < a ? 1 : 0;
}

int CompareRecords(const TKovIntrinsicProperty& property, const TVarRec& a, const TVarRec& b) {
    if ((VarIsFloat(a) || VarIsInteger(a)) && (VarIsFloat(b) || VarIsInteger(b)))
        return -property.CompareValues(a, b); // CompareValues answers 1 when b is greater
    if (a.index() != b.index())
        return Order(a.index(), b.index());
    if (VarIsBoolean(a))
        return Order(std::get<bool>(a), std::get<bool>(b));
    if (VarIsString(a))
        return Order(std::get<std::string>(a), std::get<std::string>(b));
    const TKovObject* x = std::get<TKovObject*>(a);
    const TKovObject* y = std::get<TKovObject*>(b);
    return Order(TKovObject::GetGUIDOrEmptyGUID(x).Bytes, TKovObject::GetGUIDOrEmptyGUID(y).Bytes);
}

} // namespace

int TIntrinsicPropertyTools::GetIndexInOwner(const TKovIntrinsicProperty& property) {
    return property.Owner() ? property.Owner()->IntrinsicProperties().IndexOf(&property) : -1;
}

TKovObject* TIntrinsicPropertyTools::GetRootObject(TKovObject* object) {
    // The hops are bounded: a cycle of parents is a fault, not a reason to hang.
    for (int hops = 0; object && hops < 10000; ++hops) {
        TKovObject* up = nullptr;
        if (auto* property = dynamic_cast<TKovIntrinsicProperty*>(object))
            up = property->Owner();
        else if (auto* parentable = dynamic_cast<TKovParentableObject*>(object))
            up = parentable->Parent();
        else if (auto* referenceable = dynamic_cast<TKovReferenceableObservableObject*>(object))
            up = referenceable->Owner();
        if (!up)
            return object;
        object = up;
    }
    return object;
}

void TIntrinsicPropertyTools::RegisterTValueGetterFunctionForClasses(
    const std::vector<const TKovClass*>& classes, TGetter getter) {
    std::lock_guard lock(GettersMutex());
    for (const TKovClass* cls : classes)
        Getters()[cls] = getter;
}

TValue TIntrinsicPropertyTools::GetValueAsTValue(const TKovIntrinsicProperty& property) {
    TGetter getter;
    {
        std::lock_guard lock(GettersMutex());
        auto& getters = Getters();
        for (const TKovClass* c = &property.ClassType(); c && !getter; c = c->Parent())
            if (auto it = getters.find(c); it != getters.end())
                getter = it->second;
    }
    if (!getter)
        throw EIntrinsicPropertyException(
            Format("Unable to get the value of intrinsic property %s of type %s as TValue!. The "
                   "TValue getter for this type or its ancesstor(s) is not registered!",
                   property.Name(), property.ClassType().Name()));
    return getter(property);
}

TValue TIntrinsicPropertyTools::GetDefaultValueAsTValue(const TKovIntrinsicProperty& property) {
    if (!property.Declaration())
        throw EIntrinsicPropertyException(Format(
            "Intrinsic property %s has no declaration to take a default from", property.Name()));
    std::unique_ptr<TKovIntrinsicProperty> fresh(
        property.Declaration()->CreateInstanceOfProperty(nullptr));
    return GetValueAsTValue(*fresh->GetStaticEquivalent());
}

int TIntrinsicPropertyTools::CompareIPValue(const TKovIntrinsicProperty& a,
                                            const TKovIntrinsicProperty& b) {
    if (&a.ClassType() != &b.ClassType())
        throw EIntrinsicPropertyException("Type mismatch between IP values");
    return CompareRecords(a, a.GetValueRecord(), b.GetValueRecord());
}

void TIntrinsicPropertyTools::AppendIPValueToVarRecArray(const TKovIntrinsicProperty& property,
                                                         std::vector<TVarRec>& array) {
    TVarRec value;
    if (!property.SaveValue(value))
        throw EIntrinsicPropertyException(
            Format("Unable to save the value of intrinsic property %s", property.Name()));
    array.push_back(std::move(value));
}

int TIntrinsicPropertyTools::CompareTValues(const TValue& a, const TValue& b) {
    if (a.IsArray() != b.IsArray())
        throw EIntrinsicPropertyException("Cannot compare arrays to non-arrays.");
    if (a.IsArray()) {
        const auto& x = a.As<TValue::TArray>();
        const auto& y = b.As<TValue::TArray>();
        for (size_t i = 0; i < x.size() && i < y.size(); ++i)
            if (int c = CompareTValues(x[i], y[i]))
                return c;
        return Order(x.size(), y.size());
    }
    if (KindOrder(a) != KindOrder(b))
        return Order(KindOrder(a), KindOrder(b));
    switch (a.Data.index()) {
    case 0:
        return 0;
    case 1:
        return Order(a.As<bool>(), b.As<bool>());
    case 2:
    case 3:
        return Order(AsNumber(a), AsNumber(b));
    case 4:
        return Order(a.As<std::string>(), b.As<std::string>());
    default:
        return Order(TKovObject::GetGUIDOrEmptyGUID(a.As<TKovObject*>()).Bytes,
                     TKovObject::GetGUIDOrEmptyGUID(b.As<TKovObject*>()).Bytes);
    }
}

} // namespace tw
