// The conformance run: compresses every row of levels 1 to 4 of the golden vectors
// (tests/data/vectors/packed.tsv), those whose input is a corpus file
// included, and compares the packed data with the expected bytes, byte for
// byte. The test suite checks the rows whose inputs the project holds; the
// corpus rows need the corpus folder.
//
// Usage: conformance [--corpus DIR] [--vectors DIR]
//   --corpus DIR   the corpus folder (or ACEPLUG_CORPUS); without it the
//                  corpus rows are left out, and the run says so
//   --vectors DIR  the golden vectors (default: the project's tests/data/vectors)
// Exit code 0 when every row checked matches, 1 when one differs or cannot be read.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "compress/compressor.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

struct Row {
  std::string input, run, packed;
  int32_t dictionaryKB = 0, level = 0;
  int index = 0;
};

bool ReadFile(const fs::path& path, Bytes* out) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  out->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

struct Memory {
  const Bytes* input = nullptr;
  size_t position = 0;
  Bytes packed;
};

int32_t ReadInput(void* context, uint8_t* destination, int32_t count) {
  auto* m = static_cast<Memory*>(context);
  const size_t n = std::min(m->input->size() - m->position, static_cast<size_t>(count));
  if (n != 0) std::memcpy(destination, m->input->data() + m->position, n);
  m->position += n;
  return static_cast<int32_t>(n);
}

int32_t WritePacked(void* context, const uint8_t* bytes, int32_t count) {
  auto* m = static_cast<Memory*>(context);
  m->packed.insert(m->packed.end(), bytes, bytes + count);
  return count;
}

// Packs `input` as the next file of the compressor's run.
Bytes Pack(ace::Compressor& c, const Bytes& input, bool continued) {
  Memory memory{&input, 0, {}};
  ace::CompressorIo io;
  io.read = &ReadInput;
  io.readContext = &memory;
  io.write = &WritePacked;
  io.writeContext = &memory;
  c.SetIo(io);
  c.StartFile(static_cast<uint32_t>(input.size()), continued);
  c.Run();
  c.Finish();
  return memory.packed;
}

}  // namespace

int main(int argc, char** argv) {
  fs::path vectors = ACE_CONFORMANCE_VECTORS;
  const char* env = std::getenv("ACEPLUG_CORPUS");
  fs::path corpus = env != nullptr ? env : "";
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--corpus") == 0) corpus = argv[i + 1];
    if (std::strcmp(argv[i], "--vectors") == 0) vectors = argv[i + 1];
  }
  if (argc % 2 == 0) {
    std::fprintf(stderr, "usage: conformance [--corpus DIR] [--vectors DIR]\n");
    return 2;
  }

  // Rows in file order; a solid run's rows are packed together in run order.
  std::ifstream table(vectors / "packed.tsv");
  std::map<std::string, std::vector<Row>> runs;
  std::vector<std::string> order;
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    Row r;
    std::string size, crc, packedSize;
    if (!(fields >> r.input >> r.dictionaryKB >> r.level >> r.run >> size >> crc >> packedSize >>
          r.packed)) {
      continue;
    }
    const size_t hash = r.run.find('#');
    const std::string key = hash == std::string::npos ? r.packed : r.run.substr(0, hash);
    if (hash != std::string::npos) r.index = std::stoi(r.run.substr(hash + 1));
    if (runs[key].empty()) order.push_back(key);
    runs[key].push_back(r);
  }
  if (order.empty()) {
    std::fprintf(stderr, "conformance: no rows in %s\n", (vectors / "packed.tsv").c_str());
    return 1;
  }

  int checked = 0, failed = 0, skipped = 0, levelZero = 0;
  for (const std::string& key : order) {
    std::vector<Row>& rows = runs[key];
    std::sort(rows.begin(), rows.end(),
              [](const Row& a, const Row& b) { return a.index < b.index; });
    std::vector<Bytes> inputs;
    bool available = true;
    for (const Row& r : rows) {
      const bool inCorpus = r.input.rfind("../corpus/", 0) == 0;
      if (inCorpus && corpus.empty()) available = false;
      Bytes data;
      const fs::path path =
          inCorpus ? corpus / r.input.substr(std::strlen("../corpus/")) : vectors / r.input;
      if (available && !ReadFile(path, &data)) {
        std::printf("%-36s cannot read %s\n", key.c_str(), path.c_str());
        ++failed;
        available = false;
      }
      inputs.push_back(data);
    }
    if (!available) {
      skipped += static_cast<int>(rows.size());
      continue;
    }
    // The vectors' level 0 walks whole chains; ours takes each match as found
    // (its outputs are pinned in tests/data/level0).
    if (rows[0].level == 0) {
      levelZero += static_cast<int>(rows.size());
      continue;
    }
    ace::Compressor c;
    if (!c.Init(rows[0].dictionaryKB, rows[0].level)) {
      std::printf("%-36s no compressor for %d KB level %d\n", key.c_str(), rows[0].dictionaryKB,
                  rows[0].level);
      ++failed;
      continue;
    }
    for (size_t i = 0; i < rows.size(); ++i) {
      Bytes expected;
      ReadFile(vectors / rows[i].packed, &expected);
      const Bytes packed = Pack(c, inputs[i], i > 0);
      size_t at = 0;
      while (at < packed.size() && at < expected.size() && packed[at] == expected[at]) ++at;
      ++checked;
      if (c.Status() == 0 && packed == expected) {
        std::printf("%-36s ok (%zu bytes)\n", rows[i].packed.c_str(), packed.size());
      } else {
        std::printf("%-36s DIFFERS at byte %zu (%zu bytes, %zu expected, status %u)\n",
                    rows[i].packed.c_str(), at, packed.size(), expected.size(), c.Status());
        ++failed;
      }
    }
  }
  std::printf("%d rows checked, %d differ or cannot be read", checked, failed);
  if (skipped > 0) {
    std::printf(
        "; no corpus given (--corpus DIR or ACEPLUG_CORPUS): %d rows that need it not checked",
        skipped);
  }
  if (levelZero > 0) std::printf("; %d level-0 rows left out (our level 0 is greedy)", levelZero);
  std::printf("\n");
  return failed == 0 ? 0 : 1;
}
