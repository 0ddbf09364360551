#include "fs/wildcard.h"

namespace ace {

int WildcardMatch(const char* text, const char* pattern) {
  for (;;) {
    if (*pattern == '\0') return *text == '\0' ? 1 : 0;
    if (*pattern == '*') {
      const char c = pattern[1];
      if (c == '\0') return 1;
      // The character after "*" is compared as it stands ("?" excepted), so
      // "**" only matches a literal "*".
      for (const char* t = text; *t != '\0'; ++t) {
        if ((*t == c || c == '?') && WildcardMatch(t + 1, pattern + 2)) return 1;
      }
      return 0;
    }
    if (*text == '\0') return 0;
    if (*pattern != '?' && *pattern != *text) return 0;
    ++text;
    ++pattern;
  }
}

}  // namespace ace
