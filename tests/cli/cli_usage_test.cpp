// The command line itself: help, version, and what a bad command line or a
// missing or foreign archive gives.
#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

TEST(CliUsage, HelpNamesEveryCommandAndTheExitCodes) {
  RunResult result = RunAcearc({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  for (const char* word : {" a ", " l ", " t ", " x ", " e ", " d ", " mkdir ", "Exit codes",
                           "5  bad command line", "3  damaged archive"}) {
    EXPECT_NE(result.out.find(word), std::string::npos) << word;
  }
}

TEST(CliUsage, EveryCommandHasHelp) {
  for (const char* command : {"a", "l", "t", "x", "e", "d", "mkdir"}) {
    RunResult result = RunAcearc({command, "--help"});
    EXPECT_EQ(result.exitCode, 0) << command;
    EXPECT_NE(result.out.find("Usage: acearc " + std::string(command)), std::string::npos)
        << result.out;
  }
}

TEST(CliUsage, AddHelpSaysWhatEachLevelDoes) {
  RunResult result = RunAcearc({"a", "--help"});
  for (const char* word : {"1 fast .. 4 best", "no limit", "32", "48", "64", "optimal", "256",
                           "-ep", "-r-", "--prefix"}) {
    EXPECT_NE(result.out.find(word), std::string::npos) << word;
  }
}

TEST(CliUsage, VersionPrintsTheProgramName) {
  RunResult result = RunAcearc({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out.rfind("acearc ", 0), 0u) << result.out;
}

TEST(CliUsage, BadCommandLinesExitWithFive) {
  const std::vector<std::vector<std::string>> cases = {
      {},                                 // no command
      {"z", "a.ace"},                     // unknown command
      {"a", "a.ace"},                     // nothing to add named
      {"a", "-m", "5", "a.ace", "f"},     // level out of range
      {"a", "-d", "2048", "a.ace", "f"},  // dictionary the compressor does not serve
      {"a", "-d", "100", "a.ace", "f"},   // not a power of two
      {"l"},                              // no archive
      {"l", "--frobnicate", "a.ace"},     // unknown option
      {"d", "a.ace"},                     // no mask
      {"mkdir", "a.ace"},                 // no name
      {"x", "-y", "-n", "a.ace"},         // contradicting answers
  };
  for (const auto& args : cases) {
    RunResult result = RunAcearc(args);
    std::string shown;
    for (const auto& arg : args) shown += arg + " ";
    EXPECT_EQ(result.exitCode, 5) << shown << "\n" << result.err;
    EXPECT_FALSE(result.err.empty()) << shown;
  }
}

TEST(CliUsage, MissingArchiveIsAFailedOperation) {
  acetest::TempDir dir;
  for (const char* command : {"l", "t", "x"}) {
    RunResult result = RunAcearc({command, dir / "nothere.ace"});
    SKIP_IF_NOT_LANDED(result, "opening archives");
    EXPECT_EQ(result.exitCode, 2) << command;
    EXPECT_NE(result.err.find("archive not found (2 AR_FILE_NOT_FOUND)"), std::string::npos)
        << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  }
}

TEST(CliUsage, ForeignFileIsReportedAsNotAnArchive) {
  acetest::TempDir dir;
  acetest::WriteFileText(dir.path() / "notes.txt", std::string(5000, 'x'));
  RunResult result = RunAcearc({"l", dir / "notes.txt"});
  SKIP_IF_NOT_LANDED(result, "opening archives");
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_NE(result.err.find("not an ACE archive (9976 AR_NOT_ACE)"), std::string::npos)
      << result.err;
}

TEST(CliUsage, AddingToAForeignFileLeavesItAlone) {
  acetest::TempDir dir;
  acetest::WriteFileText(dir.path() / "notes.txt", std::string(5000, 'x'));
  acetest::WriteFileText(dir.path() / "new.txt", "new");
  RunResult result = RunAcearc({"a", dir / "notes.txt", dir / "new.txt"});
  SKIP_IF_NOT_LANDED(result, "opening archives");
  EXPECT_EQ(result.exitCode, 3) << result.err;
  EXPECT_EQ(acetest::ReadFileBytes(dir.path() / "notes.txt").size(), 5000u);
}

TEST(CliUsage, NothingToAddIsAFailureAndCreatesNothing) {
  acetest::TempDir dir;
  RunResult result = RunAcearc({"a", dir / "new.ace", dir / "missing.txt"});
  EXPECT_EQ(result.exitCode, 2) << result.err;
  EXPECT_NE(result.err.find("missing.txt: no such file or directory"), std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("9967 AR_NOTHING_TO_ADD"), std::string::npos) << result.err;
  EXPECT_FALSE(fs::exists(dir.path() / "new.ace"));
}

}  // namespace
}  // namespace clitest
