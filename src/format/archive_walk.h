// Walking an archive's headers from FirstHeaderPos: every operation that needs
// the entries of the open archive (listing, test, extract, update, delete,
// directory entries) builds its ArcFileList here.
#pragma once

#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

inline constexpr int kEntryNameField = 272;  // ArcFileEntry::Name

// Builds `list` from the archive at ArchivePath: the list is emptied first
// (the caller releases an old one), the archive is opened, walked from
// FirstHeaderPos and closed. File headers are kept when their upper-cased name
// matches `masks` (every one when `masks` is null); recovery-record headers are
// always kept. Entries carry ANSI names (directories end with "\"), HostOS 0,
// and file comments only when ReadFileComments is 1.
// Status afterwards: 0, 5 (archive cannot be opened, or a read or seek failed
// inside it: an I/O error is never taken for the end), 8 (no memory for an
// entry) or 9964 (a header of an unknown type, or one whose HEAD_SIZE does not
// cover its own fields); the entries before a failure stay in the list. A
// status that is not 0 before the call ends the walk at once (empty list,
// status 0). Returns 1 when the status is 0 at the end.
int WalkArchive(ArcFileList* list, const FileMaskList* masks);

// Reads the header at ReadPos of the open ArchiveHandle into `staging` (zeroed
// by the caller) and advances ReadPos past it and its added data. The name is
// converted to ANSI and cut to fit the field; `nameOut` (kEntryNameField
// bytes, may be null) gets a copy. Returns 1 when a header was read, 0 at the
// end of the archive (status 0), on a bad header (status 9964) or when a read
// or seek fails inside the file (status 5). A header cut short by the end of
// the file after its type byte is still handed on with status 5, and the next
// call ends the walk with status 0; one that ends before its type byte has
// type 0 and ends the walk with 9964.
int ReadNextHeader(ArcFileEntry* staging, char* nameOut);

}  // namespace ace
