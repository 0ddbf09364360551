// Recognising an archive when the host opens it: finds the main header and the
// first file header and records their facts in the plug-in state.
#pragma once

#include <cstdint>

#include "fs/file_layer.h"

namespace ace {

// The part of InitArcFile that follows the open reset. Leaves the status:
// 2 when `path` is not an existing file (IsNewArchive := 1), 5 when it cannot
// be opened (or its name does not fit ArchivePath), 6 when it is 2 GiB or
// larger or its size cannot be read, 5 when a search cannot read it, 9976 when
// no main header is found, else 0 with ArchivePath set. When no file header is found the walks
// start right after the main header, so an archive of only a main header lists as empty.
void OpenExistingArchive(const char* path);

// Searches the first 61,440 bytes of `file` for the main header and records
// its facts (positions, lock and solid flags, version and host, the main
// comment). Status 6 or 5 when the size or the bytes cannot be read.
[[nodiscard]] bool FindMainHeader(FileHandle file, int32_t* position, int32_t* length);

// Searches up to 61,440 bytes after the main header for the first file header;
// on success sets FirstHeaderPos and, for a solid archive, SolidDictionaryKB.
[[nodiscard]] bool FindFirstHeader(FileHandle file, int32_t* position);

}  // namespace ace
