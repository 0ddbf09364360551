// CompressFileMaskListArc: creates a new archive, or adds to an existing one.
#include "format/archive_open.h"
#include "plugin/state.h"
#include "update/create_archive.h"
#include "update/update_archive.h"

using namespace ace;

extern "C" ACEPLUG_API void ACEPLUG_CALL CompressFileMaskListArc(FileMaskList* masks) {
  PluginState& s = State();
  // A failure left by CreateArcFile or InitArcFile stands.
  if (s.Status != 0) return;
  if (masks == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  if (s.IsNewArchive) {
    CreateArchive(masks, s.Comp.Solid == 1);
    if (s.Status != 0) return;
    // The archive exists now: record its facts as an open would, so that the
    // host can list it or add to it without opening it again. The creation
    // stands even when reading it back fails; the archive then stays marked
    // new, as a creation leaves it without the read-back.
    OpenExistingArchive(s.ArchivePath);
    if (s.Status == 0) {
      s.IsNewArchive = 0;
    } else {
      SetStatus(AR_OK);
    }
    return;
  }
  if (s.IsLocked) {
    SetStatus(AR_LOCKED);
    return;
  }
  // New entries use a solid archive's own dictionary; an archive that is not
  // solid (SolidDictionaryKB 0) gets 64 KB whatever the host chose.
  if (s.SolidDictionaryKB < 64 || s.SolidDictionaryKB > 1024) s.SolidDictionaryKB = 64;
  s.Comp.DictionaryKB = s.SolidDictionaryKB;
  if (s.IsSolid) {
    RebuildSolidArchive(masks);
  } else {
    UpdateArchive(masks);
  }
}
