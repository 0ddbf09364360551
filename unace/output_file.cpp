#include "unace/output_file.h"

#include <algorithm>
#include <vector>

namespace ace::unace {
namespace {

std::string Backslashed(const std::string& path) {
  std::string copy = path;
  for (char& c : copy) {
    if (c == '/') c = '\\';
  }
  return copy;
}

bool IsDirectory(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool Exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

OutputProblem CheckOutputName(const std::string& destinationDir, const std::string& outputName,
                              bool directory) {
  const std::string dest = Backslashed(destinationDir);
  std::string rest = Backslashed(outputName);
  if (!dest.empty()) {
    if (rest.compare(0, dest.size(), dest) != 0) return OutputProblem::kOutside;
    rest.erase(0, dest.size());
    if (dest.back() != '\\') {
      if (rest.empty() || rest[0] != '\\') return OutputProblem::kOutside;
      rest.erase(0, 1);
    }
  }
  // A file needs a name of its own; a directory may be the destination itself.
  if (rest.empty() && !directory) return OutputProblem::kOutside;
  const OutputProblem problem = CheckRelativeName(rest);
  if (problem != OutputProblem::kNone) return problem;
  return CheckNoLinks(dest, rest, directory);
}

bool MakeDirectories(const std::string& path) {
  const std::string p = Backslashed(path);
  size_t pos = 0;
  // A leading drive or root is never created.
  if (p.size() >= 2 && p[1] == ':') pos = 2;
  while (pos < p.size() && p[pos] == '\\') ++pos;
  while (pos <= p.size()) {
    size_t end = p.find('\\', pos);
    if (end == std::string::npos) end = p.size();
    if (end > pos) {
      const std::string prefix = p.substr(0, end);
      if (!IsDirectory(prefix)) {
        if (Exists(prefix)) return false;
        if (!CreateDirectoryA(prefix.c_str(), nullptr) && !IsDirectory(prefix)) return false;
      }
    }
    pos = end + 1;
  }
  return true;
}

bool MakeParentDirectories(const std::string& fileName) {
  const std::string p = Backslashed(fileName);
  const size_t sep = p.rfind('\\');
  if (sep == std::string::npos || sep == 0) return true;
  return MakeDirectories(p.substr(0, sep));
}

OutputFile::~OutputFile() { Discard(); }

bool OutputFile::Create(const std::string& target) {
  Discard();
  target_ = target;
  // The temporary name keeps to the platform's length of a name: a long
  // final name is cut before the suffix.
  const size_t sep = Backslashed(target).rfind('\\');
  const size_t nameStart = sep == std::string::npos ? 0 : sep + 1;
  constexpr size_t kSuffixRoom = 12;  // ".$UN" and the attempt number
  const std::string stem =
      target.substr(0, nameStart + std::min(target.size() - nameStart, kMaxNamePart - kSuffixRoom));
  for (int attempt = 0; attempt < 1000; ++attempt) {
    temp_ = stem + ".$UN" + (attempt == 0 ? std::string() : std::to_string(attempt));
    handle_ = CreateFileA(temp_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                          FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (handle_ != INVALID_HANDLE_VALUE) return true;
    if (!Exists(temp_)) break;
  }
  temp_.clear();
  return false;
}

WriteResult OutputFile::Write(const void* data, uint32_t size) {
  if (size == 0) return WriteResult::Ok;
  DWORD written = 0;
  if (!WriteFile(handle_, data, size, &written, nullptr)) return WriteResult::Failed;
  // A full disk shows as a write that stored fewer bytes than asked.
  return written < size ? WriteResult::Short : WriteResult::Ok;
}

bool OutputFile::Commit(uint32_t dosStamp, uint32_t attributes) {
  FILETIME local{};
  FILETIME utc{};
  if (DosDateTimeToFileTime(static_cast<WORD>(dosStamp >> 16), static_cast<WORD>(dosStamp),
                            &local) &&
      LocalFileTimeToFileTime(&local, &utc)) {
    SetFileTime(handle_, &utc, &utc, &utc);
  }
  const bool closed = CloseHandle(handle_) != 0;
  handle_ = INVALID_HANDLE_VALUE;
  if (!closed) {
    Discard();
    return false;
  }
  if (Exists(target_)) {
    if (IsDirectory(target_) || !DeleteFileA(target_.c_str())) {
      Discard();
      return false;
    }
  }
  if (!MoveFileA(temp_.c_str(), target_.c_str())) {
    Discard();
    return false;
  }
  temp_.clear();
  // Only the bits that mean something for a file; the directory bit never.
  SetFileAttributesA(target_.c_str(),
                     attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                   FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE));
  return true;
}

void OutputFile::Discard() {
  if (handle_ != INVALID_HANDLE_VALUE) {
    CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
  }
  if (!temp_.empty()) {
    DeleteFileA(temp_.c_str());
    temp_.clear();
  }
}

}  // namespace ace::unace
