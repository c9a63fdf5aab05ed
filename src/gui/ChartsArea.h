#pragma once
// The charts of a test page: a view per chart of the page's chart frame, laid out in a grid whose
// columns follow the width (no chart narrower than MinChartWidth; series aren't rebuilt on a
// resize), the list of the main test's charts to show or hide, the chart dialog for custom charts,
// and the results panel beside the current chart: its results table (following its axes, with
// the selected rows marked), the phase selector, and the derived values "Tangent" and "Secant".

#include "gui/ChartView.h"
#include "presentation/ChartsFrame.h"

#include <QDialog>
#include <QWidget>

#include <vector>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QMenu;
class QScrollArea;
class QTableView;

namespace tw {

class TPresentationTableModel;

// The chart dialog over its model: title, equal scales, and per axis the result column by
// category with inverse sign, flip and logarithmic scale. OK writes the choices into the model.
class TChartDialog : public QDialog {
    Q_OBJECT
public:
    TChartDialog(TChartDialogModel& model, QWidget* parent = nullptr);

    void accept() override;

    // The widgets of one axis (0 x, 1 y), for tests.
    QComboBox& CategoryBox(int axis) const { return *FAxes[axis].Category; }
    QComboBox& ItemBox(int axis) const { return *FAxes[axis].Item; }
    QLineEdit& TitleEdit() const { return *FTitle; }

private:
    struct TAxisWidgets {
        TAxisDialogModel* Model = nullptr;
        QComboBox* Category = nullptr;
        QComboBox* Item = nullptr;
        QLineEdit* Title = nullptr;
        QCheckBox* Invert = nullptr;
        QCheckBox* Flip = nullptr;
        QCheckBox* Logarithmic = nullptr;
    };
    QWidget* MakeAxis(TAxisWidgets& axis, const QString& caption);
    void FillItems(TAxisWidgets& axis);

    TChartDialogModel& FModel;
    QLineEdit* FTitle;
    QCheckBox* FOrthonormal;
    TAxisWidgets FAxes[2];
};

// The numbers behind the current chart.
class TResultsPanel : public QWidget {
    Q_OBJECT
public:
    explicit TResultsPanel(QWidget* parent = nullptr);
    ~TResultsPanel() override;

    // Shows the tables of a chart view (nullptr for none); the view must outlive the binding.
    void SetView(TChartView* view);
    TChartView* View() const { return FView; }
    QTableView& ResultsTable() const { return *FResults; }
    QTableView& DerivedTable() const { return *FDerived; }
    QComboBox& PhaseBox() const { return *FPhase; }

    // The selection of the view changed: the first selected row comes into sight.
    void SelectionChanged();

private:
    void FillPhases();
    void PhaseChosen(int item);

    TChartView* FView = nullptr;
    QLabel* FCaption;
    QComboBox* FPhase;
    QTableView* FResults;
    QTableView* FDerived;
    TPresentationTableModel* FResultsModel;
    TPresentationTableModel* FDerivedModel;
};

class TChartsArea : public QWidget {
    Q_OBJECT
public:
    static constexpr int MinChartWidth = 320;

    TChartsArea(TChartsFrame& frame, QWidget* parent = nullptr);
    ~TChartsArea() override;

    TChartsFrame& Frame() const { return FFrame; }
    int ViewCount() const { return static_cast<int>(FViews.size()); }
    TChartView& View(int index) const { return *FViews.at(index); }
    // The chart the user worked on last (the first at start); nullptr without charts.
    TChartView* CurrentView() const { return FCurrent; }
    void SetCurrentView(TChartView* view);
    // Columns of the grid at the present width.
    int ColumnCount() const { return FColumns; }

    // acAddChart, acEditChart, acDeleteChart, acHideChart. The dialogs are modal.
    void AddChart();
    void EditChart(TChartView& view);
    void DeleteChart(TChartView& view);
    void HideChart(TChartView& view);
    // The main test's charts as checkable entries (ChartVisibleClick), filled when shown.
    QMenu& ChartsMenu() const { return *FChartsMenu; }

signals:
    void CurrentViewChanged(TChartView* view);
    void SelectionChanged(TChartView* view);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void RecreateViews();
    void RefillViews();
    void Relayout();
    void FillChartsMenu();
    int IndexOf(const TChartView& view) const;
    // Runs the chart dialog on a model; answers whether OK was pressed and applied.
    bool RunDialog(TChartDialogModel& model);

    TChartsFrame& FFrame;
    QScrollArea* FScroll;
    QWidget* FGrid;
    QGridLayout* FLayout;
    QMenu* FChartsMenu;
    std::vector<TChartView*> FViews;
    TChartView* FCurrent = nullptr;
    int FColumns = 0;
    TObserver FObserver;
};

} // namespace tw
