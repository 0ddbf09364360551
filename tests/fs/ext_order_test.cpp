#include "fs/ext_order.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fs/dir_scan.h"
#include "fs/path_ops.h"

namespace {

using namespace ace;

class WorkListOf {
 public:
  explicit WorkListOf(const std::vector<std::string>& paths) {
    for (const std::string& p : paths) {
      FileWorkEntry e{};
      CopyText(e.DiskPath, sizeof e.DiskPath, p.c_str());
      CopyText(e.ArchiveName, sizeof e.ArchiveName, p.c_str());
      EXPECT_EQ(AddFileWorkEntry(e, &list_), 1);
    }
  }
  ~WorkListOf() { FreeFileWorkList(&list_); }
  FileWorkList* get() { return &list_; }
  std::vector<std::string> Order() const {
    std::vector<std::string> out;
    for (const FileWorkEntry* e = list_.First; e != nullptr; e = e->Next)
      out.emplace_back(e->DiskPath);
    return out;
  }

 private:
  FileWorkList list_{};
};

std::vector<std::string> Ordered(const std::vector<std::string>& paths) {
  WorkListOf list(paths);
  OrderByExtension(list.get());
  EXPECT_EQ(list.get()->Count, paths.size());
  if (!paths.empty()) {
    EXPECT_EQ(list.get()->Last->Next, nullptr);
    EXPECT_EQ(list.get()->Last->DiskPath, list.Order().back());
  }
  return list.Order();
}

int Compare(const char* a, const char* b) {
  FileWorkEntry x{};
  FileWorkEntry y{};
  CopyText(x.DiskPath, sizeof x.DiskPath, a);
  CopyText(y.DiskPath, sizeof y.DiskPath, b);
  return CompareByExtension(&x, &y);
}

TEST(ExtOrder, ShortListsStayAsTheyAre) {
  EXPECT_EQ(Ordered({"b.txt", "a.exe"}), (std::vector<std::string>{"b.txt", "a.exe"}));
  EXPECT_EQ(Ordered({"z.zip"}), (std::vector<std::string>{"z.zip"}));
  EXPECT_EQ(Ordered({}), (std::vector<std::string>{}));
  EXPECT_EQ(Ordered({"b.txt", "a.exe", "c.zip"}),
            (std::vector<std::string>{"a.exe", "b.txt", "c.zip"}));
}

TEST(ExtOrder, GroupsInTableOrder) {
  EXPECT_EQ(
      Ordered({"readme.txt", "setup.exe", "notes.me", "pic.jpg", "data.xyz", "help.hlp", "make"}),
      (std::vector<std::string>{"setup.exe", "readme.txt", "notes.me", "pic.jpg", "make",
                                "data.xyz", "help.hlp"}));
  // Program group in table order, before the text group; rule-4 names between
  // the text group and the packed group.
  EXPECT_EQ(Ordered({"z.pdf", "y.sy_", "x.ico", "w.bin", "v.tpu", "u.jpeg", "t.ace", "s.gz"}),
            (std::vector<std::string>{"v.tpu", "w.bin", "x.ico", "y.sy_", "z.pdf", "s.gz", "t.ace",
                                      "u.jpeg"}));
}

TEST(ExtOrder, Comparisons) {
  struct Case {
    const char* a;
    const char* b;
    int result;
  };
  const Case cases[] = {
      {"file.htm", "file.html", 0},         // one place, same base name
      {"dir1\\same.c", "dir2\\same.c", 0},  // directories take no part
      {"A.TXT", "b.txt", -1},               // by base name when the keys are equal
      {"b.txt", "A.TXT", 1},
      {"x.TxT", "x.txt", 0},        // case does not matter
      {"make", "other", 0},         // no extensions: equal, names not looked at
      {"make", "a.xyz", -1},        // "Z" before "Z.XYZ"
      {"driver.sy_", "a.ico", 1},   // after every text file...
      {"driver.sy_", "a.pdf", -1},  // ...and before any .pdf
      {"a.exe", "a.com", -1},
      {"a.doc", "a.bmp", -1},
      {"a.zip", "a.rar", -1},
      {"a.abc", "a.abd", -1},
      {"a.hlp", "a.zzz", 1},         // "ZZ.HLP" after "Z.ZZZ"
      {"dir.d\\noext", "a.txt", 1},  // a dot in the directory is not an extension
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Compare(c.a, c.b), c.result) << c.a << " vs " << c.b;
    EXPECT_EQ(Compare(c.b, c.a), -c.result) << c.b << " vs " << c.a;
  }
}

TEST(ExtOrder, TextGroupPlaces) {
  // Each extension of the text group sorts before the next one in the table.
  const std::vector<std::string> text = {
      "txt", "me",  "1st", "diz", "bat", "cmd", "log", "ini", "c",   "cpp", "cxx", "h",   "hpp",
      "hxx", "pas", "dpr", "bas", "asm", "rc",  "bak", "htm", "wri", "rtf", "doc", "bmp", "ico"};
  std::vector<std::string> paths;
  for (auto it = text.rbegin(); it != text.rend(); ++it) paths.push_back("f." + *it);
  std::vector<std::string> expected;
  for (const std::string& e : text) expected.push_back("f." + e);
  EXPECT_EQ(Ordered(paths), expected);
}

}  // namespace
