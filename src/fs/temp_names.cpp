#include "fs/temp_names.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <thread>

#include "fs/file_layer.h"
#include "fs/path_ops.h"

namespace ace {

namespace {

// The generator is re-seeded from the clock at every draw, so one second
// always yields the same number; its state is only ever the seed.
unsigned DrawNumber() {
  const auto seed = static_cast<uint32_t>(std::time(nullptr));
  return ((seed * 214013u + 2531011u) >> 16) & 0x7FFFu;
}

// A retry waits for the next second instead of spinning on the same number.
void WaitForNextSecond() {
  const std::time_t start = std::time(nullptr);
  while (std::time(nullptr) == start) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

bool EndsInSeparator(const char* text) {
  const size_t n = std::strlen(text);
  return n > 0 && (text[n - 1] == '\\' || text[n - 1] == '/');
}

bool IsExistingDirectory(const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

int MakeTempDirName(char* buffer, size_t size) {
  if (buffer == nullptr || size == 0 || size > 0xFFFFFFFFu) return 0;
  const DWORD length = GetTempPathA(static_cast<DWORD>(size), buffer);
  if (length == 0 || length > size - 1) return 0;
  char directory[kPathBuffer * 2];
  if (!CopyText(directory, sizeof directory, buffer)) return 0;
  if (!EndsInSeparator(directory)) AppendText(directory, sizeof directory, "\\");

  char candidate[sizeof directory + 8];
  for (bool first = true;; first = false) {
    if (!first) WaitForNextSecond();
    std::snprintf(candidate, sizeof candidate, "%s%u", directory, DrawNumber());
    // A file of that name is accepted: creating the directory then fails.
    if (!IsExistingDirectory(candidate)) break;
  }
  if (std::strlen(candidate) > size - 1) return 0;
  std::memcpy(buffer, candidate, std::strlen(candidate) + 1);
  return 1;
}

int MakeTempNameBeside(const char* path, char* target) {
  char drive[kPathBuffer];
  char directory[kPathBuffer];
  SplitPath(path, drive, directory, nullptr, nullptr);
  char prefix[kPathBuffer];
  CopyText(prefix, sizeof prefix, drive);
  AppendText(prefix, sizeof prefix, directory);

  char candidate[kPathBuffer];
  for (bool first = true;; first = false) {
    if (!first) WaitForNextSecond();
    char name[16];
    std::snprintf(name, sizeof name, "%u.$TM", DrawNumber());
    CopyText(candidate, sizeof candidate, prefix);
    AppendText(candidate, sizeof candidate, name);
    if (!IsExistingFile(candidate)) break;
  }
  CopyText(target, kPathBuffer, candidate);
  return 1;
}

}  // namespace ace
