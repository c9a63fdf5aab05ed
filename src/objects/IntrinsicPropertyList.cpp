#include "objects/IntrinsicPropertyList.h"

#include "objects/NameTools.h"
#include "services/Format.h"

namespace tw {

void TKovIntrinsicPropertyList::Add(std::unique_ptr<TKovIntrinsicProperty> property) {
    FItems.push_back(std::move(property));
}

void TKovIntrinsicPropertyList::Insert(int index, std::unique_ptr<TKovIntrinsicProperty> property) {
    if (index < 0 || index > Count())
        throw EIntrinsicPropertyException(Format("List index out of bounds (%d)", index));
    FItems.insert(FItems.begin() + index, std::move(property));
}

int TKovIntrinsicPropertyList::IndexOf(const TKovIntrinsicProperty* property) const {
    for (int i = 0; i < Count(); ++i)
        if (FItems[i].get() == property)
            return i;
    return -1;
}

std::unique_ptr<TKovIntrinsicProperty>
TKovIntrinsicPropertyList::Extract(const TKovIntrinsicProperty* property) {
    const int index = IndexOf(property);
    if (index < 0)
        return nullptr;
    auto item = std::move(FItems[index]);
    FItems.erase(FItems.begin() + index);
    return item;
}

bool TKovIntrinsicPropertyList::Remove(const TKovIntrinsicProperty* property) {
    return Extract(property) != nullptr;
}

int TKovIntrinsicPropertyList::IndexOfName(const std::string& name) const {
    if (FOnGetIndexAndDeclarationByName) {
        // The declaration's index is the property's index while the lists run in step, which
        // they do unless someone inserted or removed properties by hand: check, else walk.
        TKovIntrinsicPropertyDeclaration* declaration = nullptr;
        const int index = FOnGetIndexAndDeclarationByName(name, declaration);
        if (index < 0)
            return -1;
        if (index < Count() && FItems[index]->Declaration() == declaration)
            return index;
    }
    const std::string clean = ::tw::CleanName(name);
    for (int i = 0; i < Count(); ++i)
        if (FItems[i]->CleanName() == clean)
            return i;
    return -1;
}

TKovIntrinsicProperty* TKovIntrinsicPropertyList::GetByName(const std::string& name) const {
    const int index = IndexOfName(name);
    return index < 0 ? nullptr : FItems[index].get();
}

bool TKovIntrinsicPropertyList::RemoveByName(const std::string& name) {
    const int index = IndexOfName(name);
    if (index < 0)
        return false;
    FItems.erase(FItems.begin() + index);
    return true;
}

void TKovIntrinsicPropertyList::SetPublishedIfExists(const std::string& name, bool published) {
    if (TKovIntrinsicProperty* property = GetByName(name))
        property->SetPublished(published);
}

} // namespace tw
