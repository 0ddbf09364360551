// Adding to existing archives. A plain update copies what it keeps byte for
// byte and compresses only the new files behind it; a solid archive is
// unpacked, merged with the new files, ordered and compressed again as one
// run. Either way the new archive takes the old one's place and nothing else
// is left: the fixture checks the archive's folder and a private temporary
// folder after every test.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

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

class UpdateArchiveTest : public ArchiveChangeTest {
 protected:
  std::string Content(const std::string& name) const {
    const Bytes b = acetest::ReadFileBytes(input / Slashes(name));
    return std::string(b.begin(), b.end());
  }
  // A path the plug-in formed from InputPath and a name, as a native path.
  static fs::path Normal(const std::string& path) {
    return fs::path(Slashes(path)).lexically_normal();
  }

  static acetest::AceEntry Stored(const std::string& name, const std::string& text,
                                  uint8_t dictCode = 6) {
    acetest::AceEntry e;
    e.name = name;
    e.data = acetest::TextBytes(text);
    e.dictCode = dictCode;
    return e;
  }
};

bool AllZero(const char* field, size_t size) {
  return std::all_of(field, field + size, [](char c) { return c == 0; });
}

bool SameTime(const AceFileTime& a, const AceFileTime& b) {
  return a.dwLowDateTime == b.dwLowDateTime && a.dwHighDateTime == b.dwHighDateTime;
}

TEST_F(UpdateArchiveTest, PlainUpdateAppendsTheNewFilesBehindRawCopiesOfTheOldEntries) {
  WriteInput("a.txt", SampleText(20000, 1));
  acetest::WriteFileBytes(input / "r.bin", acetest::RandomBytes(3000, 5));
  WriteInput("docs\\c.txt", SampleText(7000, 2));
  settings.dictionaryKB = 1024;
  ASSERT_EQ(Create(archive, {"a.txt", "r.bin", "docs\\c.txt"}, settings), AR_OK);
  const Bytes before = ArchiveBytes();
  // A second name for the old file: an archive written in place would show
  // through it.
  fs::create_hard_link(archive, dir.path() / "link.ace");

  WriteInput("new.txt", SampleText(9000, 3));
  WriteInput("docs\\d.txt", SampleText(500, 4));
  // New entries of an archive that is not solid get 64 KB whatever the host chose.
  settings.dictionaryKB = 512;
  Recorder rec;
  ASSERT_EQ(Add(archive, {"new.txt", "docs\\d.txt"}, settings, &rec), AR_OK);

  EXPECT_EQ(acetest::ReadFileBytes(dir.path() / "link.ace"), before);
  const Bytes after = ArchiveBytes();
  EXPECT_EQ(Slice(after, 0, before.size()), before) << "old entries copied as they were";
  const auto entries = List(archive);
  ASSERT_EQ(Names(entries), (Strings{"a.txt", "r.bin", "docs\\c.txt", "new.txt", "docs\\d.txt"}));
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(entries[i].dictionaryCode, 10u) << entries[i].name;
  EXPECT_EQ(entries[3].headerPos, before.size());
  for (size_t i = 3; i < 5; ++i) {
    EXPECT_EQ(entries[i].dictionaryCode, 6u) << entries[i].name;
    EXPECT_EQ(entries[i].method, 1u) << entries[i].name;
  }

  // The host hears of the new files only, with their disk paths.
  const auto names = rec.Of(Recorder::Kind::FileName);
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(Normal(names[0].path), input / "new.txt");
  EXPECT_EQ(names[0].shown, "\\new.txt");
  EXPECT_EQ(Normal(names[1].path), input / "docs" / "d.txt");
  EXPECT_EQ(names[1].shown, "\\docs\\d.txt");
  EXPECT_TRUE(rec.Of(Recorder::Kind::Signal).empty()) << "no rebuild, nothing to announce";

  EXPECT_EQ(TestArchive(archive), AR_OK);
  ExpectExtracts({{"a.txt", Content("a.txt")},
                  {"r.bin", Content("r.bin")},
                  {"docs\\c.txt", Content("docs\\c.txt")},
                  {"new.txt", Content("new.txt")},
                  {"docs\\d.txt", Content("docs\\d.txt")}});
}

TEST_F(UpdateArchiveTest, TheReplaceAnswerDecidesBetweenTheOldEntryAndTheFile) {
  struct Case {
    const char* what;
    std::vector<int32_t> answers;  // empty: no replace procedure
    uint16_t status;
    bool replaced;
  };
  const Case cases[] = {
      {"answer 0 replaces", {0}, AR_OK, true},
      {"answer 1 keeps the old entry", {1}, AR_OK, false},
      {"answer 2 stops", {2}, AR_ABORTED, false},
      {"without a procedure every namesake is replaced", {}, AR_OK, true},
      {"another answer replaces", {7}, AR_OK, true},
  };
  const std::string oldText = SampleText(6000, 1), newText = SampleText(4000, 9);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteInput("a.txt", oldText);
    WriteInput("b.txt", SampleText(3000, 2));
    ASSERT_EQ(Create(archive, {"a.txt", "b.txt"}, settings), AR_OK);
    const Bytes before = ArchiveBytes();
    const auto old = List(archive);
    WriteInput("a.txt", newText);
    WriteInput("c.txt", SampleText(2000, 3));

    Recorder rec;
    rec.replaceAnswers = c.answers;
    ASSERT_EQ(Add(archive, {"a.txt", "c.txt"}, settings, &rec), c.status);
    ExpectNothingLeftOver();
    const auto asked = rec.Of(Recorder::Kind::Replace);
    if (c.answers.empty()) {
      EXPECT_TRUE(asked.empty());
    } else {
      ASSERT_EQ(asked.size(), 1u) << "only the namesake is asked about";
      EXPECT_EQ(asked[0].path, "a.txt");
    }
    if (c.status != AR_OK) {
      EXPECT_EQ(ArchiveBytes(), before);
      continue;
    }
    const Bytes after = ArchiveBytes();
    const auto entries = List(archive);
    if (c.replaced) {
      // The old entry is gone; the file stands after the copied entries.
      ASSERT_EQ(Names(entries), (Strings{"b.txt", "a.txt", "c.txt"}));
      EXPECT_EQ(EntryBytes(after, entries[0]), EntryBytes(before, old[1]));
      ExpectExtracts(
          {{"a.txt", newText}, {"b.txt", Content("b.txt")}, {"c.txt", Content("c.txt")}});
    } else {
      ASSERT_EQ(Names(entries), (Strings{"a.txt", "b.txt", "c.txt"}));
      EXPECT_EQ(Slice(after, 0, before.size()), before);
      ExpectExtracts(
          {{"a.txt", oldText}, {"b.txt", Content("b.txt")}, {"c.txt", Content("c.txt")}});
    }
  }
}

TEST_F(UpdateArchiveTest, TheReplaceQuestionDescribesTheEntryAndTheDiskFile) {
  acetest::AceEntry old = Stored("docs\\a.txt", SampleText(1234, 1));
  old.attributes = 0x21;
  old.time = acetest::kTestDosStamp;
  WriteArchive(acetest::AceArchive({old}));
  const Bytes before = ArchiveBytes();
  WriteInput("docs\\a.txt", SampleText(777, 2));
  const std::time_t written = 1700000000;  // 2023-11-14
  acetest::SetWriteTime(input / "docs" / "a.txt", written);

  Recorder rec;
  rec.replaceAnswers = {1};
  ASSERT_EQ(Add(archive, {"docs\\a.txt"}, settings, &rec), AR_OK);
  ASSERT_EQ(rec.existing.size(), 1u);

  const AceFindData& e = rec.existing[0];
  EXPECT_EQ(e.dwFileAttributes, 0x21u);
  const AceFileTime stamp = UtcFileTimeOfDosStamp(acetest::kTestDosStamp);
  EXPECT_TRUE(SameTime(e.ftCreationTime, stamp));
  EXPECT_TRUE(SameTime(e.ftLastAccessTime, stamp));
  EXPECT_TRUE(SameTime(e.ftLastWriteTime, stamp));
  EXPECT_EQ(e.nFileSizeHigh, 0u);
  EXPECT_EQ(e.nFileSizeLow, 1234u);
  EXPECT_EQ(e.dwReserved0, 0u);
  EXPECT_EQ(e.dwReserved1, 0u);
  EXPECT_STREQ(e.cFileName, "docs\\a.txt");
  EXPECT_TRUE(AllZero(e.cAlternateFileName, sizeof e.cAlternateFileName));

  const AceFindData& r = rec.replacement[0];
  EXPECT_EQ(r.dwFileAttributes & 0x10u, 0u);
  EXPECT_EQ(r.nFileSizeHigh, 0u);
  EXPECT_EQ(r.nFileSizeLow, 777u);
  EXPECT_TRUE(SameTime(r.ftLastWriteTime, FileTimeOf(written)));
  EXPECT_STREQ(r.cFileName, "a.txt");
  EXPECT_TRUE(AllZero(r.cAlternateFileName, sizeof r.cAlternateFileName));

  // Kept, and nothing else to add: the same archive again.
  EXPECT_EQ(ArchiveBytes(), before);
}

TEST_F(UpdateArchiveTest, OnlyAHostThatAnsweredMakesTheDiskFileWritable) {
  struct Case {
    const char* what;
    std::vector<int32_t> answers;
    bool writableAfter;
  };
  const Case cases[] = {{"answered 0", {0}, true}, {"no replace procedure", {}, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteInput("a.txt", SampleText(3000, 1));
    ASSERT_EQ(Create(archive, {"a.txt"}, settings), AR_OK);
    const fs::path file = input / "a.txt";
    WriteInput("a.txt", SampleText(2000, 2));
    fs::permissions(file, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);

    Recorder rec;
    rec.replaceAnswers = c.answers;
    ASSERT_EQ(Add(archive, {"a.txt"}, settings, &rec), AR_OK);
    const bool writable =
        (fs::status(file).permissions() & fs::perms::owner_write) != fs::perms::none;
    EXPECT_EQ(writable, c.writableAfter);
    const auto entries = List(archive);
    ASSERT_EQ(entries.size(), 1u);
    // The entry takes the attributes the file had when it was read.
    EXPECT_EQ(entries[0].attributes, c.writableAfter ? 0x20u : 0x21u);
    fs::permissions(file, fs::perms::owner_write, fs::perm_options::add);
  }
}

// Data in front of the main header (a self-extractor's stub), a main comment
// and both kinds of recovery record survive a plain update: unchanged by an
// empty list, and in front of the new entries otherwise.
TEST_F(UpdateArchiveTest, DataInFrontCommentAndRecoveryRecordsSurviveAPlainUpdate) {
  Bytes before(5000, 0x90);
  const Bytes main = acetest::AceMainHeaderWith(0, 20, Bytes(60, 0x5A));
  before.insert(before.end(), main.begin(), main.end());
  for (const Bytes& part : {acetest::AceEntryBytes(Stored("a.txt", "first entry")),
                            acetest::AceRecoveryRecord(2, Bytes(1000, 0x11)),
                            acetest::AceEntryBytes(Stored("b.txt", "second entry")),
                            acetest::AceRecoveryRecord(5, Bytes(700, 0x22))}) {
    before.insert(before.end(), part.begin(), part.end());
  }
  WriteArchive(before);
  ASSERT_EQ(Add(archive, {}, settings), AR_OK);
  EXPECT_EQ(ArchiveBytes(), before);
  ExpectNothingLeftOver();

  WriteInput("new.txt", SampleText(5000, 3));
  ASSERT_EQ(Add(archive, {"new.txt"}, settings), AR_OK);
  const Bytes after = ArchiveBytes();
  EXPECT_EQ(Slice(after, 0, before.size()), before);
  const auto entries = List(archive);
  ASSERT_EQ(entries.size(), 5u);
  const uint32_t types[] = {1, 2, 1, 5, 1};
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(entries[i].headerType, types[i]) << i;
  EXPECT_EQ(entries[4].name, "new.txt");
  EXPECT_EQ(entries[4].headerPos, before.size());
  EXPECT_EQ(after.size(), before.size() + entries[4].headerSize + 4 + entries[4].packed);
  EXPECT_EQ(TestArchive(archive), AR_OK);
  ExpectExtracts(
      {{"a.txt", "first entry"}, {"b.txt", "second entry"}, {"new.txt", Content("new.txt")}});
}

TEST_F(UpdateArchiveTest, ALockedArchiveRefusesNewFiles) {
  WriteArchive(acetest::AceArchive({Stored("a.txt", "locked in")}, 0x4000));
  const Bytes before = ArchiveBytes();
  WriteInput("new.txt", "new");
  EXPECT_EQ(Add(archive, {"new.txt"}, settings), AR_LOCKED);
  EXPECT_EQ(ArchiveBytes(), before);
}

// The solid rebuild: every old file comes back, the new ones join them, and
// all are ordered by extension and compressed as one run with the archive's
// own dictionary.
TEST_F(UpdateArchiveTest, ASolidArchiveIsRebuiltInExtensionOrderAsOneRun) {
  WriteInput("docs\\a.txt", SampleText(20000, 1));
  WriteInput("b.c", SampleText(8000, 2));
  acetest::WriteFileBytes(input / "tool.exe", acetest::RandomBytes(3000, 3));
  WriteInput("empty.txt", "");
  WriteInput("z.xyz", SampleText(5000, 4));
  fs::create_directories(input / "docs" / "sub");
  settings.solid = 1;
  settings.dictionaryKB = 128;
  ASSERT_EQ(Create(archive, {"docs\\a.txt", "b.c", "tool.exe", "empty.txt", "z.xyz", "docs\\sub"},
                   settings),
            AR_OK);
  {
    // A stub in front, which stays, and a recovery record behind the
    // entries, which the rebuild cannot carry over.
    Bytes bytes(1500, 0x4D);
    const Bytes made = ArchiveBytes();
    bytes.insert(bytes.end(), made.begin(), made.end());
    const Bytes record = acetest::AceRecoveryRecord(2, Bytes(500, 0x33));
    bytes.insert(bytes.end(), record.begin(), record.end());
    WriteArchive(bytes);
  }
  const Bytes leading = Slice(ArchiveBytes(), 0, 1500 + 53);
  const auto old = List(archive);
  ASSERT_EQ(old.size(), 7u);
  ASSERT_EQ(old.back().headerType, 2u);

  WriteInput("new.h", SampleText(6000, 5));
  WriteInput("pic.zip", SampleText(4000, 6));
  WriteInput("readme", SampleText(3000, 7));
  settings.solid = 0;
  settings.dictionaryKB = 1024;  // the archive's own 128 KB count
  Recorder rec;
  FileMaskList left{};
  ASSERT_EQ(Add(archive, {"new.h", "pic.zip", "readme"}, settings, &rec, &left), AR_OK);
  EXPECT_EQ(left.First, nullptr) << "the host's list is left empty";
  EXPECT_EQ(Slice(ArchiveBytes(), 0, leading.size()), leading) << "stub and main header kept";

  const auto entries = List(archive);
  const Strings order = {"tool.exe", "docs\\a.txt", "empty.txt", "b.c",
                         "new.h",    "pic.zip",     "readme",    "z.xyz"};
  ASSERT_EQ(Names(entries), order) << "no directory entry, no recovery record, extension order";
  for (const auto& e : entries) {
    EXPECT_EQ(e.headerType, 1u);
    EXPECT_EQ(e.dictionaryCode, 7u) << e.name;
    if (e.name == "tool.exe") {
      EXPECT_EQ(e.method, 0u) << "random data is stored";
    } else if (e.name == "docs\\a.txt") {
      EXPECT_EQ(e.flags, 0x0001u) << "fresh after the stored file";
    } else {
      EXPECT_EQ(e.flags, 0x8001u) << e.name << " continues the one run";
    }
    for (const auto& o : old) {
      if (o.name == e.name) EXPECT_EQ(e.dosTime, o.dosTime) << e.name << " keeps its time";
    }
  }

  const auto signals = rec.Of(Recorder::Kind::Signal);
  int rebuildSignals = 0;
  for (const auto& s : signals) {
    if (s.b != AR_SIGNAL_REBUILD) continue;
    ++rebuildSignals;
    EXPECT_EQ(s.a, 20000 + 8000 + 3000 + 5000) << "the total of the old files";
  }
  EXPECT_EQ(rebuildSignals, 1);
  // The old files are unpacked into a folder under the temporary folder...
  size_t unpacked = 0;
  for (const auto& e : rec.events) {
    if (e.kind == Recorder::Kind::Signal && e.b == AR_SIGNAL_REBUILD) break;
    if (e.kind != Recorder::Kind::FileName) continue;
    ++unpacked;
    EXPECT_EQ(Slashes(e.shown).rfind(tmp.generic_string() + "/", 0), 0u) << e.shown;
  }
  EXPECT_EQ(unpacked, 6u) << "five files and the directory";
  // ...and each file is shown under the temporary folder and the name it is
  // stored as.
  const auto shown = rec.FileNamesAfterSignal(AR_SIGNAL_REBUILD);
  ASSERT_EQ(shown.size(), order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    const std::string base = fs::path(Slashes(order[i])).filename().string();
    EXPECT_EQ(shown[i].path, (tmp / base).string());
    EXPECT_EQ(shown[i].shown, "\\" + order[i]);
  }

  EXPECT_EQ(TestArchive(archive), AR_OK);
  std::vector<std::pair<std::string, std::string>> files;
  for (const auto& name : order) files.emplace_back(name, Content(name));
  ExpectExtracts(files);
}

TEST_F(UpdateArchiveTest, TheReplaceAnswerDecidesInASolidRebuild) {
  struct Case {
    const char* what;
    std::vector<int32_t> answers;
    uint16_t status;
    bool replaced;
    Strings names;
  };
  // Two files keep the order they were merged in: the unpacked ones first,
  // then what comes from the host's list.
  const Case cases[] = {
      {"answer 0 takes the file under the old name", {0}, AR_OK, true, {"a.txt", "b.txt"}},
      {"answer 1 keeps the unpacked copy", {1}, AR_OK, false, {"a.txt", "b.txt"}},
      {"answer 2 stops", {2}, AR_ABORTED, false, {}},
      {"without a procedure the file is taken", {}, AR_OK, true, {"a.txt", "b.txt"}},
      {"another answer drops the old file; the host's list brings it",
       {7},
       AR_OK,
       true,
       {"b.txt", "a.txt"}},
  };
  const std::string oldText = SampleText(5000, 1), newText = SampleText(6000, 8);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    settings.solid = 1;
    WriteInput("a.txt", oldText);
    WriteInput("b.txt", SampleText(4000, 2));
    ASSERT_EQ(Create(archive, {"a.txt", "b.txt"}, settings), AR_OK);
    const Bytes before = ArchiveBytes();
    const auto old = List(archive);
    WriteInput("a.txt", newText);
    settings.solid = 0;

    Recorder rec;
    rec.replaceAnswers = c.answers;
    ASSERT_EQ(Add(archive, {"a.txt"}, settings, &rec), c.status);
    ExpectNothingLeftOver();
    if (!c.answers.empty()) {
      ASSERT_EQ(rec.existing.size(), 1u);
      // The existing file is the unpacked copy, with the entry's time.
      EXPECT_STREQ(rec.existing[0].cFileName, "a.txt");
      EXPECT_EQ(rec.existing[0].nFileSizeLow, oldText.size());
      EXPECT_TRUE(SameTime(rec.existing[0].ftLastWriteTime, UtcFileTimeOfDosStamp(old[0].dosTime)));
      EXPECT_STREQ(rec.replacement[0].cFileName, "a.txt");
      EXPECT_EQ(rec.replacement[0].nFileSizeLow, newText.size());
    } else {
      EXPECT_TRUE(rec.existing.empty());
    }
    if (c.status != AR_OK) {
      EXPECT_EQ(ArchiveBytes(), before);
      continue;
    }
    EXPECT_EQ(Names(List(archive)), c.names);
    ExpectExtracts({{"a.txt", c.replaced ? newText : oldText}, {"b.txt", Content("b.txt")}});
  }
}

TEST_F(UpdateArchiveTest, TheFirstHeadersDictionaryCodeSetsTheRebuildsDictionary) {
  struct Case {
    uint8_t firstCode;
    uint32_t rebuiltCode;
  };
  // Codes 7 to 10 name the dictionary; any other gives 64 KB.
  for (const Case c : {Case{8, 8}, Case{11, 6}}) {
    SCOPED_TRACE(testing::Message() << "code " << int{c.firstCode});
    const std::string a = SampleText(3000, 1), b = SampleText(2000, 2);
    acetest::AceEntry first = Stored("a.txt", a, c.firstCode);
    first.attributes = 0x21;  // read-only: the unpacked copy must carry it over
    WriteArchive(acetest::AceArchive({first, Stored("b.txt", b)}, 0x8000));
    WriteInput("c.txt", SampleText(4000, 3));
    settings.dictionaryKB = 1024;
    ASSERT_EQ(Add(archive, {"c.txt"}, settings), AR_OK);
    const auto entries = List(archive);
    ASSERT_EQ(Names(entries), (Strings{"a.txt", "b.txt", "c.txt"}));
    for (const auto& e : entries) EXPECT_EQ(e.dictionaryCode, c.rebuiltCode) << e.name;
    EXPECT_EQ(entries[0].attributes, 0x21u);
    EXPECT_EQ(entries[1].attributes, 0x20u);
    ExpectExtracts({{"a.txt", a}, {"b.txt", b}, {"c.txt", Content("c.txt")}});
  }
}

// RelativePath names the folder inside the archive that the host's files
// belong to: only the entry under it is their namesake.
TEST_F(UpdateArchiveTest, RelativePathSelectsTheNamesakeInBothKindsOfArchive) {
  WriteInput("a.txt", SampleText(2500, 9));
  WriteInput("c.txt", SampleText(1500, 8));
  settings.relativePath = "SUB";

  WriteArchive(acetest::AceArchive({Stored("a.txt", "root a"), Stored("SUB\\a.txt", "old sub a")}));
  Recorder rec;
  rec.replaceAnswers = {0};
  ASSERT_EQ(Add(archive, {"a.txt", "c.txt"}, settings, &rec), AR_OK);
  ASSERT_EQ(rec.existing.size(), 1u);
  EXPECT_STREQ(rec.existing[0].cFileName, "SUB\\a.txt");
  EXPECT_EQ(Names(List(archive)), (Strings{"a.txt", "SUB\\a.txt", "SUB\\c.txt"}));
  ExpectExtracts(
      {{"a.txt", "root a"}, {"SUB\\a.txt", Content("a.txt")}, {"SUB\\c.txt", Content("c.txt")}});

  // Solid: the old entries keep their names; only the new ones get the
  // prefix. The kept namesake is not added again.
  WriteArchive(
      acetest::AceArchive({Stored("x.txt", "root x"), Stored("SUB\\a.txt", "old sub a")}, 0x8000));
  Recorder keep;
  keep.replaceAnswers = {1};
  ASSERT_EQ(Add(archive, {"a.txt", "c.txt"}, settings, &keep), AR_OK);
  ASSERT_EQ(keep.existing.size(), 1u);
  EXPECT_EQ(Names(List(archive)), (Strings{"SUB\\a.txt", "SUB\\c.txt", "x.txt"}));
  ExpectExtracts(
      {{"x.txt", "root x"}, {"SUB\\a.txt", "old sub a"}, {"SUB\\c.txt", Content("c.txt")}});
}

// An archive that cannot be read through to its end is refused by every
// change, and stays as it was.
TEST_F(UpdateArchiveTest, AnArchiveThatCannotBeReadThroughIsLeftAsItWas) {
  WriteInput("n.txt", "new");
  struct Op {
    const char* what;
    uint16_t (*run)(const std::string& archive, const Settings& st);
  };
  const Op ops[] = {
      {"add", [](const std::string& a, const Settings& st) { return Add(a, {"n.txt"}, st); }},
      {"delete", [](const std::string& a, const Settings& st) { return Delete(a, {"a.txt"}, st); }},
      {"mkdir", [](const std::string& a, const Settings& st) { return MakeDir(a, "made", st); }},
  };
  acetest::AceEntry damaged = Stored("b.txt", SampleText(3000, 2));
  damaged.crc = 0x12345678;
  Bytes unknown = acetest::AceRecoveryRecord(2, Bytes(10, 1));
  unknown[4] = 7;  // no such header type
  acetest::SealHeader(unknown);

  struct Archive {
    const char* what;
    Bytes bytes;
    uint16_t status;  // left by every operation
  };
  // The same entries, plain or solid, then what makes them unreadable.
  auto make = [&](uint16_t solid, bool cutShort) {
    Bytes b =
        acetest::AceArchive({Stored("a.txt", "aaa"), Stored("c.txt", SampleText(3000, 3))}, solid);
    if (cutShort) {
      b.resize(b.size() - 1000);
    } else {
      b.insert(b.end(), unknown.begin(), unknown.end());
    }
    return b;
  };
  const Archive archives[] = {
      {"a header of an unknown type", make(0, false), AR_BAD_HEADER},
      {"a header of an unknown type, solid", make(0x8000, false), AR_BAD_HEADER},
      {"an entry cut short by the end of the file", make(0, true), AR_IO_ERROR},
      {"an entry cut short by the end of the file, solid", make(0x8000, true), AR_IO_ERROR},
  };
  for (const Archive& a : archives) {
    for (const Op& op : ops) {
      SCOPED_TRACE(testing::Message() << op.what << ", " << a.what);
      WriteArchive(a.bytes);
      EXPECT_EQ(op.run(archive, settings), a.status);
      EXPECT_EQ(ArchiveBytes(), a.bytes);
      ExpectNothingLeftOver();
    }
  }

  // A solid archive is unpacked before it is changed: data that does not
  // unpack stops the change.
  const Bytes solid =
      acetest::AceArchive({Stored("a.txt", "aaa"), damaged, Stored("c.txt", "ccc")}, 0x8000);
  for (const Op& op : {ops[0], ops[1]}) {
    SCOPED_TRACE(op.what);
    WriteArchive(solid);
    EXPECT_EQ(op.run(archive, settings), AR_ARCHIVE_ERROR);
    EXPECT_EQ(ArchiveBytes(), solid);
    ExpectNothingLeftOver();
  }
}

TEST_F(UpdateArchiveTest, AFileThatIsGoneIsLeftToTheSkipQuestion) {
  struct Case {
    const char* what;
    int32_t skipAnswer;  // 0: no skip procedure
    uint16_t status;
  };
  const Case cases[] = {
      {"answer 1 leaves it out", 1, AR_OK},
      {"answer 2 stops", 2, AR_ABORTED},
      {"without a procedure it fails", 0, AR_IO_ERROR},
  };
  WriteInput("n.txt", SampleText(3000, 4));
  for (uint16_t solid : {0, 0x8000}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << (solid ? "solid, " : "plain, ") << c.what);
      WriteArchive(acetest::AceArchive({Stored("a.txt", "old a")}, solid));
      const Bytes before = ArchiveBytes();
      Recorder rec;
      rec.skipAnswer = c.skipAnswer;
      ASSERT_EQ(Add(archive, {"gone.txt", "n.txt"}, settings, &rec), c.status);
      ExpectNothingLeftOver();
      if (c.skipAnswer != 0) {
        const auto asked = rec.Of(Recorder::Kind::Skip);
        ASSERT_EQ(asked.size(), 1u);
        EXPECT_EQ(Normal(asked[0].path), input / "gone.txt");
      }
      if (c.status != AR_OK) {
        EXPECT_EQ(ArchiveBytes(), before);
        continue;
      }
      EXPECT_EQ(Names(List(archive)), (Strings{"a.txt", "n.txt"}));
      ExpectExtracts({{"a.txt", "old a"}, {"n.txt", Content("n.txt")}});
    }
  }
}

TEST_F(UpdateArchiveTest, AHostThatStopsTheProgressGetsTheOldArchiveBack) {
  WriteInput("big.txt", SampleText(200000, 5));
  for (uint16_t solid : {0, 0x8000}) {
    SCOPED_TRACE(solid ? "solid" : "plain");
    WriteArchive(acetest::AceArchive({Stored("a.txt", SampleText(40000, 1))}, solid));
    const Bytes before = ArchiveBytes();
    Recorder rec;
    rec.progressAnswer = 0;
    EXPECT_EQ(Add(archive, {"big.txt"}, settings, &rec), AR_ABORTED);
    EXPECT_EQ(rec.Of(Recorder::Kind::Progress).size(), 1u) << "the first report stops it";
    EXPECT_EQ(ArchiveBytes(), before);
    ExpectNothingLeftOver();
  }
}

// The working directory of a solid change lies in the system temporary
// folder; a plain change never needs one.
TEST_F(UpdateArchiveTest, WithoutAWorkingDirectoryOnlyPlainArchivesChange) {
  WriteInput("n.txt", "new");
  ScopedTempFolder missing(tmp / "missing" / "deeper");
  const Bytes solid = acetest::AceArchive({Stored("a.txt", "a"), Stored("b.txt", "b")}, 0x8000);
  WriteArchive(solid);
  EXPECT_EQ(Add(archive, {"n.txt"}, settings), AR_TEMP_DIR_FAILED);
  EXPECT_EQ(ArchiveBytes(), solid);
  EXPECT_EQ(Delete(archive, {"a.txt"}, settings), AR_TEMP_DIR_FAILED);
  EXPECT_EQ(ArchiveBytes(), solid);
  ExpectNothingLeftOver();

  WriteArchive(acetest::AceArchive({Stored("a.txt", "a"), Stored("b.txt", "b")}));
  EXPECT_EQ(Add(archive, {"n.txt"}, settings), AR_OK);
  EXPECT_EQ(Names(List(archive)), (Strings{"a.txt", "b.txt", "n.txt"}));
}

// A host may run several changes on one open archive: each one leaves the
// state the next one starts from.
TEST_F(UpdateArchiveTest, SeveralChangesThroughOneOpenArchive) {
  WriteInput("a.txt", SampleText(5000, 1));
  WriteInput("b.txt", SampleText(4000, 2));
  ASSERT_EQ(Create(archive, {"a.txt", "b.txt"}, settings), AR_OK);
  WriteInput("x.txt", SampleText(3000, 3));

  InitArcFile(archive.c_str());
  ASSERT_EQ(GetArchiveStatus(), AR_OK);
  ApplySettings(settings);
  FileMaskList list;
  InitFileMaskList(&list);
  AppendFileMask("x.txt", &list);
  CompressFileMaskListArc(&list);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  DoneFileMaskList(&list);
  CreateDirectoryArc("made");
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  InitFileMaskList(&list);
  AppendFileMask("a.txt", &list);
  DeleteFileMaskListArc(&list);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  DoneFileMaskList(&list);
  DoneArcFile();

  EXPECT_EQ(Names(List(archive)), (Strings{"b.txt", "x.txt", "made\\"}));
  EXPECT_EQ(TestArchive(archive), AR_OK);
  ExpectExtracts({{"b.txt", Content("b.txt")}, {"x.txt", Content("x.txt")}});
}

// A null list or name is refused like every null argument of the interface:
// above all, no list at all must not read as "every entry".
TEST_F(UpdateArchiveTest, NullArgumentsAreRefusedAndChangeNothing) {
  for (uint16_t solid : {0, 0x8000}) {
    SCOPED_TRACE(solid ? "solid" : "plain");
    const Bytes before =
        acetest::AceArchive({Stored("a.txt", "aaa"), Stored("c.txt", "ccc")}, solid);
    WriteArchive(before);
    InitArcFile(archive.c_str());
    ASSERT_EQ(GetArchiveStatus(), AR_OK);
    ApplySettings(settings);
    CompressFileMaskListArc(nullptr);
    EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
    SetArchiveStatus(AR_OK);
    DeleteFileMaskListArc(nullptr);
    EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
    SetArchiveStatus(AR_OK);
    CreateDirectoryArc(nullptr);
    EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
    DoneArcFile();
    EXPECT_EQ(ArchiveBytes(), before);
    ExpectNothingLeftOver();
  }
  fs::remove(archive);
  CreateArcFile(archive.c_str());
  ApplySettings(settings);
  CompressFileMaskListArc(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  DoneArcFile();
  EXPECT_FALSE(fs::exists(archive));
}

}  // namespace
