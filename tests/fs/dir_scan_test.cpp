#include "fs/dir_scan.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "fs/file_layer.h"
#include "fs/masks.h"
#include "platform/fault_injection.h"
#include "plugin/state.h"
#include "support/test_support.h"

namespace {

namespace fs = std::filesystem;
using namespace ace;

std::vector<std::string> Paths(const FileMaskList& list) {
  std::vector<std::string> out;
  for (const FileMaskNode* n = list.First; n != nullptr; n = n->Next) {
    char path[kScanBuffer];
    MaskNodePath(n, path, sizeof path);
    out.emplace_back(path);
  }
  return out;
}

// The scanner's form of a native path: every "/" as "\".
std::string Backslashed(std::string s) {
  for (char& c : s) {
    if (c == '/') c = '\\';
  }
  return s;
}

class Scan : public ::testing::Test {
 protected:
  void SetUp() override {
    SetStatus(0);
    root_ = dir_.path() / "W";
    fs::create_directories(root_ / "sub" / "deeper");
    fs::create_directories(root_ / "a.b");
    fs::create_directories(root_ / ".cfg");
    acetest::WriteFileText(root_ / "a.txt", "12345");
    acetest::WriteFileText(root_ / ".hidden", "1");
    acetest::WriteFileText(root_ / "sub" / "b.txt", "123");
    acetest::WriteFileText(root_ / "sub" / "deeper" / "c", "12");
    acetest::WriteFileText(root_ / "a.b" / "d.txt", "1234");
    acetest::WriteFileText(root_ / ".cfg" / "e.ini", "123456");
  }
  void TearDown() override { SetStatus(0); }
  acetest::TempDir dir_;
  fs::path root_;
};

TEST_F(Scan, FilesFirstThenSubdirectoriesDepthFirst) {
  FileMaskList list{};
  ASSERT_EQ(CollectFiles(root_.string().c_str(), "*.*", &list), 1);
  const std::string w = Backslashed(root_.string()) + "\\";
  const std::vector<std::string> expected = {
      w + ".hidden",    w + "a.txt",      w + ".cfg\\e.ini",
      w + "a.b\\d.txt", w + "sub\\b.txt", w + "sub\\deeper\\c",
  };
  EXPECT_EQ(Paths(list), expected);
  EXPECT_EQ(ScanTotal(), 5u + 1 + 6 + 4 + 3 + 2);
  EXPECT_EQ(Status(), 0u);

  FileWorkList work{};
  FileWorkListFromMasks(&list, &work, root_.string().c_str());
  ASSERT_EQ(work.Count, 6u);
  std::vector<std::string> names;
  for (const FileWorkEntry* e = work.First; e != nullptr; e = e->Next) {
    names.emplace_back(e->ArchiveName);
    EXPECT_EQ(IsExistingFile(e->DiskPath), 1) << e->DiskPath;
  }
  EXPECT_EQ(names, (std::vector<std::string>{".hidden", "a.txt", ".cfg\\e.ini", "a.b\\d.txt",
                                             "sub\\b.txt", "sub\\deeper\\c"}));
  EXPECT_EQ(work.Last->Next, nullptr);
  FreeFileWorkList(&work);
  EXPECT_EQ(work.Count, 0u);
  EXPECT_EQ(work.First, nullptr);
  EXPECT_EQ(work.Last, nullptr);
  DoneMaskList(&list);
}

TEST_F(Scan, PatternMissingDirectoryAndLinks) {
  FileMaskList list{};
  ASSERT_EQ(CollectFiles((root_.string() + "\\").c_str(), "*.txt", &list), 1);
  const std::string w = Backslashed(root_.string()) + "\\";
  EXPECT_EQ(Paths(list),
            (std::vector<std::string>{w + "a.txt", w + "a.b\\d.txt", w + "sub\\b.txt"}));
  EXPECT_EQ(ScanTotal(), 12u);
  DoneMaskList(&list);

  ASSERT_EQ(CollectFiles((dir_.path() / "missing").string().c_str(), "*.*", &list), 1);
  EXPECT_EQ(list.First, nullptr);
  EXPECT_EQ(ScanTotal(), 0u);

#ifndef _WIN32
  // A link to a directory (here: a loop back to the root) is not followed.
  fs::create_directory_symlink(root_, root_ / "sub" / "loop");
  ASSERT_EQ(CollectFiles(root_.string().c_str(), "*.*", &list), 1);
  EXPECT_EQ(Paths(list).size(), 6u);
  DoneMaskList(&list);
#endif
}

TEST_F(Scan, OverlongPathStopsWithAnError) {
  // A directory buffer with room for the root but not for "sub\deeper\".
  const std::string start = root_.string() + "\\";
  std::vector<char> buffer(start.size() + 8, '\0');
  std::memcpy(buffer.data(), start.c_str(), start.size() + 1);
  FileMaskList list{};
  EXPECT_EQ(ScanDirectory(buffer.data(), buffer.size(), "*.*", &list), 0);
  EXPECT_EQ(Status(), static_cast<uint32_t>(AR_IO_ERROR));
  EXPECT_STREQ(buffer.data(), start.c_str());  // restored
  DoneMaskList(&list);
}

TEST(WorkList, ArchiveNamesLoseTheBase) {
  SetStatus(0);
  FileMaskList masks{};
  AppendMask("W\\a.txt", &masks);
  AppendMask("W\\sub\\b.txt", &masks);
  AppendMask("W\\noext", &masks);
  FileWorkList work{};
  FileWorkListFromMasks(&masks, &work, "W");
  ASSERT_EQ(work.Count, 3u);
  EXPECT_STREQ(work.First->DiskPath, "W\\a.txt");
  EXPECT_STREQ(work.First->ArchiveName, "a.txt");
  EXPECT_STREQ(work.First->Next->ArchiveName, "sub\\b.txt");
  EXPECT_STREQ(work.Last->DiskPath, "W\\noext");
  EXPECT_STREQ(work.Last->ArchiveName, "noext");
  FreeFileWorkList(&work);

  // A disk path that would not fit stops the conversion with status 5.
  const std::string longPath = "W\\" + std::string(600, 'd') + "\\x.txt";
  AppendMask(longPath.c_str(), &masks);
  FileWorkListFromMasks(&masks, &work, "W");
  EXPECT_EQ(work.Count, 3u);
  EXPECT_EQ(Status(), static_cast<uint32_t>(AR_IO_ERROR));
  FreeFileWorkList(&work);
  DoneMaskList(&masks);
  SetStatus(0);
}

TEST(WorkList, MasksFromArchiveEntries) {
  SetStatus(0);
  ArcFileEntry first{};
  ArcFileEntry second{};
  std::strcpy(first.Name, "docs\\a.txt");
  std::strcpy(second.Name, "b");
  first.Next = &second;
  ArcFileList entries{2, &first, &second};
  FileMaskList masks{};
  MasksFromArcFileList(&entries, &masks);
  EXPECT_EQ(Paths(masks), (std::vector<std::string>{"docs\\a.txt", "b"}));
  DoneMaskList(&masks);
}

TEST(StoredNames, StoredForms) {
  struct Case {
    const char* path;
    const char* form;
  };
  const Case cases[] = {
      {"\\\\server\\share\\dir\\a.txt", "DIR\\A.TXT"},
      {"C:\\dir\\a.txt", "DIR\\A.TXT"},
      {"..\\dir\\a.txt", "DIR\\A.TXT"},
      {"\\dir\\a.txt", "DIR\\A.TXT"},
      {"dir/a.txt", "DIR\\A.TXT"},
      {"\\\\server", "SERVER"},
      {"\\\\server\\share", ""},
      {"\\..\\a", "A"},  // each step looks at the result of the one before
      {"C:..\\a", ".\\A"},
      {"a.txt", "A.TXT"},
      {"C:", ""},
  };
  for (const Case& c : cases) {
    char form[260];
    StoredForm(c.path, form, sizeof form);
    EXPECT_STREQ(form, c.form) << c.path;
  }
}

class Lookups : public ::testing::Test {
 protected:
  void SetUp() override {
    std::strcpy(State().RelativePath, "sub");
    std::strcpy(State().InputPath, "C:\\in\\");
  }
  void TearDown() override {
    State().RelativePath[0] = '\0';
    State().InputPath[0] = '\0';
    DoneMaskList(&masks_);
  }
  FileMaskList masks_{};
};

TEST_F(Lookups, IsNameInList) {
  AppendMask("x\\other.txt", &masks_);
  AppendMask("sub\\a.txt", &masks_);
  char path[260];
  EXPECT_EQ(IsNameInList("a.txt", &masks_, path), 1);
  EXPECT_STREQ(path, "sub\\a.txt");
  EXPECT_EQ(IsNameInList("A.TXT", &masks_, path), 1);
  EXPECT_EQ(IsNameInList("other.txt", &masks_, path), 0);
  State().RelativePath[0] = '\0';
  EXPECT_EQ(IsNameInList("a.txt", &masks_, path), 0);
  EXPECT_EQ(IsNameInList("sub\\a.txt", &masks_, path), 1);
}

TEST_F(Lookups, FindListedFile) {
  AppendMask("docs\\a.txt", &masks_);
  AppendMask("C:\\data\\b.txt", &masks_);
  char candidate[260];
  char disk[260];
  EXPECT_EQ(FindListedFile("SUB\\DOCS\\A.TXT", &masks_, candidate, disk), 1);
  EXPECT_STREQ(candidate, "sub\\docs\\a.txt");
  EXPECT_STREQ(disk, "C:\\in\\docs\\a.txt");
  // sub\C:\data\b.txt has the stored form SUB\C:\DATA\B.TXT: the drive is not
  // at the start, so it stays.
  EXPECT_EQ(FindListedFile("sub\\c:\\data\\b.txt", &masks_, candidate, disk), 1);
  EXPECT_EQ(FindListedFile("docs\\a.txt", &masks_, candidate, disk), 0);
  EXPECT_STREQ(candidate, "sub\\C:\\data\\b.txt");  // the last node's values
  EXPECT_STREQ(disk, "C:\\in\\C:\\data\\b.txt");
  State().RelativePath[0] = '\0';
  EXPECT_EQ(FindListedFile("data\\b.txt", &masks_, candidate, disk), 1);
  EXPECT_STREQ(candidate, "C:\\data\\b.txt");
}

class Removal : public ::testing::Test {
 protected:
  void SetUp() override { Build(); }
  void TearDown() override { platform::faults::Reset(); }
  void Build() {
    root_ = dir_.path() / "work";
    fs::create_directories(root_ / "a.b" / "inner");
    fs::create_directories(root_ / ".cfg");
    fs::create_directories(root_ / "empty");
    acetest::WriteFileText(root_ / "f.txt", "x");
    acetest::WriteFileText(root_ / "a.b" / "inner" / "g", "x");
    acetest::WriteFileText(root_ / ".cfg" / ".h", "x");
    const fs::path readOnly = root_ / "a.b" / "ro.dat";
    acetest::WriteFileText(readOnly, "x");
    fs::permissions(readOnly, fs::perms::owner_read | fs::perms::group_read);
  }
  acetest::TempDir dir_;
  fs::path root_;
};

// Nested trees with read-only files go whole, named natively or with
// backslashes and a trailing one.
TEST_F(Removal, RemovesNestedTreesWithReadOnlyFiles) {
  EXPECT_EQ(RemoveTree(root_.string().c_str(), "*.*"), 1);
  EXPECT_FALSE(fs::exists(root_));
  EXPECT_TRUE(fs::exists(dir_.path()));
  Build();
  EXPECT_EQ(RemoveTree((Backslashed(root_.string()) + "\\").c_str(), "*.*"), 1);
  EXPECT_FALSE(fs::exists(root_));
  // Files outside the pattern keep the tree.
  Build();
  EXPECT_EQ(RemoveTree(root_.string().c_str(), "*.txt"), 0);
  EXPECT_FALSE(fs::exists(root_ / "f.txt"));
  EXPECT_TRUE(fs::exists(root_));
}

TEST_F(Removal, LinksAreRemovedNotFollowed) {
  ACE_POSIX_ONLY("symbolic links");
  const fs::path outside = dir_.path() / "outside";
  fs::create_directory(outside);
  acetest::WriteFileText(outside / "keep.txt", "x");
  fs::create_directory_symlink(outside, root_ / "a.b" / "dirlink");
  fs::create_symlink(outside / "keep.txt", root_ / "filelink");
  fs::create_symlink(dir_.path() / "nowhere", root_ / "dangling");
  EXPECT_EQ(RemoveTree(root_.string().c_str(), "*.*"), 1);
  EXPECT_FALSE(fs::exists(root_));
  EXPECT_TRUE(fs::exists(outside / "keep.txt"));

  // A link given as the tree itself goes, its target stays.
  fs::create_directory_symlink(outside, dir_.path() / "treelink");
  EXPECT_EQ(RemoveTree((dir_.path() / "treelink").string().c_str(), "*.*"), 1);
  EXPECT_FALSE(fs::is_symlink(dir_.path() / "treelink"));
  EXPECT_TRUE(fs::exists(outside / "keep.txt"));
}

TEST_F(Removal, AFileThatCannotBeDeletedKeepsOnlyItselfAndItsFolders) {
  // Each of the four files in turn refuses to go; the rest of the tree goes.
  for (int64_t nth = 1; nth <= 4; ++nth) {
    SCOPED_TRACE(nth);
    platform::faults::Reset();
    platform::faults::Arm(platform::faults::Kind::Delete, nth);
    EXPECT_EQ(RemoveTree(root_.string().c_str(), "*.*"), 0);
    platform::faults::Reset();
    std::vector<fs::path> files;
    for (const auto& e : fs::recursive_directory_iterator(root_)) {
      if (!e.is_directory()) files.push_back(e.path());
    }
    ASSERT_EQ(files.size(), 1u);
    for (const auto& e : fs::recursive_directory_iterator(root_)) {
      if (!e.is_directory()) continue;
      const auto inside = fs::relative(files[0], e.path());
      EXPECT_FALSE(inside.empty() || *inside.begin() == "..") << e.path() << " is left empty";
    }
    fs::permissions(files[0], fs::perms::owner_all);
    fs::remove_all(root_);
    Build();
  }
}

TEST_F(Removal, RootsShortPathsAndMissingDirectoriesAreRefused) {
  for (const char* path : {"C:\\", "/", "C:", "\\", "", "////", "/tmp/..", "C:\\tmp\\..\\"}) {
    EXPECT_EQ(RemoveTree(path, "*.*"), 0) << path;
  }
  EXPECT_EQ(RemoveTree(nullptr, "*.*"), 0);
  EXPECT_TRUE(fs::exists("/tmp"));
  EXPECT_EQ(RemoveTree((dir_.path() / "missing").string().c_str(), "*.*"), 0);
}

}  // namespace
