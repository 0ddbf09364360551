// Loading UnAceV2.Dll for one test or extraction and unloading it again.
#pragma once

#include "platform/win32.h"
#include "unace/unacev2.h"

namespace ace {

inline constexpr char kUnAceLibraryName[] = "UnAceV2.Dll";

struct UnAceLibrary {
  HMODULE module = nullptr;
  AceInitDllProc InitDll = nullptr;
  AceReadArchiveDataProc ReadArchiveData = nullptr;
  AceListProc List = nullptr;
  AceTestProc Test = nullptr;
  AceExtractProc Extract = nullptr;
};

// Loads the library from the directory of ArchiveModule (of the host program
// while that is 0) and looks up its five functions. False when it cannot be
// loaded, or when a function is missing: then a message goes to the standard
// output and the library is freed again. Leaves no status.
[[nodiscard]] bool LoadUnAce(UnAceLibrary* library);
// Frees a loaded library and clears the record.
void UnloadUnAce(UnAceLibrary* library);

}  // namespace ace
