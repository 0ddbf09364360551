// Masks as a Unix user types them: "*" takes every name, dots included, a
// folder takes everything below it, and -x leaves entries out. Listing,
// extracting and deleting must choose the very same entries.
#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

Names Sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

Names FilesOf(const Names& names) {
  Names files;
  for (const std::string& name : names) {
    if (name.back() != '/') files.push_back(name);
  }
  return files;
}

TEST(CliUnixMasks, ListExtractAndDeleteChooseTheSameEntries) {
  acetest::TempDir dir;
  const Names all = Sorted(MakeSampleTree(dir.path()));
  RunResult made = RunAcearc({"a", "s.ace", "tree"}, dir.path());
  ASSERT_EQ(made.exitCode, 0) << made.err;
  const std::string accented = "tree/" + kAccentedName;
  const Names src{"tree/src/", "tree/src/lib/", "tree/src/lib/util.c", "tree/src/lib/util.h",
                  "tree/src/main.c"};
  const struct {
    Names args;  // masks and -x options
    Names chosen;
  } cases[] = {
      {{"*"}, all},
      {{}, all},
      {{"tree/src/*"}, src},
      {{"tree/src"}, src},
      {{"./tree/src/"}, src},
      {{"*.c"}, {"tree/src/lib/util.c", "tree/src/main.c"}},
      {{"*.TXT"}, {"tree/README.txt", "tree/empty.txt", accented, "tree/readonly.txt"}},
      {{"tree/src/lib/util.?"}, {"tree/src/lib/util.c", "tree/src/lib/util.h"}},
      {{"tree/*/*.c", "tree/data"},
       {"tree/data/", "tree/data/noise.bin", "tree/src/lib/util.c", "tree/src/main.c"}},
      {{"*", "-x", "*.txt", "-x", "tree/src"},
       {"tree/", "tree/data/", "tree/data/noise.bin", "tree/emptydir/"}},
      {{"*", "-x", "*.?"},
       {"tree/", "tree/README.txt", "tree/data/", "tree/data/noise.bin", "tree/empty.txt",
        "tree/emptydir/", accented, "tree/readonly.txt", "tree/src/", "tree/src/lib/"}},
  };
  int row = 0;
  for (const auto& c : cases) {
    const std::string out = "out" + std::to_string(row);
    const std::string copy = "d" + std::to_string(row++) + ".ace";
    SCOPED_TRACE(::testing::PrintToString(c.args));
    auto run = [&](Names args) {
      args.insert(args.end(), c.args.begin(), c.args.end());
      return RunAcearc(args, dir.path());
    };

    RunResult listed = run({"l", "--json", "s.ace"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err;
    std::optional<Json> listing = ParseJson(listed.out);
    ASSERT_TRUE(listing.has_value());
    EXPECT_EQ(EntryNames(*listing), Sorted(c.chosen));

    RunResult extracted = run({"x", "s.ace", "-o", out});
    ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
    Names files;
    for (const auto& [name, data] : ReadTree(dir.path() / out)) {
      if (name.back() != '/') files.push_back(name);
    }
    EXPECT_EQ(files, Sorted(FilesOf(c.chosen)));

    if (c.chosen.size() == all.size()) continue;  // deleting everything is its own case
    fs::copy_file(dir.path() / "s.ace", dir.path() / copy);
    RunResult deleted = run({"d", copy});
    ASSERT_EQ(deleted.exitCode, 0) << deleted.err;
    Names kept;
    const Names chosen = Sorted(c.chosen);
    std::set_difference(all.begin(), all.end(), chosen.begin(), chosen.end(),
                        std::back_inserter(kept));
    EXPECT_EQ(EntryNames(ListJson(dir.path() / copy)), Sorted(kept));
  }
}

TEST(CliUnixMasks, AMaskThatChoosesNothingIsNamed) {
  acetest::TempDir dir;
  MakeSampleTree(dir.path());
  ASSERT_EQ(RunAcearc({"a", "s.ace", "tree"}, dir.path()).exitCode, 0);
  for (Names args : {Names{"l"}, Names{"x", "-o", "out"}, Names{"d"}}) {
    args.insert(args.end(), {"s.ace", "*.c", "nowhere/*"});
    RunResult result = RunAcearc(args, dir.path());
    EXPECT_EQ(result.exitCode, 1) << args[0] << ": " << result.err;
    EXPECT_NE(result.err.find("no entry of s.ace matches nowhere/*"), std::string::npos)
        << result.err;
    EXPECT_EQ(result.err.find("matches *.c"), std::string::npos) << result.err;
  }
  EXPECT_TRUE(fs::exists(dir.path() / "out/tree/src/main.c"));
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "s.ace")).size(), 11u) << "the .c files are gone";
}

// A stored name that holds "*" is a mask of its own to the plug-in: when it
// would take more than was chosen, nothing happens.
TEST(CliUnixMasks, ANameThePluginWouldTakeForAMaskChangesNothing) {
  ACE_POSIX_ONLY("Windows names cannot hold wildcards");
  acetest::TempDir dir;
  acetest::WriteFileText(dir.path() / "a*b.txt", "star");
  acetest::WriteFileText(dir.path() / "axb.txt", "x");
  acetest::WriteFileText(dir.path() / "c.txt", "c");
  ASSERT_EQ(RunAcearc({"a", "w.ace", "a*b.txt", "axb.txt", "c.txt"}, dir.path()).exitCode, 0);
  const acetest::Bytes before = acetest::ReadFileBytes(dir.path() / "w.ace");
  RunResult deleted = RunAcearc({"d", "w.ace", "a*b.txt", "-x", "axb.txt"}, dir.path());
  EXPECT_EQ(deleted.exitCode, 2) << deleted.err;
  EXPECT_NE(deleted.err.find("cannot tell axb.txt apart"), std::string::npos) << deleted.err;
  EXPECT_EQ(acetest::ReadFileBytes(dir.path() / "w.ace"), before);
  // When what the plug-in takes besides was chosen as well, the change goes ahead.
  RunResult kept = RunAcearc({"d", "w.ace", "-x", "c.txt", "*"}, dir.path());
  EXPECT_EQ(kept.exitCode, 0) << kept.err;
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "w.ace")), Names{"c.txt"});
}

TEST(CliUnixMasks, AddLeavesOutWhatExcludesSelect) {
  acetest::TempDir dir;
  MakeSampleTree(dir.path());
  RunResult made =
      RunAcearc({"a", "-x", "*.txt", "-x", "tree/src/lib", "s.ace", "tree"}, dir.path());
  ASSERT_EQ(made.exitCode, 0) << made.err;
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "s.ace")),
            (Names{"tree/", "tree/data/", "tree/data/noise.bin", "tree/emptydir/", "tree/src/",
                   "tree/src/main.c"}));
}

}  // namespace
}  // namespace clitest
