#pragma once
// The cyclic direct simple shear test: the shear strain or stress is cycled in xy around an
// initial static shear (see QBCyclicTest.h).

#include "labtest/QBCyclicTest.h"

namespace tw {

class TQBTestCDSS : public TQBCyclicTest<TQBTestDSBase> {
    TW_KOV_CLASS(TQBTestCDSS, TQBCyclicTest<TQBTestDSBase>)
public:
    using TQBCyclicTest::TQBCyclicTest;
    static void DeclareProperties(TKovIntrinsicPropertyDeclarationList& list);
    TQBTestType TestType() const override { return ttCDSS; }
    // The cycles are (phase count - 2) / 2, rounded.
    const TQBCyclicTestKind& CyclicKind() const override;
    std::string ToString() const override;

protected:
    void SetDefaultValues(bool clearResults) override;
};

} // namespace tw
