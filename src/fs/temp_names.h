// Fresh names for temporary archives and working directories.
#pragma once

#include <cstddef>

namespace ace {

// Numbers are drawn from a generator seeded with the clock in seconds at
// every draw; a name that is taken is retried in the next second.

// A fresh directory name (no directory of that name exists) in the system's
// temporary directory, into `buffer` of `size` bytes; 1, or 0 when the
// temporary directory or the name does not fit.
[[nodiscard]] int MakeTempDirName(char* buffer, size_t size);
// A fresh "<number>.$TM" name, not held by any file, in the drive and
// directory of `path`, into `target` (kPathBuffer bytes); always 1.
int MakeTempNameBeside(const char* path, char* target);

}  // namespace ace
