#include "unace/decoder_support.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "compress/huffman.h"

namespace acetest {
namespace {

int32_t ReadPiece(void* context, uint8_t* buffer, uint32_t size) {
  auto* s = static_cast<PieceSource*>(context);
  size_t n = std::min<size_t>({size, s->piece, s->data->size() - s->position});
  if (n != 0) std::memcpy(buffer, s->data->data() + s->position, n);
  s->position += n;
  return static_cast<int32_t>(n);
}

}  // namespace

ace::PackedSource PieceSource::source() { return ace::PackedSource{&ReadPiece, this}; }

DecodeResult DecodeFile(ace::Lz77Decoder& decoder, const Bytes& packed, uint64_t size,
                        bool continueSolid, size_t piece) {
  PieceSource src{&packed, 0, piece == 0 ? packed.size() + 1 : piece};
  decoder.BeginFile(src.source(), size, continueSolid);
  DecodeResult result;
  for (;;) {
    const uint8_t* data = nullptr;
    size_t n = 0;
    result.status = decoder.Decode(&data, &n);
    if (result.status != ace::DecodeStatus::kOk || n == 0) break;
    if (result.output.size() + n > size) throw std::logic_error("decoder passed the size");
    result.output.insert(result.output.end(), data, data + n);
  }
  return result;
}

void StreamWriter::Put(uint32_t n, uint32_t value) {
  for (uint32_t i = n; i-- > 0;) {
    acc_ = (acc_ << 1) | ((value >> i) & 1);
    if (++count_ == 32) {
      for (int b = 0; b < 4; ++b) bytes_.push_back(static_cast<uint8_t>(acc_ >> (8 * b)));
      acc_ = 0;
      count_ = 0;
    }
  }
}

size_t LastUsed(const std::vector<uint8_t>& widths) {
  size_t last = widths.size() - 1;
  while (last > 0 && widths[last] == 0) --last;
  return last;
}

std::vector<uint32_t> CanonicalCodes(const std::vector<uint8_t>& all, size_t lastSymbol) {
  const std::vector<uint8_t> widths(all.begin(),
                                    all.begin() + static_cast<ptrdiff_t>(lastSymbol) + 1);
  const int last = static_cast<int>(lastSymbol);
  std::vector<uint8_t> keys(widths);
  std::vector<uint16_t> order(widths.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<uint16_t>(i);
  ace::SortWidths(keys.data(), order.data(), last);
  uint32_t count[16] = {};
  for (uint8_t w : widths) ++count[w];
  uint32_t next[16] = {};
  for (int b = 1; b < 16; ++b) next[b] = (next[b - 1] + (b == 1 ? 0 : count[b - 1])) * 2;
  std::vector<uint32_t> codes(widths.size());
  for (int i = last; i >= 0; --i) {
    if (widths[order[i]] != 0) codes[order[i]] = next[widths[order[i]]]++;
  }
  return codes;
}

void StreamWriter::PutCode(const std::vector<uint8_t>& widths, uint32_t symbol, int last) {
  const size_t l = last < 0 ? LastUsed(widths) : static_cast<size_t>(last);
  Put(widths.at(symbol), CanonicalCodes(widths, l).at(symbol));
}

const std::vector<uint8_t>& FixedWidthCode() {
  static const std::vector<uint8_t> widths = {3, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4};
  return widths;
}

void StreamWriter::PutCodeWidths(const std::vector<uint8_t>& widths) {
  const size_t last = LastUsed(widths);
  Put(9, static_cast<uint32_t>(last));
  Put(4, 0);
  Put(4, 12);
  for (uint8_t w : FixedWidthCode()) Put(3, w);
  uint8_t previous = 0;
  for (size_t i = 0; i <= last; ++i) {
    PutCode(FixedWidthCode(), static_cast<uint32_t>((widths[i] + 12 - previous) % 12));
    previous = widths[i];
  }
}

Bytes StreamWriter::Finish() {
  if (count_ != 0) Put(32 - count_, 0);
  return bytes_;
}

}  // namespace acetest
