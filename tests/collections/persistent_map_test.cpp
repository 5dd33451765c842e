// What a map is at its edges: empty, one entry, a name that is not there, and what versions share.
#include "collections/persistent_map.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "collections/shared_string.h"

namespace kvel::collections::persistent_map_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Map = PersistentMap<int, int>;
using Difference = std::tuple<int, int, int>;  // key, before, after; -1: none

std::vector<std::pair<int, int>> entries(const Map& map) {
  std::vector<std::pair<int, int>> found;
  for (const auto& [key, value] : map)
    found.emplace_back(key, value);
  return found;
}

std::vector<Difference> difference(const Map& before, const Map& after) {
  std::vector<Difference> found;
  Map::for_each_difference(before, after, [&](int key, const int* old_value, const int* new_value) {
    found.emplace_back(key, old_value == nullptr ? -1 : *old_value, new_value == nullptr ? -1 : *new_value);
  });
  return found;
}

Map first_numbers(int count) {
  Map map;
  for (int key = 0; key < count; ++key)
    map.insert_or_assign(key, 0);
  return map;
}

TEST(PersistentMap, IsEmptyAtFirst) {
  const Map map;
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.size(), 0U);
  EXPECT_EQ(map.find(1), nullptr);
  EXPECT_TRUE(map.begin() == map.end());
  EXPECT_TRUE(map.lower_bound(1) == map.end());
  EXPECT_EQ(map.find_before(1), nullptr);
  EXPECT_THAT(difference(map, map), IsEmpty());
}

TEST(PersistentMap, KeepsTheOrderOfItsKeys) {
  Map map;
  for (const int key : {3, 1, 2})
    map.insert_or_assign(key, key * 10);
  EXPECT_THAT(entries(map), ElementsAre(std::pair(1, 10), std::pair(2, 20), std::pair(3, 30)));
  EXPECT_EQ(map.size(), 3U);
  EXPECT_EQ(*map.find(2), 20);
  EXPECT_EQ(map.lower_bound(2).key(), 2);
  EXPECT_EQ(map.upper_bound(2).key(), 3);
  EXPECT_TRUE(map.upper_bound(3) == map.end());
  EXPECT_EQ(*map.find_before(3), 20);
  EXPECT_EQ(map.find_before(1), nullptr);
  EXPECT_EQ(map.back().value, 30);
}

TEST(PersistentMap, AssignsToAKeyThatIsThere) {
  Map map = first_numbers(1);
  map.insert_or_assign(0, 7);
  EXPECT_THAT(entries(map), ElementsAre(std::pair(0, 7)));
}

TEST(PersistentMap, ErasesWhatIsThereAndNothingElse) {
  Map map = first_numbers(2);
  EXPECT_FALSE(map.erase(2));
  EXPECT_TRUE(map.erase(0));
  EXPECT_THAT(entries(map), ElementsAre(std::pair(1, 0)));
  EXPECT_TRUE(map.erase(1));
  EXPECT_FALSE(map.erase(1));
  EXPECT_TRUE(map.empty());
  EXPECT_TRUE(map.begin() == map.end());
}

TEST(PersistentMap, ACopyDoesNotSeeWhatBecomesOfTheOther) {
  Map map = first_numbers(100);
  const Map before = map;
  EXPECT_TRUE(map.is_same_version(before));
  map.insert_or_assign(50, 1);
  map.insert_or_assign(100, 2);
  map.erase(0);
  EXPECT_FALSE(map.is_same_version(before));
  EXPECT_EQ(entries(before), entries(first_numbers(100)));
  EXPECT_THAT(difference(before, map), ElementsAre(Difference(0, 0, -1), Difference(50, 0, 1), Difference(100, -1, 2)));
  EXPECT_THAT(difference(map, before), ElementsAre(Difference(0, -1, 0), Difference(50, 1, 0), Difference(100, 2, -1)));
}

TEST(PersistentMap, DifferencesToTheEmptyMapAreAllEntries) {
  EXPECT_THAT(difference({}, first_numbers(2)), ElementsAre(Difference(0, -1, 0), Difference(1, -1, 0)));
  EXPECT_THAT(difference(first_numbers(2), {}), ElementsAre(Difference(0, 0, -1), Difference(1, 0, -1)));
}

TEST(PersistentMap, EqualMapsThatShareNothingDoNotDiffer) {
  EXPECT_THAT(difference(first_numbers(1000), first_numbers(1000)), IsEmpty());
}

TEST(PersistentMap, AValueThatIsAssignedAnewIsNoDifference) {
  Map map = first_numbers(1000);
  const Map before = map;
  map.insert_or_assign(500, 0);
  EXPECT_THAT(difference(before, map), IsEmpty());
}

// A key that counts how often keys are compared.
struct CountedKey {
  int number = 0;
  static inline long comparisons = 0;
  friend bool operator<(const CountedKey& left, const CountedKey& right) {
    ++comparisons;
    return left.number < right.number;
  }
};

TEST(PersistentMap, ADifferencePassesOverWhatVersionsShare) {
  PersistentMap<CountedKey, int> map;
  for (int key = 0; key < 100000; ++key)
    map.insert_or_assign(CountedKey{key * 2}, 0);
  for (const int changed : {0, 99998, 150001, 199998}) {
    const auto before = map;
    if (!map.erase(CountedKey{changed})) map.insert_or_assign(CountedKey{changed}, 1);
    int differences = 0;
    CountedKey::comparisons = 0;
    PersistentMap<CountedKey, int>::for_each_difference(before, map,
                                                        [&](const CountedKey& key, const int*, const int*) {
                                                          EXPECT_EQ(key.number, changed);
                                                          ++differences;
                                                        });
    EXPECT_EQ(differences, 1);
    EXPECT_LT(CountedKey::comparisons, 500) << changed;
  }
}

// Whoever holds a value sees how many others do.
TEST(PersistentMap, LetsGoOfWhatNoVersionHolds) {
  const auto value = std::make_shared<const int>(1);
  {
    PersistentMap<SharedString, std::shared_ptr<const int>> map;
    for (int number = 0; number < 1000; ++number)
      map.insert_or_assign(SharedString("name " + std::to_string(number)), value);
    auto other = map;
    EXPECT_EQ(value.use_count(), 1001);
    other.erase(std::string_view("name 7"));
    map = {};
    EXPECT_EQ(value.use_count(), 1000);
    for (int number = 0; number < 1000; ++number)
      other.erase(std::string_view("name " + std::to_string(number)));
    EXPECT_EQ(value.use_count(), 1);
  }
  EXPECT_EQ(value.use_count(), 1);
}

TEST(PersistentMap, FindsNamesByTheirText) {
  PersistentMap<SharedString, int> map;
  map.insert_or_assign(SharedString("web"), 1);
  map.insert_or_assign(SharedString(""), 2);
  EXPECT_EQ(*map.find(std::string_view("web")), 1);
  EXPECT_EQ(*map.find(std::string_view("")), 2);
  EXPECT_EQ(map.find(std::string_view("we")), nullptr);
  EXPECT_TRUE(map.erase(std::string_view("web")));
}

}  // namespace
}  // namespace kvel::collections::persistent_map_test
