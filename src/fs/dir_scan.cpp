#include "fs/dir_scan.h"

#include <cstring>

#include "fs/masks.h"
#include "fs/path_ops.h"
#include "platform/win32.h"
#include "plugin/state.h"

namespace ace {

namespace {

uint64_t g_scanTotal = 0;

bool IsDots(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// A directory that cannot be searched for a reason other than "nothing
// there" would silently drop files; that is a failure.
bool NothingFound() {
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
         error == ERROR_NO_MORE_FILES;
}

int Fail() {
  SetStatusIfClear(AR_IO_ERROR);
  return 0;
}

// Appends `text` to `buffer` when it fits whole; otherwise leaves it alone.
bool Extend(char* buffer, size_t size, const char* text) {
  const size_t used = std::strlen(buffer);
  const size_t add = std::strlen(text);
  if (used + add + 1 > size) return false;
  std::memcpy(buffer + used, text, add + 1);
  return true;
}

}  // namespace

uint64_t ScanTotal() { return g_scanTotal; }

int CollectFiles(const char* directory, const char* pattern, FileMaskList* list) {
  g_scanTotal = 0;
  char buffer[kScanBuffer];
  if (!CopyText(buffer, sizeof buffer, directory)) return Fail();
  const size_t n = std::strlen(buffer);
  if ((n == 0 || (buffer[n - 1] != '\\' && buffer[n - 1] != '/')) &&
      !Extend(buffer, sizeof buffer, "\\")) {
    return Fail();
  }
  return ScanDirectory(buffer, sizeof buffer, pattern, list);
}

int ScanDirectory(char* directory, size_t size, const char* pattern, FileMaskList* list) {
  const size_t length = std::strlen(directory);
  WIN32_FIND_DATAA data;

  // Files of this directory.
  if (!Extend(directory, size, pattern)) return Fail();
  HANDLE find = FindFirstFileA(directory, &data);
  directory[length] = '\0';
  if (find == INVALID_HANDLE_VALUE) {
    if (!NothingFound()) return Fail();
  } else {
    do {
      if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
      g_scanTotal += (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
      const bool fits = Extend(directory, size, data.cFileName);
      if (fits) AppendMask(directory, list);
      directory[length] = '\0';
      if (!fits || Status() != 0) {
        FindClose(find);
        return fits ? 0 : Fail();
      }
    } while (FindNextFileA(find, &data));
    FindClose(find);
  }

  // Subdirectories, depth first.
  if (!Extend(directory, size, "*.*")) return Fail();
  find = FindFirstFileA(directory, &data);
  directory[length] = '\0';
  if (find == INVALID_HANDLE_VALUE) return NothingFound() ? 1 : Fail();
  int result = 1;
  do {
    const DWORD attributes = data.dwFileAttributes;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || IsDots(data.cFileName)) continue;
    // A link to a directory could lead out of the tree or round in a circle.
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) continue;
    if (!Extend(directory, size, data.cFileName) || !Extend(directory, size, "\\")) {
      directory[length] = '\0';
      result = Fail();
      break;
    }
    result = ScanDirectory(directory, size, pattern, list) == 1 ? 1 : 0;
    CutString(directory, length, static_cast<int>(std::strlen(directory) - length));
    if (result != 1) break;
  } while (FindNextFileA(find, &data));
  FindClose(find);
  return result;
}

}  // namespace ace
