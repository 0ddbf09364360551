// UnAceV2.Dll on its own, through its five functions and a recording caller.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "support/ace_builder.h"
#include "support/test_support.h"
#include "unace/unacev2.h"

namespace acetest {
namespace {

struct Call {
  uint32_t kind;  // 0 info, 1 error, 2 request, 3 state
  uint32_t type, code, operation;
  std::string name;    // the file's stored name, when there is a file
  std::string volume;  // the archive's path, when there is an archive
  uint32_t volumeNumber = 0;
};

// The library and a caller that records every callback and answers through
// `answer` (0 when it returns -1).
class Library : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::string path = (BinDir() / "UnAceV2.Dll").string();
    handle_ = LoadLibraryA(path.c_str());
    ASSERT_NE(handle_, nullptr) << path;
    Find(init_, "ACEInitDll");
    Find(read_, "ACEReadArchiveData");
    Find(list_, "ACEList");
    Find(test_, "ACETest");
    Find(extract_, "ACEExtract");
  }
  static void TearDownTestSuite() {
    if (handle_ != nullptr) FreeLibrary(handle_);
  }

  void SetUp() override {
    ASSERT_NE(extract_, nullptr);
    current_ = this;
    AceInitDllStruc init{};
    init.MaxArchiveTestBytes = 0x1FFFF;
    init.MaxFileBufSize = 0x2FFFF;
    init.TempDir = "C:\\TEMP";
    init.InfoCallback = [](AceCallbackRecord* r) { return current_->Record(0, r); };
    init.ErrorCallback = [](AceCallbackRecord* r) { return current_->Record(1, r); };
    init.RequestCallback = [](AceCallbackRecord* r) { return current_->Record(2, r); };
    init.StateCallback = [](AceCallbackRecord* r) { return current_->Record(3, r); };
    ASSERT_EQ(init_(&init), 0);
    out_ = dir_ / "out";
    std::filesystem::create_directories(out_);
  }

  int Record(uint32_t kind, AceCallbackRecord* r) {
    Call call{kind, r->StructureType, r->Code, r->Operation, "", "", 0};
    if (r->FileData != nullptr && r->FileData->SourceFileName != nullptr) {
      call.name = r->FileData->SourceFileName;
    }
    if (r->ArchiveData != nullptr && r->ArchiveData->ArchiveName != nullptr) {
      call.volume = r->ArchiveData->ArchiveName;
      call.volumeNumber = r->ArchiveData->VolumeNumber;
    }
    calls_.push_back(call);
    if (answer_) {
      const int a = answer_(*r);
      if (a >= 0) return a;
    }
    return 0;
  }

  std::vector<Call> Calls(uint32_t kind, uint32_t code) const {
    std::vector<Call> found;
    for (const Call& c : calls_) {
      if (c.kind == kind && c.code == code) found.push_back(c);
    }
    return found;
  }

  int Extract(const std::string& archive, const char* list = "", uint32_t excludePath = 0,
              const char* exclude = "") {
    AceExtractStruc x{};
    x.Files.SourceDir = "";
    x.Files.FileList = list;
    x.Files.ExcludeList = exclude;
    x.DestinationDir = destination_.c_str();
    x.ExcludePath = excludePath;
    x.DecryptPassword = "";
    return extract_(archive.c_str(), &x);
  }

  std::string Write(const Bytes& bytes, const std::string& name = "a.ace") {
    WriteFileBytes(dir_ / name, bytes);
    return dir_ / name;
  }

  static AceEntry Stored(const std::string& name, const std::string& text) {
    AceEntry e;
    e.name = name;
    e.data = TextBytes(text);
    return e;
  }

  template <typename Proc>
  static void Find(Proc& proc, const char* name) {
    proc = reinterpret_cast<Proc>(reinterpret_cast<void (*)()>(GetProcAddress(handle_, name)));
  }
  static inline HMODULE handle_ = nullptr;
  static inline AceInitDllProc init_ = nullptr;
  static inline AceReadArchiveDataProc read_ = nullptr;
  static inline AceListProc list_ = nullptr;
  static inline AceTestProc test_ = nullptr;
  static inline AceExtractProc extract_ = nullptr;
  static inline Library* current_ = nullptr;

  TempDir dir_;
  std::string out_;
  std::string destination_ = "";  // set per test
  std::vector<Call> calls_;
  std::function<int(AceCallbackRecord&)> answer_;
};

TEST_F(Library, ReadArchiveDataFindsTheMainHeaderBehindAPrefix) {
  Bytes bytes(1000, 'x');
  const Bytes archive = AceArchive({Stored("a.txt", "x")}, 0x8000);
  bytes.insert(bytes.end(), archive.begin(), archive.end());
  AceReadArchiveDataStruc data{};
  EXPECT_EQ(read_(Write(bytes).c_str(), &data), 0);
  ASSERT_NE(data.ArchiveData, nullptr);
  EXPECT_EQ(data.ArchiveData->Flags & 0x8000u, 0x8000u);
  EXPECT_EQ(data.ArchiveData->VersionExtract, 10u);

  AceReadArchiveDataStruc none{};
  EXPECT_NE(read_(Write(TextBytes("**ACE** but nothing else"), "b.ace").c_str(), &none), 0);
  EXPECT_EQ(none.ArchiveData, nullptr);
  EXPECT_NE(read_((dir_ / "missing.ace").c_str(), &none), 0);
  EXPECT_EQ(none.ArchiveData, nullptr);
}

TEST_F(Library, ListMatchesTheFileListAndTheExcludeList) {
  const std::string archive =
      Write(AceArchive({Stored("docs\\a.txt", "1"), Stored("docs\\sub\\b.txt", "2"),
                        Stored("c.doc", "3"), Stored("readme", "4")}));
  struct Case {
    const char* include;
    const char* exclude;
    std::vector<std::string> names;
  };
  const Case cases[] = {
      {"", "", {"docs\\a.txt", "docs\\sub\\b.txt", "c.doc", "readme"}},
      {"*.txt", "", {"docs\\a.txt", "docs\\sub\\b.txt"}},
      {"docs\\*.txt\rreadme", "", {"docs\\a.txt", "docs\\sub\\b.txt", "readme"}},
      {"DOCS\\A.TXT", "", {"docs\\a.txt"}},
      {"*", "", {"readme"}},
      {"*.*", "*.txt", {"c.doc", "readme"}},
      {"?.doc", "", {"c.doc"}},
  };
  for (const Case& c : cases) {
    calls_.clear();
    AceListStruc list{};
    list.Files.SourceDir = "";
    list.Files.FileList = c.include;
    list.Files.ExcludeList = c.exclude;
    EXPECT_EQ(list_(archive.c_str(), &list), 0);
    std::vector<std::string> names;
    for (const Call& call : Calls(3, ACE_CALLBACK_STATE_STARTFILE)) {
      EXPECT_EQ(call.operation, static_cast<uint32_t>(ACE_CALLBACK_OPERATION_LIST));
      names.push_back(call.name);
    }
    EXPECT_EQ(names, c.names) << c.include << " / " << c.exclude;
  }
}

TEST_F(Library, DefaultOutputNamesFollowExcludePath) {
  destination_ = out_ + "\\";
  const std::string archive = Write(AceArchive({Stored("d\\e\\f.txt", "deep")}));
  EXPECT_EQ(Extract(archive), 0);
  EXPECT_EQ(ReadFileBytes(std::filesystem::path(out_) / "d" / "e" / "f.txt"), TextBytes("deep"));
  EXPECT_EQ(Extract(archive, "", 1), 0);
  EXPECT_EQ(ReadFileBytes(std::filesystem::path(out_) / "f.txt"), TextBytes("deep"));
}

TEST_F(Library, FileRecordDescribesTheEntry) {
  destination_ = out_ + "\\";
  AceEntry e = Stored("x.bin", "0123456789");
  e.attributes = 0x21;
  e.time = 0x2C619963u;
  const std::string archive = Write(AceArchive({e}));
  AceFileData seen{};
  AceProgressData progress{};
  answer_ = [&](AceCallbackRecord& r) {
    if (r.Code == ACE_CALLBACK_STATE_STARTFILE) seen = *r.FileData;
    if (r.Code == ACE_CALLBACK_STATE_PROGRESS) progress = *r.ProgressData;
    return -1;
  };
  EXPECT_EQ(Extract(archive), 0);
  EXPECT_EQ(seen.Size, 10u);
  EXPECT_EQ(seen.CompressedSize, 10u);
  EXPECT_EQ(seen.Time, 0x2C619963u);
  EXPECT_EQ(seen.Attributes, 0x21u);
  EXPECT_EQ(seen.CRC32, DataCrc(e.data));
  EXPECT_EQ(seen.Method, 0u);
  EXPECT_EQ(progress.FileProcessedSize, 10u);
  EXPECT_EQ(progress.FileSize, 10u);
  EXPECT_EQ(progress.TotalProcessedSize, 10u);
  // The read-only attribute came back.
  const auto path = std::filesystem::path(out_) / "x.bin";
  EXPECT_EQ(std::filesystem::status(path).permissions() & std::filesystem::perms::owner_write,
            std::filesystem::perms::none);
  std::filesystem::permissions(path, std::filesystem::perms::owner_write,
                               std::filesystem::perm_options::add);
}

TEST_F(Library, OutputNamesOutsideTheDestinationAreRefused) {
  destination_ = out_ + "\\";
  const std::string outside = dir_ / "outside.txt";
  const std::string archive = Write(AceArchive({Stored("a.txt", "one"), Stored("b.txt", "two")}));
  for (const std::string& target :
       {outside, out_ + "\\..\\outside.txt", out_ + "\\sub\\..\\..\\outside.txt",
        std::string("relative.txt")}) {
    calls_.clear();
    std::string buffer = target;
    answer_ = [&](AceCallbackRecord& r) {
      if (r.Code == ACE_CALLBACK_STATE_STARTFILE &&
          std::string(r.FileData->SourceFileName) == "a.txt") {
        r.FileData->DestinationFileName = buffer.data();
      }
      return -1;
    };
    EXPECT_EQ(Extract(archive), ACE_CALLBACK_ERROR_OPEN) << target;
    EXPECT_FALSE(std::filesystem::exists(outside)) << target;
    ASSERT_EQ(Calls(1, ACE_CALLBACK_ERROR_OPEN).size(), 1u) << target;
    EXPECT_EQ(Calls(1, ACE_CALLBACK_ERROR_OPEN)[0].type,
              static_cast<uint32_t>(ACE_CALLBACK_TYPE_ARCHIVEDFILE));
    // Answered 0, the library goes on with the next entry.
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(out_) / "b.txt"));
  }
}

TEST_F(Library, AnswersToTheStartOfAFile) {
  destination_ = out_ + "\\";
  const std::string archive =
      Write(AceArchive({Stored("a.txt", "1"), Stored("b.txt", "2"), Stored("c.txt", "3")}));
  answer_ = [](AceCallbackRecord& r) {
    if (r.Code != ACE_CALLBACK_STATE_STARTFILE) return -1;
    return std::string(r.FileData->SourceFileName) == "a.txt" ? 1 : 0;
  };
  EXPECT_EQ(Extract(archive), 0);
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(out_) / "a.txt"));
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(out_) / "b.txt"));
  std::filesystem::remove_all(out_);
  calls_.clear();
  answer_ = [](AceCallbackRecord& r) { return r.Code == ACE_CALLBACK_STATE_STARTFILE ? 2 : -1; };
  EXPECT_EQ(Extract(archive), ACE_RESULT_CANCELLED);
  EXPECT_FALSE(std::filesystem::exists(out_));
  EXPECT_EQ(Calls(3, ACE_CALLBACK_STATE_STARTFILE).size(), 1u);
}

// Damage between the main header and the first entry is stepped over,
// recovery records are skipped, and a broken header ends the test.
TEST_F(Library, TestStepsOverJunkAndRecoveryRecordsAndStopsAtABrokenHeader) {
  Bytes broken = AceEntryBytes(Stored("c.txt", "third"));
  broken[0] ^= 0xFF;  // HEAD_CRC no longer matches
  const struct {
    Bytes archive;
    int result;
    std::vector<std::string> names;
  } cases[] = {
      {Join({AceMainHeader(), Bytes(100, 0x5A), AceEntryBytes(Stored("a.txt", "after the junk"))}),
       0,
       {"a.txt"}},
      {Join({AceArchive({Stored("a.txt", "first")}), AceRecovery(2, 8, Bytes(8, 0xEE)),
             AceEntryBytes(Stored("b.txt", "second")), broken}),
       ACE_CALLBACK_ERROR_HEADER,
       {"a.txt", "b.txt"}},
  };
  for (const auto& c : cases) {
    calls_.clear();
    AceTestStruc t{};
    t.Files.FileList = "";
    EXPECT_EQ(test_(Write(c.archive).c_str(), &t), c.result);
    std::vector<std::string> names;
    for (const Call& call : Calls(3, ACE_CALLBACK_STATE_STARTFILE)) names.push_back(call.name);
    EXPECT_EQ(names, c.names);
    EXPECT_EQ(Calls(1, ACE_CALLBACK_ERROR_HEADER).size(), c.result == 0 ? 0u : 1u);
  }
}

// The next volume is asked for by its expected path; a continuation that
// belongs to another entry is refused.
TEST_F(Library, VolumesAreRequestedAndMustContinueTheEntry) {
  AceEntry head = Stored("span.txt", "0123456789");
  head.flags |= 0x2000;
  head.packed = TextBytes("01234");
  const std::string archive = Write(AceArchive({head}), "vol.ace");
  AceTestStruc t{};
  t.Files.FileList = "";
  answer_ = [](AceCallbackRecord& r) {
    return r.Code == ACE_CALLBACK_REQUEST_CHANGEVOLUME ? 2 : -1;
  };
  EXPECT_EQ(test_(archive.c_str(), &t), ACE_RESULT_CANCELLED);
  const auto requests = Calls(2, ACE_CALLBACK_REQUEST_CHANGEVOLUME);
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].type, static_cast<uint32_t>(ACE_CALLBACK_TYPE_ARCHIVE));
  EXPECT_EQ(requests[0].volume, dir_ / "vol.c00");
  EXPECT_EQ(requests[0].volumeNumber, 0u);

  AceEntry wrong = Stored("other.txt", "56789");
  wrong.flags |= 0x1000;
  Write(Join({AceMainHeader(0, 1), AceEntryBytes(wrong)}), "vol.c00");
  answer_ = nullptr;
  EXPECT_EQ(test_(archive.c_str(), &t), ACE_CALLBACK_ERROR_HEADER);
}

}  // namespace
}  // namespace acetest
