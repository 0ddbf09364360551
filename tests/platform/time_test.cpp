#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/win32.h"

namespace {

uint64_t Ticks(const FILETIME& ft) {
  return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

FILETIME FromUtc(WORD y, WORD mo, WORD d, WORD h, WORD mi, WORD s) {
  SYSTEMTIME st{y, mo, 0, d, h, mi, s, 0};
  FILETIME ft{};
  EXPECT_TRUE(SystemTimeToFileTime(&st, &ft));
  return ft;
}

TEST(PlatformTime, SystemTimeConversions) {
  // 1970-01-01 is 11644473600 s after 1601-01-01.
  EXPECT_EQ(Ticks(FromUtc(1970, 1, 1, 0, 0, 0)), 116444736000000000ULL);
  EXPECT_EQ(Ticks(FromUtc(1601, 1, 1, 0, 0, 0)), 0u);
  const FILETIME ft = FromUtc(2024, 2, 29, 23, 59, 58);
  SYSTEMTIME back{};
  ASSERT_TRUE(FileTimeToSystemTime(&ft, &back));
  EXPECT_EQ(back.wYear, 2024);
  EXPECT_EQ(back.wMonth, 2);
  EXPECT_EQ(back.wDay, 29);
  EXPECT_EQ(back.wHour, 23);
  EXPECT_EQ(back.wMinute, 59);
  EXPECT_EQ(back.wSecond, 58);
  EXPECT_EQ(back.wDayOfWeek, 4);  // a Thursday
  SYSTEMTIME bad{2023, 2, 0, 29, 0, 0, 0, 0};
  FILETIME out{};
  EXPECT_FALSE(SystemTimeToFileTime(&bad, &out));

  SYSTEMTIME now{};
  GetSystemTime(&now);
  EXPECT_GE(now.wYear, 2024);
}

// CTest runs this suite with TZ=Europe/Berlin; set it here as well so that
// the program also runs on its own.
class LocalTime : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
  }
};

TEST_F(LocalTime, SummerAndWinterOffsets) {
  struct Case {
    FILETIME utc;
    int64_t offsetHours;
  };
  const Case cases[] = {
      {FromUtc(2024, 1, 15, 12, 0, 0), 1},
      {FromUtc(2024, 7, 15, 12, 0, 0), 2},
      {FromUtc(2024, 3, 31, 0, 59, 58), 1},  // just before the spring change
      {FromUtc(2024, 3, 31, 1, 0, 0), 2},
      {FromUtc(2024, 10, 26, 23, 59, 58), 2},  // autumn: 02:00..02:59 local repeats
      {FromUtc(2024, 10, 27, 2, 0, 0), 1},
      {FromUtc(2090, 7, 1, 0, 0, 0), 2},  // past 2038 also in 32-bit builds
  };
  for (const Case& c : cases) {
    FILETIME local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&c.utc, &local));
    EXPECT_EQ(static_cast<int64_t>(Ticks(local) - Ticks(c.utc)), c.offsetHours * 36000000000LL);
    FILETIME utc{};
    ASSERT_TRUE(LocalFileTimeToFileTime(&local, &utc));
    EXPECT_EQ(Ticks(utc), Ticks(c.utc));
  }
  // A repeated local time resolves to one of its two instants, and that
  // instant reads back as the same local time.
  for (const FILETIME& utc : {FromUtc(2024, 10, 27, 0, 30, 0), FromUtc(2024, 10, 27, 1, 30, 0)}) {
    FILETIME local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
    FILETIME back{};
    ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
    FILETIME again{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&back, &again));
    EXPECT_EQ(Ticks(again), Ticks(local));
  }
}

TEST_F(LocalTime, DosStampRoundTrip) {
  struct Case {
    FILETIME utc;
    WORD date, time;
  };
  // Winter: 12:00 UTC is 13:00 local; summer: 14:00 local.
  const Case cases[] = {
      {FromUtc(2024, 1, 15, 12, 0, 2), (44 << 9) | (1 << 5) | 15, (13 << 11) | 1},
      {FromUtc(2024, 7, 15, 12, 30, 58), (44 << 9) | (7 << 5) | 15, (14 << 11) | (30 << 5) | 29},
      {FromUtc(1980, 1, 1, 0, 0, 0), (0 << 9) | (1 << 5) | 1, (1 << 11)},
      {FromUtc(2107, 12, 31, 10, 0, 0), (127 << 9) | (12 << 5) | 31, (11 << 11)},
  };
  for (const Case& c : cases) {
    FILETIME local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&c.utc, &local));
    WORD date = 0;
    WORD time = 0;
    ASSERT_TRUE(FileTimeToDosDateTime(&local, &date, &time));
    EXPECT_EQ(date, c.date);
    EXPECT_EQ(time, c.time);
    FILETIME back{};
    ASSERT_TRUE(DosDateTimeToFileTime(date, time, &back));
    FILETIME utc{};
    ASSERT_TRUE(LocalFileTimeToFileTime(&back, &utc));
    EXPECT_EQ(Ticks(utc), Ticks(c.utc));  // all seconds above are even
  }
}

TEST(PlatformTime, DosRangeAndValidation) {
  WORD date = 0;
  WORD time = 0;
  for (const FILETIME& ft : {FromUtc(1979, 12, 31, 23, 59, 58), FromUtc(1601, 1, 1, 0, 0, 0),
                             FromUtc(2108, 1, 1, 0, 0, 0)}) {
    EXPECT_FALSE(FileTimeToDosDateTime(&ft, &date, &time));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }
  FILETIME ft{};
  EXPECT_TRUE(DosDateTimeToFileTime(0x0041, 0, &ft));  // 1 February 1980
  EXPECT_EQ(Ticks(ft), Ticks(FromUtc(1980, 2, 1, 0, 0, 0)));
  EXPECT_FALSE(DosDateTimeToFileTime(0x0000, 0, &ft));               // month 0
  EXPECT_FALSE(DosDateTimeToFileTime((1 << 5) | 1, 24 << 11, &ft));  // hour 24
  EXPECT_FALSE(DosDateTimeToFileTime((2 << 5) | 30, 0, &ft));        // 30 February
}

}  // namespace
