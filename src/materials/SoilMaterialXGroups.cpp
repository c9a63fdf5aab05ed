#include "materials/SoilMaterialXGroups.h"

#include "services/Format.h"

namespace tw::soil {

namespace {
const TMXAssociatedParameterGroup& GroupNamed(const std::string& className) {
    if (const TMXAssociatedParameterGroup* group = TMaterialXRegistries::FindAPG(className))
        return *group;
    return TMaterialXRegistries::RegisterAPG(
        std::make_unique<TMXAssociatedParameterGroup>(className));
}
} // namespace

const TMXAssociatedParameterGroup& Group(const std::string& shortName) {
    if (shortName == "ClientGeometry")
        return GroupNamed("TCommonMX_APG_ClientGeometry");
    if (shortName == "AllSoilMaterials")
        return GroupNamed("TSoilMX_APGCollection_AllSoilMaterials");
    return GroupNamed("TSoilMX_APG_" + shortName);
}

const TMXAssociatedParameterGroup& RootGroup(const std::string& shortName) {
    return GroupNamed("TSoilMX_RootAPG_" + shortName);
}

double NamedDivide(double numerator, double denominator, const std::string& caption) {
    if (IsZero(denominator))
        throw ESoilMaterialXDerivedParametersConstructor(
            Format("Cannot get %s because of a division by zero.", caption));
    return numerator / denominator;
}

TGetter Stored(const std::string& name) {
    return TMXParametersConstructor::GetInternalParameterGetter(name);
}

TSetter Store(const std::string& name) {
    return TMXParametersConstructor::GetInternalParameterSetter(name);
}

// ---------------------------------------------------------------------------------------------
// Builder

namespace {
template <typename V> TMXDefaultValueFunction DefaultOf(const std::optional<V>& value) {
    return value ? TMXAssociatedParameterGroupOrganizer::CreateDefaultValue(TVarRec(*value))
                 : nullptr;
}
} // namespace

TGroupBuilder::TGroupBuilder(const TMXAssociatedParameterGroup& group)
    : FGroup(&group), FPersistentOrganizer(std::make_unique<TMXAssociatedParameterGroupOrganizer>(
                          group.ClassName() + "_PersistentOrganizer", group, mxpctPersistent)),
      FDerivedOrganizer(std::make_unique<TMXAssociatedParameterGroupOrganizer>(
          group.ClassName() + "_DerivedOrganizer", group, mxpctDerived)),
      FConfiguration(std::make_unique<TMXIPConfigurationGroup>(
          group.ClassName() + "_IPConfiguration", group)) {}

TGroupBuilder::~TGroupBuilder() {
    const TMXAssociatedParameterGroup& group = *FGroup;
    auto persistent = std::make_unique<TMXGenericParametersConstructor>(
        group.ClassName() + "_PersistentConstructor", group, mxpctPersistent, nullptr,
        [steps = std::move(FPersistent)](TMXParametersConstructor& c) {
            for (const TStep& step : steps)
                step(c);
        });
    const TMXParametersConstructor* reference = persistent.get();
    TMaterialXRegistries::RegisterMXParametersConstructor(group, mxpctPersistent,
                                                          std::move(persistent));
    TMaterialXRegistries::RegisterMXParametersConstructor(
        group, mxpctDerived,
        std::make_unique<TMXGenericParametersConstructor>(
            group.ClassName() + "_DerivedConstructor", group, mxpctDerived, reference,
            [steps = std::move(FDerived)](TMXParametersConstructor& c) {
                for (const TStep& step : steps)
                    step(c);
            }));
    TMaterialXRegistries::RegisterMXParametersOrganizer(group, mxpctPersistent,
                                                        std::move(FPersistentOrganizer));
    TMaterialXRegistries::RegisterMXParametersOrganizer(group, mxpctDerived,
                                                        std::move(FDerivedOrganizer));
    TMaterialXRegistries::RegisterMXIPConfigurationFunctions(group, std::move(FConfiguration));
}

TGroupBuilder& TGroupBuilder::Double(const std::string& name, const std::string& caption,
                                     double min, double max, TQuantityType quantity,
                                     const std::string& collection,
                                     std::optional<double> defaultValue,
                                     TKovIntrinsicPropertyConfig flags) {
    FPersistent.push_back([=](TMXParametersConstructor& c) {
        c.DeclareDouble(name, flags, min, max, quantity, caption);
    });
    FPersistentOrganizer->Add(collection, name, DefaultOf(defaultValue));
    return *this;
}

TGroupBuilder& TGroupBuilder::Boolean(const std::string& name, const std::string& caption,
                                      const std::string& collection,
                                      std::optional<bool> defaultValue) {
    FPersistent.push_back([=](TMXParametersConstructor& c) { c.DeclareBoolean(name, 0, caption); });
    FPersistentOrganizer->Add(collection, name, DefaultOf(defaultValue));
    return *this;
}

TGroupBuilder& TGroupBuilder::Enumeration(const std::string& name, const std::string& caption,
                                          const std::vector<std::string>& values,
                                          const std::string& collection,
                                          std::optional<int> defaultValue) {
    FPersistent.push_back(
        [=](TMXParametersConstructor& c) { c.DeclareEnumeration(name, 0, values, caption); });
    FPersistentOrganizer->Add(
        collection, name,
        DefaultOf(defaultValue ? std::optional<int32_t>(*defaultValue) : std::nullopt));
    return *this;
}

TGroupBuilder& TGroupBuilder::Text(const std::string& name, const std::string& caption,
                                   const std::string& collection) {
    FPersistent.push_back([=](TMXParametersConstructor& c) { c.DeclareText(name, 0, caption); });
    FPersistentOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::Interface(const std::string& name, const std::string& collection,
                                        TKovIntrinsicPropertyConfig extraFlags) {
    FDerived.push_back([=](TMXParametersConstructor& c) {
        const TKovIntrinsicPropertyDeclaration& stored =
            c.ReferenceParametersConstructor()->GetIPDeclarationFor(name);
        if (dynamic_cast<const TIPEnumerationDeclaration*>(&stored))
            c.AddInterfaceToTypedEnumeration(name, extraFlags);
        else
            c.AddInterfaceTo(name, extraFlags);
    });
    FDerivedOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::Derived(const std::string& name, const std::string& caption,
                                      double min, double max, TQuantityType quantity,
                                      const std::string& collection, TGetter getter, TSetter setter,
                                      TKovIntrinsicPropertyConfig flags) {
    FDerived.push_back([=](TMXParametersConstructor& c) {
        c.DeclareDerivedDouble(name, flags, min, max, quantity, getter, setter, caption);
    });
    FDerivedOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::DerivedBoolean(const std::string& name, const std::string& caption,
                                             const std::string& collection, TBoolGetter getter,
                                             TBoolSetter setter,
                                             TKovIntrinsicPropertyConfig flags) {
    FDerived.push_back([=](TMXParametersConstructor& c) {
        c.DeclareDerivedBoolean(name, flags, getter, setter, caption);
    });
    FDerivedOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::DerivedEnumeration(const std::string& name,
                                                 const std::string& caption,
                                                 const std::vector<std::string>& values,
                                                 const std::string& collection, TIntGetter getter,
                                                 TIntSetter setter) {
    FDerived.push_back([=](TMXParametersConstructor& c) {
        c.DeclareDerivedTypedEnumeration(name, 0, values, getter, setter, caption);
    });
    FDerivedOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::DerivedText(const std::string& name, const std::string& caption,
                                          const std::string& collection,
                                          TMXParametersConstructor::TTextGetter getter,
                                          TMXParametersConstructor::TTextSetter setter) {
    FDerived.push_back([=](TMXParametersConstructor& c) {
        c.DeclareDerivedText(name, 0, getter, setter, caption);
    });
    FDerivedOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::Copy(const std::string& source, const std::string& name,
                                   const std::string& caption, const std::string& collection,
                                   TKovIntrinsicPropertyConfig flags) {
    FDerived.push_back([=](TMXParametersConstructor& c) {
        TKovIntrinsicPropertyDeclaration& copy = c.AddDerivedCopy(source, name, caption);
        copy.SetConfiguration(copy.Configuration() | flags);
    });
    FDerivedOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::MethodDerived(const std::string& name, const std::string& caption,
                                            double min, double max, TQuantityType quantity,
                                            const std::string& collection, TGetter getter,
                                            const std::string& methodName, int directValue,
                                            const std::string& directName) {
    FDerived.push_back([=](TMXParametersConstructor& c) {
        c.AddInterfaceWithMethodEnumeration(name, 0, min, max, quantity, getter, methodName,
                                            directValue, directName, caption);
    });
    FDerivedOrganizer->Add(collection, name);
    return *this;
}

TGroupBuilder& TGroupBuilder::Alias(const std::string& master, const std::string& alias) {
    TMaterialXRegistries::RegisterAlias(master, alias);
    return *this;
}

TGroupBuilder& TGroupBuilder::Structural(const std::string& name) {
    FPersistentOrganizer->AddStructural(name);
    return *this;
}

TGroupBuilder& TGroupBuilder::Visibility(const std::string& name, TMXVisibilityFunction function) {
    FConfiguration->AddVisibility(name, std::move(function));
    return *this;
}

TGroupBuilder& TGroupBuilder::Mutability(const std::string& name, TMXMutabilityFunction function) {
    FConfiguration->AddMutability(name, std::move(function));
    return *this;
}

TGroupBuilder& TGroupBuilder::ValidEnums(const std::string& name, TMXValidEnumsFunction function) {
    FConfiguration->AddValidEnums(name, std::move(function));
    return *this;
}

TGroupBuilder& TGroupBuilder::Gets(const std::string& name,
                                   const std::vector<std::string>& others) {
    TMaterialXRegistries::RegisterAPGParameterGetRelation(*FGroup, name, others);
    return *this;
}

TGroupBuilder& TGroupBuilder::Sets(const std::string& name,
                                   const std::vector<std::string>& others) {
    TMaterialXRegistries::RegisterAPGParameterSetRelation(*FGroup, name, others);
    return *this;
}

TGroupBuilder& TGroupBuilder::ConfiguredBy(const std::string& name,
                                           const std::vector<std::string>& others) {
    TMaterialXRegistries::RegisterAPGParameterConfigRelation(*FGroup, name, others);
    return *this;
}

TGroupBuilder& TGroupBuilder::DependsOn(const std::vector<std::string>& shortNames) {
    // Groups are registered once at start-up; this is their one mutation.
    auto& group = const_cast<TMXAssociatedParameterGroup&>(*FGroup);
    for (const std::string& name : shortNames)
        group.AddDependency(Group(name));
    return *this;
}

} // namespace tw::soil
