#include "encoding/json_writer.h"

#include <array>
#include <charconv>
#include <limits>

namespace kvel::encoding {

void append_json_string(std::string& out, std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  out += '"';
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    if (byte == '"' || byte == '\\') {
      out += '\\';
      out += byte;
    } else if (code < 0x20) {
      out += "\\u00";
      out += kDigits[code >> 4];
      out += kDigits[code & 0xf];
    } else {
      out += byte;
    }
  }
  out += '"';
}

void JsonWriter::text(std::string_view text) {
  separate();
  append_json_string(out_, text);
}

void JsonWriter::number(std::uint64_t number) {
  separate();
  std::array<char, std::numeric_limits<std::uint64_t>::digits10 + 1> digits;
  out_.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

void JsonWriter::flag(bool flag) {
  separate();
  out_ += flag ? "true" : "false";
}

void JsonWriter::name(std::string_view name) {
  separate();
  out_ += '"';
  out_ += name;
  out_ += "\":";
  follows_value_ = false;
}

void JsonWriter::begin_object(std::string_view name) {
  this->name(name);
  begin_object();
}
void JsonWriter::begin_array(std::string_view name) {
  this->name(name);
  begin_array();
}
void JsonWriter::text(std::string_view name, std::string_view text) {
  this->name(name);
  this->text(text);
}
void JsonWriter::number(std::string_view name, std::uint64_t number) {
  this->name(name);
  this->number(number);
}
void JsonWriter::flag(std::string_view name, bool flag) {
  this->name(name);
  this->flag(flag);
}

void JsonWriter::separate() {
  if (follows_value_) out_ += ',';
  follows_value_ = true;
}

void JsonWriter::begin(char bracket) {
  separate();
  out_ += bracket;
  follows_value_ = false;
}

void JsonWriter::end(char bracket) {
  out_ += bracket;
  follows_value_ = true;
}

}  // namespace kvel::encoding
