// "show class-map".
#include "shell/configuration/show_class_map.h"

#include <fmt/format.h>

#include <cstdint>

#include "kvel/host.h"
#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/document.h"
#include "shell/configuration/record_command.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/render.h"

namespace kvel::shell {

namespace {

// What one would type behind "match".
std::string spell_rule(const Grammar& grammar, std::string_view mode, const ObjectRecord& rule) {
  constexpr std::string_view kMatch = "match ";
  ObjectRecord members = rule;
  members.erase("line");
  if (const auto command = rule_command(grammar, mode, members)) {
    const auto line = render(grammar, *grammar.find_mode(mode), command->handler, false, command->tokens);
    if (line && line->starts_with(kMatch)) return line->substr(kMatch.size());
  }
  return rule.dump();  // what no command can say
}

void print_text(const Grammar& grammar, const ObjectRecord& class_map, const ClassMapType& type) {
  output::text(fmt::format("class-map {} ({}, match {})", quote_if_needed(class_map.at("name").get<std::string>()),
                           type.title, class_map.at("match_all").get<bool>() ? "all" : "any"));
  if (const auto description = class_map.find("description"); description != class_map.end()) {
    output::text(fmt::format("  description: {}", description->get<std::string>()));
  }
  for (const ObjectRecord& rule : rules_of(class_map)) {
    output::text(fmt::format("{:5}  {}", rule.at("line").get<std::uint64_t>(), spell_rule(grammar, type.mode, rule)));
  }
}

// A code is shown by its word, under the name "name".
void print_rule(const Grammar& grammar, std::string_view mode, const ObjectRecord& rule) {
  output::open_element("rule");
  for (const auto& [member, value] : rule.items()) {
    const auto word = word_of_code(grammar, mode, rule.at("match").get<std::string>(), member, value);
    if (word) {
      output::value("name", *word);
    } else {
      print_member(member, value);
    }
  }
  output::close_element("rule");
}

void print_document(const Grammar& grammar, const ObjectRecord& class_map, const ClassMapType& type) {
  output::open_element("class-map");
  for (const auto& [member, value] : class_map.items()) {
    if (member == "kind" || member == "rules") continue;
    if (member == "type") {
      output::value("type", type.title);
    } else {
      print_member(member, value);
    }
  }
  for (const ObjectRecord& rule : rules_of(class_map))
    print_rule(grammar, type.mode, rule);
  output::close_element("class-map");
}

}  // namespace

void print_class_map(const Grammar& grammar, const ObjectRecord& class_map) {
  const ClassMapType& type = type_of(class_map);
  if (output::format() == output::Format::text) {
    print_text(grammar, class_map, type);
  } else {
    print_document(grammar, class_map, type);
  }
}

tl::expected<void, CallFailure> show_class_map(const Grammar& grammar, int context, const std::string& name) {
  if (!name.empty()) {
    const auto class_map = get_object(context, KVEL_DOMAIN_CLASS_MAP, name);
    if (!class_map) {
      CallFailure failure = class_map.error();
      failure.text = failure.status == KVEL_STATUS_class_map_not_found
                         ? fmt::format("class-map '{}' not configured", name)
                         : fmt::format("class-map '{}': {}", name, failure.text);
      return tl::unexpected(std::move(failure));
    }
    output::open_element("class_maps");
    print_class_map(grammar, *class_map);
    output::close_element("class_maps");
    return {};
  }
  output::open_element("class_maps");
  auto fetched = for_each_object(context, KVEL_DOMAIN_CLASS_MAP,
                                 [&](const ObjectRecord& class_map) { print_class_map(grammar, class_map); });
  output::close_element("class_maps");
  return fetched;
}

}  // namespace kvel::shell
