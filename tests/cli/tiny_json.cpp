#include "cli/tiny_json.h"

#include <cctype>
#include <cstdlib>

namespace clitest {

namespace {

class Parser {
 public:
  explicit Parser(const std::string& text) : s_(text) {}

  bool Document(Json& out) {
    if (!Value(out)) return false;
    Space();
    return pos_ == s_.size();
  }

 private:
  void Space() {
    while (pos_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[pos_]))) ++pos_;
  }
  bool Eat(char c) {
    Space();
    if (pos_ < s_.size() && s_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }
  bool Word(const char* word) {
    size_t n = std::char_traits<char>::length(word);
    if (s_.compare(pos_, n, word) != 0) return false;
    pos_ += n;
    return true;
  }
  static void PutUtf8(std::string& out, uint32_t c) {
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (c >> 18)));
      out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  bool String(std::string& out) {
    if (!Eat('"')) return false;
    while (pos_ < s_.size()) {
      char c = s_[pos_++];
      if (c == '"') return true;
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c != '\\') {
        out.push_back(c);
        continue;
      }
      if (pos_ >= s_.size()) return false;
      char e = s_[pos_++];
      switch (e) {
        case '"':
        case '\\':
        case '/':
          out.push_back(e);
          break;
        case 'b':
          out.push_back('\b');
          break;
        case 'f':
          out.push_back('\f');
          break;
        case 'n':
          out.push_back('\n');
          break;
        case 'r':
          out.push_back('\r');
          break;
        case 't':
          out.push_back('\t');
          break;
        case 'u': {
          if (pos_ + 4 > s_.size()) return false;
          uint32_t code =
              static_cast<uint32_t>(std::strtoul(s_.substr(pos_, 4).c_str(), nullptr, 16));
          pos_ += 4;
          PutUtf8(out, code);
          break;
        }
        default:
          return false;
      }
    }
    return false;
  }
  bool Value(Json& out) {
    Space();
    if (pos_ >= s_.size()) return false;
    char c = s_[pos_];
    if (c == '{') {
      ++pos_;
      out.kind = Json::Kind::Object;
      if (Eat('}')) return true;
      do {
        std::string key;
        if (!String(key) || !Eat(':')) return false;
        if (!Value(out.members[key])) return false;
      } while (Eat(','));
      return Eat('}');
    }
    if (c == '[') {
      ++pos_;
      out.kind = Json::Kind::Array;
      if (Eat(']')) return true;
      do {
        out.items.emplace_back();
        if (!Value(out.items.back())) return false;
      } while (Eat(','));
      return Eat(']');
    }
    if (c == '"') {
      out.kind = Json::Kind::String;
      return String(out.text);
    }
    if (Word("true")) return out.kind = Json::Kind::Bool, out.boolean = true, true;
    if (Word("false")) return out.kind = Json::Kind::Bool, out.boolean = false, true;
    if (Word("null")) return out.kind = Json::Kind::Null, true;
    const char* begin = s_.c_str() + pos_;
    char* end = nullptr;
    out.number = std::strtod(begin, &end);
    if (end == begin) return false;
    pos_ += static_cast<size_t>(end - begin);
    out.kind = Json::Kind::Number;
    return true;
  }

  const std::string& s_;
  size_t pos_ = 0;
};

}  // namespace

const Json& Json::operator[](const std::string& key) const {
  static const Json kMissing;
  auto it = members.find(key);
  return it == members.end() ? kMissing : it->second;
}

std::optional<Json> ParseJson(const std::string& text) {
  Json value;
  Parser parser(text);
  if (!parser.Document(value)) return std::nullopt;
  return value;
}

}  // namespace clitest
