#include "unace/operation.h"

#include <algorithm>
#include <string>
#include <vector>

#include "format/crc32.h"
#include "platform/win32.h"
#include "unace/archive_scan.h"
#include "unace/decoder/lz77_decoder.h"
#include "unace/file_list.h"
#include "unace/notify.h"
#include "unace/output_file.h"

namespace ace::unace {
namespace {

constexpr uint32_t kProgressInterval = 1u << 20;
constexpr uint32_t kCopyChunk = 64 * 1024;
constexpr uint32_t kMaxDictionaryCode = 10;  // 1 MiB, the decoder's limit
constexpr uint8_t kMethodStored = 0;
constexpr uint8_t kMethodLz77 = 1;

std::string AnsiName(const std::string& oem) {
  std::vector<char> out(oem.size() * 3 + 1);
  if (!OemToCharA(oem.c_str(), out.data(), static_cast<DWORD>(out.size()))) return oem;
  std::string name(out.data());
  std::replace(name.begin(), name.end(), '/', '\\');
  return name;
}

// Entries whose output the decoder's history holds for the entries after them.
bool CarriesHistory(const EntryHeader& entry) {
  return entry.Method == kMethodLz77 && !entry.IsDirectory() && entry.OrigSize > 0;
}

std::string BaseNameOf(const std::string& name) {
  const size_t sep = name.find_last_of("\\/");
  return sep == std::string::npos ? name : name.substr(sep + 1);
}

class Operation {
 public:
  explicit Operation(const OperationRequest& request)
      : request_(request),
        notifier_(request.operation),
        include_(request.files != nullptr ? request.files->FileList : nullptr),
        exclude_(request.files != nullptr ? request.files->ExcludeList : nullptr) {
    if (request.destinationDir != nullptr) destinationDir_ = request.destinationDir;
    password_.assign(request.password != nullptr ? request.password : "");
    password_.resize(std::max<size_t>(password_.size() + 1, 272), '\0');
    notifier_.global.DecryptPassword = password_.data();
    notifier_.file.SourceFileName = "";
  }
  ~Operation() { CloseVolume(); }

  int Run();

 private:
  enum class EndOfWalk { Volume, NextVolume, Stop };

  // Volumes.
  bool OpenVolume(const std::string& path, uint32_t number);
  void CloseVolume();
  void DescribeVolume();
  // Asks for and opens the next volume and reads the header that continues
  // `entry` there. False when the operation must stop.
  bool NextVolume(const EntryHeader& entry, EntryHeader* continuation);
  // Moves past the rest of an entry that goes on in later volumes.
  bool SkipContinuation(const EntryHeader& entry);

  // The entries of the current volume from `pos` on, up to the end of the
  // volume, an entry that goes on in the next one, or a header that cannot be
  // taken (`stopper`). Returns how the walk ended.
  HeaderRead Walk(uint32_t pos, std::vector<EntryHeader>* entries, EntryHeader* stopper);
  bool Selected(const EntryHeader& entry) const;
  // The entry's data runs past the end of its volume.
  bool CutShort(const EntryHeader& entry) const { return entry.End() > volumeSize_; }
  // Reports a header that is damaged or cut off, naming its entry when the
  // name could be read. True when the operation must stop.
  bool ReportBrokenHeader(const EntryHeader& header);
  // Reports an entry whose data does not reach its end. True when the operation must stop.
  bool ReportCutShort(const EntryHeader& entry);

  // One entry. False when the operation must stop.
  bool Process(const EntryHeader& entry, bool selected);
  void DescribeFile(const EntryHeader& entry);
  // Decodes the entry's data (checking its CRC) into `out` when it is given.
  bool Unpack(const EntryHeader& entry, bool selected, OutputFile* out);
  // Takes decoded bytes: CRC, output, progress. False when the operation must stop.
  bool Deliver(const uint8_t* data, size_t size, bool selected);
  bool ReportProgress();
  // Reports an error and says whether to stop.
  bool Fail(uint32_t type, uint32_t code, bool aboutFile = false) {
    notifier_.Error(type, code, aboutFile);
    return notifier_.Cancelled();
  }

  // Pull source over an entry's data, across volumes.
  static int32_t ReadPacked(void* context, uint8_t* buffer, uint32_t size);

  const OperationRequest& request_;
  Notifier notifier_;
  FileList include_;
  FileList exclude_;
  std::string destinationDir_;
  std::string password_;
  bool stop_ = false;

  std::string firstVolume_;
  std::string volumePath_;
  std::vector<char> volumeNameBuffer_;
  uint32_t volumeNumber_ = 0;
  HANDLE volume_ = INVALID_HANDLE_VALUE;
  uint32_t volumeSize_ = 0;
  MainHeader main_;
  uint32_t resumePos_ = 0;  // where the walk goes on after a continuation

  std::string sourceName_;
  std::string destinationName_;

  Lz77Decoder decoder_;
  bool decoderReady_ = false;

  // The part of the current entry's data still to read.
  EntryHeader part_;
  uint32_t partPos_ = 0;
  uint32_t partLeft_ = 0;
  bool readFailed_ = false;

  OutputFile* out_ = nullptr;  // null while nothing is written
  uint32_t crc_ = kCrcInit;
  uint64_t unreported_ = 0;
};

bool Operation::OpenVolume(const std::string& path, uint32_t number) {
  CloseVolume();
  volume_ =
      CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (volume_ == INVALID_HANDLE_VALUE) return false;
  const int64_t size = SizeOf(volume_);
  if (size < 0 || size > 0x7FFFFFFF) {
    CloseVolume();
    return false;
  }
  volumeSize_ = static_cast<uint32_t>(size);
  volumePath_ = path;
  volumeNumber_ = number;
  return true;
}

void Operation::CloseVolume() {
  if (volume_ != INVALID_HANDLE_VALUE) CloseHandle(volume_);
  volume_ = INVALID_HANDLE_VALUE;
}

void Operation::DescribeVolume() {
  volumeNameBuffer_.assign(volumePath_.begin(), volumePath_.end());
  volumeNameBuffer_.resize(std::max<size_t>(volumeNameBuffer_.size() + 1, 272), '\0');
  DescribeArchive(main_, volumeNameBuffer_.data(), volumeNumber_, &notifier_.archive);
}

bool Operation::NextVolume(const EntryHeader& entry, EntryHeader* continuation) {
  // The request names the volume wanted; the caller may point the name at
  // another path, which is then the one read.
  const std::string wanted = VolumePath(firstVolume_, volumeNumber_ + 1);
  volumeNameBuffer_.assign(wanted.begin(), wanted.end());
  volumeNameBuffer_.resize(std::max<size_t>(volumeNameBuffer_.size() + 1, 272), '\0');
  notifier_.archive.ArchiveName = volumeNameBuffer_.data();
  notifier_.archive.VolumeNumber = volumeNumber_;
  const int answer =
      notifier_.Request(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_REQUEST_CHANGEVOLUME);
  if (answer != ACE_CALLBACK_RETURN_OK) {
    stop_ = true;
    return false;
  }
  const std::string path =
      notifier_.archive.ArchiveName != nullptr ? notifier_.archive.ArchiveName : wanted;
  const uint32_t number = volumeNumber_ + 1;
  if (!OpenVolume(path, number)) {
    Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_READ);
    stop_ = true;
    return false;
  }
  if (!FindMainHeader(volume_, &main_)) {
    Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_NOT_ACE);
    stop_ = true;
    return false;
  }
  DescribeVolume();
  if (notifier_.State(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_STATE_STARTARCHIVE) ==
      ACE_CALLBACK_RETURN_CANCEL) {
    stop_ = true;
    return false;
  }
  // The continuation is the first file header of the chain; only recovery
  // records may stand before it.
  uint32_t pos = main_.Pos + main_.Size;
  HeaderRead read = ReadEntryHeader(volume_, pos, volumeSize_, continuation);
  while (read == HeaderRead::Ok && continuation->Type != 1) {
    pos = continuation->End();
    read = ReadEntryHeader(volume_, pos, volumeSize_, continuation);
  }
  if (read != HeaderRead::Ok || CutShort(*continuation) ||
      (continuation->Flags & kFlagFromPreviousVolume) == 0 || continuation->Name != entry.Name) {
    Fail(ACE_CALLBACK_TYPE_ARCHIVE,
         read == HeaderRead::IoError ? ACE_CALLBACK_ERROR_READ : ACE_CALLBACK_ERROR_HEADER);
    stop_ = true;
    return false;
  }
  resumePos_ = continuation->End();
  return true;
}

bool Operation::SkipContinuation(const EntryHeader& entry) {
  EntryHeader current = entry;
  while ((current.Flags & kFlagToNextVolume) != 0) {
    EntryHeader next;
    if (!NextVolume(current, &next)) return false;
    current = next;
  }
  return true;
}

HeaderRead Operation::Walk(uint32_t pos, std::vector<EntryHeader>* entries, EntryHeader* stopper) {
  entries->clear();
  for (;;) {
    EntryHeader header;
    const HeaderRead read = ReadEntryHeader(volume_, pos, volumeSize_, &header);
    if (read != HeaderRead::Ok) {
      *stopper = header;
      return read;
    }
    pos = header.End();
    if (header.Type != 1) {
      // Recovery records carry nothing to unpack, but their data must be there.
      if (CutShort(header)) {
        *stopper = header;
        return HeaderRead::Truncated;
      }
      continue;
    }
    // The tail of an entry whose start lies in a volume not being read.
    if ((header.Flags & kFlagFromPreviousVolume) != 0 && !CutShort(header)) continue;
    entries->push_back(header);
    if (CutShort(header)) return HeaderRead::End;  // nothing can follow it
    if ((header.Flags & kFlagToNextVolume) != 0) return HeaderRead::Ok;
  }
}

bool Operation::ReportBrokenHeader(const EntryHeader& header) {
  const bool named = header.Type == 1 && !header.Name.empty();
  if (named) {
    DescribeFile(header);
  } else {
    notifier_.file = AceFileData{};
    notifier_.file.SourceFileName = "";
  }
  return Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_HEADER, named);
}

bool Operation::ReportCutShort(const EntryHeader& entry) {
  DescribeFile(entry);
  return Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_ARCHIVE_CRC, true);
}

bool Operation::Selected(const EntryHeader& entry) const {
  std::string name = AnsiName(entry.Name);
  if (entry.IsDirectory() && (name.empty() || name.back() != '\\')) name.push_back('\\');
  if (!include_.Selects(name)) return false;
  return exclude_.Empty() || !exclude_.Selects(name);
}

void Operation::DescribeFile(const EntryHeader& entry) {
  sourceName_ = AnsiName(entry.Name);
  std::string relative = request_.excludePath ? BaseNameOf(sourceName_) : sourceName_;
  ReplaceControlCharacters(relative);
  destinationName_ = destinationDir_;
  if (!destinationName_.empty() && destinationName_.back() != '\\' &&
      destinationName_.back() != '/') {
    destinationName_.push_back('\\');
  }
  destinationName_ += relative;
  destinationName_.resize(std::max<size_t>(destinationName_.size() + 1, 272), '\0');
  AceFileData& f = notifier_.file;
  f = AceFileData{};
  f.SourceFileName = sourceName_.c_str();
  f.DestinationFileName = destinationName_.data();
  f.Flags = entry.Flags;
  f.CRC32 = entry.Crc32;
  f.Method = entry.Method;
  f.DictionaryCode = entry.DictionaryCode();
  f.CompressedSize = entry.PackSize;
  f.Size = entry.OrigSize;
  f.Time = entry.Time;
  f.Attributes = entry.Attributes;
  AceProgressData& p = notifier_.progress;
  p.FileProcessedSize = 0;
  p.FileCompressedSize = 0;
  p.FileSize = entry.OrigSize;
  p.StepSize = 0;
}

int32_t Operation::ReadPacked(void* context, uint8_t* buffer, uint32_t size) {
  auto* self = static_cast<Operation*>(context);
  while (self->partLeft_ == 0) {
    if ((self->part_.Flags & kFlagToNextVolume) == 0) return 0;
    EntryHeader next;
    if (!self->NextVolume(self->part_, &next)) {
      self->readFailed_ = true;
      return -1;
    }
    self->part_ = next;
    self->partPos_ = next.DataPos;
    self->partLeft_ = next.PackSize;
  }
  const uint32_t want = std::min(size, self->partLeft_);
  const int64_t got = ReadAt(self->volume_, self->partPos_, buffer, want);
  if (got < 0) {
    self->readFailed_ = true;
    return -1;
  }
  // 0: the volume ends before the entry's data does, which the caller sees as damage.
  self->partPos_ += static_cast<uint32_t>(got);
  self->partLeft_ -= static_cast<uint32_t>(got);
  self->notifier_.progress.FileCompressedSize += static_cast<uint64_t>(got);
  self->notifier_.progress.TotalCompressedSize += static_cast<uint64_t>(got);
  return static_cast<int32_t>(got);
}

bool Operation::ReportProgress() {
  AceProgressData& p = notifier_.progress;
  p.StepSize = static_cast<uint32_t>(unreported_);
  unreported_ = 0;
  notifier_.State(ACE_CALLBACK_TYPE_PROGRESS, ACE_CALLBACK_STATE_PROGRESS);
  return !notifier_.Cancelled();
}

bool Operation::Deliver(const uint8_t* data, size_t size, bool selected) {
  crc_ = Crc32Update(crc_, data, size);
  if (out_ != nullptr && out_->Write(data, static_cast<uint32_t>(size)) != WriteResult::Ok) {
    // The entry is given up, but its bytes may still be history for later ones.
    out_->Discard();
    out_ = nullptr;
    if (Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_WRITE)) return false;
  }
  if (selected) {
    AceProgressData& p = notifier_.progress;
    p.FileProcessedSize += size;
    p.TotalProcessedSize += size;
    unreported_ += size;
    if (unreported_ >= kProgressInterval && !ReportProgress()) return false;
  }
  return true;
}

bool Operation::Unpack(const EntryHeader& entry, bool selected, OutputFile* out) {
  part_ = entry;
  partPos_ = entry.DataPos;
  partLeft_ = entry.PackSize;
  readFailed_ = false;
  crc_ = kCrcInit;
  unreported_ = 0;
  out_ = out;
  const PackedSource source{&Operation::ReadPacked, this};
  bool damaged = false;  // the data cannot be what was packed

  if (entry.Method == kMethodStored) {
    std::vector<uint8_t> buffer(kCopyChunk);
    uint64_t left = entry.OrigSize;
    while (left > 0) {
      const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(left, kCopyChunk));
      const int32_t got = ReadPacked(this, buffer.data(), want);
      if (got <= 0) {
        damaged = !readFailed_;
        break;
      }
      if (!Deliver(buffer.data(), static_cast<size_t>(got), selected)) return false;
      left -= static_cast<uint32_t>(got);
    }
  } else if (entry.OrigSize > 0) {
    // Empty entries leave the decoder alone: starting one would end the history.
    if (!decoderReady_) {
      if (decoder_.Init(Lz77Decoder::kMaxDictionary) != DecodeStatus::kOk) {
        Fail(ACE_CALLBACK_TYPE_GLOBAL, ACE_CALLBACK_ERROR_MEMORY);
        stop_ = true;
        return false;
      }
      decoderReady_ = true;
    }
    decoder_.BeginFile(source, entry.OrigSize, (entry.Flags & kFlagContinued) != 0);
    for (;;) {
      const uint8_t* data = nullptr;
      size_t size = 0;
      const DecodeStatus status = decoder_.Decode(&data, &size);
      if (status == DecodeStatus::kOk) {
        if (size == 0) break;
        if (!Deliver(data, size, selected)) return false;
        continue;
      }
      if (status == DecodeStatus::kNoMemory) {
        Fail(ACE_CALLBACK_TYPE_GLOBAL, ACE_CALLBACK_ERROR_MEMORY);
        stop_ = true;
        return false;
      }
      // Only a failed read is this machine's fault; data that ends too soon
      // or does not decode is damage.
      damaged = !readFailed_;
      break;
    }
  }
  if (stop_) return false;
  if (readFailed_) {
    // A read failure: what follows cannot be trusted.
    if (out_ != nullptr) out_->Discard();
    Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_READ);
    stop_ = true;
    return false;
  }
  // The rest of an entry that goes on in later volumes is still to be passed.
  if (partLeft_ > 0 || (part_.Flags & kFlagToNextVolume) != 0) {
    if (!SkipContinuation(part_)) return false;
  }
  if (damaged || crc_ != entry.Crc32) {
    if (out_ != nullptr) out_->Discard();
    if (selected) return !Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_ARCHIVE_CRC, true);
    return true;
  }
  if (out_ != nullptr && !out_->Commit(entry.Time, entry.Attributes)) {
    if (Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_OPEN)) return false;
  }
  if (selected) return ReportProgress();
  return true;
}

bool Operation::Process(const EntryHeader& entry, bool selected) {
  const uint32_t op = request_.operation;
  if (selected) {
    DescribeFile(entry);
    const int answer =
        notifier_.State(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_STATE_STARTFILE);
    if (notifier_.Cancelled()) return false;
    if (answer != ACE_CALLBACK_RETURN_OK) selected = false;
  }
  if (CutShort(entry)) return !ReportCutShort(entry);
  const bool historyOnly = !selected;
  if (op == ACE_CALLBACK_OPERATION_LIST || (historyOnly && !CarriesHistory(entry))) {
    return SkipContinuation(entry);
  }

  const bool encrypted = (entry.Flags & kFlagEncrypted) != 0 && !entry.IsDirectory();
  // Directories and empty files have nothing to decode, whatever their method.
  const bool known = entry.Method == kMethodStored || entry.IsDirectory() || entry.OrigSize == 0 ||
                     (entry.Method == kMethodLz77 && entry.DictionaryCode() <= kMaxDictionaryCode);
  if (encrypted || !known) {
    if (selected && encrypted && notifier_.global.DecryptPassword != nullptr &&
        notifier_.global.DecryptPassword[0] == '\0') {
      const int answer =
          notifier_.Request(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_REQUEST_PASSWORD);
      if (notifier_.Cancelled()) return false;
      if (answer != ACE_CALLBACK_RETURN_OK) return SkipContinuation(entry);
    }
    // Decryption is not offered: a password alone cannot make such an entry readable.
    if (selected && Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_METHOD)) return false;
    return SkipContinuation(entry);
  }

  OutputFile output;
  OutputFile* out = nullptr;
  if (selected && op == ACE_CALLBACK_OPERATION_EXTRACT) {
    const char* chosen = notifier_.file.DestinationFileName;
    const std::string target = chosen != nullptr ? chosen : "";
    if (CheckOutputName(destinationDir_, target, entry.IsDirectory()) != OutputProblem::kNone) {
      if (Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_OPEN)) return false;
      return CarriesHistory(entry) ? Unpack(entry, false, nullptr) : SkipContinuation(entry);
    }
    if (entry.IsDirectory()) {
      if (!MakeDirectories(target) &&
          Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_MAKE_DIRECTORY)) {
        return false;
      }
      return SkipContinuation(entry);
    }
    const DWORD existing = GetFileAttributesA(target.c_str());
    bool write = true;
    if (existing != INVALID_FILE_ATTRIBUTES) {
      if ((existing & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        if (Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_OPEN)) return false;
        write = false;
      } else {
        const int answer =
            notifier_.Request(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_REQUEST_OVERWRITE);
        if (notifier_.Cancelled()) return false;
        write = answer == ACE_CALLBACK_RETURN_OK;
      }
    }
    if (write && !MakeParentDirectories(target)) {
      if (Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_MAKE_DIRECTORY)) return false;
      write = false;
    }
    if (write && !output.Create(target)) {
      if (Fail(ACE_CALLBACK_TYPE_ARCHIVEDFILE, ACE_CALLBACK_ERROR_OPEN)) return false;
      write = false;
    }
    if (write) {
      out = &output;
    } else {
      // Left out; its data still feeds the history of the entries after it.
      return CarriesHistory(entry) ? Unpack(entry, false, nullptr) : SkipContinuation(entry);
    }
  } else if (entry.IsDirectory() && entry.PackSize == 0) {
    return SkipContinuation(entry);
  }
  return Unpack(entry, selected, out);
}

int Operation::Run() {
  firstVolume_ = request_.archive != nullptr ? request_.archive : "";
  if (!OpenVolume(firstVolume_, 0)) {
    Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_READ);
    return notifier_.Result();
  }
  if (!FindMainHeader(volume_, &main_)) {
    Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_NOT_ACE);
    return notifier_.Result();
  }
  DescribeVolume();
  if (notifier_.State(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_STATE_STARTARCHIVE) ==
      ACE_CALLBACK_RETURN_CANCEL) {
    return notifier_.Result();
  }
  const bool solid = (main_.Flags & kFlagSolid) != 0;

  // The chain of headers begins right after the main header; whatever breaks
  // it is reported, and the walk goes on at the next intact file header for
  // as long as the caller lets it.
  uint32_t pos = main_.Pos + main_.Size;
  std::vector<EntryHeader> entries;
  for (;;) {
    EntryHeader stopper;
    const HeaderRead end = Walk(pos, &entries, &stopper);
    const bool continues = !entries.empty() && !CutShort(entries.back()) &&
                           (entries.back().Flags & kFlagToNextVolume) != 0;
    // Which entries to unpack: the selected ones, and in a solid stream every
    // compressed entry whose history a later unpacked entry continues. What
    // the next volume holds is unknown, so the entry that runs into it counts
    // as needed in a solid archive.
    std::vector<char> selected(entries.size());
    std::vector<char> needed(entries.size());
    bool historyWanted = continues && solid;
    for (size_t i = entries.size(); i-- > 0;) {
      const EntryHeader& e = entries[i];
      selected[i] = Selected(e);
      if (CarriesHistory(e) && request_.operation != ACE_CALLBACK_OPERATION_LIST) {
        needed[i] = selected[i] || historyWanted;
        historyWanted = needed[i] && (e.Flags & kFlagContinued) != 0;
      } else {
        needed[i] = selected[i];
      }
    }
    for (size_t i = 0; i < entries.size(); ++i) {
      const EntryHeader& e = entries[i];
      bool ok;
      if (needed[i]) {
        ok = Process(e, selected[i] != 0);
      } else {
        ok = CutShort(e) ? !ReportCutShort(e) : SkipContinuation(e);
      }
      if (!ok || stop_ || notifier_.Cancelled()) return notifier_.Result();
    }
    if (continues) {
      pos = resumePos_;
      continue;
    }
    if (end == HeaderRead::IoError) {
      Fail(ACE_CALLBACK_TYPE_ARCHIVE, ACE_CALLBACK_ERROR_READ);
      return notifier_.Result();
    }
    // A header that seems to run past the end of the file may as well be
    // damage that an intact header follows.
    if (end == HeaderRead::End || ReportBrokenHeader(stopper)) return notifier_.Result();
    const int64_t next = FindNextFileHeader(volume_, stopper.Pos + 1, volumeSize_);
    if (next < 0) return notifier_.Result();
    pos = static_cast<uint32_t>(next);
  }
}

}  // namespace

int RunOperation(const OperationRequest& request) {
  Operation operation(request);
  return operation.Run();
}

}  // namespace ace::unace
