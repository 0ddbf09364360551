// The two searches that recognise an archive, over bytes already read: the
// main header behind any prefix, and the first valid file header after it.
#pragma once

#include <cstdint>

namespace ace {

inline constexpr int32_t kSearchWindow = 61440;  // bytes read for either search

struct MainHeaderScan {
  int32_t position = -1;  // the header's start (its HEAD_CRC), -1 when not found
  int32_t size = 0;       // HEAD_SIZE + 4
  uint16_t flags = 0;
  int32_t advertSize = 0;
  // The version and host bytes of the last candidate tried (found or not).
  bool sawCandidate = false;
  int32_t extractVersion = 0;
  int32_t hostOS = 0;
  bool locked = false;  // some candidate of type 0 carried the lock flag
};

// Looks for "**ACE**" at positions 7 .. count - 34 with a main header of type 0
// around it whose checksummed bytes lie within `count` and match HEAD_CRC.
MainHeaderScan ScanMainHeader(const uint8_t* bytes, int32_t count);

// Looks for a file header (type 1 with a matching checksum over HEAD_SIZE bytes
// that end inside the window) in bytes that start right after the main header.
// Returns the offset of its HEAD_CRC, or -1; `dictionaryCode` gets the low
// four bits of its TECH_PARM.
int32_t ScanFirstHeader(const uint8_t* bytes, int32_t count, int* dictionaryCode);

}  // namespace ace
