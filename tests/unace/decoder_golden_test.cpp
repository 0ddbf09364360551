// The decoder against the golden packed vectors (every row decodes to exactly
// its input, whatever the chunk and piece sizes), and damaged and hostile
// packed data: every result is a status, never a crash, a hang or output
// beyond the unpacked size. The CI runs these under AddressSanitizer and
// UndefinedBehaviorSanitizer.
#include <gtest/gtest.h>

#include <random>

#include "unace/decoder_support.h"

namespace acetest {
namespace {

using ace::DecodeStatus;
using ace::Lz77Decoder;

TEST(DecoderGolden, EveryRowDecodesToItsInput) {
  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(), DecodeStatus::kOk);
  // A small window forces slides in the middle of the solid run.
  Lz77Decoder solid;
  ASSERT_EQ(solid.Init(256 * 1024, 100000), DecodeStatus::kOk);
  int singles = 0, run = 0;
  for (const VectorRow& row : VectorRows()) {
    SCOPED_TRACE(row.packed);
    const bool single = row.run == "-";
    if (!single) ASSERT_EQ(row.runIndex, run++);
    auto result =
        DecodeFile(single ? decoder : solid, VectorBytes(row.packed), row.size, row.runIndex > 0);
    ASSERT_EQ(result.status, DecodeStatus::kOk) << ace::DecodeStatusText(result.status);
    ASSERT_EQ(result.output.size(), row.size);
    ASSERT_EQ(DataCrc(result.output), row.crc);
    if (!row.InCorpus()) ASSERT_TRUE(result.output == VectorBytes(row.input));
    singles += single;
  }
  EXPECT_EQ(singles, 25);
  EXPECT_EQ(run, 5);
  // The later solid files need the history.
  EXPECT_EQ(DecodeFile(decoder, VectorBytes("packed/solid256-2.3.asyoulik.txt.bin"), 125179).status,
            DecodeStatus::kDistanceTooFar);
}

// Chunk ends and input piece ends at odd places must not change the output.
TEST(DecoderGolden, ChunkAndPieceSizesDoNotMatter) {
  const std::pair<uint32_t, size_t> cases[] = {{1, 0}, {7, 1}, {1000, 3}, {65536, 4}, {4099, 4097}};
  const std::pair<const char*, const char*> vectors[] = {{"pattern60k@256-2.bin", "pattern60k"},
                                                         {"prose@1024-4.bin", "prose"},
                                                         {"zeros100k@64-1.bin", "zeros100k"},
                                                         {"lcg8k@128-0.bin", "lcg8k"}};
  for (auto [chunk, piece] : cases) {
    Lz77Decoder decoder;
    ASSERT_EQ(decoder.Init(Lz77Decoder::kMaxDictionary, chunk), DecodeStatus::kOk);
    for (auto [packed, input] : vectors) {
      SCOPED_TRACE(testing::Message() << packed << " chunk " << chunk << " piece " << piece);
      const Bytes want = VectorBytes(std::string("inputs/") + input);
      auto result = DecodeFile(decoder, VectorBytes(std::string("packed/") + packed), want.size(),
                               false, piece);
      ASSERT_EQ(result.status, DecodeStatus::kOk) << ace::DecodeStatusText(result.status);
      ASSERT_TRUE(result.output == want);
    }
  }
}

TEST(DecoderGolden, ThreeLiteralsAbc) {
  const Bytes packed = {0x2D, 0x19, 0x86, 0x31, 0x00, 0x65, 0x5B, 0xB6, 0x00, 0x00, 0x00,
                        0x00, 0x00, 0x00, 0x00, 0x00, 0x4D, 0x00, 0x00, 0x00, 0xB9, 0x31,
                        0x04, 0x58, 0x21, 0x49, 0x8E, 0x24, 0x00, 0xE6, 0x00, 0x40};
  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(), DecodeStatus::kOk);
  auto result = DecodeFile(decoder, packed, 3);
  ASSERT_EQ(result.status, DecodeStatus::kOk);
  EXPECT_EQ(std::string(result.output.begin(), result.output.end()), "abc");
  // One byte fewer than the tokens make is an overrun, one more needs a block that is not there.
  EXPECT_EQ(DecodeFile(decoder, packed, 2).status, DecodeStatus::kSizeOverrun);
  EXPECT_EQ(DecodeFile(decoder, packed, 4).status, DecodeStatus::kTruncated);
}

class Hostile : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(decoder_.Init(Lz77Decoder::kMaxDictionary, 8192), DecodeStatus::kOk);
  }
  Lz77Decoder decoder_;
};

TEST_F(Hostile, EveryTruncationIsReportedAsTruncated) {
  for (auto [packed, input] : {std::pair{"one@64-1.bin", "one"},
                               {"short@64-1.bin", "short"},
                               {"short@1024-4.bin", "short"},
                               {"lcg8k@128-0.bin", "lcg8k"}}) {
    const Bytes bytes = VectorBytes(std::string("packed/") + packed);
    const size_t size = VectorBytes(std::string("inputs/") + input).size();
    ASSERT_EQ(DecodeFile(decoder_, bytes, size).status, DecodeStatus::kOk);
    // lcg8k is long: its cuts step by a prime so that every offset within a word is covered.
    const size_t step = bytes.size() > 1000 ? 37 : 1;
    for (size_t cut = 0; cut < bytes.size(); cut += step) {
      const Bytes part(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(cut));
      ASSERT_EQ(DecodeFile(decoder_, part, size, false, 1 + cut % 5).status,
                DecodeStatus::kTruncated)
          << packed << " cut at " << cut;
    }
  }
}

TEST_F(Hostile, EveryBitFlipGivesAStatusOrTheFullSize) {
  for (auto [name, size] : {std::pair<const char*, uint64_t>{"one@64-1.bin", 1},
                            {"two@64-1.bin", 2},
                            {"short@64-1.bin", 23},
                            {"zeros100k@64-1.bin", 100000}}) {
    const Bytes packed = VectorBytes(std::string("packed/") + name);
    int failures = 0;
    for (size_t bit = 0; bit < packed.size() * 8; ++bit) {
      Bytes flipped = packed;
      flipped[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
      auto r = DecodeFile(decoder_, flipped, size);
      if (r.status == DecodeStatus::kOk) {
        ASSERT_EQ(r.output.size(), size) << name << " bit " << bit;
      } else {
        ++failures;
      }
    }
    // Most flips hit the code tables or the token stream and must be noticed.
    EXPECT_GT(failures, 0) << name;
  }
}

TEST_F(Hostile, RandomBytesRandomSizesAndHugeClaims) {
  std::mt19937 gen(1234);
  int errors = 0;
  for (uint32_t seed = 0; seed < 400; ++seed) {
    const size_t length = gen() % 3000;
    const uint64_t size = gen() % 200000;
    auto r = DecodeFile(decoder_, RandomBytes(length, seed), size, seed % 3 == 0, 1 + seed % 64);
    if (r.status != DecodeStatus::kOk) {
      ++errors;
    } else {
      EXPECT_EQ(r.output.size(), size);
    }
  }
  EXPECT_GT(errors, 350);
  // A valid stream and a huge claimed size: decoding stops on the missing
  // input instead of producing the claimed size.
  auto r = DecodeFile(decoder_, VectorBytes("packed/zeros100k@64-1.bin"), uint64_t{1} << 40);
  EXPECT_NE(r.status, DecodeStatus::kOk);
  EXPECT_LE(r.output.size(), 100000u + 8192u);
}

}  // namespace
}  // namespace acetest
