#include "format/header_writer.h"

#include <cstring>

#include "format/crc32.h"
#include "format/stored_name.h"
#include "platform/win32.h"
#include "plugin/state.h"

namespace ace {

void BuildMainHeader(uint16_t flags, const char* advert, uint8_t out[kMainHeaderWrittenSize]) {
  std::memset(out, 0, kMainHeaderWrittenSize);
  StoreU16(out + 2, kMainHeadSizeWritten);
  out[4] = kHeadTypeMain;
  StoreU16(out + 5, static_cast<uint16_t>(flags | kFlagAdvert));
  std::memcpy(out + kSignatureOffset, kAceSignature, kSignatureSize);
  out[kVerExtractOffset] = kWrittenVerExtract;
  out[kVerCreatedOffset] = kWrittenVerCreated;
  out[kHostCreatedOffset] = kWrittenHostOS;
  out[kVolumeNumOffset] = 0;
  StoreU32(out + kTimeCreatedOffset, kWrittenTimeCreated);
  std::memcpy(out + kMainReservedOffset, kWrittenMainReserved, sizeof kWrittenMainReserved);
  out[kAdvertSizeOffset] = static_cast<uint8_t>(kAdvertSize);
  std::memcpy(out + kMainFixedSize, advert, kAdvertSize);
  const uint32_t crc =
      Crc32Update(kCrcInit, out + kHeadSizeFieldEnd, kMainHeaderWrittenSize - kHeadSizeFieldEnd);
  StoreU16(out, static_cast<uint16_t>(crc));
}

int WriteMainHeader(uint16_t flags, FileHandle target) {
  uint8_t header[kMainHeaderWrittenSize];
  BuildMainHeader(flags, kAdvertText, header);
  FileWrite(header, static_cast<int32_t>(sizeof header), target);
  return 1;
}

size_t BuildFileHeader(const char* sourceName, FileHeaderFixed& header,
                       uint8_t out[kMaxFileHeaderSize]) {
  const PluginState& s = State();
  char ansi[kMaxStoredName + 1];
  MakeStoredName(sourceName, s.RelativePath, s.Comp.KeepPaths, ansi, sizeof ansi);
  // Both sides have room for 271 bytes: a longer OEM text is cut there.
  char oem[kMaxStoredName + 1];
  if (!CharToOemA(ansi, oem, sizeof oem)) oem[0] = '\0';
  const size_t nameSize = strnlen(oem, kMaxStoredName);

  header.NameSize = static_cast<uint16_t>(nameSize);
  header.HeadSize = static_cast<uint16_t>(kFileHeadSizeBase + nameSize);
  EncodeFileHeaderFixed(header, out);
  std::memcpy(out + kFileFixedSize, oem, nameSize);
  const size_t length = kFileFixedSize + nameSize + kCommentSizeFieldSize;
  StoreU16(out + kFileFixedSize + nameSize, 0);  // COMMENT_SIZE
  header.HeadCrc = static_cast<uint16_t>(
      Crc32Update(kCrcInit, out + kHeadSizeFieldEnd, length - kHeadSizeFieldEnd));
  StoreU16(out, header.HeadCrc);
  return length;
}

int WriteFileHeader(const char* sourceName, FileHeaderFixed& header, FileHandle target) {
  uint8_t bytes[kMaxFileHeaderSize];
  const size_t length = BuildFileHeader(sourceName, header, bytes);
  FileWrite(bytes, static_cast<int32_t>(length), target);
  return 1;
}

}  // namespace ace
