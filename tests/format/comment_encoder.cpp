#include "format/comment_encoder.h"

#include <algorithm>
#include <set>
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

std::vector<uint8_t> BitWriter::Bytes() const {
  std::vector<uint8_t> out;
  for (uint32_t w : words_) {
    for (int k = 0; k < 4; ++k) out.push_back(static_cast<uint8_t>(w >> (8 * k)));
  }
  return out;
}

std::vector<uint32_t> CanonicalCodes(const std::vector<uint8_t>& widths, int maxwidth) {
  const int last = static_cast<int>(widths.size()) - 1;
  std::vector<uint8_t> keys(widths);
  std::vector<uint16_t> order(widths.size());
  for (int k = 0; k <= last; ++k) order[k] = static_cast<uint16_t>(k);
  ace::SortWidths(keys.data(), order.data(), last);
  int used = 0;
  while (used <= last && keys[used] != 0) ++used;
  if (used < 2) throw std::logic_error("a code needs two symbols");
  std::vector<uint32_t> codes(widths.size(), 0);
  uint32_t filled = 0;
  for (int k = used - 1; k >= 0; --k) {
    const int w = keys[k];
    if (w > maxwidth) throw std::logic_error("width above maxwidth");
    codes[order[k]] = filled >> (maxwidth - w);
    filled += 1u << (maxwidth - w);
  }
  if (filled > (1u << maxwidth)) throw std::logic_error("over-full code");
  return codes;
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
  std::vector<int> raw(widths.size());
  for (int j = 0; j <= last; ++j) {
    raw[j] = j == 0 ? level[0] : ((level[j] - level[j - 1]) % top + top) % top;
  }
  // Width code: symbols 0..top-1 are values, top is a run of 4..19 zeros.
  std::vector<uint8_t> codeWidths(static_cast<size_t>(top) + 1);
  int width = 1;
  while ((1 << width) < top + 1) ++width;
  std::fill(codeWidths.begin(), codeWidths.end(), static_cast<uint8_t>(width));
  const std::vector<uint32_t> code = CanonicalCodes(codeWidths, 7);

  out.Put(static_cast<uint32_t>(last), 9);
  out.Put(static_cast<uint32_t>(low), 4);
  out.Put(static_cast<uint32_t>(top), 4);
  for (uint8_t w : codeWidths) out.Put(w, 3);
  for (int j = 0; j <= last;) {
    int zeros = 0;
    while (j + zeros <= last && raw[j + zeros] == 0 && zeros < 19) ++zeros;
    if (zeros >= 4) {
      out.Put(code[top], width);
      out.Put(static_cast<uint32_t>(zeros - 4), 4);
      j += zeros;
    } else {
      out.Put(code[raw[j]], width);
      ++j;
    }
  }
}

EncodedComment EncodeSymbols(uint32_t length, const std::vector<int>& symbols) {
  std::set<int> used(symbols.begin(), symbols.end());
  if (used.size() < 2) used.insert(*used.begin() == 0 ? 1 : 0);
  const int last = *used.rbegin();
  int width = 1;
  while ((size_t{1} << width) < used.size()) ++width;
  EncodedComment result;
  result.widths.assign(static_cast<size_t>(last) + 1, 0);
  for (int s : used) result.widths[s] = static_cast<uint8_t>(width);
  const std::vector<uint32_t> code = CanonicalCodes(result.widths, 11);

  BitWriter out;
  out.Put(length, 15);
  PutCodeWidths(out, result.widths, width > 1 ? width - 1 : 0);
  result.symbolsStart = out.bits();
  for (int s : symbols) out.Put(code[s], width);
  result.symbols = symbols;
  result.block = out.Bytes();
  return result;
}

EncodedComment EncodeComment(const std::string& text, bool copies) {
  std::vector<int> symbols;
  std::vector<uint16_t> hash(511, 0);
  const auto* t = reinterpret_cast<const uint8_t*>(text.data());
  const size_t n = text.size();
  size_t p = 0;
  size_t m = 0;
  while (p < n) {
    if (p > 1) {
      const int h = t[p - 2] + t[p - 1];
      m = hash[h];
      hash[h] = static_cast<uint16_t>(p);
    }
    size_t length = 0;
    if (copies && p > 1) {
      while (length < 28 && p + length < n && t[m + length] == t[p + length]) ++length;
    }
    if (length >= 2) {
      symbols.push_back(static_cast<int>(254 + length));
      p += length;
      m += length;
    } else {
      symbols.push_back(t[p]);
      ++p;
    }
  }
  if (symbols.empty()) symbols.push_back(0);
  return EncodeSymbols(static_cast<uint32_t>(n), symbols);
}

}  // namespace acetest
