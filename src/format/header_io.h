// Little-endian header fields read one at a time from the archive's current
// position. A short read leaves AR_IO_ERROR in the status word and gives 0.
#pragma once

#include <cstdint>

#include "fs/file_layer.h"

namespace ace {

uint8_t ReadByte(FileHandle archive);
uint16_t ReadWord(FileHandle archive);
uint32_t ReadDword(FileHandle archive);

}  // namespace ace
