#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/win32.h"

namespace {

TEST(CodePage, Cp437AndUtf8) {
  struct Case {
    const char* oem;
    const char* ansi;
  };
  const Case cases[] = {
      {"plain.txt", "plain.txt"},
      {"\x84\x94\x81\xE1", "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F"},  // äöüß
      {"\x8E\x99\x9A", "\xC3\x84\xC3\x96\xC3\x9C"},              // ÄÖÜ
      {"\xC9\xCD\xBB", "\xE2\x95\x94\xE2\x95\x90\xE2\x95\x97"},  // box drawing
      {"\xE0\xFF", "\xCE\xB1\xC2\xA0"},                          // alpha, no-break space
  };
  for (const Case& c : cases) {
    char out[64];
    ASSERT_TRUE(OemToCharA(c.oem, out, sizeof out));
    EXPECT_STREQ(out, c.ansi);
    ASSERT_TRUE(CharToOemA(c.ansi, out, sizeof out));
    EXPECT_STREQ(out, c.oem);
  }
  char out[16];
  CharToOemA("\xC3\x80-\xE2\x82\xAC", out, sizeof out);  // À and € are not in CP437
  EXPECT_STREQ(out, "?-?");
  CharToOemA(
      "a\xFF"
      "b",
      out, sizeof out);  // malformed UTF-8
  EXPECT_STREQ(out, "a?b");
}

TEST(CodePage, LongNamesNeverOverrun) {
  // A 255-byte CP437 name of two-byte characters into a 272-byte field.
  std::string oem(255, '\x84');
  char field[272 + 8];
  std::memset(field, '#', sizeof field);
  ASSERT_TRUE(OemToCharA(oem.c_str(), field, 272));
  EXPECT_EQ(std::strlen(field), 270u);  // 135 whole characters, never half of one
  EXPECT_EQ(std::string(field + 268, 2), "\xC3\xA4");
  for (size_t i = 272; i < sizeof field; ++i) EXPECT_EQ(field[i], '#') << i;

  // Three-byte characters cut before the one that does not fit whole.
  std::string boxes(100, '\xC9');
  char small[11];
  ASSERT_TRUE(OemToCharA(boxes.c_str(), small, sizeof small));
  EXPECT_EQ(std::strlen(small), 9u);

  // In place, with the buffer's capacity.
  char buf[8] = "\x84\x84\x84\x84";
  ASSERT_TRUE(OemToCharA(buf, buf, sizeof buf));
  EXPECT_STREQ(buf, "\xC3\xA4\xC3\xA4\xC3\xA4");
  ASSERT_TRUE(CharToOemA(buf, buf, sizeof buf));
  EXPECT_STREQ(buf, "\x84\x84\x84");

  std::string ansi(600, 'x');
  char oemField[256];
  ASSERT_TRUE(CharToOemA(ansi.c_str(), oemField, sizeof oemField));
  EXPECT_EQ(std::strlen(oemField), 255u);
}

TEST(CodePage, CharUpper) {
  char text[] = "abc xyz \xC3\xA4\xC3\xB6\xC3\xBC \xC3\xA9 \xC3\xB7 \xC3\x9F \xE2\x95\x94 1.txt";
  CharUpperA(text);
  // Latin-1 letters go up; the division sign, sharp s and other characters stay.
  EXPECT_STREQ(text,
               "ABC XYZ \xC3\x84\xC3\x96\xC3\x9C \xC3\x89 \xC3\xB7 \xC3\x9F \xE2\x95\x94 1.TXT");
  char trail[] = "\xE2\x95\xA4x";  // a trail byte that looks like a Latin-1 lead is left alone
  CharUpperA(trail);
  EXPECT_STREQ(trail, "\xE2\x95\xA4X");
}

}  // namespace
