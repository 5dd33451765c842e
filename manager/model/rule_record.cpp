#include "manager/model/rule_record.h"

#include <fmt/format.h>

#include <iterator>

#include "manager/model/field_record.h"
#include "manager/model/record_body.h"
#include "manager/model/rule_check.h"

namespace kvel::manager {
namespace {

using Json = nlohmann::json;
using Refusal = tl::unexpected<std::string>;

// Appends the members of a rule and the end of its object.
void append_members(std::string& out, const MatchRule& rule) {
  std::visit(
      [&out](const auto& kind) {
        fmt::format_to(std::back_inserter(out), R"("match":"{}")", kind.kKind);
        append_fields(out, kind);
      },
      rule);
  out += '}';
}

}  // namespace

void append_body(std::string& out, const MatchRule& rule) {
  out += '{';
  append_members(out, rule);
}

void append_record(std::string& out, std::uint32_t line, const MatchRule& rule) {
  fmt::format_to(std::back_inserter(out), R"({{"line":{},)", line);
  append_members(out, rule);
}

tl::expected<MatchRule, std::string> read_rule_members(const Json& json) {
  if (!json.is_object()) return Refusal("its body is no JSON object");
  auto rule = read_variant<MatchRule>(json, "match", "rules");
  if (!rule) return rule;
  if (const Status status = check_rule(*rule); !succeeded(status)) return Refusal(std::string(status_text(status)));
  return rule;
}

tl::expected<MatchRule, std::string> read_rule(std::string_view body) {
  const auto json = parse_body(body);
  if (!json) return Refusal(json.error());
  auto rule = read_rule_members(*json);
  if (!rule) return rule;
  std::string written;
  append_body(written, *rule);
  if (written != body) return Refusal(kOtherForm);
  return rule;
}

}  // namespace kvel::manager
