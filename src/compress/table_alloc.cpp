#include "compress/table_alloc.h"

#include <cstdlib>
#include <cstring>

#ifdef __linux__
#  include <sys/mman.h>
#endif

namespace ace {

void* AllocateTable(size_t count, size_t elementSize) {
#ifndef __linux__
  // No huge-page advice to give elsewhere (and Windows has no aligned_alloc
  // whose memory std::free releases).
  return std::calloc(count, elementSize);
#else
  constexpr size_t kHuge = size_t{2} << 20;
  if (elementSize != 0 && count > SIZE_MAX / elementSize) return nullptr;
  const size_t size = count * elementSize;
  if (size < kHuge) return std::calloc(count, elementSize);
  const size_t rounded = (size + kHuge - 1) / kHuge * kHuge;
  void* p = std::aligned_alloc(kHuge, rounded);
  if (p == nullptr) return nullptr;
  madvise(p, rounded, MADV_HUGEPAGE);
  std::memset(p, 0, size);
  return p;
#endif
}

}  // namespace ace
