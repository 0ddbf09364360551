// Nothing lost: every operation that writes an archive is run once to count
// its platform calls of each kind, then once per call with exactly that call
// failing. After every run the archive is either byte for byte what it was
// (for a creation: absent) or, when the operation reports success, the
// complete new archive; nothing is left beside it or in the temporary folder,
// no file handle stays open, and the plug-in goes on working.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "platform/fault_injection.h"
#include "support/test_support.h"
#include "update/update_fixture.h"

namespace fs = std::filesystem;
using acetest::Bytes;
using acetest::TempDir;
using platform::faults::Kind;
using namespace updtest;

namespace {

enum class Op { kCreate, kAdd, kDelete, kMakeDirectory };

struct Operation {
  const char* name;
  Op op;
  bool solid;
  // The statuses a failed run may leave; AR_OK is accepted only together
  // with a complete new archive.
  std::vector<uint16_t> failures;
};

// Open, read, seek and write failures give 5, short writes 101; a solid
// archive is unpacked into a working directory first (8902 when it cannot be
// made).
const Operation kOperations[] = {
    {"CreatePlain", Op::kCreate, false, {AR_IO_ERROR, AR_DISK_FULL}},
    {"CreateSolid", Op::kCreate, true, {AR_IO_ERROR, AR_DISK_FULL}},
    {"AddPlain", Op::kAdd, false, {AR_IO_ERROR, AR_DISK_FULL}},
    {"AddSolid", Op::kAdd, true, {AR_IO_ERROR, AR_DISK_FULL, AR_TEMP_DIR_FAILED}},
    {"DeletePlain", Op::kDelete, false, {AR_IO_ERROR, AR_DISK_FULL}},
    {"DeleteSolid", Op::kDelete, true, {AR_IO_ERROR, AR_DISK_FULL, AR_TEMP_DIR_FAILED}},
    {"MakeDirectory", Op::kMakeDirectory, false, {AR_IO_ERROR, AR_DISK_FULL}},
};

void PrintTo(const Operation& op, std::ostream* out) { *out << op.name; }

struct KindName {
  Kind kind;
  const char* name;
};
const KindName kKinds[] = {{Kind::Open, "Open"},     {Kind::Read, "Read"},
                           {Kind::Write, "Write"},   {Kind::ShortWrite, "ShortWrite"},
                           {Kind::Seek, "Seek"},     {Kind::Rename, "Rename"},
                           {Kind::Delete, "Delete"}, {Kind::CreateDir, "CreateDir"}};

// The point armed right before the export runs; nth 0 only counts.
Kind g_kind = Kind::Open;
int64_t g_nth = 0;
void ArmPoint() {
  platform::faults::Reset();
  if (g_nth > 0) platform::faults::Arm(g_kind, g_nth);
}

// Which calls of a kind to fail. Every one up to kEdge * 2 + kMiddle calls;
// beyond that (the reads and writes of the compressor and of the raw copies)
// the first and the last kEdge, which hold the set-up and the final steps,
// and kMiddle evenly spaced ones between.
constexpr int64_t kEdge = 50;
constexpr int64_t kMiddle = 50;
std::vector<int64_t> FailurePoints(int64_t calls) {
  std::vector<int64_t> points;
  if (calls <= 2 * kEdge + kMiddle) {
    for (int64_t n = 1; n <= calls; ++n) points.push_back(n);
    return points;
  }
  for (int64_t n = 1; n <= kEdge; ++n) points.push_back(n);
  const int64_t span = calls - 2 * kEdge;
  const int64_t step = (span + kMiddle - 1) / kMiddle;
  for (int64_t n = kEdge + 1; n <= calls - kEdge; n += step) points.push_back(n);
  for (int64_t n = calls - kEdge + 1; n <= calls; ++n) points.push_back(n);
  return points;
}

int ReportedParts() {
  return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

// Windows has no descriptor table to count (under Wine the folder is the
// loader's own, whose cached descriptors come and go): 0 there.
size_t OpenDescriptors() {
  size_t n = 0;
#ifndef _WIN32
  for ([[maybe_unused]] const auto& e : fs::directory_iterator("/proc/self/fd")) ++n;
#endif
  return n;
}

// A listing without the time stamps (a directory entry made now carries the
// current time), enough to tell a complete archive from a damaged one.
std::string Describe(const std::vector<Listed>& entries) {
  std::ostringstream out;
  for (const auto& e : entries) {
    out << e.name << ' ' << e.packed << ' ' << e.unpacked << ' ' << std::hex << e.attributes << ' '
        << e.crc << ' ' << e.method << ' ' << e.flags << ' ' << e.dictionaryCode << std::dec
        << '\n';
  }
  return out.str();
}

std::string Text(size_t n, int salt) {
  std::string s;
  const char* words[] = {"alpha ", "beta ", "gamma ", "delta\n", "epsilon ", "zeta "};
  for (size_t i = 0; s.size() < n; ++i) s += words[(i * 7 + i / 3 + static_cast<size_t>(salt)) % 6];
  s.resize(n);
  return s;
}

class FaultSweep : public ::testing::TestWithParam<Operation> {
 protected:
  void SetUp() override {
    DoneArcFile();
    platform::faults::Reset();
    input = dir.path() / "in";
    archiveDir = dir.path() / "arc";
    systemTemp = dir.path() / "tmp";
    fs::create_directories(input / "docs");
    fs::create_directories(archiveDir);
    fs::create_directories(systemTemp);
    acetest::WriteFileText(input / "a.txt", Text(6000, 0));
    acetest::WriteFileText(input / "b.txt", Text(2500, 1));
    acetest::WriteFileText(input / "docs" / "c.txt", Text(4000, 2));
    acetest::WriteFileBytes(input / "noise.bin", acetest::RandomBytes(1500, 3));  // stored
    acetest::WriteFileText(input / "empty.txt", "");
    archive = (archiveDir / "test.ace").string();
    settings.inputPath = input.string() + "/";
    settings.solid = GetParam().solid ? 1 : 0;
    // The working directories of the solid operations go here, so that one
    // left behind is seen.
    tempFolder.emplace(systemTemp);
  }
  void TearDown() override {
    platform::faults::Reset();
    DoneArcFile();
    tempFolder.reset();
  }

  // The archive an operation other than creation starts from, with a few
  // bytes in front of its main header as a self-extracting archive has.
  void BuildSource() {
    ASSERT_EQ(Create(archive, kSourceFiles, settings), AR_OK);
    Bytes bytes = acetest::ReadFileBytes(archive);
    Bytes stub(64, 0x4D);
    bytes.insert(bytes.begin(), stub.begin(), stub.end());
    acetest::WriteFileBytes(archive, bytes);
    pristine = bytes;
    ASSERT_EQ(TestArchive(archive), AR_OK);
    pristineListing = Describe(List(archive));
    // The add replaces b.txt by a changed copy and brings a new file.
    if (GetParam().op == Op::kAdd) {
      acetest::WriteFileText(input / "b.txt", Text(3100, 4));
      acetest::WriteFileText(input / "new.txt", Text(3000, 5));
    }
  }

  uint16_t Run() {
    const Operation& op = GetParam();
    Recorder arming;
    arming.beforeExport = ArmPoint;
    switch (op.op) {
      case Op::kCreate:
        return Create(archive, kSourceFiles, settings, ArmPoint);
      case Op::kAdd:
        acetest::WriteFileBytes(archive, pristine);
        return Add(archive, {"new.txt", "b.txt"}, settings, &arming);
      case Op::kDelete:
        acetest::WriteFileBytes(archive, pristine);
        return Delete(archive, {"b.txt"}, settings, &arming);
      case Op::kMakeDirectory:
        acetest::WriteFileBytes(archive, pristine);
        return MakeDir(archive, "newdir", settings, &arming);
    }
    return 0xFFFF;
  }

  // What the successful operation must have produced, checked once on the
  // unfaulted run by extracting it.
  void CheckResultContents() {
    const Operation& op = GetParam();
    TempDir out;
    ASSERT_EQ(ExtractAll(archive, out.str()), AR_OK);
    std::vector<std::string> expected = {"a.txt", "b.txt", "docs/c.txt", "noise.bin", "empty.txt"};
    if (op.op == Op::kAdd) expected.push_back("new.txt");
    if (op.op == Op::kDelete) expected.erase(expected.begin() + 1);
    for (const auto& name : expected) {
      EXPECT_EQ(acetest::ReadFileBytes(out.path() / name), acetest::ReadFileBytes(input / name))
          << name;
    }
    if (op.op == Op::kDelete) EXPECT_FALSE(fs::exists(out.path() / "b.txt"));
    if (op.op == Op::kMakeDirectory) EXPECT_TRUE(fs::is_directory(out.path() / "newdir"));
  }

  // Files and folders other than the archive beside it, and everything in
  // the temporary folder.
  std::vector<fs::path> Beside() const {
    std::vector<fs::path> found;
    for (const auto& e : fs::directory_iterator(archiveDir)) {
      if (e.path() != fs::path(archive)) found.push_back(e.path());
    }
    return found;
  }
  std::vector<fs::path> TempFiles() const {
    std::vector<fs::path> found;
    for (const auto& e : fs::recursive_directory_iterator(systemTemp)) {
      if (!e.is_directory()) found.push_back(e.path());
    }
    return found;
  }
  void ClearLeftovers() {
    for (const auto& p : Beside()) fs::remove_all(p);
    for (const auto& e : fs::directory_iterator(systemTemp)) fs::remove_all(e.path());
  }

  // The checks after one faulted run; `nth` 0 is the unfaulted run.
  void CheckRun(uint16_t status, Kind kind, int64_t nth) {
    const Operation& op = GetParam();
    const bool creating = op.op == Op::kCreate;
    if (status != AR_OK) {
      EXPECT_NE(std::find(op.failures.begin(), op.failures.end(), status), op.failures.end())
          << "status " << status;
    }
    if (status == AR_OK) {
      ASSERT_TRUE(fs::exists(archive));
      uint16_t listed = 0xFFFF;
      EXPECT_EQ(Describe(List(archive, &listed)), resultListing);
      EXPECT_EQ(listed, AR_OK);
      EXPECT_EQ(TestArchive(archive), AR_OK);
    } else if (creating) {
      EXPECT_FALSE(fs::exists(archive));
    } else {
      ASSERT_TRUE(fs::exists(archive));
      EXPECT_TRUE(acetest::ReadFileBytes(archive) == pristine) << "the old archive changed";
    }

    // Nothing is left beside the archive: a backup whose delete fails once is
    // deleted on a second try. A file of the working directory that cannot be
    // deleted stays, alone.
    for (const auto& p : Beside()) ADD_FAILURE() << "left beside the archive: " << p.filename();
    if (kind == Kind::Delete && nth > 0 && status == AR_OK) {
      EXPECT_LE(TempFiles().size(), 1u);
    } else {
      EXPECT_TRUE(fs::is_empty(systemTemp)) << "left in the temporary folder";
    }
    ClearLeftovers();

    // The plug-in goes on working: the archive (or, after a failed creation,
    // the reference result) lists completely.
    uint16_t listed = 0xFFFF;
    const auto entries = List(creating && status != AR_OK ? reference : archive, &listed);
    EXPECT_EQ(listed, AR_OK);
    EXPECT_EQ(Describe(entries), creating || status == AR_OK ? resultListing : pristineListing);
  }

  // A directory entry among them: a solid rebuild drops it, the others copy it.
  const std::vector<std::string> kSourceFiles = {"a.txt",     "b.txt",     "docs\\c.txt",
                                                 "noise.bin", "empty.txt", "docs"};
  TempDir dir;
  fs::path input, archiveDir, systemTemp;
  std::string archive, reference;
  Settings settings;
  Bytes pristine;
  std::string pristineListing, resultListing;
  std::optional<acetest::ScopedTempFolder> tempFolder;
};

TEST_P(FaultSweep, NothingLostAtAnyFailurePoint) {
  const Operation& op = GetParam();
  if (op.op != Op::kCreate) {
    BuildSource();
    if (HasFatalFailure()) return;
  }

  // The unfaulted run counts the calls and gives the result to expect.
  g_nth = 0;
  ASSERT_EQ(Run(), AR_OK);
  std::map<Kind, int64_t> calls;
  for (const auto& k : kKinds) calls[k.kind] = platform::faults::Calls(k.kind);
  platform::faults::Reset();
  ASSERT_EQ(TestArchive(archive), AR_OK);
  CheckResultContents();
  resultListing = Describe(List(archive));
  reference = (dir.path() / "reference.ace").string();
  fs::copy_file(archive, reference);
  ASSERT_TRUE(Beside().empty());
  ASSERT_TRUE(fs::is_empty(systemTemp));
  if (op.op == Op::kCreate) fs::remove(archive);

  std::ostringstream summary;
  summary << "fault sweep " << op.name << ":";
  int64_t total = 0;
  for (const auto& k : kKinds) {
    const auto points = FailurePoints(calls[k.kind]);
    int64_t harmless = 0;
    int failed = 0;
    for (const int64_t nth : points) {
      const int partsBefore = ReportedParts();
      SCOPED_TRACE(testing::Message()
                   << op.name << ", " << k.name << " call " << nth << " of " << calls[k.kind]);
      const size_t descriptors = OpenDescriptors();
      g_kind = k.kind;
      g_nth = nth;
      const uint16_t status = Run();
      const int64_t reached = platform::faults::Calls(k.kind);
      platform::faults::Reset();
      g_nth = 0;
      EXPECT_GE(reached, nth) << "the armed call was never made";
      EXPECT_EQ(OpenDescriptors(), descriptors) << "a file was left open";
      if (status == AR_OK) ++harmless;
      CheckRun(status, k.kind, nth);
      if (op.op == Op::kCreate && fs::exists(archive)) fs::remove(archive);
      // A handful of failing points per kind tells enough.
      if (ReportedParts() != partsBefore && ++failed == 5) break;
    }
    total += static_cast<int64_t>(points.size());
    summary << ' ' << k.name << ' ' << points.size() << '/' << calls[k.kind];
    if (harmless != 0) summary << " (" << harmless << " harmless)";
    RecordProperty(std::string("points_") + k.name, static_cast<int>(points.size()));
  }
  summary << "; " << total << " failure points";
  RecordProperty("points_total", static_cast<int>(total));
  std::cout << summary.str() << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultSweep, ::testing::ValuesIn(kOperations),
                         [](const testing::TestParamInfo<Operation>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
