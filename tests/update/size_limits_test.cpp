// A file the archive could not hold in the format's 32-bit sizes and
// positions is refused with AR_SIZE_ERROR before any of it is written, also
// when a host calls the plug-in directly. The large files are sparse.
#include "archive_folder.h"

namespace acetest {
namespace {

constexpr uint64_t kGiB = uint64_t{1} << 30;
constexpr uint64_t kPast4GiB = 4 * kGiB + kGiB / 2 + 5;

using SizeLimits = ArchiveFolder;

TEST_F(SizeLimits, FilesTheArchiveCouldNotHoldAreRefusedBeforeAnythingIsWritten) {
  WriteInput("small.txt", "small");
  const struct {
    const char* what;
    uint64_t size;
    bool existing;
    int solid;
  } cases[] = {
      {"past the 32-bit size field", kPast4GiB, false, 0},
      // The main and file headers leave less than this below 2 GiB.
      {"past 2 GiB - 1 with the headers", INT32_MAX - 40, false, 0},
      {"added to an archive", INT32_MAX - 40, true, 0},
      {"added to a solid archive", kPast4GiB, true, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::filesystem::remove(archive);
    settings.solid = c.solid;
    if (c.existing) ASSERT_EQ(Create(archive, {"small.txt"}, settings), AR_OK);
    const Bytes before = c.existing ? ArchiveBytes() : Bytes();
    WriteInput("huge.bin", "");
    std::filesystem::resize_file(input / "huge.bin", c.size);
    Host host;
    EXPECT_EQ(c.existing ? Add(archive, {"huge.bin"}, settings, &host)
                         : Create(archive, {"small.txt", "huge.bin"}, settings),
              AR_SIZE_ERROR);
    EXPECT_EQ(std::filesystem::exists(archive), c.existing);
    if (!c.existing) continue;
    EXPECT_EQ(ArchiveBytes(), before);
    ASSERT_FALSE(host.Of("file").empty()) << "the host learns which file it was";
    EXPECT_EQ(host.Of("file").back().substr(host.Of("file").back().find('|')), "|\\huge.bin");
  }
}

}  // namespace
}  // namespace acetest
