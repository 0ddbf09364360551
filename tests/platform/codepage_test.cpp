// Names and comments cross between the archive's code page (CP437) and the
// system's ANSI code page (UTF-8 on POSIX): both ways, characters CP437 lacks,
// and texts cut only between whole characters.
#include "platform/win32.h"
#include "support/test_support.h"

namespace {

TEST(CodePage, ConvertsBothWaysAndMarksWhatCp437Lacks) {
  const std::pair<const char*, const char*> cases[] = {
      {"plain.txt", "plain.txt"},
      {"\x84\x94\x81\xE1", "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F"},  // äöüß
      {"\x8E\x99\x9A", "\xC3\x84\xC3\x96\xC3\x9C"},              // ÄÖÜ
      {"\xC9\xCD\xBB", "\xE2\x95\x94\xE2\x95\x90\xE2\x95\x97"},  // box drawing
      {"\xE0\xFF", "\xCE\xB1\xC2\xA0"},                          // alpha, no-break space
  };
  for (const auto& [oem, utf8] : cases) {
    const std::string ansi = acetest::Ansi(utf8);
    if (ansi.find('?') != std::string::npos) continue;  // the ANSI code page lacks it
    char out[64];
    ASSERT_TRUE(OemToCharA(oem, out, sizeof out));
    EXPECT_EQ(out, ansi);
    ASSERT_TRUE(CharToOemA(ansi.c_str(), out, sizeof out));
    EXPECT_STREQ(out, oem);
  }
  char out[16];
  CharToOemA(acetest::Ansi("\xE2\x82\xAC-a").c_str(), out, sizeof out);  // €
  EXPECT_STREQ(out, "?-a");
#ifndef _WIN32
  // Windows gives some a look-alike ("A" for "À"); a malformed UTF-8 byte is one character.
  CharToOemA("\xC3\x80-a\xFF", out, sizeof out);
  EXPECT_STREQ(out, "?-a?");
#endif
}

TEST(CodePage, TextsAreCutBetweenWholeCharacters) {
  // In UTF-8 "ä" takes two bytes and "╔" three; a Windows code page may hold them in one.
  const size_t two = acetest::Ansi("\xC3\xA4").size();
  const size_t three = acetest::Ansi("\xE2\x95\x94").size();
  std::string field(280, '#');
  ASSERT_TRUE(OemToCharA(std::string(255, '\x84').c_str(), field.data(), 272));
  EXPECT_EQ(std::strlen(field.c_str()), std::min<size_t>(255, 271 / two) * two);
  EXPECT_EQ(field.substr(272), std::string(8, '#'));
  char small[11];
  ASSERT_TRUE(OemToCharA(std::string(100, '\xC9').c_str(), small, sizeof small));
  EXPECT_EQ(std::strlen(small), 10 / three * three);
  char same[8] = "\x84\x84\x84\x84";  // in place, with the buffer's size
  ASSERT_TRUE(OemToCharA(same, same, sizeof same));
  std::string fits;  // four of them in one byte each, three in two
  for (size_t i = 0; i < std::min<size_t>(4, 7 / two); ++i) fits += acetest::Ansi("\xC3\xA4");
  EXPECT_EQ(same, fits);
  char oem[256];
  ASSERT_TRUE(CharToOemA(std::string(600, 'x').c_str(), oem, sizeof oem));
  EXPECT_EQ(std::strlen(oem), 255u);
}

}  // namespace
