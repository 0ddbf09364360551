// CreateDirectoryArc: appends one directory entry to an existing archive,
// through a new copy of the archive beside the old one.
#include <cstring>

#include "compress/compressor.h"
#include "format/archive_walk.h"
#include "format/header_format.h"
#include "format/header_writer.h"
#include "fs/dos_time.h"
#include "fs/file_layer.h"
#include "fs/masks.h"
#include "fs/name_lookup.h"
#include "fs/path_ops.h"
#include "fs/temp_names.h"
#include "plugin/state.h"
#include "update/directory_name.h"
#include "update/raw_copy.h"

namespace ace {

bool IsAcceptableDirectoryName(const char* name) {
  // Nothing but backslashes (or nothing at all) would be stored as an entry
  // without a name, which no extraction can give a place.
  if (name[std::strspn(name, "\\")] == '\0') return false;
  // "\\" separates levels ("sub\\new", "new\\" with its trailing backslash)
  // and is accepted; every other forbidden character is refused after the
  // first position.
  for (const char* p = name + 1; *p != '\0'; ++p) {
    if (std::strchr("?*><:\"/|", *p) != nullptr) return false;
  }
  // The final part without directories and extension must not be a device.
  char trimmed[kPathBuffer];
  StripTrailingBackslash(name, trimmed);
  char base[kPathBuffer];
  SplitPath(trimmed, nullptr, nullptr, base, nullptr);
  char upper[2048];
  UpperCopy(base, upper);
  for (const char* device : {"AUX", "CON", "PRN"}) {
    if (std::strcmp(upper, device) == 0) return false;
  }
  return true;
}

}  // namespace ace

using namespace ace;

extern "C" ACEPLUG_API void ACEPLUG_CALL CreateDirectoryArc(const char* name) {
  PluginState& s = State();
  SetStatus(AR_OK);
  if (name == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  char copy[kPathBuffer];
  if (!CopyText(copy, sizeof copy - 1, name) || !IsAcceptableDirectoryName(copy)) {
    SetStatus(AR_BAD_DIR_NAME);
    return;
  }
  char withSlash[kPathBuffer];
  AddTrailingBackslash(copy, withSlash);

  char temp[kPathField];
  ArcFileList entries;
  if (!OpenTempArchiveListing(temp, &entries)) return;
  FileMaskList wanted;
  InitMaskList(&wanted);
  auto fail = [&] {
    DoneArcFileList(&entries);
    DoneMaskList(&wanted);
    if (s.ArchiveHandle != kNoFile) FileClose(s.ArchiveHandle);
    s.ArchiveHandle = kNoFile;
    DiscardTempArchive(temp);
  };
  if (!OpenArchiveCopyingLeadingPart()) return fail();
  if (!AppendMask(withSlash, &wanted)) return fail();
  char candidate[kPathBuffer * 2], diskPath[kPathBuffer * 2];
  for (const ArcFileEntry* e = entries.First; e != nullptr; e = e->Next) {
    if ((e->Attributes & FILE_ATTRIBUTE_DIRECTORY) &&
        FindListedFile(e->Name, &wanted, candidate, diskPath)) {
      SetStatus(AR_DIR_EXISTS);
      return fail();
    }
  }
  DoneMaskList(&wanted);
  for (const ArcFileEntry* e = entries.First; e != nullptr && s.Status == 0; e = e->Next) {
    const int64_t pos = e->HeaderPos.Low | (int64_t{e->HeaderPos.High} << 32);
    const int64_t packed = e->PackedSize.Low | (int64_t{e->PackedSize.High} << 32);
    CopyRawRange(pos, int64_t{e->HeaderSize} + packed + 4);
  }
  if (s.Status != 0) return fail();
  DoneArcFileList(&entries);
  FileClose(s.ArchiveHandle);
  s.ArchiveHandle = kNoFile;

  char stored[kPathBuffer];
  StripTrailingBackslash(withSlash, stored);
  FileHeaderFixed h;
  h.HeadType = kHeadTypeFile;
  h.HeadFlags = kFlagAddSize;
  h.FileTime = CurrentDosStamp();
  h.Attributes = FILE_ATTRIBUTE_DIRECTORY;
  h.Crc32 = 0xFFFFFFFFu;
  h.TechType = kTechStored;
  h.TechQual = kWrittenTechQual;
  const int code = DictionaryCodeForKB(s.Comp.DictionaryKB);
  h.TechParm = static_cast<uint16_t>(code < 0 ? 6 : code);
  uint8_t bytes[kMaxFileHeaderSize];
  const size_t length = BuildFileHeader(stored, h, bytes);
  const int32_t written = FileWrite(bytes, static_cast<int32_t>(length), s.TargetHandle);
  if (written != static_cast<int32_t>(length)) {
    SetStatus(written < 0 ? AR_IO_ERROR : AR_DISK_FULL);
    return fail();
  }
  CloseAndPutInPlace(temp);
}
