#include "local_time.h"

#include <chrono>

namespace acearc {

namespace {

int64_t UtcSeconds(int year, unsigned month, unsigned day, int64_t secondOfDay) {
  const std::chrono::sys_days date = std::chrono::year(year) / month / day;
  return date.time_since_epoch().count() * int64_t{86400} + secondOfDay;
}

int64_t OffsetNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&now, &local) == nullptr) return 0;
  return UtcSeconds(local.tm_year + 1900, static_cast<unsigned>(local.tm_mon + 1),
                    static_cast<unsigned>(local.tm_mday),
                    local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec) -
         now;
}

}  // namespace

std::tm LocalReading(std::time_t seconds) {
  const std::time_t shifted = seconds + static_cast<std::time_t>(OffsetNow());
  std::tm local{};
  gmtime_r(&shifted, &local);
  return local;
}

std::time_t TimeOfDosStamp(uint32_t dosTime) {
  const int64_t local = UtcSeconds(
      static_cast<int>(dosTime >> 25) + 1980, (dosTime >> 21) & 0x0F, (dosTime >> 16) & 0x1F,
      ((dosTime >> 11) & 0x1F) * 3600 + ((dosTime >> 5) & 0x3F) * 60 + (dosTime & 0x1F) * 2);
  return static_cast<std::time_t>(local - OffsetNow());
}

}  // namespace acearc
