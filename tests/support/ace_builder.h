// Builds ACE archives byte by byte for tests: main headers, file headers with
// their checksums, recovery records, and whole archives from entries whose
// packed data the test supplies (stored data, or compressed data taken from
// the golden vectors). Every field can be set, so tests can also make damaged
// or unusual archives.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "format/crc32.h"
#include "support/test_support.h"

namespace acetest {

inline constexpr uint32_t kTestDosStamp = 0x21210000u;  // 1996-09-01 00:00:00

struct AceEntry {
  std::string name;    // stored as given (ASCII in tests)
  Bytes data;          // the unpacked bytes: the CRC and size come from them
  Bytes packed;        // the bytes after the header; when empty, `data`
  uint8_t method = 0;  // 0 stored, 1 LZ77
  uint16_t flags = 0x0001;
  uint32_t attributes = 0x20;
  uint32_t time = kTestDosStamp;
  uint8_t dictCode = 6;
  std::optional<uint32_t> origSize;  // instead of data.size()
  std::optional<uint32_t> crc;       // instead of the data's CRC
  Bytes comment;                     // a comment block (sets flag 0x0002)
  // Damage: fields that disagree with the rest of the header.
  std::optional<uint32_t> packSize;
  std::optional<uint32_t> headSize;
  std::optional<uint32_t> nameSize;
  bool badChecksum = false;
};

struct AceMain {
  uint16_t flags = 0;  // the advert bit 0x1000 is always added
  uint8_t extractVersion = 10;
  uint8_t host = 2;
  uint8_t volume = 0;
  Bytes comment;  // a comment block (sets flag 0x0002)
  bool badChecksum = false;
};

inline void PutU16(Bytes& b, uint32_t v) {
  b.push_back(static_cast<uint8_t>(v));
  b.push_back(static_cast<uint8_t>(v >> 8));
}
inline void PutU32(Bytes& b, uint32_t v) {
  PutU16(b, v & 0xFFFF);
  PutU16(b, v >> 16);
}
inline void Append(Bytes& b, const Bytes& more) { b.insert(b.end(), more.begin(), more.end()); }
inline Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) Append(out, p);
  return out;
}

// HEAD_CRC, HEAD_SIZE (the body's size unless given), then `body` from
// HEAD_TYPE on.
inline Bytes AceHeader(const Bytes& body, std::optional<uint32_t> headSize = {},
                       bool badChecksum = false) {
  const uint32_t crc = (DataCrc(body) & 0xFFFF) ^ (badChecksum ? 0x5A5A : 0);
  const uint32_t size = headSize.value_or(static_cast<uint32_t>(body.size()));
  Bytes h(body.size() + 4);
  h[0] = static_cast<uint8_t>(crc);
  h[1] = static_cast<uint8_t>(crc >> 8);
  h[2] = static_cast<uint8_t>(size);
  h[3] = static_cast<uint8_t>(size >> 8);
  std::copy(body.begin(), body.end(), h.begin() + 4);
  return h;
}

inline Bytes AceMainHeader(const AceMain& m) {
  Bytes body = {0};
  PutU16(body, m.flags | 0x1000u | (m.comment.empty() ? 0 : 0x0002u));
  Append(body, AsBytes("**ACE**"));
  Append(body, {m.extractVersion, 20, m.host, m.volume});
  PutU32(body, 0x2C619963u);
  body.resize(body.size() + 8, 0);
  const std::string advert = "aceplug test archive  ";
  body.push_back(static_cast<uint8_t>(advert.size()));
  Append(body, AsBytes(advert));
  if (!m.comment.empty()) {
    PutU16(body, static_cast<uint32_t>(m.comment.size()));
    Append(body, m.comment);
  }
  return AceHeader(body, {}, m.badChecksum);
}
// The 53-byte main header.
inline Bytes AceMainHeader(uint16_t flags = 0, uint8_t volume = 0) {
  return AceMainHeader(AceMain{.flags = flags, .volume = volume});
}

// A main header as other writers make it: any extract version and, when
// `comment` is not empty, the comment flag with COMMENT_SIZE and those bytes
// behind the advert.
inline Bytes AceMainHeaderWith(uint16_t flags, uint8_t extractVersion, const Bytes& comment = {}) {
  return AceMainHeader(
      AceMain{.flags = flags, .extractVersion = extractVersion, .comment = comment});
}

// Sets HEAD_CRC from the HEAD_SIZE bytes that follow HEAD_SIZE.
inline void SealHeader(Bytes& header) {
  const uint32_t size = static_cast<uint32_t>(header[2] | (header[3] << 8));
  const uint32_t crc = ace::Crc32Update(ace::kCrcInit, header.data() + 4, size);
  header[0] = static_cast<uint8_t>(crc);
  header[1] = static_cast<uint8_t>(crc >> 8);
}

inline const Bytes& PackedOf(const AceEntry& e) { return e.packed.empty() ? e.data : e.packed; }

// Header and packed data of one entry.
inline Bytes AceEntryBytes(const AceEntry& e) {
  const Bytes& packed = PackedOf(e);
  Bytes body = {1};
  PutU16(body, e.flags | (e.comment.empty() ? 0 : 0x0002u));
  PutU32(body, e.packSize.value_or(static_cast<uint32_t>(packed.size())));
  PutU32(body, e.origSize.value_or(static_cast<uint32_t>(e.data.size())));
  PutU32(body, e.time);
  PutU32(body, e.attributes);
  PutU32(body, e.crc.value_or(DataCrc(e.data)));
  Append(body, {e.method, 2});
  PutU16(body, e.dictCode);
  PutU16(body, 0);
  PutU16(body, e.nameSize.value_or(static_cast<uint32_t>(e.name.size())));
  Append(body, AsBytes(e.name));
  PutU16(body, static_cast<uint32_t>(e.comment.size()));
  Append(body, e.comment);
  return Join({AceHeader(body, e.headSize, e.badChecksum), packed});
}

// A recovery record of HEAD_TYPE `type` with ADDSIZE `addSize` and `added` after it.
inline Bytes AceRecovery(uint8_t type, uint32_t addSize, const Bytes& added = {}) {
  Bytes body = {type, 0, 0};
  PutU32(body, addSize);
  return Join({AceHeader(body), added});
}

// A recovery-record header (type 2 or 5) followed by its added data.
inline Bytes AceRecoveryRecord(uint8_t type, const Bytes& added) {
  return AceRecovery(type, static_cast<uint32_t>(added.size()), added);
}

// A whole archive: main header, then each entry.
inline Bytes AceArchive(const std::vector<AceEntry>& entries, const AceMain& main = {}) {
  Bytes out = AceMainHeader(main);
  for (const AceEntry& e : entries) Append(out, AceEntryBytes(e));
  return out;
}
inline Bytes AceArchive(const std::vector<AceEntry>& entries, uint16_t mainFlags) {
  return AceArchive(entries, AceMain{.flags = mainFlags});
}

}  // namespace acetest
