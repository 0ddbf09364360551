// The codecs the benchmark compares, behind one interface: ours (the
// compressor at one dictionary and level, the extraction library's decoder)
// and zlib, bzip2, xz and zstd, all in-process and single-threaded.
//
// Contexts are set up once per codec and reused for every repetition, as an
// archiver sets up once per operation; the timed calls are Compress and
// Decompress alone. Every failure throws std::runtime_error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

class Codec {
 public:
  virtual ~Codec() = default;
  // "ace/1024/l1", "zlib-6", ...: what a filter matches.
  const std::string& Id() const { return id_; }

  virtual void SetupCompress() = 0;
  virtual void SetupDecompress() = 0;
  // Frees every context (a codec is measured alone).
  virtual void Release() = 0;
  // Output room that Compress needs for `size` input bytes.
  virtual size_t Bound(size_t size) const = 0;
  // The packed size.
  virtual size_t Compress(const uint8_t* in, size_t size, uint8_t* out, size_t room) = 0;
  // Decodes exactly `size` bytes (the caller knows the unpacked size).
  virtual void Decompress(const uint8_t* in, size_t packed, uint8_t* out, size_t size) = 0;

 protected:
  explicit Codec(std::string id) : id_(std::move(id)) {}

 private:
  std::string id_;
};

// Our compressor and decoder. Decompress also checks the CRC-32 of the output
// against the compressor's, as extraction does, unless told not to.
class AceCodec : public Codec {
 public:
  AceCodec(int32_t dictionaryKB, int32_t level);
  ~AceCodec() override;
  int32_t DictionaryKB() const { return dictionaryKB_; }
  int32_t Level() const { return level_; }
  void SetCheckCrc(bool check) { checkCrc_ = check; }
  // Whether Decompress copies the output out of the decoder's window into
  // `out`. Extraction writes each chunk from the window, and testing only
  // checks its CRC, so neither copies it; the benchmark copies it to compare.
  void SetCopyOutput(bool copy) { copyOutput_ = copy; }

  void SetupCompress() override;
  void SetupDecompress() override;
  void Release() override;
  size_t Bound(size_t size) const override;
  size_t Compress(const uint8_t* in, size_t size, uint8_t* out, size_t room) override;
  void Decompress(const uint8_t* in, size_t packed, uint8_t* out, size_t size) override;

 private:
  struct State;
  int32_t dictionaryKB_;
  int32_t level_;
  bool checkCrc_ = true;
  bool copyOutput_ = true;
  uint32_t crc_ = 0;  // of the input last compressed
  std::unique_ptr<State> state_;
};

// Every codec in table order: our 5 dictionaries x levels 0..3, then the
// optimal level at 1024 KB, then zlib -6 -9, bzip2 -9, xz -6, zstd -3 -19.
std::vector<std::unique_ptr<Codec>> AllCodecs();

// Library versions, for the report.
std::string LibraryVersions();

}  // namespace bench
