// Shared pieces of the acearc end-to-end tests: a sample tree with the cases
// that trip archivers up, and helpers to read archives back.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "cli/cli_runner.h"
#include "cli/tiny_json.h"
#include "support/test_support.h"

namespace clitest {

// Skips the test while a plug-in export it needs is still a stub.
#define SKIP_IF_NOT_LANDED(result, what)                                      \
  do {                                                                        \
    if ((result).err.find("32770 AR_NOT_SUPPORTED") != std::string::npos)     \
      GTEST_SKIP() << what << " is not in the plug-in yet: " << (result).err; \
  } while (0)

// A name with a character outside ASCII that the archive's code page holds.
inline const std::string kAccentedName = acetest::Ansi("na\xC3\xAFve caf\xC3\xA9.txt");

// The golden archive made by an independent writer: docs\alice29.txt,
// docs\empty.txt, the folder docs\sub, data\lcg8k (stored), data\pattern60k
// and short.txt (stored).
std::filesystem::path GoldenArchive();
// Where its files came from.
std::filesystem::path GoldenSource(const std::string& name);

// Builds `root`/tree: text files in nested folders, an incompressible file, an
// empty file, an empty folder, a name with accents and a read-only file.
// Returns the relative names ("tree/src/main.c"; folders end in "/").
std::vector<std::string> MakeSampleTree(const std::filesystem::path& root);

// Every file and folder below `dir`, relative, folders ending in "/".
std::map<std::string, std::string> ReadTree(const std::filesystem::path& dir);

// acearc l --json, parsed; fails the test when it does not parse.
Json ListJson(const std::filesystem::path& archive);

// The names of the listed entries, as in MakeSampleTree.
std::vector<std::string> EntryNames(const Json& listing);

// The listed entry of that name, or null.
const Json* FindEntry(const Json& listing, const std::string& name);

// Sets or clears bits of the main header's flags and fixes its checksum.
void SetMainHeaderFlags(const std::filesystem::path& archive, uint16_t bits);

// Marks a file entry as encrypted (flag 0x4000) and fixes its checksum.
void MarkEncrypted(const std::filesystem::path& archive, uint64_t headerOffset);

// Recomputes the checksum of the header at `headerOffset` after an edit.
void FixHeaderChecksum(const std::filesystem::path& archive, uint64_t headerOffset);

// Inverts the byte at `offset`.
void FlipByte(const std::filesystem::path& path, uint64_t offset);

}  // namespace clitest
