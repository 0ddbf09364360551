// The file layer's DOS stamps of files and of the clock, and fresh temporary
// names that are never taken.

#include <cctype>
#include <ctime>

#include "fs/dos_time.h"
#include "fs/file_layer.h"
#include "fs/temp_names.h"
#include "support/test_support.h"

namespace {

namespace fs = std::filesystem;
using namespace ace;

TEST(DosTime, FileStampsAreLocalAndHeldTo1980To2107) {
  acetest::TempDir dir;
  acetest::WriteFileText(dir / "t", "t");
  // Moments in local time, which the platform reads with today's offset
  // whatever the season, as Windows does.
  const struct {
    int64_t local;
    uint32_t stamp;
  } cases[] = {
      {1705323603, (((44u << 9) | (1u << 5) | 15u) << 16) | (13u << 11) | 1u},  // 13:00:03
      {1721053859, (((44u << 9) | (7u << 5) | 15u) << 16) | (14u << 11) | (30u << 5) | 29u},
      {86400, ((1u << 5) | 1u) << 16},  // before 1980: the first stamp
      {315532799, ((1u << 5) | 1u) << 16},
      {315532800, ((1u << 5) | 1u) << 16},  // 1980-01-01 00:00:00
  };
  for (const auto& c : cases) {
    acetest::SetWriteTime(dir / "t", c.local - acetest::CurrentUtcOffset());
    FileHandle h = FileOpen((dir / "t").c_str(), "rb");
    uint32_t stamp = 0;
    EXPECT_EQ(GetFileDosStamp(h, &stamp), 0);
    FileClose(h);
    EXPECT_EQ(stamp, c.stamp) << c.local;
    if (c.local > 315532800) EXPECT_EQ(FileTimeToDosStamp(DosStampToFileTime(stamp)), stamp);
  }
  uint32_t stamp = 0;
  EXPECT_EQ(GetFileDosStamp(kNoFile, &stamp), -1);
  EXPECT_EQ(FileTimeToDosStamp(DosStampToFileTime(0)), 0x00410000u);  // no real moment
  const uint64_t ticks = (4354815600u + 11644473600u) * 10000000u;    // 2108-01-01 00:00:00 local
  EXPECT_EQ(FileTimeToDosStamp({static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32)}),
            (((127u << 9) | (12u << 5) | 31u) << 16) | (23u << 11) | (59u << 5) | 29u);
  const FILETIME now = DosStampToFileTime(CurrentDosStamp());
  const int64_t seconds =
      static_cast<int64_t>((uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime) / 10000000) -
      11644473600;
  EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr)), 3.0);
}

bool Numbered(const std::string& s) {
  return !s.empty() && s[0] != '0' && s.size() <= 5 && std::all_of(s.begin(), s.end(), ::isdigit);
}

TEST(TempNames, FreshNamesBesideTheArchiveAndInTheTemporaryFolder) {
  acetest::TempDir dir;
  char first[260], second[260];
  ASSERT_EQ(MakeTempNameBeside((dir.str() + "\\x.ace").c_str(), first), 1);
  const std::string name = std::string(first).substr(dir.str().size() + 1);
  ASSERT_EQ(std::string(first).rfind(dir.str() + "\\", 0), 0u) << first;
  EXPECT_EQ(name.substr(name.size() - 4), ".$TM");
  EXPECT_TRUE(Numbered(name.substr(0, name.size() - 4))) << name;
  acetest::WriteFileText(dir / name, "taken");
  ASSERT_EQ(MakeTempNameBeside((dir.str() + "\\x.ace").c_str(), second), 1);
  EXPECT_STRNE(first, second);
  EXPECT_FALSE(IsExistingFile(second));

  acetest::ScopedTempFolder tmp(dir.path());
  char folder[354];
  ASSERT_EQ(MakeTempDirName(folder, sizeof folder), 1);
  EXPECT_TRUE(Numbered(std::string(folder).substr(dir.str().size() + 1))) << folder;
  std::string small(dir.str().size() + 2, '\0');  // room for the folder, not the number
  EXPECT_EQ(MakeTempDirName(small.data(), small.size()), 0);
}

}  // namespace
