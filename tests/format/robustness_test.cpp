// Random and damaged archives through opening, listing and the summary: every
// call must come back with some status, without touching memory outside its
// buffers (this suite runs under AddressSanitizer in CI).
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "format/archive_builder.h"
#include "format/comment_encoder.h"
#include "support/test_support.h"

namespace {

using acetest::ArchiveBuilder;
using acetest::Bytes;

std::vector<Bytes> Seeds() {
  const Bytes note = acetest::EncodeComment("a note with a note with a note", true).block;
  std::vector<Bytes> seeds;
  ArchiveBuilder plain;
  plain.Main()
      .File({.name = "A.TXT", .data = Bytes(40, 'a'), .origSize = 40})
      .File({.name = "DIR", .attr = 0x10})
      .Recovery(2, 6, Bytes(6, 0))
      .File({.name = "\x8E\x99.BIN", .data = Bytes(9, 9), .origSize = 90, .method = 1});
  seeds.push_back(plain.bytes());
  ArchiveBuilder commented;
  commented.Prefix(300)
      .Main({.flags = 0x9000, .comment = note})
      .File({.name = "X", .data = Bytes(5, 'x'), .comment = note})
      .Recovery(5, 2, Bytes(2, 0))
      .File({.name = "Y", .parm = 9, .comment = note});
  seeds.push_back(commented.bytes());
  // The head of a real archive: its first entries and part of their data. The
  // whole file would make every damaged first header cost a search through
  // 60 KB of packed data.
  Bytes real = acetest::ReadFileBytes(acetest::SharedDir() / "vectors/archives/plain.ace");
  real.resize(6000);
  seeds.push_back(real);
  return seeds;
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
  acetest::TempDir dir;
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
    Bytes archive;
    if (round % 10 == 0) {
      archive = acetest::RandomBytes(rng() % 2000, static_cast<uint32_t>(round));
    } else {
      archive = Mutate(seeds[static_cast<size_t>(round) % seeds.size()], rng);
    }
    acetest::WriteFileBytes(path, archive);

    InitArcFile(path.c_str());
    const uint16_t openStatus = GetArchiveStatus();
    ASSERT_TRUE(openStatus == AR_OK || openStatus == AR_NOT_ACE) << round << ": " << openStatus;
    if (openStatus == AR_OK) ++opened;

    FileMaskList masks;
    InitFileMaskList(&masks);
    AppendFileMask("*.*", &masks);
    ArcFileList list;
    InitArcFileList(&list);
    BuildArcFileList(&list, &masks);
    const uint16_t listStatus = GetArchiveStatus();
    ASSERT_TRUE(listStatus == AR_OK || listStatus == AR_BAD_HEADER || listStatus == AR_IO_ERROR)
        << round << ": " << listStatus;
    uint32_t count = 0;
    for (const ArcFileEntry* e = list.First; e != nullptr; e = e->Next) {
      ASSERT_LT(std::strlen(e->Name), sizeof e->Name);
      ++count;
    }
    ASSERT_EQ(count, list.Count);
    if (count > 0) ++listed;
    DoneArcFileList(&list);
    DoneFileMaskList(&masks);

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
