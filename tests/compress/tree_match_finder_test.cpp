#include "compress/tree_match_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "compress/compress_support.h"
#include "format/crc32.h"

namespace {

using ace::TreeMatchFinder;
using acetest::Bytes;
using acetest::ChunkInput;

struct Finding {
  uint32_t length;
  std::vector<uint32_t> distances;  // for lengths 2..min(length, 32)
  bool operator==(const Finding&) const = default;
};

class TreeMatchFinderTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(ace::SetupTreeMatchFinder(*mf_)); }
  void TearDown() override { ace::ReleaseTreeMatchFinder(*mf_); }

  void Start(const Bytes& data, uint32_t chunk = 0xFFFFFFFFu, uint32_t first = 1) {
    input_ = ChunkInput{&data, 0, chunk};
    ace::StartTreeMatchFinder(*mf_, &ChunkInput::Read, &input_, first);
  }

  Finding Find() {
    Finding f;
    f.length = ace::FindMatches(*mf_);
    for (uint32_t m = 2; m <= std::min(f.length, ace::kTreeMatchLimit); ++m) {
      f.distances.push_back(mf_->matchDistance[m]);
    }
    return f;
  }

  std::vector<Finding> FindAll(size_t count) {
    std::vector<Finding> all;
    all.reserve(count);
    for (size_t i = 0; i < count; ++i) all.push_back(Find());
    return all;
  }

  std::unique_ptr<TreeMatchFinder> mf_ = std::make_unique<TreeMatchFinder>();
  ChunkInput input_;
};

uint32_t CommonLength(const Bytes& data, size_t a, size_t b, size_t most) {
  uint32_t n = 0;
  while (n < most && b + n < data.size() && data[a + n] == data[b + n]) ++n;
  return n;
}

// Every reported length must be a real match at its distance, within reach.
void ExpectValid(const Bytes& data, size_t p, const Finding& f) {
  for (uint32_t m = 2; m <= std::min(f.length, ace::kTreeMatchLimit); ++m) {
    const uint64_t distance = uint64_t{f.distances[m - 2]} + 1;
    ASSERT_LE(distance, p) << "at " << p;
    ASSERT_LE(distance, ace::kTreeDictionary) << "at " << p;
    ASSERT_GE(CommonLength(data, p - distance, p, m), m) << "at " << p << " length " << m;
  }
  if (f.length > ace::kTreeMatchLimit) {
    const size_t from = p - f.distances.back() - 1;
    ASSERT_EQ(CommonLength(data, from, p, ace::kTreeMaxMatch), f.length) << "at " << p;
  }
}

TEST_F(TreeMatchFinderTest, NearestMatchPerLengthAgreesWithExhaustiveSearch) {
  for (uint8_t letters : {2, 3, 5}) {
    const Bytes data = acetest::Letters(6000, letters, letters);
    Start(data);
    for (size_t p = 0; p < data.size(); ++p) {
      const Finding f = Find();
      ExpectValid(data, p, f);
      // The nearest earlier position for every length of 4 or more.
      const size_t most = std::min<size_t>(data.size() - p, ace::kTreeMatchLimit);
      std::vector<uint32_t> nearest(ace::kTreeMatchLimit + 1, 0xFFFFFFFFu);
      uint32_t longest = 0;
      for (size_t q = p; q-- > 0;) {
        const uint32_t n = CommonLength(data, q, p, most);
        for (uint32_t m = longest + 1; m <= n; ++m) nearest[m] = static_cast<uint32_t>(p - q - 1);
        longest = std::max(longest, n);
      }
      if (data.size() - p < ace::kTreeMatchLimit) {
        // Near the end only the 2- and 3-byte notes speak.
        ASSERT_LE(f.length, 3u) << "at " << p;
        continue;
      }
      if (longest >= 4) {
        ASSERT_EQ(std::min(f.length, ace::kTreeMatchLimit), longest) << "at " << p;
        for (uint32_t m = 4; m <= longest; ++m) {
          ASSERT_EQ(f.distances[m - 2], nearest[m]) << "at " << p << " length " << m;
        }
      } else {
        ASSERT_LE(f.length, 3u) << "at " << p;
      }
    }
    EXPECT_TRUE(ace::InputExhausted(*mf_));
  }
}

TEST_F(TreeMatchFinderTest, RunOfOneByteIsExtendedTo256AtDistanceOne) {
  const Bytes data(1000, 'x');
  Start(data);
  EXPECT_EQ(Find().length, 0u);
  const Finding f = Find();
  EXPECT_EQ(f.length, ace::kTreeMaxMatch);
  for (uint32_t d : f.distances) EXPECT_EQ(d, 0u);
}

TEST_F(TreeMatchFinderTest, LastBytesReportAtMostTheShortNotes) {
  // The second copy lies within the last 31 bytes: no tree search there.
  Bytes data = acetest::Letters(200, 7, 26);
  const Bytes tail(data.begin() + 10, data.begin() + 30);
  data.insert(data.end(), tail.begin(), tail.end());
  Start(data);
  std::vector<Finding> all = FindAll(data.size());
  const size_t copy = data.size() - tail.size();
  EXPECT_EQ(all[copy].length, 3u);
  EXPECT_EQ(all[copy].distances[1], copy - 10 - 1);
  // Fewer than 4 bytes left: nothing at all.
  for (size_t p = data.size() - 3; p < data.size(); ++p) EXPECT_EQ(all[p].length, 0u);
}

uint32_t PairHash(uint8_t b0, uint8_t b1) {
  return (ace::kCrcTable[b1] ^ (b0 + 256u * b1)) & 0x3FFu;
}

TEST_F(TreeMatchFinderTest, ShortNotesFillLengthsTwoAndThree) {
  // A pair that shares the hash of "zq" takes over its pair entry, so at
  // the second "zqr" only the 3-byte note is left, and it serves length 2.
  uint8_t x0 = 0, x1 = 0;
  for (unsigned v = 0; v < 65536 && x1 == 0; ++v) {
    const auto a = static_cast<uint8_t>(v & 0xFF), b = static_cast<uint8_t>(v >> 8);
    if (a >= 0x80 && b >= 0x80 && PairHash(a, b) == PairHash('z', 'q')) {
      x0 = a;
      x1 = b;
    }
  }
  ASSERT_NE(x1, 0);
  Bytes data = {'z', 'q', 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h',  // 0: pair note
                'z', 'q', 'r', 'i', 'j', 'k', 'l', 'm', 'n', 'o',  // 10: triple
                x0,  x1,  '1', '2', '3', '4', '5', '6', '7', '8',  // 20: takes the pair entry
                'z', 'q', 'r', 's'};                               // 30
  data.resize(data.size() + 40, '.');
  Start(data);
  std::vector<Finding> all = FindAll(31);
  EXPECT_EQ(all[10].length, 2u);
  EXPECT_EQ(all[10].distances, (std::vector<uint32_t>{9}));
  EXPECT_EQ(all[30].length, 3u);
  EXPECT_EQ(all[30].distances, (std::vector<uint32_t>{19, 19}));
}

// Text with long repeats at every reach, larger than twice the history, so
// that the buffer content moves several times.
Bytes LongRepeats(size_t size, uint32_t seed) {
  Bytes data = acetest::Letters(size, seed, 20);
  const Bytes noise = acetest::RandomBytes(size / 64, seed + 1);
  for (size_t i = 0; i < noise.size(); ++i) data[i * 64 + 13] = noise[i];
  for (size_t at = 70000; at + 600 < size; at += 90001) {
    const size_t back = (at * 7919) % (ace::kTreeDictionary + 20000) + 1;
    if (back > at) continue;
    std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(at - back), 300 + at % 200,
                data.begin() + static_cast<std::ptrdiff_t>(at));
  }
  return data;
}

TEST_F(TreeMatchFinderTest, MatchesAcrossBufferMovesStayValid) {
  const Bytes data = LongRepeats(2'200'000, 5);
  Start(data, 100'000);
  size_t longMatches = 0;
  for (size_t p = 0; p < data.size(); ++p) {
    const Finding f = Find();
    ExpectValid(data, p, f);
    if (f.length > 200) ++longMatches;
  }
  EXPECT_GT(longMatches, 500u);
  EXPECT_TRUE(ace::InputExhausted(*mf_));
}

TEST_F(TreeMatchFinderTest, CandidateExactlyOneDictionaryBackIsUsableOneFurtherIsNot) {
  Bytes data = acetest::RandomBytes(ace::kTreeDictionary + 5000, 3);
  const size_t p = ace::kTreeDictionary + 1000;
  // p repeats the bytes one dictionary back, p + 100 those one byte further.
  std::copy_n(data.begin() + 1000, 50, data.begin() + static_cast<std::ptrdiff_t>(p));
  std::copy_n(data.begin() + 2000 - 1, 50, data.begin() + static_cast<std::ptrdiff_t>(p + 1000));
  Start(data);
  std::vector<Finding> all = FindAll(data.size());
  ASSERT_EQ(all[p].length, 50u);
  EXPECT_EQ(all[p].distances.back(), ace::kTreeDictionary - 1);
  EXPECT_LT(all[p + 1000].length, 4u);
  // The tree stays sound after the shared link entries were touched.
  for (size_t i = p; i < data.size(); ++i) ExpectValid(data, i, all[i]);
}

// Read chunks, positions inserted without a search, and a lowering of every
// position midway (close enough to the ceiling, with a full dictionary
// behind) change no result.
TEST_F(TreeMatchFinderTest, ResultsDoNotDependOnChunksSkipsOrLowering) {
  const Bytes data = LongRepeats(1'250'000, 13);
  Start(data);
  const std::vector<Finding> plain = FindAll(data.size());
  Start(data, 4099);
  for (size_t p = 0; p < data.size(); ++p) ASSERT_EQ(Find(), plain[p]) << "chunks, at " << p;
  const uint32_t first = ace::kTreePositionCeiling - 1'150'000;
  Start(data, 0xFFFFFFFFu, first);
  for (size_t p = 0; p < data.size(); ++p) ASSERT_EQ(Find(), plain[p]) << "lowered, at " << p;
  EXPECT_LT(mf_->pos, first);

  // Four letters: short matches everywhere for the skipped positions to feed.
  const Bytes small = acetest::Letters(3000, 11, 4);
  Start(small);
  const std::vector<Finding> all = FindAll(small.size());
  Start(small);
  for (size_t p = 0; p < 1500; ++p) ace::SkipPosition(*mf_);
  for (size_t p = 1500; p < small.size(); ++p) ASSERT_EQ(Find(), all[p]) << "skips, at " << p;
}

TEST_F(TreeMatchFinderTest, ContinuationKeepsTheHistory) {
  const Bytes first = acetest::Letters(5000, 21, 26);
  const Bytes second(first.begin() + 1000, first.begin() + 1400);
  Start(first);
  FindAll(first.size());
  ASSERT_TRUE(ace::InputExhausted(*mf_));
  input_ = ChunkInput{&second};
  ace::ContinueTreeMatchFinder(*mf_, &ChunkInput::Read, &input_);
  Finding f = Find();
  EXPECT_EQ(f.length, ace::kTreeMaxMatch);
  EXPECT_EQ(f.distances.back(), 5000u - 1000u - 1u);
  EXPECT_FALSE(ace::InputExhausted(*mf_));

  // The first file ends past the buffer's last safe place: after the move.
  const Bytes large = LongRepeats(ace::kTreeHistorySize - 100, 17);
  const Bytes again(large.end() - 900'000, large.end() - 899'000);
  Start(large);
  FindAll(large.size());
  input_ = ChunkInput{&again};
  ace::ContinueTreeMatchFinder(*mf_, &ChunkInput::Read, &input_);
  f = Find();
  EXPECT_EQ(f.length, ace::kTreeMaxMatch);
  EXPECT_EQ(f.distances.back(), 900'000u - 1u);
}

}  // namespace
