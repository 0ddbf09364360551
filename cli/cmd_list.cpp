// acearc l: the entries of an archive as a table or as JSON, with the summary
// and the main comment.
#include <algorithm>
#include <cstdio>

#include "commands.h"
#include "damage_check.h"
#include "entry_check.h"
#include "entry_format.h"
#include "entry_select.h"
#include "json_writer.h"
#include "plugin_session.h"
#include "status_text.h"
#include "text_output.h"

namespace acearc {

namespace {

struct Listing {
  std::vector<const ArcFileEntry*> entries;
  ArcInfo info{};
  bool hasInfo = false;
  std::string comment;
};

size_t Columns(const std::string& text) {
  size_t n = 0;
  for (unsigned char c : text) n += (c & 0xC0) != 0x80;
  return n;
}

std::string Padded(const std::string& text, size_t width) {
  size_t columns = Columns(text);
  return columns >= width ? text : text + std::string(width - columns, ' ');
}

std::string MethodText(const ArcFileEntry& entry) {
  std::string text = MethodName(entry.Method);
  if (entry.Method != 0) {
    text.append(" ").append(std::to_string(DictionaryKBForCode(entry.DictionaryCode))).append("K");
  }
  if (entry.IsEncrypted) text.append(" encrypted");
  return text;
}

std::string Indented(const std::string& text, const std::string& indent) {
  std::string out = indent;
  for (char c : text) {
    if (c == '\r') continue;
    out.push_back(c);
    if (c == '\n') out += indent;
  }
  return out;
}

std::string HexCrc(uint32_t crc) {
  char text[12];
  std::snprintf(text, sizeof text, "%08X", crc);
  return text;
}

// The summary's counts for the chosen entries alone; the rest describes the archive.
void SummarizeChosen(Listing& listing) {
  uint64_t size = 0;
  uint64_t packed = 0;
  uint32_t files = 0;
  for (const ArcFileEntry* e : listing.entries) {
    if (!e->IsFile || IsDirectoryEntry(*e)) continue;
    ++files;
    size += ToUInt64(e->UnpackedSize);
    packed += ToUInt64(e->PackedSize);
  }
  listing.info.FileCount = files;
  listing.info.UnpackedTotal = {static_cast<uint32_t>(size), static_cast<uint32_t>(size >> 32)};
  listing.info.PackedTotal = {static_cast<uint32_t>(packed), static_cast<uint32_t>(packed >> 32)};
  listing.info.Ratio = RatioPercent(packed, size);
}

void PrintTable(const std::string& archive, const Listing& listing) {
  size_t width = 4;
  for (const ArcFileEntry* e : listing.entries)
    width = std::max(width, Columns(DisplayName(e->Name)));
  width = std::min<size_t>(width, 48);

  PrintText("Archive: %s\n", archive.c_str());
  std::string header = Padded("Name", width) +
                       "          Size        Packed Ratio  Date       Time     Attr   Method"
                       "          CRC";
  PrintText("%s\n%s\n", header.c_str(), std::string(Columns(header), '-').c_str());
  for (const ArcFileEntry* e : listing.entries) {
    if (!e->IsFile) {
      PrintText("%s %13s %13llu\n", Padded("(recovery record)", width).c_str(), "",
                static_cast<unsigned long long>(ToUInt64(e->PackedSize)));
      continue;
    }
    std::string name = DisplayName(e->Name);
    if (Columns(name) > width) {
      PrintText("%s\n", name.c_str());
      name.clear();
    }
    uint64_t size = ToUInt64(e->UnpackedSize);
    uint64_t packed = ToUInt64(e->PackedSize);
    std::string when = FormatDosTime(e->DosTime);
    if (IsDirectoryEntry(*e)) {
      PrintText("%s %13s %13s %5s  %s  %s\n", Padded(name, width).c_str(), "<DIR>", "", "",
                when.c_str(), FormatAttributes(e->Attributes).c_str());
    } else {
      std::string ratio = size ? std::to_string(RatioPercent(packed, size)) + "%" : "";
      PrintText("%s %13llu %13llu %5s  %s  %s  %-14s %s\n", Padded(name, width).c_str(),
                static_cast<unsigned long long>(size), static_cast<unsigned long long>(packed),
                ratio.c_str(), when.c_str(), FormatAttributes(e->Attributes).c_str(),
                MethodText(*e).c_str(), HexCrc(e->Crc32).c_str());
    }
    if (e->CommentLength > 0 && e->Comment != nullptr) {
      std::string comment(e->Comment, static_cast<size_t>(e->CommentLength));
      PrintText("%s\n", Indented(comment, "    | ").c_str());
    }
  }
  PrintText("%s\n", std::string(Columns(header), '-').c_str());
  if (listing.hasInfo) {
    const ArcInfo& info = listing.info;
    uint64_t size = ToUInt64(info.UnpackedTotal);
    uint64_t packed = ToUInt64(info.PackedTotal);
    PrintText("%s, %llu bytes (%s), packed to %llu bytes (%s), ratio %u%%\n",
              CountOf(info.FileCount, "file", "files").c_str(),
              static_cast<unsigned long long>(size), FormatBytes(size).c_str(),
              static_cast<unsigned long long>(packed), FormatBytes(packed).c_str(), info.Ratio);
    PrintText("solid: %s, largest dictionary: %u KB, host system: %s, version %u.%u%s\n",
              info.Solid ? "yes" : "no", info.LargestDictionary,
              HostSystemName(info.HostSystem).c_str(), info.MajorVersion, info.MinorVersion,
              info.Encrypted ? ", encrypted entries" : "");
  }
  if (!listing.comment.empty()) {
    PrintText("Comment:\n%s\n", Indented(listing.comment, "  ").c_str());
  }
}

void PrintJson(const std::string& archive, const Listing& listing, uint16_t status) {
  JsonWriter json;
  json.BeginObject();
  json.Key("archive");
  json.String(archive);
  json.Key("entries");
  json.BeginArray();
  for (const ArcFileEntry* e : listing.entries) {
    json.BeginObject();
    if (!e->IsFile) {
      json.Key("type");
      json.String("recovery");
      json.Key("header_type");
      json.Number(e->HeaderType);
      json.Key("packed");
      json.Number(ToUInt64(e->PackedSize));
    } else {
      bool directory = IsDirectoryEntry(*e);
      json.Key("type");
      json.String(directory ? "directory" : "file");
      json.Key("name");
      json.String(SlashedName(e->Name));
      json.Key("stored_name");
      json.String(e->Name);
      json.Key("size");
      json.Number(ToUInt64(e->UnpackedSize));
      json.Key("packed");
      json.Number(ToUInt64(e->PackedSize));
      json.Key("ratio");
      if (ToUInt64(e->UnpackedSize) > 0 && !directory) {
        json.Number(RatioPercent(ToUInt64(e->PackedSize), ToUInt64(e->UnpackedSize)));
      } else {
        json.Null();
      }
      json.Key("time");
      json.String(FormatDosTime(e->DosTime, true));
      json.Key("dos_time");
      json.Number(e->DosTime);
      json.Key("attributes");
      json.Number(e->Attributes);
      json.Key("attribute_letters");
      json.String(FormatAttributes(e->Attributes));
      json.Key("method");
      json.String(MethodName(e->Method));
      json.Key("method_code");
      json.Number(e->Method);
      json.Key("dictionary_kb");
      json.Number(DictionaryKBForCode(e->DictionaryCode));
      json.Key("crc32");
      json.String(HexCrc(e->Crc32));
      json.Key("encrypted");
      json.Bool(e->IsEncrypted != 0);
      json.Key("solid_continued");
      json.Bool((e->HeaderFlags & 0x8000) != 0);
      json.Key("comment");
      if (e->CommentLength > 0 && e->Comment != nullptr) {
        json.String(std::string(e->Comment, static_cast<size_t>(e->CommentLength)));
      } else {
        json.Null();
      }
    }
    json.Key("header_offset");
    json.Number(ToUInt64(e->HeaderPos));
    json.Key("header_size");
    json.Number(e->HeaderSize + 4);
    json.EndObject();
  }
  json.EndArray();
  json.Key("summary");
  if (listing.hasInfo) {
    const ArcInfo& info = listing.info;
    json.BeginObject();
    json.Key("files");
    json.Number(info.FileCount);
    json.Key("size");
    json.Number(ToUInt64(info.UnpackedTotal));
    json.Key("packed");
    json.Number(ToUInt64(info.PackedTotal));
    json.Key("ratio");
    json.Number(info.Ratio);
    json.Key("solid");
    json.Bool(info.Solid != 0);
    json.Key("largest_dictionary_kb");
    json.Number(info.LargestDictionary);
    json.Key("host_system");
    json.Number(info.HostSystem);
    json.Key("host_system_name");
    json.String(HostSystemName(info.HostSystem));
    json.Key("version");
    json.String(std::to_string(info.MajorVersion) + "." + std::to_string(info.MinorVersion));
    json.Key("encrypted");
    json.Bool(info.Encrypted != 0);
    json.EndObject();
  } else {
    json.Null();
  }
  json.Key("comment");
  if (listing.comment.empty()) {
    json.Null();
  } else {
    json.String(listing.comment);
  }
  json.Key("status");
  json.Number(status);
  json.EndObject();
  std::fputs(json.text().c_str(), stdout);
}

}  // namespace

ExitCode RunList(const ListOptions& options, const CommonOptions& common) {
  ProgressDisplay progress(ChooseOutputMode(common.quiet));
  std::optional<ArchiveSession> session;
  if (ExitCode code = OpenExisting(progress, options.archive, session); code != kExitOk) {
    return code;
  }
  CompOptions defaults{};
  SetCompExtraFeatures(&defaults);  // also makes the listing read file comments

  MaskList none;
  EntryList list;
  BuildArcFileList(list.get(), none.get());
  uint16_t status = GetArchiveStatus();

  Listing listing;
  EntryFilter filter(options.masks, options.excludes);
  for (const ArcFileEntry* e : list.entries()) {
    if (!e->IsFile || filter.Selects(DisplayName(e->Name))) listing.entries.push_back(e);
  }
  if (status == AR_OK) listing.hasInfo = ReadSummary(listing.info);
  if (listing.hasInfo && (!options.masks.empty() || !options.excludes.empty())) {
    SummarizeChosen(listing);
  }
  listing.comment = ReadMainComment();

  if (options.json) {
    PrintJson(options.archive, listing, status);
  } else {
    PrintTable(options.archive, listing);
  }
  std::fflush(stdout);
  if (status != AR_OK) {
    ReportError(progress, "listing " + options.archive + " stopped after " +
                              std::to_string(listing.entries.size()) +
                              " entries: " + DescribeStatus(status));
    return ExitCodeForStatus(status);
  }
  // Testing and extracting refuse such a header as damaged; the listing says so too.
  bool nul = false;
  for (const ArcFileEntry* e : listing.entries) {
    if (!NameHoldsNul(*e)) continue;
    ReportError(progress, DisplayName(e->Name) +
                              "\\x00...: the stored name goes on after a NUL byte: " +
                              DescribeStatus(AR_BAD_HEADER));
    nul = true;
  }
  // The walk takes what the headers say; the file may say otherwise.
  const std::vector<Damage> damage = CheckListing(options.archive, list.entries());
  for (const Damage& d : damage) progress.Message("acearc: warning: " + d.Line());
  if (!damage.empty()) {
    ReportError(progress, options.archive + " is damaged (acearc t tests every entry)");
  }
  if (nul || !damage.empty()) return kExitDamaged;
  std::vector<std::string> unused = filter.Unused();
  for (const std::string& mask : unused) {
    progress.Message("acearc: warning: no entry of " + options.archive + " matches " + mask);
  }
  return unused.empty() ? kExitOk : kExitWarning;
}

}  // namespace acearc
