// acearc without a terminal: the command line, a sample tree that comes back
// byte by byte, the add options, changes, the answers that lose nothing, and
// damage, locks and Ctrl-C named with their exit codes.
#ifndef _WIN32
#  include <signal.h>
#  include <unistd.h>
#endif

#include <iostream>
#include <iterator>
#include <thread>

#include "cli/acearc_fixture.h"

namespace clitest {
namespace {

TEST_F(Acearc, BadCommandLinesExitWith5AndSayWhy) {
  const RunResult help = Run({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  for (const char* word : {" a ", " l ", " t ", " x ", " e ", " d ", " mkdir ", "Exit codes"}) {
    EXPECT_TRUE(Has(help.out, word)) << word;
  }
  for (const char* command : {"a", "l", "t", "x", "e", "d", "mkdir"}) {
    const std::string out = Run({command, "--help"}).out;
    EXPECT_TRUE(Has(out, "Usage: acearc " + std::string(command))) << command;
    if (*command == 't' || *command == 'm') continue;
    EXPECT_TRUE(Has(out, "-x,--exclude")) << command;
    EXPECT_TRUE(Has(out, "* stands for any characters, \"/\" and \".\" included")) << command;
  }
  EXPECT_EQ(Run({"--version"}).out.rfind("acearc ", 0), 0u);
  const std::pair<const char*, const char*> bad[] = {
      {"", "a command is required, one of a, l, t, x, e, d, mkdir"},
      {"-q", "a command is required"},
      {"z a.ace", "unknown command \"z\"; the commands are a, l, t, x, e, d, mkdir"},
      {"-p secret zz a.ace", "unknown command \"zz\""},
      {"a a.ace", ""},
      {"a -m 5 a.ace f", ""},
      {"a -d 2048 a.ace f", ""},
      {"a --prefix ../up a.ace f", ""},
      {"l --frobnicate a.ace", ""},
      {"d a.ace", ""},
      {"mkdir a.ace", ""},
      {"x -y -n a.ace", ""}};
  for (const auto& [line, says] : bad) {
    std::istringstream words(line);
    const RunResult r = Run({std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(r.exitCode, 5) << line << ": " << r.err;
    EXPECT_FALSE(r.err.empty());
    EXPECT_TRUE(Has(r.err, says)) << r.err;
  }
}

class RoundTrip : public Acearc, public ::testing::WithParamInterface<Strings> {};

TEST_P(RoundTrip, TheTreeComesBackUnchanged) {
  const Strings names = MakeTree();
  Strings add = {"a"};
  add.insert(add.end(), GetParam().begin(), GetParam().end());
  add.insert(add.end(), {"t.ace", "tree"});
  const RunResult made = Run(add);
  ASSERT_EQ(made.exitCode, 0) << made.err;
  EXPECT_TRUE(Has(made.out, "t.ace: 8 files")) << made.out;
  EXPECT_EQ(Names("t.ace"), names);
  const Json listing = List("t.ace");
  EXPECT_EQ(listing["summary"]["solid"].boolean,
            std::count(GetParam().begin(), GetParam().end(), "-s") == 1);
  const RunResult tested = Run({"t", "t.ace"});
  EXPECT_EQ(tested.exitCode, 0) << tested.err;
  EXPECT_TRUE(Has(tested.out, "OK, 8 files")) << tested.out;
  ASSERT_EQ(Run({"x", "t.ace", "-o", "out"}).exitCode, 0);
  acetest::Tree expected;
  for (const auto& [name, text] : acetest::ReadTree(Path("tree")))
    expected.push_back({"tree/" + name, text});
  expected.insert(expected.begin(), {"tree/", ""});
  EXPECT_EQ(acetest::ReadTree(Path("out")), expected);
  const fs::perms mode = fs::status(Path("out/tree/readonly.txt")).permissions();
  EXPECT_EQ(mode & (fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write),
            fs::perms::none)
      << "still read-only";
}

INSTANTIATE_TEST_SUITE_P(Settings, RoundTrip,
                         ::testing::Values(Strings{}, Strings{"-s"}, Strings{"-m", "0", "-d", "64"},
                                           Strings{"-m", "4", "-d", "256", "-s"}));

TEST_F(Acearc, AddOptionsShapeTheStoredNames) {
  const Strings all = MakeTree();
  acetest::WriteFileText(Path("\xE6\x97\xA5.txt"), "kanji");  // not in the archive's code page
  Strings bare, prefixed, inside, top;
  for (const std::string& n : all) {
    if (n.back() != '/') bare.push_back(n.substr(n.rfind('/') + 1));
    prefixed.push_back("backup/2024/" + n);
    if (n != "tree/") inside.push_back(n.substr(5));
    if (n.find('/', 5) == std::string::npos || n == "tree/") top.push_back(n);
  }
  std::sort(bare.begin(), bare.end());
  const struct {
    Strings args;
    std::string cwd;
    std::string archive;
    Strings names;
    int exitCode;
    std::string message;
  } cases[] = {
      {{"-ep", "flat.ace", "tree"}, "", "flat.ace", bare, 0, ""},
      {{"--prefix", "backup/2024/", "p.ace", "tree"}, "", "p.ace", prefixed, 0, ""},
      {{"../inside.ace", "."}, "tree", "inside.ace", inside, 0, ""},
      {{"tree/self.ace", "tree"}, "", "tree/self.ace", all, 0, ""},
      {{"-r-", "top.ace", "tree"}, "", "top.ace", top, 0, ""},
      {{"w.ace", "tree/empty.txt", "ghost.txt"},
       "",
       "w.ace",
       {"empty.txt"},  // a missing path does not count toward the common folder
       1,
       "ghost.txt: no such file or directory"},
      {{"k.ace", "\xE6\x97\xA5.txt"}, "", "k.ace", {"?.txt"}, 1, "is stored under another name"},
      {{"nowhere/n.ace", "tree"}, "", "", {}, 2, "the folder nowhere does not exist"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[0] + " " + c.args[1]);
    if (acetest::Ansi(c.args.back()).find('?') != std::string::npos) {
      // Windows hands a program its arguments in that code page, so the name never arrives.
      std::cout << "left out here: " << c.args.back() << " lies outside the ANSI code page\n";
      continue;
    }
    Strings args = {"a"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const RunResult r = Run(args, c.cwd);
    EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
    EXPECT_TRUE(Has(r.err, c.message)) << r.err;
    if (!c.archive.empty()) EXPECT_EQ(Names(c.archive), c.names);
    if (!c.archive.empty()) fs::remove(Path(c.archive));
  }
}

// Without a terminal existing files are kept, archived entries are not
// replaced, and a password request stops, each named with a warning.
TEST_F(Acearc, WithoutATerminalTheAnswersLoseNothing) {
  CopyGolden();
  ASSERT_EQ(Run({"x", "s.ace", "-o", "out"}).exitCode, 0);
  acetest::WriteFileText(Path("out/short.txt"), "changed by the user");
  RunResult r = Run({"x", "s.ace", "-o", "out"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Has(r.err, "not overwritten: out/short.txt exists")) << r.err;
  EXPECT_EQ(Run({"x", "-n", "s.ace", "-o", "out"}).exitCode, 0);
  EXPECT_EQ(acetest::ReadFileText(Path("out/short.txt")), "changed by the user");
  EXPECT_EQ(Run({"x", "-y", "s.ace", "-o", "out"}).exitCode, 0);
  EXPECT_EQ(acetest::ReadFileText(Path("out/short.txt")), "abracadabra abracadabra");

  acetest::WriteFileText(Path("short.txt"), "a newer short.txt");
  r = Run({"a", "s.ace", "short.txt"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Has(r.err, "kept the archived short.txt")) << r.err;
  EXPECT_EQ(Run({"a", "-y", "s.ace", "short.txt"}).exitCode, 0);
  const Json listing = List("s.ace");
  for (const Json& e : listing["entries"].items) {
    if (e["name"].text == "short.txt") EXPECT_EQ(e["size"].u64(), 17u) << "replaced";
  }

  EditHeader(HeaderOf("short.txt"), 6, "\x40");  // the encrypted flag
  r = Run({"x", "s.ace", "-o", "fresh"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(Has(r.err, "short.txt needs a password")) << r.err;
  EXPECT_FALSE(Has(Run({"x", "-p", "secret", "s.ace", "-o", "given"}).err, "needs a password"));
}

TEST_F(Acearc, DamageAndLocksAreNamedAndLoseNothing) {
  CopyGolden();
  const acetest::Bytes golden = acetest::ReadFileBytes(Path("s.ace"));
  acetest::Bytes b = golden;
  b[HeaderOf("data/lcg8k") + 53 + 4000] ^= 0xFF;  // inside the stored data
  acetest::WriteFileBytes(Path("s.ace"), b);
  RunResult r = Run({"t", "s.ace"});
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_TRUE(Has(r.err, "damaged entry data/lcg8k") && Has(r.err, "9009 AR_ARCHIVE_ERROR"))
      << r.err;
  EXPECT_FALSE(Has(r.err, "damaged entry docs")) << "only the damaged entry is named";

  acetest::WriteFileBytes(Path("s.ace"), golden);
  EditHeader(0, 6, "\x50");  // the main header's lock flag
  const acetest::Bytes locked = acetest::ReadFileBytes(Path("s.ace"));
  EXPECT_EQ(Run({"l", "s.ace"}).exitCode, 0) << "reading a locked archive works";
  acetest::WriteFileText(Path("new.txt"), "new");
  r = Run({"a", "s.ace", "new.txt"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(Has(r.err, "archive is locked (9954 AR_LOCKED)")) << r.err;
  EXPECT_EQ(Run({"d", "s.ace", "*.txt"}).exitCode, 2);
  EXPECT_EQ(acetest::ReadFileBytes(Path("s.ace")), locked);
}

TEST_F(Acearc, DeleteAndMkdirChangeTheArchiveAndForeignFilesAreRefused) {
  CopyGolden();
  const Json stored = Entry(List("s.ace"), "short.txt");
  EXPECT_EQ(stored["crc32"].text + " " + std::to_string(stored["packed"].u64()), "FAEFF1B1 23");
  RunResult r = Run({"d", "s.ace", "*.txt"});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(Has(r.out, "3 entries deleted")) << r.out;
  EXPECT_EQ(Names("s.ace"), (Strings{"data/lcg8k", "data/pattern60k", "docs/sub/"}));
  EXPECT_TRUE(Has(Run({"d", "s.ace", "*.nothing"}).err, "nothing deleted"));
  EXPECT_EQ(Run({"mkdir", "s.ace", "docs/new"}).exitCode, 0);
  EXPECT_EQ(List("s.ace")["entries"].items.back()["name"].text, "docs/new/") << "appended";
  EXPECT_TRUE(Has(Run({"mkdir", "s.ace", "docs/NEW"}).err, "8904 AR_DIR_EXISTS"));
  EXPECT_TRUE(Has(Run({"mkdir", "s.ace", "a*b"}).err, "8906 AR_BAD_DIR_NAME"));

  acetest::WriteFileText(Path("notes.txt"), std::string(5000, 'x'));
  r = Run({"l", "notes.txt"});
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_TRUE(Has(r.err, "not an ACE archive (9976 AR_NOT_ACE)")) << r.err;
  EXPECT_EQ(Run({"a", "notes.txt", "s.ace"}).exitCode, 3);
  EXPECT_EQ(acetest::ReadFileText(Path("notes.txt")), std::string(5000, 'x'));
  for (const char* command : {"l", "t", "x"}) {
    r = Run({command, "nothere.ace"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(Has(r.err, "archive not found (2 AR_FILE_NOT_FOUND)")) << r.err;
  }
  r = Run({"a", "new.ace", "missing.txt"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(Has(r.err, "9967 AR_NOTHING_TO_ADD")) << r.err;
  EXPECT_FALSE(fs::exists(Path("new.ace")));
  r = Run({"x", "s.ace", "-o", "lines"});
  EXPECT_TRUE(Has(r.err, "extracting data/lcg8k\n") && !Has(r.err, "\r")) << "a line per file";
  r = Run({"-q", "t", "s.ace"});
  EXPECT_EQ(r.out + r.err, "");

  // A solid archive is rebuilt from its files when it changes: the empty
  // folder comes back after each change until it is deleted itself.
  fs::copy_file(acetest::VectorsDir() / "archives/solid.ace", Path("solid.ace"));
  fs::permissions(Path("solid.ace"), fs::perms::owner_write, fs::perm_options::add);
  EXPECT_EQ(Run({"a", "solid.ace", "notes.txt"}).exitCode, 0);
  EXPECT_EQ(Run({"d", "solid.ace", "*.txt"}).exitCode, 0);
  EXPECT_EQ(Names("solid.ace"), (Strings{"data/lcg8k", "data/pattern60k", "docs/sub/"}));
  EXPECT_EQ(Run({"d", "solid.ace", "docs/sub", "data/lcg8k"}).exitCode, 0);
  EXPECT_EQ(Names("solid.ace"), Strings{"data/pattern60k"});
}

// Ctrl-C stops cleanly: a new archive goes again. A file that goes while
// others are compressed is skipped with a warning.
TEST_F(Acearc, CtrlCLeavesNoArchiveAndUnreadableFilesAreLeftOut) {
  ACE_POSIX_ONLY("signals and other users");
#ifndef _WIN32
  fs::create_directories(Path("big"));
  for (int i = 0; i < 4; ++i) {
    acetest::WriteFileBytes(Path("big/part" + std::to_string(i)), acetest::RandomBytes(6 << 20, i));
  }
  RunResult r = RunAcearc({"a", "-m", "0", "big.ace", "big"}, dir_.path(), -1, Path("big.ace"),
                          [](pid_t child) {
                            std::this_thread::sleep_for(std::chrono::milliseconds(100));
                            kill(child, SIGINT);
                          });
  EXPECT_EQ(r.exitCode, 4) << r.err;
  EXPECT_FALSE(fs::exists(Path("big.ace")));
  acetest::WriteFileText(Path("small.txt"), "here at the start");
  r = RunAcearc({"a", "v.ace", "big/part0", "big/part1", "small.txt"}, dir_.path(), -1,
                Path("v.ace"), [this](pid_t) { fs::remove(Path("small.txt")); });
  EXPECT_EQ(r.exitCode, 1) << r.err;
  EXPECT_TRUE(Has(r.err, "small.txt: it cannot be read")) << r.err;
  EXPECT_EQ(Names("v.ace"), (Strings{"big/part0", "big/part1"}));
  // Run as "nobody" (the tests run as root), a file it cannot read is left out.
  fs::permissions(Path("big/part0"), fs::perms::none);
  fs::permissions(dir_.path(), fs::perms::all);
  acetest::WriteFileText(Path("ok.txt"), "readable");
  r = RunAcearc({"a", "u.ace", "big/part0", "ok.txt"}, dir_.path(), geteuid() == 0 ? 65534 : -1);
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Has(r.err, "part0: it cannot be read")) << r.err;
  EXPECT_EQ(Names("u.ace"), Strings{"ok.txt"});
#endif
}

}  // namespace
}  // namespace clitest
