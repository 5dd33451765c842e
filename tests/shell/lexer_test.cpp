// Words, quotes, comments and the refusals of the lexer.
#include "shell/matcher/lexer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kvel::shell {

static void PrintTo(const Word& word, std::ostream* out) {
  *out << "{\"" << word.text << "\", " << word.column << ", " << (word.quoted ? "quoted" : "plain") << "}";
}
static bool operator==(const Word& a, const Word& b) {
  return a.text == b.text && a.column == b.column && a.quoted == b.quoted;
}

namespace lexer_test {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

void expect_error(std::string_view line, LexErrorKind kind, std::size_t column) {
  const LexedLine lexed = lex(line);
  ASSERT_TRUE(lexed.error) << line;
  EXPECT_EQ(lexed.error->kind, kind) << line;
  EXPECT_EQ(lexed.error->column, column) << line;
}

TEST(Lexer, SplitsAtBlanksAndTabs) {
  const LexedLine lexed = lex(" class-map\t match-any  web");
  EXPECT_THAT(lexed.words,
              ElementsAre(Word{"class-map", 1, false}, Word{"match-any", 12, false}, Word{"web", 23, false}));
  EXPECT_FALSE(lexed.error);
  EXPECT_FALSE(lexed.ends_in_blank);
  EXPECT_FALSE(lexed.blank());
}

TEST(Lexer, QuotedWords) {
  EXPECT_THAT(lex(R"(a "b c" "")").words, ElementsAre(Word{"a", 0, false}, Word{"b c", 2, true}, Word{"", 8, true}));
  EXPECT_THAT(lex(R"("\"" "\\" "\n" "x\\\"y")").words,
              ElementsAre(Word{"\"", 0, true}, Word{"\\", 5, true}, Word{"\\n", 10, true}, Word{"x\\\"y", 15, true}));
  EXPECT_THAT(lex("\"a\tb\"").words, ElementsAre(Word{"a\tb", 0, true})) << "a tab in quotes is kept";
}

TEST(Lexer, AQuoteInsideAWordIsOrdinary) {
  EXPECT_THAT(lex(R"(5" a"b c" \" x)").words,
              ElementsAre(Word{"5\"", 0, false}, Word{"a\"b", 3, false}, Word{"c\"", 7, false}, Word{"\\\"", 10, false},
                          Word{"x", 13, false}));
}

TEST(Lexer, WordsSurviveAMove) {
  LexedLine lexed = lex(R"(name "a\"b" "c\\d")");
  const LexedLine moved = std::move(lexed);
  EXPECT_THAT(moved.words, ElementsAre(Word{"name", 0, false}, Word{"a\"b", 5, true}, Word{"c\\d", 12, true}));
}

TEST(Lexer, CommentsAndBlankLines) {
  for (const char* line : {"! a \"b", "# a", "  \t!x", "#", "!"}) {
    const LexedLine lexed = lex(line);
    EXPECT_TRUE(lexed.comment) << line;
    EXPECT_TRUE(lexed.blank()) << line;
    EXPECT_FALSE(lexed.error) << line;
  }
  for (const char* line : {"", " ", "\t ", "\r\n", "\n", "\r"}) {
    EXPECT_FALSE(lex(line).comment);
    EXPECT_TRUE(lex(line).blank());
    EXPECT_TRUE(lex(line).ends_in_blank);
  }
  EXPECT_THAT(lex("a !b #c").words, SizeIs(3)) << "only at the begin of the line";
}

TEST(Lexer, ToleratesLineEnds) {
  for (const char* line : {"exit\n", "exit\r", "exit\r\n"}) {
    EXPECT_THAT(lex(line).words, ElementsAre(Word{"exit", 0, false}));
    EXPECT_EQ(lex(line).line, "exit");
  }
  expect_error("exit\r\r\n", LexErrorKind::control_character, 4);
  expect_error("ex\nit", LexErrorKind::control_character, 2);
}

TEST(Lexer, KnowsWhetherABlankEndsTheLine) {
  EXPECT_TRUE(lex("a ").ends_in_blank);
  EXPECT_TRUE(lex("a\t").ends_in_blank);
  EXPECT_FALSE(lex("\"a \"").ends_in_blank);
  EXPECT_FALSE(lex("\"a ").ends_in_blank);
}

TEST(Lexer, RefusesControlCharacters) {
  for (const char control : {'\x01', '\x07', '\x08', '\x0B', '\x1B', '\x1F', '\x7F'}) {
    expect_error("exit "s + control, LexErrorKind::control_character, 5);
    expect_error("class-map \"a"s + control + "\"", LexErrorKind::control_character, 12);
  }
  expect_error("a\0b"s, LexErrorKind::control_character, 1);
  expect_error("a \xC2\x9B", LexErrorKind::control_character, 2);  // U+009B, a terminal's escape introducer
  EXPECT_FALSE(lex("a \xC2\xA0").error);                           // U+00A0
}

TEST(Lexer, RefusesInvalidUtf8) {
  const std::vector<std::string> invalid{"\x80",
                                         "\xBF",  // continuation without lead
                                         "\xC3",
                                         "\xE6\x97",
                                         "\xF0\x9F\x98",  // cut short
                                         "\xC3(",
                                         "\xE6\x97(",  // broken off
                                         "\xC0\x80",
                                         "\xC1\xBF",
                                         "\xE0\x9F\xBF",
                                         "\xF0\x8F\xBF\xBF",  // overlong
                                         "\xED\xA0\x80",
                                         "\xED\xBF\xBF",  // surrogates
                                         "\xF4\x90\x80\x80",
                                         "\xF5\x80\x80\x80",
                                         "\xFF",
                                         "\xFE"};  // beyond U+10FFFF
  for (const std::string& bytes : invalid)
    expect_error("ab " + bytes, LexErrorKind::invalid_utf8, 3);
  for (const char* valid :
       {"\xC2\xA1", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_FALSE(lex(valid).error) << valid;
  }
}

TEST(Lexer, RefusesOpenQuotes) {
  expect_error("class-map \"web", LexErrorKind::unclosed_quote, 10);
  expect_error("class-map \"", LexErrorKind::unclosed_quote, 10);
  expect_error("a \"b\\\"", LexErrorKind::unclosed_quote, 2);
  const LexedLine lexed = lex("a b \"c\\\" d");
  EXPECT_THAT(lexed.words, ElementsAre(Word{"a", 0, false}, Word{"b", 2, false}));
  ASSERT_TRUE(lexed.unfinished);
  EXPECT_EQ(*lexed.unfinished, (Word{"c\" d", 4, true}));
  EXPECT_FALSE(lexed.blank());
}

TEST(Lexer, RefusesTextDirectlyAfterAQuote) {
  expect_error("a \"b\"c", LexErrorKind::text_after_quote, 5);
  expect_error("\"b\"\"c\"", LexErrorKind::text_after_quote, 3);
}

TEST(Lexer, BoundsWordsAndBytes) {
  std::string line;
  for (int i = 0; i < 255; ++i)
    line += "w ";
  EXPECT_THAT(lex(line).words, SizeIs(255));
  EXPECT_FALSE(lex(line).error);
  expect_error(line + "x", LexErrorKind::too_many_words, 510);
  for (int i = 0; i < 45; ++i)
    line += "w ";
  expect_error(line, LexErrorKind::too_many_words, 510);
  EXPECT_THAT(lex(line).words, IsEmpty());

  const std::string longest(65536, 'x');
  EXPECT_THAT(lex(longest).words, SizeIs(1));
  EXPECT_THAT(lex(longest + "\r\n").words, SizeIs(1));
  expect_error(longest + "x", LexErrorKind::line_too_long, 65536);
}

TEST(Lexer, AJsonObjectIsOneWord) {
  EXPECT_THAT(lex(R"(a {"b": "c | d" , "e": [1, {}]} | f)").words,
              ElementsAre(Word{"a", 0, false}, Word{R"({"b": "c | d" , "e": [1, {}]})", 2, false}, Word{"|", 32, false},
                          Word{"f", 34, false}));
  EXPECT_THAT(lex(R"({ "}\" {" : 1 })").words, ElementsAre(Word{R"({ "}\" {" : 1 })", 0, false}));
  EXPECT_FALSE(lex(R"(a { "b": 1 })").error);
}

TEST(Lexer, OtherBracesAreOrdinaryCharacters) {
  EXPECT_THAT(lex("{ a }").words, SizeIs(3));
  EXPECT_THAT(lex("{}").words, ElementsAre(Word{"{}", 0, false}));
  EXPECT_THAT(lex("{").words, ElementsAre(Word{"{", 0, false}));
  EXPECT_THAT(lex("x{2} {3 4}").words, SizeIs(3));
  EXPECT_THAT(lex(R"(a{"b c"})").words, SizeIs(2)) << "not at the begin of the word";
  EXPECT_THAT(lex(R"({"b c":1}d e)").words, SizeIs(3)) << "something directly after it";
  EXPECT_THAT(lex(R"({"b c":1 d)").words, SizeIs(3)) << "not closed";
  EXPECT_THAT(lex(R"({"b \" c":1})").words, SizeIs(1));
  EXPECT_THAT(lex("{\"b\\").words, SizeIs(1)) << "an escape at the end";
}

TEST(SplitCommands, SplitsAtSemicolonsOutsideQuotes) {
  EXPECT_THAT(split_commands("a; b"), ElementsAre("a", " b"));
  EXPECT_THAT(split_commands(""), ElementsAre(""));
  EXPECT_THAT(split_commands(";a;;"), ElementsAre("", "a", "", ""));
  EXPECT_THAT(split_commands(R"(description "a; b"; exit)"), ElementsAre(R"(description "a; b")", " exit"));
  EXPECT_THAT(split_commands(R"(x "a\"; b";"c;d";e)"), ElementsAre(R"(x "a\"; b")", "\"c;d\"", "e"));
  EXPECT_THAT(split_commands(R"(size 5"; exit)"), ElementsAre("size 5\"", " exit")) << "no quote inside a word";
  EXPECT_THAT(split_commands(R"(a "b; c)"), ElementsAre(R"(a "b; c)")) << "an open quote takes the rest";
}

TEST(SplitCommands, LeavesJsonObjectsWhole) {
  EXPECT_THAT(split_commands(R"(explain {"a": "b;c"};exit)"), ElementsAre(R"(explain {"a": "b;c"})", "exit"));
  EXPECT_THAT(split_commands(R"(a {;b})"), ElementsAre("a {", "b}"));
  EXPECT_THAT(split_commands(R"(a {"b;c)"), ElementsAre("a {\"b", "c"));
}

TEST(Quote, UndoesTheLexer) {
  EXPECT_EQ(quote("a b"), "\"a b\"");
  EXPECT_EQ(quote(R"(a"\)"), R"("a\"\\")");
  EXPECT_EQ(quote_if_needed("web"), "web");
  EXPECT_EQ(quote_if_needed("a\"b"), R"("a\"b")");
  EXPECT_EQ(quote_if_needed("a\\.b"), R"("a\\.b")");
  EXPECT_EQ(quote_if_needed("/items(/.*)?"), R"("/items(/.*)?")") << "at a prompt \"?\" asks for help";
  EXPECT_EQ(quote_if_needed("\"b"), R"("\"b")");
  EXPECT_EQ(quote_if_needed("a b"), "\"a b\"");
  EXPECT_EQ(quote_if_needed("a\tb"), "\"a\tb\"");
  EXPECT_EQ(quote_if_needed("{b"), "\"{b\"");
  EXPECT_EQ(quote_if_needed("b{"), "b{");
  EXPECT_EQ(quote_if_needed(""), "\"\"");
  for (const char* text : {"", " ", "\"", "\\", "\\\"", "a\\", "a \\\\ b", "\t"}) {
    EXPECT_THAT(lex(quote(text)).words, ElementsAre(Word{text, 0, true}));
  }
}

}  // namespace
}  // namespace lexer_test
}  // namespace kvel::shell
