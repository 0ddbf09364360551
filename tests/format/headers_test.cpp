// Header bytes: the CRC, little-endian field reads, the searches for the main
// and the first file header, and the header writer against the golden archive.
#include <cstring>
#include <string>

#include "format/crc32.h"
#include "format/format_fixture.h"
#include "format/header_format.h"
#include "format/header_io.h"
#include "format/header_search.h"
#include "format/header_writer.h"
#include "fs/file_layer.h"

namespace acetest {
namespace {

// ---- CRC and field reads ----

// The table-driven code folds eight bytes at a time; checked against the
// polynomial worked bit by bit, at every length and start around a word.
TEST(Crc32, AgreesWithTheBitwiseDefinitionAndTheKnownValue) {
  EXPECT_EQ(ace::Crc32Update(ace::kCrcInit, "abc", 3), 0xCADBBE3Du);
  EXPECT_EQ(ace::Crc32Update(ace::Crc32Update(ace::kCrcInit, "a", 1), "bc", 2), 0xCADBBE3Du);
  const Bytes data = RandomBytes(300, 5);
  auto bitwise = [&](size_t start, size_t length) {
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = start; i < start + length; ++i) {
      crc ^= data[i];
      for (int k = 0; k < 8; ++k) crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
    }
    return crc;
  };
  for (size_t start = 0; start < 9; ++start) {
    for (size_t length : {0, 1, 7, 8, 9, 15, 16, 17, 63, 64, 200}) {
      SCOPED_TRACE(testing::Message() << "start " << start << " length " << length);
      EXPECT_EQ(ace::Crc32Update(ace::kCrcInit, data.data() + start, length),
                bitwise(start, length));
    }
  }
}

TEST_F(FormatTest, FieldsAreReadLittleEndianAndShortReadsGiveZero) {
  WriteFileBytes(dir_ / "h", {0x7F, 0x34, 0x12, 0x78, 0x56, 0x34, 0x12, 0xFF});
  ace::FileHandle file = ace::FileOpen((dir_ / "h").c_str(), "rb");
  ASSERT_NE(file, ace::kNoFile);
  EXPECT_EQ(ace::ReadByte(file), 0x7F);
  EXPECT_EQ(ace::ReadWord(file), 0x1234);
  EXPECT_EQ(ace::ReadDword(file), 0x12345678u);
  EXPECT_EQ(ace::ReadByte(file), 0xFF);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  ace::FileClose(file);

  using Read = uint32_t (*)(ace::FileHandle);
  const struct {
    size_t available;
    Read read;
  } cases[] = {
      {0, [](ace::FileHandle f) -> uint32_t { return ace::ReadByte(f); }},
      {1, [](ace::FileHandle f) -> uint32_t { return ace::ReadWord(f); }},
      {3, [](ace::FileHandle f) -> uint32_t { return ace::ReadDword(f); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.available);
    WriteFileBytes(dir_ / "short", Bytes(c.available, 0xAA));
    file = ace::FileOpen((dir_ / "short").c_str(), "rb");
    ASSERT_NE(file, ace::kNoFile);
    SetArchiveStatus(0);
    EXPECT_EQ(c.read(file), 0u);
    EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
    ace::FileClose(file);
  }
}

// ---- searches ----

ace::MainHeaderScan Scan(const Bytes& bytes) {
  return ace::ScanMainHeader(bytes.data(), static_cast<int32_t>(bytes.size()));
}

TEST(ScanMainHeader, FindsTheHeaderBehindPrefixes) {
  for (size_t prefix : {0, 1, 1000, 61000}) {
    SCOPED_TRACE(prefix);
    Bytes window =
        Join({Bytes(prefix, 0x90), AceArchive({{.name = "A.TXT", .data = Bytes(10, 'a')}})});
    if (window.size() > ace::kSearchWindow) window.resize(ace::kSearchWindow);
    const auto scan = Scan(window);
    EXPECT_EQ(scan.position, static_cast<int32_t>(prefix));
    EXPECT_EQ(scan.size, 53);
    EXPECT_EQ(scan.advertSize, 22);
    EXPECT_EQ(scan.extractVersion, 10);
    EXPECT_EQ(scan.hostOS, 2);
  }
  // A 53-byte header fits when it starts at 61,387 and not one byte later.
  for (int32_t start : {61387, 61388}) {
    Bytes window = Join({Bytes(static_cast<size_t>(start), 0x90), AceMainHeader()});
    window.resize(ace::kSearchWindow);
    EXPECT_EQ(Scan(window).position, start == 61387 ? start : -1) << start;
  }
  // A short header fits further on, but its signature must begin before
  // n - 33: a 30-byte header is found at 61,399 and not at 61,400.
  Bytes shortHeader = AceMainHeader();
  shortHeader.resize(30);
  shortHeader[2] = 26;
  shortHeader[3] = 0;
  SealHeader(shortHeader);
  for (int32_t start : {61399, 61400}) {
    Bytes window = Join({Bytes(static_cast<size_t>(start), 0x90), shortHeader});
    window.resize(ace::kSearchWindow);
    EXPECT_EQ(Scan(window).position, start == 61399 ? start : -1) << start;
  }
  // Signatures too near the start for a header around them are skipped.
  for (size_t at = 0; at <= 6; ++at) {
    Bytes prefix(100, 0);
    std::memcpy(prefix.data() + at, "**ACE**", 7);
    EXPECT_EQ(Scan(Join({prefix, AceMainHeader()})).position, 100) << at;
  }
}

TEST(ScanMainHeader, CandidatesThatFailLeaveTheirTraces) {
  // A locked candidate of type 0 with a bad checksum, then nothing valid:
  // not found, but the lock and its version bytes are remembered.
  auto scan = Scan(
      Join({AceMainHeader({.flags = 0x4000, .extractVersion = 20, .host = 0, .badChecksum = true}),
            Bytes(40, 0x90)}));
  EXPECT_EQ(scan.position, -1);
  EXPECT_TRUE(scan.sawCandidate);
  EXPECT_TRUE(scan.locked);
  EXPECT_EQ(scan.extractVersion, 20);
  EXPECT_EQ(scan.hostOS, 0);

  // A bad candidate before a good one: found, with the good one's bytes.
  scan = Scan(Join({AceMainHeader({.extractVersion = 20, .badChecksum = true}),
                    AceMainHeader({.extractVersion = 0})}));
  EXPECT_EQ(scan.position, 53);
  EXPECT_EQ(scan.extractVersion, 0);  // "**ACE**" followed by a zero byte counts

  // A signature in a header of another type is no main header.
  Bytes typed = AceMainHeader();
  typed[4] = 1;
  scan = Scan(typed);
  EXPECT_EQ(scan.position, -1);
  EXPECT_TRUE(scan.sawCandidate);
  EXPECT_FALSE(scan.locked);

  // Too few bytes for any candidate.
  EXPECT_FALSE(Scan(Bytes(33, '*')).sawCandidate);
}

TEST(ScanFirstHeader, FindsTheFirstValidFileHeaderThatEndsInTheWindow) {
  const Bytes skipped = Join({AceRecovery(2, 5, Bytes(5, 0)),
                              AceEntryBytes({.name = "X", .dictCode = 0x19, .badChecksum = true})});
  const Bytes b = Join(
      {skipped, AceEntryBytes({.name = "DATA\\FILE.BIN", .data = Bytes(30, 1), .dictCode = 0x0A}),
       Bytes(40, 0)});
  int code = -1;
  EXPECT_EQ(ace::ScanFirstHeader(b.data(), static_cast<int32_t>(b.size()), &code),
            static_cast<int32_t>(skipped.size()));
  EXPECT_EQ(code, 10);

  // A one-entry tail of exactly 38 bytes is too short for the search.
  Bytes one = AceEntryBytes({.name = "A"});
  ASSERT_EQ(one.size(), 38u);
  EXPECT_EQ(ace::ScanFirstHeader(one.data(), 38, nullptr), -1);
  one.resize(80, 0);
  EXPECT_EQ(ace::ScanFirstHeader(one.data(), 80, nullptr), 0);
}

// ---- the writer ----

Bytes PlainArchive() { return ReadFileBytes(SharedDir() / "vectors" / "archives" / "plain.ace"); }

TEST(MainHeader, MatchesTheGoldenArchiveAndCarriesTheSolidFlag) {
  const Bytes golden = PlainArchive();
  ASSERT_GE(golden.size(), ace::kMainHeaderWrittenSize);
  Bytes expected(golden.begin(), golden.begin() + ace::kMainHeaderWrittenSize);
  uint8_t h[ace::kMainHeaderWrittenSize];
  ace::BuildMainHeader(0, "aceplug test vectors  ", h);
  EXPECT_EQ(Bytes(h, h + sizeof h), expected);

  // Solid: HEAD_FLAGS 0x9000, the writer's own advert, and a new checksum.
  ace::BuildMainHeader(ace::kFlagSolid, ace::kAdvertText, h);
  expected[6] = 0x90;
  std::memcpy(expected.data() + 31, "aceplug archive writer", 22);
  const uint32_t crc = ace::Crc32Update(ace::kCrcInit, expected.data() + 4, 49);
  expected[0] = static_cast<uint8_t>(crc);
  expected[1] = static_cast<uint8_t>(crc >> 8);
  EXPECT_EQ(Bytes(h, h + sizeof h), expected);
}

ace::FileHeaderFixed GoldenAliceFields() {
  ace::FileHeaderFixed h;
  h.HeadType = ace::kHeadTypeFile;
  h.HeadFlags = ace::kFlagAddSize;
  h.PackSize = 53576;
  h.OrigSize = 152089;
  h.FileTime = 0x21210000;
  h.Attributes = 0x20;
  h.Crc32 = 0x99FF8245;
  h.TechType = ace::kTechLz77;
  h.TechQual = ace::kWrittenTechQual;
  h.TechParm = 6;
  return h;
}

TEST_F(FormatTest, FileHeaderMatchesTheGoldenArchiveByteForByte) {
  SetKeepPaths(1);
  const Bytes golden = PlainArchive();
  const Bytes want(golden.begin() + 53, golden.begin() + 53 + 53);
  ace::FileHeaderFixed h = GoldenAliceFields();
  uint8_t out[ace::kMaxFileHeaderSize];
  ASSERT_EQ(ace::BuildFileHeader("docs\\alice29.txt", h, out), 53u);
  EXPECT_EQ(Bytes(out, out + 53), want);
  EXPECT_EQ(h.NameSize, 16);
  EXPECT_EQ(h.HeadSize, 49);
  EXPECT_EQ(h.HeadCrc, ace::LoadU16(want.data()));

  // The fixed part encodes and decodes as the inverse of each other; all but
  // the reserved word equals the golden header.
  h.Reserved = 0xBEEF;
  uint8_t fixed[ace::kFileFixedSize];
  ace::EncodeFileHeaderFixed(h, fixed);
  EXPECT_EQ(Bytes(fixed, fixed + 31), Bytes(want.begin(), want.begin() + 31));
  EXPECT_EQ(fixed[31], 0xEF);
  EXPECT_EQ(fixed[32], 0xBE);
  const ace::FileHeaderFixed back = ace::DecodeFileHeaderFixed(fixed);
  EXPECT_EQ(std::memcmp(&back, &h, sizeof h), 0);

  // The writers put both headers at the current position.
  ace::FileHandle file = ace::FileOpen((dir_ / "out.ace").c_str(), "wb");
  ASSERT_NE(file, ace::kNoFile);
  EXPECT_EQ(ace::WriteMainHeader(ace::kFlagSolid, file), 1);
  h = GoldenAliceFields();
  EXPECT_EQ(ace::WriteFileHeader("C:\\docs\\alice29.txt", h, file), 1);
  ace::FileClose(file);
  uint8_t main[ace::kMainHeaderWrittenSize];
  ace::BuildMainHeader(ace::kFlagSolid, ace::kAdvertText, main);
  EXPECT_EQ(ReadFileBytes(dir_ / "out.ace"), Join({Bytes(main, main + sizeof main), want}));
}

// The stored name that the writer puts into the header, with the header's
// size fields checked against it.
std::string StoredName(const char* source, ace::FileHeaderFixed* header = nullptr) {
  ace::FileHeaderFixed h;
  uint8_t out[ace::kMaxFileHeaderSize];
  const size_t length = ace::BuildFileHeader(source, h, out);
  EXPECT_EQ(length, ace::kFileFixedSize + h.NameSize + 2);
  EXPECT_EQ(h.HeadSize, 33 + h.NameSize);
  EXPECT_EQ(ace::LoadU16(out + 33), h.NameSize);
  EXPECT_EQ(ace::LoadU16(out + length - 2), 0) << "COMMENT_SIZE";
  if (header != nullptr) *header = h;
  return std::string(reinterpret_cast<char*>(out) + 35, h.NameSize);
}

TEST_F(FormatTest, StoredNamesFollowThePathRules) {
  const struct {
    const char* source;
    int32_t keepPaths;
    const char* relative;
    const char* stored;
  } cases[] = {
      {"C:\\DATA\\A.TXT", 1, "", "DATA\\A.TXT"},
      {"C:\\DATA\\A.TXT", 0, "", "A.TXT"},
      {"C:\\DATA\\A.TXT", 1, "SUB", "SUB\\DATA\\A.TXT"},
      {"C:\\DATA\\A.TXT", 0, "SUB", "A.TXT"},
      {"C:\\DATA\\A.TXT", 1, "SUB\\", "SUB\\\\DATA\\A.TXT"},
      {"\\\\SERVER\\SHARE\\X.TXT", 1, "", "X.TXT"},
      {"\\\\SERVER\\SHARE\\DIR\\X.TXT", 1, "", "DIR\\X.TXT"},
      {"\\\\SERVER\\SHARE\\X.TXT", 1, "SUB", "SUB\\X.TXT"},
      {"..\\X.TXT", 1, "", "X.TXT"},
      {"..\\..\\X.TXT", 1, "", "..\\X.TXT"},
      {"..config", 1, "", "..config"},
      {"\\DATA\\A.TXT", 1, "", "DATA\\A.TXT"},
      {"C:X.TXT", 1, "", "X.TXT"},
      {"DIR\\FILE.", 0, "", "FILE"},
      {"DIR\\FILE.", 1, "", "DIR\\FILE."},
      {"DIR\\FILE.TXT", 0, "", "FILE.TXT"},
      {"docs/sub/x.txt", 1, "", "docs\\sub\\x.txt"},
      {"docs\\sub", 1, "", "docs\\sub"},
      {"", 1, "", ""},  // the shortest header
      {"DIR\\\xC3\x84PFEL.TXT", 1, "",
       "DIR\\\x8E"
       "PFEL.TXT"},  // OEM code page
  };
  for (const auto& c : cases) {
    SetKeepPaths(c.keepPaths);
    SetRelativePath(c.relative);
    EXPECT_EQ(StoredName(acetest::Ansi(c.source).c_str()), c.stored)
        << c.source << " keep " << c.keepPaths << " rel " << c.relative;
  }
}

TEST_F(FormatTest, OverLongNamesAreCutToTheListingField) {
  SetKeepPaths(1);
  const std::string huge(10000, 'n');
  ace::FileHeaderFixed h;
  EXPECT_EQ(StoredName(huge.c_str(), &h), std::string(ace::kMaxStoredName, 'n'));
  EXPECT_EQ(h.HeadSize, 33 + ace::kMaxStoredName);
  // Without paths the long directory goes before the name is cut.
  SetKeepPaths(0);
  SetRelativePath(huge.c_str());
  EXPECT_EQ(StoredName((huge + "\\short.txt").c_str()), "short.txt");
}

}  // namespace
}  // namespace acetest
