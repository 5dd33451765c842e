// Which members of its command's configuration record a word or parameter binds to a value. Bindings make a command
// work both ways: its words are turned into tokens, and a record into the words that create it.
#pragma once

#include <cstdint>
#include <string_view>
#include <variant>

namespace kvel::shell {

// A fixed value of a record's member. All texts have static storage.
using MemberConstant = std::variant<bool, std::uint32_t, std::string_view>;

// One member that a word or parameter binds. A symbol may bind several.
struct Binding {
  enum class Kind : std::uint8_t {
    value,     // the typed value, plus `offset` for a number; of a word its text
    constant,  // `constant`, whatever is typed
    code,      // `constant`, a code whose readable name is the word
  };
  std::string_view member;
  Kind kind = Kind::value;
  MemberConstant constant = false;
  std::int32_t offset = 0;
  bool nonzero = false;  // a typed 0 has another meaning and binds no value
};

// A member that a command may leave out, and the value it has then.
struct MemberDefault {
  std::string_view member;
  MemberConstant value;
};

}  // namespace kvel::shell
