#include "format/archive_walk.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "format/comment_decoder.h"
#include "format/header_format.h"
#include "format/header_io.h"
#include "fs/file_layer.h"
#include "fs/masks.h"
#include "plugin/arc_file_list.h"
#include "plugin/state.h"

namespace ace {
namespace {

// Bytes of a header's fields from HEAD_TYPE on, which HEAD_SIZE must cover.
constexpr uint32_t kRecoveryFields = 7;  // type, flags, ADDSIZE
constexpr uint32_t kFileFields = 31;     // type, flags, sizes .. FNAME_SIZE

void SetU64(AceUInt64& field, uint64_t value) {
  field.Low = static_cast<uint32_t>(value);
  field.High = static_cast<uint32_t>(value >> 32);
}

// Moves ReadPos past this header; a position beyond 2 GiB - 1 cannot be
// reached, so the walk ends there.
void Advance(int64_t step) {
  PluginState& s = State();
  const int64_t next = static_cast<int64_t>(s.ReadPos) + step;
  s.ReadPos = next > INT32_MAX ? -1 : static_cast<int32_t>(next);
}

// The stored name in OEM bytes as an ANSI text in the entry's field;
// directories get their "\" after the conversion so that a cut cannot lose it.
void StoreName(const char* oem, bool directory, char* field) {
  std::memset(field, 0, kEntryNameField);
  const DWORD room = directory ? kEntryNameField - 1 : kEntryNameField;
  OemToCharA(oem, field, room);
  field[room - 1] = '\0';
  if (directory) {
    const size_t length = std::strlen(field);
    if (length == 0 || field[length - 1] != '\\') field[length] = '\\';
  }
}

// COMMENT_SIZE stands after the 35 fixed bytes and the name; the block follows.
void ReadFileComment(ArcFileEntry* entry) {
  PluginState& s = State();
  const int64_t sizeField =
      static_cast<int64_t>(entry->HeaderPos.Low) + kFileFixedSize + entry->NameLength;
  if (sizeField + 2 > INT32_MAX) return;
  const auto at = static_cast<int32_t>(sizeField);
  if (FileSeek(s.ArchiveHandle, at, FILE_BEGIN) < 0) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  ReadWord(s.ArchiveHandle);  // COMMENT_SIZE: the decoder finds the end itself
  if (s.Status != 0) return;
  char* block = nullptr;
  const int32_t length = ReadCommentBlock(at + 2, s.HostOS, &block);
  if (length > 0) {
    entry->Comment = block;
    entry->CommentLength = length;
  }
}

// Whether a field read that left a status failed while its bytes are in the
// file. Only a read that runs into the end of the file ends the archive; an
// I/O error taken for the end would cut the list short, and an update or a
// delete would then drop every entry behind it.
bool FailedInsideFile(FileHandle file, int64_t end) {
  const int32_t size = FileSize(file);
  return size < 0 || end <= size;
}

}  // namespace

int ReadNextHeader(ArcFileEntry* e, char* nameOut) {
  PluginState& s = State();
  const FileHandle file = s.ArchiveHandle;
  if (s.ReadPos < 0) {
    SetStatus(AR_OK);
    return 0;
  }
  if (FileSeek(file, s.ReadPos, FILE_BEGIN) < 0) {
    SetStatus(AR_IO_ERROR);
    return 0;
  }
  const int64_t start = s.ReadPos;
  // A status from before (a header cut short by the end of the file) ends
  // the walk below like the end of the file itself.
  const bool ending = s.Status != 0;
  SetU64(e->HeaderPos, static_cast<uint32_t>(s.ReadPos));

  e->HeaderCrc = ReadWord(file);
  if (s.Status != 0) {
    if (!ending && FailedInsideFile(file, start + 2)) return 0;
    SetStatus(AR_OK);  // the end of the archive
    return 0;
  }
  e->HeaderSize = ReadWord(file);
  e->HeaderType = ReadByte(file);
  e->HeaderFlags = ReadWord(file);
  // Cut off by the end of the file: a missing type byte reads as 0, which is
  // no block type a walk accepts; a header whose type arrived is handed on
  // with status 5 like any header cut short, and the next call ends the walk.
  if (s.Status != 0 && FailedInsideFile(file, start + 7)) return 0;
  e->IsFile = e->HeaderType == kHeadTypeFile ? 1 : 0;
  SetU64(e->PackedSize, 0);

  if (e->HeaderType == kHeadTypeRecovery || e->HeaderType == kHeadTypeRecovery2) {
    const uint32_t added = ReadDword(file);
    if (s.Status != 0 && FailedInsideFile(file, start + 11)) return 0;
    if (s.Status == 0 && e->HeaderSize < kRecoveryFields) {
      SetStatus(AR_BAD_HEADER);
      return 0;
    }
    SetU64(e->PackedSize, added);
    Advance(static_cast<int64_t>(added) + e->HeaderSize + 4);
    return 1;
  }
  if (e->HeaderType != kHeadTypeFile) {
    SetStatus(AR_BAD_HEADER);
    return 0;
  }

  const uint32_t packed = ReadDword(file);
  SetU64(e->PackedSize, packed);
  SetU64(e->UnpackedSize, ReadDword(file));
  e->DosTime = ReadDword(file);
  e->Attributes = ReadDword(file);
  e->Crc32 = ReadDword(file);
  e->Method = ReadByte(file);
  ReadByte(file);  // TECH_QUAL
  e->DictionaryCode = ReadWord(file) & 15u;
  ReadWord(file);  // reserved
  e->NameLength = ReadWord(file);
  e->FormatTag = 19;
  e->IsEncrypted = (e->HeaderFlags & kFlagEncrypted) ? 1 : 0;
  if (s.Status != 0 && FailedInsideFile(file, start + static_cast<int64_t>(kFileFixedSize)))
    return 0;
  // A header too short for its own fields and name is damaged: copying it by
  // HEAD_SIZE would split it from what was read, so the walk stops there.
  if (s.Status == 0 && e->HeaderSize < kFileFields + e->NameLength) {
    SetStatus(AR_BAD_HEADER);
    return 0;
  }

  // Names longer than the field are cut; the rest is stepped over.
  char oem[kEntryNameField] = {};
  const auto stored = static_cast<int32_t>(std::min(e->NameLength, kMaxStoredName));
  if (stored > 0 && FileRead(oem, stored, file) != stored) {
    SetStatus(AR_IO_ERROR);
    if (FailedInsideFile(file, start + static_cast<int64_t>(kFileFixedSize) + stored)) return 0;
  }
  StoreName(oem, (e->Attributes & FILE_ATTRIBUTE_DIRECTORY) != 0, e->Name);
  if (nameOut != nullptr) std::memcpy(nameOut, e->Name, kEntryNameField);

  if ((e->HeaderFlags & kFlagComment) && s.ReadFileComments == 1 && s.Status == 0) {
    ReadFileComment(e);
  }
  Advance(static_cast<int64_t>(packed) + e->HeaderSize + 4);
  return 1;
}

int WalkArchive(ArcFileList* list, const FileMaskList* masks) {
  PluginState& s = State();
  list->Count = 0;
  list->First = nullptr;
  list->Last = nullptr;
  s.ReadPos = s.FirstHeaderPos;
  const FileHandle file = FileOpen(s.ArchivePath, "rb");
  if (file == kNoFile) {
    SetStatus(AR_IO_ERROR);
    return 0;
  }
  s.ArchiveHandle = file;

  ArcFileEntry staging{};
  char name[kEntryNameField] = {};
  while (ReadNextHeader(&staging, name)) {
    // The mask test compares upper-cased copies itself; other headers than
    // file headers are always kept.
    const bool keep =
        staging.HeaderType != 1 || masks == nullptr || MatchesMaskList(name, masks) != 0;
    if (keep) {
      ArcFileEntry* entry = NewArcFileEntry();
      if (entry == nullptr) {
        std::free(staging.Comment);
        SetStatus(AR_NO_MEMORY);
        break;
      }
      *entry = staging;
      entry->Next = nullptr;
      AppendArcFileEntry(list, entry);
    } else {
      std::free(staging.Comment);
    }
    staging = ArcFileEntry{};
    std::memset(name, 0, sizeof name);
  }
  FileClose(file);
  s.ArchiveHandle = kNoFile;
  return s.Status == 0 ? 1 : 0;
}

}  // namespace ace
