#include "entry_select.h"

#include <algorithm>
#include <map>
#include <set>

#include "entry_format.h"
#include "status_text.h"

namespace acearc {

namespace {

char Fold(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string Folded(std::string text) {
  for (char& c : text) c = Fold(c);
  return text;
}

// Bytes of the UTF-8 character at `at`, so that "?" takes a whole one.
size_t CharacterLength(std::string_view text, size_t at) {
  size_t end = at + 1;
  if (static_cast<unsigned char>(text[at]) >= 0xC0) {
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) ++end;
  }
  return end - at;
}

// A group of entries for one plug-in mask: its kind, a folder and maybe an
// extension, in upper case as the plug-in compares. Built by appending, as
// GCC 12 warns wrongly on "X" + std::string.
std::string GroupKey(char kind, const std::string& folder, const std::string* extension = nullptr) {
  std::string key(1, kind);
  key += Folded(folder);
  if (extension != nullptr) key.append(1, '\0').append(Folded(*extension));
  return key;
}

std::string Normalized(std::string mask) {
  while (mask.rfind("./", 0) == 0) mask.erase(0, 2);
  while (!mask.empty() && mask.front() == '/') mask.erase(0, 1);
  while (!mask.empty() && mask.back() == '/') mask.pop_back();
  return mask.empty() || mask == "." ? "*" : mask;
}

}  // namespace

bool GlobMatches(std::string_view pattern, std::string_view text) {
  constexpr size_t kNone = std::string_view::npos;
  size_t p = 0;
  size_t t = 0;
  size_t star = kNone;  // the last "*" seen, and where its run of text ends
  size_t resume = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = t;
    } else if (p < pattern.size() && pattern[p] == '?') {
      ++p;
      t += CharacterLength(text, t);
    } else if (p < pattern.size() && Fold(pattern[p]) == Fold(text[t])) {
      ++p;
      ++t;
    } else if (star != kNone) {
      p = star + 1;  // let the "*" take one more character
      t = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

bool MaskSelects(const std::string& mask, const std::string& name) {
  if (GlobMatches(mask, name)) return true;
  for (size_t slash = name.find('/'); slash != std::string::npos;
       slash = name.find('/', slash + 1)) {
    if (GlobMatches(mask, std::string_view(name).substr(0, slash))) return true;
  }
  return false;
}

EntryFilter::EntryFilter(const std::vector<std::string>& masks,
                         const std::vector<std::string>& excludes)
    : given_(masks), used_(masks.size(), false) {
  for (const std::string& mask : masks) masks_.push_back(Normalized(mask));
  for (const std::string& mask : excludes) excludes_.push_back(Normalized(mask));
}

bool EntryFilter::Selects(const std::string& name) {
  bool selected = masks_.empty();
  for (size_t i = 0; i < masks_.size(); ++i) {
    if (MaskSelects(masks_[i], name)) selected = used_[i] = true;
  }
  if (!selected) return false;
  for (const std::string& mask : excludes_) {
    if (MaskSelects(mask, name)) return false;
  }
  return true;
}

std::vector<std::string> EntryFilter::Unused() const {
  std::vector<std::string> unused;
  for (size_t i = 0; i < given_.size(); ++i) {
    if (!used_[i]) unused.push_back(given_[i]);
  }
  return unused;
}

std::vector<bool> ChooseEntries(HostContext& context, const std::string& archive,
                                const std::vector<EntryRecord>& all,
                                const std::vector<std::string>& masks,
                                const std::vector<std::string>& excludes,
                                std::vector<EntryRecord>* entries) {
  EntryFilter filter(masks, excludes);
  std::vector<bool> chosen(all.size(), false);
  for (size_t i = 0; i < all.size(); ++i) {
    chosen[i] = filter.Selects(all[i].name);
    if (chosen[i]) entries->push_back(all[i]);
  }
  for (const std::string& mask : filter.Unused()) {
    Warn(context, "no entry of " + archive + " matches " + mask);
  }
  return chosen;
}

std::vector<std::string> PluginMasksFor(const std::vector<EntryRecord>& entries,
                                        const std::vector<bool>& chosen) {
  // The groups of entries that one plug-in mask selects, each with a key (upper
  // case, as the plug-in compares) and its mask, widest first. For each folder
  // DIR the entry lies in: all at or below DIR ("DIR\*.*"; the archive's root
  // is "*.*"), and those at or below it with the entry's extension ("DIR\*.EXT";
  // a folder's own entry counts as having none). Then, directly in the entry's
  // folder alone, the names with a base name ("DIR\?*.*": a base starting with
  // "?" pins the folder), and those of them with its extension ("DIR\?*.EXT").
  using Groups = std::vector<std::pair<std::string, std::string>>;
  auto groupsOf = [](const std::string& stored) {
    const size_t folderEnd = stored.rfind('\\') + 1;  // 0 without a folder
    const size_t dot = stored.rfind('.');
    const bool hasDot = dot != std::string::npos && dot >= folderEnd;
    const size_t baseEnd = hasDot ? dot : stored.size();
    const std::string extension = hasDot ? stored.substr(dot + 1) : std::string();
    const bool plainExtension = extension.find_first_of("*?") == std::string::npos;
    std::vector<size_t> folders{0};  // lengths of the folders the entry lies in, root first
    for (size_t i = 0; i < folderEnd; ++i) {
      if (stored[i] == '\\') folders.push_back(i + 1);
    }
    Groups groups;
    for (size_t length : folders) {
      const std::string folder = stored.substr(0, length);
      if (length > 0) groups.emplace_back(GroupKey('F', folder), folder + "*.*");
      if (plainExtension) {
        groups.emplace_back(GroupKey('X', folder, &extension), folder + "*." + extension);
      }
    }
    if (baseEnd > folderEnd) {
      const std::string folder = stored.substr(0, folderEnd);
      groups.emplace_back(GroupKey('L', folder), folder + "?*.*");
      if (!extension.empty() && plainExtension) {
        groups.emplace_back(GroupKey('E', folder, &extension), folder + "?*." + extension);
      }
    }
    return groups;
  };

  struct Count {
    size_t total = 0;
    size_t taken = 0;
  };
  std::vector<Groups> groups;
  std::map<std::string, Count> counts;
  size_t chosenCount = 0;
  for (size_t i = 0; i < entries.size(); ++i) {
    groups.push_back(groupsOf(entries[i].stored));
    chosenCount += chosen[i];
    for (const auto& group : groups.back()) {
      Count& count = counts[group.first];
      ++count.total;
      count.taken += chosen[i];
    }
  }
  if (chosenCount == entries.size() && chosenCount > 0) return {"*.*"};

  std::vector<std::string> masks;
  std::set<std::string> emitted;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (!chosen[i]) continue;
    std::string mask = entries[i].stored;
    for (const auto& [key, groupMask] : groups[i]) {
      const Count& count = counts[key];
      if (count.taken == count.total) {
        mask = groupMask;
        break;
      }
    }
    if (emitted.insert(Folded(mask)).second) masks.push_back(mask);
  }
  return masks;
}

std::string SelectInPlugin(const std::vector<EntryRecord>& entries, const std::vector<bool>& chosen,
                           MaskList& masks) {
  std::vector<std::string> wanted;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (chosen[i]) wanted.push_back(entries[i].stored);
  }
  // An empty mask list would select everything.
  if (wanted.empty()) return "no entry chosen";
  for (const std::string& mask : PluginMasksFor(entries, chosen)) {
    if (!masks.Append(mask)) return DescribeStatus(GetArchiveStatus());
  }
  // A plain name means the same to the plug-in as here; the check lists the
  // archive once more, which costs as much as the extraction's own selection.
  auto plain = [](const EntryRecord& entry) {
    const std::string& name = entry.stored;
    return !name.empty() && name.size() <= 255 && name.back() != '.' &&
           name.find_first_of("*?:") == std::string::npos &&
           std::all_of(name.begin(), name.end(), [](char c) { return (c & 0x80) == 0; });
  };
  if (std::all_of(entries.begin(), entries.end(), plain)) return {};
  EntryList list;
  BuildArcFileList(list.get(), masks.get());
  if (uint16_t status = GetArchiveStatus(); status != AR_OK) return DescribeStatus(status);
  std::vector<std::string> selected;
  for (const ArcFileEntry* e : list.entries()) {
    if (e->IsFile) selected.push_back(e->Name);
  }
  if (selected == wanted) return {};
  std::multiset<std::string> left(wanted.begin(), wanted.end());
  for (const std::string& name : selected) {
    auto it = left.find(name);
    if (it == left.end()) {
      return "the plug-in cannot tell " + DisplayName(name.c_str()) +
             " apart from the entries chosen (names that differ only in case, or hold \"*\" "
             "or \"?\")";
    }
    left.erase(it);
  }
  return left.empty() ? std::string()
                      : "the plug-in does not select " + DisplayName(left.begin()->c_str());
}

}  // namespace acearc
