#include "manager/model/class_map_record.h"

#include <fmt/format.h>

#include "encoding/json_writer.h"
#include "manager/model/record_body.h"
#include "manager/model/rule_record.h"

namespace kvel::manager {
namespace {

using encoding::JsonValue;
using encoding::JsonWriter;
using Refusal = tl::unexpected<std::string>;

void write_members(JsonWriter& json, const ClassMapSettings& settings) {
  json.number("type", static_cast<unsigned>(settings.type));
  json.flag("match_all", settings.mode == MatchMode::all);
  if (!settings.description.empty()) json.text("description", settings.description);
}

void write_rules(JsonWriter& json, std::string& out, const ClassMap& class_map) {
  if (class_map.rules.empty()) return;
  std::string rules;
  const bool is_whole = append_parts(rules, class_map, 0).is_last;
  json.name("rules");
  if (is_whole) {
    out += rules;
  } else {
    json.number(class_map.rules.size());
  }
}

tl::expected<void, std::string> read_member(std::string_view name, JsonValue value, ClassMapSettings& settings) {
  if (name == "type") {
    const auto type = value.number();
    if (!type || *type > kMaxClassMapType) {
      return Refusal(fmt::format("its type {} is none of 0 to {}", value.dump(), kMaxClassMapType));
    }
    settings.type = static_cast<ClassMapType>(*type);
  } else if (name == "match_all") {
    const auto match_all = value.flag();
    if (!match_all) return Refusal("its match_all is neither true nor false");
    settings.mode = *match_all ? MatchMode::all : MatchMode::any;
  } else if (name == "description") {
    auto description = read_description(value);
    if (!description) return Refusal(std::move(description).error());
    settings.description = *std::move(description);
  } else {
    return Refusal(unknown_member(name));
  }
  return {};
}

}  // namespace

void append_body(std::string& out, const ClassMapSettings& settings) {
  JsonWriter json(out);
  json.begin_object();
  write_members(json, settings);
  json.end_object();
}

void append_record(std::string& out, std::string_view name, const ClassMap& class_map) {
  JsonWriter json(out);
  json.begin_object();
  json.text("kind", "class-map");
  json.text("name", name);
  write_members(json, class_map.settings);
  write_rules(json, out, class_map);
  json.end_object();
}

PartsPage append_parts(std::string& out, const ClassMap& class_map, std::uint64_t after) {
  const std::size_t start = out.size();
  PartsPage page;
  JsonWriter json(out);
  json.begin_array();
  if (after <= RuleTable::kMaxLine) {
    for (auto rule = class_map.rules.after(static_cast<std::uint32_t>(after)); rule != class_map.rules.end(); ++rule) {
      const std::size_t before = out.size();
      json.begin_object();
      json.number("line", rule->first);
      write_members(json, rule->second.match);
      json.end_object();
      page.is_last = page.last == 0 || out.size() - start < kMaxPartsBytes;
      if (!page.is_last) {
        out.resize(before);
        break;
      }
      page.last = rule->first;
    }
  }
  json.end_array();
  return page;
}

tl::expected<ClassMapSettings, std::string> read_class_map(std::string_view body) {
  const auto document = parse_body(body);
  if (!document) return Refusal(document.error());
  ClassMapSettings settings;
  for (const auto& [name, value] : document->root().members()) {
    if (auto read = read_member(name, value, settings); !read) return Refusal(std::move(read).error());
  }
  return as_written(std::move(settings), body);
}

}  // namespace kvel::manager
