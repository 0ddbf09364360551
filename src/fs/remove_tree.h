// Removing a working directory with everything in it.
#pragma once

namespace ace {

// Empties and removes `directory`, removing files that match `pattern` and
// every subdirectory. Refuses (0, touching nothing) a text of fewer than 4
// characters and anything that resolves to the file-system root. Links are
// removed, never followed. 1 when everything was removed.
int RemoveTree(const char* directory, const char* pattern);

}  // namespace ace
