// Sizes past what the format's 32-bit fields hold: the platform layer reports
// them whole, a file the archive could not hold is refused with AR_SIZE_ERROR
// before any of it is written, and an archive of 2 GiB or more is not read.
// The large files are sparse.
#include <gtest/gtest.h>

#include "fs/file_layer.h"
#include "platform/win32.h"
#include "update/update_fixture.h"

namespace updtest {
namespace {

constexpr uint64_t kGiB = uint64_t{1} << 30;
constexpr uint64_t kPast4GiB = 4 * kGiB + kGiB / 2 + 5;

using SizeLimits = ArchiveChangeTest;

TEST_F(SizeLimits, SizesPast4GiBAreReportedWhole) {
  const std::string path = (input / "huge.bin").string();
  acetest::SetFileSize(path, kPast4GiB);
  HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD high = 0;
  EXPECT_EQ(GetFileSize(file, &high), static_cast<DWORD>(kPast4GiB));
  EXPECT_EQ(high, 1u);
  EXPECT_EQ(ace::FileSize64(file), static_cast<int64_t>(kPast4GiB));
  EXPECT_EQ(ace::FileSize(file), -1) << "no 32-bit size may stand for it";
  CloseHandle(file);
  WIN32_FIND_DATAA found;
  HANDLE find = FindFirstFileA(path.c_str(), &found);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  FindClose(find);
  EXPECT_EQ(found.nFileSizeHigh, 1u);
  EXPECT_EQ(found.nFileSizeLow, static_cast<DWORD>(kPast4GiB));
}

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
    const acetest::Bytes before = c.existing ? ArchiveBytes() : acetest::Bytes();
    acetest::SetFileSize(input / "huge.bin", c.size);
    Recorder recorder;
    const std::vector<std::string> names = {"small.txt", "huge.bin"};
    const uint16_t status = c.existing ? Add(archive, {"huge.bin"}, settings, &recorder)
                                       : Create(archive, names, settings);
    EXPECT_EQ(status, AR_SIZE_ERROR);
    EXPECT_EQ(std::filesystem::exists(archive), c.existing);
    if (c.existing) EXPECT_EQ(ArchiveBytes(), before);
    const std::vector<Recorder::Event> announced = recorder.Of(Recorder::Kind::FileName);
    if (c.existing) {
      ASSERT_FALSE(announced.empty()) << "the host learns which file it was";
      EXPECT_EQ(announced.back().shown, "\\huge.bin");
    }
    ExpectNothingLeftOver();
  }
}

TEST_F(SizeLimits, ArchivesOf2GiBOrMoreAreNotRead) {
  WriteInput("small.txt", "small");
  ASSERT_EQ(Create(archive, {"small.txt"}, settings), AR_OK);
  const struct {
    uint64_t size;
    uint16_t status;
  } cases[] = {
      {INT32_MAX, AR_OK}, {uint64_t{INT32_MAX} + 1, AR_SIZE_ERROR}, {kPast4GiB, AR_SIZE_ERROR}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    acetest::SetFileSize(archive, c.size);  // the archive with zeros behind it
    InitArcFile(archive.c_str());
    EXPECT_EQ(GetArchiveStatus(), c.status);
    DoneArcFile();
  }
}

}  // namespace
}  // namespace updtest
