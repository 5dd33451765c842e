// Records of a store as a test writes and reads them.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "manager/store/sqlite_store.h"
#include "manager/store/store.h"

namespace kvel::manager::testing {

// context, kind, owner, item, body
using Record = std::tuple<int, int, std::string, std::uint64_t, std::string>;
using Records = std::vector<Record>;

inline constexpr std::uint8_t kClassMap = 5;

// The number of an object that a test names.
inline std::uint64_t number_of(std::uint16_t context, std::uint8_t kind, std::string_view owner) {
  std::uint64_t number = context * 256ULL + kind + 1;
  for (const char byte : owner)
    number = (number * 31 + static_cast<unsigned char>(byte)) % 0x7fff'ffff;
  return number + 1;
}

inline StoreChange put(std::string_view owner, std::string_view body, std::uint64_t item = 0, std::uint16_t context = 0,
                       std::uint8_t kind = kClassMap) {
  return {{context, kind, owner, item, number_of(context, kind, owner)}, body};
}
inline StoreChange erase(std::string_view owner, std::uint64_t item = 0, std::uint16_t context = 0,
                         std::uint8_t kind = kClassMap) {
  return {{context, kind, owner, item, number_of(context, kind, owner)}, std::nullopt};
}

// Beyond the numbers of all objects that tests name.
inline constexpr std::uint64_t kNextNumber = 0x1'0000'0000;

inline StoreResult<void> commit(Store& store, std::vector<StoreChange> changes) {
  return store.commit({store.head().revision, kNextNumber, changes});
}

// For a load without a validator of the whole.
inline tl::expected<void, std::string> all_is_well() { return {}; }

inline StoreResult<Records> load(Store& store) {
  Records records;
  auto loaded = store.load(
      [&](const StoreKey& key, std::string_view body) -> tl::expected<void, std::string> {
        records.emplace_back(key.context, key.kind, std::string(key.owner), key.item, std::string(body));
        return {};
      },
      all_is_well);
  if (!loaded) return tl::unexpected(loaded.error());
  return records;
}

inline std::unique_ptr<SqliteStore> open_store(const std::filesystem::path& path, SqliteOptions options = {}) {
  auto store = SqliteStore::open(path, options);
  if (!store) {
    ADD_FAILURE() << store.error().message;
    return nullptr;
  }
  return *std::move(store);
}

// What is in the store, with an error as a record of its own, so that a comparison shows it.
inline Records records_in(const std::filesystem::path& path) {
  auto store = SqliteStore::open(path);
  if (!store) return {{-1, -1, store.error().message, 0, ""}};
  auto records = load(**store);
  if (!records) return {{-1, -1, records.error().message, 0, ""}};
  return *std::move(records);
}

}  // namespace kvel::manager::testing
