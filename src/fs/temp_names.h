// Fresh names for temporary archives and working directories.
#pragma once

#include <cstddef>

namespace ace {

// A fresh directory name in the system's temporary directory; 1 or 0.
int MakeTempDirName(char* buffer, size_t size);
// A fresh "<number>.$TM" name in the directory of `path`; always 1.
int MakeTempNameBeside(const char* path, char* target);

}  // namespace ace
