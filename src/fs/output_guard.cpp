#include "fs/output_guard.h"

#include "platform/win32.h"

namespace ace {
namespace {

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

// Calls `visit(part, endOfPart)` for each part between separators; stops
// early when it returns a problem.
template <typename Visit>
OutputProblem ForEachPart(std::string_view name, Visit visit) {
  size_t start = 0;
  while (start <= name.size()) {
    size_t end = start;
    while (end < name.size() && !IsSeparator(name[end])) ++end;
    const OutputProblem problem = visit(name.substr(start, end - start), end);
    if (problem != OutputProblem::kNone) return problem;
    start = end + 1;
  }
  return OutputProblem::kNone;
}

}  // namespace

OutputProblem CheckRelativeName(std::string_view relative) {
  if (relative.empty()) return OutputProblem::kNone;
  if (IsSeparator(relative[0])) return OutputProblem::kOutside;
  if (relative.size() >= 2 && relative[1] == ':') return OutputProblem::kOutside;
  return ForEachPart(relative, [](std::string_view part, size_t) {
    if (part == "..") return OutputProblem::kOutside;
    if (part == ".") return OutputProblem::kDotPart;
    if (part.size() > kMaxNamePart) return OutputProblem::kTooLong;
    return OutputProblem::kNone;
  });
}

OutputProblem CheckNoLinks(const std::string& root, std::string_view relative, bool directory) {
  std::string path = root;
  if (!path.empty() && !IsSeparator(path.back())) path.push_back('\\');
  const size_t base = path.size();
  return ForEachPart(relative, [&](std::string_view part, size_t end) {
    const bool last = end == relative.size();
    if (part.empty() || (last && !directory)) return OutputProblem::kNone;
    path.resize(base);
    path.append(relative.substr(0, end));
    // The attributes describe the link itself, whatever it points at.
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
      return OutputProblem::kLink;
    }
    return OutputProblem::kNone;
  });
}

void ReplaceControlCharacters(char* text) {
  for (; *text != '\0'; ++text) {
    if (IsControl(*text)) *text = kControlReplacement;
  }
}

void ReplaceControlCharacters(std::string& text) {
  for (char& c : text) {
    if (IsControl(c)) c = kControlReplacement;
  }
}

const char* OutputProblemText(OutputProblem problem) {
  switch (problem) {
    case OutputProblem::kNone:
      return "";
    case OutputProblem::kOutside:
      return "the name leads outside the output folder";
    case OutputProblem::kDotPart:
      return "the name has a \".\" part";
    case OutputProblem::kTooLong:
      return "the name is too long";
    case OutputProblem::kLink:
      return "a folder on its path is a symbolic link";
  }
  return "";
}

}  // namespace ace
