// The optimal engine through the compressor: exact output on the golden
// vectors, data that reads back, the token forms it must avoid, solid runs,
// price statistics, progress and abort.
#include "compress/optimal_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "compress/block_reader.h"
#include "compress/memory_io.h"
#include "unace/decoder/lz77_decoder.h"

namespace {

using acetest::Bytes;
namespace fs = std::filesystem;

fs::path VectorFile(const std::string& relative) {
  const fs::path local = acetest::TestDataDir() / "vectors" / relative;
  if (fs::exists(local)) return local;
  return acetest::SharedDir() / "vectors" / relative;
}

struct OptimalRow {
  std::string input;
  size_t size = 0;
  uint32_t crc = 0;
  uint32_t packedSize = 0;
  std::string packed;
};

std::vector<OptimalRow> OptimalRows() {
  std::ifstream in(VectorFile("packed.tsv"));
  std::vector<OptimalRow> rows;
  std::string line;
  std::getline(in, line);  // column names
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    OptimalRow r;
    int32_t kb = 0;
    int32_t level = 0;
    std::string run;
    std::string crc;
    if (!(fields >> r.input >> kb >> level >> run >> r.size >> crc >> r.packedSize >> r.packed)) {
      continue;
    }
    if (kb != 1024 || level != 4 || run != "-") continue;
    r.crc = static_cast<uint32_t>(std::stoul(crc, nullptr, 16));
    rows.push_back(r);
  }
  return rows;
}

TEST(OptimalEngine, GoldenVectorsComeOutExactly) {
  const auto rows = OptimalRows();
  ASSERT_EQ(rows.size(), 4u);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.packed);
    const Bytes input = acetest::ReadFileBytes(VectorFile(row.input));
    ASSERT_EQ(input.size(), row.size);
    const auto got = acetest::Pack(input, 1024, 4);
    const Bytes expected = acetest::ReadFileBytes(VectorFile(row.packed));
    EXPECT_EQ(got.status, 0u);
    EXPECT_EQ(got.crc, row.crc);
    EXPECT_EQ(got.packedSize, row.packedSize);
    EXPECT_EQ(acetest::FirstDifference(expected, got.packed), "");
  }
}

TEST(OptimalEngine, SelectedOnlyForTheLargestDictionaryAtLevelFour) {
  struct Case {
    int32_t kb;
    int32_t level;
    ace::EngineKind kind;
  };
  const Case cases[] = {
      {1024, 4, ace::EngineKind::kOptimal}, {1024, 3, ace::EngineKind::kHashChain},
      {1024, 0, ace::EngineKind::kHashChain}, {512, 4, ace::EngineKind::kHashChain},
      {64, 4, ace::EngineKind::kHashChain},   {1024, 4, ace::EngineKind::kOptimal},
  };
  ace::Compressor c;  // one compressor, set up again and again
  for (const Case& k : cases) {
    ASSERT_TRUE(c.Init(k.kb, k.level)) << k.kb << "/" << k.level;
    EXPECT_EQ(c.Kind(), k.kind) << k.kb << "/" << k.level;
  }
  c.Done();
  EXPECT_FALSE(c.Ready());
}

// Reads packed data back and checks the token forms the engine must avoid.
void ExpectReadsBack(const Bytes& packed, const Bytes& input, const Bytes& history = {}) {
  const auto read = acetest::ReadPacked(packed, input.size(), history);
  ASSERT_TRUE(read.ok) << read.error;
  ASSERT_EQ(read.data.size(), input.size());
  ASSERT_TRUE(read.data == input);
  for (const auto& block : read.blocks) {
    for (const auto& t : block.tokens) {
      if (t.mainSymbol < 256) continue;
      ASSERT_LE(t.length, ace::kTreeMaxMatch);
      ASSERT_LE(t.distance, ace::kTreeDictionary);
      if (t.length == 2) ASSERT_LT(t.distance, 256u);
      if (t.length == 3) ASSERT_LT(t.distance, 8192u);
    }
  }
}

Bytes Corpus(const char* name) { return acetest::ReadFileBytes(acetest::SharedDir() / "corpus" / name); }

Bytes Letters(size_t size, uint32_t seed, uint8_t count) {
  Bytes data = acetest::RandomBytes(size, seed);
  for (auto& b : data) b = static_cast<uint8_t>('a' + b % count);
  return data;
}

TEST(OptimalEngine, PackedDataReadsBack) {
  const Bytes inputs[] = {
      Bytes{'x'},
      Bytes{'a', 'b'},
      Bytes{'a', 'b', 'c'},
      Bytes{'a', 'b', 'a', 'b'},
      Letters(100, 1, 2),
      Letters(70000, 2, 3),
      acetest::RandomBytes(50000, 3),
      Bytes(300000, 0),
      Corpus("kppkn.gtb"),
      Corpus("paper-100k.pdf"),
      Corpus("urls.10K"),
  };
  for (const Bytes& input : inputs) {
    SCOPED_TRACE(input.size());
    const auto got = acetest::Pack(input, 1024, 4);
    ASSERT_EQ(got.status, 0u);
    ExpectReadsBack(got.packed, input);
  }
}

// Tokens of the one block a small file makes.
std::vector<acetest::ReadToken> Tokens(const Bytes& input) {
  const auto got = acetest::Pack(input, 1024, 4);
  const auto read = acetest::ReadPacked(got.packed, input.size());
  EXPECT_TRUE(read.ok) << read.error;
  std::vector<acetest::ReadToken> tokens;
  for (const auto& b : read.blocks) tokens.insert(tokens.end(), b.tokens.begin(), b.tokens.end());
  return tokens;
}

// Decodes a solid run's packed files with the extraction library's decoder.
std::vector<Bytes> Decode(const std::vector<acetest::PackResult>& packed,
                          const std::vector<Bytes>& inputs) {
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

TEST(OptimalEngine, CorpusDecodesWithTheLibraryDecoder) {
  for (const char* name : {"alice29.txt", "fireworks.jpeg", "geo.protodata", "html_x_4",
                           "plrabn12.txt", "urls.10K"}) {
    SCOPED_TRACE(name);
    const std::vector<Bytes> input = {Corpus(name)};
    const std::vector<acetest::PackResult> packed = {acetest::Pack(input[0], 1024, 4)};
    ASSERT_EQ(packed[0].status, 0u);
    const auto decoded = Decode(packed, input);
    EXPECT_TRUE(decoded[0] == input[0]);
  }
}

TEST(OptimalEngine, RunOfOneByteBecomesFullLengthRepeats) {
  const auto tokens = Tokens(Bytes(1 + 256 * 3, 'z'));
  ASSERT_EQ(tokens.size(), 4u);
  EXPECT_EQ(tokens[0].mainSymbol, uint32_t{'z'});
  for (size_t i = 1; i < 4; ++i) {
    // Distance 1 is in the ring of zeros a file starts with.
    EXPECT_EQ(tokens[i].mainSymbol, 256u);
    EXPECT_EQ(tokens[i].length, 256u);
    EXPECT_EQ(tokens[i].distance, 1u);
  }
}

TEST(OptimalEngine, LastThreeBytesAreLiterals) {
  const Bytes input = {'a', 'b', 'c', 'd', 'e', 'a', 'b', 'c'};
  const auto tokens = Tokens(input);
  ASSERT_EQ(tokens.size(), input.size());
  for (const auto& t : tokens) EXPECT_LT(t.mainSymbol, 256u);
}

TEST(OptimalEngine, SolidContinuationReachesIntoTheEarlierFile) {
  const Bytes first = Corpus("alice29.txt");
  const Bytes second(first.begin() + 40000, first.begin() + 90000);
  const auto results = acetest::PackSolid({first, second}, 1024, 4);
  ASSERT_EQ(results.size(), 2u);
  ASSERT_EQ(results[1].status, 0u);
  ExpectReadsBack(results[0].packed, first);
  ExpectReadsBack(results[1].packed, second, first);
  // The second file is a copy of earlier data: a couple of hundred long matches.
  EXPECT_LT(results[1].packedSize, 2000u);
  const auto fresh = acetest::Pack(second, 1024, 4);
  EXPECT_GT(fresh.packedSize, 10 * results[1].packedSize);
}

TEST(OptimalEngine, SolidRunOverTheCorpusReadsBack) {
  const std::vector<Bytes> files = {Corpus("lcet10.txt"), Corpus("plrabn12.txt"),
                                    Corpus("asyoulik.txt"), Corpus("lcet10.txt")};
  const auto results = acetest::PackSolid(files, 1024, 4);
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
  // lcet10.txt again, 1,034,000 bytes after its first copy: within reach.
  EXPECT_LT(results[3].packedSize, results[0].packedSize / 20);
}

ace::OptimalEngineState& EngineOf(ace::Compressor& c) {
  return *static_cast<ace::OptimalEngineState*>(c.Core().engine);
}

// Runs one file without finishing it, so that the last block is still open.
struct OpenFile {
  ace::Compressor compressor;
  acetest::MemoryIo io;
  explicit OpenFile(const Bytes& input) {
    EXPECT_TRUE(compressor.Init(1024, 4));
    io.SetInput(input);
    compressor.SetIo(io.Io());
    compressor.StartFile(static_cast<uint32_t>(input.size()), false);
    compressor.Run();
  }
};

TEST(OptimalEngine, PricesFollowPeriodicAndBlockRebuilds) {
  // Random bytes: (nearly) every token a literal, over two and a half blocks.
  const Bytes input = acetest::RandomBytes(40000, 8);
  auto file = std::make_unique<OpenFile>(input);
  ace::CompressorCore& core = file->compressor.Core();
  const ace::OptimalPrices& prices = EngineOf(file->compressor).prices;
  const uint32_t open = core.tokenCount;  // tokens of the block still open
  ASSERT_GT(open, 0u);
  uint32_t counted = 0;
  for (uint32_t c : prices.mainCount) counted += c;
  EXPECT_EQ(counted, open);  // the counts restarted with the block
  uint32_t lengths = 0;
  for (uint32_t c : prices.lengthCount) lengths += c;
  uint32_t matches = 0;
  for (uint32_t t = 0; t < open; ++t) matches += core.tokenMain[t] >= 256 ? 1 : 0;
  EXPECT_EQ(lengths, matches);
  // Rebuilds come before every 1,025th token, block boundaries or not.
  const uint32_t total = 2 * ace::kBlockTokens + open;
  EXPECT_EQ(prices.sinceRebuild, (total - 1) % ace::kPricePeriod + 1);

  // Closing the last block rebuilds from its counts and clears them.
  auto expected = std::make_unique<ace::OptimalPrices>(prices);
  ace::RebuildPrices(*expected);
  file->compressor.Finish();
  EXPECT_TRUE(std::equal(std::begin(prices.main), std::end(prices.main),
                         std::begin(expected->main)));
  EXPECT_TRUE(std::equal(std::begin(prices.length), std::end(prices.length),
                         std::begin(expected->length)));
  counted = 0;
  for (uint32_t c : prices.mainCount) counted += c;
  EXPECT_EQ(counted, 0u);
}

TEST(OptimalEngine, RepeatPricesCarryOverToTheNextFileOnly) {
  const Bytes input = Corpus("alice29.txt");
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  const ace::OptimalPrices& prices = EngineOf(c).prices;
  for (uint32_t s = 256; s < 260; ++s) EXPECT_EQ(prices.main[s], 0u) << s;
  acetest::MemoryIo io;
  io.SetInput(input);
  c.SetIo(io.Io());
  c.StartFile(static_cast<uint32_t>(input.size()), false);
  c.Run();
  c.Finish();
  uint32_t repeat[4];
  std::copy(prices.main + 256, prices.main + 260, repeat);
  EXPECT_GT(repeat[0], 0u);

  // The next fresh file starts from guesses, except for the repeat symbols.
  acetest::MemoryIo io2;
  io2.SetInput(input);
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
  struct Case {
    size_t size;
    int32_t step;  // the report period
  };
  const Bytes text = Corpus("plrabn12.txt");
  for (const Case k : {Case{200000, 32768}, Case{4000000, 40000}}) {
    SCOPED_TRACE(k.size);
    // Text, then (for the large case) a cheap run of zeros.
    Bytes input(k.size, 0);
    std::memcpy(input.data(), text.data(), 200000);
    ace::Compressor c;
    ASSERT_TRUE(c.Init(1024, 4));
    acetest::MemoryIo io;
    io.SetInput(input);
    io.listen = true;
    c.SetIo(io.Io());
    c.StartFile(static_cast<uint32_t>(input.size()), false);
    c.Run();
    c.Finish();  // output writes add no reports of their own
    ASSERT_EQ(c.Status(), 0u);
    ASSERT_FALSE(io.reports.empty());
    int64_t sum = 0;
    int32_t percent = 0;
    for (size_t i = 0; i < io.reports.size(); ++i) {
      const auto& r = io.reports[i];
      sum += r.step;
      EXPECT_GE(r.percent, percent);
      percent = r.percent;
      if (i + 1 < io.reports.size()) {
        EXPECT_GE(r.step, k.step);
        EXPECT_LT(r.step, k.step + 256);  // at most one token beyond
      }
    }
    EXPECT_EQ(sum, static_cast<int64_t>(input.size()));
    EXPECT_EQ(io.reports.back().percent, 100);
    const size_t expected = input.size() / static_cast<size_t>(k.step);
    EXPECT_GE(io.reports.size(), expected);
    EXPECT_LE(io.reports.size(), expected + 1);
  }
}

TEST(OptimalEngine, PercentIsCappedWhenTheFileOutgrowsItsSize) {
  const Bytes input = Letters(100000, 5, 8);
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  acetest::MemoryIo io;
  io.SetInput(input);
  io.listen = true;
  c.SetIo(io.Io());
  c.StartFile(40000, false);  // the file grew after its size was taken
  c.Run();
  c.Finish();
  ASSERT_FALSE(io.reports.empty());
  for (const auto& r : io.reports) EXPECT_LE(r.percent, 100);
  EXPECT_EQ(io.reports.back().percent, 100);
  EXPECT_EQ(c.BytesRead(), input.size());
}

TEST(OptimalEngine, AbortAtTheFirstReportStopsTheFile) {
  const Bytes input = Letters(3000000, 6, 10);
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  acetest::MemoryIo io;
  io.SetInput(input);
  io.listen = true;
  io.abortAtReport = 0;
  c.SetIo(io.Io());
  c.StartFile(static_cast<uint32_t>(input.size()), false);
  c.Run();
  c.Finish();
  EXPECT_EQ(c.Status(), ace::kCompressAborted);
  EXPECT_EQ(io.reports.size(), 1u);  // nothing after the refusal
  EXPECT_LT(c.Core().processed, 32768u + 256u);
  EXPECT_TRUE(io.output.empty());
}

TEST(OptimalEngine, ReadFailureEndsTheFile) {
  const Bytes input = Letters(300000, 7, 10);
  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  acetest::MemoryIo io;
  io.SetInput(input);
  io.maxRead = 100000;
  io.failReadAt = 1;  // the second read into the staging buffer
  c.SetIo(io.Io());
  c.StartFile(static_cast<uint32_t>(input.size()), false);
  c.Run();
  c.Finish();
  EXPECT_EQ(c.Status(), ace::kCompressReadFailed);
  EXPECT_LT(c.Core().processed, 100000u);
}

TEST(OptimalEngine, LoweredPositionsGiveTheSameData) {
  // A buffer move and, in the second run, a lowering of every position.
  Bytes input;
  for (const char* name : {"lcet10.txt", "plrabn12.txt", "urls.10K", "kppkn.gtb"}) {
    const Bytes file = Corpus(name);
    input.insert(input.end(), file.begin(), file.end());
  }
  ASSERT_GT(input.size(), ace::kTreeHistorySize);
  const auto plain = acetest::Pack(input, 1024, 4);
  ASSERT_EQ(plain.status, 0u);
  ExpectReadsBack(plain.packed, input);

  ace::Compressor c;
  ASSERT_TRUE(c.Init(1024, 4));
  EngineOf(c).firstPosition = ace::kTreePositionCeiling - 1500000;  // lowered at 1.5 MB
  acetest::MemoryIo io;
  io.SetInput(input);
  c.SetIo(io.Io());
  c.StartFile(static_cast<uint32_t>(input.size()), false);
  c.Run();
  c.Finish();
  EXPECT_LT(EngineOf(c).mf.pos, ace::kTreePositionCeiling - 1500000);
  EXPECT_EQ(acetest::FirstDifference(plain.packed, io.output), "");
}

}  // namespace
