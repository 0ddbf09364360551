// Helpers shared by the test programs: private temporary folders, whole-file
// reads and writes, generated data and the golden vectors in tests/data.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
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

// A fresh folder under the system temporary folder, removed with all it holds
// (read-only files too) when the object goes.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::string str() const { return path_.string(); }
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

// Sets an environment variable of this process; nullptr removes it.
void SetEnv(const char* name, const char* value);

// A UTF-8 text in the ANSI code page, the one the platform's names use: the
// same bytes on POSIX (where it is UTF-8), e.g. code page 1252 on Windows,
// with "?" for a character the code page lacks.
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
std::string ReadFileText(const std::filesystem::path& path);
void WriteFileBytes(const std::filesystem::path& path, const Bytes& data);
void WriteFileText(const std::filesystem::path& path, const std::string& text);
// Every file below `dir` (relative, "/" separated) with its contents, sorted;
// folders end in "/" and have no contents.
using Tree = std::vector<std::pair<std::string, std::string>>;
Tree ReadTree(const std::filesystem::path& dir);

std::filesystem::path VectorsDir();  // tests/data/vectors
std::filesystem::path BinDir();      // the plug-in, UnAceV2.Dll, acearc
std::filesystem::path PluginPath();  // libaceplug.so; aceplug.dll on Windows

Bytes RandomBytes(size_t size, uint32_t seed);
// Words of a small vocabulary in lines: text that compresses.
Bytes TextBytes(size_t size, uint32_t seed);
inline Bytes AsBytes(const std::string& text) { return Bytes(text.begin(), text.end()); }
// The CRC register over `data` as file headers store it.
uint32_t DataCrc(const Bytes& data);

// One row of vectors/packed.tsv: `input` compressed with a dictionary and a
// level, alone (run "-") or as file `runIndex` of a solid run. Inputs of the
// corpus (outside tests/data) are not in the project.
struct VectorRow {
  std::string input;
  int32_t dictionaryKB = 0;
  int32_t level = 0;
  std::string run;
  int runIndex = -1;
  uint32_t size = 0;
  uint32_t crc = 0;
  uint32_t packedSize = 0;
  std::string packed;
  bool InCorpus() const { return input.rfind("../corpus/", 0) == 0; }
};
std::vector<VectorRow> VectorRows();
Bytes VectorBytes(const std::string& relative);

// Where two byte strings first differ, or "" when they are equal; keeps
// failures on large data short.
template <class A, class B>
std::string FirstDifference(const A& expected, const B& actual) {
  const size_t n = std::min(expected.size(), actual.size());
  size_t i = 0;
  while (i < n && expected[i] == actual[i]) ++i;
  if (i == n && expected.size() == actual.size()) return "";
  std::ostringstream s;
  s << "first difference at byte " << i << " of " << expected.size() << " expected / "
    << actual.size() << " actual";
  return s.str();
}

}  // namespace acetest
