#include "alloc_counter.h"

#include <malloc.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace {

size_t g_current = 0;
size_t g_peak = 0;
size_t g_traceFrom = 0;  // 0: no trace

void Add(void* p, size_t asked) {
  if (p == nullptr) return;
  const size_t usable = malloc_usable_size(p);
  g_current += usable;
  if (g_current > g_peak) g_peak = g_current;
  if (g_traceFrom != 0 && asked >= g_traceFrom) {
    // No stdio here: it may allocate.
    char line[96];
    int n = 0;
    const char* text = "heap: block of ";
    while (text[n]) line[n] = text[n], ++n;
    auto put = [&](size_t v) {
      char digits[24];
      int k = 0;
      do digits[k++] = static_cast<char>('0' + v % 10);
      while ((v /= 10) != 0);
      while (k) line[n++] = digits[--k];
    };
    put(asked);
    for (const char* t = " bytes (usable "; *t;) line[n++] = *t++;
    put(usable);
    line[n++] = ')';
    line[n++] = '\n';
    if (write(2, line, static_cast<size_t>(n)) < 0) g_traceFrom = 0;
  }
}

// Aligned blocks: glibc maps alignment slack along with them and reports it as
// usable, so they count at the size asked for, which they keep here. Few
// exist at a time.
struct AlignedBlock {
  void* p;
  size_t size;
};
AlignedBlock g_aligned[256];

size_t SizeOf(void* p) {
  for (auto& b : g_aligned) {
    if (b.p == p) return b.size;
  }
  return malloc_usable_size(p);
}

void Remove(void* p) {
  if (p == nullptr) return;
  g_current -= SizeOf(p);
  for (auto& b : g_aligned) {
    if (b.p == p) b.p = nullptr;
  }
}

void AddAligned(void* p, size_t size) {
  if (p == nullptr) return;
  for (auto& b : g_aligned) {
    if (b.p == nullptr) {
      b = {p, size};
      g_current += size;
      if (g_current > g_peak) g_peak = g_current;
      return;
    }
  }
  Add(p, size);  // table full: count it as usable
}

}  // namespace

namespace bench {

#ifdef ACE_BENCH_NO_ALLOC_HOOK
bool AllocCounterActive() { return false; }
#else
bool AllocCounterActive() { return true; }
#endif
size_t AllocCurrent() { return g_current; }
size_t AllocResetPeak() { return g_peak = g_current; }
size_t AllocPeak() { return g_peak; }
void AllocTrace(size_t fromBytes) { g_traceFrom = fromBytes; }

}  // namespace bench

#ifndef ACE_BENCH_NO_ALLOC_HOOK
// glibc's allocator under its internal names; the wrappers below take the
// public names for the whole program.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* p, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* p);

void* malloc(size_t size) noexcept {
  void* p = __libc_malloc(size);
  Add(p, size);
  return p;
}

void* calloc(size_t count, size_t size) noexcept {
  void* p = __libc_calloc(count, size);
  Add(p, count * size);
  return p;
}

void* realloc(void* old, size_t size) noexcept {
  if (old != nullptr && size == 0) {  // glibc frees the block and returns null
    free(old);
    return nullptr;
  }
  const size_t before = old != nullptr ? SizeOf(old) : 0;
  void* p = __libc_realloc(old, size);
  if (p == nullptr) return nullptr;  // the old block stays
  if (old != nullptr) {
    for (auto& b : g_aligned) {
      if (b.p == old) b.p = nullptr;
    }
  }
  g_current -= before;
  Add(p, size);
  return p;
}

void free(void* p) noexcept {
  Remove(p);
  __libc_free(p);
}

void* memalign(size_t alignment, size_t size) noexcept {
  void* p = __libc_memalign(alignment, size);
  AddAligned(p, size);
  return p;
}

void* aligned_alloc(size_t alignment, size_t size) noexcept { return memalign(alignment, size); }

int posix_memalign(void** out, size_t alignment, size_t size) noexcept {
  if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0) return EINVAL;
  void* p = memalign(alignment, size);
  if (p == nullptr) return ENOMEM;
  *out = p;
  return 0;
}

void* valloc(size_t size) noexcept { return memalign(4096, size); }
}
#endif
