// Extraction and testing when something goes wrong: damaged and truncated
// archives, existing files, cancels, encrypted entries, unsafe names.
#include <gtest/gtest.h>

#include <functional>

#include "extract/host.h"
#include "platform/win32.h"

namespace acetest {
namespace {

using Failures = ExtractFixture;
namespace fs = std::filesystem;

TEST_F(Failures, DamagedOrTruncatedGoldenArchiveKeepsTheOtherEntries) {
  // One byte inside alice29.txt's packed data (the first entry of plain.ace):
  // 9009, and the entries after it are extracted.
  Bytes damaged = ReadFileBytes(GoldenArchive("plain.ace"));
  damaged[53 + 35 + std::string("docs\\alice29.txt").size() + 2 + 20000] ^= 0x40;
  Open(WriteArchive(damaged));
  SetRestorePaths(1);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_ARCHIVE_ERROR);
  EXPECT_FALSE(fs::exists(OutFile("docs\\alice29.txt")));
  for (const char* name : {"lcg8k", "pattern60k"}) {
    EXPECT_EQ(ReadFileBytes(OutFile(std::string("data\\") + name)),
              VectorBytes(std::string("inputs/") + name));
  }
  EXPECT_EQ(ReadFileBytes(OutFile("short.txt")), VectorBytes("inputs/short"));
  EXPECT_TRUE(FilesNamed(".$UN").empty());
  DoneArcFile();
  fs::remove_all(out());

  // Cut inside data\pattern60k's packed data, the fifth entry: 5, and what
  // came before stays.
  const Bytes whole = ReadFileBytes(GoldenArchive("plain.ace"));
  Open(WriteArchive(Bytes(whole.begin(), whole.end() - 23 - 46 - 800)));
  SetRestorePaths(1);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_EQ(ReadFileBytes(OutFile("data\\lcg8k")), VectorBytes("inputs/lcg8k"));
  EXPECT_FALSE(fs::exists(OutFile("data\\pattern60k")));
  EXPECT_TRUE(FilesNamed(".$UN").empty());
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
}

// Small archives, each with what the host does, the status it must leave and
// the output files that must not exist.
TEST_F(Failures, StatusesAndWhatIsLeft) {
  AceEntry badCrc = Stored("bad.txt", "the stored bytes");
  badCrc.crc = DataCrc(badCrc.data) ^ 1;
  AceEntry secret = Stored("dir\\secret.txt", "hidden");
  secret.flags |= 0x4000;
  AceEntry odd = Stored("odd.bin", "packed some other way");
  odd.method = 2;
  const auto abc =
      std::vector{Stored("a.txt", "one"), Stored("b.txt", "two"), Stored("c.txt", "three")};
  const struct {
    const char* what;
    std::vector<AceEntry> entries;
    std::function<void()> act;
    uint16_t status;
    std::vector<std::string> absent;
    std::function<void()> check;
  } cases[] = {
      {"a stored entry whose CRC fails, in test and extract",
       {Stored("a.txt", "first"), badCrc, Stored("c.txt", "last")},
       [&] {
         TestArc();
         EXPECT_EQ(GetArchiveStatus(), AR_ARCHIVE_ERROR);
         Extract();
       },
       AR_ARCHIVE_ERROR,
       {"bad.txt"},
       [&] {
         EXPECT_TRUE(fs::exists(OutFile("a.txt")));
         EXPECT_EQ(ReadFileBytes(OutFile("c.txt")), TextBytes("last"));
       }},
      {"without a replace procedure the file is overwritten",
       {Stored("a.txt", "new contents")},
       [&] {
         SetOkToReplaceProc(0, nullptr);
         WriteFileText(OutFile("a.txt"), "old");
         Extract();
       },
       AR_OK,
       {},
       [&] { EXPECT_EQ(ReadFileBytes(OutFile("a.txt")), TextBytes("new contents")); }},
      {"a cancelled progress stops at once",
       abc,
       [&] {
         host_.progressCancelAt = 0;
         Extract();
       },
       AR_ABORTED,
       {"b.txt", "c.txt"},
       [&] { EXPECT_EQ(host_.progress.size(), 1u); }},
      {"an encrypted entry asks for the password, then is unsupported",
       {secret, Stored("plain.txt", "visible")},
       [&] {
         host_.password = std::string(271, 'p');
         Extract();
       },
       AR_UNSUPPORTED,
       {"secret.txt"},
       [&] { EXPECT_EQ(host_.cryptNames, std::vector<std::string>{"secret.txt"}); }},
      {"a declined password cancels",
       {secret, Stored("plain.txt", "visible")},
       [&] {
         host_.cryptAnswer = 0;
         Extract();
       },
       AR_ABORTED,
       {"plain.txt"},
       nullptr},
      {"an unknown method is unsupported", {odd}, [&] { TestArc(); }, AR_UNSUPPORTED, {}, nullptr},
      {"an entry climbing out of the output is never written, the rest is",
       {Stored("..\\..\\evil", "payload"), Stored("good.txt", "ok")},
       [&] {
         SetRestorePaths(1);
         Extract();
       },
       AR_BAD_DIR_NAME,
       {},
       [&] {
         EXPECT_TRUE(FilesNamed("evil").empty());
         EXPECT_FALSE(fs::exists(fs::path(out()).parent_path().parent_path() / "evil"));
         EXPECT_EQ(ReadFileBytes(OutFile("good.txt")), TextBytes("ok"));
       }},
      {"without paths the same entry stays inside",
       {Stored("..\\..\\evil", "payload")},
       [&] { Extract(); },
       AR_OK,
       {},
       [&] { EXPECT_EQ(ReadFileBytes(OutFile("evil")), TextBytes("payload")); }},
      {"a null mask list is refused",
       {Stored("a.txt", "x")},
       [&] { ExtractFileMaskListArc(nullptr); },
       AR_IO_ERROR,
       {"a.txt"},
       nullptr},
      // The plug-in opened a valid archive; the file is replaced behind its back.
      {"not an archive for the library",
       {Stored("a.txt", "x")},
       [&] {
         WriteFileText(dir_ / "test.ace", "no archive here any more");
         TestArc();
       },
       AR_NOT_ACE,
       {},
       nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    host_ = Host{};
    fs::remove_all(out());
    Open(WriteArchive(AceArchive(c.entries)));
    c.act();
    EXPECT_EQ(GetArchiveStatus(), c.status);
    for (const std::string& name : c.absent) EXPECT_FALSE(fs::exists(OutFile(name))) << name;
    if (c.check) c.check();
    DoneArcFile();
  }
}

// The replace question over an existing read-only file, by answer.
struct OverwriteCase {
  int32_t answer;
  uint16_t status;
  bool replaced;
  bool laterExtracted;
};

class Overwrite : public Failures, public ::testing::WithParamInterface<OverwriteCase> {};

TEST_P(Overwrite, AnswerDecides) {
  const OverwriteCase& c = GetParam();
  const AceEntry e = Stored("a.txt", "from the archive");
  Open(WriteArchive(AceArchive({e, Stored("b.txt", "second")})));
  const auto existing = OutFile("a.txt");
  WriteFileText(existing, "on disk");
  ASSERT_TRUE(SetFileAttributesA(existing.string().c_str(), FILE_ATTRIBUTE_READONLY));
  host_.replaceAnswer = c.answer;
  Extract();
  EXPECT_EQ(GetArchiveStatus(), c.status);
  ASSERT_EQ(host_.replaces.size(), 1u);
  const AceFindData& disk = host_.replaces[0].first;
  const AceFindData& entry = host_.replaces[0].second;
  EXPECT_EQ(std::string(disk.cFileName), "a.txt");
  EXPECT_EQ(disk.nFileSizeLow, 7u);
  EXPECT_EQ(std::string(entry.cFileName), "a.txt");
  EXPECT_EQ(entry.nFileSizeLow, e.data.size());
  EXPECT_EQ(entry.dwFileAttributes, 0x20u);
  EXPECT_EQ(ReadFileBytes(existing), c.replaced ? e.data : TextBytes("on disk"));
  EXPECT_EQ(fs::exists(OutFile("b.txt")), c.laterExtracted);
  EXPECT_TRUE(FilesNamed(".$UN").empty());
  SetFileAttributesA(existing.string().c_str(), FILE_ATTRIBUTE_ARCHIVE);
}

INSTANTIATE_TEST_SUITE_P(Answers, Overwrite,
                         ::testing::Values(OverwriteCase{0, AR_OK, true, true},
                                           OverwriteCase{1, AR_OK, false, true},
                                           OverwriteCase{2, AR_ABORTED, false, false},
                                           OverwriteCase{7, AR_ABORTED, false, false}));

TEST_F(Failures, ProgressComesAtLeastEveryMegabyte) {
  const AceEntry big{.name = "big.bin", .data = RandomBytes(3 * 1024 * 1024 + 5, 7)};
  Open(WriteArchive(AceArchive({big})));
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  ASSERT_GE(host_.progress.size(), 4u);
  int64_t steps = 0;
  int32_t last = -1;
  for (const Host::Progress& p : host_.progress) {
    EXPECT_LE(p.step, (1 << 20) + (64 << 10));
    EXPECT_GE(p.percent, last);
    last = p.percent;
    steps += p.step;
  }
  EXPECT_EQ(steps, static_cast<int64_t>(big.data.size()));
  EXPECT_EQ(last, 100);
}

TEST_F(Failures, TotalOf4GiBReachesTheSignalAsTwoHalves) {
  // Two entries that claim 0xFFFFFFFF bytes each; only their headers matter.
  AceEntry a = Stored("a.bin", "x");
  AceEntry b = Stored("b.bin", "y");
  a.origSize = b.origSize = 0xFFFFFFFFu;
  Open(WriteArchive(AceArchive({a, b})));
  TestArc();
  ASSERT_EQ(host_.signals.size(), 1u);
  EXPECT_EQ(host_.signals[0].code, AR_SIGNAL_TEST);
  EXPECT_EQ(host_.signals[0].low, 0xFFFFFFFEu);
  EXPECT_EQ(host_.signals[0].high, 1u);
  EXPECT_NE(GetArchiveStatus(), AR_OK);  // the data does not hold what the headers claim
}

}  // namespace
}  // namespace acetest
