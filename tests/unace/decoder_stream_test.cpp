// Hand-made packed streams: the token kinds and the distance ring, the general form of the
// transmitted code widths, solid history, and the errors each kind of bad stream must give.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

#include "support/code_writer.h"
#include "unace/decoder_support.h"

namespace acetest {
namespace {

using ace::DecodeStatus;
using ace::Lz77Decoder;

std::vector<uint8_t> Widths(size_t symbols,
                            std::initializer_list<std::pair<uint32_t, uint8_t>> set) {
  std::vector<uint8_t> w(symbols, 0);
  for (auto [symbol, width] : set) w.at(symbol) = width;
  return w;
}

struct Token {
  uint32_t main;
  uint32_t extraBits = 0;
  uint32_t extra = 0;
  int length = -1;  // length symbol, for matches
};

Token Lit(char c) { return Token{static_cast<uint8_t>(c)}; }
// New-distance match of value d (distance d + 1).
Token New(uint32_t d, int length) {
  uint32_t n = 0;
  while ((d >> n) != 0) ++n;
  return Token{260 + n, n >= 2 ? n - 1 : 0, n >= 2 ? d - (1u << (n - 1)) : 0, length};
}
Token Rep(uint32_t i, int length) { return Token{256 + i, 0, 0, length}; }

// One block whose codes give width 4 to every symbol used (and to main symbol 0 or 1 and length
// symbols 0 and 1, so that each code has two symbols); `count` overrides the token count.
Bytes Block(const std::vector<Token>& tokens, int count = -1) {
  std::vector<uint8_t> mainW(282, 0);
  for (const Token& t : tokens) mainW[t.main] = 4;
  if (tokens.size() < 2) mainW[tokens.empty() || tokens[0].main != 0 ? 0 : 1] = 4;
  auto lengthW = Widths(256, {{0, 4}, {1, 4}});
  for (const Token& t : tokens) {
    if (t.length >= 0) lengthW.at(static_cast<size_t>(t.length)) = 4;
  }
  BitWriter w;
  PutCodeWidths(w, mainW);
  PutCodeWidths(w, lengthW);
  w.Put(count < 0 ? static_cast<uint32_t>(tokens.size()) : static_cast<uint32_t>(count), 15);
  for (const Token& t : tokens) {
    PutCode(w, mainW, t.main);
    if (t.extraBits != 0) w.Put(t.extra, static_cast<int>(t.extraBits));
    if (t.length >= 0) PutCode(w, lengthW, static_cast<uint32_t>(t.length));
  }
  return w.Finish();
}

std::vector<Token> Literals(const std::string& text) {
  std::vector<Token> t;
  for (char c : text) t.push_back(Lit(c));
  return t;
}

class StreamTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(decoder_.Init(), DecodeStatus::kOk); }
  DecodeResult Run(const Bytes& packed, uint64_t size, bool solid = false) {
    return DecodeFile(decoder_, packed, size, solid);
  }
  static std::string Text(const DecodeResult& r) {
    return std::string(r.output.begin(), r.output.end());
  }
  Lz77Decoder decoder_;
};

TEST_F(StreamTest, NewAndRepeatedDistancesKeepTheRingMostRecentFirst) {
  auto tokens = Literals("abcdefgh");
  // New distances 3, 7, 10; then repeats of the 3rd, 2nd, 4th, 4th and 1st most recent.
  for (Token t :
       {New(2, 0), New(6, 1), New(9, 0), Rep(2, 0), Rep(1, 1), Rep(3, 1), Rep(3, 0), Rep(0, 0)}) {
    tokens.push_back(t);
  }
  const std::string expected = "abcdefghfgdefdefdefgdddddfgddd";
  auto r = Run(Block(tokens), expected.size());
  ASSERT_EQ(r.status, DecodeStatus::kOk) << ace::DecodeStatusText(r.status);
  EXPECT_EQ(Text(r), expected);
}

TEST_F(StreamTest, LongDistancesNeedLongerMatches) {
  // 300 literals, then a match at distance 300 (d = 299 > 255) with length symbol 0: 3 bytes.
  std::string text;
  for (int i = 0; i < 300; ++i) text += static_cast<char>('a' + i % 7);
  auto tokens = Literals(text);
  tokens.push_back(New(299, 0));
  auto r = Run(Block(tokens), 303);
  ASSERT_EQ(r.status, DecodeStatus::kOk) << ace::DecodeStatusText(r.status);
  EXPECT_EQ(Text(r), text + text.substr(0, 3));
}

// Lower width 1, modulus 5, zero runs (symbol 5 = run of Peek(4) + 4), a run that stops at the
// last symbol, and a running sum that wraps back to 0.
TEST_F(StreamTest, GeneralCodeWidthForm) {
  const std::vector<uint8_t> widthCode = {2, 3, 0, 0, 3, 1};
  BitWriter w;
  w.Put(125, 9);  // last
  w.Put(1, 4);    // low
  w.Put(5, 4);    // top
  for (uint8_t x : widthCode) w.Put(x, 3);
  for (int i = 0; i < 6; ++i) {  // 6 x 19 zeros
    PutCode(w, widthCode, 5);
    w.Put(15, 4);
  }
  PutCode(w, widthCode, 5);  // 5 more: symbols 0..118 unused
  w.Put(1, 4);
  for (uint32_t delta : {1, 0, 0, 0, 4}) PutCode(w, widthCode, delta);  // 119..122 width 2, 123 off
  PutCode(w, widthCode, 5);                                             // 19 zeros asked, 2 fit
  w.Put(15, 4);
  PutCodeWidths(w, Widths(256, {{0, 1}, {1, 1}}));
  w.Put(8, 15);
  const auto mainW = Widths(126, {{'w', 2}, {'x', 2}, {'y', 2}, {'z', 2}});
  for (char c : std::string("wxyzzyxw")) PutCode(w, mainW, static_cast<uint8_t>(c));
  auto r = Run(w.Finish(), 8);
  ASSERT_EQ(r.status, DecodeStatus::kOk) << ace::DecodeStatusText(r.status);
  EXPECT_EQ(Text(r), "wxyzzyxw");
}

TEST_F(StreamTest, ModulusZeroAndOversizedLastStaySafe) {
  BitWriter w;
  w.Put(511, 9);
  w.Put(0, 4);
  w.Put(0, 4);
  w.Put(0, 3);
  for (int i = 0; i < 200; ++i) w.Put(0x0F, 5);
  EXPECT_NE(Run(w.Finish(), 100).status, DecodeStatus::kOk);
}

TEST_F(StreamTest, ErrorsOfBadStreams) {
  struct Case {
    const char* name;
    Bytes packed;
    uint64_t size;
    DecodeStatus expected;
  };
  BitWriter tooWide;  // low 15 plus a level of 1: width 16
  PutCodeWidths(tooWide, {16, 16}, 15);
  for (int i = 0; i < 40; ++i) tooWide.Put(0, 32);

  auto aaLit = Literals("a");
  aaLit.push_back(New(0, 1));  // distance 1, length 3
  const Case cases[] = {
      {"width above 11", tooWide.Finish(), 10, DecodeStatus::kBadCodeTable},
      {"distance before the start", Block({Lit('a'), New(2, 0)}), 3, DecodeStatus::kDistanceTooFar},
      {"repeat before any output", Block({Rep(0, 0), Lit('a')}), 3, DecodeStatus::kDistanceTooFar},
      {"more tokens than the size", Block(Literals("abc")), 2, DecodeStatus::kSizeOverrun},
      {"match past the size", Block(aaLit), 3, DecodeStatus::kSizeOverrun},
      {"block without tokens", Block(Literals("ab"), 0), 2, DecodeStatus::kCorrupt},
      {"fewer tokens than the size", Block(Literals("ab")), 3, DecodeStatus::kTruncated},
      {"no data at all", Bytes{}, 1, DecodeStatus::kTruncated},
      {"partial last word", Bytes{0x2D, 0x19, 0x86}, 3, DecodeStatus::kTruncated},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto r = Run(c.packed, c.size);
    EXPECT_EQ(r.status, c.expected) << ace::DecodeStatusText(r.status);
    // The error stays until the next file.
    const uint8_t* data = nullptr;
    size_t n = 1;
    EXPECT_EQ(decoder_.Decode(&data, &n), c.expected);
    EXPECT_EQ(n, 0u);
  }
  // The same match fits a size one larger.
  auto ok = Run(Block(aaLit), 4);
  ASSERT_EQ(ok.status, DecodeStatus::kOk);
  EXPECT_EQ(Text(ok), "aaaa");
}

// Codes are placed shortest first; once the table is full, the remaining (longest) codes are
// left out and the data decodes with the rest.
TEST_F(StreamTest, OverfullCodeLeavesOutTheLongestCodes) {
  const auto full = Widths(282, {{'a', 1}, {'b', 1}, {'c', 2}});
  const auto lengthW = Widths(256, {{0, 1}, {1, 1}});
  BitWriter w;
  PutCodeWidths(w, full);
  PutCodeWidths(w, lengthW);
  w.Put(4, 15);
  for (char c : std::string("abba")) PutCode(w, full, static_cast<uint8_t>(c));
  auto r = Run(w.Finish(), 4);
  ASSERT_EQ(r.status, DecodeStatus::kOk) << ace::DecodeStatusText(r.status);
  EXPECT_EQ(Text(r), "abba");
}

TEST_F(StreamTest, SolidFilesReachIntoEarlierOutputOnly) {
  const Bytes first = Block(Literals("abcdefgh"));
  const Bytes second = Block({New(0, 0), New(7, 0)});  // distance 1 then distance 8
  ASSERT_EQ(Run(first, 8).status, DecodeStatus::kOk);
  auto cont = Run(second, 4, true);
  ASSERT_EQ(cont.status, DecodeStatus::kOk) << ace::DecodeStatusText(cont.status);
  EXPECT_EQ(Text(cont), "hhcd");
  ASSERT_EQ(Run(first, 8).status, DecodeStatus::kOk);
  EXPECT_EQ(Run(second, 4, false).status, DecodeStatus::kDistanceTooFar);

  // A decoder that keeps 8 bytes of history refuses distance 9 even when more was decoded.
  Lz77Decoder small;
  ASSERT_EQ(small.Init(8, 64), DecodeStatus::kOk);
  ASSERT_EQ(DecodeFile(small, Block(Literals("abcdefghij")), 10).status, DecodeStatus::kOk);
  auto near = DecodeFile(small, Block({New(7, 0), Lit('x')}), 3, true);
  ASSERT_EQ(near.status, DecodeStatus::kOk);
  EXPECT_EQ(Text(near), "cdx");
  EXPECT_EQ(DecodeFile(small, Block({New(8, 0), Lit('x')}), 3, true).status,
            DecodeStatus::kDistanceTooFar);
}

// The file ends a few bytes after the chunk end: a match running past the chunk end may still
// not pass the file's end.
TEST_F(StreamTest, MatchAcrossChunkEndStopsAtTheFileEnd) {
  Lz77Decoder small;
  ASSERT_EQ(small.Init(64, 4), DecodeStatus::kOk);
  const Bytes packed = Block({Lit('a'), New(0, 8)});  // 'a' then 10 more
  EXPECT_EQ(DecodeFile(small, packed, 6).status, DecodeStatus::kSizeOverrun);
  auto r = DecodeFile(small, packed, 11);
  ASSERT_EQ(r.status, DecodeStatus::kOk);
  EXPECT_EQ(Text(r), "aaaaaaaaaaa");
}

TEST_F(StreamTest, CompleteFileReportsEmptyChunks) {
  auto r = Run(Block(Literals("xy")), 2);
  ASSERT_EQ(r.status, DecodeStatus::kOk);
  const uint8_t* data = nullptr;
  size_t n = 1;
  EXPECT_EQ(decoder_.Decode(&data, &n), DecodeStatus::kOk);
  EXPECT_EQ(n, 0u);
  // An empty file reads nothing at all.
  EXPECT_EQ(Run(Bytes{}, 0).status, DecodeStatus::kOk);
}

int32_t FailingRead(void*, uint8_t*, uint32_t) { return -1; }

TEST(DecoderSetupTest, ReadFailureAndMissingSetup) {
  Lz77Decoder notReady;
  notReady.BeginFile(ace::PackedSource{}, 5, false);
  const uint8_t* data = nullptr;
  size_t n = 0;
  EXPECT_EQ(notReady.Decode(&data, &n), DecodeStatus::kNotReady);

  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(), DecodeStatus::kOk);
  decoder.BeginFile(ace::PackedSource{&FailingRead, nullptr}, 5, false);
  EXPECT_EQ(decoder.Decode(&data, &n), DecodeStatus::kReadError);
}

}  // namespace
}  // namespace acetest
