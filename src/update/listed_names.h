// The two names of a file the host lists for adding: where it lies on disk and
// the relative name it is stored under.
#pragma once

#include <cstddef>

#include "aceplug/aceplug.h"

namespace ace {

// disk path = InputPath (when set and KeepPaths is 1) + directory + base name
// + "." + extension (when there is one); archive name = the same without
// InputPath. Both buffers hold `size` bytes. Returns false when either name
// does not fit: such a file is refused rather than stored under a cut name.
[[nodiscard]] bool FormListedNames(const FileMaskNode* node, char* diskPath, char* archiveName,
                                   size_t size);

}  // namespace ace
