// Drives a Compressor from memory: input from a byte vector, output into one,
// with hooks to make reads or writes fail and to watch progress reports.
#pragma once

#include <cstdint>
#include <vector>

#include "compress/compressor.h"
#include "support/test_support.h"

namespace acetest {

struct ProgressCall {
  int32_t percent;
  int32_t step;
};

struct MemoryIo {
  const Bytes* input = nullptr;
  size_t readPos = 0;
  int32_t maxRead = 0x7FFFFFFF;  // bytes per read at most (short reads)
  int failReadAt = -1;           // this read (0-based) fails
  int reads = 0;

  Bytes output;
  int failWriteAt = -1;   // this write (0-based) fails
  bool shortWrite = false;  // the failing write stores half and says so
  int writes = 0;
  std::vector<int32_t> writeSizes;

  bool listen = false;        // register the progress hook
  int abortAtReport = -1;     // this report (0-based) answers 0
  std::vector<ProgressCall> reports;

  ace::CompressorIo Io();
  void SetInput(const Bytes& bytes) {
    input = &bytes;
    readPos = 0;
  }
};

// One fresh file through a new compressor; the packed bytes.
struct PackResult {
  Bytes packed;
  uint32_t crc = 0;
  uint32_t packedSize = 0;
  uint32_t status = 0;
  bool grew = false;
};
PackResult Pack(const Bytes& input, int32_t dictionaryKB, int32_t level);

// A solid run through one compressor: the first file fresh, the others continued.
std::vector<PackResult> PackSolid(const std::vector<Bytes>& inputs, int32_t dictionaryKB,
                                  int32_t level);

// Pseudo-text: words of a small vocabulary in sentences and lines.
Bytes TextBytes(size_t size, uint32_t seed);

// Hex of the first difference between two byte strings, or "" when equal.
std::string FirstDifference(const Bytes& expected, const Bytes& actual);

}  // namespace acetest
