// DOS stamps: time word low (seconds/2, minutes, hours), date word high (day,
// month, year - 1980), always local time.
#pragma once

#include <cstdint>

#include "fs/file_layer.h"

namespace ace {

// The open file's last-write time as local DOS date and time words. A time
// outside 1980..2107 gives the nearest stamp (1980-01-01 00:00:00 or
// 2107-12-31 23:59:58) and still succeeds.
// Returns 0, or the platform's error code.
DWORD GetFileDosTime(FileHandle file, uint32_t* date, uint32_t* time);
// The same packed into one stamp; 0 or -1.
int GetFileDosStamp(FileHandle file, uint32_t* stamp);
// A FILETIME (UTC) as a local DOS stamp, held to the same years.
uint32_t FileTimeToDosStamp(const FILETIME& utc);
// A local DOS stamp as a FILETIME in UTC (for find-data records); a stamp
// that names no real moment gives 1 February 1980.
FILETIME DosStampToFileTime(uint32_t stamp);
// The current time as a local DOS stamp.
uint32_t CurrentDosStamp();

}  // namespace ace
