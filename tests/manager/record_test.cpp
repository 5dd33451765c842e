// Class-map records: what is written, and what is refused when read.
#include <gtest/gtest.h>

#include <string>

#include "manager/model/class_map_record.h"

namespace kvel::manager::testing::record_test {
namespace {

std::string body_of(const ClassMapSettings& settings) {
  std::string body;
  append_body(body, settings);
  return body;
}

std::string why_refused(const std::string& body) {
  const auto read = read_class_map(body);
  return read ? "accepted" : read.error();
}

TEST(ClassMapRecord, Bodies) {
  EXPECT_EQ(body_of({}), R"({"type":0,"match_all":true})");
  EXPECT_EQ(body_of({ClassMapType::ftp_inspection, MatchMode::any, "a \\ \"b\" /"}),
            R"({"type":4,"match_all":false,"description":"a \\ \"b\" /"})");
}

TEST(ClassMapRecord, ReadsWhatItWrites) {
  for (const ClassMapSettings& settings :
       {ClassMapSettings{}, ClassMapSettings{ClassMapType::management, MatchMode::any, ""},
        ClassMapSettings{ClassMapType::http_load_balancing, MatchMode::all, "\"\\/ caf\xc3\xa9 \xf0\x9f\x94\x92"},
        ClassMapSettings{ClassMapType::http_inspection, MatchMode::any, std::string(240, 'd')}}) {
    const auto read = read_class_map(body_of(settings));
    ASSERT_TRUE(read) << read.error();
    EXPECT_EQ(*read, settings);
  }
}

TEST(ClassMapRecord, RefusesWhatIsNoObject) {
  for (const char* body :
       {"", "{", "x", "[]", "null", "3", "\"a\"", R"({"type":0,"match_all":true}})", R"({"type":0,"match_all":true} x)",
        "{\"type\":0,\"match_all\":true,\"description\":\"\xff\"}"})
    EXPECT_EQ(why_refused(body), "its body is no JSON object") << body;
}

TEST(ClassMapRecord, RefusesValuesOutOfRange) {
  EXPECT_EQ(why_refused(R"({"type":5,"match_all":true})"), "its type 5 is none of 0 to 4");
  EXPECT_EQ(why_refused(R"({"type":-1,"match_all":true})"), "its type -1 is none of 0 to 4");
  EXPECT_EQ(why_refused(R"({"type":256,"match_all":true})"), "its type 256 is none of 0 to 4");
  EXPECT_EQ(why_refused(R"({"type":1.0,"match_all":true})"), "its type 1.0 is none of 0 to 4");
  EXPECT_EQ(why_refused(R"({"type":"0","match_all":true})"), "its type \"0\" is none of 0 to 4");
  EXPECT_EQ(why_refused(R"({"type":0,"match_all":1})"), "its match_all is neither true nor false");
  EXPECT_EQ(why_refused(R"({"type":0,"match_all":true,"description":null})"), "its description is no text");
  EXPECT_EQ(why_refused(R"({"type":0,"match_all":true,"description":")" + std::string(241, 'd') + "\"}"),
            "its description is too long or has control characters");
  EXPECT_EQ(why_refused(R"({"type":0,"match_all":true,"description":"\u0000"})"),
            "its description is too long or has control characters");
}

TEST(ClassMapRecord, RefusesUnknownMembers) {
  EXPECT_EQ(why_refused(R"({"type":0,"match_all":true,"colour":"red"})"), "it has an unknown member \"colour\"");
  EXPECT_EQ(why_refused(R"({"kind":"class-map","type":0,"match_all":true})"), "it has an unknown member \"kind\"");
}

TEST(ClassMapRecord, RefusesEveryOtherSpelling) {
  for (const char* body :
       {"{}", R"({"type":0})", R"({"match_all":true})", R"({"match_all":true,"type":0})",
        R"({"type":0, "match_all":true})", R"({"type":1,"type":0,"match_all":true})",
        R"({"type":0,"match_all":true,"description":""})", R"({"type":0,"match_all":true,"description":"\u0061"})",
        "{\"type\":0,\"match_all\":true}\n"})
    EXPECT_EQ(why_refused(body), "its body is not in the form that this system writes") << body;
}

}  // namespace
}  // namespace kvel::manager::testing::record_test
