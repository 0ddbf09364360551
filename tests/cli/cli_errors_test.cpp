// What acearc does when things go wrong or need an answer without a terminal:
// existing files are kept, damage is named, a locked archive is refused, and
// each case ends with its documented exit code.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

class CliWithArchive : public testing::Test {
 protected:
  void SetUp() override {
    MakeSampleTree(dir_.path());
    RunResult made = RunAcearc({"a", "s.ace", "tree"}, dir_.path());
    SKIP_IF_NOT_LANDED(made, "creating archives");
    ASSERT_EQ(made.exitCode, 0) << made.err;
  }
  fs::path Path(const std::string& name) const { return dir_.path() / name; }
  RunResult RunHere(const std::vector<std::string>& args) { return RunAcearc(args, dir_.path()); }

  acetest::TempDir dir_;
};

TEST_F(CliWithArchive, ExistingFilesAreNotOverwrittenWithoutATerminal) {
  RunResult first = RunHere({"x", "s.ace", "-o", "out"});
  SKIP_IF_NOT_LANDED(first, "extraction");
  ASSERT_EQ(first.exitCode, 0) << first.err;
  fs::path readme = Path("out/tree/README.txt");
  acetest::WriteFileText(readme, "changed by the user");

  RunResult second = RunHere({"x", "s.ace", "-o", "out"});
  EXPECT_EQ(second.exitCode, 1) << second.err;
  EXPECT_NE(second.err.find("not overwritten: out/tree/README.txt"), std::string::npos)
      << second.err;
  EXPECT_EQ(acetest::ReadFileBytes(readme).size(), std::string("changed by the user").size());

  RunResult never = RunHere({"x", "-n", "s.ace", "-o", "out"});
  EXPECT_EQ(never.exitCode, 0) << never.err;
  EXPECT_EQ(acetest::ReadFileBytes(readme).size(), std::string("changed by the user").size());

  RunResult yes = RunHere({"x", "-y", "s.ace", "-o", "out"});
  EXPECT_EQ(yes.exitCode, 0) << yes.err;
  EXPECT_EQ(acetest::ReadFileBytes(readme), acetest::ReadFileBytes(Path("tree/README.txt")));
}

TEST_F(CliWithArchive, DamagedDataIsNamedAndExitsWithThree) {
  Json listing = ListJson(Path("s.ace"));
  const Json* noise = FindEntry(listing, "tree/data/noise.bin");
  ASSERT_NE(noise, nullptr);
  uint64_t data = (*noise)["header_offset"].u64() + (*noise)["header_size"].u64();
  FlipByte(Path("s.ace"), data + 30000);

  RunResult tested = RunHere({"t", "s.ace"});
  SKIP_IF_NOT_LANDED(tested, "testing");
  EXPECT_EQ(tested.exitCode, 3) << tested.err;
  EXPECT_NE(tested.err.find("damaged entry tree/data/noise.bin: CRC error"), std::string::npos)
      << tested.err;
  EXPECT_NE(tested.err.find("9009 AR_ARCHIVE_ERROR"), std::string::npos) << tested.err;
  EXPECT_EQ(tested.err.find("README"), std::string::npos) << "only the damaged entry is named";

  RunResult extracted = RunHere({"x", "s.ace", "-o", "out"});
  EXPECT_EQ(extracted.exitCode, 3) << extracted.err;
  EXPECT_NE(extracted.err.find("damaged entry tree/data/noise.bin"), std::string::npos)
      << extracted.err;
  EXPECT_EQ(acetest::ReadFileBytes(Path("out/tree/src/main.c")),
            acetest::ReadFileBytes(Path("tree/src/main.c")));
}

TEST_F(CliWithArchive, ALockedArchiveRefusesChangesAndStaysAsItWas) {
  SetMainHeaderFlags(Path("s.ace"), 0x4000);
  acetest::Bytes before = acetest::ReadFileBytes(Path("s.ace"));
  acetest::WriteFileText(Path("new.txt"), "new");
  RunResult added = RunHere({"a", "s.ace", "new.txt"});
  SKIP_IF_NOT_LANDED(added, "adding to archives");
  EXPECT_EQ(added.exitCode, 2);
  EXPECT_NE(added.err.find("archive is locked (9954 AR_LOCKED)"), std::string::npos) << added.err;
  RunResult deleted = RunHere({"d", "s.ace", "*.c"});
  EXPECT_EQ(deleted.exitCode, 2);
  EXPECT_NE(deleted.err.find("9954 AR_LOCKED"), std::string::npos) << deleted.err;
  EXPECT_EQ(acetest::ReadFileBytes(Path("s.ace")), before);
  // Reading it still works.
  EXPECT_EQ(RunHere({"l", "s.ace"}).exitCode, 0);
}

TEST_F(CliWithArchive, APasswordRequestWithoutTerminalStopsUnlessGiven) {
  Json listing = ListJson(Path("s.ace"));
  const Json* main = FindEntry(listing, "tree/src/main.c");
  ASSERT_NE(main, nullptr);
  MarkEncrypted(Path("s.ace"), (*main)["header_offset"].u64());
  ASSERT_TRUE(ListJson(Path("s.ace"))["summary"]["encrypted"].boolean);

  RunResult stopped = RunHere({"x", "s.ace", "-o", "out"});
  SKIP_IF_NOT_LANDED(stopped, "extraction");
  EXPECT_EQ(stopped.exitCode, 2) << stopped.err;
  EXPECT_NE(stopped.err.find("main.c needs a password"), std::string::npos) << stopped.err;
  EXPECT_NE(stopped.err.find("-p"), std::string::npos) << stopped.err;

  RunResult given = RunHere({"x", "-p", "secret", "s.ace", "-o", "given"});
  EXPECT_EQ(given.err.find("needs a password"), std::string::npos) << given.err;
}

TEST_F(CliWithArchive, AddingToAnArchiveKeepsWhatItHeld) {
  acetest::WriteFileText(Path("extra.txt"), "added later\n");
  RunResult added = RunHere({"a", "s.ace", "extra.txt"});
  SKIP_IF_NOT_LANDED(added, "adding to archives");
  EXPECT_EQ(added.exitCode, 0) << added.err;
  std::vector<std::string> names = EntryNames(ListJson(Path("s.ace")));
  EXPECT_NE(std::find(names.begin(), names.end(), "extra.txt"), names.end());
  EXPECT_NE(std::find(names.begin(), names.end(), "tree/src/main.c"), names.end());
  EXPECT_EQ(RunHere({"t", "s.ace"}).exitCode, 0);
}

TEST_F(CliWithArchive, ReplacingAnEntryIsRefusedWithoutATerminal) {
  RunResult again = RunHere({"a", "s.ace", "tree/README.txt"});
  SKIP_IF_NOT_LANDED(again, "adding to archives");
  // tree/README.txt is stored as README.txt here (its folder is the base), so
  // it is a new entry; adding the whole tree again meets every namesake.
  RunResult tree = RunHere({"a", "s.ace", "tree"});
  EXPECT_EQ(tree.exitCode, 1) << tree.err;
  EXPECT_NE(tree.err.find("kept the archived tree/README.txt"), std::string::npos) << tree.err;
}

TEST_F(CliWithArchive, DeleteRemovesTheSelectedEntries) {
  RunResult deleted = RunHere({"d", "s.ace", "*.c"});
  SKIP_IF_NOT_LANDED(deleted, "deleting");
  EXPECT_EQ(deleted.exitCode, 0) << deleted.err;
  EXPECT_NE(deleted.out.find("2 entries deleted"), std::string::npos) << deleted.out;
  std::vector<std::string> names = EntryNames(ListJson(Path("s.ace")));
  EXPECT_EQ(std::find(names.begin(), names.end(), "tree/src/main.c"), names.end());
  EXPECT_NE(std::find(names.begin(), names.end(), "tree/src/lib/util.h"), names.end());

  RunResult none = RunHere({"d", "s.ace", "*.nothing"});
  EXPECT_EQ(none.exitCode, 1) << none.err;
}

TEST_F(CliWithArchive, MkdirAddsADirectoryOnceOnly) {
  RunResult made = RunHere({"mkdir", "s.ace", "newdir"});
  SKIP_IF_NOT_LANDED(made, "directory entries");
  EXPECT_EQ(made.exitCode, 0) << made.err;
  const Json listing = ListJson(Path("s.ace"));
  const Json* entry = FindEntry(listing, "newdir/");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ((*entry)["type"].text, "directory");

  RunResult again = RunHere({"mkdir", "s.ace", "newdir"});
  EXPECT_EQ(again.exitCode, 2);
  EXPECT_NE(again.err.find("8904 AR_DIR_EXISTS"), std::string::npos) << again.err;
  RunResult bad = RunHere({"mkdir", "s.ace", "a*b"});
  EXPECT_EQ(bad.exitCode, 2);
  EXPECT_NE(bad.err.find("8906 AR_BAD_DIR_NAME"), std::string::npos) << bad.err;
}

TEST_F(CliWithArchive, EntriesThatWouldLeaveTheOutputFolderAreRefused) {
  // A stored name of "..\x" made by editing the name bytes in place: the
  // first two characters of "tree\README.txt" become "..".
  Json listing = ListJson(Path("s.ace"));
  const Json* readme = FindEntry(listing, "tree/README.txt");
  ASSERT_NE(readme, nullptr);
  acetest::Bytes bytes = acetest::ReadFileBytes(Path("s.ace"));
  size_t name = static_cast<size_t>((*readme)["header_offset"].u64()) + 35;
  bytes[name] = '.';
  bytes[name + 1] = '.';
  bytes[name + 2] = '\\';
  bytes[name + 3] = 'e';
  acetest::WriteFileBytes(Path("s.ace"), bytes);
  FixHeaderChecksum(Path("s.ace"), (*readme)["header_offset"].u64());

  RunResult extracted = RunHere({"x", "s.ace", "-o", "out"});
  EXPECT_EQ(extracted.exitCode, 2) << extracted.err;
  EXPECT_NE(extracted.err.find("refusing to extract ../e"), std::string::npos) << extracted.err;
  EXPECT_FALSE(fs::exists(Path("e\\README.txt")));
  EXPECT_FALSE(fs::exists(Path("out")));
}

TEST(CliInterrupt, CtrlCStopsCleanlyWithFour) {
  acetest::TempDir dir;
  // Enough incompressible data that the operation is still running when the
  // signal comes.
  for (int i = 0; i < 8; ++i) {
    acetest::WriteFileBytes(dir.path() / "big" / ("part" + std::to_string(i)),
                            (fs::create_directories(dir.path() / "big"),
                             acetest::RandomBytes(4 << 20, static_cast<uint32_t>(i))));
  }
  RunResult probe = RunAcearc({"a", "probe.ace", "big/part0"}, dir.path());
  SKIP_IF_NOT_LANDED(probe, "creating archives");

  pid_t child = fork();
  if (child == 0) {
    if (chdir(dir.path().c_str()) != 0) _exit(126);
    int null = open("/dev/null", O_RDWR);
    dup2(null, 0);
    dup2(null, 1);
    dup2(null, 2);
    execl(AcearcPath().c_str(), "acearc", "a", "-m", "0", "big.ace", "big", nullptr);
    _exit(127);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  kill(child, SIGINT);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 4);
  EXPECT_FALSE(fs::exists(dir.path() / "big.ace")) << "a stopped creation leaves no archive";
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    std::string name = entry.path().filename().string();
    EXPECT_TRUE(name == "big" || name == "probe.ace") << "left behind: " << name;
  }
}

}  // namespace
}  // namespace clitest
