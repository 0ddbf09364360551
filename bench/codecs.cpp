#include "codecs.h"

#include <bzlib.h>
#include <lzma.h>
#include <zstd.h>

#define ZLIB_CONST
#include <zlib.h>

#include <cstring>
#include <stdexcept>

#include "compress/compressor.h"
#include "format/crc32.h"
#include "unace/decoder/lz77_decoder.h"

namespace bench {
namespace {

[[noreturn]] void Fail(const std::string& id, const std::string& what) {
  throw std::runtime_error(id + ": " + what);
}

// ---- ours ----

struct InputCursor {
  const uint8_t* data;
  size_t size;
  size_t position;
};

struct OutputCursor {
  uint8_t* data;
  size_t room;
  size_t size;
  bool overflow;
};

int32_t ReadInput(void* context, uint8_t* destination, int32_t count) {
  auto& in = *static_cast<InputCursor*>(context);
  size_t n = in.size - in.position;
  if (n > static_cast<size_t>(count)) n = static_cast<size_t>(count);
  std::memcpy(destination, in.data + in.position, n);
  in.position += n;
  return static_cast<int32_t>(n);
}

int32_t WriteOutput(void* context, const uint8_t* bytes, int32_t count) {
  auto& out = *static_cast<OutputCursor*>(context);
  const auto n = static_cast<size_t>(count);
  if (out.size + n > out.room) {
    out.overflow = true;
    return -1;
  }
  std::memcpy(out.data + out.size, bytes, n);
  out.size += n;
  return count;
}

}  // namespace

struct AceCodec::State {
  std::unique_ptr<ace::Compressor> compressor;
  std::unique_ptr<ace::Lz77Decoder> decoder;
};

AceCodec::AceCodec(int32_t dictionaryKB, int32_t level)
    : Codec("ace/" + std::to_string(dictionaryKB) + "/l" + std::to_string(level)),
      dictionaryKB_(dictionaryKB),
      level_(level),
      state_(std::make_unique<State>()) {}

AceCodec::~AceCodec() = default;

void AceCodec::SetupCompress() {
  state_->compressor = std::make_unique<ace::Compressor>();
  if (!state_->compressor->Init(dictionaryKB_, level_)) Fail(Id(), "compressor set-up failed");
}

void AceCodec::SetupDecompress() {
  state_->decoder = std::make_unique<ace::Lz77Decoder>();
  if (state_->decoder->Init(ace::Lz77Decoder::kMaxDictionary) != ace::DecodeStatus::kOk) {
    Fail(Id(), "decoder set-up failed");
  }
}

void AceCodec::Release() {
  state_->compressor.reset();
  state_->decoder.reset();
}

// Incompressible data may come out a little larger than it went in; the
// plug-in then stores the file, but the benchmark keeps the packed stream.
size_t AceCodec::Bound(size_t size) const { return size + size / 8 + 65536; }

size_t AceCodec::Compress(const uint8_t* in, size_t size, uint8_t* out, size_t room) {
  if (size > 0xFFFFFFFFu) Fail(Id(), "input over 4 GiB");
  ace::Compressor& c = *state_->compressor;
  InputCursor input{in, size, 0};
  OutputCursor output{out, room, 0, false};
  ace::CompressorIo io;
  io.read = &ReadInput;
  io.readContext = &input;
  io.write = &WriteOutput;
  io.writeContext = &output;
  c.SetIo(io);
  c.StartFile(static_cast<uint32_t>(size), false);
  c.Run();
  c.Finish();
  if (output.overflow) Fail(Id(), "packed data exceeds the output room");
  if (c.Status() != ace::kCompressOk) Fail(Id(), "compressor status " + std::to_string(c.Status()));
  if (c.PackedSize() != output.size) Fail(Id(), "packed size differs from the bytes written");
  crc_ = c.Crc();
  return output.size;
}

void AceCodec::Decompress(const uint8_t* in, size_t packed, uint8_t* out, size_t size) {
  ace::Lz77Decoder& d = *state_->decoder;
  ace::MemoryInput input{in, packed, 0};
  d.BeginFile(ace::MemorySource(&input), size, false);
  size_t done = 0;
  uint32_t crc = ace::kCrcInit;
  for (;;) {
    const uint8_t* data = nullptr;
    size_t n = 0;
    const ace::DecodeStatus st = d.Decode(&data, &n);
    if (st != ace::DecodeStatus::kOk) Fail(Id(), ace::DecodeStatusText(st));
    if (n == 0) break;
    if (n > size - done) Fail(Id(), "decoder passed the unpacked size");
    if (copyOutput_) std::memcpy(out + done, data, n);
    if (checkCrc_) crc = ace::Crc32Update(crc, data, n);
    done += n;
  }
  if (done != size) Fail(Id(), "decoder ended early");
  if (checkCrc_ && crc != crc_) Fail(Id(), "CRC mismatch");
}

namespace {

// ---- zlib ----

class ZlibCodec : public Codec {
 public:
  explicit ZlibCodec(int level) : Codec("zlib-" + std::to_string(level)), level_(level) {}
  ~ZlibCodec() override { Release(); }

  void SetupCompress() override {
    if (deflateInit(&deflate_, level_) != Z_OK) Fail(Id(), "deflateInit failed");
    deflateReady_ = true;
  }
  void SetupDecompress() override {
    if (inflateInit(&inflate_) != Z_OK) Fail(Id(), "inflateInit failed");
    inflateReady_ = true;
  }
  void Release() override {
    if (deflateReady_) deflateEnd(&deflate_);
    if (inflateReady_) inflateEnd(&inflate_);
    deflateReady_ = inflateReady_ = false;
  }
  size_t Bound(size_t size) const override { return compressBound(static_cast<uLong>(size)); }

  size_t Compress(const uint8_t* in, size_t size, uint8_t* out, size_t room) override {
    deflateReset(&deflate_);
    deflate_.next_in = in;
    deflate_.avail_in = static_cast<uInt>(size);
    deflate_.next_out = out;
    deflate_.avail_out = static_cast<uInt>(room);
    if (deflate(&deflate_, Z_FINISH) != Z_STREAM_END) Fail(Id(), "deflate did not finish");
    return deflate_.total_out;
  }
  void Decompress(const uint8_t* in, size_t packed, uint8_t* out, size_t size) override {
    inflateReset(&inflate_);
    inflate_.next_in = in;
    inflate_.avail_in = static_cast<uInt>(packed);
    inflate_.next_out = out;
    inflate_.avail_out = static_cast<uInt>(size);
    if (inflate(&inflate_, Z_FINISH) != Z_STREAM_END) Fail(Id(), "inflate did not finish");
    if (inflate_.total_out != size) Fail(Id(), "inflate size differs");
  }

 private:
  int level_;
  z_stream deflate_{};
  z_stream inflate_{};
  bool deflateReady_ = false;
  bool inflateReady_ = false;
};

// ---- bzip2: its buffer calls set up and free their state every time ----

class Bzip2Codec : public Codec {
 public:
  explicit Bzip2Codec(int level) : Codec("bzip2-" + std::to_string(level)), level_(level) {}
  void SetupCompress() override {}
  void SetupDecompress() override {}
  void Release() override {}
  size_t Bound(size_t size) const override { return size + size / 100 + 601; }

  size_t Compress(const uint8_t* in, size_t size, uint8_t* out, size_t room) override {
    auto outSize = static_cast<unsigned>(room);
    const int rc = BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(out), &outSize,
                                            const_cast<char*>(reinterpret_cast<const char*>(in)),
                                            static_cast<unsigned>(size), level_, 0, 0);
    if (rc != BZ_OK) Fail(Id(), "compress returned " + std::to_string(rc));
    return outSize;
  }
  void Decompress(const uint8_t* in, size_t packed, uint8_t* out, size_t size) override {
    auto outSize = static_cast<unsigned>(size);
    const int rc = BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(out), &outSize,
                                              const_cast<char*>(reinterpret_cast<const char*>(in)),
                                              static_cast<unsigned>(packed), 0, 0);
    if (rc != BZ_OK) Fail(Id(), "decompress returned " + std::to_string(rc));
    if (outSize != size) Fail(Id(), "decompressed size differs");
  }

 private:
  int level_;
};

// ---- xz: the .xz container with its default CRC-64 check ----

class XzCodec : public Codec {
 public:
  explicit XzCodec(uint32_t preset) : Codec("xz-" + std::to_string(preset)), preset_(preset) {}
  ~XzCodec() override { Release(); }

  // Setting an encoder up on a stream that has one reuses its memory.
  void SetupCompress() override { StartEncoder(); }
  void SetupDecompress() override { StartDecoder(); }
  void Release() override {
    lzma_end(&encoder_);
    lzma_end(&decoder_);
    encoder_ = lzma_stream{};
    decoder_ = lzma_stream{};
  }
  size_t Bound(size_t size) const override { return lzma_stream_buffer_bound(size); }

  size_t Compress(const uint8_t* in, size_t size, uint8_t* out, size_t room) override {
    StartEncoder();
    Code(encoder_, in, size, out, room);
    return static_cast<size_t>(encoder_.total_out);
  }
  void Decompress(const uint8_t* in, size_t packed, uint8_t* out, size_t size) override {
    StartDecoder();
    Code(decoder_, in, packed, out, size);
    if (decoder_.total_out != size) Fail(Id(), "decompressed size differs");
  }

 private:
  void StartEncoder() {
    if (lzma_easy_encoder(&encoder_, preset_, LZMA_CHECK_CRC64) != LZMA_OK) {
      Fail(Id(), "encoder set-up failed");
    }
  }
  void StartDecoder() {
    if (lzma_stream_decoder(&decoder_, UINT64_MAX, 0) != LZMA_OK)
      Fail(Id(), "decoder set-up failed");
  }
  void Code(lzma_stream& s, const uint8_t* in, size_t size, uint8_t* out, size_t room) {
    s.next_in = in;
    s.avail_in = size;
    s.next_out = out;
    s.avail_out = room;
    const lzma_ret rc = lzma_code(&s, LZMA_FINISH);
    if (rc != LZMA_STREAM_END) Fail(Id(), "lzma_code returned " + std::to_string(rc));
  }

  uint32_t preset_;
  lzma_stream encoder_{};
  lzma_stream decoder_{};
};

// ---- zstd ----

class ZstdCodec : public Codec {
 public:
  explicit ZstdCodec(int level) : Codec("zstd-" + std::to_string(level)), level_(level) {}
  ~ZstdCodec() override { Release(); }

  void SetupCompress() override {
    cctx_ = ZSTD_createCCtx();
    if (cctx_ == nullptr) Fail(Id(), "no context");
  }
  void SetupDecompress() override {
    dctx_ = ZSTD_createDCtx();
    if (dctx_ == nullptr) Fail(Id(), "no context");
  }
  void Release() override {
    ZSTD_freeCCtx(cctx_);
    ZSTD_freeDCtx(dctx_);
    cctx_ = nullptr;
    dctx_ = nullptr;
  }
  size_t Bound(size_t size) const override { return ZSTD_compressBound(size); }

  size_t Compress(const uint8_t* in, size_t size, uint8_t* out, size_t room) override {
    const size_t n = ZSTD_compressCCtx(cctx_, out, room, in, size, level_);
    if (ZSTD_isError(n)) Fail(Id(), ZSTD_getErrorName(n));
    return n;
  }
  void Decompress(const uint8_t* in, size_t packed, uint8_t* out, size_t size) override {
    const size_t n = ZSTD_decompressDCtx(dctx_, out, size, in, packed);
    if (ZSTD_isError(n)) Fail(Id(), ZSTD_getErrorName(n));
    if (n != size) Fail(Id(), "decompressed size differs");
  }

 private:
  int level_;
  ZSTD_CCtx* cctx_ = nullptr;
  ZSTD_DCtx* dctx_ = nullptr;
};

}  // namespace

std::vector<std::unique_ptr<Codec>> AllCodecs() {
  std::vector<std::unique_ptr<Codec>> all;
  for (int32_t kb : {64, 128, 256, 512, 1024}) {
    for (int32_t level = 0; level <= 3; ++level)
      all.push_back(std::make_unique<AceCodec>(kb, level));
  }
  all.push_back(std::make_unique<AceCodec>(1024, 4));
  all.push_back(std::make_unique<ZlibCodec>(6));
  all.push_back(std::make_unique<ZlibCodec>(9));
  all.push_back(std::make_unique<Bzip2Codec>(9));
  all.push_back(std::make_unique<XzCodec>(6));
  all.push_back(std::make_unique<ZstdCodec>(3));
  all.push_back(std::make_unique<ZstdCodec>(19));
  return all;
}

std::string LibraryVersions() {
  std::string v = "zlib ";
  v += zlibVersion();
  std::string bz = BZ2_bzlibVersion();
  v += ", bzip2 " + bz.substr(0, bz.find(','));
  v += ", liblzma ";
  v += lzma_version_string();
  v += ", zstd ";
  v += ZSTD_versionString();
  return v;
}

}  // namespace bench
