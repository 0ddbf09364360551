// What acearc keeps of a Unix file and what it says about the rest: folder
// times, dates a DOS stamp cannot hold, links, names with a backslash; and
// what a mistyped command gets.
#include <chrono>
#include <ctime>

#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  acetest::WriteFileText(path, text);
}

// Local time with the offset in force now, the reading the plug-in gives a
// file's time on every platform, whatever the season.
time_t LocalTime(int year, int month, int day, int hour, int minute, int second) {
  std::tm tm{};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_hour = hour;
  tm.tm_min = minute;
  tm.tm_sec = second;
  return static_cast<time_t>(acetest::UtcSecondsOf(tm) - acetest::CurrentUtcOffset());
}

void SetTime(const fs::path& path, time_t when) { acetest::SetWriteTime(path, when); }

time_t TimeOf(const fs::path& path) {
  const auto written = std::chrono::file_clock::to_sys(fs::last_write_time(path));
  return std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(written));
}

TEST(CliUnixFiles, FolderTimesComeBackAfterTheirFiles) {
  acetest::TempDir dir;
  Write(dir.path() / "t/sub/a.txt", "a");
  fs::create_directories(dir.path() / "t/sub/deep");  // made by acearc, after the files
  const time_t sub = LocalTime(2001, 2, 3, 10, 20, 30);
  const time_t top = LocalTime(1999, 12, 31, 23, 59, 58);
  SetTime(dir.path() / "t/sub/deep", sub);
  SetTime(dir.path() / "t/sub", sub);
  SetTime(dir.path() / "t", top);
  ASSERT_EQ(RunAcearc({"a", "t.ace", "t"}, dir.path()).exitCode, 0);
  RunResult extracted = RunAcearc({"x", "t.ace", "-o", "out"}, dir.path());
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  EXPECT_EQ(TimeOf(dir.path() / "out/t/sub/deep"), sub);
  EXPECT_EQ(TimeOf(dir.path() / "out/t/sub"), sub);
  EXPECT_EQ(TimeOf(dir.path() / "out/t"), top);
}

TEST(CliUnixFiles, DatesOutsideWhatTheArchiveHoldsBecomeTheNearestWithAWarning) {
  const struct {
    const char* name;
    time_t when;
    const char* listed;   // the entry's time in the listing
    const char* warning;  // "" for none
  } cases[] = {
      {"old.txt", LocalTime(1970, 1, 2, 3, 4, 6), "1980-01-01T00:00:00",
       "old.txt: its date 1970-01-02 03:04:06 is outside the years 1980 to 2107 that the "
       "archive can hold; stored as 1980-01-01 00:00:00"},
      {"future.txt", LocalTime(2200, 5, 6, 7, 8, 10), "2107-12-31T23:59:58",
       "future.txt: its date 2200-05-06 07:08:10 is outside the years 1980 to 2107 that the "
       "archive can hold; stored as 2107-12-31 23:59:58"},
      {"first.txt", LocalTime(1980, 1, 1, 0, 0, 0), "1980-01-01T00:00:00", ""},
      {"plain.txt", LocalTime(2020, 6, 7, 8, 9, 10), "2020-06-07T08:09:10", ""},
  };
  acetest::TempDir dir;
  std::vector<std::string> args{"a", "d.ace"};
  for (const auto& c : cases) {
    acetest::WriteFileText(dir.path() / c.name, c.name);
    SetTime(dir.path() / c.name, c.when);
    args.push_back(c.name);
  }
  RunResult made = RunAcearc(args, dir.path());
  EXPECT_EQ(made.exitCode, 1) << made.err;
  Json listing = ListJson(dir.path() / "d.ace");
  for (const auto& c : cases) {
    const Json* entry = FindEntry(listing, c.name);
    ASSERT_NE(entry, nullptr) << c.name;
    EXPECT_EQ((*entry)["time"].text, c.listed) << c.name;
    const bool warned = made.err.find(std::string(c.name) + ": its date") != std::string::npos;
    EXPECT_EQ(warned, *c.warning != '\0') << made.err;
    if (*c.warning) EXPECT_NE(made.err.find(c.warning), std::string::npos) << made.err;
  }
}

TEST(CliUnixFiles, LinksToFilesAreCopiesLinksToFoldersAndBackslashNamesAreLeftOut) {
  ACE_POSIX_ONLY("symbolic links and backslashes in names");
  acetest::TempDir dir;
  const fs::path w = dir.path() / "w";
  Write(w / "target.txt", "the target's data");
  Write(w / "folder/inside.txt", "inside");
  Write(w / "back\\slash", "1");
  Write(w / "two\\back\\slashes", "2");
  fs::create_symlink("target.txt", w / "file-link");
  fs::create_directory_symlink("folder", w / "folder-link");
  RunResult made = RunAcearc({"a", "l.ace", "w"}, dir.path());
  EXPECT_EQ(made.exitCode, 1) << made.err;
  for (const std::string& left : {"folder-link: symbolic links to directories are not followed",
                                  "back\\slash: its name holds a backslash",
                                  "two\\back\\slashes: its name holds a backslash"}) {
    EXPECT_NE(made.err.find("left out " + (w / left).string()), std::string::npos) << made.err;
  }
  Json listing = ListJson(dir.path() / "l.ace");
  EXPECT_EQ(EntryNames(listing), (std::vector<std::string>{"w/", "w/file-link", "w/folder/",
                                                           "w/folder/inside.txt", "w/target.txt"}));
  const Json* link = FindEntry(listing, "w/file-link");
  ASSERT_NE(link, nullptr);
  EXPECT_EQ((*link)["type"].text, "file");
  EXPECT_EQ((*link)["size"].u64(), 17u);
  EXPECT_EQ((*link)["attributes"].u64(), (*FindEntry(listing, "w/target.txt"))["attributes"].u64())
      << "a copy carries no link attribute";

  ASSERT_EQ(RunAcearc({"x", "l.ace", "-o", "out"}, dir.path()).exitCode, 0);
  EXPECT_FALSE(fs::is_symlink(dir.path() / "out/w/file-link"));
  EXPECT_EQ(ReadTree(dir.path() / "out")["w/file-link"], "the target's data");
}

TEST(CliUnixUsage, AnUnknownOrMissingCommandListsTheCommands) {
  const struct {
    std::vector<std::string> args;
    const char* says;
  } cases[] = {
      {{"z"}, "acearc: unknown command \"z\"; the commands are a, l, t, x, e, d, mkdir"},
      {{"-p", "secret", "zz", "a.ace"}, "unknown command \"zz\""},
      {{"-q"}, "acearc: a command is required, one of a, l, t, x, e, d, mkdir"},
  };
  for (const auto& c : cases) {
    RunResult result = RunAcearc(c.args);
    EXPECT_EQ(result.exitCode, 5) << c.says;
    EXPECT_NE(result.err.find(c.says), std::string::npos) << result.err;
  }
  for (const char* command : {"a", "l", "x", "e", "d"}) {
    RunResult help = RunAcearc({command, "--help"});
    EXPECT_NE(help.out.find("-x,--exclude"), std::string::npos) << command;
    EXPECT_NE(help.out.find("* stands for any characters, \"/\" and \".\" included"),
              std::string::npos)
        << command;
  }
}

}  // namespace
}  // namespace clitest
