// OemToCharA and CharToOemA bounded by the destination. They convert as the
// system's own functions do (through UTF-16, code page to code page) but one
// character at a time, so that a text cut to fit never ends in half of one.
#include <cstring>
#include <string>

#include "platform/win32.h"

namespace {

BOOL Convert(UINT from, UINT to, const char* source, char* dest, DWORD destSize) {
  if (source == nullptr || dest == nullptr || destSize == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const int units = MultiByteToWideChar(from, 0, source, -1, nullptr, 0);
  if (units <= 0) return FALSE;
  std::wstring wide(static_cast<size_t>(units), L'\0');
  MultiByteToWideChar(from, 0, source, -1, wide.data(), units);
  wide.pop_back();  // the terminator
  std::string out;
  for (size_t i = 0; i < wide.size();) {
    const size_t take = IS_HIGH_SURROGATE(wide[i]) && i + 1 < wide.size() ? 2 : 1;
    char bytes[8];
    const int n = WideCharToMultiByte(to, 0, wide.data() + i, static_cast<int>(take), bytes,
                                      sizeof bytes, nullptr, nullptr);
    if (n <= 0) return FALSE;
    if (out.size() + static_cast<size_t>(n) > destSize - 1) break;
    out.append(bytes, static_cast<size_t>(n));
    i += take;
  }
  std::memcpy(dest, out.data(), out.size());
  dest[out.size()] = '\0';
  return TRUE;
}

}  // namespace

BOOL OemToCharA(const char* source, char* dest, DWORD destSize) {
  return Convert(CP_OEMCP, CP_ACP, source, dest, destSize);
}

BOOL CharToOemA(const char* source, char* dest, DWORD destSize) {
  return Convert(CP_ACP, CP_OEMCP, source, dest, destSize);
}
