#include "crc32.h"

#include <array>
#include <fstream>
#include <vector>

namespace acearc {

namespace {

constexpr std::array<uint32_t, 256> MakeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[i] = c;
  }
  return table;
}

constexpr std::array<uint32_t, 256> kTable = MakeTable();

}  // namespace

uint32_t Crc32Update(uint32_t crc, const void* data, size_t length) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  for (size_t i = 0; i < length; ++i) crc = kTable[(crc ^ bytes[i]) & 0xFFu] ^ (crc >> 8);
  return crc;
}

std::optional<FileCheck> CheckFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  FileCheck check;
  std::vector<char> buffer(1 << 16);
  while (in) {
    in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    size_t got = static_cast<size_t>(in.gcount());
    check.crc = Crc32Update(check.crc, buffer.data(), got);
    check.size += got;
  }
  if (in.bad()) return std::nullopt;
  return check;
}

}  // namespace acearc
