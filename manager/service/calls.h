// The calls of the manager, one function each, bound to the call table in manager.cpp.
//
// A call that changes something goes the same way each time: check against the model, prepare all that needs memory,
// commit to the store, and only then change the model by steps that cannot fail. So a failed commit and a failed
// allocation leave both as they were.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "manager/model/configuration.h"
#include "manager/service/manager.h"
#include "manager/store/store.h"
#include "rpc/calls/binding.h"

namespace kvel::manager {

// A name in a cursor or a list: zero-padded to 65 bytes.
inline constexpr std::size_t kNameField = 65;
using CursorField = std::span<std::byte, kNameField>;
// The cursor of the object list: a canonical rank, then the name.
using ObjectCursorField = std::span<std::byte, kNameField + 1>;
// A 32-bit word in network byte order.
using WordField = std::span<std::byte, 4>;

class Calls {
 public:
  Calls(std::unique_ptr<Store> store, FailureLog log);

  // Fills the model from the store; before any call.
  [[nodiscard]] StoreResult<void> load();

  // class_map_calls.cpp
  Status add_or_lookup_class_map(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                                 std::string_view name, std::uint8_t add, WordField created);
  Status update_class_map_description(std::uint16_t context, rpc::SessionId session, std::string_view name,
                                      std::string_view text, std::uint8_t add);
  Status list_class_maps(std::uint16_t context, std::uint32_t kind, CursorField cursor, WordField more,
                         rpc::ResponseBuffer& response);

  // view_calls.cpp
  Status get_object(std::uint16_t context, std::uint32_t kind, std::string_view name, rpc::ResponseBuffer& response);
  Status get_objects(std::uint16_t context, std::uint32_t kind, ObjectCursorField cursor, WordField more,
                     rpc::ResponseBuffer& response);

 private:
  [[nodiscard]] const Context& context(std::uint16_t number) const { return configuration_.context(number); }
  // ok, or the status of the store's error, which is logged.
  [[nodiscard]] Status commit(std::span<const Change> changes);
  [[nodiscard]] Status commit(const Change& change) { return commit({&change, 1}); }

  Status create_class_map(std::uint16_t context, std::string_view name, ClassMapSettings settings);
  Status delete_class_map(std::uint16_t context, std::string_view name, ClassMapType type);
  Status change_class_map(std::uint16_t context, std::string_view name, ClassMap& class_map, ClassMapSettings settings);

  std::unique_ptr<Store> store_;
  FailureLog log_;
  Configuration configuration_;
};

}  // namespace kvel::manager
