#include "format/format_fixture.h"

#include <cstring>
#include <set>

#include "support/code_writer.h"

namespace acetest {

EncodedComment EncodeSymbols(uint32_t length, const std::vector<int>& symbols) {
  std::set<int> used(symbols.begin(), symbols.end());
  if (used.size() < 2) used.insert(*used.begin() == 0 ? 1 : 0);
  int width = 1;
  while ((size_t{1} << width) < used.size()) ++width;
  EncodedComment result;
  result.widths.assign(static_cast<size_t>(*used.rbegin()) + 1, 0);
  for (int s : used) result.widths[s] = static_cast<uint8_t>(width);
  const std::vector<uint32_t> code = CanonicalCodes(result.widths);
  BitWriter out;
  out.Put(length, 15);
  PutCodeWidths(out, result.widths, width > 1 ? width - 1 : 0);
  result.symbolsStart = out.bits();
  for (int s : symbols) out.Put(code[s], width);
  result.block = out.Finish();
  return result;
}

EncodedComment EncodeComment(const std::string& text, bool copies) {
  std::vector<int> symbols;
  std::vector<uint16_t> hash(511, 0);
  const auto* t = reinterpret_cast<const uint8_t*>(text.data());
  const size_t n = text.size();
  size_t m = 0;
  for (size_t p = 0; p < n;) {
    if (p > 1) {
      const int h = t[p - 2] + t[p - 1];
      m = hash[h];
      hash[h] = static_cast<uint16_t>(p);
    }
    size_t length = 0;
    while (copies && p > 1 && length < 28 && p + length < n && t[m + length] == t[p + length]) {
      ++length;
    }
    if (length >= 2) {
      symbols.push_back(static_cast<int>(254 + length));
      p += length;
    } else {
      symbols.push_back(t[p++]);
    }
  }
  if (symbols.empty()) symbols.push_back(0);
  return EncodeSymbols(static_cast<uint32_t>(n), symbols);
}

std::vector<std::string> Listed::names() const {
  std::vector<std::string> out;
  for (const ArcFileEntry& e : entries) out.emplace_back(e.Name);
  return out;
}

uint64_t Listed::packed(size_t i) const {
  return uint64_t{entries.at(i).PackedSize.High} << 32 | entries.at(i).PackedSize.Low;
}

Listed ListArchive(const std::vector<std::string>& masks) {
  FileMaskList maskList;
  InitFileMaskList(&maskList);
  for (const std::string& m : masks) AppendFileMask(m.c_str(), &maskList);
  ArcFileList list;
  InitArcFileList(&list);
  BuildArcFileList(&list, &maskList);
  Listed out;
  out.status = GetArchiveStatus();
  for (const ArcFileEntry* e = list.First; e != nullptr; e = e->Next) {
    EXPECT_LT(std::strlen(e->Name), sizeof e->Name);
    out.comments.emplace_back(e->Comment == nullptr
                                  ? ""
                                  : std::string(e->Comment, static_cast<size_t>(e->CommentLength)));
    out.entries.push_back(*e);
    out.entries.back().Next = nullptr;
    out.entries.back().Comment = nullptr;
  }
  EXPECT_EQ(out.entries.size(), list.Count);
  if (list.Last != nullptr) EXPECT_EQ(list.Last->Next, nullptr);
  DoneArcFileList(&list);
  DoneFileMaskList(&maskList);
  return out;
}

}  // namespace acetest
