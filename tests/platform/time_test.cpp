#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "support/test_support.h"

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
  // Wine takes 29 February of every year.
  if (!acetest::UnderWine()) EXPECT_FALSE(SystemTimeToFileTime(&bad, &out));

  SYSTEMTIME now{};
  GetSystemTime(&now);
  EXPECT_GE(now.wYear, 2024);
}

// Local time applies the offset in force now to every date, whatever its
// season, as Windows does. CTest runs this suite in Berlin's zone; on POSIX it
// is set here as well so that the program also runs on its own (on Windows the
// zone is the system's, fixed when the program starts).
class LocalTime : public ::testing::Test {
 protected:
  void SetUp() override {
#ifndef _WIN32
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
#endif
    offset_ = acetest::CurrentUtcOffset();
    ASSERT_NE(offset_, 0) << "needs a zone other than UTC";
  }
  int64_t offset_ = 0;
};

TEST_F(LocalTime, EveryDateGetsTodaysOffset) {
  for (const FILETIME& utc :
       {FromUtc(2024, 1, 15, 12, 0, 0), FromUtc(2024, 7, 15, 12, 0, 0),
        FromUtc(2024, 3, 31, 1, 0, 0), FromUtc(2024, 10, 27, 1, 30, 0),  // at the changes
        FromUtc(2090, 7, 1, 0, 0, 0)}) {  // past 2038 also in 32-bit builds
    FILETIME local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
    EXPECT_EQ(static_cast<int64_t>(Ticks(local) - Ticks(utc)), offset_ * 10000000LL);
    FILETIME back{};
    ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
    EXPECT_EQ(Ticks(back), Ticks(utc));
  }
}

TEST_F(LocalTime, DosStampRoundTrip) {
  struct Case {
    FILETIME utc;
    WORD date, time;  // the time word without the hour
  };
  // Around noon UTC, so that every offset of the test zone keeps the day.
  const WORD hour = static_cast<WORD>(offset_ / 3600);
  const Case cases[] = {
      {FromUtc(2024, 1, 15, 12, 0, 2), (44 << 9) | (1 << 5) | 15, 1},
      {FromUtc(2024, 7, 15, 12, 30, 58), (44 << 9) | (7 << 5) | 15, (30 << 5) | 29},
      {FromUtc(1980, 1, 1, 12, 0, 0), (0 << 9) | (1 << 5) | 1, 0},
      {FromUtc(2107, 12, 31, 10, 0, 0), (127 << 9) | (12 << 5) | 31, 0},
  };
  for (const Case& c : cases) {
    FILETIME local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&c.utc, &local));
    WORD date = 0;
    WORD time = 0;
    ASSERT_TRUE(FileTimeToDosDateTime(&local, &date, &time));
    SYSTEMTIME utcParts{};
    FileTimeToSystemTime(&c.utc, &utcParts);
    EXPECT_EQ(date, c.date);
    EXPECT_EQ(time, ((utcParts.wHour + hour) << 11) | c.time);
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
  // Wine wraps years after 2107 round instead of refusing them.
  std::vector<FILETIME> outside{FromUtc(1979, 12, 31, 23, 59, 58), FromUtc(1601, 1, 1, 0, 0, 0)};
  if (!acetest::UnderWine()) outside.push_back(FromUtc(2108, 1, 1, 0, 0, 0));
  for (const FILETIME& ft : outside) {
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
