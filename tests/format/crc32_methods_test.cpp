// Every way of computing the CRC that this processor can run gives the
// byte-at-a-time register, across the lengths where the wide methods switch
// between their block loops and their tails, from any start in a word.
#include <gtest/gtest.h>

#include "format/crc32.h"
#include "support/test_support.h"

namespace acetest {
namespace {

TEST(Crc32Methods, AgreeOnEveryLengthAndAlignment) {
  using ace::CrcMethod;
  const Bytes data = RandomBytes(1024 + 16, 11);
  ASSERT_TRUE(ace::CrcMethodAvailable(CrcMethod::kBytewise));
  ASSERT_TRUE(ace::CrcMethodAvailable(CrcMethod::kSliced));
  for (CrcMethod method : {CrcMethod::kSliced, CrcMethod::kCarryless}) {
    if (!ace::CrcMethodAvailable(method)) continue;  // processor without it; the others still run
    for (size_t start = 0; start < 16; ++start) {
      for (size_t length = 0; length <= 1024; length += start + 1) {
        const uint32_t seed = 0x9E3779B9u * static_cast<uint32_t>(length + 1);
        ASSERT_EQ(ace::Crc32UpdateWith(method, seed, data.data() + start, length),
                  ace::Crc32UpdateWith(CrcMethod::kBytewise, seed, data.data() + start, length))
            << "method " << static_cast<int>(method) << " start " << start << " length " << length;
      }
    }
  }
}

}  // namespace
}  // namespace acetest
