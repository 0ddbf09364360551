// Whole-file decoding for the decoder tests, with the output taken in chunks
// and the packed bytes handed out in pieces.
#pragma once

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "support/test_support.h"
#include "unace/decoder/lz77_decoder.h"

namespace acetest {

struct DecodeResult {
  ace::DecodeStatus status = ace::DecodeStatus::kOk;
  Bytes output;
};

// Decodes one file's packed data completely, handing out at most `piece`
// packed bytes per read (0: all at once). Throws if the decoder hands out
// more than `size` bytes.
inline DecodeResult DecodeFile(ace::Lz77Decoder& decoder, const Bytes& packed, uint64_t size,
                               bool continueSolid = false, size_t piece = 0) {
  struct Source {
    const Bytes* data;
    size_t position, piece;
  } src{&packed, 0, piece == 0 ? packed.size() + 1 : piece};
  auto read = [](void* context, uint8_t* buffer, uint32_t count) -> int32_t {
    auto* s = static_cast<Source*>(context);
    const size_t n = std::min<size_t>({count, s->piece, s->data->size() - s->position});
    if (n != 0) std::memcpy(buffer, s->data->data() + s->position, n);
    s->position += n;
    return static_cast<int32_t>(n);
  };
  decoder.BeginFile(ace::PackedSource{read, &src}, size, continueSolid);
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

}  // namespace acetest
