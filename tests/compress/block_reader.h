// A plain reader of packed LZ77 data for the compressor's tests: parses the
// blocks (code widths, tokens) and rebuilds the bytes, keeping what it saw so
// that tests can check the token stream as well as the data.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/test_support.h"

namespace acetest {

struct ReadToken {
  uint32_t mainSymbol = 0;
  uint32_t lengthSymbol = 0;
  uint32_t length = 1;    // bytes the token stands for
  uint32_t distance = 0;  // 1 or more for matches
};

struct ReadBlock {
  std::vector<ReadToken> tokens;
  std::vector<uint8_t> mainWidths;    // symbols 0..last
  std::vector<uint8_t> lengthWidths;  // symbols 0..last
  std::vector<uint8_t> mainDeltas;    // as sent
};

struct ReadResult {
  bool ok = false;
  std::string error;
  std::vector<ReadBlock> blocks;
  Bytes data;           // the file's bytes (without the history)
  uint64_t bitsUsed = 0;  // up to the end of the last token
};

// Reads one file's packed data until `unpackedSize` bytes are rebuilt.
// `history` holds the bytes of earlier files of a solid run.
ReadResult ReadPacked(const Bytes& packed, size_t unpackedSize, const Bytes& history = {});

}  // namespace acetest
