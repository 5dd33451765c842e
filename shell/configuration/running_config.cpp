// "show running-config".
#include "shell/configuration/running_config.h"

#include <fmt/format.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/document.h"
#include "shell/configuration/object_commands.h"
#include "shell/configuration/object_kinds.h"
#include "shell/configuration/policy_map_commands.h"

namespace kvel::shell {

namespace {

constexpr int kUnrenderable = KVEL_STATUS_internal;

// The lines of one object, indented by the modes they are typed in. What no command can create is left out and
// reported.
tl::expected<void, CallFailure> print_commands(const Grammar& grammar, const ObjectRecord& object) {
  tl::expected<void, CallFailure> rendered;
  for (const ConfigCommand& command : commands_of(grammar, object)) {
    if (const auto line = render(grammar, command)) {
      output::text(std::string(2 * depth_of(grammar, command.mode), ' ') + *line);
    } else {
      rendered = tl::unexpected(
          CallFailure{kUnrenderable,
                      fmt::format("{} \"{}\" has parts that no command can create",
                                  object.at("kind").get<std::string>(), object.at("name").get<std::string>()),
                      true});
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

tl::expected<void, CallFailure> visit_shown(int context, const ShownConfig& shown,
                                            const std::function<void(const ObjectRecord&)>& visit) {
  if (shown.name.empty()) return for_each_object(context, shown.kind, visit);
  const auto object = get_object(context, shown.kind, shown.name);
  if (object) {
    visit(*object);
    return {};
  }
  return tl::unexpected(failure_of(shown.kind, shown.name, object.error()));
}

}  // namespace

tl::expected<void, CallFailure> show_running_config(const Grammar& grammar, int context, const ShownConfig& shown) {
  if (output::format() == output::Format::text) {
    CommandPrinter printer(grammar);
    auto fetched = visit_shown(context, shown, [&](const ObjectRecord& object) { printer.visit(object); });
    auto rendered = printer.finish();
    return fetched ? rendered : fetched;
  }
  output::open_element("running_config");
  auto fetched = visit_shown(context, shown, print_element);
  output::close_element("running_config");
  return fetched;
}

}  // namespace kvel::shell
