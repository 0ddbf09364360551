// Create, list, test and extract: the sample tree comes back byte for byte
// with its folders, empty files, accents, read-only flag and times, for every
// level, dictionary and solid setting.
#include <unistd.h>

#include <algorithm>

#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

struct Setting {
  const char* label;
  std::vector<std::string> options;
  bool solid;
  unsigned dictionaryKB;
};

void PrintTo(const Setting& setting, std::ostream* out) { *out << setting.label; }

class CliRoundTrip : public testing::TestWithParam<Setting> {};

TEST_P(CliRoundTrip, TreeComesBackUnchanged) {
  const Setting& setting = GetParam();
  acetest::TempDir dir;
  std::vector<std::string> expected = MakeSampleTree(dir.path());
  fs::path archive = dir.path() / "sample.ace";

  std::vector<std::string> add{"a"};
  add.insert(add.end(), setting.options.begin(), setting.options.end());
  add.push_back(archive.string());
  add.push_back("tree");
  RunResult created = RunAcearc(add, dir.path());
  SKIP_IF_NOT_LANDED(created, "creating archives");
  ASSERT_EQ(created.exitCode, 0) << created.err;
  EXPECT_NE(created.out.find("sample.ace: 8 files"), std::string::npos) << created.out;

  // The listing names every file and folder, relative to the common folder.
  Json listing = ListJson(archive);
  EXPECT_EQ(EntryNames(listing), expected);
  const Json& summary = listing["summary"];
  EXPECT_EQ(summary["files"].u64(), 8u);
  EXPECT_EQ(summary["solid"].boolean, setting.solid);
  EXPECT_EQ(summary["largest_dictionary_kb"].u64(), setting.dictionaryKB);
  uint64_t size = 0;
  uint64_t packed = 0;
  for (const Json& entry : listing["entries"].items) {
    if (entry["type"].text != "file") continue;
    size += entry["size"].u64();
    packed += entry["packed"].u64();
    if (entry["size"].u64() > 0) EXPECT_EQ(entry["dictionary_kb"].u64(), setting.dictionaryKB);
  }
  EXPECT_EQ(summary["size"].u64(), size);
  EXPECT_EQ(summary["packed"].u64(), packed);
  EXPECT_LT(packed, size);
  const Json* noise = FindEntry(listing, "tree/data/noise.bin");
  ASSERT_NE(noise, nullptr);
  EXPECT_EQ((*noise)["method"].text, "stored");  // random bytes do not shrink
  EXPECT_EQ((*noise)["packed"].u64(), 70000u);
  const Json* readonly = FindEntry(listing, "tree/readonly.txt");
  ASSERT_NE(readonly, nullptr);
  EXPECT_EQ((*readonly)["attributes"].u64() & 1, 1u);

  RunResult tested = RunAcearc({"t", archive.string()});
  ASSERT_EQ(tested.exitCode, 0) << tested.err;
  EXPECT_NE(tested.out.find("OK, 8 files"), std::string::npos) << tested.out;

  RunResult extracted = RunAcearc({"x", archive.string(), "-o", (dir.path() / "out").string()});
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  std::map<std::string, std::string> original{{"tree/", ""}};
  for (const auto& [name, content] : ReadTree(dir.path() / "tree"))
    original["tree/" + name] = content;
  EXPECT_EQ(ReadTree(dir.path() / "out"), original);
  EXPECT_EQ(fs::status(dir.path() / "out/tree/readonly.txt").permissions() & fs::perms::owner_write,
            fs::perms::none)
      << "the read-only file became writable";
  const auto written = fs::last_write_time(dir.path() / "out/tree/src/main.c");
  EXPECT_LE(abs(written - fs::last_write_time(dir.path() / "tree/src/main.c")),
            std::chrono::seconds(2))
      << "DOS times have 2 s steps";
}

INSTANTIATE_TEST_SUITE_P(
    Settings, CliRoundTrip,
    testing::Values(Setting{"Default", {}, false, 1024}, Setting{"Solid", {"-s"}, true, 1024},
                    Setting{"Exhaustive64K", {"-m", "0", "-d", "64"}, false, 64},
                    Setting{"Level2Solid128K", {"-m", "2", "-d", "128", "-s"}, true, 128},
                    Setting{"Level3At512K", {"-m", "3", "-d", "512"}, false, 512},
                    Setting{"Best", {"-m", "4"}, false, 1024},
                    Setting{"BestSolid256K", {"-m", "4", "-d", "256", "-s"}, true, 256}),
    [](const testing::TestParamInfo<Setting>& info) { return info.param.label; });

// Creates the sample archive with `options`; skips the test while creation
// has not landed.
#define CREATE_OR_SKIP(dir, ...)                     \
  do {                                               \
    MakeSampleTree((dir).path());                    \
    std::vector<std::string> args{"a", __VA_ARGS__}; \
    RunResult made = RunAcearc(args, (dir).path());  \
    SKIP_IF_NOT_LANDED(made, "creating archives");   \
    ASSERT_EQ(made.exitCode, 0) << made.err;         \
  } while (0)

TEST(CliAdd, ExcludePathsStoresBareNamesAndNoFolders) {
  acetest::TempDir dir;
  CREATE_OR_SKIP(dir, "-ep", "flat.ace", "tree");
  std::vector<std::string> names = EntryNames(ListJson(dir.path() / "flat.ace"));
  std::vector<std::string> expected{"README.txt", "empty.txt",    kAccentedName, "main.c",
                                    "noise.bin",  "readonly.txt", "util.c",      "util.h"};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(names, expected);
}

TEST(CliAdd, PrefixGoesInFrontOfEveryName) {
  acetest::TempDir dir;
  CREATE_OR_SKIP(dir, "--prefix", "backup/2024/", "p.ace", "tree");
  for (const std::string& name : EntryNames(ListJson(dir.path() / "p.ace"))) {
    EXPECT_EQ(name.rfind("backup/2024/tree/", 0), 0u) << name;
  }
  RunResult extracted = RunAcearc({"x", "p.ace", "-o", "out"}, dir.path());
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  EXPECT_TRUE(fs::exists(dir.path() / "out/backup/2024/tree/src/lib/util.c"));
}

TEST(CliAdd, DotAddsWhatTheFolderHoldsWithoutItsName) {
  acetest::TempDir dir;
  MakeSampleTree(dir.path());
  RunResult made = RunAcearc({"a", "../inside.ace", "."}, dir.path() / "tree");
  SKIP_IF_NOT_LANDED(made, "creating archives");
  ASSERT_EQ(made.exitCode, 0) << made.err;
  std::vector<std::string> names = EntryNames(ListJson(dir.path() / "inside.ace"));
  EXPECT_NE(std::find(names.begin(), names.end(), "src/main.c"), names.end());
  EXPECT_NE(std::find(names.begin(), names.end(), "emptydir/"), names.end());
  EXPECT_EQ(std::find(names.begin(), names.end(), "tree/"), names.end());
}

TEST(CliAdd, TheArchiveIsNeverAddedToItself) {
  acetest::TempDir dir;
  MakeSampleTree(dir.path());
  RunResult made = RunAcearc({"a", "tree/self.ace", "tree"}, dir.path());
  SKIP_IF_NOT_LANDED(made, "creating archives");
  ASSERT_EQ(made.exitCode, 0) << made.err;
  std::vector<std::string> names = EntryNames(ListJson(dir.path() / "tree/self.ace"));
  EXPECT_EQ(std::find(names.begin(), names.end(), "tree/self.ace"), names.end());
}

TEST(CliAdd, NoRecurseTakesOnlyTheFilesDirectlyInside) {
  acetest::TempDir dir;
  CREATE_OR_SKIP(dir, "-r-", "flat.ace", "tree");
  std::vector<std::string> names = EntryNames(ListJson(dir.path() / "flat.ace"));
  EXPECT_NE(std::find(names.begin(), names.end(), "tree/README.txt"), names.end());
  EXPECT_EQ(std::find(names.begin(), names.end(), "tree/src/main.c"), names.end());
  EXPECT_EQ(std::find(names.begin(), names.end(), "tree/src/"), names.end());
}

TEST(CliAdd, MissingPathIsAWarningAndTheRestIsAdded) {
  acetest::TempDir dir;
  MakeSampleTree(dir.path());
  RunResult made = RunAcearc({"a", "w.ace", "tree/README.txt", "ghost.txt"}, dir.path());
  SKIP_IF_NOT_LANDED(made, "creating archives");
  EXPECT_EQ(made.exitCode, 1) << made.err;
  EXPECT_NE(made.err.find("ghost.txt: no such file or directory"), std::string::npos) << made.err;
  // The missing path does not count toward the common folder.
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "w.ace")), std::vector<std::string>{"README.txt"});
}

TEST(CliAdd, NamesTheArchiveCannotHoldAreLeftOutWithAWarning) {
  ACE_POSIX_ONLY("Windows names cannot hold these characters");
  acetest::TempDir dir;
  acetest::WriteFileText(dir.path() / "fine.txt", "fine");
  acetest::WriteFileText(dir.path() / "dot.", "trailing dot");
  acetest::WriteFileText(dir.path() / "back\\slash", "backslash");
  RunResult made = RunAcearc({"a", "n.ace", "fine.txt", "dot.", "back\\slash"}, dir.path());
  SKIP_IF_NOT_LANDED(made, "creating archives");
  EXPECT_EQ(made.exitCode, 1) << made.err;
  EXPECT_NE(made.err.find("ending in \".\""), std::string::npos) << made.err;
  EXPECT_NE(made.err.find("backslash"), std::string::npos) << made.err;
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "n.ace")), std::vector<std::string>{"fine.txt"});
}

TEST(CliAdd, ANameTheCodePageCannotHoldIsAddedWithAWarning) {
  ACE_POSIX_ONLY("a name outside the ANSI code page cannot reach the plug-in on Windows");
  acetest::TempDir dir;
  acetest::WriteFileText(dir.path() / "\xE6\x97\xA5\xE6\x9C\xAC.txt", "kanji");  // not in CP437
  acetest::WriteFileText(dir.path() / "plain.txt", "plain");
  RunResult made =
      RunAcearc({"a", "k.ace", "\xE6\x97\xA5\xE6\x9C\xAC.txt", "plain.txt"}, dir.path());
  SKIP_IF_NOT_LANDED(made, "creating archives");
  EXPECT_EQ(made.exitCode, 1) << made.err;
  EXPECT_NE(made.err.find("is stored under another name"), std::string::npos) << made.err;
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "k.ace")).size(), 2u);
}

TEST(CliAdd, AnUnreadableFileIsLeftOutNotFatal) {
  ACE_POSIX_ONLY("permission bits");
  acetest::TempDir dir;
  acetest::WriteFileText(dir.path() / "secret.txt", "secret");
  acetest::WriteFileText(dir.path() / "plain.txt", "plain");
  fs::permissions(dir.path() / "secret.txt", fs::perms::none);
  // Root reads every file, so as root acearc runs as "nobody".
  int user = -1;
#ifndef _WIN32
  if (geteuid() == 0) user = 65534;
#endif
  if (user >= 0) fs::permissions(dir.path(), fs::perms::all);
  RunResult made = RunAcearc({"a", "u.ace", "secret.txt", "plain.txt"}, dir.path(), user);
  SKIP_IF_NOT_LANDED(made, "creating archives");
  EXPECT_EQ(made.exitCode, 1) << made.err;
  EXPECT_NE(made.err.find("secret.txt: it cannot be read"), std::string::npos) << made.err;
  EXPECT_EQ(EntryNames(ListJson(dir.path() / "u.ace")), std::vector<std::string>{"plain.txt"});
}

TEST(CliAdd, AMissingFolderForTheArchiveIsNamed) {
  acetest::TempDir dir;
  acetest::WriteFileText(dir.path() / "plain.txt", "plain");
  RunResult made = RunAcearc({"a", "nowhere/k.ace", "plain.txt"}, dir.path());
  EXPECT_EQ(made.exitCode, 2) << made.err;
  EXPECT_NE(made.err.find("the folder nowhere does not exist"), std::string::npos) << made.err;
}

TEST(CliExtract, WithoutPathsEveryFileLandsInTheOutputFolder) {
  acetest::TempDir dir;
  CREATE_OR_SKIP(dir, "s.ace", "tree");
  RunResult extracted = RunAcearc({"e", "s.ace", "-o", "flat"}, dir.path());
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  for (const char* name : {"README.txt", "main.c", "util.c", "noise.bin", "empty.txt"}) {
    EXPECT_TRUE(fs::is_regular_file(dir.path() / "flat" / name)) << name;
  }
  for (const char* folder : {"tree", "src", "lib", "data", "emptydir"}) {
    EXPECT_FALSE(fs::exists(dir.path() / "flat" / folder)) << folder;
  }
}

TEST(CliExtract, MasksSelectTheEntries) {
  acetest::TempDir dir;
  CREATE_OR_SKIP(dir, "s.ace", "tree");
  RunResult extracted = RunAcearc({"x", "s.ace", "*.c", "-o", "only"}, dir.path());
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;
  EXPECT_TRUE(fs::exists(dir.path() / "only/tree/src/main.c"));
  EXPECT_TRUE(fs::exists(dir.path() / "only/tree/src/lib/util.c"));
  EXPECT_FALSE(fs::exists(dir.path() / "only/tree/README.txt"));

  RunResult none = RunAcearc({"x", "s.ace", "*.nothing", "-o", "none"}, dir.path());
  EXPECT_EQ(none.exitCode, 1) << none.err;
  EXPECT_NE(none.err.find("matches"), std::string::npos) << none.err;
}

TEST(CliList, JsonCarriesTheAccentedNameAndIsValid) {
  acetest::TempDir dir;
  CREATE_OR_SKIP(dir, "s.ace", "tree");
  Json listing = ListJson(dir.path() / "s.ace");
  const Json* accented = FindEntry(listing, "tree/" + kAccentedName);
  ASSERT_NE(accented, nullptr);
  EXPECT_EQ((*accented)["size"].u64(), 25u);
  EXPECT_EQ((*accented)["type"].text, "file");
  const Json* folder = FindEntry(listing, "tree/emptydir/");
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ((*folder)["type"].text, "directory");
  EXPECT_EQ(listing["summary"]["host_system_name"].text, "Win32");
  EXPECT_TRUE(listing["comment"].isNull());
}

TEST(CliList, TableShowsEveryColumnAndTheSummary) {
  acetest::TempDir dir;
  CREATE_OR_SKIP(dir, "-s", "s.ace", "tree");
  RunResult listed = RunAcearc({"l", "s.ace"}, dir.path());
  ASSERT_EQ(listed.exitCode, 0) << listed.err;
  for (const std::string& text :
       {std::string("tree/src/lib/util.c"), std::string("<DIR>"), std::string("stored"),
        std::string("lz77 1024K"), std::string("-R--A"), std::string("8 files"),
        std::string("solid: yes"), std::string("largest dictionary: 1024 KB"),
        std::string("host system: Win32"), "tree/" + kAccentedName}) {
    EXPECT_NE(listed.out.find(text), std::string::npos) << text << "\n" << listed.out;
  }
}

}  // namespace
}  // namespace clitest
