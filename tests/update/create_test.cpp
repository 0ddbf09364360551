// Creating archives: the golden archive's entries made again byte for byte,
// a solid run's flags, and failures that leave nothing.

#include "archive_folder.h"

namespace acetest {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

using Create = ArchiveFolder;

Bytes EntryBytes(const Bytes& archive, const ArcFileEntry& e) {
  const auto from = archive.begin() + e.HeaderPos.Low;
  return Bytes(from, from + e.HeaderSize + 4 + e.PackedSize.Low);
}

// plain.ace holds five entries made from the project's inputs (and one from
// the corpus, left out here); a directory's attributes are the only field in
// which this platform differs (0x10 against 0x30).
TEST_F(Create, TheGoldenArchivesEntriesComeOutByteForByte) {
  WriteInput("docs\\empty.txt", "");
  WriteInput("data\\lcg8k", ReadFileText(VectorsDir() / "inputs/lcg8k"));
  WriteInput("data\\pattern60k", ReadFileText(VectorsDir() / "inputs/pattern60k"));
  WriteInput("short.txt", ReadFileText(VectorsDir() / "inputs/short"));
  fs::create_directories(input / "docs/sub");
  for (const char* name :
       {"docs/empty.txt", "docs/sub", "data/lcg8k", "data/pattern60k", "short.txt"}) {
    // 1996-09-01 00:00:00 local at today's offset, which the platform applies to every date.
    SetWriteTime(input / name, 841536000 - CurrentUtcOffset());
  }
  const Strings names = {"docs\\empty.txt", "docs\\sub", "data\\lcg8k", "data\\pattern60k",
                         "short.txt"};
  ASSERT_EQ(acetest::Create(archive, names, settings), AR_OK);
  const Listing made = List(archive), golden = List((VectorsDir() / "archives/plain.ace").string());
  ASSERT_EQ(made.entries.size(), 5u);
  ASSERT_EQ(golden.entries.size(), 6u);
  for (size_t i = 0; i < 5; ++i) {
    SCOPED_TRACE(names[i]);
    const ArcFileEntry& ours = made.entries[i];
    const ArcFileEntry& theirs = golden.entries[i + 1];
    if (i == 1) {
      EXPECT_EQ(ours.Attributes | 0x20, theirs.Attributes);
      EXPECT_EQ((Strings{ours.Name, std::to_string(ours.DosTime), std::to_string(ours.Method),
                         std::to_string(ours.Crc32), std::to_string(ours.HeaderFlags)}),
                (Strings{theirs.Name, std::to_string(theirs.DosTime), std::to_string(theirs.Method),
                         std::to_string(theirs.Crc32), std::to_string(theirs.HeaderFlags)}));
      continue;
    }
    EXPECT_EQ(FirstDifference(EntryBytes(VectorBytes("archives/plain.ace"), theirs),
                              EntryBytes(ArchiveBytes(), ours)),
              "");
  }
}

// The files of a solid run continue each other's history (flag 0x8000);
// a stored file breaks the run, and the file after it starts afresh.
TEST_F(Create, ASolidRunRestartsAfterAStoredFile) {
  WriteInput("a.txt", Text(9000, 1));
  WriteFileBytes(input / "b.txt", RandomBytes(3000, 2));
  WriteInput("c.txt", Text(9000, 3));
  WriteInput("d.txt", Text(9000, 4));
  settings.solid = 1;
  ASSERT_EQ(acetest::Create(archive, {"d.txt", "c.txt", "b.txt", "a.txt"}, settings), AR_OK);
  const Listing l = List(archive);
  ASSERT_EQ(l.names(), (Strings{"a.txt", "b.txt", "c.txt", "d.txt"}));
  std::vector<uint32_t> flags;
  for (const ArcFileEntry& e : l.entries) flags.push_back(e.HeaderFlags);
  EXPECT_EQ(flags, (std::vector<uint32_t>{0x0001, 0x0001, 0x0001, 0x8001}));
  EXPECT_EQ(Extracted().size(), 4u);
}

TEST_F(Create, AFailedCreationLeavesNoArchive) {
  WriteInput("a.txt", "abc");
  Settings unsupported = settings;
  unsupported.dictionaryKB = 2048;
  const struct {
    const char* what;
    Strings names;
    Settings settings;
    int32_t skipAnswer;
    int stopAtProgress;
    uint16_t status;
  } cases[] = {
      {"nothing to add", {}, settings, 0, -1, AR_NOTHING_TO_ADD},
      {"a dictionary the compressor does not have", {"a.txt"}, unsupported, 0, -1, AR_NO_MEMORY},
      {"a missing file without a skip procedure",
       {"gone.txt", "a.txt"},
       settings,
       0,
       -1,
       AR_IO_ERROR},
      {"a missing file the host stops at", {"gone.txt", "a.txt"}, settings, 2, -1, AR_ABORTED},
      {"a refused progress report", {"a.txt"}, settings, 0, 0, AR_ABORTED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Host host;
    host.skipAnswer = c.skipAnswer;
    host.stopAtProgress = c.stopAtProgress;
    EXPECT_EQ(acetest::Create(archive, c.names, c.settings, &host), c.status);
    EXPECT_FALSE(fs::exists(archive));
  }
  Host skip;  // the host may leave the missing file out
  skip.skipAnswer = 1;
  ASSERT_EQ(acetest::Create(archive, {"gone.txt", "a.txt"}, settings, &skip), AR_OK);
  EXPECT_EQ(skip.Of("skip"), Strings{input.string() + "\\gone.txt"});
  EXPECT_EQ(List(archive).names(), Strings{"a.txt"});
}

}  // namespace
}  // namespace acetest
