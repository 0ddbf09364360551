// Creating a new archive from the host's list of files, plain or solid.
#pragma once

#include "aceplug/aceplug.h"

namespace ace {

// Writes a fresh archive at ArchivePath. Every failure leaves a status and
// deletes the partly written file.
void CreateArchive(const FileMaskList* files, bool solid);

}  // namespace ace
