// acearc at a terminal, driven through a pseudo-terminal like a user at the
// keyboard: the overwrite and password questions, and the progress bar.
#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

// The golden archive extracted once into out/, so that extracting it again
// meets every file.
class CliTerminal : public testing::Test {
 protected:
  void SetUp() override {
    fs::copy_file(GoldenArchive(), Path("s.ace"));
    fs::permissions(Path("s.ace"), fs::perms::owner_write, fs::perm_options::add);
    RunResult extracted = RunAcearc({"x", "s.ace", "-o", "out"}, dir_.path());
    SKIP_IF_NOT_LANDED(extracted, "extraction");
    ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
    acetest::WriteFileText(Path("out/short.txt"), "edited");
  }
  fs::path Path(const std::string& name) const { return dir_.path() / name; }
  std::string Text(const fs::path& path) const {
    acetest::Bytes bytes = acetest::ReadFileBytes(path);
    return std::string(bytes.begin(), bytes.end());
  }

  acetest::TempDir dir_;
};

TEST_F(CliTerminal, OverwriteQuestionIsAskedAndAnswered) {
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("Overwrite it with the archived one")) << session.screen();
  EXPECT_NE(session.screen().find("[y]es, [n]o, [a]ll, ne[v]er, [q]uit"), std::string::npos);
  session.Type("maybe\n");  // not an answer: asked again
  ASSERT_TRUE(session.WaitFor("[q]uit: maybe")) << session.screen();
  session.Type("all\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  EXPECT_EQ(Text(Path("out/short.txt")), Text(GoldenSource("short.txt")));
  EXPECT_NE(session.screen().find("% "), std::string::npos) << "a progress bar was drawn";
}

TEST_F(CliTerminal, QuitAtTheQuestionStopsWithFour) {
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("[q]uit: ")) << session.screen();
  session.Type("q\n");
  EXPECT_EQ(session.Finish(), 4) << session.screen();
  EXPECT_NE(session.screen().find("stopped by the user (2926 AR_ABORTED)"), std::string::npos)
      << session.screen();
  EXPECT_EQ(Text(Path("out/short.txt")), "edited");
}

TEST_F(CliTerminal, NeverKeepsEveryExistingFile) {
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("[q]uit: ")) << session.screen();
  session.Type("v\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  EXPECT_EQ(Text(Path("out/short.txt")), "edited");
}

TEST_F(CliTerminal, PasswordIsAskedWithoutEcho) {
  Json listing = ListJson(Path("s.ace"));
  const Json* entry = FindEntry(listing, "short.txt");
  ASSERT_NE(entry, nullptr);
  MarkEncrypted(Path("s.ace"), (*entry)["header_offset"].u64());
  TerminalSession session({"x", "s.ace", "-o", "fresh"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("Password for short.txt: ")) << session.screen();
  session.Type("hunter2\n");
  session.Finish();
  EXPECT_EQ(session.screen().find("hunter2"), std::string::npos) << session.screen();
  EXPECT_EQ(session.screen().find("no terminal"), std::string::npos) << session.screen();
}

}  // namespace
}  // namespace clitest
