#include "labtest/QBTestTriaxial.h"
#include "labtest/QBPropertyNames.h"
#include "labtest/QBTestHelper.h"

#include <cfloat>
#include <climits>
#include <cmath>

namespace tw {

TW_KOV_CLASS_IMPL(TQBTestTriaxial, TQBTestTriaxialBase, &TQBTestTriaxial::DeclareProperties)

void TQBTestTriaxial::DeclareProperties(TKovIntrinsicPropertyDeclarationList& list) {
    list.AddTypedEnumeration<TQBDirection>(ip::Direction.Name, DirectionStrings(), 0, "",
                                           DirectionCaptions());
    list.AddDerivedDoubleWithUnit(
        "MaximumStrain", qtPercentage,
        ByOwner(&TQBTestTriaxial::MaximumStrain, &TQBTestTriaxial::SetMaximumStrain), 0,
        "Maximum strain |@e#_yy#|", 0.0, DBL_MAX);
    TQBTestHelper::AddDerivedFirstPhaseSteps(list);
}

TQBDirection TQBTestTriaxial::Direction() const {
    return static_cast<TQBDirection>(Property(ip::Direction).IntValue());
}

double TQBTestTriaxial::MaximumStrain() const {
    const TQBPhase* first = FirstPhase();
    return first ? std::fabs(first->GetStrainIncrement(ldYY)) : 0.0;
}

void TQBTestTriaxial::SetMaximumStrain(double percent) {
    if (TQBPhase* first = FirstPhase())
        first->SetStrainIncrement(ldYY, Direction() == qbdCompression ? -std::fabs(percent)
                                                                      : std::fabs(percent));
}

int TQBTestTriaxial::Steps() const {
    const TQBPhase* first = FirstPhase();
    return first ? first->Steps() : 0;
}

void TQBTestTriaxial::AddDefaultChartSettings() {
    TQBTestTriaxialBase::AddDefaultChartSettings();
    for (TQBChartType type : {ctS3S1, ctPQ, ctMohr, ctEyyDS, ctEyyEv, ctE1Pw})
        ChartSettings().AddDefault(type);
}

void TQBTestTriaxial::SetDefaultValues(bool clearResults) {
    TQBTestTriaxialBase::SetDefaultValues(clearResults);
    const TQBPhase* first = FirstPhase();
    const bool compression = first && first->GetStrainIncrement(ldYY) < 0;
    Property(ip::Direction).SetIntValue(compression ? qbdCompression : qbdExtension);
}

void TQBTestTriaxial::PropertyChanged(TKovIntrinsicProperty& property) {
    TQBTestTriaxialBase::PropertyChanged(property);
    if (ip::Direction.Is(property)) {
        SetMaximumStrain(MaximumStrain()); // takes the sign of the new direction
        NotifyObservers();
    }
}

void TQBTestTriaxial::UpdateFromInitialStresses() {
    TQBTestTriaxialBase::UpdateFromInitialStresses();
    const TQBPhase* first = FirstPhase();
    const bool compression = first && first->GetStrainIncrement(ldYY) < 0;
    Property(ip::Direction).SetIntValue(compression ? qbdCompression : qbdExtension);
}

std::string TQBTestTriaxial::ToString() const {
    std::string text = TQBTestTriaxialBase::ToString();
    text = Format("%s%sK0=%f", text, "/", K0());
    text = Format("%s%sCellPressure=%f", text, "/", CellPressure());
    text = Format("%s%sDirection=%d", text, "/", static_cast<int>(Direction()));
    return Format("%s%s%s", text, "/", Phases().ToString());
}

} // namespace tw
