// The compressor's driver: engine set-up, the CRC and counters, output in
// 16,384-byte writes, progress reports, abort, growth and failures.
#include <gtest/gtest.h>

#include "compress/compress_support.h"
#include "compress/compressor_core.h"
#include "format/crc32.h"

namespace acetest {
namespace {

// One file on a fresh compressor (64 KB, level 1 unless said otherwise).
PackResult Compress(MemoryIo& io, const Bytes& input, int64_t declared = -1, int dict = 64,
                    int level = 1) {
  ace::Compressor c;
  EXPECT_TRUE(c.Init(dict, level));
  return RunFile(c, io, input, declared);
}

// The rule for the host's percent: halve both while processed is 20 MB or more.
int32_t ExpectedPercent(int64_t processed, int64_t size) {
  while (processed >= 0x1400000) {
    processed >>= 1;
    size >>= 1;
  }
  return static_cast<int32_t>(processed * 100 / size);
}

TEST(CompressorSetup, ServesTheFiveDictionariesOnly) {
  for (int dict : {0, 32, 63, 100, 2048, 4096, 8192, -64}) {
    ace::Compressor c;
    EXPECT_FALSE(c.Init(dict, 1)) << dict;
    EXPECT_EQ(c.Status(), 8u);
    EXPECT_FALSE(c.Ready());
    EXPECT_EQ(c.Kind(), ace::EngineKind::kNone);
  }
  // One compressor set up again and again; the optimal engine only for the
  // largest dictionary at level 4.
  ace::Compressor c;
  for (int dict : {64, 128, 256, 512, 1024}) {
    for (int level = 0; level <= 4; ++level) {
      ASSERT_TRUE(c.Init(dict, level));
      EXPECT_EQ(c.Kind(), dict == 1024 && level == 4 ? ace::EngineKind::kOptimal
                                                     : ace::EngineKind::kHashChain)
          << dict << "/" << level;
    }
  }
  c.Done();
  EXPECT_FALSE(c.Ready());
  EXPECT_EQ(ace::DictionaryCodeForKB(64), 6);
  EXPECT_EQ(ace::DictionaryCodeForKB(1024), 10);
  EXPECT_EQ(ace::DictionaryCodeForKB(2048), -1);
}

// One compressor set up again for another operation serves the new settings.
TEST(CompressorSetup, SuccessiveSetupsUseTheirOwnEngine) {
  const Bytes text = TextBytes(50000, 2);
  ace::Compressor c;
  for (auto [dict, level] : {std::pair{1024, 4}, {64, 1}, {1024, 3}}) {
    ASSERT_TRUE(c.Init(dict, level));
    MemoryIo io;
    const PackResult got = RunFile(c, io, text);
    EXPECT_EQ(got.status, 0u);
    EXPECT_EQ(FirstDifference(Pack(text, dict, level).packed, got.packed), "")
        << dict << " " << level;
    const auto r = ReadPacked(got.packed, text.size());
    EXPECT_TRUE(r.ok && r.data == text) << dict << " " << level << " " << r.error;
  }
}

TEST(CompressorDriver, CountsTheCrcAndTheBytes) {
  for (const Bytes& input : {RandomBytes(100000, 3), TextBytes(70000, 4)}) {
    for (int dict : {64, 1024}) {
      MemoryIo io;
      const PackResult o = Compress(io, input, -1, dict);
      EXPECT_EQ(o.status, 0u);
      EXPECT_EQ(o.crc, ace::Crc32Update(ace::kCrcInit, input.data(), input.size()));
      EXPECT_EQ(o.bytesRead, input.size());
      EXPECT_EQ(o.packedSize, io.output.size());
    }
  }
}

// Output goes out in writes of 16,384 bytes and one last write of the rest;
// every write reports progress, and the steps add up to the file. Past 20 MB
// processed both numbers of the percent are halved so the product stays in 32
// bits. Without a listener there are no reports.
TEST(CompressorDriver, WritesWholeChunksAndReportsEach) {
  const struct {
    Bytes input;
    uint32_t declared;
    int32_t lastPercent;
  } cases[] = {{RandomBytes(120000, 5), 120000, 100}, {Bytes(25000000, 0), 26000000, 96}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.declared);
    MemoryIo io;
    io.listen = true;
    ASSERT_EQ(Compress(io, c.input, c.declared).status, 0u);
    ASSERT_FALSE(io.writeSizes.empty());
    for (size_t i = 0; i + 1 < io.writeSizes.size(); ++i) EXPECT_EQ(io.writeSizes[i], 16384);
    EXPECT_GT(io.writeSizes.back(), 0);
    EXPECT_LE(io.writeSizes.back(), 16384);
    ASSERT_EQ(io.reports.size(), io.writeSizes.size());
    int64_t processed = 0;
    for (const auto& report : io.reports) {
      processed += report.step;
      EXPECT_EQ(report.percent, ExpectedPercent(processed, c.declared));
    }
    EXPECT_EQ(processed, static_cast<int64_t>(c.input.size()));
    EXPECT_EQ(io.reports.back().percent, c.lastPercent);
  }
  MemoryIo quiet;
  EXPECT_EQ(Compress(quiet, RandomBytes(50000, 6)).status, 0u);
  EXPECT_TRUE(quiet.reports.empty());
}

// A refusal stops the output at once; the engine stops reading soon after.
// Refused at the last report, the data already written stays whole.
TEST(CompressorDriver, AbortStopsTheOutput) {
  const Bytes input = RandomBytes(1000000, 7);
  MemoryIo io;
  io.listen = true;
  io.abortAtReport = 0;
  const PackResult o = Compress(io, input);
  EXPECT_EQ(o.status, ace::kCompressAborted);
  EXPECT_EQ(io.writeSizes, std::vector<int32_t>{16384});
  EXPECT_EQ(io.reports.size(), 1u);
  EXPECT_EQ(o.packedSize, 16384u);
  EXPECT_LT(o.bytesRead, input.size() / 2);

  const Bytes text = TextBytes(30000, 8);
  MemoryIo whole, last;
  whole.listen = last.listen = true;
  Compress(whole, text);
  ASSERT_EQ(whole.reports.size(), 1u);
  last.abortAtReport = 0;
  EXPECT_EQ(Compress(last, text).status, ace::kCompressAborted);
  EXPECT_EQ(last.output, whole.output);
}

TEST(CompressorDriver, GrewMarksDataLongerThanTheFile) {
  const Bytes random = RandomBytes(100000, 9);
  const Bytes text = TextBytes(100000, 9);
  const struct {
    const Bytes* input;
    uint32_t declared;
    bool grew;
  } cases[] = {{&random, 100000, true}, {&text, 100000, false}, {&random, 200000, false}};
  for (const auto& k : cases) {
    MemoryIo io;
    const PackResult o = Compress(io, *k.input, k.declared);
    EXPECT_EQ(o.grew, k.grew) << k.input->size() << " declared " << k.declared;
    EXPECT_EQ(o.grew, o.packedSize > k.declared);
  }
  MemoryIo one;
  EXPECT_TRUE(Compress(one, Bytes{1}).grew);
}

TEST(CompressorDriver, FailingWritesAndReadsStopTheOutput) {
  const Bytes input = RandomBytes(100000, 10);
  MemoryIo failed;
  failed.failWriteAt = 0;
  PackResult o = Compress(failed, input);
  EXPECT_EQ(o.status, ace::kCompressShortWrite);
  EXPECT_EQ(failed.writes, 1);
  EXPECT_EQ(o.packedSize, 0u);

  MemoryIo half;
  half.failWriteAt = 1;
  half.shortWrite = true;
  o = Compress(half, input);
  EXPECT_EQ(o.status, ace::kCompressShortWrite);
  EXPECT_EQ(half.writes, 2);
  EXPECT_EQ(o.packedSize, 16384u + 8192u);
  EXPECT_EQ(half.output.size(), 16384u + 8192u);

  MemoryIo unread;
  unread.failReadAt = 0;
  EXPECT_EQ(Compress(unread, TextBytes(1000, 1)).status, ace::kCompressReadFailed);
  EXPECT_EQ(unread.writes, 0);

  // The first fill of 128 KB arrives, the read at the first slide fails:
  // whatever was written before stays whole chunks, nothing follows.
  MemoryIo slide;
  slide.failReadAt = 1;
  o = Compress(slide, RandomBytes(300000, 2));
  EXPECT_EQ(o.status, ace::kCompressReadFailed);
  EXPECT_EQ(o.bytesRead, 131072u);
  EXPECT_EQ(slide.output.size() % 16384, 0u);
}

// Short reads from the source change nothing in the data.
TEST(CompressorDriver, ShortReadsGiveTheSameData) {
  const Bytes input = TextBytes(400000, 12);
  MemoryIo whole, pieces;
  pieces.maxRead = 1000;
  Compress(whole, input, -1, 64, 2);
  Compress(pieces, input, -1, 64, 2);
  EXPECT_EQ(whole.output, pieces.output);
}

}  // namespace
}  // namespace acetest
