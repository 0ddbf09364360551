#include "file_access.h"

#include <dlfcn.h>
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

void* OpenLibraryBesidePlugin(const char* name) {
  Dl_info info{};
  void* plugin = dlsym(RTLD_DEFAULT, "TestArc");
  if (plugin == nullptr || dladdr(plugin, &info) == 0 || info.dli_fname == nullptr) return nullptr;
  const std::filesystem::path path = std::filesystem::path(info.dli_fname).parent_path() / name;
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* LibrarySymbol(void* library, const char* name) { return dlsym(library, name); }

void CloseLibrary(void* library) { dlclose(library); }

std::filesystem::path MakeTempFolder(const std::string& prefix) {
  std::error_code ec;
  std::string pattern = (std::filesystem::temp_directory_path(ec) / (prefix + "XXXXXX")).string();
  if (ec || mkdtemp(pattern.data()) == nullptr) return {};
  return pattern;
}

}  // namespace acearc
