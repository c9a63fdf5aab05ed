#include "gui/TestPage.h"

#include "gui/ConfigurationSelector.h"
#include "gui/ProgressWindow.h"
#include "gui/PropertyEditors.h"
#include "gui/QtText.h"
#include "gui/TableViews.h"
#include "labtest/QBPhase.h"
#include "labtest/QBTestWithPhaseView.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/UserMessages.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QSplitter>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include <set>

namespace tw {

namespace {

// The properties the frame leaves out: the caption stands in the page's tab.
bool IsFrameProperty(const TKovIntrinsicProperty& property) {
    static const std::set<std::string> names{"Caption",  "Name",     "TypeName", "Comments",
                                             "Metadata", "Selected", "Visible"};
    return names.count(property.Name()) == 0;
}

// The calculation control of the kernel: shown apart, below the test's own values.
bool IsCalculationControl(const TKovIntrinsicProperty& property) {
    static const std::set<std::string> names{"Error", "Relax", "Iteration", "ArcLength"};
    return names.count(property.Name()) != 0;
}

// The columns of the general test's phase grid. The boundary conditions are set for all phases
// at once by the test's own choices.
std::vector<std::string> GeneralPhaseColumns() {
    std::vector<std::string> columns{"Steps", "Duration"};
    for (TQBLoadDirection direction : AllLoadDirections) {
        columns.push_back(TQBPhase::StressIncrementName(direction));
        columns.push_back(TQBPhase::StrainIncrementName(direction));
    }
    columns.push_back("SuctionInc");
    columns.push_back("TempInc");
    return columns;
}

QIcon ColorIcon(TChartColor color) {
    QPixmap pixmap(14, 14);
    pixmap.fill(ToQColor(color));
    return QIcon(pixmap);
}

} // namespace

// ---------------------------------------------------------------------------------------------

const char* TTestConfigFrame::GroupCaption(TQBTestType type) {
    switch (type) {
    case ttOedometer:
    case ttCRS:
    case ttGeneral:
        return " Input (compression is negative) ";
    case ttPressuremeter:
        return " Input (drained) ";
    default:
        return " Input";
    }
}

TTestConfigFrame::TTestConfigFrame(TGuiCommands& commands, TQBTestBase& test,
                                   TConfigurationStore& configurations, QWidget* parent)
    : QWidget(parent), FCommands(commands), FTest(test), FForm(new TPropertyForm(commands, this)),
      FRun(new QPushButton(Tr("Run"), this)),
      FConfigurations(new TConfigurationButton(configurations, test,
                                               commands.Project().SystemOfUnits(), this)) {
    // Loading a saved configuration is a command, so that it stands in the history and a
    // script can repeat it.
    FConfigurations->Selector().LoadThroughCommand = [this](const std::string& fileName) {
        return FCommands.Run("loadconfiguration", {&FTest, fileName});
    };
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    auto* group = new QGroupBox(Tr(GroupCaption(test.TestType())), this);
    auto* groupLayout = new QVBoxLayout(group);
    FForm->SetObject(&test, [](const TKovIntrinsicProperty& property) {
        return IsFrameProperty(property) && !IsCalculationControl(property);
    });
    groupLayout->addWidget(FForm);
    if (QWidget* phases = MakePhaseTable())
        groupLayout->addWidget(phases, 1);
    else
        groupLayout->addStretch(1);
    if (test.TestType() == ttGeneral)
        groupLayout->addWidget(MakeCyclicPhases());
    layout->addWidget(group, 1);
    auto* control = new QGroupBox(Tr("Calculation control"), this);
    auto* controlLayout = new QVBoxLayout(control);
    auto* controlForm = new TPropertyForm(commands, control);
    controlForm->SetObject(&test, IsCalculationControl);
    controlLayout->addWidget(controlForm);
    layout->addWidget(control);
    FRun->setToolTip(Tr("Run test"));
    QFont font = FRun->font();
    font.setBold(true);
    FRun->setFont(font);
    connect(FRun, &QPushButton::clicked, this, &TTestConfigFrame::RunRequested);
    auto* buttons = new QHBoxLayout();
    buttons->addWidget(FConfigurations);
    buttons->addWidget(FRun, 1);
    layout->addLayout(buttons);
}

TTestConfigFrame::~TTestConfigFrame() = default;

QWidget* TTestConfigFrame::MakePhaseTable() {
    const bool phaseView = dynamic_cast<TQBTestWithPhaseView*>(&FTest) != nullptr;
    const bool general = FTest.TestType() == ttGeneral;
    if (!phaseView && !general)
        return nullptr;
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(Tr("Phases:"), box));
    FPhaseTable = MakeTableView(box);
    FPhaseTable->setObjectName("PhaseTable");
    FPhaseTable->verticalHeader()->setDefaultSectionSize(22);
    FPhaseTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    FPhaseTable->setSelectionMode(QAbstractItemView::SingleSelection);
    FPhaseTable->setMinimumHeight(140);
    if (phaseView) {
        FPhaseView = CreatePhaseViewTable(FTest, &FCommands.Project().SystemOfUnits());
        FPhaseView->SetCellWriter([this](TKovIntrinsicProperty& property, double value) {
            FCommands.Set(property, value);
        });
        FPhaseViewModel = new TPresentationTableModel(FPhaseView.get(), this);
        FPhaseTable->setModel(FPhaseViewModel);
        FPhaseTable->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    } else {
        FPhaseGrid = new TPropertyGridModel(FCommands, GeneralPhaseColumns(), this);
        FPhaseTable->setModel(FPhaseGrid);
        connect(FPhaseGrid, &TPropertyGridModel::ColumnsChanged, this,
                [this] { FPhaseGrid->ApplyColumnVisibility(*FPhaseTable); });
        FPhaseGrid->SetCheck([](const TKovIntrinsicProperty& property, const TVarRec& value) {
            // The kernel takes no negative step count; the property itself has no lower limit.
            const auto* steps = std::get_if<int32_t>(&value);
            return property.Name() == "Steps" && steps && *steps < 0
                       ? Translate("The number of steps can't be negative.")
                       : std::string();
        });
        FPhaseGrid->SetList(&FTest.Phases());
        FPhaseGrid->ApplyColumnVisibility(*FPhaseTable);
        FPhaseTable->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    }
    layout->addWidget(FPhaseTable, 1);
    auto* buttons = new QHBoxLayout();
    auto button = [&](const char* caption, void (TTestConfigFrame::*slot)()) {
        auto* b = new QPushButton(Tr(caption), box);
        connect(b, &QPushButton::clicked, this, slot);
        buttons->addWidget(b);
    };
    button("&Add", &TTestConfigFrame::AddPhase);
    button("&Insert", &TTestConfigFrame::InsertPhase);
    button("&Remove", &TTestConfigFrame::RemovePhase);
    layout->addLayout(buttons);
    return box;
}

int TTestConfigFrame::CurrentPhaseRow() const {
    const QModelIndex current = FPhaseTable ? FPhaseTable->currentIndex() : QModelIndex();
    return current.isValid() ? current.row() : -1;
}

// The phase buttons are the phase commands; the phase table follows the test's phases.
void TTestConfigFrame::AddPhase() {
    FCommands.Run("addphase", {&FTest});
}

void TTestConfigFrame::InsertPhase() {
    FCommands.Run("insertphase", {&FTest, static_cast<int32_t>(std::max(CurrentPhaseRow(), 0))});
}

void TTestConfigFrame::RemovePhase() {
    const int phases = FTest.Phases().Count();
    int row = CurrentPhaseRow();
    if (row < 0)
        row = phases - 1;
    if (row < 0 || phases <= 1)
        return; // a test keeps at least its first phase
    FCommands.Run("deletephase", {&FTest, static_cast<int32_t>(row)});
}

QWidget* TTestConfigFrame::MakeCyclicPhases() {
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(Tr("Cyclic phases"), box));
    FCyclic = new QListWidget(box);
    FCyclic->setMaximumHeight(80);
    layout->addWidget(FCyclic);
    auto* buttons = new QHBoxLayout();
    auto* mark = new QPushButton(Tr("Mark as cyclic..."), box);
    auto* remove = new QPushButton(Tr("Remove cyclic"), box);
    buttons->addWidget(mark);
    buttons->addWidget(remove);
    layout->addLayout(buttons);
    connect(mark, &QPushButton::clicked, this, [this] {
        QDialog dialog(this);
        dialog.setWindowTitle(Tr("Mark phases as cyclic"));
        auto* form = new QFormLayout(&dialog);
        const int count = FTest.Phases().Count();
        auto* first = new QSpinBox(&dialog);
        auto* last = new QSpinBox(&dialog);
        auto* cycles = new QSpinBox(&dialog);
        first->setRange(1, std::max(count, 1));
        last->setRange(1, std::max(count, 1));
        last->setValue(count);
        cycles->setRange(1, 100000);
        cycles->setValue(2);
        form->addRow(Tr("First phase"), first);
        form->addRow(Tr("Last phase"), last);
        form->addRow(Tr("Number of cycles"), cycles);
        auto* ok = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
        connect(ok, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        connect(ok, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        form->addRow(ok);
        if (dialog.exec() != QDialog::Accepted)
            return;
        FCommands.Run("markphasescyclic", {&FTest, static_cast<int32_t>(first->value() - 1),
                                           static_cast<int32_t>(last->value() - 1),
                                           static_cast<int32_t>(cycles->value())});
    });
    connect(remove, &QPushButton::clicked, this, [this] {
        const int row = FCyclic->currentRow();
        if (row < 0)
            return;
        FCommands.Run("deletecyclicphases", {&FTest, static_cast<int32_t>(row)});
    });
    FCyclicObserver.SetOnNotify([this](TNotifySender) { FillCyclicPhases(); });
    FTest.CyclicPhases().AttachObserver(&FCyclicObserver);
    FTest.Phases().AttachObserver(&FCyclicObserver);
    FillCyclicPhases();
    return box;
}

void TTestConfigFrame::FillCyclicPhases() {
    FCyclic->clear();
    const TQBPhaseList& phases = FTest.Phases();
    const TQBCyclicPhasesList& cyclic = FTest.CyclicPhases();
    for (int i = 0; i < cyclic.Count(); ++i) {
        const TQBCyclicPhases& definition = *cyclic.GetItems(i);
        FCyclic->addItem(ToQ(Format(
            Translate("Phases %d to %d, %d cycles"), phases.IndexOf(definition.FirstPhase()) + 1,
            phases.IndexOf(definition.LastPhase()) + 1, definition.Cycles())));
    }
}

bool TTestConfigFrame::PrepareTestForRunning() {
    // An edit still open in the frame is committed first.
    if (QWidget* focus = focusWidget())
        focus->clearFocus();
    const TQBPhaseList& phases = FTest.Phases();
    bool hasSteps = false;
    for (int i = 0; i < phases.Count(); ++i)
        hasSteps = hasSteps || phases[i].Steps() > 0;
    if (hasSteps)
        return true;
    UserMessages().ShowMessage(Format(Translate("The test data for the %s test is not valid."),
                                      TestTypeName(FTest.TestType())),
                               MessageTitle);
    return false;
}

// ---------------------------------------------------------------------------------------------

TLoadedTestsList::TLoadedTestsList(TChartsFrame& frame, QWidget* parent)
    : QWidget(parent), FFrame(frame), FList(new QListWidget(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(Tr("Loaded tests"), this));
    layout->addWidget(FList);
    FList->setMaximumHeight(110);
    connect(FList, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
        if (FRefreshing)
            return;
        const int index = item->data(Qt::UserRole).toInt();
        const std::vector<TQBTestBase*>& tests = FFrame.Tests();
        if (index > 0 && index < static_cast<int>(tests.size()))
            FFrame.SetTestVisible(*tests[index], item->checkState() == Qt::Checked);
    });
    FObserver.SetOnNotify([this](TNotifySender) { Refresh(); });
    frame.Observable().AttachObserver(&FObserver);
    Refresh();
}

TLoadedTestsList::~TLoadedTestsList() = default;

void TLoadedTestsList::Refresh() {
    FRefreshing = true;
    FList->clear();
    const std::vector<TQBTestBase*>& tests = FFrame.Tests();
    for (size_t i = 1; i < tests.size(); ++i) {
        auto* item = new QListWidgetItem(ColorIcon(ChartColor(static_cast<int>(i))),
                                         ToQ(TestCurveCaption(*tests[i])), FList);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(tests[i]->Visible() ? Qt::Checked : Qt::Unchecked);
        item->setData(Qt::UserRole, static_cast<int>(i));
    }
    setVisible(tests.size() > 1);
    FRefreshing = false;
}

// ---------------------------------------------------------------------------------------------

TTestPage::TTestPage(TGuiCommands& commands, TQBTestType type, TConfigurationStore& configurations,
                     QWidget* parent)
    : QWidget(parent), FCommands(commands), FType(type),
      FFrame(std::make_unique<TChartsFrame>(commands.Project(), type)) {
    // The run is the `calculate` command: validation, then DoTest and the kernel.
    FRunner = [this](TQBTestBase& test) {
        return FCommands.Run("calculate", {&test}) && test.HasResults();
    };
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* splitter = new QSplitter(Qt::Horizontal, this);
    layout->addWidget(splitter);

    auto* left = new QWidget(splitter);
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    if (TQBTestBase* test = FFrame->MainTest()) {
        FConfig = new TTestConfigFrame(commands, *test, configurations, left);
        connect(FConfig, &TTestConfigFrame::RunRequested, this, [this] { RunTest(); });
        auto* scroll = new QScrollArea(left);
        scroll->setWidgetResizable(true);
        scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        scroll->setWidget(FConfig);
        // Room for the vertical scroll bar of a long frame.
        scroll->setMinimumWidth(FConfig->minimumSizeHint().width() +
                                scroll->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 6);
        leftLayout->addWidget(scroll, 1);
    } else {
        auto* none = new QLabel(Tr("This test needs the 2D kernel."), left);
        none->setAlignment(Qt::AlignCenter);
        leftLayout->addWidget(none, 1);
    }
    FLoaded = new TLoadedTestsList(*FFrame, left);
    leftLayout->addWidget(FLoaded);
    splitter->addWidget(left);

    auto* middle = new QWidget(splitter);
    auto* middleLayout = new QVBoxLayout(middle);
    middleLayout->setContentsMargins(0, 0, 0, 0);
    FCharts = new TChartsArea(*FFrame, middle);
    auto* tools = new QHBoxLayout();
    auto* chartsButton = new QToolButton(middle);
    chartsButton->setText(Tr("Charts"));
    chartsButton->setMenu(&FCharts->ChartsMenu());
    chartsButton->setPopupMode(QToolButton::InstantPopup);
    tools->addWidget(chartsButton);
    tools->addStretch(1);
    middleLayout->addLayout(tools);
    middleLayout->addWidget(FCharts, 1);
    splitter->addWidget(middle);

    FResults = new TResultsPanel(splitter);
    splitter->addWidget(FResults);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setStretchFactor(2, 0);
    splitter->setSizes({std::max(360, left->minimumSizeHint().width()), 880, 280});
    connect(FCharts, &TChartsArea::CurrentViewChanged, FResults, &TResultsPanel::SetView);
    connect(FCharts, &TChartsArea::SelectionChanged, FResults, [this](TChartView* view) {
        if (view != FResults->View())
            FResults->SetView(view);
        FResults->SelectionChanged();
    });
    FResults->SetView(FCharts->CurrentView());
}

TTestPage::~TTestPage() {
    // The views hold charts of the frame, the results panel the views' tables: they go first.
    delete FResults;
    delete FCharts;
    delete FLoaded;
}

bool TTestPage::RunTest() {
    TQBTestBase* test = Test();
    if (!test || (FConfig && !FConfig->PrepareTestForRunning()))
        return false;
    TTaskProgressWindow::SetHeading(
        Format(Translate("Running the %s test"), TestTypeName(test->TestType())));
    bool done = false;
    try {
        done = FRunner(*test);
    } catch (const std::exception& e) {
        UserMessages().ShowMessage(e.what(), MessageTitle);
    }
    emit RunEnded(done);
    return done;
}

} // namespace tw
