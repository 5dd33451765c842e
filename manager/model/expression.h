// Regular expressions in rules: RE2 in its usual syntax, UTF-8. An expression is its text. What is made of the text is
// made at the first need, once, and shared by all copies.
#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "rpc/calls/status.h"

namespace kvel::manager {

class Expression {
 public:
  Expression() = default;  // the empty one
  // NOLINTNEXTLINE(google-explicit-constructor): written as its text
  Expression(std::string text);
  // NOLINTNEXTLINE(google-explicit-constructor)
  Expression(const char* text) : Expression(std::string(text)) {}

  [[nodiscard]] const std::string& text() const;
  [[nodiscard]] bool empty() const { return text().empty(); }

  // ok, or what is wrong with it and at which character (ExpressionFault). Empty text is taken. What would take long to
  // compile or to match is expression_too_large: docs/flows.md tells how large one may be. Takes milliseconds at most
  // for a text that a rule can have.
  [[nodiscard]] Status check() const;

  // Makes it ready, so that no flow waits for that.
  void prepare() const;
  // The empty expression matches any text, and one that is refused none.
  [[nodiscard]] bool matches(std::string_view whole) const;
  [[nodiscard]] bool is_found_in(std::string_view text) const;

  friend bool operator==(const Expression& left, const Expression& right) {
    return left.state_ == right.state_ || left.text() == right.text();
  }
  friend std::strong_ordering operator<=>(const Expression& left, const Expression& right) {
    return left.text() <=> right.text();
  }

 private:
  struct State;
  std::shared_ptr<State> state_;  // null: empty
};

// How often any expression has been compiled in this process, to check it or to match with it.
[[nodiscard]] std::uint64_t expressions_compiled() noexcept;

}  // namespace kvel::manager
