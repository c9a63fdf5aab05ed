#pragma once
// The persisters of the lab's own model, on the storage library's framework (see
// storage/HierarchicPersisters.h). What a file holds, by persister:
//
//   THPQBProject         the project's properties (version, units), then "MainTests",
//                        "LoadedTests" and "UnitSystemVersion" (1: numbers in base units; missing
//                        or below 0: an old file that holds them in its own units)
//   THPQBTestList        one node per test, named by its type ("Triaxial", ...)
//   THPQBTest            the test's stored properties, then "Phases", "CyclicPhases",
//                        "ChartSettings", "LoadedChartSettings", "BulkResults", and "MaterialX"
//                        for a test that owns its material (a loaded test)
//   THPQBPhase           the phase's properties
//   THPQBChartSettings   the setting's properties, "ChartXAxisSettings", "ChartYAxisSettings"
//   THPIncrements        six numbers in one text, tab-separated
//   THPBoundaryConditions six ordinals in one text, tab-separated
//   THPQBResults         "BulkResults": for each of the 43 columns in their order
//                        "ResultColumn-<name>" and "ResultIsSet-<name>", then "ResultIsSelected"
//                        and "ResultRowCount"
//   THPKovValues         an array of numbers
//
// Numbers go as one blob of 8-byte doubles where the back-end takes blobs (kovml), else as one
// text of numbers separated by blanks (XML); flags as one byte a row, or a text of "0" and "1".
//
// Old forms that still load: a test's "InitialStresses" (the initial effective stresses as one
// text), a phase's "StressIncrements", "StrainIncrements" and "BoundaryConditions", and results
// under "Results" instead of "BulkResults" (QBResultsOld.h).

#include "labtest/QBProject.h"
#include "storage/KovPersisters.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tw {

// The unit system version the files are written with: numbers with units in base units.
constexpr int32_t CurrentUnitSystemVersion = 1;

class THPQBProject : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override;
    // Every test of both lists gets its material (the project's, unless it owns one), then
    // DoAfterLoadFromStorage; loaded tests get their titles; the unit properties set the units.
    void PostLoad(TKovObject& object, THPReadErrorList* errors) override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    void PersistAdditionalObjects(TKovObject& object, THierarchicStorage& storage) override;
    bool NeedsVersion(const TKovObject&) const override { return true; }
};

// Tests are made by their type and method, so that a read test is one of its kind in full.
class THPQBTestList : public THPKovObjectList {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
};

class THPQBTest : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override;
    // A test read in place of a live one (a configuration) is copied into it as one undo step:
    // properties, phases, cyclic phases, chart settings, then the results and an owned material.
    void CommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
    // Sort values of the chart settings, result columns shown, values derived from results.
    void PostLoad(TKovObject& object, THPReadErrorList* errors) override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    // The references to the test's own lists are not stored: the lists are, under their names.
    bool PersistThisProperty(const TKovIntrinsicProperty& property) const override;
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    void BeforeLoad(TKovObject& object, THierarchicStorage& storage,
                    THPReadErrorList* errors) override;
    void AfterLoadAdditional(TKovObject& object, TAdditionalPersister& entry,
                             THierarchicStorage& child, THPReadErrorList* errors) override;
    // "BulkResults" missing: the old "Results", if any.
    void HandleNotFoundAdditionalObjectsSubStorageFor(TKovObject& object,
                                                      TAdditionalPersister& entry,
                                                      THierarchicStorage& storage,
                                                      THPReadErrorList* errors) override;
    bool NeedsVersion(const TKovObject&) const override { return true; }
};

class THPQBPhase : public THPKovParentableObject {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
    void AfterLoadAdditional(TKovObject& object, TAdditionalPersister& entry,
                             THierarchicStorage& child, THPReadErrorList* errors) override;
    // An old file's increments stand in its old elements: no message for their properties.
    void HandleNotFoundAdditionalObjectsSubStorageFor(TKovObject& object,
                                                      TAdditionalPersister& entry,
                                                      THierarchicStorage& storage,
                                                      THPReadErrorList* errors) override;
};

class THPQBChartSettings : public THPKovObservableObject {
public:
    const TKovClass& SupportedClass() const override;
    // The sort value is the chart type's.
    void PostLoad(TKovObject& object, THPReadErrorList* errors) override;

protected:
    void AddAdditionalObjects(TKovObject& object, TAdditionalPersistObjects& list) override;
};

class THPIncrements : public THPKovObject {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
};

class THPBoundaryConditions : public THPIncrements {
public:
    const TKovClass& SupportedClass() const override;

protected:
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
};

class THPQBResults : public THPKovObject {
public:
    const TKovClass& SupportedClass() const override;
    std::string GetDefaultStorageName(const TKovObject*) const override { return "BulkResults"; }

protected:
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    // All or nothing: a column of another length than the row count is an error of the file.
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
};

class THPKovValues : public THPKovObject {
public:
    const TKovClass& SupportedClass() const override;
    std::string GetDefaultStorageName(const TKovObject*) const override { return "KovValues"; }

protected:
    void DoPersistObject(TKovObject& object, THierarchicStorage& storage) override;
    void DoLoadObject(TKovObject& object, THierarchicStorage& storage,
                      THPReadErrorList* errors) override;
    void DoCommitLoadedObject(TKovObject& target, TKovObject& loaded) override;
};

// The value of a node as numbers or flags, in the form of its back-end (see the top).
void WriteStoredDoubles(THierarchicStorage& storage, std::span<const double> values);
void WriteStoredBooleans(THierarchicStorage& storage, std::span<const uint8_t> flags);
// False, with `values` unchanged, for a value that is no list of numbers (or flags).
bool ReadStoredDoubles(const THierarchicStorage& storage, std::vector<double>& values);
bool ReadStoredBooleans(const THierarchicStorage& storage, std::vector<uint8_t>& flags);

// The test type whose classes have that type name ("Triaxial", ...), compared without case.
bool TestTypeOfClassTypeName(const std::string& name, TQBTestType& type);
// The method a test node was stored with (the named value "TestMethod"); 3D when it has none.
TQBTestMethod StoredTestMethod(const THierarchicStorage& storage);

// Registers the lab's classes by their type names and the persisters of this header and of the
// test files (TarnwickPersistence.h, TarnwickResults.h), once, in the order the files need:
// project, test list, test, phase, chart settings, increments, boundary conditions, then the
// results, the material, the containers. Every entry point of the lab's files calls it.
void RegisterTarnwickPersistence();

} // namespace tw
