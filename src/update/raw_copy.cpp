#include "update/raw_copy.h"

#include "compress/compressor.h"
#include "format/archive_walk.h"
#include "fs/file_layer.h"
#include "fs/temp_names.h"
#include "plugin/state.h"

namespace ace {
namespace {

bool CopyPieces(int64_t position, int64_t length, int32_t piece) {
  PluginState& s = State();
  if (position < 0 || position > INT32_MAX ||
      FileSeek(s.ArchiveHandle, static_cast<int32_t>(position), 0) < 0) {
    SetStatus(AR_IO_ERROR);
    return false;
  }
  uint8_t buffer[16000];
  while (length > 0) {
    const int32_t want = static_cast<int32_t>(length < piece ? length : piece);
    const int32_t got = FileRead(buffer, want, s.ArchiveHandle);
    // A stretch that ends early means the old archive changed under us or is
    // damaged: copying less would silently drop data.
    if (got != want) {
      SetStatus(AR_IO_ERROR);
      return false;
    }
    const int32_t written = FileWrite(buffer, got, s.TargetHandle);
    if (written < 0) {
      SetStatus(AR_IO_ERROR);
      return false;
    }
    if (written != got) {
      SetStatus(AR_DISK_FULL);
      return false;
    }
    length -= got;
  }
  return true;
}

}  // namespace

bool CopyRawRange(int64_t position, int64_t length) { return CopyPieces(position, length, 16000); }

bool OpenTempArchive(char* temp) {
  PluginState& s = State();
  MakeTempNameBeside(s.ArchivePath, temp);
  s.TargetHandle = FileOpen(temp, "wb");
  if (s.TargetHandle != kNoFile) return true;
  SetStatus(AR_IO_ERROR);
  return false;
}

bool OpenArchiveCopyingLeadingPart() {
  PluginState& s = State();
  s.ArchiveHandle = FileOpen(s.ArchivePath, "rb");
  if (s.ArchiveHandle != kNoFile) return CopyLeadingPart();
  SetStatus(AR_IO_ERROR);
  return false;
}

bool OpenTempArchiveListing(char* temp, ArcFileList* entries) {
  InitArcFileList(entries);
  if (!OpenTempArchive(temp)) return false;
  WalkArchive(entries, nullptr);  // no mask list: every entry
  if (Status() == 0) return true;
  DoneArcFileList(entries);
  DiscardTempArchive(temp);
  return false;
}

bool StartRebuiltArchive(char* temp) {
  if (!OpenTempArchive(temp)) return false;
  PluginState& s = State();
  const bool copied = OpenArchiveCopyingLeadingPart();
  if (s.ArchiveHandle != kNoFile) FileClose(s.ArchiveHandle);
  s.ArchiveHandle = kNoFile;
  if (copied && InitCompressor()) return true;
  DiscardTempArchive(temp);
  return false;
}

void CloseAndPutInPlace(const char* tempArchive) {
  PluginState& s = State();
  const bool closed = FileClose(s.TargetHandle) != 0;
  s.TargetHandle = kNoFile;
  if (!closed) {
    SetStatus(AR_IO_ERROR);
    FileDelete(tempArchive);
    return;
  }
  PutArchiveInPlace(tempArchive);
}

bool CopyLeadingPart() {
  const PluginState& s = State();
  return CopyPieces(0, int64_t{s.MainHeaderPos} + s.MainHeaderSize, 6000);
}

void DiscardTempArchive(const char* tempArchive) {
  PluginState& s = State();
  if (s.TargetHandle != kNoFile) FileClose(s.TargetHandle);
  s.TargetHandle = kNoFile;
  FileDelete(tempArchive);
}

void PutArchiveInPlace(const char* tempArchive) {
  const PluginState& s = State();
  char backup[kPathField];
  MakeTempNameBeside(s.ArchivePath, backup);
  if (!MoveFileA(s.ArchivePath, backup)) {
    SetStatus(AR_IO_ERROR);
    FileDelete(tempArchive);
    return;
  }
  // Whatever appeared under the name since would stop the rename, and the
  // old archive could then not go back either.
  FileDelete(s.ArchivePath);
  if (!MoveFileA(tempArchive, s.ArchivePath)) {
    SetStatus(AR_IO_ERROR);
    FileDelete(tempArchive);
    MoveFileA(backup, s.ArchivePath);
    return;
  }
  // The new archive is in place; a backup left behind would be a second copy
  // of the old archive beside it, so a failed delete gets one more try.
  if (!FileDelete(backup)) FileDelete(backup);
}

}  // namespace ace
