// Directory entries across a change. A solid archive is rebuilt from the
// files it holds when it changes, and its directory entries do not come
// through; the host notes them before and afterwards puts back those that the
// user did not delete and that nothing left in the archive stands in, so that
// nobody loses an empty folder by adding or deleting a file.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "entry_check.h"
#include "host_context.h"

namespace acearc {

// The stored names of the directory entries among `records`, without their
// trailing "\".
std::vector<std::string> DirectoryNames(const std::vector<EntryRecord>& records);

// The same for the archive, listed on its own; empty when it cannot be listed.
std::vector<std::string> ListDirectoryNames(const std::string& archive);

// Adds a directory entry for every name of `before` that is not in `deleted`
// (names as DirectoryNames gives them), that the archive no longer holds, and
// that has no entry below it; the deepest first, so that a put-back folder
// stands in for its parents. A failure is a warning.
void PutBackEmptyFolders(HostContext& context, const std::string& archive,
                         const std::vector<std::string>& before,
                         const std::set<std::string>& deleted);

}  // namespace acearc
