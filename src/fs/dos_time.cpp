#include "fs/dos_time.h"

namespace ace {

namespace {

constexpr WORD kFirstDosDate = 0x0041;  // 1 February 1980

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
  if (!FileTimeToDosDateTime(&local, &dosDate, &dosTime)) {
    dosDate = kFirstDosDate;
    dosTime = 0;
  }
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
  WORD date = kFirstDosDate;
  WORD time = 0;
  if (!FileTimeToLocalFileTime(&utc, &local) || !FileTimeToDosDateTime(&local, &date, &time)) {
    date = kFirstDosDate;
    time = 0;
  }
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
