#include "fs/masks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "fs/wildcard.h"
#include "plugin/state.h"
#include "support/test_support.h"

namespace {

using namespace ace;

// A mask list built through the exports and freed on scope exit.
class Masks {
 public:
  explicit Masks(const std::vector<const char*>& masks) {
    InitFileMaskList(&list_);
    for (const char* m : masks) EXPECT_EQ(AppendFileMask(m, &list_), 1) << m;
  }
  ~Masks() { DoneFileMaskList(&list_); }
  FileMaskList* get() { return &list_; }

 private:
  FileMaskList list_{};
};

TEST(Wildcard, Rules) {
  struct Case {
    const char* text;
    const char* pattern;
    int match;
  };
  const Case cases[] = {
      {"", "", 1},      {"A", "", 0},       {"", "*", 1},      {"ABC", "*", 1},
      {"ABC", "A*", 1}, {"ABC", "*C", 1},   {"ABC", "*B", 0},  {"ABC", "A?C", 1},
      {"AC", "A?C", 0}, {"ABBC", "A?C", 0}, {"ABC", "*?C", 1}, {"ABC", "*??", 1},
      {"A", "*?", 1},   {"", "*?", 0},      {"ABC", "**", 0},  {"A*C", "A**C", 1},
      {"A*", "**", 1},  {"TXT", "T*T", 1},  {"TT", "T*T", 1},  {"T", "T*T", 0},
      {"", "?", 0},     {"ABC", "ABC", 1},  {"ABC", "ABD", 0}, {"ABCABD", "*ABD", 1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(WildcardMatch(c.text, c.pattern), c.match) << c.text << " ~ " << c.pattern;
  }
}

TEST(MaskList, SelectionTable) {
  struct Case {
    const char* mask;
    std::vector<const char*> selects;
    std::vector<const char*> rejects;
  };
  const std::vector<Case> cases = {
      {"*.*", {"a", "a.txt", "docs\\a", "x\\y\\z.tar.gz", "C:\\a.b"}, {}},
      {"*", {"a", "docs\\a"}, {"a.txt"}},
      {"*.", {"a", "docs\\a"}, {"a.txt"}},
      {"*.txt", {"a.txt", "docs\\a.txt", "A.TXT"}, {"a.doc", "a.txt.bak"}},
      {"docs\\*.txt",
       {"docs\\a.txt", "docs\\sub\\a.txt", "DOCS/A.TXT"},
       {"a.txt", "x\\docs\\a.txt"}},
      {"readme.txt", {"readme.txt", "README.TXT"}, {"docs\\readme.txt"}},
      {"docs\\readme.txt", {"docs\\readme.txt"}, {"readme.txt", "docs\\sub\\readme.txt"}},
      {"a?c.txt", {"abc.txt"}, {"ac.txt", "abbc.txt"}},
      {"docs/*.txt", {"docs\\a.txt"}, {"a.txt"}},
      {"\xC3\xA4*.txt", {"\xC3\x84pfel.txt"}, {"apfel.txt"}},  // upper case reaches Latin-1
  };
  for (const Case& c : cases) {
    Masks masks({acetest::Ansi(c.mask).c_str()});
    for (const char* name : c.selects) {
      EXPECT_EQ(MatchesMaskList(acetest::Ansi(name).c_str(), masks.get()), 1)
          << c.mask << " should select " << name;
    }
    for (const char* name : c.rejects) {
      EXPECT_EQ(MatchesMaskList(acetest::Ansi(name).c_str(), masks.get()), 0)
          << c.mask << " should reject " << name;
    }
  }
}

TEST(MaskList, EmptyListSelectsEverythingAndNodesKeepOrder) {
  FileMaskList empty{};
  InitFileMaskList(&empty);
  EXPECT_EQ(MatchesMaskList("anything\\at.all", &empty), 1);
  EXPECT_EQ(MatchesMaskList("x", nullptr), 1);

  Masks masks({"C:/data/*.txt", "b.", "c"});
  const FileMaskNode* n = masks.get()->First;
  ASSERT_NE(n, nullptr);
  EXPECT_STREQ(n->Directory, "C:\\data\\");
  EXPECT_STREQ(n->BaseName, "*");
  EXPECT_STREQ(n->Extension, "txt");
  n = n->Next;
  ASSERT_NE(n, nullptr);
  EXPECT_STREQ(n->Directory, "");
  EXPECT_STREQ(n->BaseName, "b");
  EXPECT_STREQ(n->Extension, "");
  n = n->Next;
  ASSERT_NE(n, nullptr);
  EXPECT_STREQ(n->BaseName, "c");
  EXPECT_EQ(n->Next, nullptr);
  EXPECT_EQ(masks.get()->Last, n);
  // The second node selects a name the first does not.
  EXPECT_EQ(MatchesMaskList("B", masks.get()), 1);
  EXPECT_EQ(MatchesMaskList("d", masks.get()), 0);

  char path[260];
  EXPECT_TRUE(MaskNodePath(masks.get()->First, path, sizeof path));
  EXPECT_STREQ(path, "C:\\data\\*.txt");
  EXPECT_FALSE(MaskNodePath(masks.get()->First, path, 5));
  EXPECT_STREQ(path, "C:\\d");
}

TEST(MaskList, ExportsRefuseNullPointers) {
  SetStatus(0);
  FileMaskList list{};
  InitFileMaskList(&list);
  EXPECT_EQ(AppendFileMask(nullptr, &list), 0);
  EXPECT_EQ(Status(), static_cast<uint32_t>(AR_IO_ERROR));
  SetStatus(0);
  EXPECT_EQ(AppendFileMask("*.*", nullptr), 0);
  EXPECT_EQ(Status(), static_cast<uint32_t>(AR_IO_ERROR));
  SetStatus(0);
  EXPECT_EQ(list.First, nullptr);
  InitFileMaskList(nullptr);
  DoneFileMaskList(nullptr);
  DoneFileMaskList(&list);  // an empty list
  EXPECT_EQ(list.First, nullptr);
  EXPECT_EQ(list.Last, nullptr);
}

TEST(MaskList, OverlongMasksAreCutToTheirFields) {
  const std::string dir(400, 'd');
  const std::string base(300, 'b');
  const std::string ext(300, 'e');
  const std::string mask = dir + "\\" + base + "." + ext;
  Masks masks({mask.c_str()});
  const FileMaskNode* n = masks.get()->First;
  ASSERT_NE(n, nullptr);
  EXPECT_EQ(std::string(n->Directory), dir + "\\");
  EXPECT_EQ(std::strlen(n->BaseName), 255u);
  EXPECT_EQ(std::strlen(n->Extension), 255u);
  // A name cut the same way matches; one that differs in its first 255 characters does not.
  EXPECT_EQ(MatchesMaskList(mask.c_str(), masks.get()), 1);
  const std::string other = dir + "\\" + std::string(300, 'c') + "." + ext;
  EXPECT_EQ(MatchesMaskList(other.c_str(), masks.get()), 0);
  const std::string huge(5000, 'x');
  EXPECT_EQ(MatchesMaskList(huge.c_str(), masks.get()), 0);
}

}  // namespace
