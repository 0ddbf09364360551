// acearc at a terminal, driven through a pseudo-terminal like a user at the
// keyboard: the overwrite and password questions, and the progress bar.
#include "cli/cli_fixture.h"
#include "support/ace_builder.h"

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
  ACE_POSIX_ONLY("driven through a pseudo-terminal");
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
  ACE_POSIX_ONLY("driven through a pseudo-terminal");
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("[q]uit: ")) << session.screen();
  session.Type("q\n");
  EXPECT_EQ(session.Finish(), 4) << session.screen();
  EXPECT_NE(session.screen().find("stopped by the user (2926 AR_ABORTED)"), std::string::npos)
      << session.screen();
  EXPECT_EQ(Text(Path("out/short.txt")), "edited");
}

TEST_F(CliTerminal, NeverKeepsEveryExistingFile) {
  ACE_POSIX_ONLY("driven through a pseudo-terminal");
  TerminalSession session({"x", "s.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("[q]uit: ")) << session.screen();
  session.Type("v\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  EXPECT_EQ(Text(Path("out/short.txt")), "edited");
}

TEST_F(CliTerminal, ReplacingAnEntryIsAskedWhenAdding) {
  ACE_POSIX_ONLY("driven through a pseudo-terminal");
  acetest::WriteFileText(Path("short.txt"), "a newer short.txt");
  TerminalSession session({"a", "s.ace", "short.txt"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("Replace it with the file on disk")) << session.screen();
  EXPECT_NE(session.screen().find("The archive holds short.txt (23 bytes"), std::string::npos)
      << session.screen();
  session.Type("y\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  const Json listing = ListJson(Path("s.ace"));
  const Json* entry = FindEntry(listing, "short.txt");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ((*entry)["size"].u64(), 17u);
}

TEST_F(CliTerminal, PasswordIsAskedWithoutEcho) {
  ACE_POSIX_ONLY("driven through a pseudo-terminal");
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

namespace clitest {
namespace {

// A two-volume set whose second volume lies in another folder: set.ace holds
// first.txt and the start of span.bin, disk2/set.c00 the rest and last.txt.
class CliVolumes : public testing::Test {
 protected:
  void SetUp() override {
    using acetest::AceEntry;
    first_ = {.name = "first.txt", .data = acetest::TextBytes("in the first volume")};
    span_ = {.name = "span.bin", .data = acetest::RandomBytes(5000, 3)};
    last_ = {.name = "last.txt", .data = acetest::TextBytes("in the second volume")};
    AceEntry head = span_;
    head.flags |= 0x2000;  // goes on in the next volume
    head.packed.assign(span_.data.begin(), span_.data.begin() + 3000);
    AceEntry tail = span_;
    tail.flags |= 0x1000;  // comes from the volume before
    tail.packed.assign(span_.data.begin() + 3000, span_.data.end());
    acetest::Bytes volume0 = acetest::AceMainHeader(0, 0);
    acetest::Bytes volume1 = acetest::AceMainHeader(0, 1);
    for (const acetest::Bytes& b : {acetest::AceEntryBytes(first_), acetest::AceEntryBytes(head)}) {
      volume0.insert(volume0.end(), b.begin(), b.end());
    }
    for (const acetest::Bytes& b : {acetest::AceEntryBytes(tail), acetest::AceEntryBytes(last_)}) {
      volume1.insert(volume1.end(), b.begin(), b.end());
    }
    acetest::WriteFileBytes(dir_.path() / "set.ace", volume0);
    std::filesystem::create_directories(dir_.path() / "disk2");
    acetest::WriteFileBytes(dir_.path() / "disk2" / "set.c00", volume1);
  }

  acetest::TempDir dir_;
  acetest::AceEntry first_, span_, last_;
};

TEST_F(CliVolumes, TheFolderOfAMissingVolumeIsAskedAtTheTerminal) {
  ACE_POSIX_ONLY("driven through a pseudo-terminal");
  TerminalSession session({"x", "set.ace", "-o", "out"}, dir_.path());
  ASSERT_TRUE(session.WaitFor("Folder that holds it (Enter to look again, q to quit): "))
      << session.screen();
  session.Type("disk2\n");
  EXPECT_EQ(session.Finish(), 0) << session.screen();
  EXPECT_EQ(acetest::ReadFileBytes(dir_.path() / "out/span.bin"), span_.data);
  EXPECT_EQ(acetest::ReadFileBytes(dir_.path() / "out/last.txt"), last_.data);
}

TEST_F(CliVolumes, WithoutATerminalAMissingVolumeStopsTheExtraction) {
  RunResult result = RunAcearc({"x", "set.ace", "-o", "out"}, dir_.path());
  EXPECT_EQ(result.exitCode, 2) << result.err;
  EXPECT_NE(result.err.find("not found and there is no terminal to ask for it"), std::string::npos)
      << result.err;
  EXPECT_EQ(acetest::ReadFileBytes(dir_.path() / "out/first.txt"), first_.data);
}

}  // namespace
}  // namespace clitest
