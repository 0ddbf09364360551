// Deleting entries. A plain archive keeps everything else byte for byte,
// recovery records and the data in front of the main header included; a
// solid one is unpacked and compressed again without the deleted files, which
// only works for the format this plug-in writes. The fixture checks after
// every test that no temporary archive, backup or working directory is left.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "support/ace_builder.h"
#include "support/test_support.h"
#include "update/update_fixture.h"

namespace fs = std::filesystem;
using acetest::Bytes;
using namespace updtest;
using Strings = std::vector<std::string>;

namespace {

acetest::AceEntry Stored(const std::string& name, const std::string& text, uint8_t dictCode = 6) {
  acetest::AceEntry e;
  e.name = name;
  e.data = acetest::TextBytes(text);
  e.dictCode = dictCode;
  return e;
}

Bytes Join(const std::vector<Bytes>& parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

int CountLeftOutReports(const Recorder& rec) {
  int n = 0;
  for (const auto& e : rec.Of(Recorder::Kind::Progress)) n += e.a == 100 && e.b == 100;
  return n;
}

class DeleteEntriesTest : public ArchiveChangeTest {
 protected:
  // The parts of a hand-made plain archive: a stub in front, the main
  // header, three entries and a recovery record at the end.
  const Bytes stub = Bytes(2000, 0x4D);
  const Bytes main = acetest::AceMainHeader();
  const Bytes a = acetest::AceEntryBytes(Stored("a.txt", "alpha"));
  const Bytes b = acetest::AceEntryBytes(Stored("b.txt", "bravo"));
  const Bytes c = acetest::AceEntryBytes(Stored("docs\\c.txt", "charlie"));
  const Bytes recovery = acetest::AceRecoveryRecord(5, Bytes(400, 0x77));

  std::string Content(const std::string& name) const {
    const Bytes bytes = acetest::ReadFileBytes(input / Slashes(name));
    return std::string(bytes.begin(), bytes.end());
  }
};

TEST_F(DeleteEntriesTest, APlainDeleteCopiesEverythingElseByteForByte) {
  WriteArchive(Join({stub, main, a, b, c, recovery}));
  Recorder rec;
  ASSERT_EQ(Delete(archive, {"b.txt"}, settings, &rec), AR_OK);
  EXPECT_EQ(ArchiveBytes(), Join({stub, main, a, c, recovery}));

  // Each entry left out is named to the host and counts as done.
  const auto names = rec.Of(Recorder::Kind::FileName);
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names[0].path, "\\b.txt");
  EXPECT_EQ(names[0].shown, "\\b.txt");
  const auto progress = rec.Of(Recorder::Kind::Progress);
  ASSERT_EQ(progress.size(), 1u);
  EXPECT_EQ(progress[0].a, 100);
  EXPECT_EQ(progress[0].b, 100);
  EXPECT_TRUE(rec.Of(Recorder::Kind::Signal).empty());

  EXPECT_EQ(TestArchive(archive), AR_OK);
  ExpectExtracts({{"a.txt", "alpha"}, {"docs\\c.txt", "charlie"}});
}

TEST_F(DeleteEntriesTest, TheMasksSelectWhatGoes) {
  struct Case {
    Strings masks;
    bool withRecovery;
    std::vector<const Bytes*> kept;
  };
  const Case cases[] = {
      {{"B.TXT"}, true, {&a, &c}},
      {{"docs\\*.*"}, true, {&a, &b}},
      {{"a.txt", "docs\\c.txt"}, true, {&b}},
      // Nothing selected: the same archive again.
      {{"*.nothing"}, true, {&a, &b, &c}},
      // Everything: the recovery record stays, else only the leading part.
      {{"*.*"}, true, {}},
      {{"*.*"}, false, {}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message()
                 << k.masks[0] << (k.withRecovery ? " with" : " without") << " a recovery record");
    WriteArchive(Join({stub, main, a, b, c, k.withRecovery ? recovery : Bytes{}}));
    ASSERT_EQ(Delete(archive, k.masks, settings), AR_OK);
    Bytes expected = Join({stub, main});
    for (const Bytes* part : k.kept) expected.insert(expected.end(), part->begin(), part->end());
    if (k.withRecovery) expected.insert(expected.end(), recovery.begin(), recovery.end());
    EXPECT_EQ(ArchiveBytes(), expected);
    ExpectNothingLeftOver();
    uint16_t status = 0xFFFF;
    const auto entries = List(archive, &status);
    EXPECT_EQ(status, AR_OK);
    EXPECT_EQ(entries.size(), k.kept.size() + (k.withRecovery ? 1 : 0));
  }
}

TEST_F(DeleteEntriesTest, AllEntriesOfOneNameGoTogether) {
  const Bytes first = acetest::AceEntryBytes(Stored("a.txt", "first a"));
  const Bytes second = acetest::AceEntryBytes(Stored("A.TXT", "second a"));
  WriteArchive(Join({main, first, b, second}));
  Recorder rec;
  ASSERT_EQ(Delete(archive, {"a.txt"}, settings, &rec), AR_OK);
  EXPECT_EQ(ArchiveBytes(), Join({main, b}));
  EXPECT_EQ(rec.Of(Recorder::Kind::FileName).size(), 2u);
  EXPECT_EQ(CountLeftOutReports(rec), 2);
}

// Each entry's name is tested with RelativePath in front: with SUB set, the
// mask SUB\X selects the entry SUB\X, and that name then matches the entry X.
TEST_F(DeleteEntriesTest, RelativePathGoesInFrontOfEveryNameTested) {
  const Bytes x = acetest::AceEntryBytes(Stored("X", "root x"));
  const Bytes subX = acetest::AceEntryBytes(Stored("SUB\\X", "sub x"));
  const Bytes y = acetest::AceEntryBytes(Stored("Y", "root y"));
  WriteArchive(Join({main, x, subX, y}));
  settings.relativePath = "SUB";
  ASSERT_EQ(Delete(archive, {"SUB\\X"}, settings), AR_OK);
  EXPECT_EQ(ArchiveBytes(), Join({main, subX, y}));

  // A solid archive makes the same choice, and every other entry keeps its
  // name and its data through the unpacking and packing again.
  WriteArchive(acetest::AceArchive(
      {Stored("X", "root x"), Stored("SUB\\X", "sub x"), Stored("Y", "root y")}, 0x8000));
  ASSERT_EQ(Delete(archive, {"SUB\\X"}, settings), AR_OK);
  Strings names = Names(List(archive));
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (Strings{"SUB\\X", "Y"}));
  ExpectExtracts({{"SUB\\X", "sub x"}, {"Y", "root y"}});
}

TEST_F(DeleteEntriesTest, ProgressAnsweredZeroStopsAndChangesNothing) {
  WriteArchive(Join({main, a, b, c}));
  const Bytes before = ArchiveBytes();
  Recorder rec;
  rec.stopOnLeftOut = true;
  EXPECT_EQ(Delete(archive, {"b.txt"}, settings, &rec), AR_ABORTED);
  EXPECT_EQ(CountLeftOutReports(rec), 1);
  EXPECT_EQ(ArchiveBytes(), before);
}

TEST_F(DeleteEntriesTest, ALockedArchiveIsLeftAlone) {
  for (uint16_t solid : {0, 0x8000}) {
    WriteArchive(acetest::AceArchive({Stored("a.txt", "a"), Stored("b.txt", "b")},
                                     static_cast<uint16_t>(0x4000 | solid)));
    const Bytes before = ArchiveBytes();
    EXPECT_EQ(Delete(archive, {"a.txt"}, settings), AR_LOCKED) << solid;
    EXPECT_EQ(ArchiveBytes(), before) << solid;
  }
}

TEST_F(DeleteEntriesTest, ASolidDeleteCompressesTheRestAgain) {
  WriteInput("docs\\a.txt", SampleText(20000, 1));
  WriteInput("b.txt", SampleText(6000, 2));
  acetest::WriteFileBytes(input / "c.exe", acetest::RandomBytes(2000, 3));
  WriteInput("d.h", SampleText(7000, 4));
  fs::create_directories(input / "docs" / "sub");
  settings.solid = 1;
  settings.dictionaryKB = 256;
  ASSERT_EQ(Create(archive, {"docs\\a.txt", "b.txt", "c.exe", "d.h", "docs\\sub"}, settings),
            AR_OK);
  {
    Bytes bytes = stub;
    const Bytes made = ArchiveBytes();
    bytes.insert(bytes.end(), made.begin(), made.end());
    bytes.insert(bytes.end(), recovery.begin(), recovery.end());
    WriteArchive(bytes);
  }
  const Bytes leading = Slice(ArchiveBytes(), 0, stub.size() + main.size());
  const auto old = List(archive);
  ASSERT_EQ(old.back().headerType, 5u);

  settings.solid = 0;
  settings.dictionaryKB = 64;  // the archive's own 256 KB count
  Recorder rec;
  ASSERT_EQ(Delete(archive, {"b.txt"}, settings, &rec), AR_OK);

  EXPECT_EQ(Slice(ArchiveBytes(), 0, leading.size()), leading) << "stub and main header kept";
  const auto entries = List(archive);
  const Strings order = {"c.exe", "docs\\a.txt", "d.h"};
  ASSERT_EQ(Names(entries), order) << "no directory entry, no recovery record, extension order";
  for (const auto& e : entries) {
    EXPECT_EQ(e.dictionaryCode, 8u) << e.name;
    for (const auto& o : old) {
      if (o.name == e.name) EXPECT_EQ(e.dosTime, o.dosTime) << e.name << " keeps its time";
    }
  }
  EXPECT_EQ(entries[2].flags, 0x8001u) << "one solid run";

  EXPECT_EQ(CountLeftOutReports(rec), 1);
  int rebuildSignals = 0;
  for (const auto& s : rec.Of(Recorder::Kind::Signal)) {
    if (s.b != AR_SIGNAL_REBUILD) continue;
    ++rebuildSignals;
    EXPECT_EQ(s.a, 20000 + 6000 + 2000 + 7000) << "the total of every unpacked file";
  }
  EXPECT_EQ(rebuildSignals, 1);
  const auto shown = rec.FileNamesAfterSignal(AR_SIGNAL_REBUILD);
  ASSERT_EQ(shown.size(), order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    EXPECT_EQ(shown[i].path, (tmp / fs::path(Slashes(order[i])).filename()).string());
    EXPECT_EQ(shown[i].shown, "\\" + order[i]);
  }

  EXPECT_EQ(TestArchive(archive), AR_OK);
  ExpectExtracts({{"c.exe", Content("c.exe")},
                  {"docs\\a.txt", Content("docs\\a.txt")},
                  {"d.h", Content("d.h")}});
}

TEST_F(DeleteEntriesTest, OnlyTheFormatThisPluginWritesCanBeDeletedFromWhenSolid) {
  struct Case {
    uint16_t flags;
    uint8_t version;
    uint16_t status;
  };
  for (const Case k : {Case{0x8000, 20, AR_UNSUPPORTED}, Case{0x0000, 20, AR_OK}}) {
    SCOPED_TRACE(testing::Message() << "flags " << k.flags << " version " << int{k.version});
    WriteArchive(Join({acetest::AceMainHeaderWith(k.flags, k.version), a, b}));
    const Bytes before = ArchiveBytes();
    ASSERT_EQ(Delete(archive, {"a.txt"}, settings), k.status);
    EXPECT_EQ(ArchiveBytes(), k.status == AR_OK
                                  ? Join({acetest::AceMainHeaderWith(k.flags, k.version), b})
                                  : before);
    ExpectNothingLeftOver();
  }
}

TEST_F(DeleteEntriesTest, TheFirstHeadersDictionaryCodeSetsTheSolidDeletesDictionary) {
  struct Case {
    uint8_t firstCode;
    uint32_t rebuiltCode;
  };
  for (const Case k : {Case{8, 8}, Case{11, 6}}) {
    SCOPED_TRACE(testing::Message() << "code " << int{k.firstCode});
    const std::string one = SampleText(3000, 1), three = SampleText(2500, 3);
    WriteArchive(
        acetest::AceArchive({Stored("one.txt", one, k.firstCode),
                             Stored("two.txt", SampleText(100, 2)), Stored("three.txt", three)},
                            0x8000));
    settings.dictionaryKB = 1024;
    ASSERT_EQ(Delete(archive, {"two.txt"}, settings), AR_OK);
    const auto entries = List(archive);
    ASSERT_EQ(Names(entries), (Strings{"one.txt", "three.txt"}));
    for (const auto& e : entries) EXPECT_EQ(e.dictionaryCode, k.rebuiltCode) << e.name;
    ExpectExtracts({{"one.txt", one}, {"three.txt", three}});
  }
}

TEST_F(DeleteEntriesTest, ASolidDeleteStoppedByTheHostChangesNothing) {
  WriteArchive(acetest::AceArchive(
      {Stored("one.txt", SampleText(3000, 1)), Stored("two.txt", SampleText(2000, 2))}, 0x8000));
  const Bytes before = ArchiveBytes();
  Recorder rec;
  rec.stopOnLeftOut = true;
  EXPECT_EQ(Delete(archive, {"two.txt"}, settings, &rec), AR_ABORTED);
  EXPECT_EQ(CountLeftOutReports(rec), 1);
  EXPECT_EQ(ArchiveBytes(), before);
}

}  // namespace
