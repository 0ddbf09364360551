// Packing and unpacking in memory: the compressor through its I/O hooks
// (failures, pieces, progress) and the extraction library's decoder.
#pragma once

#include <utility>

#include "compress/compressor.h"
#include "support/test_support.h"
#include "unace/decoder/lz77_decoder.h"

namespace acetest {

struct MemoryIo {
  const Bytes* input = nullptr;
  size_t readPos = 0;
  int32_t maxRead = 0x7FFFFFFF;  // bytes per read at most
  int failReadAt = -1;           // this read (0-based) fails
  int failWriteAt = -1;          // this write (0-based) fails ...
  bool shortWrite = false;       // ... or stores half of its bytes
  int reads = 0, writes = 0;
  Bytes output;
  std::vector<int32_t> writeSizes;
  bool listen = false;                               // progress reports are taken
  int refuseAt = -1;                                 // this report (0-based) is answered 0
  std::vector<std::pair<int32_t, int32_t>> reports;  // percent, step

  ace::CompressorIo Hooks();
};

struct PackResult {
  Bytes packed;
  uint32_t status = 0, crc = 0, packedSize = 0;
  bool grew = false;
};
// One file through a compressor already set up, as the next file of its run
// when `continued`.
PackResult PackWith(ace::Compressor& c, MemoryIo& io, const Bytes& input, bool continued = false);
// One file through a fresh compressor.
PackResult Pack(const Bytes& input, int32_t dictionaryKB, int32_t level);

// Decodes one file's packed data, handing out at most `piece` packed bytes
// per read (0: all at once); `out` gets the bytes, never more than `size`.
ace::DecodeStatus Unpack(ace::Lz77Decoder& decoder, const Bytes& packed, size_t size, Bytes* out,
                         bool continued = false, size_t piece = 0);
// The same on a fresh decoder; the bytes, or "DECODE FAILED" when it fails.
Bytes Unpack(const Bytes& packed, size_t size);

}  // namespace acetest
