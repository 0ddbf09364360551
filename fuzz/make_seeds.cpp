// Writes the fuzzers' seeds with the plug-in itself, so that every seed is
// something this project writes: archives at every dictionary and level,
// plain and solid, with folders, an empty file and a directory entry (for the
// archive, extraction and update targets); the packed data of their entries
// with the dictionary it needs (decoder target); and masks with names taken
// from them (mask target).
//
// Usage: make_seeds OUTDIR FILE...   (the first 12 KB of each FILE are packed)
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<char>;

constexpr size_t kInputCap = 12 * 1024;

Bytes Read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Write(const fs::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
}

struct Setting {
  const char* name;
  int dictionaryCode;  // the host's: 4 is 64 KB .. 8 is 1024 KB
  int level;
  bool solid;
};

// Packs every file below "src" (relative to the working folder) into `archive`.
bool Pack(const fs::path& archive, const Setting& st, const std::vector<std::string>& names) {
  CreateArcFile(archive.c_str());
  CompOptions options{};
  options.DictionaryKB = st.dictionaryCode;
  options.Level = st.level;
  options.Solid = st.solid ? 1 : 0;
  options.KeepPaths = 1;
  SetCompExtraFeatures(&options);
  FileMaskList masks;
  InitFileMaskList(&masks);
  for (const std::string& name : names) AppendFileMask(name.c_str(), &masks);
  CompressFileMaskListArc(&masks);
  DoneFileMaskList(&masks);
  const bool ok = GetArchiveStatus() == AR_OK;
  DoneArcFile();
  return ok;
}

struct Entry {
  std::string name;
  uint32_t dictionaryCode, method, size;
  Bytes packed;
};

std::vector<Entry> EntriesOf(const fs::path& archive) {
  std::vector<Entry> entries;
  const Bytes bytes = Read(archive);
  InitArcFile(archive.c_str());
  ArcFileList list;
  InitArcFileList(&list);
  FileMaskList all;
  InitFileMaskList(&all);
  BuildArcFileList(&list, &all);
  for (const ArcFileEntry* e = list.First; e != nullptr; e = e->Next) {
    const size_t data = e->HeaderPos.Low + e->HeaderSize + 4;
    if (data + e->PackedSize.Low > bytes.size()) continue;
    entries.push_back({e->Name, e->DictionaryCode, e->Method, e->UnpackedSize.Low,
                       Bytes(bytes.begin() + static_cast<long>(data),
                             bytes.begin() + static_cast<long>(data + e->PackedSize.Low))});
  }
  DoneArcFileList(&list);
  DoneFileMaskList(&all);
  DoneArcFile();
  return entries;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: make_seeds OUTDIR FILE...\n");
    return 2;
  }
  const fs::path out = fs::absolute(argv[1]);
  const fs::path work = out / "work";
  for (const char* dir : {"archives", "decoder", "masks"}) fs::create_directories(out / dir);
  fs::remove_all(work);
  fs::create_directories(work / "src" / "sub");
  std::vector<std::string> names;
  for (int i = 2; i < argc; ++i) {
    Bytes bytes = Read(argv[i]);
    if (bytes.size() > kInputCap) bytes.resize(kInputCap);
    const std::string name = (i % 2 ? "src/" : "src/sub/") + fs::path(argv[i]).filename().string();
    Write(work / name, bytes);
    names.push_back(name);
  }
  Write(work / "src" / "empty.txt", {});
  names.push_back("src/empty.txt");
  if (chdir(work.c_str()) != 0) return 1;

  const Setting settings[] = {
      {"plain-64k", 4, 1, false},  {"plain-128k", 5, 1, false}, {"plain-256k", 6, 1, false},
      {"plain-512k", 7, 2, false}, {"plain-1m", 8, 3, false},   {"solid-64k", 4, 1, true},
      {"solid-128k", 5, 2, true},  {"solid-256k", 6, 3, true},  {"solid-512k", 7, 1, true},
      {"solid-1m", 8, 4, true},    {"level0", 8, 0, false},     {"level4", 8, 4, false},
  };
  int made = 0;
  int seeds = 0;
  for (const Setting& st : settings) {
    const fs::path archive = out / "archives" / (std::string(st.name) + ".ace");
    fs::remove(archive);
    if (!Pack(archive, st, names)) {
      std::fprintf(stderr, "make_seeds: packing %s failed\n", st.name);
      return 1;
    }
    ++made;
    for (const Entry& e : EntriesOf(archive)) {
      // A solid entry needs the ones before it; only plain entries decode alone.
      if (st.solid || e.method != 1 || e.size == 0 || e.size >= (1u << 20)) continue;
      const auto flags = static_cast<char>(((e.dictionaryCode - 6) % 5) << 5);
      Bytes seed = {flags, static_cast<char>(e.size), static_cast<char>(e.size >> 8),
                    static_cast<char>(e.size >> 16)};
      seed.insert(seed.end(), e.packed.begin(), e.packed.end());
      Write(out / "decoder" / (std::string(st.name) + "-" + std::to_string(seeds++)), seed);
    }
  }
  // One archive with a directory entry made by the plug-in.
  fs::copy_file(out / "archives" / "plain-64k.ace", out / "archives" / "with-dir.ace",
                fs::copy_options::overwrite_existing);
  InitArcFile((out / "archives" / "with-dir.ace").c_str());
  CreateDirectoryArc("made\\here");
  DoneArcFile();

  // Masks: each entry's own name, wildcards in its folder and anywhere.
  int n = 0;
  for (const Entry& e : EntriesOf(out / "archives" / "with-dir.ace")) {
    const std::string name = e.name;
    const size_t slash = name.rfind('\\');
    const std::string folder = slash == std::string::npos ? "" : name.substr(0, slash + 1);
    const std::string text =
        name + "\r" + folder + "*.*\r*." + name.substr(name.rfind('.') + 1) + "\r?" + '\0' + name;
    Write(out / "masks" / ("mask-" + std::to_string(n++)), Bytes(text.begin(), text.end()));
  }
  fs::current_path(out);
  fs::remove_all(work);
  std::printf("make_seeds: %d archives, %d packed entries and %d mask texts in %s\n", made + 1,
              seeds, n, out.c_str());
  return 0;
}
