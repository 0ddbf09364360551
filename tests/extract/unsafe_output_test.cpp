// Entries whose names cannot be written safely: each is left out and named to
// the host's warning procedure, the others are extracted, control characters
// reach the disk as "_", and nothing is written outside the output folder or
// through a symbolic link, also when a link appears after the plug-in looked.
#include <algorithm>
#include <set>

#include "extract/host.h"

namespace acetest {
namespace {

namespace fs = std::filesystem;

class UnsafeOutput : public ExtractFixture {
 protected:
  void TearDown() override {
    SetSetWarningProc(0, nullptr);  // it outlives DoneArcFile
    ExtractFixture::TearDown();
  }
  static int32_t OnWarning(AceContext context, const char* text) {
    reinterpret_cast<UnsafeOutput*>(context)->warnings_.emplace_back(text);
    return 0;
  }
  void OpenWithPaths(const std::vector<AceEntry>& entries) {
    Open(WriteArchive(AceArchive(entries)));
    SetRestorePaths(1);
    SetSetWarningProc(reinterpret_cast<AceContext>(this), &OnWarning);
  }
  // Every regular file below the test's folder but the archive, relative.
  std::set<std::string> FilesWritten() const {
    std::set<std::string> files;
    for (const auto& e : fs::recursive_directory_iterator(dir_.path())) {
      if (e.is_regular_file() && e.path().filename() != "test.ace")
        files.insert(fs::relative(e.path(), dir_.path()).string());
    }
    return files;
  }
  bool Warned(const std::string& name, const std::string& why) const {
    return std::count(warnings_.begin(), warnings_.end(),
                      "refusing to extract " + name + ": " + why) == 1;
  }
  std::vector<std::string> warnings_;
};

TEST_F(UnsafeOutput, UnsafeNamesAreLeftOutAndNamedTheRestIsExtracted) {
  ACE_POSIX_ONLY("symbolic links");
  const fs::path outside = dir_.path() / "outside";
  fs::create_directories(outside);
  WriteFileText(outside / "target.txt", "keep");
  fs::create_directories(out());
  fs::create_directory_symlink(outside, fs::path(out()) / "link");
  fs::create_symlink(outside / "target.txt", fs::path(out()) / "file");
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
    entries.push_back(Stored(c.stored, "data of " + c.stored));
    if (!c.refused) expected.insert("out/" + c.written);
  }
  OpenWithPaths(entries);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_BAD_DIR_NAME);
  EXPECT_EQ(FilesWritten(), expected);
  for (const auto& c : cases) {
    if (c.refused) EXPECT_TRUE(Warned(c.stored, c.written)) << c.stored;
    if (!c.refused) EXPECT_EQ(ReadFileBytes(OutFile(c.written)), TextBytes("data of " + c.stored));
  }
  EXPECT_EQ(warnings_.size(), 6u);
  EXPECT_EQ(ReadFileBytes(outside / "target.txt"), TextBytes("keep"));
}

// A folder that becomes a link after the plug-in chose the name: the
// extraction library looks again and refuses it itself.
TEST_F(UnsafeOutput, TheExtractionLibraryNeverWritesThroughALink) {
  ACE_POSIX_ONLY("symbolic links");
  static fs::path raceLink, raceTarget;
  raceLink = fs::path(out()) / "race";
  raceTarget = dir_.path() / "outside";
  fs::create_directories(raceTarget);
  OpenWithPaths({Stored("race\\f.txt", "f")});
  SetSetFileNameProc(0, [](AceContext, const char*, const char*) {
    fs::create_directory_symlink(raceTarget, raceLink);
    return 0;
  });
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_FALSE(fs::exists(raceTarget / "f.txt"));
  EXPECT_TRUE(FilesNamed(".$UN").empty());
}

}  // namespace
}  // namespace acetest
