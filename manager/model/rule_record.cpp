#include "manager/model/rule_record.h"

#include "manager/model/field_record.h"
#include "manager/model/record_body.h"
#include "manager/model/rule_check.h"

namespace kvel::manager {

using Refusal = tl::unexpected<std::string>;

void append_body(std::string& out, const MatchRule& rule) {
  encoding::JsonWriter json(out);
  json.begin_object();
  write_members(json, rule);
  json.end_object();
}

void write_members(encoding::JsonWriter& json, const MatchRule& rule) { write_variant(json, "match", rule); }

tl::expected<MatchRule, std::string> read_rule_members(encoding::JsonValue json) {
  if (!json.is_object()) return Refusal("its body is no JSON object");
  auto rule = read_variant<MatchRule>(json, "match", "rules");
  if (!rule) return rule;
  // Older versions took larger expressions. A rule with one is kept, and matches nothing.
  const Status status = check_rule(*rule);
  if (!succeeded(status) && status != Status::expression_too_large) return Refusal(std::string(status_text(status)));
  return rule;
}

tl::expected<MatchRule, std::string> read_rule(std::string_view body) {
  const auto document = parse_body(body);
  if (!document) return Refusal(document.error());
  auto rule = read_rule_members(document->root());
  if (!rule) return rule;
  return as_written(*std::move(rule), body);
}

}  // namespace kvel::manager
