// Empty folders in a solid archive: the plug-in rebuilds such an archive from
// its files when it changes, and acearc puts back the empty folders that the
// user did not delete.
#include <algorithm>

#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

bool Has(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

TEST(CliSolidFolders, EmptyFoldersOutliveChangesButNotTheirDeletion) {
  acetest::TempDir dir;
  const fs::path work = dir.path();
  for (const char* folder : {"t/keep", "t/gone", "t/outer/inner"}) {
    fs::create_directories(work / folder);
  }
  acetest::WriteFileText(work / "t/a.txt", "a file beside the folders\n");
  acetest::WriteFileText(work / "new.txt", "added later\n");
  auto run = [&](const std::vector<std::string>& args) { return RunAcearc(args, work); };
  auto names = [&] { return EntryNames(ListJson(work / "s.ace")); };

  ASSERT_EQ(run({"a", "-s", "s.ace", "t"}).exitCode, 0);
  const RunResult added = run({"a", "s.ace", "new.txt"});
  ASSERT_EQ(added.exitCode, 0) << added.err;
  std::vector<std::string> listed = names();
  for (const char* folder : {"t/keep/", "t/gone/", "t/outer/inner/"}) {
    EXPECT_TRUE(Has(listed, folder)) << folder << " lost by adding a file";
  }
  EXPECT_TRUE(Has(listed, "new.txt"));

  const RunResult deleted = run({"d", "s.ace", "t/gone", "t/a.txt"});
  ASSERT_EQ(deleted.exitCode, 0) << deleted.err;
  listed = names();
  EXPECT_FALSE(Has(listed, "t/gone/")) << "a deleted folder came back";
  EXPECT_FALSE(Has(listed, "t/a.txt"));
  EXPECT_TRUE(Has(listed, "t/keep/")) << "lost by deleting a file";
  EXPECT_TRUE(Has(listed, "t/outer/inner/"));
  EXPECT_EQ(run({"t", "s.ace"}).exitCode, 0);
}

}  // namespace
}  // namespace clitest
