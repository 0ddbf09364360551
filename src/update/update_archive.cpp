#include "update/update_archive.h"

#include <cstring>

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
#include "plugin/find_data.h"
#include "plugin/state.h"
#include "update/entry_writer.h"
#include "update/listed_names.h"
#include "update/raw_copy.h"
#include "update/run_writer.h"
#include "update/solid_rebuild.h"
#include "update/work_dir.h"

namespace ace {
namespace {

// The disk path of the listed file that an entry name corresponds to: the
// name without RelativePath and its backslash, behind InputPath when that is
// set and paths are kept.
void DiskPathForEntryName(const char* name, char* diskPath) {
  const PluginState& s = State();
  const size_t prefix = std::strlen(s.RelativePath);
  if (prefix != 0 && std::strlen(name) > prefix) name += prefix + 1;
  diskPath[0] = '\0';
  if (s.InputPath[0] != '\0' && s.Comp.KeepPaths == 1) CopyText(diskPath, kPathBuffer, s.InputPath);
  AppendText(diskPath, kPathBuffer, name);
}

// The replace question; `existing` describes what the archive holds now.
// 0 replace, 1 keep the old one, 2 stop; other answers pass on as they are.
int32_t AskReplace(const AceFindData& existing, const char* diskPath) {
  AceFindData replacement;
  if (!DiskFindData(diskPath, &replacement)) return 0;
  // Nothing is asked without a procedure, and then the file on disk is left
  // as the user has it: it is only read.
  if (!HasOkToReplaceProc()) return 0;
  const int32_t answer = CallOkToReplace(&existing, &replacement);
  if (answer == 0) MakeFileWritable(diskPath);
  return answer;
}

}  // namespace

void UpdateArchive(FileMaskList* files) {
  PluginState& s = State();
  SetStatus(AR_OK);
  FileMaskList keep;
  InitMaskList(&keep);
  char temp[kPathField];
  ArcFileList entries;
  if (!OpenTempArchiveListing(temp, &entries)) return;
  auto fail = [&] {
    DoneArcFileList(&entries);
    DoneMaskList(&keep);
    if (s.ArchiveHandle != kNoFile) FileClose(s.ArchiveHandle);
    s.ArchiveHandle = kNoFile;
    DiscardTempArchive(temp);
  };
  if (!OpenArchiveCopyingLeadingPart()) return fail();

  char candidate[kPathBuffer * 2];
  char diskPath[kPathBuffer * 2];
  for (const ArcFileEntry* e = entries.First; e != nullptr && s.Status == 0; e = e->Next) {
    const int64_t pos = e->HeaderPos.Low | (int64_t{e->HeaderPos.High} << 32);
    const int64_t length =
        int64_t{e->HeaderSize} + (e->PackedSize.Low | (int64_t{e->PackedSize.High} << 32)) + 4;
    if (e->HeaderType != 1 || !FindListedFile(e->Name, files, candidate, diskPath)) {
      CopyRawRange(pos, length);
      continue;
    }
    char entryDisk[kPathBuffer];
    DiskPathForEntryName(e->Name, entryDisk);
    AceFindData existing;
    EntryFindData(*e, &existing);
    const int32_t answer = AskReplace(existing, entryDisk);
    if (answer == 1) {
      if (CopyRawRange(pos, length) && !AppendMask(e->Name, &keep)) break;
    } else if (answer == 2) {
      SetStatus(AR_ABORTED);
      return fail();
    }
    // Any other answer: the listed file takes the entry's place.
  }
  FileClose(s.ArchiveHandle);
  s.ArchiveHandle = kNoFile;
  if (s.Status != 0) return fail();

  if (!InitCompressor()) {
    fail();
    SetStatus(AR_NO_MEMORY);
    return;
  }
  AddListedFiles(files, &keep);  // a failure leaves its status, checked below
  DoneCompressor();
  if (s.Status != 0) return fail();
  DoneArcFileList(&entries);
  DoneMaskList(&keep);
  CloseAndPutInPlace(temp);
}

void RebuildSolidArchive(FileMaskList* files) {
  PluginState& s = State();
  SetStatus(AR_OK);
  WorkDir work;
  if (!work.Create()) return;  // 8902
  RelativePathAside relative;
  relative.Clear();
  if (!work.Unpack()) return;
  s.Comp.KeepPaths = 1;
  FileWorkList unpacked{};
  if (!work.Collect(&unpacked)) {
    FreeFileWorkList(&unpacked);
    return;
  }
  relative.Put();

  FileMaskList keep;
  InitMaskList(&keep);
  FileWorkList merged{};
  auto release = [&] {
    DoneMaskList(&keep);
    FreeFileWorkList(&unpacked);
    FreeFileWorkList(&merged);
  };
  char candidate[kPathBuffer * 2];
  char diskPath[kPathBuffer * 2];
  for (const FileWorkEntry* u = unpacked.First; u != nullptr; u = u->Next) {
    if (!FindListedFile(u->ArchiveName, files, candidate, diskPath)) {
      if (!AddFileWorkEntry(*u, &merged)) return release();
      continue;
    }
    char listedDisk[kPathBuffer];
    DiskPathForEntryName(u->ArchiveName, listedDisk);
    AceFindData existing;
    int32_t answer = 0;
    if (DiskFindData(u->DiskPath, &existing)) answer = AskReplace(existing, listedDisk);
    if (answer == 2) {
      SetStatus(AR_ABORTED);
      return release();
    }
    if (answer == 0 || answer == 1) {
      if (!AppendMask(u->ArchiveName, &keep)) return release();
      FileWorkEntry entry = *u;
      if (answer == 0 && !CopyText(entry.DiskPath, sizeof entry.DiskPath, listedDisk)) {
        SetStatus(AR_IO_ERROR);
        return release();
      }
      if (!AddFileWorkEntry(entry, &merged)) return release();
    }
    // Other answers: the old file is dropped; the listed file comes from the
    // host's list below.
  }
  char archiveName[kPathBuffer];
  char path[kPathBuffer];
  for (const FileMaskNode* node = files ? files->First : nullptr; node; node = node->Next) {
    FileWorkEntry entry{};
    if (!FormListedNames(node, entry.DiskPath, archiveName, sizeof entry.DiskPath)) {
      SetStatus(AR_IO_ERROR);
      return release();
    }
    if (IsNameInList(archiveName, &keep, path)) continue;
    entry.ArchiveName[0] = '\0';
    bool fits = true;
    if (s.RelativePath[0] != '\0') {
      fits = CopyText(entry.ArchiveName, sizeof entry.ArchiveName, s.RelativePath) &&
             AppendText(entry.ArchiveName, sizeof entry.ArchiveName, "\\");
    }
    fits = AppendText(entry.ArchiveName, sizeof entry.ArchiveName, archiveName) && fits;
    if (!fits) {
      SetStatus(AR_IO_ERROR);
      return release();
    }
    if (!AddFileWorkEntry(entry, &merged)) return release();
  }
  DoneMaskList(&keep);
  if (files) DoneMaskList(files);
  FreeFileWorkList(&unpacked);
  OrderByExtension(&merged);

  char temp[kPathField];
  if (!PackRebuiltArchive(merged, temp)) return release();
  release();
  work.Remove();
  CloseAndPutInPlace(temp);
}

}  // namespace ace
