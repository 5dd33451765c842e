// A store in memory that fails when a test asks for it. What it holds outlives it, like a file.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "manager/store/store.h"

namespace kvel::manager::testing {

struct FakeDisk {
  // context, kind, owner, item
  using Key = std::tuple<int, int, std::string, std::uint64_t>;
  std::map<Key, std::string> records;
  int commits = 0;                  // attempts, failed ones included
  std::optional<StoreError> fault;  // every commit fails with it
};

class FakeStore final : public Store {
 public:
  explicit FakeStore(FakeDisk& disk) : disk_(disk) {}

  [[nodiscard]] StoreResult<void> load(const Visitor& visit, const Validator& validate) override {
    for (const auto& [key, body] : disk_.records) {
      const auto& [context, kind, owner, item] = key;
      const StoreKey visited{static_cast<std::uint16_t>(context), static_cast<std::uint8_t>(kind), owner, item};
      if (auto taken = visit(visited, body); !taken)
        return tl::unexpected(StoreError{StoreFault::damaged, taken.error()});
    }
    if (auto sound = validate(); !sound) return tl::unexpected(StoreError{StoreFault::damaged, sound.error()});
    return {};
  }

  [[nodiscard]] StoreResult<void> commit(std::span<const StoreChange> changes) override {
    ++disk_.commits;
    if (disk_.fault) return tl::unexpected(*disk_.fault);
    auto records = disk_.records;
    for (const auto& [key, body] : changes) {
      const FakeDisk::Key held{key.context, key.kind, std::string(key.owner), key.item};
      if (body) {
        records[held] = *body;
      } else if (key.item == 0) {
        std::erase_if(records, [&key = key](const auto& record) {
          const auto& [context, kind, owner, item] = record.first;
          return context == key.context && kind == key.kind && owner == key.owner;
        });
      } else {
        records.erase(held);
      }
    }
    disk_.records.swap(records);
    return {};
  }

 private:
  FakeDisk& disk_;
};

}  // namespace kvel::manager::testing
