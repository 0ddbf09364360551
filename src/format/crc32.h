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

// A length of 0 returns `crc` unchanged; a null buffer returns 0. Runs the
// fastest of the ways below that the processor offers.
uint32_t Crc32Update(uint32_t crc, const void* bytes, size_t length);

// The ways of computing it, each giving the same register: a byte at a time,
// sixteen bytes at a time through tables (any processor), and folding with
// carry-less multiplication (x86 with PCLMULQDQ).
enum class CrcMethod { kBytewise, kSliced, kCarryless };

// False when this processor (or build) cannot run `method`.
bool CrcMethodAvailable(CrcMethod method);
// Crc32Update through the given method, which must be available.
uint32_t Crc32UpdateWith(CrcMethod method, uint32_t crc, const void* bytes, size_t length);

}  // namespace ace
