// Writing the main header and file headers of a new archive.
#pragma once

#include <cstddef>
#include <cstdint>

#include "format/header_format.h"
#include "fs/file_layer.h"

namespace ace {

// The 22 bytes that fill the main header's advert field.
inline constexpr char kAdvertText[] = "aceplug archive writer";
static_assert(sizeof kAdvertText - 1 == kAdvertSize);

// The 53-byte main header with HEAD_FLAGS = `flags` | 0x1000 (pass kFlagSolid
// for a solid archive) and the given 22-byte advert.
void BuildMainHeader(uint16_t flags, const char* advert, uint8_t out[kMainHeaderWrittenSize]);
// Writes the main header with the plug-in's advert at the target's current
// position. Returns 1; write failures show in the caller's later checks.
int WriteMainHeader(uint16_t flags, FileHandle target);

// Longest file header the writer produces: fixed part, name, COMMENT_SIZE.
inline constexpr size_t kMaxFileHeaderSize =
    kFileFixedSize + kMaxStoredName + kCommentSizeFieldSize;

// Completes a file header whose fields from HEAD_TYPE to the reserved word the
// caller has filled: stores `sourceName` by the stored-name rule (with the
// plug-in's RelativePath and KeepPaths) in the OEM code page, cut to 271
// bytes, and sets NameSize, HeadSize and HeadCrc in `header`. Returns the
// header's length in `out`.
size_t BuildFileHeader(const char* sourceName, FileHeaderFixed& header,
                       uint8_t out[kMaxFileHeaderSize]);
// Builds the header as above and writes it at the target's current position.
// Returns 1; write failures show in the caller's later checks.
int WriteFileHeader(const char* sourceName, FileHeaderFixed& header, FileHandle target);

}  // namespace ace
