// Reading at the edges: a walk that meets the end of the file inside a
// header, and comments whose text holds a NUL byte.
#include <cstdlib>
#include <cstring>
#include <string>

#include "format/format_fixture.h"

namespace acetest {
namespace {

class ReadingEdges : public FormatTest {};

TEST_F(ReadingEdges, FileEndingBeforeTheTypeByteIsABadHeader) {
  const Bytes next = AceEntryBytes({.name = "B", .data = Bytes(3, 'b')});
  // HEAD_CRC alone, with one byte of HEAD_SIZE, with all of it: no type byte.
  for (const long kept : {2, 3, 4}) {
    SCOPED_TRACE(kept);
    const Bytes tail(next.begin(), next.begin() + kept);
    ASSERT_EQ(Open(Join({AceArchive({{.name = "A", .data = Bytes(5, 'a')}}), tail})), AR_OK);
    const Listed l = ListArchive();
    EXPECT_EQ(l.status, AR_BAD_HEADER);
    EXPECT_EQ(l.names(), std::vector<std::string>{"A"});
  }
}

TEST_F(ReadingEdges, CommentTextKeepsWhatFollowsANul) {
  const std::string text("before\0after \x81", 14);
  // Host 2 takes the text as it is; host 0 converts it from the OEM code page.
  for (const auto& [host, shown] :
       {std::pair<uint8_t, std::string>{2, text}, {0, std::string("before\0after \xC3\xBC", 15)}}) {
    SCOPED_TRACE(static_cast<int>(host));
    const Bytes block = Comment(text);
    ASSERT_EQ(Open(AceArchive({{.name = "A", .comment = block}},
                              AceMain{.host = host, .comment = block})),
              AR_OK);
    MainCommentInfo info{};
    GetMainCommentArc(&info);
    ASSERT_NE(info.Comment, nullptr);
    EXPECT_EQ(std::string(info.Comment, static_cast<size_t>(info.Length)), shown);
    std::free(info.Comment);

    SetKeepPaths(1);  // an option record: file comments are read from then on
    const Listed l = ListArchive();
    ASSERT_EQ(l.comments.size(), 1u);
    EXPECT_EQ(l.comments[0], shown);
  }
}

}  // namespace
}  // namespace acetest
