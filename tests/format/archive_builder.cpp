#include "format/archive_builder.h"

#include "format/crc32.h"

namespace acetest {

void PutWord(Bytes& out, uint32_t value) {
  out.push_back(static_cast<uint8_t>(value));
  out.push_back(static_cast<uint8_t>(value >> 8));
}

void PutDword(Bytes& out, uint32_t value) {
  PutWord(out, value & 0xFFFF);
  PutWord(out, value >> 16);
}

Bytes Header(const Bytes& body, bool badChecksum, int32_t headSize) {
  const uint32_t crc = ace::Crc32Update(ace::kCrcInit, body.data(), body.size()) & 0xFFFF;
  Bytes out;
  PutWord(out, badChecksum ? crc ^ 0x5A5A : crc);
  PutWord(out,
          headSize >= 0 ? static_cast<uint32_t>(headSize) : static_cast<uint32_t>(body.size()));
  out.insert(out.end(), body.begin(), body.end());
  return out;
}

ArchiveBuilder& ArchiveBuilder::Prefix(size_t size, uint8_t fill) {
  bytes_.insert(bytes_.end(), size, fill);
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Main(const MainSpec& spec) {
  Bytes body;
  body.push_back(0);
  PutWord(body, spec.comment.empty() ? spec.flags : spec.flags | 0x0002);
  for (char c : std::string("**ACE**")) body.push_back(static_cast<uint8_t>(c));
  body.push_back(spec.extractVersion);
  body.push_back(spec.createdVersion);
  body.push_back(spec.host);
  body.push_back(0);
  PutDword(body, 0x2C619963);
  for (uint8_t b : {0xE4, 0xCE, 0xFD, 0x08, 0x2B, 0x20, 0x00, 0x00}) body.push_back(b);
  body.push_back(static_cast<uint8_t>(spec.advert.size()));
  body.insert(body.end(), spec.advert.begin(), spec.advert.end());
  if (!spec.comment.empty()) {
    PutWord(body, static_cast<uint32_t>(spec.comment.size()));
    body.insert(body.end(), spec.comment.begin(), spec.comment.end());
  }
  const Bytes header = Header(body, spec.badChecksum);
  bytes_.insert(bytes_.end(), header.begin(), header.end());
  return *this;
}

ArchiveBuilder& ArchiveBuilder::File(const FileSpec& spec) {
  Bytes body;
  body.push_back(1);
  PutWord(body, spec.comment.empty() ? spec.flags : spec.flags | 0x0002);
  PutDword(body, spec.packSize >= 0 ? static_cast<uint32_t>(spec.packSize)
                                    : static_cast<uint32_t>(spec.data.size()));
  PutDword(body, spec.origSize);
  PutDword(body, spec.time);
  PutDword(body, spec.attr);
  PutDword(body, spec.crc);
  body.push_back(spec.method);
  body.push_back(2);
  PutWord(body, spec.parm);
  PutWord(body, 0);
  PutWord(body, spec.nameSize >= 0 ? static_cast<uint32_t>(spec.nameSize)
                                   : static_cast<uint32_t>(spec.name.size()));
  body.insert(body.end(), spec.name.begin(), spec.name.end());
  PutWord(body, static_cast<uint32_t>(spec.comment.size()));
  body.insert(body.end(), spec.comment.begin(), spec.comment.end());
  const Bytes header = Header(body, spec.badChecksum, spec.headSize);
  bytes_.insert(bytes_.end(), header.begin(), header.end());
  bytes_.insert(bytes_.end(), spec.data.begin(), spec.data.end());
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Recovery(uint8_t type, uint32_t addSize, const Bytes& added) {
  Bytes body;
  body.push_back(type);
  PutWord(body, 0);
  PutDword(body, addSize);
  const Bytes header = Header(body);
  bytes_.insert(bytes_.end(), header.begin(), header.end());
  bytes_.insert(bytes_.end(), added.begin(), added.end());
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Raw(const Bytes& bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  return *this;
}

}  // namespace acetest
