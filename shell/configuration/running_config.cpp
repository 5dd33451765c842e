// "show running-config".
#include "shell/configuration/running_config.h"

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/document.h"
#include "shell/matcher/render.h"

namespace kvel::shell {

namespace {

constexpr int kUnspellable = KVEL_STATUS_internal;

std::vector<ConfigCommand> commands_of(const Grammar& grammar, const ObjectRecord& object) {
  if (object.at("kind") == "class-map") return class_map_commands(grammar, object);
  return {};
}

// The lines of one object; those of its own mode are indented. What no command can say is left out and told.
tl::expected<void, CallFailure> print_commands(const Grammar& grammar, const ObjectRecord& object) {
  tl::expected<void, CallFailure> spelled;
  for (const ConfigCommand& command : commands_of(grammar, object)) {
    const ModeId mode = *grammar.find_mode(command.mode);
    if (const auto line = render(grammar, mode, command.handler, false, command.tokens)) {
      output::text((mode == Grammar::kTopMode ? "" : "  ") + *line);
    } else {
      spelled = tl::unexpected(CallFailure{
          kUnspellable, fmt::format("{} \"{}\" holds what no command can say", object.at("kind").get<std::string>(),
                                    object.at("name").get<std::string>())});
    }
  }
  return spelled;
}

// Prints objects as commands. An object that refers to others of its kind waits for the last of these.
class CommandPrinter {
 public:
  explicit CommandPrinter(const Grammar& grammar) : grammar_(grammar) {}

  void visit(const ObjectRecord& object) {
    if (!waiting_.empty() && waiting_.front().at("kind") != object.at("kind")) print_waiting();
    if (names_other_class_maps(object)) {
      waiting_.push_back(object);
    } else {
      print(object);
    }
  }

  // The first failure; the other objects are printed all the same.
  [[nodiscard]] tl::expected<void, CallFailure> finish() {
    print_waiting();
    return spelled_;
  }

 private:
  void print(const ObjectRecord& object) {
    auto printed = print_commands(grammar_, object);
    if (!printed && spelled_) spelled_ = std::move(printed);
  }

  void print_waiting() {
    for (const ObjectRecord& object : waiting_)
      print(object);
    waiting_.clear();
  }

  const Grammar& grammar_;
  std::vector<ObjectRecord> waiting_;
  tl::expected<void, CallFailure> spelled_;
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
    auto spelled = printer.finish();
    return fetched ? spelled : fetched;
  }
  output::open_element("running_config");
  auto fetched = for_each_object(context, kAllObjects, print_element);
  output::close_element("running_config");
  return fetched;
}

}  // namespace kvel::shell
