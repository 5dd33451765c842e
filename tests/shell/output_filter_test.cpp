// Reading filters: what they come to, what is refused and where, and what help and completion offer.
#include "shell/session/output_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/shell/matching.h"

namespace kvel::shell::output_filter_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

tl::expected<OutputFilters, Mismatch> parsed(const std::string& line) {
  const LexedLine words = lex(line);
  const auto split = split_filters(words);
  if (!split) {
    ADD_FAILURE() << "no filter in: " << line;
    return OutputFilters{};
  }
  return parse_filters(*split);
}

// How a line of filters is refused, as an operator sees it.
std::string refusal(const std::string& line) {
  const auto filters = parsed(line);
  return filters ? "accepted" : format_mismatch(filters.error(), line);
}

using Kind = LineFilter::Kind;

TEST(OutputFilters, AreCutFromTheLineAtTheFirstBar) {
  const LexedLine line = lex("show class-map \"a | b\" | include \"|\" | count");
  const auto split = split_filters(line);
  ASSERT_TRUE(split);
  EXPECT_EQ(split->command, "show class-map \"a | b\" ");
  EXPECT_EQ(split->filters, "| include \"|\" | count");
  EXPECT_FALSE(split_filters(lex("show class-map \"|\"")));
  EXPECT_FALSE(split_filters(lex("show|xml")));
  EXPECT_FALSE(split_filters(lex("| xml")));
  EXPECT_FALSE(split_filters(lex("")));
}

TEST(OutputFilters, Documents) {
  EXPECT_EQ(parsed("c | xml")->format, output::Format::xml);
  EXPECT_EQ(parsed("c | j")->format, output::Format::json);
  const auto saved = parsed("c | json | save \"a b.json\"");
  EXPECT_EQ(saved->format, output::Format::json);
  EXPECT_EQ(saved->file, "a b.json");
  EXPECT_THAT(saved->lines, IsEmpty());
}

TEST(OutputFilters, ChainsKeepTheirOrder) {
  const auto filters = parsed("c | inc a | e \"b \\\" c\" | begin | count | save f");
  EXPECT_FALSE(filters);  // "|" is the text of nothing
  const auto quoted = parsed("c | inc a | e \"b \\\" c\" | begin \"|\" | count | save f");
  ASSERT_TRUE(quoted);
  EXPECT_EQ(quoted->format, output::Format::text);
  EXPECT_THAT(quoted->lines, ElementsAre(LineFilter{Kind::include, "a"}, LineFilter{Kind::exclude, "b \" c"},
                                         LineFilter{Kind::begin, "|"}, LineFilter{Kind::count, ""}));
  EXPECT_EQ(quoted->file, "f");
}

TEST(OutputFilters, WordsOfTheFiltersMayBeTheirTexts) {
  const auto filters = parsed("c | include xml | exclude count | save save");
  ASSERT_TRUE(filters);
  EXPECT_THAT(filters->lines, ElementsAre(LineFilter{Kind::include, "xml"}, LineFilter{Kind::exclude, "count"}));
  EXPECT_EQ(filters->file, "save");
}

TEST(OutputFilters, AMisspeltOneIsMarked) {
  EXPECT_EQ(refusal("show history | yaml"),
            "show history | yaml\n"
            "               ^\n"
            "Error: unknown word \"yaml\"\n"
            "expected:\n"
            "  begin\n"
            "  count\n"
            "  exclude\n"
            "  include\n"
            "  json\n"
            "  save\n"
            "  xml\n");
  EXPECT_EQ(refusal("show history | count | lines"),
            "show history | count | lines\n"
            "                       ^\n"
            "Error: unknown word \"lines\"; expected: begin, count, exclude, include, save\n");
  EXPECT_EQ(refusal("show history | \"xml\""),
            "show history | \"xml\"\n"
            "               ^\n"
            "Error: unknown word \"xml\"\n"
            "expected:\n"
            "  begin\n"
            "  count\n"
            "  exclude\n"
            "  include\n"
            "  json\n"
            "  save\n"
            "  xml\n");
  EXPECT_EQ(refusal("show history | xmls"),
            "show history | xmls\n"
            "               ^\n"
            "Error: unknown word \"xmls\" (did you mean \"xml\"?)\n"
            "expected:\n"
            "  begin\n"
            "  count\n"
            "  exclude\n"
            "  include\n"
            "  json\n"
            "  save\n"
            "  xml\n");
}

TEST(OutputFilters, AMissingWordIsMarked) {
  EXPECT_EQ(refusal("show history |"),
            "show history |\n"
            "              ^\n"
            "Error: incomplete command\n"
            "expected:\n"
            "  begin\n"
            "  count\n"
            "  exclude\n"
            "  include\n"
            "  json\n"
            "  save\n"
            "  xml\n");
  EXPECT_EQ(refusal("show history | xml |"),
            "show history | xml |\n"
            "                    ^\n"
            "Error: incomplete command; expected: save\n");
  EXPECT_EQ(refusal("show history | include"),
            "show history | include\n"
            "                      ^\n"
            "Error: incomplete command; expected: TEXT\n");
  EXPECT_EQ(refusal("show history | include | count"),
            "show history | include | count\n"
            "                       ^\n"
            "Error: incomplete command; expected: TEXT\n");
  EXPECT_EQ(refusal("show history | save"),
            "show history | save\n"
            "                   ^\n"
            "Error: incomplete command; expected: FILE\n");
  EXPECT_EQ(refusal("show history | include \"\""),
            "show history | include \"\"\n"
            "                       ^\n"
            "Error: TEXT must not be empty\n");
}

TEST(OutputFilters, AWordTooManyIsMarked) {
  EXPECT_EQ(refusal("show history | xml more"),
            "show history | xml more\n"
            "                   ^\n"
            "Error: unexpected word \"more\"; expected: |, <cr>\n");
  EXPECT_EQ(refusal("show history | include two words"),
            "show history | include two words\n"
            "                           ^\n"
            "Error: unexpected word \"words\"; expected: |, <cr>\n");
  EXPECT_EQ(refusal("show history | save file | count"),
            "show history | save file | count\n"
            "                         ^\n"
            "Error: unexpected word \"|\"; expected: <cr>\n");
}

TEST(OutputFilters, DocumentsComeFirstAndAreNotFilteredByLine) {
  EXPECT_EQ(refusal("show history | include a | xml"),
            "show history | include a | xml\n"
            "                           ^\n"
            "Error: \"xml\" must be the first filter\n");
  EXPECT_EQ(refusal("show history | xml | json"),
            "show history | xml | json\n"
            "                     ^\n"
            "Error: \"json\" must be the first filter\n");
  EXPECT_EQ(refusal("show history | xml | count"),
            "show history | xml | count\n"
            "                     ^\n"
            "Error: \"count\" filters text: after \"xml\" or \"json\" only \"save\" is allowed\n");
  EXPECT_EQ(refusal("show history | json | inc a"),
            "show history | json | inc a\n"
            "                      ^\n"
            "Error: \"include\" filters text: after \"xml\" or \"json\" only \"save\" is allowed\n");
}

TEST(OutputFilters, AnUnclosedQuoteIsMarked) {
  EXPECT_EQ(refusal("show history | include \"a b"),
            "show history | include \"a b\n"
            "                       ^\n"
            "Error: this quote is not closed\n");
  EXPECT_EQ(refusal("show history | include \"a\"b"),
            "show history | include \"a\"b\n"
            "                          ^\n"
            "Error: a blank is missing after the closing quote\n");
}

const std::vector<ModeLevel> kTop{{0, {}}};

std::vector<std::string> offered(const std::string& prefix) {
  const auto help = help_with_filters(shell_grammar(), kTop, prefix);
  if (!help) return {describe(help.error())};
  std::vector<std::string> texts;
  for (const Expected& expected : *help)
    texts.push_back(expected.text);
  return texts;
}

TEST(FilterHelp, OffersTheBarWhereACommandThatMayHaveOneIsComplete) {
  EXPECT_THAT(offered("show history "), ElementsAre("|", "<cr>"));
  EXPECT_THAT(offered("show running-config"), ElementsAre("running-config"));
  EXPECT_THAT(offered("show class-map "), ElementsAre("NAME", "|", "<cr>"));
  EXPECT_THAT(offered("exit "), ElementsAre("<cr>"));
}

TEST(FilterHelp, OffersFilters) {
  EXPECT_THAT(offered("show history |"), ElementsAre("|"));
  EXPECT_THAT(offered("show history | "), ElementsAre("begin", "count", "exclude", "include", "json", "save", "xml"));
  EXPECT_THAT(offered("show history | e"), ElementsAre("exclude"));
  EXPECT_THAT(offered("show history | xml "), ElementsAre("|", "<cr>"));
  EXPECT_THAT(offered("show history | xml | "), ElementsAre("save"));
  EXPECT_THAT(offered("show history | count | "), ElementsAre("begin", "count", "exclude", "include", "save"));
  EXPECT_THAT(offered("show history | include "), ElementsAre("TEXT"));
  EXPECT_THAT(offered("show history | include wo"), ElementsAre("TEXT"));
  EXPECT_THAT(offered("show history | save f "), ElementsAre("<cr>"));
}

TEST(FilterHelp, ReportsWhatIsWrong) {
  EXPECT_THAT(
      offered("show history | yaml "),
      ElementsAre("unknown word \"yaml\"\nexpected:\n  begin\n  count\n  exclude\n  include\n  json\n  save\n  xml"));
  EXPECT_THAT(offered("show history | xml | c"), ElementsAre("unknown word \"c\"; expected: save"));
  const auto help = help_with_filters(shell_grammar(), kTop, "show history | yaml ");
  EXPECT_EQ(help.error().column, 15U);
  EXPECT_THAT(offered("exit | "), ElementsAre("unexpected word \"|\"; expected: <cr>"));
}

TEST(FilterCompletion, CompletesFilters) {
  const Completion completion = complete_with_filters(shell_grammar(), kTop, "show history | co");
  EXPECT_EQ(completion.column, 15U);
  EXPECT_EQ(completion.partial, "co");
  EXPECT_THAT(completion.words, ElementsAre("count"));
  EXPECT_FALSE(completion.in_text);
  EXPECT_THAT(complete_with_filters(shell_grammar(), kTop, "show history | xml | ").words, ElementsAre("save"));
  EXPECT_THAT(complete_with_filters(shell_grammar(), kTop, "show history | yaml | ").words, IsEmpty());
  EXPECT_THAT(complete_with_filters(shell_grammar(), kTop, "show his").words, ElementsAre("history"));
}

TEST(FilterCompletion, ATextIsTypedFreely) {
  EXPECT_TRUE(complete_with_filters(shell_grammar(), kTop, "show history | include what").in_text);
  EXPECT_THAT(complete_with_filters(shell_grammar(), kTop, "show history | include co").words, IsEmpty());
  EXPECT_FALSE(complete_with_filters(shell_grammar(), kTop, "show history | include ").in_text);
  const Completion quoted = complete_with_filters(shell_grammar(), kTop, "show history | include \"a b");
  EXPECT_TRUE(quoted.in_text);
  EXPECT_TRUE(quoted.quoted);
  EXPECT_EQ(quoted.column, 23U);
}

}  // namespace
}  // namespace kvel::shell::output_filter_test
