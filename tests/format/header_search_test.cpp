#include "format/header_search.h"

#include <gtest/gtest.h>

#include <cstring>

#include "format/archive_builder.h"

namespace {

using acetest::ArchiveBuilder;
using acetest::Bytes;
using acetest::FileSpec;
using acetest::MainSpec;

ace::MainHeaderScan Scan(const Bytes& bytes) {
  return ace::ScanMainHeader(bytes.data(), static_cast<int32_t>(bytes.size()));
}

TEST(ScanMainHeader, FindsTheHeaderBehindPrefixes) {
  for (size_t prefix : {size_t{0}, size_t{1}, size_t{1000}, size_t{61000}}) {
    SCOPED_TRACE(prefix);
    ArchiveBuilder b;
    b.Prefix(prefix).Main().File({.name = "A.TXT", .data = Bytes(10, 'a')});
    Bytes window = b.bytes();
    if (window.size() > ace::kSearchWindow) window.resize(ace::kSearchWindow);
    const auto scan = Scan(window);
    EXPECT_EQ(scan.position, static_cast<int32_t>(prefix));
    EXPECT_EQ(scan.size, 53);
    EXPECT_EQ(scan.advertSize, 22);
    EXPECT_EQ(scan.extractVersion, 10);
    EXPECT_EQ(scan.hostOS, 2);
  }
}

TEST(ScanMainHeader, TheHeaderMustLieWhollyInTheWindow) {
  // A 53-byte header fits when it starts at 61,387 and not one byte later.
  for (int32_t start : {61387, 61388}) {
    ArchiveBuilder b;
    b.Prefix(static_cast<size_t>(start)).Main().Prefix(200);
    Bytes window = b.bytes();
    window.resize(ace::kSearchWindow);
    EXPECT_EQ(Scan(window).position, start == 61387 ? start : -1) << start;
  }
}

TEST(ScanMainHeader, SignaturesTooNearTheStartAreSkipped) {
  for (size_t at = 0; at <= 6; ++at) {
    SCOPED_TRACE(at);
    Bytes prefix(100, 0);
    std::memcpy(prefix.data() + at, "**ACE**", 7);
    ArchiveBuilder b;
    b.Raw(prefix).Main();
    EXPECT_EQ(Scan(b.bytes()).position, 100);
  }
}

TEST(ScanMainHeader, CandidatesThatFailLeaveTheirTraces) {
  // A locked candidate of type 0 with a bad checksum, then nothing valid:
  // not found, but the lock and its version bytes are remembered.
  ArchiveBuilder bad;
  bad.Main({.flags = 0x5000, .extractVersion = 20, .host = 0, .badChecksum = true}).Prefix(40);
  auto scan = Scan(bad.bytes());
  EXPECT_EQ(scan.position, -1);
  EXPECT_TRUE(scan.sawCandidate);
  EXPECT_TRUE(scan.locked);
  EXPECT_EQ(scan.extractVersion, 20);
  EXPECT_EQ(scan.hostOS, 0);

  // A bad candidate before a good one: found, with the good one's bytes.
  ArchiveBuilder two;
  two.Main({.extractVersion = 20, .badChecksum = true}).Main({.extractVersion = 0});
  scan = Scan(two.bytes());
  EXPECT_EQ(scan.position, 53);
  EXPECT_EQ(scan.extractVersion, 0);  // "**ACE**" followed by a zero byte counts

  // A signature in a header of another type is no main header.
  Bytes typed = ArchiveBuilder().Main().bytes();
  typed[4] = 1;
  scan = Scan(typed);
  EXPECT_EQ(scan.position, -1);
  EXPECT_TRUE(scan.sawCandidate);
  EXPECT_FALSE(scan.locked);

  // Too few bytes for any candidate.
  EXPECT_FALSE(Scan(Bytes(33, '*')).sawCandidate);
}

TEST(ScanFirstHeader, FindsTheFirstValidFileHeader) {
  ArchiveBuilder b;
  b.Recovery(2, 5, Bytes(5, 0)).File({.name = "X", .parm = 0x19, .badChecksum = true});
  const size_t good = b.size();
  b.File({.name = "DATA\\FILE.BIN", .data = Bytes(30, 1), .parm = 0x0A}).Prefix(40, 0);
  int code = -1;
  EXPECT_EQ(ace::ScanFirstHeader(b.bytes().data(), static_cast<int32_t>(b.size()), &code),
            static_cast<int32_t>(good));
  EXPECT_EQ(code, 10);
}

TEST(ScanFirstHeader, TheHeaderMustEndBeforeTheWindowDoes) {
  // A one-entry tail of exactly 38 bytes is too short for the search.
  const Bytes one = ArchiveBuilder().File({.name = "A"}).bytes();
  ASSERT_EQ(one.size(), 38u);
  EXPECT_EQ(ace::ScanFirstHeader(one.data(), 38, nullptr), -1);
  Bytes longer = one;
  longer.resize(80, 0);
  EXPECT_EQ(ace::ScanFirstHeader(longer.data(), 80, nullptr), 0);
}

}  // namespace
