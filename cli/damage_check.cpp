#include "damage_check.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "entry_format.h"
#include "file_access.h"
#include "format/crc32.h"
#include "unace/unacev2.h"

namespace acearc {

namespace fs = std::filesystem;

namespace {

// The entry's name, or "" when the listing has none for it; `where` then
// says which header is meant.
std::string NameOf(const ArcFileEntry& entry, std::string* where) {
  *where = std::string(entry.IsFile ? "the header" : "the recovery record") + " at offset " +
           std::to_string(ToUInt64(entry.HeaderPos));
  return entry.IsFile && entry.Name[0] != '\0' ? DisplayName(entry.Name) : std::string();
}

// One damage of an entry: "its header ..." when named, "the header at ..." when not.
Damage About(const ArcFileEntry& entry, const std::string& named, const std::string& unnamed) {
  std::string where;
  std::string name = NameOf(entry, &where);
  if (name.empty()) return {"", unnamed + " " + where};
  return {name, named};
}

uint32_t U16(const char* p) {
  return static_cast<uint8_t>(p[0]) | static_cast<uint32_t>(static_cast<uint8_t>(p[1])) << 8;
}

bool ChecksumHolds(const char* header) {
  const uint32_t size = U16(header + 2);
  return (ace::Crc32Update(ace::kCrcInit, header + 4, size) & 0xFFFF) == U16(header);
}

// Where the main header ends, found as the plug-in finds it: the first
// "**ACE**" 7 bytes into a header of type 0 whose checksum holds, within the
// file's first 61,440 bytes. 0 when there is none.
uint64_t MainHeaderEnd(std::ifstream& in, uint64_t size) {
  std::string head(static_cast<size_t>(std::min<uint64_t>(size, 61440)), '\0');
  in.seekg(0);
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  if (!in) return 0;
  for (size_t sig = head.find("**ACE**", 7); sig != std::string::npos;
       sig = head.find("**ACE**", sig + 1)) {
    const size_t h = sig - 7;
    const size_t end = h + 4 + U16(&head[h + 2]);
    if (head[h + 4] == 0 && end <= head.size() && ChecksumHolds(&head[h])) return end;
  }
  return 0;
}

// The length of the intact recovery record at `pos` with its data, or 0.
uint64_t RecoveryRecordAt(std::ifstream& in, uint64_t pos, uint64_t size) {
  char fixed[11];
  in.clear();
  in.seekg(static_cast<std::streamoff>(pos));
  if (pos + sizeof fixed > size || !in.read(fixed, sizeof fixed)) return 0;
  const uint32_t headSize = U16(fixed + 2);
  if ((fixed[4] != 2 && fixed[4] != 5) || headSize < 7 || pos + 4 + headSize > size) return 0;
  std::string header(headSize + 4, '\0');
  in.seekg(static_cast<std::streamoff>(pos));
  if (!in.read(header.data(), static_cast<std::streamsize>(header.size())) ||
      !ChecksumHolds(header.data())) {
    return 0;
  }
  return 4 + headSize + (U16(fixed + 7) | static_cast<uint64_t>(U16(fixed + 9)) << 16);
}

// What the library reported while testing, with the entry it was at.
struct LibraryRun {
  std::vector<Damage> found;
  std::string lastStarted;  // the entry the library took up last, as shown
};
LibraryRun* g_run = nullptr;  // the callbacks carry no context of their own

std::string NameIn(const AceCallbackRecord* r) {
  if (r->FileData == nullptr || r->FileData->SourceFileName == nullptr) return {};
  return DisplayName(r->FileData->SourceFileName);
}

int UNACE_CALL OnError(AceCallbackRecord* r) {
  const std::string name = NameIn(r);
  switch (r->Code) {
    case ACE_CALLBACK_ERROR_ARCHIVE_CRC:
      g_run->found.push_back({name, "CRC error"});
      break;
    case ACE_CALLBACK_ERROR_HEADER:
      if (!name.empty()) {
        g_run->found.push_back({name, "its header is damaged"});
      } else {
        g_run->found.push_back({"", g_run->lastStarted.empty()
                                        ? "damaged header before the first entry"
                                        : "damaged header after entry " + g_run->lastStarted});
      }
      break;
    case ACE_CALLBACK_ERROR_READ:
    case ACE_CALLBACK_ERROR_SEEK:
      g_run->found.push_back({name, "the archive cannot be read"});
      break;
    default:
      break;  // not damage: an unsupported entry, a missing volume
  }
  return ACE_CALLBACK_RETURN_OK;  // on to the next damage
}

int UNACE_CALL OnRequest(AceCallbackRecord* r) {
  if (r->Code == ACE_CALLBACK_REQUEST_CHANGEVOLUME) {
    std::error_code ec;
    const char* next = r->ArchiveData != nullptr ? r->ArchiveData->ArchiveName : nullptr;
    return next != nullptr && fs::exists(next, ec) ? ACE_CALLBACK_RETURN_OK
                                                   : ACE_CALLBACK_RETURN_CANCEL;
  }
  return ACE_CALLBACK_RETURN_NO;  // an encrypted entry without a password is left out
}

int UNACE_CALL OnState(AceCallbackRecord* r) {
  if (r->Code == ACE_CALLBACK_STATE_STARTFILE) g_run->lastStarted = NameIn(r);
  return ACE_CALLBACK_RETURN_OK;
}

int UNACE_CALL OnInfo(AceCallbackRecord*) { return ACE_CALLBACK_RETURN_OK; }

// The extraction library the plug-in uses: the one beside the plug-in.
class UnAce {
 public:
  UnAce() {
    handle_ = OpenLibraryBesidePlugin("UnAceV2.Dll");
    if (handle_ == nullptr) return;
    init_ = reinterpret_cast<AceInitDllProc>(LibrarySymbol(handle_, "ACEInitDll"));
    test_ = reinterpret_cast<AceTestProc>(LibrarySymbol(handle_, "ACETest"));
  }
  ~UnAce() {
    if (handle_ != nullptr) CloseLibrary(handle_);
  }
  UnAce(const UnAce&) = delete;
  UnAce& operator=(const UnAce&) = delete;

  bool loaded() const { return init_ != nullptr && test_ != nullptr; }
  AceInitDllProc init_ = nullptr;
  AceTestProc test_ = nullptr;

 private:
  void* handle_ = nullptr;
};

}  // namespace

std::string Damage::Line() const {
  return entry.empty() ? what : "damaged entry " + entry + ": " + what;
}

std::vector<Damage> CheckListing(const std::string& archive,
                                 const std::vector<const ArcFileEntry*>& entries) {
  std::vector<Damage> found;
  std::error_code ec;
  const uint64_t size = fs::file_size(archive, ec);
  std::ifstream in(archive, std::ios::binary);
  uint64_t end = ec || !in ? 0 : MainHeaderEnd(in, size);
  if (end == 0) return found;
  // The listing starts at the first intact file header after the main header;
  // only recovery records may stand before it.
  const uint64_t first = entries.empty() ? size : ToUInt64(entries.front()->HeaderPos);
  for (uint64_t step; end < first && (step = RecoveryRecordAt(in, end, size)) != 0;) end += step;
  if (!entries.empty() && first > end) {
    found.push_back({"", CountOf(first - end, "byte", "bytes") +
                             " between the main header and the first entry belong to no entry"});
  }
  std::string header;
  for (const ArcFileEntry* e : entries) {
    const uint64_t pos = ToUInt64(e->HeaderPos);
    const uint64_t dataPos = pos + 4 + e->HeaderSize;
    if (dataPos > size) {
      found.push_back(About(*e, "the archive ends inside its header", "the archive ends inside"));
      found.back().endsInHeader = true;
      return found;
    }
    header.resize(e->HeaderSize + 4);
    in.seekg(static_cast<std::streamoff>(pos));
    in.read(header.data(), static_cast<std::streamsize>(header.size()));
    if (in && !ChecksumHolds(header.data())) {
      found.push_back(About(*e, "the checksum of its header does not match",
                            "the checksum does not match for"));
    }
    end = dataPos + ToUInt64(e->PackedSize);
    if (end > size) {
      const std::string missing = CountOf(end - size, "byte", "bytes");
      found.push_back(About(*e, "the archive ends " + missing + " before the end of its data",
                            "the archive ends " + missing + " before the end of the data of"));
      return found;
    }
  }
  if (end < size) {
    found.push_back({"", "the listing stopped " + CountOf(size - end, "byte", "bytes") +
                             " before the end of the file"});
  }
  return found;
}

std::optional<std::vector<Damage>> DescribeDamage(const std::string& archive,
                                                  const std::optional<std::string>& password) {
  UnAce library;
  if (!library.loaded()) return std::nullopt;
  LibraryRun run;
  g_run = &run;
  AceInitDllStruc init{};
  init.MaxArchiveTestBytes = 0x1FFFF;
  init.MaxFileBufSize = 0x2FFFF;
  init.TempDir = "";
  init.InfoCallback = OnInfo;
  init.ErrorCallback = OnError;
  init.RequestCallback = OnRequest;
  init.StateCallback = OnState;
  library.init_(&init);
  AceTestStruc test{};
  test.Files.SourceDir = "";
  test.Files.FileList = "";
  test.Files.ExcludeList = "";
  test.DecryptPassword = password ? password->c_str() : "";
  library.test_(archive.c_str(), &test);
  g_run = nullptr;
  return run.found;
}

}  // namespace acearc
