// Driving the plug-in's exports the way a host does, for the tests of
// creating and changing archives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace updtest {

// The dictionary code a host puts into CompOptions for a size in KB.
int HostDictionaryCode(int kb);

struct Settings {
  int dictionaryKB = 64;
  int level = 1;
  int solid = 0;
  int keepPaths = 1;
  std::string inputPath;
  std::string relativePath;
};

void ApplySettings(const Settings& st);

// Creates `archive` from `names` (relative to settings.inputPath) and returns the status.
uint16_t Create(const std::string& archive, const std::vector<std::string>& names,
                const Settings& st, void (*registerCallbacks)() = nullptr);

struct Listed {
  std::string name;
  uint64_t packed, unpacked;
  uint32_t attributes, crc, method, flags, dictionaryCode, dosTime;
};

// The operations on an existing archive, each on a fresh InitArcFile with the
// settings applied; `registerCallbacks` runs right before the export is
// called. Each returns the export's status (or InitArcFile's, when the open
// fails).
uint16_t Add(const std::string& archive, const std::vector<std::string>& names,
             const Settings& st, void (*registerCallbacks)() = nullptr);
uint16_t Delete(const std::string& archive, const std::vector<std::string>& masks,
                const Settings& st, void (*registerCallbacks)() = nullptr);
uint16_t MakeDirectory(const std::string& archive, const std::string& name, const Settings& st,
                       void (*registerCallbacks)() = nullptr);

std::vector<Listed> List(const std::string& archive, uint16_t* status = nullptr);
uint16_t TestArchive(const std::string& archive);
uint16_t ExtractAll(const std::string& archive, const std::string& outDir);

// Backslashes turned into slashes, to compare stored names with disk paths.
std::string Slashes(std::string s);

}  // namespace updtest
