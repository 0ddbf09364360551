// DeleteFileMaskListArc: removes the selected entries by writing the archive
// anew beside the old one. Plain archives copy the kept entries raw; solid
// ones are unpacked and compressed again without the deleted files.
#include "compress/compressor.h"
#include "format/archive_walk.h"
#include "fs/ext_order.h"
#include "fs/file_layer.h"
#include "fs/masks.h"
#include "fs/name_lookup.h"
#include "fs/path_ops.h"
#include "fs/temp_names.h"
#include "fs/work_list.h"
#include "plugin/callbacks.h"
#include "plugin/state.h"
#include "update/entry_writer.h"
#include "update/raw_copy.h"
#include "update/solid_rebuild.h"
#include "update/work_dir.h"

namespace ace {
namespace {

// The names of the entries the host's masks select, as a plain name list.
bool BuildDeleteList(const FileMaskList* masks, FileMaskList* deleteList) {
  ArcFileList selected;
  InitArcFileList(&selected);
  WalkArchive(&selected, masks);
  if (Status() == 0) MasksFromArcFileList(&selected, deleteList);
  DoneArcFileList(&selected);
  return Status() == 0;
}

// Progress for an entry or file left out; false when the host stops.
bool ReportLeftOut() {
  if (CallProgress(100, 100) != 0) return true;
  SetStatus(AR_ABORTED);
  return false;
}

void DeletePlain(const FileMaskList* masks) {
  PluginState& s = State();
  SetStatus(AR_OK);
  FileMaskList all, deleteList;
  InitMaskList(&all);
  InitMaskList(&deleteList);
  ArcFileList entries;
  InitArcFileList(&entries);
  char temp[kPathField] = {};
  auto finish = [&](bool keepTemp) {
    DoneMaskList(&all);
    DoneMaskList(&deleteList);
    DoneArcFileList(&entries);
    if (s.ArchiveHandle != kNoFile) FileClose(s.ArchiveHandle);
    s.ArchiveHandle = kNoFile;
    if (!keepTemp && temp[0] != '\0') DiscardTempArchive(temp);
  };
  if (!AppendMask("*.*", &all)) return finish(false);
  if (!OpenTempArchive(temp)) {
    temp[0] = '\0';
    return finish(false);
  }
  WalkArchive(&entries, &all);
  if (s.Status != 0 || !BuildDeleteList(masks, &deleteList)) return finish(false);
  if (!OpenArchiveCopyingLeadingPart()) return finish(false);
  char path[kPathBuffer];
  for (const ArcFileEntry* e = entries.First; e != nullptr && s.Status == 0; e = e->Next) {
    if (e->HeaderType == 1 && IsNameInList(e->Name, &deleteList, path)) {
      char shown[kPathField + 1] = "\\";
      AppendText(shown, sizeof shown, e->Name);
      CallFileName(shown, shown);
      if (!ReportLeftOut()) return finish(false);
      continue;
    }
    const int64_t pos = e->HeaderPos.Low | (int64_t{e->HeaderPos.High} << 32);
    const int64_t packed = e->PackedSize.Low | (int64_t{e->PackedSize.High} << 32);
    CopyRawRange(pos, int64_t{e->HeaderSize} + packed + 4);
  }
  if (s.Status != 0) return finish(false);
  finish(true);
  CloseAndPutInPlace(temp);
}

void DeleteSolid(const FileMaskList* masks) {
  PluginState& s = State();
  SetStatus(AR_OK);
  WorkDir work;
  if (!work.Create()) return;
  FileMaskList deleteList;
  InitMaskList(&deleteList);
  FileWorkList found{}, keep{};
  auto release = [&] {
    DoneMaskList(&deleteList);
    FreeFileWorkList(&found);
    FreeFileWorkList(&keep);
  };
  if (!BuildDeleteList(masks, &deleteList)) return release();
  // RelativePath only takes part in choosing what is deleted.
  RelativePathAside relative;
  relative.Clear();
  if (!work.Unpack()) return release();
  s.Comp.KeepPaths = 1;
  if (!work.Collect(&found)) return release();
  relative.Put();
  char path[kPathBuffer];
  for (const FileWorkEntry* f = found.First; f != nullptr; f = f->Next) {
    if (IsNameInList(f->ArchiveName, &deleteList, path)) {
      if (!ReportLeftOut()) return release();
    } else if (!AddFileWorkEntry(*f, &keep)) {
      return release();
    }
  }
  DoneMaskList(&deleteList);
  FreeFileWorkList(&found);
  OrderByExtension(&keep);

  char temp[kPathField];
  if (!PackRebuiltArchive(keep, temp)) return release();
  release();
  work.Remove();
  CloseAndPutInPlace(temp);
}

}  // namespace
}  // namespace ace

using namespace ace;

extern "C" ACEPLUG_API void ACEPLUG_CALL DeleteFileMaskListArc(const FileMaskList* masks) {
  PluginState& s = State();
  // No list is not an empty one: the walk would take it as "every entry".
  if (masks == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  if (s.IsLocked) {
    SetStatus(AR_LOCKED);
    return;
  }
  SetStatus(AR_OK);
  if (!s.IsSolid) {
    DeletePlain(masks);
    return;
  }
  // The archive is compressed again by this plug-in, which writes only the
  // format of extraction version 10.
  if (s.ExtractVersion != 10) {
    SetStatus(AR_UNSUPPORTED);
    return;
  }
  if (s.SolidDictionaryKB < 64 || s.SolidDictionaryKB > 1024) s.SolidDictionaryKB = 64;
  s.Comp.DictionaryKB = s.SolidDictionaryKB;
  DeleteSolid(masks);
}
