#include "file_access.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace acearc {

std::string PathText(const std::filesystem::path& path, bool generic) {
  return generic ? path.generic_string() : path.string();
}

bool CanReadFile(const std::filesystem::path& path) { return access(path.c_str(), R_OK) == 0; }

bool GetModifiedTime(const std::filesystem::path& path, std::time_t* seconds) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) return false;
  *seconds = info.st_mtime;
  return true;
}

bool SetModifiedTime(const std::filesystem::path& path, std::time_t seconds) {
  const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 0}};
  return utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

void SetEnvironmentValue(const char* name, const std::string& value) {
  setenv(name, value.c_str(), 1);
}

std::filesystem::path MakeTempFolder(const std::string& prefix) {
  std::error_code ec;
  std::string pattern = (std::filesystem::temp_directory_path(ec) / (prefix + "XXXXXX")).string();
  if (ec || mkdtemp(pattern.data()) == nullptr) return {};
  return pattern;
}

}  // namespace acearc
