#include "gui/TableViews.h"

#include "gui/PropertyEditors.h"
#include "gui/QtText.h"
#include "objects/KovObjectLists.h"
#include "services/UserMessages.h"

#include <QBrush>
#include <QPainter>
#include <QPalette>
#include <QTableView>
#include <QTextDocument>

namespace tw {

namespace {

void SetUpCaption(QTextDocument& text, const QFont& font, const QString& html) {
    text.setDocumentMargin(0);
    text.setDefaultFont(font);
    text.setHtml(html);
}

} // namespace

TRichHeaderView::TRichHeaderView(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
    setSectionsClickable(false);
    setDefaultAlignment(Qt::AlignCenter);
}

void TRichHeaderView::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const {
    const QVariant html =
        model() ? model()->headerData(logicalIndex, orientation(), HeaderHtmlRole) : QVariant();
    if (!html.isValid()) {
        QHeaderView::paintSection(painter, rect, logicalIndex);
        return;
    }
    QStyleOptionHeader option;
    initStyleOption(&option);
    initStyleOptionForIndex(&option, logicalIndex);
    option.rect = rect;
    option.text.clear();
    painter->save();
    style()->drawControl(QStyle::CE_Header, &option, painter, this);
    QTextDocument text;
    SetUpCaption(text, font(), html.toString());
    const QSizeF size = text.size();
    const double left = rect.left() + std::max(2.0, (rect.width() - size.width()) / 2);
    painter->setClipRect(rect.adjusted(1, 0, -1, 0));
    painter->translate(left, rect.top() + (rect.height() - size.height()) / 2);
    text.drawContents(painter);
    painter->restore();
}

QSize TRichHeaderView::sectionSizeFromContents(int logicalIndex) const {
    const QVariant html =
        model() ? model()->headerData(logicalIndex, orientation(), HeaderHtmlRole) : QVariant();
    if (!html.isValid())
        return QHeaderView::sectionSizeFromContents(logicalIndex);
    QTextDocument text;
    SetUpCaption(text, font(), html.toString());
    const QSize plain = QHeaderView::sectionSizeFromContents(logicalIndex);
    return QSize(static_cast<int>(text.idealWidth()) + 12,
                 std::max(plain.height(), static_cast<int>(text.size().height()) + 6));
}

QTableView* MakeTableView(QWidget* parent) {
    auto* table = new QTableView(parent);
    table->setHorizontalHeader(new TRichHeaderView(table));
    table->verticalHeader()->setDefaultSectionSize(20);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    return table;
}

TPresentationTableModel::TPresentationTableModel(TPresentationTable* table, QObject* parent)
    : QAbstractTableModel(parent) {
    FObserver.SetOnNotify([this](TNotifySender) {
        beginResetModel();
        endResetModel();
    });
    SetTable(table);
}

TPresentationTableModel::~TPresentationTableModel() = default;

void TPresentationTableModel::SetTable(TPresentationTable* table) {
    beginResetModel();
    FObserver.DetachFromAll();
    FTable = table;
    if (table)
        table->Observable().AttachObserver(&FObserver);
    endResetModel();
}

int TPresentationTableModel::rowCount(const QModelIndex& parent) const {
    return FTable && !parent.isValid() ? FTable->RowCount() : 0;
}

int TPresentationTableModel::columnCount(const QModelIndex& parent) const {
    return FTable && !parent.isValid() ? FTable->ColumnCount() : 0;
}

QVariant TPresentationTableModel::data(const QModelIndex& index, int role) const {
    if (!FTable || !index.isValid())
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return ToQ(FTable->CellText(index.row(), index.column()));
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    case Qt::BackgroundRole:
        if (FTable->IsRowSelected(index.row()))
            return QBrush(QPalette().color(QPalette::Highlight).lighter(160));
        return {};
    default:
        return {};
    }
}

QVariant TPresentationTableModel::headerData(int section, Qt::Orientation orientation,
                                             int role) const {
    if (!FTable || (role != Qt::DisplayRole && role != HeaderHtmlRole))
        return {};
    if (orientation == Qt::Vertical)
        return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
    if (role == HeaderHtmlRole)
        return CaptionWithUnitHtml(FTable->HeaderCaption(section), FTable->HeaderUnit(section));
    std::string text = FromQ(CaptionPlain(FTable->HeaderCaption(section)));
    const std::string unit = FTable->HeaderUnit(section);
    if (!unit.empty())
        text += " [" + unit + "]";
    return ToQ(text);
}

Qt::ItemFlags TPresentationTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (FTable && index.isValid() && FTable->IsCellEditable(index.row(), index.column()))
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool TPresentationTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!FTable || !index.isValid() || role != Qt::EditRole)
        return false;
    const std::string reason =
        FTable->SetCellText(index.row(), index.column(), FromQ(value.toString()));
    if (!reason.empty()) {
        UserMessages().ShowMessage(reason, MessageTitle);
        return false;
    }
    emit dataChanged(index, index);
    return true;
}

// ---------------------------------------------------------------------------------------------

TPropertyGridModel::TPropertyGridModel(TGuiCommands& commands, std::vector<std::string> columns,
                                       QObject* parent)
    : QAbstractTableModel(parent), FCommands(commands), FColumns(std::move(columns)),
      FShown(FColumns.size(), false) {
    auto refresh = [this](TNotifySender) {
        beginResetModel();
        std::vector<bool> shown(FColumns.size(), false);
        for (int row = 0; row < rowCount(); ++row)
            for (size_t c = 0; c < FColumns.size(); ++c)
                if (const TKovIntrinsicProperty* p = Cell(row, static_cast<int>(c)))
                    shown[c] = shown[c] || p->IsPublished();
        const bool changed = shown != FShown;
        FShown = std::move(shown);
        endResetModel();
        if (changed)
            emit ColumnsChanged();
    };
    FListObserver.SetOnNotify(refresh);
    FItemObserver.SetOnNotify(refresh);
}

TPropertyGridModel::~TPropertyGridModel() {
    if (FList)
        FList->DetachObserverFromAllContents(&FItemObserver);
}

void TPropertyGridModel::SetList(TKovObservableObjectList* list) {
    if (FList) {
        FList->DetachObserverFromAllContents(&FItemObserver);
        FList->DetachObserver(&FListObserver);
    }
    FList = list;
    if (list) {
        list->AttachObserver(&FListObserver);
        list->AttachObserverToAllContents(&FItemObserver);
    }
    FListObserver.Notify(this);
}

bool TPropertyGridModel::IsColumnShown(int column) const {
    return column >= 0 && column < static_cast<int>(FShown.size()) && FShown[column];
}

void TPropertyGridModel::ApplyColumnVisibility(QTableView& view) const {
    for (int c = 0; c < columnCount(); ++c)
        view.setColumnHidden(c, !IsColumnShown(c));
}

TKovIntrinsicProperty* TPropertyGridModel::Cell(int row, int column) const {
    if (!FList || row < 0 || row >= FList->Count() || column < 0 ||
        column >= static_cast<int>(FColumns.size()))
        return nullptr;
    auto* object = dynamic_cast<TKovObservableObject*>(FList->GetItem(row));
    return object ? object->GetIntrinsicPropertyByName(FColumns[column]) : nullptr;
}

int TPropertyGridModel::rowCount(const QModelIndex& parent) const {
    return FList && !parent.isValid() ? FList->Count() : 0;
}

int TPropertyGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(FColumns.size());
}

QVariant TPropertyGridModel::data(const QModelIndex& index, int role) const {
    const TKovIntrinsicProperty* property = Cell(index.row(), index.column());
    if (!property)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return ToQ(PropertyEditText(*property, &FCommands.Project().SystemOfUnits()));
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    case Qt::ForegroundRole:
        if (!IsPropertyEditable(*property))
            return QBrush(QPalette().color(QPalette::Disabled, QPalette::Text));
        return {};
    default:
        return {};
    }
}

QVariant TPropertyGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole && role != HeaderHtmlRole)
        return {};
    if (orientation == Qt::Vertical)
        return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
    const TKovIntrinsicProperty* property = Cell(0, section);
    if (!property)
        return role == Qt::DisplayRole ? ToQ(FColumns.at(section)) : QVariant();
    const std::string unit = PropertyUnitText(*property, &FCommands.Project().SystemOfUnits());
    if (role == HeaderHtmlRole)
        return CaptionWithUnitHtml(property->Caption(), unit);
    std::string text = FromQ(CaptionPlain(property->Caption()));
    if (!unit.empty())
        text += " [" + unit + "]";
    return ToQ(text);
}

Qt::ItemFlags TPropertyGridModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (const TKovIntrinsicProperty* property = Cell(index.row(), index.column()))
        if (IsPropertyEditable(*property))
            flags |= Qt::ItemIsEditable;
    return flags;
}

bool TPropertyGridModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    TKovIntrinsicProperty* property = Cell(index.row(), index.column());
    if (!property || role != Qt::EditRole)
        return false;
    std::string error;
    const std::optional<TVarRec> parsed =
        ParsePropertyText(*property, FromQ(value.toString()), error);
    if (parsed && FCheck)
        error = FCheck(*property, *parsed);
    if (!parsed || !error.empty()) {
        UserMessages().ShowMessage(error, MessageTitle);
        return false;
    }
    return FCommands.Set(*property, *parsed);
}

} // namespace tw
