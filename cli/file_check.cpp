#include "file_check.h"

#include <fstream>
#include <vector>

#include "format/crc32.h"

namespace acearc {

std::optional<FileCheck> CheckFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  FileCheck check;
  std::vector<char> buffer(1 << 16);
  while (in) {
    in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    size_t got = static_cast<size_t>(in.gcount());
    check.crc = ace::Crc32Update(check.crc, buffer.data(), got);
    check.size += got;
  }
  if (in.bad()) return std::nullopt;
  return check;
}

}  // namespace acearc
