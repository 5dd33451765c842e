// Fixed records as calls carry them: written from their parts in an expectation, and read back from an event.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "tests/cli/command_record.h"
#include "tests/cli/notation.h"

namespace kvel::cli::test {

// Bytes at their place in a record.
struct Part {
  std::size_t offset;
  std::string bytes;
};

// `size` zero bytes with the parts laid over them in this order.
[[nodiscard]] std::string record(std::size_t size, std::initializer_list<Part> parts);

// Four bytes, the most significant first.
[[nodiscard]] std::string big_endian(std::uint32_t number);

// A buffer as an event shows it: "buffer[4] 00000001".
[[nodiscard]] std::string buffer(const std::string& bytes);

// The bytes of the one buffer among the events; a test failure and "" when there is not exactly one.
[[nodiscard]] std::string sent_buffer(const Events& events);

// A field of a record and a command that sets it: to `value`, all of the width but a text's terminator, and with it at
// most the four-byte words at `words_beside`, a kind or presence bits. Without tokens: bytes that nothing sets.
struct RecordField {
  const char* name;
  std::size_t offset;
  std::size_t width;
  Tokens tokens = {};
  std::string value = {};
  std::vector<std::size_t> words_beside = {};
};

// What is wrong with `sent`, the record of a command that sets this field only; "" when nothing is.
[[nodiscard]] std::string misplaced(const RecordField& field, std::string sent);

// What is wrong with a table of fields that has to fill a record of `size` bytes without gap or overlap.
[[nodiscard]] std::string untiled(const std::vector<RecordField>& fields, std::size_t size);

}  // namespace kvel::cli::test
