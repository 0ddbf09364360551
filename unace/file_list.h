// The file list of an operation: masks separated by carriage returns, each
// split into directory, base name and extension and matched part by part
// with the plug-in's wildcard rules.
#pragma once

#include <string>
#include <vector>

namespace ace::unace {

class FileList {
 public:
  // An empty or null text selects every name.
  explicit FileList(const char* text);
  // `name` in the ANSI code page, "\" or "/" separated.
  bool Selects(const std::string& name) const;
  bool Empty() const { return masks_.empty(); }

 private:
  struct Mask {
    std::string directory;  // drive and directory, ending in "\", upper case
    std::string base;
    std::string extension;  // without the "."
  };
  static bool MatchesMask(const std::string& upperName, const Mask& mask);
  std::vector<Mask> masks_;
};

// Splits like a mask: drive ("C:") and directory through the last "\", base
// name up to the last "." after it, extension after that "." (without it).
void SplitName(const std::string& name, std::string* directory, std::string* base,
               std::string* extension);
// Upper-case copy with "/" turned into "\".
std::string UpperName(const std::string& name);

}  // namespace ace::unace
