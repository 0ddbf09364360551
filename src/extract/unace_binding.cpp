#include "extract/unace_binding.h"

#include <cstdio>

#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {
namespace {

template <typename Proc>
bool Find(HMODULE module, const char* name, Proc* proc) {
  // Through void (*)(), the type that any function pointer may be cast from
  // without a warning (Windows' FARPROC returns an integer).
  *proc = reinterpret_cast<Proc>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
  return *proc != nullptr;
}

}  // namespace

bool LoadUnAce(UnAceLibrary* library) {
  *library = UnAceLibrary{};
  char moduleName[272] = {};
  GetModuleFileNameA(State().ArchiveModule, moduleName, sizeof moduleName);
  moduleName[sizeof moduleName - 1] = '\0';  // a cut name is not terminated on older Windows
  char drive[kPathBuffer] = {};
  char directory[kPathBuffer] = {};
  SplitPath(moduleName, drive, directory, nullptr, nullptr);
  char path[kPathBuffer + 16] = {};
  CopyText(path, sizeof path, drive);
  AppendText(path, sizeof path, directory);
  if (!AppendText(path, sizeof path, kUnAceLibraryName)) return false;

  HMODULE module = LoadLibraryA(path);
  if (module == nullptr) return false;
  UnAceLibrary found;
  found.module = module;
  // All five must be there, ACEList too, although it is never called.
  if (!Find(module, "ACEInitDll", &found.InitDll) ||
      !Find(module, "ACEReadArchiveData", &found.ReadArchiveData) ||
      !Find(module, "ACEList", &found.List) || !Find(module, "ACETest", &found.Test) ||
      !Find(module, "ACEExtract", &found.Extract)) {
    std::fputs("\nCould not find function in UnAceV2.Dll!\n\n", stdout);
    std::fflush(stdout);
    FreeLibrary(module);
    return false;
  }
  *library = found;
  return true;
}

void UnloadUnAce(UnAceLibrary* library) {
  if (library->module != nullptr) FreeLibrary(library->module);
  *library = UnAceLibrary{};
}

}  // namespace ace
