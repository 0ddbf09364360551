// What acearc keeps of a Unix file and what it says about the rest: folder
// times, dates a DOS stamp cannot hold, links, names with a backslash.

#include <ctime>

#include "cli/acearc_fixture.h"

namespace clitest {
namespace {

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

TEST_F(Acearc, FolderTimesComeBackAfterTheirFiles) {
  fs::create_directories(Path("t/sub/deep"));  // made by acearc, after the files
  acetest::WriteFileText(Path("t/sub/a.txt"), "a");
  const time_t sub = LocalTime(2001, 2, 3, 10, 20, 30), top = LocalTime(1999, 12, 31, 23, 59, 58);
  for (const char* folder : {"t/sub/deep", "t/sub"}) SetTime(Path(folder), sub);
  SetTime(Path("t"), top);
  ASSERT_EQ(Run({"a", "t.ace", "t"}).exitCode, 0);
  const RunResult extracted = Run({"x", "t.ace", "-o", "out"});
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  EXPECT_EQ(TimeOf(Path("out/t/sub/deep")), sub);
  EXPECT_EQ(TimeOf(Path("out/t/sub")), sub);
  EXPECT_EQ(TimeOf(Path("out/t")), top);
}

TEST_F(Acearc, DatesOutsideWhatTheArchiveHoldsBecomeTheNearestWithAWarning) {
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
  Strings args{"a", "d.ace"};
  for (const auto& c : cases) {
    acetest::WriteFileText(Path(c.name), c.name);
    SetTime(Path(c.name), c.when);
    args.push_back(c.name);
  }
  const RunResult made = Run(args);
  EXPECT_EQ(made.exitCode, 1) << made.err;
  const Json listing = List("d.ace");
  for (const auto& c : cases) {
    EXPECT_EQ(Entry(listing, c.name)["time"].text, c.listed) << c.name;
    EXPECT_EQ(Has(made.err, std::string(c.name) + ": its date"), *c.warning != '\0') << made.err;
    EXPECT_TRUE(Has(made.err, c.warning)) << made.err;
  }
}

TEST_F(Acearc, LinksToFilesAreCopiesLinksToFoldersAndBackslashNamesAreLeftOut) {
  ACE_POSIX_ONLY("symbolic links, and \"\\\" inside a name");
  const fs::path w = Path("w");
  fs::create_directories(w / "folder");
  for (const char* name : {"folder/inside.txt", "back\\slash", "two\\back\\slashes"})
    acetest::WriteFileText(w / name, name);
  acetest::WriteFileText(w / "target.txt", "the target's data");
  fs::create_symlink("target.txt", w / "file-link");
  fs::create_directory_symlink("folder", w / "folder-link");
  const RunResult made = Run({"a", "l.ace", "w"});
  EXPECT_EQ(made.exitCode, 1) << made.err;
  for (const std::string& left : {"folder-link: symbolic links to directories are not followed",
                                  "back\\slash: its name holds a backslash",
                                  "two\\back\\slashes: its name holds a backslash"}) {
    EXPECT_TRUE(Has(made.err, "left out " + (w / left).string())) << made.err;
  }
  const Json listing = List("l.ace");
  EXPECT_EQ(Names("l.ace"),
            (Strings{"w/", "w/file-link", "w/folder/", "w/folder/inside.txt", "w/target.txt"}));
  const Json link = Entry(listing, "w/file-link");
  EXPECT_EQ(link["type"].text, "file");
  EXPECT_EQ(link["size"].u64(), 17u);
  EXPECT_EQ(link["attributes"].u64(), Entry(listing, "w/target.txt")["attributes"].u64())
      << "a copy carries no link attribute";
  ASSERT_EQ(Run({"x", "l.ace", "-o", "out"}).exitCode, 0);
  EXPECT_FALSE(fs::is_symlink(Path("out/w/file-link")));
  EXPECT_EQ(acetest::ReadFileText(Path("out/w/file-link")), "the target's data");
}

}  // namespace
}  // namespace clitest
