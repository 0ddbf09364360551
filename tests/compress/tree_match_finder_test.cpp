// The optimal engine's match finder against an exhaustive search: every
// length it reports is a real match within reach, and for every length from
// 4 on it names the nearest one; runs are extended to 256 bytes.
#include "compress/tree_match_finder.h"

#include <memory>

#include "support/test_support.h"

namespace {

using acetest::Bytes;

struct Input {
  const Bytes* data;
  size_t at;
  static uint32_t Read(void* context, uint8_t* destination, uint32_t count) {
    auto* in = static_cast<Input*>(context);
    const size_t n = std::min<size_t>(count, in->data->size() - in->at);
    std::memcpy(destination, in->data->data() + in->at, n);
    in->at += n;
    return static_cast<uint32_t>(n);
  }
};

uint32_t Common(const Bytes& data, size_t a, size_t b, size_t most) {
  uint32_t n = 0;
  while (n < most && b + n < data.size() && data[a + n] == data[b + n]) ++n;
  return n;
}

TEST(TreeMatchFinder, NamesTheNearestMatchOfEveryLength) {
  auto mf = std::make_unique<ace::TreeMatchFinder>();
  ASSERT_TRUE(ace::SetupTreeMatchFinder(*mf));
  for (int letters : {2, 3, 5}) {
    Bytes data = acetest::RandomBytes(6000, static_cast<uint32_t>(letters));
    for (uint8_t& b : data) b = static_cast<uint8_t>('a' + b % letters);
    data.insert(data.end(), 600, 'r');
    Input input{&data, 0};
    ace::StartTreeMatchFinder(*mf, &Input::Read, &input);
    for (size_t p = 0; p < data.size(); ++p) {
      const uint32_t found = ace::FindMatches(*mf);
      const uint32_t* distance = mf->matchDistance;
      for (uint32_t m = 2; m <= std::min(found, ace::kTreeMatchLimit); ++m) {
        ASSERT_LT(distance[m], p) << "at " << p;
        ASSERT_GE(Common(data, p - distance[m] - 1, p, m), m) << "at " << p << " length " << m;
      }
      const size_t most = std::min<size_t>(data.size() - p, ace::kTreeMatchLimit);
      std::vector<uint32_t> nearest(ace::kTreeMatchLimit + 1);
      uint32_t longest = 0;
      for (size_t q = p; q-- > 0 && longest < most;) {
        const uint32_t n = Common(data, q, p, most);
        for (uint32_t m = longest + 1; m <= n; ++m) nearest[m] = static_cast<uint32_t>(p - q - 1);
        longest = std::max(longest, n);
      }
      if (data.size() - p < ace::kTreeMatchLimit || longest < 4) {
        ASSERT_LE(found, 3u) << "at " << p;  // only the 2- and 3-byte notes
        continue;
      }
      ASSERT_EQ(std::min(found, ace::kTreeMatchLimit), longest) << "at " << p;
      for (uint32_t m = 4; m <= longest; ++m) ASSERT_EQ(distance[m], nearest[m]) << "at " << p;
      if (longest == ace::kTreeMatchLimit) {  // extended as far as that match goes
        const size_t from = p - nearest[longest] - 1;
        ASSERT_EQ(found, Common(data, from, p, ace::kTreeMaxMatch)) << "at " << p;
      }
    }
    EXPECT_TRUE(ace::InputExhausted(*mf));
  }
  ace::ReleaseTreeMatchFinder(*mf);
}

}  // namespace
