#pragma once
// Object accessors: objects don't know commands. For each class of object an accessor holds its
// commands and knows how to print the object; TObjectAccessors finds the accessor of an object by
// its class, the most specific first. An accessor is a stateless singleton: the object travels as
// an argument of every command.
//
// Registration. The registry makes and registers the accessors of this library on first use. A
// higher library registers its own at start-up, before the first command runs:
//
//     TObjectAccessors::Instance().RegisterAccessor(std::make_unique<TOAQBTestBase>());
//
// An accessor registered later for the same class wins over an earlier one, so a program can
// replace what a library registered. Registration belongs to start-up; look-ups may come from any
// thread.

#include "commands/CommandParameters.h"
#include "commands/KovCommands.h"
#include "objects/ClassObjectAssociations.h"

#include <functional>
#include <memory>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tw {

class TCommandPatternMapper;

class TBaseObjectAccessor {
public:
    explicit TBaseObjectAccessor(const TKovClass& servedClass) : FServedClass(&servedClass) {}
    virtual ~TBaseObjectAccessor() = default;
    TBaseObjectAccessor(const TBaseObjectAccessor&) = delete;
    TBaseObjectAccessor& operator=(const TBaseObjectAccessor&) = delete;

    // Inheritance steps from `cls` up to the served class; -1 when it is no descendant.
    virtual int GetSupportLevel(const TKovClass& cls) const {
        return cls.InheritanceDistance(*FServedClass);
    }
    const TKovClass& ServedClass() const { return *FServedClass; }
    virtual std::string GetTypeName() const { return FServedClass->TypeName(); }
    // The object as the parameters of a command that would make it again; empty when the
    // accessor can't say.
    virtual std::string SaveAsParameters(const TKovObject& /*object*/) const { return ""; }
    // Whether the commands show among the global ones (of default objects).
    virtual bool ShowCommandsAsGlobal() const { return false; }
    // "%s named \"%s\"": the type name and the name.
    virtual std::string ObjectToText(const TKovObject* object) const;
    // The text that names the object in a command line.
    virtual std::string GetCommandsCompatibleObjectName(const TKovObject& object) const;
    virtual TKovObject* GetOwnerObject(const TKovObject& /*object*/) const { return nullptr; }
    // The member `Object.name` of a chain, or nullptr.
    virtual TKovObject* FindMember(TKovObject& /*object*/, const std::string& /*name*/) const {
        return nullptr;
    }

    TKovCommand* GetCommandByName(const std::string& name, TCommandErrorCode& code) const {
        return FCommands.GetByName(name, code);
    }
    bool HasCommandByName(const std::string& name) const { return FCommands.GetByName(name); }
    TKovCommand& GetCommand(int index) const { return FCommands.GetItem(index); }
    int CommandCount() const { return FCommands.Count(); }
    const TEasyCommandList& Commands() const { return FCommands; }
    // The commands' names, in order, joined by ", ".
    std::string CommandNamesText() const;

protected:
    TEasyCommandList FCommands;

private:
    const TKovClass* FServedClass;
};

// The flat view of an object's commands and their patterns, for the autocompleter and the
// remote server's command listing.
struct TCommandPatternMapping {
    std::string FCommandName;
    std::string FCommandShortName;
    std::vector<std::string> FPatterns;
};

class TCommandPatternMapper {
public:
    // Merges by name: the patterns of a known command are added to its entry.
    void AddCommand(const TKovCommand& command);
    int Count() const { return static_cast<int>(FMappings.size()); }
    const TCommandPatternMapping& GetMapping(int index) const { return FMappings.at(index); }
    void Delete(int index) { FMappings.erase(FMappings.begin() + index); }
    // The index of the entry of a command name, or -1.
    int IndexOf(const std::string& commandName) const;

private:
    std::vector<TCommandPatternMapping> FMappings;
};

// An accessor that builds its commands in its constructor. A subclass's constructor adds its own
// after its parent's (a name it shares with the parent replaces the parent's entry) and may
// remove inherited ones by name.
class TCustomObjectAccessor : public TBaseObjectAccessor {
public:
    using TBaseObjectAccessor::TBaseObjectAccessor;
    virtual void FillCommandPatternMapper(const TKovObject* object, TCommandPatternMapper& mapper,
                                          bool includeHidden) const;

protected:
    // Adds (or replaces) a command with one pattern whose runner is a member of the accessor.
    template <typename A>
    TCommandExternal& AddCommand(const TCommandNameRecord& names,
                                 TCommandParameterClassList classes,
                                 void (A::*runner)(TKovObject*, const TCommandParameterList&,
                                                   TCommandOutput&, bool) const) {
        const A* self = static_cast<const A*>(this);
        auto command =
            std::make_unique<TCommandExternal>(names.Name, names.ShortName, names.Caption);
        command->AddPattern(
            std::move(classes),
            TCommandClassMethodWithPrediction(
                [self, runner](TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) {
                    (self->*runner)(object, parameters, output, predict);
                }));
        return static_cast<TCommandExternal&>(FCommands.AddOrReplace(std::move(command)));
    }
    // Adds a further pattern to a command added before.
    template <typename A>
    void AddPattern(TCommandExternal& command, TCommandParameterClassList classes,
                    void (A::*runner)(TKovObject*, const TCommandParameterList&, TCommandOutput&,
                                      bool) const) {
        const A* self = static_cast<const A*>(this);
        command.AddPattern(
            std::move(classes),
            TCommandClassMethodWithPrediction(
                [self, runner](TKovObject* object, const TCommandParameterList& parameters,
                               TCommandOutput& output, bool predict) {
                    (self->*runner)(object, parameters, output, predict);
                }));
    }
    void RemoveCommand(const std::string& name) { FCommands.RemoveByName(name); }
};

class TObjectAccessors {
public:
    // The registry, with the accessors of this library registered.
    static TObjectAccessors& Instance();

    TBaseObjectAccessor& RegisterAccessor(std::unique_ptr<TBaseObjectAccessor> accessor);
    // Unregisters and frees the accessor; answers whether it was registered.
    bool UnregisterAccessor(const TBaseObjectAccessor* accessor);
    // The accessor of the class (the nearest ancestor served), or nullptr.
    TBaseObjectAccessor* GetAccessorFor(const TKovClass& cls) const;
    TBaseObjectAccessor* GetAccessorFor(const TKovObject* object) const {
        return object ? GetAccessorFor(object->ClassType()) : nullptr;
    }
    // The registered accessor of type A (the last registered of that type), or nullptr.
    template <typename A> A* GetAccessor() const {
        std::shared_lock lock(FMutex);
        for (auto it = FAccessors.rbegin(); it != FAccessors.rend(); ++it)
            if (auto* found = dynamic_cast<A*>(it->get()))
                return found;
        return nullptr;
    }
    // The object that answers commands for `object`, with its accessor: the object itself, or
    // for a reference property served only by the generic reference accessor, the object it
    // refers to.
    std::pair<TKovObject*, TBaseObjectAccessor*> GetAccessorCoupling(TKovObject* object) const;
    // Every accessor with its commands and their patterns, one line each: a reference of the
    // command language (the developers' diagnostic commands only with `includeHidden`).
    std::string SaveCommands(bool includeHidden = true) const;

private:
    TObjectAccessors() = default;

    mutable std::shared_mutex FMutex;
    std::vector<std::unique_ptr<TBaseObjectAccessor>> FAccessors;
    mutable std::unordered_map<const TKovClass*, TBaseObjectAccessor*> FCache;
};

// ---------------------------------------------------------------------------------------------
// Objects that stand for lists: what an integer indexer (`List[2]`) works on.

class TObjectToListConverter {
public:
    explicit TObjectToListConverter(const TKovClass& servedClass) : FServedClass(&servedClass) {}
    virtual ~TObjectToListConverter() = default;
    int GetSupportLevel(const TKovClass& cls) const {
        return cls.InheritanceDistance(*FServedClass);
    }
    virtual void ConvertTo(const TKovObject& object, std::vector<TKovObject*>& list) const = 0;
    std::vector<TKovObject*> ConvertToNewList(const TKovObject& object) const;
    // A negative index counts from the end; an index outside gives nullptr.
    virtual TKovObject* GetItem(const TKovObject& object, int index) const;
    virtual int GetCount(const TKovObject& object) const;

private:
    const TKovClass* FServedClass;
};

// The converter of object lists.
class TOLCList : public TObjectToListConverter {
public:
    TOLCList();
    void ConvertTo(const TKovObject& object, std::vector<TKovObject*>& list) const override;
    TKovObject* GetItem(const TKovObject& object, int index) const override;
    int GetCount(const TKovObject& object) const override;
};

class TObjectToListConverters {
public:
    // The converters, with the list converter registered.
    static TObjectToListConverters& Instance();
    void Register(std::unique_ptr<TObjectToListConverter> converter);
    const TObjectToListConverter* GetConverterFor(const TKovObject& object) const;

private:
    TObjectToListConverters() = default;
    mutable std::shared_mutex FMutex;
    TOneObjectAssociationRegistry<TObjectToListConverter> FConverters;
};

// An object or an object-valued property (taking its value), whose accessor has every command
// the class names.
class TComParObjectWithAccessorSupportingCommand : public TComParValueOrIntrinsicProperty {
public:
    explicit TComParObjectWithAccessorSupportingCommand(std::vector<std::string> commands);
    bool CheckValue(const TCommandParameter& parameter) const override;

private:
    std::vector<std::string> FCommands;
};

} // namespace tw
