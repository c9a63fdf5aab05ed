#pragma once
// Registries keyed by class. A class-keyed registry answers, for a class, the association that
// fits it best: the one registered for the class itself, else for its nearest ancestor. The
// "support level" of an association for a class is the number of inheritance steps between them
// (0 for the class itself, -1 for no support); the lowest level wins, and among equals the later
// registration, so a program can override what a library registered. The persister registry,
// the declaration modifiers and the value renderers are built on these.
//
// Registries are filled by start-up code and read afterwards; they take no locks.

#include "objects/KovBaseClasses.h"
#include "objects/NameTools.h"
#include "services/Format.h"

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EClassRegistryException, EKovException)

// Support level of an association registered for `registered` when asked for `asked`.
inline int InheritanceSupportLevel(const TKovClass& asked, const TKovClass& registered) {
    return asked.InheritanceDistance(registered);
}

// The common base of the registries: a count and a way to empty them.
class TAbstractAssociationRegistry {
public:
    virtual ~TAbstractAssociationRegistry() = default;
    virtual int Count() const = 0;
    virtual void Clear() = 0;
};

// An association answers how well it supports a class: -1 not at all, else lower is better.
class TAbstractAssociation {
public:
    virtual ~TAbstractAssociation() = default;
    virtual int GetSupportLevel(const TKovClass& cls) const = 0;
};

// An association of a class (and its descendants) with a value.
template <typename V> class TAssociation : public TAbstractAssociation {
public:
    TAssociation(const TKovClass& cls, V value, bool includeDescendants)
        : FClass(&cls), FValue(std::move(value)), FIncludeDescendants(includeDescendants) {}
    int GetSupportLevel(const TKovClass& cls) const override {
        const int level = InheritanceSupportLevel(cls, *FClass);
        return level > 0 && !FIncludeDescendants ? -1 : level;
    }
    const TKovClass& AssociatedClass() const { return *FClass; }
    const V& Value() const { return FValue; }
    V& Value() { return FValue; }

private:
    const TKovClass* FClass;
    V FValue;
    bool FIncludeDescendants;
};

// Owns associations in registration order and finds the best one.
template <typename A> class TAssociationsContainer {
public:
    A& Add(std::unique_ptr<A> association) {
        FItems.push_back(std::move(association));
        return *FItems.back();
    }
    bool Remove(const A* association) {
        for (auto it = FItems.begin(); it != FItems.end(); ++it)
            if (it->get() == association) {
                FItems.erase(it);
                return true;
            }
        return false;
    }
    template <typename Pred> void RemoveIf(Pred pred) {
        std::erase_if(FItems, [&](const std::unique_ptr<A>& a) { return pred(*a); });
    }
    // The association with the lowest support level for which `level` answers 0 or more.
    template <typename Level> A* Best(Level level, int* bestLevel = nullptr) const {
        A* best = nullptr;
        int found = -1;
        for (const auto& association : FItems) {
            const int l = level(*association);
            if (l >= 0 && (found < 0 || l <= found)) {
                best = association.get();
                found = l;
            }
        }
        if (bestLevel)
            *bestLevel = found;
        return best;
    }
    int Count() const { return static_cast<int>(FItems.size()); }
    void Clear() { FItems.clear(); }
    A& operator[](int index) const { return *FItems[index]; }

private:
    std::vector<std::unique_ptr<A>> FItems;
};

// Maps a class to the value registered for it or its nearest ancestor.
template <typename V> class TClassObjectAssociations : public TAbstractAssociationRegistry {
public:
    void Register(const TKovClass& cls, V value, bool includeDescendants = true) {
        FAssociations.Add(
            std::make_unique<TAssociation<V>>(cls, std::move(value), includeDescendants));
    }
    // Removes every association of exactly this class; answers whether there was one.
    bool Unregister(const TKovClass& cls) {
        const int before = FAssociations.Count();
        FAssociations.RemoveIf(
            [&](const TAssociation<V>& a) { return &a.AssociatedClass() == &cls; });
        return FAssociations.Count() != before;
    }
    // The best value for `cls`, or nullptr; `level` receives the support level (-1 for none).
    const V* Find(const TKovClass& cls, int* level = nullptr) const {
        auto* best = FAssociations.Best(
            [&](const TAssociation<V>& a) { return a.GetSupportLevel(cls); }, level);
        return best ? &best->Value() : nullptr;
    }
    const V* FindForObject(const TKovObject& object, int* level = nullptr) const {
        return Find(object.ClassType(), level);
    }
    int Count() const override { return FAssociations.Count(); }
    void Clear() override { FAssociations.Clear(); }

private:
    TAssociationsContainer<TAssociation<V>> FAssociations;
};

// Holds association objects of type T (each with GetSupportLevel(const TKovClass&)) and answers
// the best one for a class. Owns them.
template <typename T> class TOneObjectAssociationRegistry : public TAbstractAssociationRegistry {
public:
    T& Register(std::unique_ptr<T> association) { return FItems.Add(std::move(association)); }
    bool Unregister(const T* association) { return FItems.Remove(association); }
    T* GetBest(const TKovClass& cls, int* level = nullptr) const {
        return FItems.Best([&](const T& a) { return a.GetSupportLevel(cls); }, level);
    }
    int Count() const override { return FItems.Count(); }
    void Clear() override { FItems.Clear(); }

private:
    TAssociationsContainer<T> FItems;
};

// The one-object registry by class: each T names the class it serves (AssociatedClass()), and
// its support level is the number of inheritance steps to it.
template <typename T> class TOOARClass : public TOneObjectAssociationRegistry<T> {
public:
    T* GetBestFor(const TKovClass& cls, int* level = nullptr) const {
        return this->GetBest(cls, level);
    }
};

// Holds association objects for pairs of classes: T has GetSupportLevel(a, b); the best is the
// lowest level.
template <typename T> class TTwoObjectsAssociationRegistry : public TAbstractAssociationRegistry {
public:
    T& Register(std::unique_ptr<T> association) { return FItems.Add(std::move(association)); }
    bool Unregister(const T* association) { return FItems.Remove(association); }
    T* GetBest(const TKovClass& a, const TKovClass& b, int* level = nullptr) const {
        return FItems.Best([&](const T& x) { return x.GetSupportLevel(a, b); }, level);
    }
    int Count() const override { return FItems.Count(); }
    void Clear() override { FItems.Clear(); }

private:
    TAssociationsContainer<T> FItems;
};

// A pair association by classes: the level is the sum of the inheritance steps of both classes,
// and no support when either class is unrelated.
class TTOARClass {
public:
    TTOARClass(const TKovClass& first, const TKovClass& second)
        : FFirst(&first), FSecond(&second) {}
    virtual ~TTOARClass() = default;
    int GetSupportLevel(const TKovClass& a, const TKovClass& b) const {
        const int la = InheritanceSupportLevel(a, *FFirst),
                  lb = InheritanceSupportLevel(b, *FSecond);
        return la < 0 || lb < 0 ? -1 : la + lb;
    }
    const TKovClass& FirstClass() const { return *FFirst; }
    const TKovClass& SecondClass() const { return *FSecond; }

private:
    const TKovClass* FFirst;
    const TKovClass* FSecond;
};

// The pair registry asked with objects.
template <typename T> class TTOARObject : public TTwoObjectsAssociationRegistry<T> {
public:
    T* GetBestFor(const TKovObject& a, const TKovObject& b, int* level = nullptr) const {
        return this->GetBest(a.ClassType(), b.ClassType(), level);
    }
};

// Classes by type name, in registration order; type names compare in clean form. Loading from a
// file goes through it: the file names the type, the registry gives the class.
template <typename TClassRef> class TTypeNameToClassRegistry_Abstract {
public:
    virtual ~TTypeNameToClassRegistry_Abstract() = default;

    void RegisterClass(TClassRef cls) { RegisterClass(cls, TypeNameOf(cls)); }
    void RegisterClass(TClassRef cls, const std::string& typeName) {
        if (!IsValidName(typeName))
            throw EClassRegistryException(Format("Invalid registration name \"%s\" for class %s",
                                                 typeName, ClassNameOf(cls)));
        const std::string key = CleanName(typeName);
        if (auto it = FIndex.find(key); it != FIndex.end()) {
            if (FItems[it->second].Class == cls)
                return;
            throw EClassRegistryException(
                Format("Cannot register two classes by the name %s. Already registered: %s, new "
                       "request to register: %s",
                       typeName, ClassNameOf(FItems[it->second].Class), ClassNameOf(cls)));
        }
        FIndex.emplace(key, static_cast<int>(FItems.size()));
        FItems.push_back({cls, typeName});
    }
    // Removes every registration of the class.
    void UnregisterClass(TClassRef cls) {
        std::erase_if(FItems, [&](const TEntry& e) { return e.Class == cls; });
        FIndex.clear();
        for (int i = 0; i < static_cast<int>(FItems.size()); ++i)
            FIndex.emplace(CleanName(FItems[i].TypeName), i);
    }
    int Count() const { return static_cast<int>(FItems.size()); }
    std::string GetClassTypeNameByIndex(int index) const {
        if (index < 0 || index >= Count())
            throw EClassRegistryException(Format("List index out of bounds (%d)", index));
        return FItems[index].TypeName;
    }
    // The class of a type name, or an empty reference.
    TClassRef GetClassByTypeName(const std::string& typeName) const {
        auto it = FIndex.find(CleanName(typeName));
        return it == FIndex.end() ? TClassRef{} : FItems[it->second].Class;
    }
    // Calls `visit(class, typeName)` for each registration in order.
    void EnumClasses(const std::function<void(TClassRef, const std::string&)>& visit) const {
        for (const auto& entry : FItems)
            visit(entry.Class, entry.TypeName);
    }
    // The registered classes that `accept` lets through, in order.
    std::vector<TClassRef> EnumClasses(const std::function<bool(TClassRef)>& accept) const {
        std::vector<TClassRef> classes;
        for (const auto& entry : FItems)
            if (!accept || accept(entry.Class))
                classes.push_back(entry.Class);
        return classes;
    }

protected:
    virtual std::string TypeNameOf(TClassRef cls) const = 0;
    virtual std::string ClassNameOf(TClassRef cls) const = 0;

private:
    struct TEntry {
        TClassRef Class;
        std::string TypeName;
    };
    std::vector<TEntry> FItems;
    std::unordered_map<std::string, int> FIndex;
};

// The model classes by the type names of GetObjectTypeName.
class TKovObjectClassRegistry : public TTypeNameToClassRegistry_Abstract<const TKovClass*> {
public:
    static TKovObjectClassRegistry& Instance();
    // The registered classes that descend from `base` (or are it).
    std::vector<const TKovClass*> EnumClassesInheritingFrom(const TKovClass& base) const {
        return EnumClasses([&](const TKovClass* c) { return c->InheritsFrom(base); });
    }

protected:
    std::string TypeNameOf(const TKovClass* cls) const override { return cls->TypeName(); }
    std::string ClassNameOf(const TKovClass* cls) const override { return cls->Name(); }
};

} // namespace tw
