// Building lists of archive entries. Entries and their comments come from
// std::calloc and are released only by DoneArcFileList.
#pragma once

#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

// A zeroed entry, or null when memory runs out.
ArcFileEntry* NewArcFileEntry();
// A zeroed comment block with room for `length` bytes of text and a
// terminator (length + 255 bytes), or null. Store it with CommentLength set to
// `length`.
char* NewEntryComment(int32_t length);
// Links `entry` at the end of `list` in archive order.
void AppendArcFileEntry(ArcFileList* list, ArcFileEntry* entry);

}  // namespace ace
