// The compressor's driver: which dictionaries it serves, output in writes of
// 16,384 bytes with a progress report each (the optimal engine reports by
// itself), refusals, failing reads and writes, and data that grows.

#include <numeric>

#include "support/packing.h"

namespace acetest {
namespace {

int64_t StepSum(const MemoryIo& io) {
  return std::accumulate(io.reports.begin(), io.reports.end(), int64_t{0},
                         [](int64_t sum, const auto& r) { return sum + r.second; });
}

TEST(Compressor, ServesTheFiveDictionariesOnly) {
  for (int dict : {0, 32, 63, 65, 2048}) {
    ace::Compressor c;
    EXPECT_FALSE(c.Init(dict, 1)) << dict;
    EXPECT_EQ(c.Status(), 8u);
    EXPECT_FALSE(c.Ready());
  }
}

TEST(Compressor, HashChainWritesWholeChunksWithAReportEach) {
  const Bytes input = RandomBytes(100000, 1);  // does not shrink: several chunks
  ace::Compressor c;
  ASSERT_TRUE(c.Init(64, 1));
  MemoryIo io;
  io.listen = true;
  const PackResult got = PackWith(c, io, input);
  ASSERT_EQ(got.status, 0u);
  EXPECT_TRUE(got.grew);
  ASSERT_GE(io.writeSizes.size(), 6u);
  for (size_t i = 0; i + 1 < io.writeSizes.size(); ++i) EXPECT_EQ(io.writeSizes[i], 16384) << i;
  EXPECT_EQ(io.reports.size(), io.writeSizes.size());
  EXPECT_EQ(io.reports.back().first, 100);
  EXPECT_EQ(StepSum(io), 100000);
  EXPECT_FALSE(Pack(TextBytes(100000, 1), 64, 1).grew);
}

// At least every 32,768 bytes, every hundredth of the file when that is
// more, and once at the end.
TEST(Compressor, OptimalEngineReportsAtItsOwnPeriod) {
  for (auto [size, period] : {std::pair{200000, 32768}, {4000000, 40000}}) {
    Bytes input = TextBytes(200000, 2);
    input.resize(static_cast<size_t>(size), 0);
    ace::Compressor c;
    ASSERT_TRUE(c.Init(1024, 4));
    MemoryIo io;
    io.listen = true;
    ASSERT_EQ(PackWith(c, io, input).status, 0u);
    ASSERT_GE(io.reports.size(), 2u);
    for (size_t i = 0; i + 1 < io.reports.size(); ++i) {
      EXPECT_GE(io.reports[i].second, period) << i;
      EXPECT_LT(io.reports[i].second, period + 300) << i;
    }
    EXPECT_EQ(io.reports.back().first, 100);
    EXPECT_EQ(StepSum(io), size);
  }
}

TEST(Compressor, ARefusalOrAFailureStopsTheOutput) {
  const Bytes input = RandomBytes(300000, 3);
  struct Case {
    const char* what;
    int dict, level;
    int refuseAt, failReadAt, failWriteAt;
    bool shortWrite;
    uint32_t status;
    int64_t written;  // bytes that reached the sink (-1: any)
    bool stopsReading;
  } cases[] = {
      {"refused report", 64, 1, 1, -1, -1, false, 2926, 2 * 16384, true},
      {"refused report, optimal engine", 1024, 4, 1, -1, -1, false, 2926, -1, false},
      {"failed write", 64, 1, -1, -1, 1, false, 101, 16384, false},
      {"short write", 64, 1, -1, -1, 1, true, 101, 16384 + 8192, false},
      {"failed read", 64, 1, -1, 1, -1, false, 5, -1, false},
      {"failed read, optimal engine", 1024, 4, -1, 1, -1, false, 5, -1, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ace::Compressor compressor;
    ASSERT_TRUE(compressor.Init(c.dict, c.level));
    MemoryIo io;
    io.listen = c.refuseAt >= 0;
    io.refuseAt = c.refuseAt;
    io.failReadAt = c.failReadAt;
    io.failWriteAt = c.failWriteAt;
    io.shortWrite = c.shortWrite;
    const PackResult got = PackWith(compressor, io, input);
    EXPECT_EQ(got.status, c.status);
    if (c.written >= 0) EXPECT_EQ(static_cast<int64_t>(io.output.size()), c.written);
    EXPECT_EQ(got.packedSize, io.output.size());
    if (c.stopsReading) EXPECT_LT(io.readPos, input.size());
    if (io.listen) EXPECT_EQ(io.reports.size(), static_cast<size_t>(c.refuseAt + 1));
  }
}

TEST(Compressor, InputInPiecesGivesTheSameData) {
  const Bytes input = TextBytes(150000, 4);
  for (int level : {2, 4}) {
    ace::Compressor c;
    ASSERT_TRUE(c.Init(1024, level));
    MemoryIo io;
    io.maxRead = 999;
    EXPECT_EQ(FirstDifference(Pack(input, 1024, level).packed, PackWith(c, io, input).packed), "");
  }
}

}  // namespace
}  // namespace acetest
