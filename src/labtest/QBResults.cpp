#include "labtest/QBResults.h"

namespace tw {

TW_KOV_CLASS_IMPL(TQBResults, TKovObservableObject, nullptr)

void TQBResults::ClearRows() {
    if (FRowCount == 0)
        return;
    for (auto& column : FColumns)
        column.clear();
    FRowCount = 0;
    NotifyObservers();
}

void TQBResults::AddRow(const std::vector<double>& values) {
    if (values.size() > FColumns.size())
        FColumns.resize(values.size(), std::vector<double>(FRowCount, 0.0));
    for (size_t c = 0; c < FColumns.size(); ++c)
        FColumns[c].push_back(c < values.size() ? values[c] : 0.0);
    ++FRowCount;
    NotifyObservers();
}

void TQBResults::CopyFrom(const TQBResults& source) {
    FColumns = source.FColumns;
    FRowCount = source.FRowCount;
    NotifyObservers();
}

void TQBResults::AssignEssentialState(const TKovObject& source) {
    TKovObservableObject::AssignEssentialState(source);
    if (const auto* other = dynamic_cast<const TQBResults*>(&source)) {
        FColumns = other->FColumns;
        FRowCount = other->FRowCount;
    }
}

} // namespace tw
