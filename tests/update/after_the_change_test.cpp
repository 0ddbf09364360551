// What a change leaves once it is done: the new archive under the archive's
// name even when something took that name while the old archive stood aside,
// and no CRC or count of the closed archive in the compressor.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "compress/compressor.h"
#include "platform/fault_injection.h"
#include "support/ace_builder.h"
#include "update/update_fixture.h"

using namespace updtest;
using platform::faults::Kind;

namespace {

std::string g_intruderPath;

class AfterTheChange : public ArchiveChangeTest {
 protected:
  void TearDown() override {
    platform::faults::Reset();
    ArchiveChangeTest::TearDown();
  }
};

TEST_F(AfterTheChange, NameTakenWhileTheOldArchiveStoodAsideIsReplaced) {
  acetest::AceEntry kept;
  kept.name = "kept.txt";
  kept.data = acetest::TextBytes("kept");
  WriteArchive(acetest::AceArchive({kept}));
  g_intruderPath = archive;
  Recorder recorder;
  // The change deletes nothing before the old archive moves aside; then a
  // file appears under the name it left, before anything else happens.
  recorder.beforeExport = [] {
    platform::faults::Before(Kind::Delete, 1,
                             [] { acetest::WriteFileText(g_intruderPath, "intruder"); });
  };
  ASSERT_EQ(MakeDir(archive, "made", settings, &recorder), AR_OK);
  EXPECT_EQ(Names(List(archive)), (std::vector<std::string>{"kept.txt", "made\\"}));
  ExpectNothingLeftOver();
}

TEST_F(AfterTheChange, ClosingForgetsTheLastFilesCrcAndCounts) {
  WriteInput("a.txt", SampleText(5000));
  ASSERT_EQ(Create(archive, {"a.txt"}, settings), AR_OK);  // ends with DoneArcFile
  EXPECT_EQ(ace::CompressorCrc(), 0u);
  EXPECT_EQ(ace::CompressorPackedSize(), 0u);
  EXPECT_EQ(ace::PluginCompressor().BytesRead(), 0u);
}

}  // namespace
