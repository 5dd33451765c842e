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

// Which record: the owner is an object of a kind in a context; item 0 is the object itself, any other item is one part
// of it (a rule, a class), so that a part is written without the rest. The owner's text belongs to whoever made the
// key.
struct StoreKey {
  std::uint16_t context = 0;
  std::uint8_t kind = 0;
  std::string_view owner;
  std::uint64_t item = 0;  // at most kMaxItem

  friend auto operator<=>(const StoreKey&, const StoreKey&) = default;
};

inline constexpr std::uint64_t kMaxItem = 0x7fff'ffff'ffff'ffff;

// One change: the record's new body (UTF-8 text), or none to erase it. Erasing item 0 erases the parts too.
struct StoreChange {
  StoreKey key;
  std::optional<std::string_view> body;
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

  // Visits every record in the order of its key. The views are valid during the visit only. A refused store is left as
  // it is: nothing is written to it by this or by the destructor.
  [[nodiscard]] virtual StoreResult<void> load(const Visitor& visit, const Validator& validate) = 0;

  // Makes all changes or, on an error, none. Success means that they are on disk. After an error the store can be used
  // as before, and a later commit works again when the cause is gone. Changes that the disk would neither keep nor give
  // back may be there, all of them, when the store is opened again before a later commit; the message states it.
  [[nodiscard]] virtual StoreResult<void> commit(std::span<const StoreChange> changes) = 0;
};

}  // namespace kvel::manager
