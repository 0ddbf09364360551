// The hash-chain engines: round trips through the test reader, the rules
// every token obeys, and the search's particular cases.
#include "compress/hash_chain.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "compress/block_reader.h"
#include "compress/memory_io.h"

namespace {

using acetest::Bytes;

const int kDictionaries[] = {64, 128, 256, 512, 1024};

std::vector<acetest::ReadToken> Tokens(const acetest::ReadResult& r) {
  std::vector<acetest::ReadToken> all;
  for (const auto& b : r.blocks) all.insert(all.end(), b.tokens.begin(), b.tokens.end());
  return all;
}

// What every match of a hash-chain engine obeys, and where 2-byte matches may start.
void ExpectTokenRules(const acetest::ReadResult& r, int dictionaryKB, bool continued) {
  const uint32_t window = static_cast<uint32_t>(dictionaryKB) * 1024;
  const auto tokens = Tokens(r);
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

struct Input {
  std::string name;
  Bytes bytes;
};

std::vector<Input> SyntheticInputs() {
  Bytes zeros258(258, 0x41);
  Bytes mixed = acetest::TextBytes(40000, 3);
  const Bytes noise = acetest::RandomBytes(3000, 9);
  mixed.insert(mixed.begin() + 20000, noise.begin(), noise.end());
  return {
      {"1 byte", {0x7F}},
      {"3 bytes", {'a', 'b', 'c'}},
      {"258 of one value", zeros258},
      {"random", acetest::RandomBytes(20000, 1)},
      {"text with noise", mixed},
  };
}

TEST(HashChain, SyntheticInputsRoundTripOnEveryEngine) {
  for (const auto& input : SyntheticInputs()) {
    for (int dict : kDictionaries) {
      for (int level = 0; level <= 4; ++level) {
        if (dict == 1024 && level == 4) continue;  // the optimal engine's setting
        SCOPED_TRACE(input.name + " " + std::to_string(dict) + " KB level " +
                     std::to_string(level));
        const auto packed = acetest::Pack(input.bytes, dict, level);
        ASSERT_EQ(packed.status, 0u);
        const auto r = acetest::ReadPacked(packed.packed, input.bytes.size());
        ASSERT_TRUE(r.ok) << r.error;
        EXPECT_TRUE(r.data == input.bytes);
        ExpectTokenRules(r, dict, false);
      }
    }
  }
}

// Text longer than twice the dictionary makes the window slide (64 and 128 KB;
// the larger dictionaries see the same data without sliding).
TEST(HashChain, LongTextSlidesAndRoundTrips) {
  const Bytes text = acetest::TextBytes(300000, 11);
  for (int dict : kDictionaries) {
    // Level 0 walks whole chains, which a small vocabulary makes long: once is enough.
    // 1024 KB at level 4 is the optimal engine's; level 0 there instead.
    for (int level : {1, 3, dict == 64 || dict == 1024 ? 0 : 4}) {
      SCOPED_TRACE(std::to_string(dict) + " KB level " + std::to_string(level));
      const auto packed = acetest::Pack(text, dict, level);
      ASSERT_EQ(packed.status, 0u);
      const auto r = acetest::ReadPacked(packed.packed, text.size());
      ASSERT_TRUE(r.ok) << r.error;
      EXPECT_TRUE(r.data == text);
      ExpectTokenRules(r, dict, false);
    }
  }
}

TEST(HashChain, CorpusFilesRoundTrip) {
  for (const char* name : {"alice29.txt", "kppkn.gtb", "fireworks.jpeg"}) {
    const Bytes data = acetest::ReadFileBytes(acetest::SharedDir() / "corpus" / name);
    for (int dict : {64, 1024}) {
      SCOPED_TRACE(std::string(name) + " " + std::to_string(dict));
      const auto packed = acetest::Pack(data, dict, 2);
      const auto r = acetest::ReadPacked(packed.packed, data.size());
      ASSERT_TRUE(r.ok) << r.error;
      EXPECT_TRUE(r.data == data);
      ExpectTokenRules(r, dict, false);
    }
  }
}

// A run of one value: each search finds 256 bytes at distance 1 at once.
TEST(HashChain, RunsAreMatchesOf256AtDistanceOne) {
  const Bytes run(10000, 'z');
  const auto packed = acetest::Pack(run, 256, 1);
  const auto r = acetest::ReadPacked(packed.packed, run.size());
  ASSERT_TRUE(r.ok) << r.error;
  const auto tokens = Tokens(r);
  ASSERT_GE(tokens.size(), 3u);
  // Position 0 is never a match source, so the second byte is a literal too.
  EXPECT_EQ(tokens[0].mainSymbol, 'z');
  EXPECT_EQ(tokens[1].mainSymbol, 'z');
  for (size_t i = 2; i + 1 < tokens.size(); ++i) {
    EXPECT_EQ(tokens[i].mainSymbol, 256u) << "a repeat of the ring's zero distance";
    EXPECT_EQ(tokens[i].length, 256u);
    EXPECT_EQ(tokens[i].distance, 1u);
  }
}

// "\xAA\xBB\xCC" twice in 7-bit filler, `distance` apart, with different
// neighbours so that no longer match covers it.
Bytes TripleAtDistance(uint32_t distance) {
  Bytes data = acetest::RandomBytes(distance + 600, 5);
  for (auto& b : data) b &= 0x7F;
  const size_t first = 200;
  const size_t second = first + distance;
  data[first - 1] = 0x03;
  data[second - 1] = 0x04;
  data[first] = data[second] = 0xAA;
  data[first + 1] = data[second + 1] = 0xBB;
  data[first + 2] = data[second + 2] = 0xCC;
  data[first + 3] = 0x01;
  data[second + 3] = 0x02;
  return data;
}

TEST(HashChain, ThreeByteMatchesReachAtMost8192Back) {
  for (uint32_t distance : {8191u, 8192u, 8193u}) {
    const Bytes data = TripleAtDistance(distance);
    const auto packed = acetest::Pack(data, 64, 1);
    const auto r = acetest::ReadPacked(packed.packed, data.size());
    ASSERT_TRUE(r.ok) << r.error;
    bool found = false;
    for (const auto& t : Tokens(r)) found |= t.distance == distance && t.length == 3;
    EXPECT_EQ(found, distance <= 8192) << distance;
  }
}

TEST(HashChain, SolidContinuationReachesIntoTheEarlierFile) {
  const Bytes first = acetest::TextBytes(30000, 21);
  for (int dict : kDictionaries) {
    SCOPED_TRACE(dict);
    const auto results = acetest::PackSolid({first, first}, dict, 1);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_LT(results[1].packedSize * 20, results[0].packedSize);
    const auto r = acetest::ReadPacked(results[1].packed, first.size(), first);
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_TRUE(r.data == first);
    ExpectTokenRules(r, dict, true);
    EXPECT_EQ(results[1].crc, results[0].crc);
  }
}

// Clearing only the entries a small file used must leave the same tables as
// clearing them in full.
TEST(HashChain, CheapClearingMatchesFullClearing) {
  const std::vector<Bytes> files = {
      acetest::TextBytes(5000, 1),  acetest::RandomBytes(3000, 2), acetest::TextBytes(6000, 3),
      acetest::TextBytes(300000, 4), Bytes(100, 'q'),              acetest::TextBytes(9000, 5),
      Bytes(2000, 0),               acetest::TextBytes(7000, 6)};
  for (int dict : {64, 1024}) {
    ace::Compressor cheap;
    ace::Compressor full;
    ASSERT_TRUE(cheap.Init(dict, 1));
    ASSERT_TRUE(full.Init(dict, 1));
    static_cast<ace::HashChainState*>(full.Core().engine)->alwaysClearInFull = true;
    for (size_t i = 0; i < files.size(); ++i) {
      Bytes outputs[2];
      ace::Compressor* both[2] = {&cheap, &full};
      for (int k = 0; k < 2; ++k) {
        acetest::MemoryIo io;
        io.SetInput(files[i]);
        both[k]->SetIo(io.Io());
        both[k]->StartFile(static_cast<uint32_t>(files[i].size()), false);
        both[k]->Run();
        both[k]->Finish();
        outputs[k] = io.output;
      }
      EXPECT_EQ(acetest::FirstDifference(outputs[1], outputs[0]), "")
          << "file " << i << " at " << dict << " KB";
    }
  }
}

}  // namespace
