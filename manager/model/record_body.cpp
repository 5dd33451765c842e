#include "manager/model/record_body.h"

#include <fmt/format.h>

#include "manager/model/text.h"

namespace kvel::manager {

using Refusal = tl::unexpected<std::string>;

tl::expected<encoding::JsonDocument, std::string> parse_body(std::string_view body) {
  constexpr std::size_t kMaxDepth = 16;  // no body of ours is as deep
  auto document = encoding::JsonDocument::parse(body, kMaxDepth);
  if (!document && document.error() == encoding::JsonFault::nested_too_deep) {
    return Refusal("its body is nested too deep");
  }
  if (!document || !document->root().is_object()) return Refusal("its body is no JSON object");
  return *std::move(document);
}

tl::expected<std::string, std::string> read_description(encoding::JsonValue value) {
  const std::string* description = value.text();
  if (description == nullptr) return Refusal("its description is no text");
  if (!is_description(*description)) return Refusal("its description is too long or has control characters");
  return *description;
}

std::string unknown_member(std::string_view name) { return fmt::format("it has an unknown member {:?}", name); }

}  // namespace kvel::manager
