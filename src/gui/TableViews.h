#pragma once
// Qt item models over the window's tables: the presentation library's tables (results beside a
// chart, derived values, phase views) and a grid of the properties of a list of objects (the
// phases of the general test). They wrap and follow; what a table holds is decided elsewhere.

#include "gui/GuiCommands.h"
#include "objects/Observer.h"
#include "presentation/TableModels.h"

#include <QAbstractTableModel>
#include <QHeaderView>

#include <functional>
#include <string>
#include <vector>

class QTableView;

namespace tw {

class TKovObservableObjectList;

// The role in which the window's table models answer a column's caption as rich text (subscripts,
// superscripts); DisplayRole keeps the plain text.
constexpr int HeaderHtmlRole = Qt::UserRole + 20;

// A horizontal header that draws its captions as rich text where the model gives them in
// HeaderHtmlRole, and sizes its sections to them.
class TRichHeaderView : public QHeaderView {
    Q_OBJECT
public:
    explicit TRichHeaderView(QWidget* parent = nullptr);

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    QSize sectionSizeFromContents(int logicalIndex) const override;
};

// A table of the window: rich-text captions, rows of a fixed height.
QTableView* MakeTableView(QWidget* parent);

class TPresentationTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    // `table` may be nullptr and must outlive the model or be replaced first.
    explicit TPresentationTableModel(TPresentationTable* table, QObject* parent = nullptr);
    ~TPresentationTableModel() override;

    TPresentationTable* Table() const { return FTable; }
    void SetTable(TPresentationTable* table);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // A refused value shows the table's reason in a message box and changes nothing.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    TPresentationTable* FTable = nullptr;
    TObserver FObserver;
};

// Rows are the objects of a list, columns named properties of each. Cells show values as the
// property editors do, and an edit goes as a `set` command. A column whose property no row
// publishes is reported hidden.
class TPropertyGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    TPropertyGridModel(TGuiCommands& commands, std::vector<std::string> columns,
                       QObject* parent = nullptr);
    ~TPropertyGridModel() override;

    // The list (nullptr for none) must outlive the model or be replaced first.
    void SetList(TKovObservableObjectList* list);
    // A check of a typed value before it goes as a command, beyond the property's own limits:
    // the reason it is refused, or "".
    using TCheck =
        std::function<std::string(const TKovIntrinsicProperty& property, const TVarRec& value)>;
    void SetCheck(TCheck check) { FCheck = std::move(check); }
    bool IsColumnShown(int column) const;
    // Hides the columns no row publishes in a view of this model.
    void ApplyColumnVisibility(QTableView& view) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

signals:
    void ColumnsChanged();

private:
    TKovIntrinsicProperty* Cell(int row, int column) const;

    TGuiCommands& FCommands;
    std::vector<std::string> FColumns;
    TKovObservableObjectList* FList = nullptr;
    TCheck FCheck;
    std::vector<bool> FShown;
    TObserver FListObserver;
    TObserver FItemObserver;
};

} // namespace tw
