// The packed data is fixed by the format bit for bit: every golden row whose
// input the project holds must come out exactly, on every engine (1024 KB at
// level 4 is the optimal engine). The rows of the corpus and the solid run
// that starts with one are checked by the conformance run.

#include "support/packing.h"

namespace acetest {
namespace {

TEST(GoldenVectors, EveryRowWithItsInputInTheProjectPacksExactly) {
  int checked = 0;
  for (const VectorRow& row : VectorRows()) {
    if (row.InCorpus() || row.runIndex >= 0) continue;
    SCOPED_TRACE(row.packed);
    const Bytes input = VectorBytes(row.input);
    const PackResult got = Pack(input, row.dictionaryKB, row.level);
    ASSERT_EQ(got.status, 0u);
    EXPECT_EQ(got.crc, row.crc);
    EXPECT_EQ(got.packedSize, row.packedSize);
    EXPECT_EQ(FirstDifference(VectorBytes(row.packed), got.packed), "");
    ++checked;
  }
  EXPECT_EQ(checked, 12);
}

}  // namespace
}  // namespace acetest
