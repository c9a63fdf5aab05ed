#pragma once
// The window tests' world: one QApplication per process on Qt's offscreen platform (unless a
// platform is named, as the screenshot test does), a recorder of the messages the window shows,
// and a project on a Mohr-Coulomb medium dense sand whose kernels are ours, in build/bin.

#include "gui/MainWindow.h"
#include "labtest/QBProject.h"
#include "objects/ObjectManager.h"
#include "services/UserMessages.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tw::testing {

QApplication& EnsureApplication();

// Lets the event loop run until `done` holds or `milliseconds` have passed; answers `done`.
bool WaitFor(const std::function<bool()>& done, int milliseconds = 5000);

class TRecordedMessages : public IUserMessages {
public:
    void ShowMessage(const std::string& text, const std::string& title) override {
        Messages.push_back(text);
        Titles.push_back(title);
        Details.push_back({});
    }
    void ShowDetailedMessage(const std::string& text, const std::string& title,
                             const std::string& details) override {
        ShowMessage(text, title);
        Details.back() = details;
    }
    bool AskQuestion(const std::string& text, const std::string& title) override {
        Questions.push_back(text);
        Titles.push_back(title);
        return Answer;
    }
    std::vector<std::string> Messages;
    std::vector<std::string> Details; // beside Messages
    std::vector<std::string> Questions;
    std::vector<std::string> Titles;
    bool Answer = true;
};

// E' 30000 kN/m2, nu' 0.3, c' 1 kN/m2, phi' 32 degrees, psi 2 degrees.
std::unique_ptr<TKovSoilMaterialX> MediumDenseSand();

// A folder of its own under the system's temporary folder, removed with the object.
class TTempFolder {
public:
    TTempFolder();
    ~TTempFolder();
    const std::filesystem::path& Path() const { return FPath; }
    // The path as the project wants a folder: with a trailing separator.
    std::string Folder() const { return FPath.string() + "/"; }

private:
    std::filesystem::path FPath;
};

class GuiFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A project named "Project" on the sand, with our kernels, and no steps to undo.
    void MakeProject(TQBTestMethod method = tm3D, const std::string& kernelFolder = TW_KERNEL_DIR);
    TMainWindow& OpenWindow();

    // The user's own folders (saved configurations, settings) of the test alone.
    TTempFolder UserFolders;
    TKovObjectManager Manager;
    std::unique_ptr<TQBProject> Project;
    std::unique_ptr<TMainWindow> Window;
    TRecordedMessages Messages;

private:
    IUserMessages* FPrevious = nullptr;
};

} // namespace tw::testing
