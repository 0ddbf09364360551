// The base of acearc's end-to-end tests: a private folder, a sample tree,
// acearc run in it, and its JSON listing read back.
#pragma once

#include "cli/runner.h"
#include "format/crc32.h"
#include "support/json.h"
#include "support/test_support.h"

namespace clitest {

namespace fs = std::filesystem;
using acetest::Json;
using Strings = std::vector<std::string>;

inline const std::string kAccented = "na\xC3\xAFve caf\xC3\xA9.txt";

class Acearc : public ::testing::Test {
 protected:
  RunResult Run(const Strings& args, const std::string& cwd = "") {
    return RunAcearc(args, dir_.path() / cwd);
  }
  // Names are UTF-8 text on every platform (std::string means ANSI to Windows paths).
  fs::path Path(const std::string& name) const {
    return dir_.path() / std::u8string(name.begin(), name.end());
  }
  // tree/: text in nested folders, an incompressible file, an empty file and
  // folder, an accented name and a read-only file.
  Strings MakeTree() {
    const std::pair<std::string, std::string> files[] = {
        {"README.txt", std::string(9000, 'r')},
        {"src/main.c", std::string(6000, 'm')},
        {"src/lib/util.c", "static int helper(int x) { return x; }\n"},
        {"src/lib/util.h", "int helper(int x);\n"},
        {"empty.txt", ""},
        {kAccented, "accents survive the trip\n"},
        {"readonly.txt", "do not change me\n"}};
    for (const auto& [name, text] : files) {
      fs::create_directories(Path("tree/" + name).parent_path());
      acetest::WriteFileText(Path("tree/" + name), text);
    }
    fs::create_directories(Path("tree/data"));
    acetest::WriteFileBytes(Path("tree/data/noise.bin"), acetest::RandomBytes(70000, 7));
    fs::create_directories(Path("tree/emptydir"));
    fs::permissions(Path("tree/readonly.txt"), fs::perms::owner_read);
    return {"tree/",          "tree/README.txt", "tree/data/",          "tree/data/noise.bin",
            "tree/empty.txt", "tree/emptydir/",  "tree/" + kAccented,   "tree/readonly.txt",
            "tree/src/",      "tree/src/lib/",   "tree/src/lib/util.c", "tree/src/lib/util.h",
            "tree/src/main.c"};
  }
  Json List(const std::string& archive) {
    const RunResult listed = Run({"l", "--json", archive});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    const auto json = acetest::ParseJson(listed.out);
    EXPECT_TRUE(json.has_value()) << "not JSON:\n" << listed.out;
    return json.value_or(Json{});
  }
  Strings Names(const std::string& archive) {
    Strings names;
    const Json listing = List(archive);
    for (const Json& e : listing["entries"].items) names.push_back(e["name"].text);
    std::sort(names.begin(), names.end());
    return names;
  }
  void CopyGolden() {
    fs::copy_file(acetest::VectorsDir() / "archives/plain.ace", Path("s.ace"));
    fs::permissions(Path("s.ace"), fs::perms::owner_write, fs::perm_options::add);
  }
  // Changes header bytes at `offset` and fixes the header's checksum.
  void EditHeader(uint64_t header, size_t offset, const std::string& bytes) {
    acetest::Bytes b = acetest::ReadFileBytes(Path("s.ace"));
    std::copy(bytes.begin(), bytes.end(), b.begin() + static_cast<long>(header + offset));
    const uint32_t crc =
        ace::Crc32Update(ace::kCrcInit, b.data() + header + 4, b[header + 2] | b[header + 3] << 8);
    b[header] = static_cast<uint8_t>(crc);
    b[header + 1] = static_cast<uint8_t>(crc >> 8);
    acetest::WriteFileBytes(Path("s.ace"), b);
  }
  static Json Entry(const Json& listing, const std::string& name) {
    for (const Json& e : listing["entries"].items) {
      if (e["name"].text == name) return e;
    }
    ADD_FAILURE() << name << " not listed";
    return {};
  }
  uint64_t HeaderOf(const std::string& name) {
    return Entry(List("s.ace"), name)["header_offset"].u64();
  }
  acetest::TempDir dir_;
};

inline bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace clitest
