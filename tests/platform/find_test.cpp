#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "support/test_support.h"

namespace {

std::vector<std::string> Find(const std::string& pattern) {
  std::vector<std::string> names;
  WIN32_FIND_DATAA data{};
  HANDLE h = FindFirstFileA(pattern.c_str(), &data);
  if (h == INVALID_HANDLE_VALUE) return names;
  do {
    names.emplace_back(data.cFileName);
  } while (FindNextFileA(h, &data));
  EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
  EXPECT_TRUE(FindClose(h));
  return names;
}

class FindTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"README", "a.txt", "b.TXT", "ab.txt", "abc.doc", "x.tar.gz"}) {
      acetest::WriteFileText(dir_.path() / name, "data");
    }
    std::filesystem::create_directory(dir_.path() / "sub.d");
  }
  std::string Pattern(const std::string& p) const { return dir_.str() + "/" + p; }
  acetest::TempDir dir_;
};

TEST_F(FindTest, WindowsWildcardRules) {
  struct Case {
    const char* pattern;
    std::vector<std::string> names;
  };
  // NTFS's order: by the names' upper-case forms. A plain name is looked up
  // as it stands, so the file system decides whether case matters.
  const std::vector<std::string> all = {".",     "..",     "a.txt", "ab.txt",  "abc.doc",
                                        "b.TXT", "README", "sub.d", "x.tar.gz"};
#ifdef _WIN32
  const std::vector<std::string> readme = {"README"};
#else
  const std::vector<std::string> readme = {};
#endif
  std::vector<Case> cases = {
      {"*.*", all},
      {"*", all},
      {"*.txt", {"a.txt", "ab.txt", "b.TXT"}},
      {"?.txt", {"a.txt", "b.TXT"}},
      {"a?.txt", {"ab.txt"}},
      {"*.gz", {"x.tar.gz"}},
      {"README.*", {"README"}},
      {"readme", readme},
      {"a.txt", {"a.txt"}},
      {"*.zip", {}},
  };
  // Wine lists every name for "*." (Windows: those without an extension).
  if (!acetest::UnderWine()) cases.push_back({"*.", {".", "..", "README"}});
  for (const Case& c : cases) {
    EXPECT_EQ(Find(Pattern(c.pattern)), c.names) << c.pattern;
  }
}

TEST_F(FindTest, BackslashPathsAndAttributes) {
  std::string pattern = dir_.str() + "\\*.d";
  WIN32_FIND_DATAA data{};
  HANDLE h = FindFirstFileA(pattern.c_str(), &data);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_STREQ(data.cFileName, "sub.d");
  EXPECT_NE(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
  FindClose(h);

  h = FindFirstFileA(Pattern("abc.doc").c_str(), &data);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(data.nFileSizeLow, 4u);
  EXPECT_EQ(data.nFileSizeHigh, 0u);
  EXPECT_EQ(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
  EXPECT_NE(data.dwFileAttributes & FILE_ATTRIBUTE_ARCHIVE, 0u);
  EXPECT_NE(data.ftLastWriteTime.dwHighDateTime, 0u);
  FindClose(h);
}

TEST_F(FindTest, MissingDirectoryAndNoMatch) {
  WIN32_FIND_DATAA data{};
  EXPECT_EQ(FindFirstFileA(Pattern("nothere/*.*").c_str(), &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(FindFirstFileA(Pattern("*.zip").c_str(), &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST_F(FindTest, EntriesDeletedDuringSearchAreSkipped) {
  ACE_POSIX_ONLY("Windows may still report an entry removed during the search");
  WIN32_FIND_DATAA data{};
  HANDLE h = FindFirstFileA(Pattern("*.txt").c_str(), &data);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_STREQ(data.cFileName, "a.txt");
  std::filesystem::remove(dir_.path() / "ab.txt");
  ASSERT_TRUE(FindNextFileA(h, &data));
  EXPECT_STREQ(data.cFileName, "b.TXT");
  EXPECT_FALSE(FindNextFileA(h, &data));
  FindClose(h);
}

TEST_F(FindTest, LinksAreMarked) {
  ACE_POSIX_ONLY("symbolic links");
  std::filesystem::create_directory_symlink(dir_.path() / "sub.d", dir_.path() / "link");
  WIN32_FIND_DATAA data{};
  HANDLE h = FindFirstFileA(Pattern("link").c_str(), &data);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(data.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT),
            FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
  FindClose(h);
  // Removing the link leaves the directory it points to.
  EXPECT_TRUE(RemoveDirectoryA(Pattern("link").c_str()));
  EXPECT_TRUE(std::filesystem::is_directory(dir_.path() / "sub.d"));
}

}  // namespace
