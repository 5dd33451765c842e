// "show uses". An object refers to another where one of its commands names it: by a parameter that completes the names
// of objects.
#include "shell/configuration/show_uses.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/object_commands.h"
#include "shell/matcher/lexer.h"

namespace kvel::shell {

namespace {

std::set<KeywordId> keywords_of_names(const Grammar& grammar) {
  std::set<KeywordId> keywords;
  for (const Edge& edge : grammar.edges()) {
    if (!edge.symbol.hook.empty()) keywords.insert(edge.symbol.keyword);
  }
  return keywords;
}

class UsePrinter {
 public:
  UsePrinter(const Grammar& grammar, const std::string& name)
      : grammar_(grammar), name_(name), naming_(keywords_of_names(grammar)) {}

  void visit(const ObjectRecord& object) {
    exists_ = exists_ || object.at("name") == name_;
    const std::vector<ConfigCommand> commands = commands_of(grammar_, object);
    bool shown = false;                 // the object's own heading
    std::optional<std::string> around;  // the class or match that the command stands in, until it is shown
    for (std::size_t index = 1; index < commands.size(); ++index) {
      const ConfigCommand& command = commands[index];
      const auto line = render(grammar_, command);
      if (!line) continue;
      const std::size_t depth = depth_of(grammar_, command.mode);
      const bool named = names_it(command);
      if (named && !std::exchange(shown, true)) open(object);
      if (named) {
        if (depth > 1 && around) print("class", *std::exchange(around, std::nullopt), 2);
        print("command", *line, 2 * std::max<std::size_t>(depth, 1));
      }
      if (depth == 1) around = named ? std::nullopt : line;
    }
    if (shown && output::format() != output::Format::text) output::close_element("use");
  }

  [[nodiscard]] bool exists() const { return exists_; }
  [[nodiscard]] bool any() const { return any_; }

 private:
  bool names_it(const ConfigCommand& command) const {
    return std::any_of(command.tokens.begin(), command.tokens.end(), [&](const Token& token) {
      const auto* text = std::get_if<std::string>(&token.value);
      return text != nullptr && *text == name_ && naming_.contains(token.keyword);
    });
  }

  void open(const ObjectRecord& object) {
    any_ = true;
    const auto kind = object.at("kind").get<std::string>();
    const auto name = object.at("name").get<std::string>();
    if (output::format() == output::Format::text) {
      output::text(kind + " " + quote_if_needed(name));
    } else {
      output::open_element("use");
      output::value("kind", kind);
      output::value("name", name);
    }
  }

  static void print(const char* element, const std::string& line, std::size_t indent) {
    if (output::format() == output::Format::text) {
      output::text(std::string(indent, ' ') + line);
    } else {
      output::value(element, line);
    }
  }

  const Grammar& grammar_;
  const std::string& name_;
  std::set<KeywordId> naming_;
  bool exists_ = false;
  bool any_ = false;
};

}  // namespace

tl::expected<void, CallFailure> show_uses(const Grammar& grammar, int context, const std::string& name) {
  UsePrinter printer(grammar, name);
  output::open_element("uses");
  auto fetched = for_each_object(context, kAllObjects, [&](const ObjectRecord& object) { printer.visit(object); });
  if (fetched && printer.exists() && !printer.any() && output::format() == output::Format::text) {
    output::text(fmt::format("nothing refers to '{}'", name));
  }
  output::close_element("uses");
  if (fetched && !printer.exists()) {
    return tl::unexpected(CallFailure{KVEL_STATUS_class_map_not_found, fmt::format("no object is called '{}'", name)});
  }
  return fetched;
}

}  // namespace kvel::shell
