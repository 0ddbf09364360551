// Turns the paths given to `acearc a` into the plug-in's list of files: one
// item per file and per directory, directories expanded by the host, names
// relative to the common base folder of the paths.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace acearc {

struct ScanItem {
  std::string name;  // relative to the base ("src/main.cpp"); the full path without a base
  bool isDirectory = false;
  uint64_t size = 0;
};

struct ScanOptions {
  bool recurse = true;                // into subdirectories
  bool keepPaths = true;              // false: names lose their directories (-ep)
  std::filesystem::path exclude;      // the archive itself, never added to itself
  std::string prefix;                 // stored in front of every name; counts toward its length
  std::vector<std::string> excludes;  // masks of names below the base to leave out (-x)
};

struct ScanResult {
  std::string base;  // ends in "/"; empty with keepPaths off (names are full paths)
  std::vector<ScanItem> items;
  std::vector<std::string> warnings;  // one line each: what was left out and why
  uint64_t totalBytes = 0;
};

// Each path adds itself (a directory with what it holds) under its own name;
// a path whose last part is "." or ".." adds what the directory holds without
// the directory's name. The base is the common folder of the paths that
// exist. Entries of a directory come in name order; a directory's entry comes
// before its contents. A symbolic link to a file adds the file it points to;
// links to directories and other special files are left out with a warning.
// A date the archive cannot hold gets a warning (the plug-in stores the
// nearest one).
ScanResult ScanPaths(const std::vector<std::string>& paths, const ScanOptions& options);

// Checks that a name can be stored and found again: a name ending in "." or
// holding "\" is not, nor one longer than the archive's name field. Returns
// the reason, or "" when it is fine.
std::string UnstorableReason(const std::string& name, bool isDirectory, size_t prefixLength,
                             size_t baseLength);

}  // namespace acearc
