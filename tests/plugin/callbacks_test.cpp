#include "plugin/callbacks.h"

#include <cstring>
#include <string>
#include <vector>

#include "plugin/find_data.h"
#include "plugin_fixture.h"
#include "support/test_support.h"

namespace {

using acetest::PluginTest;

// What the host's procedures saw.
struct Seen {
  std::vector<AceContext> contexts;
  std::vector<std::string> texts;
  std::vector<int64_t> numbers;
  int32_t answer = 0;
};
Seen g_seen;

int32_t OnSignal(AceContext c, uint32_t low, uint32_t high, int32_t code) {
  g_seen.contexts.push_back(c);
  g_seen.numbers.insert(g_seen.numbers.end(), {low, high, code});
  return g_seen.answer;
}
int32_t OnFileName(AceContext c, const char* path, const char* shown) {
  g_seen.contexts.push_back(c);
  g_seen.texts.insert(g_seen.texts.end(), {path, shown});
  return g_seen.answer;
}
int32_t OnProgress(AceContext c, int32_t percent, int32_t step) {
  g_seen.contexts.push_back(c);
  g_seen.numbers.insert(g_seen.numbers.end(), {percent, step});
  return g_seen.answer;
}
int32_t OnSkip(AceContext c, const char* path) {
  g_seen.contexts.push_back(c);
  g_seen.texts.push_back(path);
  return g_seen.answer;
}
int32_t OnNextDisk(AceContext c, char* dir, int32_t zero, int32_t volume, int32_t again) {
  g_seen.contexts.push_back(c);
  g_seen.texts.push_back(dir);
  g_seen.numbers.insert(g_seen.numbers.end(), {zero, volume, again});
  std::strcpy(dir, "D:\\VOLUMES");
  return g_seen.answer;
}
int32_t OnCryptKey(AceContext c, char* buffer, const char* name, int32_t zero) {
  g_seen.contexts.push_back(c);
  g_seen.texts.push_back(name);
  g_seen.numbers.push_back(zero);
  std::memset(buffer, 'p', 271);
  buffer[271] = '\0';
  return g_seen.answer;
}
int32_t OnReplace(AceContext c, const AceFindData* existing, const AceFindData* replacement) {
  g_seen.contexts.push_back(c);
  g_seen.texts.insert(g_seen.texts.end(), {existing->cFileName, replacement->cFileName});
  return g_seen.answer;
}

class CallbackTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    g_seen = {};
  }
};

TEST_F(CallbackTest, EachHelperPassesTheContextArgumentsAndAnswer) {
  SetSetSignalProc(1, OnSignal);
  SetSetFileNameProc(2, OnFileName);
  SetSetProgressProc(3, OnProgress);
  SetSkipFileProc(4, OnSkip);
  SetGetNextDiskProc(5, OnNextDisk);
  SetSetCryptKeyProc(6, OnCryptKey);
  SetOkToReplaceProc(7, OnReplace);
  g_seen.answer = 2;

  ace::CallSignal(0x0000000500000007ull, AR_SIGNAL_EXTRACT);
  ace::CallFileName("C:\\A.TXT", "\\A.TXT");
  EXPECT_EQ(ace::CallProgress(40, 1000), 2);
  EXPECT_EQ(ace::CallSkipFile("C:\\GONE", 9), 2);
  char directory[272] = "C:\\ARC";
  EXPECT_EQ(ace::CallNextDisk(directory, 3, 9), 2);
  char password[272] = {};
  EXPECT_EQ(ace::CallCryptKey(password, "SECRET.TXT", 9), 2);
  AceFindData a{}, b{};
  std::strcpy(a.cFileName, "ON DISK");
  std::strcpy(b.cFileName, "IN ARCHIVE");
  EXPECT_EQ(ace::CallOkToReplace(&a, &b), 2);

  EXPECT_EQ(g_seen.contexts, (std::vector<AceContext>{1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(g_seen.numbers, (std::vector<int64_t>{7, 5, AR_SIGNAL_EXTRACT, 40, 1000, 0, 3, 3, 0}));
  EXPECT_EQ(g_seen.texts, (std::vector<std::string>{"C:\\A.TXT", "\\A.TXT", "C:\\GONE", "C:\\ARC",
                                                    "SECRET.TXT", "ON DISK", "IN ARCHIVE"}));
  EXPECT_STREQ(directory, "D:\\VOLUMES");
  EXPECT_EQ(std::strlen(password), 271u) << "a 271-character password fits the buffer";
}

TEST_F(CallbackTest, EmptySlotsGiveTheirFixedAnswers) {
  ace::CallSignal(1, AR_SIGNAL_TEST);
  ace::CallFileName("a", "b");
  EXPECT_EQ(ace::CallProgress(1, 1), 1);
  EXPECT_EQ(ace::CallOkToReplace(nullptr, nullptr), 0);
  EXPECT_EQ(ace::CallSkipFile("x", -7), -7);
  char buffer[272] = {};
  EXPECT_EQ(ace::CallNextDisk(buffer, 2, -8), -8);
  EXPECT_EQ(ace::CallCryptKey(buffer, "x", -9), -9);
  EXPECT_FALSE(ace::HasSkipFileProc());
  EXPECT_FALSE(ace::HasNextDiskProc());
  EXPECT_FALSE(ace::HasCryptKeyProc());
  EXPECT_TRUE(g_seen.contexts.empty());
}

TEST_F(CallbackTest, ResetsClearSevenSlotsAndOnlyTheContextsOfTheOtherTwo) {
  for (int reset = 0; reset < 2; ++reset) {
    SetSetSignalProc(11, OnSignal);
    SetSetWarningProc(12, [](AceContext, const char*) -> int32_t { return 0; });
    SetGetNextDiskProc(13, OnNextDisk);
    SetSetSfxProgressProc(14, OnProgress);
    SetSetFileNameProc(15, OnFileName);
    SetSkipFileProc(16, OnSkip);
    SetSetCryptKeyProc(17, OnCryptKey);
    SetSetProgressProc(18, OnProgress);
    SetOkToReplaceProc(19, OnReplace);
    if (reset == 0) {
      InitArcFile("/nonexistent/a.ace");
    } else {
      DoneArcFile();
    }
    EXPECT_EQ(S().signal.proc, OnSignal);
    EXPECT_NE(S().warning.proc, nullptr);
    EXPECT_EQ(S().signal.context, 0u);
    EXPECT_EQ(S().warning.context, 0u);
    EXPECT_FALSE(S().nextDisk || S().sfxProgress || S().fileName || S().skipFile || S().cryptKey ||
                 S().progress || S().okToReplace);
    EXPECT_EQ(S().nextDisk.context + S().sfxProgress.context + S().fileName.context +
                  S().skipFile.context + S().cryptKey.context + S().progress.context +
                  S().okToReplace.context,
              0u);
  }
}

TEST(HalvedPercent, KeepsTheProductInThirtyTwoBits) {
  const struct {
    uint32_t done, size;
    int32_t percent;
  } cases[] = {
      {0, 100, 0},
      {50, 200, 25},
      {1, 3, 33},
      {20971519, 20971519, 100},
      {20971520, 41943040, 50},         // halved once
      {0xFFFFFFFFu, 0xFFFFFFFFu, 100},  // halved many times
      {3000000000u, 4000000000u, 75},
      {5, 0, 0},
      {30000000, 1, 0},  // the size runs out while halving
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ace::HalvedPercent(c.done, c.size), c.percent) << c.done << "/" << c.size;
  }
}

TEST_F(CallbackTest, EntryFindDataDescribesTheArchiveEntry) {
  ArcFileEntry entry{};
  std::strcpy(entry.Name, "docs\\alice29.txt");
  entry.Attributes = 0x21;
  entry.UnpackedSize = {152089, 3};
  entry.DosTime = 0x21210000;  // 1996-09-01 00:00:00 local

  AceFindData record;
  std::memset(&record, 0xEE, sizeof record);
  ace::EntryFindData(entry, &record);

  EXPECT_EQ(record.dwFileAttributes, 0x21u);
  // UTC with the offset in force now, whatever the season.
  std::tm local{};
  local.tm_year = 96;
  local.tm_mon = 8;
  local.tm_mday = 1;
  const auto ticks = static_cast<uint64_t>(acetest::UtcSecondsOf(local) -
                                           acetest::CurrentUtcOffset() + 11644473600) *
                     10000000u;
  const AceFileTime expected{static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32)};
  for (const AceFileTime* t :
       {&record.ftCreationTime, &record.ftLastAccessTime, &record.ftLastWriteTime}) {
    EXPECT_EQ(t->dwLowDateTime, expected.dwLowDateTime);
    EXPECT_EQ(t->dwHighDateTime, expected.dwHighDateTime);
  }
  EXPECT_EQ(record.nFileSizeHigh, 0u);
  EXPECT_EQ(record.nFileSizeLow, 152089u);
  EXPECT_EQ(record.dwReserved0, 0u);
  EXPECT_EQ(record.dwReserved1, 0u);
  EXPECT_STREQ(record.cFileName, "docs\\alice29.txt");
  for (char c : record.cAlternateFileName) EXPECT_EQ(c, 0);

  // Winter gets the same offset: 229.5 days earlier on the clock, and in UTC.
  entry.DosTime = 0x202F6000;  // 1996-01-15 12:00:00 local
  ace::EntryFindData(entry, &record);
  const uint64_t winter = (static_cast<uint64_t>(record.ftLastWriteTime.dwHighDateTime) << 32) |
                          record.ftLastWriteTime.dwLowDateTime;
  EXPECT_EQ(ticks - winter, 19828800ULL * 10000000u);
}

TEST_F(CallbackTest, DiskFindDataZeroesTheShortName) {
  acetest::TempDir dir;
  acetest::WriteFileText(dir / "file.txt", "12345");
  AceFindData record;
  ASSERT_TRUE(ace::DiskFindData((dir / "file.txt").c_str(), &record));
  EXPECT_STREQ(record.cFileName, "file.txt");
  EXPECT_EQ(record.nFileSizeLow, 5u);
  for (char c : record.cAlternateFileName) EXPECT_EQ(c, 0);

  EXPECT_FALSE(ace::DiskFindData((dir / "missing").c_str(), &record));
  EXPECT_EQ(record.cFileName[0], '\0');
}

}  // namespace
