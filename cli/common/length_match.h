// Length comparisons of HTTP rules: every operator becomes an inclusive range before it is sent.
#pragma once

#include <cstdint>

#include "cli/common/big_endian.h"
#include "cli/common/keyword_table.h"

namespace kvel::cli {

// Sent as buffer(8).
struct LengthRange {
  be32 low;   // offset 0
  be32 high;  // offset 4
};
static_assert(sizeof(LengthRange) == 8);

// A kind of length: its maximum, and the line for a comparison that no length can meet.
struct HeaderLength {
  static constexpr std::uint32_t kMaximum = 255;
  static constexpr char kRefusal[] = "Error: Incorrect header length match, supported range 0-255";
};
struct UrlLength {
  static constexpr std::uint32_t kMaximum = 65535;
  static constexpr char kRefusal[] = "Error: Incorrect url length match, supported range 0-65535";
};
struct ContentLength {
  static constexpr std::uint32_t kMaximum = 4294967295;
  static constexpr char kRefusal[] = "Error: Incorrect content length match, supported range 0-4294967295";
};

// Actions of a keyword table; the member is a LengthRange. "Less than" and "equal" have no upper check, ranges none.
template <auto Member, class Length>
struct GreaterThan {
  template <class Request>
  static Refusal apply(Request& request, const CliToken& token) {
    const std::uint64_t low = std::uint64_t{token_number(token)} + 1;
    if (low > Length::kMaximum) return Length::kRefusal;
    request.*Member = {static_cast<std::uint32_t>(low), Length::kMaximum};
    return nullptr;
  }
};

template <auto Member, class Length>
struct LessThan {
  template <class Request>
  static Refusal apply(Request& request, const CliToken& token) {
    const std::uint32_t number = token_number(token);
    if (number == 0) return Length::kRefusal;
    request.*Member = {std::uint32_t{0}, number - 1};
    return nullptr;
  }
};

template <auto Member>
struct EqualTo {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    request.*Member = {token_number(token), token_number(token)};
  }
};

template <auto Member>
struct RangeLow {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    (request.*Member).low = token_number(token);
  }
};

template <auto Member>
struct RangeHigh {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    (request.*Member).high = token_number(token);
  }
};

}  // namespace kvel::cli
