#include "unace/archive_scan.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "format/crc32.h"

namespace ace::unace {
namespace {

constexpr char kSignature[] = "**ACE**";
constexpr uint32_t kSignatureOffset = 7;
constexpr uint32_t kSignatureSize = 7;
constexpr uint32_t kMainFixedSize = 31;
constexpr uint32_t kFileFixedSize = 35;  // through FNAME_SIZE

uint16_t U16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t U32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

// HEAD_CRC check of the header whose HEAD_CRC field starts at `p`, given
// that its HEAD_SIZE bytes are present.
bool ChecksumHolds(const uint8_t* p) {
  const uint16_t size = U16(p + 2);
  return static_cast<uint16_t>(Crc32Update(kCrcInit, p + 4, size)) == U16(p);
}

}  // namespace

bool SeekTo(HANDLE file, uint32_t pos) {
  LONG high = 0;
  SetLastError(NO_ERROR);
  const DWORD result = SetFilePointer(file, static_cast<LONG>(pos), &high, FILE_BEGIN);
  return !(result == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR);
}

int64_t ReadAt(HANDLE file, uint32_t pos, void* buffer, uint32_t count) {
  if (!SeekTo(file, pos)) return -1;
  auto* out = static_cast<uint8_t*>(buffer);
  uint32_t total = 0;
  while (total < count) {
    DWORD got = 0;
    if (!ReadFile(file, out + total, count - total, &got, nullptr)) return -1;
    if (got == 0) break;
    total += got;
  }
  return total;
}

int64_t SizeOf(HANDLE file) {
  DWORD high = 0;
  SetLastError(NO_ERROR);
  const DWORD low = GetFileSize(file, &high);
  if (low == 0xFFFFFFFFu && GetLastError() != NO_ERROR) return -1;
  return (static_cast<int64_t>(high) << 32) | low;
}

bool FindMainHeader(HANDLE file, MainHeader* header) {
  const int64_t size = SizeOf(file);
  if (size < 0) return false;
  const uint32_t want =
      size < kMainHeaderSearchBytes ? static_cast<uint32_t>(size) : kMainHeaderSearchBytes;
  std::vector<uint8_t> buf(want);
  const int64_t n = ReadAt(file, 0, buf.data(), want);
  if (n <= 0) return false;
  const uint8_t* b = buf.data();
  for (int64_t i = kSignatureOffset; i + kMainFixedSize - kSignatureOffset <= n; ++i) {
    if (std::memcmp(b + i, kSignature, kSignatureSize) != 0) continue;
    const uint8_t* h = b + i - kSignatureOffset;
    const uint32_t headSize = U16(h + 2);
    if (h[4] != 0 || headSize + 4 < kMainFixedSize) continue;
    if ((h - b) + 4 + static_cast<int64_t>(headSize) > n) continue;
    if (!ChecksumHolds(h)) continue;
    header->Pos = static_cast<uint32_t>(h - b);
    header->Size = headSize + 4;
    header->Flags = U16(h + 5);
    header->VerExtract = h[14];
    header->VerCreated = h[15];
    header->HostCreated = h[16];
    header->VolumeNum = h[17];
    header->TimeCreated = U32(h + 18);
    return true;
  }
  return false;
}

int64_t FindFirstHeader(HANDLE file, const MainHeader& main) {
  const int64_t size = SizeOf(file);
  const uint32_t start = main.Pos + main.Size;
  if (size < 0 || size <= start) return -1;
  const int64_t left = size - start;
  const uint32_t want =
      left < kMainHeaderSearchBytes ? static_cast<uint32_t>(left) : kMainHeaderSearchBytes;
  std::vector<uint8_t> buf(want);
  const int64_t n = ReadAt(file, start, buf.data(), want);
  if (n <= 0) return -1;
  // Anything between the main header and the first intact file header
  // (recovery data, damage) is stepped over.
  for (int64_t p = 0; p + static_cast<int64_t>(kFileFixedSize) <= n; ++p) {
    const uint8_t* h = buf.data() + p;
    if (h[4] != 1) continue;
    if (p + 4 + static_cast<int64_t>(U16(h + 2)) > n) continue;
    if (ChecksumHolds(h)) return start + p;
  }
  return -1;
}

HeaderRead ReadEntryHeader(HANDLE file, uint32_t pos, uint32_t fileSize, EntryHeader* header) {
  if (pos >= fileSize) return HeaderRead::End;
  uint8_t head[4];
  const int64_t got = ReadAt(file, pos, head, 4);
  if (got < 0) return HeaderRead::IoError;
  if (got < 4) return HeaderRead::Truncated;
  const uint32_t headSize = U16(head + 2);
  if (headSize < 3) return HeaderRead::Broken;
  std::vector<uint8_t> buf(4 + headSize);
  const int64_t all = ReadAt(file, pos, buf.data(), 4 + headSize);
  if (all < 0) return HeaderRead::IoError;
  if (all < 4 + headSize) return HeaderRead::Truncated;
  const uint8_t* h = buf.data();
  if (!ChecksumHolds(h)) return HeaderRead::Broken;

  *header = EntryHeader{};
  header->Pos = pos;
  header->Type = h[4];
  header->Flags = U16(h + 5);
  header->DataPos = pos + 4 + headSize;
  if (header->Type == 2 || header->Type == 5) {
    if (headSize < 7) return HeaderRead::Broken;
    header->PackSize = U32(h + 7);
  } else if (header->Type == 1) {
    if (headSize + 4 < kFileFixedSize) return HeaderRead::Broken;
    header->PackSize = U32(h + 7);
    header->OrigSize = U32(h + 11);
    header->Time = U32(h + 15);
    header->Attributes = U32(h + 19);
    header->Crc32 = U32(h + 23);
    header->Method = h[27];
    header->TechParm = U16(h + 29);
    const uint32_t nameSize = U16(h + 33);
    if (kFileFixedSize + nameSize > headSize + 4) return HeaderRead::Broken;
    header->Name.assign(reinterpret_cast<const char*>(h + kFileFixedSize), nameSize);
    // A NUL inside a stored name would hide the rest of it from every check.
    if (header->Name.find('\0') != std::string::npos) return HeaderRead::Broken;
  } else {
    return HeaderRead::Broken;
  }
  if (static_cast<uint64_t>(header->DataPos) + header->PackSize > 0xFFFFFFFFull) {
    return HeaderRead::Broken;
  }
  return HeaderRead::Ok;
}

std::string VolumePath(const std::string& firstVolume, uint32_t number) {
  size_t cut = firstVolume.size();
  const size_t sep = firstVolume.find_last_of("\\/");
  const size_t dot = firstVolume.rfind('.');
  if (dot != std::string::npos && (sep == std::string::npos || dot > sep)) cut = dot;
  char ext[16];
  const uint32_t index = number == 0 ? 0 : number - 1;
  if (index < 100) {
    std::snprintf(ext, sizeof ext, ".c%02u", static_cast<unsigned>(index));
  } else {
    std::snprintf(ext, sizeof ext, ".%03u", static_cast<unsigned>(index));
  }
  return firstVolume.substr(0, cut) + ext;
}

void DescribeArchive(const MainHeader& main, char* name, uint32_t volume, AceArchiveData* data) {
  data->ArchiveName = name;
  data->VolumeNumber = volume;
  data->Flags = main.Flags;
  data->HostCreated = main.HostCreated;
  data->TimeCreated = main.TimeCreated;
  data->VersionCreated = main.VerCreated;
  data->VersionExtract = main.VerExtract;
}

}  // namespace ace::unace
