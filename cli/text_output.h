// acearc writes UTF-8 on every platform. It holds names in the system's code
// page, the one the plug-in takes them in: on POSIX that is UTF-8 already, on
// Windows it is the ANSI code page, converted on the way out.
#pragma once

#include <string>
#include <string_view>

namespace acearc {

// Text in the system's code page as UTF-8.
std::string Utf8Text(std::string_view systemText);

// The console, where there is one, shows what acearc writes as UTF-8.
void UseUtf8Console();

// printf to stdout, converted to UTF-8.
[[gnu::format(printf, 1, 2)]] void PrintText(const char* format, ...);

}  // namespace acearc
