// Module services over the dynamic loader. A module handle is a dlopen handle.
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "platform/posix/native.h"
#include "platform/win32.h"

using namespace platform::native;

namespace {

// Copies `text` into `buffer` the way GetModuleFileNameA does: cut to fit,
// always terminated, the size itself returned when it was cut.
DWORD CopyModuleName(const std::string& text, char* buffer, DWORD size) {
  if (buffer == nullptr || size == 0) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  if (text.size() + 1 > size) {
    std::memcpy(buffer, text.data(), size - 1);
    buffer[size - 1] = '\0';
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
  }
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  SetLastError(NO_ERROR);
  return static_cast<DWORD>(text.size());
}

std::string ProgramPath() {
  char path[4096];
  const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
  if (n <= 0) return std::string();
  return std::string(path, static_cast<size_t>(n));
}

}  // namespace

DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size) {
  std::string path;
  if (module == nullptr) {
    path = ProgramPath();
  } else {
    link_map* map = nullptr;
    if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
      SetLastError(ERROR_MOD_NOT_FOUND);
      return 0;
    }
    // The main program's entry has an empty name.
    path = map->l_name != nullptr && map->l_name[0] != '\0' ? map->l_name : ProgramPath();
  }
  if (path.empty()) {
    SetLastError(ERROR_GEN_FAILURE);
    return 0;
  }
  return CopyModuleName(path, buffer, size);
}

HMODULE LoadLibraryA(const char* path) {
  if (path == nullptr || *path == '\0') {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  void* handle = dlopen(ToNativePath(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
  return handle;
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
  if (module == nullptr || name == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  void* symbol = dlsym(module, name);
  if (symbol == nullptr) {
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
  }
  FARPROC proc = nullptr;
  static_assert(sizeof proc == sizeof symbol);
  std::memcpy(&proc, &symbol, sizeof proc);
  return proc;
}

BOOL FreeLibrary(HMODULE module) {
  if (module == nullptr || dlclose(module) != 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return TRUE;
}

HMODULE ModuleOfAddress(const void* address) {
  Dl_info info{};
  link_map* map = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 ||
      map == nullptr) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  // RTLD_NOLOAD finds the loaded module without loading anything; the
  // reference it takes is dropped again, the module stays loaded because the
  // address lives in it.
  void* handle = map->l_name != nullptr && map->l_name[0] != '\0'
                     ? dlopen(map->l_name, RTLD_LAZY | RTLD_NOLOAD)
                     : dlopen(nullptr, RTLD_LAZY);
  if (handle == nullptr) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  dlclose(handle);
  return handle;
}
