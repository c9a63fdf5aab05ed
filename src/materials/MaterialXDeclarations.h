#pragma once
// The declarative side of the material framework. A soil model is not a class with fields: it is
// a root associated parameter group (APG) whose closure of groups names what the model is made
// of. Per group there are up to five declaration objects:
//
// - a persistent constructor: the declarations of the stored parameters (in "Internal");
// - a derived constructor: the declarations of what users see (in "User" and "Global"), whose
//   getters and setters compute from and write into the stored ones;
// - a persistent and a derived organizer: which parameter goes into which collection, and the
//   defaults of the stored ones;
// - an IP configuration group: visibility, mutability and valid enumeration values by rule.
//
// Groups, constructors, organizers and configuration groups are made once at start-up and live
// for the program (the registry owns them); they are shared by every material and are read from
// any thread afterwards. A constructor builds its declaration list lazily, once, under a lock.

#include "materials/MaterialXExceptions.h"
#include "objects/IntrinsicProperty.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/IntrinsicPropertyKinds.h"
#include "objects/IntrinsicPropertyList.h"
#include "objects/IntrinsicPropertyValueKinds.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tw {

class TKovMaterialX;

enum TMXParameterConstructorType { mxpctPersistent, mxpctDerived };
enum TMXVisibility { mxvVisible, mxvHidden };
enum TMXMutability { mxmMutable, mxmReadOnly };
enum TMXParameterRelationType { mxprtGet, mxprtSet, mxprtConfig };

// The material a property of a material's collection belongs to; nullptr for a property outside
// any material.
TKovMaterialX* MaterialOfProperty(const TKovIntrinsicProperty& property);

// A derived number whose limits and unit are those of another property of its material, found by
// name when they are asked for: a value shown beside the stored one it stands for, that follows
// whatever limits and unit that one has at the time.
class TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes
    : public TIPDoubleWithUnit_DerivedExternalDeclaration {
public:
    using TIPDoubleWithUnit_DerivedExternalDeclaration::
        TIPDoubleWithUnit_DerivedExternalDeclaration;
    const char* DeclarationTypeName() const override {
        return "DeclarationDoubleWithUnitProxiedAttributes";
    }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override {
        return std::make_unique<TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes>(
            *this);
    }
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;
    // The name of the property whose limits and unit this one takes (stored or user).
    std::string ProxySource;
};

class TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes
    : public TIPDoubleWithUnit_DerivedExternal {
    TW_KOV_CLASS(TIPDoubleWithUnit_DerivedExternal_ProxiedAttributes,
                 TIPDoubleWithUnit_DerivedExternal)
public:
    using TIPDoubleWithUnit_DerivedExternal::TIPDoubleWithUnit_DerivedExternal;
    // Those of the source, which must exist in the material: raises "Cannot find proxy source for
    // \"%s\"" otherwise. Without a material (a multi-select twin) the declaration's own.
    const TLimits<double>* NumberLimits() const override;
    TQuantityType QuantityType() const override;

private:
    const TIPDouble* ProxySource() const;
};

// A stored table of a material (an advanced table of numbers): its declaration carries the
// number of columns, so that every table made from it, a copy's too, has them.
class TMXTableDeclaration : public TKovIntrinsicPropertyDeclaration {
public:
    TMXTableDeclaration(const std::string& name, int columns, TKovIntrinsicPropertyConfig flags,
                        const std::string& caption);
    const char* DeclarationTypeName() const override { return "DeclarationTable"; }
    int Columns() const { return FColumns; }
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Clone() const override;
    bool IsIdentical(const TKovIntrinsicPropertyDeclaration& other) const override;
    void Assign(const TKovIntrinsicPropertyDeclaration& source) override;

private:
    int FColumns;
};

class TIPMaterialTable : public TIPTable {
    TW_KOV_CLASS(TIPMaterialTable, TIPTable)
public:
    TIPMaterialTable(TKovObservableObject* owner,
                     const TKovIntrinsicPropertyDeclaration* declaration);
};

// ---------------------------------------------------------------------------------------------
// Associated parameter group: used as a class, one instance per group, never per material.

class TMXAssociatedParameterGroup {
public:
    explicit TMXAssociatedParameterGroup(std::string className, bool enabledIn2D = true,
                                         bool enabledIn3D = true);
    TMXAssociatedParameterGroup(const TMXAssociatedParameterGroup&) = delete;
    TMXAssociatedParameterGroup& operator=(const TMXAssociatedParameterGroup&) = delete;
    virtual ~TMXAssociatedParameterGroup() = default;

    // "TSoilMX_APG_HardeningSoil".
    const std::string& ClassName() const { return FClassName; }
    // The groups this one depends on, in the order given.
    virtual void DoEnumAPGDependencies(
        const std::function<void(const TMXAssociatedParameterGroup&)>& callback) const;
    virtual bool EnabledIn2D() const { return FEnabledIn2D; }
    virtual bool EnabledIn3D() const { return FEnabledIn3D; }
    // Asks the client: its dimension decides; false when it is neither 2D nor 3D.
    bool IsEnabled() const;

    void AddDependency(const TMXAssociatedParameterGroup& group) {
        FDependencies.push_back(&group);
    }

private:
    std::string FClassName;
    bool FEnabledIn2D, FEnabledIn3D;
    std::vector<const TMXAssociatedParameterGroup*> FDependencies;
};

// ---------------------------------------------------------------------------------------------
// Parameters constructor

class TMXParametersConstructor {
public:
    // Accessors of derived values on the material: the value in base units.
    using TDoubleGetter = std::function<double(const TKovMaterialX&)>;
    using TDoubleSetter = std::function<void(TKovMaterialX&, double)>;
    using TBooleanGetter = std::function<bool(const TKovMaterialX&)>;
    using TBooleanSetter = std::function<void(TKovMaterialX&, bool)>;
    using TIntegerGetter = std::function<int(const TKovMaterialX&)>;
    using TIntegerSetter = std::function<void(TKovMaterialX&, int)>;
    using TTextGetter = std::function<std::string(const TKovMaterialX&)>;
    using TTextSetter = std::function<void(TKovMaterialX&, const std::string&)>;

    // `reference` is the persistent constructor of the same group, which a derived constructor
    // reads its interfaces from; not owned.
    TMXParametersConstructor(std::string className, const TMXAssociatedParameterGroup& group,
                             TMXParameterConstructorType type,
                             const TMXParametersConstructor* reference = nullptr);
    TMXParametersConstructor(const TMXParametersConstructor&) = delete;
    TMXParametersConstructor& operator=(const TMXParametersConstructor&) = delete;
    virtual ~TMXParametersConstructor() = default;

    const std::string& ClassName() const { return FClassName; }
    const TMXAssociatedParameterGroup& AssociatedParameterGroup() const { return *FGroup; }
    TMXParameterConstructorType Type() const { return FType; }
    const TMXParametersConstructor* ReferenceParametersConstructor() const { return FReference; }

    bool SupportsIP(const std::string& name) const;
    // Raises EMXParametersConstructor ("\"%s\" is not equipped to create property \"%s\"").
    const TKovIntrinsicPropertyDeclaration& GetIPDeclarationFor(const std::string& name) const;
    const TKovIntrinsicPropertyDeclaration* FindIPDeclarationFor(const std::string& name) const;
    void
    EnumerateIntrinsicPropertyNames(const std::function<void(const std::string&)>& callback) const;
    // Built on first use.
    const TKovIntrinsicPropertyDeclarationList& Declarations() const;

    // Building blocks, used while the declarations are initialised. Stored kinds:
    TIPDoubleWithUnitDeclaration& DeclareDouble(const std::string& name,
                                                TKovIntrinsicPropertyConfig flags, double min,
                                                double max, TQuantityType quantity,
                                                const std::string& caption, int index = -1);
    TKovIntrinsicPropertyDeclaration& DeclareBoolean(const std::string& name,
                                                     TKovIntrinsicPropertyConfig flags,
                                                     const std::string& caption);
    TIPIntegerDeclaration& DeclareInteger(const std::string& name,
                                          TKovIntrinsicPropertyConfig flags, int32_t min,
                                          int32_t max, const std::string& caption);
    TKovIntrinsicPropertyDeclaration& DeclareText(const std::string& name,
                                                  TKovIntrinsicPropertyConfig flags,
                                                  const std::string& caption);
    TIPEnumerationDeclaration& DeclareEnumeration(const std::string& name,
                                                  TKovIntrinsicPropertyConfig flags,
                                                  const std::vector<std::string>& values,
                                                  const std::string& caption);
    // A table of numbers in rows of `columns` values; raises EMXParametersConstructor for fewer
    // than one column.
    TMXTableDeclaration& DeclareTable(const std::string& name, TKovIntrinsicPropertyConfig flags,
                                      int columns, const std::string& caption);
    // Derived kinds; a null setter makes the property read-only.
    TIPDoubleWithUnit_DerivedExternalDeclaration&
    DeclareDerivedDouble(const std::string& name, TKovIntrinsicPropertyConfig flags, double min,
                         double max, TQuantityType quantity, TDoubleGetter getter,
                         TDoubleSetter setter, const std::string& caption);
    TIPDouble_DerivedExternalDeclaration&
    DeclareDerivedDoubleWithoutUnit(const std::string& name, TKovIntrinsicPropertyConfig flags,
                                    double min, double max, TDoubleGetter getter,
                                    TDoubleSetter setter, const std::string& caption);
    TIPBoolean_DerivedExternalDeclaration&
    DeclareDerivedBoolean(const std::string& name, TKovIntrinsicPropertyConfig flags,
                          TBooleanGetter getter, TBooleanSetter setter, const std::string& caption);
    TIPInteger_DerivedExternalDeclaration&
    DeclareDerivedInteger(const std::string& name, TKovIntrinsicPropertyConfig flags, int32_t min,
                          int32_t max, TIntegerGetter getter, TIntegerSetter setter,
                          const std::string& caption);
    TIPText_DerivedExternalDeclaration& DeclareDerivedText(const std::string& name,
                                                           TKovIntrinsicPropertyConfig flags,
                                                           TTextGetter getter, TTextSetter setter,
                                                           const std::string& caption);
    TIPColor_DerivedExternalDeclaration&
    DeclareDerivedColour(const std::string& name, TKovIntrinsicPropertyConfig flags,
                         TIntegerGetter getter, TIntegerSetter setter, const std::string& caption);
    TIPEnumeration_DerivedExternalDeclaration&
    DeclareDerivedTypedEnumeration(const std::string& name, TKovIntrinsicPropertyConfig flags,
                                   const std::vector<std::string>& values, TIntegerGetter getter,
                                   TIntegerSetter setter, const std::string& caption);

    // A derived number with the limits and unit of the property `proxySource` of its material.
    TIPDoubleWithUnit_DerivedExternalDeclaration_ProxiedAttributes&
    DeclareDerivedDoubleWithProxiedAttributes(const std::string& name,
                                              TKovIntrinsicPropertyConfig flags,
                                              const std::string& proxySource, TDoubleGetter getter,
                                              TDoubleSetter setter, const std::string& caption);
    // A derived property with the name, kind, bounds and caption of the stored one of the
    // reference constructor, reading and writing it. Enumerations refuse this.
    TKovIntrinsicPropertyDeclaration& AddInterfaceTo(const std::string& name,
                                                     TKovIntrinsicPropertyConfig extraFlags = 0);
    TIPEnumeration_DerivedExternalDeclaration&
    AddInterfaceToTypedEnumeration(const std::string& name,
                                   TKovIntrinsicPropertyConfig extraFlags = 0);
    // A duplicate of a derived declaration of this constructor under another name and caption;
    // optionally the new name becomes an alias of the source.
    TKovIntrinsicPropertyDeclaration& AddDerivedCopy(const std::string& source,
                                                     const std::string& newName,
                                                     const std::string& newCaption,
                                                     bool registerAlias = false);
    // A derived double whose setter first switches the enumeration `methodName` to
    // `methodValue` and then stores into the stored double `directName`; the getter is given.
    TIPDoubleWithUnit_DerivedExternalDeclaration& AddInterfaceWithMethodEnumeration(
        const std::string& name, TKovIntrinsicPropertyConfig flags, double min, double max,
        TQuantityType quantity, TDoubleGetter getter, const std::string& methodName,
        int methodValue, const std::string& directName, const std::string& caption);

    // Getter and setter factories: by name, with aliases followed.
    static TDoubleGetter GetInternalParameterGetter(const std::string& name);
    static TDoubleSetter GetInternalParameterSetter(const std::string& name);
    static TDoubleGetter GetUserParameterGetter(const std::string& name);
    static TDoubleSetter GetUserParameterSetter(const std::string& name);
    static TBooleanGetter GetBooleanUserParameterGetter(const std::string& name);
    static TBooleanSetter GetBooleanUserParameterSetter(const std::string& name);
    static TBooleanGetter GetBooleanInternalGetter(const std::string& name);
    static TBooleanSetter GetBooleanInternalSetter(const std::string& name);
    // The direct value while the flag has `sense`; `valueWhenOff` otherwise.
    static TDoubleGetter GetBooleanDependentGetter(const std::string& flagName,
                                                   const std::string& directName,
                                                   double valueWhenOff, bool sense = true);

    // The table-row functions of a stored table (aliases followed): a getter of the value in a
    // row and column (0 past the table's rows: a table may be shorter than a model reads), a
    // deleter of a row, and an inserter of a row before `row` (appended past the end). A row
    // that is not there raises "The row was not found in the table."; values that are not one
    // row raise "Invalid table, number of values not a multiple of the column count \"%d\"".
    // Each change is one write of the table, so one undo step.
    using TTableRowDeleter = std::function<void(TKovMaterialX&, int row)>;
    using TTableRowInserter =
        std::function<void(TKovMaterialX&, int row, const std::vector<double>& values)>;
    static TDoubleGetter GetAdvancedTableRowGetter(const std::string& tableName, int row,
                                                   int column);
    static TTableRowDeleter GetAdvancedTableDeleteRowFunc(const std::string& tableName);
    static TTableRowInserter GetAdvancedTableInsertRowFunc(const std::string& tableName);

protected:
    virtual void DoInitializeDeclarations() = 0;

private:
    TKovIntrinsicPropertyDeclarationList& List() const;

    std::string FClassName;
    const TMXAssociatedParameterGroup* FGroup;
    TMXParameterConstructorType FType;
    const TMXParametersConstructor* FReference;
    mutable std::unique_ptr<TKovIntrinsicPropertyDeclarationList> FDeclarations;
    mutable std::once_flag FDeclarationsOnce;
    mutable bool FInitializing = false;
};

// A constructor whose declarations come from a function: how the generated groups are made.
class TMXGenericParametersConstructor : public TMXParametersConstructor {
public:
    using TInitializer = std::function<void(TMXParametersConstructor&)>;
    TMXGenericParametersConstructor(std::string className, const TMXAssociatedParameterGroup& group,
                                    TMXParameterConstructorType type,
                                    const TMXParametersConstructor* reference,
                                    TInitializer initializer)
        : TMXParametersConstructor(std::move(className), group, type, reference),
          FInitializer(std::move(initializer)) {}

protected:
    void DoInitializeDeclarations() override {
        if (FInitializer)
            FInitializer(*this);
    }

private:
    TInitializer FInitializer;
};

// ---------------------------------------------------------------------------------------------
// Organizer

// Sets the default of a newly made stored property.
using TMXDefaultValueFunction = std::function<void(TKovIntrinsicProperty&)>;

class TMXAssociatedParameterGroupOrganizer {
public:
    using TParameterCallback =
        std::function<void(const std::string& collection, const std::string& property, bool derived,
                           const TMXDefaultValueFunction& defaultValue)>;

    TMXAssociatedParameterGroupOrganizer(std::string className,
                                         const TMXAssociatedParameterGroup& group,
                                         TMXParameterConstructorType type);
    TMXAssociatedParameterGroupOrganizer(const TMXAssociatedParameterGroupOrganizer&) = delete;
    TMXAssociatedParameterGroupOrganizer&
    operator=(const TMXAssociatedParameterGroupOrganizer&) = delete;
    virtual ~TMXAssociatedParameterGroupOrganizer() = default;

    const std::string& ClassName() const { return FClassName; }
    const TMXAssociatedParameterGroup& AssociatedParameterGroup() const { return *FGroup; }
    TMXParameterConstructorType Type() const { return FType; }

    // Once per parameter, in order: a persistent organizer passes false and its default (may be
    // empty), a derived one true and no default.
    virtual void EnumerateRegisteredParameters(const TParameterCallback& callback) const;
    // The names that change the structure of a material (the model selector and the like).
    virtual void EnumerateStructuralChangingParameters(
        const std::function<void(const std::string&)>& callback) const;

    // A default from a boxed value for the number, integer, enumeration and boolean kinds; a
    // property of another kind raises "Unable to set the default value for the parameter for
    // intrinsic property %s of type %s!" when the default is applied.
    static TMXDefaultValueFunction CreateDefaultValue(const TVarRec& value);
    // The default rows of a table; applied to a property that is not a table it raises "Unable to
    // add default values to %s. Expected Advanced Table".
    static TMXDefaultValueFunction CreateTableDefaultValue(std::vector<std::vector<double>> rows);

    // Filling, at registration.
    void Add(const std::string& collection, const std::string& property,
             TMXDefaultValueFunction defaultValue = nullptr);
    void AddStructural(const std::string& property) { FStructural.push_back(property); }

private:
    struct TEntry {
        std::string Collection, Property;
        TMXDefaultValueFunction Default;
    };
    std::string FClassName;
    const TMXAssociatedParameterGroup* FGroup;
    TMXParameterConstructorType FType;
    std::vector<TEntry> FEntries;
    std::vector<std::string> FStructural;
};

// ---------------------------------------------------------------------------------------------
// Configuration

using TMXVisibilityFunction = std::function<TMXVisibility(const TKovMaterialX&)>;
using TMXMutabilityFunction = std::function<TMXMutability(const TKovMaterialX&)>;
// The ordinals a user may choose.
using TMXValidEnumsFunction = std::function<std::vector<int>(const TKovMaterialX&)>;

class TMXIPConfigurationGroup {
public:
    TMXIPConfigurationGroup(std::string className, const TMXAssociatedParameterGroup& group)
        : FClassName(std::move(className)), FGroup(&group) {}
    TMXIPConfigurationGroup(const TMXIPConfigurationGroup&) = delete;
    TMXIPConfigurationGroup& operator=(const TMXIPConfigurationGroup&) = delete;
    virtual ~TMXIPConfigurationGroup() = default;

    const std::string& ClassName() const { return FClassName; }
    const TMXAssociatedParameterGroup& AssociatedParameterGroup() const { return *FGroup; }

    virtual void EnumVisibilityFunctions(
        const std::function<void(const std::string&, const TMXVisibilityFunction&)>& callback)
        const;
    virtual void EnumMutabilityFunctions(
        const std::function<void(const std::string&, const TMXMutabilityFunction&)>& callback)
        const;
    virtual void EnumValidEnumsFunctions(
        const std::function<void(const std::string&, const TMXValidEnumsFunction&)>& callback)
        const;

    void AddVisibility(const std::string& name, TMXVisibilityFunction function) {
        FVisibility.emplace_back(name, std::move(function));
    }
    void AddMutability(const std::string& name, TMXMutabilityFunction function) {
        FMutability.emplace_back(name, std::move(function));
    }
    void AddValidEnums(const std::string& name, TMXValidEnumsFunction function) {
        FValidEnums.emplace_back(name, std::move(function));
    }

private:
    std::string FClassName;
    const TMXAssociatedParameterGroup* FGroup;
    std::vector<std::pair<std::string, TMXVisibilityFunction>> FVisibility;
    std::vector<std::pair<std::string, TMXMutabilityFunction>> FMutability;
    std::vector<std::pair<std::string, TMXValidEnumsFunction>> FValidEnums;
};

// The configuration functions of one property, collected over a model's groups.
struct TIPConfigurationFunctor {
    std::string FIPName;
    TMXMutabilityFunction FMutabilityGetter;
    TMXVisibilityFunction FVisibilityGetter;
    TMXValidEnumsFunction FValidEnumsGetter;
};

// The usual configuration functions.
class TMXIPConfigurationFunctions {
public:
    // Visible while the boolean user property `flagName` equals `sense`.
    static TMXVisibilityFunction GetBooleanVisibilityGetter(const std::string& flagName,
                                                            bool sense = true);
    static TMXVisibilityFunction GetConstantVisibilityGetter(TMXVisibility visibility);
    static TMXVisibilityFunction GetGeometryTypeVisibilityGetter(int geometryType);
    static TMXVisibilityFunction Get2DSpecificVisibilityFunction();
    static TMXVisibilityFunction Get3DSpecificVisibilityFunction();
    // Visible for the given soil models only.
    static TMXVisibilityFunction GetSoilModelSpecificVisibilityGetter(std::vector<int> models);
    static TMXVisibilityFunction GetHiddenInSpecificDrainageTypesGetter(std::vector<int> drainages);
    // Visible only for the drainage types given (the complement of the above).
    static TMXVisibilityFunction
    GetVisibleInSpecificDrainageTypesGetter(std::vector<int> drainages);
    // Visible while the user enumeration `name` has one of the ordinals.
    static TMXVisibilityFunction GetEnumerationSetVisibilityGetter(const std::string& name,
                                                                   std::vector<int> values);
    // Visible for undrained drainages (A, B, C) only.
    static TMXVisibilityFunction GetUndrainedBehaviourCheckerForVisibility();

    static TMXMutabilityFunction GetBooleanMutabilityGetter(const std::string& flagName,
                                                            bool sense = true);
    static TMXMutabilityFunction GetGeometryTypeMutabilityGetter(int geometryType);
    static TMXMutabilityFunction Get2DSpecificMutabilityFunction();
    static TMXMutabilityFunction Get3DSpecificMutabilityFunction();
    static TMXMutabilityFunction GetConstantMutabilityGetter(TMXMutability mutability);
    static TMXMutabilityFunction
    GetReadOnlyInSpecificDrainageTypesGetter(std::vector<int> drainages);
    static TMXMutabilityFunction GetUndrainedBehaviourCheckerForMutability();
    // Writable while the user enumeration `name` has one of the ordinals.
    static TMXMutabilityFunction GetEnumerationSetMutabilityGetter(const std::string& name,
                                                                   std::vector<int> values);
};

} // namespace tw
