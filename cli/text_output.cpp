#include "text_output.h"

#include <cstdarg>
#include <cstdio>

namespace acearc {

void PrintText(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  if (length > 0) {
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, again);
    text.pop_back();
    std::fputs(Utf8Text(text).c_str(), stdout);
  }
  va_end(again);
}

}  // namespace acearc
