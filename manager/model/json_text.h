// Writes JSON texts piece by piece, without building a document first.
#pragma once

#include <string>
#include <string_view>

namespace kvel::manager {

// Appends `text`, which is well-formed UTF-8, as a JSON string with its quotes.
void append_json_string(std::string& out, std::string_view text);

}  // namespace kvel::manager
