// The packed data is fixed bit for bit: every vector row must come out exactly.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "compress/memory_io.h"

namespace {

using acetest::Bytes;
namespace fs = std::filesystem;

struct VectorRow {
  std::string input;
  int32_t dictionaryKB = 0;
  int32_t level = 0;
  std::string run;  // "-" or NAME#i
  size_t size = 0;
  uint32_t crc = 0;
  uint32_t packedSize = 0;
  std::string packed;
};

// Small files are kept with the tests; the rest is read from the shared folder.
fs::path VectorFile(const std::string& relative) {
  const fs::path local = acetest::TestDataDir() / "vectors" / relative;
  if (fs::exists(local)) return local;
  return acetest::SharedDir() / "vectors" / relative;
}

std::vector<VectorRow> LoadRows() {
  std::ifstream in(VectorFile("packed.tsv"));
  std::vector<VectorRow> rows;
  std::string line;
  std::getline(in, line);  // column names
  while (std::getline(in, line)) {
    if (line.empty()) continue;
    std::istringstream fields(line);
    VectorRow r;
    std::string crc;
    fields >> r.input >> r.dictionaryKB >> r.level >> r.run >> r.size >> crc >> r.packedSize >>
        r.packed;
    r.crc = static_cast<uint32_t>(std::stoul(crc, nullptr, 16));
    rows.push_back(r);
  }
  return rows;
}

// 1024 KB at level 4 is the optimal engine's setting (optimal_engine_test.cpp).
bool IsOptimalRow(const VectorRow& r) { return r.dictionaryKB == 1024 && r.level == 4; }

void ExpectRow(const VectorRow& row, const acetest::PackResult& got) {
  SCOPED_TRACE(row.packed);
  const Bytes expected = acetest::ReadFileBytes(VectorFile(row.packed));
  EXPECT_EQ(got.status, 0u);
  EXPECT_EQ(got.crc, row.crc);
  EXPECT_EQ(got.packedSize, row.packedSize);
  EXPECT_EQ(got.grew, row.packedSize > row.size);
  EXPECT_EQ(acetest::FirstDifference(expected, got.packed), "");
}

TEST(GoldenVectors, TableIsComplete) {
  const auto rows = LoadRows();
  EXPECT_EQ(rows.size(), 30u);
  for (const auto& r : rows) {
    EXPECT_TRUE(fs::exists(VectorFile(r.input))) << r.input;
    EXPECT_TRUE(fs::exists(VectorFile(r.packed))) << r.packed;
  }
}

TEST(GoldenVectors, SingleFiles) {
  int checked = 0;
  for (const auto& row : LoadRows()) {
    if (row.run != "-" || IsOptimalRow(row)) continue;
    const Bytes input = acetest::ReadFileBytes(VectorFile(row.input));
    ASSERT_EQ(input.size(), row.size) << row.input;
    ExpectRow(row, acetest::Pack(input, row.dictionaryKB, row.level));
    ++checked;
  }
  EXPECT_EQ(checked, 21);
}

TEST(GoldenVectors, SolidRuns) {
  std::map<std::string, std::vector<VectorRow>> runs;
  for (const auto& row : LoadRows()) {
    if (row.run == "-") continue;
    const auto hash = row.run.find('#');
    ASSERT_NE(hash, std::string::npos) << row.run;
    auto& files = runs[row.run.substr(0, hash)];
    const size_t index = std::stoul(row.run.substr(hash + 1));
    if (files.size() <= index) files.resize(index + 1);
    files[index] = row;
  }
  ASSERT_EQ(runs.size(), 1u);
  for (const auto& [name, files] : runs) {
    SCOPED_TRACE(name);
    std::vector<Bytes> inputs;
    for (const auto& f : files) inputs.push_back(acetest::ReadFileBytes(VectorFile(f.input)));
    const auto results = acetest::PackSolid(inputs, files[0].dictionaryKB, files[0].level);
    ASSERT_EQ(results.size(), files.size());
    for (size_t i = 0; i < files.size(); ++i) ExpectRow(files[i], results[i]);
  }
}

}  // namespace
