// Directory scanning: every file of a tree that matches a pattern, as a
// mask list, and the bytes they hold.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

// Directory buffers of the scan and of RemoveTree.
inline constexpr size_t kScanBuffer = 4096;

// Bytes of every file collected since the last CollectFiles.
uint64_t ScanTotal();

// Clears the scan total and collects every file under `directory` (any depth,
// hidden files too) whose name matches `pattern` into `list`, files of a
// directory before its subdirectories, names in the platform's order.
// Returns ScanDirectory's result; the status word tells why a scan stopped.
int CollectFiles(const char* directory, const char* pattern, FileMaskList* list);
// `directory` ends in "\" and sits in a buffer of `size` bytes; it is extended
// for subdirectories and restored. 1 when the whole tree was scanned; 0 when
// an append failed (status 8), or when a directory could not be read or a
// path would not fit (status 5 unless one was already set). A directory that
// does not exist is scanned as empty. Links to directories are not followed.
int ScanDirectory(char* directory, size_t size, const char* pattern, FileMaskList* list);

}  // namespace ace
