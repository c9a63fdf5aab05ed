#include "gui/MaterialPanel.h"

#include "gui/PropertyEditors.h"
#include "gui/QtText.h"
#include "materials/KovMaterialX.h"
#include "materials/TestMaterial.h"
#include "objects/IntrinsicPropertyValueKinds.h"
#include "services/UserMessages.h"

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QTreeView>
#include <QVBoxLayout>

namespace tw {

namespace {

// Captions are drawn as rich text; enumerations are chosen from their valid values, everything
// else edits as text.
class TChoiceDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const QVariant html = index.data(TMaterialTreeModel::CaptionHtmlRole);
        if (!html.isValid()) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem item = option;
        initStyleOption(&item, index);
        item.text.clear();
        QStyle* style = item.widget ? item.widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);
        QTextDocument text;
        text.setDocumentMargin(0);
        text.setDefaultFont(item.font);
        text.setHtml(html.toString());
        const QRect area = style->subElementRect(QStyle::SE_ItemViewItemText, &item, item.widget);
        painter->save();
        painter->setClipRect(area);
        painter->translate(area.left() + 2,
                           area.top() + (area.height() - text.size().height()) / 2);
        text.drawContents(painter);
        painter->restore();
    }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override {
        const QVariant choices = index.data(TMaterialTreeModel::ChoicesRole);
        if (!choices.isValid())
            return QStyledItemDelegate::createEditor(parent, option, index);
        auto* box = new QComboBox(parent);
        const QStringList captions =
            index.data(TMaterialTreeModel::ChoiceCaptionsRole).toStringList();
        const QVariantList values = choices.toList();
        for (int i = 0; i < values.size(); ++i)
            box->addItem(captions.value(i), values[i]);
        return box;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        if (auto* box = qobject_cast<QComboBox*>(editor)) {
            box->setCurrentIndex(box->findText(index.data(Qt::DisplayRole).toString()));
            return;
        }
        QStyledItemDelegate::setEditorData(editor, index);
    }
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override {
        if (auto* box = qobject_cast<QComboBox*>(editor)) {
            model->setData(index, box->currentData(), Qt::EditRole);
            return;
        }
        QStyledItemDelegate::setModelData(editor, model, index);
    }
};

} // namespace

TMaterialTreeModel::TMaterialTreeModel(TGuiCommands& commands, QObject* parent)
    : QAbstractItemModel(parent), FCommands(commands) {
    FObserver.SetOnNotify([this](TNotifySender) { Update(); });
}

TMaterialTreeModel::~TMaterialTreeModel() = default;

void TMaterialTreeModel::SetMaterial(TKovMaterialX* material) {
    FObserver.DetachFromAll();
    FMaterial = material;
    if (material)
        material->PropertyCollectionObservable().AttachObserver(&FObserver);
    Reset(BuildNodes());
}

void TMaterialTreeModel::Reset(std::vector<TNode> nodes) {
    beginResetModel();
    FNodes = std::move(nodes);
    FTop.clear();
    for (int i = 0; i < static_cast<int>(FNodes.size()); ++i)
        if (FNodes[i].Parent < 0)
            FTop.push_back(i);
    endResetModel();
    emit StructureChanged();
}

int TMaterialTreeModel::AddCollection(std::vector<TNode>& nodes, TMXPropertyCollection& collection,
                                      int parent) const {
    const int self = static_cast<int>(nodes.size());
    nodes.push_back({&collection, nullptr, parent, 0, {}});
    std::vector<int> children;
    for (TKovIntrinsicProperty* property : collection.GroupProperties())
        if (property->IsPublished()) {
            children.push_back(static_cast<int>(nodes.size()));
            nodes.push_back({nullptr, property, self, 0, {}});
        }
    for (TMXPropertyCollection* sub : collection.SubCollections()) {
        const int child = AddCollection(nodes, *sub, self);
        if (child >= 0)
            children.push_back(child);
    }
    if (children.empty()) {
        nodes.resize(self); // a group with nothing to show is left out
        return -1;
    }
    for (size_t i = 0; i < children.size(); ++i)
        nodes[children[i]].Row = static_cast<int>(i);
    nodes[self].Children = std::move(children);
    return self;
}

std::vector<TMaterialTreeModel::TNode> TMaterialTreeModel::BuildNodes() const {
    std::vector<TNode> nodes;
    TMXPropertyCollection* user = FMaterial ? FMaterial->UserMXPropertyCollection() : nullptr;
    if (!user)
        return nodes;
    int row = 0;
    for (TMXPropertyCollection* top : user->SubCollections()) {
        const int node = AddCollection(nodes, *top, -1);
        if (node >= 0)
            nodes[node].Row = row++;
    }
    return nodes;
}

void TMaterialTreeModel::Update() {
    std::vector<TNode> nodes = BuildNodes();
    if (nodes == FNodes) {
        // The same parameters: only values, states and choices may differ.
        if (!FTop.empty())
            emit dataChanged(index(0, 0), index(rowCount() - 1, mcColumnCount - 1));
        for (const TNode& node : FNodes)
            if (node.Collection && !node.Children.empty()) {
                const QModelIndex parent =
                    createIndex(node.Row, 0, static_cast<quintptr>(&node - FNodes.data()));
                emit dataChanged(
                    index(0, 0, parent),
                    index(static_cast<int>(node.Children.size()) - 1, mcColumnCount - 1, parent));
            }
        return;
    }
    Reset(std::move(nodes));
}

const TMaterialTreeModel::TNode* TMaterialTreeModel::NodeOf(const QModelIndex& index) const {
    if (!index.isValid() || index.internalId() >= FNodes.size())
        return nullptr;
    return &FNodes[index.internalId()];
}

TKovIntrinsicProperty* TMaterialTreeModel::PropertyAt(const QModelIndex& index) const {
    const TNode* node = NodeOf(index);
    return node ? node->Property : nullptr;
}

QModelIndex TMaterialTreeModel::ValueIndexOf(const std::string& name) const {
    for (size_t i = 0; i < FNodes.size(); ++i)
        if (FNodes[i].Property && FNodes[i].Property->Name() == name)
            return createIndex(FNodes[i].Row, mcValue, static_cast<quintptr>(i));
    return {};
}

QModelIndex TMaterialTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column < 0 || column >= mcColumnCount || row < 0)
        return {};
    const std::vector<int>* children = &FTop;
    if (parent.isValid()) {
        const TNode* node = NodeOf(parent);
        if (!node)
            return {};
        children = &node->Children;
    }
    if (row >= static_cast<int>(children->size()))
        return {};
    return createIndex(row, column, static_cast<quintptr>((*children)[row]));
}

QModelIndex TMaterialTreeModel::parent(const QModelIndex& child) const {
    const TNode* node = NodeOf(child);
    if (!node || node->Parent < 0)
        return {};
    return createIndex(FNodes[node->Parent].Row, 0, static_cast<quintptr>(node->Parent));
}

int TMaterialTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid())
        return static_cast<int>(FTop.size());
    if (parent.column() != 0)
        return 0;
    const TNode* node = NodeOf(parent);
    return node ? static_cast<int>(node->Children.size()) : 0;
}

int TMaterialTreeModel::columnCount(const QModelIndex&) const {
    return mcColumnCount;
}

QVariant TMaterialTreeModel::data(const QModelIndex& index, int role) const {
    const TNode* node = NodeOf(index);
    if (!node)
        return {};
    const IQuantityPresenter* units = &FCommands.Project().SystemOfUnits();
    if (node->Collection) {
        if (index.column() == mcCaption && role == Qt::DisplayRole)
            return ToQ(node->Collection->Caption());
        if (role == Qt::FontRole && index.column() == mcCaption) {
            QFont font;
            font.setBold(true);
            return font;
        }
        return {};
    }
    const TKovIntrinsicProperty& property = *node->Property;
    const bool isBoolean = dynamic_cast<const TIPBoolean*>(&property) != nullptr;
    switch (index.column()) {
    case mcCaption:
        if (role == Qt::DisplayRole)
            return CaptionPlain(property.Caption());
        if (role == CaptionHtmlRole)
            return CaptionHtml(property.Caption());
        if (role == Qt::ToolTipRole) // the whole caption where the column cuts it
            return CaptionHtml(property.Caption()) + QStringLiteral(" (") + ToQ(property.Name()) +
                   QStringLiteral(")");
        return {};
    case mcValue:
        if (role == Qt::CheckStateRole && isBoolean)
            return static_cast<const TIPBoolean&>(property).Value() ? Qt::Checked : Qt::Unchecked;
        if ((role == Qt::DisplayRole || role == Qt::EditRole) && !isBoolean) {
            if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property))
                return CaptionPlain(enumeration->ValueCaption());
            return ToQ(PropertyEditText(property, units));
        }
        if (role == Qt::ForegroundRole && !IsPropertyEditable(property))
            return QPalette().color(QPalette::Disabled, QPalette::Text);
        if (role == ChoicesRole || role == ChoiceCaptionsRole) {
            const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property);
            if (!enumeration)
                return {};
            QVariantList values;
            QStringList captions;
            for (int value : ChoosableValues(property)) {
                values.push_back(value);
                captions.push_back(
                    CaptionPlain(enumeration->EnumerationDeclaration().CaptionOf(value)));
            }
            return role == ChoicesRole ? QVariant(values) : QVariant(captions);
        }
        return {};
    case mcUnit:
        if (role == Qt::DisplayRole)
            return ToQ(PropertyUnitText(property, units));
        return {};
    default:
        return {};
    }
}

QVariant TMaterialTreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case mcCaption:
        return Tr("Parameter");
    case mcValue:
        return Tr("Value");
    case mcUnit:
        return Tr("Unit");
    default:
        return {};
    }
}

Qt::ItemFlags TMaterialTreeModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    const TNode* node = NodeOf(index);
    if (!node || !node->Property || index.column() != mcValue)
        return flags;
    if (!IsPropertyEditable(*node->Property))
        return flags;
    if (dynamic_cast<const TIPBoolean*>(node->Property))
        return flags | Qt::ItemIsUserCheckable;
    return flags | Qt::ItemIsEditable;
}

bool TMaterialTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    TKovIntrinsicProperty* property = PropertyAt(index);
    if (!property || index.column() != mcValue)
        return false;
    if (role == Qt::CheckStateRole && dynamic_cast<TIPBoolean*>(property))
        return FCommands.Set(*property, value.toInt() == Qt::Checked);
    if (role != Qt::EditRole)
        return false;
    if (auto* enumeration = dynamic_cast<TIPEnumeration*>(property)) {
        bool ok = false;
        const int ordinal = value.toInt(&ok);
        if (!ok || ordinal == enumeration->IntValue())
            return false;
        return FCommands.Set(*property, static_cast<int32_t>(ordinal));
    }
    const std::string text = FromQ(value.toString());
    if (text == PropertyEditText(*property, &FCommands.Project().SystemOfUnits()))
        return false;
    std::string error;
    const std::optional<TVarRec> parsed = ParsePropertyText(*property, text, error);
    if (!parsed) {
        UserMessages().ShowMessage(error, MessageTitle);
        return false;
    }
    return FCommands.Set(*property, *parsed);
}

// ---------------------------------------------------------------------------------------------

TMaterialPanel::TMaterialPanel(TGuiCommands& commands, QWidget* parent)
    : QWidget(parent), FModel(new TMaterialTreeModel(commands, this)), FTree(new QTreeView(this)),
      FHeading(new QLabel(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    FHeading->setWordWrap(true);
    layout->addWidget(FHeading);
    FTree->setModel(FModel);
    FTree->setItemDelegate(new TChoiceDelegate(FTree));
    FTree->setAlternatingRowColors(true);
    FTree->setEditTriggers(QAbstractItemView::AllEditTriggers);
    QHeaderView* header = FTree->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(TMaterialTreeModel::mcCaption, QHeaderView::Interactive);
    header->resizeSection(TMaterialTreeModel::mcCaption, 200);
    header->setSectionResizeMode(TMaterialTreeModel::mcValue, QHeaderView::Stretch);
    header->setSectionResizeMode(TMaterialTreeModel::mcUnit, QHeaderView::ResizeToContents);
    FTree->setIndentation(12);
    setMinimumWidth(390);
    layout->addWidget(FTree, 1);
    connect(FModel, &TMaterialTreeModel::StructureChanged, FTree, &QTreeView::expandAll);
    FHeadingObserver.SetOnNotify([this](TNotifySender) { UpdateHeading(); });
}

TMaterialPanel::~TMaterialPanel() = default;

void TMaterialPanel::SetMaterial(TKovMaterialX* material) {
    FHeadingObserver.DetachFromAll();
    FModel->SetMaterial(material);
    if (material)
        material->PropertyCollectionObservable().AttachObserver(&FHeadingObserver);
    FTree->expandAll();
    UpdateHeading();
}

void TMaterialPanel::UpdateHeading() {
    const TKovMaterialX* material = FModel->Material();
    const auto* soil = dynamic_cast<const TKovSoilMaterialX*>(material);
    if (!soil) {
        FHeading->setText(Tr("No material"));
        return;
    }
    FHeading->setText(QStringLiteral("<b>%1</b><br>%2")
                          .arg(ToQ(soil->Identification()).toHtmlEscaped(),
                               ToQ(soil->GetSoilModelName()).toHtmlEscaped()));
}

} // namespace tw
