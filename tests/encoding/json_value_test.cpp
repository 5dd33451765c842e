// JSON as it is read: what is accepted, and what each value reports of itself.
#include "encoding/json_value.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvel::encoding::testing::json_value_test {
namespace {

using namespace std::string_literals;

JsonDocument read(std::string_view text) { return JsonDocument::parse(text, 16).value(); }

std::optional<JsonFault> fault_of(std::string_view text, std::size_t max_depth = 16) {
  const auto document = JsonDocument::parse(text, max_depth);
  if (document) return std::nullopt;
  return document.error();
}

TEST(JsonReading, RefusesWhatIsNoJson) {
  for (const auto& text : {""s, "{"s, "x"s, "[1,]"s, "{} {}"s, "\"\xff\""s, "\"\xc0\x80\""s, "01"s, "'a'"s, "// a"s})
    EXPECT_EQ(fault_of(text), JsonFault::malformed) << text;
  for (const auto& text : {"{}"s, " [ ] "s, "1"s, "null"s, "\"a\""s})
    EXPECT_EQ(fault_of(text), std::nullopt) << text;
}

TEST(JsonReading, BoundsTheDepth) {
  EXPECT_EQ(fault_of("[[{}]]", 3), std::nullopt);
  EXPECT_EQ(fault_of("[[{}]]", 2), JsonFault::nested_too_deep);
  EXPECT_EQ(fault_of("[[],[],[],{}]", 2), std::nullopt);
  EXPECT_EQ(fault_of(R"(["[[[[", "\"[[[[", "\\"])", 1), std::nullopt);
  EXPECT_EQ(fault_of(R"(["\\", [[]]])", 2), JsonFault::nested_too_deep);
  EXPECT_EQ(fault_of("]]]]", 1), JsonFault::malformed);
  EXPECT_EQ(fault_of(std::string(100000, '['), 16), JsonFault::nested_too_deep);
}

TEST(JsonReading, Numbers) {
  EXPECT_EQ(read("0").root().number(), 0U);
  EXPECT_EQ(read("18446744073709551615").root().number(), 18446744073709551615U);
  for (const char* text : {"-1", "-0", "1.0", "1e0", "18446744073709551616", "\"1\"", "true", "null", "[1]"})
    EXPECT_EQ(read(text).root().number(), std::nullopt) << text;
}

TEST(JsonReading, ComparesNumbersByTheirValue) {
  for (const char* text : {"3", "3.0", "3e0"})
    EXPECT_TRUE(read(text).root().is_same_number(3)) << text;
  for (const char* text : {"4", "-3", "3.5", "\"3\"", "true", "null"})
    EXPECT_FALSE(read(text).root().is_same_number(3)) << text;
  EXPECT_TRUE(read("-0").root().is_same_number(0));
  EXPECT_FALSE(read("null").root().is_same_number(0));
}

TEST(JsonReading, FlagsAndTexts) {
  EXPECT_EQ(read("true").root().flag(), true);
  EXPECT_EQ(read("false").root().flag(), false);
  EXPECT_EQ(read("0").root().flag(), std::nullopt);
  const JsonDocument text = read(R"("a\u0000\u00e4")");
  ASSERT_NE(text.root().text(), nullptr);
  EXPECT_EQ(*text.root().text(), "a\0\xc3\xa4"s);
  EXPECT_EQ(text.root().flag(), std::nullopt);
  EXPECT_EQ(read("[]").root().text(), nullptr);
}

TEST(JsonReading, Members) {
  const JsonDocument document = read(R"({"b":1,"a":[2,"x"],"c":null,"b":3})");
  const JsonValue root = document.root();
  EXPECT_TRUE(root.is_object());
  EXPECT_FALSE(root.is_array());
  EXPECT_TRUE(root.elements().empty());
  std::string listed;
  for (const auto& [name, value] : root.members())
    listed += std::string(name) + '=' + value.dump() + ' ';
  EXPECT_EQ(listed, R"(a=[2,"x"] b=3 c=null )");
  EXPECT_EQ(root.find("b").value().number(), 3U);
  EXPECT_TRUE(root.find("c").has_value());
  EXPECT_FALSE(root.find("d").has_value());
  EXPECT_FALSE(root.find("a").value().find("b").has_value());
}

TEST(JsonReading, Elements) {
  const JsonDocument document = read(R"([1,{"a":true},[]])");
  EXPECT_TRUE(document.root().is_array());
  EXPECT_FALSE(document.root().is_object());
  EXPECT_TRUE(document.root().members().empty());
  const std::vector<JsonValue> elements = document.root().elements();
  ASSERT_EQ(elements.size(), 3U);
  EXPECT_EQ(elements[0].number(), 1U);
  EXPECT_EQ(elements[1].find("a").value().flag(), true);
  EXPECT_TRUE(elements[2].is_array());
  EXPECT_TRUE(read("3").root().elements().empty());
}

TEST(JsonReading, ViewsOutliveAllCopiesButOne) {
  std::optional<JsonDocument> document = read(R"(["a"])");
  const JsonDocument copy = *document;
  const JsonValue first = document->root().elements().front();
  document.reset();
  EXPECT_EQ(*first.text(), "a");
}

TEST(JsonReading, NothingIsNull) {
  EXPECT_EQ(JsonValue().dump(), "null");
  EXPECT_FALSE(JsonValue().is_object());
  EXPECT_EQ(JsonValue().text(), nullptr);
}

}  // namespace
}  // namespace kvel::encoding::testing::json_value_test
