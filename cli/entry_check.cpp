#include "entry_check.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

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

// A scratch folder removed with all it holds, also when the extraction left
// read-only files or folders in it.
class ScratchFolder {
 public:
  ScratchFolder() : path_(MakeTempFolder("acearc-check-")) {}
  ~ScratchFolder() {
    if (path_.empty()) return;
    std::error_code ec;
    fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
    for (auto it = fs::recursive_directory_iterator(path_, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
      if (!it->is_symlink())
        fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    }
    fs::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

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

std::optional<std::vector<std::string>> FindDamagedByExtracting(
    const std::string& archive, const std::vector<EntryRecord>& entries, const Answers& answers) {
  uint64_t total = 0;
  for (const EntryRecord& entry : entries) {
    if (!IsSafeEntryName(entry.stored, true)) return std::nullopt;
    total += entry.size;
  }
  ScratchFolder scratch;
  if (scratch.path().empty()) return std::nullopt;
  std::error_code spaceError;
  const std::filesystem::space_info space = std::filesystem::space(scratch.path(), spaceError);
  if (spaceError || space.available < total + (64u << 20)) return std::nullopt;
  std::string output = PathText(scratch.path()) + "/";
  if (output.size() > 200) return std::nullopt;

  ProgressDisplay silent(OutputMode::Quiet);
  Answers scratchAnswers = answers;
  scratchAnswers.canAsk = false;  // the password, if any, was given while testing
  HostContext context(Operation::Extract, scratchAnswers, silent);
  {
    ArchiveSession session = ArchiveSession::Open(archive);
    if (session.status() != AR_OK) return std::nullopt;
    RegisterCallbacks(context);
    DecompOptions decomp{};
    decomp.RestorePaths = 1;
    SetDecompExtraFeatures(&decomp);
    SetOutputPath(output.c_str());
    MaskList all;
    all.Append("*.*");
    ExtractFileMaskListArc(all.get());
    uint16_t status = GetArchiveStatus();
    if (status != AR_OK && status != AR_ARCHIVE_ERROR) return std::nullopt;
  }
  return FindMismatches(scratch.path(), entries, true, {}, nullptr);
}

}  // namespace acearc
