// The keys of the records that the calls write.
#pragma once

#include "manager/model/object_kind.h"
#include "manager/store/store.h"

namespace kvel::manager {

// Of an object, or of one of its parts: the rule at a line, the class at a position.
[[nodiscard]] inline RecordKey key_of(ObjectKind kind, std::uint16_t context, std::string_view owner,
                                      std::uint64_t item = 0) {
  return {context, static_cast<std::uint8_t>(kind), owner, item};
}

}  // namespace kvel::manager
