#include "manager/model/match_rule.h"

#include "manager/model/kind_variant_definitions.h"

namespace kvel::manager {

template class KindVariant<MatchRuleKinds>;

ClassMapType type_of(const MatchRule& rule) {
  return std::visit([](const auto& kind) { return kind.kType; }, rule);
}

bool fits_class_map(const MatchRule& rule) {
  return !std::holds_alternative<LbValueRule>(rule) && !std::holds_alternative<Kind21Rule>(rule) &&
         !std::holds_alternative<Kind22Rule>(rule);
}

bool fits_inline_match(const MatchRule& rule) { return !std::holds_alternative<NestedClassMapRule>(rule); }

const Expression* expression_of(const MatchRule& rule) {
  return std::visit(
      []<class Rule>(const Rule& kind) -> const Expression* {
        if constexpr (requires { kind.expression; }) {
          return &kind.expression;
        } else if constexpr (requires { kind.value; }) {
          return &kind.value;
        } else {
          return nullptr;
        }
      },
      rule);
}

const std::string* nested_class_map(const MatchRule& rule) {
  const auto* nested = std::get_if<NestedClassMapRule>(&rule);
  return nested == nullptr ? nullptr : &nested->name;
}

}  // namespace kvel::manager
