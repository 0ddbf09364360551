#include "fs/path_ops.h"

#include <cstring>

#include "platform/win32.h"

namespace ace {

namespace {

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

}  // namespace

bool CopyText(char* target, size_t size, const char* source) {
  if (size == 0) return false;
  if (source == nullptr) source = "";
  const size_t n = std::strlen(source);
  const size_t m = n < size ? n : size - 1;
  std::memmove(target, source, m);
  target[m] = '\0';
  return m == n;
}

bool AppendText(char* target, size_t size, const char* source) {
  const size_t used = std::strlen(target);
  if (used >= size) return false;
  return CopyText(target + used, size - used, source);
}

bool AppendWhole(char* target, size_t size, const char* source) {
  const size_t used = std::strlen(target);
  const size_t add = std::strlen(source);
  if (used + add + 1 > size) return false;
  std::memcpy(target + used, source, add + 1);
  return true;
}

// An empty text stays empty in both directions: "\" alone would name the root.
char* AddTrailingBackslash(const char* source, char* target) {
  if (source != target) std::memmove(target, source, std::strlen(source) + 1);
  const size_t n = std::strlen(target);
  if (n > 0 && target[n - 1] != '\\') {
    target[n] = '\\';
    target[n + 1] = '\0';
  }
  return target;
}

char* StripTrailingBackslash(const char* source, char* target) {
  if (source != target) std::memmove(target, source, std::strlen(source) + 1);
  const size_t n = std::strlen(target);
  if (n > 3 && target[n - 1] == '\\') target[n - 1] = '\0';
  return target;
}

char* UpperCopy(const char* source, char* target) {
  char work[kUpperCopyLimit + 1];
  CopyText(work, sizeof work, source);
  CharUpperA(work);
  std::memcpy(target, work, std::strlen(work) + 1);
  return target;
}

char* StripUncPrefix(const char* source, char* target) {
  if (source[0] != '\\' || source[1] != '\\') {
    if (source != target) std::memmove(target, source, std::strlen(source) + 1);
    return target;
  }
  const char* server = source + 2;
  const char* first = std::strchr(server, '\\');
  const char* rest = nullptr;
  if (first == nullptr) {
    rest = server;  // \\server
  } else {
    const char* second = std::strchr(first + 1, '\\');
    rest = second != nullptr ? second : "";  // \\server\share\dir or \\server\share
  }
  std::memmove(target, rest, std::strlen(rest) + 1);
  return target;
}

void CutString(char* text, size_t position, int count) {
  if (count < 1) return;
  const size_t n = std::strlen(text);
  if (position >= n) return;
  const size_t cut =
      static_cast<size_t>(count) < n - position ? static_cast<size_t>(count) : n - position;
  std::memmove(text + position, text + position + cut, n - position - cut + 1);
}

void SplitPath(const char* path, char* drive, char* directory, char* base, char* extension) {
  if (path == nullptr) path = "";
  const size_t n = std::strlen(path);
  const size_t driveEnd = n >= 2 && path[1] == ':' ? 2 : 0;
  size_t dirEnd = driveEnd;
  for (size_t i = driveEnd; i < n; ++i) {
    if (IsSeparator(path[i])) dirEnd = i + 1;
  }
  size_t dot = n;
  for (size_t i = n; i > dirEnd; --i) {
    if (path[i - 1] == '.') {
      dot = i - 1;
      break;
    }
  }
  auto put = [](char* out, const char* from, size_t length) {
    if (out == nullptr) return;
    const size_t m = length < kPathBuffer ? length : kPathBuffer - 1;
    std::memcpy(out, from, m);
    out[m] = '\0';
  };
  put(drive, path, driveEnd);
  put(directory, path + driveEnd, dirEnd - driveEnd);
  put(base, path + dirEnd, dot - dirEnd);
  put(extension, path + dot, n - dot);
}

}  // namespace ace
