#include "platform/fault_injection.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/win32.h"
#include "support/test_support.h"

namespace {

using platform::faults::Kind;

class FaultInjection : public ::testing::Test {
 protected:
  void SetUp() override { platform::faults::Reset(); }
  void TearDown() override { platform::faults::Reset(); }
  HANDLE Create(const std::string& path) {
    return CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  acetest::TempDir dir_;
};

TEST_F(FaultInjection, CountsCalls) {
  HANDLE h = Create(dir_ / "f");
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  DWORD n = 0;
  WriteFile(h, "abc", 3, &n, nullptr);
  WriteFile(h, "abc", 3, &n, nullptr);
  SetFilePointer(h, 0, nullptr, FILE_BEGIN);
  char buf[4];
  ReadFile(h, buf, 3, &n, nullptr);
  CloseHandle(h);
  EXPECT_EQ(platform::faults::Calls(Kind::Open), 1);
  EXPECT_EQ(platform::faults::Calls(Kind::Write), 2);
  EXPECT_EQ(platform::faults::Calls(Kind::ShortWrite), 2);
  EXPECT_EQ(platform::faults::Calls(Kind::Seek), 1);
  EXPECT_EQ(platform::faults::Calls(Kind::Read), 1);
  EXPECT_EQ(platform::faults::Calls(Kind::Rename), 0);
  platform::faults::Reset();
  EXPECT_EQ(platform::faults::Calls(Kind::Write), 0);
}

TEST_F(FaultInjection, FiresOnTheNthCallOnly) {
  HANDLE h = Create(dir_ / "f");
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  platform::faults::Arm(Kind::Write, 2);
  DWORD n = 0;
  EXPECT_TRUE(WriteFile(h, "abc", 3, &n, nullptr));
  EXPECT_FALSE(WriteFile(h, "abc", 3, &n, nullptr));
  EXPECT_EQ(n, 0u);
  EXPECT_NE(GetLastError(), NO_ERROR);
  EXPECT_TRUE(WriteFile(h, "abc", 3, &n, nullptr));
  EXPECT_EQ(GetFileSize(h, nullptr), 6u);

  platform::faults::Arm(Kind::ShortWrite, 1);
  EXPECT_TRUE(WriteFile(h, "abcdefgh", 8, &n, nullptr));
  EXPECT_EQ(n, 4u);
  EXPECT_EQ(GetFileSize(h, nullptr), 10u);
  CloseHandle(h);

  platform::faults::Arm(Kind::Open, 1);
  EXPECT_EQ(Create(dir_ / "g"), INVALID_HANDLE_VALUE);
  EXPECT_NE(GetLastError(), NO_ERROR);

  platform::faults::Arm(Kind::Rename, 1);
  EXPECT_FALSE(MoveFileA((dir_ / "f").c_str(), (dir_ / "h").c_str()));
  platform::faults::Arm(Kind::Delete, 1);
  EXPECT_FALSE(DeleteFileA((dir_ / "f").c_str()));
  platform::faults::Arm(Kind::CreateDir, 1);
  EXPECT_FALSE(CreateDirectoryA((dir_ / "d").c_str(), nullptr));
  // Each fired once; the same calls now succeed.
  EXPECT_TRUE(MoveFileA((dir_ / "f").c_str(), (dir_ / "h").c_str()));
  EXPECT_TRUE(DeleteFileA((dir_ / "h").c_str()));
  EXPECT_TRUE(CreateDirectoryA((dir_ / "d").c_str(), nullptr));
}

TEST_F(FaultInjection, DisarmAndReadSeekFaults) {
  acetest::WriteFileText(dir_ / "r", "hello");
  HANDLE h = CreateFileA((dir_ / "r").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  platform::faults::Arm(Kind::Read, 1);
  platform::faults::Arm(Kind::Read, 0);  // disarmed again
  char buf[8];
  DWORD n = 0;
  EXPECT_TRUE(ReadFile(h, buf, 5, &n, nullptr));
  platform::faults::Arm(Kind::Read, 1);
  EXPECT_FALSE(ReadFile(h, buf, 5, &n, nullptr));
  platform::faults::Arm(Kind::Seek, 1);
  EXPECT_EQ(SetFilePointer(h, 0, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
  EXPECT_NE(GetLastError(), NO_ERROR);
  CloseHandle(h);
}

}  // namespace
