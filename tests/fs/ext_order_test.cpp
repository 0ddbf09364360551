// A solid run's files in extension order: programs, text and sources,
// "*.??_", packed files, no extension, others alphabetically, help files;
// ties by base name, equal names in listed order.
#include "fs/ext_order.h"

#include "fs/path_ops.h"
#include "support/test_support.h"

namespace {

using namespace ace;

std::vector<std::string> Ordered(const std::vector<std::string>& paths) {
  FileWorkList list{};
  for (const std::string& p : paths) {
    FileWorkEntry e{};
    CopyText(e.DiskPath, sizeof e.DiskPath, p.c_str());
    AddFileWorkEntry(e, &list);
  }
  OrderByExtension(&list);
  std::vector<std::string> out;
  for (const FileWorkEntry* e = list.First; e != nullptr; e = e->Next)
    out.emplace_back(e->DiskPath);
  EXPECT_EQ(list.Last->DiskPath, out.back());
  EXPECT_EQ(list.Count, paths.size());
  FreeFileWorkList(&list);
  return out;
}

TEST(ExtensionOrder, GroupsComeInTheirOrder) {
  EXPECT_EQ(Ordered({"help.hlp", "z.pdf", "pic.JPEG", "make", "data.xyz", "drv.sy_", "x.ico",
                     "b.cpp", "a.c", "n.ME", "r.txt", "w.bin", "setup.exe", "g.gz", "h.htm"}),
            (std::vector<std::string>{"setup.exe", "w.bin", "r.txt", "n.ME", "a.c", "b.cpp",
                                      "h.htm", "x.ico", "drv.sy_", "z.pdf", "g.gz", "pic.JPEG",
                                      "make", "data.xyz", "help.hlp"}));
  // Equal keys by base name; equal names (folders take no part) as listed;
  // two files stay as they are.
  EXPECT_EQ(
      Ordered({"d1\\same.c", "B.TXT", "d2\\same.c", "a.txt", "x.html", "x.htm"}),
      (std::vector<std::string>{"a.txt", "B.TXT", "d1\\same.c", "d2\\same.c", "x.html", "x.htm"}));
  EXPECT_EQ(Ordered({"b.txt", "a.exe"}), (std::vector<std::string>{"b.txt", "a.exe"}));
}

}  // namespace
