// Test-only archive builder: writes main, file and recovery-record headers
// byte by byte with correct checksums (or deliberately wrong fields), so that
// tests can make any archive, good or damaged.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace acetest {

using Bytes = std::vector<uint8_t>;

struct MainSpec {
  uint16_t flags = 0x1000;
  uint8_t extractVersion = 10;
  uint8_t createdVersion = 20;
  uint8_t host = 2;
  std::string advert = "aceplug test archive  ";
  Bytes comment;  // a comment block (sets flag 0x0002 when not empty)
  bool badChecksum = false;
};

struct FileSpec {
  std::string name;  // stored bytes (OEM code page)
  Bytes data;        // the entry data after the header
  uint32_t origSize = 0;
  uint32_t time = 0x21210000;
  uint32_t attr = 0x20;
  uint32_t crc = 0xFFFFFFFF;
  uint8_t method = 0;
  uint16_t parm = 6;
  uint16_t flags = 0x0001;
  Bytes comment;  // a comment block (sets flag 0x0002 when not empty)
  // Overrides for damaged headers; -1 keeps the real value.
  int64_t packSize = -1;
  int32_t headSize = -1;
  int32_t nameSize = -1;
  bool badChecksum = false;
};

// A complete header: HEAD_CRC, HEAD_SIZE, then `body` (from HEAD_TYPE on).
Bytes Header(const Bytes& body, bool badChecksum = false, int32_t headSize = -1);

class ArchiveBuilder {
 public:
  ArchiveBuilder& Prefix(size_t size, uint8_t fill = 0x90);
  ArchiveBuilder& Main(const MainSpec& spec = {});
  ArchiveBuilder& File(const FileSpec& spec);
  ArchiveBuilder& Recovery(uint8_t type, uint32_t addSize, const Bytes& added);
  ArchiveBuilder& Raw(const Bytes& bytes);
  const Bytes& bytes() const { return bytes_; }
  size_t size() const { return bytes_.size(); }

 private:
  Bytes bytes_;
};

void PutWord(Bytes& out, uint32_t value);
void PutDword(Bytes& out, uint32_t value);

}  // namespace acetest
