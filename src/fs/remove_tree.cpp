#include "fs/remove_tree.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fs/dir_scan.h"
#include "fs/file_layer.h"
#include "fs/find_entries.h"
#include "fs/path_ops.h"

namespace ace {

namespace {

// The length rule keeps "C:\" safe, but "C:\tmp\..\", "\\server\share" or, on
// POSIX, "/", "//." and "/tmp/.." pass it and would still empty a root, so
// resolve the path as well.
bool ResolvesToRoot(const char* directory) {
#ifdef _WIN32
  char full[MAX_PATH];
  const DWORD n = GetFullPathNameA(directory, sizeof full, full, nullptr);
  if (n == 0 || n >= sizeof full) return true;  // cannot tell: refuse
  std::string path(full, n);
  while (!path.empty() && (path.back() == '\\' || path.back() == '/')) path.pop_back();
  if (path.size() <= 2) return true;  // "C:"
  if (path.rfind("\\\\", 0) != 0) return false;
  // A server or a share's root: "\\server" or "\\server\share", nothing below.
  const size_t share = path.find('\\', 2);
  return share == std::string::npos || path.find('\\', share + 1) == std::string::npos;
#else
  std::string native = directory;
  if (native.size() >= 2 && native[1] == ':') native.erase(0, 2);
  for (char& c : native) {
    if (c == '\\') c = '/';
  }
  char resolved[PATH_MAX];
  return realpath(native.c_str(), resolved) != nullptr && std::strcmp(resolved, "/") == 0;
#endif
}

// Empties `directory` (ending in "\", in a buffer of `size` bytes, restored
// on return): matching files first, then every subdirectory, depth first.
// Something that cannot be removed does not keep the rest: the tree is
// emptied as far as it can be and the failure reported at the end.
bool EmptyDirectory(char* directory, size_t size, const char* pattern) {
  const size_t length = std::strlen(directory);
  WIN32_FIND_DATAA data;
  bool ok = true;

  if (!AppendWhole(directory, size, pattern)) return false;
  HANDLE find = FindFirstFileA(directory, &data);
  directory[length] = '\0';
  if (find == INVALID_HANDLE_VALUE) {
    if (!SearchFoundNothing()) return false;
  } else {
    do {
      const DWORD attributes = data.dwFileAttributes;
      if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
      bool removed = AppendWhole(directory, size, data.cFileName);
      if (removed) {
        // A link (dangling ones too) is deleted itself; RemoveFile would look
        // through it at its target.
        removed = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? DeleteFileA(directory) != 0
                                                                   : RemoveFile(directory) != 0;
      }
      directory[length] = '\0';
      ok = removed && ok;
    } while (FindNextFileA(find, &data));
    FindClose(find);
  }

  if (!AppendWhole(directory, size, "*.*")) return false;
  find = FindFirstFileA(directory, &data);
  directory[length] = '\0';
  if (find == INVALID_HANDLE_VALUE) return SearchFoundNothing() && ok;
  do {
    const DWORD attributes = data.dwFileAttributes;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || IsDotsEntry(data.cFileName)) continue;
    bool removed = AppendWhole(directory, size, data.cFileName);
    if (removed && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
      const size_t named = std::strlen(directory);
      removed = AppendWhole(directory, size, "\\") && EmptyDirectory(directory, size, pattern);
      directory[named] = '\0';
    }
    if (removed) removed = RemoveDirectoryA(directory) != 0;  // a link goes, its target stays
    directory[length] = '\0';
    ok = removed && ok;
  } while (FindNextFileA(find, &data));
  FindClose(find);
  return ok;
}

}  // namespace

int RemoveTree(const char* directory, const char* pattern) {
  if (directory == nullptr || pattern == nullptr || std::strlen(directory) < 4 ||
      ResolvesToRoot(directory)) {
    return 0;
  }
  char buffer[kScanBuffer];
  if (!CopyText(buffer, sizeof buffer - 1, directory)) return 0;
  StripTrailingBackslash(buffer, buffer);
  const DWORD attributes = GetFileAttributesA(buffer);
  // A link in place of the directory is removed, not followed.
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    return RemoveDirectoryA(buffer) ? 1 : 0;
  }
  const size_t n = std::strlen(buffer);
  if (n > 0 && buffer[n - 1] != '\\' && buffer[n - 1] != '/')
    AppendWhole(buffer, sizeof buffer, "\\");
  if (!EmptyDirectory(buffer, sizeof buffer, pattern)) return 0;
  StripTrailingBackslash(buffer, buffer);
  if (std::strlen(buffer) > 3 && !RemoveDirectoryA(buffer)) return 0;
  return 1;
}

}  // namespace ace
