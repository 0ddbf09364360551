// Allocation of the match finders' large tables.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ace {

// `bytes` of uninitialised memory, freed with std::free; null when out of
// memory. Blocks of 2 MiB and more are read at random by the match finders: on
// Linux they are aligned to and advised onto huge pages so that each step of a
// walk does not also miss the TLB.
void* AllocateBlock(size_t bytes);

// Zero-filled like calloc, freed with std::free.
void* AllocateTable(size_t count, size_t elementSize);

template <typename T>
T* AllocateTable(size_t count) {
  return static_cast<T*>(AllocateTable(count, sizeof(T)));
}

}  // namespace ace
