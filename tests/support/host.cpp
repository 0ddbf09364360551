#include "support/host.h"

namespace acetest {
namespace {

Host& Of(AceContext context) { return *reinterpret_cast<Host*>(context); }
void Log(AceContext c, const std::string& line) {
  Of(c).offThread += std::this_thread::get_id() != Of(c).thread;
  Of(c).events.push_back(line);
}

int32_t OnSignal(AceContext c, uint32_t low, uint32_t high, int32_t code) {
  Log(c, "signal " + std::to_string(low | uint64_t{high} << 32) + " " + std::to_string(code));
  return 0;
}
int32_t OnFileName(AceContext c, const char* path, const char* shown) {
  Log(c, std::string("file ") + path + "|" + shown);
  return 0;
}
int32_t OnProgress(AceContext c, int32_t percent, int32_t step) {
  Host& h = Of(c);
  const int index = static_cast<int>(h.Of("progress").size());
  Log(c, "progress " + std::to_string(percent) + " " + std::to_string(step));
  if (index == h.stopAtProgress || (h.stopOnLeftOut && percent == 100 && step == 100)) return 0;
  return h.progressAnswer;
}
int32_t OnReplace(AceContext c, const AceFindData* existing, const AceFindData* replacement) {
  Host& h = Of(c);
  Log(c, std::string("replace ") + existing->cFileName + "|" + replacement->cFileName);
  h.existing.push_back(*existing);
  h.replacement.push_back(*replacement);
  return h.replaceAnswers[std::min(h.existing.size(), h.replaceAnswers.size()) - 1];
}
int32_t OnSkip(AceContext c, const char* path) {
  Log(c, std::string("skip ") + path);
  return Of(c).skipAnswer;
}
int32_t OnNextDisk(AceContext c, char* folder, int32_t, int32_t volume, int32_t) {
  Host& h = Of(c);
  Log(c, std::string("disk ") + folder + " " + std::to_string(volume));
  if (!h.diskFolder.empty()) std::snprintf(folder, 272, "%s", h.diskFolder.c_str());
  return h.diskAnswer;
}
int32_t OnWarning(AceContext c, const char* text) {
  Log(c, std::string("warning ") + text);
  return 0;
}
int32_t OnCryptKey(AceContext c, char* buffer, const char* name, int32_t) {
  Log(c, std::string("key ") + name);
  std::snprintf(buffer, 272, "%s", Of(c).password.c_str());
  return Of(c).keyAnswer;
}

// Opens as a host does before an operation; false (status left) when it fails.
bool Open(const std::string& archive, const Settings* settings, Host* host) {
  InitArcFile(archive.c_str());
  if (GetArchiveStatus() != AR_OK) return false;
  if (settings != nullptr) ApplySettings(*settings);
  if (host != nullptr) host->Register();
  return true;
}

uint16_t Close() {
  const uint16_t status = GetArchiveStatus();
  DoneArcFile();
  SetSetSignalProc(0, nullptr);  // these outlive DoneArcFile; the host may not
  SetSetWarningProc(0, nullptr);
  return status;
}

}  // namespace

void ApplySettings(const Settings& s) {
  CompOptions o{};
  o.DictionaryKB = 3;  // the host's code: 32 KB << (code - 3)
  while ((32 << (o.DictionaryKB - 3)) < s.dictionaryKB) ++o.DictionaryKB;
  o.Level = s.level;
  o.Solid = s.solid;
  o.KeepPaths = s.keepPaths;
  std::snprintf(o.InputPath, sizeof o.InputPath, "%s", s.inputPath.c_str());
  std::snprintf(o.RelativePath, sizeof o.RelativePath, "%s", s.relativePath.c_str());
  SetCompExtraFeatures(&o);
}

void Host::Register() {
  const auto me = reinterpret_cast<AceContext>(this);
  SetSetSignalProc(me, OnSignal);
  SetSetFileNameProc(me, OnFileName);
  SetSetProgressProc(me, OnProgress);
  if (!replaceAnswers.empty()) SetOkToReplaceProc(me, OnReplace);
  if (skipAnswer != 0) SetSkipFileProc(me, OnSkip);
  SetGetNextDiskProc(me, OnNextDisk);
  SetSetCryptKeyProc(me, OnCryptKey);
  SetSetWarningProc(me, OnWarning);
  if (beforeExport != nullptr) beforeExport();
}

std::vector<std::string> Host::Of(const std::string& kind) const {
  std::vector<std::string> out;
  for (const std::string& e : events) {
    if (e.rfind(kind + " ", 0) == 0) out.push_back(e.substr(kind.size() + 1));
  }
  return out;
}

Masks::Masks(const std::vector<std::string>& masks) {
  InitFileMaskList(&list_);
  for (const std::string& m : masks) AppendFileMask(m.c_str(), &list_);
}
Masks::~Masks() { DoneFileMaskList(&list_); }

uint16_t Create(const std::string& archive, const std::vector<std::string>& names,
                const Settings& settings, Host* host) {
  std::error_code ec;
  std::filesystem::remove(archive, ec);  // CreateArcFile refuses an existing file
  CreateArcFile(archive.c_str());
  if (GetArchiveStatus() != AR_OK) return Close();
  ApplySettings(settings);
  if (host != nullptr) host->Register();
  CompressFileMaskListArc(Masks(names).get());
  return Close();
}

uint16_t Add(const std::string& archive, const std::vector<std::string>& names,
             const Settings& settings, Host* host) {
  if (Open(archive, &settings, host)) CompressFileMaskListArc(Masks(names).get());
  return Close();
}

uint16_t Delete(const std::string& archive, const std::vector<std::string>& masks,
                const Settings& settings, Host* host) {
  if (Open(archive, &settings, host)) DeleteFileMaskListArc(Masks(masks).get());
  return Close();
}

uint16_t MakeDir(const std::string& archive, const std::string& name, const Settings& settings,
                 Host* host) {
  if (Open(archive, &settings, host)) CreateDirectoryArc(name.c_str());
  return Close();
}

std::vector<std::string> Listing::names() const {
  std::vector<std::string> out;
  for (const ArcFileEntry& e : entries) out.emplace_back(e.Name);
  return out;
}

Listing ListOpen(const std::vector<std::string>& masks) {
  Masks list(masks);
  ArcFileList files;
  InitArcFileList(&files);
  BuildArcFileList(&files, list.get());
  Listing out;
  out.status = GetArchiveStatus();
  for (const ArcFileEntry* e = files.First; e != nullptr; e = e->Next) {
    out.comments.emplace_back(e->Comment == nullptr ? ""
                                                    : std::string(e->Comment, e->CommentLength));
    out.entries.push_back(*e);
    out.entries.back().Next = nullptr;
    out.entries.back().Comment = nullptr;
  }
  DoneArcFileList(&files);
  return out;
}

Listing List(const std::string& archive, const std::vector<std::string>& masks) {
  Listing out;
  if (Open(archive, nullptr, nullptr)) out = ListOpen(masks);
  out.status = Close();  // the opening's status, or the listing's
  return out;
}

uint16_t TestArchive(const std::string& archive, Host* host) {
  if (Open(archive, nullptr, host)) TestArc();
  return Close();
}

uint16_t Extract(const std::string& archive, const std::string& outDir,
                 const std::vector<std::string>& masks, int32_t restorePaths, Host* host,
                 const std::string& relativePath) {
  if (Open(archive, nullptr, host)) {
    DecompOptions d{};
    d.RestorePaths = restorePaths;
    std::snprintf(d.OutputPath, sizeof d.OutputPath, "%s", outDir.c_str());
    std::snprintf(d.RelativePath, sizeof d.RelativePath, "%s", relativePath.c_str());
    SetDecompExtraFeatures(&d);
    ExtractFileMaskListArc(Masks(masks).get());
  }
  return Close();
}

}  // namespace acetest
