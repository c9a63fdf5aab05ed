#pragma once
// The declarations of the intrinsic properties of one class, in declaration order, with the
// helpers that declare each kind.

#include "objects/IntrinsicPropertyDeclaration.h"
#include "objects/RadixTree.h"

#include <memory>
#include <string>
#include <vector>

namespace tw {

// The typed enumeration kind; complete where AddTypedEnumeration is used.
template <typename E> class TIPEnumerationTyped;

// The declarations of one class, in declaration order. Look-up by clean name goes through a
// radix tree from the clean name to the index, so it doesn't depend on the number of properties.
class TKovIntrinsicPropertyDeclarationList {
public:
    explicit TKovIntrinsicPropertyDeclarationList(const TKovClass* ownerClass = nullptr)
        : FOwnerClass(ownerClass) {}
    TKovIntrinsicPropertyDeclarationList(const TKovIntrinsicPropertyDeclarationList&) = delete;
    TKovIntrinsicPropertyDeclarationList&
    operator=(const TKovIntrinsicPropertyDeclarationList&) = delete;

    std::string GetObjectTypeName() const { return "IPDeclarationList"; }

    // The six ways of declaring: an existing declaration; a property class with name only; with
    // configuration; with configuration and caption; with a caption only; and with an associated
    // class for references.
    TKovIntrinsicPropertyDeclaration& Add(std::unique_ptr<TKovIntrinsicPropertyDeclaration> item);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config,
                                          const std::string& caption);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          const std::string& caption);
    TKovIntrinsicPropertyDeclaration& Add(const std::string& name, const TKovClass& propertyClass,
                                          const TKovClass& associatedClass,
                                          TKovIntrinsicPropertyConfig config = 0,
                                          const std::string& caption = "",
                                          bool allowSubclass = true);
    void Insert(int index, std::unique_ptr<TKovIntrinsicPropertyDeclaration> item);
    std::unique_ptr<TKovIntrinsicPropertyDeclaration> Extract(const std::string& name);
    bool Remove(const std::string& name);
    bool Remove(const TKovIntrinsicPropertyDeclaration* declaration);
    int IndexOf(const TKovIntrinsicPropertyDeclaration* declaration) const;

    // Declaring helpers for the kinds of the framework.
    TKovIntrinsicPropertyDeclaration& AddBoolean(const std::string& name,
                                                 TKovIntrinsicPropertyConfig config = 0,
                                                 const std::string& caption = "");
    TIPIntegerDeclaration& AddInteger(const std::string& name,
                                      TKovIntrinsicPropertyConfig config = 0,
                                      const std::string& caption = "", int32_t min = 0,
                                      int32_t max = 0);
    TIPDoubleDeclaration& AddDouble(const std::string& name, TKovIntrinsicPropertyConfig config = 0,
                                    const std::string& caption = "", double min = 0,
                                    double max = 0);
    TIPDoubleWithUnitDeclaration& AddDoubleWithUnit(const std::string& name, TQuantityType quantity,
                                                    TKovIntrinsicPropertyConfig config = 0,
                                                    const std::string& caption = "", double min = 0,
                                                    double max = 0);
    TKovIntrinsicPropertyDeclaration& AddText(const std::string& name,
                                              TKovIntrinsicPropertyConfig config = 0,
                                              const std::string& caption = "");
    // A property of a given kind with a plain declaration (large text, free text, colour, ...).
    template <typename P>
    TKovIntrinsicPropertyDeclaration& AddOfKind(const std::string& name,
                                                TKovIntrinsicPropertyConfig config = 0,
                                                const std::string& caption = "");
    TIPEnumerationDeclaration& AddEnumeration(const std::string& name,
                                              std::vector<std::string> strings,
                                              TKovIntrinsicPropertyConfig config = 0,
                                              const std::string& caption = "",
                                              std::vector<std::string> captions = {});
    // An enumeration whose property is a TIPEnumerationTyped<E>.
    template <typename E>
    TIPEnumerationDeclaration&
    AddTypedEnumeration(const std::string& name, std::vector<std::string> strings,
                        TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "",
                        std::vector<std::string> captions = {});
    TKovIntrinsicPropertyDeclaration& AddObject(const std::string& name,
                                                const TKovClass& associatedClass,
                                                TKovIntrinsicPropertyConfig config = 0,
                                                const std::string& caption = "",
                                                bool allowSubclass = true);
    // Derived kinds: the value is read and written through the owner.
    TDerivedDeclaration<double, TIPDoubleWithUnitDeclaration>&
    AddDerivedDoubleWithUnit(const std::string& name, TQuantityType quantity,
                             TDerivedAccessors<double> accessors,
                             TKovIntrinsicPropertyConfig config = 0,
                             const std::string& caption = "", double min = 0, double max = 0);
    TDerivedDeclaration<double, TIPDoubleDeclaration>&
    AddDerivedDouble(const std::string& name, TDerivedAccessors<double> accessors,
                     TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "",
                     double min = 0, double max = 0);
    TDerivedDeclaration<int32_t, TIPIntegerDeclaration>&
    AddDerivedInteger(const std::string& name, TDerivedAccessors<int32_t> accessors,
                      TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "",
                      int32_t min = 0, int32_t max = 0);
    TDerivedDeclaration<bool, TKovIntrinsicPropertyDeclaration>&
    AddDerivedBoolean(const std::string& name, TDerivedAccessors<bool> accessors,
                      TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");
    TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>&
    AddDerivedText(const std::string& name, TDerivedAccessors<std::string> accessors,
                   TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");
    TDerivedDeclaration<int, TIPEnumerationDeclaration>&
    AddDerivedEnumeration(const std::string& name, std::vector<std::string> strings,
                          TDerivedAccessors<int> accessors, TKovIntrinsicPropertyConfig config = 0,
                          const std::string& caption = "", std::vector<std::string> captions = {});
    TDerivedDeclaration<TKovObject*, TKovIntrinsicPropertyDeclaration>&
    AddDerivedObject(const std::string& name, const TKovClass& associatedClass,
                     TDerivedAccessors<TKovObject*> accessors,
                     TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");
    // A derived declaration of any kind: `PDerived` is the derived property class, `PPlain` the
    // plain one; the caller sets limits and the like on the answer.
    template <typename PDerived, typename PPlain, typename V,
              typename BaseDeclaration = TKovIntrinsicPropertyDeclaration>
    TDerivedDeclaration<V, BaseDeclaration>&
    AddDerived(const std::string& name, TDerivedAccessors<V> accessors,
               TKovIntrinsicPropertyConfig config = 0, const std::string& caption = "");

    int Count() const { return static_cast<int>(FItems.size()); }
    TKovIntrinsicPropertyDeclaration& operator[](int index) const { return *FItems[index]; }
    TKovIntrinsicPropertyDeclaration* First() const {
        return FItems.empty() ? nullptr : FItems.front().get();
    }
    TKovIntrinsicPropertyDeclaration* Last() const {
        return FItems.empty() ? nullptr : FItems.back().get();
    }
    TKovIntrinsicPropertyDeclaration* GetDeclarationFor(const std::string& name) const;
    int GetIndexOfDeclarationFor(const std::string& name) const;
    // The index, -1 for an unknown name; `declaration` is set or cleared.
    int GetIndexAndDeclarationFor(const std::string& name,
                                  TKovIntrinsicPropertyDeclaration*& declaration) const;
    bool HasDeclarationFor(const std::string& name) const {
        return GetIndexOfDeclarationFor(name) >= 0;
    }
    // Publishes or hides a property, and makes it writable or read-only, for all later instances
    // of the class.
    void SetDeclarationVisibleAndEditableFor(const std::string& name, bool flag);
    // Raises on two declarations with the same clean name.
    void CheckUnique() const;
    const TKovClass* OwnerClass() const { return FOwnerClass; }

    // Walks the declarations in order.
    auto Enumerate() const {
        struct TRange {
            const TKovIntrinsicPropertyDeclarationList* List;
            struct TIterator {
                const TKovIntrinsicPropertyDeclarationList* List;
                int Index;
                TKovIntrinsicPropertyDeclaration& operator*() const { return (*List)[Index]; }
                TIterator& operator++() {
                    ++Index;
                    return *this;
                }
                bool operator!=(const TIterator& other) const { return Index != other.Index; }
            };
            TIterator begin() const { return {List, 0}; }
            TIterator end() const { return {List, List->Count()}; }
        };
        return TRange{this};
    }

private:
    void Reindex();

    const TKovClass* FOwnerClass;
    std::vector<std::unique_ptr<TKovIntrinsicPropertyDeclaration>> FItems;
    TRadixTree<int> FNameToIndexMappings; // clean name -> index; the first of equal names wins
};

template <typename P>
TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddOfKind(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption) {
    return Add(std::make_unique<TKovIntrinsicPropertyDeclaration>(
        name, P::StaticClass(),
        [](TKovObservableObject* owner, const TKovIntrinsicPropertyDeclaration* declaration)
            -> TKovIntrinsicProperty* { return new P(owner, declaration); },
        config, caption));
}

template <typename PDerived, typename PPlain, typename V, typename BaseDeclaration>
TDerivedDeclaration<V, BaseDeclaration>& TKovIntrinsicPropertyDeclarationList::AddDerived(
    const std::string& name, TDerivedAccessors<V> accessors, TKovIntrinsicPropertyConfig config,
    const std::string& caption) {
    using D = TDerivedDeclaration<V, BaseDeclaration>;
    auto declaration = std::make_unique<D>(
        PPlain::StaticClass(), name, PDerived::StaticClass(),
        [](TKovObservableObject* owner, const TKovIntrinsicPropertyDeclaration* d)
            -> TKovIntrinsicProperty* { return new PDerived(owner, d); },
        config, caption);
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

template <typename E>
TIPEnumerationDeclaration& TKovIntrinsicPropertyDeclarationList::AddTypedEnumeration(
    const std::string& name, std::vector<std::string> strings, TKovIntrinsicPropertyConfig config,
    const std::string& caption, std::vector<std::string> captions) {
    auto declaration = std::make_unique<TIPEnumerationDeclaration>(
        name, TIPEnumerationTyped<E>::StaticClass(),
        [](TKovObservableObject* owner, const TKovIntrinsicPropertyDeclaration* d)
            -> TKovIntrinsicProperty* { return new TIPEnumerationTyped<E>(owner, d); },
        config, caption, std::move(strings), std::move(captions));
    return static_cast<TIPEnumerationDeclaration&>(Add(std::move(declaration)));
}

} // namespace tw
