#pragma once
// The global helpers of a project: objects that take the commands which name no target
// (`calculate Test_1` goes to the calculation tools). A library registers the factories of its
// helpers at start-up, in the order they are to be made; a project makes them when it is created,
// names each after its type, owns them, and hands them to its interpreter as default objects.
//
//     TGlobalHelperRegistry::Register([](TKovObjectManager* m) { return
//     Make<TQBCalculationTools>(m); });
//     ...
//     FGlobalHelpers.Initialize();
//     FGlobalHelpers.CreateRegistered(manager);
//     for (TKovObject* helper : FGlobalHelpers.Items()) environment.AddDefaultObject(helper);

#include "objects/KovBaseClasses.h"

#include <functional>
#include <memory>
#include <vector>

namespace tw {

TW_DECLARE_EXCEPTION(EGlobalHelpersException, EKovException)

class TGlobalHelperRegistry {
public:
    using TFactory = std::function<std::unique_ptr<TKovObject>(TKovObjectManager* manager)>;
    // Answers a handle for Unregister.
    static int Register(TFactory factory);
    static void Unregister(int handle);
    // The factories in the order of registration.
    static std::vector<TFactory> Factories();
};

// The helpers of one project; owns them.
class TGlobalHelpers {
public:
    TGlobalHelpers() = default;
    TGlobalHelpers(const TGlobalHelpers&) = delete;
    TGlobalHelpers& operator=(const TGlobalHelpers&) = delete;
    ~TGlobalHelpers();

    void Initialize() { FInitialized = true; }
    bool Initialized() const { return FInitialized; }
    // Takes a helper and names it after its type (made unique in its manager). Raises
    // "Global helpers not initialized." before Initialize.
    TKovObject& Add(std::unique_ptr<TKovObject> helper);
    // Makes every registered helper, in order, outside undo.
    void CreateRegistered(TKovObjectManager* manager);
    const std::vector<TKovObject*>& Items() const { return FItems; }

private:
    bool FInitialized = false;
    std::vector<std::unique_ptr<TKovObject>> FOwned;
    std::vector<TKovObject*> FItems;
};

} // namespace tw
