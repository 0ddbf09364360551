#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/win32.h"
#include "support/test_support.h"

namespace {

std::string Times(const std::string& text, size_t n) {
  std::string out;
  for (size_t i = 0; i < n; ++i) out += text;
  return out;
}

TEST(CodePage, Cp437AndTheAnsiCodePage) {
  struct Case {
    const char* oem;
    const char* utf8;
  };
  const Case cases[] = {
      {"plain.txt", "plain.txt"},
      {"\x84\x94\x81\xE1", "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F"},  // äöüß
      {"\x8E\x99\x9A", "\xC3\x84\xC3\x96\xC3\x9C"},              // ÄÖÜ
  };
  for (const Case& c : cases) {
    const std::string ansi = acetest::Ansi(c.utf8);
    char out[64];
    ASSERT_TRUE(OemToCharA(c.oem, out, sizeof out));
    EXPECT_EQ(out, ansi);
    ASSERT_TRUE(CharToOemA(ansi.c_str(), out, sizeof out));
    EXPECT_STREQ(out, c.oem);
  }
}

TEST(CodePage, Cp437AndUtf8) {
  ACE_POSIX_ONLY("the ANSI code page is UTF-8");
  struct Case {
    const char* oem;
    const char* ansi;
  };
  const Case cases[] = {
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
  // Three-byte characters are cut before the one that does not fit whole.
  std::string boxes(100, '\xC9');
  char small[11];
  ASSERT_TRUE(OemToCharA(boxes.c_str(), small, sizeof small));
  EXPECT_EQ(std::strlen(small), 9u);
}

TEST(CodePage, LongNamesNeverOverrun) {
  const std::string ae = acetest::Ansi("\xC3\xA4");  // ä: two bytes in UTF-8, one in 1252
  // A 255-byte CP437 name into a 272-byte field: whole characters only.
  std::string oem(255, '\x84');
  char field[272 + 8];
  std::memset(field, '#', sizeof field);
  ASSERT_TRUE(OemToCharA(oem.c_str(), field, 272));
  EXPECT_EQ(field, Times(ae, std::min<size_t>(255, 271 / ae.size())));
  for (size_t i = 272; i < sizeof field; ++i) EXPECT_EQ(field[i], '#') << i;

  // In place, with the buffer's capacity.
  char buf[8] = "\x84\x84\x84\x84";
  ASSERT_TRUE(OemToCharA(buf, buf, sizeof buf));
  const size_t fit = std::min<size_t>(4, 7 / ae.size());
  EXPECT_EQ(buf, Times(ae, fit));
  ASSERT_TRUE(CharToOemA(buf, buf, sizeof buf));
  EXPECT_EQ(buf, std::string(fit, '\x84'));

  std::string ansi(600, 'x');
  char oemField[256];
  ASSERT_TRUE(CharToOemA(ansi.c_str(), oemField, sizeof oemField));
  EXPECT_EQ(std::strlen(oemField), 255u);
}

TEST(CodePage, UpperCase) {
  // Letters go up; the division sign and sharp s stay.
  std::string text =
      acetest::Ansi("abc xyz \xC3\xA4\xC3\xB6\xC3\xBC \xC3\xA9 \xC3\xB7 \xC3\x9F 1.txt");
  CharUpperA(text.data());
  EXPECT_EQ(text,
            acetest::Ansi("ABC XYZ \xC3\x84\xC3\x96\xC3\x9C \xC3\x89 \xC3\xB7 \xC3\x9F 1.TXT"));
#ifndef _WIN32
  // UTF-8: other characters stay, and a trail byte that looks like a Latin-1
  // lead is left alone.
  char box[] = "\xE2\x95\x94x";
  CharUpperA(box);
  EXPECT_STREQ(box, "\xE2\x95\x94X");
  char trail[] = "\xE2\x95\xA4x";
  CharUpperA(trail);
  EXPECT_STREQ(trail, "\xE2\x95\xA4X");
#endif
}

}  // namespace
