#pragma once
// Process-wide registries around intrinsic properties: the declaration classes by type name, the
// modifiers that adjust a class's declarations when they are built, the aliases of property
// names, and the properties left out when values are multiplied. Start-up code fills them; they
// are read afterwards and take no locks.

#include "objects/ClassObjectAssociations.h"
#include "objects/IntrinsicProperty.h"

#include <map>
#include <string>
#include <vector>

namespace tw {

// A declaration class as the registry knows it: its C++ name, the type name in files, and a
// factory of a declaration with a name and a property class (nullptr where a declaration needs
// more, as an enumeration does).
struct TIPDeclarationClass {
    const char* ClassName;
    const char* TypeName;
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> (*Create)(const std::string& name,
                                                                const TKovClass& propertyClass);
};

// The declaration classes of the framework.
extern const TIPDeclarationClass IPDeclarationClass;
extern const TIPDeclarationClass IPIntegerDeclarationClass;
extern const TIPDeclarationClass IPDoubleDeclarationClass;
extern const TIPDeclarationClass IPDoubleWithUnitDeclarationClass;
extern const TIPDeclarationClass IPEnumerationDeclarationClass;
extern const TIPDeclarationClass IPUserDefinedParameterDeclarationClass;

// Declaration classes by type name; the framework's own are registered on first use.
class TKovIntrinsicPropertyDeclarationClassRegistry
    : public TTypeNameToClassRegistry_Abstract<const TIPDeclarationClass*> {
public:
    static TKovIntrinsicPropertyDeclarationClassRegistry& Instance();

protected:
    std::string TypeNameOf(const TIPDeclarationClass* cls) const override { return cls->TypeName; }
    std::string ClassNameOf(const TIPDeclarationClass* cls) const override {
        return cls->ClassName;
    }
};

// Adjusts the declarations of a class (and, where no better modifier exists, of its descendants)
// once, when the list is built: so one program can change a class that others share.
class TIntrPropDeclarationsModifier {
public:
    explicit TIntrPropDeclarationsModifier(const TKovClass& cls) : FClass(&cls) {}
    virtual ~TIntrPropDeclarationsModifier() = default;
    const TKovClass& AssociatedClass() const { return *FClass; }
    virtual int GetSupportLevel(const TKovClass& cls) const {
        return InheritanceSupportLevel(cls, *FClass);
    }
    virtual void Modify(TKovIntrinsicPropertyDeclarationList& declarations) = 0;

private:
    const TKovClass* FClass;
};

// The modifiers; register them before the first use of the classes they modify.
class TIntrPropDeclarationModifiers : public TOOARClass<TIntrPropDeclarationsModifier> {
public:
    static TIntrPropDeclarationModifiers& Instance();
    TIntrPropDeclarationsModifier* GetModifierFor(const TKovClass& cls) const {
        return GetBestFor(cls);
    }
};

// The aliases of the property names of one owner class: alias to master, and master to aliases.
// Names are kept in clean form.
class TAliasesForContext {
public:
    // A repeated alias takes its new master.
    void Register(const std::string& master, const std::string& alias);
    const std::string* MasterOf(const std::string& alias) const;
    const std::vector<std::string>* AliasesOf(const std::string& master) const;
    bool Empty() const { return FMasterOf.empty(); }

private:
    std::map<std::string, std::string> FMasterOf;
    std::map<std::string, std::vector<std::string>> FAliasesOf;
};

class TIPAliasRegistry {
public:
    static TIPAliasRegistry& Instance();

    void RegisterAlias(const TKovClass& ownerClass, const std::string& master,
                       const std::string& alias);
    void UnregisterAliases(const TKovClass& ownerClass);
    // Drops the remembered look-ups; registering and unregistering call it.
    void InvalidateContext();

    // Look-ups walk the owner class upward to the first class that knows the name.
    const std::string* FindMaster(const TKovClass& ownerClass, const std::string& alias) const;
    const std::vector<std::string>* FindAliases(const TKovClass& ownerClass,
                                                const std::string& master) const;

private:
    std::map<const TKovClass*, TAliasesForContext> FContexts;
    // Per class, the context that answers for it: the class's own or its nearest ancestor's.
    mutable std::map<const TKovClass*, std::vector<const TAliasesForContext*>> FChains;
    const std::vector<const TAliasesForContext*>& ChainOf(const TKovClass& ownerClass) const;
};

// Alias questions about a property (by its owner's class) or about an object and a name.
struct TIPAliases {
    static bool HasAliases(const TKovIntrinsicProperty& property);
    static bool HasAliases(const TKovObject& object, const std::string& name);
    static std::vector<std::string> GetAliases(const TKovIntrinsicProperty& property);
    static std::vector<std::string> GetAliases(const TKovObject& object, const std::string& name);
    static bool HasMaster(const TKovIntrinsicProperty& property);
    static bool HasMaster(const TKovObject& object, const std::string& name);
    // The master's clean name, or "" when the name is no alias.
    static std::string GetMaster(const TKovObject& object, const std::string& name);
    // The master's name if there is one, else the property's own name.
    static std::string GetMasterNameOf(const TKovIntrinsicProperty& property);
};

// Which properties keep their value when an object's values are multiplied by a factor (the
// scaling of a whole parameter set, say). Keyed by owner class and clean property name; a look-up
// walks the owner class upward.
class TIPNonMultipliableRegistry {
public:
    static TIPNonMultipliableRegistry& Instance();
    void AddOrSetValue(const TKovClass& ownerClass, const std::string& propertyName,
                       bool nonMultipliable = true);
    bool Contains(const TKovClass& ownerClass, const std::string& propertyName) const;
    bool Contains(const TKovIntrinsicProperty& property) const;

private:
    std::map<std::pair<const TKovClass*, std::string>, bool> FValues;
};

} // namespace tw
