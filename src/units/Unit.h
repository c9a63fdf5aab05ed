#pragma once
// Units of measure. Every value of the model is held in a base unit (N, s, m, kg, K, ...); a unit
// says how such a value is shown to the user. With factor F and offset O:
//
//   base value         = F * (O + presented value)        ToSI
//   presented value    = base value / F - O               ToPresentation
//
// A storage unit (force, length, time, ...) takes its presentation from the user. A compound unit
// (pressure = force / length², ...) is built from storage units and follows them: each storage
// unit knows the compounds that use it and refreshes them when its presentation changes.
//
// Each unit carries three pairs of texts: the presentation ("kN/m²"), the symbolic presentation,
// in which powers above 3 stay machine readable ("m^4#" where the presentation shows "m4"), and
// the base unit's text ("N/m²"); each in English and translated.
//
// Units are owned by their system of units (or by whoever made them) and are neither copied nor
// moved: compounds and storage units point at each other. Units are changed on the main thread
// only; other threads may read them while nothing changes.

#include "objects/Observer.h"
#include "units/UnitConversionDictionary.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace tw {

class TSystemOfUnits;
class TCompoundUnit;

// A compound unit with a positive power behind a power of -1 ("kN/m·s" is ambiguous).
TW_DECLARE_EXCEPTION(EUnitPowerOrder, EUnitException)

class TUnit_Abstract {
public:
    // `system` owns the unit, or is nullptr for a unit on its own. With a system, the system's
    // unit observer hears every change of this unit, and texts are looked up in the system's
    // conversion table.
    TUnit_Abstract(TSystemOfUnits* system, std::string name);
    TUnit_Abstract(const TUnit_Abstract&) = delete;
    TUnit_Abstract& operator=(const TUnit_Abstract&) = delete;
    virtual ~TUnit_Abstract() = default;

    // A base value in this unit's presentation: value / Factor - Offset.
    virtual double ToPresentation(double value) const { return value / FFactor - FOffset; }
    // A value presented in `sourceUnit` in this unit's presentation; with no source unit the
    // value is taken as a base value.
    virtual double SourceToPresentation(double value, const TUnit_Abstract* sourceUnit) const;
    // A value presented in this unit as a base value: Factor * (Offset + value).
    virtual double ToSI(double value) const { return FFactor * (FOffset + value); }
    // A value presented in this unit in the presentation of `targetUnit`; with no target unit,
    // the base value.
    virtual double PresentationToTarget(double value, const TUnit_Abstract* targetUnit) const;
    // Only a complex unit (temperature) keeps an offset; on every other unit this does nothing.
    virtual void SetOffset(double /*offset*/) {}
    // The smallest difference that matters, in presentation units; 0 where none is defined.
    virtual double Tolerance() const { return 0.0; }

    const std::string& Name() const { return FName; }
    double Factor() const { return FFactor; }
    double Offset() const { return FOffset; }
    const std::string& PresentationUnit() const { return FPresentationUnit; }
    const std::string& TranslatedPresentationUnit() const { return FTranslatedPresentationUnit; }
    const std::string& SymbolicPresentationUnit() const { return FSymbolicPresentationUnit; }
    const std::string& TranslatedSymbolicPresentationUnit() const {
        return FTranslatedSymbolicPresentationUnit;
    }
    const std::string& SIUnit() const { return FSIUnit; }
    const std::string& TranslatedSIUnit() const { return FTranslatedSIUnit; }
    TSystemOfUnits* SystemOfUnits() const { return FSystemOfUnits; }

    // Observers hear each change of the presentation.
    void AttachObserver(TObserver* observer) { FObservable.AttachObserver(observer); }
    void DetachObserver(TObserver* observer) { FObservable.DetachObserver(observer); }

protected:
    // The owner's conversion table, or the standard one for a unit without system.
    const TUnitConversionDictionary& Dictionary() const;
    void NotifyObservers() { FObservable.NotifyObservers(); }

    TSystemOfUnits* FSystemOfUnits;
    TObservable FObservable;
    std::string FSymbolicPresentationUnit;
    std::string FTranslatedSymbolicPresentationUnit;
    std::string FSIUnit;
    std::string FTranslatedSIUnit;
    std::string FName;
    double FFactor = 1.0;
    std::string FPresentationUnit;
    std::string FTranslatedPresentationUnit;
    double FOffset = 0.0;
};

// The unit of values that have none: factor 1, no texts.
class TDummyUnit : public TUnit_Abstract {
public:
    explicit TDummyUnit(TSystemOfUnits* system) : TUnit_Abstract(system, "") {}
};

// A unit whose presentation the user chooses. It starts in its base text with factor 1.
class TStorageUnit : public TUnit_Abstract {
public:
    TStorageUnit(TSystemOfUnits* system, std::string name, const std::string& siUnit);
    // Takes this unit out of the compounds that still use it.
    ~TStorageUnit() override;

    // Sets the unit shown to the user:
    // 1. ".", ";", "," and "=" are removed and blanks trimmed ("N." is "N"); nothing left
    //    becomes "<<invalid>>", which no table knows.
    // 2. A text equal to the current one, ignoring case, changes nothing and notifies nobody.
    // 3. The base text, in any case, takes factor 1 and offset 0 and is stored as the base text
    //    is spelled. Any other text takes factor and offset from the conversion table; an unknown
    //    text raises EUnknownProjectUnit and leaves the unit as it was.
    // 4. The translated and symbolic texts follow, every compound that uses this unit is
    //    refreshed, and observers are told (the system's observers once).
    void SetPresentationUnit(const std::string& text);

    void RegisterCompoundUnit(TCompoundUnit* compound);
    void UnregisterCompoundUnit(TCompoundUnit* compound);
    const std::vector<TCompoundUnit*>& RegisteredCompoundUnits() const { return FRegCompound; }

private:
    std::vector<TCompoundUnit*> FRegCompound; // not owned
};

// A storage unit with a tolerance, given in its base unit.
class TSimpleUnit : public TStorageUnit {
public:
    TSimpleUnit(TSystemOfUnits* system, std::string name, const std::string& siUnit,
                double siTolerance);
    double Tolerance() const override { return FSITolerance / FFactor; }
    double SITolerance() const { return FSITolerance; }

private:
    double FSITolerance;
};

// A simple unit whose presentation may have another zero point than its base: temperature.
class TComplexUnit : public TSimpleUnit {
public:
    using TSimpleUnit::TSimpleUnit;
    void SetOffset(double offset) override { FOffset = offset; }
};

// A unit made of storage units raised to integer powers, in the order they were added and not
// reduced: length / time / length reads "m/day/m". Its offset stays 0, so a compound with a
// temperature (conductivity per kelvin) depends only on the size of a degree.
class TCompoundUnit : public TUnit_Abstract {
public:
    struct TMember {
        TStorageUnit* Unit; // not owned
        int Power;
    };

    TCompoundUnit(TSystemOfUnits* system, std::string name,
                  std::initializer_list<TMember> members = {});
    // Leaves the storage units it is made of.
    ~TCompoundUnit() override;

    // Appends a member, registers with it and refreshes. A positive power behind a power of -1
    // raises EUnitPowerOrder and leaves the unit as it was.
    void AddUnit(TStorageUnit* unit, int power);
    // Rebuilds texts and factor from the members and notifies observers, also without members.
    void Refresh();
    // Drops every member, then refreshes.
    void Reset();
    const std::vector<TMember>& Members() const { return FMembers; }

protected:
    // The texts of a refresh, before they are stored.
    struct TTexts {
        std::string Presentation, TranslatedPresentation;
        std::string Symbolic, TranslatedSymbolic;
        std::string SI, TranslatedSI;
    };
    // A descendant's last word on the texts of a refresh.
    virtual void DecorateTexts(TTexts& /*texts*/) const {}

private:
    friend class TStorageUnit;
    // Builds texts and factor; raises EUnitPowerOrder without changing anything.
    void Compose(TTexts& texts, double& factor) const;
    void Store(TTexts&& texts, double factor);
    // A member unit that is being destroyed leaves.
    void MemberDestroyed(TStorageUnit* unit);

    std::vector<TMember> FMembers;
};

// A compound unit with fixed text around its members, for quantities that are always shown with
// part of the unit fixed: length per second is "m/s" or "ft/s" whatever the user's time unit. A
// unit without members has factor 1, so its values are held in the unit its text names: a
// millimetre-always value is held in millimetres.
class TCompoundUnitWithConstUnits : public TCompoundUnit {
public:
    TCompoundUnitWithConstUnits(TSystemOfUnits* system, std::string name, std::string textPrefix,
                                std::string textPostFix, std::string symbolicPrefix,
                                std::string symbolicPostFix,
                                std::initializer_list<TMember> members = {});
    // The same post-fix in both forms, and no prefixes.
    TCompoundUnitWithConstUnits(TSystemOfUnits* system, std::string name, std::string postFix,
                                std::initializer_list<TMember> members = {});

    const std::string& TextPrefix() const { return FTextPrefix; }
    const std::string& TextPostFix() const { return FTextPostFix; }
    const std::string& SymbolicPrefix() const { return FSymbolicPrefix; }
    const std::string& SymbolicPostFix() const { return FSymbolicPostFix; }

protected:
    // Text forms (presentation, base) take the text prefix and post-fix, symbolic forms the
    // symbolic ones. The fixed text is a unit symbol and is not translated.
    void DecorateTexts(TTexts& texts) const override;

private:
    std::string FTextPrefix;
    std::string FTextPostFix;
    std::string FSymbolicPrefix;
    std::string FSymbolicPostFix;
};

} // namespace tw
