#include "format/archive_walk.h"

#include <cstdlib>
#include <cstring>

#include "format/comment_decoder.h"
#include "fs/file_layer.h"
#include "fs/masks.h"
#include "fs/path_ops.h"
#include "plugin/arc_file_list.h"
#include "plugin/state.h"

namespace ace {
namespace {

// Fixed fields after HEAD_CRC and HEAD_SIZE, counted from HEAD_TYPE.
constexpr int32_t kCommonFields = 3;        // type, flags
constexpr int32_t kRecoveryFields = 7;      // + ADDSIZE
constexpr int32_t kFileFields = 31;         // + sizes .. FNAME_SIZE
constexpr int32_t kFileFixedBytes = 35;     // on disk, HEAD_CRC included
constexpr int kMaxStoredName = kEntryNameField - 1;

// Reads a run of little-endian fields at once. A field that did not arrive
// whole reads as 0, and a short read leaves status 5, as field-by-field
// reads would.
class FieldReader {
 public:
  FieldReader(FileHandle file, int32_t count) {
    got_ = FileRead(bytes_, count, file);
    if (got_ < 0) got_ = 0;
    if (got_ < count) SetStatus(AR_IO_ERROR);
  }
  uint32_t Byte(int at) const { return Has(at, 1) ? bytes_[at] : 0; }
  uint32_t Word(int at) const { return Has(at, 2) ? bytes_[at] | bytes_[at + 1] << 8 : 0; }
  uint32_t Dword(int at) const {
    return Has(at, 4) ? Word(at) | static_cast<uint32_t>(Word(at + 2)) << 16 : 0;
  }
  bool complete(int32_t count) const { return got_ >= count; }

 private:
  bool Has(int at, int width) const { return at + width <= got_; }
  uint8_t bytes_[32] = {};
  int32_t got_ = 0;
};

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
      static_cast<int64_t>(entry->HeaderPos.Low) + kFileFixedBytes + entry->NameLength;
  if (sizeField + 2 > INT32_MAX) return;
  const auto at = static_cast<int32_t>(sizeField);
  if (FileSeek(s.ArchiveHandle, at, FILE_BEGIN) < 0) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  FieldReader size(s.ArchiveHandle, 2);
  if (!size.complete(2)) return;
  char* block = nullptr;
  const int32_t length = ReadCommentBlock(at + 2, s.HostOS, &block);
  if (length > 0) {
    entry->Comment = block;
    entry->CommentLength = length;
  }
}

}  // namespace

int ReadNextHeader(ArcFileEntry* e, char* nameOut) {
  PluginState& s = State();
  const FileHandle file = s.ArchiveHandle;
  if (s.ReadPos < 0 || FileSeek(file, s.ReadPos, FILE_BEGIN) < 0) {
    SetStatus(AR_OK);
    return 0;
  }
  SetU64(e->HeaderPos, static_cast<uint32_t>(s.ReadPos));

  FieldReader crc(file, 2);
  if (s.Status != 0) {
    SetStatus(AR_OK);  // the end of the archive
    return 0;
  }
  e->HeaderCrc = crc.Word(0);

  FieldReader common(file, 2 + kCommonFields);
  if (!common.complete(2 + kCommonFields)) {
    // A header cut off inside its common part has no type: the archive ends.
    SetStatus(AR_OK);
    return 0;
  }
  e->HeaderSize = common.Word(0);
  e->HeaderType = common.Byte(2);
  e->HeaderFlags = common.Word(3);
  e->IsFile = e->HeaderType == 1 ? 1 : 0;
  SetU64(e->PackedSize, 0);

  if (e->HeaderType == 2 || e->HeaderType == 5) {
    FieldReader rest(file, 4);
    if (rest.complete(4) && e->HeaderSize < kRecoveryFields) {
      SetStatus(AR_BAD_HEADER);
      return 0;
    }
    const uint32_t added = rest.Dword(0);
    SetU64(e->PackedSize, added);
    Advance(static_cast<int64_t>(added) + e->HeaderSize + 4);
    return 1;
  }
  if (e->HeaderType != 1) {
    SetStatus(AR_BAD_HEADER);
    return 0;
  }

  FieldReader rest(file, kFileFields - kCommonFields);
  const uint32_t packed = rest.Dword(0);
  SetU64(e->PackedSize, packed);
  SetU64(e->UnpackedSize, rest.Dword(4));
  e->DosTime = rest.Dword(8);
  e->Attributes = rest.Dword(12);
  e->Crc32 = rest.Dword(16);
  e->Method = rest.Byte(20);
  e->DictionaryCode = rest.Word(22) & 15;
  e->NameLength = rest.Word(26);
  e->FormatTag = 19;
  e->IsEncrypted = (e->HeaderFlags & 0x4000) ? 1 : 0;
  // A header too short for its own fields and name is damaged; copying it by
  // HEAD_SIZE would split it from what was read, so the walk stops.
  if (rest.complete(kFileFields - kCommonFields) &&
      e->HeaderSize < static_cast<uint32_t>(kFileFields) + e->NameLength) {
    SetStatus(AR_BAD_HEADER);
    return 0;
  }

  // Names longer than the field are cut; the rest is stepped over.
  char oem[kEntryNameField] = {};
  const int32_t stored = e->NameLength < kMaxStoredName ? static_cast<int32_t>(e->NameLength)
                                                        : kMaxStoredName;
  if (stored > 0) {
    const int32_t got = FileRead(oem, stored, file);
    if (got < stored) SetStatus(AR_IO_ERROR);
  }
  StoreName(oem, (e->Attributes & FILE_ATTRIBUTE_DIRECTORY) != 0, e->Name);
  if (nameOut != nullptr) std::memcpy(nameOut, e->Name, kEntryNameField);

  if ((e->HeaderFlags & 0x0002) && s.ReadFileComments == 1 && s.Status == 0) {
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
  char upper[2048];
  while (ReadNextHeader(&staging, name)) {
    bool keep = true;
    if (staging.HeaderType == 1 && masks != nullptr) {
      UpperCopy(name, upper);
      keep = MatchesMaskList(upper, masks) != 0;
    }
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
