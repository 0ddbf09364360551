#include "plugin/arc_file_list.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "plugin_fixture.h"

namespace {

using acetest::PluginTest;

void ExpectEmpty(const ArcFileList& list) {
  EXPECT_EQ(list.Count, 0u);
  EXPECT_EQ(list.First, nullptr);
  EXPECT_EQ(list.Last, nullptr);
}

// Entries keep their append order; DoneArcFileList releases every entry and
// comment (the sanitizer build reports any left behind) and empties the head.
TEST_F(PluginTest, ListsKeepTheirAppendOrderAndAreReleasedWhole) {
  ArcFileList list;
  std::memset(&list, 0xAB, sizeof list);
  InitArcFileList(&list);
  ExpectEmpty(list);
  DoneArcFileList(&list);
  ExpectEmpty(list);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);

  ArcFileEntry* entries[4];
  const int32_t comments[4] = {5, 0, 300, -1};  // -1: no comment at all
  for (int i = 0; i < 4; ++i) {
    entries[i] = ace::NewArcFileEntry();
    ASSERT_NE(entries[i], nullptr);
    entries[i]->Next = entries[0];  // stale links are replaced
    std::snprintf(entries[i]->Name, sizeof entries[i]->Name, "name%d", i);
    if (comments[i] >= 0) {
      entries[i]->Comment = ace::NewEntryComment(comments[i]);
      entries[i]->CommentLength = comments[i];
      std::memset(entries[i]->Comment, 'c', static_cast<size_t>(comments[i]));
    }
    ace::AppendArcFileEntry(&list, entries[i]);
    EXPECT_EQ(list.Count, static_cast<uint32_t>(i + 1));
    EXPECT_EQ(list.First, entries[0]);
    EXPECT_EQ(list.Last, entries[i]);
  }
  std::string order;
  for (const ArcFileEntry* e = list.First; e != nullptr; e = e->Next) order += e->Name;
  EXPECT_EQ(order, "name0name1name2name3");
  DoneArcFileList(&list);
  ExpectEmpty(list);
}

TEST_F(PluginTest, NewEntriesAndCommentsAreZeroed) {
  ArcFileEntry* entry = ace::NewArcFileEntry();
  ASSERT_NE(entry, nullptr);
  const auto* bytes = reinterpret_cast<const unsigned char*>(entry);
  for (size_t i = 0; i < sizeof *entry; ++i) ASSERT_EQ(bytes[i], 0) << i;

  entry->Comment = ace::NewEntryComment(10);
  ASSERT_NE(entry->Comment, nullptr);
  entry->CommentLength = 10;
  for (int i = 0; i < 10 + 255; ++i) ASSERT_EQ(entry->Comment[i], 0) << i;
  EXPECT_EQ(ace::NewEntryComment(-1), nullptr);

  ArcFileList list{};
  ace::AppendArcFileEntry(&list, entry);
  DoneArcFileList(&list);
}

}  // namespace
