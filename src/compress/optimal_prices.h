// Prices in bits of the optimal engine's tokens: the code widths that the
// current block's symbol counts would give, with fixed guesses for symbols
// not seen yet.
#pragma once

#include <cstdint>

#include "compress/compressor_core.h"
#include "format/lz77_format.h"

namespace ace {

// Price of what cannot be coded (and of plan entries not reached yet).
inline constexpr uint32_t kNoPrice = 0xFFFFFFFu;
// Tokens between two periodic rebuilds.
inline constexpr uint32_t kPricePeriod = 1024;

struct OptimalPrices {
  uint32_t main[lz77::kMainSymbols] = {};
  uint32_t length[lz77::kLengthSymbols] = {};
  // Symbol counts of the current block.
  uint32_t mainCount[lz77::kMainSymbols] = {};
  uint32_t lengthCount[lz77::kLengthSymbols] = {};
  // Tokens recorded since the file's start or the last periodic rebuild.
  uint32_t sinceRebuild = 0;
};

// The most recent match distances as the recorded tokens left them.
struct RingView {
  const uint32_t* entries;  // four distance values (distance - 1)
  uint32_t index;           // entry of the most recent one
};

// File start: counts cleared, fixed guesses for literals, distances and
// lengths; the repeat symbols keep what the last rebuild gave them.
void ResetOptimalPrices(OptimalPrices& prices);

// Takes the code widths that the counts produced (widths of all main and
// length symbols) as prices, with the guesses for symbols without count.
// The counts are left as they are.
void SetPricesFromWidths(OptimalPrices& prices, const uint8_t* mainWidths,
                         const uint8_t* lengthWidths);

// Price of a match of `length` bytes at distance value d, coded as the coder
// would code it with the ring as it stands.
inline uint32_t MatchPrice(const OptimalPrices& prices, RingView ring, uint32_t d,
                           uint32_t length) {
  // Too short for its distance: the format cannot say it, or says it badly.
  if ((length == 2 && d >= 255) || (length == 3 && d >= 8191)) return kNoPrice;
  const uint32_t lengthSymbol = lz77::NewDistanceLengthSymbol(length, d);
  const uint32_t i = lz77::FindInRing(ring.entries, ring.index, d);
  if (i < lz77::kRingSize && TakesRepeat(i, lengthSymbol, length)) {
    return prices.main[lz77::kFirstRepeatSymbol + i] +
           prices.length[length - lz77::RepeatMinLength(i)];
  }
  return prices.main[lz77::DistanceSymbol(d)] + prices.length[lengthSymbol];
}

}  // namespace ace
