// Reading the archive structure: the main header search, the header chain
// with its checks, the search for an intact header after damage, and the
// names of the volumes that follow the first one.
#pragma once

#include <cstdint>
#include <string>

#include "format/header_format.h"
#include "platform/win32.h"
#include "unace/unacev2.h"

namespace ace::unace {

// The main header is looked for within this many bytes from the file's start.
inline constexpr uint32_t kMainHeaderSearchBytes = 61440;

struct MainHeader {
  uint32_t Pos = 0;   // file position of HEAD_CRC
  uint32_t Size = 0;  // HEAD_SIZE + 4
  uint16_t Flags = 0;
  uint8_t VerExtract = 0;
  uint8_t VerCreated = 0;
  uint8_t HostCreated = 0;
  uint8_t VolumeNum = 0;
  uint32_t TimeCreated = 0;
};

// A file header, or a recovery-record header (Type 2 or 5, with PackSize its
// added size and no other field).
struct EntryHeader {
  uint32_t Pos = 0;      // file position of HEAD_CRC
  uint32_t DataPos = 0;  // where the added data begins
  uint8_t Type = 0;
  uint16_t Flags = 0;
  uint32_t PackSize = 0;
  uint32_t OrigSize = 0;
  uint32_t Time = 0;
  uint32_t Attributes = 0;
  uint32_t Crc32 = 0;
  uint8_t Method = 0;
  uint16_t TechParm = 0;
  std::string Name;  // as stored: OEM code page, "\" or "/" separated

  uint32_t End() const { return DataPos + PackSize; }
  bool IsDirectory() const { return (Attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
  uint32_t DictionaryCode() const { return TechParm & 15u; }
};

enum class HeaderRead {
  Ok,
  End,        // nothing follows: the end of the volume
  Truncated,  // the file ends inside a header
  Broken,     // checksum mismatch, impossible sizes or an unknown header type
  IoError
};

// Finds the main header: "**ACE**" at offset 7 of a type-0 header that lies
// wholly within the first kMainHeaderSearchBytes and whose checksum holds.
bool FindMainHeader(HANDLE file, MainHeader* header);
// The archive record the callbacks see for the volume `name` (number
// `volume`) whose main header is `main`; the reserved words are left alone.
void DescribeArchive(const MainHeader& main, char* name, uint32_t volume, AceArchiveData* data);
// Reads the header at `pos` of a file of `fileSize` bytes. A header that is
// Truncated or Broken still gets the fields that could be read (a name only
// when it lies inside the header), so that the damage can be put to an entry.
HeaderRead ReadEntryHeader(HANDLE file, uint32_t pos, uint32_t fileSize, EntryHeader* header);
// The position of the next file header at or after `from` whose size is that
// of its fields, name and comment and whose checksum holds; -1 when the rest
// of the file holds none (or too much data poses as headers to tell).
int64_t FindNextFileHeader(HANDLE file, uint32_t from, uint32_t fileSize);

// The path of volume `number` (1 and up) of the set whose first volume is
// `firstVolume`: the extension becomes ".c00" for volume 1, ".c01" for 2, ...
std::string VolumePath(const std::string& firstVolume, uint32_t number);

// Whole-buffer helpers over the platform's file calls.
bool SeekTo(HANDLE file, uint32_t pos);
// Bytes read (short at the end of the file), or -1 on failure.
int64_t ReadAt(HANDLE file, uint32_t pos, void* buffer, uint32_t count);
// The file's size, or -1.
int64_t SizeOf(HANDLE file);

}  // namespace ace::unace
