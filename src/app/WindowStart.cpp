#include "app/WindowStart.h"

#include "app/Startup.h"
#include "gui/QtText.h"
#include "objects/ObjectManager.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/RuntimeSettings.h"
#include "services/UserMessages.h"

namespace tw {

TWindowStart::TWindowStart(const TCommandLine& commandLine, const TWindowStartOptions& options) {
    if (!TRuntimeSettings::Get("ALLOW_MULTIPLE_INSTANCES")) {
        FInstance = std::make_unique<TSingleInstance>(options.LockFile);
        if (!FInstance->IsFirst()) {
            UserMessages().ShowMessage(
                Format(Translate("Cannot start %s, because there is an already running instance!"),
                       "Tarnwick"),
                Translate("Error"));
            return;
        }
    }
    FManager = std::make_unique<TKovObjectManager>();
    TStartupOutcome start = StartUp(commandLine, *FManager);
    if (start.ReadErrors.Count() > 0) {
        std::string text;
        for (const std::string& line : ReadFeedbackLines(start.ReadErrors))
            text += (text.empty() ? "" : "\n") + line;
        UserMessages().ShowMessage(text, MessageTitle);
    }
    if (!start.Started()) {
        UserMessages().ShowMessage(start.Message, start.Title);
        return;
    }
    FProject = std::move(start.Project);
    if (!options.ApplicationDirectory.empty())
        FProject->SetApplicationDirectory(options.ApplicationDirectory);
    // The window tells a missing kernel itself (start.KernelMessage), and then can't run.
    FWindow = std::make_unique<TMainWindow>(*FProject, commandLine.Positional(3));
}

TWindowStart::~TWindowStart() {
    // The window observes the project, the project lives in the manager.
    FWindow.reset();
    FProject.reset();
}

} // namespace tw
