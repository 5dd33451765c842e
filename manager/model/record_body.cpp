#include "manager/model/record_body.h"

#include <cstddef>

namespace kvel::manager {
namespace {

// Whether arrays and objects lie deeper in one another than in any body of ours. The JSON library copies and shows them
// by functions that call themselves, once for each level.
bool is_nested_too_deep(std::string_view body) {
  constexpr std::size_t kMaxDepth = 16;
  std::size_t depth = 0;
  bool is_in_text = false;
  for (std::size_t index = 0; index < body.size(); ++index) {
    const char byte = body[index];
    if (byte == '"') is_in_text = !is_in_text;
    if (is_in_text && byte == '\\') ++index;  // what follows is part of the text, also a quote
    if (is_in_text) continue;
    if (byte == '{' || byte == '[') ++depth;
    if ((byte == '}' || byte == ']') && depth != 0) --depth;
    if (depth > kMaxDepth) return true;
  }
  return false;
}

}  // namespace

tl::expected<nlohmann::json, std::string> parse_body(std::string_view body) {
  if (is_nested_too_deep(body)) return tl::unexpected<std::string>("its body is nested too deep");
  auto json = nlohmann::json::parse(body, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return tl::unexpected<std::string>("its body is no JSON object");
  return json;
}

}  // namespace kvel::manager
