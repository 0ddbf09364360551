// The compressor's driver: engine set-up, the CRC and counters, output in
// 16,384-byte writes, progress reports, abort, growth and failures.
#include <gtest/gtest.h>

#include <numeric>

#include "compress/block_reader.h"
#include "compress/compressor_core.h"
#include "compress/memory_io.h"
#include "format/crc32.h"

namespace {

using acetest::Bytes;
using acetest::MemoryIo;

struct Outcome {
  uint32_t status;
  uint32_t packedSize;
  uint32_t crc;
  uint32_t bytesRead;
  bool grew;
};

Outcome Compress(MemoryIo& io, const Bytes& input, int dict, int level, uint32_t declaredSize) {
  ace::Compressor c;
  EXPECT_TRUE(c.Init(dict, level));
  io.SetInput(input);
  c.SetIo(io.Io());
  c.StartFile(declaredSize, false);
  c.Run();
  c.Finish();
  return {c.Status(), c.PackedSize(), c.Crc(), c.BytesRead(), c.Grew()};
}

Outcome Compress(MemoryIo& io, const Bytes& input, int dict = 64, int level = 1) {
  return Compress(io, input, dict, level, static_cast<uint32_t>(input.size()));
}

// The rule for the host's percent: halve both while processed is 20 MB or more.
int32_t ExpectedPercent(int64_t processed, int64_t size) {
  auto p = static_cast<int32_t>(processed);
  auto s = static_cast<int32_t>(size);
  while (p >= 0x1400000) {
    p >>= 1;
    s >>= 1;
  }
  return p * 100 / s;
}

TEST(CompressorSetup, ServesTheFiveDictionariesOnly) {
  for (int dict : {0, 32, 63, 100, 2048, 4096, 8192, -64}) {
    ace::Compressor c;
    EXPECT_FALSE(c.Init(dict, 1)) << dict;
    EXPECT_EQ(c.Status(), 8u);
    EXPECT_FALSE(c.Ready());
    EXPECT_EQ(c.Kind(), ace::EngineKind::kNone);
  }
  for (int dict : {64, 128, 256, 512, 1024}) {
    for (int level = 0; level <= 3; ++level) {
      ace::Compressor c;
      ASSERT_TRUE(c.Init(dict, level));
      EXPECT_EQ(c.Kind(), ace::EngineKind::kHashChain);
    }
  }
  EXPECT_EQ(ace::DictionaryCodeForKB(64), 6);
  EXPECT_EQ(ace::DictionaryCodeForKB(1024), 10);
  EXPECT_EQ(ace::DictionaryCodeForKB(2048), -1);
}

// One compressor set up again for another operation serves the new settings.
TEST(CompressorSetup, SuccessiveSetupsUseTheirOwnEngine) {
  const Bytes text = acetest::TextBytes(50000, 2);
  const auto fresh64 = acetest::Pack(text, 64, 1);
  const auto fresh1024 = acetest::Pack(text, 1024, 3);
  ace::Compressor c;
  for (auto [dict, level, expected] : {std::tuple{1024, 4, (const Bytes*)nullptr},
                                       std::tuple{64, 1, &fresh64.packed},
                                       std::tuple{1024, 3, &fresh1024.packed}}) {
    ASSERT_TRUE(c.Init(dict, level));
    MemoryIo io;
    io.SetInput(text);
    c.SetIo(io.Io());
    c.StartFile(static_cast<uint32_t>(text.size()), false);
    c.Run();
    c.Finish();
    EXPECT_EQ(c.Status(), 0u);
    const auto r = acetest::ReadPacked(io.output, text.size());
    EXPECT_TRUE(r.ok && r.data == text) << dict << " " << level << " " << r.error;
    if (expected != nullptr) EXPECT_EQ(io.output, *expected) << dict << " " << level;
  }
  c.Done();
  EXPECT_FALSE(c.Ready());
}

TEST(CompressorDriver, CountsTheCrcAndTheBytes) {
  for (const Bytes& input : {acetest::RandomBytes(100000, 3), acetest::TextBytes(70000, 4)}) {
    for (int dict : {64, 1024}) {
      MemoryIo io;
      const Outcome o = Compress(io, input, dict);
      EXPECT_EQ(o.status, 0u);
      EXPECT_EQ(o.crc, ace::Crc32Update(ace::kCrcInit, input.data(), input.size()));
      EXPECT_EQ(o.bytesRead, input.size());
      EXPECT_EQ(o.packedSize, io.output.size());
    }
  }
}

// Output goes out in writes of 16,384 bytes and one last write of the rest;
// every write reports progress, and the steps add up to the file.
TEST(CompressorDriver, WritesWholeChunksAndReportsEach) {
  const Bytes input = acetest::RandomBytes(120000, 5);
  MemoryIo io;
  io.listen = true;
  const Outcome o = Compress(io, input);
  ASSERT_EQ(o.status, 0u);
  ASSERT_GE(io.writeSizes.size(), 8u);
  for (size_t i = 0; i + 1 < io.writeSizes.size(); ++i) EXPECT_EQ(io.writeSizes[i], 16384);
  EXPECT_GT(io.writeSizes.back(), 0);
  EXPECT_LE(io.writeSizes.back(), 16384);
  ASSERT_EQ(io.reports.size(), io.writeSizes.size());
  int64_t processed = 0;
  for (const auto& report : io.reports) {
    processed += report.step;
    EXPECT_EQ(report.percent, ExpectedPercent(processed, static_cast<int64_t>(input.size())));
  }
  EXPECT_EQ(processed, static_cast<int64_t>(input.size()));
  EXPECT_EQ(io.reports.back().percent, 100);
}

// Past 20 MB processed, both numbers are halved so the product stays in 32 bits.
TEST(CompressorDriver, PercentHalvesLargeCounts) {
  const Bytes zeros(25000000, 0);
  MemoryIo io;
  io.listen = true;
  const uint32_t declared = 26000000;
  const Outcome o = Compress(io, zeros, 64, 1, declared);
  ASSERT_EQ(o.status, 0u);
  ASSERT_FALSE(io.reports.empty());
  int64_t processed = 0;
  for (const auto& report : io.reports) {
    processed += report.step;
    EXPECT_EQ(report.percent, ExpectedPercent(processed, declared));
  }
  EXPECT_EQ(processed, 25000000);
  EXPECT_EQ(io.reports.back().percent, 96);
}

TEST(CompressorDriver, NoListenerNoReports) {
  MemoryIo io;
  const Outcome o = Compress(io, acetest::RandomBytes(50000, 6));
  EXPECT_EQ(o.status, 0u);
  EXPECT_TRUE(io.reports.empty());
}

// A refusal stops the output at once; the engine stops reading soon after.
TEST(CompressorDriver, AbortStopsTheOutput) {
  const Bytes input = acetest::RandomBytes(1000000, 7);
  MemoryIo io;
  io.listen = true;
  io.abortAtReport = 0;
  const Outcome o = Compress(io, input);
  EXPECT_EQ(o.status, ace::kCompressAborted);
  EXPECT_EQ(io.writeSizes, std::vector<int32_t>{16384});
  EXPECT_EQ(io.reports.size(), 1u);
  EXPECT_EQ(o.packedSize, 16384u);
  EXPECT_LT(o.bytesRead, input.size() / 2);
}

TEST(CompressorDriver, AbortAtTheLastReportKeepsTheData) {
  const Bytes input = acetest::TextBytes(30000, 8);
  MemoryIo probe;
  probe.listen = true;
  Compress(probe, input);
  ASSERT_EQ(probe.reports.size(), 1u);
  MemoryIo io;
  io.listen = true;
  io.abortAtReport = 0;
  const Outcome o = Compress(io, input);
  EXPECT_EQ(o.status, ace::kCompressAborted);
  EXPECT_EQ(io.output, probe.output);
}

TEST(CompressorDriver, GrewMarksDataLongerThanTheFile) {
  struct Case {
    Bytes input;
    uint32_t declared;
    bool grew;
  };
  const Bytes random = acetest::RandomBytes(100000, 9);
  const Bytes text = acetest::TextBytes(100000, 9);
  for (const Case& k : {Case{random, 100000, true}, Case{text, 100000, false},
                        Case{random, 200000, false}, Case{Bytes{1}, 1, true}}) {
    MemoryIo io;
    const Outcome o = Compress(io, k.input, 64, 1, k.declared);
    EXPECT_EQ(o.grew, k.grew) << k.input.size() << " declared " << k.declared;
    EXPECT_EQ(o.grew, o.packedSize > k.declared);
  }
}

TEST(CompressorDriver, FailingWritesStopTheOutput) {
  const Bytes input = acetest::RandomBytes(100000, 10);
  {
    MemoryIo io;
    io.failWriteAt = 0;
    const Outcome o = Compress(io, input);
    EXPECT_EQ(o.status, ace::kCompressShortWrite);
    EXPECT_EQ(io.writes, 1);
    EXPECT_EQ(o.packedSize, 0u);
  }
  {
    MemoryIo io;
    io.failWriteAt = 1;
    io.shortWrite = true;
    const Outcome o = Compress(io, input);
    EXPECT_EQ(o.status, ace::kCompressShortWrite);
    EXPECT_EQ(io.writes, 2);
    EXPECT_EQ(o.packedSize, 16384u + 8192u);
    EXPECT_EQ(io.output.size(), 16384u + 8192u);
  }
}

TEST(CompressorDriver, FailingReadsEndTheInput) {
  {
    MemoryIo io;
    io.failReadAt = 0;
    const Outcome o = Compress(io, acetest::TextBytes(1000, 1));
    EXPECT_EQ(o.status, ace::kCompressReadFailed);
    EXPECT_EQ(io.writes, 0);
  }
  {
    // The first fill of 128 KB arrives, the read at the first slide fails:
    // whatever was written before stays whole chunks, nothing follows.
    MemoryIo io;
    io.failReadAt = 1;
    const Bytes input = acetest::RandomBytes(300000, 2);
    const Outcome o = Compress(io, input);
    EXPECT_EQ(o.status, ace::kCompressReadFailed);
    EXPECT_EQ(o.bytesRead, 131072u);
    EXPECT_EQ(io.output.size() % 16384, 0u);
  }
}

// Short reads from the source change nothing in the data.
TEST(CompressorDriver, ShortReadsGiveTheSameData) {
  const Bytes input = acetest::TextBytes(400000, 12);
  MemoryIo whole;
  MemoryIo pieces;
  pieces.maxRead = 1000;
  Compress(whole, input, 64, 2);
  Compress(pieces, input, 64, 2);
  EXPECT_EQ(whole.output, pieces.output);
}

}  // namespace
