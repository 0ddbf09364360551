#include "support/json.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace acetest {
namespace {

struct Parser {
  const std::string& s;
  size_t at = 0;

  bool Eat(const char* token) {
    while (at < s.size() && std::isspace(static_cast<unsigned char>(s[at]))) ++at;
    if (s.compare(at, std::strlen(token), token) != 0) return false;
    at += std::strlen(token);
    return true;
  }
  bool String(std::string& out) {
    while (at < s.size()) {
      const char c = s[at++];
      if (c == '"') return true;
      if (static_cast<unsigned char>(c) < 0x20 || (c == '\\' && at >= s.size())) return false;
      if (c != '\\') {
        out.push_back(c);
      } else if (s[at] == 'u' && at + 5 <= s.size()) {  // the writers escape control characters
        out.push_back(static_cast<char>(std::strtoul(s.substr(at + 1, 4).c_str(), nullptr, 16)));
        at += 5;
      } else if (const char* e = std::strchr("\"\"\\\\//n\nt\tr\rb\bf\f", s[at]); e && *e) {
        out.push_back(e[1]);
        ++at;
      } else {
        return false;
      }
    }
    return false;
  }
  bool Value(Json& out) {
    if (Eat("{")) {
      if (Eat("}")) return true;
      do {
        std::string key;
        if (!Eat("\"") || !String(key) || !Eat(":") || !Value(out.members[key])) return false;
      } while (Eat(","));
      return Eat("}");
    }
    if (Eat("[")) {
      if (Eat("]")) return true;
      do {
        if (!Value(out.items.emplace_back())) return false;
      } while (Eat(","));
      return Eat("]");
    }
    if (Eat("\"")) return String(out.text);
    if (Eat("true")) return out.boolean = true;
    if (Eat("false") || Eat("null")) return true;
    const char* begin = s.c_str() + at;
    char* end = nullptr;
    out.number = std::strtod(begin, &end);
    at += static_cast<size_t>(end - begin);
    return end != begin;
  }
};

}  // namespace

const Json& Json::operator[](const std::string& key) const {
  static const Json kMissing;
  const auto it = members.find(key);
  return it == members.end() ? kMissing : it->second;
}

std::optional<Json> ParseJson(const std::string& text) {
  Json value;
  Parser parser{text};
  if (!parser.Value(value) || !parser.Eat("") || parser.at != text.size()) return std::nullopt;
  return value;  // Eat("") skips the blanks after it
}

}  // namespace acetest
