#include "fs/file_layer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "fs/dos_time.h"
#include "support/test_support.h"

namespace {

namespace fs = std::filesystem;
using namespace ace;

TEST(FileLayer, OpenModes) {
  struct Case {
    const char* mode;
    bool opensExisting;
    bool truncates;
    bool createsMissing;
    bool canRead;
    bool canWrite;
  };
  const Case cases[] = {
      {"rb", true, false, false, true, false}, {"r", true, false, false, true, false},
      {"wb", true, true, true, false, true},   {"b", true, true, true, true, true},
      {"v", true, false, false, false, true},  {"xb", false, false, false, false, false},
      {"", false, false, false, false, false}, {"ab", false, false, false, false, false},
  };
  for (const Case& c : cases) {
    acetest::TempDir dir;
    const std::string existing = dir / "existing.bin";
    const std::string missing = dir / "missing.bin";
    acetest::WriteFileText(existing, "content");

    FileHandle h = FileOpen(existing.c_str(), c.mode);
    EXPECT_EQ(h != kNoFile, c.opensExisting) << c.mode;
    if (h != kNoFile) {
      char buf[16];
      EXPECT_EQ(FileRead(buf, 4, h) >= 0, c.canRead) << c.mode;
      EXPECT_EQ(FileWrite("xy", 2, h) == 2, c.canWrite) << c.mode;
      EXPECT_EQ(FileClose(h), 1);
    }
    const auto size = fs::file_size(existing);
    if (c.truncates) {
      EXPECT_EQ(size, 2u) << c.mode;
    } else {
      EXPECT_EQ(size, 7u) << c.mode;
    }

    h = FileOpen(missing.c_str(), c.mode);
    EXPECT_EQ(h != kNoFile, c.createsMissing) << c.mode;
    EXPECT_EQ(fs::exists(missing), c.createsMissing) << c.mode;
    if (h != kNoFile) FileClose(h);
  }
  EXPECT_EQ(FileOpen(nullptr, "rb"), kNoFile);
}

TEST(FileLayer, SeekTellSize) {
  acetest::TempDir dir;
  const std::string path = dir / "f.bin";
  acetest::WriteFileBytes(path, acetest::RandomBytes(1000, 7));
  FileHandle h = FileOpen(path.c_str(), "rb");
  ASSERT_NE(h, kNoFile);
  EXPECT_EQ(FileSize(h), 1000);
  EXPECT_EQ(FileSeek(h, 0, 2), 1000);  // origin 2 with offset 0 is the size
  EXPECT_EQ(FileTell(h), 1000);
  char buf[8];
  EXPECT_EQ(FileRead(buf, 8, h), 0);  // end of file
  EXPECT_EQ(FileSeek(h, 10, 0), 10);
  EXPECT_EQ(FileSeek(h, -4, 1), 6);
  EXPECT_EQ(FileSeek(h, -1, 2), 999);
  EXPECT_EQ(FileRead(buf, 8, h), 1);
  EXPECT_EQ(FileSeek(h, -2000, 1), -1);
  EXPECT_EQ(FileSeek(h, 0, 9), -1);  // an unknown origin fails in the platform
  EXPECT_EQ(FileRead(buf, -1, h), -1);
  EXPECT_EQ(FileClose(h), 1);
  EXPECT_EQ(FileClose(kNoFile), 1);  // as Windows closes its own process's pseudo handle
  EXPECT_EQ(FileSize(kNoFile), -1);
  EXPECT_EQ(FileRead(buf, 1, kNoFile), -1);
  EXPECT_EQ(FileWrite(buf, 1, kNoFile), -1);
}

TEST(FileLayer, ExistenceAttributesAndRemoval) {
  acetest::TempDir dir;
  const std::string file = dir / "ro.txt";
  const std::string missing = dir / "missing.txt";
  acetest::WriteFileText(file, "x");
  EXPECT_EQ(IsExistingFile(file.c_str()), 1);
  EXPECT_EQ(IsExistingFile(dir.str().c_str()), 0);
  EXPECT_EQ(IsExistingFile(missing.c_str()), 0);

  EXPECT_EQ(SetFileAttr(file.c_str(), FILE_ATTRIBUTE_READONLY), 0u);
  EXPECT_EQ(FileDelete(file.c_str()), 0);  // read-only refuses a plain delete
  EXPECT_EQ(FileOpen(file.c_str(), "wb"), kNoFile);
  EXPECT_EQ(RemoveFile(file.c_str()), 1);  // clears read-only, then deletes
  EXPECT_FALSE(fs::exists(file));

  EXPECT_EQ(RemoveFile(missing.c_str()), 1);
  EXPECT_EQ(RemoveFile(dir.str().c_str()), 1);  // a directory is not a file: nothing happens
  EXPECT_TRUE(fs::is_directory(dir.path()));
  EXPECT_EQ(SetFileAttr(missing.c_str(), FILE_ATTRIBUTE_ARCHIVE), ERROR_FILE_NOT_FOUND);

  acetest::WriteFileText(file, "x");
  SetFileAttr(file.c_str(), FILE_ATTRIBUTE_READONLY);
  MakeFileWritable(file.c_str());
  EXPECT_EQ(GetFileAttributesA(file.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
  EXPECT_EQ(FileDelete(file.c_str()), 1);
}

// File times read as local time with the offset in force now, whatever their
// season (see the platform's time tests); Berlin's zone as there.
class DosStamps : public ::testing::Test {
 protected:
  void SetUp() override {
#ifndef _WIN32
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
#endif
    offset_ = acetest::CurrentUtcOffset();
    ASSERT_EQ(offset_ % 3600, 0);
  }
  int64_t offset_ = 0;
};

TEST_F(DosStamps, FileStampsAreLocalTime) {
  struct Case {
    int64_t unixSeconds;
    uint32_t date, time;
  };
  const uint32_t hour = static_cast<uint32_t>(offset_ / 3600);
  const int64_t firstLocal = 315532800 - offset_;  // 1980-01-01 00:00:00 local
  const Case cases[] = {
      // 2024-01-15 12:00:02 UTC and 2024-07-15 12:30:58 UTC.
      {1705320002, (44u << 9) | (1u << 5) | 15u, ((12u + hour) << 11) | 1u},
      {1721046658, (44u << 9) | (7u << 5) | 15u, ((12u + hour) << 11) | (30u << 5) | 29u},
      // Outside 1980..2107 (local time) the stamp is the nearest one there is.
      {0, (1u << 5) | 1u, 0},
      {firstLocal - 1, (1u << 5) | 1u, 0},
      {firstLocal, (1u << 5) | 1u, 0},
  };
  acetest::TempDir dir;
  const std::string path = dir / "t.bin";
  acetest::WriteFileText(path, "t");
  for (const Case& c : cases) {
    acetest::SetWriteTime(path, c.unixSeconds);
    FileHandle h = FileOpen(path.c_str(), "rb");
    ASSERT_NE(h, kNoFile);
    uint32_t date = 0xFFFFFFFF;
    uint32_t time = 0xFFFFFFFF;
    EXPECT_EQ(GetFileDosTime(h, &date, &time), 0u);
    uint32_t stamp = 0;
    EXPECT_EQ(GetFileDosStamp(h, &stamp), 0);
    FileClose(h);
    EXPECT_EQ(date, c.date) << c.unixSeconds;
    EXPECT_EQ(time, c.time) << c.unixSeconds;
    EXPECT_EQ(stamp, (c.date << 16) | c.time);
  }
  uint32_t stamp = 0;
  EXPECT_EQ(GetFileDosStamp(kNoFile, &stamp), -1);
  uint32_t date = 0;
  uint32_t time = 0;
  EXPECT_EQ(GetFileDosTime(kNoFile, &date, &time), ERROR_INVALID_HANDLE);
}

TEST_F(DosStamps, StampConversions) {
  const uint32_t summer = ((44u << 9 | 7u << 5 | 15u) << 16) | (14u << 11 | 30u << 5 | 29u);
  const FILETIME utc = DosStampToFileTime(summer);
  EXPECT_EQ(FileTimeToDosStamp(utc), summer);
  // 2024-07-15 14:30:58 local as 100 ns ticks since 1601 (UTC).
  const uint64_t ticks = (static_cast<uint64_t>(utc.dwHighDateTime) << 32) | utc.dwLowDateTime;
  const int64_t seconds = 1721046658 + 2 * 3600 - offset_;
  EXPECT_EQ(ticks, (static_cast<uint64_t>(seconds) + 11644473600ULL) * 10000000ULL);
  // A stamp that names no real moment reads as 1 February 1980.
  EXPECT_EQ(FileTimeToDosStamp(DosStampToFileTime(0)), 0x00410000u);
  const FILETIME early{0, 0};
  EXPECT_EQ(FileTimeToDosStamp(early), 0x00210000u);
  // 2107-12-31 23:59:58 local is the last stamp; 2108 is held to it.
  const uint32_t last = ((127u << 9 | 12u << 5 | 31u) << 16) | (23u << 11 | 59u << 5 | 29u);
  const auto lastLocal = static_cast<uint64_t>(4354819198 - offset_);
  for (const uint64_t unixSeconds : {lastLocal, lastLocal + 2, uint64_t{7258118400}}) {
    const uint64_t t = (unixSeconds + 11644473600ULL) * 10000000ULL;
    EXPECT_EQ(
        FileTimeToDosStamp(FILETIME{static_cast<uint32_t>(t), static_cast<uint32_t>(t >> 32)}),
        last)
        << unixSeconds;
  }

  const FILETIME now = DosStampToFileTime(CurrentDosStamp());
  const int64_t nowTicks =
      static_cast<int64_t>((static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime);
  const int64_t systemTicks =
      (static_cast<int64_t>(std::time(nullptr)) + 11644473600LL) * 10000000LL;
  EXPECT_LE(systemTicks - nowTicks, 3 * 10000000LL);
  EXPECT_GE(systemTicks - nowTicks, -10000000LL);
}

}  // namespace
