// The model: rules for texts, references, tables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "manager/model/class_map.h"
#include "manager/model/configuration.h"
#include "manager/model/match_rule.h"
#include "manager/model/object_kind.h"
#include "manager/model/object_table.h"
#include "manager/model/reference.h"
#include "manager/model/text.h"

namespace kvel::manager::testing::model_test {
namespace {

using ::testing::ElementsAre;

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

TEST(References, CountWhileTheyLive) {
  ClassMap class_map{ClassMapSettings{}};
  EXPECT_FALSE(class_map.references.in_use());
  {
    const Reference from_policy(class_map.references, ObjectKind::policy_map);
    const Reference from_another(class_map.references, ObjectKind::policy_map);
    const Reference from_parent(class_map.references, ObjectKind::class_map);
    EXPECT_TRUE(class_map.references.in_use());
    EXPECT_EQ(class_map.references.users(ObjectKind::policy_map), 2U);
    EXPECT_EQ(class_map.references.users(ObjectKind::class_map), 1U);
    EXPECT_EQ(class_map.references.users(ObjectKind::ssl_proxy), 0U);
  }
  EXPECT_FALSE(class_map.references.in_use());
  EXPECT_EQ(class_map.references.users(ObjectKind::policy_map), 0U);
}

TEST(References, MoveWithTheirHolder) {
  Referenced first;
  Referenced second;
  std::vector<Reference> holder;
  for (int index = 0; index < 100; ++index)
    holder.emplace_back(first, ObjectKind::class_map);
  EXPECT_EQ(first.users(ObjectKind::class_map), 100U);
  holder[0] = Reference(second, ObjectKind::policy_map);
  EXPECT_EQ(first.users(ObjectKind::class_map), 99U);
  EXPECT_EQ(second.users(ObjectKind::policy_map), 1U);
  const Reference taken = std::move(holder[0]);
  EXPECT_EQ(second.users(ObjectKind::policy_map), 1U);
  holder.clear();
  EXPECT_FALSE(first.in_use());
  EXPECT_TRUE(second.in_use());
}

TEST(ObjectTables, KeepObjectsInPlaceAndInOrder) {
  ObjectTable<ClassMap> table;
  ClassMap& m = table.insert(ObjectTable<ClassMap>::prepare("m", ClassMapSettings{}));
  for (const char* name : {"z", "a", "mm", "\xff"})
    table.insert(ObjectTable<ClassMap>::prepare(name, ClassMapSettings{}));
  EXPECT_EQ(table.find("m"), &m);
  EXPECT_EQ(table.find("n"), nullptr);
  EXPECT_EQ(table.size(), 5U);
  std::vector<std::string> names;
  for (const auto& [name, object] : table)
    names.push_back(name);
  EXPECT_THAT(names, ElementsAre("a", "m", "mm", "z", "\xff"));
  EXPECT_EQ(table.after("m")->first, "mm");
  EXPECT_EQ(table.after("n")->first, "z");
  EXPECT_EQ(table.after("\xff"), table.end());
  table.erase("m");
  table.erase("none");
  EXPECT_EQ(table.find("m"), nullptr);
  EXPECT_EQ(table.size(), 4U);
}

TEST(Contexts, AllExistAndAreApart) {
  Configuration configuration;
  configuration.edit(7).class_maps.insert(ObjectTable<ClassMap>::prepare("web", ClassMapSettings{}));
  EXPECT_NE(configuration.context(7).class_maps.find("web"), nullptr);
  EXPECT_EQ(configuration.context(8).class_maps.find("web"), nullptr);
  EXPECT_EQ(configuration.context(65535).class_maps.size(), 0U);
}

}  // namespace
}  // namespace kvel::manager::testing::model_test
