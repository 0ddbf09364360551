#include <cstring>
#include <string>

#include "format/crc32.h"
#include "format/header_format.h"
#include "format/header_writer.h"
#include "format_fixture.h"
#include "support/test_support.h"

namespace {

using acetest::Bytes;
using acetest::FormatTest;

Bytes PlainArchive() {
  return acetest::ReadFileBytes(acetest::SharedDir() / "vectors" / "archives" / "plain.ace");
}

TEST(MainHeader, MatchesTheGoldenArchiveByteForByte) {
  const Bytes golden = PlainArchive();
  ASSERT_GE(golden.size(), ace::kMainHeaderWrittenSize);
  uint8_t header[ace::kMainHeaderWrittenSize];
  ace::BuildMainHeader(0, "aceplug test vectors  ", header);
  EXPECT_EQ(Bytes(header, header + sizeof header),
            Bytes(golden.begin(), golden.begin() + ace::kMainHeaderWrittenSize));
}

TEST(MainHeader, CarriesTheFixedFieldsAndTheSolidFlag) {
  for (uint16_t flags : {uint16_t{0}, ace::kFlagSolid}) {
    uint8_t h[ace::kMainHeaderWrittenSize];
    ace::BuildMainHeader(flags, ace::kAdvertText, h);
    const Bytes fixed(h + 2, h + 31);
    const Bytes expected = {0x31, 0x00, 0x00, 0x00, static_cast<uint8_t>(flags == 0 ? 0x10 : 0x90),
                            '*', '*', 'A', 'C', 'E', '*', '*', 10, 20, 2, 0,
                            0x63, 0x99, 0x61, 0x2C, 0xE4, 0xCE, 0xFD, 0x08, 0x2B, 0x20, 0x00, 0x00,
                            22};
    EXPECT_EQ(fixed, expected) << flags;
    EXPECT_EQ(std::string(reinterpret_cast<char*>(h) + 31, 22), "aceplug archive writer");
    const uint32_t crc = ace::Crc32Update(ace::kCrcInit, h + 4, 49);
    EXPECT_EQ(ace::LoadU16(h), static_cast<uint16_t>(crc));
  }
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
  ace::FileHeaderFixed h = GoldenAliceFields();
  uint8_t out[ace::kMaxFileHeaderSize];
  const size_t length = ace::BuildFileHeader("docs\\alice29.txt", h, out);

  const Bytes golden = PlainArchive();
  const size_t start = ace::kMainHeaderWrittenSize;
  ASSERT_EQ(length, 53u);
  EXPECT_EQ(Bytes(out, out + length), Bytes(golden.begin() + start, golden.begin() + start + 53));
  EXPECT_EQ(h.NameSize, 16);
  EXPECT_EQ(h.HeadSize, 49);
  EXPECT_EQ(h.HeadCrc, ace::LoadU16(&golden[start]));
}

TEST(FileHeaderFixed, EncodeAndDecodeAreInverse) {
  ace::FileHeaderFixed h = GoldenAliceFields();
  h.HeadCrc = 0xFA6A;
  h.HeadSize = 0x0031;
  h.Reserved = 0xBEEF;
  h.NameSize = 0x0010;
  uint8_t bytes[ace::kFileFixedSize];
  ace::EncodeFileHeaderFixed(h, bytes);
  const Bytes golden = PlainArchive();
  // Everything but the reserved word equals the golden header.
  EXPECT_EQ(Bytes(bytes, bytes + 31), Bytes(golden.begin() + 53, golden.begin() + 53 + 31));
  EXPECT_EQ(bytes[31], 0xEF);
  EXPECT_EQ(bytes[32], 0xBE);
  const ace::FileHeaderFixed back = ace::DecodeFileHeaderFixed(bytes);
  EXPECT_EQ(std::memcmp(&back, &h, sizeof h), 0);
}

// Returns the stored name that the writer puts into the header.
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
  };
  for (const auto& c : cases) {
    SetKeepPaths(c.keepPaths);
    SetRelativePath(c.relative);
    EXPECT_EQ(StoredName(c.source), c.stored)
        << c.source << " keep " << c.keepPaths << " rel " << c.relative;
  }
}

TEST_F(FormatTest, AnEmptyNameGivesTheShortestHeader) {
  ace::FileHeaderFixed h;
  EXPECT_EQ(StoredName("", &h), "");
  EXPECT_EQ(h.NameSize, 0);
  EXPECT_EQ(h.HeadSize, 33);
}

TEST_F(FormatTest, NamesAreStoredInTheOemCodePage) {
  SetKeepPaths(1);
  EXPECT_EQ(StoredName("DIR\\\xC3\x84PFEL.TXT"), "DIR\\\x8E" "PFEL.TXT");  // A-umlaut
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

TEST_F(FormatTest, WritersPutTheHeadersAtTheCurrentPosition) {
  SetKeepPaths(1);
  acetest::TempDir dir;
  ace::FileHandle file = ace::FileOpen((dir / "out.ace").c_str(), "wb");
  ASSERT_NE(file, ace::kNoFile);
  EXPECT_EQ(ace::WriteMainHeader(ace::kFlagSolid, file), 1);
  ace::FileHeaderFixed h = GoldenAliceFields();
  EXPECT_EQ(ace::WriteFileHeader("C:\\docs\\alice29.txt", h, file), 1);
  ace::FileClose(file);

  uint8_t main[ace::kMainHeaderWrittenSize];
  ace::BuildMainHeader(ace::kFlagSolid, ace::kAdvertText, main);
  ace::FileHeaderFixed again = GoldenAliceFields();
  uint8_t fileHeader[ace::kMaxFileHeaderSize];
  const size_t length = ace::BuildFileHeader("docs\\alice29.txt", again, fileHeader);
  Bytes expected(main, main + sizeof main);
  expected.insert(expected.end(), fileHeader, fileHeader + length);
  EXPECT_EQ(acetest::ReadFileBytes(dir / "out.ace"), expected);
  EXPECT_EQ(h.HeadCrc, again.HeadCrc);
}

}  // namespace
