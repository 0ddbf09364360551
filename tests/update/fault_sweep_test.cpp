// Nothing lost: each writing operation runs once per platform call with that
// call failing. The archive is then as it was (after a creation: absent) or
// complete and new; nothing is left, no file stays open.

#include "archive_folder.h"
#include "platform/fault_injection.h"
#include "platform/win32.h"
#include "support/ace_builder.h"

namespace acetest {
namespace {

namespace fs = std::filesystem;
using platform::faults::Kind;

enum class Op { kCreate, kAdd, kDelete, kMakeDirectory };

struct Operation {
  const char* name;
  Op op;
  bool solid;
};
void PrintTo(const Operation& op, std::ostream* out) { *out << op.name; }

const Operation kOperations[] = {{"CreatePlain", Op::kCreate, false},
                                 {"CreateSolid", Op::kCreate, true},
                                 {"AddPlain", Op::kAdd, false},
                                 {"AddSolid", Op::kAdd, true},
                                 {"DeletePlain", Op::kDelete, false},
                                 {"DeleteSolid", Op::kDelete, true},
                                 {"MakeDirectory", Op::kMakeDirectory, false}};

const std::pair<Kind, const char*> kKinds[] = {
    {Kind::Open, "Open"},     {Kind::Read, "Read"},
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

// Every call up to 150; beyond that (the compressor's and the raw copies'
// reads and writes) the first and the last 50 and 50 evenly between.
std::vector<int64_t> FailurePoints(int64_t calls) {
  std::vector<int64_t> points;
  const int64_t step = calls <= 150 ? 1 : (calls - 100 + 49) / 50;
  for (int64_t n = 1; n <= calls; n += (n <= 50 || n > calls - 50) ? 1 : step) points.push_back(n);
  return points;
}

// Files and other handles the process holds. Wine answers 0 for the count (and
// its /proc/self/fd is the loader's, with cached descriptors coming and going).
size_t OpenDescriptors() {
#ifdef _WIN32
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
#else
  size_t n = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator("/proc/self/fd")) ++n;
  return n;
#endif
}

// A listing without times (a directory entry made now carries the current
// time), enough to tell a complete archive from a damaged one.
std::string Describe(const std::string& archive) {
  const Listing l = List(archive);
  std::ostringstream out;
  out << l.status << '\n';
  for (const ArcFileEntry& e : l.entries) {
    out << e.Name << ' ' << e.PackedSize.Low << ' ' << e.UnpackedSize.Low << ' ' << e.Attributes
        << ' ' << e.Crc32 << ' ' << e.Method << ' ' << e.HeaderFlags << ' ' << e.DictionaryCode
        << '\n';
  }
  return out.str();
}

class FaultSweep : public ArchiveFolder, public ::testing::WithParamInterface<Operation> {
 protected:
  uint16_t Run() {
    Host arming;
    arming.beforeExport = ArmPoint;
    settings.solid = GetParam().solid ? 1 : 0;
    if (GetParam().op == Op::kCreate) return Create(archive, kFiles, settings, &arming);
    WriteFileBytes(archive, pristine_);
    switch (GetParam().op) {
      case Op::kAdd:
        return Add(archive, {"new.txt", "b.txt"}, settings, &arming);
      case Op::kDelete:
        return Delete(archive, {"b.txt"}, settings, &arming);
      default:
        return MakeDir(archive, "newdir", settings, &arming);
    }
  }
  // Whatever one run left: the archive, anything beside it and in the
  // temporary folder (which is then cleared for the next run).
  void Check(uint16_t status, Kind kind, int64_t nth) {
    const bool creating = GetParam().op == Op::kCreate;
    if (status == AR_OK) {
      EXPECT_EQ(Describe(archive), result_);
      EXPECT_EQ(TestArchive(archive), AR_OK);
    } else {
      EXPECT_TRUE(status == AR_IO_ERROR || status == AR_DISK_FULL ||
                  (GetParam().solid && !creating && status == AR_TEMP_DIR_FAILED))
          << "status " << status;
      if (creating) EXPECT_FALSE(fs::exists(archive));
      if (!creating) EXPECT_TRUE(ReadFileBytes(archive) == pristine_) << "the old archive changed";
    }
    for (const auto& e : fs::directory_iterator(arcDir)) {
      if (e.path() != archive) ADD_FAILURE() << "left beside the archive: " << e.path().filename();
    }
    // A file of the working directory whose delete failed is the one thing that may stay.
    const Tree left = ReadTree(tmp);
    const auto files =
        std::count_if(left.begin(), left.end(), [](auto& e) { return e.first.back() != '/'; });
    if (!(kind == Kind::Delete && nth > 0 && status == AR_OK && files <= 1)) {
      EXPECT_EQ(left, Tree{}) << "left in the temporary folder";
    }
    for (const auto& e : fs::directory_iterator(tmp)) fs::remove_all(e.path());
    // The plug-in goes on working.
    EXPECT_EQ(Describe(creating && status != AR_OK ? reference_ : archive),
              creating || status == AR_OK ? result_ : pristineListing_);
    if (creating) fs::remove(archive);
  }

  const std::vector<std::string> kFiles = {"a.txt",     "b.txt",     "docs\\c.txt",
                                           "noise.bin", "empty.txt", "docs"};
  Bytes pristine_;
  std::string pristineListing_, result_, reference_ = dir / "reference.ace";
};

TEST_P(FaultSweep, NothingIsLostAtAnyFailurePoint) {
  const Operation& op = GetParam();
  WriteInput("a.txt", Text(6000, 0));
  WriteInput("b.txt", Text(2500, 1));
  WriteInput("docs\\c.txt", Text(4000, 2));
  WriteFileBytes(input / "noise.bin", RandomBytes(1500, 3));
  WriteInput("empty.txt", "");
  settings.solid = op.solid ? 1 : 0;
  if (op.op != Op::kCreate) {  // with a stub in front, as a self-extractor has
    ASSERT_EQ(Create(archive, kFiles, settings), AR_OK);
    pristine_ = Join({Bytes(64, 0x4D), ArchiveBytes()});
    pristineListing_ = Describe(archive);
    WriteInput("b.txt", Text(3100, 4));
    WriteInput("new.txt", Text(3000, 5));
  }
  g_nth = 0;
  ASSERT_EQ(Run(), AR_OK);
  std::vector<int64_t> calls;
  for (const auto& k : kKinds) calls.push_back(platform::faults::Calls(k.first));
  platform::faults::Reset();
  result_ = Describe(archive);
  fs::copy_file(archive, reference_);
  Tree expected = {{"a.txt", Text(6000, 0)},
                   {"b.txt", Text(op.op == Op::kAdd ? 3100 : 2500, op.op == Op::kAdd ? 4 : 1)},
                   {"docs/", ""},
                   {"docs/c.txt", Text(4000, 2)},
                   {"empty.txt", ""},
                   {"noise.bin", ReadFileText(input / "noise.bin")}};
  if (op.op == Op::kAdd) expected.push_back({"new.txt", Text(3000, 5)});
  if (op.op == Op::kDelete) expected.erase(expected.begin() + 1);
  if (op.op == Op::kMakeDirectory) expected.push_back({"newdir/", ""});
  std::sort(expected.begin(), expected.end());
  ASSERT_EQ(Extracted(), expected);
  Check(AR_OK, Kind::Open, 0);

  for (size_t k = 0; k < std::size(kKinds); ++k) {
    const auto points = FailurePoints(calls[k]);
    int failed = 0;
    for (const int64_t nth : points) {
      SCOPED_TRACE(testing::Message() << kKinds[k].second << " call " << nth << " of " << calls[k]);
      const int partsBefore =
          testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
      const size_t descriptors = OpenDescriptors();
      g_kind = kKinds[k].first;
      g_nth = nth;
      const uint16_t status = Run();
      EXPECT_GE(platform::faults::Calls(g_kind), nth) << "the armed call was never made";
      platform::faults::Reset();
      g_nth = 0;
      EXPECT_EQ(OpenDescriptors(), descriptors) << "a file was left open";
      Check(status, kKinds[k].first, nth);
      // A handful of failing points per kind tells enough.
      if (testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count() !=
              partsBefore &&
          ++failed == 5)
        break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultSweep, ::testing::ValuesIn(kOperations),
                         [](const testing::TestParamInfo<Operation>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace acetest
