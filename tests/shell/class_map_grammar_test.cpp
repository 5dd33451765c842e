// The class-map commands, one by one: exact tokens (keyword ids as plain numbers), handlers, and modes.
#include <gtest/gtest.h>

#include "tests/shell/matching.h"

namespace kvel::shell::class_map_grammar_test {
namespace {

using test::string_token;
using test::Tokens;
using test::word_token;

struct Line {
  const char* line;
  Tokens tokens;
  const char* opened_mode;  // null: none
  bool negated = false;
};

class ClassMapGrammar : public ::testing::Test {
 protected:
  const Grammar& grammar = shell_grammar();
  std::vector<ModeLevel> top = test::stack_of(grammar, {"config"});

  void check(const Line& expected, std::string_view handler) {
    SCOPED_TRACE(expected.line);
    const auto matched = match(grammar, top, expected.line);
    ASSERT_TRUE(matched) << describe(matched.error());
    EXPECT_EQ(matched->command->handler, handler);
    EXPECT_EQ(matched->negated, expected.negated);
    EXPECT_EQ(matched->tokens, expected.tokens);
    EXPECT_EQ(matched->carried_count, 0U);
    EXPECT_EQ(matched->level, 0U);
    ASSERT_EQ(matched->opens.has_value(), expected.opened_mode != nullptr);
    if (!matched->opens) return;
    EXPECT_EQ(grammar.mode(matched->opens->mode).name, expected.opened_mode);
    EXPECT_EQ(matched->opens->carried, Tokens{expected.tokens.back()}) << "only the name is carried";
  }
};

TEST_F(ClassMapGrammar, CreatesEveryType) {
  const std::vector<Line> lines{
      {"class-map web", {string_token(8, "web")}, "class-map-l3"},
      {"class-map match-all web", {word_token(10), string_token(8, "web")}, "class-map-l3"},
      {"class-map match-any web", {word_token(9), string_token(8, "web")}, "class-map-l3"},
      {"class-map type management m", {word_token(182), string_token(183, "m")}, "class-map-management"},
      {"class-map type management match-all m",
       {word_token(182), word_token(195), string_token(183, "m")},
       "class-map-management"},
      {"class-map type management match-any m",
       {word_token(182), word_token(196), string_token(183, "m")},
       "class-map-management"},
      {"class-map type http-load-balancing lb", {word_token(15), string_token(18, "lb")}, "class-map-http-lb"},
      {"class-map type http-load-balancing match-all lb",
       {word_token(15), word_token(16), string_token(18, "lb")},
       "class-map-http-lb"},
      {"class-map type http-load-balancing match-any lb",
       {word_token(15), word_token(17), string_token(18, "lb")},
       "class-map-http-lb"},
      {"class-map type http-inspection h", {word_token(102), string_token(103, "h")}, "class-map-http-inspection"},
      {"class-map type http-inspection match-all h",
       {word_token(102), word_token(104), string_token(103, "h")},
       "class-map-http-inspection"},
      {"class-map type http-inspection match-any h",
       {word_token(102), word_token(105), string_token(103, "h")},
       "class-map-http-inspection"},
      {"class-map type ftp-inspection f", {word_token(172), string_token(173, "f")}, "class-map-ftp-inspection"},
      {"class-map type ftp-inspection match-any f",
       {word_token(172), word_token(178), string_token(173, "f")},
       "class-map-ftp-inspection"},
  };
  for (const Line& line : lines)
    check(line, "kvelclassmap_config");
}

TEST_F(ClassMapGrammar, DeletesEveryTypeWithOrWithoutMatchMode) {
  const std::vector<Line> lines{
      {"no class-map web", {string_token(8, "web")}, nullptr, true},
      {"no class-map match-any web", {word_token(9), string_token(8, "web")}, nullptr, true},
      {"no class-map match-all web", {word_token(10), string_token(8, "web")}, nullptr, true},
      {"no class-map type management m", {word_token(182), string_token(183, "m")}, nullptr, true},
      {"no class-map type http-load-balancing match-all lb",
       {word_token(15), word_token(16), string_token(18, "lb")},
       nullptr,
       true},
      {"no class-map type http-inspection h", {word_token(102), string_token(103, "h")}, nullptr, true},
      {"no class-map type ftp-inspection match-any f",
       {word_token(172), word_token(178), string_token(173, "f")},
       nullptr,
       true},
  };
  for (const Line& line : lines)
    check(line, "kvelclassmap_config");
}

TEST_F(ClassMapGrammar, AnFtpInspectionMapCannotMatchAll) {
  const auto matched = match(grammar, top, "class-map type ftp-inspection match-all f");
  ASSERT_FALSE(matched);
  EXPECT_EQ(describe(matched.error()),
            "unknown word \"match-all\" (did you mean \"match-any\"?)\nexpected:\n  match-any\n  NAME");
  EXPECT_EQ(matched.error().column, 30U);
}

TEST_F(ClassMapGrammar, AbbreviatesEveryWord) {
  check({"cl ty http-l match-an lb", {word_token(15), word_token(17), string_token(18, "lb")}, "class-map-http-lb"},
        "kvelclassmap_config");
  check({"n c t m m", {word_token(182), string_token(183, "m")}, nullptr, true}, "kvelclassmap_config");
}

TEST_F(ClassMapGrammar, NamesMayLookLikeWords) {
  // A word typed in full is that word; as a name it wants quotes.
  const auto matched = match(grammar, top, "class-map match-any");
  ASSERT_FALSE(matched);
  EXPECT_EQ(describe(matched.error()), "incomplete command; expected: NAME");
  const auto type = match(grammar, top, "class-map type");
  ASSERT_FALSE(type);
  EXPECT_EQ(describe(type.error()),
            "incomplete command\nexpected:\n  ftp-inspection\n  http-inspection\n  http-load-balancing\n  management");

  check({"class-map \"match-any\"", {string_token(8, "match-any")}, "class-map-l3"}, "kvelclassmap_config");
  check({"class-map \"type\"", {string_token(8, "type")}, "class-map-l3"}, "kvelclassmap_config");
  // An abbreviation does not complete the line, the name does.
  check({"class-map t", {string_token(8, "t")}, "class-map-l3"}, "kvelclassmap_config");
  check({"class-map match-a", {string_token(8, "match-a")}, "class-map-l3"}, "kvelclassmap_config");
  check({"class-map match-any match-any-", {word_token(9), string_token(8, "match-any-")}, "class-map-l3"},
        "kvelclassmap_config");
  check({"class-map match-any type", {word_token(9), string_token(8, "type")}, "class-map-l3"}, "kvelclassmap_config");
  check({"class-map t m web", {word_token(182), string_token(183, "web")}, "class-map-management"},
        "kvelclassmap_config");
}

TEST_F(ClassMapGrammar, QuotedAndForeignNames) {
  check({"class-map \"a b\"", {string_token(8, "a b")}, "class-map-l3"}, "kvelclassmap_config");
  check({R"(class-map "a \"b\" \\ \c")", {string_token(8, R"(a "b" \ \c)")}, "class-map-l3"}, "kvelclassmap_config");
  check({"class-map b\xC3\xBCro", {string_token(8, "b\xC3\xBCro")}, "class-map-l3"}, "kvelclassmap_config");
  check({"class-map #x", {string_token(8, "#x")}, "class-map-l3"}, "kvelclassmap_config");  // refused by the handler
}

TEST_F(ClassMapGrammar, NamesHoldSixtyFourBytes) {
  const std::string longest(64, 'x');
  check({("class-map " + longest).c_str(), {string_token(8, longest)}, "class-map-l3"}, "kvelclassmap_config");

  const auto longer = match(grammar, top, "class-map match-any " + longest + "y");
  ASSERT_FALSE(longer);
  EXPECT_EQ(longer.error().column, 20U);
  EXPECT_EQ(describe(longer.error()), "NAME is too long: at most 64 characters");

  std::string umlauts;
  for (int i = 0; i < 33; ++i)
    umlauts += "\xC3\xBC";
  const auto bytes = match(grammar, top, "class-map " + umlauts);
  ASSERT_FALSE(bytes);
  EXPECT_EQ(describe(bytes.error()), "NAME is too long: at most 64 bytes");

  const auto empty = match(grammar, top, "class-map \"\"");
  ASSERT_FALSE(empty);
  EXPECT_EQ(describe(empty.error()), "NAME must not be empty");
}

TEST_F(ClassMapGrammar, DescriptionsBelongInsideAClassMap) {
  const auto matched = match(grammar, top, "description x");
  ASSERT_FALSE(matched);
  EXPECT_EQ(matched.error().kind, MismatchKind::unknown_word);
  EXPECT_EQ(matched.error().column, 0U);
}

// The class-map modes: the name token that each carries, with its own id.
struct OpenMode {
  const char* command;
  const char* mode;
  Token name;
};

class ClassMapMode : public ::testing::TestWithParam<OpenMode> {
 protected:
  void SetUp() override {
    const auto opened = match(grammar, stack, GetParam().command);
    ASSERT_TRUE(opened);
    ASSERT_TRUE(opened->opens);
    EXPECT_EQ(grammar.mode(opened->opens->mode).name, GetParam().mode);
    stack.push_back(*opened->opens);
  }

  const Grammar& grammar = shell_grammar();
  std::vector<ModeLevel> stack = test::stack_of(grammar, {"config"});
};

TEST_P(ClassMapMode, TakesADescription) {
  const auto set = match(grammar, stack, "description  serves  the \"shop\" ");
  ASSERT_TRUE(set) << describe(set.error());
  EXPECT_EQ(set->command->handler, "kvelclassmap_config_desc");
  EXPECT_FALSE(set->negated);
  EXPECT_FALSE(set->opens);
  EXPECT_EQ(set->level, 1U);
  EXPECT_EQ(set->carried_count, 1U);
  EXPECT_EQ(set->tokens, (Tokens{GetParam().name, string_token(5, "serves  the \"shop\"")}));
}

TEST_P(ClassMapMode, RemovesADescription) {
  for (const char* line : {"no description", "no desc"}) {
    const auto removed = match(grammar, stack, line);
    ASSERT_TRUE(removed) << describe(removed.error());
    EXPECT_EQ(removed->command->handler, "kvelclassmap_config_desc");
    EXPECT_TRUE(removed->negated);
    EXPECT_EQ(removed->tokens, Tokens{GetParam().name});
  }
  const auto with_text = match(grammar, stack, "no description old text");
  ASSERT_TRUE(with_text);
  EXPECT_TRUE(with_text->negated);
  EXPECT_EQ(with_text->tokens, (Tokens{GetParam().name, string_token(5, "old text")}));
}

TEST_P(ClassMapMode, RefusesAnEmptyOrOverlongDescription) {
  const auto none = match(grammar, stack, "description");
  ASSERT_FALSE(none);
  EXPECT_EQ(describe(none.error()), "incomplete command; expected: TEXT");
  EXPECT_TRUE(match(grammar, stack, "description " + std::string(240, 'x')));
  const auto longer = match(grammar, stack, "description a " + std::string(239, 'x'));
  ASSERT_FALSE(longer);
  EXPECT_EQ(longer.error().column, 12U);
  EXPECT_EQ(describe(longer.error()), "TEXT is too long: at most 240 characters");
}

TEST_P(ClassMapMode, ACommandOfTheTopModeLeavesIt) {
  const auto other = match(grammar, stack, "class-map b");
  ASSERT_TRUE(other);
  EXPECT_EQ(other->level, 0U);
  EXPECT_EQ(other->carried_count, 0U);
  EXPECT_EQ(other->tokens, Tokens{string_token(8, "b")});
  ASSERT_TRUE(other->opens);
  EXPECT_EQ(other->opens->carried, Tokens{string_token(8, "b")});
  const auto deleted = match(grammar, stack, "no class-map b");
  ASSERT_TRUE(deleted);
  EXPECT_EQ(deleted->level, 0U);
  EXPECT_TRUE(deleted->negated);
  EXPECT_FALSE(deleted->opens);
}

INSTANTIATE_TEST_SUITE_P(
    Types, ClassMapMode,
    ::testing::Values(
        OpenMode{"class-map match-any web", "class-map-l3", string_token(8, "web")},
        OpenMode{"class-map type management web", "class-map-management", string_token(183, "web")},
        OpenMode{"class-map type http-load-balancing web", "class-map-http-lb", string_token(18, "web")},
        OpenMode{"class-map type http-inspection match-all web", "class-map-http-inspection", string_token(103, "web")},
        OpenMode{"class-map type ftp-inspection web", "class-map-ftp-inspection", string_token(173, "web")}));

}  // namespace
}  // namespace kvel::shell::class_map_grammar_test
