// What acearc does when things go wrong or need an answer without a terminal:
// existing files are kept, damage is named, a locked archive is refused, and
// each case ends with its documented exit code.
#include <algorithm>
#include <thread>

#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

// A writable copy of the golden archive in a fresh folder.
class CliWithArchive : public testing::Test {
 protected:
  void SetUp() override {
    fs::copy_file(GoldenArchive(), Path("s.ace"));
    fs::permissions(Path("s.ace"), fs::perms::owner_write, fs::perm_options::add);
  }
  fs::path Path(const std::string& name) const { return dir_.path() / name; }
  RunResult RunHere(const std::vector<std::string>& args) { return RunAcearc(args, dir_.path()); }
  std::string Text(const fs::path& path) const {
    acetest::Bytes bytes = acetest::ReadFileBytes(path);
    return std::string(bytes.begin(), bytes.end());
  }

  acetest::TempDir dir_;
};

TEST_F(CliWithArchive, ExistingFilesAreNotOverwrittenWithoutATerminal) {
  RunResult first = RunHere({"x", "s.ace", "-o", "out"});
  SKIP_IF_NOT_LANDED(first, "extraction");
  ASSERT_EQ(first.exitCode, 0) << first.err;
  fs::path shortTxt = Path("out/short.txt");
  acetest::WriteFileText(shortTxt, "changed by the user");

  RunResult second = RunHere({"x", "s.ace", "-o", "out"});
  EXPECT_EQ(second.exitCode, 1) << second.err;
  EXPECT_NE(second.err.find("not overwritten: out/short.txt exists"), std::string::npos)
      << second.err;
  EXPECT_EQ(Text(shortTxt), "changed by the user");

  RunResult never = RunHere({"x", "-n", "s.ace", "-o", "out"});
  EXPECT_EQ(never.exitCode, 0) << never.err;
  EXPECT_EQ(Text(shortTxt), "changed by the user");

  RunResult yes = RunHere({"x", "-y", "s.ace", "-o", "out"});
  EXPECT_EQ(yes.exitCode, 0) << yes.err;
  EXPECT_EQ(Text(shortTxt), Text(GoldenSource("short.txt")));
}

TEST_F(CliWithArchive, WithoutATerminalEachFileGetsALineAndQuietGetsNone) {
  RunResult plain = RunHere({"x", "s.ace", "-o", "plain"});
  SKIP_IF_NOT_LANDED(plain, "extraction");
  ASSERT_EQ(plain.exitCode, 0) << plain.err;
  for (const char* name : {"docs/alice29.txt", "data/lcg8k", "short.txt"}) {
    EXPECT_NE(plain.err.find(std::string("extracting ") + name + "\n"), std::string::npos) << name;
  }
  EXPECT_EQ(plain.err.find('\r'), std::string::npos) << "no bar without a terminal";
  EXPECT_NE(plain.out.find("s.ace: 5 files extracted to plain"), std::string::npos) << plain.out;

  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"x", "-q", "s.ace", "-o", "quiet"},
        std::vector<std::string>{"t", "-q", "s.ace"},
        std::vector<std::string>{"-q", "t", "s.ace"}}) {
    RunResult quiet = RunHere(args);
    EXPECT_EQ(quiet.exitCode, 0) << quiet.err;
    EXPECT_EQ(quiet.out + quiet.err, "");
  }
}

TEST_F(CliWithArchive, DamagedDataIsNamedAndExitsWithThree) {
  Json listing = ListJson(Path("s.ace"));
  const Json* lcg = FindEntry(listing, "data/lcg8k");
  ASSERT_NE(lcg, nullptr);
  ASSERT_EQ((*lcg)["method"].text, "stored");
  FlipByte(Path("s.ace"), (*lcg)["header_offset"].u64() + (*lcg)["header_size"].u64() + 4000);

  RunResult tested = RunHere({"t", "s.ace"});
  SKIP_IF_NOT_LANDED(tested, "testing");
  EXPECT_EQ(tested.exitCode, 3) << tested.err;
  EXPECT_NE(tested.err.find("damaged entry data/lcg8k"), std::string::npos) << tested.err;
  EXPECT_NE(tested.err.find("9009 AR_ARCHIVE_ERROR"), std::string::npos) << tested.err;
  EXPECT_EQ(tested.err.find("damaged entry docs"), std::string::npos)
      << "only the damaged entry is named";

  RunResult extracted = RunHere({"x", "s.ace", "-o", "out"});
  EXPECT_EQ(extracted.exitCode, 3) << extracted.err;
  EXPECT_NE(extracted.err.find("damaged entry data/lcg8k"), std::string::npos) << extracted.err;
  EXPECT_EQ(extracted.err.find("damaged entry docs"), std::string::npos) << extracted.err;
  EXPECT_EQ(Text(Path("out/docs/alice29.txt")), Text(GoldenSource("docs/alice29.txt")));
}

TEST_F(CliWithArchive, ALockedArchiveRefusesChangesAndStaysAsItWas) {
  SetMainHeaderFlags(Path("s.ace"), 0x4000);
  acetest::Bytes before = acetest::ReadFileBytes(Path("s.ace"));
  EXPECT_EQ(RunHere({"l", "s.ace"}).exitCode, 0) << "reading a locked archive works";
  acetest::WriteFileText(Path("new.txt"), "new");
  RunResult added = RunHere({"a", "s.ace", "new.txt"});
  SKIP_IF_NOT_LANDED(added, "adding to archives");
  EXPECT_EQ(added.exitCode, 2);
  EXPECT_NE(added.err.find("archive is locked (9954 AR_LOCKED)"), std::string::npos) << added.err;
  RunResult deleted = RunHere({"d", "s.ace", "*.txt"});
  SKIP_IF_NOT_LANDED(deleted, "deleting");
  EXPECT_EQ(deleted.exitCode, 2);
  EXPECT_NE(deleted.err.find("9954 AR_LOCKED"), std::string::npos) << deleted.err;
  EXPECT_EQ(acetest::ReadFileBytes(Path("s.ace")), before);
}

TEST_F(CliWithArchive, APasswordRequestWithoutTerminalStopsUnlessGiven) {
  Json listing = ListJson(Path("s.ace"));
  const Json* entry = FindEntry(listing, "short.txt");
  ASSERT_NE(entry, nullptr);
  MarkEncrypted(Path("s.ace"), (*entry)["header_offset"].u64());
  ASSERT_TRUE(ListJson(Path("s.ace"))["summary"]["encrypted"].boolean);

  RunResult stopped = RunHere({"x", "s.ace", "-o", "out"});
  SKIP_IF_NOT_LANDED(stopped, "extraction");
  EXPECT_EQ(stopped.exitCode, 2) << stopped.err;
  EXPECT_NE(stopped.err.find("short.txt needs a password"), std::string::npos) << stopped.err;
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
  EXPECT_NE(std::find(names.begin(), names.end(), "docs/alice29.txt"), names.end());
  EXPECT_EQ(RunHere({"t", "s.ace"}).exitCode, 0);
}

TEST_F(CliWithArchive, ReplacingAnEntryIsRefusedWithoutATerminal) {
  acetest::WriteFileText(Path("short.txt"), "a newer short.txt");
  acetest::Bytes before = acetest::ReadFileBytes(Path("s.ace"));
  RunResult added = RunHere({"a", "s.ace", "short.txt"});
  SKIP_IF_NOT_LANDED(added, "adding to archives");
  EXPECT_EQ(added.exitCode, 1) << added.err;
  EXPECT_NE(added.err.find("kept the archived short.txt"), std::string::npos) << added.err;
  RunResult replaced = RunHere({"a", "-y", "s.ace", "short.txt"});
  EXPECT_EQ(replaced.exitCode, 0) << replaced.err;
  const Json listing = ListJson(Path("s.ace"));
  const Json* entry = FindEntry(listing, "short.txt");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ((*entry)["size"].u64(), 17u);
}

TEST_F(CliWithArchive, DeleteRemovesTheSelectedEntries) {
  RunResult deleted = RunHere({"d", "s.ace", "*.txt"});
  SKIP_IF_NOT_LANDED(deleted, "deleting");
  EXPECT_EQ(deleted.exitCode, 0) << deleted.err;
  EXPECT_NE(deleted.out.find("3 entries deleted"), std::string::npos) << deleted.out;
  std::vector<std::string> names = EntryNames(ListJson(Path("s.ace")));
  EXPECT_EQ(names, (std::vector<std::string>{"data/lcg8k", "data/pattern60k", "docs/sub/"}));

  RunResult none = RunHere({"d", "s.ace", "*.nothing"});
  EXPECT_EQ(none.exitCode, 1) << none.err;
  EXPECT_NE(none.err.find("nothing deleted"), std::string::npos) << none.err;
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
  // "docs\alice29.txt" becomes "..\e\alice29.txt" by editing the name in place.
  Json listing = ListJson(Path("s.ace"));
  const Json* alice = FindEntry(listing, "docs/alice29.txt");
  ASSERT_NE(alice, nullptr);
  uint64_t header = (*alice)["header_offset"].u64();
  acetest::Bytes bytes = acetest::ReadFileBytes(Path("s.ace"));
  size_t name = static_cast<size_t>(header) + 35;
  ASSERT_EQ(std::string(bytes.begin() + static_cast<long>(name),
                        bytes.begin() + static_cast<long>(name) + 4),
            "docs");
  bytes[name] = '.';
  bytes[name + 1] = '.';
  bytes[name + 2] = '\\';
  bytes[name + 3] = 'e';
  acetest::WriteFileBytes(Path("s.ace"), bytes);
  FixHeaderChecksum(Path("s.ace"), header);

  RunResult extracted = RunHere({"x", "s.ace", "-o", "out"});
  SKIP_IF_NOT_LANDED(extracted, "listing");
  EXPECT_EQ(extracted.exitCode, 1) << extracted.err;
  EXPECT_NE(extracted.err.find("refusing to extract ../e/alice29.txt"), std::string::npos)
      << extracted.err;
  EXPECT_FALSE(fs::exists(Path("e")));
  EXPECT_TRUE(fs::exists(Path("out/short.txt")));  // the others are extracted
  // Without paths only the final name counts, which is harmless.
  RunResult flat = RunHere({"e", "-q", "s.ace", "-o", "flat"});
  SKIP_IF_NOT_LANDED(flat, "extraction");
  EXPECT_EQ(flat.exitCode, 0) << flat.err;
  EXPECT_TRUE(fs::exists(Path("flat/alice29.txt")));
}

TEST(CliInterrupt, CtrlCStopsCleanlyWithFour) {
  ACE_POSIX_ONLY("signals");
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

  AcearcProcess child({"a", "-m", "0", "big.ace", "big"}, dir.path());
  // The signal goes once the archive is being written, which is after acearc
  // has set up its handling.
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!fs::exists(dir.path() / "big.ace") && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
#ifndef _WIN32
  child.Interrupt();
#endif
  EXPECT_EQ(child.Wait().exitCode, 4);
  EXPECT_FALSE(fs::exists(dir.path() / "big.ace")) << "a stopped creation leaves no archive";
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    std::string name = entry.path().filename().string();
    EXPECT_TRUE(name == "big" || name == "probe.ace") << "left behind: " << name;
  }
}

TEST(CliVanishing, AFileRemovedWhileAddingIsSkippedWithAWarning) {
  acetest::TempDir dir;
  acetest::WriteFileBytes(dir.path() / "a_big.bin", acetest::RandomBytes(24 << 20, 5));
  acetest::WriteFileText(dir.path() / "b_small.txt", "here at the start");
  RunResult probe = RunAcearc({"a", "probe.ace", "b_small.txt"}, dir.path());
  SKIP_IF_NOT_LANDED(probe, "creating archives");

  AcearcProcess child({"a", "v.ace", "a_big.bin", "b_small.txt"}, dir.path());
  // b_small.txt goes while a_big.bin is being compressed.
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!fs::exists(dir.path() / "v.ace") && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  fs::remove(dir.path() / "b_small.txt");
  RunResult done = child.Wait();
  EXPECT_EQ(done.exitCode, 1) << done.err;
  EXPECT_NE(done.err.find("b_small.txt: it cannot be read"), std::string::npos) << done.err;
  EXPECT_EQ(done.err.find("another name"), std::string::npos) << done.err;
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "v.ace")), std::vector<std::string>{"a_big.bin"});
}

}  // namespace
}  // namespace clitest
