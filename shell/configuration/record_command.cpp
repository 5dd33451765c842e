// Forms read backwards: a search for the path of words that says every member of a record.
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

// The value that has to be typed for `symbol` so that it says this value of a member; nothing when none does.
std::optional<TokenValue> typed_value(const Symbol& symbol, const Saying& saying, const ObjectRecord& value) {
  switch (symbol.kind) {
    case SymbolKind::word:
      if (holds(value, symbol.text)) return std::monostate();
      return std::nullopt;
    case SymbolKind::number: {
      if (!value.is_number_unsigned() || value.get<std::uint64_t>() > 0xFFFFFFFFU) return std::nullopt;
      const std::int64_t typed = value.get<std::int64_t>() - saying.offset;
      if (typed < symbol.low || typed > symbol.high || (saying.nonzero && typed == 0)) return std::nullopt;
      return static_cast<std::uint32_t>(typed);
    }
    case SymbolKind::address:
    case SymbolKind::mask: {
      if (!value.is_string() || value.get_ref<const std::string&>().empty()) return std::nullopt;
      const ParameterReading reading = read_parameter(symbol, value.get_ref<const std::string&>(), false);
      if (reading.refusal) return std::nullopt;
      return reading.number;
    }
    case SymbolKind::name:
    case SymbolKind::string:
    case SymbolKind::text:
      if (!value.is_string() || read_parameter(symbol, value.get_ref<const std::string&>(), true).refusal) {
        return std::nullopt;
      }
      return value.get<std::string>();
  }
  return std::nullopt;
}

class Search {
 public:
  Search(const Grammar& grammar, const Form& form, const ObjectRecord& members)
      : grammar_(grammar), form_(form), members_(members) {}

  std::optional<std::vector<Token>> run() {
    if (!follow(form_.start)) return std::nullopt;
    return std::move(tokens_);
  }

 private:
  bool follow(PlaceId place) {
    if (grammar_.place(place).can_end && everything_is_said()) return true;
    for (const StateId id : grammar_.successors(place)) {
      const State& state = grammar_.state(id);
      const std::optional<TokenValue> value = say(state);
      if (!value) continue;
      const bool silent = state.symbol.keyword == kNoKeyword;
      for (const Saying& saying : grammar_.sayings(state))
        said_.push_back(saying.member);
      if (!silent) tokens_.push_back({state.symbol.keyword, *value});
      if (follow(state.next)) return true;
      if (!silent) tokens_.pop_back();
      said_.resize(said_.size() - state.saying_count);
    }
    return false;
  }

  // The value to be typed, when all that the symbol says is true of the record. A parameter that says nothing has none.
  std::optional<TokenValue> say(const State& state) const {
    std::optional<TokenValue> typed;
    if (state.symbol.is_word()) typed = std::monostate();
    for (const Saying& saying : grammar_.sayings(state)) {
      const auto member = members_.find(saying.member);
      if (member == members_.end()) return std::nullopt;
      if (saying.kind != Saying::Kind::value) {
        if (!holds(*member, saying.constant)) return std::nullopt;
        continue;
      }
      std::optional<TokenValue> value = typed_value(state.symbol, saying, *member);
      if (!value || (typed && *typed != *value)) return std::nullopt;
      typed = std::move(value);
    }
    return typed;
  }

  bool everything_is_said() const {
    for (const auto& [name, value] : members_.items()) {
      if (std::find(said_.begin(), said_.end(), name) != said_.end()) continue;
      const bool usual = std::any_of(form_.unsaid.begin(), form_.unsaid.end(),
                                     [&name = name, &value = value](const UnsaidMember& unsaid) {
                                       return unsaid.member == name && holds(value, unsaid.value);
                                     });
      if (!usual) return false;
    }
    return true;
  }

  const Grammar& grammar_;
  const Form& form_;
  const ObjectRecord& members_;
  std::vector<std::string_view> said_;
  std::vector<Token> tokens_;
};

std::vector<const Form*> forms_of_record(const Grammar& grammar, std::string_view mode, std::string_view kind) {
  std::vector<const Form*> forms;
  const auto id = grammar.find_mode(mode);
  if (!id) return forms;
  for (const Form& form : grammar.forms()) {
    const bool in_mode = std::find(form.modes.begin(), form.modes.end(), *id) != form.modes.end();
    if (in_mode && !kind.empty() && form.record == kind) forms.push_back(&form);
  }
  return forms;
}

}  // namespace

std::optional<ConfigCommand> command_of_record(const Grammar& grammar, std::string_view mode, std::string_view kind,
                                               const ObjectRecord& members) {
  for (const Form* form : forms_of_record(grammar, mode, kind)) {
    if (auto tokens = Search(grammar, *form, members).run()) {
      return ConfigCommand{mode, form->action(), *std::move(tokens)};
    }
  }
  return std::nullopt;
}

std::optional<std::string_view> word_of_code(const Grammar& grammar, std::string_view mode, std::string_view kind,
                                             std::string_view member, const ObjectRecord& value) {
  for (const Form* form : forms_of_record(grammar, mode, kind)) {
    for (const State& state : grammar.states()) {
      if (state.form != form->id) continue;
      for (const Saying& saying : grammar.sayings(state)) {
        if (saying.kind == Saying::Kind::code && saying.member == member && holds(value, saying.constant)) {
          return state.symbol.text;
        }
      }
    }
  }
  return std::nullopt;
}

}  // namespace kvel::shell
