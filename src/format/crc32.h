// The reflected CRC-32 (polynomial 0xEDB88320) without inversions: callers
// start from 0xFFFFFFFF and keep the register as it ends. Headers check the
// low 16 bits of it; file headers store it whole.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ace {

inline constexpr uint32_t kCrcInit = 0xFFFFFFFFu;

// The standard table of 256 values (also the optimal engine's hash source).
extern const uint32_t kCrcTable[256];

// A length of 0 returns `crc` unchanged; a null buffer returns 0.
uint32_t Crc32Update(uint32_t crc, const void* bytes, size_t length);

}  // namespace ace
