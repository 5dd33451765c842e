// A store in memory that fails when a test asks for it. What it holds outlives it, like a file.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "manager/store/store.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing {

struct FakeDisk {
  // context, kind, owner, item
  using Key = std::tuple<int, int, std::string, std::uint64_t>;
  std::map<Key, std::string> records;
  std::map<Key, std::uint64_t> objects;  // the numbers of those that a manager has made
  StoreHead head;
  int commits = 0;                  // attempts, failed ones included
  std::optional<StoreError> fault;  // every commit fails with it
  bool happens_all_the_same = false;
  bool is_unreadable = false;
};

class FakeStore final : public Store {
 public:
  explicit FakeStore(FakeDisk& disk) : disk_(disk) {}

  [[nodiscard]] StoreHead head() const override { return disk_.head; }

  [[nodiscard]] StoreResult<void> load(const Visitor& visit, const Validator& validate) override {
    if (disk_.is_unreadable) return tl::unexpected(StoreError{StoreFault::failed, "it cannot be read"});
    for (const auto& [key, body] : disk_.records) {
      const auto& [context, kind, owner, item] = key;
      const StoreKey visited{static_cast<std::uint16_t>(context), static_cast<std::uint8_t>(kind), owner, item,
                             object_of(context, kind, owner)};
      if (auto taken = visit(visited, body); !taken)
        return tl::unexpected(StoreError{StoreFault::damaged, taken.error()});
    }
    if (auto sound = validate(); !sound) return tl::unexpected(StoreError{StoreFault::damaged, sound.error()});
    return {};
  }

  [[nodiscard]] StoreResult<void> commit(const StoreCommit& commit) override {
    ++disk_.commits;
    if (disk_.fault && !disk_.happens_all_the_same) return tl::unexpected(*disk_.fault);
    if (commit.base != disk_.head.revision) return tl::unexpected(StoreError{StoreFault::conflict, "it is elsewhere"});
    auto records = disk_.records;
    for (const auto& [key, body] : commit.changes) {
      const FakeDisk::Key held{key.context, key.kind, std::string(key.owner), key.item};
      if (body) {
        records[held] = *body;
        if (key.item == 0) disk_.objects[held] = key.object;
      } else if (key.item == 0) {
        std::erase_if(records, [this, gone = key.object](const auto& record) {
          const auto& [context, kind, owner, item] = record.first;
          return object_of(context, kind, owner) == gone;
        });
      } else {
        records.erase(held);
      }
    }
    disk_.records.swap(records);
    disk_.head = {commit.base + 1, commit.next_number};
    if (disk_.fault) return tl::unexpected(*disk_.fault);
    return {};
  }

 private:
  [[nodiscard]] std::uint64_t object_of(int context, int kind, const std::string& owner) const {
    const auto made = disk_.objects.find({context, kind, owner, 0});
    if (made != disk_.objects.end()) return made->second;
    return number_of(static_cast<std::uint16_t>(context), static_cast<std::uint8_t>(kind), owner);
  }

  FakeDisk& disk_;
};

}  // namespace kvel::manager::testing
