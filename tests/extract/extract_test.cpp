// Testing and extracting through the plug-in and UnAceV2.Dll as a host does:
// what each case writes and the status it leaves.
#include <chrono>

#include "extract/unace_driver.h"
#include "platform/win32.h"
#include "support/ace_builder.h"
#include "support/host.h"

namespace acetest {
namespace {

namespace fs = std::filesystem;

std::string Golden(const std::string& name) { return (VectorsDir() / "archives" / name).string(); }
AceEntry Stored(const std::string& name, const std::string& text) {
  return AceEntry{.name = name, .data = AsBytes(text)};
}

class Extraction : public ::testing::Test {
 public:
  std::string Write(const Bytes& bytes, const std::string& name = "t.ace") {
    WriteFileBytes(dir_ / name, bytes);
    return dir_ / name;
  }
  std::string out() const { return dir_ / "out"; }
  Tree Extracted() const { return fs::exists(out()) ? ReadTree(out()) : Tree{}; }
  TempDir dir_;
  Host host_;
};

TEST_F(Extraction, GoldenArchivesComeBackWithPathsAndTimes) {
  for (const char* name : {"plain.ace", "solid.ace"}) {
    SCOPED_TRACE(name);
    fs::remove_all(out());
    Host test, extract;
    ASSERT_EQ(TestArchive(Golden(name), &test), AR_OK);
    EXPECT_FALSE(fs::exists(out()));
    ASSERT_EQ(Extract(Golden(name), out(), {"*.*"}, 1, &extract), AR_OK);
    Tree tree = Extracted();
    ASSERT_EQ(tree.size(), 8u);
    EXPECT_EQ(DataCrc(AsBytes(tree[4].second)), 0x99FF8245u);  // the corpus file
    tree[4].second = "alice";
    const Tree expected = {{"data/", ""},
                           {"data/lcg8k", ReadFileText(VectorsDir() / "inputs/lcg8k")},
                           {"data/pattern60k", ReadFileText(VectorsDir() / "inputs/pattern60k")},
                           {"docs/", ""},
                           {"docs/alice29.txt", "alice"},
                           {"docs/empty.txt", ""},
                           {"docs/sub/", ""},
                           {"short.txt", ReadFileText(VectorsDir() / "inputs/short")}};
    EXPECT_EQ(tree, expected);
    const auto written = fs::last_write_time(fs::path(out()) / "short.txt");
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::file_clock::to_sys(written).time_since_epoch());
    // 1996-09-01 00:00:00 local, at today's offset as Windows converts every date.
    EXPECT_EQ(seconds.count(), 841536000 - CurrentUtcOffset());
    const std::string total = std::to_string(152089 + 8192 + 60000 + 23);
    EXPECT_EQ(test.Of("signal"), std::vector<std::string>{total + " 11"});
    EXPECT_EQ(extract.Of("signal"), std::vector<std::string>{total + " 2"});
    EXPECT_EQ(extract.Of("file")[0], "\\docs\\alice29.txt|" + out() + "\\docs\\alice29.txt");
  }
}

TEST_F(Extraction, MasksPathsAndTheRelativePathShapeTheOutput) {
  const struct {
    std::vector<std::string> masks;
    int32_t restorePaths;
    const char* relative;
    std::vector<std::string> files;
  } cases[] = {
      {{"*.txt"}, 1, "", {"docs/alice29.txt", "docs/empty.txt", "short.txt"}},
      // The last entry of a solid run needs the history of those before it,
      // which are decoded but not written.
      {{"data\\pattern60k"}, 1, "", {"data/pattern60k"}},
      {{"data\\*", "short.txt"}, 0, "", {"lcg8k", "pattern60k", "short.txt"}},
      {{"docs\\alice29.txt"}, 1, "docs\\", {"alice29.txt"}},
      {{"docs\\alice29.txt"}, 1, "DOCS\\", {"docs/alice29.txt"}},  // compared as it stands
      {{"docs\\alice29.txt"}, 0, "docs\\", {"alice29.txt"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.masks[0]);
    fs::remove_all(out());
    ASSERT_EQ(Extract(Golden("solid.ace"), out(), c.masks, c.restorePaths, nullptr, c.relative),
              AR_OK);
    std::vector<std::string> files;
    for (const auto& [path, text] : Extracted()) {
      if (path.back() != '/') files.push_back(path);
    }
    EXPECT_EQ(files, c.files);
  }
  SetOutputPath(std::string(200, 'o').c_str());  // a name that does not fit is not cut
  char target[ace::kUnAceTextBuffer];
  EXPECT_EQ(ace::BuildOutputName(std::string(100, 'n').c_str(), target),
            ace::OutputProblem::kTooLong);
  EXPECT_STREQ(target, "");
  DoneArcFile();
}

TEST_F(Extraction, TroubleLeavesItsStatusAndNoDamagedFile) {
  AceEntry badCrc = Stored("bad.txt", "the stored bytes");
  badCrc.crc = DataCrc(badCrc.data) ^ 1;
  AceEntry secret = Stored("dir\\secret.txt", "hidden");
  secret.flags |= 0x4000;
  AceEntry odd = Stored("odd.bin", "packed some other way");
  odd.method = 2;
  const AceEntry a = Stored("a.txt", "one"), b = Stored("b.txt", "two");
  const Bytes golden = ReadFileBytes(Golden("plain.ace"));
  Bytes damaged = golden;
  damaged[53 + 53 + 20000] ^= 0x40;  // inside docs\alice29.txt's packed data
  const Bytes crc = AceArchive({a, badCrc, b}), crcLast = AceArchive({a, badCrc}),
              ab = AceArchive({a, b}), encrypted = AceArchive({secret, b}),
              method = AceArchive({odd}), climb = AceArchive({a, Stored("..\\evil", "x"), b}),
              climbLater = AceArchive({a, Stored("a\\..\\..\\evil", "x")}),
              climbAlone = AceArchive({Stored("a\\..\\..\\evil", "x")}),
              cut = Bytes(golden.begin(), golden.end() - 23 - 46 - 800),
              junk = Join({AceMainHeader(), Bytes(100, 0x5A), AceEntryBytes(a)});
  Bytes broken = AceEntryBytes(b);
  broken[0] ^= 0xFF;  // the header's checksum
  broken = Join({AceArchive({a}), broken});
  enum Way { kExtract, kTest, kNoMasks, kReplacedBehindItsBack };
  const struct {
    const char* what;
    const Bytes& archive;
    Way way;
    const char* mask;
    int32_t restorePaths, stopAt, keyAnswer;
    uint16_t status;
    const char* left;  // in the output folder afterwards
  } cases[] = {
      {"a CRC error", crc, kExtract, "*.*", 1, -1, 1, AR_ARCHIVE_ERROR, "a.txt=one b.txt=two"},
      {"a CRC error found by a test", crcLast, kTest, "", 1, -1, 1, AR_ARCHIVE_ERROR, ""},
      {"damaged packed data", damaged, kExtract, "*.txt", 1, -1, 1, AR_ARCHIVE_ERROR,
       "docs/ docs/empty.txt= short.txt=abracadabra abracadabra"},
      {"an archive cut inside an entry", cut, kExtract, "data\\*", 1, -1, 1, AR_ARCHIVE_ERROR,
       "data/ data/lcg8k=8192 bytes"},
      {"an archive cut inside an entry, tested", cut, kTest, "", 1, -1, 1, AR_ARCHIVE_ERROR, ""},
      {"junk before the first entry", junk, kExtract, "*.*", 0, -1, 1, AR_BAD_HEADER, ""},
      {"a broken header", broken, kExtract, "*.*", 0, -1, 1, AR_BAD_HEADER, "a.txt=one"},
      {"a refused progress report", ab, kExtract, "*.*", 0, 0, 1, AR_ABORTED, "a.txt=one"},
      {"an encrypted entry: decryption is not offered", encrypted, kExtract, "*.*", 0, -1, 1,
       AR_UNSUPPORTED, ""},
      {"a declined password", encrypted, kExtract, "*.*", 0, -1, 0, AR_ABORTED, ""},
      {"an unknown method", method, kTest, "", 0, -1, 1, AR_UNSUPPORTED, ""},
      {"a name that climbs out", climb, kExtract, "*.*", 1, -1, 1, AR_BAD_DIR_NAME,
       "a.txt=one b.txt=two"},
      {"a name that climbs out further on", climbLater, kExtract, "*.*", 1, -1, 1, AR_BAD_DIR_NAME,
       "a.txt=one"},
      {"the same name without paths", climbAlone, kExtract, "*.*", 0, -1, 1, AR_OK, "evil=x"},
      {"no mask list", ab, kNoMasks, "", 0, -1, 1, AR_IO_ERROR, ""},
      {"no archive any more when the library reads it", ab, kReplacedBehindItsBack, "", 0, -1, 1,
       AR_NOT_ACE, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    fs::remove_all(dir_.path());
    fs::create_directories(dir_.path());
    Host host;
    host.stopAtProgress = c.stopAt;
    host.keyAnswer = c.keyAnswer;
    host.password = std::string(271, 'p');
    const std::string archive = Write(c.archive);
    if (c.way == kExtract) {
      EXPECT_EQ(Extract(archive, out(), {c.mask}, c.restorePaths, &host), c.status);
    } else if (c.way == kTest) {
      EXPECT_EQ(TestArchive(archive), c.status);
    } else {
      InitArcFile(archive.c_str());
      if (c.way == kReplacedBehindItsBack) WriteFileText(archive, "no archive here any more");
      c.way == kNoMasks ? ExtractFileMaskListArc(nullptr) : TestArc();
      EXPECT_EQ(GetArchiveStatus(), c.status);
      DoneArcFile();
    }
    if (std::strstr(c.what, "encrypted") || std::strstr(c.what, "password")) {
      EXPECT_EQ(host.Of("key"), std::vector<std::string>{"secret.txt"}) << "asked for";
    }
    std::string left;
    for (const auto& [name, text] : Extracted()) {
      left += (left.empty() ? "" : " ") + name;
      if (name.back() != '/')
        left += "=" + (text.size() > 30 ? std::to_string(text.size()) + " bytes" : text);
    }
    EXPECT_EQ(left, c.left);
    EXPECT_FALSE(fs::exists(dir_.path() / "evil") ||
                 fs::exists(dir_.path().parent_path() / "evil"));
    for (const auto& e : fs::recursive_directory_iterator(dir_.path())) {
      EXPECT_NE(e.path().extension(), ".$UN") << e.path();
    }
  }
}

// The question about an existing (read-only) file: 0 replaces it, 1 keeps
// it, anything else stops; without a procedure it is replaced. A damaged
// entry never touches it.
TEST_F(Extraction, ExistingFilesAreReplacedOnlyAsTheHostSays) {
  AceEntry damaged = Stored("a.txt", "archived");
  damaged.crc = 1;
  for (auto [answer, archived, status, text] : {std::tuple{0, true, AR_OK, "archived"},
                                                {1, true, AR_OK, "on disk"},
                                                {2, true, AR_ABORTED, "on disk"},
                                                {-1, true, AR_OK, "archived"},
                                                {0, false, AR_ARCHIVE_ERROR, "on disk"}}) {
    SCOPED_TRACE(testing::Message() << answer << (archived ? "" : ", damaged entry"));
    fs::create_directories(out());
    WriteFileText(fs::path(out()) / "a.txt", "on disk");
    if (answer >= 0) fs::permissions(fs::path(out()) / "a.txt", fs::perms::owner_read);
    Host host;
    if (answer >= 0) host.replaceAnswers = {answer};
    const std::string a = Write(AceArchive({archived ? Stored("a.txt", "archived") : damaged}));
    EXPECT_EQ(Extract(a, out(), {"*.*"}, 0, &host), status);
    EXPECT_EQ(ReadFileText(fs::path(out()) / "a.txt"), text);
    if (answer >= 0 && archived) {
      ASSERT_EQ(host.existing.size(), 1u);
      EXPECT_EQ(host.existing[0].nFileSizeLow, 7u);  // the file on disk
      EXPECT_STREQ(host.replacement[0].cFileName, "a.txt");
      EXPECT_EQ(host.replacement[0].nFileSizeLow, 8u);  // the entry
    }
    fs::permissions(fs::path(out()) / "a.txt", fs::perms::owner_all);
    fs::remove_all(out());
  }
}

TEST_F(Extraction, ProgressStepsAddUpAndTotalsPassFourGiB) {
  const Bytes big = RandomBytes(3 << 20, 1);
  ASSERT_EQ(
      Extract(Write(AceArchive({{.name = "big.bin", .data = big}})), out(), {"*.*"}, 0, &host_),
      AR_OK);
  const std::vector<std::string> reports = host_.Of("progress");
  ASSERT_GE(reports.size(), 3u);
  int64_t sum = 0;
  for (const std::string& p : reports) {
    const int64_t step = std::stoll(p.substr(p.find(' ') + 1));
    EXPECT_LE(step, 1 << 20) << p;  // at least every megabyte
    sum += step;
  }
  EXPECT_EQ(sum, 3 << 20);
  EXPECT_EQ(reports.back().substr(0, 4), "100 ");
  Host huge;  // the total is a 64-bit sum, handed over as two halves
  const AceEntry claim{.name = "x", .origSize = 0xFFFFFFFF};
  Extract(Write(AceArchive({claim, claim})), out(), {"*.*"}, 0, &huge);
  EXPECT_EQ(huge.Of("signal"), std::vector<std::string>{"8589934590 2"});
  EXPECT_EQ(ace::UnAcePercent(3000000000u, 4000000000u), 75);  // kept within 32 bits
  EXPECT_EQ(ace::UnAcePercent(20971520u, 41943040u), 50);
}

// set.ace holds first.txt and the start of span.bin, set.c00 the rest and
// last.txt. The next volume is asked for only when it is not where expected.
TEST_F(Extraction, VolumesAreFollowedOrAskedFor) {
  const AceEntry first = Stored("first.txt", "in the first volume");
  const AceEntry span{.name = "span.bin", .data = RandomBytes(5000, 3)};
  const AceEntry last = Stored("last.txt", "in the second volume");
  AceEntry head = span, tail = span;
  head.flags |= 0x2000;
  head.packed.assign(span.data.begin(), span.data.begin() + 3000);
  tail.flags |= 0x1000;
  tail.packed.assign(span.data.begin() + 3000, span.data.end());
  const Bytes volume0 = Join({AceMainHeader(), AceEntryBytes(first), AceEntryBytes(head)});
  const Bytes volume1 =
      Join({AceMainHeader({.volume = 1}), AceEntryBytes(tail), AceEntryBytes(last)});
  const Tree all = {{"first.txt", "in the first volume"},
                    {"last.txt", "in the second volume"},
                    {"span.bin", std::string(span.data.begin(), span.data.end())}};
  const struct {
    const char* what;
    const char* volume1;  // where set.c00 lies
    std::string answerFolder;
    int32_t answer;
    std::vector<std::string> masks;
    uint16_t status;
    Tree left;
    size_t asked;
  } cases[] = {
      {"beside the first", "set.c00", "", 0, {"*.*"}, AR_OK, all, 0},
      {"where the host says", "disk2/set.c00", dir_ / "disk2", 0, {"*.*"}, AR_OK, all, 1},
      {"declined", "", "", 1, {"*.*"}, AR_ABORTED, {all[0]}, 1},
      {"nowhere", "", "", 0, {"*.*"}, AR_IO_ERROR, {all[0]}, 1},
      {"the entry after the span alone", "set.c00", "", 0, {"last.txt"}, AR_OK, {all[1]}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    fs::remove_all(dir_.path());
    fs::create_directories(dir_.path() / "disk2");
    if (*c.volume1 != '\0') Write(volume1, c.volume1);
    Host host;
    host.diskFolder = c.answerFolder;
    host.diskAnswer = c.answer;
    EXPECT_EQ(Extract(Write(volume0, "set.ace"), out(), c.masks, 0, &host), c.status);
    EXPECT_EQ(Extracted(), c.left);
    EXPECT_EQ(host.Of("disk").size(), c.asked);
    if (c.status == AR_OK) {
      EXPECT_EQ(host.Of("signal"),
                std::vector<std::string>{c.masks[0] == "*.*" ? "5019 2" : "0 2"});
    }
  }
}

// A copy of the plug-in in a folder of its own looks for UnAceV2.Dll beside
// itself: missing, the operation leaves 2; lacking a function, it also says so.
TEST_F(Extraction, AMissingOrIncompleteLibraryLeavesFileNotFound) {
  const std::string archive = Write(AceArchive({Stored("a.txt", "x")}));
  for (bool incomplete : {false, true}) {
    const fs::path folder = dir_.path() / (incomplete ? "incomplete" : "alone");
    fs::create_directories(folder);
    const fs::path copy = folder / PluginPath().filename();
    fs::copy_file(PluginPath(), copy);
    if (incomplete) fs::copy_file(BinDir() / "incomplete" / "UnAceV2.Dll", folder / "UnAceV2.Dll");
    HMODULE plugin = LoadLibraryA(copy.string().c_str());
    ASSERT_NE(plugin, nullptr) << copy;
    auto init = reinterpret_cast<decltype(&InitArcFile)>(GetProcAddress(plugin, "InitArcFile"));
    auto test = reinterpret_cast<decltype(&TestArc)>(GetProcAddress(plugin, "TestArc"));
    auto status =
        reinterpret_cast<decltype(&GetArchiveStatus)>(GetProcAddress(plugin, "GetArchiveStatus"));
    init(archive.c_str());
    ASSERT_EQ(status(), AR_OK);
    testing::internal::CaptureStdout();
    test();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              incomplete ? "\nCould not find function in UnAceV2.Dll!\n\n" : "");
    EXPECT_EQ(status(), AR_FILE_NOT_FOUND);
    FreeLibrary(plugin);
  }
}

}  // namespace
}  // namespace acetest
