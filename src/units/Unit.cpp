#include "units/Unit.h"

#include "objects/UpdateBracket.h"
#include "services/Format.h"
#include "services/Localisation.h"
#include "services/Strings.h"
#include "units/SystemOfUnits.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tw {

// ---------------------------------------------------------------------------------------------
// TUnit_Abstract

TUnit_Abstract::TUnit_Abstract(TSystemOfUnits* system, std::string name)
    : FSystemOfUnits(system), FObservable(this), FName(std::move(name)) {
    if (FSystemOfUnits)
        FObservable.AttachObserver(&FSystemOfUnits->FUnitObserver);
}

double TUnit_Abstract::SourceToPresentation(double value, const TUnit_Abstract* sourceUnit) const {
    if (sourceUnit)
        value = sourceUnit->ToSI(value);
    return ToPresentation(value);
}

double TUnit_Abstract::PresentationToTarget(double value, const TUnit_Abstract* targetUnit) const {
    value = ToSI(value);
    return targetUnit ? targetUnit->ToPresentation(value) : value;
}

const TUnitConversionDictionary& TUnit_Abstract::Dictionary() const {
    static const TUnitConversionDictionary standard;
    return FSystemOfUnits ? FSystemOfUnits->UnitConversionDictionary() : standard;
}

// ---------------------------------------------------------------------------------------------
// TStorageUnit

TStorageUnit::TStorageUnit(TSystemOfUnits* system, std::string name, const std::string& siUnit)
    : TUnit_Abstract(system, std::move(name)) {
    FSIUnit = siUnit;
    FTranslatedSIUnit = Translate(siUnit);
    FPresentationUnit = FSymbolicPresentationUnit = FSIUnit;
    FTranslatedPresentationUnit = FTranslatedSymbolicPresentationUnit = FTranslatedSIUnit;
}

TStorageUnit::~TStorageUnit() {
    // The compounds may unregister from us while we walk, so walk a list of our own.
    std::vector<TCompoundUnit*> compounds = std::move(FRegCompound);
    FRegCompound.clear();
    for (TCompoundUnit* compound : compounds)
        compound->MemberDestroyed(this);
}

void TStorageUnit::SetPresentationUnit(const std::string& text) {
    std::string clean;
    clean.reserve(text.size());
    for (char c : text)
        if (c != '.' && c != ';' && c != ',' && c != '=')
            clean += c;
    clean = Trim(clean);
    if (clean.empty())
        clean = "<<invalid>>";

    if (SameText(Trim(FPresentationUnit), clean))
        return;

    // Everything that can fail comes before the first change.
    double factor = 1.0;
    double offset = 0.0;
    std::string presentation;
    if (SameText(clean, FSIUnit)) {
        presentation = FSIUnit;
    } else {
        factor = Dictionary().GetFactor(clean);
        offset = Dictionary().GetOffset(clean);
        presentation = clean;
    }

    // Each refreshed compound tells the system; its observers hear the change once.
    TUpdateBracket update(FSystemOfUnits ? &FSystemOfUnits->Observable() : nullptr);
    FFactor = factor;
    SetOffset(offset);
    FTranslatedPresentationUnit = Translate(presentation);
    FPresentationUnit = std::move(presentation);
    FSymbolicPresentationUnit = FPresentationUnit;
    FTranslatedSymbolicPresentationUnit = FTranslatedPresentationUnit;
    const std::vector<TCompoundUnit*> compounds = FRegCompound;
    for (TCompoundUnit* compound : compounds)
        compound->Refresh();
    NotifyObservers();
    update.Close();
}

void TStorageUnit::RegisterCompoundUnit(TCompoundUnit* compound) {
    if (compound &&
        std::find(FRegCompound.begin(), FRegCompound.end(), compound) == FRegCompound.end())
        FRegCompound.push_back(compound);
}

void TStorageUnit::UnregisterCompoundUnit(TCompoundUnit* compound) {
    auto it = std::find(FRegCompound.begin(), FRegCompound.end(), compound);
    if (it != FRegCompound.end())
        FRegCompound.erase(it);
}

TSimpleUnit::TSimpleUnit(TSystemOfUnits* system, std::string name, const std::string& siUnit,
                         double siTolerance)
    : TStorageUnit(system, std::move(name), siUnit), FSITolerance(siTolerance) {}

// ---------------------------------------------------------------------------------------------
// TCompoundUnit

TCompoundUnit::TCompoundUnit(TSystemOfUnits* system, std::string name,
                             std::initializer_list<TMember> members)
    : TUnit_Abstract(system, std::move(name)) {
    for (const TMember& member : members)
        AddUnit(member.Unit, member.Power);
}

TCompoundUnit::~TCompoundUnit() {
    for (const TMember& member : FMembers)
        member.Unit->UnregisterCompoundUnit(this);
}

void TCompoundUnit::AddUnit(TStorageUnit* unit, int power) {
    if (!unit)
        throw EUnitException(Format("Compound unit %s: no member unit given", FName));
    FMembers.push_back({unit, power});
    TTexts texts;
    double factor;
    try {
        Compose(texts, factor);
    } catch (...) {
        FMembers.pop_back();
        throw;
    }
    unit->RegisterCompoundUnit(this);
    DecorateTexts(texts);
    Store(std::move(texts), factor);
    NotifyObservers();
}

void TCompoundUnit::Refresh() {
    TTexts texts;
    double factor;
    Compose(texts, factor);
    DecorateTexts(texts);
    Store(std::move(texts), factor);
    NotifyObservers();
}

void TCompoundUnit::Reset() {
    for (const TMember& member : FMembers)
        member.Unit->UnregisterCompoundUnit(this);
    FMembers.clear();
    Refresh();
}

void TCompoundUnit::MemberDestroyed(TStorageUnit* unit) {
    // Without one of its members the compound means nothing; it keeps no member at all.
    for (const TMember& member : FMembers)
        if (member.Unit != unit)
            member.Unit->UnregisterCompoundUnit(this);
    FMembers.clear();
    Refresh();
}

void TCompoundUnit::Compose(TTexts& texts, double& factor) const {
    factor = 1.0;
    for (size_t i = 0; i < FMembers.size(); ++i) {
        const TStorageUnit& unit = *FMembers[i].Unit;
        const int power = FMembers[i].Power;
        const long magnitude = std::labs(static_cast<long>(power));

        // "m²", "m³"; higher powers as digits, which the symbolic form marks as "m^4#".
        std::string powerText;
        std::string symbolicPowerText;
        if (magnitude == 2) {
            powerText = symbolicPowerText = "²";
        } else if (magnitude == 3) {
            powerText = symbolicPowerText = "³";
        } else if (magnitude >= 4 && magnitude <= 9) {
            powerText = std::to_string(magnitude);
            symbolicPowerText = "^" + powerText + "#";
        }

        std::string separator;
        std::string symbolicSeparator;
        if (i + 1 < FMembers.size()) {
            if (FMembers[i + 1].Power > 0) {
                if (power == -1)
                    throw EUnitPowerOrder(
                        "Did not expect positive power after negative power in unit");
                separator = "·";
                symbolicSeparator = " ";
            } else {
                separator = symbolicSeparator = "/";
            }
        }

        if (i == 0 && power < 0)
            for (std::string* text :
                 {&texts.Presentation, &texts.TranslatedPresentation, &texts.Symbolic,
                  &texts.TranslatedSymbolic, &texts.SI, &texts.TranslatedSI})
                *text = "1/";

        texts.Presentation += unit.PresentationUnit() + powerText + separator;
        texts.TranslatedPresentation += unit.TranslatedPresentationUnit() + powerText + separator;
        texts.Symbolic += unit.SymbolicPresentationUnit() + symbolicPowerText + symbolicSeparator;
        texts.TranslatedSymbolic +=
            unit.TranslatedSymbolicPresentationUnit() + symbolicPowerText + symbolicSeparator;
        texts.SI += unit.SIUnit() + powerText + separator;
        texts.TranslatedSI += unit.TranslatedSIUnit() + powerText + separator;

        factor *= std::pow(unit.Factor(), power);
    }
}

void TCompoundUnit::Store(TTexts&& texts, double factor) {
    FPresentationUnit = std::move(texts.Presentation);
    FTranslatedPresentationUnit = std::move(texts.TranslatedPresentation);
    FSymbolicPresentationUnit = std::move(texts.Symbolic);
    FTranslatedSymbolicPresentationUnit = std::move(texts.TranslatedSymbolic);
    FSIUnit = std::move(texts.SI);
    FTranslatedSIUnit = std::move(texts.TranslatedSI);
    FFactor = factor;
}

// ---------------------------------------------------------------------------------------------
// TCompoundUnitWithConstUnits

TCompoundUnitWithConstUnits::TCompoundUnitWithConstUnits(
    TSystemOfUnits* system, std::string name, std::string textPrefix, std::string textPostFix,
    std::string symbolicPrefix, std::string symbolicPostFix, std::initializer_list<TMember> members)
    : TCompoundUnit(system, std::move(name)), FTextPrefix(std::move(textPrefix)),
      FTextPostFix(std::move(textPostFix)), FSymbolicPrefix(std::move(symbolicPrefix)),
      FSymbolicPostFix(std::move(symbolicPostFix)) {
    // Members are added here, not by the base, so that the fixed text is in place.
    for (const TMember& member : members)
        AddUnit(member.Unit, member.Power);
    if (members.size() == 0)
        Refresh();
}

TCompoundUnitWithConstUnits::TCompoundUnitWithConstUnits(TSystemOfUnits* system, std::string name,
                                                         std::string postFix,
                                                         std::initializer_list<TMember> members)
    : TCompoundUnitWithConstUnits(system, std::move(name), "", postFix, "", postFix, members) {}

void TCompoundUnitWithConstUnits::DecorateTexts(TTexts& texts) const {
    texts.Presentation = FTextPrefix + texts.Presentation + FTextPostFix;
    texts.TranslatedPresentation = FTextPrefix + texts.TranslatedPresentation + FTextPostFix;
    texts.SI = FTextPrefix + texts.SI + FTextPostFix;
    texts.TranslatedSI = FTextPrefix + texts.TranslatedSI + FTextPostFix;
    texts.Symbolic = FSymbolicPrefix + texts.Symbolic + FSymbolicPostFix;
    texts.TranslatedSymbolic = FSymbolicPrefix + texts.TranslatedSymbolic + FSymbolicPostFix;
}

} // namespace tw
