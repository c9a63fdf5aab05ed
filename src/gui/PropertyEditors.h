#pragma once
// Editors of intrinsic properties, built from what an object publishes: a row per property with
// its caption, an editor by the property's kind (a box for a boolean, a choice of the valid
// values for an enumeration, a line for numbers and texts) and its unit in the project's
// presentation units. The rows follow the object live: values, hidden and read-only states. An
// edit goes as a `set` command; a value the command refuses leaves the old value in the editor.

#include "gui/GuiCommands.h"
#include "objects/Observer.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class QFormLayout;
class QLabel;
class QLineEdit;

namespace tw {

class TKovIntrinsicProperty;
class TKovObservableObject;
class IQuantityPresenter;

// The value of a property as an editor shows it: numbers with a unit in the presentation unit,
// ten significant digits, "." as decimal separator; an enumeration by its caption.
std::string PropertyEditText(const TKovIntrinsicProperty& property,
                             const IQuantityPresenter* units);
// The unit text of a property ("" for none).
std::string PropertyUnitText(const TKovIntrinsicProperty& property,
                             const IQuantityPresenter* units);
// Whether a user may write the property (through a command).
bool IsPropertyEditable(const TKovIntrinsicProperty& property);
// A typed text as the value of a `set` on the property: a number for the numeric kinds, a text
// for the text kinds. Nothing, and a reason in `error`, for a text that is no number.
std::optional<TVarRec> ParsePropertyText(const TKovIntrinsicProperty& property,
                                         const std::string& text, std::string& error);
// The values a user may choose for an enumeration: enabled and not hidden.
std::vector<int> ChoosableValues(const TKovIntrinsicProperty& property);

class TPropertyForm : public QWidget {
    Q_OBJECT
public:
    TPropertyForm(TGuiCommands& commands, QWidget* parent = nullptr);
    ~TPropertyForm() override;

    // Which properties a form has; object references never.
    using TShows = std::function<bool(const TKovIntrinsicProperty& property)>;
    // Shows the properties of `object` (nullptr for none) in declaration order, those `shows`
    // takes (all without it). The object must outlive the form or be replaced.
    void SetObject(TKovObservableObject* object, const TShows& shows = nullptr);
    TKovObservableObject* Object() const { return FObject; }

    // Values, visibility and read-only states from the object.
    void Refresh();

    // The editor of a property by name, or nullptr (tests, and focus).
    QWidget* EditorOf(const std::string& name) const;
    // Whether the row of a property is shown.
    bool IsRowShown(const std::string& name) const;

private:
    struct TRow {
        TKovIntrinsicProperty* Property = nullptr;
        QLabel* Label = nullptr;
        QWidget* Editor = nullptr;
        QLabel* Unit = nullptr;
        QWidget* Field = nullptr;
        std::vector<int> Choices; // enumerations: the values in the choice box
    };
    void AddRow(TKovIntrinsicProperty& property);
    void RefreshRow(TRow& row);
    void CommitText(TRow& row, QLineEdit& edit);
    const TRow* FindRow(const std::string& name) const;

    TGuiCommands& FCommands;
    TKovObservableObject* FObject = nullptr;
    QFormLayout* FLayout;
    std::vector<TRow> FRows;
    bool FRefreshing = false;
    TObserver FObserver;
};

} // namespace tw
