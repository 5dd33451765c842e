#include "manager/model/json_text.h"

namespace kvel::manager {

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

}  // namespace kvel::manager
