#include "labtest/OAKovMaterialX.h"

#include "commands/OAIntrinsicProperties.h"
#include "labtest/OAQBTools.h"
#include "labtest/QBProjectTools.h"
#include "materials/KovMaterialX.h"
#include "materials/MaterialXTools.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <algorithm>

namespace tw {

namespace {

const TCommandNameRecord SetColourCommand{"setcolour", "Set &colour", ""};
const TCommandNameRecord ValidateCommand{"validate", "&Validate", "val"};

std::vector<TMXPropertyCollection*> TopCollectionsOf(const TKovMaterialX& material) {
    std::vector<TMXPropertyCollection*> collections;
    for (TKovObject* item : material.TopCollections().Items())
        if (auto* collection = dynamic_cast<TMXPropertyCollection*>(item);
            collection && !collection->IsFreedOrBeingDestroyed())
            collections.push_back(collection);
    return collections;
}

TMXPropertyCollection* CollectionByName(const std::vector<TMXPropertyCollection*>& collections,
                                        const std::string& name) {
    for (TMXPropertyCollection* collection : collections)
        if (SameText(collection->CollectionClass().CollectionName(), name))
            return collection;
    return nullptr;
}

} // namespace

TOAKovMaterialX::TOAKovMaterialX() : TOAKovObservableObject(TKovMaterialX::StaticClass()) {
    AddCommand(SetColourCommand, {{TComParOrIPColour::Class()}}, &TOAKovMaterialX::ComSetColour);
    auto& validate = AddCommand(ValidateCommand, {}, &TOAKovMaterialX::ComValidate);
    AddPattern(validate, {{TOAQBMaterialTools::FilterClass()}}, &TOAKovMaterialX::ComValidate);
}

TKovObject* TOAKovMaterialX::FindMember(TKovObject& object, const std::string& name) const {
    auto& material = static_cast<TKovMaterialX&>(object);
    if (TKovIntrinsicProperty* own = material.GetIntrinsicPropertyByName(name))
        return own;
    if (TKovIntrinsicProperty* parameter = material.FindUserProperty(name))
        return parameter;
    if (TMXPropertyCollection* collection = CollectionByName(TopCollectionsOf(material), name))
        return collection;
    return TOAKovObservableObject::FindMember(object, name);
}

int TOAKovMaterialX::SubgroupCount(const TKovObject& object) const {
    return static_cast<int>(TopCollectionsOf(static_cast<const TKovMaterialX&>(object)).size());
}

TKovObject* TOAKovMaterialX::Subgroup(const TKovObject& object, int index) const {
    const auto collections = TopCollectionsOf(static_cast<const TKovMaterialX&>(object));
    return index >= 0 && index < static_cast<int>(collections.size()) ? collections[index]
                                                                      : nullptr;
}

void TOAKovMaterialX::AddInfo(const TKovObject& object, TCommandOutput& output) const {
    TOAKovObservableObject::AddInfo(object, output);
    const auto& material = static_cast<const TKovMaterialX&>(object);
    output.AddAdditionalInfoLine(Translate("Parameters"));
    for (const TKovIntrinsicProperty* property : material.UserProperties())
        if (property->IsPublished()) {
            const auto [name, value] = TOAKovIntrinsicProperty::ValueToTextPairs(*property);
            output.AddAdditionalInfoLine(Format("  %s: %s", name, value));
        }
}

int TOAKovMaterialX::PropertyWriteOrder(const TKovObject& object,
                                        const TKovIntrinsicProperty& property) const {
    // The material's own properties first, then the parameters, each after those it reads.
    const auto& material = static_cast<const TKovMaterialX&>(object);
    if (property.Owner() == &material)
        return -1;
    const std::vector<std::string> order =
        TMaterialXIPDependencyEvaluator::DependencyOrderedMaterialProperties(material);
    const auto it = std::find_if(order.begin(), order.end(), [&](const std::string& name) {
        return SameText(name, property.Name());
    });
    return static_cast<int>(it - order.begin());
}

void TOAKovMaterialX::ComSetColour(TKovObject* object, const TCommandParameterList& parameters,
                                   TCommandOutput& output, bool predict) const {
    auto& material = static_cast<TKovMaterialX&>(*object);
    const int32_t colour = TComParOrIPColour::GetValue(*parameters[0]);
    if (predict)
        return;
    material.SetColor(colour);
    output.AddResultObject(object);
}

void TOAKovMaterialX::ComValidate(TKovObject* object, const TCommandParameterList& parameters,
                                  TCommandOutput& output, bool predict) const {
    int filter = qvfAll;
    if (!parameters.Empty())
        filter = static_cast<const TComParEnumeration&>(*TOAQBMaterialTools::FilterClass())
                     .TextToEnumIndex(static_cast<const TComParText&>(*parameters[0]).Value());
    ValidateMaterialCommand(object, filter, output, predict);
}

// ---------------------------------------------------------------------------------------------

TOAMXPropertyCollection::TOAMXPropertyCollection()
    : TOAKovObservableObject(TMXPropertyCollection::StaticClass()) {}

TKovObject* TOAMXPropertyCollection::FindMember(TKovObject& object, const std::string& name) const {
    auto& collection = static_cast<TMXPropertyCollection&>(object);
    if (TKovObject* property = TOAKovObservableObject::FindMember(object, name))
        return property;
    // The parameters' names of the framework, aliases included.
    const int position = TMaterialXTools::FindPositionOfIntrinsicPropertyOrAlias(collection, name);
    if (position >= 0)
        return collection.IntrinsicProperties()[position];
    return CollectionByName(collection.SubCollections(), name);
}

int TOAMXPropertyCollection::SubgroupCount(const TKovObject& object) const {
    return static_cast<int>(
        static_cast<const TMXPropertyCollection&>(object).SubCollections().size());
}

TKovObject* TOAMXPropertyCollection::Subgroup(const TKovObject& object, int index) const {
    const auto collections = static_cast<const TMXPropertyCollection&>(object).SubCollections();
    return index >= 0 && index < static_cast<int>(collections.size()) ? collections[index]
                                                                      : nullptr;
}

std::string
TOAMXPropertyCollection::GetCommandsCompatibleObjectName(const TKovObject& object) const {
    const auto& collection = static_cast<const TMXPropertyCollection&>(object);
    std::string path = collection.CollectionClass().CollectionName();
    for (const TMXPropertyCollection* parent = collection.ParentCollection(); parent;
         parent = parent->ParentCollection())
        path = parent->CollectionClass().CollectionName() + "." + path;
    return collection.RootMaterial() ? collection.RootMaterial()->Name() + "." + path : path;
}

TKovObject* TOAMXPropertyCollection::GetOwnerObject(const TKovObject& object) const {
    const auto& collection = static_cast<const TMXPropertyCollection&>(object);
    if (collection.ParentCollection())
        return collection.ParentCollection();
    return collection.RootMaterial();
}

} // namespace tw
