#include "empty_folders.h"

#include <algorithm>
#include <optional>

#include "entry_format.h"
#include "plugin_session.h"
#include "status_text.h"

namespace acearc {

namespace {

std::string WithoutBackslash(std::string name) {
  if (!name.empty() && name.back() == '\\') name.pop_back();
  return name;
}

// The plug-in compares stored names ignoring case.
std::string Upper(std::string name) {
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return name;
}

std::optional<std::vector<EntryRecord>> ListRecords(const std::string& archive) {
  ArchiveSession session = ArchiveSession::Open(archive);
  if (session.status() != AR_OK) return std::nullopt;
  std::vector<EntryRecord> records;
  if (ListOpenArchive(records) != AR_OK) return std::nullopt;
  return records;
}

bool HoldsSomething(const std::set<std::string>& upperNames, const std::string& upperFolder) {
  const std::string below = upperFolder + "\\";
  auto next = upperNames.lower_bound(below);
  return next != upperNames.end() && next->compare(0, below.size(), below) == 0;
}

uint16_t MakeDirectoryEntry(const std::string& archive, const std::string& name) {
  ArchiveSession session = ArchiveSession::Open(archive);
  if (session.status() != AR_OK) return session.status();
  CompOptions comp{};
  comp.KeepPaths = 1;  // the name is stored as it was
  SetCompExtraFeatures(&comp);
  CreateDirectoryArc(name.c_str());
  return GetArchiveStatus();
}

}  // namespace

std::vector<std::string> DirectoryNames(const std::vector<EntryRecord>& records) {
  std::vector<std::string> names;
  for (const EntryRecord& record : records) {
    if (record.directory) names.push_back(WithoutBackslash(record.stored));
  }
  return names;
}

std::vector<std::string> ListDirectoryNames(const std::string& archive) {
  std::optional<std::vector<EntryRecord>> records = ListRecords(archive);
  return records ? DirectoryNames(*records) : std::vector<std::string>{};
}

void PutBackEmptyFolders(HostContext& context, const std::string& archive,
                         const std::vector<std::string>& before,
                         const std::set<std::string>& deleted) {
  if (before.empty()) return;
  std::optional<std::vector<EntryRecord>> after = ListRecords(archive);
  if (!after) return;
  std::set<std::string> present;
  for (const EntryRecord& record : *after) present.insert(Upper(WithoutBackslash(record.stored)));
  std::set<std::string> gone;
  for (const std::string& name : deleted) gone.insert(Upper(name));

  std::vector<std::string> deepestFirst = before;
  std::stable_sort(deepestFirst.begin(), deepestFirst.end(),
                   [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
  for (const std::string& name : deepestFirst) {
    const std::string upper = Upper(name);
    if (name.empty() || gone.count(upper) || present.count(upper) ||
        HoldsSomething(present, upper)) {
      continue;
    }
    if (uint16_t status = MakeDirectoryEntry(archive, name); status != AR_OK) {
      Warn(context, "the empty folder " + DisplayName(name.c_str()) + " could not be kept in " +
                        archive + ": " + DescribeStatus(status));
      continue;
    }
    present.insert(upper);
  }
}

}  // namespace acearc
