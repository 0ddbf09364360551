#include "compress/memory_io.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <sstream>

namespace acetest {
namespace {

int32_t Read(void* context, uint8_t* destination, int32_t count) {
  auto& io = *static_cast<MemoryIo*>(context);
  if (io.reads++ == io.failReadAt) return -1;
  const size_t left = io.input->size() - io.readPos;
  const size_t n = std::min({left, static_cast<size_t>(count), static_cast<size_t>(io.maxRead)});
  if (n > 0) std::memcpy(destination, io.input->data() + io.readPos, n);
  io.readPos += n;
  return static_cast<int32_t>(n);
}

int32_t Write(void* context, const uint8_t* bytes, int32_t count) {
  auto& io = *static_cast<MemoryIo*>(context);
  io.writeSizes.push_back(count);
  if (io.writes++ == io.failWriteAt) {
    if (!io.shortWrite) return -1;
    io.output.insert(io.output.end(), bytes, bytes + count / 2);
    return count / 2;
  }
  io.output.insert(io.output.end(), bytes, bytes + count);
  return count;
}

int32_t Progress(void* context, int32_t percent, int32_t step) {
  auto& io = *static_cast<MemoryIo*>(context);
  const bool abort = static_cast<int>(io.reports.size()) == io.abortAtReport;
  io.reports.push_back({percent, step});
  return abort ? 0 : 1;
}

}  // namespace

ace::CompressorIo MemoryIo::Io() {
  ace::CompressorIo io;
  io.read = &Read;
  io.readContext = this;
  io.write = &Write;
  io.writeContext = this;
  if (listen) {
    io.progress = &Progress;
    io.progressContext = this;
  }
  return io;
}

PackResult Pack(const Bytes& input, int32_t dictionaryKB, int32_t level) {
  auto results = PackSolid({input}, dictionaryKB, level);
  return results.front();
}

std::vector<PackResult> PackSolid(const std::vector<Bytes>& inputs, int32_t dictionaryKB,
                                  int32_t level) {
  ace::Compressor compressor;
  std::vector<PackResult> results;
  if (!compressor.Init(dictionaryKB, level)) return results;
  for (size_t i = 0; i < inputs.size(); ++i) {
    MemoryIo io;
    io.SetInput(inputs[i]);
    compressor.SetIo(io.Io());
    compressor.StartFile(static_cast<uint32_t>(inputs[i].size()), i > 0);
    compressor.Run();
    compressor.Finish();
    PackResult r;
    r.packed = std::move(io.output);
    r.crc = compressor.Crc();
    r.packedSize = compressor.PackedSize();
    r.status = compressor.Status();
    r.grew = compressor.Grew();
    results.push_back(std::move(r));
  }
  return results;
}

Bytes TextBytes(size_t size, uint32_t seed) {
  static const char* const kWords[] = {
      "the",   "of",     "and",   "a",      "to",     "in",     "is",      "you",
      "that",  "it",     "he",    "was",    "for",    "on",     "are",     "as",
      "with",  "his",    "they",  "at",     "be",     "this",   "have",    "from",
      "or",    "one",    "had",   "by",     "word",   "but",    "not",     "what",
      "all",   "were",   "we",    "when",   "your",   "can",    "said",    "there",
      "queen", "rabbit", "alice", "garden", "looked", "little", "thought", "door"};
  std::mt19937 gen(seed);
  Bytes out;
  out.reserve(size + 16);
  size_t line = 0;
  while (out.size() < size) {
    const char* w = kWords[gen() % (sizeof kWords / sizeof kWords[0])];
    while (*w) out.push_back(static_cast<uint8_t>(*w++));
    line += 6;
    if (gen() % 9 == 0) out.push_back(',');
    if (line > 70) {
      out.push_back('\n');
      line = 0;
    } else {
      out.push_back(' ');
    }
  }
  out.resize(size);
  return out;
}

std::string FirstDifference(const Bytes& expected, const Bytes& actual) {
  const size_t n = std::min(expected.size(), actual.size());
  size_t i = 0;
  while (i < n && expected[i] == actual[i]) ++i;
  if (i == n && expected.size() == actual.size()) return "";
  std::ostringstream s;
  s << "first difference at byte " << i << " (word " << i / 4 << ") of " << expected.size()
    << " expected / " << actual.size() << " actual";
  if (i < n) s << std::hex << ": expected 0x" << int(expected[i]) << " got 0x" << int(actual[i]);
  return s.str();
}

}  // namespace acetest
