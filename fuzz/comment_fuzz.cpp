// libFuzzer target for the comment decoder: any block must decode to a
// NUL-terminated text of at most 32,767 bytes or be refused, without reading
// or writing outside its buffers.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "format/comment_decoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static std::vector<char> text(ace::kCommentTextSize);
  int32_t length = -1;
  if (ace::DecodeCommentBytes(data, size, text.data(), &length) != 0) {
    if (length < 0 || length > 32767 || text[static_cast<size_t>(length)] != '\0') __builtin_trap();
  }
  return 0;
}
