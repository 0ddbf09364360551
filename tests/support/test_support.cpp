#include "support/test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>

#include "format/crc32.h"

namespace fs = std::filesystem;

namespace acetest {
namespace {

// Local time is Berlin's in every program, as CTest sets it, so that DOS
// stamps and their summer and winter offsets are the same on any machine.
class BerlinTime : public ::testing::Environment {
  void SetUp() override {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
  }
};
::testing::Environment* const kBerlinTime = ::testing::AddGlobalTestEnvironment(new BerlinTime);

}  // namespace

TempDir::TempDir() {
  std::string pattern = (fs::temp_directory_path() / "acetest-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  for (auto& entry : fs::recursive_directory_iterator(path_, ec)) {
    fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ec);
  }
  fs::remove_all(path_, ec);
}

ScopedTempFolder::ScopedTempFolder(const fs::path& folder) {
  if (const char* old = std::getenv("TMPDIR")) old_ = old;
  setenv("TMPDIR", folder.c_str(), 1);
}

ScopedTempFolder::~ScopedTempFolder() {
  if (old_) {
    setenv("TMPDIR", old_->c_str(), 1);
  } else {
    unsetenv("TMPDIR");
  }
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

fs::path VectorsDir() { return fs::path(ACE_TEST_DATA_DIR) / "vectors"; }
fs::path BinDir() { return ACE_BIN_DIR; }

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
