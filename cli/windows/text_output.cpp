#include "text_output.h"

#include <windows.h>

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

void UseUtf8Console() { SetConsoleOutputCP(CP_UTF8); }

}  // namespace acearc
