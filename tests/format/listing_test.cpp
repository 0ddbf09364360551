// Opening and listing archives through the exports, on archives built byte by
// byte: prefixes, damaged headers, recovery records, names, comments and the
// summary.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "format/arc_info.h"
#include "format/format_fixture.h"
#include "platform/fault_injection.h"

namespace acetest {
namespace {

using Listing = FormatTest;
using Names = std::vector<std::string>;

Bytes Entry(const AceEntry& e) { return AceEntryBytes(e); }
// A.TXT (stored, 7 bytes) and SUB\B.DAT (3 packed bytes for 9).
Bytes TwoFiles() {
  return Join({AceMainHeader(), Entry({.name = "A.TXT", .data = Bytes(7, 'a')}),
               Entry({.name = "SUB\\B.DAT", .packed = Bytes(3, 'b'), .method = 1, .origSize = 9})});
}

// ---- recognising the archive ----

TEST_F(Listing, MainHeaderIsFoundBehindAStub) {
  for (size_t stub : {1000, 61000, 200000}) {
    SCOPED_TRACE(stub);
    const uint16_t status = Open(Join({Bytes(stub, 0x90), TwoFiles()}));
    if (stub == 200000) {
      EXPECT_EQ(status, AR_NOT_ACE);
      EXPECT_STREQ(ace::State().ArchivePath, "");
      continue;
    }
    ASSERT_EQ(status, AR_OK);
    EXPECT_EQ(ace::State().MainHeaderPos, static_cast<int32_t>(stub));
    EXPECT_EQ(ace::State().ArchiveModule, ace::State().PluginModule);
    const Listed l = ListArchive();
    EXPECT_EQ(l.status, AR_OK);
    EXPECT_EQ(l.names(), (Names{"A.TXT", "SUB\\B.DAT"}));
    EXPECT_EQ(l.entries[0].HeaderPos.Low, stub + 53);
  }
}

TEST_F(Listing, UnrecognisedFiles) {
  Bytes badCrc = TwoFiles();
  badCrc[0] ^= 1;
  for (const Bytes& file : {badCrc, Bytes(), RandomBytes(5000, 3)}) {
    EXPECT_EQ(Open(file), AR_NOT_ACE);
  }
  InitArcFile((dir_ / "missing.ace").c_str());
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
  EXPECT_EQ(ace::State().IsNewArchive, 1);
  InitArcFile(dir_.str().c_str());
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
}

TEST_F(Listing, FailingFileAccessLeavesItsCode) {
  using platform::faults::Arm;
  using platform::faults::Kind;
  const struct {
    const char* what;
    Kind kind;
    int64_t nth;
    uint16_t status;
    bool recorded;
  } cases[] = {
      {"open", Kind::Open, 1, AR_IO_ERROR, false},
      {"main-header read", Kind::Read, 1, AR_IO_ERROR, false},
      {"first-header read", Kind::Read, 2, AR_IO_ERROR, true},
      {"first-header seek", Kind::Seek, 2, AR_IO_ERROR, true},
  };
  WriteFileBytes(dir_ / "f.ace", TwoFiles());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    platform::faults::Reset();
    Arm(c.kind, c.nth);
    InitArcFile((dir_ / "f.ace").c_str());
    platform::faults::Reset();
    EXPECT_EQ(GetArchiveStatus(), c.status);
    EXPECT_EQ(ace::State().ArchivePath[0] != '\0', c.recorded);
    EXPECT_EQ(ace::State().ArchiveModule, nullptr);
    DoneArcFile();
  }
  // A walk that cannot open the archive.
  ASSERT_EQ(Open(TwoFiles()), AR_OK);
  Arm(Kind::Open, 1);
  const Listed l = ListArchive();
  platform::faults::Reset();
  EXPECT_EQ(l.status, AR_IO_ERROR);
  EXPECT_TRUE(l.entries.empty());
}

TEST_F(Listing, WalkRules) {
  // A locked archive lists normally.
  ASSERT_EQ(Open(AceArchive({{.name = "A"}, {.name = "B"}}, 0x4000)), AR_OK);
  EXPECT_EQ(ace::State().IsLocked, -1);
  EXPECT_EQ(ListArchive().names(), (Names{"A", "B"}));

  // Only a main header: empty.
  ASSERT_EQ(Open(AceMainHeader()), AR_OK);
  EXPECT_EQ(ace::State().ArchiveModule, nullptr);
  EXPECT_EQ(ace::State().FirstHeaderPos, 53);
  EXPECT_EQ(ListArchive().status, AR_OK);
  EXPECT_TRUE(ListArchive().entries.empty());
  EXPECT_EQ(Info().FileCount, 0u);
  EXPECT_EQ(Info().Ratio, 0u);

  // One entry of 38 bytes, too short for the first-header search, still lists.
  const Bytes one = AceArchive({{.name = "A"}});
  ASSERT_EQ(one.size(), 53u + 38u);
  ASSERT_EQ(Open(one), AR_OK);
  EXPECT_EQ(ListArchive().status, AR_OK);
  EXPECT_EQ(ListArchive().names(), Names{"A"});

  // Walks are repeatable, with other masks too.
  ASSERT_EQ(Open(TwoFiles()), AR_OK);
  EXPECT_EQ(ListArchive().entries.size(), 2u);
  EXPECT_EQ(ListArchive({"*.DAT"}).names(), Names{"SUB\\B.DAT"});

  // A status left from before ends the walk at once.
  SetArchiveStatus(AR_IO_ERROR);
  const Listed l = ListArchive();
  EXPECT_EQ(l.status, AR_OK);
  EXPECT_TRUE(l.entries.empty());
}

// ---- entry fields and names ----

TEST_F(Listing, FileEntryFields) {
  const Bytes archive = AceArchive({{.name = "dir\\File.Txt",
                                     .packed = Bytes(12, 'z'),
                                     .method = 1,
                                     .flags = 0x4001,
                                     .attributes = 0x21,
                                     .time = 0x21210000,
                                     .dictCode = 0x3A,
                                     .origSize = 100,
                                     .crc = 0x12345678}});
  ASSERT_EQ(Open(archive), AR_OK);
  const Listed l = ListArchive();
  ASSERT_EQ(l.entries.size(), 1u);
  const ArcFileEntry& e = l.entries[0];
  EXPECT_STREQ(e.Name, "dir\\File.Txt");
  EXPECT_EQ(e.NameLength, 12u);
  EXPECT_EQ(l.packed(0), 12u);
  EXPECT_EQ(e.UnpackedSize.Low, 100u);
  EXPECT_EQ(e.UnpackedSize.High, 0u);
  EXPECT_EQ(e.DosTime, 0x21210000u);
  EXPECT_EQ(e.Attributes, 0x21u);
  EXPECT_EQ(e.Crc32, 0x12345678u);
  EXPECT_EQ(e.Method, 1u);
  EXPECT_EQ(e.DictionaryCode, 10u);
  EXPECT_EQ(e.IsEncrypted, 1u);
  EXPECT_EQ(e.IsFile, 1u);
  EXPECT_EQ(e.HeaderPos.Low, 53u);
  EXPECT_EQ(e.HeaderFlags, 0x4001u);
  EXPECT_EQ(e.HeaderSize, 33u + 12u);
  EXPECT_EQ(e.HeaderCrc, uint32_t{archive[53]} | uint32_t{archive[54]} << 8);
  EXPECT_EQ(e.HeaderType, 1u);
  EXPECT_EQ(e.FormatTag, 19u);
  EXPECT_EQ(e.HostOS, 3u);  // Windows host 2 in the host's numbering
  EXPECT_EQ(e.Zero304, 0u);
  EXPECT_EQ(e.Zero364, 0u);
  EXPECT_EQ(e.CommentLength, 0);
  EXPECT_EQ(Info().Encrypted, 1u);
}

TEST_F(Listing, NamesAsListed) {
  // Directories end with a backslash; names come from code page 437; names are
  // cut to the field, whole characters only (box drawing takes three bytes).
  ASSERT_EQ(Open(AceArchive({{.name = "A.TXT"},
                             {.name = "DIR", .attributes = 0x30},
                             {.name = "OLD\\", .attributes = 0x10},
                             {.name = "\x84rger.txt"},
                             {.name = "M\x81SLI\\\x9A"
                                      "BER",
                              .attributes = 0x10},
                             {.name = std::string(300, 'n')},
                             {.name = std::string(200, '\xC4'), .attributes = 0x10},
                             {.name = "LAST"}})),
            AR_OK);
  const Listed l = ListArchive();
  ASSERT_EQ(l.entries.size(), 8u);
  EXPECT_EQ(l.names()[1], "DIR\\");
  EXPECT_EQ(l.entries[1].NameLength, 3u);
  EXPECT_EQ(l.entries[1].HostOS, 0u);  // directories are not counted
  EXPECT_EQ(l.names()[2], "OLD\\");
  EXPECT_EQ(l.entries[2].NameLength, 4u);
  EXPECT_EQ(l.names()[3], acetest::Ansi("\xC3\xA4rger.txt"));
  EXPECT_EQ(l.entries[3].NameLength, 9u);
  EXPECT_EQ(l.names()[4], acetest::Ansi("M\xC3\xBCSLI\\\xC3\x9C"
                                        "BER\\"));
  EXPECT_EQ(l.names()[5], std::string(271, 'n'));
  EXPECT_EQ(l.entries[5].NameLength, 300u);
  const std::string wide = l.names()[6];
  const size_t width = acetest::Ansi("\xE2\x94\x80").size();  // CP437 0xC4 in the ANSI code page
  EXPECT_EQ((wide.size() - 1) % width, 0u);                   // whole characters, then "\"
  EXPECT_LE(wide.size(), 271u);
  EXPECT_EQ(wide.back(), '\\');
  EXPECT_EQ(l.names()[7], "LAST");
  EXPECT_EQ(Info().FileCount, 4u);
  // The masks see the converted name with its backslash, upper-cased.
  EXPECT_EQ(ListArchive({"DIR\\"}).names(), Names{"DIR\\"});
  EXPECT_TRUE(ListArchive({"DIR"}).entries.empty());
  EXPECT_EQ(ListArchive({acetest::Ansi("\xC3\x84RGER.TXT")}).entries.size(), 1u);
}

// ---- recovery records and damaged headers ----

TEST_F(Listing, RecoveryRecordsAreListedUnfiltered) {
  ASSERT_EQ(Open(Join({AceMainHeader(), Entry({.name = "A.TXT", .data = Bytes(4, 'a')}),
                       AceRecovery(2, 10, Bytes(10, 0xEE)),
                       Entry({.name = "B.BIN", .data = Bytes(2, 'b')}),
                       AceRecovery(5, 3, Bytes(3, 0xEE)), Entry({.name = "C.TXT"})})),
            AR_OK);
  const Listed l = ListArchive({"*.TXT"});
  EXPECT_EQ(l.status, AR_OK);
  EXPECT_EQ(l.names(), (Names{"A.TXT", "", "", "C.TXT"}));
  for (auto [index, type, added] : {std::tuple{1, 2u, 10u}, std::tuple{2, 5u, 3u}}) {
    const ArcFileEntry& e = l.entries[static_cast<size_t>(index)];
    EXPECT_EQ(e.IsFile, 0u);
    EXPECT_EQ(e.HeaderType, type);
    EXPECT_EQ(l.packed(static_cast<size_t>(index)), added);
    EXPECT_EQ(e.FormatTag, 0u);
    EXPECT_EQ(e.HeaderSize, 7u);
  }
  EXPECT_EQ(Info().FileCount, 2u);  // the summary of this listing: two files matched
}

TEST_F(Listing, BadHeadersStopTheWalkAndKeepTheEntriesBefore) {
  const struct {
    const char* what;
    Bytes header;
  } cases[] = {
      {"unknown header type", AceHeader({3, 0, 0, 1, 2, 3, 4})},
      {"HEAD_SIZE 0", Entry({.name = "BAD", .headSize = 0})},
      {"below the fixed fields", Entry({.name = "BAD", .headSize = 20})},
      {"name beyond the header", Entry({.name = "BAD", .headSize = 32})},
      {"recovery record without room for ADDSIZE", AceHeader({2, 0, 0, 9, 0, 0, 0}, 3)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_EQ(Open(Join({TwoFiles(), c.header, Entry({.name = "AFTER"})})), AR_OK);
    const Listed l = ListArchive();
    EXPECT_EQ(l.status, AR_BAD_HEADER);
    EXPECT_EQ(l.entries.size(), 2u);
  }
}

TEST_F(Listing, SizesPointingPastTheEndEndTheWalk) {
  for (uint32_t packSize : {1000u, 0xFFFFFFFFu, 0x80000000u}) {
    SCOPED_TRACE(packSize);
    ASSERT_EQ(Open(Join({TwoFiles(), Entry({.name = "HUGE", .packSize = packSize}),
                         Entry({.name = "HIDDEN"})})),
              AR_OK);
    const Listed l = ListArchive();
    EXPECT_EQ(l.status, AR_OK);
    ASSERT_EQ(l.entries.size(), 3u);
    EXPECT_EQ(l.packed(2), packSize);
  }
  ASSERT_EQ(Open(Join({TwoFiles(), AceRecovery(5, 0xFFFFFFF0), Entry({.name = "HIDDEN"})})), AR_OK);
  EXPECT_EQ(ListArchive().entries.size(), 3u);
}

TEST_F(Listing, TruncatedLastEntry) {
  const Bytes whole = TwoFiles();
  const size_t second = 53 + 42 + 7;  // start of the second header
  const struct {
    const char* what;
    size_t keep;
    size_t entries;
  } cases[] = {
      {"inside the data", whole.size() - 1, 2},       {"inside the name", second + 38, 2},
      {"inside the fixed fields", second + 20, 2},    {"inside the common part", second + 4, 1},
      {"after HEAD_CRC's first byte", second + 1, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_EQ(Open(Bytes(whole.begin(), whole.begin() + static_cast<long>(c.keep))), AR_OK);
    const Listed l = ListArchive();
    EXPECT_EQ(l.status, AR_OK);
    EXPECT_EQ(l.entries.size(), c.entries);
  }
}

// ---- comments ----

TEST_F(Listing, MainCommentIsDecodedForVersion10Only) {
  const std::string text = "Archive comment, decoded once at opening.";
  for (auto [version, comment] : {std::pair{10, true}, std::pair{20, true}, std::pair{10, false}}) {
    SCOPED_TRACE(testing::Message() << version << (comment ? " with" : " without") << " comment");
    const AceMain main{.extractVersion = static_cast<uint8_t>(version),
                       .comment = comment ? Comment(text) : Bytes{}};
    ASSERT_EQ(Open(AceArchive({{.name = "A"}}, main)), AR_OK);
    MainCommentInfo info;
    std::memset(&info, 0x77, sizeof info);
    GetMainCommentArc(&info);
    if (version == 10 && comment) {
      ASSERT_NE(info.Comment, nullptr);
      EXPECT_EQ(std::string(info.Comment, static_cast<size_t>(info.Length)), text);
      EXPECT_EQ(info.HasComment, 1);
      for (uint32_t r : info.Reserved12) EXPECT_EQ(r, 0u);
      std::free(info.Comment);
      EXPECT_EQ(Info().CommentFlags, 1u);
    } else {
      EXPECT_EQ(info.Comment, nullptr);
      EXPECT_EQ(info.Length, 0);
      if (comment) EXPECT_EQ(info.HasComment, 0x77777777);  // untouched
      EXPECT_EQ(Info().CommentFlags, 0u);
    }
  }
}

TEST_F(Listing, CommentsAreConvertedUnlessTheHostIsWindows) {
  const std::string oem =
      "Gr\x81\xE1"
      "e";  // "Grüße" in code page 437
  const std::string utf8 = acetest::Ansi(
      "Gr\xC3\xBC\xC3\x9F"
      "e");
  using Case = std::pair<int, std::string>;
  for (const auto& [host, want] : {Case{0, utf8}, Case{2, oem}, Case{5, oem}, Case{3, utf8}}) {
    SCOPED_TRACE(host);
    const AceMain main{.host = static_cast<uint8_t>(host), .comment = Comment(oem)};
    ASSERT_EQ(Open(AceArchive({{.name = "A", .comment = Comment(oem)}, {.name = "B"}}, main)),
              AR_OK);
    MainCommentInfo info{};
    GetMainCommentArc(&info);
    ASSERT_NE(info.Comment, nullptr);
    EXPECT_EQ(std::string(info.Comment, static_cast<size_t>(info.Length)), want);
    std::free(info.Comment);
    ace::State().ReadFileComments = 1;
    const Listed l = ListArchive();
    ASSERT_EQ(l.entries.size(), 2u);
    EXPECT_EQ(l.comments[0], want);
    EXPECT_EQ(l.entries[0].CommentLength, static_cast<int32_t>(want.size()));
    EXPECT_EQ(l.entries[1].CommentLength, 0);
  }
}

TEST_F(Listing, FileCommentsAreReadOnlyWhenAsked) {
  const Bytes archive = AceArchive({{.name = "A", .comment = Comment("first file's note")},
                                    {.name = "B", .data = Bytes(5, 'b')},
                                    {.name = "C", .comment = Comment(std::string(3000, 'c'))}});
  ASSERT_EQ(Open(archive), AR_OK);
  Listed l = ListArchive();
  ASSERT_EQ(l.entries.size(), 3u);
  for (const ArcFileEntry& e : l.entries) EXPECT_EQ(e.CommentLength, 0);

  // GetExtraInfoArc before any listing turns file comments on.
  ASSERT_EQ(Open(archive), AR_OK);
  EXPECT_EQ(Info().CommentFlags, 2u);
  l = ListArchive();
  EXPECT_EQ(l.comments[0], "first file's note");
  EXPECT_EQ(l.comments[2], std::string(3000, 'c'));
  EXPECT_EQ(ListArchive({"B"}).entries.size(), 1u);  // comments of dropped entries are freed
}

// ---- the summary ----

TEST(ArcInfoRules, RatioHostSystemsAndDictionaries) {
  const struct {
    uint64_t packed, unpacked;
    uint32_t ratio;
  } cases[] = {
      {41943040, 83886080, 50},
      {1, 3, 33},
      {5, 0, 0},
      {20971519, 20971520, 99},
      {uint64_t{3} << 40, uint64_t{4} << 40, 75},
      {100, 50, 200},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ace::CompressionRatio(c.packed, c.unpacked), c.ratio) << c.packed;
  }
  const uint32_t hosts[] = {1, 2, 3, 5, 6, 4, 1, 6, 8, 9, 10, 11, 1, 1};
  for (int32_t h = 0; h < 14; ++h) EXPECT_EQ(ace::MapHostSystem(h), hosts[h]) << h;
  EXPECT_EQ(ace::MapHostSystem(255), 1u);
  const uint32_t dictionaries[] = {64, 64, 64, 64, 64, 64, 64, 128, 256, 512, 1024, 64, 64};
  for (uint32_t code = 0; code < 13; ++code) {
    EXPECT_EQ(ace::SummaryDictionaryKB(code), dictionaries[code]) << code;
  }
}

TEST_F(Listing, SummaryOfAnArchive) {
  const AceEntry big{.name = "BIG", .dictCode = 8, .origSize = 83886080, .packSize = 41943040};
  ASSERT_EQ(Open(AceArchive({big}, {.flags = 0x8000, .extractVersion = 20, .host = 3})), AR_OK);
  EXPECT_EQ(ace::State().IsSolid, 1);
  EXPECT_EQ(ace::State().SolidDictionaryKB, 0);  // the entry is too short for the search
  const ArcInfo info = Info();
  EXPECT_EQ(info.FormatCode, 12u);
  EXPECT_EQ(info.MajorVersion, 2u);
  EXPECT_EQ(info.MinorVersion, 0u);
  EXPECT_EQ(info.LargestDictionary, 256u);
  EXPECT_EQ(info.Solid, 1u);
  EXPECT_EQ(info.HostSystem, 5u);
  EXPECT_EQ(info.FileCount, 1u);
  EXPECT_EQ(info.PackedTotal.Low, 41943040u);
  EXPECT_EQ(info.UnpackedTotal.Low, 83886080u);
  EXPECT_EQ(info.Ratio, 50u);
  EXPECT_EQ(info.Zero20, 0u);
  for (uint32_t r : info.Reserved60) ASSERT_EQ(r, 0u);
  // Once listed, the summary of the last listing is handed out as it is.
  ListArchive({"NOTHING"});
  EXPECT_EQ(Info().FileCount, 0u);
}

TEST_F(Listing, NullRecordsAreRefused) {
  ASSERT_EQ(Open(TwoFiles()), AR_OK);
  for (void (*call)() : {+[] { BuildArcFileList(nullptr, nullptr); },
                         +[] { GetExtraInfoArc(nullptr); }, +[] { GetMainCommentArc(nullptr); }}) {
    SetArchiveStatus(0);
    call();
    EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  }
}

}  // namespace
}  // namespace acetest
