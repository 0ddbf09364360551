#include "unace/archive_scan.h"

#include <algorithm>
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

namespace {

// Takes the fields of the header whose first `available` bytes are at `h`.
// False when they cannot belong to a header of its type.
bool ParseFields(const uint8_t* h, uint32_t available, EntryHeader* header) {
  if (available < 7) return false;
  const uint32_t headSize = U16(h + 2);
  header->Type = h[4];
  header->Flags = U16(h + 5);
  header->DataPos = header->Pos + 4 + headSize;
  if (headSize < 3) return false;
  if (header->Type == 2 || header->Type == 5) {
    if (headSize < 7 || available < 11) return false;
    header->PackSize = U32(h + 7);
    return true;
  }
  if (header->Type != 1 || headSize + 4 < kFileFixedSize || available < kFileFixedSize) {
    return false;
  }
  header->PackSize = U32(h + 7);
  header->OrigSize = U32(h + 11);
  header->Time = U32(h + 15);
  header->Attributes = U32(h + 19);
  header->Crc32 = U32(h + 23);
  header->Method = h[27];
  header->TechParm = U16(h + 29);
  const uint32_t nameSize = U16(h + 33);
  if (kFileFixedSize + nameSize > headSize + 4) return false;
  const uint32_t present = std::min(nameSize, available - kFileFixedSize);
  header->Name.assign(reinterpret_cast<const char*>(h + kFileFixedSize), present);
  // A NUL inside a stored name would hide the rest of it from every check.
  if (header->Name.find('\0') != std::string::npos) {
    header->Name.clear();
    return false;
  }
  return present == nameSize;
}

// Whether a file header as writers make it could start at `h`, with
// `available` bytes from there: its size is that of its fields, name and
// comment, it lies within those bytes and its checksum holds. Adds the bytes
// checksummed to `*work`.
bool IsIntactFileHeader(const uint8_t* h, uint32_t available, uint64_t* work) {
  if (available < kFileFixedSize + 2 || h[4] != 1) return false;
  const uint32_t headSize = U16(h + 2);
  const uint32_t nameSize = U16(h + 33);
  const uint32_t commentAt = kFileFixedSize + nameSize;  // COMMENT_SIZE
  if (commentAt + 2 > available) return false;
  const uint32_t comment = (U16(h + 5) & kFlagComment) != 0 ? U16(h + commentAt) : 0;
  if (headSize + 4 != commentAt + 2 + comment || headSize + 4 > available) return false;
  *work += headSize;
  return ChecksumHolds(h);
}

}  // namespace

HeaderRead ReadEntryHeader(HANDLE file, uint32_t pos, uint32_t fileSize, EntryHeader* header) {
  *header = EntryHeader{};
  header->Pos = pos;
  if (pos >= fileSize) return HeaderRead::End;
  uint8_t head[4];
  const int64_t got = ReadAt(file, pos, head, 4);
  if (got < 0) return HeaderRead::IoError;
  if (got < 4) return HeaderRead::Truncated;
  const uint32_t headSize = U16(head + 2);
  std::vector<uint8_t> buf(4 + headSize);
  const int64_t all = ReadAt(file, pos, buf.data(), 4 + headSize);
  if (all < 0) return HeaderRead::IoError;
  const bool fieldsFit = ParseFields(buf.data(), static_cast<uint32_t>(all), header);
  if (all < 4 + headSize) return HeaderRead::Truncated;
  if (!ChecksumHolds(buf.data()) || !fieldsFit) return HeaderRead::Broken;
  if (static_cast<uint64_t>(header->DataPos) + header->PackSize > 0xFFFFFFFFull) {
    return HeaderRead::Broken;
  }
  return HeaderRead::Ok;
}

int64_t FindNextFileHeader(HANDLE file, uint32_t from, uint32_t fileSize) {
  // Each window holds every candidate's longest possible header beyond it, so
  // windows overlap by that much.
  constexpr uint32_t kLongestHeader = 4 + 0xFFFF;
  constexpr uint32_t kWindow = 4 * kLongestHeader;
  // Bytes of hostile data can pose as a header at every position; past this
  // much checksumming the search gives up rather than take quadratic time.
  constexpr uint64_t kWorkLimit = 64u << 20;
  std::vector<uint8_t> buf(kWindow);
  uint64_t work = 0;
  for (uint32_t start = from; start < fileSize;) {
    const int64_t n = ReadAt(file, start, buf.data(), kWindow);
    if (n <= 0) return -1;
    const bool last = n < kWindow || start + static_cast<uint64_t>(n) >= fileSize;
    const uint32_t span = last ? static_cast<uint32_t>(n) : kWindow - kLongestHeader;
    for (uint32_t p = 0; p < span; ++p) {
      if (IsIntactFileHeader(buf.data() + p, static_cast<uint32_t>(n) - p, &work)) {
        return start + p;
      }
      if (work > kWorkLimit) return -1;
    }
    if (last) return -1;
    start += span;
  }
  return -1;
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
