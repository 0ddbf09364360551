// Path texts: splitting, the stored form that archive names are compared in,
// and finding the listed file behind a stored name with RelativePath and
// InputPath in front.

#include "fs/dir_scan.h"
#include "fs/path_ops.h"
#include "plugin/state.h"
#include "support/host.h"

namespace {

using namespace ace;

TEST(Paths, SplitIntoDriveDirectoryNameAndExtension) {
  const struct {
    const char *path, *drive, *directory, *base, *extension;
  } cases[] = {
      {"D:\\arc\\x.ace", "D:", "\\arc\\", "x", ".ace"},
      {"x.tar.gz", "", "", "x.tar", ".gz"},
      {"dir.d\\name", "", "dir.d\\", "name", ""},
      {"/tmp/w/a.b/.cfg", "", "/tmp/w/a.b/", "", ".cfg"},
      {"C:name.", "C:", "", "name", "."},
  };
  for (const auto& c : cases) {
    char drive[kPathBuffer], directory[kPathBuffer], base[kPathBuffer], extension[kPathBuffer];
    SplitPath(c.path, drive, directory, base, extension);
    EXPECT_EQ(std::string(drive) + "|" + directory + "|" + base + "|" + extension,
              std::string(c.drive) + "|" + c.directory + "|" + c.base + "|" + c.extension);
  }
}

TEST(Paths, StoredFormsDropServerDriveRootAndOneClimb) {
  const std::pair<const char*, const char*> cases[] = {
      {"\\\\server\\share\\dir\\a.txt", "DIR\\A.TXT"},
      {"C:\\dir\\a.txt", "DIR\\A.TXT"},
      {"..\\dir\\a.txt", "DIR\\A.TXT"},
      {"dir/a.txt", "DIR\\A.TXT"},
      {"\\\\server", "SERVER"},
      {"\\\\server\\share", ""},
      {"\\..\\a", "A"},
      {"C:..\\a", ".\\A"}};
  for (const auto& [path, form] : cases) {
    char out[260];
    StoredForm(path, out, sizeof out);
    EXPECT_STREQ(out, form) << path;
  }
}

TEST(Paths, ListedFilesAreFoundWithRelativeAndInputPathInFront) {
  std::strcpy(State().RelativePath, "sub");
  std::strcpy(State().InputPath, "C:\\in\\");
  acetest::Masks masks({"x\\other.txt", "docs\\a.txt"});
  char candidate[260], disk[260], path[260];
  EXPECT_EQ(FindListedFile("SUB\\DOCS\\A.TXT", masks.get(), candidate, disk), 1);
  EXPECT_STREQ(candidate, "sub\\docs\\a.txt");
  EXPECT_STREQ(disk, "C:\\in\\docs\\a.txt");
  EXPECT_EQ(FindListedFile("docs\\a.txt", masks.get(), candidate, disk), 0);
  EXPECT_EQ(IsNameInList("docs\\A.TXT", masks.get(), path), 0);  // RelativePath goes in front
  State().RelativePath[0] = '\0';
  EXPECT_EQ(IsNameInList("docs\\A.TXT", masks.get(), path), 1);
  EXPECT_STREQ(path, "docs\\a.txt");
  DoneArcFile();
}

}  // namespace
