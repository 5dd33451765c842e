// How lines find their commands: abbreviations, precedence, negation, modes, and the refusals of each kind.
#include "shell/matcher/match.h"

#include <gtest/gtest.h>

#include "shell/matcher/help.h"
#include "tests/shell/matching.h"

namespace kvel::shell::match_test {
namespace {

using test::number_token;
using test::string_token;
using test::texts;
using test::Tokens;
using test::word_token;
using namespace pattern;

class Matching : public ::testing::Test {
 protected:
  const Grammar& grammar = test::sample_grammar();
  std::vector<ModeLevel> top = test::stack_of(grammar, {"top"});
  std::vector<ModeLevel> inside{{0, {}}, {1, {string_token(10, "g")}}};

  void accepts(const std::vector<ModeLevel>& stack, const std::string& line, const char* handler,
               const Tokens& tokens) {
    const auto matched = match(grammar, stack, line);
    ASSERT_TRUE(matched) << line << ": " << describe(matched.error());
    EXPECT_EQ(matched->command->handler, handler) << line;
    EXPECT_EQ(matched->tokens, tokens) << line;
  }
  void refuses(const std::vector<ModeLevel>& stack, const std::string& line, MismatchKind kind, std::size_t column,
               const std::string& message) {
    const auto matched = match(grammar, stack, line);
    ASSERT_FALSE(matched) << line;
    EXPECT_EQ(matched.error().kind, kind) << line;
    EXPECT_EQ(matched.error().column, column) << line;
    EXPECT_EQ(describe(matched.error()), message) << line;
  }
};

TEST_F(Matching, OptionalAndAlternativeParts) {
  accepts(top, "route any", "h_route", {word_token(30)});
  accepts(top, "route any metric 3", "h_route", {word_token(30), number_token(33, 3)});
  accepts(top, "route 1.2.3.4 metric 3", "h_route", {number_token(31, 0x01020304), number_token(33, 3)});
  accepts(top, "route 1.2.3.4 255.0.0.0 metric 3", "h_route",
          {number_token(31, 0x01020304), number_token(32, 0xFF000000), number_token(33, 3)});
  accepts(top, "colour green bright", "h_colour", {word_token(42), word_token(44)});
  accepts(top, "colour blue", "h_colour", {word_token(43)});
}

TEST_F(Matching, AnExactWordLeavesOutLongerOnes) {
  accepts(top, "colour red", "h_colour", {word_token(41)});
  accepts(top, "colour-t red", "h_table", {string_token(45, "red")});
  // "colour" in full is not an abbreviation of "colour-table", though only that would complete the line.
  refuses(top, "colour file", MismatchKind::unknown_word, 7, "unknown word \"file\"; expected: blue, green, red");
}

TEST_F(Matching, TheParseThatCompletesTheLineWins) {
  accepts(top, "col file", "h_table", {string_token(45, "file")});
  // "red" is a colour and a file: both complete the line, so the first word is ambiguous.
  refuses(top, "col red", MismatchKind::ambiguous, 0, "ambiguous word \"col\"; it could be: colour, colour-table");
  accepts(top, "col red bright", "h_colour", {word_token(41), word_token(44)});
}

TEST_F(Matching, AmbiguityNamesItsWord) {
  refuses(top, "p", MismatchKind::incomplete, 2, "incomplete command; expected: <1-65535>");
  GrammarBuilder g;
  g.mode("top", "top");
  g.command("top",
            sequence(word("set", "Set"), choice(word("mode-a", "A", 1), word("mode-b", "B", 2), word("mode-c", "C", 3)),
                     optional(word("on", "On", 4)), name("N", "Name", 5)))
      .calls("h");
  const Grammar modes(g);
  const auto stack = test::stack_of(modes, {"top"});
  for (const char* line : {"set mode x", "set mode on x", "s m x"}) {
    const auto matched = match(modes, stack, line);
    ASSERT_FALSE(matched);
    EXPECT_EQ(matched.error().kind, MismatchKind::ambiguous);
    EXPECT_EQ(texts(matched.error().expected), (std::vector<std::string>{"mode-a", "mode-b", "mode-c"})) << line;
  }
  EXPECT_EQ(match(modes, stack, "set mode x").error().column, 4U);
  EXPECT_EQ(match(modes, stack, "set mode-b x")->tokens, (Tokens{word_token(2), string_token(5, "x")}));
  EXPECT_EQ(match(modes, stack, "set mode").error().kind, MismatchKind::ambiguous);
}

TEST_F(Matching, NoSelectsTheNegatedForms) {
  const auto matched = match(grammar, top, "no port 80");
  ASSERT_TRUE(matched);
  EXPECT_TRUE(matched->negated);
  EXPECT_EQ(matched->command->handler, "h_port");
  EXPECT_EQ(matched->tokens, Tokens{number_token(20, 80)});
  refuses(top, "no timeout 10", MismatchKind::unknown_word, 3,
          "unknown word \"timeout\"; expected: group, port, route");
  refuses(top, "no", MismatchKind::incomplete, 3, "incomplete command; expected: group, port, route");
  refuses(top, "no no port 80", MismatchKind::unknown_word, 3, "unknown word \"no\"; expected: group, port, route");
  refuses(top, "\"no\" port 80", MismatchKind::unknown_word, 0,
          "unknown word \"no\"\nexpected:\n  colour\n  colour-table\n  group\n  level\n  no\n  port\n  quit\n  route\n "
          " timeout");
}

TEST_F(Matching, CommandsThatExistOnlyNegated) {
  const auto matched = match(grammar, inside, "no 20");
  ASSERT_TRUE(matched);
  EXPECT_TRUE(matched->negated);
  EXPECT_EQ(matched->command->handler, "h_line");
  EXPECT_EQ(matched->tokens, (Tokens{string_token(10, "g"), number_token(80, 20)}));
  refuses(inside, "20", MismatchKind::unknown_word, 0, "unknown word \"20\"; expected: member, no, note, quit");
}

TEST_F(Matching, CarriesTokensIntoTheOpenedMode) {
  const auto opened = match(grammar, top, "group servers");
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->opens, (ModeLevel{1, {string_token(10, "servers")}, {"servers"}}));
  EXPECT_EQ(match(grammar, top, "no group servers")->opens, std::nullopt);

  const auto member = match(grammar, inside, "member a before b");
  ASSERT_TRUE(member);
  EXPECT_EQ(member->tokens, (Tokens{string_token(10, "g"), string_token(70, "a"), string_token(71, "b")}));
  EXPECT_EQ(member->carried_count, 1U);
  EXPECT_EQ(member->level, 1U);
  EXPECT_EQ(member->command->command_id, 362U);
}

// A class of its own beside those with names.
class ReservedWord : public ::testing::Test {
 protected:
  ReservedWord()
      : grammar([] {
          GrammarBuilder g;
          g.mode("top", "top");
          g.mode("in", "in");
          const Pattern group = word("group", "Group");
          g.command("top", sequence(group, name("N", "Name", 1))).calls("h").opens("in", {1});
          g.command("top", sequence(group, word("default", "The rest", 2).in_full()))
              .calls("i")
              .opens("in", {2}, {{1, "#default", "default"}});
          g.command("in", word("go", "Go")).calls("j");
          return Grammar(g);
        }()) {}

  const Grammar grammar;
  std::vector<ModeLevel> stack = test::stack_of(grammar, {"top"});
};

TEST_F(ReservedWord, HasToBeTypedInFullToBeNoName) {
  EXPECT_EQ(match(grammar, stack, "group default")->command->handler, "i");
  for (const char* line : {"group d", "group defaul", "group default2", "group \"default\""})
    EXPECT_EQ(match(grammar, stack, line)->command->handler, "h") << line;
  EXPECT_EQ(match(grammar, stack, "group d")->tokens, Tokens{string_token(1, "d")});
  EXPECT_EQ(match(grammar, stack, "gr default")->command->handler, "i");
  EXPECT_EQ(complete_at(grammar, stack, "group d").words, std::vector<std::string>{"default"});
}

TEST_F(ReservedWord, CarriesItsFixedTokensAfterThoseOfItsLine) {
  stack.push_back(*match(grammar, stack, "group default")->opens);
  EXPECT_EQ(stack.back().names, std::vector<std::string>{"default"});
  const auto matched = match(grammar, stack, "go");
  ASSERT_TRUE(matched);
  EXPECT_EQ(matched->tokens, (Tokens{word_token(2), string_token(1, "#default")}));
  EXPECT_EQ(matched->carried_count, 2U);
}

TEST_F(Matching, NestedModesCarryTheTokensOfAllLevels) {
  GrammarBuilder g;
  g.mode("a", "a");
  g.mode("b", "b");
  g.mode("c", "c");
  g.command("a", sequence(word("one", "One"), word("fast", "Fast", 9), name("N", "Name", 1)))
      .calls("h")
      .opens("b", {9, 1});
  g.command("b", sequence(word("two", "Two"), name("N", "Name", 2))).calls("i").opens("c", {2});
  g.command("c", word("three", "Three", 3)).calls("j");
  const Grammar nested(g);
  std::vector<ModeLevel> stack{{0, {}}};
  stack.push_back(*match(nested, stack, "one fast x")->opens);
  stack.push_back(*match(nested, stack, "two y")->opens);
  const auto matched = match(nested, stack, "three");
  ASSERT_TRUE(matched);
  EXPECT_EQ(matched->tokens, (Tokens{word_token(9), string_token(1, "x"), string_token(2, "y"), word_token(3)}));
  EXPECT_EQ(matched->carried_count, 3U);
  EXPECT_EQ(stack.back().names, (std::vector<std::string>{"x", "y"}));
  const auto outer = match(nested, stack, "two z");
  ASSERT_TRUE(outer);
  EXPECT_EQ(outer->level, 1U);
  EXPECT_EQ(outer->opens, (ModeLevel{2, {word_token(9), string_token(1, "x"), string_token(2, "z")}, {"x", "z"}}));
}

TEST_F(Matching, OuterModesAreTriedForUnknownLines) {
  const auto matched = match(grammar, inside, "port 80");
  ASSERT_TRUE(matched);
  EXPECT_EQ(matched->level, 0U);
  EXPECT_EQ(matched->tokens, Tokens{number_token(20, 80)}) << "without what the inner mode carries";
  refuses(inside, "port 0", MismatchKind::out_of_range, 5, "\"0\" is out of range; expected: <1-65535>");
  refuses(inside, "zzz", MismatchKind::unknown_word, 0, "unknown word \"zzz\"; expected: member, no, note, quit");
}

TEST_F(Matching, TheInnerModeWinsUnlessTheOuterWordIsExact) {
  GrammarBuilder g;
  g.mode("policy", "policy");
  g.mode("class", "class");
  g.command("policy", sequence(word("class-map", "Class-map"), optional(word("any", "Any")), name("N", "Name", 1)))
      .calls("outer_map");
  g.command("policy", sequence(word("match", "Match"), name("N", "Name", 2))).calls("outer_match");
  g.command("class", sequence(word("class", "Class"), name("N", "Name", 3))).calls("inner_class");
  g.command("class", sequence(word("match-more", "Match more"), name("N", "Name", 4))).calls("inner_more");
  const Grammar layered(g);
  const std::vector<ModeLevel> stack{{0, {}}, {1, {}}};
  EXPECT_EQ(match(layered, stack, "class x")->command->handler, "inner_class");
  EXPECT_EQ(match(layered, stack, "cl x")->command->handler, "inner_class") << "both know it: the inner one";
  EXPECT_EQ(match(layered, stack, "class-m x")->command->handler, "outer_map");
  EXPECT_EQ(match(layered, stack, "match x")->command->handler, "outer_match") << "typed in full there";
  EXPECT_EQ(match(layered, stack, "matc x")->command->handler, "inner_more");
  // "class" in full is not taken for the outer "class-map", though only that would complete the line.
  EXPECT_FALSE(match(layered, stack, "class any x"));
  EXPECT_EQ(match(layered, stack, "cl any x")->command->handler, "outer_map");
}

TEST_F(Matching, IsCaseSensitive) {
  refuses(top, "Port 80", MismatchKind::unknown_word, 0,
          "unknown word \"Port\" (did you mean \"port\"?)\nexpected:\n  colour\n  colour-table\n  group\n  level\n  "
          "no\n  port\n  quit\n  route\n  timeout");
}

TEST_F(Matching, RefusesUnknownUnexpectedAndMissingWords) {
  refuses(top, "route somewhere", MismatchKind::unknown_word, 6, "unknown word \"somewhere\"; expected: any, ADDRESS");
  refuses(top, "route any more", MismatchKind::unknown_word, 10, "unknown word \"more\"; expected: metric, <cr>");
  refuses(top, "quit now", MismatchKind::unexpected_word, 5, "unexpected word \"now\"; expected: <cr>");
  refuses(top, "route", MismatchKind::incomplete, 6, "incomplete command; expected: any, ADDRESS");
  refuses(top, "  route any  metric  ", MismatchKind::incomplete, 20, "incomplete command; expected: <0-255>");
  refuses(top, "group \"a", MismatchKind::unclosed_quote, 6, "this quote is not closed");
  refuses(top, "gruop \"a", MismatchKind::unknown_word, 0,
          "unknown word \"gruop\" (did you mean \"group\"?)\nexpected:\n  colour\n  colour-table\n  group\n  level\n  "
          "no\n  port\n  quit\n  route\n  timeout");
}

TEST_F(Matching, BlamesAMisspeltWordRatherThanTheNextOne) {
  const std::vector<ModeLevel> shell{{0, {}}};
  const auto refused = match(shell_grammar(), shell, "class-map mach-any web");
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().kind, MismatchKind::unknown_word);
  EXPECT_EQ(refused.error().column, 10U);
  EXPECT_EQ(
      describe(refused.error()),
      "unknown word \"mach-any\" (did you mean \"match-any\"?)\nexpected:\n  match-all\n  match-any\n  type\n  NAME");
  const auto type = match(shell_grammar(), shell, "class-map tpye management web");
  ASSERT_FALSE(type);
  EXPECT_EQ(type.error().column, 10U);
  // A name that resembles no word is a name: the next word is one too many.
  const auto name = match(shell_grammar(), shell, "class-map web extra");
  ASSERT_FALSE(name);
  EXPECT_EQ(name.error().kind, MismatchKind::unexpected_word);
  EXPECT_EQ(name.error().column, 14U);
  // So is one in quotes, and one whose correction would not save the line.
  EXPECT_EQ(match(shell_grammar(), shell, "class-map \"mach-any\" web").error().column, 21U);
  EXPECT_EQ(match(shell_grammar(), shell, "class-map tpye web").error().column, 15U);
}

TEST_F(Matching, RefusesWhatTheLexerRefuses) {
  std::string words = "route";
  for (int i = 0; i < 299; ++i)
    words += " x";
  refuses(top, words, MismatchKind::too_many_words, 514, "the line has more than 255 words");
  refuses(top, std::string(65537, 'x'), MismatchKind::line_too_long, 65536, "the line is longer than 65536 bytes");
  refuses(top, "group a\x1B[2J", MismatchKind::control_character, 7, "control character");
  refuses(top, "group \xFF", MismatchKind::invalid_utf8, 6, "not valid UTF-8");
  refuses(inside, "note a\x01", MismatchKind::control_character, 6, "control character");
}

TEST_F(Matching, LongLinesStayHarmless) {
  std::string line = "note";
  for (int i = 0; i < 254; ++i)
    line += " " + std::string(250, 'x');
  refuses(inside, line, MismatchKind::too_long, 5, "TEXT is too long: at most 20 characters");
  refuses(top, std::string(65536, 'q'), MismatchKind::unknown_word, 0,
          "unknown word \"" + std::string(40, 'q') +
              "...\"\nexpected:\n  colour\n  colour-table\n  group\n  level\n  no\n  port\n  quit\n  route\n  timeout");
}

TEST_F(Matching, ParsesDoNotMultiply) {
  // Every word can be either of two names and the abbreviation of two words: 2^40 parses if they were kept apart.
  GrammarBuilder g;
  g.mode("top", "top");
  Pattern many = sequence(word("go", "Go"));
  for (int i = 0; i < 40; ++i) {
    many.parts.push_back(optional(choice(word("xa", "Xa", 1), word("xb", "Xb", 2), name("N", "Name", 3))));
  }
  many.parts.push_back(word("stop", "Stop"));
  g.command("top", many).calls("h");
  const Grammar wide(g);
  const auto stack = test::stack_of(wide, {"top"});
  std::string line = "go";
  for (int i = 0; i < 40; ++i)
    line += " x";
  const auto matched = match(wide, stack, line + " stop");
  ASSERT_FALSE(matched);
  EXPECT_EQ(matched.error().kind, MismatchKind::ambiguous);
  EXPECT_EQ(matched.error().column, 3U);
  EXPECT_EQ(describe(matched.error()), "ambiguous word \"x\"; it could be: xa, xb");
}

TEST_F(Matching, ABlankLineIsIncomplete) {
  const auto matched = match(grammar, inside, "  ");
  ASSERT_FALSE(matched);
  EXPECT_EQ(matched.error().kind, MismatchKind::incomplete);
  EXPECT_EQ(matched.error().column, 0U);
}

}  // namespace
}  // namespace kvel::shell::match_test
