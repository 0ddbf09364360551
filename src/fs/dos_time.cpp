#include "fs/dos_time.h"

namespace ace {

namespace {

constexpr WORD kFirstDosDate = 0x0041;  // 1 February 1980
// The first and the last moment a stamp can hold: 1980-01-01 00:00:00 and
// 2107-12-31 23:59:58.
constexpr WORD kEarliestDate = (1 << 5) | 1;
constexpr WORD kLatestDate = (127 << 9) | (12 << 5) | 31;
constexpr WORD kLatestTime = (23 << 11) | (59 << 5) | 29;

uint64_t Ticks(const FILETIME& time) {
  return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

// A local time as a stamp; one outside the stamp's years gets the nearest
// stamp, so that a file from 1970 does not land in February 1980. The range is
// checked here: Wine wraps a year after 2107 round instead of failing.
void ClampedDosDateTime(const FILETIME& local, WORD* date, WORD* time) {
  FILETIME earliest{};
  FILETIME latest{};
  DosDateTimeToFileTime(kEarliestDate, 0, &earliest);
  DosDateTimeToFileTime(kLatestDate, kLatestTime, &latest);
  constexpr uint64_t kTwoSeconds = 20000000;  // the stamp's step
  const bool early = Ticks(local) < Ticks(earliest);
  if (!early && Ticks(local) < Ticks(latest) + kTwoSeconds &&
      FileTimeToDosDateTime(&local, date, time)) {
    return;
  }
  *date = early ? kEarliestDate : kLatestDate;
  *time = early ? 0 : kLatestTime;
}

}  // namespace

DWORD GetFileDosTime(FileHandle file, uint32_t* date, uint32_t* time) {
  FILETIME written{};
  FILETIME local{};
  if (!GetFileTime(file, nullptr, nullptr, &written) ||
      !FileTimeToLocalFileTime(&written, &local)) {
    const DWORD error = GetLastError();
    return error != NO_ERROR ? error : ERROR_GEN_FAILURE;
  }
  WORD dosDate = 0;
  WORD dosTime = 0;
  ClampedDosDateTime(local, &dosDate, &dosTime);
  *date = dosDate;
  *time = dosTime;
  return 0;
}

int GetFileDosStamp(FileHandle file, uint32_t* stamp) {
  uint32_t date = 0;
  uint32_t time = 0;
  if (GetFileDosTime(file, &date, &time) != 0) return -1;
  *stamp = (date << 16) | time;
  return 0;
}

uint32_t FileTimeToDosStamp(const FILETIME& utc) {
  FILETIME local{};
  if (!FileTimeToLocalFileTime(&utc, &local)) local = utc;  // only at the ends of the range
  WORD date = 0;
  WORD time = 0;
  ClampedDosDateTime(local, &date, &time);
  return (static_cast<uint32_t>(date) << 16) | time;
}

FILETIME DosStampToFileTime(uint32_t stamp) {
  FILETIME local{};
  FILETIME utc{};
  // A stamp that names no real moment (month 0, hour 24...) reads as the
  // earliest DOS date rather than as 1601.
  if (!DosDateTimeToFileTime(static_cast<WORD>(stamp >> 16), static_cast<WORD>(stamp), &local)) {
    DosDateTimeToFileTime(kFirstDosDate, 0, &local);
  }
  if (!LocalFileTimeToFileTime(&local, &utc)) utc = local;
  return utc;
}

uint32_t CurrentDosStamp() {
  SYSTEMTIME now{};
  GetSystemTime(&now);
  FILETIME utc{};
  SystemTimeToFileTime(&now, &utc);
  return FileTimeToDosStamp(utc);
}

}  // namespace ace
