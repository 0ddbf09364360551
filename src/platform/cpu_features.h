// What the processor offers beyond the baseline instruction set, detected once
// at run time so that one build serves old and new machines alike. Header-only,
// so that every module that compiles code needing it (the plug-in, the
// extraction library, acearc) gets it without another source file.
#pragma once

#if defined(_MSC_VER) && (defined(_M_X64) || defined(_M_IX86))
#  include <intrin.h>
#endif

namespace platform {

struct CpuFeatures {
  bool clmul = false;  // carry-less multiply (x86 PCLMULQDQ)
};

inline CpuFeatures DetectCpu() {
  CpuFeatures f;
#if (defined(__GNUC__) || defined(__clang__)) && (defined(__x86_64__) || defined(__i386__))
  __builtin_cpu_init();
  f.clmul = __builtin_cpu_supports("pclmul");
#elif defined(_MSC_VER) && (defined(_M_X64) || defined(_M_IX86))
  int regs[4] = {};
  __cpuid(regs, 1);
  f.clmul = (regs[2] & (1 << 1)) != 0;
#endif
  return f;
}

// All false on processors this file does not know how to ask.
inline const CpuFeatures& Cpu() {
  static const CpuFeatures features = DetectCpu();
  return features;
}

}  // namespace platform
