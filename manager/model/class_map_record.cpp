#include "manager/model/class_map_record.h"

#include <fmt/format.h>

#include "manager/model/json_text.h"
#include "manager/model/record_body.h"
#include "manager/model/rule_record.h"
#include "manager/model/text.h"

namespace kvel::manager {
namespace {

using Json = nlohmann::json;
using Refusal = tl::unexpected<std::string>;

void append_members(std::string& out, const ClassMapSettings& settings) {
  out += R"("type":)";
  out += static_cast<char>('0' + static_cast<int>(settings.type));
  out += settings.mode == MatchMode::all ? R"(,"match_all":true)" : R"(,"match_all":false)";
  if (!settings.description.empty()) {
    out += R"(,"description":)";
    append_json_string(out, settings.description);
  }
}

void append_rules(std::string& out, const RuleTable& rules) {
  if (rules.empty()) return;
  out += R"(,"rules":)";
  char before = '[';
  for (const auto& [line, rule] : rules) {
    out += before;
    append_record(out, line, rule.match);
    before = ',';
  }
  out += ']';
}

tl::expected<void, std::string> read_member(const std::string& name, const Json& value, ClassMapSettings& settings) {
  if (name == "type") {
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > kMaxClassMapType) {
      return Refusal(fmt::format("its type {} is none of 0 to {}", value.dump(), kMaxClassMapType));
    }
    settings.type = static_cast<ClassMapType>(value.get<std::uint8_t>());
  } else if (name == "match_all") {
    if (!value.is_boolean()) return Refusal("its match_all is neither true nor false");
    settings.mode = value.get<bool>() ? MatchMode::all : MatchMode::any;
  } else if (name == "description") {
    if (!value.is_string()) return Refusal("its description is no text");
    settings.description = value.get<std::string>();
    if (!is_description(settings.description)) return Refusal("its description is too long or has control characters");
  } else {
    return Refusal(fmt::format("it has an unknown member {:?}", name));
  }
  return {};
}

}  // namespace

void append_body(std::string& out, const ClassMapSettings& settings) {
  out += '{';
  append_members(out, settings);
  out += '}';
}

void append_record(std::string& out, std::string_view name, const ClassMap& class_map) {
  out += R"({"kind":"class-map","name":)";
  append_json_string(out, name);
  out += ',';
  append_members(out, class_map.settings);
  append_rules(out, class_map.rules);
  out += '}';
}

tl::expected<ClassMapSettings, std::string> read_class_map(std::string_view body) {
  const auto json = parse_body(body);
  if (!json) return Refusal(json.error());
  ClassMapSettings settings;
  for (const auto& [name, value] : json->items()) {
    if (auto read = read_member(name, value, settings); !read) return Refusal(std::move(read).error());
  }
  std::string written;
  append_body(written, settings);
  if (written != body) return Refusal(kOtherForm);
  return settings;
}

}  // namespace kvel::manager
