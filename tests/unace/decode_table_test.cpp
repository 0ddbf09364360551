// Decode tables built from code widths: the order of codes within a width, the one-symbol and
// no-symbol codes, and the tables that cannot be built.
#include "unace/decoder/decode_table.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using ace::EntrySymbol;
using ace::EntryWidth;
using ace::MakeDecodeTable;

struct Built {
  bool ok;
  std::vector<uint8_t> widths;
  std::vector<uint16_t> table;
};

Built Build(std::vector<uint8_t> widths, uint32_t bits = 11) {
  std::vector<uint16_t> table(1u << bits, 0xFFFF);
  bool ok =
      MakeDecodeTable(bits, static_cast<uint32_t>(widths.size() - 1), widths.data(), table.data());
  return {ok, widths, table};
}

// The symbol and width that the code `code` of `width` bits decodes to.
std::pair<uint32_t, uint32_t> Lookup(const Built& b, uint32_t code, uint32_t width) {
  uint16_t e = b.table[code << (11 - width)];
  return {EntrySymbol(e), EntryWidth(e)};
}

TEST(DecodeTableTest, EqualWidthsFollowTheSortOrder) {
  struct Case {
    std::vector<uint8_t> widths;
    // symbol -> (code, width)
    std::vector<std::pair<uint32_t, uint32_t>> codes;
  };
  const Case cases[] = {
      {{1, 1, 0}, {{1, 1}, {0, 1}}},          // symbol 0 gets 1, symbol 1 gets 0
      {{1, 1}, {{0, 1}, {1, 1}}},             // symbol 0 gets 0
      {{2, 2, 1}, {{3, 2}, {2, 2}, {0, 1}}},  // 11, 10, 0
  };
  for (const Case& c : cases) {
    Built b = Build(c.widths);
    ASSERT_TRUE(b.ok);
    for (uint32_t s = 0; s < c.codes.size(); ++s) {
      auto [code, width] = c.codes[s];
      EXPECT_EQ(Lookup(b, code, width), std::make_pair(s, width)) << "symbol " << s;
    }
  }
}

TEST(DecodeTableTest, SingleUsedSymbolTakesOneBitAndTheRestIsSymbolZero) {
  std::vector<uint8_t> widths(10, 0);
  widths[5] = 3;
  Built b = Build(widths);
  ASSERT_TRUE(b.ok);
  EXPECT_EQ(b.widths[5], 1);
  for (uint32_t i = 0; i < 2048; ++i) {
    const uint32_t expected = i < 256 ? 5 : 0;
    ASSERT_EQ(EntrySymbol(b.table[i]), expected) << i;
    ASSERT_EQ(EntryWidth(b.table[i]), i < 256 ? 1u : 0u) << i;
  }
}

TEST(DecodeTableTest, NoUsedSymbolGivesTheFirstInOrderEverything) {
  Built b = Build(std::vector<uint8_t>(4, 0), 7);
  ASSERT_TRUE(b.ok);
  int withWidth = 0;
  for (int s = 0; s < 4; ++s) withWidth += b.widths[s];
  ASSERT_EQ(withWidth, 1);
  const uint16_t first = b.table[0];
  EXPECT_EQ(b.widths[EntrySymbol(first)], 1);
  for (uint16_t e : b.table) EXPECT_EQ(e, first);
}

TEST(DecodeTableTest, WidthAboveTableBitsFailsOnlyWhenItMustBePlaced) {
  EXPECT_FALSE(Build({1, 12}).ok);
  EXPECT_FALSE(Build({2, 2, 2, 8}, 7).ok);
  // The table is full after the two 1-bit codes; the long one is left out.
  Built b = Build({1, 1, 12});
  ASSERT_TRUE(b.ok);
  for (uint16_t e : b.table) EXPECT_NE(EntrySymbol(e), 2u);
}

}  // namespace
