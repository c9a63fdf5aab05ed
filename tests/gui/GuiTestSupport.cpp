#include "GuiTestSupport.h"

#include "gui/OffscreenApplication.h"

#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <random>

namespace tw::testing {

QApplication& EnsureApplication() {
    return OffscreenApplication();
}

bool WaitFor(const std::function<bool()>& done, int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < milliseconds)
        QTest::qWait(10);
    return done();
}

std::unique_ptr<TKovSoilMaterialX> MediumDenseSand() {
    auto sand = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Medium dense sand",
                                                       mxsmmMohrCoulomb, nullptr);
    auto set = [&](const char* name, double value) {
        TMaterialXTools::SetUserPropertyValueFrom(*sand, name, value);
    };
    set("GammaInputMethod", mxsgimDirect);
    set("gammaUnsat", 17e3);
    set("gammaSat", 20e3);
    set("eInit", 0.6);
    set("nu", 0.3);
    set("ERef", 30000e3);
    set("cRef", 1e3);
    set("phi", 32.0);
    set("psi", 2.0);
    return sand;
}

TTempFolder::TTempFolder() {
    static std::atomic<int> counter{0};
    std::random_device random;
    FPath = std::filesystem::temp_directory_path() /
            ("tw_gui_" + std::to_string(random()) + "_" + std::to_string(counter++));
    std::filesystem::create_directories(FPath);
}

TTempFolder::~TTempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(FPath, ec);
}

void GuiFixture::SetUp() {
    EnsureApplication();
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString((UserFolders.Path() / "data").string()));
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((UserFolders.Path() / "config").string()));
    FPrevious = SetUserMessages(&Messages);
}

void GuiFixture::TearDown() {
    Window.reset();
    Project.reset();
    SetUserMessages(FPrevious);
}

void GuiFixture::MakeProject(TQBTestMethod method, const std::string& kernelFolder) {
    Manager.LockRevert();
    Project = Make<TQBProject>(&Manager, MediumDenseSand(), method);
    Project->SetName("Project");
    Manager.UnlockRevert();
    Manager.ClearRevertStacks();
    Project->SetApplicationDirectory(kernelFolder);
}

TMainWindow& GuiFixture::OpenWindow() {
    if (!Project)
        MakeProject();
    Window = std::make_unique<TMainWindow>(*Project);
    Window->show();
    return *Window;
}

} // namespace tw::testing
