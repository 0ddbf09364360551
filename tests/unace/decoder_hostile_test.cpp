// Damaged and hostile packed data: every result is a status, never a crash, a hang or output
// beyond the unpacked size (DecodeFile throws if the decoder hands out too much). The CI runs
// these under AddressSanitizer and UndefinedBehaviorSanitizer.
#include <gtest/gtest.h>

#include <filesystem>

#include <random>

#include "unace/decoder_support.h"

namespace {

using acetest::Bytes;
using ace::DecodeStatus;
using ace::Lz77Decoder;

// A small golden file by name: packed data under packed/, inputs under inputs/.
Bytes Vector(const std::string& name) {
  const auto dir = acetest::TestDataDir() / "vectors";
  const auto packed = dir / "packed" / name;
  return acetest::ReadFileBytes(std::filesystem::exists(packed) ? packed : dir / "inputs" / name);
}

class HostileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(decoder_.Init(Lz77Decoder::kMaxDictionary, 8192), DecodeStatus::kOk);
  }
  Lz77Decoder decoder_;
};

TEST_F(HostileTest, EveryTruncationIsReportedAsTruncated) {
  struct Case {
    const char* packed;
    const char* input;
  };
  for (const Case& c : {Case{"one@64-1.bin", "one"}, Case{"short@64-1.bin", "short"},
                        Case{"short@1024-4.bin", "short"}, Case{"lcg8k@128-0.bin", "lcg8k"}}) {
    const Bytes packed = Vector(c.packed);
    const size_t size = Vector(c.input).size();
    ASSERT_EQ(acetest::DecodeFile(decoder_, packed, size).status, DecodeStatus::kOk);
    // lcg8k is long: its cuts step by a prime so that every offset within a word is covered.
    const size_t step = packed.size() > 1000 ? 37 : 1;
    for (size_t cut = 0; cut < packed.size(); cut += step) {
      Bytes part(packed.begin(), packed.begin() + static_cast<ptrdiff_t>(cut));
      auto r = acetest::DecodeFile(decoder_, part, size, false, 1 + cut % 5);
      ASSERT_EQ(r.status, DecodeStatus::kTruncated) << c.packed << " cut at " << cut;
    }
  }
}

TEST_F(HostileTest, EveryBitFlipGivesAStatusOrTheFullSize) {
  const std::pair<const char*, uint64_t> vectors[] = {
      {"one@64-1.bin", 1}, {"two@64-1.bin", 2}, {"short@64-1.bin", 23},
      {"zeros100k@64-1.bin", 100000}};
  for (auto [name, size] : vectors) {
    const Bytes packed = Vector(name);
    int failures = 0;
    for (size_t bit = 0; bit < packed.size() * 8; ++bit) {
      Bytes flipped = packed;
      flipped[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
      auto r = acetest::DecodeFile(decoder_, flipped, size);
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

TEST_F(HostileTest, RandomBytesAndRandomSizes) {
  std::mt19937 gen(1234);
  int errors = 0;
  for (uint32_t seed = 0; seed < 400; ++seed) {
    const size_t length = gen() % 3000;
    const uint64_t size = gen() % 200000;
    auto r = acetest::DecodeFile(decoder_, acetest::RandomBytes(length, seed), size, seed % 3 == 0,
                                 1 + seed % 64);
    if (r.status != DecodeStatus::kOk) {
      ++errors;
    } else {
      EXPECT_EQ(r.output.size(), size);
    }
  }
  EXPECT_GT(errors, 350);
}

// A valid stream followed by garbage where its last block should end, and a huge claimed size:
// decoding stops on the missing input instead of producing the claimed size.
TEST_F(HostileTest, HugeClaimedSizeStopsAtTheEndOfTheInput) {
  const Bytes packed = Vector("zeros100k@64-1.bin");
  auto r = acetest::DecodeFile(decoder_, packed, uint64_t{1} << 40);
  EXPECT_NE(r.status, DecodeStatus::kOk);
  EXPECT_LE(r.output.size(), 100000u + 8192u);
}

}  // namespace
