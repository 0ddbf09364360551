// Builds ACE archives byte by byte: main headers, file headers with their
// checksums, recovery records, and archives of entries whose packed data the
// test supplies. Every field can be set, also to damage a header.
#pragma once

#include <initializer_list>

#include "support/test_support.h"

namespace acetest {

inline constexpr uint32_t kTestDosStamp = 0x21210000u;  // 1996-09-01 00:00:00

struct AceEntry {
  std::string name;
  Bytes data;          // the unpacked bytes: the CRC and size come from them
  Bytes packed;        // the bytes after the header; when empty, `data`
  uint8_t method = 0;  // 0 stored, 1 LZ77
  uint16_t flags = 0x0001;
  uint32_t attributes = 0x20;
  uint32_t time = kTestDosStamp;
  uint8_t dictCode = 6;
  std::optional<uint32_t> origSize, crc;       // instead of the data's
  Bytes comment;                               // a comment block (sets flag 0x0002)
  std::optional<uint32_t> packSize, headSize;  // fields that disagree with the rest
};

struct AceMain {
  uint16_t flags = 0;  // the advert bit 0x1000 is always added
  uint8_t extractVersion = 10;
  uint8_t host = 2;
  uint8_t volume = 0;
  Bytes comment;
};

inline void Append(Bytes& b, const Bytes& more) { b.insert(b.end(), more.begin(), more.end()); }
inline Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) Append(out, p);
  return out;
}
inline void PutU32(Bytes& b, uint32_t v, int bytes = 4) {
  for (int i = 0; i < bytes; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// HEAD_CRC, HEAD_SIZE (the body's size unless given), then `body` from HEAD_TYPE on.
inline Bytes AceHeader(const Bytes& body, std::optional<uint32_t> headSize = {}) {
  Bytes h;
  PutU32(h, DataCrc(body), 2);
  PutU32(h, headSize.value_or(static_cast<uint32_t>(body.size())), 2);
  return Join({h, body});
}

inline Bytes AceMainHeader(const AceMain& m = {}) {
  Bytes body = {0};
  PutU32(body, m.flags | 0x1000u | (m.comment.empty() ? 0 : 0x0002u), 2);
  Append(body, AsBytes("**ACE**"));
  Append(body, {m.extractVersion, 20, m.host, m.volume});
  PutU32(body, 0x2C619963u);
  body.resize(body.size() + 8, 0);
  Append(body, AsBytes("\x16"
                       "aceplug test archive  "));
  if (!m.comment.empty()) PutU32(body, static_cast<uint32_t>(m.comment.size()), 2);
  return AceHeader(Join({body, m.comment}));
}

inline Bytes AceEntryBytes(const AceEntry& e) {
  const Bytes& packed = e.packed.empty() ? e.data : e.packed;
  Bytes body = {1};
  PutU32(body, e.flags | (e.comment.empty() ? 0 : 0x0002u), 2);
  PutU32(body, e.packSize.value_or(static_cast<uint32_t>(packed.size())));
  PutU32(body, e.origSize.value_or(static_cast<uint32_t>(e.data.size())));
  PutU32(body, e.time);
  PutU32(body, e.attributes);
  PutU32(body, e.crc.value_or(DataCrc(e.data)));
  Append(body, {e.method, 2, e.dictCode, 0, 0, 0});
  PutU32(body, static_cast<uint32_t>(e.name.size()), 2);
  Append(body, AsBytes(e.name));
  PutU32(body, static_cast<uint32_t>(e.comment.size()), 2);
  return Join({AceHeader(Join({body, e.comment}), e.headSize), packed});
}

// A recovery record of HEAD_TYPE `type` with ADDSIZE `addSize` and `added` after it.
inline Bytes AceRecovery(uint8_t type, uint32_t addSize, const Bytes& added = {}) {
  Bytes body = {type, 0, 0};
  PutU32(body, addSize);
  return Join({AceHeader(body), added});
}

inline Bytes AceArchive(const std::vector<AceEntry>& entries, const AceMain& main = {}) {
  Bytes out = AceMainHeader(main);
  for (const AceEntry& e : entries) Append(out, AceEntryBytes(e));
  return out;
}
inline Bytes AceArchive(const std::vector<AceEntry>& entries, uint16_t mainFlags) {
  return AceArchive(entries, AceMain{.flags = mainFlags});
}

}  // namespace acetest
