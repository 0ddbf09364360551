// A file's size and CRC-32 as a file header stores them (the plug-in's own CRC code: register
// started at 0xFFFFFFFF, no final inversion). The host computes them to find out which entries came
// out wrong after the plug-in reported a damaged archive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace acearc {

struct FileCheck {
  uint64_t size = 0;
  uint32_t crc = 0xFFFFFFFFu;
};

// Size and CRC of a file; nullopt when it cannot be read.
std::optional<FileCheck> CheckFile(const std::filesystem::path& path);

}  // namespace acearc
