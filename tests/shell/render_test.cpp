// From tokens back to lines, with just the quotes that are needed.
#include "shell/matcher/render.h"

#include <gtest/gtest.h>

#include "tests/shell/matching.h"

namespace kvel::shell::render_test {
namespace {

using test::number_token;
using test::string_token;
using test::Tokens;
using test::word_token;

class Rendering : public ::testing::Test {
 protected:
  void renders(std::string_view mode, std::string_view handler, bool negated, const Tokens& tokens,
               const std::string& line) {
    const auto rendered = render(grammar, grammar.find_mode(mode).value(), handler, negated, tokens);
    ASSERT_TRUE(rendered) << line;
    EXPECT_EQ(*rendered, line);
  }
  void refuses(std::string_view mode, std::string_view handler, bool negated, const Tokens& tokens, RenderError error) {
    const auto rendered = render(grammar, grammar.find_mode(mode).value(), handler, negated, tokens);
    ASSERT_FALSE(rendered) << *rendered;
    EXPECT_EQ(rendered.error(), error);
  }
  const Grammar& grammar = shell_grammar();
};

TEST_F(Rendering, ClassMaps) {
  const char* const handler = "kvelclassmap_config";
  renders("config", handler, false, {string_token(8, "web")}, "class-map web");
  renders("config", handler, false, {word_token(9), string_token(8, "web")}, "class-map match-any web");
  renders("config", handler, false, {word_token(10), string_token(8, "web")}, "class-map match-all web");
  renders("config", handler, true, {string_token(8, "web")}, "no class-map web");
  renders("config", handler, false, {word_token(182), word_token(195), string_token(183, "m")},
          "class-map type management match-all m");
  renders("config", handler, false, {word_token(15), word_token(17), string_token(18, "lb")},
          "class-map type http-load-balancing match-any lb");
  renders("config", handler, false, {word_token(102), string_token(103, "h")}, "class-map type http-inspection h");
  renders("config", handler, true, {word_token(172), word_token(178), string_token(173, "f")},
          "no class-map type ftp-inspection match-any f");
}

TEST_F(Rendering, Descriptions) {
  for (const char* mode : {"class-map-l3", "class-map-management", "class-map-http-lb", "class-map-http-inspection",
                           "class-map-ftp-inspection"}) {
    renders(mode, "kvelclassmap_config_desc", false, {string_token(5, "the shop's  \"web\"")},
            "description the shop's  \"web\"");
    renders(mode, "kvelclassmap_config_desc", true, {}, "no description");
  }
  const auto renders_text = [&](const std::string& text, const std::string& line) {
    renders("class-map-l3", "kvelclassmap_config_desc", false, {string_token(5, text)}, line);
  };
  renders_text(" a", R"(description " a")");
  renders_text("a\t", "description \"a\t\"");
  renders_text("\"a\"", R"(description "\"a\"")");
  renders_text("a \"b", R"(description a "b)");
  renders_text("a\\", R"(description a\)");
  renders_text("is it?", "description is it?");
  renders_text("what is ?", R"(description "what is ?")");
  renders_text("?", R"(description "?")");
  renders_text("a\tb", "description \"a\tb\"");
  renders_text("exit", "description exit");
  renders_text("# ! ; |", "description # ! ; |");
  renders_text("\"", R"(description "\"")");
}

TEST_F(Rendering, QuotesNamesWhereNeeded) {
  const auto renders_name = [&](const std::string& name, const std::string& line) {
    renders("config", "kvelclassmap_config", false, {string_token(8, name)}, line);
  };
  renders_name("a b", R"(class-map "a b")");
  renders_name("\"", R"(class-map "\"")");
  renders_name("a\"b\\", R"(class-map "a\"b\\")");
  renders_name("a?b", R"(class-map "a?b")");
  renders_name("a b\\", R"(class-map "a b\\")");
  renders_name("match-any", R"(class-map "match-any")");
  renders_name("type", R"(class-map "type")");
  renders_name("t", "class-map t");
  renders_name("#x", "class-map #x");
  renders_name("b\xC3\xBCro", "class-map b\xC3\xBCro");
  renders("config", "kvelclassmap_config", false, {word_token(9), string_token(8, "match-any")},
          "class-map match-any match-any");
}

TEST_F(Rendering, OwnCommands) {
  renders("config", "show running-config", false, {}, "show running-config");
  renders("class-map-l3", "exit", false, {}, "exit");
  renders("config", "history", false, {}, "history");
}

TEST_F(Rendering, RefusesWhatNoCommandYields) {
  refuses("config", "nothing", false, {}, RenderError::unknown_action);
  refuses("config", "kvelclassmap_config_desc", false, {string_token(5, "x")}, RenderError::unknown_action);
  refuses("config", "exit", true, {}, RenderError::unknown_action);
  const char* const handler = "kvelclassmap_config";
  refuses("config", handler, false, {}, RenderError::no_command);
  refuses("config", handler, false, {string_token(8, "")}, RenderError::no_command);
  refuses("config", handler, false, {string_token(8, std::string(65, 'x'))}, RenderError::no_command);
  refuses("config", handler, false, {word_token(8)}, RenderError::no_command);
  refuses("config", handler, false, {number_token(8, 1)}, RenderError::no_command);
  refuses("config", handler, false, {string_token(8, "a"), word_token(9)}, RenderError::no_command);
  refuses("config", handler, false, {string_token(8, "a"), string_token(8, "b")}, RenderError::no_command);
  refuses("config", handler, false, {word_token(16), string_token(8, "a")}, RenderError::no_command);
  refuses("config", handler, false, {string_token(9, "x"), string_token(8, "a")}, RenderError::no_command);
}

TEST_F(Rendering, RefusesWhatNoLineCanHold) {
  for (const char* value : {"a\x01", "a\nb", "\x7F", "\xFF", "\xC3"}) {
    refuses("config", "kvelclassmap_config", false, {string_token(8, value)}, RenderError::no_line);
    refuses("class-map-l3", "kvelclassmap_config_desc", false, {string_token(5, value)}, RenderError::no_line);
  }
  refuses("config", "kvelclassmap_config", false, {string_token(8, std::string("a\0b", 3))}, RenderError::no_line);
}

TEST(RenderingSamples, EveryKindOfParameter) {
  const Grammar& grammar = test::sample_grammar();
  const auto line = [&](ModeId mode, const char* handler, bool negated, const Tokens& tokens) {
    return render(grammar, mode, handler, negated, tokens).value_or("none");
  };
  EXPECT_EQ(line(0, "h_port", true, {number_token(20, 80)}), "no port 80");
  EXPECT_EQ(line(0, "h_port", false, {number_token(20, 0)}), "none");
  EXPECT_EQ(line(0, "h_port", false, {number_token(20, 65536)}), "none");
  EXPECT_EQ(
      line(0, "h_route", false, {number_token(31, 0x0A000001), number_token(32, 0xFFFFFF00), number_token(33, 7)}),
      "route 10.0.0.1 255.255.255.0 metric 7");
  EXPECT_EQ(line(0, "h_route", false, {number_token(31, 0xFFFFFFFF)}), "route 255.255.255.255");
  EXPECT_EQ(line(0, "h_route", false, {number_token(32, 1), number_token(31, 1)}), "none");
  EXPECT_EQ(line(0, "h_colour", false, {word_token(42), word_token(44)}), "colour green bright");
  EXPECT_EQ(line(0, "h_level", false, {string_token(52, "7")}), "level \"7\"");
  EXPECT_EQ(line(0, "h_level", false, {string_token(52, "max")}), "level \"max\"");
  EXPECT_EQ(line(0, "h_level", false, {string_token(52, "12")}), "level 12");
  EXPECT_EQ(line(1, "h_line", true, {number_token(80, 4294967295U)}), "no 4294967295");
  EXPECT_EQ(line(1, "h_line", false, {number_token(80, 1)}), "none");
  EXPECT_EQ(line(1, "h_member", false, {string_token(70, "before"), string_token(71, "a b")}),
            "member before before \"a b\"");
}

TEST(RenderingSamples, LeavesOutOptionalWordsWithoutTokens) {
  using namespace pattern;
  GrammarBuilder g;
  g.mode("top", "top");
  g.command("top", sequence(optional(word("please", "Please")), word("go", "Go"),
                            choice(word("left", "Left"), word("right", "Right")), name("N", "Name", 1)))
      .calls("h");
  // A parameter as the first word that would be taken for a comment, or for another command.
  g.command("top", name("FIRST", "First", 2)).calls("i");
  const Grammar grammar(g);
  EXPECT_EQ(*render(grammar, 0, "h", false, Tokens{string_token(1, "x")}), "please go left x");
  EXPECT_EQ(*render(grammar, 0, "i", false, Tokens{string_token(2, "#x")}), "\"#x\"");
  EXPECT_EQ(*render(grammar, 0, "i", false, Tokens{string_token(2, "!")}), "\"!\"");
  EXPECT_EQ(*render(grammar, 0, "i", false, Tokens{string_token(2, "go")}), "\"go\"");
  EXPECT_EQ(*render(grammar, 0, "i", false, Tokens{string_token(2, "x")}), "x");
}

}  // namespace
}  // namespace kvel::shell::render_test
