#include "labtest/QBResults.h"
#include "objects/UpdateBracket.h"

#include "objects/ObjectManager.h"
#include "services/Strings.h"

#include <algorithm>
#include <cmath>

namespace tw {

namespace {

constexpr TQBResultTypeInfo ResultTypeInfos[QBResultTypeCount] = {
    {"Eps1", "@e#_1#", acStrain, false, qtDummy},
    {"SigmaEffective1", "@s#'_1#", acStress, true, qtPressure},
    {"SigmaEffective2", "@s#'_2#", acStress, true, qtPressure},
    {"SigmaEffective3", "@s#'_3#", acStress, true, qtPressure},
    {"DeviatoricStressT", "|@s#_1# - @s#_3#|", acStress, true, qtPressure},
    {"TotalVolumetricStrain", "@e#_V#", acStrain, false, qtDummy},
    {"PExcess", "p_excess#", acStress, true, qtPressure},
    {"MeanEffStress", "p'", acStress, true, qtPressure},
    {"DeviatoricStress", "q", acStress, true, qtPressure},
    {"Time", "t", acTime, true, qtTime},
    {"SigmaEffective", "@s#'", acStress, true, qtPressure},
    {"MobilizedShearStrength", "@t#_mob#", acStress, true, qtPressure},
    {"Epsxx", "@e#_xx#", acStrain, false, qtDummy},
    {"Epsyy", "@e#_yy#", acStrain, false, qtDummy},
    {"Epszz", "@e#_zz#", acStrain, false, qtDummy},
    {"Gamxy", "@g#_xy#", acStrain, false, qtDummy},
    {"Gamyz", "@g#_yz#", acStrain, false, qtDummy},
    {"Gamzx", "@g#_zx#", acStrain, false, qtDummy},
    {"SigxxE", "@s#'_xx#", acStress, true, qtPressure},
    {"SigyyE", "@s#'_yy#", acStress, true, qtPressure},
    {"SigzzE", "@s#'_zz#", acStress, true, qtPressure},
    {"Sigxy", "@t#_xy#", acStress, true, qtPressure},
    {"Sigyz", "@t#_yz#", acStress, true, qtPressure},
    {"Sigzx", "@t#_zx#", acStress, true, qtPressure},
    {"SigmaESum2", "(@s#'_1# + @s#'_3#) / 2", acStress, true, qtPressure},
    {"SigmaEMin2", "(@s#'_1# - @s#'_3#) / 2", acStress, true, qtPressure},
    {"Eps2", "@e#_2#", acStrain, false, qtDummy},
    {"Eps3", "@e#_3#", acStrain, false, qtDummy},
    {"SigEMin2", "(@s#'_yy# - @s#'_xx#) / 2", acStress, true, qtPressure},
    {"DeviatoricStrain", "@e#_q#", acStrain, false, qtDummy},
    {"SigxxT", "@s#_xx#", acStress, true, qtPressure},
    {"SigyyT", "@s#_yy#", acStress, true, qtPressure},
    {"SigzzT", "@s#_zz#", acStress, true, qtPressure},
    {"MeanTotStress", "p", acStress, true, qtPressure},
    {"SigESum2", "(@s#'_yy# + @s#'_xx#) / 2", acStress, true, qtPressure},
    {"PTotal", "p_total#", acStress, true, qtPressure},
    {"PActive", "p_active#", acStress, true, qtPressure},
    {"Saturation", "S", acStress, false, qtDummy},
    {"SaturationEffective", "S_effective#", acStress, false, qtDummy},
    {"UnfrozenWaterSaturationAsRatio", "S_unfrozen water#", acStress, false, qtDummy},
    {"Suction", "Suction", acStress, true, qtPressure},
    {"Temperature", "T", acTemperature, true, qtTemperature},
    {"None", "", acStrain, false, qtDummy},
};

constexpr TQBResultType FileIndexTypes[QBFileIndexCount] = {
    rtT,
    rtEpsXX,
    rtEpsYY,
    rtEpsZZ,
    rtGamXY,
    rtGamYZ,
    rtGamZX,
    rtSigXX,
    rtSigYY,
    rtSigZZ,
    rtTauXY,
    rtTauYZ,
    rtTauZX,
    rtPExcess,
    rtPw,
    rtSaturationEffective,
    rtSaturation,
    rtTemperature,
    rtSaturationUnfrozenWater,
    rtEps1,
    rtEps2,
    rtEps3,
    rtEpsV,
    rtSig1,
    rtSig2,
    rtSig3,
    rtP,
    rtQ,
    rtSig,
    rtTau,
    rtSig1MinSig3,
    rtSig1PlusSig3Div2,
    rtSig1MinSig3Div2,
    rtSigYYMinSigXXDiv2,
    rtEpsQ,
    rtSigXXTotal,
    rtSigYYTotal,
    rtSigZZTotal,
    rtPTotal,
    rtSuction,
    rtPActive,
    rtSigYYPlusSigXXDiv2,
};

constexpr TQBResultType SuctionGroup[] = {rtPw, rtPActive, rtSaturation, rtSaturationEffective,
                                          rtSuction};
constexpr TQBResultType ThermalGroup[] = {rtSaturationUnfrozenWater, rtTemperature};

} // namespace

const TQBResultTypeInfo& ResultTypeInfo(TQBResultType type) {
    return ResultTypeInfos[type];
}

TQBResultType ResultTypeOfFileIndex(int fileIndex) {
    return fileIndex >= 0 && fileIndex < QBFileIndexCount ? FileIndexTypes[fileIndex] : rtNone;
}

int FileIndexOfResultType(TQBResultType type) {
    for (int i = 0; i < QBFileIndexCount; ++i)
        if (FileIndexTypes[i] == type)
            return i;
    return -1;
}

TQBResultType GetResultTypeFromIPName(const std::string& name) {
    for (int i = 0; i < QBResultTypeCount; ++i)
        if (SameText(name, ResultTypeInfos[i].PropertyName))
            return static_cast<TQBResultType>(i);
    return static_cast<TQBResultType>(QBResultTypeCount);
}

// ---------------------------------------------------------------------------------------------
// Row view

double TQBResults_RowView::Get(TQBResultType type) const {
    return FQBResults.GetValueByType(FRowIndex, type);
}
void TQBResults_RowView::Set(TQBResultType type, double value) {
    FQBResults.SetValueByType(FRowIndex, type, value);
}
bool TQBResults_RowView::IsSet(TQBResultType type) const {
    return FQBResults.GetIsSetByType(FRowIndex, type);
}
double TQBResults_RowView::GetPresentationValue(TQBResultType type,
                                                const IQuantityPresenter* units) const {
    return FQBResults.GetPresentationValueByType(FRowIndex, type, units);
}
bool TQBResults_RowView::IsSelected() const {
    return FQBResults.GetIsSelectedRow(FRowIndex);
}

// ---------------------------------------------------------------------------------------------
// TQBResults

TW_KOV_CLASS_IMPL(TQBResults, TKovObservableObject, nullptr)

TQBResults::TQBResults(TKovObjectManager* manager)
    : TKovObservableObject(manager),
      FColumnDeclarations(std::make_unique<TKovIntrinsicPropertyDeclarationList>()) {
    for (int i = 0; i < QBResultTypeCount; ++i) {
        const TQBResultTypeInfo& info = ResultTypeInfos[i];
        auto& declaration = FColumnDeclarations->AddDoubleWithUnit(
            info.PropertyName, info.HasQuantity ? info.Quantity : qtDummy, ipkReadOnly,
            info.Caption);
        (void)declaration;
    }
    FColumnDeclarations->AddBoolean("IsSelected", ipkNotPublished);
    UpdateAdvancedResultsVisibility(false, false);
    FColumnDeclarations->SetDeclarationVisibleAndEditableFor("None", false);
}

void TQBResults::RowOutOfBounds(int row) {
    throw EQBResultsException(Format("Row index out of bounds (%d)", row));
}

void TQBResults::ClearRows() {
    if (FRowCount == 0)
        return;
    for (int i = 0; i < QBResultTypeCount; ++i) {
        FValues[i].clear();
        FIsSet[i].clear();
    }
    FIsSelectedRow.clear();
    FRowCount = 0;
    NotifyObservers();
}

int TQBResults::AddNewRow() {
    for (int i = 0; i < QBResultTypeCount; ++i) {
        FValues[i].push_back(0.0);
        FIsSet[i].push_back(0);
    }
    FIsSelectedRow.push_back(0);
    NotifyObservers();
    return FRowCount++;
}

int TQBResults::AddNewRows(int count) {
    const int first = FRowCount;
    if (count <= 0)
        return first;
    for (int i = 0; i < QBResultTypeCount; ++i) {
        FValues[i].resize(size_t(first + count), 0.0);
        FIsSet[i].resize(size_t(first + count), 0);
    }
    FIsSelectedRow.resize(size_t(first + count), 0);
    FRowCount += count;
    NotifyObservers();
    return first;
}

void TQBResults::DeleteRow(int row) {
    CheckRow(row);
    for (int i = 0; i < QBResultTypeCount; ++i) {
        FValues[i].erase(FValues[i].begin() + row);
        FIsSet[i].erase(FIsSet[i].begin() + row);
    }
    FIsSelectedRow.erase(FIsSelectedRow.begin() + row);
    --FRowCount;
    NotifyObservers();
}

void TQBResults::ResetRow(int row) {
    CheckRow(row);
    for (int i = 0; i < QBResultTypeCount; ++i) {
        FValues[i][row] = 0.0;
        FIsSet[i][row] = 0;
    }
}

void TQBResults::TruncateRows(int row) {
    if (row >= FRowCount)
        return;
    row = std::max(row, 0);
    for (int i = 0; i < QBResultTypeCount; ++i) {
        FValues[i].resize(row);
        FIsSet[i].resize(row);
    }
    FIsSelectedRow.resize(row);
    FRowCount = row;
    NotifyObservers();
}

void TQBResults::AddValuesInNewRow(std::span<const TQBResultType> types,
                                   std::span<const double> values) {
    if (types.size() != values.size())
        throw EQBResultsException("The number of types should match the number of values");
    const int row = AddNewRow();
    for (size_t i = 0; i < types.size(); ++i)
        SetValueByType(row, types[i], values[i]);
}

void TQBResults::AddValuesAsResults(std::span<const TQBResultType> types,
                                    const std::vector<std::vector<double>>& rows) {
    THighPerformanceMode highPerformance(ObjectManager());
    TUpdateBracket update(*this);
    for (const auto& values : rows)
        AddValuesInNewRow(types, values);
    CalculateDerivedResults();
    update.Close();
}

void TQBResults::CopyFrom(const TQBResults& source) {
    FValues = source.FValues;
    FIsSet = source.FIsSet;
    FIsSelectedRow = source.FIsSelectedRow;
    FRowCount = source.FRowCount;
    for (int i = 0; i < QBResultTypeCount; ++i) {
        const auto& name = ResultTypeInfos[i].PropertyName;
        auto config = source.FColumnDeclarations->GetDeclarationFor(name)->Configuration();
        FColumnDeclarations->GetDeclarationFor(name)->SetConfiguration(config);
    }
    NotifyObservers();
}

void TQBResults::ReplaceRows(int rowCount, TColumns&& columns) {
    const auto rows = static_cast<size_t>(std::max(rowCount, 0));
    for (int i = 0; i < QBResultTypeCount; ++i)
        if (columns.Values[i].size() != rows || columns.IsSet[i].size() != rows)
            throw EQBResultsException(Format("Column %s holds %d values for %d rows",
                                             ResultTypeInfos[i].PropertyName,
                                             columns.Values[i].size(), rowCount));
    if (columns.Selected.size() != rows)
        throw EQBResultsException(
            Format("The choice holds %d rows for %d rows", columns.Selected.size(), rowCount));
    FValues = std::move(columns.Values);
    FIsSet = std::move(columns.IsSet);
    FIsSelectedRow = std::move(columns.Selected);
    FRowCount = static_cast<int>(rows);
    NotifyObservers();
}

TQBResults::TColumns TQBResults::TakeRows() {
    TColumns columns{std::move(FValues), std::move(FIsSet), std::move(FIsSelectedRow)};
    for (int i = 0; i < QBResultTypeCount; ++i) {
        FValues[i].clear();
        FIsSet[i].clear();
    }
    FIsSelectedRow.clear();
    FRowCount = 0;
    NotifyObservers();
    return columns;
}

void TQBResults::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    if (const auto* other = dynamic_cast<const TQBResults*>(&source)) {
        FValues = other->FValues;
        FIsSet = other->FIsSet;
        FIsSelectedRow = other->FIsSelectedRow;
        FRowCount = other->FRowCount;
    }
}

double TQBResults::GetValueByType(int row, TQBResultType type) const {
    CheckRow(row);
    return FValues[type][row];
}

double TQBResults::GetValueByIndex(int row, int fileIndex) const {
    return GetValueByType(row, ResultTypeOfFileIndex(fileIndex));
}

void TQBResults::SetValueByIndex(int row, int fileIndex, double value) {
    SetValueByType(row, ResultTypeOfFileIndex(fileIndex), value);
}

bool TQBResults::GetIsSetByType(int row, TQBResultType type) const {
    return row >= 0 && row < FRowCount && FIsSet[type][row] != 0;
}

bool TQBResults::GetIsSetByIndex(int row, int fileIndex) const {
    return GetIsSetByType(row, ResultTypeOfFileIndex(fileIndex));
}

TQuantityType TQBResults::GetQuantityTypeByIndex(int fileIndex) const {
    return ResultTypeInfos[ResultTypeOfFileIndex(fileIndex)].Quantity;
}

double TQBResults::GetPresentationValueByType(int row, TQBResultType type,
                                              const IQuantityPresenter* units) const {
    const double value = GetValueByType(row, type);
    const TQBResultTypeInfo& info = ResultTypeInfos[type];
    return units && info.HasQuantity ? units->ToPresentation(info.Quantity, value) : value;
}

double TQBResults::GetPresentationValueByIndex(int row, int fileIndex,
                                               const IQuantityPresenter* units) const {
    return GetPresentationValueByType(row, ResultTypeOfFileIndex(fileIndex), units);
}

void TQBResults::SetIsSelectedRow(int row, bool selected) {
    CheckRow(row);
    FIsSelectedRow[row] = selected ? 1 : 0;
    NotifyObservers();
}

bool TQBResults::GetIsSelectedRow(int row) const {
    CheckRow(row);
    return FIsSelectedRow[row] != 0;
}

bool TQBResults::HasSelectedRange() const {
    return std::any_of(FIsSelectedRow.begin(), FIsSelectedRow.end(), [](uint8_t s) { return s; });
}

const TKovIntrinsicPropertyDeclaration& TQBResults::GetColumnDeclaration(TQBResultType type) const {
    return (*FColumnDeclarations)[type];
}

std::string TQBResults::GetColumnName(TQBResultType type) const {
    return ResultTypeInfos[type].PropertyName;
}

bool TQBResults::AreAvailableForType(TQBResultType type) const {
    return !GetColumnDeclaration(type).Has(ipkNotPublished);
}

bool TQBResults::IsDataValidFor(TQBResultType type) const {
    if (!AreAvailableForType(type))
        return false;
    const auto& set = FIsSet[type];
    return std::any_of(set.begin(), set.end(), [](uint8_t s) { return s; });
}

void TQBResults::UpdateAdvancedResultsVisibility(bool suction, bool thermal) {
    // The declarations start read-only; visible columns are still not for editing.
    auto show = [&](TQBResultType type, bool visible) {
        auto& declaration = (*FColumnDeclarations)[type];
        auto config = declaration.Configuration() & ~unsigned(ipkNotPublished);
        declaration.SetConfiguration(visible ? config : config | ipkNotPublished);
    };
    for (TQBResultType type : SuctionGroup)
        show(type, suction);
    for (TQBResultType type : ThermalGroup)
        show(type, thermal);
}

void TQBResults::PrincipalEigenValues(double a, double b, double c, double d, double e, double f,
                                      double& p1, double& p2, double& p3, double& mean, double& q) {
    mean = (a + b + c) / 3.0;
    q = 0.0;
    p1 = a;
    p2 = b;
    p3 = c;
    const double da = a - mean, db = b - mean, dc = c - mean;
    const double s2 = ((a - b) * (a - b) + (b - c) * (b - c) + (c - a) * (c - a) +
                       6.0 * (d * d + e * e + f * f)) /
                      3.0;
    const double s = std::sqrt(s2);
    if (s <= 1e-10)
        return; // hydrostatic: the diagonal as it stands
    const double r = s * std::sqrt(2.0 / 3.0);
    q = 1.5 * r;
    if (d == 0.0 && e == 0.0 && f == 0.0) {
        // No shear (every row of a triaxial or oedometer test): the diagonal is the answer,
        // sorted, without the trigonometry below.
        if (p1 > p2)
            std::swap(p1, p2);
        if (p2 > p3)
            std::swap(p2, p3);
        if (p1 > p2)
            std::swap(p1, p2);
        return;
    }
    // Lode angle theta of the deviator from its third invariant; the principal values are
    // mean + r sin(theta + k 2pi/3), k = -1, 0, 1, written with one sine and one cosine.
    const double det = da * db * dc - da * e * e - db * f * f - dc * d * d + 2.0 * d * e * f;
    double sinTheta = 0.0, cosTheta = 1.0;
    if (std::fabs(det) > 1e-10 * std::fabs(s) * s2 + 1e-20) {
        const double x = std::clamp(-std::sqrt(54.0) * det / (s * s2), -1.0, 1.0);
        const double theta = std::asin(x) / 3.0;
        sinTheta = std::sin(theta);
        cosTheta = std::cos(theta);
    }
    constexpr double HalfSqrt3 = 0.86602540378443865; // sin(2pi/3); cos(2pi/3) = -1/2
    p1 = mean + r * (-0.5 * sinTheta - HalfSqrt3 * cosTheta);
    p2 = mean + r * sinTheta;
    p3 = mean + r * (-0.5 * sinTheta + HalfSqrt3 * cosTheta);
}

// The columns as plain pointers, taken once for all rows: a store through the flags' bytes could
// otherwise alias the vectors and make every access reload them.
struct TQBResults::TColumnPointers {
    double* Values[QBResultTypeCount];
    uint8_t* IsSet[QBResultTypeCount];
};

void TQBResults::CalculateDerivedRow(TColumnPointers& columns, int row) {
    auto set = [&](TQBResultType type) { return columns.IsSet[type][row] != 0; };
    auto value = [&](TQBResultType type) { return columns.Values[type][row]; };
    auto store = [&](TQBResultType type, double v) {
        columns.Values[type][row] = v;
        columns.IsSet[type][row] = 1;
    };
    if (set(rtEpsXX) && set(rtEpsYY) && set(rtEpsZZ) && set(rtGamXY) && set(rtGamYZ) &&
        set(rtGamZX)) {
        const double exx = value(rtEpsXX), eyy = value(rtEpsYY), ezz = value(rtEpsZZ);
        const double gxy = value(rtGamXY), gyz = value(rtGamYZ), gzx = value(rtGamZX);
        double e1, e2, e3, mean, q;
        // Engineering shear strains: the tensor holds half of them.
        PrincipalEigenValues(exx, eyy, ezz, 0.5 * gxy, 0.5 * gyz, 0.5 * gzx, e1, e2, e3, mean, q);
        store(rtEps1, e1);
        store(rtEps2, e2);
        store(rtEps3, e3);
        store(rtEpsV, 3.0 * mean);
        const double m = mean;
        store(rtEpsQ,
              std::sqrt(2.0 / 3.0 *
                        ((exx - m) * (exx - m) + (eyy - m) * (eyy - m) + (ezz - m) * (ezz - m) +
                         0.5 * (gxy * gxy + gyz * gyz + gzx * gzx))));
    }
    if (set(rtPw))
        store(rtSuction, value(rtPw) >= 0.0 ? value(rtPw) : 0.0);
    if (set(rtPw) && set(rtSaturationEffective))
        store(rtPActive, value(rtSaturationEffective) * value(rtPw));
    if (set(rtPExcess) && set(rtSigXX) && set(rtSigYY) && set(rtSigZZ) && set(rtTauXY) &&
        set(rtTauYZ) && set(rtTauZX)) {
        const double sxx = value(rtSigXX), syy = value(rtSigYY), szz = value(rtSigZZ);
        double s1, s2, s3, mean, q;
        PrincipalEigenValues(sxx, syy, szz, value(rtTauXY), value(rtTauYZ), value(rtTauZX), s1, s2,
                             s3, mean, q);
        store(rtSig1, s1);
        store(rtSig2, s2);
        store(rtSig3, s3);
        store(rtP, mean);
        store(rtQ, q);
        const double u = set(rtPActive) ? value(rtPActive) : value(rtPExcess);
        store(rtSigXXTotal, sxx + u);
        store(rtSigYYTotal, syy + u);
        store(rtSigZZTotal, szz + u);
        store(rtPTotal, (value(rtSigXXTotal) + value(rtSigYYTotal) + value(rtSigZZTotal)) / 3.0);
        store(rtSigYYMinSigXXDiv2, (syy - sxx) * 0.5);
        store(rtSigYYPlusSigXXDiv2, (syy + sxx) * 0.5);
    }
    if (set(rtSig1) && set(rtSig3)) {
        const double s1 = value(rtSig1), s3 = value(rtSig3);
        store(rtSig1MinSig3, std::fabs(s1 - s3));
        store(rtSig1PlusSig3Div2, (s1 + s3) * 0.5);
        store(rtSig1MinSig3Div2, (s1 - s3) * 0.5);
    } else if (set(rtSig1PlusSig3Div2) && set(rtSig1MinSig3Div2)) {
        // Imported data given as centre and radius of the circle.
        store(rtSig1, value(rtSig1PlusSig3Div2) + value(rtSig1MinSig3Div2));
        store(rtSig3, value(rtSig1PlusSig3Div2) - value(rtSig1MinSig3Div2));
    }
}

void TQBResults::CalculateMohrCircle() {
    const int n = FRowCount;
    if (n == 0)
        return;
    double principal[3] = {FValues[rtSig1][n - 1], FValues[rtSig2][n - 1], FValues[rtSig3][n - 1]};
    std::sort(principal, principal + 3);
    const double a = principal[0], b = principal[2];
    // With one row the step is infinite; the two ends below set that row anyway.
    const double step = M_PI / (n - 1);
    const double radius = std::fabs(b - a) / 2.0, centre = (a + b) / 2.0;
    double angle = step;
    for (int i = 0; i < n; ++i) {
        FValues[rtSig][i] = centre + radius * std::cos(angle);
        FValues[rtTau][i] = radius * std::sin(angle);
        FIsSet[rtSig][i] = FIsSet[rtTau][i] = 1;
        angle += step;
    }
    FValues[rtSig][0] = b;
    FValues[rtTau][0] = 0.0;
    FValues[rtSig][n - 1] = a;
    FValues[rtTau][n - 1] = 0.0;
}

void TQBResults::CalculateDerivedResults() {
    TUpdateBracket update(*this);
    TColumnPointers columns;
    for (int i = 0; i < QBResultTypeCount; ++i) {
        columns.Values[i] = FValues[i].data();
        columns.IsSet[i] = FIsSet[i].data();
    }
    for (int row = 0; row < FRowCount; ++row)
        CalculateDerivedRow(columns, row);
    CalculateMohrCircle();
    NotifyObservers();
    update.Close();
    if (FOnAfterCalculateDerivedResults)
        FOnAfterCalculateDerivedResults();
}

void TQBResults::LoadFromList(const std::vector<const TKovObservableObject*>& oldRows) {
    TUpdateBracket update(*this);
    ClearRows();
    const int baseCount = TKovObservableObject::StaticClass().Declarations().Count();
    for (const TKovObservableObject* old : oldRows) {
        const int row = AddNewRow();
        // The properties every object has (name, comments, ...) are no columns.
        for (int i = baseCount; i < old->IntrinsicPropertiesCount(); ++i) {
            const TKovIntrinsicProperty& property = *old->GetIntrinsicProperty(i);
            if (const auto* flag = dynamic_cast<const TIPBoolean*>(&property)) {
                FIsSelectedRow[row] = flag->Value() ? 1 : 0;
            } else if (const auto* number = dynamic_cast<const TIPDouble*>(&property)) {
                const TQBResultType type = GetResultTypeFromIPName(property.Name());
                if (type < QBResultTypeCount)
                    SetValueByType(row, type, number->Value());
            } else {
                throw EQBResultsException("Unexpected legacy IP type encountered");
            }
        }
    }
    update.Close();
}

} // namespace tw
