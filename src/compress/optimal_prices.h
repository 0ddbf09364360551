// Prices in bits of the optimal engine's tokens: the code widths that the
// current block's symbol counts would give, with fixed guesses for symbols
// not seen yet.
#pragma once

#include <cstdint>

namespace ace {

inline constexpr uint32_t kPriceMainSymbols = 282;
inline constexpr uint32_t kPriceLengthSymbols = 256;
// Price of what cannot be coded (and of plan entries not reached yet).
inline constexpr uint32_t kNoPrice = 0xFFFFFFFu;
// Tokens between two periodic rebuilds.
inline constexpr uint32_t kPricePeriod = 1024;

struct OptimalPrices {
  uint32_t main[kPriceMainSymbols] = {};
  uint32_t length[kPriceLengthSymbols] = {};
  // Symbol counts of the current block.
  uint32_t mainCount[kPriceMainSymbols] = {};
  uint32_t lengthCount[kPriceLengthSymbols] = {};
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

// Takes the code widths that the counts produced (widths of all 282 main and
// 256 length symbols) as prices, with the guesses for symbols without count.
// The counts are left as they are.
void SetPricesFromWidths(OptimalPrices& prices, const uint8_t* mainWidths,
                         const uint8_t* lengthWidths);

inline uint32_t SignificantBits(uint32_t value) {
  return value == 0 ? 0 : 32u - static_cast<uint32_t>(__builtin_clz(value));
}

// Price of a match of `length` bytes at distance value d, coded as the coder
// would code it with the ring as it stands.
inline uint32_t MatchPrice(const OptimalPrices& prices, RingView ring, uint32_t d,
                           uint32_t length) {
  // Too short for its distance: the format cannot say it, or says it badly.
  if ((length == 2 && d >= 255) || (length == 3 && d >= 8191)) return kNoPrice;
  const uint32_t lengthSymbol = length - 2 - (d > 255 ? 1 : 0) - (d > 8191 ? 1 : 0);
  for (uint32_t i = 0; i < 4; ++i) {
    if (ring.entries[(ring.index - i) & 3] != d) continue;
    if (i >= 2 && lengthSymbol == 0) break;  // a far repeat cannot say its shortest length
    if (i <= 1 && length == 258) break;
    return prices.main[256 + i] + prices.length[i <= 1 ? length - 2 : length - 3];
  }
  return prices.main[260 + SignificantBits(d)] + prices.length[lengthSymbol];
}

}  // namespace ace
