// Level 0 is our own (greedy, short walks), so no outside vector fixes its
// output: these pinned outputs do, on each of its paths (a first fill; a window
// that slides, with 2-byte matches past D + 256; a solid continuation). Define
// PIN_WRITE to write them anew after a deliberate change.
#include <gtest/gtest.h>

#include "compress/compress_support.h"

namespace acetest {
namespace {

Bytes Input(const char* name) { return ReadFileBytes(TestDataDir() / "vectors" / "inputs" / name); }

void ExpectPinned(const std::string& pin, const PackResult& got, const Bytes& input,
                  const Bytes& history = {}) {
  SCOPED_TRACE(pin);
  const auto path = TestDataDir() / "level0" / (pin + ".bin");
#ifdef PIN_WRITE
  WriteFileBytes(path, got.packed);
#endif
  EXPECT_EQ(got.status, 0u);
  EXPECT_EQ(FirstDifference(ReadFileBytes(path), got.packed), "");
  EXPECT_EQ(ReadPacked(got.packed, input.size(), history).data, input);
}

TEST(FastestLevel, OutputStaysAsPinned) {
  const Bytes shortText = Input("short"), prose = Input("prose"), pattern = Input("pattern60k");
  Bytes prose3 = prose;
  for (int i = 0; i < 2; ++i) prose3.insert(prose3.end(), prose.begin(), prose.end());
  ExpectPinned("short@256", Pack(shortText, 256, 0), shortText);
  ExpectPinned("prose@1024", Pack(prose, 1024, 0), prose);
  ExpectPinned("pattern60k@64", Pack(pattern, 64, 0), pattern);
  ExpectPinned("prose3@64", Pack(prose3, 64, 0), prose3);
  const auto run = PackSolid({shortText, prose}, 128, 0);
  ExpectPinned("solid128.0", run[0], shortText);
  ExpectPinned("solid128.1", run[1], prose, shortText);
}

}  // namespace
}  // namespace acetest
