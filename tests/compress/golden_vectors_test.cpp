// The packed data is fixed bit for bit: every vector row of levels 1 to 4, on
// every engine (1024 KB at level 4 is the optimal engine), must come out exactly.
#include <gtest/gtest.h>

#include "compress/compress_support.h"

namespace acetest {
namespace {

void ExpectRow(const VectorRow& row, const PackResult& got) {
  SCOPED_TRACE(row.packed);
  EXPECT_EQ(got.status, 0u);
  EXPECT_EQ(got.crc, row.crc);
  EXPECT_EQ(got.packedSize, row.packedSize);
  EXPECT_EQ(got.grew, row.packedSize > row.size);
  EXPECT_EQ(FirstDifference(VectorBytes(row.packed), got.packed), "");
}

TEST(GoldenVectors, SingleFilesAndTheSolidRun) {
  const std::vector<VectorRow> rows = VectorRows();
  ASSERT_EQ(rows.size(), 30u);
  std::vector<Bytes> runInputs;
  std::vector<VectorRow> run;
  for (const VectorRow& row : rows) {
    // The vectors' level 0 walks whole chains; ours is greedy (its own pinned
    // outputs are in fastest_level_test.cpp). Those rows still test the decoder.
    if (row.level == 0) continue;
    const Bytes input = VectorBytes(row.input);
    ASSERT_EQ(input.size(), row.size) << row.input;
    if (row.run == "-") {
      ExpectRow(row, Pack(input, row.dictionaryKB, row.level));
    } else {
      ASSERT_EQ(row.runIndex, static_cast<int>(run.size())) << row.run;
      runInputs.push_back(input);
      run.push_back(row);
    }
  }
  ASSERT_EQ(run.size(), 5u);
  const auto results = PackSolid(runInputs, run[0].dictionaryKB, run[0].level);
  ASSERT_EQ(results.size(), run.size());
  for (size_t i = 0; i < run.size(); ++i) ExpectRow(run[i], results[i]);
}

}  // namespace
}  // namespace acetest
