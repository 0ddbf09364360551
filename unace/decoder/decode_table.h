// Huffman decode tables built from transmitted code widths. A table of 2^bits entries is indexed
// by the next `bits` bits of the stream; each entry holds the symbol and the width to skip, so
// one look-up decodes one symbol.
#pragma once

#include <cstdint>

#include "format/lz77_format.h"
#include "unace/decoder/bit_reader.h"

namespace ace {

// Each table is as wide as its longest code may be, so that one look-up decodes any code.
constexpr uint32_t kTableBits = lz77::kMaxCodeWidth;            // main and length codes
constexpr uint32_t kWidthTableBits = lz77::kMaxWidthCodeWidth;  // the code that sends the widths

// The width sits in the low bits so that it can be used as a shift count directly.
constexpr uint16_t MakeEntry(uint32_t symbol, uint32_t width) {
  return static_cast<uint16_t>(symbol << 6 | width);
}
constexpr uint32_t EntrySymbol(uint16_t entry) { return entry >> 6; }
constexpr uint32_t EntryWidth(uint16_t entry) { return entry & 63u; }

// Builds `table` (2^bits entries) for symbols 0..last from their widths. Codes are handed out
// from the shortest width to the longest in the order SortWidths leaves, so equal widths follow
// that order. A code with fewer than two used symbols gets its first symbol in that order the
// width 1 (written back into `widths`). Codes that come after the table is full are left out;
// a table that is not filled decodes its remaining entries to symbol 0. False when a width
// that has to be placed exceeds `bits`.
bool MakeDecodeTable(uint32_t bits, uint32_t last, uint8_t* widths, uint16_t* table);

// Reads one transmitted code (last symbol, lower width, width modulus, the width code, then the
// widths themselves as running sums) for symbols 0..maxSymbol and builds its 2^kTableBits-entry
// table.
// `widths` has room for maxSymbol + 1 entries. False when a table cannot be built.
bool ReadCodeWidths(BitReader& in, uint32_t maxSymbol, uint8_t* widths, uint16_t* table);

}  // namespace ace
