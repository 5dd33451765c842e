// The whole grammar against its rules, and the rules against grammars that break them.
#include "shell/grammar/consistency.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <set>
#include <stdexcept>

#include "kvel/keywords.h"
#include "shell/matcher/generate.h"
#include "shell/matcher/render.h"
#include "tests/shell/matching.h"

namespace kvel::shell::consistency_test {
namespace {

using namespace pattern;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Consistency, TheShellsGrammarIsSound) { EXPECT_THAT(grammar_problems(shell_grammar()), IsEmpty()); }
TEST(Consistency, TheSampleGrammarIsSound) { EXPECT_THAT(grammar_problems(test::sample_grammar()), IsEmpty()); }

// Every keyword of the handlers can be typed: a real line yields it.
TEST(Consistency, EveryKeywordIsProducedBySomeLine) {
  const Grammar& grammar = shell_grammar();
  LineGenerator generator(grammar, 1);
  std::set<KeywordId> produced;
  for (const Command& command : grammar.commands()) {
    const ModeId mode = command.in_every_mode() ? Grammar::kTopMode : command.modes.front();
    for (const GeneratedLine& line : generator.covering_lines(command, mode, false)) {
      const std::vector<ModeLevel> stack{{mode, {}}};
      const auto matched = match(grammar, stack, line.line);
      ASSERT_TRUE(matched) << line.line << ": " << describe(matched.error());
      for (const Token& token : matched->tokens)
        produced.insert(token.keyword);
    }
  }
#define KVEL_EXPECT_PRODUCED(name, id) EXPECT_TRUE(produced.contains(id)) << #name;
  KVEL_KEYWORDS(KVEL_EXPECT_PRODUCED)
#undef KVEL_EXPECT_PRODUCED
}

// What is known by a number, or as an option, alone stands behind the word that says so.
TEST(Consistency, WordsWithoutAMeaningAreBehindAdvanced) {
  const Grammar& grammar = shell_grammar();
  const std::regex meaningless("([a-z]+-)*(option|[a-z]+-[0-9]+)");
  std::set<NodeId> advanced;
  for (const Edge& edge : grammar.edges()) {
    if (edge.symbol.is_word() && edge.symbol.text == "advanced") advanced.insert(edge.target);
  }
  std::set<EdgeId> allowed;
  for (const NodeId node : advanced)
    allowed.insert(grammar.edges_from(node).begin(), grammar.edges_from(node).end());
  std::size_t found = 0;
  for (EdgeId id = 0; id < grammar.edges().size(); ++id) {
    const Symbol& symbol = grammar.edge(id).symbol;
    if (!symbol.is_word() || !std::regex_match(std::string(symbol.text), meaningless)) continue;
    EXPECT_TRUE(allowed.contains(id)) << symbol.text;
    ++found;
  }
  EXPECT_GE(found, 20U);
}

// A line of an outer mode, its words in full, means the same wherever it is typed: no inner mode takes it for one of
// its own. (Shortened words are those of the inner mode first.)
TEST(Consistency, InnerModesDoNotTakeLinesOfOuterOnes) {
  const Grammar& grammar = shell_grammar();
  LineGenerator generator(grammar, 2);
  for (const Command& opener : grammar.commands()) {
    if (!opener.opens || opener.in_every_mode()) continue;
    const ModeId outer = opener.modes.front();
    const std::vector<ModeLevel> stack{{outer, {}}, {*opener.opens, {}}};
    for (const Command& command : grammar.commands()) {
      if (command.in_every_mode() || command.modes.front() != outer) continue;
      for (const GeneratedLine& line : generator.covering_lines(command, outer, false)) {
        const std::string_view action = command.action();
        const auto in_full = render(grammar, outer, action, false, line.tokens);
        ASSERT_TRUE(in_full) << line.line;
        const auto matched = match(grammar, stack, *in_full);
        ASSERT_TRUE(matched) << *in_full << ": " << describe(matched.error());
        EXPECT_EQ(matched->command->handler, command.handler) << *in_full;
        EXPECT_EQ(matched->level, 0U) << *in_full;
        EXPECT_EQ(matched->tokens, line.tokens) << *in_full;
      }
    }
  }
}

TEST(Consistency, CommandIdsAreDistinct) {
  std::set<std::uint32_t> ids;
  for (const Command& command : shell_grammar().commands())
    EXPECT_TRUE(ids.insert(command.command_id).second) << command.command_id;
}

std::vector<std::string> problems_of(const std::function<void(GrammarBuilder&)>& declare) {
  GrammarBuilder builder;
  builder.mode("top", "top");
  declare(builder);
  return grammar_problems(Grammar(builder));
}

TEST(Consistency, ReportsTwoCommandsThatMatchOneLine) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.command("top", sequence(word("set", "Set"), name("A", "First", 1))).calls("h");
                g.command("top", sequence(word("set", "Set"), optional(word("x", "X", 3)), string("B", "Second", 2, 9)))
                    .calls("i");
              }),
              ElementsAre("top: set A: two parses of one line"));
}

TEST(Consistency, ReportsTwoParsesWithinACommand) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.command("top", sequence(word("set", "Set"), choice(number(1, 9, "Low", 1), number(9, 20, "High", 2))))
                    .calls("h");
              }),
              ElementsAre("top: set <1-9>: two parses of one line"));
}

TEST(Consistency, ReportsCommandsOfOneModeAgainstThoseOfEveryMode) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.command_everywhere(word("quit", "Quit")).runs("quit");
                g.command("top", word("quit", "Quit")).calls("h");
              }),
              ElementsAre("top: quit: two parses of one line"));
}

TEST(Consistency, ReportsNegatedFormsThatMatchOneLine) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.command("top", word("a", "A")).calls("h").negatable();
                g.command("top", word("b", "B")).calls("i").negatable(word("a", "A"));
              }),
              ElementsAre("top: no a: two parses of one line"));
}

TEST(Consistency, AcceptsWhatPrecedenceDecides) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.command("top", sequence(word("set", "Set"), name("A", "Name", 1))).calls("h");
                g.command("top", sequence(word("set", "Set"), number(1, 9, "Number", 2))).calls("i");
                g.command("top", sequence(word("set", "Set"), word("on", "On", 3))).calls("j");
                g.command("top", sequence(word("set", "Set"), address("ADDRESS", "Address", 5))).calls("k");
                g.command("top", sequence(word("set", "Set"), number(10, 20, "Number", 4))).calls("l");
              }),
              IsEmpty());
}

TEST(Consistency, ReportsHelpTexts) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.command("top", word("a", "")).calls("h1");
                g.command("top", word("b", "lower case")).calls("h2");
                g.command("top", word("c", "A full stop.")).calls("h3");
                g.command("top", sequence(word("d", "One"), word("x", "X"))).calls("h4");
                g.command("top", sequence(word("d", "Another"), word("y", "Y"))).calls("h5");
              }),
              ElementsAre("a of h1: no help text", "b of h2: help text must begin with a capital and have no full stop",
                          "c of h3: help text must begin with a capital and have no full stop",
                          "top: d: two help texts for one word"));
}

TEST(Consistency, ReportsImpossibleWords) {
  for (const char* impossible : {"", "a b", "a\"b", "a;b", "a|b", "!a", "#a", "\xC3\xBC", "a\x7F"}) {
    EXPECT_THAT(problems_of([&](GrammarBuilder& g) { g.command("top", word(impossible, "Word")).calls("h"); }),
                ElementsAre(std::string(impossible) + " of h: not a plain word"));
  }
  EXPECT_THAT(problems_of([](GrammarBuilder& g) { g.command("top", word("no", "No")).calls("h"); }),
              ElementsAre("h: begins with \"no\""));
}

TEST(Consistency, ReportsImpossibleParameters) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.command("top", sequence(word("a", "A"), number(2, 1, "Number", 1))).calls("h1");
                g.command("top", sequence(word("b", "B"), string("S", "String", 1, 0))).calls("h2");
                g.command("top", sequence(word("c", "C"), name("", "Name", 1))).calls("h3");
                g.command("top", sequence(word("d", "D"), text("T", "Text", 1, 9), word("e", "E"))).calls("h4");
              }),
              ElementsAre(" of h3: no label", "<2-1> of h1: impossible range", "S of h2: impossible length",
                          "T of h4: something follows a text"));
}

TEST(Consistency, ReportsParametersThatBindNoMemberOfTheirRecord) {
  const auto with = [](Pattern parameter) {
    return problems_of([&](GrammarBuilder& g) {
      g.command("top", sequence(word("a", "A", 1), parameter)).calls("h").negatable().records("object");
    });
  };
  EXPECT_THAT(with(number(0, 9, "Number", 2)), ElementsAre("<0-9> of h: binds no member of the record of its "
                                                           "command"));
  EXPECT_THAT(with(number(0, 9, "Number", 2).binds("count")), IsEmpty());
}

TEST(Consistency, ReportsModesAndCarriedTokens) {
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.mode("in", "in");
                g.mode("island", "island");
                g.command("top", sequence(word("a", "A"), name("N", "Name", 1))).calls("h1").opens("in", {2});
                g.command("island", sequence(word("b", "B"), name("N", "Name", 1))).calls("h2").opens("island", {1});
                g.command("in", word("c", "C")).calls("h3").only_negated().opens("in", {});
              }),
              ElementsAre("h1: does not produce the token 2 that it carries",
                          "h3: opens a mode but has no positive form", "mode island: cannot be reached"));
}

TEST(Consistency, ReportsFixedTokensWithoutKeywordOrText) {
  const auto with = [](const FixedToken& token) {
    return problems_of([&](GrammarBuilder& g) {
      g.mode("in", "in");
      g.command("top", word("a", "A")).calls("h").opens("in", {}, {token});
    });
  };
  EXPECT_THAT(with({5, "x", "shown"}), IsEmpty());
  for (const FixedToken& token : {FixedToken{0, "x", "shown"}, FixedToken{5, "", "shown"}, FixedToken{5, "x", ""}})
    EXPECT_THAT(with(token), ElementsAre("h: carries a fixed token without keyword or text"));
}

TEST(Consistency, ReportsTooManyTokens) {
  const auto with_words = [](std::size_t count) {
    return problems_of([count](GrammarBuilder& g) {
      Pattern all = sequence();
      for (std::size_t i = 0; i < count; ++i)
        all.parts.push_back(word("w", "Word", 7));
      g.command("top", all).calls("h");
    });
  };
  EXPECT_THAT(with_words(255), IsEmpty());
  EXPECT_THAT(with_words(256), ElementsAre("h: more than 255 tokens"));
  EXPECT_THAT(problems_of([](GrammarBuilder& g) {
                g.mode("in", "in");
                Pattern all = sequence();
                for (std::size_t i = 0; i < 255; ++i)
                  all.parts.push_back(word("w", "Word", 7));
                g.command("in", all).calls("h1");
                g.command("top", word("a", "A")).calls("h2").opens("in", {}, {{5, "x", "x"}});
              }),
              ElementsAre("h1: more than 255 tokens"));
}

std::string refusal_of(const std::function<void(GrammarBuilder&)>& declare) {
  GrammarBuilder builder;
  declare(builder);
  try {
    const Grammar grammar(builder);
  } catch (const std::logic_error& error) {
    return error.what();
  }
  return "";
}

TEST(Compiler, RefusesUnknownModesAndActions) {
  EXPECT_EQ(refusal_of([](GrammarBuilder&) {}), "the grammar has no mode");
  EXPECT_EQ(refusal_of([](GrammarBuilder& g) {
              g.mode("top", "top");
              g.mode("top", "again");
            }),
            "mode declared twice: top");
  EXPECT_EQ(refusal_of([](GrammarBuilder& g) {
              g.mode("top", "top");
              g.command("elsewhere", word("a", "A")).calls("h");
            }),
            "unknown mode: elsewhere");
  EXPECT_EQ(refusal_of([](GrammarBuilder& g) {
              g.mode("top", "top");
              g.command("top", word("a", "A")).calls("h").opens("elsewhere", {});
            }),
            "unknown mode: elsewhere");
  EXPECT_EQ(refusal_of([](GrammarBuilder& g) {
              g.mode("top", "top");
              g.command("top", word("a", "A"));
            }),
            "a command needs either a handler or a shell command: \"\", \"\"");
  EXPECT_EQ(refusal_of([](GrammarBuilder& g) {
              g.mode("top", "top");
              g.command("top", word("a", "A")).calls("h").runs("c");
            }),
            "a command needs either a handler or a shell command: \"h\", \"c\"");
  EXPECT_EQ(refusal_of([](GrammarBuilder& g) {
              g.mode("top", "top");
              g.command("top", word("a", "A")).calls("h").text_by("t");
            }),
            "only a shell command has a handler for its text: \"t\"");
  EXPECT_EQ(refusal_of([](GrammarBuilder& g) {
              g.mode("top", "top");
              g.command("top", optional(word("a", "A"))).calls("h");
            }),
            "a command without words");
}

}  // namespace
}  // namespace kvel::shell::consistency_test
