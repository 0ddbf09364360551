// The optimal engine through the compressor (its exact output is pinned by
// the golden vectors): data that reads back, the token forms it must avoid,
// solid runs, price statistics, progress and abort.
#include "compress/optimal_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

#include "compress/compress_support.h"
#include "unace/decoder/lz77_decoder.h"

namespace acetest {
namespace {

// Reads packed data back and checks the token forms the engine must avoid.
void ExpectReadsBack(const Bytes& packed, const Bytes& input, const Bytes& history = {}) {
  const auto read = ReadPacked(packed, input.size(), history);
  ASSERT_TRUE(read.ok) << read.error;
  ASSERT_TRUE(read.data == input);
  for (const auto& t : read.Tokens()) {
    if (t.mainSymbol < 256) continue;
    ASSERT_LE(t.length, ace::kTreeMaxMatch);
    ASSERT_LE(t.distance, ace::kTreeDictionary);
    if (t.length == 2) ASSERT_LT(t.distance, 256u);
    if (t.length == 3) ASSERT_LT(t.distance, 8192u);
  }
}

// Decodes a solid run's packed files with the extraction library's decoder.
std::vector<Bytes> Decode(const std::vector<PackResult>& packed, const std::vector<Bytes>& inputs) {
  ace::Lz77Decoder decoder;
  EXPECT_EQ(decoder.Init(), ace::DecodeStatus::kOk);
  std::vector<Bytes> out;
  for (size_t i = 0; i < packed.size(); ++i) {
    ace::MemoryInput source{packed[i].packed.data(), packed[i].packed.size(), 0};
    decoder.BeginFile(ace::MemorySource(&source), inputs[i].size(), i > 0);
    Bytes data;
    for (;;) {
      const uint8_t* chunk = nullptr;
      size_t size = 0;
      const ace::DecodeStatus status = decoder.Decode(&chunk, &size);
      EXPECT_EQ(status, ace::DecodeStatus::kOk) << ace::DecodeStatusText(status);
      if (status != ace::DecodeStatus::kOk || size == 0) break;
      data.insert(data.end(), chunk, chunk + size);
    }
    out.push_back(std::move(data));
  }
  return out;
}

TEST(OptimalEngine, PackedDataReadsBack) {
  const Bytes inputs[] = {
      Bytes{'x'},
      Bytes{'a', 'b'},
      Bytes{'a', 'b', 'c'},
      Bytes{'a', 'b', 'a', 'b'},
      Letters(100, 1, 2),
      Letters(70000, 2, 3),
      RandomBytes(50000, 3),
      Bytes(300000, 0),
      CorpusBytes("kppkn.gtb"),
      CorpusBytes("paper-100k.pdf"),
      CorpusBytes("urls.10K"),
  };
  for (const Bytes& input : inputs) {
    SCOPED_TRACE(input.size());
    const auto got = Pack(input, 1024, 4);
    ASSERT_EQ(got.status, 0u);
    ExpectReadsBack(got.packed, input);
  }
  for (const char* name :
       {"alice29.txt", "fireworks.jpeg", "geo.protodata", "html_x_4", "plrabn12.txt", "urls.10K"}) {
    SCOPED_TRACE(name);
    const std::vector<Bytes> input = {CorpusBytes(name)};
    const std::vector<PackResult> packed = {Pack(input[0], 1024, 4)};
    ASSERT_EQ(packed[0].status, 0u);
    EXPECT_TRUE(Decode(packed, input)[0] == input[0]);
  }
}

TEST(OptimalEngine, TokenForms) {
  // A run of one byte becomes full-length repeats: distance 1 is in the ring
  // of zeros a file starts with.
  const Bytes run(1 + 256 * 3, 'z');
  auto tokens = ReadPacked(Pack(run, 1024, 4).packed, run.size()).Tokens();
  ASSERT_EQ(tokens.size(), 4u);
  EXPECT_EQ(tokens[0].mainSymbol, uint32_t{'z'});
  for (size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(tokens[i].mainSymbol, 256u);
    EXPECT_EQ(tokens[i].length, 256u);
    EXPECT_EQ(tokens[i].distance, 1u);
  }
  // The last three bytes are literals, even when they repeat.
  const Bytes tail = {'a', 'b', 'c', 'd', 'e', 'a', 'b', 'c'};
  tokens = ReadPacked(Pack(tail, 1024, 4).packed, tail.size()).Tokens();
  ASSERT_EQ(tokens.size(), tail.size());
  for (const auto& t : tokens) EXPECT_LT(t.mainSymbol, 256u);
}

TEST(OptimalEngine, SolidRunsReachIntoTheEarlierFiles) {
  // The second file is a copy of earlier data: a couple of hundred long matches.
  const Bytes first = CorpusBytes("alice29.txt");
  const Bytes second(first.begin() + 40000, first.begin() + 90000);
  auto results = PackSolid({first, second}, 1024, 4);
  ASSERT_EQ(results.size(), 2u);
  ASSERT_EQ(results[1].status, 0u);
  ExpectReadsBack(results[0].packed, first);
  ExpectReadsBack(results[1].packed, second, first);
  EXPECT_LT(results[1].packedSize, 2000u);
  EXPECT_GT(Pack(second, 1024, 4).packedSize, 10 * results[1].packedSize);

  // Over the corpus, read back by the test reader and the library's decoder;
  // lcet10.txt again, 1,034,000 bytes after its first copy, is within reach.
  const std::vector<Bytes> files = {CorpusBytes("lcet10.txt"), CorpusBytes("plrabn12.txt"),
                                    CorpusBytes("asyoulik.txt"), CorpusBytes("lcet10.txt")};
  results = PackSolid(files, 1024, 4);
  ASSERT_EQ(results.size(), files.size());
  Bytes history;
  for (size_t i = 0; i < files.size(); ++i) {
    SCOPED_TRACE(i);
    ASSERT_EQ(results[i].status, 0u);
    ExpectReadsBack(results[i].packed, files[i], history);
    history.insert(history.end(), files[i].begin(), files[i].end());
  }
  const auto decoded = Decode(results, files);
  ASSERT_EQ(decoded.size(), files.size());
  for (size_t i = 0; i < files.size(); ++i) EXPECT_TRUE(decoded[i] == files[i]) << i;
  EXPECT_LT(results[3].packedSize, results[0].packedSize / 20);
}

ace::OptimalEngineState& EngineOf(ace::Compressor& c) {
  return *static_cast<ace::OptimalEngineState*>(c.Core().engine);
}

TEST(OptimalEngine, PricesFollowPeriodicAndBlockRebuilds) {
  // Random bytes: (nearly) every token a literal, over two and a half blocks.
  // The file is run but not finished, so that the last block is still open.
  const Bytes input = RandomBytes(40000, 8);
  auto c = std::make_unique<ace::Compressor>();
  ASSERT_TRUE(c->Init(1024, 4));
  MemoryIo io;
  io.input = &input;
  c->SetIo(io.Io());
  c->StartFile(static_cast<uint32_t>(input.size()), false);
  c->Run();
  ace::CompressorCore& core = c->Core();
  const ace::OptimalPrices& prices = EngineOf(*c).prices;
  const uint32_t open = core.tokenCount;  // tokens of the block still open
  ASSERT_GT(open, 0u);
  auto sum = [](const auto& counts) {
    return std::accumulate(std::begin(counts), std::end(counts), uint32_t{0});
  };
  EXPECT_EQ(sum(prices.mainCount), open);  // the counts restarted with the block
  uint32_t matches = 0;
  for (uint32_t t = 0; t < open; ++t) matches += core.tokenMain[t] >= 256 ? 1 : 0;
  EXPECT_EQ(sum(prices.lengthCount), matches);
  // Rebuilds come before every 1,025th token, block boundaries or not.
  const uint32_t total = 2 * ace::kBlockTokens + open;
  EXPECT_EQ(prices.sinceRebuild, (total - 1) % ace::kPricePeriod + 1);

  // Closing the last block rebuilds from its counts and clears them.
  auto expected = std::make_unique<ace::OptimalPrices>(prices);
  ace::RebuildPrices(*expected);
  c->Finish();
  EXPECT_TRUE(
      std::equal(std::begin(prices.main), std::end(prices.main), std::begin(expected->main)));
  EXPECT_TRUE(
      std::equal(std::begin(prices.length), std::end(prices.length), std::begin(expected->length)));
  EXPECT_EQ(sum(prices.mainCount), 0u);
}

TEST(OptimalEngine, RepeatPricesCarryOverToTheNextFileOnly) {
  const Bytes input = CorpusBytes("alice29.txt");
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  const ace::OptimalPrices& prices = EngineOf(c).prices;
  for (uint32_t s = 256; s < 260; ++s) EXPECT_EQ(prices.main[s], 0u) << s;
  MemoryIo io;
  RunFile(c, io, input);
  uint32_t repeat[4];
  std::copy(prices.main + 256, prices.main + 260, repeat);
  EXPECT_GT(repeat[0], 0u);

  // The next fresh file starts from guesses, except for the repeat symbols.
  MemoryIo io2;
  io2.input = &input;
  c.SetIo(io2.Io());
  c.StartFile(static_cast<uint32_t>(input.size()), false);
  EXPECT_EQ(prices.main['e'], 13u);
  EXPECT_EQ(prices.main[270], 16u);
  EXPECT_EQ(prices.length[0], 10u);
  for (uint32_t s = 256; s < 260; ++s) EXPECT_EQ(prices.main[s], repeat[s - 256]) << s;
  c.Run();
  c.Finish();
  ASSERT_EQ(c.Status(), 0u);
  ExpectReadsBack(io2.output, input);

  // A new operation starts from nothing.
  ASSERT_TRUE(c.Init(1024, 4));
  for (uint32_t s = 256; s < 260; ++s) EXPECT_EQ(EngineOf(c).prices.main[s], 0u) << s;
}

TEST(OptimalEngine, ReportsProgressAtItsOwnPeriod) {
  const Bytes text = CorpusBytes("plrabn12.txt");
  for (auto [size, step] : {std::pair<size_t, int32_t>{200000, 32768}, {4000000, 40000}}) {
    SCOPED_TRACE(size);
    // Text, then (for the large case) a cheap run of zeros.
    Bytes input(size, 0);
    std::memcpy(input.data(), text.data(), 200000);
    ace::Compressor c;
    ASSERT_TRUE(c.Init(1024, 4));
    MemoryIo io;
    io.listen = true;
    ASSERT_EQ(RunFile(c, io, input).status, 0u);  // output writes add no reports of their own
    ASSERT_FALSE(io.reports.empty());
    int64_t sum = 0;
    int32_t percent = 0;
    for (size_t i = 0; i < io.reports.size(); ++i) {
      const auto& r = io.reports[i];
      sum += r.step;
      EXPECT_GE(r.percent, percent);
      percent = r.percent;
      if (i + 1 < io.reports.size()) {
        EXPECT_GE(r.step, step);
        EXPECT_LT(r.step, step + 256);  // at most one token beyond
      }
    }
    EXPECT_EQ(sum, static_cast<int64_t>(input.size()));
    EXPECT_EQ(io.reports.back().percent, 100);
    const size_t expected = input.size() / static_cast<size_t>(step);
    EXPECT_GE(io.reports.size(), expected);
    EXPECT_LE(io.reports.size(), expected + 1);
  }
  // A file that grew after its size was taken: the percent stays capped.
  const Bytes input = Letters(100000, 5, 8);
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  MemoryIo io;
  io.listen = true;
  EXPECT_EQ(RunFile(c, io, input, 40000).bytesRead, input.size());
  ASSERT_FALSE(io.reports.empty());
  for (const auto& r : io.reports) EXPECT_LE(r.percent, 100);
  EXPECT_EQ(io.reports.back().percent, 100);
}

TEST(OptimalEngine, AbortAndReadFailureStopTheFile) {
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  MemoryIo refused;
  refused.listen = true;
  refused.abortAtReport = 0;
  EXPECT_EQ(RunFile(c, refused, Letters(3000000, 6, 10)).status, ace::kCompressAborted);
  EXPECT_EQ(refused.reports.size(), 1u);  // nothing after the refusal
  EXPECT_LT(c.Core().processed, 32768u + 256u);
  EXPECT_TRUE(refused.output.empty());

  ASSERT_TRUE(c.Init(1024, 4));
  MemoryIo failing;
  failing.maxRead = 100000;
  failing.failReadAt = 1;  // the second read into the staging buffer
  EXPECT_EQ(RunFile(c, failing, Letters(300000, 7, 10)).status, ace::kCompressReadFailed);
  EXPECT_LT(c.Core().processed, 100000u);
}

TEST(OptimalEngine, LoweredPositionsGiveTheSameData) {
  // A buffer move and, in the second run, a lowering of every position.
  Bytes input;
  for (const char* name : {"lcet10.txt", "plrabn12.txt", "urls.10K", "kppkn.gtb"}) {
    const Bytes file = CorpusBytes(name);
    input.insert(input.end(), file.begin(), file.end());
  }
  ASSERT_GT(input.size(), ace::kTreeHistorySize);
  const auto plain = Pack(input, 1024, 4);
  ASSERT_EQ(plain.status, 0u);
  ExpectReadsBack(plain.packed, input);

  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  EngineOf(c).firstPosition = ace::kTreePositionCeiling - 1500000;  // lowered at 1.5 MB
  MemoryIo io;
  EXPECT_EQ(FirstDifference(plain.packed, RunFile(c, io, input).packed), "");
  EXPECT_LT(EngineOf(c).mf.pos, ace::kTreePositionCeiling - 1500000);
}

}  // namespace
}  // namespace acetest
