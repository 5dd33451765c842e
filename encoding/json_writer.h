// Writes JSON texts piece by piece, without building a document first and without any space.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvel::encoding {

// Appends `text`, which is well-formed UTF-8, as a JSON string with its quotes. Only what JSON wants escaped is
// escaped: quote, backslash, and controls as \u and four digits. What a plug-in prints can be any bytes and is to say
// the same in XML; documents of it have rules of their own (output/escape.h).
void append_json_string(std::string& out, std::string_view text);

// Appends one value to a text: a scalar, or what is between a begin and its end. Commas come by themselves. Inside an
// object a value follows its name, which is written as it is; the functions that take one write both.
class JsonWriter {
 public:
  explicit JsonWriter(std::string& out) : out_(out) {}

  void begin_object() { begin('{'); }
  void end_object() { end('}'); }
  void begin_array() { begin('['); }
  void end_array() { end(']'); }
  void text(std::string_view text);
  void number(std::uint64_t number);
  void flag(bool flag);

  void name(std::string_view name);

  // A member of the object that is open.
  void begin_object(std::string_view name);
  void begin_array(std::string_view name);
  void text(std::string_view name, std::string_view text);
  void number(std::string_view name, std::uint64_t number);
  void flag(std::string_view name, bool flag);

 private:
  void separate();
  void begin(char bracket);
  void end(char bracket);

  std::string& out_;
  bool follows_value_ = false;
};

}  // namespace kvel::encoding
