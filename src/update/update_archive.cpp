#include "update/update_archive.h"

#include "plugin/state.h"

namespace ace {

// Adding to an existing archive is not built yet: a clear refusal.
void UpdateArchive(FileMaskList*) { SetStatus(AR_NOT_SUPPORTED); }
void RebuildSolidArchive(FileMaskList*) { SetStatus(AR_NOT_SUPPORTED); }

}  // namespace ace
