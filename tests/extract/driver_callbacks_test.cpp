// The driver's pieces on their own: output names, the file list text, the
// percent rule and the four callbacks the library calls.
#include <gtest/gtest.h>

#include <cstring>

#include "extract/host.h"
#include "extract/unace_driver.h"
#include "plugin/state.h"

namespace acetest {
namespace {

using ace::DriverState;
using ace::State;

class DriverPieces : public ExtractFixture {
 protected:
  void SetUp() override {
    DoneArcFile();
    host_.Register();
  }
  static AceCallbackRecord Record(uint32_t type, uint32_t code, uint32_t operation = 3) {
    AceCallbackRecord r{};
    r.StructureType = type;
    r.Code = code;
    r.Operation = operation;
    return r;
  }
};

struct NameCase {
  const char* output;
  int32_t restore;
  const char* relative;
  const char* stored;
  const char* expected;
};

class OutputNames : public DriverPieces, public ::testing::WithParamInterface<NameCase> {};

TEST_P(OutputNames, Build) {
  const NameCase& c = GetParam();
  SetOutputPath(c.output);
  State().Decomp.RestorePaths = c.restore;
  SetRelativePath(c.relative);
  char target[ace::kUnAceTextBuffer];
  std::memset(target, 'x', sizeof target);
  EXPECT_EQ(ace::BuildOutputName(c.stored, target), ace::OutputProblem::kNone);
  EXPECT_STREQ(target, c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, OutputNames,
    ::testing::Values(NameCase{"C:\\OUT", 0, "", "dir/sub/a.txt", "C:\\OUT\\a.txt"},
                      NameCase{"C:\\OUT\\", 1, "", "dir/sub/a.txt", "C:\\OUT\\dir\\sub\\a.txt"},
                      NameCase{"C:\\OUT\\", 1, "dir\\", "dir/sub/a.txt", "C:\\OUT\\sub\\a.txt"},
                      NameCase{"C:\\OUT\\", 1, "DIR\\", "dir/sub/a.txt",
                               "C:\\OUT\\dir\\sub\\a.txt"},
                      NameCase{"C:\\OUT\\", 1, "dir\\sub\\a.txt\\", "dir\\sub\\a.txt",
                               "C:\\OUT\\dir\\sub\\a.txt"},
                      // A relative path exactly as long as the name is still removed.
                      NameCase{"C:\\OUT\\", 1, "dir\\", "dir\\", "C:\\OUT\\"},
                      NameCase{"C:\\OUT\\", 1, "", "\\root.txt", "C:\\OUT\\root.txt"},
                      NameCase{"C:\\OUT\\", 2, "dir\\", "dir\\a.txt", "C:\\OUT\\dir\\a.txt"},
                      NameCase{"C:\\OUT\\", 0, "dir\\", "dir\\sub\\a.txt", "C:\\OUT\\a.txt"},
                      NameCase{"C:\\OUT\\", 0, "", "plain", "C:\\OUT\\plain"}));

TEST_F(DriverPieces, OverlongOutputNameIsRefusedNotCut) {
  SetOutputPath(std::string(200, 'o').c_str());
  State().Decomp.RestorePaths = 1;
  char target[ace::kUnAceTextBuffer];
  EXPECT_EQ(ace::BuildOutputName(std::string(100, 'n').c_str(), target),
            ace::OutputProblem::kTooLong);
  EXPECT_STREQ(target, "");
  EXPECT_EQ(ace::BuildOutputName(std::string(60, 'n').c_str(), target), ace::OutputProblem::kNone);
}

TEST_F(DriverPieces, FileListTextJoinsItemsWithCarriageReturns) {
  FileMaskList masks;
  InitFileMaskList(&masks);
  ASSERT_EQ(ace::BuildUnAceFileList(&masks), 1);
  EXPECT_STREQ(DriverState().FileListText, "");
  for (const char* m : {"*.*", "docs\\*.txt", "readme", "C:\\a/b.c"}) AppendFileMask(m, &masks);
  ASSERT_EQ(ace::BuildUnAceFileList(&masks), 1);
  EXPECT_STREQ(DriverState().FileListText, "*.*\rdocs\\*.txt\rreadme\rC:\\a\\b.c");
  DoneFileMaskList(&masks);
}

TEST(UnAcePercent, HalvesLargeCounts) {
  EXPECT_EQ(ace::UnAcePercent(0, 0), 100);
  EXPECT_EQ(ace::UnAcePercent(0, 10), 0);
  EXPECT_EQ(ace::UnAcePercent(5, 10), 50);
  EXPECT_EQ(ace::UnAcePercent(10, 10), 100);
  EXPECT_EQ(ace::UnAcePercent(0x13FFFFF, 0x13FFFFF), 100);
  EXPECT_EQ(ace::UnAcePercent(0x1400000, 0x2800000), 50);
  EXPECT_EQ(ace::UnAcePercent(0xF0000000u, 0xF0000000u), 100);
  EXPECT_EQ(ace::UnAcePercent(0x78000000u, 0xF0000000u), 50);
}

struct ErrorCase {
  uint32_t type, code;
  uint16_t status;
  int answer;
};

class ErrorTable : public DriverPieces, public ::testing::WithParamInterface<ErrorCase> {};

TEST_P(ErrorTable, MapsCodeAndAnswers) {
  const ErrorCase& c = GetParam();
  AceCallbackRecord r = Record(c.type, c.code);
  EXPECT_EQ(ace::UnAceErrorCallback(&r), c.answer);
  EXPECT_EQ(GetArchiveStatus(), c.status);
  // The first error stays.
  AceCallbackRecord later = Record(1, 559);
  ace::UnAceErrorCallback(&later);
  EXPECT_EQ(GetArchiveStatus(), c.status == 0 ? AR_NOT_ACE : c.status);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, ErrorTable,
    ::testing::Values(ErrorCase{0, 512, 8, 2}, ErrorCase{0, 518, 101, 2}, ErrorCase{0, 600, 0, 2},
                      ErrorCase{1, 546, 9009, 0}, ErrorCase{1, 550, 5, 2}, ErrorCase{1, 552, 5, 2},
                      ErrorCase{1, 556, 9964, 2}, ErrorCase{1, 558, 0, 0},
                      ErrorCase{1, 561, 9960, 2}, ErrorCase{1, 999, 0, 2}, ErrorCase{2, 576, 5, 2},
                      ErrorCase{2, 580, 5, 2}, ErrorCase{2, 582, 5, 2}, ErrorCase{2, 588, 5, 2},
                      ErrorCase{2, 586, 9960, 2}, ErrorCase{2, 587, 101, 2},
                      ErrorCase{2, 590, 0, 2}, ErrorCase{3, 1, 0, 0}, ErrorCase{4, 576, 0, 0},
                      ErrorCase{5, 9, 0, 0}, ErrorCase{6, 512, 0, 2}, ErrorCase{7, 512, 0, 2}));

TEST_F(DriverPieces, UnknownRequestsAreCancelledWithoutStatus) {
  for (auto [type, code] :
       {std::pair<uint32_t, uint32_t>{0, 801}, {3, 832}, {1, 832}, {2, 801}, {2, 999}}) {
    AceCallbackRecord r = Record(type, code);
    EXPECT_EQ(ace::UnAceRequestCallback(&r), 2) << type << " " << code;
  }
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  AceCallbackRecord info = Record(0, 0);
  EXPECT_EQ(ace::UnAceInfoCallback(&info), 0);
}

TEST_F(DriverPieces, PasswordOf271CharactersReachesTheLibrary) {
  host_.password = std::string(271, 'k');
  AceGlobalData global{};
  char empty[] = "";
  global.DecryptPassword = empty;
  AceFileData file{};
  file.SourceFileName = "dir\\vault.dat";
  AceCallbackRecord r = Record(2, 835);
  r.GlobalData = &global;
  r.FileData = &file;
  EXPECT_EQ(ace::UnAceRequestCallback(&r), 0);
  ASSERT_EQ(host_.cryptNames.size(), 1u);
  EXPECT_EQ(host_.cryptNames[0], "vault.dat");
  EXPECT_EQ(std::string(global.DecryptPassword), host_.password);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
}

TEST_F(DriverPieces, NextVolumeIsAskedOnlyWhenMissing) {
  const std::string present = dir_ / "set.c00";
  WriteFileText(present, "volume");
  EXPECT_EQ(ace::AskNextVolume(present.c_str(), 1), 0);
  EXPECT_TRUE(host_.nextDisks.empty());

  const std::string missing = dir_ / "set.c01";
  host_.nextDiskDirectory = (dir_ / "disk2");
  EXPECT_EQ(ace::AskNextVolume(missing.c_str(), 2), 0);
  ASSERT_EQ(host_.nextDisks.size(), 1u);
  std::string shown = dir_.str();
  for (char& c : shown) {
    if (c == '/') c = '\\';
  }
  EXPECT_EQ(host_.nextDisks[0].directory, shown);
  EXPECT_EQ(host_.nextDisks[0].volume, 2);
  EXPECT_EQ(host_.nextDisks[0].volumeAgain, 2);
  EXPECT_EQ(host_.nextDisks[0].zero, 0);
  EXPECT_EQ(std::string(DriverState().VolumePath), host_.nextDiskDirectory + "\\set.c01");

  host_.nextDiskAnswer = 1;
  EXPECT_EQ(ace::AskNextVolume(missing.c_str(), 2), 2);
  EXPECT_EQ(GetArchiveStatus(), AR_ABORTED);
}

TEST_F(DriverPieces, StatePointsTheOutputNameAtTheDriversBuffer) {
  SetOutputPath("C:\\OUT");
  State().Decomp.RestorePaths = 0;
  AceFileData file{};
  file.SourceFileName = "a\\b.txt";
  char library[] = "library's own";
  file.DestinationFileName = library;
  AceCallbackRecord r = Record(2, 1040, 1);  // testing: no name is built or shown
  r.FileData = &file;
  DriverState().OutputName[0] = '\0';
  EXPECT_EQ(ace::UnAceStateCallback(&r), 0);
  EXPECT_EQ(file.DestinationFileName, DriverState().OutputName);
  EXPECT_TRUE(host_.fileNames.empty());
  r.Operation = 3;
  EXPECT_EQ(ace::UnAceStateCallback(&r), 0);
  EXPECT_STREQ(file.DestinationFileName, "C:\\OUT\\b.txt");
  ASSERT_EQ(host_.fileNames.size(), 1u);
  EXPECT_EQ(host_.fileNames[0].first, "\\a\\b.txt");
  AceCallbackRecord other = Record(1, 1024);
  EXPECT_EQ(ace::UnAceStateCallback(&other), 0);
}

TEST_F(DriverPieces, ProgressReportsStepsSinceTheLastReport) {
  AceProgressData p{};
  AceCallbackRecord r = Record(7, 1056);
  r.ProgressData = &p;
  DriverState().ProgressBaseline = 0;
  p.TotalProcessedSize = 1000;
  p.FileProcessedSize = 250;
  p.FileSize = 1000;
  EXPECT_EQ(ace::UnAceStateCallback(&r), 0);
  p.TotalProcessedSize = 1600;
  p.FileProcessedSize = 1000;
  EXPECT_EQ(ace::UnAceStateCallback(&r), 0);
  ASSERT_EQ(host_.progress.size(), 2u);
  EXPECT_EQ(host_.progress[0].percent, 25);
  EXPECT_EQ(host_.progress[0].step, 1000);
  EXPECT_EQ(host_.progress[1].percent, 100);
  EXPECT_EQ(host_.progress[1].step, 600);
  host_.progressCancelAt = 2;
  EXPECT_EQ(ace::UnAceStateCallback(&r), 2);
  EXPECT_EQ(GetArchiveStatus(), AR_ABORTED);
}

}  // namespace
}  // namespace acetest
