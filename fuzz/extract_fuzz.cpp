// libFuzzer target for testing and extracting hostile archives through the
// plug-in and the extraction library beside it (which reads every header
// again on its own). Any file must end in some status, and nothing may be
// written anywhere but below the output folder.
//
// The output folder lies eight folders deep in a private sandbox, so that a
// name that climbs out of it with ".." lands where the check below sees it.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "aceplug/aceplug.h"
#include "fuzz_host.h"

namespace {

namespace fs = std::filesystem;

struct Sandbox {
  fs::path root;     // private; holds only the archive and the folders down to the output
  fs::path archive;  // root/archive.ace
  fs::path out;      // root/1/2/3/4/5/6/7/out
};

const Sandbox& Box() {
  static const Sandbox box = [] {
    fuzzhost::KeepExtractionLibraryLoaded();
    Sandbox s;
    s.root = fuzzhost::MakeScratchRoot("extract_fuzz");
    s.archive = s.root / "archive.ace";
    s.out = s.root / "1/2/3/4/5/6/7/out";
    fs::create_directories(s.out);
    return s;
  }();
  return box;
}

// Traps unless everything in the sandbox is the archive, one of the folders
// down to the output, or something inside the output.
void CheckNothingOutside(const Sandbox& s) {
  std::error_code ec;
  const std::string out = s.out.string();
  for (auto it = fs::recursive_directory_iterator(s.root, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    const std::string p = it->path().string();
    if (it->path() == s.archive || p == out || p.rfind(out + "/", 0) == 0) continue;
    if (it->is_directory() && !it->is_symlink() && out.rfind(p + "/", 0) == 0) continue;
    std::fprintf(stderr, "written outside the output folder: %s\n", p.c_str());
    __builtin_trap();
  }
  if (ec) __builtin_trap();
}

void Run(const Sandbox& s, bool extract, int32_t restorePaths) {
  fuzzhost::Budget budget{1 << 20, 1000};
  InitArcFile(s.archive.c_str());
  if (GetArchiveStatus() == AR_OK) {
    fuzzhost::RegisterCallbacks(&budget);
    if (extract) {
      DecompOptions options{};
      options.RestorePaths = restorePaths;
      SetDecompExtraFeatures(&options);
      SetOutputPath((s.out.string() + "/").c_str());
      FileMaskList masks;
      InitFileMaskList(&masks);
      AppendFileMask("*.*", &masks);
      ExtractFileMaskListArc(&masks);
      DoneFileMaskList(&masks);
    } else {
      TestArc();
    }
  }
  DoneArcFile();
  fuzzhost::ForgetCallbacks();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Sandbox& s = Box();
  if (!fuzzhost::WriteFile(s.archive, data, size)) return 0;
  Run(s, false, 0);
  // With and without the stored folders: the input's last byte picks.
  Run(s, true, size > 0 && (data[size - 1] & 1) ? 0 : 1);
  CheckNothingOutside(s);
  std::error_code ec;
  fs::remove_all(s.root / "1", ec);
  fs::create_directories(s.out, ec);
  return 0;
}
