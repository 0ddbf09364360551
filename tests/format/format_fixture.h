// Shared by the format tests: a plug-in state reset around every test,
// opening and listing archives through the exports, and a writer of
// compressed comment blocks.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "plugin/state.h"
#include "support/ace_builder.h"

namespace acetest {

struct EncodedComment {
  Bytes block;                  // starts with the 15-bit length
  std::vector<uint8_t> widths;  // the main code's widths as sent
  size_t symbolsStart = 0;      // bit position of the first main symbol
};
// Writes the given main symbols under a code of equal widths for the symbols
// used, announcing `length` as the text length.
EncodedComment EncodeSymbols(uint32_t length, const std::vector<int>& symbols);
// Encodes `text` (at most 32,767 bytes). With `copies`, repeats that the
// decoder's two-byte hash points at become copy symbols.
EncodedComment EncodeComment(const std::string& text, bool copies);
inline Bytes Comment(const std::string& text) { return EncodeComment(text, true).block; }

// A listing copied out of the host's list (links and comment pointers cleared).
struct Listed {
  uint16_t status = 0;
  std::vector<ArcFileEntry> entries;
  std::vector<std::string> comments;
  std::vector<std::string> names() const;
  uint64_t packed(size_t i) const;
};
// BuildArcFileList on the open archive with the given masks.
Listed ListArchive(const std::vector<std::string>& masks = {"*.*"});

class FormatTest : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }
  static void Reset() {
    DoneArcFile();
    ace::State().Comp = CompOptions{};
  }
  // The host's way of choosing whether stored names keep their directories.
  static void SetKeepPaths(int32_t keep) {
    CompOptions options{};
    options.KeepPaths = keep;
    SetCompExtraFeatures(&options);
  }
  uint16_t Open(const Bytes& archive) {
    DoneArcFile();
    WriteFileBytes(dir_ / "test.ace", archive);
    InitArcFile((dir_ / "test.ace").c_str());
    return GetArchiveStatus();
  }
  static ArcInfo Info() {
    ArcInfo info;
    std::memset(&info, 0xCC, sizeof info);
    GetExtraInfoArc(&info);
    return info;
  }
  TempDir dir_;
};

}  // namespace acetest
