// The comment decoder on its own: the golden blocks decode exactly, and
// damaged or hostile blocks end with a text of at most 32,767 bytes and its
// terminator, never outside the buffers (the sanitizer build checks that).

#include <algorithm>

#include "format/comment_decoder.h"
#include "support/test_support.h"

namespace acetest {
namespace {

struct Decoded {
  int result = 0;
  int32_t length = -1;
  std::string text;
};

Decoded Decode(const Bytes& block) {
  std::vector<char> text(ace::kCommentTextSize, '\x55');
  Decoded d;
  d.result = ace::DecodeCommentBytes(block.data(), block.size(), text.data(), &d.length);
  if (d.result == 1) {
    EXPECT_GE(d.length, 0);
    EXPECT_LE(d.length, 32767);
    EXPECT_EQ(text[static_cast<size_t>(d.length)], '\0');
    d.text.assign(text.data(), static_cast<size_t>(d.length));
  }
  return d;
}

TEST(CommentDecoder, GoldenBlocksDecodeExactly) {
  for (const std::string name : {"comment-short", "comment-long"}) {
    const Decoded d = Decode(VectorBytes("comments/" + name + ".bin"));
    ASSERT_EQ(d.result, 1) << name;
    EXPECT_EQ(FirstDifference(ReadFileText(VectorsDir() / "comments" / (name + ".txt")), d.text),
              "")
        << name;
  }
}

TEST(CommentDecoder, DamagedBlocksStayInsideTheBuffers) {
  const Bytes golden = VectorBytes("comments/comment-long.bin");
  EXPECT_EQ(Decode(Bytes(10, 0xFF)).length, 32767);  // the longest text a length can claim
  const Decoded empty = Decode({});                  // nothing reads as zero bits: an empty comment
  EXPECT_EQ(empty.result, 1);
  EXPECT_EQ(empty.length, 0);
  for (uint32_t seed = 1; seed <= 200; ++seed) {
    Bytes damaged = golden;
    damaged[seed % damaged.size()] ^= static_cast<uint8_t>(1u << (seed % 8));
    damaged.resize(damaged.size() - std::min<size_t>(seed % 40, damaged.size()));
    Decode(damaged);
    Decode(RandomBytes(seed % 64, seed));
  }
}

}  // namespace
}  // namespace acetest
