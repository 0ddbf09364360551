// The temporary archive that every change writes: opening it beside the old
// archive, copying stretches of the old archive into it, and putting it in
// the old one's place.
#pragma once

#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

// Names a fresh temporary archive beside the archive (`temp`, kPathField
// bytes) and opens it for writing as TargetHandle. A failure leaves 5.
[[nodiscard]] bool OpenTempArchive(char* temp);
// OpenTempArchive, then every entry of the old archive listed into
// `entries`. A failure leaves 5 or the listing's status, and neither a list
// nor a temporary archive.
[[nodiscard]] bool OpenTempArchiveListing(char* temp, ArcFileList* entries);
// Opens the old archive as ArchiveHandle (left open for the raw copies that
// follow; the caller closes it) and copies its leading part and main header.
// A failure leaves 5 or 101.
[[nodiscard]] bool OpenArchiveCopyingLeadingPart();
// The start of a rebuilt archive: OpenTempArchive, the old archive's leading
// part and main header copied into it (the old archive closed again), and the
// compressor set up. A failure leaves its status (8 for the compressor) and
// no temporary archive.
[[nodiscard]] bool StartRebuiltArchive(char* temp);

// Copies `length` bytes from `position` of ArchiveHandle to TargetHandle in
// pieces of at most 16,000 bytes. A failed read or write leaves 5, a short
// write 101; false then.
bool CopyRawRange(int64_t position, int64_t length);
// Copies the part in front of the main header and the main header itself
// (MainHeaderPos + MainHeaderSize bytes from 0) in pieces of at most 6,000.
[[nodiscard]] bool CopyLeadingPart();

// Closes TargetHandle and puts the temporary archive in place; a failed close
// leaves 5 and deletes the temporary archive instead.
void CloseAndPutInPlace(const char* tempArchive);

// Renames the archive to a backup name, deletes whatever then stands under the
// archive name, renames the temporary archive to it, and deletes the backup. A failure leaves 5,
// deletes the temporary archive and restores the old archive under its name.
void PutArchiveInPlace(const char* tempArchive);

// Closes TargetHandle (when open) and deletes the temporary archive.
void DiscardTempArchive(const char* tempArchive);

}  // namespace ace
