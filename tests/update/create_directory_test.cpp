// Directory entries made inside an archive: the name check, the refusal of a
// directory that exists, and the header appended behind everything the
// archive held, which is copied unchanged.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "format/crc32.h"
#include "support/ace_builder.h"
#include "support/test_support.h"
#include "update/update_fixture.h"

namespace fs = std::filesystem;
using acetest::Bytes;
using namespace updtest;

namespace {

acetest::AceEntry Stored(const std::string& name, const std::string& text) {
  acetest::AceEntry e;
  e.name = name;
  e.data = acetest::AsBytes(text);
  return e;
}

uint32_t U16(const Bytes& b, size_t at) { return b[at] | (uint32_t{b[at + 1]} << 8); }
uint32_t U32(const Bytes& b, size_t at) { return U16(b, at) | (U16(b, at + 2) << 16); }

class CreateDirectoryTest : public ArchiveChangeTest {
 protected:
  void SetUp() override {
    ArchiveChangeTest::SetUp();
    WriteArchive(acetest::AceArchive(
        {Stored("thing", "a file named thing"), Stored("docs\\c.txt", "charlie")}));
  }

  // Makes the directory and checks that the old archive is the start of the
  // new one and that exactly one directory entry stands behind it.
  void ExpectAppended(const std::string& name, const std::string& listed) {
    const Bytes before = ArchiveBytes();
    const size_t count = List(archive).size();
    ASSERT_EQ(MakeDir(archive, name, settings), AR_OK);
    const Bytes after = ArchiveBytes();
    EXPECT_EQ(Slice(after, 0, before.size()), before);
    const auto entries = List(archive);
    ASSERT_EQ(entries.size(), count + 1);
    const Listed& e = entries.back();
    EXPECT_EQ(e.name, listed);
    EXPECT_EQ(e.headerPos, before.size());
    EXPECT_EQ(e.attributes, 0x10u);
    EXPECT_EQ(e.packed, 0u);
    EXPECT_EQ(after.size(), before.size() + e.headerSize + 4);
    ExpectNothingLeftOver();
  }
};

TEST_F(CreateDirectoryTest, AcceptedNamesAreStoredAsAnyName) {
  struct Case {
    const char* name;
    const char* relative;
    int keepPaths;
    const char* listed;
  };
  const Case cases[] = {
      {"NewDir", "", 1, "NewDir\\"},
      {"a\\b\\c\\", "", 1, "a\\b\\c\\"},          // levels, and a trailing backslash
      {"con\\console", "", 1, "con\\console\\"},  // only the final part may not be a device
      // The first character is not examined; the stored-name rule drops a
      // leading backslash.
      {"\\lead", "", 1, "lead\\"},
      {"|first", "", 1, "|first\\"},
      {"x\\y", "pre", 1, "pre\\x\\y\\"},
      {"x\\y", "", 0, "y\\"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    settings.relativePath = c.relative;
    settings.keepPaths = c.keepPaths;
    ExpectAppended(c.name, c.listed);
  }
  EXPECT_EQ(TestArchive(archive), AR_OK);
}

TEST_F(CreateDirectoryTest, ForbiddenCharactersAndDeviceNamesAreRefused) {
  const Bytes before = ArchiveBytes();
  for (const char* name : {"a?b", "a:b", "a|b", "a*b", "a<b", "a>b", "a\"b", "a/b", "con.txt",
                           "CON", "aux", "Prn.doc", "sub\\prn", "sub\\AUX\\", "x\\Con.Txt",
                           // no name at all: the entry would have an empty name
                           "", "\\", "\\\\"}) {
    EXPECT_EQ(MakeDir(archive, name, settings), AR_BAD_DIR_NAME) << name;
  }
  EXPECT_EQ(ArchiveBytes(), before);
}

TEST_F(CreateDirectoryTest, TheHeaderDescribesAnEmptyDirectoryMadeNow) {
  settings.dictionaryKB = 256;
  settings.relativePath = "pre";
  const std::time_t before = std::time(nullptr);
  ASSERT_EQ(MakeDir(archive, "NewDir", settings), AR_OK);
  const std::time_t after = std::time(nullptr);

  const auto entries = List(archive);
  ASSERT_EQ(entries.size(), 3u);
  const Bytes bytes = ArchiveBytes();
  const Bytes h = Slice(bytes, entries[2].headerPos, bytes.size());
  const std::string name = "pre\\NewDir";
  ASSERT_EQ(h.size(), 37 + name.size());
  EXPECT_EQ(U16(h, 2), 33 + name.size());  // HEAD_SIZE
  EXPECT_EQ(U16(h, 0), ace::Crc32Update(ace::kCrcInit, h.data() + 4, h.size() - 4) & 0xFFFFu);
  EXPECT_EQ(h[4], 1);                       // file header
  EXPECT_EQ(U16(h, 5), 0x0001u);            // flags
  EXPECT_EQ(U32(h, 7), 0u);                 // packed
  EXPECT_EQ(U32(h, 11), 0u);                // original size
  EXPECT_GE(U32(h, 15), DosStamp(before));  // local time, two-second steps
  EXPECT_LE(U32(h, 15), DosStamp(after));
  EXPECT_EQ(U32(h, 19), 0x10u);        // directory
  EXPECT_EQ(U32(h, 23), 0xFFFFFFFFu);  // CRC
  EXPECT_EQ(h[27], 0);                 // stored
  EXPECT_EQ(h[28], 2);
  EXPECT_EQ(U16(h, 29), 8u);  // dictionary code of 256 KB
  EXPECT_EQ(U16(h, 31), 0u);
  EXPECT_EQ(U16(h, 33), name.size());
  EXPECT_EQ(std::string(h.begin() + 35, h.begin() + 35 + static_cast<long>(name.size())), name);
  EXPECT_EQ(U16(h, 35 + name.size()), 0u);  // no comment

  EXPECT_EQ(TestArchive(archive), AR_OK);
  ExpectExtracts({{"thing", "a file named thing"}, {"docs\\c.txt", "charlie"}});
  EXPECT_TRUE(fs::is_directory(dir.path() / "out1" / "pre" / "NewDir"));
}

TEST_F(CreateDirectoryTest, ADirectoryThatExistsIsRefused) {
  ASSERT_EQ(MakeDir(archive, "NewDir", settings), AR_OK);
  // A directory entry that came from disk counts as well.
  {
    Bytes bytes = ArchiveBytes();
    acetest::AceEntry sub = Stored("docs\\sub", "");
    sub.attributes = 0x10;
    sub.crc = 0xFFFFFFFFu;
    const Bytes entry = acetest::AceEntryBytes(sub);
    bytes.insert(bytes.end(), entry.begin(), entry.end());
    WriteArchive(bytes);
  }
  const Bytes before = ArchiveBytes();
  for (const char* name :
       {"NewDir", "newdir", "NewDir\\", "NEWDIR\\", "docs\\sub", "docs\\SUB\\"}) {
    EXPECT_EQ(MakeDir(archive, name, settings), AR_DIR_EXISTS) << name;
  }
  // With RelativePath the name under it is the one that is looked for.
  settings.relativePath = "docs";
  EXPECT_EQ(MakeDir(archive, "sub", settings), AR_DIR_EXISTS);
  EXPECT_EQ(ArchiveBytes(), before);
}

TEST_F(CreateDirectoryTest, ADirectoryMayStandBesideAFileOfTheSameName) {
  ExpectAppended("thing", "thing\\");
  const auto entries = List(archive);
  EXPECT_EQ(entries[0].name, "thing");
  EXPECT_EQ(entries[0].attributes, 0x20u);
}

// The lock flag guards entries, not directories; whatever the archive holds
// in front of its main header and behind its entries stays where it was.
TEST_F(CreateDirectoryTest, ALockedSolidArchiveWithAStubAndARecoveryRecordAcceptsIt) {
  Bytes bytes(3000, 0x4D);
  for (const Bytes& part : {acetest::AceMainHeader(0xC000),
                            acetest::AceEntryBytes(Stored("a.txt", SampleText(3000, 1))),
                            acetest::AceEntryBytes(Stored("b.txt", SampleText(2000, 2))),
                            acetest::AceRecoveryRecord(2, Bytes(600, 0x44))}) {
    bytes.insert(bytes.end(), part.begin(), part.end());
  }
  WriteArchive(bytes);
  ExpectAppended("made", "made\\");
  const auto entries = List(archive);
  ASSERT_EQ(entries.size(), 4u);
  EXPECT_EQ(entries[2].headerType, 2u);
  EXPECT_EQ(TestArchive(archive), AR_OK);
  ExpectExtracts({{"a.txt", SampleText(3000, 1)}, {"b.txt", SampleText(2000, 2)}});

  // Files still cannot be added.
  WriteInput("new.txt", "new");
  const Bytes before = ArchiveBytes();
  EXPECT_EQ(Add(archive, {"new.txt"}, settings), AR_LOCKED);
  EXPECT_EQ(ArchiveBytes(), before);
}

}  // namespace
