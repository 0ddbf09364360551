// Code widths and canonical code assignment shared by the block coder, the
// optimal engine's prices, the comment decoder and the LZ77 decoder.
#pragma once

#include <cstdint>

#include "format/lz77_format.h"

namespace ace {

// Largest alphabet any code has: the main code's.
inline constexpr int kMaxHuffmanSymbols = lz77::kMainSymbols;
// Widths are sent in 4-bit fields at most; no code of the format is longer.
inline constexpr int kMaxHuffmanWidth = 15;

// Orders positions 0..last by decreasing width with the format's own
// quicksort. The order among equal widths is part of the format (codes are
// handed out by it), so the procedure, comparisons included, is fixed; it is
// not stable. `keys` holds the widths and is sorted in place together with
// `symbols`, which the caller fills with 0..last.
void SortWidths(uint8_t* keys, uint16_t* symbols, int last);

// Gives every symbol 0..last with a nonzero width its code: codes grow from
// the shortest width to the longest, and within a width they follow the
// reverse of the order SortWidths leaves. Symbols of width 0 get code 0.
// Widths must not exceed kMaxHuffmanWidth.
void AssignHuffmanCodes(const uint8_t* widths, int last, uint16_t* codes);

// Builds a length-limited Huffman code for `symbols` frequencies (at most
// kMaxHuffmanSymbols) with widths of at most `maxWidth`: the tree of the
// deflate reference encoder, then its overflow fix-up, then
// AssignHuffmanCodes. Every code gets at least two symbols: when fewer than
// two frequencies are nonzero, symbols are added with frequency 1. Fills
// widths[0..symbols) and codes[0..symbols) and returns the largest symbol
// with a nonzero width.
int BuildHuffmanCode(const uint32_t* frequencies, int symbols, int maxWidth, uint8_t* widths,
                     uint16_t* codes);

}  // namespace ace
