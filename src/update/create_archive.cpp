#include "update/create_archive.h"

#include "compress/compressor.h"
#include "format/header_format.h"
#include "format/header_writer.h"
#include "fs/ext_order.h"
#include "fs/file_layer.h"
#include "fs/path_ops.h"
#include "fs/work_list.h"
#include "plugin/callbacks.h"
#include "plugin/state.h"
#include "update/entry_writer.h"
#include "update/listed_names.h"
#include "update/run_writer.h"

namespace ace {
namespace {

// Ends a failed creation: nothing of the new archive may stay on disk.
void Abandon(bool compressorReady, FileWorkList* work) {
  PluginState& s = State();
  if (compressorReady) DoneCompressor();
  if (work != nullptr) FreeFileWorkList(work);
  if (s.TargetHandle != kNoFile) FileClose(s.TargetHandle);
  s.TargetHandle = kNoFile;
  FileDelete(s.ArchivePath);
}

// The main header, checked: a failed or short write ends the creation.
bool WriteArchiveStart(bool solid) {
  PluginState& s = State();
  WriteMainHeader(solid ? kFlagSolid : 0, s.TargetHandle);
  return FileTell(s.TargetHandle) == static_cast<int32_t>(kMainHeaderWrittenSize);
}

void CreatePlain(const FileMaskList* files) {
  if (!InitCompressor()) {
    Abandon(false, nullptr);
    SetStatus(AR_NO_MEMORY);
    return;
  }
  if (!AddListedFiles(files, nullptr)) {
    Abandon(true, nullptr);
    return;
  }
  DoneCompressor();
}

void CreateSolid(const FileMaskList* files) {
  FileWorkList work{};
  for (const FileMaskNode* node = files->First; node != nullptr; node = node->Next) {
    FileWorkEntry entry{};
    if (!FormListedNames(node, entry.DiskPath, entry.ArchiveName, sizeof entry.DiskPath)) {
      SetStatus(AR_IO_ERROR);
      Abandon(false, &work);
      return;
    }
    if (!AddFileWorkEntry(entry, &work)) {
      Abandon(false, &work);
      return;
    }
  }
  if (!InitCompressor()) {
    Abandon(false, &work);
    SetStatus(AR_NO_MEMORY);
    return;
  }
  OrderByExtension(&work);
  if (!AddSolidRun(work, false)) {
    Abandon(true, &work);
    return;
  }
  DoneCompressor();
  FreeFileWorkList(&work);
}

}  // namespace

void CreateArchive(const FileMaskList* files, bool solid) {
  PluginState& s = State();
  if (files == nullptr || files->First == nullptr) {
    SetStatus(AR_NOTHING_TO_ADD);
    return;
  }
  s.TargetHandle = FileOpen(s.ArchivePath, "wb");
  if (s.TargetHandle == kNoFile) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  s.IsSolid = solid ? 1 : 0;
  if (!WriteArchiveStart(solid)) {
    SetStatus(AR_IO_ERROR);
    Abandon(false, nullptr);
    return;
  }
  if (solid) {
    CreateSolid(files);
  } else {
    CreatePlain(files);
  }
  if (s.Status != 0) return;
  const int closed = FileClose(s.TargetHandle);
  s.TargetHandle = kNoFile;
  if (!closed) {
    SetStatus(AR_IO_ERROR);
    FileDelete(s.ArchivePath);
  }
}

}  // namespace ace
