#include "format/comment_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "compress/huffman.h"
#include "format/comment_encoder.h"
#include "support/test_support.h"

namespace {

using acetest::BitWriter;
using acetest::Bytes;

struct Decoded {
  int result = 0;
  int32_t length = -1;
  std::string text;
};

// Where two texts first differ (npos when equal), so failures stay short.
size_t FirstDifference(const std::string& a, const std::string& b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t k = 0; k < n; ++k) {
    if (a[k] != b[k]) return k;
  }
  return a.size() == b.size() ? std::string::npos : n;
}

Decoded Decode(const Bytes& block) {
  std::vector<char> text(ace::kCommentTextSize, '\x55');
  Decoded d;
  d.result = ace::DecodeCommentBytes(block.data(), block.size(), text.data(), &d.length);
  if (d.result) {
    EXPECT_EQ(text[static_cast<size_t>(d.length)], '\0');
    d.text.assign(text.data(), static_cast<size_t>(d.length));
  }
  return d;
}

// ---- golden blocks made by another implementation ----

TEST(CommentDecoder, GoldenBlocksDecodeExactly) {
  for (const char* name : {"comment-short", "comment-long"}) {
    SCOPED_TRACE(name);
    const auto dir = acetest::TestDataDir() / "comments";
    const Bytes block = acetest::ReadFileBytes(dir / (std::string(name) + ".bin"));
    const Bytes want = acetest::ReadFileBytes(dir / (std::string(name) + ".txt"));
    const Decoded d = Decode(block);
    ASSERT_EQ(d.result, 1);
    EXPECT_EQ(FirstDifference(d.text, std::string(want.begin(), want.end())), std::string::npos);
  }
}

// ---- decode tables ----

TEST(MakeDecodeTable, ShortestCodesTakeTheFirstEntries) {
  // Sorted by width the order is symbols 2, 0, 1: symbol 1 (width 1) takes
  // the first half, then symbol 0, then symbol 2.
  uint8_t widths[3] = {2, 1, 2};
  uint16_t table[128];
  ASSERT_EQ(ace::MakeDecodeTable(7, 2, widths, table), 1);
  for (int k = 0; k < 128; ++k) {
    const int want = k < 64 ? 1 : k < 96 ? 0 : 2;
    ASSERT_EQ(table[k], want) << k;
  }
}

TEST(MakeDecodeTable, Cases) {
  struct Case {
    const char* what;
    int maxwidth;
    std::vector<uint8_t> widths;
    int result;
  };
  const Case cases[] = {
      {"complete", 3, {1, 2, 3, 3}, 1},
      // Codes are placed shortest first, so a table fills up exactly; codes
      // beyond a full table are never reached.
      {"codes beyond a full table", 7, {1, 1, 1}, 1},
      {"long code beyond a full table", 11, {12, 1, 1}, 1},
      // A code longer than the table's index cannot be placed.
      {"long code needed", 11, {12, 1}, 0},
      {"longest transmitted width", 11, {29, 29}, 0},
      {"incomplete", 4, {2, 3, 0, 0}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<uint8_t> widths = c.widths;
    std::vector<uint16_t> table(size_t{1} << c.maxwidth);
    EXPECT_EQ(ace::MakeDecodeTable(c.maxwidth, static_cast<int>(widths.size()) - 1, widths.data(),
                                   table.data()),
              c.result);
  }
}

TEST(MakeDecodeTable, UnfilledEntriesKeepTheirContents) {
  uint8_t widths[2] = {2, 2};
  uint16_t table[8];
  std::fill(table, table + 8, uint16_t{0xEEEE});
  ASSERT_EQ(ace::MakeDecodeTable(3, 1, widths, table), 1);
  EXPECT_EQ(std::count(table, table + 4, uint16_t{0xEEEE}), 0);
  EXPECT_EQ(std::count(table + 4, table + 8, uint16_t{0xEEEE}), 4);
}

TEST(MakeDecodeTable, OneOrNoWidthCostsOneBit) {
  // All zero: every entry is the symbol the sort leaves first, with width 1.
  std::vector<uint8_t> keys(6, 0);
  std::vector<uint16_t> order{0, 1, 2, 3, 4, 5};
  ace::SortWidths(keys.data(), order.data(), 5);
  uint8_t zero[6] = {};
  uint16_t table[16];
  ASSERT_EQ(ace::MakeDecodeTable(4, 5, zero, table), 1);
  EXPECT_EQ(std::count(table, table + 16, order[0]), 16);
  EXPECT_EQ(zero[order[0]], 1);

  // One width w: its symbol fills 2^(maxwidth - w) entries and takes 1 bit.
  uint8_t single[4] = {0, 0, 3, 0};
  uint16_t table2[16];
  std::fill(table2, table2 + 16, uint16_t{7});
  ASSERT_EQ(ace::MakeDecodeTable(4, 3, single, table2), 1);
  EXPECT_EQ(std::count(table2, table2 + 2, uint16_t{2}), 2);
  EXPECT_EQ(std::count(table2 + 2, table2 + 16, uint16_t{7}), 14);
  EXPECT_EQ(single[2], 1);
}

// ---- hand-made streams ----

TEST(CommentDecoder, AllWidthsZeroRepeatTheSymbolSortedFirst) {
  // 66 symbols, all unused: the widths come as runs of zeros under a width
  // code of one symbol (which itself costs 1 bit).
  BitWriter w;
  w.Put(4, 15);  // text length
  w.Put(65, 9);  // last symbol
  w.Put(0, 4);   // low
  w.Put(0, 4);   // top: only the run symbol
  w.Put(0, 3);   // its width 0 -> 1 bit
  for (int run : {19, 19, 19, 9}) {
    w.Put(0, 1);
    w.Put(static_cast<uint32_t>(run - 4), 4);
  }
  for (int k = 0; k < 4; ++k) w.Put(k & 1, 1);  // any bits: every prefix is the same symbol
  std::vector<uint8_t> keys(66, 0);
  std::vector<uint16_t> order(66);
  for (int k = 0; k < 66; ++k) order[k] = static_cast<uint16_t>(k);
  ace::SortWidths(keys.data(), order.data(), 65);
  const Decoded d = Decode(w.Bytes());
  ASSERT_EQ(d.result, 1);
  EXPECT_EQ(d.text, std::string(4, static_cast<char>(order[0])));
}

TEST(CommentDecoder, SingleWidthCodeFillsOnlyItsEntries) {
  // Symbol 2 has width 3, the others 0: prefixes 000 decode to symbol 2 (one
  // bit each); any other prefix hits the zero fill, symbol 0 of width 0,
  // which then repeats without consuming bits.
  BitWriter w;
  w.Put(5, 15);
  w.Put(2, 9);  // symbols 0..2
  w.Put(0, 4);  // low
  w.Put(4, 4);  // top: values 0..3 and the run symbol 4
  for (int k = 0; k <= 4; ++k) w.Put(3, 3);
  const auto code = acetest::CanonicalCodes(std::vector<uint8_t>(5, 3), 7);
  for (int value : {0, 0, 3}) w.Put(code[value], 3);
  w.Put(0b0001, 4);  // symbol 2, then the zero fill
  w.Put(0, 16);
  const Decoded d = Decode(w.Bytes());
  ASSERT_EQ(d.result, 1);
  EXPECT_EQ(d.text, std::string("\x02\0\0\0\0", 5));
}

TEST(CommentDecoder, EmptyTextStillReadsOneSymbol) {
  const auto enc = acetest::EncodeSymbols(0, {'A'});
  const Decoded d = Decode(enc.block);
  ASSERT_EQ(d.result, 1);
  EXPECT_EQ(d.length, 0);
}

TEST(CommentDecoder, CopiesBeforeTwoBytesComeFromPositionZero) {
  // 'x', then a 2-byte copy at position 1 from position 0 (overlapping),
  // 'y', then a 3-byte copy whose hash slot ("xy") is still empty, so it
  // copies from position 0 again.
  const auto enc = acetest::EncodeSymbols(7, {'x', 256, 'y', 257});
  const Decoded d = Decode(enc.block);
  ASSERT_EQ(d.result, 1);
  // p=1: m=0 -> "xx" at 1..2; p=3: h("xx") unset -> m=0, hash=3; 'y' at 3;
  // p=4: h("xy") unset -> m=0: copies "xxx" to 4..6.
  EXPECT_EQ(d.text, "xxxyxxx");
}

TEST(CommentDecoder, CopyPastTheLengthIsCutByTheTerminator) {
  const auto enc = acetest::EncodeSymbols(3, {'a', 'b', 281});  // 27-byte copy at 2
  const Decoded d = Decode(enc.block);
  ASSERT_EQ(d.result, 1);
  EXPECT_EQ(d.text, "aba");
}

// ---- round trips through the test encoder ----

TEST(CommentDecoder, RoundTrips) {
  std::string high;
  for (int k = 0; k < 600; ++k) high += static_cast<char>(0x80 + (k * 7 % 3) * 0x3F);
  std::string mixed;
  for (int k = 0; k < 2000; ++k) mixed += "abcdefgh"[(k * k + k / 3) % 8];
  const struct {
    const char* what;
    std::string text;
  } cases[] = {
      {"one byte", "Z"},
      {"repeats", std::string(500, 'q')},
      {"bytes of 128 and above hash unsigned", high},
      {"all byte values",
       [] {
         std::string s;
         for (int k = 0; k < 512; ++k) s += static_cast<char>(k & 0xFF);
         return s;
       }()},
      {"mixed", mixed},
  };
  for (const auto& c : cases) {
    for (bool copies : {false, true}) {
      SCOPED_TRACE(std::string(c.what) + (copies ? " with copies" : ""));
      const Decoded d = Decode(acetest::EncodeComment(c.text, copies).block);
      ASSERT_EQ(d.result, 1);
      EXPECT_EQ(FirstDifference(d.text, c.text), std::string::npos);
    }
  }
}

// ---- the bit reader ----

TEST(CommentBitReader, RefillsKeepTheStreamContinuous) {
  const Bytes data = acetest::RandomBytes(20000, 7);
  struct Src {
    const Bytes* data;
    size_t at = 0;
  } src{&data};
  ace::CommentSource source;
  source.context = &src;
  source.read = [](void* ctx, uint8_t* buf, int32_t n) -> int32_t {
    auto* s = static_cast<Src*>(ctx);
    const size_t k = std::min(static_cast<size_t>(n), s->data->size() - s->at);
    std::memcpy(buf, s->data->data() + s->at, k);
    s->at += k;
    return static_cast<int32_t>(k);
  };
  auto flatBits = [&](size_t pos, int n) {
    uint32_t v = 0;
    for (int k = 0; k < n; ++k, ++pos) {
      const size_t word = pos / 32;
      const size_t bitInWord = 31 - pos % 32;
      const size_t byte = word * 4 + bitInWord / 8;
      const uint32_t bit = byte < data.size() ? (data[byte] >> (bitInWord % 8)) & 1 : 0;
      v = v << 1 | bit;
    }
    return v;
  };
  std::vector<uint8_t> input(ace::kCommentInputSize);
  ace::CommentBitReader reader(source, input.data());
  reader.Start();
  size_t pos = 0;
  uint32_t seed = 1;
  while (pos + 64 < data.size() * 8) {
    ASSERT_EQ(reader.Peek(32), flatBits(pos, 32)) << pos;
    ASSERT_EQ(reader.Peek(5), flatBits(pos, 5)) << pos;
    seed = seed * 1103515245u + 12345u;
    const int step = static_cast<int>(seed >> 16) % 30;
    reader.Skip(step);
    pos += static_cast<size_t>(step);
    ASSERT_LT(reader.word(), 1022);
  }
  EXPECT_GT(pos, 3u * 4096 * 8);  // several refills passed
}

// A comment whose compressed symbols reach word 1,021 restarts at word 0; the
// symbol right after the restart is still taken from the register loaded
// before it. Checked against a model that reads bits by absolute position.
TEST(CommentDecoder, WordIndex1021RestartsAtTheBufferStart) {
  std::string text;
  uint32_t x = 99;
  for (int k = 0; k < 9000; ++k) {
    x = x * 1103515245u + 12345u;
    text += static_cast<char>('A' + (x >> 16) % 40);
  }
  const auto enc = acetest::EncodeComment(text, false);
  ASSERT_GT(enc.block.size(), 4096u);
  const Decoded d = Decode(enc.block);
  ASSERT_EQ(d.result, 1);
  ASSERT_EQ(d.length, 9000);

  std::vector<uint8_t> widths = enc.widths;
  widths.resize(ace::kMainSymbols, 0);
  std::vector<uint16_t> table(2048, 0);
  ASSERT_EQ(ace::MakeDecodeTable(11, static_cast<int>(enc.widths.size()) - 1, widths.data(),
                                 table.data()),
            1);
  Bytes buffer = enc.block;
  buffer.resize(4096, 0);
  auto bits = [&](size_t pos, int n) {
    uint32_t v = 0;
    for (int k = 0; k < n; ++k, ++pos) {
      const size_t bitInWord = 31 - pos % 32;
      v = v << 1 | ((buffer[(pos / 32) * 4 + bitInWord / 8] >> (bitInWord % 8)) & 1);
    }
    return v;
  };
  std::string model;
  std::vector<uint16_t> hash(511, 0);
  size_t pos = enc.symbolsStart;
  size_t peekAt = pos;
  size_t restarts = 0;
  size_t m = 0;
  size_t firstRestart = 0;
  while (model.size() < 9000) {
    const size_t p = model.size();
    if (p > 1) {
      const int h = static_cast<uint8_t>(model[p - 2]) + static_cast<uint8_t>(model[p - 1]);
      m = hash[h];
      hash[h] = static_cast<uint16_t>(p);
    }
    const int s = table[bits(peekAt, 11)];
    pos += widths[s];
    peekAt = pos;
    if (pos / 32 == 1021) {
      if (restarts++ == 0) firstRestart = model.size() + 1;
      pos %= 32;
    }
    if (s > 255) {
      for (int k = s - 254; k > 0; --k) model += model[m++];
    } else {
      model += static_cast<char>(s);
    }
  }
  model.resize(9000);
  EXPECT_GE(restarts, 1u);
  EXPECT_EQ(FirstDifference(d.text, model), std::string::npos);
  // Everything decoded up to the restart is the text itself, and the symbol
  // after it too; then the text departs from what was encoded.
  EXPECT_EQ(FirstDifference(d.text, text), firstRestart + 1);
}

// ---- damaged streams ----

TEST(CommentDecoder, DamagedStreamsStayInsideTheBuffers) {
  // The longest claimed text from 10 bytes: whatever comes out, exactly
  // 32,767 bytes and a terminator.
  Bytes claim(10, 0xFF);
  Decoded d = Decode(claim);
  if (d.result) {
    EXPECT_EQ(d.length, 32767);
  }

  // A main code whose widths (16) exceed the 11-bit table: no decode.
  BitWriter m;
  m.Put(10, 15);
  acetest::PutCodeWidths(m, {16, 16, 16}, 15);
  m.Put(0, 32);
  EXPECT_EQ(Decode(m.Bytes()).result, 0);

  // Nothing at all, and random blocks of every short size.
  // Nothing at all reads as zero bits: an empty comment.
  d = Decode({});
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.length, 0);
  for (uint32_t seed = 1; seed <= 300; ++seed) {
    d = Decode(acetest::RandomBytes(seed % 64, seed));
    EXPECT_LE(d.length, 32767);
  }
}

}  // namespace
