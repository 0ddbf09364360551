#include "compress/optimal_prices.h"

#include <cstring>

namespace ace {
namespace {

constexpr uint32_t kUnseenLiteral = 13;
constexpr uint32_t kUnseenLength = 10;
constexpr uint32_t kUnseenDistanceExtra = 6;  // plus the distance's bit count

}  // namespace

void ResetOptimalPrices(OptimalPrices& prices) {
  std::memset(prices.mainCount, 0, sizeof prices.mainCount);
  std::memset(prices.lengthCount, 0, sizeof prices.lengthCount);
  prices.sinceRebuild = 0;
  for (uint32_t s = 0; s < lz77::kLiteralSymbols; ++s) prices.main[s] = kUnseenLiteral;
  for (uint32_t n = 0; n < lz77::kDistanceSymbols; ++n) {
    prices.main[lz77::kFirstDistanceSymbol + n] = n + kUnseenDistanceExtra;
  }
  for (uint32_t s = 0; s < lz77::kLengthSymbols; ++s) prices.length[s] = kUnseenLength;
}

void SetPricesFromWidths(OptimalPrices& prices, const uint8_t* mainWidths,
                         const uint8_t* lengthWidths) {
  for (uint32_t s = 0; s < lz77::kLiteralSymbols; ++s) {
    prices.main[s] = prices.mainCount[s] != 0 ? mainWidths[s] : kUnseenLiteral;
  }
  for (uint32_t s = lz77::kFirstRepeatSymbol; s < lz77::kFirstDistanceSymbol; ++s) {
    prices.main[s] = mainWidths[s];
  }
  for (uint32_t n = 0; n < lz77::kDistanceSymbols; ++n) {
    const uint32_t s = lz77::kFirstDistanceSymbol + n;
    prices.main[s] = prices.mainCount[s] != 0 ? mainWidths[s] + n : n + kUnseenDistanceExtra;
  }
  for (uint32_t s = 0; s < lz77::kLengthSymbols; ++s) {
    prices.length[s] = prices.lengthCount[s] != 0 ? lengthWidths[s] : kUnseenLength;
  }
}

}  // namespace ace
