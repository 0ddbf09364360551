#include "format/header_search.h"

#include <cstring>

#include "format/crc32.h"
#include "format/header_format.h"

namespace ace {
namespace {

constexpr int32_t kSignatureAt = static_cast<int32_t>(kSignatureOffset);

uint16_t Word(const uint8_t* p) { return LoadU16(p); }

bool ChecksumMatches(const uint8_t* checked, int32_t length, uint16_t stored) {
  return (Crc32Update(kCrcInit, checked, static_cast<size_t>(length)) & 0xFFFFu) == stored;
}

}  // namespace

MainHeaderScan ScanMainHeader(const uint8_t* bytes, int32_t count) {
  MainHeaderScan scan;
  // The signature stands 7 bytes into the header and the fixed fields run 24
  // bytes past it; no candidate fits in fewer bytes.
  for (int32_t i = kSignatureAt; i < count - 33; ++i) {
    if (std::memcmp(bytes + i, kAceSignature, kSignatureSize) != 0) continue;
    const uint8_t* h = bytes + i - kSignatureAt;
    scan.sawCandidate = true;
    scan.extractVersion = h[14];
    scan.hostOS = h[16];
    if (h[4] != 0) continue;
    const uint16_t flags = Word(h + 5);
    if (flags & 0x4000) scan.locked = true;
    const int32_t headSize = Word(h + 2);
    if (i - kSignatureAt + 4 + headSize > count) continue;
    if (!ChecksumMatches(h + 4, headSize, Word(h))) continue;
    scan.position = i - kSignatureAt;
    scan.size = headSize + 4;
    scan.flags = flags;
    scan.advertSize = h[30];
    return scan;
  }
  return scan;
}

int32_t ScanFirstHeader(const uint8_t* bytes, int32_t count, int* dictionaryCode) {
  for (int32_t i = 4; i < count - 37; ++i) {
    if (bytes[i] != 1) continue;
    const int32_t headSize = Word(bytes + i - 2);
    if (i + headSize >= count) continue;
    if (!ChecksumMatches(bytes + i, headSize, Word(bytes + i - 4))) continue;
    if (dictionaryCode != nullptr) *dictionaryCode = bytes[i + 25] & 15;
    return i - 4;
  }
  return -1;
}

}  // namespace ace
