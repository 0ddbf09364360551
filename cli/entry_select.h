// The entries a command works on, chosen the way Unix archivers (zip, tar)
// choose them, and the plug-in masks that select exactly those entries.
//
// A mask is matched against the whole name as the listing shows it ("/"
// between folders, a folder's own entry ending in "/"), ignoring case: "*"
// stands for any run of characters, "/" and "." included, "?" for one. A mask
// that matches a folder also selects everything below it ("docs" and "docs/*"
// both select all of docs). The plug-in's own masks match the base name and
// the extension apart ("*" misses "a.txt"), so acearc never hands it what the
// user typed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "entry_check.h"
#include "host_context.h"
#include "plugin_session.h"

namespace acearc {

// `text` matches `pattern` as a whole ("*" and "?" as above, any case).
bool GlobMatches(std::string_view pattern, std::string_view text);

// `mask` selects `name`: it matches the name or one of the folders above it.
bool MaskSelects(const std::string& mask, const std::string& name);

class EntryFilter {
 public:
  // No masks select every name; an exclude mask takes precedence. A leading
  // "./" or "/" and a trailing "/" of a mask are dropped.
  EntryFilter(const std::vector<std::string>& masks, const std::vector<std::string>& excludes);

  bool Selects(const std::string& name);

  // The masks that have selected nothing so far, as given.
  std::vector<std::string> Unused() const;

 private:
  std::vector<std::string> given_;
  std::vector<std::string> masks_;
  std::vector<std::string> excludes_;
  std::vector<bool> used_;
};

// The entries of `all` (every entry of the archive) that the masks select and
// the excludes leave, copied to `entries`; a warning for each mask that
// selects nothing. The choice per entry of `all`.
std::vector<bool> ChooseEntries(HostContext& context, const std::string& archive,
                                const std::vector<EntryRecord>& all,
                                const std::vector<std::string>& masks,
                                const std::vector<std::string>& excludes,
                                std::vector<EntryRecord>* entries);

// Plug-in masks that select exactly the chosen entries of `entries` (every
// entry of the archive, in order): "*.*" when all are chosen, "DIR\*.*" for a
// folder whose entries are all chosen, a stored name for each other one.
std::vector<std::string> PluginMasksFor(const std::vector<EntryRecord>& entries,
                                        const std::vector<bool>& chosen);

// Fills `masks` with PluginMasksFor and lists the open archive through them to
// make sure that the plug-in selects those entries and no other (a stored name
// holding "*" or "?" is a mask of its own to it). "" when it does, else why not.
std::string SelectInPlugin(const std::vector<EntryRecord>& entries, const std::vector<bool>& chosen,
                           MaskList& masks);

}  // namespace acearc
