// The README and acearc's help describe each level by numbers the level table
// decides: how many candidates a chain walk examines, and which dictionary the
// optimal engine serves.
#include <gtest/gtest.h>

#include <regex>

#include "cli/acearc_fixture.h"
#include "compress/levels.h"

namespace clitest {
namespace {

// The numbers after "up to ", in the order the text gives them.
std::vector<uint32_t> CandidateCounts(const std::string& text) {
  std::vector<uint32_t> counts;
  const std::regex upTo("up to (\\d+)");
  for (std::sregex_iterator i(text.begin(), text.end(), upTo), end; i != end; ++i) {
    counts.push_back(static_cast<uint32_t>(std::stoul((*i)[1])));
  }
  return counts;
}

TEST_F(Acearc, LevelDescriptionsAgreeWithTheLevelTable) {
  std::vector<uint32_t> walks;  // both texts name the levels in this order
  for (const int level : {1, 2, 3, 4, 0}) {
    walks.push_back(ace::levels::kLevels[level].chainLimit - 1);  // the counter starts one above
  }
  const std::string optimal = "optimal parsing with the " +
                              std::to_string(ace::levels::kOptimal.dictionaryKB) + " KB dictionary";
  const std::string readme = acetest::ReadFileText(ACE_SOURCE_DIR "/README.md");
  const size_t row = readme.find("| `-m N` |");
  const std::string help = Run({"a", "--help"}).out;
  const size_t option = help.find("-m,--level");
  ASSERT_NE(row, std::string::npos);
  ASSERT_NE(option, std::string::npos);
  const std::pair<const char*, std::string> texts[] = {
      {"README", readme.substr(row, readme.find('\n', row) - row)},
      {"acearc a --help", help.substr(option, help.find("-s,--solid", option) - option)}};
  for (const auto& [where, text] : texts) {
    EXPECT_EQ(CandidateCounts(text), walks) << where << ":\n" << text;
    EXPECT_NE(text.find(optimal), std::string::npos) << where << ":\n" << text;
  }
}

}  // namespace
}  // namespace clitest
