// Test-only writer of compressed comment blocks: a bit writer, canonical codes
// from widths, and the transmission of a code's widths, so that tests can make
// comment blocks of any text and craft streams by hand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace acetest {

// Bits go into 32-bit words from the most significant end; words are stored
// little-endian.
class BitWriter {
 public:
  void Put(uint32_t value, int count);
  size_t bits() const { return bits_; }
  std::vector<uint8_t> Bytes() const;  // padded to whole words

 private:
  std::vector<uint32_t> words_;
  size_t bits_ = 0;
};

// The code that the decoder builds from `widths` (symbols 0..last, at least
// two non-zero, each at most maxwidth): code[s] holds the bits, sent in
// widths[s] bits.
std::vector<uint32_t> CanonicalCodes(const std::vector<uint8_t>& widths, int maxwidth);

// Writes the transmission of `widths` (main code, symbols 0..widths.size()-1)
// with the given `low` (0..15): widths must be 0 or above low, and below
// low + 16.
void PutCodeWidths(BitWriter& out, const std::vector<uint8_t>& widths, int low);

struct EncodedComment {
  std::vector<uint8_t> block;   // starts with the 15-bit length
  std::vector<uint8_t> widths;  // the main code's widths as sent
  size_t symbolsStart = 0;      // bit position of the first main symbol
  std::vector<int> symbols;     // the main symbols written
};

// Encodes `text` (at most 32,767 bytes). With `copies`, repeats that the
// decoder's two-byte hash points at become copy symbols.
EncodedComment EncodeComment(const std::string& text, bool copies);

// Writes the given symbols under a code of equal widths for the symbols used,
// announcing `length` as the text length.
EncodedComment EncodeSymbols(uint32_t length, const std::vector<int>& symbols);

}  // namespace acetest
