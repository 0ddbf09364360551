// What directory walks with FindFirstFileA / FindNextFileA share.
#pragma once

#include <cstring>

#include "platform/win32.h"

namespace ace {

inline bool IsDotsEntry(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// A search that ends for any other reason than "nothing there" would silently
// drop files, so callers treat it as a failure.
inline bool SearchFoundNothing() {
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
         error == ERROR_NO_MORE_FILES;
}

}  // namespace ace
