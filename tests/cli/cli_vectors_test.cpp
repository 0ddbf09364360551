// The golden archives made by an independent writer, read through acearc:
// the listing agrees with their description header for header, and the
// extracted files are the inputs they were made from.
#include <fstream>
#include <sstream>

#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

fs::path Vectors() { return acetest::VectorsDir(); }

Json Described() {
  std::ifstream in(Vectors() / "archives" / "listing.json");
  std::stringstream text;
  text << in.rdbuf();
  std::optional<Json> json = ParseJson(text.str());
  EXPECT_TRUE(json.has_value());
  return json.value_or(Json{});
}

class CliVectors : public testing::TestWithParam<const char*> {};

TEST_P(CliVectors, ListingMatchesTheDescription) {
  RunResult listed = RunAcearc({"l", "--json", (Vectors() / "archives" / GetParam()).string()});
  ASSERT_EQ(listed.exitCode, 0) << listed.err;
  std::optional<Json> listing = ParseJson(listed.out);
  ASSERT_TRUE(listing.has_value()) << listed.out;
  const Json all = Described();
  const Json& described = all[GetParam()];
  const std::vector<Json>& want = described["entries"].items;
  const std::vector<Json>& got = (*listing)["entries"].items;
  ASSERT_EQ(got.size(), want.size());
  uint64_t files = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    SCOPED_TRACE(want[i]["name"].text);
    std::string stored = got[i]["stored_name"].text;
    if (got[i]["type"].text == "directory") {
      ASSERT_EQ(stored.back(), '\\');
      stored.pop_back();
    } else {
      ++files;
    }
    EXPECT_EQ(stored, want[i]["name"].text);
    EXPECT_EQ(got[i]["size"].u64(), want[i]["orig_size"].u64());
    EXPECT_EQ(got[i]["packed"].u64(), want[i]["pack_size"].u64());
    EXPECT_EQ(got[i]["crc32"].text, want[i]["crc"].text);
    EXPECT_EQ(got[i]["method_code"].u64(), want[i]["method"].u64());
    EXPECT_EQ(got[i]["dictionary_kb"].u64(), 1u << want[i]["dict_code"].u64());
    EXPECT_EQ(got[i]["attributes"].u64(), std::stoul(want[i]["attr"].text, nullptr, 16));
    std::string time = got[i]["time"].text;
    time[10] = ' ';
    EXPECT_EQ(time, want[i]["time"].text);
  }
  const Json& summary = (*listing)["summary"];
  EXPECT_EQ(summary["files"].u64(), files);
  EXPECT_EQ(summary["solid"].boolean, described["solid"].boolean);
  EXPECT_EQ(summary["largest_dictionary_kb"].u64(), described["dict_kb"].u64());
  EXPECT_EQ(summary["host_system_name"].text, "Win32");
}

TEST_P(CliVectors, TestAndExtractGiveTheInputsBack) {
  acetest::TempDir dir;
  fs::path archive = Vectors() / "archives" / GetParam();
  RunResult tested = RunAcearc({"t", archive.string()});
  EXPECT_EQ(tested.exitCode, 0) << tested.err;

  RunResult extracted = RunAcearc({"x", archive.string(), "-o", dir.str()});
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  const std::pair<const char*, fs::path> files[] = {
      {"data/lcg8k", Vectors() / "inputs" / "lcg8k"},
      {"data/pattern60k", Vectors() / "inputs" / "pattern60k"},
      {"short.txt", Vectors() / "inputs" / "short"},
  };
  for (const auto& [name, source] : files) {
    EXPECT_EQ(acetest::ReadFileBytes(dir.path() / name), acetest::ReadFileBytes(source)) << name;
  }
  EXPECT_EQ(fs::file_size(dir.path() / "docs/empty.txt"), 0u);
  EXPECT_TRUE(fs::is_directory(dir.path() / "docs/sub"));
}

INSTANTIATE_TEST_SUITE_P(Archives, CliVectors, testing::Values("plain.ace", "solid.ace"),
                         [](const testing::TestParamInfo<const char*>& info) {
                           return std::string(info.param).substr(0, 5);
                         });

}  // namespace
}  // namespace clitest
