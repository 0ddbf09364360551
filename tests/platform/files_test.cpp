// File, search and module services over POSIX with the Windows behaviour the
// plug-in relies on: positions, read-only even for root, moves that never
// replace, wildcard rules, links marked and never followed.
#include <sys/stat.h>

#include "platform/win32.h"
#include "support/test_support.h"

namespace {

namespace fs = std::filesystem;
using acetest::TempDir;

HANDLE Open(const std::string& path, DWORD access, DWORD creation) {
  return CreateFileA(path.c_str(), access, FILE_SHARE_READ, nullptr, creation,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST(Files, OnlyRegularFilesOpen) {
  TempDir dir;
  std::vector<std::string> paths{dir.str()};
#ifndef _WIN32
  ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0666), 0);
  paths.insert(paths.end(), {dir / "pipe", "/dev/null"});
#endif
  for (const std::string& path : paths) {
    EXPECT_EQ(Open(path, GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE) << path;
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED) << path;
  }
}

TEST(Files, SeeksReadsAndTruncationWorkAsOnWindows) {
  TempDir dir;
  HANDLE h = Open(dir / "f", GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  DWORD n = 0;
  ASSERT_TRUE(WriteFile(h, "abcdefgh", 8, &n, nullptr));
  EXPECT_EQ(GetFileSize(h, nullptr), 8u);
  EXPECT_EQ(SetFilePointer(h, -3, nullptr, FILE_END), 5u);
  char buf[8] = {};
  ASSERT_TRUE(ReadFile(h, buf, 8, &n, nullptr));
  EXPECT_EQ(std::string(buf, n), "fgh");
  ASSERT_TRUE(ReadFile(h, buf, 8, &n, nullptr));
  EXPECT_EQ(n, 0u);  // the end is a success with nothing read
  EXPECT_EQ(SetFilePointer(h, 3, nullptr, FILE_BEGIN), 3u);
  EXPECT_EQ(SetFilePointer(h, -10, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
  EXPECT_EQ(SetFilePointer(h, 0, nullptr, FILE_CURRENT), 3u) << "a failed seek moves nothing";
  ASSERT_TRUE(SetEndOfFile(h));
  EXPECT_EQ(GetFileSize(h, nullptr), 3u);
  LONG high = 1;  // 4 GiB + 1
  EXPECT_EQ(SetFilePointer(h, 1, &high, FILE_BEGIN), 1u);
  EXPECT_EQ(high, 1);
  EXPECT_TRUE(CloseHandle(h));
  EXPECT_TRUE(CloseHandle(INVALID_HANDLE_VALUE));  // also the process's own pseudo handle
}

TEST(Files, ReadOnlyHoldsForRootAndMovesNeverReplace) {
  TempDir dir;
  const std::string path = dir / "f.txt";
  acetest::WriteFileText(path, "x");
  EXPECT_EQ(GetFileAttributesA(path.c_str()), FILE_ATTRIBUTE_ARCHIVE);
  ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_EQ(GetFileAttributesA(path.c_str()), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE);
  EXPECT_EQ(Open(path, GENERIC_WRITE, OPEN_EXISTING), INVALID_HANDLE_VALUE);  // root too
  EXPECT_FALSE(DeleteFileA(path.c_str()));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_ARCHIVE));
  acetest::WriteFileText(dir / ".cfg", "");
  EXPECT_EQ(GetFileAttributesA((dir / ".cfg").c_str()),
            FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN);
  EXPECT_EQ(GetFileAttributesA(dir.str().c_str()), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesA((dir / "missing").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);

  acetest::WriteFileText(dir / "b", "to");
  EXPECT_FALSE(MoveFileA(path.c_str(), (dir / "b").c_str()));
  EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(acetest::ReadFileText(dir / "b"), "to");
  EXPECT_TRUE(MoveFileA(path.c_str(), (dir / "c").c_str()));
  EXPECT_FALSE(fs::exists(path));
}

std::vector<std::string> Find(const std::string& pattern) {
  std::vector<std::string> names;
  WIN32_FIND_DATAA data{};
  HANDLE h = FindFirstFileA(pattern.c_str(), &data);
  if (h == INVALID_HANDLE_VALUE) return {GetLastError() == ERROR_PATH_NOT_FOUND ? "no path" : ""};
  do {
    names.emplace_back(data.cFileName);
  } while (FindNextFileA(h, &data));
  EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
  FindClose(h);
  return names;
}

TEST(Find, FollowsWindowsWildcardRulesAndMarksLinks) {
  TempDir dir;
  for (const char* name : {"README", "a.txt", "b.TXT", "ab.txt", "x.tar.gz"}) {
    acetest::WriteFileText(dir.path() / name, "data");
  }
  fs::create_directory(dir.path() / "sub.d");
#ifdef _WIN32
  const std::string link = "link.d";  // a plain folder: links need privileges there
  fs::create_directory(dir.path() / link);
  const std::vector<std::string> readme = {"README"}, bare = {".", "..", "README"};
#else
  const std::string link = "link";
  fs::create_directory_symlink(dir.path() / "sub.d", dir.path() / link);
  const std::vector<std::string> readme = {""}, bare = {".", "..", "link", "README"};
#endif
  // NTFS's order: by the names' upper-case forms.
  const std::vector<std::string> all = {".",  "..",     "a.txt", "ab.txt",  "b.TXT",
                                        link, "README", "sub.d", "x.tar.gz"};
  std::vector<std::pair<const char*, std::vector<std::string>>> cases = {
      {"*.*", all},
      {"*", all},
      {"*.txt", {"a.txt", "ab.txt", "b.TXT"}},
      {"?.txt", {"a.txt", "b.TXT"}},
      {"README.*", {"README"}},
      {"readme", readme},  // a plain name is looked up as the file system decides
      {"*.zip", {""}},
      {"missing/*.*", {"no path"}},
  };
  // Wine lists every name for "*." (Windows: those without an extension).
  if (!acetest::UnderWine()) cases.push_back({"*.", bare});
  for (const auto& [pattern, names] : cases)
    EXPECT_EQ(Find(dir.str() + "\\" + pattern), names) << pattern;
  ACE_POSIX_ONLY("symbolic links");
  WIN32_FIND_DATAA data{};
  HANDLE h = FindFirstFileA((dir / "link").c_str(), &data);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
  FindClose(h);
  EXPECT_TRUE(RemoveDirectoryA((dir / "link").c_str()));
  EXPECT_TRUE(fs::is_directory(dir.path() / "sub.d")) << "the link goes, its target stays";
}

}  // namespace
