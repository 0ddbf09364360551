// The hash-chain engines: round trips through the test reader, the rules
// every token obeys, and the search's particular cases.
#include "compress/hash_chain.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "compress/compress_support.h"

namespace acetest {
namespace {

const int kDictionaries[] = {64, 128, 256, 512, 1024};

// What every match of a hash-chain engine obeys, and where 2-byte matches may start.
void ExpectTokenRules(const std::vector<ReadToken>& tokens, int dict, bool continued) {
  const uint32_t window = static_cast<uint32_t>(dict) * 1024;
  ASSERT_FALSE(tokens.empty());
  EXPECT_LT(tokens[0].mainSymbol, 256u) << "the first byte is a literal";
  size_t position = 0;
  for (const auto& t : tokens) {
    if (t.mainSymbol >= 256) {
      SCOPED_TRACE(position);
      EXPECT_GE(t.length, 2u);
      EXPECT_LE(t.length, 256u);
      EXPECT_LT(t.distance, window);
      if (t.length == 2) EXPECT_LE(t.distance, 255u);
      if (t.length == 3) EXPECT_LE(t.distance, 8192u);
      if (t.length == 4) EXPECT_LE(t.distance, 524288u);
      // Pair matches are sought only past D + 256 in a fresh file's window.
      if (t.length == 2 && !continued) EXPECT_GT(position, window + 256);
    }
    position += t.length;
  }
}

// Packs `input`, reads it back and checks the token rules; the tokens.
std::vector<ReadToken> RoundTrip(const Bytes& input, int dict, int level) {
  SCOPED_TRACE(std::to_string(input.size()) + " bytes, " + std::to_string(dict) + " KB level " +
               std::to_string(level));
  const PackResult packed = Pack(input, dict, level);
  EXPECT_EQ(packed.status, 0u);
  const ReadResult r = ReadPacked(packed.packed, input.size());
  EXPECT_TRUE(r.ok) << r.error;
  EXPECT_TRUE(r.data == input);
  ExpectTokenRules(r.Tokens(), dict, false);
  return r.Tokens();
}

TEST(HashChain, InputsRoundTripOnEveryEngine) {
  Bytes mixed = TextBytes(40000, 3);
  const Bytes noise = RandomBytes(3000, 9);
  mixed.insert(mixed.begin() + 20000, noise.begin(), noise.end());
  for (const Bytes& input :
       {Bytes{0x7F}, Bytes{'a', 'b', 'c'}, Bytes(258, 0x41), RandomBytes(20000, 1), mixed}) {
    for (int dict : kDictionaries) {
      for (int level = 0; level <= 4; ++level) {
        if (dict == 1024 && level == 4) continue;  // the optimal engine's setting
        RoundTrip(input, dict, level);
      }
    }
  }
  // Text longer than twice the dictionary makes the window slide (64 and 128
  // KB).
  const Bytes text = TextBytes(300000, 11);
  for (int dict : kDictionaries) {
    for (int level : {1, 3, dict == 64 || dict == 1024 ? 0 : 4}) RoundTrip(text, dict, level);
  }
  for (const char* name : {"alice29.txt", "kppkn.gtb", "fireworks.jpeg"}) {
    for (int dict : {64, 1024}) RoundTrip(CorpusBytes(name), dict, 2);
  }
}

TEST(HashChain, SearchCases) {
  // A run of one value: each search finds 256 bytes at distance 1 at once;
  // position 0 is never a match source, so the second byte is a literal too.
  const auto tokens = RoundTrip(Bytes(10000, 'z'), 256, 1);
  ASSERT_GE(tokens.size(), 3u);
  EXPECT_EQ(tokens[0].mainSymbol, 'z');
  EXPECT_EQ(tokens[1].mainSymbol, 'z');
  for (size_t i = 2; i + 1 < tokens.size(); ++i) {
    EXPECT_EQ(tokens[i].mainSymbol, 256u) << "a repeat of the ring's zero distance";
    EXPECT_EQ(tokens[i].length, 256u);
    EXPECT_EQ(tokens[i].distance, 1u);
  }
  // Three-byte matches reach at most 8192 back: "\xAA\xBB\xCC" twice in 7-bit
  // filler, with different neighbours so that no longer match covers it.
  for (uint32_t distance : {8191u, 8192u, 8193u}) {
    Bytes data = RandomBytes(distance + 600, 5);
    for (auto& b : data) b &= 0x7F;
    for (size_t at : {size_t{200}, size_t{200} + distance}) {
      data[at - 1] = at == 200 ? 0x03 : 0x04;
      data[at] = 0xAA;
      data[at + 1] = 0xBB;
      data[at + 2] = 0xCC;
      data[at + 3] = at == 200 ? 0x01 : 0x02;
    }
    bool found = false;
    for (const auto& t : RoundTrip(data, 64, 1)) found |= t.distance == distance && t.length == 3;
    EXPECT_EQ(found, distance <= 8192) << distance;
  }
}

TEST(HashChain, SolidContinuationReachesIntoTheEarlierFile) {
  const Bytes first = TextBytes(30000, 21);
  for (int dict : kDictionaries) {
    SCOPED_TRACE(dict);
    const auto results = PackSolid({first, first}, dict, 1);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_LT(results[1].packedSize * 20, results[0].packedSize);
    const auto r = ReadPacked(results[1].packed, first.size(), first);
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_TRUE(r.data == first);
    ExpectTokenRules(r.Tokens(), dict, true);
    EXPECT_EQ(results[1].crc, results[0].crc);
  }
}

// Clearing only the entries a small file used (at a fresh start, and the
// crowding flags at a continuation) must leave the same tables as clearing
// them in full.
TEST(HashChain, CheapClearingMatchesFullClearing) {
  const std::vector<Bytes> files = {TextBytes(5000, 1),   RandomBytes(3000, 2), TextBytes(6000, 3),
                                    TextBytes(300000, 4), Bytes(100, 'q'),      TextBytes(9000, 5),
                                    Bytes(2000, 0),       TextBytes(7000, 6)};
  for (int dict : {64, 1024}) {
    ace::Compressor cheap, full;
    ASSERT_TRUE(cheap.Init(dict, 1));
    ASSERT_TRUE(full.Init(dict, 1));
    static_cast<ace::HashChainState*>(full.Core().engine)->alwaysClearInFull = true;
    for (size_t i = 0; i < files.size(); ++i) {
      MemoryIo a, b;
      EXPECT_EQ(FirstDifference(RunFile(full, b, files[i], -1, i % 2 == 1).packed,
                                RunFile(cheap, a, files[i], -1, i % 2 == 1).packed),
                "")
          << "file " << i << " at " << dict << " KB";
    }
  }
}

}  // namespace
}  // namespace acetest
