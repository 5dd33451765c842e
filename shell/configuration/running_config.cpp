// "show running-config".
#include "shell/configuration/running_config.h"

#include <fmt/format.h>

#include <string>

#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/class_map_commands.h"
#include "shell/matcher/render.h"

namespace kvel::shell {

namespace {

constexpr int kUnspellable = KVEL_STATUS_internal;

std::vector<ConfigCommand> commands_of(const ObjectRecord& object) {
  if (object.at("kind") == "class-map") return class_map_commands(object);
  return {};
}

// The lines of one object; those of its own mode are indented.
tl::expected<void, CallFailure> print_commands(const Grammar& grammar, const ObjectRecord& object) {
  for (const ConfigCommand& command : commands_of(object)) {
    const ModeId mode = *grammar.find_mode(command.mode);
    const auto line = render(grammar, mode, command.handler, false, command.tokens);
    if (!line) {
      return tl::unexpected(CallFailure{
          kUnspellable, fmt::format("{} \"{}\" holds what no command can say", object.at("kind").get<std::string>(),
                                    object.at("name").get<std::string>())});
    }
    output::text((mode == Grammar::kTopMode ? "" : "  ") + *line);
  }
  return {};
}

// JSON member names become element names: class-map's "match_all" stays, values keep their types.
void print_value(const std::string& tag, const ObjectRecord& value) {
  if (value.is_object()) {
    output::open_element(tag);
    for (const auto& [name, member] : value.items())
      print_value(name, member);
    output::close_element(tag);
  } else if (value.is_array()) {
    for (const ObjectRecord& element : value)
      print_value(tag, element);
  } else if (value.is_number_unsigned()) {
    output::value(tag, value.get<std::uint64_t>());
  } else if (value.is_number_integer()) {
    output::value(tag, value.get<std::int64_t>());
  } else if (value.is_boolean()) {
    output::value_truth(tag, value.get<bool>());
  } else {
    output::value(tag, value.is_string() ? value.get<std::string>() : value.dump());
  }
}

void print_element(const ObjectRecord& object) {
  const auto kind = object.at("kind").get<std::string>();
  output::open_element(kind);
  for (const auto& [name, member] : object.items()) {
    if (name != "kind") print_value(name, member);
  }
  output::close_element(kind);
}

}  // namespace

tl::expected<void, CallFailure> show_running_config(const Grammar& grammar, int context) {
  const bool as_commands = output::format() == output::Format::text;
  if (!as_commands) output::open_element("running_config");
  tl::expected<void, CallFailure> spelled;
  auto fetched = for_each_object(context, kAllObjects, [&](const ObjectRecord& object) {
    if (!as_commands) {
      print_element(object);
    } else if (auto printed = print_commands(grammar, object); !printed && spelled) {
      spelled = printed;  // the other objects are still shown
    }
  });
  if (!as_commands) output::close_element("running_config");
  return fetched ? spelled : fetched;
}

}  // namespace kvel::shell
