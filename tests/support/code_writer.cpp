#include "support/code_writer.h"

#include <algorithm>
#include <stdexcept>

#include "compress/huffman.h"

namespace acetest {

void BitWriter::Put(uint32_t value, int count) {
  for (int k = count - 1; k >= 0; --k) {
    if (bits_ % 32 == 0) words_.push_back(0);
    if ((value >> k) & 1) words_.back() |= 1u << (31 - bits_ % 32);
    ++bits_;
  }
}

Bytes BitWriter::Finish() const {
  Bytes out;
  for (uint32_t w : words_) {
    for (int k = 0; k < 4; ++k) out.push_back(static_cast<uint8_t>(w >> (8 * k)));
  }
  return out;
}

std::vector<uint32_t> CanonicalCodes(const std::vector<uint8_t>& widths) {
  const int last = static_cast<int>(widths.size()) - 1;
  std::vector<uint8_t> keys(widths);
  std::vector<uint16_t> order(widths.size());
  for (int k = 0; k <= last; ++k) order[k] = static_cast<uint16_t>(k);
  ace::SortWidths(keys.data(), order.data(), last);
  uint32_t count[32] = {};
  for (uint8_t w : widths) ++count[w];
  uint32_t next[32] = {};
  for (int b = 2; b < 32; ++b) next[b] = (next[b - 1] + count[b - 1]) * 2;
  std::vector<uint32_t> codes(widths.size(), 0);
  for (int k = last; k >= 0; --k) {
    if (widths[order[k]] != 0) codes[order[k]] = next[widths[order[k]]]++;
  }
  return codes;
}

void PutCode(BitWriter& out, const std::vector<uint8_t>& widths, uint32_t symbol) {
  out.Put(CanonicalCodes(widths).at(symbol), widths.at(symbol));
}

void PutCodeWidths(BitWriter& out, const std::vector<uint8_t>& widths, int low) {
  const int last = static_cast<int>(widths.size()) - 1;
  // Widths travel as running differences modulo top, a non-zero value getting
  // low added; zero stays zero.
  std::vector<int> level(widths.size());
  int highest = 0;
  for (int j = 0; j <= last; ++j) {
    level[j] = widths[j] == 0 ? 0 : widths[j] - low;
    if (widths[j] != 0 && level[j] < 1) throw std::logic_error("width not above low");
    highest = std::max(highest, level[j]);
  }
  const int top = highest + 1;
  if (top > 15) throw std::logic_error("widths spread too far");
  // Width code: symbols 0..top-1 are values, top is a run of 4..19 zeros.
  int width = 1;
  while ((1 << width) < top + 1) ++width;
  const std::vector<uint8_t> codeWidths(static_cast<size_t>(top) + 1, static_cast<uint8_t>(width));
  out.Put(static_cast<uint32_t>(last), 9);
  out.Put(static_cast<uint32_t>(low), 4);
  out.Put(static_cast<uint32_t>(top), 4);
  for (uint8_t w : codeWidths) out.Put(w, 3);
  std::vector<uint32_t> raw(widths.size());
  for (int j = 0; j <= last; ++j) {
    raw[j] =
        static_cast<uint32_t>(j == 0 ? level[0] : ((level[j] - level[j - 1]) % top + top) % top);
  }
  for (int j = 0; j <= last;) {
    int zeros = 0;
    while (j + zeros <= last && raw[j + zeros] == 0 && zeros < 19) ++zeros;
    if (zeros >= 4) {
      PutCode(out, codeWidths, static_cast<uint32_t>(top));
      out.Put(static_cast<uint32_t>(zeros - 4), 4);
      j += zeros;
    } else {
      PutCode(out, codeWidths, raw[j++]);
    }
  }
}

}  // namespace acetest
