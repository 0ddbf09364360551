// Extraction and testing when something goes wrong: damaged and truncated
// archives, existing files, cancels, encrypted entries, unsafe names.
#include <gtest/gtest.h>

#include "extract/host.h"
#include "platform/win32.h"

namespace acetest {
namespace {

class Failures : public ExtractFixture {
 protected:
  static AceEntry Stored(const std::string& name, const std::string& text) {
    AceEntry e;
    e.name = name;
    e.data = TextBytes(text);
    return e;
  }
};

TEST_F(Failures, DamagedEntryLeaves9009AndTheOthersAreExtracted) {
  // One byte inside alice29.txt's packed data (the first entry of plain.ace).
  Bytes archive = ReadFileBytes(GoldenArchive("plain.ace"));
  const size_t firstData = 53 + 35 + std::string("docs\\alice29.txt").size() + 2;
  archive[firstData + 20000] ^= 0x40;
  Open(WriteArchive(archive));
  SetRestorePaths(1);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_ARCHIVE_ERROR);
  EXPECT_FALSE(std::filesystem::exists(OutFile("docs\\alice29.txt")));
  EXPECT_EQ(ReadFileBytes(OutFile("data\\lcg8k")), VectorInput("lcg8k"));
  EXPECT_EQ(ReadFileBytes(OutFile("data\\pattern60k")), VectorInput("pattern60k"));
  EXPECT_EQ(ReadFileBytes(OutFile("short.txt")), VectorInput("short"));
  EXPECT_TRUE(FilesNamed(".$UN").empty());
}

TEST_F(Failures, DamagedStoredEntryFailsItsCrcInTestToo) {
  AceEntry bad = Stored("bad.txt", "the stored bytes");
  bad.crc = DataCrc(bad.data) ^ 1;
  const std::string archive =
      WriteArchive(AceArchive({Stored("a.txt", "first"), bad, Stored("c.txt", "last")}));
  Open(archive);
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_ARCHIVE_ERROR);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_ARCHIVE_ERROR);
  EXPECT_TRUE(std::filesystem::exists(OutFile("a.txt")));
  EXPECT_FALSE(std::filesystem::exists(OutFile("bad.txt")));
  EXPECT_EQ(ReadFileBytes(OutFile("c.txt")), TextBytes("last"));
}

TEST_F(Failures, TruncatedArchiveLeaves5AndKeepsWhatCameBefore) {
  const Bytes whole = ReadFileBytes(GoldenArchive("plain.ace"));
  // Cut inside data\pattern60k's packed data, the fifth entry.
  const Bytes cut(whole.begin(), whole.end() - 23 - 46 - 800);
  Open(WriteArchive(cut));
  SetRestorePaths(1);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_EQ(ReadFileBytes(OutFile("data\\lcg8k")), VectorInput("lcg8k"));
  EXPECT_FALSE(std::filesystem::exists(OutFile("data\\pattern60k")));
  EXPECT_TRUE(FilesNamed(".$UN").empty());
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
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
  AceEntry e = Stored("a.txt", "from the archive");
  e.attributes = 0x20;
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
  EXPECT_EQ(std::filesystem::exists(OutFile("b.txt")), c.laterExtracted);
  EXPECT_TRUE(FilesNamed(".$UN").empty());
  SetFileAttributesA(existing.string().c_str(), FILE_ATTRIBUTE_ARCHIVE);
}

INSTANTIATE_TEST_SUITE_P(Answers, Overwrite,
                         ::testing::Values(OverwriteCase{0, AR_OK, true, true},
                                           OverwriteCase{1, AR_OK, false, true},
                                           OverwriteCase{2, AR_ABORTED, false, false},
                                           OverwriteCase{7, AR_ABORTED, false, false}));

TEST_F(Failures, WithoutReplaceProcedureTheFileIsOverwritten) {
  Open(WriteArchive(AceArchive({Stored("a.txt", "new contents")})));
  SetOkToReplaceProc(0, nullptr);
  WriteFileText(OutFile("a.txt"), "old");
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_EQ(ReadFileBytes(OutFile("a.txt")), TextBytes("new contents"));
}

TEST_F(Failures, CancelledProgressStopsAt2926) {
  Open(WriteArchive(
      AceArchive({Stored("a.txt", "one"), Stored("b.txt", "two"), Stored("c.txt", "three")})));
  host_.progressCancelAt = 0;
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_ABORTED);
  EXPECT_EQ(host_.progress.size(), 1u);
  EXPECT_FALSE(std::filesystem::exists(OutFile("b.txt")));
  EXPECT_FALSE(std::filesystem::exists(OutFile("c.txt")));
}

TEST_F(Failures, ProgressComesAtLeastEveryMegabyte) {
  AceEntry big;
  big.name = "big.bin";
  big.data = RandomBytes(3 * 1024 * 1024 + 5, 7);
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

TEST_F(Failures, EncryptedEntryAsksForThePasswordThenIsUnsupported) {
  AceEntry secret = Stored("dir\\secret.txt", "hidden");
  secret.flags |= 0x4000;
  Open(WriteArchive(AceArchive({secret, Stored("plain.txt", "visible")})));
  host_.password = std::string(271, 'p');
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_UNSUPPORTED);
  ASSERT_EQ(host_.cryptNames.size(), 1u);
  EXPECT_EQ(host_.cryptNames[0], "secret.txt");
  EXPECT_FALSE(std::filesystem::exists(OutFile("secret.txt")));
}

TEST_F(Failures, DeclinedPasswordCancels) {
  AceEntry secret = Stored("secret.txt", "hidden");
  secret.flags |= 0x4000;
  Open(WriteArchive(AceArchive({secret, Stored("plain.txt", "visible")})));
  host_.cryptAnswer = 0;
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_ABORTED);
  EXPECT_FALSE(std::filesystem::exists(OutFile("plain.txt")));
}

TEST_F(Failures, UnknownMethodIsUnsupported) {
  AceEntry odd = Stored("odd.bin", "packed some other way");
  odd.method = 2;
  Open(WriteArchive(AceArchive({odd})));
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_UNSUPPORTED);
}

TEST_F(Failures, EntryClimbingOutOfTheOutputIsNeverWritten) {
  Open(WriteArchive(AceArchive({Stored("..\\..\\evil", "payload"), Stored("good.txt", "ok")})));
  SetRestorePaths(1);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_TRUE(FilesNamed("evil").empty());
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(out()).parent_path().parent_path() /
                                       "evil"));
}

TEST_F(Failures, WithoutPathsTheSameEntryStaysInside) {
  Open(WriteArchive(AceArchive({Stored("..\\..\\evil", "payload")})));
  SetRestorePaths(0);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_EQ(ReadFileBytes(OutFile("evil")), TextBytes("payload"));
}

TEST_F(Failures, TotalOf4GiBReachesTheSignalAsTwoHalves) {
  // Two entries that claim 0xFFFFFFFF bytes each; only their headers matter.
  AceEntry a = Stored("a.bin", "x");
  a.origSize = 0xFFFFFFFFu;
  AceEntry b = Stored("b.bin", "y");
  b.origSize = 0xFFFFFFFFu;
  Open(WriteArchive(AceArchive({a, b})));
  TestArc();
  ASSERT_EQ(host_.signals.size(), 1u);
  EXPECT_EQ(host_.signals[0].code, AR_SIGNAL_TEST);
  EXPECT_EQ(host_.signals[0].low, 0xFFFFFFFEu);
  EXPECT_EQ(host_.signals[0].high, 1u);
  EXPECT_NE(GetArchiveStatus(), AR_OK);  // the data does not hold what the headers claim
}

TEST_F(Failures, NotAnArchiveForTheLibrary) {
  // The plug-in opened a valid archive; the file is replaced behind its back.
  const std::string path = WriteArchive(AceArchive({Stored("a.txt", "x")}));
  Open(path);
  WriteFileText(path, "no archive here any more");
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_NOT_ACE);
}

TEST_F(Failures, NullMaskListIsRefused) {
  Open(WriteArchive(AceArchive({Stored("a.txt", "x")})));
  ExtractFileMaskListArc(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_FALSE(std::filesystem::exists(OutFile("a.txt")));
}

}  // namespace
}  // namespace acetest
