#include "entry_check.h"

#include <algorithm>
#include <cstring>

#include "damage_check.h"
#include "entry_format.h"
#include "file_access.h"
#include "file_check.h"

namespace acearc {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> SplitStored(const std::string& stored) {
  std::vector<std::string> parts;
  std::string part;
  for (char c : stored) {
    if (c == '\\' || c == '/') {
      parts.push_back(part);
      part.clear();
    } else {
      part.push_back(c);
    }
  }
  parts.push_back(part);
  return parts;
}

}  // namespace

std::vector<EntryRecord> RecordsOf(const EntryList& list) {
  std::vector<EntryRecord> records;
  for (const ArcFileEntry* e : list.entries()) {
    if (!e->IsFile) continue;
    records.push_back({e->Name, DisplayName(e->Name), ToUInt64(e->UnpackedSize), e->Crc32,
                       IsDirectoryEntry(*e), e->DosTime});
  }
  return records;
}

uint16_t ListOpenArchive(std::vector<EntryRecord>& records, std::vector<Damage>* damage,
                         const std::string& archive) {
  MaskList all;
  EntryList list;
  BuildArcFileList(list.get(), all.get());
  const uint16_t status = GetArchiveStatus();
  records = RecordsOf(list);
  if (damage != nullptr) *damage = CheckListing(archive, list.entries());
  return status;
}

bool NameHoldsNul(const ArcFileEntry& entry) {
  constexpr size_t kListedName = 271;  // longer names are cut by the listing
  const size_t kept = std::strlen(entry.Name);
  return entry.IsFile && kept < std::min<size_t>(entry.NameLength, kListedName);
}

bool IsSafeEntryName(const std::string& stored, bool restorePaths) {
  std::vector<std::string> parts = SplitStored(stored);
  while (parts.size() > 1 && parts.back().empty()) parts.pop_back();  // "dir\"
  if (!restorePaths) parts.erase(parts.begin(), parts.end() - 1);
  if (parts.empty()) return false;
  if (restorePaths && parts.size() > 1 && parts.front().empty()) return false;  // "\x"
  if (parts.front().size() >= 2 && parts.front()[1] == ':') return false;
  for (const std::string& part : parts) {
    if (part == "..") return false;
  }
  return !(parts.size() == 1 && (parts[0].empty() || parts[0] == "."));
}

bool MayMakeFolder(const fs::path& root, const std::string& stored) {
  if (!IsSafeEntryName(stored, true)) return false;
  fs::path path = root;
  for (const std::string& part : SplitStored(OutputPathOf({}, stored, true).string())) {
    if (part == ".") return false;
    if (part.empty()) continue;
    path /= part;
    std::error_code ec;
    if (fs::is_symlink(path, ec)) return false;
  }
  return true;
}

fs::path OutputPathOf(const fs::path& root, const std::string& stored, bool restorePaths) {
  std::vector<std::string> parts = SplitStored(stored);
  // Control characters reach the disk as "_", as the plug-in writes them.
  for (std::string& part : parts) {
    for (char& c : part) {
      if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '_';
    }
  }
  while (parts.size() > 1 && parts.back().empty()) parts.pop_back();
  if (!restorePaths) return root / parts.back();
  fs::path out = root;
  for (const std::string& part : parts) {
    if (!part.empty()) out /= part;
  }
  return out;
}

std::vector<std::string> FindMismatches(const fs::path& root,
                                        const std::vector<EntryRecord>& entries, bool restorePaths,
                                        const std::set<std::string>& ignore,
                                        const std::set<std::string>* only) {
  std::vector<std::string> bad;
  for (const EntryRecord& entry : entries) {
    if (entry.directory || ignore.count(entry.name)) continue;
    if (only != nullptr && !only->count(entry.name)) continue;
    std::optional<FileCheck> check = CheckFile(OutputPathOf(root, entry.stored, restorePaths));
    if (!check) {
      bad.push_back(entry.name + ": damaged data, not extracted");
    } else if (check->size != entry.size) {
      bad.push_back(entry.name + ": size " + std::to_string(check->size) + " instead of " +
                    std::to_string(entry.size));
    } else if (check->crc != entry.crc) {
      bad.push_back(entry.name + ": CRC error");
    }
  }
  return bad;
}

}  // namespace acearc
