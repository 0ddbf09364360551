// Adding to an existing archive through a temporary copy beside it.
#pragma once

#include "aceplug/aceplug.h"

namespace ace {

// Plain archive: kept entries copied raw, listed files compressed behind.
void UpdateArchive(FileMaskList* files);
// Solid archive: unpacked, merged with the listed files, compressed again as
// one solid run.
void RebuildSolidArchive(FileMaskList* files);

}  // namespace ace
