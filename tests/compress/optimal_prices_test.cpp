#include "compress/optimal_prices.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using ace::kNoPrice;
using ace::OptimalPrices;

// Prices that tell every symbol apart: main symbol s costs 1000 + s, length
// symbol l costs l.
std::unique_ptr<OptimalPrices> DistinctPrices() {
  auto p = std::make_unique<OptimalPrices>();
  for (uint32_t s = 0; s < ace::kPriceMainSymbols; ++s) p->main[s] = 1000 + s;
  for (uint32_t l = 0; l < ace::kPriceLengthSymbols; ++l) p->length[l] = l;
  return p;
}

TEST(OptimalPrices, FileStartGuessesAndKeepsRepeatPrices) {
  auto p = std::make_unique<OptimalPrices>();
  for (uint32_t s = 256; s < 260; ++s) p->main[s] = s - 250;
  p->mainCount[7] = 3;
  p->lengthCount[9] = 4;
  p->sinceRebuild = 77;
  ace::ResetOptimalPrices(*p);
  EXPECT_EQ(p->main[0], 13u);
  EXPECT_EQ(p->main[255], 13u);
  for (uint32_t s = 256; s < 260; ++s) EXPECT_EQ(p->main[s], s - 250) << s;
  EXPECT_EQ(p->main[260], 6u);
  EXPECT_EQ(p->main[280], 26u);
  EXPECT_EQ(p->main[281], 27u);
  EXPECT_EQ(p->length[0], 10u);
  EXPECT_EQ(p->length[255], 10u);
  EXPECT_EQ(p->mainCount[7], 0u);
  EXPECT_EQ(p->lengthCount[9], 0u);
  EXPECT_EQ(p->sinceRebuild, 0u);
}

TEST(OptimalPrices, WidthsBecomePricesOnlyForCountedSymbols) {
  auto p = std::make_unique<OptimalPrices>();
  uint8_t mainWidths[ace::kPriceMainSymbols] = {};
  uint8_t lengthWidths[ace::kPriceLengthSymbols] = {};
  for (auto& w : mainWidths) w = 5;
  for (auto& w : lengthWidths) w = 4;
  mainWidths[258] = 0;  // an unused repeat symbol has no width
  p->mainCount['e'] = 10;
  p->mainCount[256] = 2;
  p->mainCount[265] = 1;  // distances of 5 significant bits
  p->lengthCount[3] = 7;
  ace::SetPricesFromWidths(*p, mainWidths, lengthWidths);
  EXPECT_EQ(p->main['e'], 5u);
  EXPECT_EQ(p->main['f'], 13u);  // a width the builder may have added does not count
  EXPECT_EQ(p->main[256], 5u);
  EXPECT_EQ(p->main[257], 5u);  // repeat symbols take their width, counted or not
  EXPECT_EQ(p->main[258], 0u);
  EXPECT_EQ(p->main[265], 5u + 5u);
  EXPECT_EQ(p->main[266], 6u + 6u);
  EXPECT_EQ(p->length[3], 4u);
  EXPECT_EQ(p->length[4], 10u);
}

struct PriceCase {
  const char* what;
  uint32_t ring[4];
  uint32_t index;
  uint32_t d;
  uint32_t length;
  uint32_t expected;  // with DistinctPrices
};

TEST(OptimalPrices, MatchPriceFollowsTheCodersForms) {
  const PriceCase cases[] = {
      {"new distance, short", {9, 9, 9, 9}, 0, 0, 2, 1260 + 0},
      {"new distance d=1", {9, 9, 9, 9}, 0, 1, 5, 1261 + 3},
      {"2 bytes at distance 255", {9, 9, 9, 9}, 0, 254, 2, 1268 + 0},
      {"2 bytes at distance 256", {9, 9, 9, 9}, 0, 255, 2, kNoPrice},
      {"3 bytes at distance 256", {9, 9, 9, 9}, 0, 255, 3, 1268 + 1},
      {"3 bytes at distance 257", {9, 9, 9, 9}, 0, 256, 3, 1269 + 0},
      {"3 bytes at distance 8191", {9, 9, 9, 9}, 0, 8190, 3, 1273 + 0},
      {"3 bytes at distance 8192", {9, 9, 9, 9}, 0, 8191, 3, kNoPrice},
      {"4 bytes at distance 8193", {9, 9, 9, 9}, 0, 8192, 4, 1274 + 0},
      {"256 bytes far", {9, 9, 9, 9}, 0, 524288, 256, 1280 + 252},
      {"most recent repeat", {7, 0, 0, 0}, 0, 7, 2, 1256 + 0},
      {"second repeat", {7, 5, 0, 0}, 1, 7, 6, 1257 + 4},
      {"third repeat", {0, 5, 7, 3}, 3, 5, 9, 1258 + 6},
      {"fourth repeat", {0, 5, 7, 3}, 3, 0, 5, 1259 + 2},
      {"nearest of equal entries wins", {4, 4, 4, 4}, 2, 4, 3, 1256 + 1},
      {"third repeat cannot say length 2", {0, 5, 7, 3}, 3, 5, 2, 1263 + 0},
      {"far third repeat cannot say length 4", {0, 9000, 7, 3}, 3, 9000, 4, 1274 + 0},
      {"far third repeat, length 5", {0, 9000, 7, 3}, 3, 9000, 5, 1258 + 2},
      {"far repeat of 2 bytes is never priced", {300, 0, 0, 0}, 0, 300, 2, kNoPrice},
      {"far repeat of 3 bytes is never priced", {9000, 0, 0, 0}, 0, 9000, 3, kNoPrice},
      {"near repeat at index 0 of length 4, far", {9000, 0, 0, 0}, 0, 9000, 4, 1256 + 2},
  };
  auto p = DistinctPrices();
  for (const auto& c : cases) {
    EXPECT_EQ(ace::MatchPrice(*p, ace::RingView{c.ring, c.index}, c.d, c.length), c.expected)
        << c.what;
  }
}

}  // namespace
