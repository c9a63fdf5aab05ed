#include "gui/ChartsArea.h"

#include "gui/QtText.h"
#include "gui/TableViews.h"
#include "services/Localisation.h"
#include "services/UserMessages.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>

namespace tw {

namespace {

QString CategoryCaption(TQBAxisCategory category) {
    switch (category) {
    case acStrain:
        return Tr("Strain");
    case acStress:
        return Tr("Stress");
    case acTime:
        return Tr("Time");
    case acTemperature:
        return Tr("Temperature");
    }
    return {};
}

QTableView* MakeTable(QWidget* parent) {
    QTableView* table = MakeTableView(parent);
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    table->setSelectionMode(QAbstractItemView::NoSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    return table;
}

} // namespace

// ---------------------------------------------------------------------------------------------

TChartDialog::TChartDialog(TChartDialogModel& model, QWidget* parent)
    : QDialog(parent), FModel(model), FTitle(new QLineEdit(ToQ(model.Title), this)),
      FOrthonormal(new QCheckBox(Tr("Equal scales on both axes"), this)) {
    setWindowTitle(Tr("Chart"));
    FAxes[0].Model = &model.XAxis();
    FAxes[1].Model = &model.YAxis();
    auto* layout = new QVBoxLayout(this);
    auto* top = new QFormLayout();
    top->addRow(Tr("Title"), FTitle);
    FOrthonormal->setChecked(model.Orthonormal);
    top->addRow(QString(), FOrthonormal);
    layout->addLayout(top);
    auto* axes = new QHBoxLayout();
    axes->addWidget(MakeAxis(FAxes[0], Tr("X axis")));
    axes->addWidget(MakeAxis(FAxes[1], Tr("Y axis")));
    layout->addLayout(axes);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

QWidget* TChartDialog::MakeAxis(TAxisWidgets& axis, const QString& caption) {
    auto* box = new QGroupBox(caption, this);
    auto* form = new QFormLayout(box);
    axis.Category = new QComboBox(box);
    for (TQBAxisCategory category : axis.Model->Categories())
        axis.Category->addItem(CategoryCaption(category), static_cast<int>(category));
    axis.Category->setCurrentIndex(
        axis.Category->findData(static_cast<int>(axis.Model->Category())));
    axis.Item = new QComboBox(box);
    axis.Title = new QLineEdit(ToQ(axis.Model->Title), box);
    axis.Invert = new QCheckBox(Tr("Inverse sign"), box);
    axis.Invert->setChecked(axis.Model->InvertSign);
    axis.Flip = new QCheckBox(Tr("Flip axis"), box);
    axis.Flip->setChecked(axis.Model->FlipAxis);
    axis.Logarithmic = new QCheckBox(Tr("Logarithmic"), box);
    axis.Logarithmic->setChecked(axis.Model->Logarithmic);
    form->addRow(Tr("Category"), axis.Category);
    form->addRow(Tr("Result"), axis.Item);
    form->addRow(Tr("Title"), axis.Title);
    form->addRow(QString(), axis.Invert);
    form->addRow(QString(), axis.Flip);
    form->addRow(QString(), axis.Logarithmic);
    FillItems(axis);
    axis.Item->setCurrentIndex(axis.Model->ItemIndex());
    connect(axis.Category, &QComboBox::activated, this, [this, &axis] {
        FillItems(axis);
        axis.Item->setCurrentIndex(0);
    });
    return box;
}

void TChartDialog::FillItems(TAxisWidgets& axis) {
    axis.Item->clear();
    const auto category = static_cast<TQBAxisCategory>(axis.Category->currentData().toInt());
    for (const std::string& caption : axis.Model->ItemCaptions(category))
        axis.Item->addItem(CaptionPlain(caption));
}

void TChartDialog::accept() {
    FModel.Title = FromQ(FTitle->text());
    FModel.Orthonormal = FOrthonormal->isChecked();
    for (TAxisWidgets& axis : FAxes) {
        if (axis.Item->currentIndex() >= 0)
            axis.Model->Select(static_cast<TQBAxisCategory>(axis.Category->currentData().toInt()),
                               axis.Item->currentIndex());
        axis.Model->Title = FromQ(axis.Title->text());
        axis.Model->InvertSign = axis.Invert->isChecked();
        axis.Model->FlipAxis = axis.Flip->isChecked();
        axis.Model->Logarithmic = axis.Logarithmic->isChecked();
    }
    QDialog::accept();
}

// ---------------------------------------------------------------------------------------------

TResultsPanel::TResultsPanel(QWidget* parent)
    : QWidget(parent), FCaption(new QLabel(this)), FPhase(new QComboBox(this)),
      FResults(MakeTable(this)), FDerived(MakeTable(this)),
      FResultsModel(new TPresentationTableModel(nullptr, this)),
      FDerivedModel(new TPresentationTableModel(nullptr, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    FCaption->setTextFormat(Qt::RichText);
    layout->addWidget(FCaption);
    auto* phase = new QHBoxLayout();
    phase->addWidget(new QLabel(ToQ(TPhaseSelector::Caption()), this));
    phase->addWidget(FPhase, 1);
    layout->addLayout(phase);
    FResults->setModel(FResultsModel);
    layout->addWidget(FResults, 1);
    FDerived->setModel(FDerivedModel);
    FDerived->verticalHeader()->hide();
    FDerived->setMaximumHeight(70);
    layout->addWidget(FDerived);
    connect(FPhase, &QComboBox::activated, this, &TResultsPanel::PhaseChosen);
}

TResultsPanel::~TResultsPanel() = default;

void TResultsPanel::SetView(TChartView* view) {
    FView = view;
    FResultsModel->SetTable(view ? &view->TablePanel().Table() : nullptr);
    FDerivedModel->SetTable(view ? &view->TablePanel().DerivedParams() : nullptr);
    FCaption->setText(view ? QStringLiteral("<b>%1</b>").arg(CaptionHtml(view->Chart().Title()))
                           : QString());
    FillPhases();
}

void TResultsPanel::FillPhases() {
    FPhase->clear();
    if (!FView)
        return;
    FPhase->addItem(Tr("All phases"));
    for (const std::string& entry : FView->TablePanel().PhaseSelector().Entries())
        FPhase->addItem(ToQ(entry));
    FPhase->setCurrentIndex(0);
}

void TResultsPanel::PhaseChosen(int item) {
    if (!FView)
        return;
    TQBChartTablePanelExt& panel = FView->TablePanel();
    TQBResultsTable& table = panel.Table();
    if (item <= 0) {
        table.ClearRowRange();
        return;
    }
    panel.PhaseSelector().SetPhaseIndex(item - 1);
    // The phase of the test whose results the table shows.
    for (const TChartSeries& series : FView->Chart().Series())
        if (series.Test && &series.Test->Results() == table.TableData()) {
            if (const std::optional<TRowRange> rows = PhaseRows(*series.Test, item - 1))
                table.SetRowRange(rows->First, rows->Count);
            return;
        }
}

void TResultsPanel::SelectionChanged() {
    if (!FView)
        return;
    FPhase->setCurrentIndex(0);
    TQBResultsTable& table = FView->TablePanel().Table();
    table.ClearRowRange();
    for (int row = 0; row < table.RowCount(); ++row)
        if (table.IsRowSelected(row)) {
            FResults->scrollTo(FResultsModel->index(row, 0), QAbstractItemView::PositionAtCenter);
            break;
        }
}

// ---------------------------------------------------------------------------------------------

TChartsArea::TChartsArea(TChartsFrame& frame, QWidget* parent)
    : QWidget(parent), FFrame(frame), FScroll(new QScrollArea(this)), FGrid(new QWidget()),
      FLayout(new QGridLayout(FGrid)), FChartsMenu(new QMenu(Tr("Charts"), this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    FScroll->setWidgetResizable(true);
    FScroll->setWidget(FGrid);
    FScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    layout->addWidget(FScroll);
    FLayout->setContentsMargins(2, 2, 2, 2);
    FLayout->setSpacing(4);
    connect(FChartsMenu, &QMenu::aboutToShow, this, &TChartsArea::FillChartsMenu);
    FObserver.SetOnNotifyExtended([this](TNotifySender, int code) {
        if (code == TChartsFrame::fcSeriesUpdated)
            RefillViews();
        else
            RecreateViews();
    });
    frame.Observable().AttachObserver(&FObserver);
    RecreateViews();
}

TChartsArea::~TChartsArea() = default;

void TChartsArea::RecreateViews() {
    const int current = FCurrent ? IndexOf(*FCurrent) : 0;
    for (TChartView* view : FViews)
        delete view;
    FViews.clear();
    FCurrent = nullptr;
    for (int i = 0; i < FFrame.ChartCount(); ++i) {
        auto* view = new TChartView(FFrame.Chart(i), &FFrame.PresentationUnits(), FGrid);
        connect(view, &TChartView::Activated, this, &TChartsArea::SetCurrentView);
        connect(view, &TChartView::SelectionChanged, this, &TChartsArea::SelectionChanged);
        connect(view, &TChartView::AddRequested, this, [this] { AddChart(); });
        connect(view, &TChartView::EditRequested, this, [this](TChartView* v) { EditChart(*v); });
        connect(view, &TChartView::DeleteRequested, this,
                [this](TChartView* v) { DeleteChart(*v); });
        connect(view, &TChartView::HideRequested, this, [this](TChartView* v) { HideChart(*v); });
        FViews.push_back(view);
    }
    FColumns = 0;
    Relayout();
    SetCurrentView(FViews.empty() ? nullptr : FViews[std::clamp(current, 0, ViewCount() - 1)]);
}

void TChartsArea::RefillViews() {
    for (TChartView* view : FViews)
        view->Refill();
    emit CurrentViewChanged(FCurrent);
}

void TChartsArea::Relayout() {
    const int width = FScroll->viewport()->width();
    const int columns = std::max(1, std::min(3, width / MinChartWidth));
    if (columns == FColumns && FLayout->count() == ViewCount())
        return;
    FColumns = columns;
    for (TChartView* view : FViews)
        FLayout->removeWidget(view);
    for (int i = 0; i < ViewCount(); ++i)
        FLayout->addWidget(FViews[i], i / columns, i % columns);
}

void TChartsArea::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Relayout();
}

void TChartsArea::SetCurrentView(TChartView* view) {
    if (view == FCurrent)
        return;
    FCurrent = view;
    emit CurrentViewChanged(view);
}

int TChartsArea::IndexOf(const TChartView& view) const {
    for (int i = 0; i < ViewCount(); ++i)
        if (FViews[i] == &view)
            return i;
    return -1;
}

bool TChartsArea::RunDialog(TChartDialogModel& model) {
    TChartDialog dialog(model, this);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    FFrame.ApplyChartDialog(model);
    return true;
}

void TChartsArea::AddChart() {
    if (!FFrame.MainTest())
        return;
    std::unique_ptr<TChartDialogModel> model = FFrame.NewChartDialog();
    RunDialog(*model);
}

void TChartsArea::EditChart(TChartView& view) {
    const int index = IndexOf(view);
    if (index < 0)
        return;
    std::unique_ptr<TChartDialogModel> model = FFrame.EditChartDialog(index);
    RunDialog(*model);
}

void TChartsArea::DeleteChart(TChartView& view) {
    const int index = IndexOf(view);
    if (index >= 0 && FFrame.CanDeleteChart(index))
        FFrame.DeleteChart(index);
}

void TChartsArea::HideChart(TChartView& view) {
    const int index = IndexOf(view);
    if (index >= 0)
        FFrame.HideChart(index);
}

void TChartsArea::FillChartsMenu() {
    FChartsMenu->clear();
    const TQBTestBase* test = FFrame.MainTest();
    if (!test)
        return;
    const TQBChartSettingsList& settings = test->ChartSettings();
    for (int i = 0; i < settings.Count(); ++i) {
        const TQBChartSettings& setting = *settings.GetItems(i);
        if (!TChartsFrame::DefaultChartTypeShown(*test, setting.ChartType()))
            continue;
        QAction* action = FChartsMenu->addAction(CaptionPlain(Translate(setting.Title())));
        action->setCheckable(true);
        action->setChecked(setting.Visible());
        connect(action, &QAction::triggered, this, [this, i] { FFrame.ToggleChartVisible(i); });
    }
    FChartsMenu->addSeparator();
    connect(FChartsMenu->addAction(Tr("Add chart...")), &QAction::triggered, this,
            &TChartsArea::AddChart);
}

} // namespace tw
