// Code widths and canonical code assignment shared by the block coder, the
// optimal engine's prices, the comment decoder and the LZ77 decoder.
#pragma once

#include <cstdint>

namespace ace {

// Orders positions 0..last by decreasing width with the format's own
// quicksort. The order among equal widths is part of the format (codes are
// handed out by it), so the procedure, comparisons included, is fixed; it is
// not stable. `keys` holds the widths and is sorted in place together with
// `symbols`, which the caller fills with 0..last.
void SortWidths(uint8_t* keys, uint16_t* symbols, int last);

}  // namespace ace
