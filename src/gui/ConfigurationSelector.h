#pragma once
// The "Test configurations" button of a test's input frame: its menu offers Save, Manage and
// the saved configurations of the test's type (the default and the templates marked), a click
// loads one into the test as one undo step. The logic is the lab's selector; this draws its
// menu and its two dialogs ("Saving test configuration", "Manage %s configurations").

#include "labtest/TestConfigurationSelector.h"

#include <QToolButton>

#include <memory>

namespace tw {

class TConfigurationButton : public QToolButton {
    Q_OBJECT
public:
    // `store` and `test` must outlive the button.
    TConfigurationButton(TConfigurationStore& store, TQBTestBase& test, const TSystemOfUnits& units,
                         QWidget* parent = nullptr);
    ~TConfigurationButton() override;

    // The selector, whose dialog functions tests may replace.
    TdmTestConfigurationSelector& Selector() const { return *FSelector; }
    // Fills the menu as it shows: Save, Manage, then the configurations.
    void FillMenu();
    // A click on the menu's entry of a configuration; a failure or a warning is shown.
    void Load(const TConfigurationMenuItem& item);

private:
    std::unique_ptr<TdmTestConfigurationSelector> FSelector;
};

// The dialogs on the lab's models; OK answers true and leaves the choices in the model.
bool ExecSaveConfigurationDialog(QWidget* parent, TSaveConfigurationDialog& model);
bool ExecManageConfigurationsDialog(QWidget* parent, TManageConfigurationsDialog& model);

} // namespace tw
