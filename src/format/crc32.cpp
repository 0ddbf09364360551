#include "format/crc32.h"

#include <array>

namespace ace {
namespace {

constexpr std::array<uint32_t, 256> MakeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
    table[i] = c;
  }
  return table;
}

constexpr std::array<uint32_t, 256> kTable = MakeTable();

// Slicing by 8: table k gives the CRC of a byte followed by k zero bytes, so
// eight table look-ups fold eight input bytes at once. Extraction checks every
// byte it writes, and a byte at a time the CRC would cost more than decoding.
using SliceTables = std::array<std::array<uint32_t, 256>, 8>;

constexpr SliceTables MakeSliceTables() {
  SliceTables t{};
  t[0] = kTable;
  for (size_t k = 1; k < 8; ++k) {
    for (size_t i = 0; i < 256; ++i) t[k][i] = (t[k - 1][i] >> 8) ^ kTable[t[k - 1][i] & 0xFF];
  }
  return t;
}

constexpr SliceTables kSlices = MakeSliceTables();

inline uint32_t LoadLittle32(const unsigned char* p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

}  // namespace

const uint32_t kCrcTable[256] = {
#define ROW(i)                                                                          \
  kTable[i], kTable[i + 1], kTable[i + 2], kTable[i + 3], kTable[i + 4], kTable[i + 5], \
      kTable[i + 6], kTable[i + 7]
    ROW(0),   ROW(8),   ROW(16),  ROW(24),  ROW(32),  ROW(40),  ROW(48),  ROW(56),
    ROW(64),  ROW(72),  ROW(80),  ROW(88),  ROW(96),  ROW(104), ROW(112), ROW(120),
    ROW(128), ROW(136), ROW(144), ROW(152), ROW(160), ROW(168), ROW(176), ROW(184),
    ROW(192), ROW(200), ROW(208), ROW(216), ROW(224), ROW(232), ROW(240), ROW(248),
#undef ROW
};

uint32_t Crc32Update(uint32_t crc, const void* bytes, size_t length) {
  if (bytes == nullptr) return 0;
  const auto* p = static_cast<const unsigned char*>(bytes);
  for (; length >= 8; length -= 8, p += 8) {
    const uint32_t low = crc ^ LoadLittle32(p);
    const uint32_t high = LoadLittle32(p + 4);
    crc = kSlices[7][low & 0xFF] ^ kSlices[6][(low >> 8) & 0xFF] ^ kSlices[5][(low >> 16) & 0xFF] ^
          kSlices[4][low >> 24] ^ kSlices[3][high & 0xFF] ^ kSlices[2][(high >> 8) & 0xFF] ^
          kSlices[1][(high >> 16) & 0xFF] ^ kSlices[0][high >> 24];
  }
  while (length--) crc = kCrcTable[(crc ^ *p++) & 0xFF] ^ (crc >> 8);
  return crc;
}

}  // namespace ace
