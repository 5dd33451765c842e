// Writes events, texts and bytes as the tests' expectations write them.
#include "tests/cli/notation.h"

#include <array>
#include <cstdio>
#include <ostream>

namespace kvel::cli::test {
namespace {

constexpr std::size_t kNameRecord = 65;
constexpr std::size_t kShortestRun = 5;

std::string two_digits(char byte) {
  std::array<char, 3> digits{};
  std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  return digits.data();
}

}  // namespace

void PrintTo(const Events& events, std::ostream* stream) {
  for (const std::string& event : events)
    *stream << "\n    " << event;
}

Events operator+(Events first, const Events& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::string quoted(std::string_view text, char quote) {
  std::string result(1, quote);
  for (char byte : text) {
    if (byte == quote || byte == '\\') {
      result += '\\';
      result += byte;
    } else if (byte == '\n') {
      result += "\\n";
    } else if (byte < ' ' || byte > '~') {
      result += "\\x" + two_digits(byte);
    } else {
      result += byte;
    }
  }
  return result + quote;
}

std::string out(std::string_view text) { return "out " + quoted(text, '"'); }

std::string hex(std::string_view bytes) {
  std::string result;
  bool after_run = false;
  for (std::size_t start = 0; start < bytes.size();) {
    std::size_t end = bytes.find_first_not_of(bytes[start], start);
    if (end == std::string_view::npos) end = bytes.size();
    const bool is_run = end - start >= kShortestRun;
    if (!result.empty() && (is_run || after_run)) result += ' ';
    if (is_run) {
      result += two_digits(bytes[start]) + "*" + std::to_string(end - start);
    } else {
      for (std::size_t index = start; index < end; ++index)
        result += two_digits(bytes[index]);
    }
    after_run = is_run;
    start = end;
  }
  return result;
}

std::string field(std::string_view text, std::size_t size) {
  std::string bytes(text);
  bytes.resize(size, '\0');
  return bytes;
}

std::string page(std::initializer_list<std::string_view> names) {
  std::string bytes;
  for (std::string_view name : names)
    bytes += field(name, kNameRecord);
  return bytes;
}

}  // namespace kvel::cli::test
