// "show class-map".
#include "shell/configuration/show_class_map.h"

#include <fmt/format.h>

#include <cstdint>

#include "kvel/host.h"
#include "output/output.h"
#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/show_objects.h"
#include "shell/matcher/lexer.h"

namespace kvel::shell {

namespace {

// What would be typed after "match".
std::string render_rule(const Grammar& grammar, std::string_view mode, const ObjectRecord& rule) {
  constexpr std::string_view kMatch = "match ";
  ObjectRecord members = rule;
  members.erase("line");
  if (const auto command = rule_command(grammar, mode, members)) {
    const auto line = render(grammar, *command);
    if (line && line->starts_with(kMatch)) return line->substr(kMatch.size());
  }
  return rule.dump();  // no command can create it
}

void print_text(const Grammar& grammar, const ObjectRecord& class_map, const ClassMapType& type) {
  output::text(fmt::format("class-map {} ({}, match {})", quote_if_needed(class_map.at("name").get<std::string>()),
                           type.title, class_map.at("match_all").get<bool>() ? "all" : "any"));
  if (const auto description = class_map.find("description"); description != class_map.end()) {
    output::text(fmt::format("  description: {}", description->get<std::string>()));
  }
  for (const ObjectRecord& rule : rules_of(class_map)) {
    output::text(fmt::format("{:5}  {}", rule.at("line").get<std::uint64_t>(), render_rule(grammar, type.mode, rule)));
  }
}

void print_document(const Grammar& grammar, const ObjectRecord& class_map, const ClassMapType& type) {
  output::open_element("class-map");
  print_settings(class_map, type.title, "rules");
  for (const ObjectRecord& rule : rules_of(class_map))
    print_part("rule", grammar, type.mode, rule.at("match").get<std::string>(), rule);
  output::close_element("class-map");
}

void print_class_map(const Grammar& grammar, const ObjectRecord& class_map) {
  const ClassMapType& type = type_of(class_map);
  if (output::format() == output::Format::text) {
    print_text(grammar, class_map, type);
  } else {
    print_document(grammar, class_map, type);
  }
}

constexpr ShownKind kClassMaps{KVEL_DOMAIN_CLASS_MAP, "class_maps", print_class_map};

}  // namespace

tl::expected<void, CallFailure> show_class_map(const Grammar& grammar, int context, const std::string& name) {
  return show_objects(grammar, context, name, kClassMaps);
}

}  // namespace kvel::shell
