#pragma once
// What a test's charts show, as data: for each chart its type, title and two axes (the result
// column, sign, flip, scale). The chart frame draws one chart per visible setting; nothing here
// draws. The lists of a test have no object manager: chart settings are a view of the test and
// take no part in undo.

#include "labtest/QBResults.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"
#include "objects/KovObjectLists.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tw {

// The kinds of charts. The ordinal is stored in files: append, never reorder.
enum TQBChartType : uint8_t {
    ctCustom,
    ctS3S1,
    ctPQ,
    ctMohr,
    ctE1DS,
    ctE1Ev,
    ctE1Pw,
    ctE1S1,
    ctTE1,
    ctTS1,
    ctTxyGxy,
    ctEyySyy,
    ctSxxSyy,
    ctTEyy,
    ctGxyPw,
    ctQ3Q1,
    ctEyyPw,
    ctEyyEv,
    ctTQyy,
    ctExxSxx,
    ctEvSxx,
    ctEyyDS,
    ctE1Suc,
    ctE1Sat,
    ctEvTemp,
};
constexpr int QBChartTypeCount = 25;

// The fixed description of a chart type: its stored title (shown through the catalogue), the
// result columns of its axes, whether each axis is drawn flipped, and the value that chart lists
// sort on.
struct TQBChartTypeInfo {
    const char* StoredTitle;
    TQBResultType X;
    TQBResultType Y;
    bool FlipX;
    bool FlipY;
    int Order;
};
const TQBChartTypeInfo& ChartTypeInfo(TQBChartType type);
// The enumerated strings of the chart types ("ctCustom", ...) and of the result columns
// ("rtEps1", ...), as the enumeration properties store them.
const std::vector<std::string>& ChartTypeStrings();
const std::vector<std::string>& ResultTypeStrings();

// One axis of a chart.
class TQBAxisSettings : public TKovObservableObject {
    TW_KOV_CLASS(TQBAxisSettings, TKovObservableObject)
public:
    using TKovObservableObject::TKovObservableObject;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    TQBResultType ResultType() const;
    void SetResultType(TQBResultType type);
    // The values are drawn with their sign inverted.
    bool InvertSign() const;
    void SetInvertSign(bool invert);
    // The axis runs the other way.
    bool FlipAxis() const;
    void SetFlipAxis(bool flip);
    bool Logarithmic() const;
    void SetLogarithmic(bool logarithmic);
    // The chosen entries of the stress and strain lists of the axis dialog.
    int StrainSelection() const;
    void SetStrainSelection(int selection);
    int StressSelection() const;
    void SetStressSelection(int selection);
    // A label of the axis's own; empty means the caption of the result column.
    std::string Title() const;
    void SetTitle(const std::string& title);
};

class TQBChartSettings : public TKovObservableObject {
    TW_KOV_CLASS(TQBChartSettings, TKovObservableObject)
public:
    explicit TQBChartSettings(TKovObjectManager* manager);
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);

    std::string Title() const;
    void SetTitle(const std::string& title);
    // Equal scales on both axes (the Mohr circles stay round).
    bool Orthonormal() const;
    void SetOrthonormal(bool orthonormal);
    bool Visible() const;
    void SetVisible(bool visible);
    TQBChartType ChartType() const;
    void SetChartType(TQBChartType type);
    bool Selected() const;
    void SetSelected(bool selected);
    // Every type but the user's own charts is a default chart.
    bool IsDefault() const { return ChartType() != ctCustom; }
    // The value the frame sorts its charts on.
    int SortIndex() const { return FSortIndex; }
    void SetSortIndex(int index) { FSortIndex = index; }

    // Owned; absent only in a blank instance made for undo.
    TQBAxisSettings& XAxis() const { return *FXAxis; }
    TQBAxisSettings& YAxis() const { return *FYAxis; }

    // A copy with the same manager: properties, sort value and both axes.
    std::unique_ptr<TQBChartSettings> Clone() const;

private:
    int FSortIndex = 0;
    std::unique_ptr<TQBAxisSettings> FXAxis;
    std::unique_ptr<TQBAxisSettings> FYAxis;
};

class TQBChartSettingsList : public TKovObservableObjectList {
    TW_KOV_CLASS(TQBChartSettingsList, TKovObservableObjectList)
public:
    explicit TQBChartSettingsList(TKovObjectManager* manager)
        : TKovObservableObjectList(manager, true) {}

    TQBChartSettings* GetItems(int index) const {
        return static_cast<TQBChartSettings*>(GetItemOrNull(index));
    }
    // Appends a setting of a chart type as the type describes it: title, axes, flips, sort
    // value; visible; orthonormal for the Mohr chart only.
    TQBChartSettings& AddDefault(TQBChartType type);
    // The first setting of that type, or nullptr.
    TQBChartSettings* ByChartType(TQBChartType type) const;
    // Deletes every setting of that type; answers whether there was one.
    bool RemoveChartType(TQBChartType type);
    // Adds the setting when absent (wanted) or removes it when present (not wanted).
    void EnsureChartType(TQBChartType type, bool wanted);
    // Clears, then adds a clone of each setting of `source`.
    void CopyFrom(const TQBChartSettingsList& source);
};

} // namespace tw
