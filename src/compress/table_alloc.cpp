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
#ifdef __linux__
  // Only whole huge pages are advised: a table's few spare bytes past the last
  // boundary would otherwise make a whole 2 MiB page resident.
  void* p = nullptr;
  if (posix_memalign(&p, kHuge, bytes) != 0) return nullptr;
  madvise(p, bytes / kHuge * kHuge, MADV_HUGEPAGE);
  return p;
#else
  return std::malloc(bytes);
#endif
}

void* AllocateTable(size_t count, size_t elementSize) {
  if (elementSize != 0 && count > SIZE_MAX / elementSize) return nullptr;
  const size_t size = count * elementSize;
  void* p = AllocateBlock(size);
  if (p != nullptr) std::memset(p, 0, size);
  return p;
}

}  // namespace ace
