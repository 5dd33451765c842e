// Rules for texts, kinds of rules and of objects.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "manager/model/match_rule.h"
#include "manager/model/object_kind.h"
#include "manager/model/text.h"

namespace kvel::manager::testing::model_test {
namespace {

using namespace std::string_literals;

TEST(Names, LengthCountsBytes) {
  EXPECT_TRUE(is_object_name("a"));
  EXPECT_TRUE(is_object_name(std::string(64, 'a')));
  EXPECT_FALSE(is_object_name(std::string(65, 'a')));
  EXPECT_FALSE(is_object_name(""));
  std::string umlauts;
  for (int index = 0; index < 32; ++index)
    umlauts += "\xc3\xa4";
  EXPECT_TRUE(is_object_name(umlauts));
  EXPECT_FALSE(is_object_name(umlauts + "a"));
}

TEST(Names, OnlyClassMapsReserveClassDefault) {
  EXPECT_TRUE(is_object_name("class-default"));
  EXPECT_FALSE(is_class_map_name("class-default"));
  EXPECT_TRUE(is_class_map_name("class-default "));
  EXPECT_FALSE(is_object_name("#x"));
  EXPECT_TRUE(is_object_name("x#"));
}

TEST(Descriptions, MayBeEmptyAnd240BytesLong) {
  EXPECT_TRUE(is_description(""));
  EXPECT_TRUE(is_description(std::string(240, 'd')));
  EXPECT_FALSE(is_description(std::string(241, 'd')));
}

TEST(Kinds, AreAssignedWhole) {
  const MatchRule url = UrlRule{"an expression that no string holds in place"};
  const MatchRule header = HeaderRule{"Host", "a value that no string holds in place"};
  MatchRule rule = url;
  rule = header;  // of another kind
  EXPECT_EQ(std::get<HeaderRule>(rule).name, "Host");
  EXPECT_EQ(rule, header);
  rule = HeaderRule{"Host", "another"};
  EXPECT_EQ(std::get<HeaderRule>(rule).value, "another");
  MatchRule moved;
  moved = std::move(rule);
  EXPECT_EQ(std::get<HeaderRule>(moved).value, "another");
  const MatchRule& same = moved;
  moved = same;
  EXPECT_EQ(std::get<HeaderRule>(moved).value, "another");
  EXPECT_EQ(std::get<UrlRule>(url).expression, "an expression that no string holds in place");
}

TEST(ObjectKinds, NumbersNamesAndRanks) {
  EXPECT_EQ(object_kind(4), ObjectKind::policy_map);
  EXPECT_EQ(object_kind(5), ObjectKind::class_map);
  EXPECT_EQ(object_kind(6), ObjectKind::ssl_proxy);
  EXPECT_EQ(object_kind(7), ObjectKind::parameter_map);
  for (const std::uint32_t number : {0U, 3U, 8U, 256U + 5U})
    EXPECT_EQ(object_kind(number), std::nullopt);
  EXPECT_EQ(canonical_rank(ObjectKind::parameter_map), 1);
  EXPECT_EQ(canonical_rank(ObjectKind::ssl_proxy), 2);
  EXPECT_EQ(canonical_rank(ObjectKind::class_map), 3);
  EXPECT_EQ(canonical_rank(ObjectKind::policy_map), 4);
  EXPECT_EQ(kind_name(ObjectKind::policy_map), "policy-map");
  EXPECT_EQ(kind_name(ObjectKind::class_map), "class-map");
  EXPECT_EQ(kind_name(ObjectKind::ssl_proxy), "ssl-proxy");
  EXPECT_EQ(kind_name(ObjectKind::parameter_map), "parameter-map");
}

}  // namespace
}  // namespace kvel::manager::testing::model_test
