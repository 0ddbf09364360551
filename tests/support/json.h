// Just enough JSON to read the golden archives' listing and acearc's --json
// output back.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace acetest {

struct Json {
  bool boolean = false;
  double number = 0;
  std::string text;
  std::vector<Json> items;
  std::map<std::string, Json> members;

  const Json& operator[](const std::string& key) const;  // an empty value when missing
  const Json& operator[](size_t index) const { return items.at(index); }
  uint64_t u64() const { return static_cast<uint64_t>(number); }
};

// nullopt when the text is not exactly one JSON value.
std::optional<Json> ParseJson(const std::string& text);

}  // namespace acetest
