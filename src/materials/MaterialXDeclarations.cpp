#include "materials/MaterialXDeclarations.h"

#include "materials/MaterialXClient.h"
#include "materials/MaterialXRegistries.h"
#include "materials/MaterialXTools.h"
#include "services/Format.h"

#include <algorithm>

namespace tw {

// ---------------------------------------------------------------------------------------------
// Tables

TMXTableDeclaration::TMXTableDeclaration(const std::string& name, int columns,
                                         TKovIntrinsicPropertyConfig flags,
                                         const std::string& caption)
    : TKovIntrinsicPropertyDeclaration(name, TIPMaterialTable::StaticClass(), nullptr, flags,
                                       caption),
      FColumns(columns) {}

std::unique_ptr<TKovIntrinsicPropertyDeclaration> TMXTableDeclaration::Clone() const {
    return std::make_unique<TMXTableDeclaration>(*this);
}

bool TMXTableDeclaration::IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const {
    return TKovIntrinsicPropertyDeclaration::IsIdentical(other) &&
           static_cast<const TMXTableDeclaration&>(other).FColumns == FColumns;
}

void TMXTableDeclaration::Assign(const TKovIntrinsicPropertyDeclaration& source) {
    TKovIntrinsicPropertyDeclaration::Assign(source);
    FColumns = static_cast<const TMXTableDeclaration&>(source).FColumns;
}

TW_KOV_CLASS_IMPL(TIPMaterialTable, TIPTable, nullptr)

TIPMaterialTable::TIPMaterialTable(TKovObservableObject* owner,
                                   const TKovIntrinsicPropertyDeclaration* declaration)
    : TIPTable(owner, declaration) {
    if (const auto* table = dynamic_cast<const TMXTableDeclaration*>(declaration))
        SetColCountDirect(table->Columns());
}

TKovMaterialX* MaterialOfProperty(const TKovIntrinsicProperty& property) {
    const auto* collection = dynamic_cast<const TMXPropertyCollection*>(property.Owner());
    return collection ? collection->RootMaterial() : nullptr;
}

// ---------------------------------------------------------------------------------------------
// Group

TMXAssociatedParameterGroup::TMXAssociatedParameterGroup(std::string className, bool enabledIn2D,
                                                         bool enabledIn3D)
    : FClassName(std::move(className)), FEnabledIn2D(enabledIn2D), FEnabledIn3D(enabledIn3D) {}

void TMXAssociatedParameterGroup::DoEnumAPGDependencies(
    const std::function<void(const TMXAssociatedParameterGroup&)>& callback) const {
    for (const TMXAssociatedParameterGroup* group : FDependencies)
        callback(*group);
}

bool TMXAssociatedParameterGroup::IsEnabled() const {
    const TMaterialXClient_Abstract& client = TMaterialXClient_Abstract::Instance();
    if (client.Is2D())
        return EnabledIn2D();
    if (client.Is3D())
        return EnabledIn3D();
    return false;
}

// ---------------------------------------------------------------------------------------------
// Constructor

namespace {

template <typename V, typename G> TDerivedAccessors<V> Accessors(G getter) {
    return TDerivedAccessors<V>([getter](const TKovIntrinsicProperty& p) -> V {
        const TKovMaterialX* material = MaterialOfProperty(p);
        return material ? V(getter(*material)) : V{};
    });
}

template <typename V, typename G, typename S> TDerivedAccessors<V> Accessors(G getter, S setter) {
    if (!setter)
        return Accessors<V>(getter);
    return TDerivedAccessors<V>(
        [getter](const TKovIntrinsicProperty& p) -> V {
            const TKovMaterialX* material = MaterialOfProperty(p);
            return material ? V(getter(*material)) : V{};
        },
        [setter](TKovIntrinsicProperty& p, const V& value) {
            if (TKovMaterialX* material = MaterialOfProperty(p))
                setter(*material, value);
        });
}

// A derived property without setter is read-only by declaration.
TKovIntrinsicPropertyConfig FlagsFor(TKovIntrinsicPropertyConfig flags, bool hasSetter) {
    return hasSetter ? flags : (flags | ipkReadOnly);
}

template <typename P> bool IsKind(const TKovIntrinsicPropertyDeclaration& declaration) {
    return declaration.PropertyClass().InheritsFrom(P::StaticClass());
}

} // namespace

TMXParametersConstructor::TMXParametersConstructor(std::string className,
                                                   const TMXAssociatedParameterGroup& group,
                                                   TMXParameterConstructorType type,
                                                   const TMXParametersConstructor* reference)
    : FClassName(std::move(className)), FGroup(&group), FType(type), FReference(reference) {}

const TKovIntrinsicPropertyDeclarationList& TMXParametersConstructor::Declarations() const {
    std::call_once(FDeclarationsOnce, [this] {
        auto list = std::make_unique<TKovIntrinsicPropertyDeclarationList>();
        FDeclarations = std::move(list);
        FInitializing = true;
        try {
            const_cast<TMXParametersConstructor*>(this)->DoInitializeDeclarations();
        } catch (...) {
            FInitializing = false;
            throw;
        }
        FInitializing = false;
        FDeclarations->CheckUnique();
    });
    return *FDeclarations;
}

TKovIntrinsicPropertyDeclarationList& TMXParametersConstructor::List() const {
    if (!FDeclarations || !FInitializing)
        throw EMXParametersConstructor("Cannot add declarations to a non-existing list");
    return *FDeclarations;
}

bool TMXParametersConstructor::SupportsIP(const std::string& name) const {
    return Declarations().HasDeclarationFor(name);
}

const TKovIntrinsicPropertyDeclaration*
TMXParametersConstructor::FindIPDeclarationFor(const std::string& name) const {
    return Declarations().GetDeclarationFor(name);
}

const TKovIntrinsicPropertyDeclaration&
TMXParametersConstructor::GetIPDeclarationFor(const std::string& name) const {
    if (const TKovIntrinsicPropertyDeclaration* declaration = FindIPDeclarationFor(name))
        return *declaration;
    throw EMXParametersConstructor(
        Format("\"%s\" is not equipped to create property \"%s\"", FClassName, name));
}

void TMXParametersConstructor::EnumerateIntrinsicPropertyNames(
    const std::function<void(const std::string&)>& callback) const {
    for (const TKovIntrinsicPropertyDeclaration& declaration : Declarations().Enumerate())
        callback(declaration.OriginalName());
}

TIPDoubleWithUnitDeclaration&
TMXParametersConstructor::DeclareDouble(const std::string& name, TKovIntrinsicPropertyConfig flags,
                                        double min, double max, TQuantityType quantity,
                                        const std::string& caption, int /*index*/) {
    return List().AddDoubleWithUnit(name, quantity, flags, caption, min, max);
}

TKovIntrinsicPropertyDeclaration&
TMXParametersConstructor::DeclareBoolean(const std::string& name, TKovIntrinsicPropertyConfig flags,
                                         const std::string& caption) {
    return List().AddBoolean(name, flags, caption);
}

TIPIntegerDeclaration& TMXParametersConstructor::DeclareInteger(const std::string& name,
                                                                TKovIntrinsicPropertyConfig flags,
                                                                int32_t min, int32_t max,
                                                                const std::string& caption) {
    return List().AddInteger(name, flags, caption, min, max);
}

TKovIntrinsicPropertyDeclaration&
TMXParametersConstructor::DeclareText(const std::string& name, TKovIntrinsicPropertyConfig flags,
                                      const std::string& caption) {
    return List().AddText(name, flags, caption);
}

TIPEnumerationDeclaration& TMXParametersConstructor::DeclareEnumeration(
    const std::string& name, TKovIntrinsicPropertyConfig flags,
    const std::vector<std::string>& values, const std::string& caption) {
    return List().AddEnumeration(name, values, flags, caption);
}

TMXTableDeclaration& TMXParametersConstructor::DeclareTable(const std::string& name,
                                                            TKovIntrinsicPropertyConfig flags,
                                                            int columns,
                                                            const std::string& caption) {
    if (columns < 1)
        throw EMXParametersConstructor(
            Format("The table \"%s\" needs at least one column, not %d", name, columns));
    return static_cast<TMXTableDeclaration&>(
        List().Add(std::make_unique<TMXTableDeclaration>(name, columns, flags, caption)));
}

TIPDoubleWithUnit_DerivedExternalDeclaration& TMXParametersConstructor::DeclareDerivedDouble(
    const std::string& name, TKovIntrinsicPropertyConfig flags, double min, double max,
    TQuantityType quantity, TDoubleGetter getter, TDoubleSetter setter,
    const std::string& caption) {
    return List().AddDerivedDoubleWithUnit(name, quantity,
                                           Accessors<double>(std::move(getter), setter),
                                           FlagsFor(flags, bool(setter)), caption, min, max);
}

TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes&
TMXParametersConstructor::DeclareDerivedDoubleWithProxiedAttributes(
    const std::string& name, TKovIntrinsicPropertyConfig flags, const std::string& proxySource,
    TDoubleGetter getter, TDoubleSetter setter, const std::string& caption) {
    using D = TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes;
    auto declaration = std::make_unique<D>(
        TIPDoubleWithUnit::StaticClass(), name,
        TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes::StaticClass(),
        [](TKovObservableObject* owner,
           const TKovIntrinsicPropertyDeclaration* d) -> TKovIntrinsicProperty* {
            return new TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes(owner, d);
        },
        FlagsFor(flags, bool(setter)), caption);
    declaration->SetAccessors(Accessors<double>(std::move(getter), setter));
    declaration->ProxySource = proxySource;
    return static_cast<D&>(List().Add(std::move(declaration)));
}

TIPDouble_DerivedExternalDeclaration& TMXParametersConstructor::DeclareDerivedDoubleWithoutUnit(
    const std::string& name, TKovIntrinsicPropertyConfig flags, double min, double max,
    TDoubleGetter getter, TDoubleSetter setter, const std::string& caption) {
    return List().AddDerivedDouble(name, Accessors<double>(std::move(getter), setter),
                                   FlagsFor(flags, bool(setter)), caption, min, max);
}

TIPBoolean_DerivedExternalDeclaration& TMXParametersConstructor::DeclareDerivedBoolean(
    const std::string& name, TKovIntrinsicPropertyConfig flags, TBooleanGetter getter,
    TBooleanSetter setter, const std::string& caption) {
    return List().AddDerivedBoolean(name, Accessors<bool>(std::move(getter), setter),
                                    FlagsFor(flags, bool(setter)), caption);
}

TIPInteger_DerivedExternalDeclaration& TMXParametersConstructor::DeclareDerivedInteger(
    const std::string& name, TKovIntrinsicPropertyConfig flags, int32_t min, int32_t max,
    TIntegerGetter getter, TIntegerSetter setter, const std::string& caption) {
    return List().AddDerivedInteger(name, Accessors<int32_t>(std::move(getter), setter),
                                    FlagsFor(flags, bool(setter)), caption, min, max);
}

TIPText_DerivedExternalDeclaration&
TMXParametersConstructor::DeclareDerivedText(const std::string& name,
                                             TKovIntrinsicPropertyConfig flags, TTextGetter getter,
                                             TTextSetter setter, const std::string& caption) {
    return List().AddDerivedText(name, Accessors<std::string>(std::move(getter), setter),
                                 FlagsFor(flags, bool(setter)), caption);
}

TIPColor_DerivedExternalDeclaration& TMXParametersConstructor::DeclareDerivedColour(
    const std::string& name, TKovIntrinsicPropertyConfig flags, TIntegerGetter getter,
    TIntegerSetter setter, const std::string& caption) {
    return List().AddDerived<TIPColor_DerivedExternal, TIPColor, int32_t, TIPIntegerDeclaration>(
        name, Accessors<int32_t>(std::move(getter), setter), FlagsFor(flags, bool(setter)),
        caption);
}

TIPEnumeration_DerivedExternalDeclaration& TMXParametersConstructor::DeclareDerivedTypedEnumeration(
    const std::string& name, TKovIntrinsicPropertyConfig flags,
    const std::vector<std::string>& values, TIntegerGetter getter, TIntegerSetter setter,
    const std::string& caption) {
    return List().AddDerivedEnumeration(name, values, Accessors<int>(std::move(getter), setter),
                                        FlagsFor(flags, bool(setter)), caption);
}

TKovIntrinsicPropertyDeclaration&
TMXParametersConstructor::AddInterfaceTo(const std::string& name,
                                         TKovIntrinsicPropertyConfig extraFlags) {
    if (!FReference)
        throw EMXParametersConstructor(
            Format("\"%s\" is not equipped to create property \"%s\"", FClassName, name));
    const TKovIntrinsicPropertyDeclaration& stored = FReference->GetIPDeclarationFor(name);
    const TKovIntrinsicPropertyConfig flags = stored.Configuration() | extraFlags;
    const std::string& caption = stored.Caption();
    if (dynamic_cast<const TIPEnumerationDeclaration*>(&stored))
        throw EMXParametersConstructor(
            Format("Derived enum property %s must be registered as typed using "
                   "AddInterfaceToTypedEnumeration or AddDerivedTypedEnumeration",
                   name));
    if (const auto* number = dynamic_cast<const TIPDoubleWithUnitDeclaration*>(&stored))
        return DeclareDerivedDouble(name, flags, number->Limits.Min, number->Limits.Max,
                                    number->QuantityType, GetInternalParameterGetter(name),
                                    GetInternalParameterSetter(name), caption);
    if (const auto* number = dynamic_cast<const TIPDoubleDeclaration*>(&stored))
        return DeclareDerivedDoubleWithoutUnit(name, flags, number->Limits.Min, number->Limits.Max,
                                               GetInternalParameterGetter(name),
                                               GetInternalParameterSetter(name), caption);
    if (const auto* integer = dynamic_cast<const TIPIntegerDeclaration*>(&stored)) {
        auto getter = [name](const TKovMaterialX& m) {
            return int(TMaterialXTools::GetInternalPropertyValueFrom(m, name));
        };
        auto setter = [name](TKovMaterialX& m, int v) {
            TMaterialXTools::SetInternalPropertyValueFrom(m, name, v);
        };
        if (IsKind<TIPColor>(stored))
            return DeclareDerivedColour(name, flags, getter, setter, caption);
        return DeclareDerivedInteger(name, flags, integer->Limits.Min, integer->Limits.Max, getter,
                                     setter, caption);
    }
    if (IsKind<TIPBoolean>(stored))
        return DeclareDerivedBoolean(name, flags, GetBooleanInternalGetter(name),
                                     GetBooleanInternalSetter(name), caption);
    if (IsKind<TIPText>(stored))
        return DeclareDerivedText(
            name, flags,
            [name](const TKovMaterialX& m) {
                const auto* text =
                    dynamic_cast<const TIPText*>(TMaterialXTools::GetInternalPropertyFrom(m, name));
                return text ? text->Value() : std::string();
            },
            [name](TKovMaterialX& m, const std::string& v) {
                if (auto* text =
                        dynamic_cast<TIPText*>(TMaterialXTools::GetInternalPropertyFrom(m, name)))
                    text->SetValue(v);
            },
            caption);
    throw EMXParametersConstructor(
        Format("\"%s\" is not equipped to create property \"%s\"", FClassName, name));
}

TIPEnumeration_DerivedExternalDeclaration&
TMXParametersConstructor::AddInterfaceToTypedEnumeration(const std::string& name,
                                                         TKovIntrinsicPropertyConfig extraFlags) {
    if (!FReference)
        throw EMXParametersConstructor(
            Format("\"%s\" is not equipped to create property \"%s\"", FClassName, name));
    const auto* stored =
        dynamic_cast<const TIPEnumerationDeclaration*>(&FReference->GetIPDeclarationFor(name));
    if (!stored)
        throw EMXParametersConstructor(
            Format("\"%s\" is not equipped to create property \"%s\"", FClassName, name));
    return DeclareDerivedTypedEnumeration(
        name, stored->Configuration() | extraFlags, stored->Strings(),
        [name](const TKovMaterialX& m) { return TMaterialXTools::GetInternalOrdinalFrom(m, name); },
        [name](TKovMaterialX& m, int v) {
            TMaterialXTools::SetInternalPropertyValueFrom(m, name, v);
        },
        stored->Caption());
}

TKovIntrinsicPropertyDeclaration&
TMXParametersConstructor::AddDerivedCopy(const std::string& source, const std::string& newName,
                                         const std::string& newCaption, bool registerAlias) {
    TKovIntrinsicPropertyDeclarationList& list = List();
    const TKovIntrinsicPropertyDeclaration* original = list.GetDeclarationFor(source);
    if (!original)
        throw EMXParametersConstructor(
            Format("Tried to add a copy of a derived property to \"%s\", but the declaration list "
                   "does not contain it.",
                   FClassName));
    if (registerAlias)
        TMaterialXRegistries::RegisterAlias(source, newName);
    return list.Add(original->CreateDuplicate(newName, newCaption));
}

TIPDoubleWithUnit_DerivedExternalDeclaration&
TMXParametersConstructor::AddInterfaceWithMethodEnumeration(
    const std::string& name, TKovIntrinsicPropertyConfig flags, double min, double max,
    TQuantityType quantity, TDoubleGetter getter, const std::string& methodName, int methodValue,
    const std::string& directName, const std::string& caption) {
    return DeclareDerivedDouble(
        name, flags, min, max, quantity, std::move(getter),
        [methodName, methodValue, directName](TKovMaterialX& m, double value) {
            TMaterialXTools::SetInternalPropertyValueFrom(m, methodName, methodValue);
            TMaterialXTools::SetInternalPropertyValueFrom(m, directName, value);
        },
        caption);
}

TMXParametersConstructor::TDoubleGetter
TMXParametersConstructor::GetInternalParameterGetter(const std::string& name) {
    return [name](const TKovMaterialX& m) {
        return TMaterialXTools::GetInternalPropertyValueFrom(m, name);
    };
}

TMXParametersConstructor::TDoubleSetter
TMXParametersConstructor::GetInternalParameterSetter(const std::string& name) {
    return [name](TKovMaterialX& m, double value) {
        TMaterialXTools::SetInternalPropertyValueFrom(m, name, value);
    };
}

TMXParametersConstructor::TDoubleGetter
TMXParametersConstructor::GetUserParameterGetter(const std::string& name) {
    return [name](const TKovMaterialX& m) {
        return TMaterialXTools::GetUserPropertyValueFrom(m, name);
    };
}

TMXParametersConstructor::TDoubleSetter
TMXParametersConstructor::GetUserParameterSetter(const std::string& name) {
    return [name](TKovMaterialX& m, double value) {
        TKovIntrinsicProperty* property = TMaterialXTools::GetUserPropertyFrom(m, name);
        if (!property)
            throw EMaterialXTools(Format(
                "Unable to find the user intrinsic property %s for specified material", name));
        TMaterialXTools::SetPropertyFromVarRec(*property, value);
    };
}

TMXParametersConstructor::TBooleanGetter
TMXParametersConstructor::GetBooleanUserParameterGetter(const std::string& name) {
    return [name](const TKovMaterialX& m) { return TMaterialXTools::GetUserBooleanFrom(m, name); };
}

TMXParametersConstructor::TBooleanSetter
TMXParametersConstructor::GetBooleanUserParameterSetter(const std::string& name) {
    return [name](TKovMaterialX& m, bool value) {
        auto* flag = dynamic_cast<TIPBoolean*>(TMaterialXTools::GetUserPropertyFrom(m, name));
        if (!flag)
            throw EMaterialXTools(Format(
                "Unable to find the user intrinsic property %s for specified material", name));
        flag->SetValue(value);
    };
}

TMXParametersConstructor::TBooleanGetter
TMXParametersConstructor::GetBooleanInternalGetter(const std::string& name) {
    return
        [name](const TKovMaterialX& m) { return TMaterialXTools::GetInternalBooleanFrom(m, name); };
}

TMXParametersConstructor::TBooleanSetter
TMXParametersConstructor::GetBooleanInternalSetter(const std::string& name) {
    return [name](TKovMaterialX& m, bool value) {
        TMaterialXTools::SetInternalBooleanFrom(m, name, value);
    };
}

TMXParametersConstructor::TDoubleGetter TMXParametersConstructor::GetBooleanDependentGetter(
    const std::string& flagName, const std::string& directName, double valueWhenOff, bool sense) {
    return [=](const TKovMaterialX& m) {
        return TMaterialXTools::GetInternalBooleanFrom(m, flagName) == sense
                   ? TMaterialXTools::GetInternalPropertyValueFrom(m, directName)
                   : valueWhenOff;
    };
}

namespace {

TIPTable& TableOrRaise(const TKovMaterialX& material, const std::string& name) {
    auto* table = dynamic_cast<TIPTable*>(TMaterialXTools::GetInternalPropertyFrom(material, name));
    if (!table)
        throw EMaterialXTools(Format(
            "Unable to find the internal intrinsic property %s for specified material", name));
    return *table;
}

std::vector<std::vector<double>> Rows(const TIPTable& table) {
    std::vector<std::vector<double>> rows;
    for (int row = 0; row < table.RowCount(); ++row)
        rows.push_back(table.Row(row));
    return rows;
}

void StoreRows(TIPTable& table, const std::vector<std::vector<double>>& rows) {
    std::vector<double> values;
    for (const std::vector<double>& row : rows)
        values.insert(values.end(), row.begin(), row.end());
    table.SetValues(values);
}

} // namespace

TMXParametersConstructor::TDoubleGetter
TMXParametersConstructor::GetAdvancedTableRowGetter(const std::string& tableName, int row,
                                                    int column) {
    return [=](const TKovMaterialX& m) {
        const TIPTable& table = TableOrRaise(m, tableName);
        if (row < 0 || row >= table.RowCount() || column < 0 || column >= table.ColCount())
            return 0.0;
        return table.GetValue(row, column);
    };
}

TMXParametersConstructor::TTableRowDeleter
TMXParametersConstructor::GetAdvancedTableDeleteRowFunc(const std::string& tableName) {
    return [=](TKovMaterialX& m, int row) {
        TIPTable& table = TableOrRaise(m, tableName);
        if (row < 0 || row >= table.RowCount())
            throw EMXParametersConstructor("The row was not found in the table.");
        std::vector<std::vector<double>> rows = Rows(table);
        rows.erase(rows.begin() + row);
        StoreRows(table, rows);
    };
}

TMXParametersConstructor::TTableRowInserter
TMXParametersConstructor::GetAdvancedTableInsertRowFunc(const std::string& tableName) {
    return [=](TKovMaterialX& m, int row, const std::vector<double>& values) {
        TIPTable& table = TableOrRaise(m, tableName);
        if (static_cast<int>(values.size()) != table.ColCount())
            throw EMXParametersConstructor(
                Format("Invalid table, number of values not a multiple of the column count \"%d\"",
                       table.ColCount()));
        if (row < 0)
            throw EMXParametersConstructor("The row was not found in the table.");
        std::vector<std::vector<double>> rows = Rows(table);
        rows.insert(rows.begin() + std::min<size_t>(size_t(row), rows.size()), values);
        StoreRows(table, rows);
    };
}

// ---------------------------------------------------------------------------------------------
// Organizer

TMXAssociatedParameterGroupOrganizer::TMXAssociatedParameterGroupOrganizer(
    std::string className, const TMXAssociatedParameterGroup& group,
    TMXParameterConstructorType type)
    : FClassName(std::move(className)), FGroup(&group), FType(type) {}

void TMXAssociatedParameterGroupOrganizer::EnumerateRegisteredParameters(
    const TParameterCallback& callback) const {
    const bool derived = FType == mxpctDerived;
    static const TMXDefaultValueFunction none;
    for (const TEntry& entry : FEntries)
        callback(entry.Collection, entry.Property, derived, derived ? none : entry.Default);
}

void TMXAssociatedParameterGroupOrganizer::EnumerateStructuralChangingParameters(
    const std::function<void(const std::string&)>& callback) const {
    for (const std::string& name : FStructural)
        callback(name);
}

void TMXAssociatedParameterGroupOrganizer::Add(const std::string& collection,
                                               const std::string& property,
                                               TMXDefaultValueFunction defaultValue) {
    FEntries.push_back({collection, property, std::move(defaultValue)});
}

TMXDefaultValueFunction
TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(const TVarRec& value) {
    return [value](TKovIntrinsicProperty& property) {
        const bool fits =
            dynamic_cast<TIPDouble*>(&property) || dynamic_cast<TIPInteger*>(&property) ||
            dynamic_cast<TIPEnumeration*>(&property) || dynamic_cast<TIPBoolean*>(&property);
        if (!fits || VarIsObject(value) ||
            !TMaterialXTools::TrySetPropertyFromVarRec(property, value))
            throw EMXParametersConstructor(Format("Unable to set the default value for the "
                                                  "parameter for intrinsic property %s of type %s!",
                                                  property.Name(), property.ClassType().Name()));
    };
}

TMXDefaultValueFunction TMXAssociatedParameterGroupOrganizer::CreateTableDefaultValue(
    std::vector<std::vector<double>> rows) {
    return [rows = std::move(rows)](TKovIntrinsicProperty& property) {
        auto* table = dynamic_cast<TIPTable*>(&property);
        if (!table)
            throw EMXParametersConstructor(Format(
                "Unable to add default values to %s. Expected Advanced Table", property.Name()));
        std::vector<double> values;
        for (const std::vector<double>& row : rows) {
            if (static_cast<int>(row.size()) != table->ColCount())
                throw EMXParametersConstructor(
                    Format("Invalid table, number of values not a multiple of the column count "
                           "\"%d\"",
                           table->ColCount()));
            values.insert(values.end(), row.begin(), row.end());
        }
        table->SetValues(values);
    };
}

// ---------------------------------------------------------------------------------------------
// Configuration

void TMXIPConfigurationGroup::EnumVisibilityFunctions(
    const std::function<void(const std::string&, const TMXVisibilityFunction&)>& callback) const {
    for (const auto& [name, function] : FVisibility)
        callback(name, function);
}

void TMXIPConfigurationGroup::EnumMutabilityFunctions(
    const std::function<void(const std::string&, const TMXMutabilityFunction&)>& callback) const {
    for (const auto& [name, function] : FMutability)
        callback(name, function);
}

void TMXIPConfigurationGroup::EnumValidEnumsFunctions(
    const std::function<void(const std::string&, const TMXValidEnumsFunction&)>& callback) const {
    for (const auto& [name, function] : FValidEnums)
        callback(name, function);
}

namespace {

// A user value as an ordinal, or -1 where the material has no such property.
int UserOrdinalOr(const TKovMaterialX& material, const std::string& name, int fallback) {
    if (!TMaterialXTools::GetUserPropertyFrom(material, name))
        return fallback;
    return TMaterialXTools::GetUserOrdinalFrom(material, name);
}

bool Contains(const std::vector<int>& values, int value) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

TMXVisibility VisibleIf(bool flag) {
    return flag ? mxvVisible : mxvHidden;
}

TMXMutability WritableIf(bool flag) {
    return flag ? mxmMutable : mxmReadOnly;
}

int GeometryOrdinal() {
    return TMaterialXClient_Abstract::IsInstantiated()
               ? int(TMaterialXClient_Abstract::Instance().GeometryType())
               : int(mxcgtNone);
}

} // namespace

TMXVisibilityFunction
TMXIPConfigurationFunctions::GetBooleanVisibilityGetter(const std::string& flagName, bool sense) {
    return [=](const TKovMaterialX& m) {
        return VisibleIf((UserOrdinalOr(m, flagName, sense ? 1 : 0) != 0) == sense);
    };
}

TMXVisibilityFunction
TMXIPConfigurationFunctions::GetConstantVisibilityGetter(TMXVisibility visibility) {
    return [=](const TKovMaterialX&) { return visibility; };
}

TMXVisibilityFunction TMXIPConfigurationFunctions::GetGeometryTypeVisibilityGetter(int geometry) {
    return [=](const TKovMaterialX&) { return VisibleIf(GeometryOrdinal() == geometry); };
}

TMXVisibilityFunction TMXIPConfigurationFunctions::Get2DSpecificVisibilityFunction() {
    return GetGeometryTypeVisibilityGetter(mxcgt2D);
}

TMXVisibilityFunction TMXIPConfigurationFunctions::Get3DSpecificVisibilityFunction() {
    return GetGeometryTypeVisibilityGetter(mxcgt3D);
}

TMXVisibilityFunction
TMXIPConfigurationFunctions::GetSoilModelSpecificVisibilityGetter(std::vector<int> models) {
    return [models = std::move(models)](const TKovMaterialX& m) {
        return VisibleIf(Contains(models, UserOrdinalOr(m, "SoilModel", -1)));
    };
}

TMXVisibilityFunction
TMXIPConfigurationFunctions::GetHiddenInSpecificDrainageTypesGetter(std::vector<int> drainages) {
    return [drainages = std::move(drainages)](const TKovMaterialX& m) {
        return VisibleIf(!Contains(drainages, UserOrdinalOr(m, "DrainageType", -1)));
    };
}

TMXVisibilityFunction
TMXIPConfigurationFunctions::GetVisibleInSpecificDrainageTypesGetter(std::vector<int> drainages) {
    return [drainages = std::move(drainages)](const TKovMaterialX& m) {
        return VisibleIf(Contains(drainages, UserOrdinalOr(m, "DrainageType", -1)));
    };
}

TMXVisibilityFunction
TMXIPConfigurationFunctions::GetEnumerationSetVisibilityGetter(const std::string& name,
                                                               std::vector<int> values) {
    return [name, values = std::move(values)](const TKovMaterialX& m) {
        return VisibleIf(Contains(values, UserOrdinalOr(m, name, -1)));
    };
}

TMXVisibilityFunction TMXIPConfigurationFunctions::GetUndrainedBehaviourCheckerForVisibility() {
    return GetVisibleInSpecificDrainageTypesGetter({mxsdtUndrainedA, mxsdtUndrainedB});
}

TMXMutabilityFunction
TMXIPConfigurationFunctions::GetBooleanMutabilityGetter(const std::string& flagName, bool sense) {
    return [=](const TKovMaterialX& m) {
        return WritableIf((UserOrdinalOr(m, flagName, sense ? 1 : 0) != 0) == sense);
    };
}

TMXMutabilityFunction TMXIPConfigurationFunctions::GetGeometryTypeMutabilityGetter(int geometry) {
    return [=](const TKovMaterialX&) { return WritableIf(GeometryOrdinal() == geometry); };
}

TMXMutabilityFunction TMXIPConfigurationFunctions::Get2DSpecificMutabilityFunction() {
    return GetGeometryTypeMutabilityGetter(mxcgt2D);
}

TMXMutabilityFunction TMXIPConfigurationFunctions::Get3DSpecificMutabilityFunction() {
    return GetGeometryTypeMutabilityGetter(mxcgt3D);
}

TMXMutabilityFunction
TMXIPConfigurationFunctions::GetConstantMutabilityGetter(TMXMutability mutability) {
    return [=](const TKovMaterialX&) { return mutability; };
}

TMXMutabilityFunction
TMXIPConfigurationFunctions::GetReadOnlyInSpecificDrainageTypesGetter(std::vector<int> drainages) {
    return [drainages = std::move(drainages)](const TKovMaterialX& m) {
        return WritableIf(!Contains(drainages, UserOrdinalOr(m, "DrainageType", -1)));
    };
}

TMXMutabilityFunction TMXIPConfigurationFunctions::GetUndrainedBehaviourCheckerForMutability() {
    return [](const TKovMaterialX& m) {
        const int drainage = UserOrdinalOr(m, "DrainageType", -1);
        return WritableIf(drainage == mxsdtUndrainedA || drainage == mxsdtUndrainedB);
    };
}

TMXMutabilityFunction
TMXIPConfigurationFunctions::GetEnumerationSetMutabilityGetter(const std::string& name,
                                                               std::vector<int> values) {
    return [name, values = std::move(values)](const TKovMaterialX& m) {
        return WritableIf(Contains(values, UserOrdinalOr(m, name, -1)));
    };
}

// ---------------------------------------------------------------------------------------------
// Proxied attributes

bool TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes::IsIdentical(
    const TKovIntrinsicPropertyDeclaration& other) const {
    return TIPDoubleWithUnit_DerivedExternalDeclaration::IsIdentical(other) &&
           ProxySource ==
               static_cast<const TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes&>(
                   other)
                   .ProxySource;
}

TW_KOV_CLASS_IMPL(TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes,
                  TIPDoubleWithUnit_DerivedExternal, nullptr)

const TIPDouble* TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes::ProxySource() const {
    const auto* declaration =
        dynamic_cast<const TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes*>(
            Declaration());
    const TKovMaterialX* material = MaterialOfProperty(*this);
    if (!declaration || !material)
        return nullptr;
    const TKovIntrinsicProperty* source =
        TMaterialXTools::GetInternalPropertyFrom(*material, declaration->ProxySource);
    if (!source)
        source = TMaterialXTools::GetUserPropertyFrom(*material, declaration->ProxySource);
    const auto* number = dynamic_cast<const TIPDouble*>(source);
    if (!number || number == this)
        throw EIntrinsicPropertyException(
            Format("Cannot find proxy source for \"%s\"", declaration->ProxySource));
    return number;
}

const TLimits<double>* TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes::NumberLimits() const {
    const TIPDouble* source = ProxySource();
    return source ? source->NumberLimits() : TIPDoubleWithUnit_DerivedExternal::NumberLimits();
}

TQuantityType TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes::QuantityType() const {
    const auto* source = dynamic_cast<const TIPDoubleWithUnit*>(ProxySource());
    return source ? source->QuantityType() : TIPDoubleWithUnit_DerivedExternal::QuantityType();
}

} // namespace tw
