// Local time as the plug-in reads a file's time on every platform (as Windows
// does): with the offset from UTC in force now, whatever the date's season.
// acearc uses the same reading, so that what it says and sets agrees with the
// stamps the plug-in stores and restores.
#pragma once

#include <cstdint>
#include <ctime>

namespace acearc {

// The broken-down local reading of `seconds` since 1970 (UTC).
std::tm LocalReading(std::time_t seconds);

// The moment (seconds since 1970, UTC) of a DOS stamp's local reading.
std::time_t TimeOfDosStamp(uint32_t dosTime);

}  // namespace acearc
