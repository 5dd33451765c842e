// The records of parameter-maps, put together from the bytes that a test names.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kvel::cli::test {

// Bytes that stand at an offset of a record.
struct At {
  std::size_t offset;
  std::string bytes;
};
using Bytes = std::vector<At>;

[[nodiscard]] inline std::string overwritten(std::string record, const Bytes& bytes) {
  for (const At& at : bytes)
    record.replace(at.offset, at.bytes.size(), at.bytes);
  return record;
}

// The record of one setting command: 140 bytes, zero but for these.
[[nodiscard]] inline std::string map_settings(const Bytes& bytes) { return overwritten(std::string(140, '\0'), bytes); }

// An entry of a page that shows parameter-maps: 288 bytes, zero but for the type's word, the name and these.
[[nodiscard]] inline std::string map_entry(const std::string& type, const std::string& name, const Bytes& bytes = {}) {
  return overwritten(overwritten(std::string(288, '\0'), {{8, type}, {12, name}}), bytes);
}

}  // namespace kvel::cli::test
