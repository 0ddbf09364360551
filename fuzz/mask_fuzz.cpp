// libFuzzer target for file masks on arbitrary text: the plug-in's mask list
// (splitting, the fixed-size fields, the path written back into a buffer of
// any size) and its matcher, and the extraction library's file list, which
// must select the same names by the same rules. The wildcard matcher must
// agree with the rule written as plainly as possible, on short texts where
// that takes no time.
//
// Input: masks separated by carriage returns, a NUL, then the name to match
// (without a NUL the whole input is both the mask text and the name).
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "fs/masks.h"
#include "fs/wildcard.h"
#include "unace/file_list.h"

namespace {

// Below the plug-in's 255-character fields both matchers see whole parts and
// must agree; longer parts are cut by the plug-in only.
constexpr size_t kComparable = 200;

// "*" followed by one character compared as it stands ("?" excepted), every
// split tried: exponential in the number of "*", so only for short texts.
bool PlainMatch(const char* text, const char* pattern) {
  if (*pattern == '\0') return *text == '\0';
  if (*pattern == '*') {
    if (pattern[1] == '\0') return true;
    for (const char* t = text; *t != '\0'; ++t) {
      if ((*t == pattern[1] || pattern[1] == '?') && PlainMatch(t + 1, pattern + 2)) return true;
    }
    return false;
  }
  return *text != '\0' && (*pattern == '?' || *pattern == *text) &&
         PlainMatch(text + 1, pattern + 1);
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> items;
  size_t start = 0;
  for (;;) {
    const size_t end = text.find('\r', start);
    items.push_back(text.substr(start, end - start));
    if (end == std::string::npos) return items;
    start = end + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t nul = input.find('\0');
  const std::string masks = input.substr(0, nul);
  std::string name = nul == std::string::npos ? input : input.substr(nul + 1);
  name = name.substr(0, name.find('\0'));

  FileMaskList list;
  InitFileMaskList(&list);
  for (const std::string& mask : Split(masks)) {
    FileMaskList one;
    InitFileMaskList(&one);
    AppendFileMask(mask.c_str(), &one);
    AppendFileMask(mask.c_str(), &list);
    const bool plugin = ace::MatchesMaskList(name.c_str(), &one) != 0;
    // The library reads "\n" as nothing and an empty text as every name.
    const bool comparable = !mask.empty() && mask.find('\n') == std::string::npos &&
                            mask.size() < kComparable && name.size() < kComparable;
    if (comparable && plugin != ace::unace::FileList(mask.c_str()).Selects(name)) {
      __builtin_trap();
    }
    if (mask.size() <= 20 && name.size() <= 20 &&
        (ace::WildcardMatch(name.c_str(), mask.c_str()) != 0) !=
            PlainMatch(name.c_str(), mask.c_str())) {
      __builtin_trap();
    }
    // The path of a node, written back into buffers of every small size.
    char path[600];
    for (size_t room = 1; room <= 16; ++room) ace::MaskNodePath(one.First, path, room);
    ace::MaskNodePath(one.First, path, sizeof path);
    DoneFileMaskList(&one);
  }
  // Only the sanitizers judge these two: no simpler model of their rules exists here.
  static_cast<void>(ace::MatchesMaskList(name.c_str(), &list));
  static_cast<void>(ace::unace::FileList(masks.c_str()).Selects(name));
  DoneFileMaskList(&list);
  return 0;
}
