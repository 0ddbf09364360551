// Opening and listing archives through the exports, on archives built byte by
// byte: prefixes, damaged headers, recovery records, names, comments and the
// summary.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "format/arc_info.h"
#include "format/archive_builder.h"
#include "format/comment_encoder.h"
#include "platform/fault_injection.h"
#include "plugin/state.h"
#include "support/test_support.h"

namespace {

using acetest::ArchiveBuilder;
using acetest::Bytes;
using acetest::FileSpec;
using acetest::MainSpec;

struct Entry {
  ArcFileEntry raw;
  std::string name;
  std::string comment;
  uint64_t packed() const { return uint64_t{raw.PackedSize.High} << 32 | raw.PackedSize.Low; }
};

struct Listed {
  uint16_t status = 0;
  std::vector<Entry> entries;
  std::vector<std::string> names() const {
    std::vector<std::string> out;
    for (const Entry& e : entries) out.push_back(e.name);
    return out;
  }
};

Bytes Comment(const std::string& text) { return acetest::EncodeComment(text, true).block; }

class Listing : public ::testing::Test {
 protected:
  void TearDown() override { DoneArcFile(); }

  uint16_t Open(const Bytes& archive) {
    path_ = dir_ / "test.ace";
    acetest::WriteFileBytes(path_, archive);
    return OpenPath(path_);
  }
  uint16_t OpenPath(const std::string& path) {
    InitArcFile(path.c_str());
    return GetArchiveStatus();
  }

  Listed List(const std::vector<std::string>& masks = {"*.*"}) {
    FileMaskList maskList;
    InitFileMaskList(&maskList);
    for (const std::string& m : masks) AppendFileMask(m.c_str(), &maskList);
    ArcFileList list;
    InitArcFileList(&list);
    BuildArcFileList(&list, &maskList);
    Listed out;
    out.status = GetArchiveStatus();
    uint32_t count = 0;
    for (const ArcFileEntry* e = list.First; e != nullptr; e = e->Next, ++count) {
      Entry copy{*e, e->Name, ""};
      if (e->Comment != nullptr)
        copy.comment.assign(e->Comment, static_cast<size_t>(e->CommentLength));
      copy.raw.Next = nullptr;
      copy.raw.Comment = nullptr;
      out.entries.push_back(copy);
    }
    EXPECT_EQ(count, list.Count);
    DoneArcFileList(&list);
    DoneFileMaskList(&maskList);
    return out;
  }

  ArcInfo Info() {
    ArcInfo info;
    std::memset(&info, 0xCC, sizeof info);
    GetExtraInfoArc(&info);
    return info;
  }

  acetest::TempDir dir_;
  std::string path_;
};

ArchiveBuilder TwoFiles() {
  ArchiveBuilder b;
  b.Main()
      .File({.name = "A.TXT", .data = Bytes(7, 'a'), .origSize = 7})
      .File({.name = "SUB\\B.DAT", .data = Bytes(3, 'b'), .origSize = 9, .method = 1});
  return b;
}

// ---- recognising the archive ----

TEST_F(Listing, MainHeaderIsFoundBehindAStub) {
  const struct {
    size_t stub;
    uint16_t status;
  } cases[] = {{1000, AR_OK}, {61000, AR_OK}, {200000, AR_NOT_ACE}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.stub);
    ArchiveBuilder b;
    b.Prefix(c.stub).Raw(Bytes(TwoFiles().bytes()));
    ASSERT_EQ(Open(b.bytes()), c.status);
    if (c.status != AR_OK) {
      EXPECT_STREQ(ace::State().ArchivePath, "");
      continue;
    }
    EXPECT_EQ(ace::State().MainHeaderPos, static_cast<int32_t>(c.stub));
    EXPECT_EQ(ace::State().ArchiveModule, ace::State().PluginModule);
    const Listed l = List();
    EXPECT_EQ(l.status, AR_OK);
    EXPECT_EQ(l.names(), (std::vector<std::string>{"A.TXT", "SUB\\B.DAT"}));
    EXPECT_EQ(l.entries[0].raw.HeaderPos.Low, c.stub + 53);
  }
}

TEST_F(Listing, EarlySignaturesDoNotStopTheSearch) {
  for (size_t at = 0; at <= 6; ++at) {
    SCOPED_TRACE(at);
    Bytes stub(300, 'x');
    std::memcpy(stub.data() + at, "**ACE**", 7);
    ArchiveBuilder b;
    b.Raw(stub).Raw(TwoFiles().bytes());
    ASSERT_EQ(Open(b.bytes()), AR_OK);
    EXPECT_EQ(ace::State().MainHeaderPos, 300);
    EXPECT_EQ(List().entries.size(), 2u);
  }
}

TEST_F(Listing, UnrecognisedFiles) {
  Bytes badCrc = TwoFiles().bytes();
  badCrc[0] ^= 1;
  EXPECT_EQ(Open(badCrc), AR_NOT_ACE);
  EXPECT_EQ(Open(Bytes()), AR_NOT_ACE);
  EXPECT_EQ(Open(acetest::RandomBytes(5000, 3)), AR_NOT_ACE);

  EXPECT_EQ(OpenPath(dir_ / "missing.ace"), AR_FILE_NOT_FOUND);
  EXPECT_EQ(ace::State().IsNewArchive, 1);
  EXPECT_EQ(OpenPath(dir_.str()), AR_FILE_NOT_FOUND);
}

TEST_F(Listing, FailingFileAccessLeavesItsCode) {
  using platform::faults::Arm;
  using platform::faults::Kind;
  const Bytes archive = TwoFiles().bytes();
  const struct {
    const char* what;
    Kind kind;
    int64_t nth;
    uint16_t status;
    bool recorded;
  } cases[] = {
      {"open", Kind::Open, 1, AR_IO_ERROR, false},
      {"main-header read", Kind::Read, 1, AR_NOT_ACE, false},
      {"first-header read", Kind::Read, 2, AR_IO_ERROR, true},
      {"first-header seek", Kind::Seek, 2, AR_IO_ERROR, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    acetest::WriteFileBytes(dir_ / "f.ace", archive);
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
  ASSERT_EQ(Open(archive), AR_OK);
  Arm(Kind::Open, 1);
  const Listed l = List();
  platform::faults::Reset();
  EXPECT_EQ(l.status, AR_IO_ERROR);
  EXPECT_TRUE(l.entries.empty());
}

TEST_F(Listing, LockedArchiveListsNormally) {
  ArchiveBuilder b;
  b.Main({.flags = 0x5000}).File({.name = "A"}).File({.name = "B"});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  EXPECT_EQ(ace::State().IsLocked, -1);
  EXPECT_EQ(List().entries.size(), 2u);
}

TEST_F(Listing, ArchiveOfOnlyAMainHeaderIsEmpty) {
  ASSERT_EQ(Open(ArchiveBuilder().Main().bytes()), AR_OK);
  EXPECT_EQ(ace::State().ArchiveModule, nullptr);
  EXPECT_EQ(ace::State().FirstHeaderPos, 53);
  const Listed l = List();
  EXPECT_EQ(l.status, AR_OK);
  EXPECT_TRUE(l.entries.empty());
  const ArcInfo info = Info();
  EXPECT_EQ(info.FileCount, 0u);
  EXPECT_EQ(info.Ratio, 0u);
}

TEST_F(Listing, OneEntryTooShortForTheSearchStillLists) {
  ArchiveBuilder b;
  b.Main().File({.name = "A"});
  ASSERT_EQ(b.size(), 53u + 38u);
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  const Listed l = List();
  EXPECT_EQ(l.status, AR_OK);
  EXPECT_EQ(l.names(), std::vector<std::string>{"A"});
}

TEST_F(Listing, WalksAreRepeatable) {
  ASSERT_EQ(Open(TwoFiles().bytes()), AR_OK);
  EXPECT_EQ(List().entries.size(), 2u);
  EXPECT_EQ(List().entries.size(), 2u);
  EXPECT_EQ(List({"*.DAT"}).names(), std::vector<std::string>{"SUB\\B.DAT"});
}

TEST_F(Listing, AStatusLeftFromBeforeEndsTheWalkAtOnce) {
  ASSERT_EQ(Open(TwoFiles().bytes()), AR_OK);
  SetArchiveStatus(AR_IO_ERROR);
  const Listed l = List();
  EXPECT_EQ(l.status, AR_OK);
  EXPECT_TRUE(l.entries.empty());
}

// ---- entry fields ----

TEST_F(Listing, FileEntryFields) {
  ArchiveBuilder b;
  b.Main().File({.name = "dir\\File.Txt",
                 .data = Bytes(12, 'z'),
                 .origSize = 100,
                 .time = 0x21210000,
                 .attr = 0x21,
                 .crc = 0x12345678,
                 .method = 1,
                 .parm = 0x3A,
                 .flags = 0x4001});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  const Listed l = List();
  ASSERT_EQ(l.entries.size(), 1u);
  const ArcFileEntry& e = l.entries[0].raw;
  EXPECT_STREQ(e.Name, "dir\\File.Txt");
  EXPECT_EQ(e.NameLength, 12u);
  EXPECT_EQ(l.entries[0].packed(), 12u);
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
  EXPECT_EQ(e.HeaderCrc, uint32_t{b.bytes()[53]} | uint32_t{b.bytes()[54]} << 8);
  EXPECT_EQ(e.HeaderType, 1u);
  EXPECT_EQ(e.FormatTag, 19u);
  EXPECT_EQ(e.HostOS, 3u);  // Windows host 2 in the host's numbering
  EXPECT_EQ(e.Zero304, 0u);
  EXPECT_EQ(e.Zero364, 0u);
  EXPECT_EQ(e.CommentLength, 0);
  EXPECT_EQ(Info().Encrypted, 1u);
}

TEST_F(Listing, DirectoryEntriesEndWithABackslash) {
  ArchiveBuilder b;
  b.Main()
      .File({.name = "A.TXT"})
      .File({.name = "DIR", .attr = 0x30})
      .File({.name = "OLD\\", .attr = 0x10});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  Listed l = List();
  ASSERT_EQ(l.entries.size(), 3u);
  EXPECT_EQ(l.entries[1].name, "DIR\\");
  EXPECT_EQ(l.entries[1].raw.NameLength, 3u);
  EXPECT_EQ(l.entries[1].raw.HostOS, 0u);  // directories are not counted
  EXPECT_EQ(l.entries[2].name, "OLD\\");
  EXPECT_EQ(l.entries[2].raw.NameLength, 4u);
  EXPECT_EQ(Info().FileCount, 1u);
  // The masks see the name with its backslash.
  EXPECT_EQ(List({"DIR\\"}).names(), std::vector<std::string>{"DIR\\"});
  EXPECT_TRUE(List({"DIR"}).entries.empty());
}

TEST_F(Listing, NamesAreConvertedFromCodePage437) {
  ArchiveBuilder b;
  b.Main()
      .File({.name = "\x84rger.txt"})
      .File({.name = "M\x81SLI\\\x9A"
                     "BER",
             .attr = 0x10});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  const Listed l = List();
  EXPECT_EQ(l.names(), (std::vector<std::string>{"\xC3\xA4rger.txt",
                                                 "M\xC3\xBCSLI\\\xC3\x9C"
                                                 "BER\\"}));
  EXPECT_EQ(l.entries[0].raw.NameLength, 9u);
  EXPECT_EQ(List({"\xC3\x84RGER.TXT"}).entries.size(), 1u);  // matched upper-cased
}

TEST_F(Listing, LongNamesAreCutToTheField) {
  const std::string longName(300, 'n');
  // Box-drawing characters take three bytes each once converted.
  const std::string wideDir(200, '\xC4');
  ArchiveBuilder b;
  b.Main().File({.name = longName}).File({.name = wideDir, .attr = 0x10}).File({.name = "LAST"});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  const Listed l = List();
  ASSERT_EQ(l.entries.size(), 3u);
  EXPECT_EQ(l.entries[0].name, std::string(271, 'n'));
  EXPECT_EQ(l.entries[0].raw.NameLength, 300u);
  EXPECT_EQ(l.entries[1].name.size() % 3, 1u);  // whole characters, then "\"
  EXPECT_LE(l.entries[1].name.size(), 271u);
  EXPECT_EQ(l.entries[1].name.back(), '\\');
  EXPECT_EQ(l.entries[2].name, "LAST");
}

// ---- recovery records and damaged headers ----

TEST_F(Listing, RecoveryRecordsAreListedUnfiltered) {
  ArchiveBuilder b;
  b.Main()
      .File({.name = "A.TXT", .data = Bytes(4, 'a')})
      .Recovery(2, 10, Bytes(10, 0xEE))
      .File({.name = "B.BIN", .data = Bytes(2, 'b')})
      .Recovery(5, 3, Bytes(3, 0xEE))
      .File({.name = "C.TXT"});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  const Listed l = List({"*.TXT"});
  EXPECT_EQ(l.status, AR_OK);
  EXPECT_EQ(l.names(), (std::vector<std::string>{"A.TXT", "", "", "C.TXT"}));
  const struct {
    size_t index;
    uint32_t type;
    uint64_t added;
  } records[] = {{1, 2, 10}, {2, 5, 3}};
  for (const auto& r : records) {
    const Entry& e = l.entries[r.index];
    EXPECT_EQ(e.raw.IsFile, 0u);
    EXPECT_EQ(e.raw.HeaderType, r.type);
    EXPECT_EQ(e.packed(), r.added);
    EXPECT_EQ(e.raw.FormatTag, 0u);
    EXPECT_EQ(e.raw.HeaderSize, 7u);
  }
  EXPECT_EQ(Info().FileCount, 2u);  // the summary of this listing: two files matched
}

TEST_F(Listing, UnknownHeaderTypeKeepsTheEntriesBeforeIt) {
  ArchiveBuilder b = TwoFiles();
  Bytes body = {3, 0, 0, 1, 2, 3, 4};
  b.Raw(acetest::Header(body)).File({.name = "AFTER"});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  const Listed l = List();
  EXPECT_EQ(l.status, AR_BAD_HEADER);
  EXPECT_EQ(l.entries.size(), 2u);
}

TEST_F(Listing, HeaderSizesThatCannotHoldTheirFieldsStopTheWalk) {
  const struct {
    const char* what;
    FileSpec bad;
  } cases[] = {
      {"HEAD_SIZE 0", {.name = "BAD", .headSize = 0}},
      {"below the fixed fields", {.name = "BAD", .headSize = 20}},
      {"name beyond the header", {.name = "BAD", .headSize = 32}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ArchiveBuilder b = TwoFiles();
    b.File(c.bad).File({.name = "AFTER"});
    ASSERT_EQ(Open(b.bytes()), AR_OK);
    const Listed l = List();
    EXPECT_EQ(l.status, AR_BAD_HEADER);
    EXPECT_EQ(l.entries.size(), 2u);
  }
  // A recovery record too short for its ADDSIZE field.
  ArchiveBuilder r = TwoFiles();
  r.Raw(acetest::Header({2, 0, 0, 9, 0, 0, 0}, false, 3));
  ASSERT_EQ(Open(r.bytes()), AR_OK);
  EXPECT_EQ(List().status, AR_BAD_HEADER);
}

TEST_F(Listing, SizesPointingPastTheEndEndTheWalk) {
  const struct {
    const char* what;
    int64_t packSize;
  } cases[] = {{"past the end", 1000}, {"32-bit maximum", 0xFFFFFFFF}, {"past 2 GiB", 0x80000000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ArchiveBuilder b = TwoFiles();
    b.File({.name = "HUGE", .packSize = c.packSize}).File({.name = "HIDDEN"});
    ASSERT_EQ(Open(b.bytes()), AR_OK);
    const Listed l = List();
    EXPECT_EQ(l.status, AR_OK);
    ASSERT_EQ(l.entries.size(), 3u);
    EXPECT_EQ(l.entries[2].packed(), static_cast<uint64_t>(c.packSize));
  }
  ArchiveBuilder r = TwoFiles();
  r.Recovery(5, 0xFFFFFFF0, {}).File({.name = "HIDDEN"});
  ASSERT_EQ(Open(r.bytes()), AR_OK);
  EXPECT_EQ(List().entries.size(), 3u);
}

TEST_F(Listing, TruncatedLastEntry) {
  const Bytes whole = TwoFiles().bytes();
  const size_t second = 53 + 38 + 4 + 7;  // start of the second header
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
    const Listed l = List();
    EXPECT_EQ(l.status, AR_OK);
    EXPECT_EQ(l.entries.size(), c.entries);
  }
}

// ---- comments ----

TEST_F(Listing, MainCommentIsDecodedForVersion10Only) {
  const std::string text = "Archive comment, decoded once at opening.";
  for (uint8_t version : {10, 20}) {
    SCOPED_TRACE(int{version});
    ArchiveBuilder b;
    b.Main({.extractVersion = version, .comment = Comment(text)}).File({.name = "A"});
    ASSERT_EQ(Open(b.bytes()), AR_OK);
    MainCommentInfo info;
    std::memset(&info, 0x77, sizeof info);
    GetMainCommentArc(&info);
    if (version == 10) {
      ASSERT_NE(info.Comment, nullptr);
      EXPECT_EQ(std::string(info.Comment, static_cast<size_t>(info.Length)), text);
      EXPECT_EQ(info.HasComment, 1);
      for (uint32_t r : info.Reserved12) EXPECT_EQ(r, 0u);
      std::free(info.Comment);
      EXPECT_EQ(Info().CommentFlags, 1u);
    } else {
      EXPECT_EQ(info.Comment, nullptr);
      EXPECT_EQ(info.Length, 0);
      EXPECT_EQ(info.HasComment, 0x77777777);  // untouched
      EXPECT_EQ(Info().CommentFlags, 0u);
    }
  }
}

TEST_F(Listing, CommentsAreConvertedUnlessTheHostIsWindows) {
  const std::string oem =
      "Gr\x81\xE1"
      "e";  // "Grüße" in code page 437
  const struct {
    uint8_t host;
    std::string want;
  } cases[] = {{0,
                "Gr\xC3\xBC\xC3\x9F"
                "e"},
               {2, oem},
               {5, oem},
               {3,
                "Gr\xC3\xBC\xC3\x9F"
                "e"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(int{c.host});
    ArchiveBuilder b;
    b.Main({.host = c.host, .comment = Comment(oem)})
        .File({.name = "A", .comment = Comment(oem)})
        .File({.name = "B"});
    ASSERT_EQ(Open(b.bytes()), AR_OK);
    MainCommentInfo info{};
    GetMainCommentArc(&info);
    ASSERT_NE(info.Comment, nullptr);
    EXPECT_EQ(std::string(info.Comment, static_cast<size_t>(info.Length)), c.want);
    std::free(info.Comment);
    ace::State().ReadFileComments = 1;
    const Listed l = List();
    ASSERT_EQ(l.entries.size(), 2u);
    EXPECT_EQ(l.entries[0].comment, c.want);
    EXPECT_EQ(l.entries[0].raw.CommentLength, static_cast<int32_t>(c.want.size()));
    EXPECT_EQ(l.entries[1].raw.CommentLength, 0);
  }
}

TEST_F(Listing, FileCommentsAreReadOnlyWhenAsked) {
  ArchiveBuilder b;
  b.Main()
      .File({.name = "A", .comment = Comment("first file's note")})
      .File({.name = "B", .data = Bytes(5, 'b')})
      .File({.name = "C", .comment = Comment(std::string(3000, 'c'))});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  Listed l = List();
  ASSERT_EQ(l.entries.size(), 3u);
  for (const Entry& e : l.entries) EXPECT_EQ(e.raw.CommentLength, 0);

  // GetExtraInfoArc before any listing turns file comments on.
  DoneArcFile();
  ASSERT_EQ(Open(b.bytes()), AR_OK);
  EXPECT_EQ(Info().CommentFlags, 2u);
  l = List();
  EXPECT_EQ(l.entries[0].comment, "first file's note");
  EXPECT_EQ(l.entries[2].comment, std::string(3000, 'c'));
  EXPECT_EQ(List({"B"}).entries.size(), 1u);  // comments of dropped entries are freed
}

TEST_F(Listing, MainCommentWithoutComment) {
  ASSERT_EQ(Open(TwoFiles().bytes()), AR_OK);
  MainCommentInfo info;
  std::memset(&info, 0x77, sizeof info);
  GetMainCommentArc(&info);
  EXPECT_EQ(info.Comment, nullptr);
  EXPECT_EQ(info.Length, 0);
}

// ---- the summary ----

TEST(ArcInfoRules, RatioHalvesLargeTotals) {
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
}

TEST(ArcInfoRules, HostSystemsAndDictionaries) {
  const uint32_t hosts[] = {1, 2, 3, 5, 6, 4, 1, 6, 8, 9, 10, 11, 1, 1};
  for (int32_t h = 0; h < 14; ++h) EXPECT_EQ(ace::MapHostSystem(h), hosts[h]) << h;
  EXPECT_EQ(ace::MapHostSystem(255), 1u);
  const uint32_t dictionaries[] = {64, 64, 64, 64, 64, 64, 64, 128, 256, 512, 1024, 64, 64};
  for (uint32_t code = 0; code < 13; ++code) {
    EXPECT_EQ(ace::SummaryDictionaryKB(code), dictionaries[code]) << code;
  }
}

TEST_F(Listing, SummaryOfAnArchive) {
  ArchiveBuilder b;
  b.Main({.flags = 0x9000, .extractVersion = 20, .host = 3})
      .File({.name = "BIG", .origSize = 83886080, .parm = 8, .packSize = 41943040});
  ASSERT_EQ(Open(b.bytes()), AR_OK);
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
  List({"NOTHING"});
  EXPECT_EQ(Info().FileCount, 0u);
}

TEST_F(Listing, NullRecordsAreRefused) {
  ASSERT_EQ(Open(TwoFiles().bytes()), AR_OK);
  BuildArcFileList(nullptr, nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  SetArchiveStatus(0);
  GetExtraInfoArc(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  SetArchiveStatus(0);
  GetMainCommentArc(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
}

}  // namespace
