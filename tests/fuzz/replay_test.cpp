// Inputs the fuzzers once failed on, kept in tests/data/fuzz/TARGET/, run
// again through the target's own code (its entry point renamed, see
// tests/CMakeLists.txt): a crash, a failed check of the target or a hang
// (caught by the suite's timeout) fails this test.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "support/test_support.h"

extern "C" int ReplayMaskFuzz(const uint8_t* data, size_t size);

namespace {

struct Target {
  const char* name;
  int (*run)(const uint8_t*, size_t);
};
constexpr Target kTargets[] = {{"mask_fuzz", ReplayMaskFuzz}};

TEST(FuzzRegressions, EveryKeptInputRunsThroughItsTarget) {
  size_t replayed = 0;
  for (const auto& dir :
       std::filesystem::directory_iterator(std::filesystem::path(ACE_TEST_DATA_DIR) / "fuzz")) {
    const std::string name = dir.path().filename().string();
    const Target* target = nullptr;
    for (const Target& t : kTargets) target = name == t.name ? &t : target;
    ASSERT_NE(target, nullptr) << "tests/data/fuzz/" << name << " has no target to replay it";
    for (const auto& file : std::filesystem::directory_iterator(dir.path())) {
      SCOPED_TRACE(file.path().string());
      const acetest::Bytes input = acetest::ReadFileBytes(file.path());
      EXPECT_EQ(target->run(input.data(), input.size()), 0);
      ++replayed;
    }
  }
  EXPECT_GT(replayed, 0u);
}

}  // namespace
