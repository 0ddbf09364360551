// Builds ACE archives byte by byte for tests: main headers, file headers with
// their checksums, and whole archives from entries whose packed data the test
// supplies (stored data, or compressed data taken from the golden vectors).
// Every field can be set, so tests can also make damaged or unusual archives.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "format/crc32.h"
#include "support/test_support.h"

namespace acetest {

inline constexpr uint32_t kTestDosStamp = 0x21210000u;  // 1996-09-01 00:00:00

struct AceEntry {
  std::string name;      // stored as given (ASCII in tests)
  Bytes data;            // the unpacked bytes: the CRC and size come from them
  Bytes packed;          // the bytes after the header; when empty and method 0, `data`
  uint8_t method = 0;    // 0 stored, 1 LZ77
  uint16_t flags = 0x0001;
  uint32_t attributes = 0x20;
  uint32_t time = kTestDosStamp;
  uint8_t dictCode = 6;
  std::optional<uint32_t> origSize;  // instead of data.size()
  std::optional<uint32_t> crc;       // instead of the data's CRC
};

inline uint32_t DataCrc(const Bytes& data) {
  return ace::Crc32Update(ace::kCrcInit, data.data(), data.size());
}

inline void PutU16(Bytes& b, size_t at, uint32_t v) {
  b[at] = static_cast<uint8_t>(v);
  b[at + 1] = static_cast<uint8_t>(v >> 8);
}
inline void PutU32(Bytes& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}
// Sets HEAD_CRC from the HEAD_SIZE bytes that follow HEAD_SIZE.
inline void SealHeader(Bytes& header) {
  const uint32_t size = static_cast<uint32_t>(header[2] | (header[3] << 8));
  PutU16(header, 0, ace::Crc32Update(ace::kCrcInit, header.data() + 4, size) & 0xFFFFu);
}

// The 53-byte main header (HEAD_FLAGS gets the advert bit added).
inline Bytes AceMainHeader(uint16_t flags = 0, uint8_t volume = 0) {
  Bytes h(53, 0);
  PutU16(h, 2, 49);
  h[4] = 0;
  PutU16(h, 5, flags | 0x1000u);
  const char signature[] = "**ACE**";
  for (int i = 0; i < 7; ++i) h[7 + i] = static_cast<uint8_t>(signature[i]);
  h[14] = 10;
  h[15] = 20;
  h[16] = 2;
  h[17] = volume;
  PutU32(h, 18, 0x2C619963u);
  h[30] = 22;
  const char advert[] = "aceplug test archive  ";
  for (int i = 0; i < 22; ++i) h[31 + i] = static_cast<uint8_t>(advert[i]);
  SealHeader(h);
  return h;
}

// A main header as other writers make it: any extract version and, when
// `comment` is not empty, the comment flag with COMMENT_SIZE and those bytes
// behind the advert.
inline Bytes AceMainHeaderWith(uint16_t flags, uint8_t extractVersion, const Bytes& comment = {}) {
  Bytes h = AceMainHeader(comment.empty() ? flags : static_cast<uint16_t>(flags | 0x0002u));
  h[14] = extractVersion;
  if (!comment.empty()) {
    h.push_back(static_cast<uint8_t>(comment.size()));
    h.push_back(static_cast<uint8_t>(comment.size() >> 8));
    h.insert(h.end(), comment.begin(), comment.end());
    PutU16(h, 2, static_cast<uint32_t>(h.size() - 4));
  }
  SealHeader(h);
  return h;
}

// A recovery-record header (type 2 or 5) followed by its added data.
inline Bytes AceRecoveryRecord(uint8_t type, const Bytes& added) {
  Bytes h(11, 0);
  PutU16(h, 2, 7);
  h[4] = type;
  PutU32(h, 7, static_cast<uint32_t>(added.size()));
  SealHeader(h);
  h.insert(h.end(), added.begin(), added.end());
  return h;
}

inline const Bytes& PackedOf(const AceEntry& e) { return e.packed.empty() ? e.data : e.packed; }

// The file header of `e` with PACK_SIZE `packSize`.
inline Bytes AceFileHeader(const AceEntry& e, uint32_t packSize) {
  Bytes h(35, 0);
  PutU16(h, 2, static_cast<uint32_t>(33 + e.name.size()));
  h[4] = 1;
  PutU16(h, 5, e.flags);
  PutU32(h, 7, packSize);
  PutU32(h, 11, e.origSize.value_or(static_cast<uint32_t>(e.data.size())));
  PutU32(h, 15, e.time);
  PutU32(h, 19, e.attributes);
  PutU32(h, 23, e.crc.value_or(DataCrc(e.data)));
  h[27] = e.method;
  h[28] = 2;
  PutU16(h, 29, e.dictCode);
  PutU16(h, 33, static_cast<uint32_t>(e.name.size()));
  h.insert(h.end(), e.name.begin(), e.name.end());
  h.push_back(0);
  h.push_back(0);
  SealHeader(h);
  return h;
}

// Header and packed data of one entry.
inline Bytes AceEntryBytes(const AceEntry& e) {
  const Bytes& packed = PackedOf(e);
  Bytes out = AceFileHeader(e, static_cast<uint32_t>(packed.size()));
  out.insert(out.end(), packed.begin(), packed.end());
  return out;
}

// A whole archive: main header, then each entry.
inline Bytes AceArchive(const std::vector<AceEntry>& entries, uint16_t mainFlags = 0) {
  Bytes out = AceMainHeader(mainFlags);
  for (const AceEntry& e : entries) {
    const Bytes b = AceEntryBytes(e);
    out.insert(out.end(), b.begin(), b.end());
  }
  return out;
}

inline Bytes TextBytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

}  // namespace acetest
