#include "format/header_io.h"

#include "format/header_format.h"
#include "plugin/state.h"

namespace ace {
namespace {

bool ReadExact(FileHandle archive, uint8_t* bytes, int32_t count) {
  if (FileRead(bytes, count, archive) == count) return true;
  SetStatus(AR_IO_ERROR);
  return false;
}

}  // namespace

uint8_t ReadByte(FileHandle archive) {
  uint8_t b[1];
  return ReadExact(archive, b, 1) ? b[0] : 0;
}

uint16_t ReadWord(FileHandle archive) {
  uint8_t b[2];
  return ReadExact(archive, b, 2) ? LoadU16(b) : 0;
}

uint32_t ReadDword(FileHandle archive) {
  uint8_t b[4];
  return ReadExact(archive, b, 4) ? LoadU32(b) : 0;
}

}  // namespace ace
