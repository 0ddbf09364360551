#include <cstdio>
#include <cstring>
#include <string>

#include "plugin/arc_file_list.h"
#include "plugin_fixture.h"

namespace {

using acetest::PluginTest;

TEST_F(PluginTest, InitAndDoneOnAnEmptyHead) {
  ArcFileList list;
  std::memset(&list, 0xAB, sizeof list);
  InitArcFileList(&list);
  EXPECT_EQ(list.Count, 0u);
  EXPECT_EQ(list.First, nullptr);
  EXPECT_EQ(list.Last, nullptr);
  DoneArcFileList(&list);
  EXPECT_EQ(list.Count, 0u);
  EXPECT_EQ(list.First, nullptr);
  EXPECT_EQ(list.Last, nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
}

TEST_F(PluginTest, EntriesKeepTheirAppendOrder) {
  ArcFileList list;
  InitArcFileList(&list);
  ArcFileEntry* entries[3];
  for (int i = 0; i < 3; ++i) {
    entries[i] = ace::NewArcFileEntry();
    ASSERT_NE(entries[i], nullptr);
    entries[i]->Next = entries[0];  // stale links are replaced
    std::snprintf(entries[i]->Name, sizeof entries[i]->Name, "name%d", i);
    ace::AppendArcFileEntry(&list, entries[i]);
    EXPECT_EQ(list.Count, static_cast<uint32_t>(i + 1));
    EXPECT_EQ(list.First, entries[0]);
    EXPECT_EQ(list.Last, entries[i]);
  }
  std::string order;
  for (const ArcFileEntry* e = list.First; e != nullptr; e = e->Next) order += e->Name;
  EXPECT_EQ(order, "name0name1name2");
  DoneArcFileList(&list);
  EXPECT_EQ(list.Count, 0u);
  EXPECT_EQ(list.First, nullptr);
  EXPECT_EQ(list.Last, nullptr);
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

// The sanitizer build reports any comment or entry left behind.
TEST_F(PluginTest, DoneArcFileListReleasesEveryComment) {
  ArcFileList list;
  InitArcFileList(&list);
  for (int32_t length : {5, 0, 300}) {
    ArcFileEntry* entry = ace::NewArcFileEntry();
    ASSERT_NE(entry, nullptr);
    entry->Comment = ace::NewEntryComment(length);
    entry->CommentLength = length;
    std::memset(entry->Comment, 'c', static_cast<size_t>(length));
    ace::AppendArcFileEntry(&list, entry);
  }
  ace::AppendArcFileEntry(&list, ace::NewArcFileEntry());  // no comment at all
  EXPECT_EQ(list.Count, 4u);
  DoneArcFileList(&list);
  EXPECT_EQ(list.First, nullptr);
}

}  // namespace
