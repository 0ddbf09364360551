#include "compress/huffman.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using ace::AssignHuffmanCodes;
using ace::BuildHuffmanCode;

// Within a width, codes follow the width sort's order, not the symbol values.
TEST(HuffmanCodes, CodesFollowTheWidthOrder) {
  const struct {
    std::vector<uint8_t> widths;
    std::vector<uint16_t> codes;
  } cases[] = {
      {{1, 1, 0}, {1, 0, 0}},
      {{1, 1}, {0, 1}},
      {{2, 2, 1}, {0b11, 0b10, 0b0}},
  };
  for (const auto& c : cases) {
    std::vector<uint16_t> codes(c.widths.size(), 0xFFFF);
    AssignHuffmanCodes(c.widths.data(), static_cast<int>(c.widths.size()) - 1, codes.data());
    EXPECT_EQ(codes, c.codes);
  }
}

struct Built {
  int last;
  std::vector<uint8_t> widths;
  std::vector<uint16_t> codes;
};

Built Build(const std::vector<uint32_t>& frequencies, int maxWidth) {
  Built b;
  b.widths.assign(frequencies.size(), 0xEE);
  b.codes.assign(frequencies.size(), 0xEEEE);
  b.last = BuildHuffmanCode(frequencies.data(), static_cast<int>(frequencies.size()), maxWidth,
                            b.widths.data(), b.codes.data());
  return b;
}

// Kraft sum of the code in units of 2^-maxWidth; a complete code sums to 1.
uint64_t KraftUnits(const std::vector<uint8_t>& widths, int maxWidth) {
  uint64_t sum = 0;
  for (uint8_t w : widths) {
    if (w != 0) sum += uint64_t{1} << (maxWidth - w);
  }
  return sum;
}

bool PrefixFree(const Built& b) {
  for (size_t i = 0; i < b.widths.size(); ++i) {
    for (size_t j = 0; j < b.widths.size(); ++j) {
      if (i == j || b.widths[i] == 0 || b.widths[j] == 0 || b.widths[i] > b.widths[j]) continue;
      if ((b.codes[j] >> (b.widths[j] - b.widths[i])) == b.codes[i]) return false;
    }
  }
  return true;
}

// A code always has two symbols: missing ones are added as cheaply as possible.
TEST(HuffmanCodes, TooFewSymbolsAreCompleted) {
  const struct {
    std::vector<int> used;
    int last;
    std::vector<int> widthOne;  // symbols that end with width 1
  } cases[] = {
      {{}, 1, {0, 1}}, {{0}, 1, {0, 1}}, {{1}, 2, {1, 2}}, {{2}, 2, {0, 2}}, {{97}, 97, {0, 97}},
  };
  for (const auto& c : cases) {
    std::vector<uint32_t> f(256, 0);
    for (int s : c.used) f[s] = 7;
    const Built b = Build(f, 11);
    EXPECT_EQ(b.last, c.last);
    int nonzero = 0;
    for (uint8_t w : b.widths) nonzero += w != 0;
    EXPECT_EQ(nonzero, 2);
    for (int s : c.widthOne) EXPECT_EQ(b.widths[s], 1) << "symbol " << s;
  }
}

// Frequencies that grow like the Fibonacci numbers build a tree far deeper
// than 11; the fix-up must bring every width down and keep the code complete.
TEST(HuffmanCodes, DeepTreesAreLimitedAndStayComplete) {
  for (int symbols : {20, 25, 30}) {
    std::vector<uint32_t> f(static_cast<size_t>(symbols));
    f[0] = 1;
    f[1] = 1;
    for (int i = 2; i < symbols; ++i) f[i] = f[i - 1] + f[i - 2];
    const Built unlimited = Build(f, 15);
    const Built b = Build(f, 11);
    SCOPED_TRACE(symbols);
    EXPECT_EQ(*std::max_element(unlimited.widths.begin(), unlimited.widths.end()), 15);
    EXPECT_LE(*std::max_element(b.widths.begin(), b.widths.end()), 11);
    EXPECT_EQ(KraftUnits(b.widths, 11), uint64_t{1} << 11);
    EXPECT_TRUE(PrefixFree(b));
    // More frequent symbols never get longer codes.
    for (int i = 1; i < symbols; ++i) EXPECT_LE(b.widths[i], b.widths[i - 1]);
  }
}

TEST(HuffmanCodes, RandomFrequenciesGiveCompletePrefixCodes) {
  std::mt19937 gen(7);
  for (int round = 0; round < 40; ++round) {
    const int symbols = round % 2 ? 282 : 13;
    const int maxWidth = symbols == 13 ? 7 : 11;
    std::vector<uint32_t> f(static_cast<size_t>(symbols));
    for (auto& x : f) x = gen() % 4 == 0 ? 0 : gen() % (round < 20 ? 30 : 5000);
    const Built b = Build(f, maxWidth);
    SCOPED_TRACE(round);
    EXPECT_EQ(KraftUnits(b.widths, maxWidth), uint64_t{1} << maxWidth);
    EXPECT_TRUE(PrefixFree(b));
    for (int s = 0; s < symbols; ++s) {
      if (s > b.last) EXPECT_EQ(b.widths[s], 0);
      if (f[s] != 0) EXPECT_NE(b.widths[s], 0);
    }
  }
}

}  // namespace
