// Masks as a Unix user types them: "*" takes every name, dots included, a
// folder takes everything below it, and -x leaves entries out. Listing,
// extracting and deleting must choose the very same entries.
#include "cli/acearc_fixture.h"

namespace clitest {
namespace {

Strings Sorted(Strings names) {
  std::sort(names.begin(), names.end());
  return names;
}

Strings FilesOf(const Strings& names) {
  Strings files;
  std::copy_if(names.begin(), names.end(), std::back_inserter(files),
               [](const std::string& n) { return n.back() != '/'; });
  return files;
}

TEST_F(Acearc, ListExtractAndDeleteChooseTheSameEntries) {
  const Strings all = Sorted(MakeTree());
  ASSERT_EQ(Run({"a", "s.ace", "tree"}).exitCode, 0);
  const std::string accented = "tree/" + kAccented;
  const Strings src{"tree/src/", "tree/src/lib/", "tree/src/lib/util.c", "tree/src/lib/util.h",
                    "tree/src/main.c"};
  const struct {
    Strings args;  // masks and -x options
    Strings chosen;
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
    SCOPED_TRACE(::testing::PrintToString(c.args));
    const std::string out = "out" + std::to_string(row), copy = std::to_string(row++) + ".ace";
    auto run = [&](Strings args) {
      args.insert(args.end(), c.args.begin(), c.args.end());
      return Run(args);
    };
    const RunResult listed = run({"l", "--json", "s.ace"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err;
    const Json listing = acetest::ParseJson(listed.out).value_or(Json{});
    Strings names;
    for (const Json& e : listing["entries"].items) names.push_back(e["name"].text);
    EXPECT_EQ(Sorted(names), Sorted(c.chosen));

    ASSERT_EQ(run({"x", "s.ace", "-o", out}).exitCode, 0);
    Strings files;
    for (const auto& [name, data] : acetest::ReadTree(Path(out))) files.push_back(name);
    EXPECT_EQ(FilesOf(files), Sorted(FilesOf(c.chosen)));

    if (c.chosen.size() == all.size()) continue;  // deleting everything is its own case
    fs::copy_file(Path("s.ace"), Path(copy));
    ASSERT_EQ(run({"d", copy}).exitCode, 0);
    Strings kept;
    const Strings chosen = Sorted(c.chosen);
    std::set_difference(all.begin(), all.end(), chosen.begin(), chosen.end(),
                        std::back_inserter(kept));
    EXPECT_EQ(Names(copy), kept);
  }
}

TEST_F(Acearc, AMaskThatChoosesNothingIsNamed) {
  MakeTree();
  ASSERT_EQ(Run({"a", "s.ace", "tree"}).exitCode, 0);
  for (Strings args : {Strings{"l"}, Strings{"x", "-o", "out"}, Strings{"d"}}) {
    args.insert(args.end(), {"s.ace", "*.c", "nowhere/*"});
    const RunResult r = Run(args);
    EXPECT_EQ(r.exitCode, 1) << args[0] << ": " << r.err;
    EXPECT_TRUE(Has(r.err, "no entry of s.ace matches nowhere/*")) << r.err;
    EXPECT_FALSE(Has(r.err, "matches *.c")) << r.err;
  }
  EXPECT_TRUE(fs::exists(Path("out/tree/src/main.c")));
  EXPECT_EQ(Names("s.ace").size(), 11u) << "the .c files are gone";
}

// A stored name that holds "*" is a mask of its own to the plug-in: when it
// would take more than was chosen, nothing happens.
TEST_F(Acearc, ANameThePluginWouldTakeForAMaskChangesNothing) {
  ACE_POSIX_ONLY("\"*\" cannot be part of a Windows file name");
  for (const char* name : {"a*b.txt", "axb.txt", "c.txt"}) acetest::WriteFileText(Path(name), name);
  ASSERT_EQ(Run({"a", "w.ace", "a*b.txt", "axb.txt", "c.txt"}).exitCode, 0);
  const acetest::Bytes before = acetest::ReadFileBytes(Path("w.ace"));
  const RunResult deleted = Run({"d", "w.ace", "a*b.txt", "-x", "axb.txt"});
  EXPECT_EQ(deleted.exitCode, 2) << deleted.err;
  EXPECT_TRUE(Has(deleted.err, "cannot tell axb.txt apart")) << deleted.err;
  EXPECT_EQ(acetest::ReadFileBytes(Path("w.ace")), before);
  // When what the plug-in takes besides was chosen as well, the change goes ahead.
  EXPECT_EQ(Run({"d", "w.ace", "-x", "c.txt", "*"}).exitCode, 0);
  EXPECT_EQ(Names("w.ace"), Strings{"c.txt"});
}

TEST_F(Acearc, AddLeavesOutWhatExcludesSelect) {
  MakeTree();
  const RunResult made = Run({"a", "-x", "*.txt", "-x", "tree/src/lib", "s.ace", "tree"});
  ASSERT_EQ(made.exitCode, 0) << made.err;
  EXPECT_EQ(Names("s.ace"), (Strings{"tree/", "tree/data/", "tree/data/noise.bin", "tree/emptydir/",
                                     "tree/src/", "tree/src/main.c"}));
}

}  // namespace
}  // namespace clitest
