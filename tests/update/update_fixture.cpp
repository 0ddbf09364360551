#include "update/update_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "aceplug/aceplug.h"
#include "platform/fault_injection.h"

namespace fs = std::filesystem;

namespace updtest {

int HostDictionaryCode(int kb) {
  int code = 3;
  for (int size = 32; size < kb; size *= 2) ++code;
  return code;
}

void ApplySettings(const Settings& st) {
  CompOptions o{};
  o.DictionaryKB = HostDictionaryCode(st.dictionaryKB);
  o.Level = st.level;
  o.Solid = st.solid;
  o.KeepPaths = st.keepPaths;
  std::strncpy(o.InputPath, st.inputPath.c_str(), sizeof o.InputPath - 1);
  std::strncpy(o.RelativePath, st.relativePath.c_str(), sizeof o.RelativePath - 1);
  SetCompExtraFeatures(&o);
}

namespace {

Recorder& Of(AceContext context) { return *reinterpret_cast<Recorder*>(context); }

int32_t OnFileName(AceContext context, const char* path, const char* shown) {
  Of(context).events.push_back({Recorder::Kind::FileName, path, shown});
  return 0;
}

int32_t OnSignal(AceContext context, uint32_t low, uint32_t high, int32_t code) {
  Recorder::Event e{Recorder::Kind::Signal, {}, {}};
  e.a = static_cast<int64_t>(low | (uint64_t{high} << 32));
  e.b = code;
  Of(context).events.push_back(e);
  return 0;
}

int32_t OnProgress(AceContext context, int32_t percent, int32_t step) {
  Recorder& r = Of(context);
  Recorder::Event e{Recorder::Kind::Progress, {}, {}};
  e.a = percent;
  e.b = step;
  r.events.push_back(e);
  return r.stopOnLeftOut && percent == 100 && step == 100 ? 0 : r.progressAnswer;
}

int32_t OnSkip(AceContext context, const char* path) {
  Recorder& r = Of(context);
  r.events.push_back({Recorder::Kind::Skip, path, {}});
  return r.skipAnswer;
}

int32_t OnReplace(AceContext context, const AceFindData* existing, const AceFindData* replacement) {
  Recorder& r = Of(context);
  r.events.push_back({Recorder::Kind::Replace, existing->cFileName, replacement->cFileName});
  r.existing.push_back(*existing);
  r.replacement.push_back(*replacement);
  const size_t asked = r.existing.size();
  return r.replaceAnswers[std::min(asked, r.replaceAnswers.size()) - 1];
}

void RegisterIf(Recorder* recorder) {
  if (recorder != nullptr) recorder->Register();
}

// Opens the archive as a host does before a change.
bool Open(const std::string& archive, const Settings& st, Recorder* recorder) {
  InitArcFile(archive.c_str());
  if (GetArchiveStatus() != AR_OK) return false;
  ApplySettings(st);
  RegisterIf(recorder);
  return true;
}

uint16_t Close() {
  const uint16_t status = GetArchiveStatus();
  DoneArcFile();
  // The signal procedure survives DoneArcFile; the recorder it points at does not.
  SetSetSignalProc(0, nullptr);
  return status;
}

}  // namespace

void Recorder::Register() {
  const auto self = reinterpret_cast<AceContext>(this);
  SetSetFileNameProc(self, OnFileName);
  SetSetSignalProc(self, OnSignal);
  SetSetProgressProc(self, OnProgress);
  if (!replaceAnswers.empty()) SetOkToReplaceProc(self, OnReplace);
  if (skipAnswer != 0) SetSkipFileProc(self, OnSkip);
  if (beforeExport != nullptr) beforeExport();
}

std::vector<Recorder::Event> Recorder::Of(Kind kind) const {
  std::vector<Event> out;
  for (const Event& e : events)
    if (e.kind == kind) out.push_back(e);
  return out;
}

std::vector<Recorder::Event> Recorder::FileNamesAfterSignal(int32_t code) const {
  std::vector<Event> out;
  bool after = false;
  for (const Event& e : events) {
    if (e.kind == Kind::Signal && e.b == code) after = true;
    if (after && e.kind == Kind::FileName) out.push_back(e);
  }
  return out;
}

uint16_t Create(const std::string& archive, const std::vector<std::string>& names,
                const Settings& st, void (*registerCallbacks)()) {
  std::error_code ec;
  fs::remove(archive, ec);  // CreateArcFile refuses an existing file
  CreateArcFile(archive.c_str());
  if (GetArchiveStatus() != AR_OK) return GetArchiveStatus();
  ApplySettings(st);
  if (registerCallbacks) registerCallbacks();
  FileMaskList masks;
  InitFileMaskList(&masks);
  for (const auto& n : names) AppendFileMask(n.c_str(), &masks);
  CompressFileMaskListArc(&masks);
  const uint16_t status = GetArchiveStatus();
  DoneFileMaskList(&masks);
  DoneArcFile();
  return status;
}

uint16_t Add(const std::string& archive, const std::vector<std::string>& names, const Settings& st,
             Recorder* recorder, FileMaskList* leftList) {
  if (!Open(archive, st, recorder)) return Close();
  FileMaskList masks;
  InitFileMaskList(&masks);
  for (const auto& n : names) AppendFileMask(n.c_str(), &masks);
  CompressFileMaskListArc(&masks);
  if (leftList != nullptr) *leftList = masks;  // only its head: was it emptied?
  DoneFileMaskList(&masks);
  return Close();
}

uint16_t Delete(const std::string& archive, const std::vector<std::string>& masks,
                const Settings& st, Recorder* recorder) {
  if (!Open(archive, st, recorder)) return Close();
  FileMaskList list;
  InitFileMaskList(&list);
  for (const auto& m : masks) AppendFileMask(m.c_str(), &list);
  DeleteFileMaskListArc(&list);
  DoneFileMaskList(&list);
  return Close();
}

uint16_t MakeDir(const std::string& archive, const std::string& name, const Settings& st,
                 Recorder* recorder) {
  if (!Open(archive, st, recorder)) return Close();
  CreateDirectoryArc(name.c_str());
  return Close();
}

std::vector<Listed> List(const std::string& archive, uint16_t* status) {
  InitArcFile(archive.c_str());
  ArcFileList list;
  InitArcFileList(&list);
  FileMaskList masks;
  InitFileMaskList(&masks);
  BuildArcFileList(&list, &masks);
  if (status) *status = GetArchiveStatus();
  std::vector<Listed> out;
  for (const ArcFileEntry* e = list.First; e; e = e->Next) {
    out.push_back({e->Name, e->PackedSize.Low | (uint64_t{e->PackedSize.High} << 32),
                   e->UnpackedSize.Low | (uint64_t{e->UnpackedSize.High} << 32), e->Attributes,
                   e->Crc32, e->Method, e->HeaderFlags, e->DictionaryCode, e->DosTime,
                   e->HeaderType, e->HeaderPos.Low | (uint64_t{e->HeaderPos.High} << 32),
                   e->HeaderSize});
  }
  DoneArcFileList(&list);
  DoneFileMaskList(&masks);
  DoneArcFile();
  return out;
}

std::vector<std::string> Names(const std::vector<Listed>& entries) {
  std::vector<std::string> out;
  for (const auto& e : entries) out.push_back(e.name);
  return out;
}

uint16_t TestArchive(const std::string& archive) {
  InitArcFile(archive.c_str());
  TestArc();
  const uint16_t status = GetArchiveStatus();
  DoneArcFile();
  return status;
}

uint16_t ExtractAll(const std::string& archive, const std::string& outDir) {
  InitArcFile(archive.c_str());
  DecompOptions d{};
  d.RestorePaths = 1;
  SetDecompExtraFeatures(&d);
  SetOutputPath(outDir.c_str());
  FileMaskList masks;
  InitFileMaskList(&masks);
  ExtractFileMaskListArc(&masks);
  const uint16_t status = GetArchiveStatus();
  DoneFileMaskList(&masks);
  DoneArcFile();
  return status;
}

std::string Slashes(std::string s) {
  for (auto& c : s)
    if (c == '\\') c = '/';
  return s;
}

std::string SampleText(size_t size, unsigned seed) {
  static const char* const kWords[] = {"alpha ",   "beta ", "gamma ", "delta\n",
                                       "epsilon ", "zeta ", "eta ",   "theta\n"};
  std::string s;
  for (size_t i = 0; s.size() < size; ++i) s += kWords[(i * 7 + i / 3 + seed * 5) % 8];
  s.resize(size);
  return s;
}

std::vector<std::string> FolderNames(const fs::path& dir) {
  std::vector<std::string> out;
  std::error_code ec;
  for (const auto& e : fs::directory_iterator(dir, ec)) out.push_back(e.path().filename().string());
  std::sort(out.begin(), out.end());
  return out;
}

acetest::Bytes Slice(const acetest::Bytes& bytes, uint64_t from, uint64_t to) {
  if (to > bytes.size()) to = bytes.size();
  if (from > to) from = to;
  return acetest::Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                        bytes.begin() + static_cast<std::ptrdiff_t>(to));
}

acetest::Bytes EntryBytes(const acetest::Bytes& archive, const Listed& entry) {
  return Slice(archive, entry.headerPos, entry.headerPos + entry.headerSize + 4 + entry.packed);
}

uint32_t DosStamp(std::time_t t) {
  const std::time_t local = t + static_cast<std::time_t>(acetest::CurrentUtcOffset());
  std::tm tm{};
  gmtime_r(&local, &tm);
  const uint32_t date =
      static_cast<uint32_t>(((tm.tm_year - 80) << 9) | ((tm.tm_mon + 1) << 5) | tm.tm_mday);
  const uint32_t time =
      static_cast<uint32_t>((tm.tm_hour << 11) | (tm.tm_min << 5) | (tm.tm_sec / 2));
  return (date << 16) | time;
}

AceFileTime FileTimeOf(std::time_t t) {
  const uint64_t ticks = (static_cast<uint64_t>(t) + 11644473600ull) * 10000000ull;
  return AceFileTime{static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32)};
}

AceFileTime UtcFileTimeOfDosStamp(uint32_t stamp) {
  std::tm tm{};
  tm.tm_year = static_cast<int>((stamp >> 25) & 0x7F) + 80;
  tm.tm_mon = static_cast<int>((stamp >> 21) & 0x0F) - 1;
  tm.tm_mday = static_cast<int>((stamp >> 16) & 0x1F);
  tm.tm_hour = static_cast<int>((stamp >> 11) & 0x1F);
  tm.tm_min = static_cast<int>((stamp >> 5) & 0x3F);
  tm.tm_sec = static_cast<int>(stamp & 0x1F) * 2;
  return FileTimeOf(
      static_cast<std::time_t>(acetest::UtcSecondsOf(tm) - acetest::CurrentUtcOffset()));
}

ArchiveChangeTest::ArchiveChangeTest()
    : input(dir.path() / "in"),
      arcDir(dir.path() / "arc"),
      tmp(dir.path() / "tmp"),
      archive((dir.path() / "arc" / "test.ace").string()) {}

void ArchiveChangeTest::SetUp() {
  DoneArcFile();
  platform::faults::Reset();
  fs::create_directories(input);
  fs::create_directories(arcDir);
  fs::create_directories(tmp);
  tempFolder_.emplace(tmp);
  settings.inputPath = input.string() + "/";
}

void ArchiveChangeTest::TearDown() {
  DoneArcFile();
  SetSetSignalProc(0, nullptr);
  ExpectNothingLeftOver();
  tempFolder_.reset();
}

void ArchiveChangeTest::ExpectNothingLeftOver() const {
  EXPECT_EQ(FolderNames(tmp), std::vector<std::string>{}) << "left in the temporary folder";
  const std::vector<std::string> expected =
      fs::exists(archive) ? std::vector<std::string>{"test.ace"} : std::vector<std::string>{};
  EXPECT_EQ(FolderNames(arcDir), expected) << "left beside the archive";
}

void ArchiveChangeTest::WriteInput(const std::string& name, const std::string& text) const {
  const fs::path path = input / Slashes(name);
  fs::create_directories(path.parent_path());
  acetest::WriteFileText(path, text);
}

void ArchiveChangeTest::WriteArchive(const acetest::Bytes& bytes) const {
  acetest::WriteFileBytes(archive, bytes);
}

void ArchiveChangeTest::ExpectExtracts(
    const std::vector<std::pair<std::string, std::string>>& files) {
  const fs::path out = dir.path() / ("out" + std::to_string(++extractRuns_));
  fs::create_directories(out);
  ASSERT_EQ(ExtractAll(archive, out.string()), AR_OK);
  std::vector<std::string> expected, found;
  for (const auto& file : files) expected.push_back(Slashes(file.first));
  for (const auto& e : fs::recursive_directory_iterator(out)) {
    if (e.is_regular_file()) found.push_back(fs::relative(e.path(), out).generic_string());
  }
  std::sort(expected.begin(), expected.end());
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, expected) << "the files extracted";
  for (const auto& [name, text] : files) {
    const fs::path path = out / Slashes(name);
    ASSERT_TRUE(fs::exists(path)) << name;
    const acetest::Bytes bytes = acetest::ReadFileBytes(path);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), text) << name;
  }
}

}  // namespace updtest
