// Random lines of all commands: each matches its command and tokens, and rendering its tokens gives a line that does
// too.
#include "shell/matcher/generate.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <set>

#include "shell/matcher/help.h"
#include "shell/matcher/render.h"
#include "tests/shell/matching.h"

namespace kvel::shell::generate_test {
namespace {

std::vector<ModeId> modes_of(const Grammar& grammar, const Command& command) {
  if (!command.in_every_mode()) return command.modes;
  std::vector<ModeId> modes;
  for (std::size_t mode = 0; mode < grammar.modes().size(); ++mode)
    modes.push_back(static_cast<ModeId>(mode));
  return modes;
}

// The line means `command` and `tokens`, and so does what the renderer makes of them.
void check_round_trip(const Grammar& grammar, const Command& command, ModeId mode, bool negated,
                      const GeneratedLine& made) {
  const std::vector<ModeLevel> stack{{mode, {}}};
  const auto matched = match(grammar, stack, made.line);
  ASSERT_TRUE(matched) << made.line << ": " << describe(matched.error());
  EXPECT_EQ(matched->command->index, command.index) << made.line;
  EXPECT_EQ(matched->negated, negated) << made.line;
  EXPECT_EQ(matched->tokens, made.tokens) << made.line;

  const std::string_view action = command.action();
  const auto rendered = render(grammar, mode, action, negated, made.tokens);
  ASSERT_TRUE(rendered) << made.line;
  const auto again = match(grammar, stack, *rendered);
  ASSERT_TRUE(again) << *rendered << ": " << describe(again.error());
  EXPECT_EQ(again->tokens, made.tokens) << *rendered;
  EXPECT_EQ(again->negated, negated) << *rendered;
}

void check_all_commands(const Grammar& grammar, std::uint32_t seed, int lines_per_command) {
  LineGenerator generator(grammar, seed);
  for (const Command& command : grammar.commands()) {
    for (const ModeId mode : modes_of(grammar, command)) {
      for (const bool negated : {false, true}) {
        if (!(negated ? command.negatable : command.positive)) continue;
        for (int i = 0; i < lines_per_command; ++i) {
          check_round_trip(grammar, command, mode, negated, generator.line(command, mode, negated));
        }
        for (const GeneratedLine& line : generator.covering_lines(command, mode, negated)) {
          check_round_trip(grammar, command, mode, negated, line);
        }
      }
    }
  }
}

RC_GTEST_PROP(Generated, LinesOfTheShellRoundTrip, (std::uint32_t seed)) {
  check_all_commands(shell_grammar(), seed, 3);
  RC_ASSERT(!::testing::Test::HasFailure());
}

RC_GTEST_PROP(Generated, LinesOfTheSampleRoundTrip, (std::uint32_t seed)) {
  check_all_commands(test::sample_grammar(), seed, 3);
  RC_ASSERT(!::testing::Test::HasFailure());
}

TEST(Generator, IsRepeatable) {
  const Command& command = shell_grammar().commands()[shell_grammar().commands_of("kvelclassmap_config").front()];
  LineGenerator one(shell_grammar(), 7);
  LineGenerator same(shell_grammar(), 7);
  LineGenerator other(shell_grammar(), 8);
  bool differs = false;
  for (int i = 0; i < 20; ++i) {
    const GeneratedLine line = one.line(command, Grammar::kTopMode, false);
    EXPECT_EQ(line.line, same.line(command, Grammar::kTopMode, false).line);
    differs = differs || line.line != other.line(command, Grammar::kTopMode, false).line;
  }
  EXPECT_TRUE(differs);
}

TEST(Generator, TakesNamesFromTheCaller) {
  std::set<std::string_view> hooks;
  LineGenerator generator(shell_grammar(), 3, [&](const Symbol& symbol, std::mt19937&) {
    hooks.insert(symbol.hook);
    return std::string("my name");
  });
  for (const CommandIndex id : shell_grammar().commands_of("kvelclassmap_config")) {
    const GeneratedLine line = generator.line(shell_grammar().command(id), Grammar::kTopMode, true);
    EXPECT_EQ(line.tokens.back().value, TokenValue("my name"));
    EXPECT_NE(line.line.find("\"my name\""), std::string::npos) << line.line;
  }
  EXPECT_EQ(hooks.size(), 5U);
}

TEST(Generator, CoversEveryWord) {
  LineGenerator generator(test::sample_grammar(), 5);
  std::set<KeywordId> seen;
  for (const Command& command : test::sample_grammar().commands()) {
    if (!command.positive) continue;
    for (const GeneratedLine& line :
         generator.covering_lines(command, modes_of(test::sample_grammar(), command).front(), false)) {
      for (const Token& token : line.tokens)
        seen.insert(token.keyword);
    }
  }
  EXPECT_EQ(seen, (std::set<KeywordId>{10, 20, 21, 30, 31, 32, 33, 41, 42, 43, 44, 45, 50, 51, 52, 60, 70, 71}));
}

TEST(Generator, NastyStringsAreValidValues) {
  std::mt19937 random(11);
  std::set<std::string> distinct;
  for (int i = 0; i < 2000; ++i) {
    for (const std::uint32_t most : {1U, 2U, 3U, 8U, 64U}) {
      const std::string value = LineGenerator::nasty_string(shell_grammar(), most, random);
      EXPECT_GE(value.size(), 1U);
      EXPECT_LE(value.size(), most);
      EXPECT_FALSE(lex(quote(value)).error) << value;
      distinct.insert(value);
    }
  }
  EXPECT_GT(distinct.size(), 500U);
  const auto edges = shell_grammar().edges();
  EXPECT_TRUE(std::any_of(edges.begin(), edges.end(), [&](const Edge& edge) {
    return edge.symbol.is_word() && distinct.contains(std::string(edge.symbol.text));
  }));
  EXPECT_TRUE(distinct.contains("\""));
}

// Whatever is typed, nothing breaks: bytes at random, and grammar words in random order.
RC_GTEST_PROP(Garbage, IsRefusedOrMatchedButNeverBreaks, (const std::string& bytes, std::vector<std::uint16_t> picks)) {
  const Grammar& grammar = shell_grammar();
  const std::vector<ModeLevel> stack{{0, {}}, {1, {test::string_token(8, "web")}}};
  std::string words;
  for (const std::uint16_t pick : picks) {
    const Symbol& symbol = grammar.edges()[pick % grammar.edges().size()].symbol;
    const std::string label = symbol.label();
    words += label.substr(0, 1 + pick % label.size()) + (pick % 5 == 0 ? " \"" : " ");
  }
  for (const std::string& line : {bytes, words, "class-map " + bytes, "description " + bytes}) {
    const auto matched = match(grammar, stack, line);
    if (!matched) {
      const std::string shown = format_mismatch(matched.error(), line);
      RC_ASSERT(std::count(shown.begin(), shown.end(), '\n') >= 3);
    }
    const auto helped = help_at(grammar, stack, line);
    if (!helped) RC_ASSERT(format_mismatch(helped.error(), line).ends_with('\n'));
    const Completion completion = complete_at(grammar, stack, line);
    RC_ASSERT(completion.column <= line.size());
    RC_ASSERT(split_commands(line).size() <= line.size() + 1);
  }
}

// What help lists can really be typed: each word listed is taken, and <cr> is listed exactly where the line is
// complete.
RC_GTEST_PROP(Help, AgreesWithMatching, (std::uint32_t seed)) {
  const Grammar& grammar = shell_grammar();
  LineGenerator generator(grammar, seed);
  const Command& command = grammar.commands()[seed % grammar.commands().size()];
  const ModeId mode = modes_of(grammar, command).front();
  const std::vector<ModeLevel> stack{{mode, {}}};
  const std::string line = generator.line(command, mode, !command.positive).line;
  const LexedLine lexed = lex(line);
  for (const Word& word : lexed.words) {
    const std::string prefix = line.substr(0, word.column);
    const auto help = help_at(grammar, stack, prefix);
    RC_ASSERT(help.has_value());
    bool end = false;
    for (const Expected& expected : *help) {
      end = end || expected.kind == Expected::Kind::end;
      if (expected.kind == Expected::Kind::word) {
        const auto taken = help_at(grammar, stack, prefix + expected.text + " ");
        RC_ASSERT(taken.has_value() || taken.error().kind == MismatchKind::ambiguous);  // of an earlier word
      }
    }
    if (word.column > 0) RC_ASSERT(end == match(grammar, stack, prefix).has_value());
  }
}

}  // namespace
}  // namespace kvel::shell::generate_test
