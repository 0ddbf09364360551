#include "unace/decoder/packed_source.h"

#include <cstring>

namespace ace {

namespace {

int32_t ReadMemory(void* context, uint8_t* buffer, uint32_t size) {
  auto* in = static_cast<MemoryInput*>(context);
  size_t left = in->size - in->position;
  size_t n = left < size ? left : size;
  if (n != 0) std::memcpy(buffer, in->data + in->position, n);
  in->position += n;
  return static_cast<int32_t>(n);
}

}  // namespace

PackedSource MemorySource(MemoryInput* input) { return PackedSource{&ReadMemory, input}; }

}  // namespace ace
