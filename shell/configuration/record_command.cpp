// The grammar in reverse: a search for the path of words that binds every member of a record.
#include "shell/configuration/record_command.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "shell/matcher/parameter.h"

namespace kvel::shell {

namespace {

bool holds(const ObjectRecord& value, const MemberConstant& constant) {
  if (const auto* truth = std::get_if<bool>(&constant)) return value.is_boolean() && value.get<bool>() == *truth;
  if (const auto* text = std::get_if<std::string_view>(&constant)) {
    return value.is_string() && value.get_ref<const std::string&>() == *text;
  }
  return value.is_number_unsigned() && value.get<std::uint64_t>() == std::get<std::uint32_t>(constant);
}

// The value that has to be typed for `symbol` so that it binds a member to this value; nothing when none does.
std::optional<TokenValue> typed_value(const Symbol& symbol, const Binding& binding, const ObjectRecord& value) {
  switch (symbol.kind) {
    case SymbolKind::word:
      if (holds(value, symbol.text)) return std::monostate();
      return std::nullopt;
    case SymbolKind::number: {
      if (!value.is_number_unsigned() || value.get<std::uint64_t>() > 0xFFFFFFFFU) return std::nullopt;
      const std::int64_t typed = value.get<std::int64_t>() - binding.offset;
      if (typed < symbol.low || typed > symbol.high || (binding.nonzero && typed == 0)) return std::nullopt;
      return static_cast<std::uint32_t>(typed);
    }
    case SymbolKind::address:
    case SymbolKind::mask:
    case SymbolKind::network: {
      if (!value.is_string() || value.get_ref<const std::string&>().empty()) return std::nullopt;
      const ParsedParameter parsed = parse_parameter(symbol, value.get_ref<const std::string&>(), false);
      if (parsed.refusal) return std::nullopt;
      return parsed.number;
    }
    case SymbolKind::name:
    case SymbolKind::string:
    case SymbolKind::text:
      if (!value.is_string() || parse_parameter(symbol, value.get_ref<const std::string&>(), true).refusal) {
        return std::nullopt;
      }
      return value.get<std::string>();
  }
  return std::nullopt;
}

class Search {
 public:
  Search(const Grammar& grammar, const Command& command, const ObjectRecord& members)
      : grammar_(grammar), command_(command), members_(members) {}

  std::optional<std::vector<Token>> run() {
    if (!follow(command_.start)) return std::nullopt;
    return std::move(tokens_);
  }

 private:
  bool follow(NodeId node) {
    if (grammar_.node(node).can_end && all_members_bound()) return true;
    for (const EdgeId id : grammar_.edges_from(node)) {
      const Edge& edge = grammar_.edge(id);
      const std::optional<TokenValue> value = value_to_type(edge);
      if (!value) continue;
      const bool silent = edge.symbol.keyword == kNoKeyword;
      for (const Binding& binding : grammar_.bindings(edge))
        bound_.push_back(binding.member);
      if (!silent) tokens_.push_back({edge.symbol.keyword, *value});
      if (follow(edge.target)) return true;
      if (!silent) tokens_.pop_back();
      bound_.resize(bound_.size() - edge.binding_count);
    }
    return false;
  }

  // The value to be typed, when the record has every value that the symbol binds. A parameter without bindings has
  // none.
  std::optional<TokenValue> value_to_type(const Edge& edge) const {
    if (edge.symbol.mask_keyword != kNoKeyword) return std::nullopt;  // the mask is written out
    std::optional<TokenValue> typed;
    if (edge.symbol.is_word()) typed = std::monostate();
    for (const Binding& binding : grammar_.bindings(edge)) {
      const auto member = members_.find(binding.member);
      if (member == members_.end()) return std::nullopt;
      if (binding.kind != Binding::Kind::value) {
        if (!holds(*member, binding.constant)) return std::nullopt;
        continue;
      }
      std::optional<TokenValue> value = typed_value(edge.symbol, binding, *member);
      if (!value || (typed && *typed != *value)) return std::nullopt;
      typed = std::move(value);
    }
    return typed;
  }

  bool all_members_bound() const {
    for (const auto& [name, value] : members_.items()) {
      if (std::find(bound_.begin(), bound_.end(), name) != bound_.end()) continue;
      const bool is_default = std::any_of(command_.defaults.begin(), command_.defaults.end(),
                                          [&name = name, &value = value](const MemberDefault& entry) {
                                            return entry.member == name && holds(value, entry.value);
                                          });
      if (!is_default) return false;
    }
    return true;
  }

  const Grammar& grammar_;
  const Command& command_;
  const ObjectRecord& members_;
  std::vector<std::string_view> bound_;
  std::vector<Token> tokens_;
};

std::vector<const Command*> commands_of_record(const Grammar& grammar, std::string_view mode, std::string_view kind) {
  std::vector<const Command*> commands;
  const auto id = grammar.find_mode(mode);
  if (!id) return commands;
  for (const Command& command : grammar.commands()) {
    const bool in_mode = std::find(command.modes.begin(), command.modes.end(), *id) != command.modes.end();
    if (in_mode && !kind.empty() && command.record == kind) commands.push_back(&command);
  }
  return commands;
}

}  // namespace

std::optional<ConfigCommand> command_of_record(const Grammar& grammar, std::string_view mode, std::string_view kind,
                                               const ObjectRecord& members) {
  for (const Command* command : commands_of_record(grammar, mode, kind)) {
    if (auto tokens = Search(grammar, *command, members).run()) {
      return ConfigCommand{mode, command->action(), *std::move(tokens)};
    }
  }
  return std::nullopt;
}

std::optional<std::string_view> word_of_code(const Grammar& grammar, std::string_view mode, std::string_view kind,
                                             std::string_view member, const ObjectRecord& value) {
  for (const Command* command : commands_of_record(grammar, mode, kind)) {
    for (const Edge& edge : grammar.edges()) {
      if (edge.command != command->index) continue;
      for (const Binding& binding : grammar.bindings(edge)) {
        if (binding.kind == Binding::Kind::code && binding.member == member && holds(value, binding.constant)) {
          return edge.symbol.text;
        }
      }
    }
  }
  return std::nullopt;
}

}  // namespace kvel::shell
