// Helpers shared by the test programs: temporary directories, whole-file
// reads and writes, and paths of the test data.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

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

Bytes ReadFileBytes(const std::filesystem::path& path);
void WriteFileBytes(const std::filesystem::path& path, const Bytes& data);
void WriteFileText(const std::filesystem::path& path, const std::string& text);

// ../shared (golden vectors, corpus) and tests/data.
std::filesystem::path SharedDir();
std::filesystem::path TestDataDir();
// The folder that holds the built libaceplug.so, UnAceV2.Dll and acearc.
std::filesystem::path BinDir();

// Deterministic pseudo-random bytes.
Bytes RandomBytes(size_t size, uint32_t seed);

}  // namespace acetest
