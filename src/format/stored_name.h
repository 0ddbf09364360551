// The name under which a file is stored in an archive.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ace {

// Turns the path under which a file was found into its stored name (still in
// the ANSI code page): "/" becomes "\"; a network prefix (\\server\share\), a
// leading "\", a drive ("C:" and the "\" after it) and then one leading "..\"
// are removed; a non-empty `relativePath` is put in front with a "\"; with
// `keepPaths` 0 only the file name stays, and a bare "." at its end is
// dropped. The result is cut to `targetSize` - 1 bytes.
void MakeStoredName(const char* sourceName, const char* relativePath, int32_t keepPaths,
                    char* target, size_t targetSize);

}  // namespace ace
