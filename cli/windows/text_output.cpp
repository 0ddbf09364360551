#include "text_output.h"

#include <windows.h>

#include <cstdlib>

namespace acearc {

std::string Utf8Text(std::string_view systemText) {
  if (systemText.empty()) return {};
  const int size = static_cast<int>(systemText.size());
  const int units = MultiByteToWideChar(CP_ACP, 0, systemText.data(), size, nullptr, 0);
  std::wstring wide(static_cast<size_t>(units > 0 ? units : 0), L'\0');
  MultiByteToWideChar(CP_ACP, 0, systemText.data(), size, wide.data(), units);
  const int n = WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(n > 0 ? n : 0), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, text.data(), n, nullptr, nullptr);
  return text;
}

namespace {
UINT consoleCodePage = 0;
}  // namespace

// The console's code page outlives the program: the one it had comes back at exit.
void UseUtf8Console() {
  consoleCodePage = GetConsoleOutputCP();
  if (consoleCodePage != 0 && consoleCodePage != CP_UTF8 && SetConsoleOutputCP(CP_UTF8)) {
    std::atexit([] { SetConsoleOutputCP(consoleCodePage); });
  }
}

}  // namespace acearc
