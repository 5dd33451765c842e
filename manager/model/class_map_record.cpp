#include "manager/model/class_map_record.h"

#include <fmt/format.h>

#include "encoding/json_writer.h"
#include "manager/model/record_body.h"

namespace kvel::manager {
namespace {

using encoding::JsonValue;
using encoding::JsonWriter;
using Refusal = tl::unexpected<std::string>;

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

void write_members(JsonWriter& json, const ClassMapSettings& settings) {
  json.number("type", static_cast<unsigned>(settings.type));
  json.flag("match_all", settings.mode == MatchMode::all);
  if (!settings.description.empty()) json.text("description", settings.description);
}

void append_body(std::string& out, const ClassMapSettings& settings) {
  JsonWriter json(out);
  json.begin_object();
  write_members(json, settings);
  json.end_object();
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
