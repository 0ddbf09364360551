#include "format/arc_info.h"

#include <cstring>

#include "plugin/state.h"

namespace ace {
namespace {

constexpr uint32_t kHostSystems[12] = {1, 2, 3, 5, 6, 4, 1, 6, 8, 9, 10, 11};
constexpr uint64_t kRatioLimit = 20971520;

uint64_t U64(const AceUInt64& v) { return static_cast<uint64_t>(v.High) << 32 | v.Low; }

void SetU64(AceUInt64& field, uint64_t value) {
  field.Low = static_cast<uint32_t>(value);
  field.High = static_cast<uint32_t>(value >> 32);
}

}  // namespace

uint32_t MapHostSystem(int32_t hostOS) {
  return hostOS >= 0 && hostOS < 12 ? kHostSystems[hostOS] : 1;
}

uint32_t SummaryDictionaryKB(uint32_t code) {
  return code >= 7 && code <= 10 ? 128u << (code - 7) : 64u;
}

uint32_t CompressionRatio(uint64_t packed, uint64_t unpacked) {
  while (packed >= kRatioLimit) {
    packed >>= 1;
    unpacked >>= 1;
  }
  return unpacked == 0 ? 0 : static_cast<uint32_t>(packed * 100 / unpacked);
}

void ComputeArcInfo(ArcFileList* list, ArcInfo* info) {
  const PluginState& s = State();
  std::memset(info, 0, sizeof *info);
  info->FormatCode = 12;
  info->Solid = s.IsSolid ? 1 : 0;
  const uint32_t host = MapHostSystem(s.HostOS);
  info->HostSystem = host;
  info->MajorVersion = static_cast<uint32_t>(s.ExtractVersion / 10);
  info->MinorVersion = static_cast<uint32_t>(s.ExtractVersion % 10);

  uint64_t packed = 0;
  uint64_t unpacked = 0;
  for (ArcFileEntry* e = list->First; e != nullptr; e = e->Next) {
    if (e->IsFile != 1 || (e->Attributes & 0x10) != 0) continue;
    e->HostOS = host;
    packed += U64(e->PackedSize);
    unpacked += U64(e->UnpackedSize);
    if (e->IsEncrypted == 1) info->Encrypted = 1;
    if (e->CommentLength > 0) info->CommentFlags = 2;
    const uint32_t dictionary = SummaryDictionaryKB(e->DictionaryCode);
    if (dictionary > info->LargestDictionary) info->LargestDictionary = dictionary;
    ++info->FileCount;
  }
  if (s.MainCommentLength > 0) info->CommentFlags |= 1;
  SetU64(info->PackedTotal, packed);
  SetU64(info->UnpackedTotal, unpacked);
  info->Ratio = CompressionRatio(packed, unpacked);
}

}  // namespace ace
