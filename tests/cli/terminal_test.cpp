// acearc at a terminal, driven through a pseudo-terminal like a user at the
// keyboard: the overwrite question and its answers, the replace question
// when adding, the password without echo, and the progress bar.

#include "cli/runner.h"
#include "support/test_support.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

// The golden archive extracted once, so that extracting it again meets
// every file; short.txt was edited since.
class AtATerminal : public ::testing::Test {
 protected:
  void SetUp() override {
    ACE_POSIX_ONLY("pseudo-terminals");
    fs::copy_file(acetest::VectorsDir() / "archives/plain.ace", dir_ / "s.ace");
    fs::permissions(dir_ / "s.ace", fs::perms::owner_write, fs::perm_options::add);
    ASSERT_EQ(RunAcearc({"x", "s.ace", "-o", "out"}, dir_.path()).exitCode, 0);
    acetest::WriteFileText(dir_ / "out/short.txt", "edited");
  }
  std::string Short() const { return acetest::ReadFileText(dir_ / "out/short.txt"); }
  acetest::TempDir dir_;
};

TEST_F(AtATerminal, TheOverwriteQuestionIsAskedAndAnswered) {
  const struct {
    std::string keys;
    int exitCode;
    std::string text;
  } cases[] = {{"maybe\nall\n", 0, "abracadabra abracadabra"},  // asked again, then all
               {"q\n", 4, "edited"},
               {"v\n", 0, "edited"}};
  for (const auto& c : cases) {
    acetest::WriteFileText(dir_ / "out/short.txt", "edited");
    TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
    ASSERT_TRUE(session.WaitFor("[y]es, [n]o, [a]ll, ne[v]er, [q]uit: ")) << session.screen();
    session.Type(c.keys);
    EXPECT_EQ(session.Finish(), c.exitCode) << session.screen();
    EXPECT_EQ(Short(), c.text) << c.keys;
    if (c.exitCode == 4) EXPECT_NE(session.screen().find("(2926 AR_ABORTED)"), std::string::npos);
    if (c.keys[0] == 'm') EXPECT_NE(session.screen().find("% "), std::string::npos) << "no bar";
  }
}

TEST_F(AtATerminal, ReplacingAnEntryIsAskedWhenAdding) {
  acetest::WriteFileText(dir_ / "short.txt", "a newer short.txt");
  TerminalSession session({"a", "s.ace", "short.txt"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("The archive holds short.txt (23 bytes")) << session.screen();
  session.Type("y\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  ASSERT_EQ(RunAcearc({"x", "-y", "s.ace", "short.txt", "-o", "again"}, dir_.path()).exitCode, 0);
  EXPECT_EQ(acetest::ReadFileText(dir_ / "again/short.txt"), "a newer short.txt");
}

TEST_F(AtATerminal, ThePasswordIsAskedWithoutEcho) {
  acetest::Bytes b = acetest::ReadFileBytes(dir_ / "s.ace");
  const size_t header = b.size() - 23 - 46;  // short.txt, the last entry
  b[header + 6] = 0x40;                      // encrypted
  const uint32_t crc =
      acetest::DataCrc(acetest::Bytes(b.begin() + header + 4, b.begin() + header + 4 + 42));
  b[header] = static_cast<uint8_t>(crc);
  b[header + 1] = static_cast<uint8_t>(crc >> 8);
  acetest::WriteFileBytes(dir_ / "s.ace", b);
  TerminalSession session({"x", "s.ace", "-o", "fresh"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("Password for short.txt: ")) << session.screen();
  session.Type("hunter2\n");
  session.Finish();
  EXPECT_EQ(session.screen().find("hunter2"), std::string::npos) << session.screen();
}

}  // namespace
}  // namespace clitest
