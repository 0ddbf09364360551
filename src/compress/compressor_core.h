// What every engine shares: the per-file counters, the input path with its
// CRC, the token buffer with the repeat-distance ring, the block coder and
// the output path with its progress reports. Engines reach it through the
// inline recorders below; everything per block is out of line.
#pragma once

#include <bit>
#include <cstdint>

#include "compress/compressor.h"

namespace ace {

struct CompressorCore;

// An engine kind's operations. `setup` allocates everything the engine needs
// for the operation and `release` frees it; `start` begins a fresh file,
// `resume` continues a solid run, `run` codes the input to its end. `abort`
// makes `run` end soon (the host asked to stop); it must not stop the
// recorders from being called. `blockClosed` and `resetStats` are optional
// hooks for engines that price tokens by the block's statistics.
struct EngineOps {
  EngineKind kind = EngineKind::kNone;
  bool reportsOwnProgress = false;  // output writes then report nothing
  bool (*setup)(CompressorCore& core) = nullptr;
  void (*release)(CompressorCore& core) = nullptr;
  void (*start)(CompressorCore& core) = nullptr;
  void (*resume)(CompressorCore& core) = nullptr;
  void (*run)(CompressorCore& core) = nullptr;
  // Optional: moves through the input as `run` does and enters every position
  // in the tables as `run` would, but searches and codes nothing.
  void (*skip)(CompressorCore& core) = nullptr;
  void (*abort)(CompressorCore& core) = nullptr;
  void (*blockClosed)(CompressorCore& core) = nullptr;  // before a block is coded
  void (*resetStats)(CompressorCore& core) = nullptr;   // at the start of every file
};

inline constexpr uint32_t kBlockTokens = 16384;
inline constexpr uint32_t kOutputChunk = 16384;  // bytes per output write
inline constexpr int kMainSymbols = 282;
inline constexpr int kLengthSymbols = 256;
inline constexpr int kWidthSymbols = 13;

struct CompressorCore {
  // Set up by Init.
  int32_t dictionaryKB = 0;
  int32_t level = 0;
  uint32_t dictionaryBytes = 0;
  const EngineOps* ops = nullptr;
  void* engine = nullptr;  // the engine's own state
  CompressorIo io;

  // History bytes for offsets seedOffset.. of the next fresh start, placed
  // behind its first fill (Compressor::SeedHistory); `seedArmed` while that
  // fill is still to come.
  const uint8_t* seed = nullptr;
  uint32_t seedOffset = 0;
  uint32_t seedLength = 0;
  bool seedArmed = false;
  uint32_t filesStarted = 0;

  // Per file.
  uint32_t status = 0;
  uint32_t crc = 0;
  uint32_t unpackedSize = 0;
  uint32_t packedSize = 0;
  uint32_t bytesRead = 0;
  uint32_t processed = 0;
  uint32_t progressBase = 0;
  int32_t grew = 0;

  // Token buffer: four parallel arrays of kBlockTokens.
  uint16_t* tokenMain = nullptr;      // main symbol 0..281
  uint8_t* tokenLength = nullptr;     // length symbol, main symbols 256 and up
  uint32_t* tokenDistance = nullptr;  // distance value d, main symbols 260 and up
  uint8_t* tokenBits = nullptr;       // significant bits of d
  uint32_t tokenCount = 0;
  uint32_t ring[4] = {};  // recent distance values; ring[ringIndex] is the newest
  uint32_t ringIndex = 0;

  // Bit writer. Words are stored as soon as they are complete; `chunksDone`
  // counts the 16,384-byte chunks handed to the sink (or dropped after a
  // failure), `out` holds what follows them.
  uint8_t* out = nullptr;
  uint32_t outBytes = 0;
  uint64_t bitBuffer = 0;  // the low `bitCount` bits are pending, first bit highest
  uint32_t bitCount = 0;   // 0..31 between fields
  uint32_t chunksDone = 0;

  // Frequencies of the last block (kept for engines that price by them).
  uint32_t mainFrequency[kMainSymbols] = {};
  uint32_t lengthFrequency[kLengthSymbols] = {};
};

// Allocation of the shared buffers (tokens, output); false when out of memory.
bool AllocateCoderBuffers(CompressorCore& core);
void ReleaseCoderBuffers(CompressorCore& core);

// Token count 0, ring zeros with index 0, bit writer and output empty.
void ResetCoder(CompressorCore& core);

// Reads up to `count` bytes of input, keeping the CRC. 0 at the end of the
// input and after a failure (status 5).
int32_t ReadInput(CompressorCore& core, uint8_t* destination, int32_t count);

// Codes the buffered tokens as one block; the caller resets the count.
void FlushBlock(CompressorCore& core);

// The last block, the final padded word and the rest of the output.
void FinishOutput(CompressorCore& core);

// Hands `count` bytes from the start of `out` to the sink unless the status
// word is already set; counts them, reports progress, marks growth.
void FlushOutput(CompressorCore& core, uint32_t count);

// Tells the host how far the file is; a refusal sets status 2926 and aborts
// the engine.
void ReportProgress(CompressorCore& core);

// Significant bits of a distance value (0 for 0).
inline uint32_t DistanceBits(uint32_t d) { return static_cast<uint32_t>(std::bit_width(d)); }

// Length symbol of the new-distance form for a match of `length` at distance
// value `d`.
inline uint32_t NewDistanceLengthSymbol(uint32_t length, uint32_t d) {
  return length - 2 - (d > 255 ? 1 : 0) - (d > 8191 ? 1 : 0);
}

inline void RecordLiteral(CompressorCore& core, uint32_t byte) {
  if (core.tokenCount == kBlockTokens) {
    FlushBlock(core);
    core.tokenCount = 0;
  }
  core.tokenMain[core.tokenCount++] = static_cast<uint16_t>(byte);
}

// `lengthSymbol` is that of the new-distance form; `distance` is 1 or more.
// A distance among the four most recent ones is sent as a repeat when the
// repeat symbols can say the length.
inline void RecordMatch(CompressorCore& core, uint32_t lengthSymbol, uint32_t distance) {
  if (core.tokenCount == kBlockTokens) {
    FlushBlock(core);
    core.tokenCount = 0;
  }
  const uint32_t d = distance - 1;
  const uint32_t index = core.ringIndex;
  uint32_t i = 0;
  while (i < 4 && core.ring[(index - i) & 3] != d) ++i;
  const uint32_t t = core.tokenCount++;
  if (i < 4 && !(i >= 2 && lengthSymbol == 0)) {
    const uint32_t length = lengthSymbol + 2 + (d > 255 ? 1 : 0) + (d > 8191 ? 1 : 0);
    if (!(length == 258 && i <= 1)) {
      core.tokenMain[t] = static_cast<uint16_t>(256 + i);
      core.tokenLength[t] = static_cast<uint8_t>(i <= 1 ? length - 2 : length - 3);
      // Entry i moves to the front; the newer ones move back one place.
      for (uint32_t j = (index - i) & 3; j != index; j = (j + 1) & 3) {
        core.ring[j] = core.ring[(j + 1) & 3];
      }
      core.ring[index] = d;
      return;
    }
  }
  const uint32_t n = DistanceBits(d);
  core.tokenMain[t] = static_cast<uint16_t>(260 + n);
  core.tokenLength[t] = static_cast<uint8_t>(lengthSymbol);
  core.tokenDistance[t] = d;
  core.tokenBits[t] = static_cast<uint8_t>(n);
  core.ringIndex = (index + 1) & 3;
  core.ring[core.ringIndex] = d;
}

}  // namespace ace
