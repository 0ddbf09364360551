#include "support/packing.h"

namespace acetest {
namespace {

int32_t Read(void* context, uint8_t* destination, int32_t count) {
  auto* io = static_cast<MemoryIo*>(context);
  if (io->reads++ == io->failReadAt) return -1;
  const size_t n = std::min({io->input->size() - io->readPos, static_cast<size_t>(count),
                             static_cast<size_t>(io->maxRead)});
  std::memcpy(destination, io->input->data() + io->readPos, n);
  io->readPos += n;
  return static_cast<int32_t>(n);
}

int32_t Write(void* context, const uint8_t* bytes, int32_t count) {
  auto* io = static_cast<MemoryIo*>(context);
  io->writeSizes.push_back(count);
  if (io->writes++ == io->failWriteAt) {
    if (!io->shortWrite) return -1;
    count /= 2;
  }
  io->output.insert(io->output.end(), bytes, bytes + count);
  return count;
}

int32_t Progress(void* context, int32_t percent, int32_t step) {
  auto* io = static_cast<MemoryIo*>(context);
  io->reports.emplace_back(percent, step);
  return static_cast<int>(io->reports.size()) - 1 == io->refuseAt ? 0 : 1;
}

}  // namespace

ace::CompressorIo MemoryIo::Hooks() {
  ace::CompressorIo hooks;
  hooks.read = Read;
  hooks.readContext = this;
  hooks.write = Write;
  hooks.writeContext = this;
  if (listen) hooks.progress = Progress;
  hooks.progressContext = this;
  return hooks;
}

PackResult PackWith(ace::Compressor& c, MemoryIo& io, const Bytes& input, bool continued) {
  io.input = &input;
  c.SetIo(io.Hooks());
  c.StartFile(static_cast<uint32_t>(input.size()), continued);
  c.Run();
  c.Finish();
  return PackResult{io.output, c.Status(), c.Crc(), c.PackedSize(), c.Grew()};
}

PackResult Pack(const Bytes& input, int32_t dictionaryKB, int32_t level) {
  ace::Compressor c;
  if (!c.Init(dictionaryKB, level)) return PackResult{{}, c.Status()};
  MemoryIo io;
  return PackWith(c, io, input);
}

ace::DecodeStatus Unpack(ace::Lz77Decoder& decoder, const Bytes& packed, size_t size, Bytes* out,
                         bool continued, size_t piece) {
  struct Source {
    const Bytes* data;
    size_t position, piece;
  } src{&packed, 0, piece == 0 ? packed.size() + 1 : piece};
  auto read = [](void* context, uint8_t* buffer, uint32_t count) -> int32_t {
    auto* s = static_cast<Source*>(context);
    const size_t n = std::min<size_t>({count, s->piece, s->data->size() - s->position});
    if (n != 0) std::memcpy(buffer, s->data->data() + s->position, n);
    s->position += n;
    return static_cast<int32_t>(n);
  };
  decoder.BeginFile(ace::PackedSource{read, &src}, size, continued);
  out->clear();
  for (;;) {
    const uint8_t* data = nullptr;
    size_t n = 0;
    const ace::DecodeStatus status = decoder.Decode(&data, &n);
    if (status != ace::DecodeStatus::kOk || n == 0) return status;
    if (out->size() + n > size) return ace::DecodeStatus::kSizeOverrun;  // never handed out
    out->insert(out->end(), data, data + n);
  }
}

Bytes Unpack(const Bytes& packed, size_t size) {
  ace::Lz77Decoder decoder;
  Bytes out;
  if (decoder.Init() != ace::DecodeStatus::kOk ||
      Unpack(decoder, packed, size, &out) != ace::DecodeStatus::kOk) {
    return AsBytes("DECODE FAILED");
  }
  return out;
}

}  // namespace acetest
