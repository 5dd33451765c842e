// "show running-config".
#include "shell/configuration/running_config.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/document.h"
#include "shell/configuration/parameter_map_commands.h"
#include "shell/configuration/policy_map_commands.h"
#include "shell/configuration/ssl_proxy_commands.h"

namespace kvel::shell {

namespace {

constexpr int kUnrenderable = KVEL_STATUS_internal;

std::vector<ConfigCommand> commands_of(const Grammar& grammar, const ObjectRecord& object) {
  if (object.at("kind") == "parameter-map") return parameter_map_commands(grammar, object);
  if (object.at("kind") == "ssl-proxy") return ssl_proxy_commands(grammar, object);
  if (object.at("kind") == "class-map") return class_map_commands(grammar, object);
  if (object.at("kind") == "policy-map") return policy_map_commands(grammar, object);
  return {};
}

// How many modes lie around a mode.
std::size_t depth_of(const Grammar& grammar, ModeId mode) {
  if (mode == Grammar::kTopMode) return 0;
  const auto opener = std::find_if(grammar.commands().begin(), grammar.commands().end(),
                                   [mode](const Command& command) { return command.opens == mode; });
  return opener == grammar.commands().end() ? 1 : 1 + depth_of(grammar, opener->modes.front());
}

// The lines of one object, indented by the modes they are typed in. What no command can create is left out and
// reported.
tl::expected<void, CallFailure> print_commands(const Grammar& grammar, const ObjectRecord& object) {
  tl::expected<void, CallFailure> rendered;
  for (const ConfigCommand& command : commands_of(grammar, object)) {
    if (const auto line = render(grammar, command)) {
      output::text(std::string(2 * depth_of(grammar, *grammar.find_mode(command.mode)), ' ') + *line);
    } else {
      rendered = tl::unexpected(CallFailure{
          kUnrenderable, fmt::format("{} \"{}\" has parts that no command can create",
                                     object.at("kind").get<std::string>(), object.at("name").get<std::string>())});
    }
  }
  return rendered;
}

bool names_others_of_its_kind(const ObjectRecord& object) {
  return names_other_class_maps(object) || names_other_policy_maps(object);
}

// Prints objects as commands. An object that refers to others of its kind waits for the last of these.
class CommandPrinter {
 public:
  explicit CommandPrinter(const Grammar& grammar) : grammar_(grammar) {}

  void visit(const ObjectRecord& object) {
    if (!waiting_.empty() && waiting_.front().at("kind") != object.at("kind")) print_waiting();
    if (names_others_of_its_kind(object)) {
      waiting_.push_back(object);
    } else {
      print(object);
    }
  }

  // The first failure; the other objects are printed all the same.
  [[nodiscard]] tl::expected<void, CallFailure> finish() {
    print_waiting();
    return rendered_;
  }

 private:
  void print(const ObjectRecord& object) {
    auto printed = print_commands(grammar_, object);
    if (!printed && rendered_) rendered_ = std::move(printed);
  }

  void print_waiting() {
    for (const ObjectRecord& object : waiting_)
      print(object);
    waiting_.clear();
  }

  const Grammar& grammar_;
  std::vector<ObjectRecord> waiting_;
  tl::expected<void, CallFailure> rendered_;
};

void print_element(const ObjectRecord& object) {
  const auto kind = object.at("kind").get<std::string>();
  output::open_element(kind);
  for (const auto& [name, member] : object.items()) {
    if (name != "kind") print_member(name, member);
  }
  output::close_element(kind);
}

}  // namespace

tl::expected<void, CallFailure> show_running_config(const Grammar& grammar, int context) {
  if (output::format() == output::Format::text) {
    CommandPrinter printer(grammar);
    auto fetched = for_each_object(context, kAllObjects, [&](const ObjectRecord& object) { printer.visit(object); });
    auto rendered = printer.finish();
    return fetched ? rendered : fetched;
  }
  output::open_element("running_config");
  auto fetched = for_each_object(context, kAllObjects, print_element);
  output::close_element("running_config");
  return fetched;
}

}  // namespace kvel::shell
