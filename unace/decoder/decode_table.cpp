#include "unace/decoder/decode_table.h"

#include <algorithm>

#include "format/width_order.h"

namespace ace {

bool MakeDecodeTable(uint32_t bits, uint32_t last, uint8_t* widths, uint16_t* table) {
  uint8_t keys[lz77::kMainSymbols];
  uint16_t symbols[lz77::kMainSymbols];
  if (last >= lz77::kMainSymbols) return false;
  for (uint32_t i = 0; i <= last; ++i) {
    keys[i] = widths[i];
    symbols[i] = static_cast<uint16_t>(i);
  }
  SortWidths(keys, symbols, static_cast<int>(last));

  uint32_t used = 0;
  while (used <= last && keys[used] != 0) ++used;
  if (used < 2) {
    widths[symbols[0]] = 1;
    used = 1;
  }

  const uint32_t size = 1u << bits;
  uint32_t filled = 0;
  for (uint32_t i = used; i-- > 0 && filled < size;) {
    const uint32_t w = keys[i];
    if (w > bits) return false;
    const uint32_t span = 1u << (bits - w);
    if (span > size - filled) return false;
    const uint16_t entry = MakeEntry(symbols[i], widths[symbols[i]]);
    std::fill(table + filled, table + filled + span, entry);
    filled += span;
  }
  // The rest reads as symbol 0. Its width cannot exceed `bits` here: a used symbol 0 went through
  // the checks above.
  const uint16_t rest = MakeEntry(0, std::min<uint32_t>(widths[0], bits));
  std::fill(table + filled, table + size, rest);
  return true;
}

bool ReadCodeWidths(BitReader& in, uint32_t maxSymbol, uint8_t* widths, uint16_t* table) {
  std::fill(widths, widths + maxSymbol + 1, uint8_t{0});
  uint32_t last = in.Read(9);
  if (last > maxSymbol) last = maxSymbol;
  const uint32_t low = in.Read(4);
  const uint32_t top = in.Read(4);

  uint8_t codeWidths[16];
  for (uint32_t k = 0; k <= top; ++k) codeWidths[k] = static_cast<uint8_t>(in.Read(3));
  uint16_t widthTable[1u << kWidthTableBits];
  if (!MakeDecodeTable(kWidthTableBits, top, codeWidths, widthTable)) return false;

  // Symbols below `top` are widths (deltas); `top` itself starts a run of zero widths.
  uint32_t j = 0;
  while (j <= last) {
    const uint16_t entry = widthTable[in.Peek(kWidthTableBits)];
    in.Skip(EntryWidth(entry));
    const uint32_t c = EntrySymbol(entry);
    if (c < top) {
      widths[j++] = static_cast<uint8_t>(c);
    } else {
      uint32_t run = in.Read(4) + 4;
      while (run-- > 0 && j <= last) widths[j++] = 0;
    }
  }
  if (top != 0 && last != 0) {
    for (j = 1; j <= last; ++j) widths[j] = static_cast<uint8_t>((widths[j - 1] + widths[j]) % top);
  }
  for (j = 0; j <= last; ++j) {
    if (widths[j] != 0) widths[j] = static_cast<uint8_t>(widths[j] + low);
  }
  return MakeDecodeTable(kTableBits, last, widths, table);
}

}  // namespace ace
