// DOS stamps: time word low (seconds/2, minutes, hours), date word high (day,
// month, year - 1980), always local time.
#pragma once

#include <cstdint>

#include "fs/file_layer.h"

namespace ace {

// The open file's last-write time as local DOS date and time words. Times
// outside 1980..2107 give 1 February 1980 00:00:00 and still succeed.
// Returns 0, or the platform's error code.
DWORD GetFileDosTime(FileHandle file, uint32_t* date, uint32_t* time);
// The same packed into one stamp; 0 or -1.
int GetFileDosStamp(FileHandle file, uint32_t* stamp);
// A FILETIME (UTC) as a local DOS stamp, with the same 1980 rule.
uint32_t FileTimeToDosStamp(const FILETIME& utc);
// A local DOS stamp as a FILETIME in UTC (for find-data records); a stamp
// that names no real moment gives 1 February 1980.
FILETIME DosStampToFileTime(uint32_t stamp);
// The current time as a local DOS stamp.
uint32_t CurrentDosStamp();

}  // namespace ace
