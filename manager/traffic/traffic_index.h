// Finds the first class that matches a flow among those of an applied policy-map without trying each: tuple-space
// search. A rule narrows a flow's addresses, protocol and port to prefixes; rules whose prefixes have the same lengths,
// a tuple, lie in one hash table. A look into each table gives the rules that may match, which are then asked
// themselves: the index only leaves out what cannot match and decides nothing.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "manager/traffic/class_match.h"

namespace kvel::manager {

class TrafficIndex {
 public:
  // The classes must be added in their order and outlive this.
  void add(std::size_t number, const ClassMatch& traffic_class);
  // After the last class.
  void finish();

  // The lowest number of a class that matches.
  [[nodiscard]] std::optional<std::size_t> find(const Flow& flow) const;

 private:
  // The values that a rule takes in each dimension; prefixes, but for the ports.
  struct Region;
  struct Key {
    std::uint64_t addresses = 0;  // destination and source
    std::uint32_t service = 0;    // protocol and port
    friend auto operator<=>(const Key&, const Key&) = default;
  };
  // Either a rule of a match-any class, or a whole class.
  struct Candidate {
    std::size_t number = 0;
    const RuleMatch* rule = nullptr;
    const ClassMatch* traffic_class = nullptr;
    [[nodiscard]] bool matches(const Flow& flow) const {
      return rule != nullptr ? rule->matches(flow) : traffic_class->matches(flow);
    }
  };
  // All candidates of one key, in the order of numbers: a part of `candidates`.
  struct Slot {
    Key key;
    std::uint32_t first = 0;
    std::uint32_t count = 0;  // 0: free
  };
  struct Entry {
    Key key;
    Candidate candidate;
  };
  struct Table {
    Key mask;
    std::size_t lowest = 0;      // number of a class in it
    std::vector<Entry> entries;  // until it is finished
    std::vector<Slot> slots;     // a power of two, at most half of them taken
    std::vector<Candidate> candidates;

    void finish();
    [[nodiscard]] std::span<const Candidate> find(const Key& key) const;
  };

  static std::size_t hash(const Key& key);
  void add(const Region& region, const Candidate& candidate);
  void put(const Key& mask, const Key& key, const Candidate& candidate);

  static std::optional<Region> region_of(const MatchRule& rule);
  static std::optional<Region> intersection(const Region& one, const Region& other);

  std::vector<Table> tables_;  // in the order of their lowest numbers
};

}  // namespace kvel::manager
