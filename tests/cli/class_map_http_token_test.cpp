// Header and cookie names that a user typed: each must be an HTTP token, in the inspection and in the load-balancing
// rules.
#include <array>
#include <clocale>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_http_token_test {
namespace {

struct TypedName {
  const char* handler;
  std::uint32_t keyword_id;
  const char* call_head;  // up to the name
  const char* call_tail;
  const char* message;
};

constexpr std::array kTypedNames = {
    TypedName{"kvelclassmap_config_httpinsp_hdr", 115, "call cm_update_http_header_match(u16 7, '', u32 0, ",
              ", '', u8 1)", "Error: Invalid HTTP token in header name\n"},
    TypedName{"kvelclassmap_config_httplbcookie", 506,
              "call cm_update_lbclass_to_cookie(u16 7, '', '', u32 0, u32 0, u32 0, ", ", '', u8 1)",
              "Error: Invalid HTTP token in cookie name\n"},
    TypedName{"kvelclassmap_config_httplbhdr", 509, "call cm_update_lbclass_to_header(u16 7, '', '', u32 0, u32 0, ",
              ", '', u8 1)", "Error: Invalid HTTP token in header name\n"},
};

// `name` as a call shows it.
Events sent(const TypedName& typed, const std::string& name) {
  return {"bind 2", typed.call_head + test::quoted(name) + typed.call_tail, "return 0"};
}

Events refused(const TypedName& typed) { return {"bind 2", out(typed.message), "return 1"}; }

class ClassMapHttpToken : public PluginTest {
 protected:
  ~ClassMapHttpToken() override { std::setlocale(LC_ALL, "C"); }

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
              << typed.handler << " " << code;
        }
      }
    }
  }
};

TEST_F(ClassMapHttpToken, NamesOfTokenCharactersAreAccepted) {
  for (const TypedName& typed : kTypedNames) {
    for (const char* name : {"X-Forwarded-For", "session_id", "a.b", "~", "0", "!#$%&*+-.^_`|~"}) {
      EXPECT_EQ(type(typed, {typed.keyword_id, name}), sent(typed, name)) << typed.handler;
    }
  }
}

TEST_F(ClassMapHttpToken, TheSeventeenSeparatorsAreRefused) {
  for (const TypedName& typed : kTypedNames) {
    for (char separator : {'(', ')', '<', '>', '@', ',', ';', ':', '\\', '"', '/', '[', ']', '?', '=', '{', '}'}) {
      const std::string text(1, separator);
      EXPECT_EQ(type(typed, {typed.keyword_id, text}), refused(typed)) << typed.handler << separator;
      EXPECT_EQ(type(typed, {typed.keyword_id, text + "name"}), refused(typed)) << typed.handler << separator;
      EXPECT_EQ(type(typed, {typed.keyword_id, "na" + text + "me"}), refused(typed)) << typed.handler << separator;
      EXPECT_EQ(type(typed, {typed.keyword_id, "name" + text}), refused(typed)) << typed.handler << separator;
    }
  }
}

TEST_F(ClassMapHttpToken, WhiteSpaceControlCharactersAndBytesFrom0x80AreRefused) {
  for (const TypedName& typed : kTypedNames) {
    for (const char* name : {" ",   "a b",  " a",    "a ",   "\t",    "a\tb", "\n",    "a\n",         "a\v",  "a\f",
                             "a\r", "\x01", "a\x1f", "\x7f", "a\x7f", "\x80", "a\x80", "gr\xc3\xbcn", "\xa0", "\xff"}) {
      EXPECT_EQ(type(typed, {typed.keyword_id, name}), refused(typed)) << typed.handler << " " << test::quoted(name);
    }
  }
}

TEST_F(ClassMapHttpToken, EveryCharacter) { expect_every_character_checked(); }

TEST_F(ClassMapHttpToken, EveryCharacterInAnotherLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  expect_every_character_checked();
}

TEST_F(ClassMapHttpToken, AnEmptyNameIsRefused) {
  for (const TypedName& typed : kTypedNames) {
    EXPECT_EQ(type(typed, {typed.keyword_id, ""}), refused(typed)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, nullptr}), refused(typed)) << typed.handler;
  }
}

TEST_F(ClassMapHttpToken, TheNoFormIsCheckedToo) {
  for (const TypedName& typed : kTypedNames) {
    EXPECT_EQ(type(typed, {typed.keyword_id, "a b"}, kNo), refused(typed)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, ""}, kNo), refused(typed)) << typed.handler;
  }
}

// The name is cut at 64 characters, and what was cut off is not looked at.
TEST_F(ClassMapHttpToken, TheCutNameIsChecked) {
  const std::string longest(64, 'h');
  for (const TypedName& typed : kTypedNames) {
    EXPECT_EQ(type(typed, {typed.keyword_id, std::string(63, 'h')}), sent(typed, std::string(63, 'h')))
        << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, longest}), sent(typed, longest)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, longest + "i"}), sent(typed, longest)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, longest + "iiiiii"}), sent(typed, longest)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, longest + ":"}), sent(typed, longest)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, longest + " \x80"}), sent(typed, longest)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, std::string(63, 'h') + ":"}), refused(typed)) << typed.handler;
    EXPECT_EQ(type(typed, {typed.keyword_id, std::string(63, 'h') + ":i"}), refused(typed)) << typed.handler;
  }
}

// A refusal stops at its token: no later name replaces it, and no later text is read.
TEST_F(ClassMapHttpToken, ARefusalStopsAtItsToken) {
  for (const TypedName& typed : kTypedNames) {
    const Token bad(typed.keyword_id, "a:b");
    EXPECT_EQ(run(typed.handler, {bad, {typed.keyword_id, "good"}}), refused(typed)) << typed.handler;
    EXPECT_EQ(run(typed.handler, {{typed.keyword_id, "good"}, bad}), refused(typed)) << typed.handler;
    EXPECT_EQ(run(typed.handler, {bad, bad}), refused(typed)) << typed.handler;
    EXPECT_EQ(run(typed.handler, {bad, {typed.keyword_id}}), refused(typed)) << typed.handler;
  }
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_hdr", {{115, "a:b"}, {50}}), refused(kTypedNames[0]));
  EXPECT_EQ(run("kvelclassmap_config_httplbhdr", {{509, "a:b"}, {517}}), refused(kTypedNames[2]));
}

}  // namespace
}  // namespace kvel::cli::test::class_map_http_token_test
