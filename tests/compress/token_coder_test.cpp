// The block coder driven token by token, read back with the test reader.
#include <gtest/gtest.h>

#include <vector>

#include "compress/compress_support.h"
#include "compress/compressor_core.h"
#include "compress/huffman.h"

namespace {

using acetest::Bytes;

// A compressor whose engine saw an empty file, so that tokens can be fed to
// the coder directly. `data` tracks the bytes the tokens stand for.
class Coder {
 public:
  Coder() {
    EXPECT_TRUE(compressor_.Init(64, 1));
    io_.input = &empty_;
    compressor_.SetIo(io_.Io());
    compressor_.StartFile(0, false);
  }
  ace::CompressorCore& core() { return compressor_.Core(); }
  void Literal(uint8_t b) {
    ace::RecordLiteral(core(), b);
    data.push_back(b);
  }
  void Match(uint32_t length, uint32_t distance) {
    ace::RecordMatch(core(), ace::NewDistanceLengthSymbol(length, distance - 1), distance);
    for (uint32_t i = 0; i < length; ++i) data.push_back(data[data.size() - distance]);
  }
  acetest::ReadResult Finish() {
    compressor_.Core().unpackedSize = static_cast<uint32_t>(data.size());
    compressor_.Finish();
    EXPECT_EQ(compressor_.Status(), 0u);
    EXPECT_EQ(compressor_.PackedSize(), io_.output.size());
    auto r = acetest::ReadPacked(io_.output, data.size());
    EXPECT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.data, data);
    return r;
  }
  Bytes data;
  const Bytes& output() const { return io_.output; }

 private:
  Bytes empty_;
  acetest::MemoryIo io_;
  ace::Compressor compressor_;
};

TEST(TokenCoder, AbcIsTheKnownBlockOnEveryEngine) {
  const Bytes expected = {0x2D, 0x19, 0x86, 0x31, 0x00, 0x65, 0x5B, 0xB6, 0x00, 0x00, 0x00,
                          0x00, 0x00, 0x00, 0x00, 0x00, 0x4D, 0x00, 0x00, 0x00, 0xB9, 0x31,
                          0x04, 0x58, 0x21, 0x49, 0x8E, 0x24, 0x00, 0xE6, 0x00, 0x40};
  for (int dict : {64, 128, 256, 512, 1024}) {
    for (int level = 0; level <= 4; ++level) {
      const auto r = acetest::Pack(Bytes{'a', 'b', 'c'}, dict, level);
      EXPECT_EQ(r.packed, expected) << dict << " KB level " << level;
    }
  }
}

// Frequencies halving from symbol 1 on give symbol 1 width 1 and push symbol 0
// to the longest width, so the second delta wraps: (1 - 11) mod 12 = 2.
TEST(TokenCoder, WidthDeltasWrapModuloTwelve) {
  Coder c;
  std::vector<uint32_t> frequency(ace::kMainSymbols, 0);
  c.Literal(0);
  frequency[0] = 1;
  for (int s = 1; s <= 12; ++s) {
    for (int n = 0; n < (4096 >> (s - 1)); ++n) c.Literal(static_cast<uint8_t>(s));
    frequency[s] = 4096u >> (s - 1);
  }
  const auto r = c.Finish();
  ASSERT_EQ(r.blocks.size(), 1u);
  const auto& block = r.blocks[0];
  std::vector<uint8_t> widths(ace::kMainSymbols);
  std::vector<uint16_t> codes(ace::kMainSymbols);
  const int last =
      ace::BuildHuffmanCode(frequency.data(), ace::kMainSymbols, 11, widths.data(), codes.data());
  widths.resize(static_cast<size_t>(last) + 1);
  EXPECT_EQ(block.mainWidths, widths);
  ASSERT_EQ(widths[0], 11);
  ASSERT_EQ(widths[1], 1);
  EXPECT_EQ(block.mainDeltas[0], 11);
  EXPECT_EQ(block.mainDeltas[1], 2);
  // The length code of a block without matches: symbols 0 and 1, width 1 each.
  EXPECT_EQ(block.lengthWidths, (std::vector<uint8_t>{1, 1}));
}

TEST(TokenCoder, BlocksHoldAtMost16384Tokens) {
  struct Case {
    uint32_t tokens;
    std::vector<size_t> blocks;
  };
  for (const Case& k : std::vector<Case>{{1, {1}},
                                         {16383, {16383}},
                                         {16384, {16384}},
                                         {16385, {16384, 1}},
                                         {32768, {16384, 16384}},
                                         {32769, {16384, 16384, 1}}}) {
    Coder c;
    for (uint32_t i = 0; i < k.tokens; ++i) c.Literal(static_cast<uint8_t>(i * 7 + (i >> 8)));
    const auto r = c.Finish();
    std::vector<size_t> sizes;
    for (const auto& b : r.blocks) sizes.push_back(b.tokens.size());
    EXPECT_EQ(sizes, k.blocks) << k.tokens << " tokens";
  }
}

// The data ends with zero bits up to a whole word; when the last token fills
// its word exactly, no padding word follows.
TEST(TokenCoder, PaddingEndsAtTheWordThatHoldsTheLastBit) {
  int exactlyFull = 0;
  for (int n = 1; n <= 200; ++n) {
    Coder c;
    for (int i = 0; i < n; ++i) c.Literal(static_cast<uint8_t>('a' + (i * i) % 11));
    const auto r = c.Finish();  // checks size == used bits rounded up, zero padding
    if (r.bitsUsed % 32 == 0) ++exactlyFull;
  }
  EXPECT_GT(exactlyFull, 0) << "no case ended exactly at a word boundary";
}

struct MatchCase {
  uint32_t length;
  uint32_t distance;
  uint32_t mainSymbol;    // as sent
  uint32_t lengthSymbol;  // as sent
};

// The repeat ring starts as four zeros; a distance in it becomes a repeat
// unless a third or fourth entry would have to say the shortest length.
TEST(TokenCoder, MatchFormsFollowTheRepeatRing) {
  const std::vector<MatchCase> cases = {
      {2, 1, 256, 0},       // d = 0 is in the fresh ring
      {2, 256, 268, 0},     // d = 255: 8 bits, length 2 allowed
      {3, 257, 269, 0},     // d = 256 needs 3 bytes
      {4, 8193, 274, 0},    // d = 8192 needs 4 bytes
      {4, 524289, 280, 0},  // d = 524288: 19 zero bits follow
      {3, 257, 269, 0},     // third most recent, shortest length: new distance
      {3, 1, 260, 1},       // d = 0 has left the ring
      {8, 257, 257, 6},     // second most recent: repeat 1, length - 2
      {7, 8193, 259, 4},    // fourth most recent, longer: repeat 3, length - 3
      {256, 1, 258, 253},   // third most recent, longest length
  };
  Coder c;
  for (uint32_t i = 0; i < 524300; ++i) c.Literal(static_cast<uint8_t>((i * 7) ^ (i >> 9)));
  for (const auto& m : cases) c.Match(m.length, m.distance);
  const auto r = c.Finish();
  std::vector<acetest::ReadToken> matches;
  for (const auto& b : r.blocks) {
    for (const auto& t : b.tokens) {
      if (t.mainSymbol >= 256) matches.push_back(t);
    }
  }
  ASSERT_EQ(matches.size(), cases.size());
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(matches[i].mainSymbol, cases[i].mainSymbol);
    EXPECT_EQ(matches[i].lengthSymbol, cases[i].lengthSymbol);
    EXPECT_EQ(matches[i].length, cases[i].length);
    EXPECT_EQ(matches[i].distance, cases[i].distance);
  }
}

}  // namespace
