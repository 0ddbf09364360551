#include "update/update_fixture.h"

#include <cstring>
#include <filesystem>

#include "aceplug/aceplug.h"

namespace fs = std::filesystem;

namespace updtest {

int HostDictionaryCode(int kb) {
  int code = 3;
  for (int size = 32; size < kb; size *= 2) ++code;
  return code;
}

void ApplySettings(const Settings& st) {
  CompOptions o{};
  o.DictionaryKB = HostDictionaryCode(st.dictionaryKB);
  o.Level = st.level;
  o.Solid = st.solid;
  o.KeepPaths = st.keepPaths;
  std::strncpy(o.InputPath, st.inputPath.c_str(), sizeof o.InputPath - 1);
  std::strncpy(o.RelativePath, st.relativePath.c_str(), sizeof o.RelativePath - 1);
  SetCompExtraFeatures(&o);
}

uint16_t Create(const std::string& archive, const std::vector<std::string>& names,
                const Settings& st, void (*registerCallbacks)()) {
  std::error_code ec;
  fs::remove(archive, ec);  // CreateArcFile refuses an existing file
  CreateArcFile(archive.c_str());
  if (GetArchiveStatus() != AR_OK) return GetArchiveStatus();
  ApplySettings(st);
  if (registerCallbacks) registerCallbacks();
  FileMaskList masks;
  InitFileMaskList(&masks);
  for (const auto& n : names) AppendFileMask(n.c_str(), &masks);
  CompressFileMaskListArc(&masks);
  const uint16_t status = GetArchiveStatus();
  DoneFileMaskList(&masks);
  DoneArcFile();
  return status;
}

namespace {

// InitArcFile, settings and callbacks, then `operation` on the open archive.
template <typename Operation>
uint16_t OnOpenArchive(const std::string& archive, const Settings& st,
                       void (*registerCallbacks)(), Operation operation) {
  InitArcFile(archive.c_str());
  if (GetArchiveStatus() != AR_OK) {
    const uint16_t status = GetArchiveStatus();
    DoneArcFile();
    return status;
  }
  ApplySettings(st);
  if (registerCallbacks) registerCallbacks();
  operation();
  const uint16_t status = GetArchiveStatus();
  DoneArcFile();
  return status;
}

}  // namespace

uint16_t Add(const std::string& archive, const std::vector<std::string>& names,
             const Settings& st, void (*registerCallbacks)()) {
  FileMaskList masks;
  InitFileMaskList(&masks);
  for (const auto& n : names) AppendFileMask(n.c_str(), &masks);
  const uint16_t status =
      OnOpenArchive(archive, st, registerCallbacks, [&] { CompressFileMaskListArc(&masks); });
  DoneFileMaskList(&masks);
  return status;
}

uint16_t Delete(const std::string& archive, const std::vector<std::string>& masks,
                const Settings& st, void (*registerCallbacks)()) {
  FileMaskList list;
  InitFileMaskList(&list);
  for (const auto& m : masks) AppendFileMask(m.c_str(), &list);
  const uint16_t status =
      OnOpenArchive(archive, st, registerCallbacks, [&] { DeleteFileMaskListArc(&list); });
  DoneFileMaskList(&list);
  return status;
}

uint16_t MakeDirectory(const std::string& archive, const std::string& name, const Settings& st,
                       void (*registerCallbacks)()) {
  return OnOpenArchive(archive, st, registerCallbacks,
                       [&] { CreateDirectoryArc(name.c_str()); });
}

std::vector<Listed> List(const std::string& archive, uint16_t* status) {
  InitArcFile(archive.c_str());
  ArcFileList list;
  InitArcFileList(&list);
  FileMaskList masks;
  InitFileMaskList(&masks);
  BuildArcFileList(&list, &masks);
  if (status) *status = GetArchiveStatus();
  std::vector<Listed> out;
  for (const ArcFileEntry* e = list.First; e; e = e->Next) {
    out.push_back({e->Name,
                   e->PackedSize.Low | (uint64_t{e->PackedSize.High} << 32),
                   e->UnpackedSize.Low | (uint64_t{e->UnpackedSize.High} << 32),
                   e->Attributes, e->Crc32, e->Method, e->HeaderFlags, e->DictionaryCode,
                   e->DosTime});
  }
  DoneArcFileList(&list);
  DoneFileMaskList(&masks);
  DoneArcFile();
  return out;
}

uint16_t TestArchive(const std::string& archive) {
  InitArcFile(archive.c_str());
  TestArc();
  const uint16_t status = GetArchiveStatus();
  DoneArcFile();
  return status;
}

uint16_t ExtractAll(const std::string& archive, const std::string& outDir) {
  InitArcFile(archive.c_str());
  DecompOptions d{};
  d.RestorePaths = 1;
  SetDecompExtraFeatures(&d);
  SetOutputPath(outDir.c_str());
  FileMaskList masks;
  InitFileMaskList(&masks);
  ExtractFileMaskListArc(&masks);
  const uint16_t status = GetArchiveStatus();
  DoneFileMaskList(&masks);
  DoneArcFile();
  return status;
}

std::string Slashes(std::string s) {
  for (auto& c : s)
    if (c == '\\') c = '/';
  return s;
}

}  // namespace updtest
