// Where the decoder pulls packed bytes from.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ace {

// A pull source of packed bytes. `read` fills up to `size` bytes and returns how many it gave,
// 0 at the end of the packed data, or a negative value on a read failure. It may return fewer
// bytes than asked at any time (for example at the end of a volume).
struct PackedSource {
  int32_t (*read)(void* context, uint8_t* buffer, uint32_t size) = nullptr;
  void* context = nullptr;
};

// A whole packed buffer in memory as a source. The object must outlive the decoding.
struct MemoryInput {
  const uint8_t* data = nullptr;
  size_t size = 0;
  size_t position = 0;
};

PackedSource MemorySource(MemoryInput* input);

}  // namespace ace
