// The persistent map beside std::map with the same keys: names in random order, and values behind shared pointers.
//
// usage: bench_maps WHAT ENTRIES      prints the figure of the one and of the other, medians of runs in turn:
//   find         nanoseconds to find a name that is there
//   iterate      nanoseconds to go on to the next entry
//   bytes        bytes of memory for an entry, its name included
//   change       nanoseconds for a snapshot, one changed value and the difference of the two; replacing one value
//   difference   nanoseconds for the difference of two versions after 10,000 changes; 5 ms
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "collections/persistent_map.h"
#include "collections/shared_string.h"

namespace {

using kvel::collections::PersistentMap;
using kvel::collections::SharedString;

constexpr int kRuns = 9;
constexpr std::size_t kChanges = 10000;
constexpr std::size_t kSteps = 20000;  // of a run that does not go over all entries

struct Object {
  std::uint64_t number = 0;
};
using Value = std::shared_ptr<const Object>;
using Persistent = PersistentMap<SharedString, Value>;
using Standard = std::map<std::string, Value, std::less<>>;

std::vector<std::string> names_in_random_order(std::size_t entries) {
  std::vector<std::string> names;
  char text[32];
  for (std::size_t number = 0; number < entries; ++number) {
    std::snprintf(text, sizeof text, "class-map-%07zu", number);
    names.emplace_back(text);
  }
  std::shuffle(names.begin(), names.end(), std::mt19937(1));
  return names;
}

std::size_t bytes_in_use() { return mallinfo2().uordblks + mallinfo2().hblkhd; }

template <class Work>
double nanoseconds(std::size_t steps, const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
  return taken.count() / static_cast<double>(steps);
}

double median(std::vector<double> figures) {
  std::ranges::sort(figures);
  return figures[figures.size() / 2];
}

template <class Ours, class Floor>
void print_in_turn(const Ours& ours, const Floor& floor) {
  std::vector<double> figures[2];
  for (int run = 0; run <= kRuns; ++run) {
    const double one = ours();
    const double other = floor();
    if (run == 0) continue;  // warms up
    figures[0].push_back(one);
    figures[1].push_back(other);
  }
  std::printf("%.2f %.2f\n", median(figures[0]), median(figures[1]));
}

template <class T>
void keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

struct Maps {
  explicit Maps(std::size_t entries) : names(names_in_random_order(entries)), objects(entries) {
    for (Value& object : objects)
      object = std::make_shared<const Object>();
    const std::size_t empty = bytes_in_use();
    for (std::size_t number = 0; number < entries; ++number)
      persistent.insert_or_assign(SharedString(names[number]), objects[number]);
    const std::size_t first = bytes_in_use();
    for (std::size_t number = 0; number < entries; ++number)
      standard.emplace(names[number], objects[number]);
    persistent_bytes = static_cast<double>(first - empty) / static_cast<double>(entries);
    standard_bytes = static_cast<double>(bytes_in_use() - first) / static_cast<double>(entries);
    std::shuffle(names.begin(), names.end(), std::mt19937(2));
  }

  std::vector<std::string> names;
  std::vector<Value> objects;
  Persistent persistent;
  Standard standard;
  double persistent_bytes = 0;
  double standard_bytes = 0;
};

void find(const Maps& maps) {
  const std::size_t steps = std::min(maps.names.size() * 4, std::size_t{400000});
  const auto name = [&](std::size_t step) { return std::string_view(maps.names[step % maps.names.size()]); };
  print_in_turn(
      [&] {
        return nanoseconds(steps, [&] {
          for (std::size_t step = 0; step < steps; ++step)
            keep(maps.persistent.find(name(step)));
        });
      },
      [&] {
        return nanoseconds(steps, [&] {
          for (std::size_t step = 0; step < steps; ++step)
            keep(maps.standard.find(name(step)));
        });
      });
}

void iterate(const Maps& maps) {
  const auto go_over = [&](const auto& map) {
    return nanoseconds(maps.names.size(), [&] {
      std::uintptr_t sum = 0;
      for (const auto& [name, object] : map)
        sum += reinterpret_cast<std::uintptr_t>(object.get());
      keep(sum);
    });
  };
  print_in_turn([&] { return go_over(maps.persistent); }, [&] { return go_over(maps.standard); });
}

void change(Maps& maps) {
  const Value other = std::make_shared<const Object>();
  const auto name = [&](std::size_t step) { return std::string_view(maps.names[step % maps.names.size()]); };
  std::vector<SharedString> shared;
  for (std::size_t step = 0; step < kSteps; ++step)
    shared.emplace_back(name(step));
  std::size_t differences = 0;
  print_in_turn(
      [&] {
        return nanoseconds(kSteps, [&] {
          for (std::size_t step = 0; step < kSteps; ++step) {
            const Persistent before = maps.persistent;
            maps.persistent.insert_or_assign(shared[step], std::make_shared<const Object>());
            Persistent::for_each_difference(before, maps.persistent,
                                            [&](const SharedString&, const Value*, const Value*) { ++differences; });
          }
        });
      },
      [&] {
        return nanoseconds(kSteps, [&] {
          for (std::size_t step = 0; step < kSteps; ++step)
            maps.standard.find(name(step))->second = std::make_shared<const Object>();
        });
      });
  if (differences != kSteps * (kRuns + 1)) std::abort();
}

void difference(const Maps& maps) {
  Persistent after = maps.persistent;
  const Value other = std::make_shared<const Object>();
  for (std::size_t number = 0; number < kChanges; ++number)
    after.insert_or_assign(SharedString(maps.names[number % maps.names.size()]), other);
  print_in_turn(
      [&] {
        return nanoseconds(1, [&] {
          std::size_t differences = 0;
          Persistent::for_each_difference(maps.persistent, after,
                                          [&](const SharedString&, const Value*, const Value*) { ++differences; });
          if (differences != std::min(kChanges, maps.names.size())) std::abort();
        });
      },
      [] { return 5e6; });
}

}  // namespace

int main(int count, char** arguments) {
  const std::string_view what = count == 3 ? arguments[1] : "";
  const std::size_t entries = count == 3 ? std::strtoull(arguments[2], nullptr, 10) : 0;
  if (entries == 0) {
    std::fprintf(stderr, "usage: bench_maps find|iterate|bytes|change|difference ENTRIES\n");
    return 2;
  }
  Maps maps(entries);
  if (what == "find") find(maps);
  if (what == "iterate") iterate(maps);
  if (what == "bytes") std::printf("%.2f %.2f\n", maps.persistent_bytes, maps.standard_bytes);
  if (what == "change") change(maps);
  if (what == "difference") difference(maps);
  return 0;
}
