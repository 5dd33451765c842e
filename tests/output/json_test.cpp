// JSON: literal documents, and what a parser reads from them.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace kvel::output::testing::json_test {
namespace {

TEST(Json, EmptyDocument) {
  EXPECT_EQ(json([] {}), "{}\n");
  EXPECT_EQ(json([] { xprint("\n"); }), "{}\n");
  EXPECT_EQ(json([] {
              xprint_header("r");
              xprint_footer("r");
            }),
            "{\n  \"r\": {}\n}\n");
}

TEST(Json, StatisticsPage) {
  EXPECT_EQ(json([] {
              char tags[2 * 64];
              xprint_header("service_policy");
              xprint("\n");
              xprint("Status     : ACTIVE\n");
              xprint("  service-policy: <%s>\n", "sp_name", "web");
              for (unsigned record = 0; record < 2; ++record) {
                xprint_header("sp_action");
                xprint("        curr conns       : <%-10u>, hit count        : <%-10u>\n",
                       xmltag(tags, 2, "sp_curr_conns", "sp_hit_count"), record, 6U);
                xprint_footer("sp_action");
              }
              xprint("-----------------------------------------\n");
              xprint_header("sp_security_acl");
              xprint_footer("sp_security_acl");
              xprint_footer("service_policy");
            }),
            "{\n"
            "  \"service_policy\": {\n"
            "    \"text\": [\n"
            "      \"Status     : ACTIVE\",\n"
            "      \"-----------------------------------------\"\n"
            "    ],\n"
            "    \"sp_name\": \"web\",\n"
            "    \"sp_action\": [\n"
            "      {\n"
            "        \"sp_curr_conns\": 0,\n"
            "        \"sp_hit_count\": 6\n"
            "      },\n"
            "      {\n"
            "        \"sp_curr_conns\": 1,\n"
            "        \"sp_hit_count\": 6\n"
            "      }\n"
            "    ],\n"
            "    \"sp_security_acl\": {}\n"
            "  }\n"
            "}\n");
}

TEST(Json, RepeatedNamesAreWrittenAsArraysWhateverTheyHold) {
  EXPECT_EQ(json([] {
              xprint_header("r");
              xprint("<%d>\n", "a", 1);
              xprint("<%s>\n", "b", "x");
              xprint("<%s>\n", "a", "2");
              xprint_header("a");
              xprint("<%d>\n", "a", 3);
              xprint_footer("a");
              xprint("plain\n");
              xprint("<%s>\n", "text", "tagged");
            }),
            "{\n"
            "  \"r\": {\n"
            "    \"a\": [\n"
            "      1,\n"
            "      \"2\",\n"
            "      {\n"
            "        \"a\": 3\n"
            "      }\n"
            "    ],\n"
            "    \"b\": \"x\",\n"
            "    \"text\": [\n"
            "      \"plain\",\n"
            "      \"tagged\"\n"
            "    ]\n"
            "  }\n"
            "}\n");
}

TEST(Json, ImplicitRootAndOutputAfterTheRoot) {
  EXPECT_EQ(json([] { xprint("hello\n"); }), "{\n  \"output\": {\n    \"text\": \"hello\"\n  }\n}\n");
  EXPECT_EQ(json([] {
              xprint_header("r");
              xprint_footer("r");
              xprint("<%d>\n", "v", 1);
            }),
            "{\n  \"r\": {\n    \"v\": 1\n  }\n}\n");
}

// The JSON text of one value.
template <class... Values>
std::string member(const char* format, Values... values) {
  const std::string bytes = json([&] { xprint(format, "v", values...); });
  const std::string before = "{\n  \"output\": {\n    \"v\": ";
  const std::string after = "\n  }\n}\n";
  EXPECT_TRUE(bytes.starts_with(before) && bytes.ends_with(after)) << bytes;
  return bytes.substr(before.size(), bytes.size() - before.size() - after.size());
}

TEST(Json, IntegersAreExactNumbers) {
  EXPECT_EQ(member("<%d>", -5), "-5");
  EXPECT_EQ(member("<%i>", INT_MIN), "-2147483648");
  EXPECT_EQ(member("<%-10u>", 5U), "5");
  EXPECT_EQ(member("<%-20llu>", 18446744073709551615ULL), "18446744073709551615");
  EXPECT_EQ(member("<%lld>", LLONG_MIN), "-9223372036854775808");
  EXPECT_EQ(member("<%ld>", 9007199254740993L), "9007199254740993");
  EXPECT_EQ(member("<%hhu>", 0x1FF), "255");
  EXPECT_EQ(member("<%zu>", std::size_t{7}), "7");
  EXPECT_EQ(member("<%+d>", 5), "5");
  EXPECT_EQ(member("<%05d>", 5), "5");
  EXPECT_EQ(member("<%.4d>", 5), "5");
  EXPECT_EQ(member("<%.0d>", 0), "0");
}

TEST(Json, IntegersInOtherBasesAreDecimalNumbers) {
  EXPECT_EQ(member("<%x>", 255U), "255");
  EXPECT_EQ(member("<%#X>", 255U), "255");
  EXPECT_EQ(member("<%o>", 8U), "8");
}

TEST(Json, FiniteFloatsAreNumbers) {
  EXPECT_EQ(member("<%f>", 1.5), "1.500000");
  EXPECT_EQ(member("<%8.2f>", -3.14159), "-3.14");
  EXPECT_EQ(member("<%e>", 12345.678), "1.234568e+04");
  EXPECT_EQ(member("<%g>", 1e-10), "1e-10");
  EXPECT_EQ(member("<%Lf>", 2.5L), "2.500000");
  EXPECT_EQ(member("<%.0f>", 2.0), "2");
  EXPECT_EQ(member("<%+.1f>", 1.5), "1.5");  // JSON knows no plus sign
  EXPECT_EQ(member("<%#.0f>", 2.0), "2");    // nor a point without digits
  EXPECT_EQ(member("<%a>", 0.5), "0.5");     // nor hexadecimal
}

TEST(Json, FloatsThatNoReaderHoldsAreStrings) {
  EXPECT_EQ(member("<%f>", std::nan("")), "\"nan\"");
  EXPECT_EQ(member("<%f>", -HUGE_VAL), "\"-inf\"");
  EXPECT_EQ(member("<%.0Le>", 1e4000L), "\"1e+4000\"");
}

TEST(Json, EverythingElseIsAString) {
  EXPECT_EQ(member("<%s>", "42"), "\"42\"");
  EXPECT_EQ(member("<%s>", "true"), "\"true\"");
  EXPECT_EQ(member("<%s>", ""), "\"\"");
  EXPECT_EQ(member("<%s>", static_cast<const char*>(nullptr)), "\"(null)\"");
  EXPECT_EQ(member("<%c>", '7'), "\"7\"");
  EXPECT_EQ(member("<%p>", reinterpret_cast<void*>(0xABC)), "\"0xabc\"");
  EXPECT_EQ(json([] { xprint("%d\n", 42); }), "{\n  \"output\": {\n    \"text\": \"42\"\n  }\n}\n");
}

TEST(Json, Escapes) {
  EXPECT_EQ(member("<%s>", "a\"b\\c/<&>'"), "\"a\\\"b\\\\c/<&>'\"");
  EXPECT_EQ(member("<%s>", "t\tn\nr\r"), "\"t\\tn\\nr\\r\"");
  EXPECT_EQ(member("<%s>", "\x01\x08\x0C\x1F"), "\"\uFFFD\uFFFD\uFFFD\uFFFD\"");
  EXPECT_EQ(member("<%c>", '\0'), "\"\uFFFD\"");
  EXPECT_EQ(member("<%s>", "\xFF\xC3 \xED\xA0\x80 \xEF\xBF\xBF \u20AC"),
            "\"\uFFFD\uFFFD \uFFFD\uFFFD\uFFFD \uFFFD \u20AC\"");
}

TEST(Json, LargeValues) {
  const std::string mega(1 << 20, '"');
  const nlohmann::json document = nlohmann::json::parse(json([&] { xprint("<%s>\n", "v", mega.c_str()); }));
  EXPECT_EQ(document["output"]["v"].get<std::string>(), mega);
}

TEST(Json, NestsTwoHundredDeep) {
  const std::string bytes = json([] {
    for (int count = 0; count < 1000; ++count)
      xprint_header("level");
    xprint("<%d>\n", "deep", 1);
  });
  nlohmann::json document = nlohmann::json::parse(bytes);
  const nlohmann::json* object = &document;
  int depth = 0;
  while (object->contains("level")) {
    object = &(*object)["level"];
    ++depth;
  }
  EXPECT_EQ(depth, 200);
  EXPECT_EQ((*object)["deep"], 1);
}

}  // namespace
}  // namespace kvel::output::testing::json_test
