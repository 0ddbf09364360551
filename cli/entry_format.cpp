#include "entry_format.h"

#include <cstdio>
#include <ctime>

#include "local_time.h"

namespace acearc {

uint64_t ToUInt64(AceUInt64 value) { return (static_cast<uint64_t>(value.High) << 32) | value.Low; }

std::string EscapeControls(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0u;
    char escape[8];
    if (c < 0x20 || c == 0x7F) {
      std::snprintf(escape, sizeof escape, "\\x%02x", c);
    } else if (c == 0xC2 && next >= 0x80 && next <= 0x9F) {
      std::snprintf(escape, sizeof escape, "\\u%04x", next);
      ++i;
    } else {
      shown.push_back(static_cast<char>(c));
      continue;
    }
    shown += escape;
  }
  return shown;
}

std::string SlashedName(const char* storedName) {
  std::string name = storedName;
  for (char& c : name) {
    if (c == '\\') c = '/';
  }
  return name;
}

std::string DisplayName(const char* storedName) { return EscapeControls(SlashedName(storedName)); }

std::string DisplayPath(const char* path) {
  std::string shown;
  for (const char* p = path; *p != '\0'; ++p) {
    char c = *p == '\\' ? '/' : *p;
    if (c == '/' && !shown.empty() && shown.back() == '/') continue;
    shown.push_back(c);
  }
  return EscapeControls(shown);
}

std::string FormatDosTime(uint32_t dosTime, bool iso) {
  unsigned time = dosTime & 0xFFFFu;
  unsigned date = dosTime >> 16;
  char text[32];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u%c%02u:%02u:%02u", 1980 + (date >> 9),
                (date >> 5) & 15u, date & 31u, iso ? 'T' : ' ', time >> 11, (time >> 5) & 63u,
                (time & 31u) * 2);
  return text;
}

std::string FormatFileTime(AceFileTime time) {
  uint64_t ticks = (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
  constexpr uint64_t kUnixEpochSeconds = 11644473600ull;
  time_t seconds = static_cast<time_t>(ticks / 10000000 - kUnixEpochSeconds);
  const tm local = LocalReading(seconds);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

std::string FormatAttributes(uint32_t attributes) {
  struct Bit {
    uint32_t mask;
    char letter;
  };
  constexpr Bit kBits[] = {{0x10, 'D'}, {0x01, 'R'}, {0x02, 'H'}, {0x04, 'S'}, {0x20, 'A'}};
  std::string text;
  for (const Bit& bit : kBits) text.push_back((attributes & bit.mask) ? bit.letter : '-');
  return text;
}

uint32_t DictionaryKBForCode(uint32_t code) { return code < 31 ? (1u << code) : 0; }

std::string MethodName(uint32_t method) {
  switch (method) {
    case 0:
      return "stored";
    case 1:
      return "lz77";
    default:
      return "method " + std::to_string(method);
  }
}

std::string HostSystemName(uint32_t host) {
  switch (host) {
    case 1:
      return "MS-DOS";
    case 2:
      return "OS/2";
    case 3:
      return "Win32";
    case 4:
      return "Windows NT";
    case 5:
      return "Unix";
    case 6:
      return "Mac OS";
    case 8:
      return "Atari";
    case 9:
      return "VAX/VMS";
    case 10:
      return "Amiga";
    case 11:
      return "NeXT";
    default:
      return "system " + std::to_string(host);
  }
}

std::string CountOf(uint64_t count, const char* singular, const char* plural) {
  return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

std::string FormatBytes(uint64_t bytes) {
  constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
  if (bytes < 1024) return std::to_string(bytes) + " B";
  double value = static_cast<double>(bytes) / 1024.0;
  size_t unit = 0;
  while (value >= 1024.0 && unit + 1 < std::size(kUnits)) {
    value /= 1024.0;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text,
                value < 10    ? "%.2f %s"
                : value < 100 ? "%.1f %s"
                              : "%.0f %s",
                value, kUnits[unit]);
  return text;
}

uint32_t RatioPercent(uint64_t packed, uint64_t size) {
  if (size == 0) return 0;
  // Halve both while the product could overflow.
  while (packed > UINT64_MAX / 100) {
    packed >>= 1;
    size >>= 1;
  }
  return size == 0 ? 0 : static_cast<uint32_t>(packed * 100 / size);
}

}  // namespace acearc
