// acearc a -T/--threads: any count from 1 on gives the archive of one thread;
// a count the option does not take is a bad command line.
#include "cli/cli_fixture.h"

namespace clitest {
namespace {

namespace fs = std::filesystem;

TEST(CliThreads, EveryCountWritesTheSameArchive) {
  acetest::TempDir dir;
  MakeSampleTree(dir.path());
  for (const char* solid : {"-m1", "-s"}) {
    acetest::Bytes first;
    for (const char* threads : {"-T1", "-T2", "--threads=3"}) {
      SCOPED_TRACE(std::string(solid) + " " + threads);
      const fs::path archive = dir.path() / (std::string(threads) + solid + ".ace");
      RunResult result = RunAcearc({"a", solid, threads, archive.string(), "tree"}, dir.path());
      ASSERT_EQ(result.exitCode, 0) << result.err;
      const acetest::Bytes bytes = acetest::ReadFileBytes(archive);
      if (first.empty()) first = bytes;
      EXPECT_TRUE(bytes == first);
    }
  }
}

TEST(CliThreads, CountsOutsideOneToSixtyFourAreRefused) {
  for (const char* threads : {"-T0", "-T65", "-Tmany"}) {
    RunResult result = RunAcearc({"a", threads, "a.ace", "f"});
    EXPECT_EQ(result.exitCode, 5) << threads << "\n" << result.err;
  }
}

}  // namespace
}  // namespace clitest
