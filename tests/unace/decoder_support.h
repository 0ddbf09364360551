// Helpers for the decoder tests: whole-file decoding through chunks and piecewise sources, and a
// writer for hand-made packed streams.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/test_support.h"
#include "unace/decoder/lz77_decoder.h"

namespace acetest {

// Hands out a buffer in pieces of at most `piece` bytes per call.
struct PieceSource {
  const Bytes* data = nullptr;
  size_t position = 0;
  size_t piece = 0;
  ace::PackedSource source();
};

struct DecodeResult {
  ace::DecodeStatus status = ace::DecodeStatus::kOk;
  Bytes output;
};

// Decodes one file's packed data completely; piece 0 hands the whole buffer at once.
DecodeResult DecodeFile(ace::Lz77Decoder& decoder, const Bytes& packed, uint64_t size,
                        bool continueSolid = false, size_t piece = 0);

// Bits most significant first into 32-bit words stored little-endian, as the encoder packs them.
class StreamWriter {
 public:
  void Put(uint32_t n, uint32_t value);
  // Writes `symbol` with the code that the decoder derives from `widths` sent with the last
  // symbol `last` (by default the last one with a nonzero width, as PutCodeWidths sends it).
  void PutCode(const std::vector<uint8_t>& widths, uint32_t symbol, int last = -1);
  // A code section with lower width 0, modulus 12 and a fixed complete width code.
  void PutCodeWidths(const std::vector<uint8_t>& widths);
  Bytes Finish();

 private:
  Bytes bytes_;
  uint32_t acc_ = 0;
  uint32_t count_ = 0;
};

// The code of each symbol 0..last (0 for an unused one) as the decoder assigns them. The order
// among equal widths depends on `last`.
std::vector<uint32_t> CanonicalCodes(const std::vector<uint8_t>& widths, size_t last);
size_t LastUsed(const std::vector<uint8_t>& widths);

// The widths of the fixed width code used by PutCodeWidths: 13 symbols, complete.
const std::vector<uint8_t>& FixedWidthCode();

}  // namespace acetest
