// acearc on hostile names and sizes: control characters are shown escaped
// and reach the disk as "_", one unsafe name leaves the others extracted with
// exit code 1, a NUL inside a name is a damaged header for every command, and
// sizes past the format's limits are refused with the limit named.
#include "cli/acearc_fixture.h"
#include "support/ace_builder.h"

namespace clitest {
namespace {

acetest::AceEntry Stored(const std::string& name) {
  return {.name = name, .data = acetest::AsBytes("data")};
}

TEST_F(Acearc, ControlCharactersAreShownEscapedAndWrittenAsUnderscores) {
  acetest::WriteFileBytes(
      Path("n.ace"), acetest::AceArchive({Stored("esc\x1b]0;owned\a.txt"), Stored("nl\nfake.txt"),
                                          Stored("..\\up.txt"), Stored("ok.txt")}));
  // Neither the names' ESC nor their BEL, and no line that a name began.
  auto harmless = [](const std::string& text) {
    return text.find_first_of("\x1b\a") == std::string::npos && !Has(text, "\nfake");
  };
  const RunResult list = Run({"l", "n.ace"});
  EXPECT_EQ(list.exitCode, 0) << list.err;
  EXPECT_TRUE(Has(list.out, "esc\\x1b]0;owned\\x07.txt")) << list.out;
  EXPECT_TRUE(Has(list.out, "nl\\x0afake.txt")) << list.out;
  EXPECT_TRUE(harmless(list.out + list.err));
  EXPECT_EQ(Entry(List("n.ace"), "nl\nfake.txt")["name"].text, "nl\nfake.txt") << "JSON keeps it";
  for (const std::string command : {"x", "e"}) {
    const RunResult extracted = Run({command, "n.ace", "-o", command});
    EXPECT_TRUE(harmless(extracted.out + extracted.err)) << extracted.err;
    for (const char* name : {"esc_]0;owned_.txt", "nl_fake.txt", "ok.txt"})
      EXPECT_TRUE(fs::exists(Path(command) / name)) << command << " " << name;
    // Without paths "..\up.txt" is plain up.txt; with them it is refused alone.
    EXPECT_EQ(fs::exists(Path(command) / "up.txt"), command == "e");
    EXPECT_EQ(extracted.exitCode, command == "e" ? 0 : 1) << extracted.err;
  }
  EXPECT_FALSE(fs::exists(Path("up.txt")));
}

TEST_F(Acearc, FoldersBehindALinkAreNeitherMadeNorGivenTheirTime) {
  ACE_POSIX_ONLY("symbolic links");
  fs::create_directories(Path("outside"));
  fs::create_directories(Path("out"));
  fs::create_directory_symlink(Path("outside"), Path("out/link"));
  const fs::file_time_type before = fs::last_write_time(Path("outside"));
  acetest::WriteFileBytes(Path("n.ace"),
                          acetest::AceArchive({{.name = "link", .attributes = 0x10},
                                               {.name = "link\\sub", .attributes = 0x10},
                                               Stored("ok.txt")}));
  const RunResult extracted = Run({"x", "n.ace", "-o", "out"});
  EXPECT_EQ(extracted.exitCode, 1) << extracted.err;
  EXPECT_TRUE(fs::is_empty(Path("outside")));
  EXPECT_EQ(fs::last_write_time(Path("outside")), before);
  EXPECT_TRUE(fs::exists(Path("out/ok.txt")));
}

TEST_F(Acearc, ASolidRebuildKeepsControlCharactersInNames) {
  ACE_POSIX_ONLY("control characters cannot be part of a Windows file name");
  fs::create_directories(Path("in"));
  acetest::WriteFileText(Path("in/bell\a.txt"), "bell");
  acetest::WriteFileText(Path("more.txt"), "more");
  ASSERT_EQ(Run({"a", "-s", "s.ace", "in"}).exitCode, 0);
  EXPECT_EQ(Run({"a", "s.ace", "more.txt"}).exitCode, 0);
  EXPECT_EQ(Entry(List("s.ace"), "in/bell\a.txt")["name"].text, "in/bell\a.txt");
}

TEST_F(Acearc, ANulInsideANameIsADamagedHeaderForEveryCommand) {
  acetest::WriteFileBytes(Path("n.ace"),
                          acetest::AceArchive({Stored("ok.txt"), Stored(std::string("abc\0def", 7)),
                                               Stored("after.txt")}));
  for (const std::string command : {"l", "t", "x"}) {
    const RunResult r = Run({command, "n.ace"});
    EXPECT_EQ(r.exitCode, 3) << command << ": " << r.err;
    EXPECT_TRUE(Has(r.err, "9964 AR_BAD_HEADER")) << r.err;
  }
}

TEST_F(Acearc, SizesPastTheFormatsLimitsAreRefusedNamingTheLimit) {
  fs::create_directories(Path("big"));
  acetest::WriteFileText(Path("big/small.txt"), "small");
  acetest::WriteFileText(Path("big/huge.bin"), "");
  fs::resize_file(Path("big/huge.bin"), (uint64_t{9} << 29) + 5);  // sparse
  const RunResult add = Run({"a", "big.ace", "big"});
  EXPECT_EQ(add.exitCode, 2);
  for (const char* part : {"big/huge.bin (4.50 GiB)", "2 GiB - 1 bytes", "6 AR_SIZE_ERROR"})
    EXPECT_TRUE(Has(add.err, part)) << add.err;
  EXPECT_FALSE(fs::exists(Path("big.ace")));
  // The size, not "not an ACE archive", whatever the search for the header found.
  acetest::WriteFileBytes(Path("n.ace"), acetest::AceArchive({Stored("ok.txt")}));
  fs::resize_file(Path("n.ace"), uint64_t{1} << 31);
  const RunResult list = Run({"l", "n.ace"});
  EXPECT_EQ(list.exitCode, 2);
  EXPECT_TRUE(Has(list.err, "size not supported (an ACE archive holds at most 2 GiB - 1 bytes)"))
      << list.err;
}

}  // namespace
}  // namespace clitest
