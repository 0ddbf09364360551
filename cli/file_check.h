// The archive's CRC-32 of a file's data (the plug-in's own CRC code), computed by the host to find
// out which entries came out wrong after the plug-in reported a damaged archive: reflected,
// polynomial 0xEDB88320, register started at 0xFFFFFFFF and kept without a final inversion, as the
// file headers store it.
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
