// Changing an archive with acearc from start to end: add to it, delete from
// it and make a directory in it, plain and solid, then list, test and extract
// the result and find every byte where it belongs and nothing left over.
#include <cstdlib>
#include <optional>

#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> FolderNames(const fs::path& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

class CliChange : public testing::TestWithParam<bool> {};

TEST_P(CliChange, AddDeleteAndMkdirKeepEveryByte) {
  const bool solid = GetParam();
  acetest::TempDir dir;
  const fs::path work = dir.path() / "work";
  const fs::path tmp = dir.path() / "tmp";
  fs::create_directories(work);
  MakeSampleTree(work);
  fs::create_directories(tmp);
  acetest::ScopedTempFolder childTemp(tmp);  // the children's
  auto run = [&](const std::vector<std::string>& args) { return RunAcearc(args, work); };

  std::vector<std::string> create{"a"};
  if (solid) create.push_back("-s");
  create.insert(create.end(), {"-d", "256", "s.ace", "tree"});
  RunResult created = run(create);
  ASSERT_EQ(created.exitCode, 0) << created.err;

  fs::create_directories(work / "more");
  acetest::WriteFileText(work / "more" / "notes.txt", std::string(5000, 'n') + "\nend\n");
  acetest::WriteFileBytes(work / "more" / "tool.exe", acetest::RandomBytes(3000, 11));
  RunResult added = run({"a", "-d", "64", "s.ace", "more"});
  ASSERT_EQ(added.exitCode, 0) << added.err;

  RunResult deleted = run({"d", "s.ace", "tree/src/main.c", "tree/empty.txt"});
  ASSERT_EQ(deleted.exitCode, 0) << deleted.err;
  EXPECT_NE(deleted.out.find("2 entries deleted"), std::string::npos) << deleted.out;

  // Names are given the way the listing shows them.
  RunResult made = run({"mkdir", "s.ace", "tree/made"});
  ASSERT_EQ(made.exitCode, 0) << made.err;

  const Json listing = ListJson(work / "s.ace");
  EXPECT_EQ(listing["summary"]["solid"].boolean, solid);
  for (const Json& entry : listing["entries"].items) {
    // The archive's own dictionary serves the new files; a plain archive's new
    // entries get 64 KB.
    if (entry["type"].text != "file" || entry["size"].u64() == 0) continue;
    const bool isNew = entry["name"].text.rfind("more/", 0) == 0;
    EXPECT_EQ(entry["dictionary_kb"].u64(), solid || !isNew ? 256u : 64u) << entry["name"].text;
  }
  const Json* dirEntry = FindEntry(listing, "tree/made/");
  ASSERT_NE(dirEntry, nullptr);
  EXPECT_EQ((*dirEntry)["type"].text, "directory");
  EXPECT_EQ(listing["entries"].items.back()["name"].text, "tree/made/") << "appended last";

  RunResult tested = run({"t", "s.ace"});
  EXPECT_EQ(tested.exitCode, 0) << tested.err;
  RunResult extracted = run({"x", "s.ace", "-o", "out"});
  ASSERT_EQ(extracted.exitCode, 0) << extracted.err;

  std::map<std::string, std::string> expected;
  for (const auto& [name, content] : ReadTree(work / "tree")) expected["tree/" + name] = content;
  for (const auto& [name, content] : ReadTree(work / "more")) expected["more/" + name] = content;
  expected.erase("tree/src/main.c");
  expected.erase("tree/empty.txt");
  expected["tree/made/"] = "";
  // A solid archive is rebuilt from the files it unpacks: an empty folder
  // does not come back.
  if (solid) expected.erase("tree/emptydir/");
  std::map<std::string, std::string> out = ReadTree(work / "out");
  for (const char* folder : {"tree/", "more/"}) out.erase(folder);
  EXPECT_EQ(out, expected);
  EXPECT_EQ(
      fs::status(work / "out" / "tree" / "readonly.txt").permissions() & fs::perms::owner_write,
      fs::perms::none)
      << "the read-only file became writable";

  EXPECT_EQ(FolderNames(work), (std::vector<std::string>{"more", "out", "s.ace", "tree"}));
  EXPECT_EQ(FolderNames(tmp), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Archives, CliChange, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& info) {
                           return info.param ? "Solid" : "Plain";
                         });

}  // namespace
}  // namespace clitest
