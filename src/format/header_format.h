// The on-disk layout of ACE headers: types, flag bits, sizes and the fixed
// part of a file header. All integers are little-endian.
//
// Every header starts with HEAD_CRC (2), HEAD_SIZE (2), HEAD_TYPE (1) and
// HEAD_FLAGS (2). HEAD_SIZE counts the bytes after itself, so a header takes
// HEAD_SIZE + 4 bytes, and HEAD_CRC holds the low 16 bits of the CRC register
// over those HEAD_SIZE bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ace {

// HEAD_TYPE values.
inline constexpr uint8_t kHeadTypeMain = 0;
inline constexpr uint8_t kHeadTypeFile = 1;
inline constexpr uint8_t kHeadTypeRecovery = 2;
inline constexpr uint8_t kHeadTypeRecovery2 = 5;

// HEAD_FLAGS bits.
inline constexpr uint16_t kFlagAddSize = 0x0001;    // file: PACK_SIZE present
inline constexpr uint16_t kFlagComment = 0x0002;    // main, file: a comment block follows
inline constexpr uint16_t kFlagAdvert = 0x1000;     // main: the advert field is filled
inline constexpr uint16_t kFlagLocked = 0x4000;     // main
inline constexpr uint16_t kFlagEncrypted = 0x4000;  // file
inline constexpr uint16_t kFlagSolid = 0x8000;      // main
inline constexpr uint16_t kFlagContinued = 0x8000;  // file: continues the solid stream
inline constexpr uint16_t kFlagFromPreviousVolume =
    0x1000;                                            // file: data began in the volume before
inline constexpr uint16_t kFlagToNextVolume = 0x2000;  // file: data goes on in the next volume

// Sizes.
inline constexpr size_t kCommonHeaderSize = 7;   // HEAD_CRC .. HEAD_FLAGS
inline constexpr size_t kHeadSizeFieldEnd = 4;   // the checksummed range starts here
inline constexpr uint32_t kMaxStoredName = 271;  // longest name a listing keeps

// Main header.
inline constexpr char kAceSignature[] = "**ACE**";
inline constexpr size_t kSignatureOffset = 7;
inline constexpr size_t kSignatureSize = 7;
inline constexpr size_t kVerExtractOffset = 14;
inline constexpr size_t kVerCreatedOffset = 15;
inline constexpr size_t kHostCreatedOffset = 16;
inline constexpr size_t kVolumeNumOffset = 17;
inline constexpr size_t kTimeCreatedOffset = 18;
inline constexpr size_t kMainReservedOffset = 22;
inline constexpr size_t kAdvertSizeOffset = 30;
inline constexpr size_t kMainFixedSize = 31;  // up to the advert
inline constexpr size_t kAdvertSize = 22;     // what the writer puts there
inline constexpr size_t kMainHeaderWrittenSize = kMainFixedSize + kAdvertSize;  // 53
inline constexpr uint16_t kMainHeadSizeWritten = 49;

// What the writer puts into the main header's fixed fields.
inline constexpr uint8_t kWrittenVerExtract = 10;
inline constexpr uint8_t kWrittenVerCreated = 20;
inline constexpr uint8_t kWrittenHostOS = 2;
inline constexpr uint32_t kWrittenTimeCreated = 0x2C619963u;
inline constexpr uint8_t kWrittenMainReserved[8] = {0xE4, 0xCE, 0xFD, 0x08, 0x2B, 0x20, 0x00, 0x00};

// File header: fixed fields through FNAME_SIZE, then the name, then
// COMMENT_SIZE. HEAD_SIZE = 33 + FNAME_SIZE as written.
inline constexpr size_t kFileFixedSize = 35;
inline constexpr size_t kFileNameSizeOffset = 33;
inline constexpr size_t kCommentSizeFieldSize = 2;
inline constexpr uint16_t kFileHeadSizeBase = 33;
inline constexpr uint8_t kWrittenTechQual = 2;

// TECH_TYPE values.
inline constexpr uint8_t kTechStored = 0;
inline constexpr uint8_t kTechLz77 = 1;

// The fixed fields of a file header (offsets 0 to 34).
struct FileHeaderFixed {
  uint16_t HeadCrc = 0;              //  0
  uint16_t HeadSize = 0;             //  2
  uint8_t HeadType = kHeadTypeFile;  //  4
  uint16_t HeadFlags = 0;            //  5
  uint32_t PackSize = 0;             //  7
  uint32_t OrigSize = 0;             // 11
  uint32_t FileTime = 0;             // 15: DOS time low, date high, local time
  uint32_t Attributes = 0;           // 19
  uint32_t Crc32 = 0;                // 23
  uint8_t TechType = 0;              // 27
  uint8_t TechQual = 0;              // 28
  uint16_t TechParm = 0;             // 29: low 4 bits are the dictionary code
  uint16_t Reserved = 0;             // 31
  uint16_t NameSize = 0;             // 33
};

void EncodeFileHeaderFixed(const FileHeaderFixed& header, uint8_t out[kFileFixedSize]);
FileHeaderFixed DecodeFileHeaderFixed(const uint8_t in[kFileFixedSize]);

// Little-endian helpers for header buffers.
inline uint16_t LoadU16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
inline uint32_t LoadU32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}
inline void StoreU16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
inline void StoreU32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

}  // namespace ace
