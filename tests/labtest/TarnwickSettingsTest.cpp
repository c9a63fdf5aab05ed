// The lab's settings: what they keep through their file, and what they answer without one.

#include "TestFileSupport.h"

#include "labtest/TarnwickSettings.h"

using namespace tw;
using namespace tw::testing;

TEST(TarnwickSettings, KeepTheFailureEnvelopeChoiceAndADefaultPerTestType) {
    TTemporaryFolder folder;
    const std::string file = folder.File("Tarnwick.settings.xml");
    auto settings = TTarnwickSettings::Open(file);
    EXPECT_EQ(settings->FileName(), file);
    EXPECT_EQ(settings->Additional(), adCurrent);
    for (int i = 0; i < QBTestTypeCount; ++i)
        EXPECT_EQ(settings->GetDefaultsFileName(static_cast<TQBTestType>(i)), "");

    settings->SetAdditional(adNone);
    settings->SetDefaultsFileName(ttTriaxial, "/c/Triaxial/Loose sand.tws.kovml");
    settings->SetDefaultsFileName(ttCycTriaxial, "/c/CycTriaxial/Cyclic.tws.kovml");
    settings->Save();
    EXPECT_EQ(settings->LastError(), "");

    auto read = TTarnwickSettings::Open(file);
    EXPECT_EQ(read->Additional(), adNone);
    EXPECT_EQ(read->GetDefaultsFileName(ttTriaxial), "/c/Triaxial/Loose sand.tws.kovml");
    EXPECT_EQ(read->GetDefaultsFileName(ttCycTriaxial), "/c/CycTriaxial/Cyclic.tws.kovml");
    EXPECT_EQ(read->GetDefaultsFileName(ttCRS), "");
    read->SetDefaultsFileName(ttTriaxial, "");
    EXPECT_FALSE(read->HasDefaultsFileName(ttTriaxial));

    // A stored choice that is none of the three reads as the default.
    read->SetInteger("Additional", 7);
    EXPECT_EQ(read->Additional(), adCurrent);
    read->SetAdditional(adAll);
    EXPECT_EQ(read->Additional(), adAll);

    // A damaged file gives the defaults, and says why.
    WriteBytes(file, "<settings><Additional Type=\"Integer\">2</Addi");
    auto damaged = Make<TTarnwickSettings>();
    damaged->SetFileName(file);
    damaged->SetAttempts(1, std::chrono::milliseconds(0));
    damaged->Load();
    EXPECT_EQ(damaged->Additional(), adCurrent);
    EXPECT_EQ(damaged->LastError().rfind("File \"" + file + "\" is corrupt, ", 0), 0u)
        << damaged->LastError();
}
