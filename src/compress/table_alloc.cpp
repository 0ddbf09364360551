#include "compress/table_alloc.h"

#include <cstdlib>
#include <cstring>

#ifdef __linux__
#  include <sys/mman.h>
#endif

namespace ace {

void* AllocateBlock(size_t bytes) {
  constexpr size_t kHuge = size_t{2} << 20;
  if (bytes < kHuge) return std::malloc(bytes == 0 ? 1 : bytes);
  if (bytes > SIZE_MAX - kHuge) return nullptr;
  const size_t rounded = (bytes + kHuge - 1) / kHuge * kHuge;
  void* p = std::aligned_alloc(kHuge, rounded);
  if (p == nullptr) return nullptr;
#ifdef __linux__
  madvise(p, rounded, MADV_HUGEPAGE);
#endif
  return p;
}

void* AllocateTable(size_t count, size_t elementSize) {
  if (elementSize != 0 && count > SIZE_MAX / elementSize) return nullptr;
  const size_t size = count * elementSize;
  void* p = AllocateBlock(size);
  if (p != nullptr) std::memset(p, 0, size);
  return p;
}

}  // namespace ace
