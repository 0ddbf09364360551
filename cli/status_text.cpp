#include "status_text.h"

#include "aceplug/aceplug.h"

namespace acearc {

namespace {

struct StatusInfo {
  uint16_t code;
  const char* name;
  const char* description;
};

constexpr StatusInfo kStatuses[] = {
    {AR_OK, "AR_OK", "success"},
    {AR_FILE_NOT_FOUND, "AR_FILE_NOT_FOUND", "file not found"},
    {AR_IO_ERROR, "AR_IO_ERROR", "read or write error"},
    {AR_SIZE_ERROR, "AR_SIZE_ERROR",
     "size not supported (an ACE archive holds at most 2 GiB - 1 bytes) or unreadable"},
    {AR_NO_MEMORY, "AR_NO_MEMORY", "out of memory or unsupported dictionary size"},
    {AR_DISK_FULL, "AR_DISK_FULL", "disk full"},
    {AR_ABORTED, "AR_ABORTED", "aborted"},
    {AR_TEMP_DIR_FAILED, "AR_TEMP_DIR_FAILED", "cannot create a temporary working directory"},
    {AR_UNPACK_FAILED, "AR_UNPACK_FAILED", "no space left to unpack the solid archive"},
    {AR_DIR_EXISTS, "AR_DIR_EXISTS", "the directory already exists in the archive"},
    {AR_BAD_DIR_NAME, "AR_BAD_DIR_NAME", "invalid or unsafe name"},
    {AR_ARCHIVE_ERROR, "AR_ARCHIVE_ERROR", "archive is damaged (CRC error)"},
    {AR_LOCKED, "AR_LOCKED", "archive is locked"},
    {AR_UNSUPPORTED, "AR_UNSUPPORTED", "unsupported archive version or entry"},
    {AR_BAD_HEADER, "AR_BAD_HEADER", "archive is damaged (unknown header)"},
    {AR_NOTHING_TO_ADD, "AR_NOTHING_TO_ADD", "nothing to add"},
    {AR_NOT_ACE, "AR_NOT_ACE", "not an ACE archive"},
    {AR_NOT_SUPPORTED, "AR_NOT_SUPPORTED", "not supported by this build of the plug-in"},
};

const StatusInfo* Find(uint16_t status) {
  for (const StatusInfo& info : kStatuses) {
    if (info.code == status) return &info;
  }
  return nullptr;
}

}  // namespace

const char* StatusName(uint16_t status) {
  const StatusInfo* info = Find(status);
  return info ? info->name : "AR_UNKNOWN";
}

const char* StatusDescription(uint16_t status) {
  const StatusInfo* info = Find(status);
  return info ? info->description : "unknown status";
}

std::string DescribeStatus(uint16_t status) {
  return DescribeStatus(status, StatusDescription(status));
}

std::string DescribeStatus(uint16_t status, const std::string& description) {
  return description + " (" + std::to_string(status) + " " + StatusName(status) + ")";
}

ExitCode ExitCodeForStatus(uint16_t status) {
  switch (status) {
    case AR_OK:
      return kExitOk;
    case AR_ARCHIVE_ERROR:
    case AR_BAD_HEADER:
    case AR_NOT_ACE:
      return kExitDamaged;
    case AR_ABORTED:
      return kExitAborted;
    default:
      return kExitFailed;
  }
}

}  // namespace acearc
