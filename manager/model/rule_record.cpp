#include "manager/model/rule_record.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "manager/model/json_text.h"
#include "manager/model/rule_check.h"

namespace kvel::manager {
namespace {

using Json = nlohmann::json;
using Refusal = tl::unexpected<std::string>;

// How each type of field is written and read.
void append_value(std::string& out, std::uint32_t number) { fmt::format_to(std::back_inserter(out), "{}", number); }
void append_value(std::string& out, bool flag) { out += flag ? "true" : "false"; }
void append_value(std::string& out, const std::string& text) { append_json_string(out, text); }
void append_value(std::string& out, HttpDirection direction) {
  out += direction == HttpDirection::request ? R"("request")" : R"("response")";
}
void append_value(std::string& out, Ipv4 address) {
  const std::uint32_t word = address.word;
  fmt::format_to(std::back_inserter(out), R"("{}.{}.{}.{}")", word >> 24U, (word >> 16U) & 0xffU, (word >> 8U) & 0xffU,
                 word & 0xffU);
}

bool read_value(const Json& json, std::uint32_t& number) {
  if (!json.is_number_unsigned() || json.get<std::uint64_t>() > std::numeric_limits<std::uint32_t>::max()) return false;
  number = json.get<std::uint32_t>();
  return true;
}
bool read_value(const Json& json, bool& flag) {
  if (!json.is_boolean()) return false;
  flag = json.get<bool>();
  return true;
}
bool read_value(const Json& json, std::string& text) {
  if (!json.is_string()) return false;
  text = json.get<std::string>();
  return true;
}
bool read_value(const Json& json, HttpDirection& direction) {
  if (json != "request" && json != "response") return false;
  direction = json == "request" ? HttpDirection::request : HttpDirection::response;
  return true;
}
bool read_value(const Json& json, Ipv4& address) {
  in_addr parsed{};
  if (!json.is_string() || ::inet_pton(AF_INET, json.get_ref<const std::string&>().c_str(), &parsed) != 1) return false;
  address.word = ntohl(parsed.s_addr);
  return true;
}

template <class Rule, class Value>
void append_field(std::string& out, const Rule& rule, const Field<Rule, Value>& field) {
  const Value& value = rule.*field.member;
  if (field.presence == Presence::unless_default && value == Value{}) return;
  fmt::format_to(std::back_inserter(out), R"(,"{}":)", field.name);
  append_value(out, value);
}

// Appends the members of a rule and the end of its object.
void append_members(std::string& out, const MatchRule& rule) {
  std::visit(
      [&out](const auto& kind) {
        fmt::format_to(std::back_inserter(out), R"("match":"{}")", kind.kKind);
        std::apply([&](const auto&... field) { (append_field(out, kind, field), ...); }, kind.fields());
      },
      rule);
  out += '}';
}

// A missing field keeps its default: the comparison with what is written finds it.
template <class Rule, class Value>
bool read_field(const Json& json, Rule& rule, const Field<Rule, Value>& field, std::string& error) {
  const auto found = json.find(field.name);
  if (found == json.end() || read_value(*found, rule.*field.member)) return true;
  error = fmt::format("its {} cannot be {}", field.name, found->dump());
  return false;
}

template <class Rule>
tl::expected<MatchRule, std::string> read_fields(const Json& json) {
  Rule rule;
  std::string error;
  const bool read =
      std::apply([&](const auto&... field) { return (read_field(json, rule, field, error) && ...); }, Rule::fields());
  if (!read) return Refusal(std::move(error));
  return rule;
}

template <std::size_t... Index>
tl::expected<MatchRule, std::string> read_kind(const Json& json, std::string_view kind,
                                               std::index_sequence<Index...> /*kinds*/) {
  std::optional<tl::expected<MatchRule, std::string>> result;
  const auto try_kind = [&]<class Rule>(std::in_place_type_t<Rule>) {
    if (Rule::kKind != kind) return false;
    result = read_fields<Rule>(json);
    return true;
  };
  if ((try_kind(std::in_place_type<std::variant_alternative_t<Index, MatchRule>>) || ...)) return *std::move(result);
  return Refusal(fmt::format("there are no rules of the kind {:?}", kind));
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

tl::expected<MatchRule, std::string> read_rule(std::string_view body) {
  const Json json = Json::parse(body, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return Refusal("its body is no JSON object");
  const auto kind = json.find("match");
  if (kind == json.end() || !kind->is_string()) return Refusal("it has no kind");
  auto rule =
      read_kind(json, kind->get_ref<const std::string&>(), std::make_index_sequence<std::variant_size_v<MatchRule>>());
  if (!rule) return rule;
  if (const Status status = check_rule(*rule); !succeeded(status)) return Refusal(std::string(status_text(status)));
  // Missing, unknown and repeated members, and other spellings of the same.
  std::string written;
  append_body(written, *rule);
  if (written != body) return Refusal("its body is not in the form that this system writes");
  return rule;
}

}  // namespace kvel::manager
