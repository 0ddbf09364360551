#include "support/json.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace acetest {
namespace {

struct Parser {
  const std::string& s;
  size_t at = 0;

  void Space() {
    while (at < s.size() && std::isspace(static_cast<unsigned char>(s[at]))) ++at;
  }
  bool Eat(char c) {
    Space();
    if (at >= s.size() || s[at] != c) return false;
    ++at;
    return true;
  }
  bool Word(const char* word) {
    if (s.compare(at, std::strlen(word), word) != 0) return false;
    at += std::strlen(word);
    return true;
  }
  bool String(std::string& out) {
    if (!Eat('"')) return false;
    while (at < s.size()) {
      const char c = s[at++];
      if (c == '"') return true;
      if (static_cast<unsigned char>(c) < 0x20 || (c == '\\' && at >= s.size())) return false;
      if (c != '\\') {
        out.push_back(c);
        continue;
      }
      const char e = s[at++];
      if (e == 'u' && at + 4 <= s.size()) {  // the writers escape control characters only
        out.push_back(static_cast<char>(std::strtoul(s.substr(at, 4).c_str(), nullptr, 16)));
        at += 4;
      } else if (std::strchr("\"\\/", e) != nullptr) {
        out.push_back(e);
      } else {
        const char* from = std::strchr("n\nt\tr\rb\bf\f", e);
        if (from == nullptr) return false;
        out.push_back(from[1]);
      }
    }
    return false;
  }
  bool Value(Json& out) {
    if (Eat('{')) {
      out.kind = Json::Kind::Object;
      if (Eat('}')) return true;
      do {
        std::string key;
        if (!String(key) || !Eat(':') || !Value(out.members[key])) return false;
      } while (Eat(','));
      return Eat('}');
    }
    if (Eat('[')) {
      out.kind = Json::Kind::Array;
      if (Eat(']')) return true;
      do {
        if (!Value(out.items.emplace_back())) return false;
      } while (Eat(','));
      return Eat(']');
    }
    if (Eat('"')) {
      --at;
      out.kind = Json::Kind::String;
      return String(out.text);
    }
    out.kind = Json::Kind::Bool;
    if (Word("true")) return out.boolean = true;
    if (Word("false")) return true;
    out.kind = Json::Kind::Null;
    if (Word("null")) return true;
    const char* begin = s.c_str() + at;
    char* end = nullptr;
    out.number = std::strtod(begin, &end);
    out.kind = Json::Kind::Number;
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
  if (!parser.Value(value)) return std::nullopt;
  parser.Space();
  if (parser.at != text.size()) return std::nullopt;
  return value;
}

}  // namespace acetest
