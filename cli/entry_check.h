// Checks of archive entries made by the host: names that would land outside
// the output folder, and extracted files compared with the sizes and CRCs of
// the listing, which is how acearc x names the entries of a damaged archive.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host_context.h"
#include "plugin_session.h"

namespace acearc {

// What the host keeps of a listed file entry once the list is released.
struct EntryRecord {
  std::string stored;  // as listed, "\" between directories
  std::string name;    // as shown, "/" between directories
  uint64_t size = 0;
  uint32_t crc = 0;
  bool directory = false;
  uint32_t dosTime = 0;  // local time
};

// File and directory entries of a list (recovery records are left out).
std::vector<EntryRecord> RecordsOf(const EntryList& list);

struct Damage;

// Lists the entries of the open archive into `records`; returns the status
// the listing left. With `damage`, also what the listing shows wrong against
// the file `archive` (CheckListing).
uint16_t ListOpenArchive(std::vector<EntryRecord>& records, std::vector<Damage>* damage = nullptr,
                         const std::string& archive = {});

// Whether a listed file entry's stored name holds a NUL: the listing keeps
// the name up to it, and the rest is lost to every file system.
bool NameHoldsNul(const ArcFileEntry& entry);

// False for a name that would be written outside the output folder: an
// absolute name, a drive, or a ".." part. Without paths only the final part
// counts.
bool IsSafeEntryName(const std::string& stored, bool restorePaths);

// Whether the host may make, and give its time to, the folder of a directory
// entry below `root`: one the plug-in would not leave out for its name (a
// way outside, a "." part) or for a symbolic link on the way.
bool MayMakeFolder(const std::filesystem::path& root, const std::string& stored);

// Where extraction writes an entry below `root`.
std::filesystem::path OutputPathOf(const std::filesystem::path& root, const std::string& stored,
                                   bool restorePaths);

// The file entries whose output below `root` is missing or differs in size or
// CRC, each as "name: what is wrong". Entries named in `ignore` are skipped,
// and with `only` non-null so is every entry it does not name.
std::vector<std::string> FindMismatches(const std::filesystem::path& root,
                                        const std::vector<EntryRecord>& entries, bool restorePaths,
                                        const std::set<std::string>& ignore,
                                        const std::set<std::string>* only);

}  // namespace acearc
