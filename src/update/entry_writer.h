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

// 0 failure (status set), 1 done or skipped.
[[nodiscard]] int AddFileToArchive(const char* diskPath, const char* archiveName);
[[nodiscard]] int AddFileToSolidArchive(const char* diskPath, const char* archiveName,
                                        uint16_t flagBits, bool fresh);

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
