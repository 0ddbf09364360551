// Test-only writer of Huffman-coded bit streams, shared by the comment and
// LZ77 decoder tests: bits into 32-bit words from the most significant end
// (words stored little-endian), canonical codes from widths, and the
// transmission of a code's widths.
#pragma once

#include <cstdint>
#include <vector>

#include "support/test_support.h"

namespace acetest {

class BitWriter {
 public:
  void Put(uint32_t value, int count);
  size_t bits() const { return bits_; }
  Bytes Finish() const;  // padded with zeros to whole words

 private:
  std::vector<uint32_t> words_;
  size_t bits_ = 0;
};

// The codes the decoders assign to symbols 0..widths.size()-1 (0 for an
// unused one); the order among equal widths follows the decoders' width sort.
std::vector<uint32_t> CanonicalCodes(const std::vector<uint8_t>& widths);

// Writes `symbol` with the code of `widths`.
void PutCode(BitWriter& out, const std::vector<uint8_t>& widths, uint32_t symbol);

// Writes the transmission of `widths` (symbols 0..widths.size()-1) with the
// lower width `low`: widths must be 0 or above low, and below low + 16. Runs
// of four or more zeros go out as run symbols.
void PutCodeWidths(BitWriter& out, const std::vector<uint8_t>& widths, int low = 0);

}  // namespace acetest
