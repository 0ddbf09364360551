#include "support/test_support.h"

#include <unistd.h>

#include <fstream>
#include <random>
#include <stdexcept>

namespace acetest {

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "acetest-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  // Read-only files and folders made by tests must not stop the clean-up.
  for (auto& entry : std::filesystem::recursive_directory_iterator(path_, ec)) {
    std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
  }
  std::filesystem::remove_all(path_, ec);
}

Bytes ReadFileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::filesystem::path& path, const Bytes& data) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

void WriteFileText(const std::filesystem::path& path, const std::string& text) {
  WriteFileBytes(path, Bytes(text.begin(), text.end()));
}

std::filesystem::path SharedDir() { return ACE_SHARED_DIR; }
std::filesystem::path TestDataDir() { return ACE_TEST_DATA_DIR; }
std::filesystem::path BinDir() { return ACE_BIN_DIR; }

Bytes RandomBytes(size_t size, uint32_t seed) {
  std::mt19937 gen(seed);
  Bytes out(size);
  for (auto& b : out) b = static_cast<uint8_t>(gen() >> 24);
  return out;
}

Bytes Letters(size_t size, uint32_t seed, uint8_t count) {
  Bytes data = RandomBytes(size, seed);
  for (auto& b : data) b = static_cast<uint8_t>('a' + b % count);
  return data;
}

Bytes VectorBytes(const std::string& relative) {
  const std::filesystem::path local = TestDataDir() / "vectors" / relative;
  return ReadFileBytes(std::filesystem::exists(local) ? local : SharedDir() / "vectors" / relative);
}

Bytes CorpusBytes(const std::string& name) { return ReadFileBytes(SharedDir() / "corpus" / name); }

std::vector<VectorRow> VectorRows() {
  const Bytes table = VectorBytes("packed.tsv");
  std::istringstream in(std::string(table.begin(), table.end()));
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
