// A small streaming JSON writer for `acearc l --json`: objects, arrays,
// strings (escaped; bytes that are not UTF-8 become U+FFFD), numbers, booleans
// and null, indented two spaces per level.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace acearc {

class JsonWriter {
 public:
  void BeginObject();
  void EndObject();
  void BeginArray();
  void EndArray();
  // Names the next value inside an object.
  void Key(std::string_view name);
  void String(std::string_view value);
  void Number(uint64_t value);
  void Bool(bool value);
  void Null();

  const std::string& text() const { return out_; }

 private:
  void BeforeValue();
  void Newline();
  void Close(char bracket);

  struct Level {
    bool isObject;
    bool empty = true;
  };
  std::string out_;
  std::vector<Level> levels_;
  bool afterKey_ = false;
};

// The string as a quoted JSON string.
std::string JsonQuote(std::string_view value);

}  // namespace acearc
