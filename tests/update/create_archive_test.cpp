// Creating archives through the exports: header values, round trips through
// the reader and the extraction library, and every failure leaving no file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "platform/fault_injection.h"
#include "support/test_support.h"
#include "update/update_fixture.h"

namespace fs = std::filesystem;
using acetest::Bytes;
using acetest::TempDir;
using namespace updtest;

namespace {

class CreateArchiveTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DoneArcFile();
    platform::faults::Reset();
    input = dir.path() / "in";
    fs::create_directories(input / "docs" / "sub");
    acetest::WriteFileText(input / "docs" / "a.txt", Text(20000));
    acetest::WriteFileText(input / "docs" / "b.txt", Text(3000) + "tail");
    acetest::WriteFileBytes(input / "rand.bin", acetest::RandomBytes(5000, 7));
    acetest::WriteFileText(input / "empty.txt", "");
    archive = (dir.path() / "out.ace").string();
    settings.inputPath = input.string() + "/";
  }
  void TearDown() override {
    platform::faults::Reset();
    DoneArcFile();
  }

  static std::string Text(size_t n) {
    std::string s;
    const char* words[] = {"alpha ", "beta ", "gamma ", "delta\n", "epsilon ", "zeta "};
    for (size_t i = 0; s.size() < n; ++i) s += words[(i * 7 + i / 3) % 6];
    s.resize(n);
    return s;
  }

  const std::vector<std::string> kFiles = {"docs\\a.txt", "docs\\b.txt", "rand.bin", "empty.txt",
                                           "docs\\sub"};
  TempDir dir;
  fs::path input;
  std::string archive;
  Settings settings;
};

TEST_F(CreateArchiveTest, EveryDictionaryAndLevelRoundTripsPlainAndSolid) {
  for (int solid : {0, 1}) {
    for (int kb : {64, 128, 256, 512, 1024}) {
      for (int level : {0, 1, 2, 3}) {
        SCOPED_TRACE(testing::Message()
                     << "solid " << solid << " dict " << kb << " level " << level);
        settings.dictionaryKB = kb;
        settings.level = level;
        settings.solid = solid;
        ASSERT_EQ(Create(archive, kFiles, settings), AR_OK);
        EXPECT_EQ(TestArchive(archive), AR_OK);
        TempDir out;
        ASSERT_EQ(ExtractAll(archive, out.str()), AR_OK);
        for (const auto& name : {"docs/a.txt", "docs/b.txt", "rand.bin", "empty.txt"}) {
          EXPECT_EQ(acetest::ReadFileBytes(out.path() / name), acetest::ReadFileBytes(input / name))
              << name;
        }
        EXPECT_TRUE(fs::is_directory(out.path() / "docs" / "sub"));
        for (const auto& e : List(archive)) {
          if (!(e.attributes & 0x10) && e.unpacked != 0 && e.method == 1)
            EXPECT_EQ(e.dictionaryCode, static_cast<uint32_t>(HostDictionaryCode(kb) + 2))
                << e.name;
        }
      }
    }
  }
}

TEST_F(CreateArchiveTest, HeaderValuesOfEachKindOfEntry) {
  ASSERT_EQ(Create(archive, kFiles, settings), AR_OK);
  const auto entries = List(archive);
  ASSERT_EQ(entries.size(), 5u);

  const Listed& text = entries[0];  // compressed
  EXPECT_EQ(text.name, "docs\\a.txt");
  EXPECT_EQ(text.method, 1u);
  EXPECT_EQ(text.flags, 0x0001u);
  EXPECT_EQ(text.unpacked, 20000u);
  EXPECT_LT(text.packed, text.unpacked);
  EXPECT_EQ(text.attributes & 0x10, 0u);

  const Listed& random = entries[2];  // stored: random data does not shrink
  EXPECT_EQ(random.method, 0u);
  EXPECT_EQ(random.packed, random.unpacked);
  EXPECT_EQ(random.flags, 0x0001u);

  const Listed& empty = entries[3];
  EXPECT_EQ(empty.method, 0u);
  EXPECT_EQ(empty.packed, 0u);
  EXPECT_EQ(empty.unpacked, 0u);
  EXPECT_EQ(empty.crc, 0xFFFFFFFFu);

  const Listed& directory = entries[4];
  EXPECT_EQ(directory.name, "docs\\sub\\");  // listed with a backslash, stored without
  EXPECT_EQ(directory.method, 1u);
  EXPECT_EQ(directory.attributes & 0x10, 0x10u);
  EXPECT_EQ(directory.packed, 0u);
  EXPECT_EQ(directory.crc, 0xFFFFFFFFu);
  EXPECT_NE(directory.dosTime, 0u);

  // Nothing of the compressed attempt is left behind the stored data: the
  // archive is exactly its headers and data.
  uint64_t total = 53;
  for (const auto& e : entries) {
    const size_t stored = Slashes(e.name).size() - (e.attributes & 0x10 ? 1 : 0);
    total += 35 + stored + 2 + e.packed;
  }
  EXPECT_EQ(fs::file_size(archive), total);
}

TEST_F(CreateArchiveTest, SolidFlagsRestartAfterAStoredFile) {
  // Ordered by extension: rand.bin (program group, stored), then the .txt
  // files (the first fresh after the stored one, the next continuing), then
  // after.zzz (continuing).
  acetest::WriteFileText(input / "after.zzz", Text(4000));
  settings.solid = 1;
  ASSERT_EQ(Create(archive, {"docs\\a.txt", "after.zzz", "docs\\b.txt", "rand.bin"}, settings),
            AR_OK);
  const auto entries = List(archive);
  ASSERT_EQ(entries.size(), 4u);
  const struct {
    const char* name;
    uint32_t method, flags;
  } expected[] = {{"rand.bin", 0, 0x0001},
                  {"docs\\a.txt", 1, 0x0001},
                  {"docs\\b.txt", 1, 0x8001},
                  {"after.zzz", 1, 0x8001}};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(entries[i].name, expected[i].name);
    EXPECT_EQ(entries[i].method, expected[i].method) << expected[i].name;
    EXPECT_EQ(entries[i].flags, expected[i].flags) << expected[i].name;
  }
  TempDir out;
  EXPECT_EQ(ExtractAll(archive, out.str()), AR_OK);
  EXPECT_EQ(acetest::ReadFileBytes(out.path() / "after.zzz"),
            acetest::ReadFileBytes(input / "after.zzz"));
}

TEST_F(CreateArchiveTest, UnsupportedDictionariesAndEmptyListsCreateNothing) {
  for (int kb : {32, 2048, 4096, 8192}) {
    settings.dictionaryKB = kb;
    EXPECT_EQ(Create(archive, kFiles, settings), AR_NO_MEMORY) << kb;
    EXPECT_FALSE(fs::exists(archive)) << kb;
  }
  settings.dictionaryKB = 64;
  EXPECT_EQ(Create(archive, {}, settings), AR_NOTHING_TO_ADD);
  EXPECT_FALSE(fs::exists(archive));
}

TEST_F(CreateArchiveTest, InitArcFileOnAMissingPathLeavesItsStatus) {
  InitArcFile(archive.c_str());
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
  ApplySettings(settings);
  FileMaskList masks;
  InitFileMaskList(&masks);
  AppendFileMask("docs\\a.txt", &masks);
  CompressFileMaskListArc(&masks);
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
  EXPECT_FALSE(fs::exists(archive));
  // A failed open records no archive path, so even with the status cleared
  // there is nowhere to write; CreateArcFile is the way to a new archive.
  SetArchiveStatus(AR_OK);
  CompressFileMaskListArc(&masks);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_FALSE(fs::exists(archive));
  DoneFileMaskList(&masks);
  DoneArcFile();
  EXPECT_EQ(Create(archive, {"docs\\a.txt"}, settings), AR_OK);
  EXPECT_TRUE(fs::exists(archive));
}

TEST_F(CreateArchiveTest, CreatedArchiveCanBeListedWithoutReopening) {
  CreateArcFile(archive.c_str());
  ApplySettings(settings);
  FileMaskList masks;
  InitFileMaskList(&masks);
  AppendFileMask("docs\\a.txt", &masks);
  CompressFileMaskListArc(&masks);
  ASSERT_EQ(GetArchiveStatus(), AR_OK);
  ArcFileList list;
  InitArcFileList(&list);
  FileMaskList all;
  InitFileMaskList(&all);
  BuildArcFileList(&list, &all);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_EQ(list.Count, 1u);
  DoneArcFileList(&list);
  DoneFileMaskList(&all);
  DoneFileMaskList(&masks);
  DoneArcFile();
}

int g_skipAnswer = 0;
int32_t SkipWith(AceContext, const char*) { return g_skipAnswer; }
void RegisterSkip() { SetSkipFileProc(0, SkipWith); }
int32_t StopAtOnce(AceContext, int32_t, int32_t) { return 0; }
void RegisterStop() { SetSetProgressProc(0, StopAtOnce); }

TEST_F(CreateArchiveTest, AFileThatVanishesIsDecidedByTheSkipQuestion) {
  const std::vector<std::string> files = {"docs\\a.txt", "gone.txt", "docs\\b.txt"};
  for (int solid : {0, 1}) {
    settings.solid = solid;
    g_skipAnswer = 1;
    ASSERT_EQ(Create(archive, files, settings, RegisterSkip), AR_OK);
    EXPECT_EQ(List(archive).size(), 2u);
    EXPECT_EQ(TestArchive(archive), AR_OK);
    fs::remove(archive);

    g_skipAnswer = 2;
    EXPECT_EQ(Create(archive, files, settings, RegisterSkip), AR_ABORTED);
    EXPECT_FALSE(fs::exists(archive));

    EXPECT_EQ(Create(archive, files, settings), AR_IO_ERROR);
    EXPECT_FALSE(fs::exists(archive));
  }
}

TEST_F(CreateArchiveTest, ProgressAnsweredZeroAbortsAndRemovesTheArchive) {
  acetest::WriteFileText(input / "big.txt", Text(200000));
  EXPECT_EQ(Create(archive, {"big.txt"}, settings, RegisterStop), AR_ABORTED);
  EXPECT_FALSE(fs::exists(archive));
}

TEST_F(CreateArchiveTest, AFullDiskLeavesNoArchive) {
  acetest::WriteFileText(input / "big.txt", Text(300000));
  // Every write of the operation in turn comes back short, then fails.
  for (auto kind : {platform::faults::Kind::ShortWrite, platform::faults::Kind::Write}) {
    platform::faults::Reset();
    ASSERT_EQ(Create(archive, {"docs\\a.txt", "big.txt", "rand.bin"}, settings), AR_OK);
    const int64_t writes = platform::faults::Calls(platform::faults::Kind::Write);
    ASSERT_GT(writes, 2);
    fs::remove(archive);
    for (int64_t n = 1; n <= writes; ++n) {
      platform::faults::Reset();
      platform::faults::Arm(kind, n);
      const uint16_t status = Create(archive, {"docs\\a.txt", "big.txt", "rand.bin"}, settings);
      EXPECT_TRUE(status == AR_DISK_FULL || status == AR_IO_ERROR) << n << ": " << status;
      EXPECT_FALSE(fs::exists(archive)) << n;
    }
  }
}

TEST_F(CreateArchiveTest, StoredNamesFollowThePathSettings) {
  struct Case {
    int keepPaths;
    std::string relative;
    std::string node;
    std::string stored;
  };
  const Case cases[] = {
      {1, "", "docs\\a.txt", "docs\\a.txt"},
      // Without kept paths InputPath is not put in front: the host names the file fully.
      {0, "", "<input>docs\\a.txt", "a.txt"},
      {1, "pre", "docs\\a.txt", "pre\\docs\\a.txt"},
      {1, "", "docs/b.txt", "docs\\b.txt"},
  };
  for (const auto& c : cases) {
    settings.keepPaths = c.keepPaths;
    settings.relativePath = c.relative;
    std::string node = c.node;
    if (node.rfind("<input>", 0) == 0) node = input.string() + "/" + node.substr(7);
    ASSERT_EQ(Create(archive, {node}, settings), AR_OK) << node;
    const auto entries = List(archive);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, c.stored);
  }
}

TEST_F(CreateArchiveTest, NonAsciiNamesComeBackUnchanged) {
  const std::string resume = acetest::Ansi("r\xC3\xA9sum\xC3\xA9.txt");
  acetest::WriteFileText(input / resume, Text(1000));
  ASSERT_EQ(Create(archive, {resume}, settings), AR_OK);
  const auto entries = List(archive);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].name, resume);
  TempDir out;
  ASSERT_EQ(ExtractAll(archive, out.str()), AR_OK);
  EXPECT_TRUE(fs::exists(out.path() / resume));
}

TEST_F(CreateArchiveTest, FilesThatCannotBeReadFailCleanly) {
#ifndef _WIN32
  // A FIFO must not hang the reader: it counts as a file that cannot be opened.
  ASSERT_EQ(mkfifo((input / "pipe").c_str(), 0644), 0);
  EXPECT_EQ(Create(archive, {"pipe"}, settings), AR_IO_ERROR);
  EXPECT_FALSE(fs::exists(archive));
#endif

  // A name that does not fit the path buffers is refused, not cut.
  const std::string longName(300, 'x');
  EXPECT_EQ(Create(archive, {"docs\\" + longName}, settings), AR_IO_ERROR);
  EXPECT_FALSE(fs::exists(archive));
}

}  // namespace

namespace optimal_progress {

struct Report {
  int32_t percent, step;
};
std::vector<Report> g_reports;
size_t g_stopAt = 0;  // 1-based report that answers 0; 0 never stops

int32_t Record(AceContext, int32_t percent, int32_t step) {
  g_reports.push_back({percent, step});
  return g_reports.size() == g_stopAt ? 0 : 1;
}
void RegisterRecord() { SetSetProgressProc(0, Record); }

}  // namespace optimal_progress

// The best setting's engine reports by itself, every hundredth of the file but
// at least every 32,768 bytes, and once more at the end; an answer of 0 stops
// it at its next check.
TEST_F(CreateArchiveTest, BestSettingReportsItsOwnProgressAndStopsWhenAsked) {
  using namespace optimal_progress;
  const size_t size = 1000000;
  acetest::WriteFileText(input / "big.txt", Text(size));
  settings.dictionaryKB = 1024;
  settings.level = 4;

  g_reports.clear();
  g_stopAt = 0;
  ASSERT_EQ(Create(archive, {"big.txt"}, settings, RegisterRecord), AR_OK);
  ASSERT_GE(g_reports.size(), size / 32768);
  int64_t coded = 0;
  int32_t lastPercent = 0;
  for (size_t i = 0; i < g_reports.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_GE(g_reports[i].percent, lastPercent);
    lastPercent = g_reports[i].percent;
    coded += g_reports[i].step;
    if (i + 1 < g_reports.size()) {
      EXPECT_GE(g_reports[i].step, 32768);
      EXPECT_LT(g_reports[i].step, 32768 + 512);  // a match may carry past the period
      EXPECT_EQ(g_reports[i].percent, static_cast<int32_t>(coded * 100 / int64_t{size}));
    }
  }
  EXPECT_EQ(coded, static_cast<int64_t>(size));
  EXPECT_EQ(lastPercent, 100);
  EXPECT_EQ(TestArchive(archive), AR_OK);

  g_reports.clear();
  g_stopAt = 3;
  EXPECT_EQ(Create(archive, {"big.txt"}, settings, RegisterRecord), AR_ABORTED);
  EXPECT_EQ(g_reports.size(), 3u);
  EXPECT_FALSE(fs::exists(archive));
  g_stopAt = 0;
}
