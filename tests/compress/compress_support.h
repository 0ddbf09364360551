// Shared by the compressor tests: a Compressor driven from memory (with hooks
// to make reads or writes fail and to watch progress), chunked input for the
// tree match finder, and a plain reader of packed LZ77 data that rebuilds the
// bytes and keeps the blocks and tokens it saw.
#pragma once

#include <cstdint>
#include <string>
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
  int failWriteAt = -1;     // this write (0-based) fails
  bool shortWrite = false;  // the failing write stores half and says so
  int writes = 0;
  std::vector<int32_t> writeSizes;

  bool listen = false;     // register the progress hook
  int abortAtReport = -1;  // this report (0-based) answers 0
  std::vector<ProgressCall> reports;

  ace::CompressorIo Io();
};

// The results of one file.
struct PackResult {
  Bytes packed;
  uint32_t crc = 0;
  uint32_t packedSize = 0;
  uint32_t status = 0;
  bool grew = false;
  uint32_t bytesRead = 0;
};
// One file through a compressor already set up, from `input` into `io`,
// announced as `declared` bytes (the input's size when negative).
PackResult RunFile(ace::Compressor& c, MemoryIo& io, const Bytes& input, int64_t declared = -1,
                   bool continued = false);
// One fresh file through a new compressor.
PackResult Pack(const Bytes& input, int32_t dictionaryKB, int32_t level);
// A solid run through one compressor: the first file fresh, the others continued.
std::vector<PackResult> PackSolid(const std::vector<Bytes>& inputs, int32_t dictionaryKB,
                                  int32_t level);

// Pseudo-text: words of a small vocabulary in sentences and lines.
Bytes TextBytes(size_t size, uint32_t seed);

// Hands out a byte vector to the tree match finder in chunks of at most `chunk` bytes.
struct ChunkInput {
  const Bytes* data = nullptr;
  size_t at = 0;
  uint32_t chunk = 0xFFFFFFFFu;
  static uint32_t Read(void* context, uint8_t* destination, uint32_t count);
};

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
  Bytes data;                             // the file's bytes (without the history)
  uint64_t bitsUsed = 0;                  // up to the end of the last token
  std::vector<ReadToken> Tokens() const;  // of all blocks
};

// Reads one file's packed data until `unpackedSize` bytes are rebuilt, and
// checks that it ends with zero padding to a whole word. `history` holds the
// bytes of earlier files of a solid run.
ReadResult ReadPacked(const Bytes& packed, size_t unpackedSize, const Bytes& history = {});

}  // namespace acetest
