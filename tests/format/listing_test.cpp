// Opening and listing archives built byte by byte through the exports: where
// the main header may stand, damaged and cut headers, recovery records, names
// from the OEM code page, comments and the summary.

#include <cstdlib>

#include "compress/huffman.h"
#include "format/arc_info.h"
#include "platform/fault_injection.h"
#include "support/ace_builder.h"
#include "support/host.h"

namespace acetest {
namespace {

using Names = std::vector<std::string>;

// A comment block for `text`: literals only, under a code that gives every
// byte value 8 bits (width value 1 above a lower width of 7, sent once and
// then as runs of zero differences).
Bytes Comment(const std::string& text) {
  std::vector<bool> bits;
  auto put = [&](uint32_t value, int count) {
    for (int k = count - 1; k >= 0; --k) bits.push_back((value >> k) & 1);
  };
  auto codes = [](std::vector<uint8_t> widths) {  // as the decoders assign them
    std::vector<uint16_t> codes(widths.size());
    ace::AssignHuffmanCodes(widths.data(), static_cast<int>(widths.size()) - 1, codes.data());
    return codes;
  };
  const std::vector<uint16_t> widthCode = codes({2, 2, 2});  // values 0, 1 and the run symbol 2
  const std::vector<uint16_t> literal = codes(std::vector<uint8_t>(256, 8));
  put(static_cast<uint32_t>(text.size()), 15);
  put(255, 9);  // last symbol
  put(7, 4);    // lower width
  put(2, 4);    // modulus
  for (int k = 0; k < 3; ++k) put(2, 3);
  put(widthCode[1], 2);
  for (int left = 255; left > 0; left -= std::min(left, 19)) {
    put(widthCode[2], 2);
    put(static_cast<uint32_t>(std::min(left, 19) - 4), 4);
  }
  for (unsigned char c : text) put(literal[c], 8);
  Bytes out((bits.size() + 31) / 32 * 4, 0);
  for (size_t i = 0; i < bits.size(); ++i) {
    if (bits[i])
      out[i / 32 * 4 + (31 - i % 32) / 8] |= static_cast<uint8_t>(1 << ((31 - i % 32) % 8));
  }
  return out;
}

class OpenAndList : public ::testing::Test {
 protected:
  void TearDown() override { DoneArcFile(); }
  uint16_t Open(const Bytes& archive) {
    DoneArcFile();
    WriteFileBytes(dir_ / "t.ace", archive);
    InitArcFile((dir_ / "t.ace").c_str());
    return GetArchiveStatus();
  }
  static ArcInfo Info() {
    ArcInfo info;
    std::memset(&info, 0xCC, sizeof info);
    GetExtraInfoArc(&info);
    return info;
  }
  TempDir dir_;
};

// A.TXT (stored, 7 bytes) and SUB\B.DAT (3 packed bytes for 9).
Bytes TwoFiles() {
  return Join(
      {AceMainHeader(), AceEntryBytes({.name = "A.TXT", .data = Bytes(7, 'a')}),
       AceEntryBytes({.name = "SUB\\B.DAT", .packed = Bytes(3, 'b'), .method = 1, .origSize = 9})});
}

TEST_F(OpenAndList, MainHeaderIsFoundWithinTheFirst61440Bytes) {
  for (size_t stub : {0, 1000, 61387, 61388, 200000}) {
    SCOPED_TRACE(stub);
    const bool found = stub <= 61387;  // the 53-byte header must end in the window
    ASSERT_EQ(Open(Join({Bytes(stub, 0x90), TwoFiles()})), found ? AR_OK : AR_NOT_ACE);
    if (!found) continue;
    const Listing l = ListOpen();
    EXPECT_EQ(l.names(), (Names{"A.TXT", "SUB\\B.DAT"}));
    EXPECT_EQ(l.entries[0].HeaderPos.Low, stub + 53);
  }
  Bytes badCrc = TwoFiles();
  badCrc[0] ^= 1;
  for (const Bytes& file : {badCrc, Bytes(), RandomBytes(5000, 3)})
    EXPECT_EQ(Open(file), AR_NOT_ACE);
}

TEST_F(OpenAndList, FailingFileAccessLeavesItsCode) {
  using platform::faults::Kind;
  WriteFileBytes(dir_ / "f.ace", TwoFiles());
  const struct {
    Kind kind;
    int64_t nth;
    uint16_t status;
  } cases[] = {{Kind::Open, 1, AR_IO_ERROR},
               {Kind::Read, 1, AR_IO_ERROR},
               {Kind::Read, 2, AR_IO_ERROR},
               {Kind::Seek, 2, AR_IO_ERROR}};
  for (const auto& c : cases) {
    platform::faults::Arm(c.kind, c.nth);
    InitArcFile((dir_ / "f.ace").c_str());
    platform::faults::Reset();
    EXPECT_EQ(GetArchiveStatus(), c.status) << static_cast<int>(c.kind) << " " << c.nth;
  }
  ASSERT_EQ(Open(TwoFiles()), AR_OK);
  platform::faults::Arm(Kind::Open, 1);
  const Listing l = ListOpen();
  platform::faults::Reset();
  EXPECT_EQ(l.status, AR_IO_ERROR);
  EXPECT_TRUE(l.entries.empty());
}

TEST_F(OpenAndList, EntryFieldsComeFromTheFileHeader) {
  const Bytes archive = AceArchive({{.name = "dir\\File.Txt",
                                     .packed = Bytes(12, 'z'),
                                     .method = 1,
                                     .flags = 0x4001,
                                     .attributes = 0x21,
                                     .dictCode = 0x3A,
                                     .origSize = 100,
                                     .crc = 0x12345678}});
  ASSERT_EQ(Open(archive), AR_OK);
  const Listing l = ListOpen();
  ASSERT_EQ(l.entries.size(), 1u);
  const ArcFileEntry& e = l.entries[0];
  EXPECT_EQ(e.Crc32, 0x12345678u);
  EXPECT_EQ(e.DictionaryCode, 10u);  // the low four bits
  EXPECT_EQ(e.IsEncrypted, 1u);
  EXPECT_EQ(e.IsFile, 1u);
  EXPECT_EQ(e.HeaderFlags, 0x4001u);
  EXPECT_EQ(e.HeaderSize, 33u + 12u);
  EXPECT_EQ(e.HeaderCrc, uint32_t{archive[53]} | uint32_t{archive[54]} << 8);
  EXPECT_EQ(e.FormatTag, 19u);
  EXPECT_EQ(Info().Encrypted, 1u);
}

TEST_F(OpenAndList, NamesComeFromTheOemCodePageAndFitTheirField) {
  ASSERT_EQ(Open(AceArchive({{.name = "DIR", .attributes = 0x30},
                             {.name = "OLD\\", .attributes = 0x10},
                             {.name = "\x84rger.txt"},
                             {.name = std::string(300, 'n')},
                             {.name = std::string(200, '\xC4'), .attributes = 0x10},
                             {.name = "LAST"}})),
            AR_OK);
  const Listing l = ListOpen();
  ASSERT_EQ(l.entries.size(), 6u);
  EXPECT_EQ(l.names()[0], "DIR\\");  // directories end in a backslash
  EXPECT_EQ(l.names()[1], "OLD\\");
  EXPECT_EQ(l.names()[2], acetest::Ansi("\xC3\xA4rger.txt"));
  EXPECT_EQ(l.entries[2].NameLength, 9u);
  EXPECT_EQ(l.names()[3], std::string(271, 'n'));
  EXPECT_EQ(l.entries[3].NameLength, 300u);
  const std::string wide = l.names()[4];  // box drawing: three bytes each, never cut inside
  const size_t width = acetest::Ansi("\xE2\x94\x80").size();  // one where the code page lacks it
  EXPECT_EQ((wide.size() - 1) % width, 0u);
  EXPECT_GE(wide.size(), std::min<size_t>(200 * width + 1, 268));
  EXPECT_EQ(wide.back(), '\\');
  EXPECT_EQ(l.names()[5], "LAST");
  EXPECT_EQ(Info().FileCount, 3u);  // directories are not counted
  // The masks see the converted name with its backslash, in any case.
  EXPECT_EQ(ListOpen({"DIR\\"}).names(), Names{"DIR\\"});
  EXPECT_TRUE(ListOpen({"DIR"}).entries.empty());
  EXPECT_EQ(ListOpen({acetest::Ansi("\xC3\x84RGER.TXT")}).entries.size(), 1u);
}

TEST_F(OpenAndList, RecoveryRecordsAreListedWhateverTheMasks) {
  ASSERT_EQ(Open(Join({AceMainHeader(), AceEntryBytes({.name = "A.TXT", .data = Bytes(4, 'a')}),
                       AceRecovery(2, 10, Bytes(10, 0xEE)), AceEntryBytes({.name = "B.BIN"}),
                       AceRecovery(5, 3, Bytes(3, 0xEE)), AceEntryBytes({.name = "C.TXT"})})),
            AR_OK);
  const Listing l = ListOpen({"*.TXT"});
  EXPECT_EQ(l.status, AR_OK);
  EXPECT_EQ(l.names(), (Names{"A.TXT", "", "", "C.TXT"}));
  EXPECT_EQ(l.entries[1].HeaderType, 2u);
  EXPECT_EQ(l.entries[1].PackedSize.Low, 10u);
  EXPECT_EQ(l.entries[2].HeaderType, 5u);
  EXPECT_EQ(l.entries[2].IsFile, 0u);
}

TEST_F(OpenAndList, DamagedOrCutHeadersEndTheWalk) {
  const Bytes whole = TwoFiles();
  const size_t second = 53 + 42 + 7;  // where the second header starts
  const struct {
    const char* what;
    Bytes archive;
    uint16_t status;
    size_t entries;
  } cases[] = {
      {"unknown header type", Join({whole, AceHeader({3, 0, 0, 1, 2, 3, 4})}), AR_BAD_HEADER, 2},
      {"HEAD_SIZE 0", Join({whole, AceEntryBytes({.name = "X", .headSize = 0})}), AR_BAD_HEADER, 2},
      {"below the fixed fields", Join({whole, AceEntryBytes({.name = "X", .headSize = 20})}),
       AR_BAD_HEADER, 2},
      {"name beyond the header", Join({whole, AceEntryBytes({.name = "XYZ", .headSize = 32})}),
       AR_BAD_HEADER, 2},
      {"recovery record without ADDSIZE", Join({whole, AceHeader({2, 0, 0, 9, 0, 0, 0}, 3)}),
       AR_BAD_HEADER, 2},
      {"size past the end",
       Join({whole, AceEntryBytes({.name = "BIG", .packSize = 0xFFFFFFFF}),
             AceEntryBytes({.name = "HIDDEN"})}),
       AR_OK, 3},
      {"cut in the data", Bytes(whole.begin(), whole.end() - 1), AR_OK, 2},
      {"cut in the name", Bytes(whole.begin(), whole.begin() + second + 38), AR_OK, 2},
      {"cut in the fixed fields", Bytes(whole.begin(), whole.begin() + second + 20), AR_OK, 2},
      {"cut in HEAD_SIZE", Bytes(whole.begin(), whole.begin() + second + 3), AR_BAD_HEADER, 1},
      {"cut before the type byte", Bytes(whole.begin(), whole.begin() + second + 4), AR_BAD_HEADER,
       1},
      {"cut in HEAD_FLAGS", Bytes(whole.begin(), whole.begin() + second + 6), AR_OK, 2},
      {"only a main header", AceMainHeader(), AR_OK, 0},
      {"one entry too short for the header search", AceArchive({{.name = "A"}}), AR_OK, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_EQ(Open(c.archive), AR_OK);
    const Listing l = ListOpen();
    EXPECT_EQ(l.status, c.status);
    EXPECT_EQ(l.entries.size(), c.entries);
  }
}

TEST_F(OpenAndList, CommentsAreDecodedAndConvertedUnlessTheHostIsWindows) {
  // "Grüße" in code page 437, then a NUL: the text goes on after it.
  using namespace std::string_literals;
  const std::string oem =
      "Gr\x81\xE1"
      "e\0\x81"s;
  const std::string ansi = acetest::Ansi(
      "Gr\xC3\xBC\xC3\x9F"
      "e\0\xC3\xBC"s);
  for (auto [host, version, want] : {std::tuple{0, 10, ansi},
                                     {2, 10, oem},
                                     {5, 10, oem},
                                     {3, 10, ansi},
                                     {0, 20, std::string()}}) {
    SCOPED_TRACE(testing::Message() << "host " << host << " version " << version);
    const AceMain main{.extractVersion = static_cast<uint8_t>(version),
                       .host = static_cast<uint8_t>(host),
                       .comment = Comment(oem)};
    ASSERT_EQ(Open(AceArchive({{.name = "A", .comment = Comment(oem)}, {.name = "B"}}, main)),
              AR_OK);
    MainCommentInfo info;
    std::memset(&info, 0x77, sizeof info);
    GetMainCommentArc(&info);
    EXPECT_EQ(info.Comment == nullptr ? "" : std::string(info.Comment, info.Length), want);
    std::free(info.Comment);
    EXPECT_EQ(ListOpen().comments[0], "") << "file comments only when asked";
    ASSERT_EQ(Open(AceArchive({{.name = "A", .comment = Comment(oem)}, {.name = "B"}}, main)),
              AR_OK);
    EXPECT_EQ(Info().CommentFlags, want.empty() ? 2u : 3u);  // this asks for them
    const Listing l = ListOpen();
    EXPECT_EQ(l.comments, (Names{host == 2 || host == 5 ? oem : ansi, ""}));
  }
}

TEST_F(OpenAndList, SummaryCountsFilesAndRatio) {
  const AceEntry big{.name = "BIG", .dictCode = 8, .origSize = 83886080, .packSize = 41943040};
  ASSERT_EQ(Open(AceArchive({{.name = "D", .attributes = 0x10, .dictCode = 10}, big},
                            {.flags = 0x8000, .extractVersion = 20, .host = 3})),
            AR_OK);
  const ArcInfo info = Info();
  EXPECT_EQ(info.FormatCode, 12u);
  EXPECT_EQ(info.MajorVersion, 2u);
  EXPECT_EQ(info.LargestDictionary, 256u);
  EXPECT_EQ(info.Solid, 1u);
  EXPECT_EQ(info.HostSystem, 5u);
  EXPECT_EQ(info.FileCount, 1u);
  EXPECT_EQ(info.PackedTotal.Low, 41943040u);
  EXPECT_EQ(info.Ratio, 50u);
  for (uint32_t r : info.Reserved60) ASSERT_EQ(r, 0u);
  ListOpen({"NOTHING"});
  EXPECT_EQ(Info().FileCount, 0u) << "the summary of the last listing";
  const struct {
    uint64_t packed, unpacked;
    uint32_t ratio;
  } ratios[] = {{1, 3, 33}, {5, 0, 0}, {uint64_t{3} << 40, uint64_t{4} << 40, 75}, {100, 50, 200}};
  for (const auto& r : ratios) EXPECT_EQ(ace::CompressionRatio(r.packed, r.unpacked), r.ratio);
}

TEST_F(OpenAndList, NullRecordsAreRefused) {
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
