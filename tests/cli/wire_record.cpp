// Writes records from their parts, and holds those that were sent against tables of their fields.
#include "tests/cli/wire_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace kvel::cli::test {
namespace {

constexpr std::size_t kWord = 4;

// The bytes of the notation "0102 00*65 03".
std::string read_hex(std::string_view text) {
  const auto digits = [](std::string_view two) { return static_cast<char>(std::stoul(std::string(two), nullptr, 16)); };
  std::string bytes;
  while (!text.empty()) {
    const std::string_view group = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(group.size() + 1, text.size()));
    if (group.find('*') != std::string_view::npos) {
      bytes.append(std::stoul(std::string(group.substr(3))), digits(group.substr(0, 2)));
      continue;
    }
    for (std::size_t index = 0; index < group.size(); index += 2)
      bytes += digits(group.substr(index, 2));
  }
  return bytes;
}

void blank(std::string& bytes, std::size_t offset, std::size_t width) { bytes.replace(offset, width, width, '\0'); }

}  // namespace

std::string record(std::size_t size, std::initializer_list<Part> parts) {
  std::string bytes(size, '\0');
  for (const Part& part : parts) {
    if (part.offset + part.bytes.size() > size) throw std::out_of_range("a part after the end of its record");
    bytes.replace(part.offset, part.bytes.size(), part.bytes);
  }
  return bytes;
}

std::string big_endian(std::uint32_t number) {
  return {static_cast<char>(number >> 24), static_cast<char>(number >> 16), static_cast<char>(number >> 8),
          static_cast<char>(number)};
}

std::string buffer(const std::string& bytes) { return "buffer[" + std::to_string(bytes.size()) + "] " + hex(bytes); }

std::string sent_buffer(const Events& events) {
  constexpr std::string_view mark = "buffer[";
  std::string_view found;
  for (const std::string& event : events) {
    const std::size_t start = event.find(mark);
    if (start == std::string::npos) continue;
    if (!found.empty() || event.find(mark, start + 1) != std::string::npos) {
      ADD_FAILURE() << "more than one buffer was sent";
      return {};
    }
    found = std::string_view(event).substr(start + mark.size());
  }
  if (found.empty()) {
    ADD_FAILURE() << "no buffer was sent";
    return {};
  }
  const std::size_t size = std::stoul(std::string(found.substr(0, found.find(']'))));
  found.remove_prefix(found.find(']') + 2);
  std::string bytes = read_hex(found.substr(0, found.find_first_of(",)")));
  EXPECT_EQ(bytes.size(), size);
  return bytes;
}

std::string misplaced(const RecordField& field, std::string sent) {
  if (sent.size() < field.offset + field.width || field.value.size() > field.width) return "it is too short";
  const std::string expected = kvel::cli::test::field(field.value, field.width);
  const std::string found = sent.substr(field.offset, field.width);
  if (found != expected) return "it holds " + hex(found) + " instead of " + hex(expected);
  blank(sent, field.offset, field.width);
  for (std::size_t offset : field.words_beside)
    blank(sent, offset, kWord);
  const std::size_t other = sent.find_first_not_of('\0');
  return other == std::string::npos ? "" : "the byte at " + std::to_string(other) + " is set too";
}

std::string untiled(const std::vector<RecordField>& fields, std::size_t size) {
  std::size_t end = 0;
  for (const RecordField& field : fields) {
    if (field.offset != end) return std::string(field.name) + " begins elsewhere than at " + std::to_string(end);
    end += field.width;
  }
  return end == size ? "" : "the fields end at " + std::to_string(end);
}

}  // namespace kvel::cli::test
