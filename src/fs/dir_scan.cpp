#include "fs/dir_scan.h"

#include <cstring>

#include "fs/find_entries.h"
#include "fs/masks.h"
#include "fs/path_ops.h"
#include "platform/win32.h"
#include "plugin/state.h"

namespace ace {

namespace {

uint64_t g_scanTotal = 0;

int Fail() {
  SetStatusIfClear(AR_IO_ERROR);
  return 0;
}

}  // namespace

uint64_t ScanTotal() { return g_scanTotal; }

int CollectFiles(const char* directory, const char* pattern, FileMaskList* list) {
  g_scanTotal = 0;
  char buffer[kScanBuffer];
  if (!CopyText(buffer, sizeof buffer, directory)) return Fail();
  const size_t n = std::strlen(buffer);
  if ((n == 0 || (buffer[n - 1] != '\\' && buffer[n - 1] != '/')) &&
      !AppendWhole(buffer, sizeof buffer, "\\")) {
    return Fail();
  }
  return ScanDirectory(buffer, sizeof buffer, pattern, list);
}

int ScanDirectory(char* directory, size_t size, const char* pattern, FileMaskList* list) {
  const size_t length = std::strlen(directory);
  WIN32_FIND_DATAA data;

  // Files of this directory.
  if (!AppendWhole(directory, size, pattern)) return Fail();
  HANDLE find = FindFirstFileA(directory, &data);
  directory[length] = '\0';
  if (find == INVALID_HANDLE_VALUE) {
    if (!SearchFoundNothing()) return Fail();
  } else {
    do {
      if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
      g_scanTotal += (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
      const bool fits = AppendWhole(directory, size, data.cFileName);
      if (fits) static_cast<void>(AppendMask(directory, list));  // 8 is checked below
      directory[length] = '\0';
      if (!fits || Status() != 0) {
        FindClose(find);
        return fits ? 0 : Fail();
      }
    } while (FindNextFileA(find, &data));
    FindClose(find);
  }

  // Subdirectories, depth first.
  if (!AppendWhole(directory, size, "*.*")) return Fail();
  find = FindFirstFileA(directory, &data);
  directory[length] = '\0';
  if (find == INVALID_HANDLE_VALUE) return SearchFoundNothing() ? 1 : Fail();
  int result = 1;
  do {
    const DWORD attributes = data.dwFileAttributes;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || IsDotsEntry(data.cFileName)) continue;
    // A link to a directory could lead out of the tree or round in a circle.
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) continue;
    if (!AppendWhole(directory, size, data.cFileName) || !AppendWhole(directory, size, "\\")) {
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
