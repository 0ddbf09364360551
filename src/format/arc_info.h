// The archive summary (ArcInfo) that the host reads after a listing.
#pragma once

#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

// HOST_CREATED of the archive in the host's numbering.
uint32_t MapHostSystem(int32_t hostOS);
// The dictionary the summary counts for an entry: 128..1024 KB for codes 7..10,
// 64 KB for any other code.
uint32_t SummaryDictionaryKB(uint32_t code);
// packed x 100 / unpacked in percent; both halve while packed is at least
// 20,971,520 so that the product stays in 32 bits. 0 when unpacked is 0.
uint32_t CompressionRatio(uint64_t packed, uint64_t unpacked);

// Fills `info` from the open archive's facts and the list's counted entries
// (file headers that are not directories), whose HostOS fields get the mapped
// code.
void ComputeArcInfo(ArcFileList* list, ArcInfo* info);

}  // namespace ace
