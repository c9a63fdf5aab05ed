#include "gui/GuiCommands.h"

#include "gui/AdvancedOptions.h"
#include "gui/QtText.h"

#include "commands/OAKovObject.h"
#include "commands/ObjectAccessors.h"
#include "materials/KovMaterialX.h"
#include "objects/ObjectManager.h"
#include "services/Localisation.h"
#include "services/UserMessages.h"

namespace tw {

namespace {

// A material's user values are members of the material: `set Material.ERef 30000`.
class TOAWindowMaterialX : public TOAKovObservableObject {
public:
    TOAWindowMaterialX() : TOAKovObservableObject(TKovMaterialX::StaticClass()) {}
    TKovObject* FindMember(TKovObject& object, const std::string& name) const override {
        if (TKovObject* member = TOAKovObservableObject::FindMember(object, name))
            return member;
        return static_cast<TKovMaterialX&>(object).FindUserProperty(name);
    }
};

// A collection of a material is named by its material, so that its properties read
// "Material.ERef" in a command line.
class TOAWindowMXCollection : public TOAKovObservableObject {
public:
    TOAWindowMXCollection() : TOAKovObservableObject(TMXPropertyCollection::StaticClass()) {}
    std::string GetCommandsCompatibleObjectName(const TKovObject& object) const override {
        const TKovMaterialX* material =
            static_cast<const TMXPropertyCollection&>(object).RootMaterial();
        return material ? material->Name() : object.Name();
    }
};

// Whether an accessor serves the class itself or one between it and the class.
bool HasOwnAccessor(const TKovClass& cls) {
    const TBaseObjectAccessor* accessor = TObjectAccessors::Instance().GetAccessorFor(cls);
    return accessor && accessor->ServedClass().InheritanceDistance(cls) >= 0;
}

} // namespace

void RegisterWindowAccessors() {
    TObjectAccessors& registry = TObjectAccessors::Instance();
    if (!HasOwnAccessor(TQBProject::StaticClass()))
        registry.RegisterAccessor(
            std::make_unique<TOAKovObservableObjectWithRevert>(TQBProject::StaticClass()));
    if (!HasOwnAccessor(TKovMaterialX::StaticClass()))
        registry.RegisterAccessor(std::make_unique<TOAWindowMaterialX>());
    if (!HasOwnAccessor(TMXPropertyCollection::StaticClass()))
        registry.RegisterAccessor(std::make_unique<TOAWindowMXCollection>());
    RegisterAdvancedOptionAccessor();
}

TGuiCommands::TGuiCommands(TQBProject& project)
    : FProject(project),
      FInterpreter(std::make_unique<TKovInterpreter>(
          project.ObjectManager(), std::vector<TKovObject*>{&project}, &FSuccessful, &FAll)) {}

TGuiCommands::~TGuiCommands() = default;

bool TGuiCommands::Run(const std::string& line) {
    FLastError.clear();
    bool success = false;
    try {
        int32_t position = -1;
        std::string error, additional;
        success = FInterpreter->Interpret(line, position, error, additional);
        if (!success)
            FLastError = error.empty() ? additional : error;
    } catch (const std::exception& e) {
        FLastError = e.what();
    }
    if (!success)
        UserMessages().ShowMessage(FLastError, MessageTitle);
    FObservable.NotifyObservers(this);
    return success;
}

bool TGuiCommands::Run(const std::string& command, const std::vector<TVarRec>& values) {
    return Run(FInterpreter->MakeCommandText(command, values));
}

bool TGuiCommands::Set(TKovIntrinsicProperty& property, const TVarRec& value) {
    return Run("set", {&property, value});
}

std::string TGuiCommands::CommandText(const TKovObject& object) const {
    return FInterpreter->AnyToCommandText(&object);
}

bool TGuiCommands::CanUndo() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return manager && manager->UndoCount() > 0;
}

bool TGuiCommands::CanRedo() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return manager && manager->RedoCount() > 0;
}

std::string TGuiCommands::UndoCaption() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return CanUndo() ? manager->GetUndoName(0) : std::string();
}

std::string TGuiCommands::RedoCaption() const {
    const TKovObjectManager* manager = FProject.ObjectManager();
    return CanRedo() ? manager->GetRedoName(0) : std::string();
}

bool TGuiCommands::Undo() {
    return CanUndo() && Run("undo");
}

bool TGuiCommands::Redo() {
    return CanRedo() && Run("redo");
}

} // namespace tw
