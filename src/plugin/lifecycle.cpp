// Opening, creating and closing an archive, and the status word.
#include <cstdlib>

#include "compress/compressor.h"
#include "format/archive_open.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {
namespace {

// The load-time stand-in for the attach notification of a library's entry
// point: it records the module that holds the plug-in's code.
__attribute__((constructor)) void RecordPluginModule() {
  PluginState& s = State();
  s.PluginModule = ModuleOfAddress(&s);
}

}  // namespace
}  // namespace ace

using namespace ace;

extern "C" {

ACEPLUG_API void ACEPLUG_CALL InitArcFile(const char* path) {
  CreateExeArc();
  if (path == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  SetStatus(AR_OK);
  // Opening another archive without DoneArcFile must not leak the last one's comment.
  ReleaseCommentBuffers();
  OpenReset();
  OpenExistingArchive(path);
}

ACEPLUG_API void ACEPLUG_CALL CreateArcFile(const char* path) {
  if (path == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  SetStatus(AR_OK);
  InitArcFile(path);
  PluginState& s = State();
  // InitArcFile marks every path that is not an existing file as new. A path
  // longer than the field is refused: cut, it would name another file.
  if (s.IsNewArchive == 0 || !CopyText(s.ArchivePath, sizeof s.ArchivePath, path)) {
    ReleaseCommentBuffers();
    FullReset();
    SetStatus(AR_IO_ERROR);
    return;
  }
  SetStatus(AR_OK);
  s.IsNewArchive = 1;
}

ACEPLUG_API void ACEPLUG_CALL DoneArcFile(void) {
  SetStatus(AR_OK);
  ReleaseCommentBuffers();
  FullReset();
  ClearCompressorResults();
}

ACEPLUG_API uint16_t ACEPLUG_CALL GetArchiveStatus(void) {
  return static_cast<uint16_t>(Status() & 0xFFFFu);
}

ACEPLUG_API void ACEPLUG_CALL SetArchiveStatus(uint16_t code) { SetStatus(code); }

}  // extern "C"
