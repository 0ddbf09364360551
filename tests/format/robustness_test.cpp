// Random and damaged archives through opening, listing and the summary: every
// call must come back with some status, without touching memory outside its
// buffers (this suite runs under AddressSanitizer in CI).
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "format/format_fixture.h"

namespace acetest {
namespace {

std::vector<Bytes> Seeds() {
  const Bytes note = Comment("a note with a note with a note");
  // The head of a real archive: its first entries and part of their data. The
  // whole file would make every damaged first header cost a search through
  // 60 KB of packed data.
  Bytes real = ReadFileBytes(SharedDir() / "vectors/archives/plain.ace");
  real.resize(6000);
  return {
      Join({AceMainHeader(), AceEntryBytes({.name = "A.TXT", .data = Bytes(40, 'a')}),
            AceEntryBytes({.name = "DIR", .attributes = 0x10}), AceRecovery(2, 6, Bytes(6, 0)),
            AceEntryBytes(
                {.name = "\x8E\x99.BIN", .packed = Bytes(9, 9), .method = 1, .origSize = 90})}),
      Join({Bytes(300, 0x90), AceMainHeader({.flags = 0x8000, .comment = note}),
            AceEntryBytes({.name = "X", .data = Bytes(5, 'x'), .comment = note}),
            AceRecovery(5, 2, Bytes(2, 0)),
            AceEntryBytes({.name = "Y", .dictCode = 9, .comment = note})}),
      real,
  };
}

Bytes Mutate(const Bytes& seed, std::mt19937& rng) {
  Bytes out = seed;
  // Keep the damage in the headers mostly: the data areas are opaque.
  const size_t span = std::min<size_t>(out.size(), 700);
  const int kind = static_cast<int>(rng() % 5);
  const int count = 1 + static_cast<int>(rng() % 6);
  for (int k = 0; k < count && !out.empty(); ++k) {
    const size_t at = rng() % span;
    switch (kind) {
      case 0:
        out[at] = static_cast<uint8_t>(rng());
        break;
      case 1:
        out[at] ^= static_cast<uint8_t>(1u << (rng() % 8));
        break;
      case 2:
        if (at + 1 < out.size()) {
          out[at] = 0xFF;
          out[at + 1] = static_cast<uint8_t>(rng() % 2 ? 0xFF : 0x00);
        }
        break;
      case 3:
        out.resize(rng() % out.size());
        break;
      default:
        out.insert(out.begin() + static_cast<long>(at), static_cast<uint8_t>(rng()));
        break;
    }
  }
  return out;
}

TEST(Robustness, RandomAndDamagedArchivesAlwaysReturn) {
  TempDir dir;
  // Thousands of rewrites of one file: keep them in memory when the system
  // offers a memory file system, so the disk's latency does not count.
  std::string path = dir / "fuzz.ace";
  std::error_code ec;
  if (std::filesystem::is_directory("/dev/shm", ec)) {
    path = "/dev/shm/aceplug-fuzz-" + std::to_string(::getpid()) + ".ace";
  }
  const std::vector<Bytes> seeds = Seeds();
  std::mt19937 rng(20240601);
  int opened = 0;
  int listed = 0;
  for (int round = 0; round < 4000; ++round) {
    WriteFileBytes(path, round % 10 == 0
                             ? RandomBytes(rng() % 2000, static_cast<uint32_t>(round))
                             : Mutate(seeds[static_cast<size_t>(round) % seeds.size()], rng));
    InitArcFile(path.c_str());
    const uint16_t openStatus = GetArchiveStatus();
    ASSERT_TRUE(openStatus == AR_OK || openStatus == AR_NOT_ACE) << round << ": " << openStatus;
    if (openStatus == AR_OK) ++opened;
    const Listed l = ListArchive();  // checks every name is terminated
    ASSERT_TRUE(l.status == AR_OK || l.status == AR_BAD_HEADER || l.status == AR_IO_ERROR)
        << round << ": " << l.status;
    if (!l.entries.empty()) ++listed;
    ArcInfo info;
    GetExtraInfoArc(&info);
    MainCommentInfo comment{};
    GetMainCommentArc(&comment);
    std::free(comment.Comment);
    DoneArcFile();
  }
  std::filesystem::remove(path, ec);
  // The damage must leave enough archives readable to reach the walk.
  EXPECT_GT(opened, 1600);
  EXPECT_GT(listed, 1300);
}

}  // namespace
}  // namespace acetest
