// acearc at a terminal, driven through a pseudo-terminal like a user at the
// keyboard: the overwrite and password questions, and the progress bar.
#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

class CliTerminal : public testing::Test {
 protected:
  void SetUp() override {
    MakeSampleTree(dir_.path());
    RunResult made = RunAcearc({"a", "s.ace", "tree"}, dir_.path());
    SKIP_IF_NOT_LANDED(made, "creating archives");
    ASSERT_EQ(made.exitCode, 0) << made.err;
    RunResult extracted = RunAcearc({"x", "s.ace", "-o", "out"}, dir_.path());
    SKIP_IF_NOT_LANDED(extracted, "extraction");
    ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  }
  fs::path Path(const std::string& name) const { return dir_.path() / name; }
  std::string Readme() const {
    acetest::Bytes bytes = acetest::ReadFileBytes(Path("out/tree/README.txt"));
    return std::string(bytes.begin(), bytes.end());
  }

  acetest::TempDir dir_;
};

TEST_F(CliTerminal, OverwriteQuestionIsAskedAndAnswered) {
  acetest::WriteFileText(Path("out/tree/README.txt"), "edited");
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("Overwrite it with the archived one")) << session.screen();
  EXPECT_NE(session.screen().find("[y]es, [n]o, [a]ll, ne[v]er, [q]uit"), std::string::npos);
  session.Type("maybe\n");  // not an answer: asked again
  ASSERT_TRUE(session.WaitFor("[q]uit: maybe")) << session.screen();
  session.Type("all\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  acetest::Bytes original = acetest::ReadFileBytes(Path("tree/README.txt"));
  EXPECT_EQ(Readme(), std::string(original.begin(), original.end()));
  EXPECT_NE(session.screen().find("% "), std::string::npos) << "a progress bar was drawn";
}

TEST_F(CliTerminal, QuitAtTheQuestionStopsWithFour) {
  acetest::WriteFileText(Path("out/tree/README.txt"), "edited");
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("[q]uit: ")) << session.screen();
  session.Type("q\n");
  EXPECT_EQ(session.Finish(), 4) << session.screen();
  EXPECT_NE(session.screen().find("stopped by the user (2926 AR_ABORTED)"), std::string::npos)
      << session.screen();
  EXPECT_EQ(Readme(), "edited");
}

TEST_F(CliTerminal, NeverKeepsEveryExistingFile) {
  acetest::WriteFileText(Path("out/tree/README.txt"), "edited");
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("[q]uit: ")) << session.screen();
  session.Type("v\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  EXPECT_EQ(Readme(), "edited");
}

TEST_F(CliTerminal, PasswordIsAskedWithoutEcho) {
  Json listing = ListJson(Path("s.ace"));
  const Json* main = FindEntry(listing, "tree/src/main.c");
  ASSERT_NE(main, nullptr);
  MarkEncrypted(Path("s.ace"), (*main)["header_offset"].u64());
  TerminalSession session({"x", "s.ace", "-o", "fresh"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("Password for main.c: ")) << session.screen();
  session.Type("hunter2\n");
  session.Finish();
  EXPECT_EQ(session.screen().find("hunter2"), std::string::npos) << session.screen();
  EXPECT_EQ(session.screen().find("no terminal"), std::string::npos) << session.screen();
}

}  // namespace
}  // namespace clitest
