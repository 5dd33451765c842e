// Header and cookie names that a user typed for a policy-map: each must be an HTTP token, in inline matches and in the
// header that a load-balancing action inserts.
#include <array>
#include <clocale>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/cli/plugin_test.h"
#include "tests/cli/wire_record.h"

namespace kvel::cli::test::policy_http_token_test {
namespace {

using namespace std::string_literals;

struct TypedName {
  const char* handler;
  std::uint32_t keyword_id;
  std::size_t bound;
  const char* call_head;  // up to the record
  std::size_t size;       // of the record,
  std::size_t offset;     // of the name in it,
  Part beside;            // and what else the name sets
  const char* message;
  const char* refused;
};

const std::array kTypedNames = {
    TypedName{"kvelpolicymap_config_inline_lb",
              506,
              64,
              "cm_update_l7_inline_lb_match(u16 7, session 0x01020304, u8 1, '', '', '', ",
              332,
              4,
              {0, "\0\0\0\7"s},
              "Error: Invalid HTTP token in cookie name\n",
              "return 255"},
    TypedName{"kvelpolicymap_config_inline_lb",
              509,
              64,
              "cm_update_l7_inline_lb_match(u16 7, session 0x01020304, u8 1, '', '', '', ",
              332,
              4,
              {0, ""},
              "Error: Invalid HTTP token in header name\n",
              "return 255"},
    TypedName{"kvelpolicymap_configslbactions",
              588,
              255,
              "cm_lb_add_or_lookup_action(u16 7, u8 1, '', '', ",
              732,
              213,
              {728, "\4\0\0\0"s},
              "Error: Invalid HTTP token in header name\n",
              "return 1"},
    TypedName{"kvelpolicymap_configinspect_l7http",
              115,
              64,
              "cm_update_l7_inline_http_insp_match(u16 7, session 0x01020304, u8 1, '', '', '', ",
              328,
              4,
              {0, ""},
              "Error: Invalid HTTP token in header name\n",
              "return 255"},
};

Events sent(const TypedName& typed, const std::string& name) {
  return {"bind 2", "call "s + typed.call_head + buffer(record(typed.size, {{typed.offset, name}, typed.beside})) + ")",
          "return 0"};
}

Events refused(const TypedName& typed) { return {"bind 2", out(typed.message), typed.refused}; }

class PolicyMapHttpToken : public PluginTest {
 protected:
  ~PolicyMapHttpToken() override { std::setlocale(LC_ALL, "C"); }

  Events type(const TypedName& typed, const Token& name, const Form& form = {}) {
    return run(typed.handler, {name}, form);
  }

  void expect_every_character_checked() {
    constexpr std::string_view accepted =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!#$%&'*+-.^_`|~";
    for (const TypedName& typed : kTypedNames) {
      for (int code = 1; code <= 255; ++code) {
        const char character = static_cast<char>(code);
        const bool is_accepted = accepted.find(character) != std::string_view::npos;
        for (const std::string& name : {std::string(1, character), "a" + std::string(1, character) + "b"}) {
          EXPECT_EQ(type(typed, {typed.keyword_id, name}), is_accepted ? sent(typed, name) : refused(typed))
              << typed.handler << " " << typed.keyword_id << " " << code;
        }
      }
    }
  }
};

TEST_F(PolicyMapHttpToken, EveryCharacter) { expect_every_character_checked(); }

TEST_F(PolicyMapHttpToken, EveryCharacterInAnotherLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  expect_every_character_checked();
}

TEST_F(PolicyMapHttpToken, NamesOfTokenCharactersAreAccepted) {
  for (const TypedName& typed : kTypedNames) {
    for (const char* name : {"X-Forwarded-For", "session_id", "a.b", "~", "0", "!#$%&*+-.^_`|~", "100%s%n"}) {
      EXPECT_EQ(type(typed, {typed.keyword_id, name}), sent(typed, name)) << typed.handler << " " << typed.keyword_id;
    }
  }
}

TEST_F(PolicyMapHttpToken, BadNamesAreRefusedInBothForms) {
  for (const TypedName& typed : kTypedNames) {
    for (const char* name : {"", " ", "a b", " a", "a ", "a\tb", "a\n", "a:b", "a\\b", "gr\xc3\xbcn", "\x80", "\x7f"}) {
      EXPECT_EQ(type(typed, {typed.keyword_id, name}), refused(typed)) << typed.handler << " " << typed.keyword_id;
      EXPECT_EQ(type(typed, {typed.keyword_id, name}, kNo), refused(typed)) << typed.handler << " " << typed.keyword_id;
    }
    EXPECT_EQ(type(typed, {typed.keyword_id, nullptr}), refused(typed)) << typed.handler << " " << typed.keyword_id;
  }
}

// The name is cut at its bound, and what was cut off is not looked at.
TEST_F(PolicyMapHttpToken, TheCutNameIsChecked) {
  for (const TypedName& typed : kTypedNames) {
    const std::string longest(typed.bound, 'h');
    const std::string shorter(typed.bound - 1, 'h');
    const auto message = [&] { return std::string(typed.handler) + " " + std::to_string(typed.keyword_id); };
    EXPECT_EQ(type(typed, {typed.keyword_id, shorter}), sent(typed, shorter)) << message();
    EXPECT_EQ(type(typed, {typed.keyword_id, longest}), sent(typed, longest)) << message();
    EXPECT_EQ(type(typed, {typed.keyword_id, longest + "i"}), sent(typed, longest)) << message();
    EXPECT_EQ(type(typed, {typed.keyword_id, longest + ":"}), sent(typed, longest)) << message();
    EXPECT_EQ(type(typed, {typed.keyword_id, longest + " \x80"}), sent(typed, longest)) << message();
    EXPECT_EQ(type(typed, {typed.keyword_id, shorter + ":"}), refused(typed)) << message();
    EXPECT_EQ(type(typed, {typed.keyword_id, shorter + ":i"}), refused(typed)) << message();
  }
}

// A refusal stops at its token: no later name replaces it, and no later text is read.
TEST_F(PolicyMapHttpToken, ARefusalStopsAtItsToken) {
  for (const TypedName& typed : kTypedNames) {
    const Token bad(typed.keyword_id, "a:b");
    const Token good(typed.keyword_id, "good");
    EXPECT_EQ(run(typed.handler, {bad, good}), refused(typed)) << typed.handler << " " << typed.keyword_id;
    EXPECT_EQ(run(typed.handler, {good, bad}), refused(typed)) << typed.handler << " " << typed.keyword_id;
    EXPECT_EQ(run(typed.handler, {bad, {typed.keyword_id}}), refused(typed))
        << typed.handler << " " << typed.keyword_id;
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_http_token_test
