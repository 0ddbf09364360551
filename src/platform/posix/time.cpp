// System time, FILETIME conversions, local time from the TZ database and the
// MS-DOS date and time words.
#include <time.h>

#include <cstdint>

#include "platform/win32.h"

namespace {

constexpr int64_t kTicksPerSecond = 10000000LL;
constexpr int64_t kSecondsPerDay = 86400;
// Days from 1601-01-01 to 1970-01-01.
constexpr int64_t kEpochDays = 134774;
constexpr int64_t kEpochSeconds = kEpochDays * kSecondsPerDay;

uint64_t Ticks(const FILETIME& ft) {
  return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

FILETIME FromTicks(uint64_t ticks) {
  return FILETIME{static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32)};
}

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// Days since 1970-01-01 of a proleptic Gregorian date.
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = FloorDiv(y, 400);
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

struct Civil {
  int64_t year;
  unsigned month, day;
};

Civil CivilFromDays(int64_t z) {
  z += 719468;
  const int64_t era = FloorDiv(z, 146097);
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  return Civil{static_cast<int64_t>(yoe) + era * 400 + (m <= 2), m, d};
}

bool IsLeap(int64_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

unsigned DaysInMonth(int64_t y, unsigned m) {
  static constexpr unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

bool ValidDate(int64_t y, unsigned m, unsigned d) {
  return m >= 1 && m <= 12 && d >= 1 && d <= DaysInMonth(y, m);
}

// Broken-down time of a FILETIME, read without any zone.
struct Broken {
  Civil date;
  unsigned hour, minute, second, milli, weekday;
};

bool Split(const FILETIME& ft, Broken* out) {
  const uint64_t ticks = Ticks(ft);
  if (ticks >= 0x8000000000000000ULL) return false;
  const auto seconds = static_cast<int64_t>(ticks / kTicksPerSecond);
  const int64_t days = seconds / kSecondsPerDay - kEpochDays;
  const auto secOfDay = static_cast<unsigned>(seconds % kSecondsPerDay);
  out->date = CivilFromDays(days);
  out->hour = secOfDay / 3600;
  out->minute = secOfDay / 60 % 60;
  out->second = secOfDay % 60;
  out->milli = static_cast<unsigned>(ticks % kTicksPerSecond / 10000);
  out->weekday = static_cast<unsigned>(((days % 7) + 11) % 7);  // 1970-01-01 was a Thursday
  return true;
}

bool Join(int64_t y, unsigned m, unsigned d, unsigned h, unsigned mi, unsigned s, unsigned ms,
          FILETIME* out) {
  if (y < 1601 || y > 30827 || !ValidDate(y, m, d) || h > 23 || mi > 59 || s > 59 || ms > 999) {
    return false;
  }
  const int64_t seconds = (DaysFromCivil(y, m, d) + kEpochDays) * kSecondsPerDay +
                          static_cast<int64_t>(h * 3600 + mi * 60 + s);
  *out = FromTicks(static_cast<uint64_t>(seconds * kTicksPerSecond + ms * 10000LL));
  return true;
}

// Offset of local time from UTC, in seconds, at the UTC instant `t`.
bool LocalOffset(int64_t t, int64_t* offset) {
  const auto tt = static_cast<time_t>(t);
  if (static_cast<int64_t>(tt) != t) return false;
  struct tm local {};
  if (localtime_r(&tt, &local) == nullptr) return false;
  *offset = local.tm_gmtoff;
  return true;
}

bool ShiftTicks(const FILETIME& in, int64_t seconds, FILETIME* out) {
  const auto ticks = static_cast<int64_t>(Ticks(in));
  const int64_t shifted = ticks + seconds * kTicksPerSecond;
  if (ticks < 0 || shifted < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  *out = FromTicks(static_cast<uint64_t>(shifted));
  return true;
}

}  // namespace

void GetSystemTime(SYSTEMTIME* time) {
  if (time == nullptr) return;
  struct timespec now {};
  clock_gettime(CLOCK_REALTIME, &now);
  const int64_t ticks =
      (static_cast<int64_t>(now.tv_sec) + kEpochSeconds) * kTicksPerSecond + now.tv_nsec / 100;
  const FILETIME ft = FromTicks(static_cast<uint64_t>(ticks));
  FileTimeToSystemTime(&ft, time);
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* system, FILETIME* file) {
  if (system == nullptr || file == nullptr ||
      !Join(system->wYear, system->wMonth, system->wDay, system->wHour, system->wMinute,
            system->wSecond, system->wMilliseconds, file)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* file, SYSTEMTIME* system) {
  Broken b{};
  if (file == nullptr || system == nullptr || !Split(*file, &b)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  system->wYear = static_cast<WORD>(b.date.year);
  system->wMonth = static_cast<WORD>(b.date.month);
  system->wDayOfWeek = static_cast<WORD>(b.weekday);
  system->wDay = static_cast<WORD>(b.date.day);
  system->wHour = static_cast<WORD>(b.hour);
  system->wMinute = static_cast<WORD>(b.minute);
  system->wSecond = static_cast<WORD>(b.second);
  system->wMilliseconds = static_cast<WORD>(b.milli);
  return TRUE;
}

// As on Windows, both directions apply the offset in force now to every date,
// whatever its season: a summer time read in winter is an hour off, but a file
// gets the same stamp on every platform on the same day, and the two
// directions always undo each other.
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
  int64_t offset = 0;
  if (utc == nullptr || local == nullptr || !LocalOffset(time(nullptr), &offset)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return ShiftTicks(*utc, offset, local) ? TRUE : FALSE;
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc) {
  int64_t offset = 0;
  if (local == nullptr || utc == nullptr || !LocalOffset(time(nullptr), &offset)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return ShiftTicks(*local, -offset, utc) ? TRUE : FALSE;
}

BOOL FileTimeToDosDateTime(const FILETIME* file, WORD* date, WORD* time) {
  Broken b{};
  if (file == nullptr || date == nullptr || time == nullptr || !Split(*file, &b) ||
      b.date.year < 1980 || b.date.year > 2107) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  *date = static_cast<WORD>(((b.date.year - 1980) << 9) | (b.date.month << 5) | b.date.day);
  *time = static_cast<WORD>((b.hour << 11) | (b.minute << 5) | (b.second / 2));
  return TRUE;
}

BOOL DosDateTimeToFileTime(WORD date, WORD time, FILETIME* file) {
  const int64_t year = 1980 + (date >> 9);
  const unsigned month = (date >> 5) & 0x0F;
  const unsigned day = date & 0x1F;
  const unsigned hour = time >> 11;
  const unsigned minute = (time >> 5) & 0x3F;
  const unsigned second = (time & 0x1F) * 2u;
  if (file == nullptr || !Join(year, month, day, hour, minute, second, 0, file)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}
