// What every engine shares: the per-file counters, the input path with its
// CRC, the token buffer with the repeat-distance ring, the block coder and
// the output path with its progress reports. Engines reach it through the
// inline recorders below; everything per block is out of line.
#pragma once

#include <cstdint>

#include "compress/compressor.h"
#include "format/lz77_format.h"

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
  uint16_t* tokenMain = nullptr;      // main symbol
  uint8_t* tokenLength = nullptr;     // length symbol, for a repeat or a new distance
  uint32_t* tokenDistance = nullptr;  // distance value d, for a new distance
  uint8_t* tokenBits = nullptr;       // significant bits of d
  uint32_t tokenCount = 0;
  uint32_t ring[lz77::kRingSize] = {};  // recent distance values; ring[ringIndex] is the newest
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
  uint32_t mainFrequency[lz77::kMainSymbols] = {};
  uint32_t lengthFrequency[lz77::kLengthSymbols] = {};
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

// Whether a match at ring entry `i` goes out as a repeat: when the repeat
// symbol can say its length, except that a far repeat (entries 2 and 3) is
// not used for the shortest length of the new-distance form.
inline bool TakesRepeat(uint32_t i, uint32_t lengthSymbol, uint32_t length) {
  if (i >= 2 && lengthSymbol == 0) return false;
  return length - lz77::RepeatMinLength(i) < lz77::kLengthSymbols;
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
  const uint32_t i = lz77::FindInRing(core.ring, core.ringIndex, d);
  const uint32_t t = core.tokenCount++;
  if (i < lz77::kRingSize) {
    const uint32_t length = lengthSymbol + lz77::NewDistanceMinLength(d);
    if (TakesRepeat(i, lengthSymbol, length)) {
      core.tokenMain[t] = static_cast<uint16_t>(lz77::kFirstRepeatSymbol + i);
      core.tokenLength[t] = static_cast<uint8_t>(length - lz77::RepeatMinLength(i));
      lz77::RepeatDistance(core.ring, core.ringIndex, i);
      return;
    }
  }
  const uint32_t n = lz77::DistanceBits(d);
  core.tokenMain[t] = static_cast<uint16_t>(lz77::kFirstDistanceSymbol + n);
  core.tokenLength[t] = static_cast<uint8_t>(lengthSymbol);
  core.tokenDistance[t] = d;
  core.tokenBits[t] = static_cast<uint8_t>(n);
  lz77::PushDistance(core.ring, core.ringIndex, d);
}

}  // namespace ace
