// Changing archives: plain ones keep what they keep byte for byte, solid
// ones are rebuilt as one run; archives that must not or cannot change stay
// as they were.
#include <chrono>
#include <ctime>

#include "archive_folder.h"
#include "platform/fault_injection.h"
#include "support/ace_builder.h"

namespace acetest {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;
using Change = ArchiveFolder;

uint32_t DosStampOfNow() {
  const time_t now = time(nullptr);
  tm t{};
  localtime_r(&now, &t);
  return static_cast<uint32_t>((t.tm_year - 80) << 25 | (t.tm_mon + 1) << 21 | t.tm_mday << 16 |
                               t.tm_hour << 11 | t.tm_min << 5 | t.tm_sec / 2);
}

AceEntry Stored(const std::string& name, const std::string& text, uint8_t dictCode = 6) {
  return AceEntry{.name = name, .data = AsBytes(text), .dictCode = dictCode};
}
Bytes Comment() { return VectorBytes("comments/comment-short.bin"); }
Bytes Prefix(const Bytes& from, size_t size) { return Bytes(from.begin(), from.begin() + size); }

TEST_F(Change, APlainAddCopiesWhatItKeepsAndAppendsTheNewFiles) {
  const Bytes old = Join({Bytes(64, 0x4D),
                          AceArchive({Stored("a.txt", "first"), Stored("docs\\b.txt", "second")},
                                     AceMain{.comment = Comment()}),
                          AceRecovery(2, 5, Bytes(5, 0x33))});
  WriteFileBytes(archive, old);
  WriteInput("new.txt", Text(5000, 1));
  settings.dictionaryKB = 1024;  // a plain archive gets 64 KB whatever the host says
  ASSERT_EQ(Add(archive, {"new.txt"}, settings), AR_OK);
  EXPECT_EQ(Prefix(ArchiveBytes(), old.size()), old);
  const Listing l = List(archive);
  EXPECT_EQ(l.names(), (Strings{"a.txt", "docs\\b.txt", "", "new.txt"}));
  EXPECT_EQ(l.entries.back().DictionaryCode, 6u);
  EXPECT_EQ(Extracted(), (Tree{{"a.txt", "first"},
                               {"docs/", ""},
                               {"docs/b.txt", "second"},
                               {"new.txt", Text(5000, 1)}}));
}

// 0 replaces the entry, 1 keeps it, 2 stops; without a procedure the file
// replaces it. Only a host that answered 0 gets the file on disk writable.
TEST_F(Change, TheReplaceAnswerDecidesBetweenEntryAndFile) {
  const struct {
    int solid;
    std::vector<int32_t> answers;
    uint16_t status;
    bool replaced, writable;
  } cases[] = {{0, {0}, AR_OK, true, true},        {0, {1}, AR_OK, false, false},
               {0, {2}, AR_ABORTED, false, false}, {0, {}, AR_OK, true, false},
               {1, {0}, AR_OK, true, true},        {1, {1}, AR_OK, false, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << (c.solid ? "solid, " : "") << "answers " << c.answers.size());
    WriteInput("a.txt", "one");
    WriteInput("b.txt", "old contents");
    settings.solid = c.solid;
    ASSERT_EQ(Create(archive, {"a.txt", "b.txt"}, settings), AR_OK);
    const Bytes old = ArchiveBytes();
    const int64_t created =
        std::chrono::duration_cast<std::chrono::seconds>(
            std::chrono::file_clock::to_sys(fs::last_write_time(input / "b.txt"))
                .time_since_epoch())
            .count();
    WriteInput("b.txt", "the new contents");
    fs::permissions(input / "b.txt", fs::perms::owner_read);
    Host host;
    host.replaceAnswers = c.answers;
    EXPECT_EQ(Add(archive, {"b.txt"}, settings, &host), c.status);
    if (c.status != AR_OK) EXPECT_EQ(ArchiveBytes(), old);
    EXPECT_EQ(Extracted(), (Tree{{"a.txt", "one"},
                                 {"b.txt", c.replaced ? "the new contents" : "old contents"}}));
    const fs::perms perms = fs::status(input / "b.txt").permissions();
    EXPECT_EQ((perms & fs::perms::owner_write) != fs::perms::none, c.writable);
    fs::permissions(input / "b.txt", fs::perms::owner_all);
    if (c.answers.empty()) continue;
    ASSERT_EQ(host.Of("replace"), Strings{"b.txt|b.txt"});
    EXPECT_EQ(host.existing[0].nFileSizeLow, 12u);     // the entry
    EXPECT_EQ(host.replacement[0].nFileSizeLow, 16u);  // the file on disk
    // The entry's time: the file's, in two-second steps, as a FILETIME.
    const uint64_t ticks = (static_cast<uint64_t>(created & ~1) + 11644473600u) * 10000000u;
    EXPECT_EQ(host.existing[0].ftLastWriteTime.dwLowDateTime, static_cast<uint32_t>(ticks));
  }
}

// Every old file comes back, the new ones join them, all in extension order
// as one run with the archive's own dictionary; the stub in front stays, a
// recovery record behind cannot.
TEST_F(Change, ASolidArchiveIsRebuiltAsOneRunInExtensionOrder) {
  WriteInput("docs\\a.txt", Text(20000, 1));
  WriteInput("b.c", Text(8000, 2));
  WriteFileBytes(input / "tool.exe", RandomBytes(3000, 3));
  WriteInput("empty.txt", "");
  fs::create_directories(input / "docs/sub");
  settings.solid = 1;
  settings.dictionaryKB = 128;
  ASSERT_EQ(Create(archive, {"docs\\a.txt", "b.c", "tool.exe", "empty.txt", "docs\\sub"}, settings),
            AR_OK);
  const Bytes leading = Join({Bytes(1500, 0x4D), Prefix(ArchiveBytes(), 53)});
  WriteFileBytes(archive,
                 Join({Bytes(1500, 0x4D), ArchiveBytes(), AceRecovery(2, 9, Bytes(9, 3))}));
  WriteInput("new.h", Text(6000, 5));
  WriteInput("readme", Text(3000, 7));
  settings.solid = 0;
  settings.dictionaryKB = 1024;
  Host host;
  ASSERT_EQ(Add(archive, {"new.h", "readme"}, settings, &host), AR_OK);
  EXPECT_EQ(Prefix(ArchiveBytes(), leading.size()), leading);
  const Listing l = List(archive);
  const Strings order = {"tool.exe", "docs\\a.txt", "empty.txt", "b.c", "new.h", "readme"};
  ASSERT_EQ(l.names(), order);
  for (const ArcFileEntry& e : l.entries) {
    EXPECT_EQ(e.DictionaryCode, 7u) << e.Name;
    EXPECT_EQ(e.HeaderFlags, e.Name == order[0] || e.Name == order[1] ? 0x0001u : 0x8001u)
        << e.Name;
  }
  EXPECT_EQ(host.Of("signal")[1], "31000 1") << "the total of the old files, then the rebuild";
  const Strings shown = host.Of("file");
  ASSERT_GE(shown.size(), order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    const std::string base = order[i].substr(order[i].rfind('\\') + 1);
    EXPECT_EQ(shown[shown.size() - order.size() + i], (tmp / base).string() + "|\\" + order[i]);
  }
  EXPECT_EQ(Extracted(), (Tree{{"b.c", Text(8000, 2)},
                               {"docs/", ""},
                               {"docs/a.txt", Text(20000, 1)},
                               {"empty.txt", ""},
                               {"new.h", Text(6000, 5)},
                               {"readme", Text(3000, 7)},
                               {"tool.exe", ReadFileText(input / "tool.exe")}}));
}

// RelativePath names the folder inside the archive that the host's files
// belong to: only the entry under it is their namesake.
TEST_F(Change, RelativePathPicksTheNamesake) {
  for (uint16_t solid : {0, 0x8000}) {
    WriteFileBytes(
        archive, AceArchive({Stored("sub\\a.txt", "old sub"), Stored("a.txt", "old top")}, solid));
    WriteInput("a.txt", "new");
    settings.relativePath = "sub";
    ASSERT_EQ(Add(archive, {"a.txt"}, settings), AR_OK) << solid;
    EXPECT_EQ(Extracted(), (Tree{{"a.txt", "old top"}, {"sub/", ""}, {"sub/a.txt", "new"}}))
        << solid;
  }
}

TEST_F(Change, ArchivesThatMustOrCannotChangeStayAsTheyWere) {
  WriteInput("n.txt", "new");
  const Bytes unknown = AceHeader({7, 0, 0, 1, 2, 3, 4});  // no such header type
  AceEntry damaged = Stored("b.txt", "bbb");
  damaged.crc = 1;
  const Bytes plain = AceArchive({Stored("a.txt", "aaa"), Stored("c.txt", Text(3000, 3))});
  const Bytes solid = AceArchive({Stored("a.txt", "aaa"), Stored("c.txt", "ccc")}, 0x8000);
  auto add = [](const std::string& a, const Settings& s) { return Add(a, {"n.txt"}, s); };
  auto del = [](const std::string& a, const Settings& s) { return Delete(a, {"a.txt"}, s); };
  auto mkdir = [](const std::string& a, const Settings& s) { return MakeDir(a, "made", s); };
  auto nothing = [](void (*call)()) {  // the export called with a null argument
    return [call](const std::string& a, const Settings&) {
      InitArcFile(a.c_str());
      call();
      return GetArchiveStatus();
    };
  };
  auto stopAdd = [](const std::string& a, const Settings& s) {
    Host stop;
    stop.stopAtProgress = 0;
    return Add(a, {"n.txt"}, s, &stop);
  };
  auto stopDelete = [](const std::string& a, const Settings& s) {
    Host stop;
    stop.stopOnLeftOut = true;
    return Delete(a, {"a.txt"}, s, &stop);
  };
  const struct {
    const char* what;
    Bytes archive;
    std::function<uint16_t(const std::string&, const Settings&)> run;
    uint16_t status;
  } cases[] = {
      {"a locked archive", AceArchive({Stored("a.txt", "aaa")}, 0x4000), add, AR_LOCKED},
      {"a locked archive", AceArchive({Stored("a.txt", "aaa")}, 0x4000), del, AR_LOCKED},
      {"a header of an unknown type", Join({plain, unknown}), add, AR_BAD_HEADER},
      {"a header of an unknown type", Join({plain, unknown}), del, AR_BAD_HEADER},
      {"a header of an unknown type", Join({plain, unknown}), mkdir, AR_BAD_HEADER},
      {"a solid one", Join({solid, unknown}), add, AR_BAD_HEADER},
      {"an entry cut short", Prefix(plain, plain.size() - 1000), add, AR_IO_ERROR},
      // The solid one is unpacked first, where the cut shows as damage.
      {"a solid one", Prefix(solid, solid.size() - 1), del, AR_ARCHIVE_ERROR},
      {"a solid entry that does not unpack", AceArchive({damaged}, 0x8000), add, AR_ARCHIVE_ERROR},
      {"a solid archive of another version",
       AceArchive({Stored("a.txt", "a")}, {.flags = 0x8000, .extractVersion = 20}), del,
       AR_UNSUPPORTED},
      {"a refused report", plain, stopAdd, AR_ABORTED},
      {"a refused report", solid, stopAdd, AR_ABORTED},
      {"a refused report", plain, stopDelete, AR_ABORTED},
      {"a refused report", solid, stopDelete, AR_ABORTED},
      {"no list", plain, nothing([] { CompressFileMaskListArc(nullptr); }), AR_IO_ERROR},
      {"no list", plain, nothing([] { DeleteFileMaskListArc(nullptr); }), AR_IO_ERROR},
      {"no name", plain, nothing([] { CreateDirectoryArc(nullptr); }), AR_IO_ERROR},
      {"no working directory for a solid one", solid,
       [&](auto& a, auto& s) {
         ScopedTempFolder missing(tmp / "missing" / "deeper");
         return Add(a, {"n.txt"}, s);
       },
       AR_TEMP_DIR_FAILED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    WriteFileBytes(archive, c.archive);
    EXPECT_EQ(c.run(archive, settings), c.status);
    DoneArcFile();
    EXPECT_EQ(ArchiveBytes(), c.archive);
  }
}

// A plain delete copies everything else byte for byte. Each entry's name is
// tested with RelativePath in front: with "SUB" set, the mask "SUB\X"
// selects the entry "SUB\X", whose name then matches the entry "X".
TEST_F(Change, DeleteTakesOutWhatTheMasksSelect) {
  const AceEntry a = Stored("a.txt", "aaa"), b = Stored("b.txt", "bbb"),
                 c = Stored("DIR\\c.TXT", "ccc");
  const AceEntry x = Stored("X", "x"), subX = Stored("SUB\\X", "sub x");
  const Bytes stub(64, 0x4D), record = AceRecovery(2, 5, Bytes(5, 7));
  const Bytes main = AceMainHeader(AceMain{.comment = Comment()});
  const struct {
    Strings masks;
    std::string relative;
    std::vector<AceEntry> before, after;
  } cases[] = {
      {{"B.TXT"}, "", {a, b, c, b}, {a, c}},
      {{"*.txt"}, "", {a, x, c}, {x}},
      {{"SUB\\X"}, "SUB", {x, subX, a}, {subX, a}},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.masks[0]);
    auto make = [&](const std::vector<AceEntry>& entries) {
      Bytes out = Join({stub, main});
      for (const AceEntry& e : entries) Append(out, AceEntryBytes(e));
      return Join({out, record});
    };
    WriteFileBytes(archive, make(k.before));
    settings.relativePath = k.relative;
    Host host;
    ASSERT_EQ(Delete(archive, k.masks, settings, &host), AR_OK);
    EXPECT_EQ(FirstDifference(make(k.after), ArchiveBytes()), "");
    EXPECT_EQ(host.Of("progress").size(), k.before.size() - k.after.size());
  }
}

// A solid delete unpacks the archive and compresses the rest again with the
// dictionary of its first file header.
TEST_F(Change, ASolidDeleteCompressesTheRestAgain) {
  WriteFileBytes(archive,
                 AceArchive({Stored("a.txt", Text(9000, 1), 9), Stored("b.c", "bbb", 9),
                             Stored("tool.exe", "binary", 9), Stored("d.txt", Text(5000, 2), 9)},
                            0x8000));
  ASSERT_EQ(Delete(archive, {"b.c"}, settings), AR_OK);
  const Listing l = List(archive);
  EXPECT_EQ(l.names(), (Strings{"tool.exe", "a.txt", "d.txt"}));
  for (const ArcFileEntry& e : l.entries) EXPECT_EQ(e.DictionaryCode, 9u) << e.Name;
  EXPECT_EQ(l.entries[2].HeaderFlags, 0x8001u);
  EXPECT_EQ(Extracted(),
            (Tree{{"a.txt", Text(9000, 1)}, {"d.txt", Text(5000, 2)}, {"tool.exe", "binary"}}));
}

// A directory entry goes behind everything the archive holds, also into a
// locked solid one; forbidden characters, device names and names that exist
// already as directories are refused.
TEST_F(Change, DirectoryEntriesAreAddedOnceWithValidNames) {
  const Bytes old =
      Join({Bytes(100, 0x4D),
            AceArchive({Stored("FILE", "f"), {.name = "DIR", .attributes = 0x10}}, 0xC000),
            AceRecovery(5, 3, Bytes(3, 1))});
  WriteFileBytes(archive, old);
  for (const char* name : {"a?b", "a*b", "a<b", "a>b", "a:b", "a\"b", "a/b", "a|b", "AUX",
                           "con.txt", "sub\\Prn", "\\", ""}) {
    EXPECT_EQ(MakeDir(archive, name, settings), AR_BAD_DIR_NAME) << name;
  }
  for (const char* name : {"dir", "DIR\\"})
    EXPECT_EQ(MakeDir(archive, name, settings), AR_DIR_EXISTS) << name;
  EXPECT_EQ(ArchiveBytes(), old);
  const uint32_t before = DosStampOfNow();
  ASSERT_EQ(MakeDir(archive, "file", settings), AR_OK) << "beside a file of that name";
  ASSERT_EQ(MakeDir(archive, "sub\\new\\", settings), AR_OK);
  EXPECT_EQ(Prefix(ArchiveBytes(), old.size()), old);
  const Listing l = List(archive);
  ASSERT_EQ(l.names(), (Strings{"FILE", "DIR\\", "", "file\\", "sub\\new\\"}));
  const ArcFileEntry& e = l.entries[4];
  EXPECT_EQ(e.NameLength, 7u);
  EXPECT_EQ(e.Attributes, 0x10u);
  EXPECT_EQ(e.Method, 0u);
  EXPECT_EQ(e.Crc32, 0xFFFFFFFFu);
  EXPECT_EQ(e.HeaderFlags, 0x0001u);
  EXPECT_GE(e.DosTime, before);
  EXPECT_LE(e.DosTime, DosStampOfNow());
}

std::string g_intruder;
bool g_intruded = false;
// Once, while the old archive stands aside under a backup name.
void Intrude() {
  if (g_intruded || fs::exists(g_intruder)) return;
  g_intruded = true;
  WriteFileText(g_intruder, "intruder");
}

// Another program may take the archive's name while the old archive stands
// aside: the new archive still takes its place.
TEST_F(Change, TheNewArchiveTakesItsNameWhateverTookItMeanwhile) {
  WriteFileBytes(archive, AceArchive({Stored("kept.txt", "kept")}));
  g_intruder = archive;
  Host host;  // the call after the first rename, whichever it is, meets the intruder
  host.beforeExport = [] {
    platform::faults::Before(platform::faults::Kind::Delete, 1, Intrude);
    platform::faults::Before(platform::faults::Kind::Rename, 2, Intrude);
  };
  ASSERT_EQ(MakeDir(archive, "made", settings, &host), AR_OK);
  platform::faults::Reset();
  EXPECT_TRUE(g_intruded);
  EXPECT_EQ(List(archive).names(), (Strings{"kept.txt", "made\\"}));
}

}  // namespace
}  // namespace acetest
