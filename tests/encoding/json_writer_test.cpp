// JSON as it is written, byte for byte.
#include "encoding/json_writer.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace kvel::encoding::testing::json_writer_test {
namespace {

TEST(JsonText, EscapesWhatJsonWantsEscaped) {
  std::string out = "x";
  append_json_string(out, std::string("a\"b\\c\n\x01\x1f\0z\x7f/\xc3\xa9", 14));
  EXPECT_EQ(out, "x\"a\\\"b\\\\c\\u000a\\u0001\\u001f\\u0000z\x7f/\xc3\xa9\"");
  EXPECT_EQ(nlohmann::json::parse(out.substr(1)).get<std::string>(),
            std::string("a\"b\\c\n\x01\x1f\0z\x7f/\xc3\xa9", 14));
}

template <class Write>
std::string written(const Write& write) {
  std::string out = "before,";
  JsonWriter json(out);
  write(json);
  return out.substr(7);
}

TEST(JsonWriting, Scalars) {
  EXPECT_EQ(written([](JsonWriter& json) { json.text("a\"b"); }), R"("a\"b")");
  EXPECT_EQ(written([](JsonWriter& json) { json.text(""); }), R"("")");
  EXPECT_EQ(written([](JsonWriter& json) { json.number(0); }), "0");
  EXPECT_EQ(written([](JsonWriter& json) { json.number(std::numeric_limits<std::uint64_t>::max()); }),
            "18446744073709551615");
  EXPECT_EQ(written([](JsonWriter& json) { json.flag(true); }), "true");
  EXPECT_EQ(written([](JsonWriter& json) { json.flag(false); }), "false");
}

TEST(JsonWriting, Empty) {
  EXPECT_EQ(written([](JsonWriter& json) {
              json.begin_object();
              json.end_object();
            }),
            "{}");
  EXPECT_EQ(written([](JsonWriter& json) {
              json.begin_array();
              json.end_array();
            }),
            "[]");
}

TEST(JsonWriting, PutsCommasBetween) {
  EXPECT_EQ(written([](JsonWriter& json) {
              json.begin_object();
              json.text("text", "a");
              json.number("number", 1);
              json.flag("flag", false);
              json.begin_array("array");
              json.begin_object();
              json.end_object();
              json.begin_array();
              json.end_array();
              json.number(2);
              json.text("b");
              json.flag(true);
              json.begin_object();
              json.name("last");
              json.number(3);
              json.end_object();
              json.end_array();
              json.begin_object("object");
              json.begin_array("array");
              json.end_array();
              json.number("4", 4);
              json.end_object();
              json.flag("end", true);
              json.end_object();
            }),
            R"({"text":"a","number":1,"flag":false,"array":[{},[],2,"b",true,{"last":3}],)"
            R"("object":{"array":[],"4":4},"end":true})");
}

}  // namespace
}  // namespace kvel::encoding::testing::json_writer_test
