// libFuzzer target for changing hostile archives: adding a file, deleting
// entries and adding a directory entry. Each change either succeeds or leaves
// a status with the old archive byte for byte as it was; either way nothing
// is left beside the archive or in the temporary folder, where a solid
// archive is unpacked to be rebuilt.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "fuzz_host.h"

namespace {

namespace fs = std::filesystem;

struct Sandbox {
  fs::path root, box, archive, added, temp;
};

const Sandbox& Box() {
  static const Sandbox box = [] {
    fuzzhost::KeepExtractionLibraryLoaded();
    Sandbox s;
    s.root = fuzzhost::MakeScratchRoot("update_fuzz");
    s.box = s.root / "box";
    s.archive = s.box / "archive.ace";
    s.added = s.box / "in" / "new.txt";
    s.temp = s.root / "temp";
    fs::create_directories(s.added.parent_path());
    fs::create_directories(s.temp);
    std::ofstream(s.added) << "a file added to a hostile archive\n";
    // The working folders of a solid rebuild go to the system's temporary folder.
    setenv("TMPDIR", s.temp.c_str(), 1);
    return s;
  }();
  return box;
}

std::vector<char> Bytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

size_t EntriesIn(const fs::path& dir) {
  std::error_code ec;
  size_t n = 0;
  for (auto it = fs::recursive_directory_iterator(dir, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    ++n;
  }
  return n;
}

enum class Change { Add, Delete, MakeDirectory };

void Apply(const Sandbox& s, Change change) {
  const std::vector<char> before = Bytes(s.archive);
  // A solid archive is unpacked and packed again: less room than for a test.
  fuzzhost::Budget budget{1 << 20, 1000};
  InitArcFile(s.archive.c_str());
  uint16_t status = GetArchiveStatus();
  if (status == AR_OK) {
    fuzzhost::RegisterCallbacks(&budget);
    CompOptions options{};
    options.DictionaryKB = 4;  // the host's code for 64 KB, the quickest to set up
    options.Level = 1;
    SetCompExtraFeatures(&options);
    FileMaskList masks;
    InitFileMaskList(&masks);
    switch (change) {
      case Change::Add:
        AppendFileMask(s.added.c_str(), &masks);
        CompressFileMaskListArc(&masks);
        break;
      case Change::Delete:
        AppendFileMask("*.txt", &masks);
        AppendFileMask("d*\\*", &masks);
        DeleteFileMaskListArc(&masks);
        break;
      case Change::MakeDirectory:
        CreateDirectoryArc("made");
        break;
    }
    DoneFileMaskList(&masks);
    status = GetArchiveStatus();
  }
  DoneArcFile();
  fuzzhost::ForgetCallbacks();

  if (status != AR_OK && Bytes(s.archive) != before) {
    std::fprintf(stderr, "change %d failed with %u and the archive was changed\n",
                 static_cast<int>(change), status);
    __builtin_trap();
  }
  // The archive and the file to add (its folder too), nothing else.
  if (EntriesIn(s.box) != 3 || EntriesIn(s.temp) != 0) {
    std::fprintf(stderr, "change %d (status %u) left files behind\n", static_cast<int>(change),
                 status);
    __builtin_trap();
  }
}

}  // namespace

// The plug-in draws temporary names from the clock's second and waits for the
// next second when a name is taken; a change makes two names beside the
// archive, so the real clock would cost a second per change. Here the clock
// ticks one second at every reading.
extern "C" time_t time(time_t* out) noexcept {
  static time_t now = 1700000000;
  ++now;
  if (out != nullptr) *out = now;
  return now;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Sandbox& s = Box();
  if (!fuzzhost::WriteFile(s.archive, data, size)) return 0;
  for (Change change : {Change::Add, Change::Delete, Change::MakeDirectory}) Apply(s, change);
  return 0;
}
