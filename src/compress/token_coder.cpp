// The block coder: a full token buffer becomes one block (the main code and
// the length code sent as width deltas under their own small codes, then the
// tokens), packed most significant bit first into 32-bit words stored low
// byte first.
#include <cstdlib>
#include <cstring>

#include "compress/compressor_core.h"
#include "compress/huffman.h"

namespace ace {
namespace {

constexpr uint32_t kWidthModulus = 12;
// The width deltas and the run symbol, which the coder never sends but
// gives a width all the same.
constexpr int kWidthSymbols = kWidthModulus + 1;
constexpr uint32_t kChunkWords = kOutputChunk / 4;

// Room for the chunk still held, one whole block at its largest (16,384 tokens
// of 41 bits and two code tables) and a word of slack.
constexpr uint32_t kOutputCapacity = 128 * 1024;

inline void StoreWord(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
  p[2] = static_cast<uint8_t>(v >> 16);
  p[3] = static_cast<uint8_t>(v >> 24);
}

// Fields of up to 32 bits; complete words are stored at once.
struct BitWriter {
  uint64_t bits;
  uint32_t count;  // below 32 between calls
  uint8_t* next;

  inline void Put(uint32_t value, uint32_t width) {
    bits = (bits << width) | value;
    count += width;
    if (count >= 32) {
      count -= 32;
      StoreWord(next, static_cast<uint32_t>(bits >> count));
      next += 4;
    }
  }
};

// One code sent as its last index, the width deltas' own code and the deltas.
void WriteCodeWidths(BitWriter& w, const uint8_t* widths, int last) {
  uint8_t delta[kMaxHuffmanSymbols];
  uint32_t frequency[kWidthSymbols];
  for (uint32_t& f : frequency) f = 1;  // every delta symbol gets a width
  uint32_t previous = 0;
  for (int i = 0; i <= last; ++i) {
    delta[i] = static_cast<uint8_t>((widths[i] + kWidthModulus - previous) % kWidthModulus);
    previous = widths[i];
    ++frequency[delta[i]];
  }
  uint8_t treeWidth[kWidthSymbols];
  uint16_t treeCode[kWidthSymbols];
  BuildHuffmanCode(frequency, kWidthSymbols, lz77::kMaxWidthCodeWidth, treeWidth, treeCode);

  w.Put(static_cast<uint32_t>(last), 9);
  w.Put(0, 4);  // lower width
  w.Put(kWidthModulus, 4);
  for (int s = 0; s < kWidthSymbols; ++s) w.Put(treeWidth[s], 3);
  for (int i = 0; i <= last; ++i) w.Put(treeCode[delta[i]], treeWidth[delta[i]]);
}

// Each chunk handed on is an output write and a progress report, so when a
// chunk goes out decides what the host sees and where a refusal stops the
// output; chunks leave as they would from a writer that keeps each word until
// the next field needs room.
//
// Words such a writer would have handed on by now: the last complete word
// still waits when no bit follows it.
inline int64_t EmittedWords(const CompressorCore& core) {
  const int64_t words = core.outBytes / 4;
  return core.bitCount == 0 ? words - 1 : words;
}

// Passes on every chunk such a writer would have written: a chunk goes out
// when the word after it is emitted.
void DrainChunks(CompressorCore& core, int64_t emitted) {
  while (emitted > static_cast<int64_t>(kChunkWords)) {
    FlushOutput(core, kOutputChunk);
    core.outBytes -= kOutputChunk;
    std::memmove(core.out, core.out + kOutputChunk, core.outBytes);
    ++core.chunksDone;
    emitted -= kChunkWords;
  }
}

}  // namespace

bool AllocateCoderBuffers(CompressorCore& core) {
  core.tokenMain = static_cast<uint16_t*>(std::malloc(kBlockTokens * sizeof(uint16_t)));
  core.tokenLength = static_cast<uint8_t*>(std::malloc(kBlockTokens));
  core.tokenDistance = static_cast<uint32_t*>(std::malloc(kBlockTokens * sizeof(uint32_t)));
  core.tokenBits = static_cast<uint8_t*>(std::malloc(kBlockTokens));
  core.out = static_cast<uint8_t*>(std::calloc(kOutputCapacity, 1));
  if (core.tokenMain && core.tokenLength && core.tokenDistance && core.tokenBits && core.out) {
    return true;
  }
  ReleaseCoderBuffers(core);
  return false;
}

void ReleaseCoderBuffers(CompressorCore& core) {
  std::free(core.tokenMain);
  std::free(core.tokenLength);
  std::free(core.tokenDistance);
  std::free(core.tokenBits);
  std::free(core.out);
  core.tokenMain = nullptr;
  core.tokenLength = nullptr;
  core.tokenDistance = nullptr;
  core.tokenBits = nullptr;
  core.out = nullptr;
}

void ResetCoder(CompressorCore& core) {
  core.tokenCount = 0;
  for (uint32_t& d : core.ring) d = 0;
  core.ringIndex = 0;
  core.outBytes = 0;
  core.bitBuffer = 0;
  core.bitCount = 0;
  core.chunksDone = 0;
}

void FlushBlock(CompressorCore& core) {
  if (core.ops != nullptr && core.ops->blockClosed != nullptr) core.ops->blockClosed(core);
  const uint32_t count = core.tokenCount;
  const uint16_t* mainSymbol = core.tokenMain;
  const uint8_t* lengthSymbol = core.tokenLength;
  uint32_t* mainFrequency = core.mainFrequency;
  uint32_t* lengthFrequency = core.lengthFrequency;
  std::memset(mainFrequency, 0, sizeof(core.mainFrequency));
  std::memset(lengthFrequency, 0, sizeof(core.lengthFrequency));
  for (uint32_t t = 0; t < count; ++t) {
    const uint32_t s = mainSymbol[t];
    ++mainFrequency[s];
    if (s >= lz77::kFirstRepeatSymbol) ++lengthFrequency[lengthSymbol[t]];
  }

  uint8_t mainWidth[lz77::kMainSymbols];
  uint16_t mainCode[lz77::kMainSymbols];
  uint8_t lengthWidth[lz77::kLengthSymbols];
  uint16_t lengthCode[lz77::kLengthSymbols];
  const int mainLast =
      BuildHuffmanCode(mainFrequency, lz77::kMainSymbols, lz77::kMaxCodeWidth, mainWidth, mainCode);
  const int lengthLast = BuildHuffmanCode(lengthFrequency, lz77::kLengthSymbols,
                                          lz77::kMaxCodeWidth, lengthWidth, lengthCode);

  BitWriter w{core.bitBuffer, core.bitCount, core.out + core.outBytes};
  WriteCodeWidths(w, mainWidth, mainLast);
  WriteCodeWidths(w, lengthWidth, lengthLast);
  w.Put(count, 15);

  const uint32_t* distance = core.tokenDistance;
  const uint8_t* distanceBits = core.tokenBits;
  for (uint32_t t = 0; t < count; ++t) {
    const uint32_t s = mainSymbol[t];
    if (s < lz77::kLiteralSymbols) {
      w.Put(mainCode[s], mainWidth[s]);
      continue;
    }
    if (s >= lz77::kFirstDistanceSymbol + 2) {
      // The code and the low n - 1 bits of the distance in one field (at most 30 bits).
      const uint32_t extra = distanceBits[t] - 1u;
      const uint32_t low = distance[t] & ((1u << extra) - 1u);
      w.Put((static_cast<uint32_t>(mainCode[s]) << extra) | low, mainWidth[s] + extra);
    } else {
      w.Put(mainCode[s], mainWidth[s]);
    }
    const uint32_t l = lengthSymbol[t];
    w.Put(lengthCode[l], lengthWidth[l]);
  }

  core.bitBuffer = w.bits;
  core.bitCount = w.count;
  core.outBytes = static_cast<uint32_t>(w.next - core.out);
  DrainChunks(core, EmittedWords(core));
}

void FinishOutput(CompressorCore& core) {
  FlushBlock(core);
  core.tokenCount = 0;
  if (core.bitCount > 0) {
    // Zero bits up to the end of the word.
    StoreWord(core.out + core.outBytes,
              static_cast<uint32_t>(core.bitBuffer << (32 - core.bitCount)));
    core.outBytes += 4;
  }
  core.bitBuffer = 0;
  core.bitCount = 0;
  DrainChunks(core, core.outBytes / 4);
  FlushOutput(core, core.outBytes);
  core.outBytes = 0;
}

}  // namespace ace
