// The packed data is fixed by the format bit for bit: every golden row of levels
// 1 to 4 must come out exactly, the solid run included. The corpus inputs are not in the
// project; each row's packed data gives its input back (size and CRC checked).
#include <map>

#include "support/packing.h"

namespace acetest {
namespace {

TEST(GoldenVectors, EveryRowPacksExactly) {
  std::map<std::string, Bytes> inputs;
  const std::vector<VectorRow> rows = VectorRows();
  for (const VectorRow& row : rows) {
    if (inputs.count(row.input) != 0 || row.runIndex >= 0) continue;
    inputs[row.input] =
        row.InCorpus() ? Unpack(VectorBytes(row.packed), row.size) : VectorBytes(row.input);
    ASSERT_EQ(DataCrc(inputs[row.input]), row.crc) << row.input;
  }
  ace::Compressor solid;
  MemoryIo io[5];
  int checked = 0;
  for (const VectorRow& row : rows) {
    // The vectors' level 0 walks whole chains; ours is greedy (its own pinned
    // outputs are in fastest_level_test.cpp). Those rows still test the decoder.
    if (row.level == 0) continue;
    SCOPED_TRACE(row.packed);
    PackResult got;
    if (row.runIndex < 0) {
      got = Pack(inputs.at(row.input), row.dictionaryKB, row.level);
    } else {
      if (row.runIndex == 0) ASSERT_TRUE(solid.Init(row.dictionaryKB, row.level));
      got = PackWith(solid, io[row.runIndex], inputs.at(row.input), row.runIndex > 0);
    }
    ASSERT_EQ(got.status, 0u);
    EXPECT_EQ(got.crc, row.crc);
    EXPECT_EQ(got.packedSize, row.packedSize);
    EXPECT_EQ(FirstDifference(VectorBytes(row.packed), got.packed), "");
    ++checked;
  }
  EXPECT_EQ(checked, 27);
}

}  // namespace
}  // namespace acetest
