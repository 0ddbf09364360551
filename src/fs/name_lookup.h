// Look-ups between stored archive names and lists of files on disk.
#pragma once

#include <cstddef>

#include "aceplug/aceplug.h"

namespace ace {

// The stored form of a path: upper case, "/" as "\", without UNC server and
// share, drive, leading "\" or leading "..\"; into `target` of `size` bytes.
void StoredForm(const char* path, char* target, size_t size = 260);
// Which listed file a stored `name` stands for. Writes the candidate
// (RelativePath + "\" + node path) and the disk path (InputPath + node path),
// each into a buffer of 260 bytes (cut to fit; the comparison uses the whole
// texts); 1 on a match, else the outputs hold the last node's values.
[[nodiscard]] int FindListedFile(const char* name, const FileMaskList* masks, char* candidate,
                                 char* diskPath);
// Whether RelativePath + "\" + `name` is in `masks`; writes the node's path
// into `path` (260 bytes, cut to fit); 1 on a match.
[[nodiscard]] int IsNameInList(const char* name, const FileMaskList* masks, char* path);

}  // namespace ace
