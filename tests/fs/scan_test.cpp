// Directory scans (files before subfolders, links not followed) and tree
// removal (read-only files, links, refused roots).

#include "fs/dir_scan.h"
#include "fs/file_layer.h"
#include "fs/masks.h"
#include "fs/remove_tree.h"
#include "fs/work_list.h"
#include "plugin/state.h"
#include "support/test_support.h"

namespace {

namespace fs = std::filesystem;
using namespace ace;

class Scan : public ::testing::Test {
 protected:
  void SetUp() override {
    SetStatus(0);
    for (const char* f : {"a.txt", ".hidden", "sub/b.txt", "sub/deeper/c", "a.b/d.txt", ".cfg/e"}) {
      fs::create_directories((root_ / f).parent_path());
      acetest::WriteFileText(root_ / f, f);
    }
    fs::permissions(root_ / "a.b/d.txt", fs::perms::owner_read);
  }
  std::vector<std::string> Collect(const std::string& pattern) {
    FileMaskList list{};
    EXPECT_EQ(CollectFiles(root_.string().c_str(), pattern.c_str(), &list), 1);
    FileWorkList work{};
    FileWorkListFromMasks(&list, &work, root_.string().c_str());
    std::vector<std::string> names;
    for (const FileWorkEntry* e = work.First; e != nullptr; e = e->Next) {
      names.emplace_back(e->ArchiveName);
      EXPECT_EQ(IsExistingFile(e->DiskPath), 1) << e->DiskPath;
    }
    FreeFileWorkList(&work);
    DoneMaskList(&list);
    return names;
  }
  acetest::TempDir dir_;
  fs::path root_ = dir_.path() / "W";
};

TEST_F(Scan, FilesComeBeforeSubfoldersAndLinksAreNotFollowed) {
#ifndef _WIN32
  fs::create_directory_symlink(root_, root_ / "sub" / "loop");
#endif
  EXPECT_EQ(Collect("*.*"), (std::vector<std::string>{".hidden", "a.txt", ".cfg\\e", "a.b\\d.txt",
                                                      "sub\\b.txt", "sub\\deeper\\c"}));
  EXPECT_EQ(ScanTotal(), 48u);
  EXPECT_EQ(Collect("*.txt"), (std::vector<std::string>{"a.txt", "a.b\\d.txt", "sub\\b.txt"}));
  FileMaskList none{};
  EXPECT_EQ(CollectFiles((dir_ / "missing").c_str(), "*.*", &none), 1);
  EXPECT_EQ(none.First, nullptr);
  // Room for the root but not for "sub\deeper\": an error, and the buffer restored.
  std::string buffer = root_.string() + "\\";
  const std::string start = buffer;
  buffer.resize(start.size() + 8);
  EXPECT_EQ(ScanDirectory(buffer.data(), buffer.size(), "*.*", &none), 0);
  EXPECT_EQ(Status(), static_cast<uint32_t>(AR_IO_ERROR));
  EXPECT_STREQ(buffer.c_str(), start.c_str());
  DoneMaskList(&none);
  SetStatus(0);
}

TEST_F(Scan, RemovalTakesEverythingButLinkTargetsAndTheRoot) {
  ACE_POSIX_ONLY("symbolic links");
  const fs::path outside = dir_.path() / "outside";
  fs::create_directory(outside);
  acetest::WriteFileText(outside / "keep.txt", "x");
  fs::create_directory_symlink(outside, root_ / "a.b" / "dirlink");
  fs::create_symlink(outside / "keep.txt", root_ / "filelink");
  EXPECT_EQ(RemoveTree((root_.string() + "\\").c_str(), "*.*"), 1);
  EXPECT_FALSE(fs::exists(root_));
  EXPECT_TRUE(fs::exists(outside / "keep.txt"));
  for (const char* path : {"C:\\", "/", "C:", "", "////", "/tmp/..", "C:\\tmp\\..\\"}) {
    EXPECT_EQ(RemoveTree(path, "*.*"), 0) << path;
  }
  EXPECT_EQ(RemoveTree((dir_ / "missing").c_str(), "*.*"), 0);
}

}  // namespace
