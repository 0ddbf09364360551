// A two-volume set: the entry that spans both volumes, and the next-volume
// question that is asked only when the volume is not where expected.
#include <gtest/gtest.h>

#include "extract/host.h"

namespace acetest {
namespace {

class Volumes : public ExtractFixture {
 protected:
  // set.ace: "first.txt" whole and the start of "span.bin";
  // set.c00: the rest of "span.bin" and "last.txt".
  void SetUp() override {
    AceEntry head = span_, tail = span_;
    head.flags |= 0x2000;
    head.packed.assign(span_.data.begin(), span_.data.begin() + 3000);
    tail.flags |= 0x1000;
    tail.packed.assign(span_.data.begin() + 3000, span_.data.end());
    archive_ = WriteArchive(Join({AceMainHeader(0, 0), AceEntryBytes(first_), AceEntryBytes(head)}),
                            "set.ace");
    volume1_ = Join({AceMainHeader(0, 1), AceEntryBytes(tail), AceEntryBytes(last_)});
  }

  void ExpectAllExtracted() {
    EXPECT_EQ(GetArchiveStatus(), AR_OK);
    EXPECT_EQ(ReadFileBytes(OutFile("first.txt")), first_.data);
    EXPECT_EQ(ReadFileBytes(OutFile("span.bin")), span_.data);
    EXPECT_EQ(ReadFileBytes(OutFile("last.txt")), last_.data);
  }

  const AceEntry first_ = Stored("first.txt", "in the first volume");
  const AceEntry span_{.name = "span.bin", .data = RandomBytes(5000, 3)};
  const AceEntry last_ = Stored("last.txt", "in the second volume");
  std::string archive_;
  Bytes volume1_;
};

TEST_F(Volumes, PresentVolumeIsTakenWithoutAsking) {
  WriteFileBytes(dir_ / "set.c00", volume1_);
  Open(archive_);
  Extract();
  ExpectAllExtracted();
  EXPECT_TRUE(host_.nextDisks.empty());
  // The announced total comes from the first volume's listing.
  ASSERT_EQ(host_.signals.size(), 1u);
  EXPECT_EQ(host_.signals[0].low, first_.data.size() + span_.data.size());
}

TEST_F(Volumes, MissingVolumeIsAskedForAndFoundWhereTheHostSays) {
  std::filesystem::create_directories(dir_.path() / "disk2");
  WriteFileBytes(dir_.path() / "disk2" / "set.c00", volume1_);
  Open(archive_);
  host_.nextDiskDirectory = (dir_.path() / "disk2").string();
  Extract();
  ExpectAllExtracted();
  ASSERT_EQ(host_.nextDisks.size(), 1u);
  EXPECT_EQ(host_.nextDisks[0].volume, 1);
}

TEST_F(Volumes, DeclinedVolumeCancels) {
  Open(archive_);
  host_.nextDiskAnswer = 1;
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_ABORTED);
  EXPECT_EQ(ReadFileBytes(OutFile("first.txt")), first_.data);
  EXPECT_FALSE(std::filesystem::exists(OutFile("span.bin")));
  EXPECT_TRUE(FilesNamed(".$UN").empty());
}

TEST_F(Volumes, VolumeThatIsNowhereLeaves5) {
  Open(archive_);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_EQ(host_.nextDisks.size(), 1u);
  EXPECT_FALSE(std::filesystem::exists(OutFile("span.bin")));
}

TEST_F(Volumes, EntryAfterTheSpanAloneStillNeedsTheNextVolume) {
  WriteFileBytes(dir_ / "set.c00", volume1_);
  Open(archive_);
  Extract({"last.txt"});
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_EQ(ReadFileBytes(OutFile("last.txt")), last_.data);
  EXPECT_FALSE(std::filesystem::exists(OutFile("span.bin")));
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
}

}  // namespace
}  // namespace acetest
