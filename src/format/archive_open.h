// Recognising an archive when the host opens it: finds the main header and the
// first file header and records their facts in the plug-in state.
#pragma once

namespace ace {

// The part of InitArcFile that follows the open reset. Leaves the status:
// 2 when `path` is not an existing file (IsNewArchive := 1), 5 when it cannot
// be opened, 9976 when no main header is found, else 0 with ArchivePath set.
void OpenExistingArchive(const char* path);

}  // namespace ace
