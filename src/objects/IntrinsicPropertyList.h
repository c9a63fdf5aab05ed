#pragma once
// The intrinsic properties of one object.

#include "objects/IntrinsicProperty.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tw {

// The properties of one object, in declaration order; owns them. A list linked to its
// declaration list finds a property by name through the declarations' radix tree; an unlinked one
// compares names.
class TKovIntrinsicPropertyList {
public:
    using TGetIndexAndDeclarationByName =
        std::function<int(const std::string& name, TKovIntrinsicPropertyDeclaration*&)>;

    TKovIntrinsicPropertyList() = default;
    TKovIntrinsicPropertyList(const TKovIntrinsicPropertyList&) = delete;
    TKovIntrinsicPropertyList& operator=(const TKovIntrinsicPropertyList&) = delete;

    void SetOnGetIndexAndDeclarationByName(TGetIndexAndDeclarationByName handler) {
        FOnGetIndexAndDeclarationByName = std::move(handler);
    }

    int Count() const { return static_cast<int>(FItems.size()); }
    TKovIntrinsicProperty* operator[](int index) const {
        return index >= 0 && index < Count() ? FItems[index].get() : nullptr;
    }
    TKovIntrinsicProperty* First() const { return FItems.empty() ? nullptr : FItems[0].get(); }
    TKovIntrinsicProperty* Last() const { return FItems.empty() ? nullptr : FItems.back().get(); }
    void Add(std::unique_ptr<TKovIntrinsicProperty> property);
    void Insert(int index, std::unique_ptr<TKovIntrinsicProperty> property);
    std::unique_ptr<TKovIntrinsicProperty> Extract(const TKovIntrinsicProperty* property);
    bool Remove(const TKovIntrinsicProperty* property);
    bool RemoveByName(const std::string& name);
    int IndexOf(const TKovIntrinsicProperty* property) const;
    TKovIntrinsicProperty* GetByName(const std::string& name) const;
    void SetPublishedIfExists(const std::string& name, bool published);

private:
    int IndexOfName(const std::string& name) const;

    std::vector<std::unique_ptr<TKovIntrinsicProperty>> FItems;
    TGetIndexAndDeclarationByName FOnGetIndexAndDeclarationByName;
};

} // namespace tw
