// The comment decoder: golden blocks, its decode tables, hand-made streams,
// round trips through the test encoder, the bit reader and damaged blocks.
#include "format/comment_decoder.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "compress/huffman.h"
#include "format/format_fixture.h"
#include "support/code_writer.h"

namespace acetest {
namespace {

struct Decoded {
  int result = 0;
  int32_t length = -1;
  std::string text;
};

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

// The symbol the width sort puts first among `count` unused symbols.
uint16_t FirstInSortOrder(int count) {
  std::vector<uint8_t> keys(static_cast<size_t>(count), 0);
  std::vector<uint16_t> order(static_cast<size_t>(count));
  for (int k = 0; k < count; ++k) order[k] = static_cast<uint16_t>(k);
  ace::SortWidths(keys.data(), order.data(), count - 1);
  return order[0];
}

TEST(CommentDecoder, GoldenBlocksDecodeExactly) {
  for (const std::string name : {"comment-short", "comment-long"}) {
    SCOPED_TRACE(name);
    const auto dir = VectorsDir() / "comments";
    const Decoded d = Decode(ReadFileBytes(dir / (name + ".bin")));
    ASSERT_EQ(d.result, 1);
    EXPECT_EQ(FirstDifference(ReadFileBytes(dir / (name + ".txt")), d.text), "");
  }
}

// ---- decode tables ----

TEST(MakeDecodeTable, Cases) {
  const struct {
    const char* what;
    int maxwidth;
    std::vector<uint8_t> widths;
    int result;
  } cases[] = {
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
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<uint8_t> widths = c.widths;
    std::vector<uint16_t> table(size_t{1} << c.maxwidth);
    EXPECT_EQ(ace::MakeDecodeTable(c.maxwidth, static_cast<int>(widths.size()) - 1, widths.data(),
                                   table.data()),
              c.result);
  }
}

TEST(MakeDecodeTable, EntriesFollowTheWidthOrder) {
  // Sorted by width the order is symbols 2, 0, 1: symbol 1 (width 1) takes
  // the first half, then symbol 0, then symbol 2.
  uint8_t widths[3] = {2, 1, 2};
  uint16_t table[128];
  ASSERT_EQ(ace::MakeDecodeTable(7, 2, widths, table), 1);
  for (int k = 0; k < 128; ++k) ASSERT_EQ(table[k], k < 64 ? 1 : k < 96 ? 0 : 2) << k;

  // An incomplete code leaves the entries it does not reach as they were.
  uint8_t half[2] = {2, 2};
  uint16_t partial[8];
  std::fill(partial, partial + 8, uint16_t{0xEEEE});
  ASSERT_EQ(ace::MakeDecodeTable(3, 1, half, partial), 1);
  EXPECT_EQ(std::count(partial, partial + 4, uint16_t{0xEEEE}), 0);
  EXPECT_EQ(std::count(partial + 4, partial + 8, uint16_t{0xEEEE}), 4);
}

TEST(MakeDecodeTable, OneOrNoWidthCostsOneBit) {
  // All zero: every entry is the symbol the sort leaves first, with width 1.
  uint8_t zero[6] = {};
  uint16_t table[16];
  ASSERT_EQ(ace::MakeDecodeTable(4, 5, zero, table), 1);
  EXPECT_EQ(std::count(table, table + 16, FirstInSortOrder(6)), 16);
  EXPECT_EQ(zero[FirstInSortOrder(6)], 1);

  // One width w: its symbol fills 2^(maxwidth - w) entries and takes 1 bit.
  uint8_t single[4] = {0, 0, 3, 0};
  std::fill(table, table + 16, uint16_t{7});
  ASSERT_EQ(ace::MakeDecodeTable(4, 3, single, table), 1);
  EXPECT_EQ(std::count(table, table + 2, uint16_t{2}), 2);
  EXPECT_EQ(std::count(table + 2, table + 16, uint16_t{7}), 14);
  EXPECT_EQ(single[2], 1);
}

// ---- hand-made streams ----

TEST(CommentDecoder, DegenerateCodes) {
  // 66 symbols, all unused: the widths come as runs of zeros under a width
  // code of one symbol (which itself costs 1 bit); every prefix is then the
  // symbol sorted first.
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
  w.Put(0b0101, 4);
  Decoded d = Decode(w.Finish());
  ASSERT_EQ(d.result, 1);
  EXPECT_EQ(d.text, std::string(4, static_cast<char>(FirstInSortOrder(66))));

  // Symbol 2 has width 3, the others 0: prefixes 000 decode to symbol 2 (one
  // bit each); any other prefix hits the zero fill, symbol 0 of width 0,
  // which then repeats without consuming bits.
  BitWriter s;
  s.Put(5, 15);
  s.Put(2, 9);  // symbols 0..2
  s.Put(0, 4);  // low
  s.Put(4, 4);  // top: values 0..3 and the run symbol 4
  const std::vector<uint8_t> widthCode(5, 3);
  for (uint8_t x : widthCode) s.Put(x, 3);
  for (uint32_t value : {0, 0, 3}) PutCode(s, widthCode, value);
  s.Put(0b0001, 4);  // symbol 2, then the zero fill
  s.Put(0, 16);
  d = Decode(s.Finish());
  ASSERT_EQ(d.result, 1);
  EXPECT_EQ(d.text, std::string("\x02\0\0\0\0", 5));
}

TEST(CommentDecoder, SymbolStreams) {
  const struct {
    const char* what;
    uint32_t length;
    std::vector<int> symbols;
    std::string text;
  } cases[] = {
      {"an empty text still reads one symbol", 0, {'A'}, ""},
      // 'x', then a 2-byte copy at position 1 from position 0 (overlapping);
      // 'y' at 3 (hash of "xx" unset: m = 0); at 4 the hash of "xy" is unset
      // too, so the 3-byte copy comes from position 0 again.
      {"copies before two bytes come from position 0", 7, {'x', 256, 'y', 257}, "xxxyxxx"},
      {"a copy past the length is cut", 3, {'a', 'b', 281}, "aba"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Decoded d = Decode(EncodeSymbols(c.length, c.symbols).block);
    ASSERT_EQ(d.result, 1);
    EXPECT_EQ(d.text, c.text);
  }
}

TEST(CommentDecoder, RoundTrips) {
  std::string high, mixed, all;
  for (int k = 0; k < 600; ++k) high += static_cast<char>(0x80 + (k * 7 % 3) * 0x3F);
  for (int k = 0; k < 2000; ++k) mixed += "abcdefgh"[(k * k + k / 3) % 8];
  for (int k = 0; k < 512; ++k) all += static_cast<char>(k & 0xFF);
  const struct {
    const char* what;
    std::string text;
  } cases[] = {
      {"one byte", "Z"},
      {"repeats", std::string(500, 'q')},
      {"bytes of 128 and above hash unsigned", high},
      {"all byte values", all},
      {"mixed", mixed},
  };
  for (const auto& c : cases) {
    for (bool copies : {false, true}) {
      SCOPED_TRACE(std::string(c.what) + (copies ? " with copies" : ""));
      const Decoded d = Decode(EncodeComment(c.text, copies).block);
      ASSERT_EQ(d.result, 1);
      EXPECT_EQ(FirstDifference(c.text, d.text), "");
    }
  }
}

// ---- the bit reader ----

// Bit `pos` onwards of `data` read as 32-bit little-endian words from the top.
uint32_t BitsAt(const Bytes& data, size_t pos, int n) {
  uint32_t v = 0;
  for (int k = 0; k < n; ++k, ++pos) {
    const size_t bitInWord = 31 - pos % 32;
    const size_t byte = pos / 32 * 4 + bitInWord / 8;
    v = v << 1 | (byte < data.size() ? (data[byte] >> (bitInWord % 8)) & 1u : 0u);
  }
  return v;
}

TEST(CommentBitReader, RefillsKeepTheStreamContinuous) {
  const Bytes data = RandomBytes(20000, 7);
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
  std::vector<uint8_t> input(ace::kCommentInputSize);
  ace::CommentBitReader reader(source, input.data());
  reader.Start();
  size_t pos = 0;
  uint32_t seed = 1;
  while (pos + 64 < data.size() * 8) {
    ASSERT_EQ(reader.Peek(32), BitsAt(data, pos, 32)) << pos;
    ASSERT_EQ(reader.Peek(5), BitsAt(data, pos, 5)) << pos;
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
  const auto enc = EncodeComment(text, false);
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
  std::string model;
  size_t pos = enc.symbolsStart;
  size_t peekAt = pos;  // the register keeps the bits loaded before a restart
  size_t restarts = 0;
  size_t firstRestart = 0;
  while (model.size() < 9000) {  // no copies: every symbol is a literal
    const int s = table[BitsAt(buffer, peekAt, 11)];
    pos += widths[s];
    peekAt = pos;
    if (pos / 32 == 1021) {
      if (restarts++ == 0) firstRestart = model.size() + 1;
      pos %= 32;
    }
    model += static_cast<char>(s);
  }
  EXPECT_GE(restarts, 1u);
  EXPECT_EQ(FirstDifference(model, d.text), "");
  // Everything decoded up to the restart is the text itself, and the symbol
  // after it too; then the text departs from what was encoded.
  const size_t same = static_cast<size_t>(
      std::mismatch(text.begin(), text.end(), d.text.begin()).first - text.begin());
  EXPECT_EQ(same, firstRestart + 1);
}

// ---- damaged streams ----

TEST(CommentDecoder, DamagedStreamsStayInsideTheBuffers) {
  // The longest claimed text from 10 bytes: whatever comes out, exactly
  // 32,767 bytes and a terminator.
  Decoded d = Decode(Bytes(10, 0xFF));
  if (d.result) EXPECT_EQ(d.length, 32767);

  // A main code whose widths (16) exceed the 11-bit table: no decode.
  BitWriter m;
  m.Put(10, 15);
  PutCodeWidths(m, {16, 16, 16}, 15);
  m.Put(0, 32);
  EXPECT_EQ(Decode(m.Finish()).result, 0);

  // Nothing at all reads as zero bits: an empty comment.
  d = Decode({});
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.length, 0);
  for (uint32_t seed = 1; seed <= 300; ++seed) {
    EXPECT_LE(Decode(RandomBytes(seed % 64, seed)).length, 32767);
  }
}

}  // namespace
}  // namespace acetest
