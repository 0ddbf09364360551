// Building the compressor's Huffman codes: length-limited code widths from
// symbol frequencies, and the codes the format hands out for given widths.
#pragma once

#include <cstdint>

#include "format/lz77_format.h"
#include "format/width_order.h"

namespace ace {

// Largest alphabet any code has: the main code's.
inline constexpr int kMaxHuffmanSymbols = lz77::kMainSymbols;
// Widths are sent in 4-bit fields at most; no code of the format is longer.
inline constexpr int kMaxHuffmanWidth = 15;

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
