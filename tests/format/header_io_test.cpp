#include <string>

#include "format/crc32.h"
#include "format/header_io.h"
#include "format_fixture.h"
#include "fs/file_layer.h"
#include "support/test_support.h"

namespace {

using acetest::FormatTest;

TEST(Crc32, MatchesTheKnownRegisterForAbc) {
  const uint32_t crc = ace::Crc32Update(ace::kCrcInit, "abc", 3);
  EXPECT_EQ(crc, 0xCADBBE3Du);
  EXPECT_EQ(crc & 0xFFFFu, 0xBE3Du);
  // Feeding the bytes in parts gives the same register.
  EXPECT_EQ(ace::Crc32Update(ace::Crc32Update(ace::kCrcInit, "a", 1), "bc", 2), crc);
}

// The table-driven code folds eight bytes at a time; checked against the
// polynomial worked bit by bit, at every length and start around a word.
TEST(Crc32, EightBytesAtATimeAgreesWithTheBitwiseDefinition) {
  const acetest::Bytes data = acetest::RandomBytes(300, 5);
  auto bitwise = [&](size_t start, size_t length) {
    uint32_t crc = ace::kCrcInit;
    for (size_t i = start; i < start + length; ++i) {
      crc ^= data[i];
      for (int k = 0; k < 8; ++k) crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
    }
    return crc;
  };
  for (size_t start = 0; start < 9; ++start) {
    for (size_t length : {0, 1, 7, 8, 9, 15, 16, 17, 63, 64, 200}) {
      SCOPED_TRACE(testing::Message() << "start " << start << " length " << length);
      EXPECT_EQ(ace::Crc32Update(ace::kCrcInit, data.data() + start, length), bitwise(start, length));
    }
  }
}

TEST_F(FormatTest, FieldsAreReadLittleEndianInOrder) {
  acetest::TempDir dir;
  acetest::WriteFileBytes(dir / "h", {0x7F, 0x34, 0x12, 0x78, 0x56, 0x34, 0x12, 0xFF});
  ace::FileHandle file = ace::FileOpen((dir / "h").c_str(), "rb");
  ASSERT_NE(file, ace::kNoFile);
  EXPECT_EQ(ace::ReadByte(file), 0x7F);
  EXPECT_EQ(ace::ReadWord(file), 0x1234);
  EXPECT_EQ(ace::ReadDword(file), 0x12345678u);
  EXPECT_EQ(ace::ReadByte(file), 0xFF);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  ace::FileClose(file);
}

TEST_F(FormatTest, AShortReadLeavesAnIoErrorAndGivesZero) {
  const struct {
    const char* name;
    size_t available;
    uint32_t (*read)(ace::FileHandle);
  } cases[] = {
      {"byte", 0, [](ace::FileHandle f) -> uint32_t { return ace::ReadByte(f); }},
      {"word", 1, [](ace::FileHandle f) -> uint32_t { return ace::ReadWord(f); }},
      {"dword", 3, [](ace::FileHandle f) -> uint32_t { return ace::ReadDword(f); }},
  };
  acetest::TempDir dir;
  for (const auto& c : cases) {
    acetest::WriteFileBytes(dir / c.name, acetest::Bytes(c.available, 0xAA));
    ace::FileHandle file = ace::FileOpen((dir / c.name).c_str(), "rb");
    ASSERT_NE(file, ace::kNoFile);
    SetArchiveStatus(0);
    EXPECT_EQ(c.read(file), 0u) << c.name;
    EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR) << c.name;
    ace::FileClose(file);
  }
}

}  // namespace
