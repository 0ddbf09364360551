#include "file_access.h"

#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <random>

#include "aceplug/aceplug.h"

namespace acearc {

std::string PathText(const std::filesystem::path& path, bool generic) {
  const std::wstring wide = generic ? path.generic_wstring() : path.wstring();
  if (wide.empty()) return {};
  const int size = static_cast<int>(wide.size());
  const int n = WideCharToMultiByte(CP_ACP, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(n > 0 ? n : 0), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide.data(), size, text.data(), n, nullptr, nullptr);
  return text;
}

// Windows keeps read permission in access lists and share modes, so the
// answer comes from opening the file the way the plug-in will.
bool CanReadFile(const std::filesystem::path& path) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

// From the FILETIME itself: Wine's C runtime gives 0 for a time after 2106.
bool GetModifiedTime(const std::filesystem::path& path, std::time_t* seconds) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return false;
  const uint64_t ticks = (static_cast<uint64_t>(data.ftLastWriteTime.dwHighDateTime) << 32) |
                         data.ftLastWriteTime.dwLowDateTime;
  *seconds = static_cast<std::time_t>(static_cast<int64_t>(ticks / 10000000ULL) - 11644473600LL);
  return true;
}

// A folder opens only with backup semantics.
bool SetModifiedTime(const std::filesystem::path& path, std::time_t seconds) {
  HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const uint64_t ticks = (static_cast<uint64_t>(seconds) + 11644473600ULL) * 10000000ULL;
  const FILETIME written{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  const bool done = SetFileTime(file, nullptr, nullptr, &written) != 0;
  CloseHandle(file);
  return done;
}

// The C runtime's copy, which getenv reads, and the process's both change.
void SetEnvironmentValue(const char* name, const std::string& value) {
  _putenv_s(name, value.c_str());
}

void* OpenLibraryBesidePlugin(const char* name) {
  HMODULE plugin = nullptr;
  if (!GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(&TestArc)), &plugin)) {
    return nullptr;
  }
  wchar_t file[MAX_PATH];
  const DWORD length = GetModuleFileNameW(plugin, file, MAX_PATH);
  if (length == 0 || length == MAX_PATH) return nullptr;
  const std::filesystem::path path = std::filesystem::path(file).parent_path() / name;
  return reinterpret_cast<void*>(LoadLibraryW(path.c_str()));
}

void* LibrarySymbol(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseLibrary(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

// The folder inherits the temporary folder's access list, which on Windows
// belongs to the user already.
std::filesystem::path MakeTempFolder(const std::string& prefix) {
  std::error_code ec;
  const std::filesystem::path temp = std::filesystem::temp_directory_path(ec);
  if (ec) return {};
  std::random_device seed;
  std::mt19937 draw(seed());
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::filesystem::path candidate = temp / (prefix + std::to_string(draw() % 1000000));
    if (CreateDirectoryW(candidate.c_str(), nullptr)) return candidate;
    if (GetLastError() != ERROR_ALREADY_EXISTS) return {};
  }
  return {};
}

}  // namespace acearc
