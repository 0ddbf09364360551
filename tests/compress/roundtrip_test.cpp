// What every engine packs decodes to the input again (slides, runs, data
// that grows), solid files reach into the files before them, and a fresh
// file owes nothing to the files before.

#include "compress/optimal_engine.h"
#include "support/packing.h"

namespace acetest {
namespace {

constexpr int kDictionaries[] = {64, 128, 256, 512, 1024};

Bytes Mixed() {
  Bytes data = TextBytes(30000, 4);
  const Bytes noise = RandomBytes(9000, 5);
  data.insert(data.end(), noise.begin(), noise.end());
  data.insert(data.end(), 3000, 'z');
  const Bytes again(data.begin() + 100, data.begin() + 20000);
  data.insert(data.end(), again.begin(), again.end());
  return data;
}

TEST(RoundTrip, EveryEngineGivesTheInputBack) {
  const std::vector<Bytes> inputs = {
      {'x'},           AsBytes("abababab"), Mixed(), TextBytes(300000, 1), RandomBytes(70000, 2),
      Bytes(140000, 0)};
  for (int dict : kDictionaries) {
    for (int level = 0; level <= 4; ++level) {
      for (const Bytes& input : inputs) {
        SCOPED_TRACE(testing::Message() << dict << " KB level " << level << ", " << input.size());
        const PackResult got = Pack(input, dict, level);
        ASSERT_EQ(got.status, 0u);
        EXPECT_EQ(got.crc, DataCrc(input));
        EXPECT_EQ(got.packedSize, got.packed.size());
        EXPECT_EQ(FirstDifference(input, Unpack(got.packed, input.size())), "");
      }
    }
  }
}

TEST(RoundTrip, SolidFilesReachIntoTheFilesBefore) {
  const Bytes first = RandomBytes(50000, 3);  // the copy is the only match there is
  const Bytes second(first.begin() + 10000, first.begin() + 40000);
  for (auto [dict, level] : {std::pair{64, 1}, {256, 2}, {1024, 3}, {1024, 4}}) {
    SCOPED_TRACE(testing::Message() << dict << " KB level " << level);
    ace::Compressor c;
    ASSERT_TRUE(c.Init(dict, level));
    MemoryIo io1, io2;
    const PackResult a = PackWith(c, io1, first);
    const PackResult b = PackWith(c, io2, second, true);
    ASSERT_EQ(b.status, 0u);
    EXPECT_LT(b.packedSize, 200u) << "a few long matches into the first file";
    ace::Lz77Decoder decoder;
    ASSERT_EQ(decoder.Init(), ace::DecodeStatus::kOk);
    Bytes out;
    ASSERT_EQ(Unpack(decoder, a.packed, first.size(), &out), ace::DecodeStatus::kOk);
    ASSERT_EQ(Unpack(decoder, b.packed, second.size(), &out, true), ace::DecodeStatus::kOk);
    EXPECT_EQ(FirstDifference(second, out), "");
    // Without the history the first match reaches before the start.
    EXPECT_EQ(Unpack(decoder, b.packed, second.size(), &out), ace::DecodeStatus::kDistanceTooFar);
  }
}

// The hash-chain engines forget a file at the start of the next one, also
// after a slide of the window and when the tables were only partly used.
TEST(RoundTrip, AFreshFilePacksAsOnANewCompressor) {
  const Bytes small = TextBytes(3000, 7);
  for (int dict : kDictionaries) {
    SCOPED_TRACE(dict);
    const Bytes expected = Pack(small, dict, 2).packed;
    ace::Compressor c;
    ASSERT_TRUE(c.Init(dict, 2));
    for (size_t before : {size_t{2000}, size_t{2} * 1024 * dict + 5000}) {
      MemoryIo io, again;
      PackWith(c, io, TextBytes(before, 8));
      EXPECT_EQ(FirstDifference(expected, PackWith(c, again, small).packed), "") << before;
    }
  }
}

// A fresh window seeks 2-byte matches only past its first D + 256 bytes.
// Pairs repeated 100 bytes back pack to the same size as the same bytes
// swapped in each pair (equal literal counts) where pairs are not sought.
TEST(RoundTrip, TwoByteMatchesStartOnlyPastDictionaryPlus256) {
  constexpr size_t kD = 64 * 1024;
  for (const size_t start : {kD + 129, kD + 300}) {
    Bytes pairs = RandomBytes(kD + 600, 9), swapped = pairs;
    for (size_t at = start; at < start + 96; at += 3) {
      pairs[at] = swapped[at + 1] = pairs[at - 100];
      pairs[at + 1] = swapped[at] = pairs[at - 99];
      pairs[at + 2] = swapped[at + 2] = pairs[at - 98] ^ 1;
    }
    EXPECT_EQ(Pack(pairs, 64, 1).packedSize != Pack(swapped, 64, 1).packedSize, start > kD + 256)
        << start - kD;
  }
}

// Positions near the 32-bit ceiling are lowered midway; the data stays the same.
TEST(RoundTrip, OptimalEngineLowersPositionsWithoutChangingTheData) {
  const Bytes input = TextBytes(1300000, 9);
  const PackResult plain = Pack(input, 1024, 4);
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  auto& engine = *static_cast<ace::OptimalEngineState*>(c.Core().engine);
  engine.firstPosition = ace::kTreePositionCeiling - 1100000;
  MemoryIo io;
  EXPECT_EQ(FirstDifference(plain.packed, PackWith(c, io, input).packed), "");
  EXPECT_LT(engine.mf.pos, ace::kTreePositionCeiling - 1100000);
  EXPECT_EQ(FirstDifference(input, Unpack(plain.packed, input.size())), "");
}

}  // namespace
}  // namespace acetest
