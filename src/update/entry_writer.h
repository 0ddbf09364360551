// Writing one listed file into the archive being written (TargetHandle): the
// per-file writer shared by creation, the plain update, the solid rebuild and
// the solid delete.
#pragma once

#include <cstdint>

#include "fs/work_list.h"

namespace ace {

// Where a solid run stands: whether the next compressed file starts with an
// empty history, and the header flag bits it carries (0 or 0x8000).
struct SolidRun {
  bool fresh = true;
  uint16_t flagBits = 0;
};

// Outcome of the solid writer.
enum SolidResult : int {
  kSolidFailed = 0,    // status set
  kSolidFresh = 1,     // the next file starts fresh
  kSolidContinue = 2,  // the next file continues the history
};

// What the writers need to know of a file that is not a directory.
struct FileFacts {
  uint32_t attributes = 0;
  uint32_t stamp = 0;  // last-write time, local, DOS
  uint32_t size = 0;
};

// 0 failure (status set), 1 done or skipped.
[[nodiscard]] int AddFileToArchive(const char* diskPath, const char* archiveName);
[[nodiscard]] int AddFileToSolidArchive(const char* diskPath, const char* archiveName,
                                        uint16_t flagBits, bool fresh);

// The writers' parts for files read and coded ahead, each at the target's
// position; false on failure (status set). `runFlags` are the solid run's
// flag bits (0 outside a solid run).
bool WriteEmptyEntry(const char* archiveName, const FileFacts& facts, uint16_t runFlags);
// The final header and the packed data, or the file's own bytes when
// `stored`; `crc` is that of the file's bytes.
bool WriteFinishedEntry(const char* archiveName, const FileFacts& facts, uint16_t runFlags,
                        const uint8_t* bytes, uint32_t length, uint32_t crc, bool stored);
// A directory found on disk: 0 failure (status set), else the run's result
// as the solid writer gives it (1 outside a solid run).
int WriteDirectoryEntryFromDisk(const char* diskPath, const char* archiveName, uint32_t attributes,
                                bool solid, bool fresh);

// Applies a solid writer's result to the run; false when it failed.
[[nodiscard]] bool AdvanceSolidRun(SolidRun& run, int result);

// Tells the host's file-name procedure which file comes next: its disk path
// and its stored name with a leading "\".
void AnnounceFile(const char* diskPath, const char* archiveName);

// Writes every entry of `list` as one solid run, announcing each. With
// `showTempNames` (files unpacked into a working directory) the host is shown
// TempPath + the file's name instead of its path in the working directory.
// False when a file failed (status set).
bool AddSolidRun(const FileWorkList& list, bool showTempNames);

}  // namespace ace
