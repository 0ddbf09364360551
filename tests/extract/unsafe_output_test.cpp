// Entries whose names cannot be written safely: each is left out and named to
// the host's warning procedure, the others are extracted, control characters
// reach the disk as "_", and nothing is written outside the output folder or
// through a symbolic link, also when a link appears after the plug-in looked.
#include <set>

#include "support/ace_builder.h"
#include "support/host.h"

namespace acetest {
namespace {

namespace fs = std::filesystem;

AceEntry Stored(const std::string& name) {
  return {.name = name, .data = AsBytes("data of " + name)};
}

// Every regular file below `dir` but the archive, relative.
std::set<std::string> FilesWritten(const fs::path& dir) {
  std::set<std::string> files;
  for (const auto& e : fs::recursive_directory_iterator(dir)) {
    if (e.is_regular_file() && e.path().filename() != "t.ace")
      files.insert(fs::relative(e.path(), dir).string());
  }
  return files;
}

TEST(UnsafeOutput, UnsafeNamesAreLeftOutAndNamedTheRestIsExtracted) {
  ACE_POSIX_ONLY("symbolic links");
  TempDir dir;
  const fs::path outside = dir.path() / "outside", out = dir.path() / "out";
  fs::create_directories(outside);
  WriteFileText(outside / "target.txt", "keep");
  fs::create_directories(out);
  fs::create_directory_symlink(outside, out / "link");
  fs::create_symlink(outside / "target.txt", out / "file");
  const std::string link = "a folder on its path is a symbolic link";
  const struct {
    std::string stored;
    std::string written;  // below out/, or the reason it is refused
    bool refused;
  } cases[] = {
      {"good.txt", "good.txt", false},
      {"..\\..\\evil.txt", "the name leads outside the output folder", true},
      {"a\\.", "the name has a \".\" part", true},
      {std::string(300, 'n'), "the name is too long", true},
      {std::string(256, 'p') + "\\x.txt", "the name is too long", true},
      {"esc\x1b[2J\a\n.txt", "esc_[2J__.txt", false},
      {"dir\\last.txt", "dir/last.txt", false},
      {"link\\f.txt", link, true},
      {"link\\sub\\g.txt", link, true},
      {"file", "file", false},  // replaces the link, never writes through it
  };
  std::vector<AceEntry> entries;
  std::set<std::string> expected = {"outside/target.txt"};
  for (const auto& c : cases) {
    entries.push_back(Stored(c.stored));
    if (!c.refused) expected.insert("out/" + c.written);
  }
  WriteFileBytes(dir / "t.ace", AceArchive(entries));
  Host host;
  EXPECT_EQ(Extract(dir / "t.ace", out.string(), {"*.*"}, 1, &host), AR_BAD_DIR_NAME);
  EXPECT_EQ(FilesWritten(dir.path()), expected);
  const std::vector<std::string> warnings = host.Of("warning");
  for (const auto& c : cases) {
    const std::string warning = "refusing to extract " + c.stored + ": " + c.written;
    if (c.refused) EXPECT_EQ(std::count(warnings.begin(), warnings.end(), warning), 1) << c.stored;
    if (!c.refused) EXPECT_EQ(ReadFileText(out / c.written), "data of " + c.stored);
  }
  EXPECT_EQ(warnings.size(), 6u);
  EXPECT_EQ(ReadFileText(outside / "target.txt"), "keep");
}

// A folder that becomes a link after the plug-in chose the name: the
// extraction library looks again and refuses it itself.
TEST(UnsafeOutput, TheExtractionLibraryNeverWritesThroughALink) {
  ACE_POSIX_ONLY("symbolic links");
  TempDir dir;
  static fs::path raceLink, raceTarget;
  raceLink = dir.path() / "out" / "race";
  raceTarget = dir.path() / "outside";
  fs::create_directories(raceTarget);
  fs::create_directories(raceLink.parent_path());
  WriteFileBytes(dir / "t.ace", AceArchive({Stored("race\\f.txt")}));
  Host host;
  host.beforeExport = [] {
    SetSetFileNameProc(0, [](AceContext, const char*, const char*) {
      fs::create_directory_symlink(raceTarget, raceLink);
      return 0;
    });
  };
  EXPECT_EQ(Extract(dir / "t.ace", dir / "out", {"*.*"}, 1, &host), AR_IO_ERROR);
  EXPECT_FALSE(fs::exists(raceTarget / "f.txt"));
  for (const auto& e : fs::recursive_directory_iterator(dir.path()))
    EXPECT_NE(e.path().extension(), ".$UN") << e.path();
}

}  // namespace
}  // namespace acetest
