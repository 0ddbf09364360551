// Find-data records handed to the host's replace question.
#pragma once

#include "aceplug/aceplug.h"

namespace ace {

// Describes an archive entry: its attributes, its DOS stamp (local time) as
// all three times in UTC, the low half of its unpacked size and its name.
void EntryFindData(const ArcFileEntry& entry, AceFindData* record);
// Describes a file on disk as the directory scan finds it, with the short
// name zeroed. Returns false (and a zeroed record) when it cannot be found.
[[nodiscard]] bool DiskFindData(const char* path, AceFindData* record);

}  // namespace ace
