// Texts far longer than their fields, at every entry point that takes one:
// each is cut to its field, or refused where a cut would name another file,
// and no byte of the state outside what the call may set changes.
#include "plugin/state.h"
#include "support/test_support.h"

namespace acetest {
namespace {

TEST(PluginState, OverlongTextsAtEveryEntryPointStayInsideTheirFields) {
  const std::string huge(10000, 'z'), z259(259, 'z'), z263(263, 'z'), z271(271, 'z');
  TempDir dir;
  const std::string path = dir / huge;
  CompOptions comp;
  DecompOptions decomp;
  std::memset(&comp, 'z', sizeof comp);
  std::memset(&decomp, 'z', sizeof decomp);
  FileMaskList masks;
  InitFileMaskList(&masks);
  ace::PluginState& s = ace::State();
  const auto paths = sizeof s.InputPath;
  // The calls that do not take `huge` itself.
  auto setComp = [&](const char*) { SetCompExtraFeatures(&comp); };
  auto setDecomp = [&](const char*) { SetDecompExtraFeatures(&decomp); };
  auto appendMask = [&](const char* text) {
    AppendFileMask((text + std::string(".") + text).c_str(), &masks);
  };
  auto open = [&](const char*) { InitArcFile(path.c_str()); };
  auto create = [&](const char*) { CreateArcFile(path.c_str()); };
  const struct {
    const char* entry;
    std::function<void(const char*)> call;  // given `huge`
    const char* field;                      // the field that keeps the text
    std::string kept;
    std::vector<std::pair<const void*, size_t>> mayChange;
    uint16_t status = AR_OK;
  } cases[] = {
      {"SetInputPath", SetInputPath, s.InputPath, z259 + "\\", {{s.InputPath, paths}}},
      {"SetRelativePath", SetRelativePath, s.RelativePath, z259 + "z", {{s.RelativePath, paths}}},
      {"SetOutputPath", SetOutputPath, s.OutputPath, z259 + "\\", {{s.OutputPath, paths}}},
      {"SetCryptKey", SetCryptKey, s.CryptKey, z263, {{s.CryptKey, 272}, {&s.HasCryptKey, 4}}},
      {"SetCompExtraFeatures",
       setComp,
       s.Comp.InputPath,
       z271,
       {{&s.Comp, sizeof comp},
        {s.InputPath, paths},
        {s.RelativePath, paths},
        {&s.ReadFileComments, 4}}},
      {"SetDecompExtraFeatures",
       setDecomp,
       s.Decomp.OutputPath,
       z271,
       {{&s.Decomp, sizeof decomp}, {s.OutputPath, paths}, {s.RelativePath, paths}}},
      {"AppendFileMask", appendMask, nullptr, "", {}},  // checked below
      {"CreateDirectoryArc", CreateDirectoryArc, nullptr, "", {{&s.Status, 4}}, AR_BAD_DIR_NAME},
      {"InitArcFile", open, s.ArchivePath, "", {{&s, sizeof s}}, AR_FILE_NOT_FOUND},
      {"CreateArcFile", create, s.ArchivePath, "", {{&s, sizeof s}}, AR_IO_ERROR},
  };
  const auto* state = reinterpret_cast<const char*>(&s);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.entry);
    SetArchiveStatus(0);
    const std::vector<char> before(state, state + sizeof s);
    c.call(huge.c_str());
    EXPECT_EQ(GetArchiveStatus(), c.status);
    if (c.field != nullptr) EXPECT_EQ(c.field, c.kept);
    size_t changedElsewhere = 0;
    for (size_t i = 0; i < sizeof s; ++i) {
      bool mayChange = false;
      for (const auto& [at, size] : c.mayChange) {
        const auto* from = static_cast<const char*>(at);
        mayChange = mayChange || (state + i >= from && state + i < from + size);
      }
      changedElsewhere += !mayChange && state[i] != before[i];
    }
    EXPECT_EQ(changedElsewhere, 0u);
  }
  EXPECT_EQ(masks.First->BaseName, std::string(255, 'z'));
  EXPECT_EQ(masks.First->Extension, std::string(255, 'z'));
  DoneFileMaskList(&masks);
  DoneArcFile();
}

}  // namespace
}  // namespace acetest
