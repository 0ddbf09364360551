// The OEM code page (CP437) against the ANSI code page (UTF-8), and upper case.
#include <cstring>
#include <string>

#include "platform/win32.h"

namespace {

// Unicode code points of CP437 bytes 0x80..0xFF.
constexpr char16_t kCp437High[128] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7,  // 80
    0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE, 0x00EC, 0x00C4, 0x00C5,  // 88
    0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,  // 90
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192,  // 98
    0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA, 0x00BA,  // A0
    0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,  // A8
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556,  // B0
    0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510,  // B8
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,  // C0
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567,  // C8
    0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B,  // D0
    0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,  // D8
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4,  // E0
    0x03A6, 0x0398, 0x03A9, 0x03B4, 0x221E, 0x03C6, 0x03B5, 0x2229,  // E8
    0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,  // F0
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0,  // F8
};

void AppendUtf8(std::string* out, char32_t c) {
  if (c < 0x80) {
    out->push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (c >> 6)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xE0 | (c >> 12)));
    out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

// Decodes one UTF-8 character at `s`; sets `length` to the bytes used.
// Malformed input yields U+FFFD for one byte.
char32_t DecodeUtf8(const unsigned char* s, size_t* length) {
  const unsigned char b = s[0];
  if (b < 0x80) {
    *length = 1;
    return b;
  }
  int extra = 0;
  char32_t c = 0;
  char32_t minimum = 0;
  if ((b & 0xE0) == 0xC0) {
    extra = 1;
    c = b & 0x1Fu;
    minimum = 0x80;
  } else if ((b & 0xF0) == 0xE0) {
    extra = 2;
    c = b & 0x0Fu;
    minimum = 0x800;
  } else if ((b & 0xF8) == 0xF0) {
    extra = 3;
    c = b & 0x07u;
    minimum = 0x10000;
  } else {
    *length = 1;
    return 0xFFFD;
  }
  for (int i = 1; i <= extra; ++i) {
    if ((s[i] & 0xC0) != 0x80) {
      *length = 1;
      return 0xFFFD;
    }
    c = (c << 6) | (s[i] & 0x3Fu);
  }
  *length = static_cast<size_t>(extra) + 1;
  if (c < minimum || c > 0x10FFFF) return 0xFFFD;
  return c;
}

unsigned char Cp437FromUnicode(char32_t c) {
  if (c < 0x80) return static_cast<unsigned char>(c);
  for (int i = 0; i < 128; ++i) {
    if (kCp437High[i] == c) return static_cast<unsigned char>(0x80 + i);
  }
  return '?';
}

// Writes `text` into `dest` of `destSize` bytes, cut before any character
// that would not fit whole. `boundary(i)` says whether a cut at i is allowed.
template <typename Boundary>
void StoreCut(const std::string& text, char* dest, DWORD destSize, Boundary boundary) {
  size_t n = text.size();
  if (n > destSize - 1) {
    n = destSize - 1;
    while (n > 0 && !boundary(n)) --n;
  }
  std::memcpy(dest, text.data(), n);
  dest[n] = '\0';
}

}  // namespace

BOOL OemToCharA(const char* source, char* dest, DWORD destSize) {
  if (source == nullptr || dest == nullptr || destSize == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::string out;
  for (const auto* s = reinterpret_cast<const unsigned char*>(source); *s != 0; ++s) {
    AppendUtf8(&out, *s < 0x80 ? char32_t{*s} : char32_t{kCp437High[*s - 0x80]});
  }
  // A cut may fall only before a lead byte, never inside a sequence.
  StoreCut(out, dest, destSize,
           [&out](size_t i) { return (static_cast<unsigned char>(out[i]) & 0xC0) != 0x80; });
  return TRUE;
}

BOOL CharToOemA(const char* source, char* dest, DWORD destSize) {
  if (source == nullptr || dest == nullptr || destSize == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::string out;
  const auto* s = reinterpret_cast<const unsigned char*>(source);
  while (*s != 0) {
    size_t length = 1;
    const char32_t c = DecodeUtf8(s, &length);
    out.push_back(static_cast<char>(Cp437FromUnicode(c)));
    s += length;
  }
  StoreCut(out, dest, destSize, [](size_t) { return true; });
  return TRUE;
}

char* CharUpperA(char* text) {
  if (text == nullptr) return text;
  auto* s = reinterpret_cast<unsigned char*>(text);
  while (*s != 0) {
    if (*s >= 'a' && *s <= 'z') {
      *s = static_cast<unsigned char>(*s - 'a' + 'A');
      ++s;
    } else if (*s == 0xC3 && s[1] >= 0xA0 && s[1] <= 0xBE && s[1] != 0xB7) {
      // U+00E0..U+00FE (not U+00F7, the division sign): upper case is 0x20 below,
      // the same length in UTF-8.
      s[1] = static_cast<unsigned char>(s[1] - 0x20);
      s += 2;
    } else if (*s >= 0xC0) {
      // Skip a whole multi-byte character so that its trail bytes stay untouched.
      ++s;
      while ((*s & 0xC0) == 0x80) ++s;
    } else {
      ++s;
    }
  }
  return text;
}
