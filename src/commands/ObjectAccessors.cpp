#include "commands/ObjectAccessors.h"

#include "commands/OAIntrinsicProperties.h"
#include "commands/OAKovObject.h"
#include "commands/OAKovValues.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/KovObjectLists.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <algorithm>

#include <mutex>

namespace tw {

std::string TBaseObjectAccessor::ObjectToText(const TKovObject* object) const {
    if (!object)
        return "<not assigned>";
    return Format("%s named \"%s\"", object->GetObjectTypeName(), object->Name());
}

std::string TBaseObjectAccessor::GetCommandsCompatibleObjectName(const TKovObject& object) const {
    return object.Name();
}

std::string TBaseObjectAccessor::CommandNamesText() const {
    std::string text;
    for (int i = 0; i < CommandCount(); ++i) {
        if (i > 0)
            text += ", ";
        text += GetCommand(i).Name();
    }
    return text;
}

// ---------------------------------------------------------------------------------------------

void TCommandPatternMapper::AddCommand(const TKovCommand& command) {
    int index = IndexOf(command.Name());
    if (index < 0) {
        FMappings.push_back({command.Name(), command.ShortName(), {}});
        index = Count() - 1;
    }
    auto& patterns = FMappings[index].FPatterns;
    for (int i = 0; i < command.GetSupportedPatternCount(); ++i) {
        const std::string text = command.GetSupportedPattern(i).AsText();
        if (std::find(patterns.begin(), patterns.end(), text) == patterns.end())
            patterns.push_back(text);
    }
}

int TCommandPatternMapper::IndexOf(const std::string& commandName) const {
    for (int i = 0; i < Count(); ++i)
        if (SameText(FMappings[i].FCommandName, commandName))
            return i;
    return -1;
}

void TCustomObjectAccessor::FillCommandPatternMapper(const TKovObject*,
                                                     TCommandPatternMapper& mapper,
                                                     bool includeHidden) const {
    for (int i = 0; i < CommandCount(); ++i) {
        const TKovCommand& command = GetCommand(i);
        if (includeHidden || !command.IsDiagnostic())
            mapper.AddCommand(command);
    }
}

// ---------------------------------------------------------------------------------------------

TObjectAccessors& TObjectAccessors::Instance() {
    static TObjectAccessors* instance = [] {
        auto* registry = new TObjectAccessors();
        RegisterKovObjectAccessors(*registry);
        RegisterIntrinsicPropertyAccessors(*registry);
        RegisterKovValuesAccessors(*registry);
        return registry;
    }();
    return *instance;
}

TBaseObjectAccessor&
TObjectAccessors::RegisterAccessor(std::unique_ptr<TBaseObjectAccessor> accessor) {
    std::unique_lock lock(FMutex);
    FAccessors.push_back(std::move(accessor));
    FCache.clear();
    return *FAccessors.back();
}

bool TObjectAccessors::UnregisterAccessor(const TBaseObjectAccessor* accessor) {
    std::unique_lock lock(FMutex);
    for (auto it = FAccessors.begin(); it != FAccessors.end(); ++it)
        if (it->get() == accessor) {
            FAccessors.erase(it);
            FCache.clear();
            return true;
        }
    return false;
}

TBaseObjectAccessor* TObjectAccessors::GetAccessorFor(const TKovClass& cls) const {
    {
        std::shared_lock lock(FMutex);
        if (auto it = FCache.find(&cls); it != FCache.end())
            return it->second;
    }
    std::unique_lock lock(FMutex);
    TBaseObjectAccessor* best = nullptr;
    int bestLevel = -1;
    for (const auto& accessor : FAccessors) {
        const int level = accessor->GetSupportLevel(cls);
        if (level >= 0 && (bestLevel < 0 || level <= bestLevel)) {
            best = accessor.get();
            bestLevel = level;
        }
    }
    FCache[&cls] = best;
    return best;
}

std::pair<TKovObject*, TBaseObjectAccessor*>
TObjectAccessors::GetAccessorCoupling(TKovObject* object) const {
    TBaseObjectAccessor* accessor = GetAccessorFor(object);
    if (auto* reference = dynamic_cast<TIPKovObject*>(object)) {
        if (accessor && &accessor->ServedClass() == &TIPKovObject::StaticClass() &&
            reference->Value())
            return {reference->Value(), GetAccessorFor(reference->Value())};
    }
    return {object, accessor};
}

std::string TObjectAccessors::SaveCommands(bool includeHidden) const {
    std::shared_lock lock(FMutex);
    std::string text;
    for (const auto& accessor : FAccessors) {
        text += accessor->GetTypeName() + "\n";
        for (int i = 0; i < accessor->CommandCount(); ++i) {
            const TKovCommand& command = accessor->GetCommand(i);
            if (!includeHidden && command.IsDiagnostic())
                continue;
            for (int k = 0; k < command.GetSupportedPatternCount(); ++k)
                text += "  " + command.PatternLine(k) + "\n";
        }
    }
    return text;
}

// ---------------------------------------------------------------------------------------------

std::vector<TKovObject*> TObjectToListConverter::ConvertToNewList(const TKovObject& object) const {
    std::vector<TKovObject*> list;
    ConvertTo(object, list);
    return list;
}

TKovObject* TObjectToListConverter::GetItem(const TKovObject& object, int index) const {
    const auto list = ConvertToNewList(object);
    const int count = static_cast<int>(list.size());
    if (index < 0)
        index += count;
    return index >= 0 && index < count ? list[index] : nullptr;
}

int TObjectToListConverter::GetCount(const TKovObject& object) const {
    return static_cast<int>(ConvertToNewList(object).size());
}

TOLCList::TOLCList() : TObjectToListConverter(TKovObjectList::StaticClass()) {}

void TOLCList::ConvertTo(const TKovObject& object, std::vector<TKovObject*>& list) const {
    const auto& items = static_cast<const TKovObjectList&>(object).Items();
    list.insert(list.end(), items.begin(), items.end());
}

TKovObject* TOLCList::GetItem(const TKovObject& object, int index) const {
    const auto& items = static_cast<const TKovObjectList&>(object);
    if (index < 0)
        index += items.Count();
    return items.GetItemOrNull(index);
}

int TOLCList::GetCount(const TKovObject& object) const {
    return static_cast<const TKovObjectList&>(object).Count();
}

TObjectToListConverters& TObjectToListConverters::Instance() {
    static TObjectToListConverters* instance = [] {
        auto* converters = new TObjectToListConverters();
        converters->Register(std::make_unique<TOLCList>());
        return converters;
    }();
    return *instance;
}

void TObjectToListConverters::Register(std::unique_ptr<TObjectToListConverter> converter) {
    std::unique_lock lock(FMutex);
    FConverters.Register(std::move(converter));
}

const TObjectToListConverter*
TObjectToListConverters::GetConverterFor(const TKovObject& object) const {
    std::shared_lock lock(FMutex);
    return FConverters.GetBest(object.ClassType());
}

// ---------------------------------------------------------------------------------------------

TComParObjectWithAccessorSupportingCommand::TComParObjectWithAccessorSupportingCommand(
    std::vector<std::string> commands)
    : TComParValueOrIntrinsicProperty("TComParObjectWithAccessorSupportingCommand", "KovObject",
                                      {TComParObject::Class().get()}, {}),
      FCommands(std::move(commands)) {}

bool TComParObjectWithAccessorSupportingCommand::CheckValue(
    const TCommandParameter& parameter) const {
    TKovObject* object = TComParOrIPKovObject::GetObject(parameter);
    const TBaseObjectAccessor* accessor = TObjectAccessors::Instance().GetAccessorFor(object);
    if (!accessor)
        return false;
    for (const auto& command : FCommands)
        if (!accessor->HasCommandByName(command))
            return false;
    return true;
}

} // namespace tw
