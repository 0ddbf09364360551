// Level 0 is our own (greedy, short walks), so no outside vector fixes its
// output: these pinned outputs do, on each of its paths (a first fill; a window
// that slides, with 2-byte matches past D + 256; a solid continuation). Define
// PIN_WRITE to write them anew after a deliberate change.
#include "support/packing.h"

namespace acetest {
namespace {

void ExpectPinned(const std::string& pin, const PackResult& got) {
  SCOPED_TRACE(pin);
  const auto path = VectorsDir().parent_path() / "level0" / (pin + ".bin");
#ifdef PIN_WRITE
  WriteFileBytes(path, got.packed);
#endif
  EXPECT_EQ(got.status, 0u);
  EXPECT_EQ(FirstDifference(ReadFileBytes(path), got.packed), "");
}

TEST(FastestLevel, OutputStaysAsPinned) {
  const Bytes shortText = VectorBytes("inputs/short"), prose = VectorBytes("inputs/prose");
  const Bytes pattern = VectorBytes("inputs/pattern60k");
  Bytes prose3 = prose;
  for (int i = 0; i < 2; ++i) prose3.insert(prose3.end(), prose.begin(), prose.end());
  for (auto [pin, input, dict] : {std::tuple{"short@256", &shortText, 256},
                                  {"prose@1024", &prose, 1024},
                                  {"pattern60k@64", &pattern, 64},
                                  {"prose3@64", &prose3, 64}}) {
    const PackResult got = Pack(*input, dict, 0);
    ExpectPinned(pin, got);
    EXPECT_EQ(FirstDifference(*input, Unpack(got.packed, input->size())), "") << pin;
  }
  ace::Compressor c;
  ASSERT_TRUE(c.Init(128, 0));
  MemoryIo io[2];
  const PackResult first = PackWith(c, io[0], shortText), second = PackWith(c, io[1], prose, true);
  ExpectPinned("solid128.0", first);
  ExpectPinned("solid128.1", second);
  ace::Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(), ace::DecodeStatus::kOk);
  Bytes out;
  ASSERT_EQ(Unpack(decoder, first.packed, shortText.size(), &out), ace::DecodeStatus::kOk);
  ASSERT_EQ(Unpack(decoder, second.packed, prose.size(), &out, true), ace::DecodeStatus::kOk);
  EXPECT_EQ(FirstDifference(prose, out), "");
}

}  // namespace
}  // namespace acetest
