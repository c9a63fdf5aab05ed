#include "objects/IntrinsicPropertyDeclarationList.h"

#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/NameTools.h"
#include "services/Format.h"

namespace tw {

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(std::unique_ptr<TKovIntrinsicPropertyDeclaration> item) {
    if (!FNameToIndexMappings.Contains(item->CleanName()))
        FNameToIndexMappings.AddOrSet(item->CleanName(), Count());
    FItems.push_back(std::move(item));
    return *FItems.back();
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass) {
    return Add(name, propertyClass, 0, "");
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config) {
    return Add(name, propertyClass, config, "");
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass,
                                          TKovIntrinsicPropertyConfig config,
                                          const std::string& caption) {
    if (!propertyClass.IsPropertyClass())
        throw EIntrinsicPropertyDeclarationError(Format(
            "Class %s of property %s is no intrinsic property class", propertyClass.Name(), name));
    return Add(std::make_unique<TKovIntrinsicPropertyDeclaration>(name, propertyClass, nullptr,
                                                                  config, caption));
}

TKovIntrinsicPropertyDeclaration&
TKovIntrinsicPropertyDeclarationList::Add(const std::string& name, const TKovClass& propertyClass,
                                          const std::string& caption) {
    return Add(name, propertyClass, 0, caption);
}

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::Add(
    const std::string& name, const TKovClass& propertyClass, const TKovClass& associatedClass,
    TKovIntrinsicPropertyConfig config, const std::string& caption, bool allowSubclass) {
    auto& declaration = Add(name, propertyClass, config, caption);
    declaration.SetAssociatedClass(&associatedClass, allowSubclass);
    return declaration;
}

void TKovIntrinsicPropertyDeclarationList::Insert(
    int index, std::unique_ptr<TKovIntrinsicPropertyDeclaration> item) {
    if (index < 0 || index > Count())
        throw EIntrinsicPropertyDeclarationError(Format("List index out of bounds (%d)", index));
    FItems.insert(FItems.begin() + index, std::move(item));
    Reindex();
}

std::unique_ptr<TKovIntrinsicPropertyDeclaration>
TKovIntrinsicPropertyDeclarationList::Extract(const std::string& name) {
    int index = GetIndexOfDeclarationFor(name);
    if (index < 0)
        return nullptr;
    auto item = std::move(FItems[index]);
    FItems.erase(FItems.begin() + index);
    Reindex();
    return item;
}

bool TKovIntrinsicPropertyDeclarationList::Remove(const std::string& name) {
    return Extract(name) != nullptr;
}

bool TKovIntrinsicPropertyDeclarationList::Remove(
    const TKovIntrinsicPropertyDeclaration* declaration) {
    const int index = IndexOf(declaration);
    if (index < 0)
        return false;
    FItems.erase(FItems.begin() + index);
    Reindex();
    return true;
}

int TKovIntrinsicPropertyDeclarationList::IndexOf(
    const TKovIntrinsicPropertyDeclaration* declaration) const {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i].get() == declaration)
            return i;
    return -1;
}

void TKovIntrinsicPropertyDeclarationList::Reindex() {
    FNameToIndexMappings.Clear();
    for (int i = 0; i < Count(); ++i)
        if (!FNameToIndexMappings.Contains(FItems[i]->CleanName()))
            FNameToIndexMappings.AddOrSet(FItems[i]->CleanName(), i);
}

TKovIntrinsicPropertyDeclaration*
TKovIntrinsicPropertyDeclarationList::GetDeclarationFor(const std::string& name) const {
    int index = GetIndexOfDeclarationFor(name);
    return index < 0 ? nullptr : FItems[index].get();
}

int TKovIntrinsicPropertyDeclarationList::GetIndexOfDeclarationFor(const std::string& name) const {
    const int* index = FNameToIndexMappings.Find(CleanName(name));
    return index ? *index : -1;
}

int TKovIntrinsicPropertyDeclarationList::GetIndexAndDeclarationFor(
    const std::string& name, TKovIntrinsicPropertyDeclaration*& declaration) const {
    const int index = GetIndexOfDeclarationFor(name);
    declaration = index < 0 ? nullptr : FItems[index].get();
    return index;
}

void TKovIntrinsicPropertyDeclarationList::SetDeclarationVisibleAndEditableFor(
    const std::string& name, bool flag) {
    if (auto* declaration = GetDeclarationFor(name)) {
        auto config = declaration->Configuration() & ~(ipkReadOnly | ipkNotPublished);
        if (!flag)
            config |= ipkReadOnly | ipkNotPublished;
        declaration->SetConfiguration(config);
    }
}

void TKovIntrinsicPropertyDeclarationList::CheckUnique() const {
    if (FNameToIndexMappings.Count() == FItems.size())
        return;
    for (int i = 0; i < Count(); ++i)
        if (*FNameToIndexMappings.Find(FItems[i]->CleanName()) != i)
            throw EIntrinsicPropertyDeclarationError(
                Format("Cannot declare the same property twice: %s", FItems[i]->OriginalName()));
}

namespace {
template <typename P>
TKovIntrinsicProperty* CreateProperty(TKovObservableObject* owner,
                                      const TKovIntrinsicPropertyDeclaration* declaration) {
    return new P(owner, declaration);
}
} // namespace

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddBoolean(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption) {
    return AddOfKind<TIPBoolean>(name, config, caption);
}

TIPIntegerDeclaration& TKovIntrinsicPropertyDeclarationList::AddInteger(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption,
    int32_t min, int32_t max) {
    auto declaration = std::make_unique<TIPIntegerDeclaration>(
        name, TIPInteger::StaticClass(), &CreateProperty<TIPInteger>, config, caption);
    declaration->Limits = {min, max};
    return static_cast<TIPIntegerDeclaration&>(Add(std::move(declaration)));
}

TIPDoubleDeclaration& TKovIntrinsicPropertyDeclarationList::AddDouble(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption,
    double min, double max) {
    auto declaration = std::make_unique<TIPDoubleDeclaration>(
        name, TIPDouble::StaticClass(), &CreateProperty<TIPDouble>, config, caption);
    declaration->Limits = {min, max};
    return static_cast<TIPDoubleDeclaration&>(Add(std::move(declaration)));
}

TIPDoubleWithUnitDeclaration& TKovIntrinsicPropertyDeclarationList::AddDoubleWithUnit(
    const std::string& name, TQuantityType quantity, TKovIntrinsicPropertyConfig config,
    const std::string& caption, double min, double max) {
    auto declaration = std::make_unique<TIPDoubleWithUnitDeclaration>(
        name, TIPDoubleWithUnit::StaticClass(), &CreateProperty<TIPDoubleWithUnit>, config,
        caption);
    declaration->Limits = {min, max};
    declaration->QuantityType = quantity;
    return static_cast<TIPDoubleWithUnitDeclaration&>(Add(std::move(declaration)));
}

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddText(
    const std::string& name, TKovIntrinsicPropertyConfig config, const std::string& caption) {
    return AddOfKind<TIPText>(name, config, caption);
}

TIPEnumerationDeclaration& TKovIntrinsicPropertyDeclarationList::AddEnumeration(
    const std::string& name, std::vector<std::string> strings, TKovIntrinsicPropertyConfig config,
    const std::string& caption, std::vector<std::string> captions) {
    auto declaration = std::make_unique<TIPEnumerationDeclaration>(
        name, TIPEnumeration::StaticClass(), &CreateProperty<TIPEnumeration>, config, caption,
        std::move(strings), std::move(captions));
    return static_cast<TIPEnumerationDeclaration&>(Add(std::move(declaration)));
}

TKovIntrinsicPropertyDeclaration& TKovIntrinsicPropertyDeclarationList::AddObject(
    const std::string& name, const TKovClass& associatedClass, TKovIntrinsicPropertyConfig config,
    const std::string& caption, bool allowSubclass) {
    auto& declaration = AddOfKind<TIPKovObject>(name, config, caption);
    declaration.SetAssociatedClass(&associatedClass, allowSubclass);
    return declaration;
}

TDerivedDeclaration<double, TIPDoubleWithUnitDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedDoubleWithUnit(
    const std::string& name, TQuantityType quantity, TDerivedAccessors<double> accessors,
    TKovIntrinsicPropertyConfig config, const std::string& caption, double min, double max) {
    using D = TDerivedDeclaration<double, TIPDoubleWithUnitDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPDoubleWithUnit::StaticClass(), name, TIPDoubleWithUnit_DerivedExternal::StaticClass(),
        &CreateProperty<TIPDoubleWithUnit_DerivedExternal>, config, caption);
    declaration->Limits = {min, max};
    declaration->QuantityType = quantity;
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<double, TIPDoubleDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedDouble(const std::string& name,
                                                       TDerivedAccessors<double> accessors,
                                                       TKovIntrinsicPropertyConfig config,
                                                       const std::string& caption, double min,
                                                       double max) {
    using D = TDerivedDeclaration<double, TIPDoubleDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPDouble::StaticClass(), name, TIPDouble_DerivedExternal::StaticClass(),
        &CreateProperty<TIPDouble_DerivedExternal>, config, caption);
    declaration->Limits = {min, max};
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<int32_t, TIPIntegerDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedInteger(const std::string& name,
                                                        TDerivedAccessors<int32_t> accessors,
                                                        TKovIntrinsicPropertyConfig config,
                                                        const std::string& caption, int32_t min,
                                                        int32_t max) {
    using D = TDerivedDeclaration<int32_t, TIPIntegerDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPInteger::StaticClass(), name, TIPInteger_DerivedExternal::StaticClass(),
        &CreateProperty<TIPInteger_DerivedExternal>, config, caption);
    declaration->Limits = {min, max};
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<bool, TKovIntrinsicPropertyDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedBoolean(const std::string& name,
                                                        TDerivedAccessors<bool> accessors,
                                                        TKovIntrinsicPropertyConfig config,
                                                        const std::string& caption) {
    using D = TDerivedDeclaration<bool, TKovIntrinsicPropertyDeclaration>;
    auto declaration = std::make_unique<D>(
        TIPBoolean::StaticClass(), name, TIPBoolean_DerivedExternal::StaticClass(),
        &CreateProperty<TIPBoolean_DerivedExternal>, config, caption);
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedText(const std::string& name,
                                                     TDerivedAccessors<std::string> accessors,
                                                     TKovIntrinsicPropertyConfig config,
                                                     const std::string& caption) {
    using D = TDerivedDeclaration<std::string, TKovIntrinsicPropertyDeclaration>;
    auto declaration =
        std::make_unique<D>(TIPText::StaticClass(), name, TIPText_DerivedExternal::StaticClass(),
                            &CreateProperty<TIPText_DerivedExternal>, config, caption);
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<int, TIPEnumerationDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedEnumeration(const std::string& name,
                                                            std::vector<std::string> strings,
                                                            TDerivedAccessors<int> accessors,
                                                            TKovIntrinsicPropertyConfig config,
                                                            const std::string& caption,
                                                            std::vector<std::string> captions) {
    using D = TDerivedDeclaration<int, TIPEnumerationDeclaration>;
    auto declaration = std::make_unique<D>(TIPEnumeration::StaticClass(), name,
                                           TIPEnumeration_DerivedExternal::StaticClass(),
                                           &CreateProperty<TIPEnumeration_DerivedExternal>, config,
                                           caption, std::move(strings), std::move(captions));
    declaration->SetAccessors(std::move(accessors));
    return static_cast<D&>(Add(std::move(declaration)));
}

TDerivedDeclaration<TKovObject*, TKovIntrinsicPropertyDeclaration>&
TKovIntrinsicPropertyDeclarationList::AddDerivedObject(const std::string& name,
                                                       const TKovClass& associatedClass,
                                                       TDerivedAccessors<TKovObject*> accessors,
                                                       TKovIntrinsicPropertyConfig config,
                                                       const std::string& caption) {
    auto& declaration = AddDerived<TIPKovObject_DerivedExternal, TIPKovObject, TKovObject*>(
        name, std::move(accessors), config, caption);
    declaration.SetAssociatedClass(&associatedClass, true);
    return declaration;
}

} // namespace tw
