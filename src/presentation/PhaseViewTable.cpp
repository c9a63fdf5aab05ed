#include "presentation/PhaseViewTable.h"

#include "labtest/QBPhase.h"
#include "labtest/QBTestCRS.h"
#include "labtest/QBTestOedometer.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"

#include <cmath>

namespace tw {

namespace {
void WriteDirectly(const IQuantityPresenter* units, TKovIntrinsicProperty& property, double value) {
    if (auto* withUnit = dynamic_cast<TIPDoubleWithUnit*>(&property))
        withUnit->SetPresentationValue(units, value);
    else if (auto* number = dynamic_cast<TIPDouble*>(&property))
        number->SetValue(value);
    else if (auto* integer = dynamic_cast<TIPInteger*>(&property))
        integer->SetValue(static_cast<int32_t>(value));
    else
        throw EKovException("This cell can't hold a number.");
}
} // namespace

TPhaseViewTable::TPhaseViewTable(TQBTestWithPhaseView* test, const IQuantityPresenter* units)
    : FTest(test), FUnits(units) {
    FCellWriter = [this](TKovIntrinsicProperty& property, double value) {
        WriteDirectly(FUnits, property, value);
    };
    FPhasesObserver.SetOnNotify([this](TNotifySender) {
        Synchronize();
        NotifyReset(); // a value of a phase may have changed
    });
    Attach();
    Synchronize();
}

TPhaseViewTable::~TPhaseViewTable() {
    Detach();
}

void TPhaseViewTable::Attach() {
    if (!FTest)
        return;
    FTest->Phases().AttachObserver(&FPhasesObserver);
    FTest->Phases().AttachObserverToAllContents(&FPhasesObserver);
}

void TPhaseViewTable::Detach() {
    if (!FTest)
        return;
    // The list keeps the observer for phases it adds later: it must forget it.
    FTest->Phases().DetachObserverFromAllContents(&FPhasesObserver);
    FTest->Phases().DetachObserver(&FPhasesObserver);
}

void TPhaseViewTable::SetTest(TQBTestWithPhaseView* test) {
    if (test == FTest)
        return;
    Detach();
    FTest = test;
    FRowCount = 0;
    Attach();
    Synchronize();
    NotifyReset();
}

void TPhaseViewTable::Synchronize() {
    if (!FTest)
        return;
    const int phases = FTest->Phases().Count();
    if (phases == FRowCount)
        return;
    FRowCount = phases;
    NotifyReset();
}

void TPhaseViewTable::AddRow() {
    InsertRow(FRowCount);
}

void TPhaseViewTable::InsertRow(int index) {
    if (index < 0 || index > FRowCount)
        throw EKovException(
            Format("Row %d can't be inserted into a table of %d rows", index, FRowCount));
    ++FRowCount;
    if (FTest && FRowCount > FTest->Phases().Count()) {
        try {
            FTest->InsertPhase(index);
        } catch (...) {
            --FRowCount;
            Synchronize();
            throw;
        }
    }
    // What the test has is what the table shows, also when it refused the phase.
    Synchronize();
    NotifyReset();
}

void TPhaseViewTable::DeleteRow(int index) {
    if (index < 0 || index >= FRowCount)
        throw EKovException(Format("There is no row %d to delete", index));
    --FRowCount;
    if (FTest && FRowCount < FTest->Phases().Count()) {
        try {
            FTest->DeletePhase(index);
        } catch (...) {
            ++FRowCount;
            Synchronize();
            throw;
        }
    }
    Synchronize();
    NotifyReset();
}

std::string TPhaseViewTable::ColumnName(int column) const {
    switch (column) {
    case 0:
        return "Steps";
    case 1:
        return "Duration";
    default:
        return OwnColumnName();
    }
}

std::string TPhaseViewTable::HeaderCaption(int column) const {
    switch (column) {
    case 0:
        return Translate("Number of steps");
    case 1:
        return Translate("Duration");
    default:
        return Translate(OwnColumnCaption());
    }
}

TKovIntrinsicProperty* TPhaseViewTable::CellProperty(int row, int column) const {
    if (!FTest || column < 0 || column > 2)
        return nullptr;
    TQBPhase* phase = FTest->Phases().GetItems(row);
    if (!phase)
        return nullptr;
    const std::string name = column == 2 ? OwnPhaseProperty() : ColumnName(column);
    return phase->GetIntrinsicPropertyByName(name);
}

std::string TPhaseViewTable::HeaderUnit(int column) const {
    if (!FUnits)
        return "";
    switch (column) {
    case 0:
        return "";
    case 1:
        return FUnits->PresentationUnitText(qtTime);
    default: {
        const TQBPhaseList* phases = FTest ? &FTest->Phases() : nullptr;
        TKovIntrinsicProperty* property =
            phases && phases->Count() > 0 ? CellProperty(0, column) : nullptr;
        if (auto* withUnit = dynamic_cast<TIPDoubleWithUnit*>(property))
            return FUnits->PresentationUnitText(withUnit->QuantityType());
        return "";
    }
    }
}

std::string TPhaseViewTable::CellText(int row, int column) const {
    TKovIntrinsicProperty* property = CellProperty(row, column);
    if (auto* withUnit = dynamic_cast<TIPDoubleWithUnit*>(property))
        return FormatCellValue(withUnit->GetPresentationValue(FUnits));
    if (auto* number = dynamic_cast<TIPDouble*>(property))
        return FormatCellValue(number->Value());
    if (auto* integer = dynamic_cast<TIPInteger*>(property))
        return std::to_string(integer->Value());
    return "";
}

bool TPhaseViewTable::IsCellEditable(int row, int column) const {
    // The table's columns are its own: the phases' properties stay closed to editors of the
    // phase itself, and the table writes them. The duration counts only for a material with
    // time dependence.
    return CellProperty(row, column) && (column != 1 || FTest->IsTimeEnabled());
}

std::string TPhaseViewTable::SetCellText(int row, int column, const std::string& text) {
    TKovIntrinsicProperty* property = CellProperty(row, column);
    if (!property || !IsCellEditable(row, column))
        return Translate("This cell can't be edited.");
    double value = 0.0;
    if (!TryStrToFloat(Trim(text), value) || !std::isfinite(value))
        return Format(Translate("\"%s\" is not a number."), Trim(text));
    if (dynamic_cast<TIPInteger*>(property) &&
        (value != std::floor(value) || std::fabs(value) > 2147483647.0))
        return Format(Translate("\"%s\" is not a whole number."), Trim(text));
    // The kernel takes no negative step count; the property itself has no lower limit.
    if (column == 0 && value < 0)
        return Translate("The number of steps can't be negative.");
    try {
        FCellWriter(*property, value);
    } catch (const EKovException& e) {
        return e.what();
    }
    return "";
}

std::string TPhaseViewTable_Oedometer::OwnPhaseProperty() const {
    return TQBPhase::StressIncrementName(ldYY);
}

std::string TPhaseViewTable_CRS::OwnPhaseProperty() const {
    return TQBPhase::StrainIncrementName(ldYY);
}

std::unique_ptr<TPhaseViewTable> CreatePhaseViewTable(TQBTestBase& test,
                                                      const IQuantityPresenter* units) {
    if (auto* oedometer = dynamic_cast<TQBTestOedometer*>(&test))
        return std::make_unique<TPhaseViewTable_Oedometer>(oedometer, units);
    if (auto* crs = dynamic_cast<TQBTestCRS*>(&test))
        return std::make_unique<TPhaseViewTable_CRS>(crs, units);
    return nullptr;
}

} // namespace tw
