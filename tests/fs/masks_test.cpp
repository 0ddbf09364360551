// Wildcards and file masks: "?" is one character, "*" any run (and "**" a
// literal star); a mask's directory must match exactly unless its name is a
// wildcard, which also reaches the subdirectories; case never matters, and
// names are compared in a stored form without server, drive, root or climb.
#include "fs/masks.h"

#include "fs/name_lookup.h"
#include "fs/wildcard.h"
#include "plugin/state.h"
#include "support/host.h"

namespace {

using acetest::Masks;

TEST(Masks, QuestionMarkIsOneCharacterAndStarAnyRun) {
  const struct {
    const char* text;
    const char* pattern;
    int match;
  } cases[] = {
      {"", "", 1},      {"A", "", 0},          {"", "*", 1},       {"ABC", "A*", 1},
      {"ABC", "*B", 0}, {"ABC", "A?C", 1},     {"AC", "A?C", 0},   {"ABC", "*??", 1},
      {"", "*?", 0},    {"ABC", "**", 0},      {"A*C", "A**C", 1}, {"TT", "T*T", 1},
      {"T", "T*T", 0},  {"ABCABD", "*ABD", 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ace::WildcardMatch(c.text, c.pattern), c.match) << c.text << " ~ " << c.pattern;
  }
}

TEST(Masks, WhatEachMaskSelects) {
  const struct {
    const char* mask;
    std::vector<const char*> selects, rejects;
  } cases[] = {
      {"*.*", {"a", "a.txt", "docs\\a", "x\\y\\z.tar.gz", "C:\\a.b"}, {}},
      {"*", {"a", "docs\\a"}, {"a.txt"}},
      {"*.txt", {"a.txt", "docs\\a.txt", "A.TXT"}, {"a.doc", "a.txt.bak"}},
      {"docs\\*.txt",
       {"docs\\a.txt", "docs\\sub\\a.txt", "DOCS/A.TXT"},
       {"a.txt", "x\\docs\\a.txt"}},
      {"readme.txt", {"readme.txt", "README.TXT"}, {"docs\\readme.txt"}},
      {"docs/readme.txt", {"docs\\readme.txt"}, {"readme.txt", "docs\\sub\\readme.txt"}},
      {"a?c.txt", {"abc.txt"}, {"ac.txt", "abbc.txt"}},
      {"\xC3\xA4*.txt", {"\xC3\x84pfel.txt"}, {"apfel.txt"}},  // upper case reaches Latin-1
  };
  for (const auto& c : cases) {
    Masks masks({acetest::Ansi(c.mask)});  // names come in the ANSI code page
    for (const char* name : c.selects) {
      EXPECT_EQ(ace::MatchesMaskList(acetest::Ansi(name).c_str(), masks.get()), 1)
          << c.mask << " selects " << name;
    }
    for (const char* name : c.rejects) {
      EXPECT_EQ(ace::MatchesMaskList(acetest::Ansi(name).c_str(), masks.get()), 0)
          << c.mask << " rejects " << name;
    }
  }
  EXPECT_EQ(ace::MatchesMaskList("anything", Masks({}).get()), 1) << "an empty list selects all";
  const std::string dir(400, 'd');  // names and masks are both cut to 255 characters
  Masks cut({dir + "\\" + std::string(300, 'b') + ".e"});
  EXPECT_EQ(ace::MatchesMaskList((dir + "\\" + std::string(255, 'b') + "x.e").c_str(), cut.get()),
            1);
  EXPECT_EQ(ace::MatchesMaskList((dir + "\\" + std::string(254, 'b') + ".e").c_str(), cut.get()),
            0);
}

TEST(Masks, StoredFormsDropServerDriveRootAndOneClimb) {
  const std::pair<const char*, const char*> cases[] = {
      {"\\\\server\\share\\dir\\a.txt", "DIR\\A.TXT"},
      {"C:\\dir\\a.txt", "DIR\\A.TXT"},
      {"..\\dir\\a.txt", "DIR\\A.TXT"},
      {"dir/a.txt", "DIR\\A.TXT"},
      {"\\\\server", "SERVER"},
      {"\\\\server\\share", ""},
      {"\\..\\a", "A"},
      {"C:..\\a", ".\\A"}};
  for (const auto& [path, form] : cases) {
    char out[260];
    ace::StoredForm(path, out, sizeof out);
    EXPECT_STREQ(out, form) << path;
  }
}

}  // namespace
