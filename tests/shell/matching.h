// What the grammar and matcher tests share: short names for stacks and tokens, readable failures, and a sample grammar
// with every kind of symbol, so that the matcher is tested apart from the shell's own commands.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/match.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

inline void PrintTo(const Token& token, std::ostream* out) {
  *out << "{" << token.keyword;
  if (const auto* string = std::get_if<std::string>(&token.value)) *out << ", \"" << *string << "\"";
  if (const auto* number = std::get_if<std::uint32_t>(&token.value)) *out << ", " << *number << "u";
  *out << "}";
}

inline void PrintTo(const Expected& expected, std::ostream* out) {
  *out << "{" << static_cast<int>(expected.kind) << ", \"" << expected.text << "\", \"" << expected.help << "\"}";
}

}  // namespace kvel::shell

namespace kvel::shell::test {

using Tokens = std::vector<Token>;

inline Token word_token(KeywordId keyword) { return {keyword, std::monostate()}; }
inline Token string_token(KeywordId keyword, std::string value) { return {keyword, std::move(value)}; }
inline Token number_token(KeywordId keyword, std::uint32_t value) { return {keyword, value}; }

// Levels without carried tokens, the top first.
inline std::vector<ModeLevel> stack_of(const Grammar& grammar, std::initializer_list<std::string_view> modes) {
  std::vector<ModeLevel> stack;
  for (const std::string_view mode : modes)
    stack.push_back({grammar.find_mode(mode).value(), {}});
  return stack;
}

inline std::vector<std::string> texts(const std::vector<Expected>& expected) {
  std::vector<std::string> result;
  for (const Expected& entry : expected)
    result.push_back(entry.text);
  return result;
}

inline constexpr std::array<WordRow, 3> kColours{WordRow{"red", "Red", 41}, WordRow{"green", "Green", 42},
                                                 WordRow{"blue", "Blue", 43}};

// Two modes, "top" and, opened by "group NAME", "group"; "quit" in both. Handlers are called h_<command>.
inline const Grammar& sample_grammar() {
  static const Grammar grammar = [] {
    using namespace pattern;
    GrammarBuilder g;
    g.mode("top", "top");
    g.mode("group", "top-group");
    g.command_everywhere(word("quit", "Quit")).runs("quit");
    g.command("top", sequence(word("group", "Group"), name("NAME", "Name of the group", 10, "group_hook")))
        .calls("h_group")
        .negatable()
        .opens("group", {10});
    g.command("top", sequence(word("port", "Port"), number(1, 65535, "Port number", 20))).calls("h_port").negatable();
    g.command("top", sequence(word("timeout", "Timeout"), number(10, 4294967295, "How long to wait", 21, "seconds")))
        .calls("h_timeout");
    g.command("top", sequence(word("route", "Route"),
                              choice(word("any", "Any network", 30), sequence(address("ADDRESS", "Network", 31),
                                                                              optional(mask("MASK", "Its mask", 32)))),
                              optional(word("metric", "Metric"), number(0, 255, "Metric of the route", 33))))
        .calls("h_route")
        .negatable();
    g.command("top", sequence(word("colour", "Colour"), choice_of(kColours), optional(word("bright", "Bright", 44))))
        .calls("h_colour");
    g.command("top", sequence(word("colour-table", "Table of colours"), string("FILE", "File", 45, 8)))
        .calls("h_table");
    g.command("top", sequence(word("level", "Level"),
                              choice(number(0, 9, "Level as a number", 50), word("maximum", "The highest", 51),
                                     name("NAME", "Name of a level", 52, "level_hook"))))
        .calls("h_level");
    g.command("group", sequence(word("note", "Note"), text("TEXT", "Words", 60, 20)))
        .calls("h_note")
        .negatable(sequence(word("note", "Note"), optional(text("TEXT", "Words", 60, 20))));
    g.command("group", sequence(word("member", "Member"), name("NAME", "Name of the member", 70, "member_hook"),
                                optional(word("before", "Place it before another"),
                                         name("OTHER", "Name of the other", 71, "member_hook"))))
        .calls("h_member")
        .negatable()
        .command_id(362);
    g.command("group", number(1, 4294967295, "Line to delete", 80)).calls("h_line").only_negated();
    return Grammar(g);
  }();
  return grammar;
}

}  // namespace kvel::shell::test
