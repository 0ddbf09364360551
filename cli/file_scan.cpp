#include "file_scan.h"

#include <algorithm>
#include <ctime>
#include <set>
#include <system_error>

#include "entry_select.h"
#include "file_access.h"
#include "local_time.h"

namespace acearc {

namespace fs = std::filesystem;

namespace {

// Longest run of leading components that both paths share.
fs::path CommonPrefix(const fs::path& a, const fs::path& b) {
  fs::path common;
  auto ia = a.begin();
  auto ib = b.begin();
  for (; ia != a.end() && ib != b.end() && *ia == *ib; ++ia, ++ib) common /= *ia;
  return common;
}

bool IsDotName(const fs::path& name) { return name == "." || name == ".."; }

// A DOS stamp holds the years 1980 to 2107; the plug-in stores the nearest
// stamp for a time outside them, which the user should hear of.
std::string DateWarning(const fs::path& full) {
  std::time_t seconds = 0;
  if (!GetModifiedTime(full, &seconds)) return {};
  const std::tm local = LocalReading(seconds);
  const int year = local.tm_year + 1900;
  if (year >= 1980 && year <= 2107) return {};
  char when[32];
  std::strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", &local);
  return PathText(full) + ": its date " + when +
         " is outside the years 1980 to 2107 that the archive can hold; stored as " +
         (year < 1980 ? "1980-01-01 00:00:00" : "2107-12-31 23:59:58");
}

struct Walker {
  const ScanOptions& options;
  ScanResult& result;
  fs::path excludeAbsolute;
  std::set<std::string> seen;
  EntryFilter excluded{{}, options.excludes};

  bool IsExcluded(const fs::path& path) const {
    if (excludeAbsolute.empty()) return false;
    if (path == excludeAbsolute) return true;
    std::error_code ec;
    return fs::equivalent(path, excludeAbsolute, ec);
  }

  void Add(const fs::path& full, const std::string& name, bool isDirectory, uint64_t size) {
    std::string stored = options.keepPaths ? name : PathText(full);
    if (!seen.insert(stored).second) return;
    std::string reason =
        UnstorableReason(options.keepPaths ? name : PathText(full.filename()), isDirectory,
                         options.prefix.size(), options.keepPaths ? result.base.size() : 0);
    if (reason.empty() && !options.keepPaths && stored.size() > 259)
      reason = "its path is too long";
    if (!reason.empty()) {
      result.warnings.push_back("left out " + PathText(full) + ": " + reason);
      return;
    }
    result.items.push_back({stored, isDirectory, size});
    if (!isDirectory) result.totalBytes += size;
    if (std::string warning = DateWarning(full); !warning.empty())
      result.warnings.push_back(warning);
  }

  // `name` is the path below the base, empty for the base folder itself.
  void Visit(const fs::path& full, const std::string& name, bool topLevel) {
    if (IsExcluded(full)) return;
    std::error_code ec;
    fs::file_status link = fs::symlink_status(full, ec);
    if (ec || !fs::exists(link)) {
      result.warnings.push_back("left out " + PathText(full) + ": no such file or directory");
      return;
    }
    fs::file_status target = fs::is_symlink(link) ? fs::status(full, ec) : link;
    if (!name.empty() && !excluded.Selects(fs::is_directory(target) ? name + "/" : name)) return;
    if (fs::is_symlink(link)) {
      if (ec || !fs::exists(target)) {
        result.warnings.push_back("left out " + PathText(full) + ": broken symbolic link");
        return;
      }
      if (fs::is_directory(target)) {
        result.warnings.push_back("left out " + PathText(full) +
                                  ": symbolic links to directories are not followed");
        return;
      }
    }
    if (fs::is_regular_file(target)) {
      // A file the plug-in cannot open would end the whole operation; leave
      // it out here with a warning instead.
      if (!CanReadFile(full)) {
        result.warnings.push_back("left out " + PathText(full) + ": it cannot be read");
        return;
      }
      uint64_t size = fs::file_size(full, ec);
      Add(full, name, false, ec ? 0 : size);
      return;
    }
    if (!fs::is_directory(target)) {
      result.warnings.push_back("left out " + PathText(full) + ": not a regular file");
      return;
    }
    if (!name.empty() && options.keepPaths) Add(full, name, true, 0);
    if (!topLevel && !options.recurse) return;

    std::vector<fs::path> children;
    fs::directory_iterator it(full, ec);
    if (ec) {
      result.warnings.push_back("left out what " + PathText(full) + " holds: " + ec.message());
      return;
    }
    for (; it != fs::directory_iterator(); it.increment(ec)) {
      if (ec) break;
      children.push_back(it->path());
    }
    std::sort(children.begin(), children.end());
    for (const fs::path& child : children) {
      if (!options.recurse && fs::is_directory(fs::symlink_status(child, ec))) continue;
      std::string childName =
          name.empty() ? PathText(child.filename()) : name + "/" + PathText(child.filename());
      Visit(child, childName, false);
    }
  }
};

}  // namespace

std::string UnstorableReason(const std::string& name, bool isDirectory, size_t prefixLength,
                             size_t baseLength) {
  (void)isDirectory;
  if (name.find('\\') != std::string::npos)
    return "its name holds a backslash, which the archive takes for a folder separator";
  if (!name.empty() && name.back() == '.') return "a name ending in \".\" cannot be stored";
  if (name.rfind("..", 0) == 0) return "a name beginning with \"..\" cannot be stored";
  if (name.size() >= 2 && name[1] == ':')
    return "a name with \":\" as its second character cannot be stored";
  size_t stored = name.size() + (prefixLength ? prefixLength + 1 : 0);
  if (stored > 255) return "its name is longer than 255 characters";
  if (baseLength + name.size() > 259) return "its path is longer than 259 characters";
  return {};
}

ScanResult ScanPaths(const std::vector<std::string>& paths, const ScanOptions& options) {
  ScanResult result;
  struct Root {
    fs::path full;      // absolute, without a trailing separator
    bool contentsOnly;  // "dir/." adds what dir holds, not dir itself
  };
  std::vector<Root> roots;
  fs::path base;
  bool first = true;
  for (const std::string& text : paths) {
    fs::path given(text);
    while (given.has_relative_path() && given.filename().empty()) given = given.parent_path();
    bool contentsOnly = IsDotName(given.filename());
    fs::path full = fs::absolute(given).lexically_normal();
    if (full.has_relative_path() && full.filename().empty()) full = full.parent_path();
    if (!full.has_relative_path()) contentsOnly = true;  // the root folder
    fs::path parent = contentsOnly ? full : full.parent_path();
    // A missing path is only reported; it must not move the others' names.
    std::error_code ec;
    if (fs::exists(fs::symlink_status(full, ec))) {
      base = first ? parent : CommonPrefix(base, parent);
      first = false;
    }
    roots.push_back({full, contentsOnly});
  }
  if (options.keepPaths) {
    result.base = PathText(base);
    if (result.base.empty() || result.base.back() != '/') result.base += '/';
  }

  Walker walker{options, result, {}, {}};
  if (!options.exclude.empty()) {
    walker.excludeAbsolute = fs::absolute(options.exclude).lexically_normal();
  }
  for (const Root& root : roots) {
    std::string name = PathText(root.full.lexically_relative(base), true);
    if (name == ".") name.clear();
    walker.Visit(root.full, name, true);
  }
  return result;
}

}  // namespace acearc
