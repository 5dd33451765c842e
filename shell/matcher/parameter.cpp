// Numbers, addresses and lengths.
#include "shell/matcher/parameter.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace kvel::shell {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_decimal(std::string_view typed) { return !typed.empty() && std::all_of(typed.begin(), typed.end(), is_digit); }

// Any count of digits: what does not fit is read as the largest value, which no range holds.
std::uint64_t decimal_value(std::string_view digits) {
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return error == std::errc() ? value : std::numeric_limits<std::uint64_t>::max();
}

// Four decimal parts of 0 to 255 without leading zeros, which some read as octal.
std::optional<std::uint32_t> read_address(std::string_view typed) {
  std::uint32_t address = 0;
  for (int part = 0; part < 4; ++part) {
    const std::size_t dot = part < 3 ? typed.find('.') : typed.size();
    if (dot == std::string_view::npos) return std::nullopt;
    const std::string_view digits = typed.substr(0, dot);
    if (!is_decimal(digits) || digits.size() > 3 || (digits.size() > 1 && digits.front() == '0')) return std::nullopt;
    const std::uint64_t value = decimal_value(digits);
    if (value > 255) return std::nullopt;
    address = address << 8U | static_cast<std::uint32_t>(value);
    typed.remove_prefix(std::min(dot + 1, typed.size()));
  }
  return address;
}

bool resembles_address(std::string_view typed) {
  return is_digit(typed.front()) && typed.find('.') != std::string_view::npos &&
         std::all_of(typed.begin(), typed.end(), [](char c) { return is_digit(c) || c == '.'; });
}

constexpr std::uint32_t kHostMask = 0xFFFFFFFF;

// "10.1.0.0/16"
ParsedParameter read_network(std::string_view typed) {
  const std::size_t slash = typed.find('/');
  const std::string_view address = typed.substr(0, slash);
  if (slash == std::string_view::npos || address.empty() || !resembles_address(address)) {
    return {MismatchKind::unknown_word};
  }
  const std::string_view length = typed.substr(slash + 1);
  const auto number = read_address(address);
  if (!number || !is_decimal(length) || length.size() > 2 || (length.size() > 1 && length.front() == '0') ||
      decimal_value(length) > 32) {
    return {MismatchKind::bad_address};
  }
  const auto bits = static_cast<unsigned>(decimal_value(length));
  return {std::nullopt, *number, bits == 0 ? 0 : kHostMask << (32U - bits)};
}

}  // namespace

ParsedParameter parse_parameter(const Symbol& symbol, std::string_view typed, bool quoted) {
  if (symbol.is_string()) {
    if (typed.empty()) return {MismatchKind::empty_value};
    if (typed.size() > symbol.high) return {MismatchKind::too_long};
    return {};
  }
  if (quoted) return {MismatchKind::unknown_word};
  if (symbol.kind == SymbolKind::number) {
    if (!is_decimal(typed)) return {MismatchKind::not_a_number};
    const std::uint64_t value = decimal_value(typed);
    if (value < symbol.low || value > symbol.high) return {MismatchKind::out_of_range};
    return {std::nullopt, static_cast<std::uint32_t>(value)};
  }
  if (symbol.kind == SymbolKind::network) return read_network(typed);
  if (const auto address = read_address(typed)) return {std::nullopt, *address, kHostMask};
  return {resembles_address(typed) ? MismatchKind::bad_address : MismatchKind::unknown_word};
}

bool may_be_prefix(const Symbol& symbol, std::string_view typed, bool quoted) {
  if (symbol.is_string()) return typed.size() <= symbol.high;
  if (quoted) return false;
  if (typed.empty()) return true;
  if (symbol.kind == SymbolKind::number) return is_decimal(typed) && decimal_value(typed) <= symbol.high;
  if (symbol.kind == SymbolKind::network && typed.find('/') != std::string_view::npos) {
    const std::string_view length = typed.substr(typed.find('/') + 1);
    return read_address(typed.substr(0, typed.find('/'))) && (length.empty() || !read_network(typed).refusal);
  }
  return is_decimal(typed) || resembles_address(typed);
}

std::string render_number(const Symbol& symbol, std::uint32_t value) {
  if (symbol.kind == SymbolKind::number) return std::to_string(value);
  std::string rendered;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    if (!rendered.empty()) rendered.push_back('.');
    rendered += std::to_string(value >> shift & 0xFFU);
  }
  return rendered;
}

std::string render_string(const Symbol& symbol, std::string_view value, bool quoted) {
  if (quoted) return quote(value);
  if (symbol.kind != SymbolKind::text) return quote_if_needed(value);
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  // Where no word of the text has begun, "?" asks for help at a prompt, and a tab completes.
  const bool typable = !value.starts_with('?') && value.find(" ?") == std::string_view::npos &&
                       value.find('\t') == std::string_view::npos;
  const bool whole =
      typable && !value.empty() && value.front() != '"' && !is_blank(value.front()) && !is_blank(value.back());
  return whole ? std::string(value) : quote(value);
}

}  // namespace kvel::shell
