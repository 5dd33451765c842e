// Random operations on versions of a map against std::map, with snapshots, differences and failing allocations; and
// versions in several threads. KVEL_MAP_OPERATIONS makes the runs longer.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "collections/persistent_map.h"
#include "collections/shared_string.h"
#include "tests/manager/support/failing_allocation.h"

namespace kvel::collections::persistent_map_random_test {
namespace {

using manager::testing::FailingAllocation;

// Keys and values own memory, so that a sanitizer sees one that is lost, or destroyed twice.
using Value = std::shared_ptr<const int>;
using Map = PersistentMap<SharedString, Value>;
using Model = std::map<std::string, Value, std::less<>>;
using Difference = std::tuple<std::string, Value, Value>;

long operations() {
  const char* const wanted = std::getenv("KVEL_MAP_OPERATIONS");
  return wanted == nullptr ? 20000 : std::atol(wanted);
}

// How a run chooses the keys of its operations.
enum class Keys { random, few, ascending, descending };

class Operations {
 public:
  Operations(std::uint32_t seed, Keys keys) : random_(seed), keys_(keys) {}

  void operate(long count) {
    while (count-- > 0) {
      if (below(400) == 0) erases_ = below(100);
      if (below(1000) == 0) take_snapshot();
      if (below(500 + static_cast<int>(map_.size())) == 0) compare_with_one();
      const std::string key = next_key();
      if (below(100) < erases_) {
        ASSERT_EQ(map_.erase(std::string_view(key)), model_.erase(key) == 1);
      } else {
        const auto value = std::make_shared<const int>(below(1000));
        map_.insert_or_assign(SharedString(key), value);
        model_[key] = value;
      }
      ASSERT_EQ(map_.size(), model_.size());
      look_up(key);
    }
    compare();
  }

  // Each operation is tried until no allocation fails in it; in between nothing has changed.
  void operate_out_of_memory(int count) {
    while (count-- > 0) {
      const Map held = below(2) == 0 ? map_ : Map();
      const bool erases = below(3) == 0;
      const std::string key = next_key();
      const SharedString name(key);
      const auto value = std::make_shared<const int>(below(1000));
      for (std::uint64_t before = 0;; ++before) {
        const FailingAllocation failing(before);
        try {
          if (erases) {
            map_.erase(name);
          } else {
            map_.insert_or_assign(name, value);
          }
          break;
        } catch (const std::bad_alloc&) {
          compare();
        }
      }
      if (erases) {
        model_.erase(key);
      } else {
        model_[key] = value;
      }
      compare();
    }
  }

 private:
  int below(int bound) { return static_cast<int>(random_() % static_cast<std::uint32_t>(bound)); }

  std::string next_key() {
    int number = 0;
    switch (keys_) {
      case Keys::random:
        number = below(20000);
        break;
      case Keys::few:
        number = below(40);
        break;
      case Keys::ascending:
        number = ++last_ - (below(4) == 0 ? below(2000) : 0);
        break;
      case Keys::descending:
        number = 900000 - ++last_ + (below(4) == 0 ? below(2000) : 0);
        break;
    }
    char text[16];
    std::snprintf(text, sizeof text, "%07d", number);
    return text;
  }

  void look_up(const std::string& key) {
    const std::string_view wanted = key;
    const auto expected = model_.find(wanted);
    const Value* const found = map_.find(wanted);
    ASSERT_EQ(found != nullptr, expected != model_.end());
    if (found != nullptr) {
      ASSERT_EQ(*found, expected->second);
    }
    expect_at(map_.lower_bound(wanted), model_.lower_bound(wanted));
    expect_at(map_.upper_bound(wanted), model_.upper_bound(wanted));
    const auto at = model_.lower_bound(wanted);
    const Value* const before = map_.find_before(wanted);
    ASSERT_EQ(before == nullptr, at == model_.begin());
    if (before != nullptr) {
      ASSERT_EQ(*before, std::prev(at)->second);
    }
    if (!model_.empty()) {
      ASSERT_EQ(map_.back().key.view(), model_.rbegin()->first);
    }
  }
  void expect_at(const Map::Iterator& found, const Model::const_iterator& expected) {
    ASSERT_EQ(found == map_.end(), expected == model_.end());
    if (expected != model_.end()) {
      ASSERT_EQ(found.key().view(), expected->first);
    }
  }

  static void expect_equal(const Map& map, const Model& model) {
    ASSERT_EQ(map.size(), model.size());
    auto expected = model.begin();
    for (const auto& [key, value] : map) {
      ASSERT_EQ(key.view(), expected->first);
      ASSERT_EQ(value, expected->second);
      ++expected;
    }
  }

  void take_snapshot() {
    if (snapshots_.size() == 8) snapshots_.erase(snapshots_.begin() + below(8));
    snapshots_.emplace_back(map_, model_);
  }

  void compare() {
    expect_equal(map_, model_);
    for (const auto& snapshot : snapshots_)
      compare_with(snapshot);
  }
  void compare_with_one() {
    expect_equal(map_, model_);
    if (!snapshots_.empty()) compare_with(snapshots_[static_cast<std::size_t>(below(8)) % snapshots_.size()]);
  }
  void compare_with(const std::pair<Map, Model>& snapshot) {
    const auto& [map, model] = snapshot;
    expect_equal(map, model);
    std::vector<Difference> found;
    Map::for_each_difference(map, map_, [&](const SharedString& key, const Value* before, const Value* after) {
      found.emplace_back(key.view(), before == nullptr ? nullptr : *before, after == nullptr ? nullptr : *after);
    });
    ASSERT_EQ(found, difference(model, model_));
  }
  static std::vector<Difference> difference(const Model& before, const Model& after) {
    std::map<std::string, std::pair<Value, Value>> values;
    for (const auto& [key, value] : before)
      values[key].first = value;
    for (const auto& [key, value] : after)
      values[key].second = value;
    std::vector<Difference> differences;
    for (const auto& [key, pair] : values) {
      if (pair.first != pair.second) differences.emplace_back(key, pair.first, pair.second);
    }
    return differences;
  }

  std::mt19937 random_;
  Keys keys_;
  int last_ = 0;
  int erases_ = 20;  // per cent
  Map map_;
  Model model_;
  std::vector<std::pair<Map, Model>> snapshots_;
};

class RandomOperations : public ::testing::TestWithParam<Keys> {};

TEST_P(RandomOperations, AreThoseOfTheStandardMap) {
  for (std::uint32_t seed = 1; seed <= 3; ++seed) {
    Operations run(seed, GetParam());
    ASSERT_NO_FATAL_FAILURE(run.operate(operations())) << "seed " << seed;
  }
}

TEST_P(RandomOperations, ChangeNothingWhenMemoryIsShort) {
  Operations run(4, GetParam());
  ASSERT_NO_FATAL_FAILURE(run.operate(3000));
  ASSERT_NO_FATAL_FAILURE(run.operate_out_of_memory(60));
}

INSTANTIATE_TEST_SUITE_P(Keys, RandomOperations,
                         ::testing::Values(Keys::random, Keys::few, Keys::ascending, Keys::descending));

TEST(PersistentMapThreads, VersionsLiveInDifferentThreads) {
  Map map;
  for (int number = 0; number < 2000; ++number)
    map.insert_or_assign(SharedString(std::to_string(number)), std::make_shared<const int>(number));
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([own = map, thread]() mutable {
      for (int number = thread; number < 2000; number += 2) {
        const Map before = own;
        if (number % 3 == 0) {
          own.erase(std::string_view(std::to_string(number)));
        } else {
          own.insert_or_assign(SharedString(std::to_string(number)), std::make_shared<const int>(-1));
        }
        int differences = 0;
        Map::for_each_difference(before, own, [&](const SharedString&, const Value*, const Value*) { ++differences; });
        EXPECT_EQ(differences, 1);
      }
    });
  }
  for (int number = 0; number < 2000; number += 5)
    map.erase(std::string_view(std::to_string(number)));
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(map.size(), 1600U);
}

}  // namespace
}  // namespace kvel::collections::persistent_map_random_test
