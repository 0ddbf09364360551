#include "fs/path_ops.h"

#include <cstring>

namespace ace {

bool CopyText(char* target, size_t size, const char* source) {
  if (size == 0) return false;
  if (source == nullptr) source = "";
  const size_t n = std::strlen(source);
  const size_t m = n < size ? n : size - 1;
  std::memmove(target, source, m);
  target[m] = '\0';
  return m == n;
}

bool AppendText(char* target, size_t size, const char* source) {
  const size_t used = std::strlen(target);
  if (used >= size) return false;
  return CopyText(target + used, size - used, source);
}

}  // namespace ace
