// The order in which the format hands out Huffman codes. Every side that
// turns widths into codes (the compressor's code builder, the comment decoder,
// the LZ77 decoder) must follow it exactly; it lives apart from the
// compressor's code building, since the extraction library takes it alone.
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
