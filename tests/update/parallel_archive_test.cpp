// Archives written on several threads: byte for byte those of one thread,
// with the same reports to the host in the same order, for every dictionary,
// level and solidity; a run stopped midway loses nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "update/update_fixture.h"

using acetest::Bytes;
using namespace updtest;

namespace {

// What the host hears: file names, progress, skip questions; and how often it
// hears it on a thread other than the one that called the plug-in.
std::vector<std::string> g_log;
std::thread::id g_host;
int g_offThread = 0;
int32_t g_reports = 0;  // progress reports since the start or a rebuild's compression began
int32_t g_stopAt = 0;   // the report that answers 0 (0: none)

void CheckThread() { g_offThread += std::this_thread::get_id() != g_host; }

int32_t ACEPLUG_CALL LogName(AceContext, const char* path, const char* shown) {
  CheckThread();
  g_log.push_back(std::string("name ") + path + " " + shown);
  return 1;
}
int32_t ACEPLUG_CALL LogProgress(AceContext, int32_t percent, int32_t step) {
  CheckThread();
  g_log.push_back("progress " + std::to_string(percent) + " " + std::to_string(step));
  return ++g_reports == g_stopAt ? 0 : 1;
}
int32_t ACEPLUG_CALL CountFromRebuild(AceContext, uint32_t, uint32_t, int32_t code) {
  CheckThread();
  if (code == AR_SIGNAL_REBUILD) g_reports = 0;
  return 1;
}
int32_t ACEPLUG_CALL LogSkip(AceContext, const char* path) {
  CheckThread();
  g_log.push_back(std::string("skip ") + path);
  return 1;
}
void RegisterLog() {
  SetSetFileNameProc(0, LogName);
  SetSetProgressProc(0, LogProgress);
  SetSkipFileProc(0, LogSkip);
  SetSetSignalProc(0, CountFromRebuild);
}

// Letters ending in "yqrst", with "qrst" and each letter in the 64 KB before:
// the match taken at the end names the byte that lies behind the file's data.
Bytes Probing(size_t size, uint32_t seed) {
  Bytes bytes = acetest::Letters(size, seed, 16);
  const size_t step = std::min<size_t>(size, 60000) / 20;
  for (size_t c = 0; c < 16; ++c) {
    const size_t at = size - 8 - (c + 1) * step;
    std::copy_n("qrst", 4, bytes.begin() + static_cast<ptrdiff_t>(at));
    bytes[at + 4] = static_cast<uint8_t>('a' + c);
  }
  std::copy_n("yqrst", 5, bytes.end() - 5);
  return bytes;
}

void UseThreads(int threads) { setenv("ACEPLUG_THREADS", std::to_string(threads).c_str(), 1); }

class ParallelArchiveTest : public ArchiveChangeTest {
 protected:
  void SetUp() override {
    ArchiveChangeTest::SetUp();
    g_host = std::this_thread::get_id();
    g_offThread = 0;
    // Letters in many lengths, ending where the search reads what longer
    // files before them left behind their data. Among them random data
    // (stored), empty files, a missing file (skipped), and texts that fill
    // the history of the smallest dictionary and slide it.
    for (int i = 0; i < 32; ++i) {
      const std::string name = "f" + std::to_string(i) + (i % 3 ? ".txt" : ".dat");
      Bytes bytes;
      if (i % 13 == 5) {
        bytes = acetest::RandomBytes(3000 + 100 * i, i);
      } else if (i % 15 == 7 || i % 15 == 8) {
        // Past 2·64 KB, then into what the slide left in either half.
        const size_t sizes[] = {131072, 100000, 150000, 70000};
        bytes = Probing(sizes[i / 15 * 2 + i % 15 - 7], i);
      } else if (i % 17 != 3) {
        bytes = Probing((i * 7919) % 6000 + 200, i);
      }
      WriteInput(name, std::string(bytes.begin(), bytes.end()));
      names_.push_back(name);
      if (i == 20) names_.push_back("missing.txt");
    }
    settings.inputPath = input.string() + "/";
  }
  void TearDown() override {
    EXPECT_EQ(g_offThread, 0) << "host procedures called on a compressing thread";
    unsetenv("ACEPLUG_THREADS");
    g_stopAt = 0;
    ArchiveChangeTest::TearDown();
  }

  // The archive's bytes and what the host heard.
  std::pair<Bytes, std::vector<std::string>> Make(int threads) {
    UseThreads(threads);
    g_log.clear();
    g_reports = 0;
    g_stopAt = 0;
    EXPECT_EQ(Create(archive, names_, settings, RegisterLog), AR_OK);
    return {ArchiveBytes(), g_log};
  }

  std::vector<std::string> names_;
};

TEST_F(ParallelArchiveTest, ThreadsWriteTheBytesOfOneThread) {
  for (int solid : {0, 1}) {
    for (int kb : {64, 128, 256, 512, 1024}) {
      for (int level = 0; level <= 4; ++level) {
        SCOPED_TRACE("solid " + std::to_string(solid) + ", " + std::to_string(kb) + " KB, level " +
                     std::to_string(level));
        settings.solid = solid;
        settings.dictionaryKB = kb;
        settings.level = level;
        const auto one = Make(1);
        const auto three = Make(3);
        ASSERT_EQ(one.first.size(), three.first.size());
        ASSERT_TRUE(one.first == three.first);
        EXPECT_EQ(one.second, three.second);
      }
    }
  }
  EXPECT_EQ(TestArchive(archive), AR_OK);
}

TEST_F(ParallelArchiveTest, StoppingMidwayLeavesTheOldArchive) {
  for (int solid : {0, 1}) {
    SCOPED_TRACE(solid ? "solid" : "plain");
    settings.solid = solid;
    Make(1);
    const Bytes before = ArchiveBytes();
    UseThreads(2);
    ASSERT_GT(g_reports, 8);
    g_stopAt = g_reports / 2;
    g_reports = 0;
    Recorder recorder;
    recorder.beforeExport = RegisterLog;
    // Adding replaces every file's namesake; a solid archive is rebuilt.
    EXPECT_EQ(Add(archive, names_, settings, &recorder), AR_ABORTED);
    EXPECT_EQ(ArchiveBytes(), before);
    ExpectNothingLeftOver();
    // A creation stopped midway leaves no archive.
    g_reports = 0;
    EXPECT_EQ(Create(archive, names_, settings, RegisterLog), AR_ABORTED);
    EXPECT_FALSE(std::filesystem::exists(archive));
    ExpectNothingLeftOver();
  }
}

}  // namespace
