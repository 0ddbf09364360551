// The decoder against the golden packed vectors: every row decodes to exactly its input, also
// when the output is taken in small chunks and the packed bytes arrive in small pieces.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "unace/decoder_support.h"

namespace {

using acetest::Bytes;
using ace::DecodeStatus;
using ace::Lz77Decoder;

struct Row {
  std::string input;
  uint32_t dictKb = 0;
  std::string run;
  uint64_t size = 0;
  std::string packed;
};

std::filesystem::path VectorsDir() { return acetest::SharedDir() / "vectors"; }

std::vector<Row> ReadRows() {
  std::ifstream in(VectorsDir() / "packed.tsv");
  std::vector<Row> rows;
  std::string line;
  std::getline(in, line);  // column names
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    Row r;
    std::string level, crc, packedSize;
    fields >> r.input >> r.dictKb >> level >> r.run >> r.size >> crc >> packedSize >> r.packed;
    if (!r.packed.empty()) rows.push_back(r);
  }
  return rows;
}

// Small files are kept in the repository; the rest come from the shared folder.
Bytes LoadVector(const std::string& relative) {
  auto local = acetest::TestDataDir() / "vectors" / relative;
  if (std::filesystem::exists(local)) return acetest::ReadFileBytes(local);
  return acetest::ReadFileBytes(VectorsDir() / relative);
}

class GoldenTest : public ::testing::Test {
 protected:
  void SetUp() override {
    rows_ = ReadRows();
    ASSERT_GE(rows_.size(), 30u) << "golden vectors missing under " << VectorsDir();
  }
  std::vector<Row> rows_;
};

TEST_F(GoldenTest, EverySingleRowDecodesToItsInput) {
  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(), DecodeStatus::kOk);
  int checked = 0;
  for (const Row& row : rows_) {
    if (row.run != "-") continue;
    SCOPED_TRACE(row.packed);
    const Bytes expected = LoadVector(row.input);
    ASSERT_EQ(expected.size(), row.size);
    auto result = acetest::DecodeFile(decoder, LoadVector(row.packed), row.size);
    ASSERT_EQ(result.status, DecodeStatus::kOk) << ace::DecodeStatusText(result.status);
    ASSERT_TRUE(result.output == expected);
    ++checked;
  }
  EXPECT_EQ(checked, 25);
}

TEST_F(GoldenTest, SolidRunCarriesHistoryAcrossFiles) {
  std::map<std::string, std::vector<Row>> runs;
  for (const Row& row : rows_) {
    if (row.run != "-") runs[row.run.substr(0, row.run.find('#'))].push_back(row);
  }
  ASSERT_EQ(runs.size(), 1u);
  for (auto& [name, files] : runs) {
    std::sort(files.begin(), files.end(), [](const Row& a, const Row& b) {
      return std::stoi(a.run.substr(a.run.find('#') + 1)) <
             std::stoi(b.run.substr(b.run.find('#') + 1));
    });
    ASSERT_EQ(files.size(), 5u);
    // A small window forces slides in the middle of the run.
    Lz77Decoder decoder;
    ASSERT_EQ(decoder.Init(files[0].dictKb * 1024, 100000), DecodeStatus::kOk);
    bool first = true;
    for (const Row& row : files) {
      SCOPED_TRACE(row.packed);
      auto result = acetest::DecodeFile(decoder, LoadVector(row.packed), row.size, !first);
      ASSERT_EQ(result.status, DecodeStatus::kOk) << ace::DecodeStatusText(result.status);
      ASSERT_TRUE(result.output == LoadVector(row.input));
      first = false;
    }
  }
}

TEST_F(GoldenTest, TheLaterSolidFilesNeedTheHistory) {
  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(), DecodeStatus::kOk);
  auto result = acetest::DecodeFile(decoder, LoadVector("packed/solid256-2.3.asyoulik.txt.bin"),
                                    125179, false);
  EXPECT_EQ(result.status, DecodeStatus::kDistanceTooFar);
}

// Chunk ends and input piece ends at odd places must not change the output.
TEST_F(GoldenTest, ChunkAndPieceSizesDoNotMatter) {
  struct Case {
    uint32_t chunk;
    size_t piece;
  };
  const Case cases[] = {{1, 0}, {7, 1}, {1000, 3}, {65536, 4}, {4099, 4097}};
  const char* vectors[] = {"packed/pattern60k@256-2.bin", "packed/prose@1024-4.bin",
                           "packed/zeros100k@64-1.bin", "packed/lcg8k@128-0.bin"};
  std::map<std::string, Row> byPacked;
  for (const Row& row : rows_) byPacked[row.packed] = row;
  for (const Case& c : cases) {
    Lz77Decoder decoder;
    ASSERT_EQ(decoder.Init(Lz77Decoder::kMaxDictionary, c.chunk), DecodeStatus::kOk);
    for (const char* name : vectors) {
      SCOPED_TRACE(std::string(name) + " chunk " + std::to_string(c.chunk) + " piece " +
                   std::to_string(c.piece));
      const Row& row = byPacked.at(name);
      auto result = acetest::DecodeFile(decoder, LoadVector(row.packed), row.size, false, c.piece);
      ASSERT_EQ(result.status, DecodeStatus::kOk) << ace::DecodeStatusText(result.status);
      ASSERT_TRUE(result.output == LoadVector(row.input));
    }
  }
}

TEST(DecoderEdgeTest, ThreeLiteralsAbc) {
  const Bytes packed = {0x2D, 0x19, 0x86, 0x31, 0x00, 0x65, 0x5B, 0xB6, 0x00, 0x00, 0x00,
                        0x00, 0x00, 0x00, 0x00, 0x00, 0x4D, 0x00, 0x00, 0x00, 0xB9, 0x31,
                        0x04, 0x58, 0x21, 0x49, 0x8E, 0x24, 0x00, 0xE6, 0x00, 0x40};
  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(), DecodeStatus::kOk);
  auto result = acetest::DecodeFile(decoder, packed, 3);
  ASSERT_EQ(result.status, DecodeStatus::kOk);
  EXPECT_EQ(std::string(result.output.begin(), result.output.end()), "abc");
  // One byte fewer than the tokens make is an overrun, one more needs a block that is not there.
  EXPECT_EQ(acetest::DecodeFile(decoder, packed, 2).status, DecodeStatus::kSizeOverrun);
  EXPECT_EQ(acetest::DecodeFile(decoder, packed, 4).status, DecodeStatus::kTruncated);
}

}  // namespace
