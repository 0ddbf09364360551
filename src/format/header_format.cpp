#include "format/header_format.h"

namespace ace {

void EncodeFileHeaderFixed(const FileHeaderFixed& h, uint8_t out[kFileFixedSize]) {
  StoreU16(out + 0, h.HeadCrc);
  StoreU16(out + 2, h.HeadSize);
  out[4] = h.HeadType;
  StoreU16(out + 5, h.HeadFlags);
  StoreU32(out + 7, h.PackSize);
  StoreU32(out + 11, h.OrigSize);
  StoreU32(out + 15, h.FileTime);
  StoreU32(out + 19, h.Attributes);
  StoreU32(out + 23, h.Crc32);
  out[27] = h.TechType;
  out[28] = h.TechQual;
  StoreU16(out + 29, h.TechParm);
  StoreU16(out + 31, h.Reserved);
  StoreU16(out + 33, h.NameSize);
}

FileHeaderFixed DecodeFileHeaderFixed(const uint8_t in[kFileFixedSize]) {
  FileHeaderFixed h;
  h.HeadCrc = LoadU16(in + 0);
  h.HeadSize = LoadU16(in + 2);
  h.HeadType = in[4];
  h.HeadFlags = LoadU16(in + 5);
  h.PackSize = LoadU32(in + 7);
  h.OrigSize = LoadU32(in + 11);
  h.FileTime = LoadU32(in + 15);
  h.Attributes = LoadU32(in + 19);
  h.Crc32 = LoadU32(in + 23);
  h.TechType = in[27];
  h.TechQual = in[28];
  h.TechParm = LoadU16(in + 29);
  h.Reserved = LoadU16(in + 31);
  h.NameSize = LoadU16(in + 33);
  return h;
}

}  // namespace ace
