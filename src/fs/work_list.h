// The internal work list of files to compress (a disk path and an archive
// name each) and its conversions from and to mask lists.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

// Disk paths get room for a temporary working directory plus a stored name;
// archive names hold what an archive entry's name field holds.
inline constexpr size_t kWorkDiskPath = 512;
inline constexpr size_t kWorkArchiveName = 272;

struct FileWorkEntry {
  char DiskPath[kWorkDiskPath];
  char ArchiveName[kWorkArchiveName];
  FileWorkEntry* Next;
};

struct FileWorkList {
  uint32_t Count;
  FileWorkEntry* First;
  FileWorkEntry* Last;
};

// Each node's path becomes the disk path; the archive name is that path
// without `base` (given without a trailing "\") and the separator after it.
void FileWorkListFromMasks(const FileMaskList* masks, FileWorkList* work, const char* base);
// Appends a copy of `record`. 0 with status 8 without memory, or with status 5
// when a path does not fit its field; the list keeps what it holds.
[[nodiscard]] int AddFileWorkEntry(const FileWorkEntry& record, FileWorkList* work);
void FreeFileWorkList(FileWorkList* work);
// Appends every entry's stored name; stops once the status word is nonzero.
void MasksFromArcFileList(const ArcFileList* entries, FileMaskList* masks);

}  // namespace ace
