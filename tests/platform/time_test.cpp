// Local time by the rule in force at each moment (Berlin in every test), and
// DOS words in two-second steps from 1980 to 2107.
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

TEST(Time, LocalTimeFollowsTheRuleInForceAtEachMoment) {
  const std::pair<FILETIME, int64_t> cases[] = {
      {Utc(2024, 1, 15, 12, 0, 0), 1},    {Utc(2024, 7, 15, 12, 0, 0), 2},
      {Utc(2024, 3, 31, 0, 59, 58), 1},   {Utc(2024, 3, 31, 1, 0, 0), 2},
      {Utc(2024, 10, 26, 23, 59, 58), 2}, {Utc(2024, 10, 27, 2, 0, 0), 1},
      {Utc(2090, 7, 1, 0, 0, 0), 2},  // past 2038 in 32-bit builds too
  };
  for (const auto& [utc, hours] : cases) {
    FILETIME local{}, back{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
    EXPECT_EQ(static_cast<int64_t>(Ticks(local) - Ticks(utc)), hours * 36000000000LL);
    ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
    EXPECT_EQ(Ticks(back), Ticks(utc));
  }
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
    EXPECT_FALSE(FileTimeToDosDateTime(&ft, &date, &time));
  }
  FILETIME ft{};
  EXPECT_FALSE(DosDateTimeToFileTime(0x0000, 0, &ft));               // month 0
  EXPECT_FALSE(DosDateTimeToFileTime((1 << 5) | 1, 24 << 11, &ft));  // hour 24
  EXPECT_FALSE(DosDateTimeToFileTime((2 << 5) | 30, 0, &ft));        // 30 February
}

}  // namespace
