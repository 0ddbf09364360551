#include "support/test_support.h"

#include <gtest/gtest.h>
#ifdef _WIN32
#  include <windows.h>
#endif

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>

#include "format/crc32.h"

namespace fs = std::filesystem;

namespace acetest {
namespace {

#ifdef _WIN32
constexpr const char* kTempVariable = "TMP";
void ResetTimeZone() { _tzset(); }
// Built-in paths are the build machine's; Wine shows its root as drive Z:.
fs::path BuildPath(const char* path) {
  fs::path out = path[0] == '/' ? "Z:" + std::string(path) : std::string(path);
  return out.make_preferred();
}
#else
constexpr const char* kTempVariable = "TMPDIR";
void ResetTimeZone() { tzset(); }
fs::path BuildPath(const char* path) { return path; }
#endif

// Local time is Berlin's in every program, as CTest sets it, so that DOS
// stamps and their summer and winter offsets are the same on any machine.
class BerlinTime : public ::testing::Environment {
  void SetUp() override {
#ifdef _WIN32
    // Berlin's rules in the POSIX form, which both Wine and the C runtime read.
    SetEnv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
#else
    SetEnv("TZ", "Europe/Berlin");
#endif
    ResetTimeZone();
  }
};
::testing::Environment* const kBerlinTime = ::testing::AddGlobalTestEnvironment(new BerlinTime);

}  // namespace

void SetEnv(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value != nullptr ? value : "");
#else
  value != nullptr ? setenv(name, value, 1) : unsetenv(name);
#endif
}

TempDir::TempDir() {
  std::random_device seed;
  std::mt19937 draw(seed());
  for (int attempt = 0; attempt < 100 && path_.empty(); ++attempt) {
    const fs::path candidate = fs::temp_directory_path() / ("acetest-" + std::to_string(draw()));
    if (fs::create_directory(candidate)) path_ = candidate;
  }
  if (path_.empty()) throw std::runtime_error("no temporary folder");
}

TempDir::~TempDir() {
  std::error_code ec;
  for (auto& entry : fs::recursive_directory_iterator(path_, ec)) {
    fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ec);
  }
  fs::remove_all(path_, ec);
}

ScopedTempFolder::ScopedTempFolder(const fs::path& folder) {
  if (const char* old = std::getenv(kTempVariable)) old_ = old;
  SetEnv(kTempVariable, folder.string().c_str());
}

ScopedTempFolder::~ScopedTempFolder() { SetEnv(kTempVariable, old_ ? old_->c_str() : nullptr); }

#ifdef _WIN32
std::string Ansi(const std::string& utf8) {
  const int n = static_cast<int>(utf8.size());
  std::wstring wide(utf8.size(), L'\0');
  wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), n, &wide[0], n)));
  std::string out(wide.size() * 4, '\0');
  out.resize(static_cast<size_t>(
      WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), static_cast<int>(wide.size()),
                          &out[0], static_cast<int>(out.size()), nullptr, nullptr)));
  return out;
}
bool UnderWine() {
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}
#else
std::string Ansi(const std::string& utf8) { return utf8; }
bool UnderWine() { return false; }
#endif

int64_t UtcSecondsOf(const std::tm& time) {
  using namespace std::chrono;
  const sys_days day = year(time.tm_year + 1900) / (time.tm_mon + 1) / time.tm_mday;
  return day.time_since_epoch().count() * 86400LL + time.tm_hour * 3600 + time.tm_min * 60 +
         time.tm_sec;
}

int64_t CurrentUtcOffset() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return UtcSecondsOf(local) - static_cast<int64_t>(now);
}

void SetWriteTime(const fs::path& path, int64_t unixSeconds) {
#ifdef _WIN32
  // The C runtime's call behind std::filesystem cannot open a folder.
  HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  const uint64_t ticks = static_cast<uint64_t>(unixSeconds + 11644473600) * 10000000u;
  const FILETIME written{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  const bool done = file != INVALID_HANDLE_VALUE && SetFileTime(file, nullptr, nullptr, &written);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  if (!done) throw std::runtime_error("cannot set the time of " + path.string());
#else
  const std::chrono::sys_seconds moment{std::chrono::seconds(unixSeconds)};
  fs::last_write_time(path, std::chrono::file_clock::from_sys(moment));
#endif
}

Bytes ReadFileBytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string ReadFileText(const fs::path& path) {
  const Bytes bytes = ReadFileBytes(path);
  return std::string(bytes.begin(), bytes.end());
}

void WriteFileBytes(const fs::path& path, const Bytes& data) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

void WriteFileText(const fs::path& path, const std::string& text) {
  WriteFileBytes(path, AsBytes(text));
}

Tree ReadTree(const fs::path& dir) {
  Tree out;
  for (const auto& e : fs::recursive_directory_iterator(dir)) {
    const std::string name = fs::relative(e.path(), dir).generic_string();
    out.emplace_back(e.is_directory() ? name + "/" : name,
                     e.is_directory() ? "" : ReadFileText(e.path()));
  }
  std::sort(out.begin(), out.end());
  return out;
}

fs::path VectorsDir() { return BuildPath(ACE_TEST_DATA_DIR) / "vectors"; }
fs::path BinDir() { return BuildPath(ACE_BIN_DIR); }
#ifdef _WIN32
fs::path PluginPath() { return BinDir() / "aceplug.dll"; }
#else
fs::path PluginPath() { return BinDir() / "libaceplug.so"; }
#endif

Bytes RandomBytes(size_t size, uint32_t seed) {
  std::mt19937 gen(seed);
  Bytes out(size);
  for (auto& b : out) b = static_cast<uint8_t>(gen() >> 24);
  return out;
}

Bytes TextBytes(size_t size, uint32_t seed) {
  static const char* const kWords[] = {"alpha ", "beta ", "gamma ", "delta\n", "epsilon ",
                                       "zeta ",  "eta ",  "theta ", "iota\n",  "kappa "};
  std::mt19937 gen(seed);
  std::string s;
  while (s.size() < size) s += kWords[gen() % 10];
  s.resize(size);
  return AsBytes(s);
}

uint32_t DataCrc(const Bytes& data) {
  return ace::Crc32Update(ace::kCrcInit, data.data(), data.size());
}

Bytes VectorBytes(const std::string& relative) { return ReadFileBytes(VectorsDir() / relative); }

std::vector<VectorRow> VectorRows() {
  std::istringstream in(ReadFileText(VectorsDir() / "packed.tsv"));
  std::vector<VectorRow> rows;
  std::string line;
  std::getline(in, line);  // column names
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    VectorRow r;
    std::string crc;
    if (!(fields >> r.input >> r.dictionaryKB >> r.level >> r.run >> r.size >> crc >>
          r.packedSize >> r.packed)) {
      continue;
    }
    r.crc = static_cast<uint32_t>(std::stoul(crc, nullptr, 16));
    const size_t hash = r.run.find('#');
    if (hash != std::string::npos) r.runIndex = std::stoi(r.run.substr(hash + 1));
    rows.push_back(r);
  }
  return rows;
}

}  // namespace acetest
