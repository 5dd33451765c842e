// What a word or parameter says about the record that its command leaves in the configuration. With these a form reads
// both ways: its words become tokens, and a record becomes the words that make it again.
#pragma once

#include <cstdint>
#include <string_view>
#include <variant>

namespace kvel::shell {

// A fixed value of a record's member. All texts have static storage.
using MemberConstant = std::variant<bool, std::uint32_t, std::string_view>;

// One member that a word or parameter settles. A symbol may settle several.
struct Saying {
  enum class Kind : std::uint8_t {
    value,     // the typed value, plus `offset` for a number; of a word its text
    constant,  // `constant`, whatever is typed
    code,      // `constant`, a code for which the word is the readable name
  };
  std::string_view member;
  Kind kind = Kind::value;
  MemberConstant constant = false;
  std::int32_t offset = 0;
  bool nonzero = false;  // a typed 0 means something else
};

// A member that a command may leave unsaid, and the value it has then.
struct UnsaidMember {
  std::string_view member;
  MemberConstant value;
};

}  // namespace kvel::shell
