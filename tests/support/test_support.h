// Helpers shared by the test programs: temporary directories, whole-file
// reads and writes, and paths of the test data.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

// Marks a test of behaviour that only POSIX systems have (terminals, symbolic
// links, permission bits, FIFOs, signals): on Windows it is skipped with the
// reason. Calls that do not compile there stay inside #ifndef _WIN32.
#ifdef _WIN32
#  define ACE_POSIX_ONLY(reason) GTEST_SKIP() << "POSIX only: " << (reason)
#else
#  define ACE_POSIX_ONLY(reason) static_cast<void>(0)
#endif

namespace acetest {

using Bytes = std::vector<uint8_t>;

// A fresh directory under the system temporary folder, removed with all it
// holds when the object goes away.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::string str() const { return path_.string(); }
  // path / name as a string
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// Points the system's temporary folder (TMPDIR; TMP on Windows) at `folder`
// while it lives, for this process and the programs it starts.
class ScopedTempFolder {
 public:
  explicit ScopedTempFolder(const std::filesystem::path& folder);
  ~ScopedTempFolder();
  ScopedTempFolder(const ScopedTempFolder&) = delete;
  ScopedTempFolder& operator=(const ScopedTempFolder&) = delete;

 private:
  std::optional<std::string> old_;
};

// A UTF-8 text in the ANSI code page, the one the platform's names use: the
// same bytes on POSIX (where it is UTF-8), e.g. code page 1252 on Windows.
std::string Ansi(const std::string& utf8);
// Whether the program runs under Wine, which gets a few Windows details
// wrong; tests name each one where they leave it out.
bool UnderWine();

// Local time's offset from UTC now, in seconds. The platform converts every
// file time with it, whatever the time's season, as Windows does.
int64_t CurrentUtcOffset();
// Seconds since 1970 of a broken-down time read as UTC.
int64_t UtcSecondsOf(const std::tm& time);
// Sets a file's last-write time to a moment in seconds since 1970 (UTC).
void SetWriteTime(const std::filesystem::path& path, int64_t unixSeconds);

Bytes ReadFileBytes(const std::filesystem::path& path);
void WriteFileBytes(const std::filesystem::path& path, const Bytes& data);
void WriteFileText(const std::filesystem::path& path, const std::string& text);

// ../shared (golden vectors, corpus) and tests/data.
std::filesystem::path SharedDir();
std::filesystem::path TestDataDir();
// The folder that holds the built plug-in, UnAceV2.Dll and acearc, and the
// plug-in itself (libaceplug.so; aceplug.dll on Windows).
std::filesystem::path BinDir();
std::filesystem::path PluginPath();

// Deterministic pseudo-random bytes.
Bytes RandomBytes(size_t size, uint32_t seed);
// Deterministic pseudo-random letters from the first `count` of 'a'..'z'.
Bytes Letters(size_t size, uint32_t seed, uint8_t count);

// A golden-vector file (packed.tsv, inputs/..., packed/...): the small ones
// are kept in tests/data, the rest come from the shared folder.
Bytes VectorBytes(const std::string& relative);
Bytes CorpusBytes(const std::string& name);

// One row of packed.tsv: `input` compressed with a dictionary and level,
// alone (run "-") or as file `runIndex` of a solid run.
struct VectorRow {
  std::string input;
  int32_t dictionaryKB = 0;
  int32_t level = 0;
  std::string run;
  int runIndex = -1;
  size_t size = 0;
  uint32_t crc = 0;
  uint32_t packedSize = 0;
  std::string packed;
};
std::vector<VectorRow> VectorRows();

// Where two byte strings first differ, or "" when they are equal; keeps
// failures on large data short.
template <class A, class B>
std::string FirstDifference(const A& expected, const B& actual) {
  const size_t n = std::min(expected.size(), actual.size());
  const size_t i = static_cast<size_t>(
      std::mismatch(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(n),
                    actual.begin())
          .first -
      expected.begin());
  if (i == n && expected.size() == actual.size()) return "";
  std::ostringstream s;
  s << "first difference at byte " << i << " of " << expected.size() << " expected / "
    << actual.size() << " actual";
  if (i < n) s << std::hex << ": 0x" << +uint8_t(expected[i]) << " vs 0x" << +uint8_t(actual[i]);
  return s.str();
}

}  // namespace acetest
