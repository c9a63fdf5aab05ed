#pragma once
// The material under test as a tree: the groups of its user collections with their captions, and
// in each the parameters the material's configuration shows, with their values and units. A
// value is edited where the configuration allows, the soil model and the drainage type offer only
// their valid values, and an edit goes as a `set` command. The tree follows the material live: a
// value that changes others, a switch of model that brings other groups.

#include "gui/GuiCommands.h"
#include "objects/Observer.h"

#include <QAbstractItemModel>
#include <QWidget>

#include <vector>

class QLabel;
class QTreeView;

namespace tw {

class TKovMaterialX;
class TMXPropertyCollection;

class TMaterialTreeModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum TColumn { mcCaption, mcValue, mcUnit, mcColumnCount };
    // The role that answers an enumeration's choosable values (a list of ordinals) and its
    // captions (ChoiceCaptionsRole).
    static constexpr int ChoicesRole = Qt::UserRole + 1;
    static constexpr int ChoiceCaptionsRole = Qt::UserRole + 2;
    // A parameter's caption as rich text (subscripts, Greek letters).
    static constexpr int CaptionHtmlRole = Qt::UserRole + 3;

    TMaterialTreeModel(TGuiCommands& commands, QObject* parent = nullptr);
    ~TMaterialTreeModel() override;

    // The material (nullptr for none) must outlive the model or be replaced first.
    void SetMaterial(TKovMaterialX* material);
    TKovMaterialX* Material() const { return FMaterial; }
    // The index of the value cell of a parameter by name; invalid when it isn't shown.
    QModelIndex ValueIndexOf(const std::string& name) const;
    TKovIntrinsicProperty* PropertyAt(const QModelIndex& index) const;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // EditRole takes text for numbers and texts and an ordinal for enumerations; CheckStateRole
    // sets a boolean.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

signals:
    // The groups or parameters shown changed (the tree was made anew).
    void StructureChanged();

private:
    struct TNode {
        TMXPropertyCollection* Collection = nullptr; // a group, or
        TKovIntrinsicProperty* Property = nullptr;   // a parameter
        int Parent = -1;
        int Row = 0;
        std::vector<int> Children;
        bool operator==(const TNode&) const = default;
    };
    void Update();
    // The tree anew from `nodes`.
    void Reset(std::vector<TNode> nodes);
    std::vector<TNode> BuildNodes() const;
    int AddCollection(std::vector<TNode>& nodes, TMXPropertyCollection& collection,
                      int parent) const;
    const TNode* NodeOf(const QModelIndex& index) const;

    TGuiCommands& FCommands;
    TKovMaterialX* FMaterial = nullptr;
    std::vector<TNode> FNodes;
    std::vector<int> FTop;
    TObserver FObserver;
};

class TMaterialPanel : public QWidget {
    Q_OBJECT
public:
    TMaterialPanel(TGuiCommands& commands, QWidget* parent = nullptr);
    ~TMaterialPanel() override;

    void SetMaterial(TKovMaterialX* material);
    TMaterialTreeModel& Model() const { return *FModel; }
    QTreeView& Tree() const { return *FTree; }

private:
    void UpdateHeading();

    TMaterialTreeModel* FModel;
    QTreeView* FTree;
    QLabel* FHeading;
    TObserver FHeadingObserver;
};

} // namespace tw
