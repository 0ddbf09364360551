// FileMaskList: masks split into directory, base name and extension, and the
// matcher that selects names with them.
//
// Length limits: the directory string is kept whole; a base name or an
// extension longer than 255 characters is cut to fit its field. Names handed
// to the matcher are looked at up to 2047 characters, their base names and
// extensions up to 255; nothing is ever written outside a field.
#pragma once

#include <cstddef>

#include "aceplug/aceplug.h"

namespace ace {

// Internal forms of the exports (same behaviour, callable without the C ABI).
// AppendMask turns "/" into "\"; without memory it leaves status 8
// (AR_NO_MEMORY), returns 0 and leaves the list unchanged. Arguments must
// not be null (the exports check).
void InitMaskList(FileMaskList* list);
[[nodiscard]] int AppendMask(const char* mask, FileMaskList* list);
void DoneMaskList(FileMaskList* list);

// 1 when a node selects `name` ("/" or "\", any case); an empty list selects all.
[[nodiscard]] int MatchesMaskList(const char* name, const FileMaskList* list);
[[nodiscard]] int MatchesMask(const char* upperName, const FileMaskNode* node);

// The node's path: directory + base name + ("." + extension when not empty),
// into `target` of `size` bytes; false when it had to be cut.
bool MaskNodePath(const FileMaskNode* node, char* target, size_t size);

}  // namespace ace
