#include "format/archive_open.h"

#include <filesystem>

#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

// Existence check only; recognising the archive's headers comes with the reader.
void OpenExistingArchive(const char* path) {
  PluginState& s = State();
  std::error_code ec;
  if (path == nullptr || !std::filesystem::is_regular_file(path, ec)) {
    s.Status = AR_FILE_NOT_FOUND;
    s.IsNewArchive = 1;
    return;
  }
  CopyText(s.ArchivePath, sizeof s.ArchivePath, path);
}

}  // namespace ace
