#include "platform/win32.h"

HMODULE ModuleOfAddress(const void* address) {
  HMODULE module = nullptr;
  // No reference is taken: the module stays loaded because the address lives in it.
  if (!GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          static_cast<LPCSTR>(address), &module)) {
    return nullptr;
  }
  return module;
}
