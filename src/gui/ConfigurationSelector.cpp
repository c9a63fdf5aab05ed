#include "gui/ConfigurationSelector.h"

#include "gui/QtText.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/UserMessages.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace tw {

TConfigurationButton::TConfigurationButton(TConfigurationStore& store, TQBTestBase& test,
                                           const TSystemOfUnits& units, QWidget* parent)
    : QToolButton(parent),
      FSelector(std::make_unique<TdmTestConfigurationSelector>(store, &test, units)) {
    setText(Tr("Test configurations"));
    setToolTip(Tr("Change and save configuration for this test type."));
    setPopupMode(QToolButton::InstantPopup);
    setMenu(new QMenu(this));
    connect(menu(), &QMenu::aboutToShow, this, &TConfigurationButton::FillMenu);
    FSelector->AskConfigurationName = [this](TSaveConfigurationDialog& dialog) {
        return ExecSaveConfigurationDialog(this, dialog);
    };
    FSelector->ShowManageDialog = [this](TManageConfigurationsDialog& dialog) {
        return ExecManageConfigurationsDialog(this, dialog);
    };
}

TConfigurationButton::~TConfigurationButton() = default;

void TConfigurationButton::FillMenu() {
    QMenu& entries = *menu();
    entries.clear();
    connect(entries.addAction(Tr(TdmTestConfigurationSelector::SaveCaption())), &QAction::triggered,
            this, [this] { FSelector->actSaveExecute(); });
    connect(entries.addAction(Tr("Manage...")), &QAction::triggered, this,
            [this] { FSelector->actManageExecute(); });
    const std::vector<TConfigurationMenuItem> items = FSelector->PopUp();
    if (!items.empty())
        entries.addSeparator();
    for (const TConfigurationMenuItem& item : items) {
        QAction* action = entries.addAction(ToQ(item.Caption));
        action->setCheckable(true);
        action->setChecked(item.FileName == FSelector->ActiveConfigurationFileName());
        connect(action, &QAction::triggered, this, [this, item] { Load(item); });
    }
}

void TConfigurationButton::Load(const TConfigurationMenuItem& item) {
    const TConfigurationStore::TLoadReport report = FSelector->SelectConfiguration(item);
    if (!report.Loaded() && !report.FailedAndTold)
        UserMessages().ShowMessage(report.Message, report.Title);
    else if (!report.Warning.empty())
        UserMessages().ShowMessage(report.Warning, MessageTitle);
}

bool ExecSaveConfigurationDialog(QWidget* parent, TSaveConfigurationDialog& model) {
    QDialog dialog(parent);
    dialog.setWindowTitle(Tr(TSaveConfigurationDialog::Title()));
    auto* form = new QFormLayout(&dialog);
    auto* name = new QLineEdit(ToQ(model.Name), &dialog);
    auto* asDefault = new QCheckBox(Tr(TSaveConfigurationDialog::DefaultLabel()), &dialog);
    asDefault->setChecked(model.SaveAsDefault);
    form->addRow(Tr(TSaveConfigurationDialog::NameLabel()), name);
    form->addRow(QString(), asDefault);
    auto* buttons = new QDialogButtonBox(&dialog);
    QPushButton* ok =
        buttons->addButton(Tr(TSaveConfigurationDialog::OkCaption()), QDialogButtonBox::AcceptRole);
    buttons->addButton(Tr(TSaveConfigurationDialog::CancelCaption()), QDialogButtonBox::RejectRole);
    form->addRow(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto update = [&] {
        model.Name = FromQ(name->text());
        model.SaveAsDefault = asDefault->isChecked();
        ok->setEnabled(model.CanAccept());
    };
    QObject::connect(name, &QLineEdit::textChanged, &dialog, update);
    QObject::connect(asDefault, &QCheckBox::toggled, &dialog, update);
    update();
    dialog.resize(380, dialog.sizeHint().height());
    return dialog.exec() == QDialog::Accepted;
}

bool ExecManageConfigurationsDialog(QWidget* parent, TManageConfigurationsDialog& model) {
    QDialog dialog(parent);
    dialog.setWindowTitle(ToQ(model.Title()));
    auto* layout = new QVBoxLayout(&dialog);
    auto* table = new QTableWidget(&dialog);
    table->setColumnCount(2);
    table->setHorizontalHeaderLabels({Tr(TManageConfigurationsDialog::FileNameLabel()),
                                      Tr(TManageConfigurationsDialog::PathLabel())});
    table->horizontalHeader()->setStretchLastSection(true);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    auto fill = [&] {
        table->setRowCount(static_cast<int>(model.Entries().size()));
        for (int row = 0; row < table->rowCount(); ++row) {
            const TManageConfigurationsDialog::TEntry& entry = model.Entries()[row];
            QString name = ToQ(entry.FileName);
            if (entry.IsDefault)
                name += QStringLiteral(" [") + Tr("Default") + QStringLiteral("]");
            table->setItem(row, 0, new QTableWidgetItem(name));
            table->setItem(row, 1, new QTableWidgetItem(ToQ(entry.Path)));
        }
        table->resizeColumnToContents(0);
    };
    fill();
    layout->addWidget(table, 1);
    auto* actions = new QHBoxLayout();
    auto* remove = new QPushButton(Tr(TManageConfigurationsDialog::DeleteCaption()), &dialog);
    auto* makeDefault =
        new QPushButton(Tr(TManageConfigurationsDialog::SetAsDefaultCaption()), &dialog);
    actions->addWidget(remove);
    actions->addWidget(makeDefault);
    actions->addStretch(1);
    layout->addLayout(actions);
    QObject::connect(remove, &QPushButton::clicked, &dialog, [&] {
        if (table->currentRow() >= 0) {
            model.Delete(table->currentRow());
            fill();
        }
    });
    QObject::connect(makeDefault, &QPushButton::clicked, &dialog, [&] {
        if (table->currentRow() >= 0) {
            model.SetAsDefault(table->currentRow());
            fill();
        }
    });
    auto* buttons = new QDialogButtonBox(&dialog);
    buttons->addButton(Tr("&OK"), QDialogButtonBox::AcceptRole);
    buttons->addButton(Tr("&Cancel"), QDialogButtonBox::RejectRole);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog.resize(560, 320);
    return dialog.exec() == QDialog::Accepted;
}

} // namespace tw
