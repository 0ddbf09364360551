#include "json_writer.h"

#include <cstdio>

#include "text_output.h"

namespace acearc {

namespace {

// Length of the valid UTF-8 sequence at text[i], or 0 when it is not one.
size_t Utf8Length(std::string_view text, size_t i) {
  auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  unsigned char c = byte(i);
  size_t length;
  uint32_t min;
  uint32_t code;
  if (c < 0x80) return 1;
  if ((c & 0xE0) == 0xC0) {
    length = 2, min = 0x80, code = c & 0x1Fu;
  } else if ((c & 0xF0) == 0xE0) {
    length = 3, min = 0x800, code = c & 0x0Fu;
  } else if ((c & 0xF8) == 0xF0) {
    length = 4, min = 0x10000, code = c & 0x07u;
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  for (size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    code = (code << 6) | (byte(i + k) & 0x3Fu);
  }
  if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
  return length;
}

}  // namespace

std::string JsonQuote(std::string_view text) {
  const std::string utf8 = Utf8Text(text);
  const std::string_view value = utf8;
  std::string out = "\"";
  for (size_t i = 0; i < value.size();) {
    unsigned char c = static_cast<unsigned char>(value[i]);
    size_t length = Utf8Length(value, i);
    if (length == 0) {
      out += "\\ufffd";
      ++i;
      continue;
    }
    if (length > 1) {
      out.append(value.substr(i, length));
      i += length;
      continue;
    }
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20 || c == 0x7F) {
          char escape[8];
          std::snprintf(escape, sizeof escape, "\\u%04x", c);
          out += escape;
        } else {
          out.push_back(static_cast<char>(c));
        }
    }
    ++i;
  }
  out.push_back('"');
  return out;
}

void JsonWriter::Newline() {
  out_.push_back('\n');
  out_.append(levels_.size() * 2, ' ');
}

void JsonWriter::BeforeValue() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (levels_.empty()) return;
  if (!levels_.back().empty) out_.push_back(',');
  levels_.back().empty = false;
  Newline();
}

void JsonWriter::BeginObject() {
  BeforeValue();
  out_.push_back('{');
  levels_.push_back({true});
}

void JsonWriter::BeginArray() {
  BeforeValue();
  out_.push_back('[');
  levels_.push_back({false});
}

void JsonWriter::Close(char bracket) {
  bool empty = levels_.back().empty;
  levels_.pop_back();
  if (!empty) Newline();
  out_.push_back(bracket);
  if (levels_.empty()) out_.push_back('\n');
}

void JsonWriter::EndObject() { Close('}'); }
void JsonWriter::EndArray() { Close(']'); }

void JsonWriter::Key(std::string_view name) {
  BeforeValue();
  out_ += JsonQuote(name);
  out_ += ": ";
  afterKey_ = true;
}

void JsonWriter::String(std::string_view value) {
  BeforeValue();
  out_ += JsonQuote(value);
}

void JsonWriter::Number(uint64_t value) {
  BeforeValue();
  out_ += std::to_string(value);
}

void JsonWriter::Bool(bool value) {
  BeforeValue();
  out_ += value ? "true" : "false";
}

void JsonWriter::Null() {
  BeforeValue();
  out_ += "null";
}

}  // namespace acearc
