// Progress reports (where a host's stop is taken) come with the output writes
// at every level, the greedy level 0 too: together they count every input byte,
// and listening to them must not change a byte of the output.
#include "support/packing.h"

namespace acetest {
namespace {

TEST(SlowLevelProgress, ReportsCountTheInputWithTheSameOutput) {
  // Text so repetitive that 16 KB of output stand for far more input.
  Bytes input;
  const Bytes verse = TextBytes(3000, 11);
  while (input.size() < 400000) input.insert(input.end(), verse.begin(), verse.end());
  for (int32_t level : {0, 1}) {
    SCOPED_TRACE(level);
    ace::Compressor compressor;
    ASSERT_TRUE(compressor.Init(64, level));
    MemoryIo io;
    io.listen = true;
    ASSERT_EQ(PackWith(compressor, io, input).status, 0u);
    EXPECT_EQ(io.output, Pack(input, 64, level).packed) << "reports must not change the data";
    int64_t processed = 0;
    for (const auto& [percent, step] : io.reports) processed += step;
    EXPECT_EQ(processed, static_cast<int64_t>(input.size()));
    EXPECT_EQ(io.reports.size(), io.writeSizes.size());
  }
}

}  // namespace
}  // namespace acetest
