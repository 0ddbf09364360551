// acearc a -T/--threads: any count from 1 on gives the archive of one thread;
// a count the option does not take is a bad command line.
#include "cli/acearc_fixture.h"

namespace clitest {
namespace {

TEST_F(Acearc, EveryThreadCountWritesTheSameArchive) {
  MakeTree();
  for (const char* solid : {"-m1", "-s"}) {
    acetest::Bytes first;
    for (const char* threads : {"-T1", "-T2", "--threads=3"}) {
      SCOPED_TRACE(std::string(solid) + " " + threads);
      const std::string archive = "a" + std::string(threads) + solid + ".ace";
      const RunResult result = Run({"a", solid, threads, archive, "tree"});
      ASSERT_EQ(result.exitCode, 0) << result.err;
      const acetest::Bytes bytes = acetest::ReadFileBytes(Path(archive));
      if (first.empty()) first = bytes;
      EXPECT_TRUE(bytes == first);
    }
  }
  for (const char* threads : {"-T0", "-T65", "-Tmany"}) {
    const RunResult result = Run({"a", threads, "a.ace", "tree"});
    EXPECT_EQ(result.exitCode, 5) << threads << "\n" << result.err;
    EXPECT_FALSE(fs::exists(Path("a.ace"))) << threads;
  }
}

}  // namespace
}  // namespace clitest
