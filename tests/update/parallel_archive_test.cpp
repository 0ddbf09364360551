// Archives written on several threads: byte for byte those of one thread,
// with the same reports to the host, all on the host's thread, for every
// dictionary, level and solidity; a run stopped midway loses nothing.
#include <cstdlib>

#include "archive_folder.h"

namespace acetest {
namespace {

// Letters ending in "yqrst", with "qrst" and each letter in the 64 KB before:
// the match taken at the end names the byte that lies behind the file's data.
std::string Probing(size_t size, uint32_t seed) {
  std::string text(size, 'a');
  const Bytes random = RandomBytes(size, seed);
  for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + random[i] % 16);
  const size_t step = std::min<size_t>(size, 60000) / 20;
  for (size_t c = 0; c < 16; ++c) {
    const size_t at = size - 8 - (c + 1) * step;
    text.replace(at, 5, "qrst" + std::string(1, static_cast<char>('a' + c)));
  }
  text.replace(size - 5, 5, "yqrst");
  return text;
}

class ParallelArchive : public ArchiveFolder {
 protected:
  void SetUp() override {
    ArchiveFolder::SetUp();
    // Letters in many lengths, ending where the search reads what longer
    // files before them left behind their data. Among them random data
    // (stored), empty files, a missing file (skipped), and texts that fill
    // the history of the smallest dictionary and slide it.
    for (int i = 0; i < 32; ++i) {
      const std::string name = "f" + std::to_string(i) + (i % 3 ? ".txt" : ".dat");
      std::string text;
      if (i % 13 == 5) {
        const Bytes random = RandomBytes(3000 + 100 * i, i);
        text.assign(random.begin(), random.end());
      } else if (i % 15 == 7 || i % 15 == 8) {
        // Past 2·64 KB, then into what the slide left in either half.
        const size_t sizes[] = {131072, 100000, 150000, 70000};
        text = Probing(sizes[i / 15 * 2 + i % 15 - 7], i);
      } else if (i % 17 != 3) {
        text = Probing((i * 7919) % 6000 + 200, i);
      }
      WriteInput(name, text);
      names_.push_back(name);
      if (i == 20) names_.push_back("missing.txt");
    }
  }
  void TearDown() override {
    SetEnv("ACEPLUG_THREADS", nullptr);
    ArchiveFolder::TearDown();
  }
  // The thread count reaches the plug-in as any host may set it.
  static void UseThreads(int threads) {
    SetEnv("ACEPLUG_THREADS", std::to_string(threads).c_str());
  }
  // The archive's bytes and what the host heard.
  std::pair<Bytes, std::vector<std::string>> Make(int threads) {
    UseThreads(threads);
    Host host;
    host.skipAnswer = 1;
    EXPECT_EQ(Create(archive, names_, settings, &host), AR_OK);
    EXPECT_EQ(host.offThread, 0) << "host procedures called on a compressing thread";
    return {ArchiveBytes(), host.events};
  }

  std::vector<std::string> names_;
};

TEST_F(ParallelArchive, ThreadsWriteTheBytesOfOneThread) {
  for (int solid : {0, 1}) {
    for (int kb : {64, 128, 256, 512, 1024}) {
      for (int level = 0; level <= 4; ++level) {
        SCOPED_TRACE(testing::Message()
                     << "solid " << solid << ", " << kb << " KB, level " << level);
        settings.solid = solid;
        settings.dictionaryKB = kb;
        settings.level = level;
        const auto one = Make(1);
        const auto three = Make(3);
        ASSERT_EQ(FirstDifference(one.first, three.first), "");
        EXPECT_EQ(one.second, three.second);
      }
    }
  }
  EXPECT_EQ(TestArchive(archive), AR_OK);
}

TEST_F(ParallelArchive, StoppingMidwayLeavesTheOldArchive) {
  for (int solid : {0, 1}) {
    SCOPED_TRACE(solid ? "solid" : "plain");
    settings.solid = solid;
    const auto [before, heard] = Make(1);
    const auto reports = std::count_if(heard.begin(), heard.end(), [](const std::string& e) {
      return e.rfind("progress ", 0) == 0;
    });
    ASSERT_GT(reports, 8);
    UseThreads(2);
    Host host;
    host.skipAnswer = 1;
    host.stopAtProgress = static_cast<int>(reports / 2);
    // Adding replaces every file's namesake; a solid archive is rebuilt.
    EXPECT_EQ(Add(archive, names_, settings, &host), AR_ABORTED);
    EXPECT_EQ(ArchiveBytes(), before);
    EXPECT_EQ(ReadTree(arcDir).size(), 1u) << "left beside the archive";
    // A creation stopped midway leaves no archive.
    host.events.clear();
    EXPECT_EQ(Create(archive, names_, settings, &host), AR_ABORTED);
    EXPECT_EQ(ReadTree(arcDir), Tree{});
    EXPECT_EQ(ReadTree(tmp), Tree{}) << "left in the temporary folder";
    EXPECT_EQ(host.offThread, 0);
  }
}

}  // namespace
}  // namespace acetest
