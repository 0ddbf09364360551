#include "fs/temp_names.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "fs/file_layer.h"
#include "support/test_support.h"

namespace {

namespace fs = std::filesystem;
using namespace ace;

bool AllDigits(const std::string& s) {
  if (s.empty() || (s.size() > 1 && s[0] == '0')) return false;
  for (char c : s) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  }
  return std::stoul(s) <= 32767;
}

TEST(TempNames, BesideTheArchive) {
  acetest::TempDir dir;
  const std::string archive = dir.str() + "\\x.ace";
  const std::string prefix = dir.str() + "\\";
  char first[260];
  ASSERT_EQ(MakeTempNameBeside(archive.c_str(), first), 1);
  std::string name = first;
  ASSERT_EQ(name.rfind(prefix, 0), 0u) << name;
  ASSERT_GE(name.size(), prefix.size() + 5);
  EXPECT_EQ(name.substr(name.size() - 4), ".$TM");
  EXPECT_TRUE(AllDigits(name.substr(prefix.size(), name.size() - prefix.size() - 4))) << name;
  EXPECT_FALSE(IsExistingFile(first));

  // Taken names are never handed out: the next draw waits for the clock.
  acetest::WriteFileText(fs::path(dir.str()) / name.substr(prefix.size()), "taken");
  char second[260];
  ASSERT_EQ(MakeTempNameBeside(archive.c_str(), second), 1);
  EXPECT_STRNE(first, second);
  EXPECT_FALSE(IsExistingFile(second));

  // A drive letter stays; a path with no directory gives a bare name.
  char withDrive[260];
  MakeTempNameBeside("D:\\arc\\x.ace", withDrive);
  EXPECT_EQ(std::string(withDrive).rfind("D:\\arc\\", 0), 0u);
  char bare[260];
  MakeTempNameBeside("x.ace", bare);
  EXPECT_TRUE(AllDigits(std::string(bare, std::strlen(bare) - 4))) << bare;
}

class TempDirName : public ::testing::Test {
 protected:
  acetest::TempDir dir_;
  acetest::ScopedTempFolder temp_{dir_.path()};
};

TEST_F(TempDirName, FreshNameInTheTemporaryDirectory) {
  char buffer[354];
  ASSERT_EQ(MakeTempDirName(buffer, sizeof buffer), 1);
  const std::string prefix = (dir_.path() / "").string();
  std::string name = buffer;
  ASSERT_EQ(name.rfind(prefix, 0), 0u) << name;
  EXPECT_TRUE(AllDigits(name.substr(prefix.size()))) << name;

  // An existing directory of that name is skipped.
  ASSERT_TRUE(fs::create_directory(name));
  char again[354];
  ASSERT_EQ(MakeTempDirName(again, sizeof again), 1);
  EXPECT_NE(name, again);
  EXPECT_FALSE(fs::exists(again));
}

TEST_F(TempDirName, BufferTooSmall) {
  char small[8];
  EXPECT_EQ(MakeTempDirName(small, sizeof small), 0);
  // Room for the directory but not for the number.
  const size_t room = dir_.str().size() + 2;
  std::string buffer(room, '\0');
  EXPECT_EQ(MakeTempDirName(buffer.data(), room), 0);
}

}  // namespace
