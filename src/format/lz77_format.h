// The LZ77 packed data's alphabet and token rules, shared by the compressor and the decoder (which
// lives in the extraction library and includes this header on its own).
//
// A token is a main symbol, for a match followed by a length symbol:
//   0..255    a literal byte;
//   256..259  a repeat of entry i = symbol - 256 of the ring of recent distance values;
//   260..281  a new distance value d with n = symbol - 260 significant bits; the n - 1 bits
//             below the top one follow the main code.
// Distance values are distance - 1. Main and length codes are Huffman codes of at most
// kMaxCodeWidth bits, sent as widths under a small code of at most kMaxWidthCodeWidth bits.
#pragma once

#include <bit>
#include <cstdint>

namespace ace::lz77 {

inline constexpr uint32_t kLiteralSymbols = 256;
inline constexpr uint32_t kFirstRepeatSymbol = kLiteralSymbols;
inline constexpr uint32_t kRingSize = 4;  // one repeat symbol per ring entry
inline constexpr uint32_t kFirstDistanceSymbol = kFirstRepeatSymbol + kRingSize;
inline constexpr uint32_t kDistanceSymbols = 22;  // bit counts 0..21
inline constexpr uint32_t kMainSymbols = kFirstDistanceSymbol + kDistanceSymbols;
inline constexpr uint32_t kLengthSymbols = 256;

inline constexpr uint32_t kMaxCodeWidth = 11;      // main and length codes
inline constexpr uint32_t kMaxWidthCodeWidth = 7;  // the code that sends their widths

// Significant bits of a distance value (0 for 0): its new-distance symbol's class.
constexpr uint32_t DistanceBits(uint32_t d) { return static_cast<uint32_t>(std::bit_width(d)); }
constexpr uint32_t DistanceSymbol(uint32_t d) { return kFirstDistanceSymbol + DistanceBits(d); }

// Length symbol 0 of a new distance means this length: longer distances start longer, since a
// short match far away would cost more than its literals.
constexpr uint32_t NewDistanceMinLength(uint32_t d) {
  return 2 + (d > 255 ? 1 : 0) + (d > 8191 ? 1 : 0);
}
constexpr uint32_t NewDistanceLengthSymbol(uint32_t length, uint32_t d) {
  return length - NewDistanceMinLength(d);
}
// Length symbol 0 of a repeat of ring entry i: the two newest entries start at 2, the others at 3.
constexpr uint32_t RepeatMinLength(uint32_t i) { return i <= 1 ? 2 : 3; }

// The longest match a token can say: the largest length symbol on the largest base.
inline constexpr uint32_t kMaxMatchLength = kLengthSymbols - 1 + NewDistanceMinLength(8192);
// The longest match the compressor emits. Every token form can say it, so a match never has to
// be cut to fit its form; the compressor's packed bytes depend on this value.
inline constexpr uint32_t kMaxEmittedMatch = 256;
static_assert(kMaxEmittedMatch - RepeatMinLength(0) < kLengthSymbols);

// The ring of the four most recent distance values, `newest` the slot of the latest. Every file
// starts with four zeros and newest = 0. A new distance takes the slot after the newest; a repeat
// of entry i moves that entry to the newest slot and the entries newer than it back by one.
constexpr uint32_t RingEntry(const uint32_t* ring, uint32_t newest, uint32_t i) {
  return ring[(newest - i) & (kRingSize - 1)];
}

// The first entry holding d, counted from the newest; kRingSize when none does.
constexpr uint32_t FindInRing(const uint32_t* ring, uint32_t newest, uint32_t d) {
  uint32_t i = 0;
  while (i < kRingSize && RingEntry(ring, newest, i) != d) ++i;
  return i;
}

constexpr void PushDistance(uint32_t* ring, uint32_t& newest, uint32_t d) {
  newest = (newest + 1) & (kRingSize - 1);
  ring[newest] = d;
}

// Returns the repeated distance value.
constexpr uint32_t RepeatDistance(uint32_t* ring, uint32_t newest, uint32_t i) {
  const uint32_t d = RingEntry(ring, newest, i);
  for (uint32_t k = i; k > 0; --k) {
    ring[(newest - k) & (kRingSize - 1)] = ring[(newest - k + 1) & (kRingSize - 1)];
  }
  ring[newest] = d;
  return d;
}

}  // namespace ace::lz77
