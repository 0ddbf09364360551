#include "format/crc32.h"

#include <array>

#include "platform/cpu_features.h"

#if (defined(__GNUC__) || defined(__clang__) || defined(_MSC_VER)) && \
    (defined(__x86_64__) || defined(__i386__) || defined(_M_X64) || defined(_M_IX86))
#  define ACE_CRC_CARRYLESS 1
#  include <immintrin.h>
#  if defined(__GNUC__) || defined(__clang__)
#    define ACE_TARGET_CLMUL __attribute__((target("pclmul,sse2")))
#  else
#    define ACE_TARGET_CLMUL
#  endif
#else
#  define ACE_CRC_CARRYLESS 0
#endif

namespace ace {
namespace {

constexpr uint32_t kPolynomial = 0xEDB88320u;  // reflected

constexpr std::array<uint32_t, 256> MakeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ kPolynomial : c >> 1;
    table[i] = c;
  }
  return table;
}

constexpr std::array<uint32_t, 256> kTable = MakeTable();

// Slicing by 16: table k gives the CRC of a byte followed by k zero bytes, so
// sixteen look-ups fold sixteen input bytes at once.
using SliceTables = std::array<std::array<uint32_t, 256>, 16>;

constexpr SliceTables MakeSliceTables() {
  SliceTables t{};
  t[0] = kTable;
  for (size_t k = 1; k < t.size(); ++k) {
    for (size_t i = 0; i < 256; ++i) t[k][i] = (t[k - 1][i] >> 8) ^ kTable[t[k - 1][i] & 0xFF];
  }
  return t;
}

constexpr SliceTables kSlices = MakeSliceTables();

inline uint32_t LoadLittle32(const unsigned char* p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

uint32_t BytewiseUpdate(uint32_t crc, const unsigned char* p, size_t length) {
  while (length--) crc = kTable[(crc ^ *p++) & 0xFF] ^ (crc >> 8);
  return crc;
}

uint32_t SlicedUpdate(uint32_t crc, const unsigned char* p, size_t length) {
  const auto& t = kSlices;
  for (; length >= 16; length -= 16, p += 16) {
    const uint32_t a = crc ^ LoadLittle32(p);
    const uint32_t b = LoadLittle32(p + 4);
    const uint32_t c = LoadLittle32(p + 8);
    const uint32_t d = LoadLittle32(p + 12);
    crc = t[15][a & 0xFF] ^ t[14][(a >> 8) & 0xFF] ^ t[13][(a >> 16) & 0xFF] ^ t[12][a >> 24] ^
          t[11][b & 0xFF] ^ t[10][(b >> 8) & 0xFF] ^ t[9][(b >> 16) & 0xFF] ^ t[8][b >> 24] ^
          t[7][c & 0xFF] ^ t[6][(c >> 8) & 0xFF] ^ t[5][(c >> 16) & 0xFF] ^ t[4][c >> 24] ^
          t[3][d & 0xFF] ^ t[2][(d >> 8) & 0xFF] ^ t[1][(d >> 16) & 0xFF] ^ t[0][d >> 24];
  }
  return BytewiseUpdate(crc, p, length);
}

#if ACE_CRC_CARRYLESS

// x^n mod P in the ordinary bit order (P = 0x104C11DB7).
constexpr uint32_t XPowerModP(unsigned n) {
  uint64_t r = 1;
  for (unsigned i = 0; i < n; ++i) {
    r <<= 1;
    if (r & 0x100000000u) r ^= 0x104C11DB7u;
  }
  return static_cast<uint32_t>(r);
}

constexpr uint32_t Reflect32(uint32_t v) {
  uint32_t r = 0;
  for (int i = 0; i < 32; ++i) r |= ((v >> i) & 1u) << (31 - i);
  return r;
}

// Folding a 16-byte block forward by `bits`: its first eight bytes (the
// higher powers) are multiplied by x^(bits + 64) mod P, the other eight by
// x^bits mod P, and the products, 96 bits at most, are added to the block
// that far ahead. In the reflected order a carry-less product comes out one
// power low and a constant in the low half of its lane 32 powers low, hence
// the exponents below.
struct FoldConstants {
  uint32_t low;   // for the first eight bytes
  uint32_t high;  // for the last eight
};

constexpr FoldConstants FoldBy(unsigned bits) {
  return {Reflect32(XPowerModP(bits + 64 - 33)), Reflect32(XPowerModP(bits - 33))};
}

constexpr FoldConstants kFold512 = FoldBy(512);
constexpr FoldConstants kFold128 = FoldBy(128);

ACE_TARGET_CLMUL inline __m128i Fold(__m128i x, __m128i k, __m128i ahead) {
  const __m128i low = _mm_clmulepi64_si128(x, k, 0x00);
  const __m128i high = _mm_clmulepi64_si128(x, k, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), ahead);
}

ACE_TARGET_CLMUL inline __m128i Load128(const unsigned char* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Four lanes of 16 bytes are folded 64 bytes ahead at a time, then into one
// lane. The CRC of what remains of the data is that of this lane followed by
// the tail, started from 0: folding keeps the data's value modulo P.
ACE_TARGET_CLMUL uint32_t CarrylessUpdate(uint32_t crc, const unsigned char* p, size_t length) {
  if (length < 64) return SlicedUpdate(crc, p, length);
  const __m128i k512 =
      _mm_set_epi32(0, static_cast<int>(kFold512.high), 0, static_cast<int>(kFold512.low));
  const __m128i k128 =
      _mm_set_epi32(0, static_cast<int>(kFold128.high), 0, static_cast<int>(kFold128.low));
  __m128i x0 = _mm_xor_si128(Load128(p), _mm_cvtsi32_si128(static_cast<int>(crc)));
  __m128i x1 = Load128(p + 16);
  __m128i x2 = Load128(p + 32);
  __m128i x3 = Load128(p + 48);
  p += 64;
  length -= 64;
  for (; length >= 64; length -= 64, p += 64) {
    x0 = Fold(x0, k512, Load128(p));
    x1 = Fold(x1, k512, Load128(p + 16));
    x2 = Fold(x2, k512, Load128(p + 32));
    x3 = Fold(x3, k512, Load128(p + 48));
  }
  x1 = Fold(x0, k128, x1);
  x2 = Fold(x1, k128, x2);
  x3 = Fold(x2, k128, x3);
  for (; length >= 16; length -= 16, p += 16) x3 = Fold(x3, k128, Load128(p));
  alignas(16) unsigned char lane[16];
  _mm_store_si128(reinterpret_cast<__m128i*>(lane), x3);
  return SlicedUpdate(SlicedUpdate(0, lane, 16), p, length);
}

#endif

using UpdateFn = uint32_t (*)(uint32_t, const unsigned char*, size_t);

UpdateFn MethodFn(CrcMethod method) {
  switch (method) {
    case CrcMethod::kBytewise:
      return &BytewiseUpdate;
    case CrcMethod::kSliced:
      return &SlicedUpdate;
    case CrcMethod::kCarryless:
#if ACE_CRC_CARRYLESS
      if (platform::Cpu().clmul) return &CarrylessUpdate;
#endif
      return nullptr;
  }
  return nullptr;
}

UpdateFn Fastest() {
  const UpdateFn carryless = MethodFn(CrcMethod::kCarryless);
  return carryless != nullptr ? carryless : &SlicedUpdate;
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
  static const UpdateFn fastest = Fastest();
  return fastest(crc, static_cast<const unsigned char*>(bytes), length);
}

bool CrcMethodAvailable(CrcMethod method) { return MethodFn(method) != nullptr; }

uint32_t Crc32UpdateWith(CrcMethod method, uint32_t crc, const void* bytes, size_t length) {
  if (bytes == nullptr) return 0;
  return MethodFn(method)(crc, static_cast<const unsigned char*>(bytes), length);
}

}  // namespace ace
