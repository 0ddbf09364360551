#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "support/test_support.h"

namespace {

namespace fs = std::filesystem;

HANDLE Open(const std::string& path, DWORD access, DWORD creation) {
  return CreateFileA(path.c_str(), access, FILE_SHARE_READ, nullptr, creation,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST(PlatformFiles, CreationModes) {
  acetest::TempDir dir;
  const std::string existing = dir / "existing";
  const std::string missing = dir / "missing";
  struct Case {
    DWORD creation;
    bool onExisting;  // open succeeds on the existing file
    bool onMissing;   // open succeeds on a missing file (and creates it)
    bool truncates;
  };
  const Case cases[] = {
      {CREATE_NEW, false, true, false},       {CREATE_ALWAYS, true, true, true},
      {OPEN_EXISTING, true, false, false},    {OPEN_ALWAYS, true, true, false},
      {TRUNCATE_EXISTING, true, false, true},
  };
  for (const Case& c : cases) {
    acetest::WriteFileText(existing, "12345");
    fs::remove(missing);
    HANDLE h = Open(existing, GENERIC_READ | GENERIC_WRITE, c.creation);
    EXPECT_EQ(h != INVALID_HANDLE_VALUE, c.onExisting) << c.creation;
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
    EXPECT_EQ(fs::file_size(existing), c.truncates ? 0u : 5u) << c.creation;
    h = Open(missing, GENERIC_WRITE, c.creation);
    EXPECT_EQ(h != INVALID_HANDLE_VALUE, c.onMissing) << c.creation;
    EXPECT_EQ(fs::exists(missing), c.onMissing) << c.creation;
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
  }
}

TEST(PlatformFiles, ReadWriteSeekAndSize) {
  acetest::TempDir dir;
  const std::string path = dir / "f.bin";
  HANDLE h = Open(path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  DWORD n = 0;
  ASSERT_TRUE(WriteFile(h, "abcdefgh", 8, &n, nullptr));
  EXPECT_EQ(n, 8u);
  EXPECT_EQ(GetFileSize(h, nullptr), 8u);
  EXPECT_EQ(SetFilePointer(h, -3, nullptr, FILE_END), 5u);
  char buf[8] = {};
  ASSERT_TRUE(ReadFile(h, buf, 8, &n, nullptr));
  EXPECT_EQ(n, 3u);
  EXPECT_EQ(std::string(buf, 3), "fgh");
  ASSERT_TRUE(ReadFile(h, buf, 8, &n, nullptr));
  EXPECT_EQ(n, 0u);  // end of file is success with nothing read
  EXPECT_EQ(SetFilePointer(h, 2, nullptr, FILE_BEGIN), 2u);
  EXPECT_EQ(SetFilePointer(h, 1, nullptr, FILE_CURRENT), 3u);
  // A negative position fails and leaves the position alone.
  EXPECT_EQ(SetFilePointer(h, -10, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
  EXPECT_EQ(SetFilePointer(h, 0, nullptr, FILE_CURRENT), 3u);
  EXPECT_EQ(SetFilePointer(h, 0, nullptr, 7), INVALID_SET_FILE_POINTER);
  EXPECT_NE(GetLastError(), NO_ERROR);
  ASSERT_TRUE(SetEndOfFile(h));
  EXPECT_EQ(GetFileSize(h, nullptr), 3u);
  LONG high = 1;  // 4 GiB + 1: a sparse seek past 32 bits with a high part
  EXPECT_EQ(SetFilePointer(h, 1, &high, FILE_BEGIN), 1u);
  EXPECT_EQ(high, 1);
  EXPECT_TRUE(CloseHandle(h));
  EXPECT_TRUE(CloseHandle(INVALID_HANDLE_VALUE));  // also the process's own pseudo handle
}

TEST(PlatformFiles, NonRegularFilesCannotBeOpened) {
  acetest::TempDir dir;
  std::vector<std::string> paths{dir.str()};
#ifndef _WIN32
  const std::string fifo = dir / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
  paths.insert(paths.end(), {fifo, "/dev/null"});
#endif
  for (const std::string& path : paths) {
    EXPECT_EQ(Open(path, GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE) << path;
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED) << path;
  }
}

TEST(PlatformFiles, AttributesRoundTrip) {
  acetest::TempDir dir;
  const std::string path = dir / "f.txt";
  acetest::WriteFileText(path, "x");
  EXPECT_EQ(GetFileAttributesA(path.c_str()), FILE_ATTRIBUTE_ARCHIVE);
  ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_EQ(GetFileAttributesA(path.c_str()), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE);
  // Read-only behaves as on Windows, whoever runs the test.
  EXPECT_EQ(Open(path, GENERIC_WRITE, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_FALSE(DeleteFileA(path.c_str()));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  HANDLE h = Open(path, GENERIC_READ, OPEN_EXISTING);
  EXPECT_NE(h, INVALID_HANDLE_VALUE);
  CloseHandle(h);
  ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_EQ(GetFileAttributesA(path.c_str()), FILE_ATTRIBUTE_ARCHIVE);
  EXPECT_TRUE(DeleteFileA(path.c_str()));

  EXPECT_EQ(GetFileAttributesA(dir.str().c_str()) & FILE_ATTRIBUTE_DIRECTORY,
            FILE_ATTRIBUTE_DIRECTORY);
  const std::string hidden = dir / ".cfg";
  acetest::WriteFileText(hidden, "");
  EXPECT_NE(GetFileAttributesA(hidden.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
  EXPECT_EQ(GetFileAttributesA((dir / "missing").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST(PlatformFiles, MoveFileNeverReplaces) {
  acetest::TempDir dir;
  const std::string a = dir / "a";
  const std::string b = dir / "b";
  acetest::WriteFileText(a, "from");
  acetest::WriteFileText(b, "to");
  EXPECT_FALSE(MoveFileA(a.c_str(), b.c_str()));
  EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(acetest::ReadFileBytes(b), acetest::Bytes({'t', 'o'}));
  EXPECT_TRUE(fs::exists(a));
  ASSERT_TRUE(DeleteFileA(b.c_str()));
  EXPECT_TRUE(MoveFileA(a.c_str(), b.c_str()));
  EXPECT_FALSE(fs::exists(a));
  EXPECT_EQ(acetest::ReadFileBytes(b), acetest::Bytes({'f', 'r', 'o', 'm'}));
  EXPECT_FALSE(MoveFileA(a.c_str(), (dir / "c").c_str()));
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST(PlatformFiles, DirectoriesAndDrivePaths) {
  acetest::TempDir dir;
#ifdef _WIN32
  const std::string sub = dir.str() + "\\sub";
#else
  // A drive letter is dropped and "\" becomes "/".
  const std::string sub = "C:" + dir.str() + "\\sub";
#endif
  ASSERT_TRUE(CreateDirectoryA(sub.c_str(), nullptr));
  EXPECT_TRUE(fs::is_directory(dir.path() / "sub"));
  EXPECT_FALSE(CreateDirectoryA(sub.c_str(), nullptr));
  EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
  acetest::WriteFileText(dir.path() / "sub" / "f", "");
  EXPECT_FALSE(RemoveDirectoryA(sub.c_str()));
  EXPECT_EQ(GetLastError(), ERROR_DIR_NOT_EMPTY);
  EXPECT_FALSE(DeleteFileA(sub.c_str()));
  ASSERT_TRUE(DeleteFileA((sub + "\\f").c_str()));
  EXPECT_TRUE(RemoveDirectoryA((sub + "\\").c_str()));
  EXPECT_FALSE(fs::exists(dir.path() / "sub"));
}

TEST(PlatformFiles, TempPath) {
  acetest::TempDir dir;
  const std::string expected = (dir.path() / "").string();  // with a trailing separator
  {
    acetest::ScopedTempFolder temp(dir.path());
    char buf[MAX_PATH];
    EXPECT_EQ(GetTempPathA(sizeof buf, buf), expected.size());
    EXPECT_EQ(std::string(buf), expected);
    char small[5] = "keep";
    EXPECT_EQ(GetTempPathA(sizeof small, small), expected.size() + 1);  // the size it needs
    EXPECT_STREQ(small, "keep");
  }
#ifndef _WIN32
  const char* saved = std::getenv("TMPDIR");
  const std::string savedValue = saved != nullptr ? saved : "";
  unsetenv("TMPDIR");
  char buf[64];
  EXPECT_EQ(GetTempPathA(sizeof buf, buf), 5u);
  EXPECT_STREQ(buf, "/tmp/");
  if (saved != nullptr) setenv("TMPDIR", savedValue.c_str(), 1);
#endif
}

TEST(PlatformFiles, FileTimesRoundTrip) {
  acetest::TempDir dir;
  HANDLE h = Open(dir / "t", GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  SYSTEMTIME st{2001, 9, 0, 9, 1, 46, 40, 0};
  FILETIME ft{};
  ASSERT_TRUE(SystemTimeToFileTime(&st, &ft));
  ASSERT_TRUE(SetFileTime(h, nullptr, nullptr, &ft));
  FILETIME back{};
  ASSERT_TRUE(GetFileTime(h, nullptr, nullptr, &back));
  EXPECT_EQ(back.dwLowDateTime, ft.dwLowDateTime);
  EXPECT_EQ(back.dwHighDateTime, ft.dwHighDateTime);
  CloseHandle(h);
  struct stat info {};
  ASSERT_EQ(stat((dir / "t").c_str(), &info), 0);
  EXPECT_EQ(info.st_mtime, 1000000000);  // 2001-09-09 01:46:40 UTC
}

}  // namespace
