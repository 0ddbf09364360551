// Damaged archives through acearc t, l and x: every damage the archive's
// checks can show ends in exit code 3 and names what it affects; none is
// reported as fine, as a failure of this machine (2) or with an entry silently
// missing.
#include "cli/acearc_fixture.h"
#include "support/ace_builder.h"

namespace clitest {
namespace {

using acetest::Bytes;

struct Placed {
  std::string name;
  uint64_t header = 0, data = 0;  // file offsets of the header and of the data
};

class CliDamage : public Acearc {
 protected:
  void SetUp() override {
    fs::create_directories(Path("in"));
    acetest::WriteFileBytes(Path("in/a.txt"), acetest::TextBytes(3000, 1));
    acetest::WriteFileBytes(Path("in/b.txt"), acetest::TextBytes(5000, 2));
    acetest::WriteFileBytes(Path("in/c.bin"), acetest::RandomBytes(4000, 3));
    acetest::WriteFileBytes(Path("in/d.txt"), acetest::TextBytes(2000, 4));
    ASSERT_EQ(Run({"a", "-q", "s.ace", "in/."}).exitCode, 0);
    const Json listing = List("s.ace");
    for (const Json& e : listing["entries"].items) {
      const uint64_t header = e["header_offset"].u64();
      entries_.push_back({e["name"].text, header, header + e["header_size"].u64()});
    }
    std::sort(entries_.begin(), entries_.end(),
              [](const Placed& x, const Placed& y) { return x.header < y.header; });
    ASSERT_EQ(entries_.size(), 4u);
    whole_ = acetest::ReadFileBytes(Path("s.ace"));
  }
  std::vector<Placed> entries_;  // in archive order
  Bytes whole_;
};

void PutU32(Bytes& b, uint64_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

TEST_F(CliDamage, EveryDamageExitsWithThreeAndNamesWhatItAffects) {
  const Placed& first = entries_[0];
  const Placed& second = entries_[1];
  const Placed& third = entries_[2];
  const Placed& last = entries_[3];
  const uint64_t size = whole_.size();
  const struct {
    const char* what;
    std::function<void(Bytes&)> damage;
    std::string text;    // what both commands show
    std::string named;   // what t shows besides, when not empty
    std::string listed;  // what l shows, when not a warning of `text`
  } cases[] = {
      {"cut one byte into the first header", [&](Bytes& b) { b.resize(first.header + 1); },
       "the listing stopped 1 byte before the end of the file", ""},
      {"cut 7 bytes into the second header", [&](Bytes& b) { b.resize(second.header + 7); },
       "the archive ends inside the header at offset " + std::to_string(second.header), ""},
      {"cut inside the second header's name, after its first letter",
       [&](Bytes& b) { b.resize(second.header + 36); },
       "damaged entry " + second.name.substr(0, 1) + ": the archive ends inside its header", ""},
      {"cut inside the third entry's data", [&](Bytes& b) { b.resize(third.data + 100); },
       "damaged entry " + third.name + ": the archive ends", ""},
      {"cut one byte short", [&](Bytes& b) { b.pop_back(); },
       "damaged entry " + last.name + ": the archive ends 1 byte before the end of its data", ""},
      {"a flipped byte in the second header's unpacked size",
       [&](Bytes& b) { b[second.header + 12] ^= 0x10; },
       "damaged entry " + second.name + ": the checksum of its header does not match", ""},
      {"the second header's data size stretched over the two entries after it",
       [&](Bytes& b) { PutU32(b, second.header + 7, static_cast<uint32_t>(size - second.data)); },
       "damaged entry " + second.name + ": the checksum of its header does not match", ""},
      {"a flipped byte in the first header, which the listing steps over",
       [&](Bytes& b) { b[first.header + 16] ^= 0x01; },
       std::to_string(second.header - first.header) +
           " bytes between the main header and the first entry belong to no entry",
       "damaged entry " + first.name + ": its header is damaged"},
      {"three bytes after the last entry",
       [&](Bytes& b) {
         b.insert(b.end(), {1, 2, 3});
       },
       "the listing stopped 3 bytes before the end of the file",
       "damaged header after entry " + last.name,
       "listing d.ace stopped after 4 entries: archive is damaged"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes damaged = whole_;
    c.damage(damaged);
    acetest::WriteFileBytes(Path("d.ace"), damaged);

    RunResult tested = Run({"t", "d.ace"});
    EXPECT_EQ(tested.exitCode, 3) << tested.err;
    EXPECT_NE(tested.err.find(c.text), std::string::npos) << tested.err;
    EXPECT_NE(tested.err.find(c.named), std::string::npos) << tested.err;
    EXPECT_EQ(tested.out.find("OK"), std::string::npos) << tested.out;

    RunResult listed = Run({"l", "d.ace"});
    EXPECT_EQ(listed.exitCode, 3) << listed.err;
    EXPECT_TRUE(Has(listed.err, c.listed.empty() ? "warning: " + c.text : c.listed)) << listed.err;

    fs::remove_all(Path("out"));
    RunResult extracted = Run({"x", "-y", "d.ace", "-o", "out"});
    EXPECT_EQ(extracted.exitCode, 3) << extracted.err;
  }
}

// Damage in the data of one entry names that entry alone, and the intact
// entries after a broken header are still tested.
TEST_F(CliDamage, TheTestGoesOnPastDamageToTheEntriesBehindIt) {
  Bytes damaged = whole_;
  damaged[entries_[1].header + 16] ^= 0x01;  // a broken header
  damaged[entries_[2].data + 2000] ^= 0x20;  // and damaged data further on
  acetest::WriteFileBytes(Path("d.ace"), damaged);
  RunResult tested = Run({"t", "d.ace"});
  EXPECT_EQ(tested.exitCode, 3) << tested.err;
  EXPECT_NE(tested.err.find("damaged entry " + entries_[2].name + ": CRC error"), std::string::npos)
      << tested.err;
  for (const Placed& intact : {entries_[0], entries_[3]}) {
    EXPECT_EQ(tested.err.find("damaged entry " + intact.name), std::string::npos) << tested.err;
  }
}

// A recovery record between the main header and the first entry is stepped
// over by the listing as damage is, but it is sound.
TEST_F(CliDamage, ARecoveryRecordBeforeTheFirstEntryIsNoDamage) {
  Bytes sound = whole_;
  const Bytes record = acetest::AceRecovery(2, 8, Bytes(8, 0xEE));
  sound.insert(sound.begin() + static_cast<long>(entries_[0].header), record.begin(), record.end());
  acetest::WriteFileBytes(Path("r.ace"), sound);
  for (const char* command : {"t", "l"}) {
    RunResult run = Run({command, "r.ace"});
    EXPECT_EQ(run.exitCode, 0) << command << ": " << run.err;
  }
}

}  // namespace
}  // namespace clitest
