#include "LabTestSupport.h"

#include "labtest/QBBaseFile.h"
#include "objects/ObjectManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

using namespace tw;
using namespace tw::testing;
using ::testing::StartsWith;
using ::testing::StrEq;
using ::testing::ThrowsMessage;
namespace fs = std::filesystem;

namespace {

// A folder of its own for each test, with the units of a new project.
struct FileFixture : ::testing::Test {
    fs::path Dir;
    TSystemOfUnits Units;
    TMessageRecorder Messages;

    void SetUp() override {
        Dir = fs::temp_directory_path() /
              ("tw files " + std::to_string(::getpid()) + " " +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(Dir);
        fs::create_directories(Dir);
        Units.SetUnitsOfNewProject();
    }
    void TearDown() override { fs::remove_all(Dir); }
    std::string Path(const std::string& name) const { return (Dir / name).string(); }
    // The names in the folder: a failed write must leave no temporary file behind.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(Dir))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

// Writes [soilmodeldata] with one marker line, to show where the material blocks go.
struct MarkerMaterialWriter : IKernelMaterialWriter {
    IKernelMaterialWriter* Previous = SetKernelMaterialWriter(this);
    ~MarkerMaterialWriter() override { SetKernelMaterialWriter(Previous); }
    void WriteMaterialBlocks(IKernelFileLineWriter& file, const ITestMaterial& material) override {
        file.WriteSection("[soilmodeldata]");
        file.WriteString(material.Identification(), "written by the material writer");
    }
};

} // namespace

TEST_F(FileFixture, LinesHaveTheirLabelBehindATabAndListsATabBehindEveryValue) {
    {
        TQBBaseFile file(&Units, Path("lines.txt"));
        file.WriteSection("[testparameters]");
        file.WriteInteger(100, "number of steps in phase 1");
        file.WriteDouble(-0.1, "strain");
        file.WriteDouble(1e-5);
        file.WriteString("two\nlines\tand a tab", "materialname");
        const double list[] = {0, -0.1, 2.5};
        file.WriteDoubleList(list, 3, "strain increments for phase 1");
        const int conditions[] = {1, 0};
        file.WriteIntegerList(conditions, 2, "boundary conditions");
        file.WriteDoubles({1.5, 2}, "pair");
        file.WriteDoubles({3, 4});
        file.WriteBlankLine();
        EXPECT_EQ(file.Pos(), 10);
        file.Close();
    }
    EXPECT_EQ(ReadBytes(Dir / "lines.txt"), "\xEF\xBB\xBF"
                                            "[testparameters]\n"
                                            "100\t=number of steps in phase 1\n"
                                            "-0.1\t=strain\n"
                                            "1E-5\n"
                                            "two lines and a tab\t=materialname\n"
                                            "0\t-0.1\t2.5\t=strain increments for phase 1\n"
                                            "1\t0\t=boundary conditions\n"
                                            "1.5\t2\t=pair\n"
                                            "3\t4\n"
                                            "\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"lines.txt"});
}

TEST_F(FileFixture, ReadingTakesTheValueAtTheLineStartAndFindsSections) {
    WriteBytes(Dir / "in.txt", "\xEF\xBB\xBF[Header]\r\n"
                               "9\t=file version number\r\n"
                               "  [TestParameters]  \n"
                               "7\t=cyctriaxial\n"
                               "-1.5E-3\t=error1\n"
                               "Clay = soft\t=materialname\n"
                               "0\t-0.1\t2.5\t=strain increments\n"
                               "1 and some words\n"
                               "x\t=not a number\n");
    TQBBaseFile file(nullptr, Path("in.txt"));
    EXPECT_TRUE(file.SetPosBySection("[header]", 0, true));
    EXPECT_EQ(file.Mode(), fmReading);
    EXPECT_EQ(file.ReadNextLineAsInteger(), 9);
    EXPECT_TRUE(file.SetPosBySection("[testparameters]", 1, true)); // back from the top, skip 1
    EXPECT_EQ(file.Pos(), 4);
    EXPECT_EQ(file.ReadNextLineAsDouble(), -1.5e-3);
    EXPECT_EQ(file.ReadNextLineAsString(), "Clay = soft");
    EXPECT_EQ(file.ReadNextLineAsDoubles(3), (std::vector<double>{0, -0.1, 2.5}));
    EXPECT_EQ(file.ReadNextLineAsInteger(), 1);
    EXPECT_THAT([&] { file.ReadNextLineAsDouble(); },
                ThrowsMessage<std::exception>(
                    StrEq("\"x\" is not a number in line 9 of " + Path("in.txt"))));
    EXPECT_TRUE(file.EndOfFile());
    EXPECT_THAT([&] { file.ReadNextLine(); },
                ThrowsMessage<std::exception>(
                    StrEq("Unexpected end of file " + Path("in.txt") + ": line 10 is missing")));

    EXPECT_FALSE(file.SetPosBySection("[results]", 0, false));
    EXPECT_THAT([&] { file.SetPosBySection("[results]", 0, true); },
                ThrowsMessage<std::exception>(StrEq(
                    "SetPosBySection: reached end of file before finding desired sectionname.")));
    // "cyctriaxial" holds no "[": a value is never taken for a section.
    EXPECT_FALSE(file.SetPosBySection("cyctriaxial", 0, false));
    file.SetPosBySection("[testparameters]", 0, true);
    EXPECT_EQ(file.ReadNextLineAsDoubles(1).size(), 1u);
    EXPECT_THAT([&] { file.ReadNextLineAsDoubles(2); },
                ThrowsMessage<std::exception>(StrEq("Line 5 of " + Path("in.txt") +
                                                    " holds 1 values where 2 were expected")));
}

TEST_F(FileFixture, PositionsMoveOnlyForward) {
    TQBBaseFile file(&Units, Path("pos.txt"));
    file.WriteString("first");
    file.SetPos(3); // empty lines up to line 3
    file.WriteString("fourth");
    EXPECT_THAT([&] { file.SetPos(2); },
                ThrowsMessage<std::exception>(StrEq(
                    "SetPos: Can not move file position backwards!\n  Pos = 4\n  Value = 2")));
    // Reading closes the written file first; then lines are skipped.
    file.SetPosBySection("[none]", 0, false);
    EXPECT_EQ(ReadBytes(Dir / "pos.txt"), "\xEF\xBB\xBF"
                                          "first\n\n\nfourth\n");
    file.Close(); // a closed file starts from the top again
    file.SetPos(1);
    EXPECT_EQ(file.ReadNextLine(), "");
    TQBBaseFile reader(nullptr, Path("pos.txt"));
    reader.SetPos(0);
    reader.SetPos(3);
    EXPECT_EQ(reader.ReadNextLine(), "fourth");
    EXPECT_THAT([&] { reader.SetPos(6); },
                ThrowsMessage<std::exception>(StrEq(
                    "SetPos: reached end of file before reaching desired position.\n  File = " +
                    Path("pos.txt"))));
}

TEST_F(FileFixture, OpeningFailuresSayWhatAndWhere) {
    EXPECT_THAT([&] { TQBBaseFile(&Units, ""); },
                ThrowsMessage<std::exception>(
                    StrEq("TQBFile.SetName - Value parameter must not be empty!")));
    EXPECT_THAT([&] { TQBBaseFile(&Units, Path("absent.txt")).ReadNextLine(); },
                ThrowsMessage<std::exception>(
                    StrEq("TQBBaseFile.OpenRead: File not found:\n  " + Path("absent.txt"))));

    // A folder that doesn't exist: by message, once, and the rest of the writing is dropped.
    const std::string nowhere = Path("no folder/file.qbs");
    {
        TQBBaseFile file(&Units, nowhere);
        file.WriteString("a");
        file.WriteString("b");
        EXPECT_TRUE(file.WriteFailed());
        file.Close();
    }
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text, "Could not write to: " + nowhere);
    EXPECT_EQ(Messages.Messages[0].Title, "Error");

    // Without the message box: an exception.
    TQBBaseFile file(&Units, nowhere);
    file.SetDisplayErrorBox(false);
    EXPECT_THAT([&] { file.WriteString("a"); },
                ThrowsMessage<std::exception>(StartsWith("TQBBaseFile.OpenWrite: ")));
    EXPECT_EQ(Messages.Messages.size(), 1u);
}

TEST_F(FileFixture, AFailedWriteLeavesTheFileThatWasThere) {
    WriteBytes(Dir / "test.qbs", "good old file\n");
    // An exception while writing: the object going out of scope drops the new content.
    try {
        TQBBaseFile file(&Units, Path("test.qbs"));
        file.WriteString("half a file");
        throw std::runtime_error("failure while writing");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(ReadBytes(Dir / "test.qbs"), "good old file\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"test.qbs"});

    // A write operation that failed and was caught by the caller: closing puts nothing in place.
    TQBBaseFile file(nullptr, Path("test.qbs"));
    EXPECT_THAT([&] { file.WriteHeader(nullptr, 8); },
                ThrowsMessage<std::exception>(
                    StrEq("The data cannot be written without a valid system of units")));
    file.Close();
    EXPECT_EQ(ReadBytes(Dir / "test.qbs"), "good old file\n");

    // Appending writes in place.
    TQBBaseFile append(&Units, Path("test.qbs"));
    append.OpenAppend();
    EXPECT_EQ(append.Pos(), 1);
    append.WriteString("more");
    append.Close();
    EXPECT_EQ(ReadBytes(Dir / "test.qbs"), "good old file\nmore\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"test.qbs"});
}

TEST_F(FileFixture, HeaderOfVersion9AndOfOlderVersions) {
    TFakeMaterial clay;
    clay.Id = "Soft clay";
    {
        TQBBaseFile file(&Units, Path("v9.qbc"));
        file.WriteHeader(&clay, 9);
        file.Close();
    }
    EXPECT_EQ(ReadBytes(Dir / "v9.qbc"), "\xEF\xBB\xBF[header]\n"
                                         "9\t=file version number\n"
                                         "Soft clay\t=materialname\n"
                                         "kN\t=unit of force\n"
                                         "m\t=unit of length\n"
                                         "day\t=unit of time\n"
                                         "K\t=unit of temperature\n"
                                         "9.81\t=water weight\n"
                                         "\n\n");
    {
        TQBBaseFile file(&Units, Path("v8.qbs"));
        file.WriteHeader(nullptr, 8); // the legacy route needs no material
        EXPECT_EQ(file.VersionNumber(), 8);
        file.Close();
    }
    EXPECT_EQ(ReadBytes(Dir / "v8.qbs"), "\xEF\xBB\xBF[header]\n"
                                         "8\t=file version number\n"
                                         "\t=materialname\n"
                                         "kN\t=unit of force\n"
                                         "m\t=unit of length\n"
                                         "day\t=unit of time\n"
                                         "\n\n\n\n");

    TQBBaseFile file(&Units, Path("bad.qbc"));
    file.SetDisplayErrorBox(false);
    EXPECT_THAT(
        [&] { file.WriteHeader(nullptr, 9); },
        ThrowsMessage<std::exception>(
            StrEq("MaterialX is required for writing QB header for QB file version 9 or higher")));
    EXPECT_THAT(
        [&] { file.WriteMaterialX(nullptr); },
        ThrowsMessage<std::exception>(StrEq("Cannot write qb header for unassigned MaterialX")));
    clay.Numbers.erase("RhoWater");
    EXPECT_THAT([&] { file.WriteHeader(&clay, 9); },
                ThrowsMessage<std::exception>(
                    StrEq("The material \"Soft clay\" has no value \"RhoWater\"")));
}

TEST_F(FileFixture, ReadingAHeaderTakesItsUnitsAndWarnsOfNewerVersions) {
    WriteBytes(Dir / "new.qbc", "[header]\n10\t=file version number\nSand\t=materialname\n"
                                "kip\t=unit of force\nft\t=unit of length\nh\t=unit of time\n"
                                "°F\t=unit of temperature\n62.4\t=water weight\n\n\n");
    TQBBaseFile file(nullptr, Path("new.qbc"));
    EXPECT_FALSE(file.HasStorageSystemOfUnits());
    file.ReadHeader();
    EXPECT_EQ(file.VersionNumber(), 10);
    EXPECT_EQ(file.MaterialName(), "Sand");
    const TSystemOfUnits& units = file.StorageSystemOfUnits();
    EXPECT_EQ(units.Force.PresentationUnit(), "kip");
    EXPECT_EQ(units.Mass.PresentationUnit(), "klb"); // the mass follows the force
    EXPECT_EQ(units.Length.PresentationUnit(), "ft");
    EXPECT_EQ(units.Time.PresentationUnit(), "h");
    EXPECT_EQ(units.Temperature.PresentationUnit(), "°F");
    EXPECT_EQ(units.TemperatureInterval.PresentationUnit(), "°F");
    ASSERT_EQ(Messages.Messages.size(), 1u);
    EXPECT_EQ(Messages.Messages[0].Text, "Warning: this software version is older than the one "
                                         "used to write the file. Results can be invalid.");

    // The units are the file's own: the system it was made with stays as it was.
    TQBBaseFile copy(&Units, Path("new.qbc"));
    copy.ReadHeader();
    EXPECT_EQ(Units.Force.PresentationUnit(), "kN");

    WriteBytes(Dir / "odd.qbc",
               "[header]\n8\t=file version number\nSand\t=materialname\n"
               "kilonewton\t=unit of force\nm\t=unit of length\ns\t=unit of time\n");
    EXPECT_THAT([&] { TQBBaseFile(nullptr, Path("odd.qbc")).ReadHeader(); },
                ThrowsMessage<std::exception>(StrEq("Unknown project unit: kilonewton")));
}

TEST_F(FileFixture, TheMaterialWriterFillsTheBlocksBehindTheHeader) {
    // The seam is process-wide: a framework project of another test may have filled it.
    IKernelMaterialWriter* registered = SetKernelMaterialWriter(nullptr);
    TFakeMaterial sand;
    {
        TQBBaseFile file(&Units, Path("blocks.qbc"));
        file.WriteMaterialX(&sand); // no writer registered: the header alone
        file.Close();
    }
    EXPECT_FALSE(TQBBaseFile::HasValidKeywords(Path("blocks.qbc")));
    {
        MarkerMaterialWriter writer;
        TQBBaseFile file(&Units, Path("blocks.qbc"));
        file.WriteMaterialX(&sand);
        file.WriteSection("[Soilparameters]");
        file.Close();
    }
    const std::string text = ReadBytes(Dir / "blocks.qbc");
    EXPECT_NE(text.find("\n\n\n[soilmodeldata]\nSand\t=written by the material writer\n"),
              std::string::npos);
    EXPECT_TRUE(TQBBaseFile::HasValidKeywords(Path("blocks.qbc")));
    EXPECT_FALSE(TQBBaseFile::HasValidKeywords(Path("absent.qbc")));
    EXPECT_EQ(KernelMaterialWriter(), nullptr);
    SetKernelMaterialWriter(registered);
}
