// FindFirstFileA / FindNextFileA with the Windows wildcard rules.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "platform/posix/native.h"
#include "platform/win32.h"

using namespace platform::native;

namespace {

// A search: the names that matched when it started, handed out one by one.
struct FindState {
  std::string directory;  // native, ends in "/"
  std::vector<std::string> names;
  size_t next = 0;
};

char FoldCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// "." and ".." first, then by the upper-case form (ASCII), then by bytes.
bool NtfsOrder(const std::string& a, const std::string& b) {
  const bool aDots = a == "." || a == "..";
  const bool bDots = b == "." || b == "..";
  if (aDots != bDots) return aDots;
  for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
    const auto x = static_cast<unsigned char>(FoldCase(a[i]));
    const auto y = static_cast<unsigned char>(FoldCase(b[i]));
    if (x != y) return x < y;
  }
  return a.size() != b.size() ? a.size() < b.size() : a < b;
}

bool Glob(const char* name, const char* pattern) {
  for (;;) {
    if (*pattern == '\0') return *name == '\0';
    if (*pattern == '*') {
      while (*pattern == '*') ++pattern;
      if (*pattern == '\0') return true;
      for (const char* n = name; *n != '\0'; ++n) {
        if (Glob(n, pattern)) return true;
      }
      return false;
    }
    if (*name == '\0') return false;
    if (*pattern != '?' && FoldCase(*pattern) != FoldCase(*name)) return false;
    ++name;
    ++pattern;
  }
}

// Windows rules on top of the plain glob: a trailing ".*" may also match the
// end of a name without a dot ("*.*" matches "README"), and a trailing "."
// selects names without an extension ("*." matches "README" only).
bool WindowsMatch(const std::string& name, const std::string& pattern) {
  if (Glob(name.c_str(), pattern.c_str())) return true;
  const size_t n = pattern.size();
  if (n >= 2 && pattern.compare(n - 2, 2, ".*") == 0) {
    return Glob(name.c_str(), pattern.substr(0, n - 2).c_str());
  }
  if (n >= 1 && pattern[n - 1] == '.' && pattern.find_first_not_of('.') != std::string::npos) {
    return name.find('.') == std::string::npos &&
           Glob(name.c_str(), pattern.substr(0, n - 1).c_str());
  }
  return false;
}

bool HasWildcard(const std::string& s) { return s.find_first_of("*?") != std::string::npos; }

// Fills `data` for `name`; false when the entry has vanished since the search began.
bool Describe(const std::string& directory, const std::string& name, WIN32_FIND_DATAA* data) {
  const std::string full = directory + name;
  struct stat linkStat {};
  if (lstat(full.c_str(), &linkStat) != 0) return false;
  const bool isLink = S_ISLNK(linkStat.st_mode);
  struct stat st {};
  if (!isLink || stat(full.c_str(), &st) != 0) st = linkStat;  // a dangling link describes itself
  std::memset(data, 0, sizeof *data);
  data->dwFileAttributes = AttributesFromStat(st, name, isLink);
  data->ftLastWriteTime = FileTimeFromTimespec(st.st_mtim);
  // Not every file system keeps a birth time, and none lets it be set; the
  // last-write time stands in, so a folder's time survives a round trip.
  data->ftCreationTime = data->ftLastWriteTime;
  data->ftLastAccessTime = FileTimeFromTimespec(st.st_atim);
  if (S_ISREG(st.st_mode)) {
    const auto size = static_cast<uint64_t>(st.st_size);
    data->nFileSizeHigh = static_cast<uint32_t>(size >> 32);
    data->nFileSizeLow = static_cast<uint32_t>(size);
  }
  const size_t n = std::min(name.size(), sizeof data->cFileName - 1);
  std::memcpy(data->cFileName, name.data(), n);
  data->cFileName[n] = '\0';
  return true;
}

bool NextEntry(FindState* state, WIN32_FIND_DATAA* data) {
  while (state->next < state->names.size()) {
    if (Describe(state->directory, state->names[state->next++], data)) return true;
  }
  return false;
}

}  // namespace

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data) {
  if (pattern == nullptr || data == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  const std::string native = ToNativePath(pattern);
  const size_t slash = native.rfind('/');
  std::string directory = slash == std::string::npos ? "./" : native.substr(0, slash + 1);
  const std::string namePattern = slash == std::string::npos ? native : native.substr(slash + 1);
  if (namePattern.empty()) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }

  auto* state = new (std::nothrow) FindState;
  if (state == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
  }
  state->directory = directory;

  if (!HasWildcard(namePattern)) {
    // A plain name: look it up directly instead of reading the directory.
    struct stat st {};
    if (lstat(native.c_str(), &st) == 0) state->names.push_back(namePattern);
  } else {
    DIR* dir = opendir(directory.c_str());
    if (dir == nullptr) {
      const int err = errno;
      delete state;
      SetLastError(err == ENOENT || err == ENOTDIR ? ERROR_PATH_NOT_FOUND
                                                   : Win32ErrorFromErrno(err));
      return INVALID_HANDLE_VALUE;
    }
    while (const dirent* entry = readdir(dir)) {
      if (WindowsMatch(entry->d_name, namePattern)) state->names.emplace_back(entry->d_name);
    }
    closedir(dir);
    // NTFS hands out names in this order; sorting gives it on every file system.
    std::sort(state->names.begin(), state->names.end(), NtfsOrder);
  }

  if (!NextEntry(state, data)) {
    delete state;
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  SetLastError(NO_ERROR);
  return state;
}

BOOL FindNextFileA(HANDLE find, WIN32_FIND_DATAA* data) {
  if (find == nullptr || find == INVALID_HANDLE_VALUE || data == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (!NextEntry(static_cast<FindState*>(find), data)) {
    SetLastError(ERROR_NO_MORE_FILES);
    return FALSE;
  }
  return TRUE;
}

BOOL FindClose(HANDLE find) {
  if (find == nullptr || find == INVALID_HANDLE_VALUE) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  delete static_cast<FindState*>(find);
  return TRUE;
}
