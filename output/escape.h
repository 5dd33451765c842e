// The one place where characters are escaped for a document.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/destination.h"

namespace kvel::output {

enum class Dialect : std::uint8_t { xml, json };

// Writes `text` as XML element content or as the inside of a JSON string. Every byte that is no part of valid UTF-8,
// and every character that XML 1.0 does not allow, is replaced by one U+FFFD, in both dialects, so that their contents
// agree. Texts that are known to be sound are written by append_json_string() (encoding/json_writer.h), as they are.
void write_escaped(Destination& out, std::string_view text, Dialect dialect);

}  // namespace kvel::output
