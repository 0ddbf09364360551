// The golden archives list exactly as listing.json describes them.
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "format/format_fixture.h"

namespace {

struct Expected {
  std::map<std::string, std::string> fields;
  std::string operator[](const std::string& key) const {
    auto it = fields.find(key);
    return it == fields.end() ? "" : it->second;
  }
};

struct ExpectedArchive {
  std::map<std::string, std::string> fields;
  std::vector<Expected> entries;
};

// Reads listing.json, whose layout is one "key": value per line; enough for
// this file without a JSON library.
std::map<std::string, ExpectedArchive> ReadListing(const std::filesystem::path& path) {
  std::ifstream in(path);
  std::map<std::string, ExpectedArchive> out;
  std::string line;
  ExpectedArchive* archive = nullptr;
  Expected* entry = nullptr;
  while (std::getline(in, line)) {
    const size_t q1 = line.find('"');
    if (q1 == std::string::npos) continue;
    const size_t q2 = line.find('"', q1 + 1);
    const std::string key = line.substr(q1 + 1, q2 - q1 - 1);
    std::string value = line.substr(q2 + 1);
    value.erase(0, value.find_first_not_of(": "));
    while (!value.empty() && (value.back() == ',' || value.back() == ' ')) value.pop_back();
    if (value == "{") {
      archive = &out[key];
      continue;
    }
    if (archive == nullptr || value == "[") continue;
    if (!value.empty() && value.front() == '"') value = value.substr(1, value.size() - 2);
    if (key == "name") {
      archive->entries.emplace_back();
      entry = &archive->entries.back();
    }
    if (entry != nullptr && line.find("    ") == 0) {
      // JSON escapes a backslash as two.
      for (size_t at = value.find("\\\\"); at != std::string::npos;
           at = value.find("\\\\", at + 1)) {
        value.erase(at, 1);
      }
      entry->fields[key] = value;
    } else {
      archive->fields[key] = value;
    }
  }
  return out;
}

std::string DosStampText(uint32_t stamp) {
  const uint32_t date = stamp >> 16;
  const uint32_t time = stamp & 0xFFFF;
  char text[32];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", (date >> 9) + 1980,
                (date >> 5) & 15, date & 31, time >> 11, (time >> 5) & 63, (time & 31) * 2);
  return text;
}

uint32_t Hex(const std::string& text) {
  return static_cast<uint32_t>(std::stoul(text, nullptr, 16));
}
uint32_t Dec(const std::string& text) { return static_cast<uint32_t>(std::stoul(text)); }

TEST(GoldenArchives, ListExactlyAsDescribed) {
  const auto dir = acetest::VectorsDir() / "archives";
  const auto listing = ReadListing(dir / "listing.json");
  ASSERT_EQ(listing.size(), 2u);
  for (const auto& [name, want] : listing) {
    SCOPED_TRACE(name);
    ASSERT_EQ(want.entries.size(), 6u);
    InitArcFile((dir / name).string().c_str());
    ASSERT_EQ(GetArchiveStatus(), AR_OK);
    const bool solid = want.fields.at("solid") == "true";
    EXPECT_EQ(ace::State().IsSolid, solid ? 1 : 0);
    EXPECT_EQ(ace::State().SolidDictionaryKB,
              solid ? static_cast<int32_t>(Dec(want.fields.at("dict_kb"))) : 0);
    const acetest::Listed l = acetest::ListArchive();
    EXPECT_EQ(l.status, AR_OK);
    ASSERT_EQ(l.entries.size(), 6u);
    uint64_t packed = 0;
    uint64_t unpacked = 0;
    uint32_t files = 0;
    for (size_t k = 0; k < 6; ++k) {
      const ArcFileEntry& e = l.entries[k];
      const Expected& x = want.entries[k];
      SCOPED_TRACE(x["name"]);
      const bool directory = (Hex(x["attr"]) & 0x10) != 0;
      EXPECT_EQ(std::string(e.Name), directory ? x["name"] + "\\" : x["name"]);
      EXPECT_EQ(e.NameLength, x["name"].size());
      EXPECT_EQ(e.UnpackedSize.Low, Dec(x["orig_size"]));
      EXPECT_EQ(e.PackedSize.Low, Dec(x["pack_size"]));
      EXPECT_EQ(e.HeaderFlags, Hex(x["flags"]));
      EXPECT_EQ(e.Attributes, Hex(x["attr"]));
      EXPECT_EQ(e.Crc32, Hex(x["crc"]));
      EXPECT_EQ(e.Method, Dec(x["method"]));
      EXPECT_EQ(e.DictionaryCode, Dec(x["dict_code"]));
      EXPECT_EQ(e.DosTime, 0x21210000u);
      EXPECT_EQ(DosStampText(e.DosTime), x["time"]);
      EXPECT_EQ(e.IsFile, 1u);
      EXPECT_EQ(e.HostOS, directory ? 0u : 3u);
      if (!directory) {
        packed += e.PackedSize.Low;
        unpacked += e.UnpackedSize.Low;
        ++files;
      }
    }
    // The entries and their data fill the archive to its end.
    const ArcFileEntry& last = l.entries.back();
    EXPECT_EQ(last.HeaderPos.Low + last.HeaderSize + 4 + last.PackedSize.Low,
              Dec(want.fields.at("size")));

    ArcInfo info;
    GetExtraInfoArc(&info);
    EXPECT_EQ(info.FileCount, files);
    EXPECT_EQ(info.PackedTotal.Low, packed);
    EXPECT_EQ(info.UnpackedTotal.Low, unpacked);
    EXPECT_EQ(info.Ratio, static_cast<uint32_t>(packed * 100 / unpacked));
    EXPECT_EQ(info.LargestDictionary, Dec(want.fields.at("dict_kb")));
    EXPECT_EQ(info.Solid, solid ? 1u : 0u);
    EXPECT_EQ(info.HostSystem, 3u);
    EXPECT_EQ(info.MajorVersion, 1u);
    EXPECT_EQ(info.MinorVersion, 0u);
    DoneArcFile();
  }
}

}  // namespace
