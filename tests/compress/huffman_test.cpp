// Huffman codes within the width limit, complete (Kraft sum one) and
// prefix-free, also where the optimal tree is far deeper than the limit.
#include "compress/huffman.h"

#include <random>

#include "support/test_support.h"

namespace {

struct Case {
  const char* what;
  std::vector<uint32_t> frequencies;
};

std::vector<Case> Cases() {
  std::vector<Case> cases = {{"one symbol", {0, 0, 9}}, {"two", {5, 1}}, {"none", {0, 0, 0, 0}}};
  std::vector<uint32_t> fibonacci = {1, 1};
  while (fibonacci.size() < 30) fibonacci.push_back(fibonacci.end()[-1] + fibonacci.end()[-2]);
  cases.push_back({"Fibonacci", fibonacci});
  std::mt19937 gen(5);
  std::vector<uint32_t> random(282);
  for (uint32_t& f : random) f = gen() % 4 == 0 ? 0 : 1 + gen() % (1u << (gen() % 20));
  cases.push_back({"random", random});
  cases.push_back({"equal", std::vector<uint32_t>(256, 7)});
  return cases;
}

TEST(Huffman, CodesAreCompletePrefixFreeAndWithinTheLimit) {
  for (const Case& c : Cases()) {
    for (int limit : {7, 11}) {
      if (c.frequencies.size() > (size_t{1} << limit)) continue;  // no code that short
      SCOPED_TRACE(testing::Message() << c.what << ", limit " << limit);
      const int n = static_cast<int>(c.frequencies.size());
      std::vector<uint8_t> widths(n);
      std::vector<uint16_t> codes(n);
      const int last =
          ace::BuildHuffmanCode(c.frequencies.data(), n, limit, widths.data(), codes.data());
      uint64_t kraft = 0;
      int used = 0;
      for (int s = 0; s < n; ++s) {
        if (widths[s] == 0) continue;
        ++used;
        EXPECT_LE(s, last);
        EXPECT_LE(widths[s], limit) << s;
        kraft += uint64_t{1} << (limit - widths[s]);
        for (int t = 0; t < s; ++t) {
          if (widths[t] == 0) continue;
          const int w = std::min(widths[s], widths[t]);
          EXPECT_NE(codes[s] >> (widths[s] - w), codes[t] >> (widths[t] - w)) << s << " " << t;
        }
      }
      EXPECT_GE(used, 2) << "a code has two symbols at least";
      EXPECT_EQ(kraft, uint64_t{1} << limit);
      for (int s = 0; s < n; ++s) {
        if (c.frequencies[s] != 0) EXPECT_NE(widths[s], 0) << s;
      }
    }
  }
}

}  // namespace
