// What the fuzz targets that drive the plug-in's operations share: a private
// scratch folder, the extraction library held loaded, and host callbacks that
// cap the work one input may cause.
#pragma once

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "aceplug/aceplug.h"

namespace fuzzhost {

// A fresh folder below $TMPDIR, removed again when the process ends normally.
inline std::filesystem::path MakeScratchRoot(const char* name) {
  const char* dir = std::getenv("TMPDIR");
  std::string pattern = std::string(dir && *dir ? dir : "/tmp") + "/" + name + ".XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) std::abort();
  static std::filesystem::path root;
  root = pattern;
  std::atexit([] {
    std::error_code ec;
    std::filesystem::remove_all(root, ec);
  });
  return root;
}

// The plug-in loads and unloads UnAceV2.Dll (beside this program) for every
// operation; libFuzzer keeps pointers into the coverage counters of every
// module it has seen, so the library must stay loaded.
inline void KeepExtractionLibraryLoaded() {
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) std::abort();
  const auto path = std::filesystem::path(std::string(self, static_cast<size_t>(n))).parent_path() /
                    "UnAceV2.Dll";
  if (dlopen(path.c_str(), RTLD_NOW | RTLD_NODELETE) == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::abort();
  }
}

inline bool WriteFile(const std::filesystem::path& path, const uint8_t* data, size_t size) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return false;
  const bool written = std::fwrite(data, 1, size, f) == size;
  return std::fclose(f) == 0 && written;
}

// Hostile headers may promise gigabytes: progress past the budget cancels.
struct Budget {
  int64_t bytes;
  int calls;
};

inline int32_t OnProgress(AceContext context, int32_t, int32_t step) {
  auto* budget = reinterpret_cast<Budget*>(context);
  budget->bytes -= step > 0 ? step : 0;
  return --budget->calls > 0 && budget->bytes > 0;  // 0 cancels
}
inline int32_t DeclineVolume(AceContext, char*, int32_t, int32_t, int32_t) { return 1; }
inline int32_t NoPassword(AceContext, char*, const char*, int32_t) { return 0; }

// Registers the callbacks for one operation on the open archive.
inline void RegisterCallbacks(Budget* budget) {
  const auto context = reinterpret_cast<AceContext>(budget);
  SetSetProgressProc(context, OnProgress);
  SetGetNextDiskProc(context, DeclineVolume);
  SetSetCryptKeyProc(context, NoPassword);
}

// After DoneArcFile: the progress callback outlives it and the budget does not.
inline void ForgetCallbacks() { SetSetProgressProc(0, nullptr); }

}  // namespace fuzzhost
