// DOS date and time words in two-second steps from 1980 to 2107.
#include "platform/win32.h"
#include "support/test_support.h"

namespace {

uint64_t Ticks(const FILETIME& ft) { return uint64_t{ft.dwHighDateTime} << 32 | ft.dwLowDateTime; }

FILETIME Utc(WORD y, WORD mo, WORD d, WORD h, WORD mi, WORD s) {
  SYSTEMTIME st{y, mo, 0, d, h, mi, s, 0};
  FILETIME ft{};
  EXPECT_TRUE(SystemTimeToFileTime(&st, &ft));
  return ft;
}

TEST(Time, DosWordsCountTwoSecondStepsFrom1980To2107) {
  const struct {
    FILETIME local;
    WORD date, time;
    WORD backSecond;
  } cases[] = {
      {Utc(2024, 7, 15, 14, 30, 58), (44 << 9) | (7 << 5) | 15, (14 << 11) | (30 << 5) | 29, 58},
      {Utc(2024, 7, 15, 14, 30, 59), (44 << 9) | (7 << 5) | 15, (14 << 11) | (30 << 5) | 29, 58},
      {Utc(2001, 9, 9, 1, 46, 1), (21 << 9) | (9 << 5) | 9, (1 << 11) | (46 << 5) | 0, 0},
      {Utc(1980, 1, 1, 0, 0, 0), (1 << 5) | 1, 0, 0},
      {Utc(2107, 12, 31, 23, 59, 59), (127 << 9) | (12 << 5) | 31, (23 << 11) | (59 << 5) | 29, 58},
  };
  for (const auto& c : cases) {
    WORD date = 0, time = 0;
    ASSERT_TRUE(FileTimeToDosDateTime(&c.local, &date, &time));
    EXPECT_EQ(date, c.date);
    EXPECT_EQ(time, c.time);
    FILETIME back{};
    ASSERT_TRUE(DosDateTimeToFileTime(date, time, &back));
    SYSTEMTIME st{};
    FileTimeToSystemTime(&back, &st);
    EXPECT_EQ(st.wSecond, c.backSecond);
    EXPECT_LE(Ticks(c.local) - Ticks(back), 10000000u);
  }
  WORD date = 0, time = 0;
  for (const FILETIME& ft : {Utc(1979, 12, 31, 23, 59, 58), Utc(2108, 1, 1, 0, 0, 0)}) {
    // Wine wraps the year where Windows refuses.
    if (!acetest::UnderWine()) EXPECT_FALSE(FileTimeToDosDateTime(&ft, &date, &time));
  }
  FILETIME ft{};
  EXPECT_FALSE(DosDateTimeToFileTime(0x0000, 0, &ft));               // month 0
  EXPECT_FALSE(DosDateTimeToFileTime((1 << 5) | 1, 24 << 11, &ft));  // hour 24
  EXPECT_FALSE(DosDateTimeToFileTime((2 << 5) | 30, 0, &ft));        // 30 February
}

}  // namespace
