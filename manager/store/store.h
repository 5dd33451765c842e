// The durable side of the manager: records under keys, changed all or nothing. The manager knows the store through this
// interface only; the store knows nothing of what a record means.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace kvel::manager {

// Which record. An object is kept under a number of its own, item 0 being the object itself and any other item one part
// of it (a rule, a class), so that a part is written without the rest. With the object itself it is kept which one it
// is: its kind, its context and its name (the owner), whose text belongs to whoever made the key.
struct StoreKey {
  std::uint16_t context = 0;
  std::uint8_t kind = 0;
  std::string_view owner;
  std::uint64_t item = 0;    // at most kMaxItem
  std::uint64_t object = 0;  // 1 to kMaxItem; of no other object of the store, now or later

  friend auto operator<=>(const StoreKey&, const StoreKey&) = default;
};

inline constexpr std::uint64_t kMaxItem = 0x7fff'ffff'ffff'ffff;

// One change: the record's new body (UTF-8 text), or none to erase it. Erasing item 0 erases the parts too.
struct StoreChange {
  StoreKey key;
  std::optional<std::string_view> body;
};

// What a store has come to: how many commits it has had, and the first number that no object had so far.
struct StoreHead {
  std::uint64_t revision = 0;
  std::uint64_t next_number = 1;

  friend bool operator==(const StoreHead&, const StoreHead&) = default;
};

// Changes to a store that is at the revision `base`, which makes the next one of it.
struct StoreCommit {
  std::uint64_t base = 0;
  std::uint64_t next_number = 1;  // of the head that it leaves
  std::span<const StoreChange> changes;
};

enum class StoreFault : std::uint8_t {
  busy,        // another process has it open
  not_a_file,  // a directory or a special file
  no_access,   // it cannot be opened, or its folder cannot be made
  read_only,   // the file, its folder or its file system cannot be written
  full,        // no space left
  damaged,     // it was a store, or is none at all, and cannot be trusted
  incomplete,  // changes that it once held are missing; it can be opened without them
  replaced,    // the file or its log is no longer the one that was opened
  foreign,     // a sound database of another program
  newer,       // written by a newer version of this system
  conflict,    // it is not at the revision that the caller took it to be at: read it again
  unknown,     // the changes may be there or not: read it again before anything is answered from what was there before
  failed,      // anything else: input/output errors, no memory
};

// What went wrong, where, and what to do about it, in one line for the user.
struct StoreError {
  StoreFault fault = StoreFault::failed;
  std::string message;
};

template <class T>
using StoreResult = tl::expected<T, StoreError>;

class Store {
 public:
  // Takes one record; an error about the record refuses the whole store.
  using Visitor = std::function<tl::expected<void, std::string>(const StoreKey& key, std::string_view body)>;
  // Validates the records as a whole when all have been visited; an error about them refuses the store likewise.
  using Validator = std::function<tl::expected<void, std::string>()>;

  Store() = default;
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  virtual ~Store() = default;

  // As it was opened, or as the last load or commit left it.
  [[nodiscard]] virtual StoreHead head() const = 0;

  // Visits every record: objects by context, kind and name, each before its parts, and these by their items. The views
  // are valid during the visit only. A refused store is left as it is: nothing is written to it by this or by the
  // destructor. May be called again, to see what is there now.
  [[nodiscard]] virtual StoreResult<void> load(const Visitor& visit, const Validator& validate) = 0;

  // Makes all changes or, on an error, none. Success means that they are on disk. After an error other than `conflict`
  // and `unknown` the store can be used as before, and a later commit works again when the cause is gone.
  [[nodiscard]] virtual StoreResult<void> commit(const StoreCommit& commit) = 0;
};

}  // namespace kvel::manager
