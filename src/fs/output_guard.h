// Checks on the names that extraction turns into files. A stored name comes
// from whoever made the archive, so before anything is written its name must
// stay below the output folder, hold no "." or ".." part, fit the platform's
// limits, and reach its place without passing through a symbolic link.
// Shared by the plug-in, which chooses output names, and the extraction
// library, which writes them, so that any host of either is protected.
#pragma once

#include <string>
#include <string_view>

namespace ace {

enum class OutputProblem {
  kNone,
  kOutside,  // absolute, a drive, or a ".." part
  kDotPart,  // a "." part ("a\.")
  kTooLong,  // a part over kMaxNamePart bytes, or more than the name buffer holds
  kLink,     // a folder on the way is a symbolic link
};

inline constexpr size_t kMaxNamePart = 255;  // bytes in one file or folder name

// The problem with `relative` ("\" or "/" between parts) as a name below the
// output folder. An empty name is the output folder itself.
OutputProblem CheckRelativeName(std::string_view relative);

// kLink when a folder of `relative` that exists below `root` is a symbolic
// link; for a file (`directory` false) its own name is not a folder and is
// left out, since a link there is replaced, never written through.
OutputProblem CheckNoLinks(const std::string& root, std::string_view relative, bool directory);

// Control characters (below 0x20, and 0x7F) become kControlReplacement so
// that a name cannot put them into a file name.
inline constexpr char kControlReplacement = '_';
void ReplaceControlCharacters(char* text);
void ReplaceControlCharacters(std::string& text);

// A few words on the problem for the host: "the name leads outside the output folder".
const char* OutputProblemText(OutputProblem problem);

}  // namespace ace
