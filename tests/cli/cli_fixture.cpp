#include "cli/cli_fixture.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>

#include "format/crc32.h"

namespace clitest {

namespace fs = std::filesystem;

namespace {

std::string Repeat(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text + std::to_string(i) + "\n";
  return out;
}

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  acetest::WriteFileText(path, text);
}

// Header checksum: low 16 bits of the CRC over HEAD_SIZE bytes from offset 4.
void FixHeaderCrc(acetest::Bytes& bytes, size_t header) {
  uint16_t size = static_cast<uint16_t>(bytes[header + 2] | bytes[header + 3] << 8);
  uint32_t crc = ace::Crc32Update(ace::kCrcInit, bytes.data() + header + 4, size);
  bytes[header] = static_cast<uint8_t>(crc);
  bytes[header + 1] = static_cast<uint8_t>(crc >> 8);
}

}  // namespace

fs::path GoldenArchive() { return acetest::VectorsDir() / "archives" / "plain.ace"; }

fs::path GoldenSource(const std::string& name) {
  fs::path vectors = acetest::VectorsDir();
  if (name == "data/lcg8k") return vectors / "inputs" / "lcg8k";
  if (name == "data/pattern60k") return vectors / "inputs" / "pattern60k";
  if (name == "short.txt") return vectors / "inputs" / "short";
  return {};
}

std::vector<std::string> MakeSampleTree(const fs::path& root) {
  fs::path tree = root / "tree";
  Write(tree / "README.txt", Repeat("This is the sample tree of the acearc tests, line ", 200));
  Write(tree / "src" / "main.c", Repeat("int main(void) { return puts(\"hello\"); } /* ", 300));
  Write(tree / "src" / "lib" / "util.c", Repeat("static int helper(int x) { return x * ", 150));
  Write(tree / "src" / "lib" / "util.h", "int helper(int x);\n");
  acetest::Bytes noise = acetest::RandomBytes(70000, 7);
  fs::create_directories(tree / "data");
  acetest::WriteFileBytes(tree / "data" / "noise.bin", noise);
  Write(tree / "empty.txt", "");
  fs::create_directories(tree / "emptydir");
  Write(tree / kAccentedName, "accents survive the trip\n");
  Write(tree / "readonly.txt", "do not change me\n");
  fs::permissions(tree / "readonly.txt",
                  fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  return {"tree/",
          "tree/README.txt",
          "tree/data/",
          "tree/data/noise.bin",
          "tree/empty.txt",
          "tree/emptydir/",
          "tree/" + kAccentedName,
          "tree/readonly.txt",
          "tree/src/",
          "tree/src/lib/",
          "tree/src/lib/util.c",
          "tree/src/lib/util.h",
          "tree/src/main.c"};
}

std::map<std::string, std::string> ReadTree(const fs::path& dir) {
  std::map<std::string, std::string> tree;
  for (const auto& entry : fs::recursive_directory_iterator(dir)) {
    std::string name = fs::relative(entry.path(), dir).generic_string();
    if (entry.is_directory()) {
      tree[name + "/"] = "";
    } else {
      acetest::Bytes bytes = acetest::ReadFileBytes(entry.path());
      tree[name] = std::string(bytes.begin(), bytes.end());
    }
  }
  return tree;
}

Json ListJson(const fs::path& archive) {
  RunResult result = RunAcearc({"l", "--json", archive.string()});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  std::optional<Json> json = ParseJson(result.out);
  EXPECT_TRUE(json.has_value()) << "not JSON:\n" << result.out;
  return json.value_or(Json{});
}

std::vector<std::string> EntryNames(const Json& listing) {
  std::vector<std::string> names;
  for (const Json& entry : listing["entries"].items) {
    if (entry["type"].text == "recovery") continue;
    std::string name = entry["name"].text;
    names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

const Json* FindEntry(const Json& listing, const std::string& name) {
  for (const Json& entry : listing["entries"].items) {
    if (entry["name"].text == name) return &entry;
  }
  return nullptr;
}

void SetMainHeaderFlags(const fs::path& archive, uint16_t bits) {
  acetest::Bytes bytes = acetest::ReadFileBytes(archive);
  ASSERT_GT(bytes.size(), 53u);
  bytes[5] = static_cast<uint8_t>(bytes[5] | bits);
  bytes[6] = static_cast<uint8_t>(bytes[6] | bits >> 8);
  FixHeaderCrc(bytes, 0);
  acetest::WriteFileBytes(archive, bytes);
}

void MarkEncrypted(const fs::path& archive, uint64_t headerOffset) {
  acetest::Bytes bytes = acetest::ReadFileBytes(archive);
  ASSERT_LT(headerOffset + 7, bytes.size());
  size_t header = static_cast<size_t>(headerOffset);
  bytes[header + 6] = static_cast<uint8_t>(bytes[header + 6] | 0x40);
  FixHeaderCrc(bytes, header);
  acetest::WriteFileBytes(archive, bytes);
}

void FixHeaderChecksum(const fs::path& archive, uint64_t headerOffset) {
  acetest::Bytes bytes = acetest::ReadFileBytes(archive);
  ASSERT_LT(headerOffset + 4, bytes.size());
  FixHeaderCrc(bytes, static_cast<size_t>(headerOffset));
  acetest::WriteFileBytes(archive, bytes);
}

void FlipByte(const fs::path& path, uint64_t offset) {
  acetest::Bytes bytes = acetest::ReadFileBytes(path);
  ASSERT_LT(offset, bytes.size());
  bytes[static_cast<size_t>(offset)] ^= 0xFF;
  acetest::WriteFileBytes(path, bytes);
}

}  // namespace clitest
