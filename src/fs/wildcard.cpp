#include "fs/wildcard.h"

namespace ace {

namespace {

bool Matches(char pattern, char text) { return pattern == '?' || pattern == text; }

}  // namespace

int WildcardMatch(const char* text, const char* pattern) {
  // The character after "*" is compared as it stands ("?" excepted), so "**"
  // only matches a literal "*". On a mismatch only the last "*" takes one
  // character more: every "*" before it can match anything the last one
  // leaves over, so going back further finds nothing new. This keeps the
  // work to text length times pattern length where trying every split of
  // every "*" took exponential time.
  const char* afterStar = nullptr;  // the character that follows the last "*"
  const char* retry = nullptr;      // where that character is tried next
  for (;;) {
    if (*pattern == '*') {
      if (pattern[1] == '\0') return 1;
      afterStar = pattern + 1;
      retry = text;
    } else if (*pattern == '\0' && *text == '\0') {
      return 1;
    } else if (*pattern != '\0' && *text != '\0' && Matches(*pattern, *text)) {
      ++pattern;
      ++text;
      continue;
    } else if (afterStar == nullptr) {
      return 0;
    }
    while (*retry != '\0' && !Matches(*afterStar, *retry)) ++retry;
    if (*retry == '\0') return 0;
    text = ++retry;
    pattern = afterStar + 1;
  }
}

}  // namespace ace
