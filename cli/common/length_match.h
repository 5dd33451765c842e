// Length comparisons of HTTP rules, where every operator is converted to an inclusive range before it is sent, and the
// reach of content rules.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cli/common/big_endian.h"
#include "cli/common/keyword_table.h"
#include "kvel/keywords.h"

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

// Of a content rule: its expression and the offset of it together stay below this reach.
inline constexpr std::size_t kContentReach = 256;
inline constexpr char kBeyondContentReach[] =
    "Error: content expression length with offset value cannot be greater than 255";

// Actions of a keyword table; the place holds a LengthRange. "Less than" and "equal" have no upper check, ranges none.
template <auto Place, class Length>
struct GreaterThan {
  template <class Request>
  static Refusal apply(Request& request, const CliToken& token) {
    const std::uint64_t low = std::uint64_t{token_number(token)} + 1;
    if (low > Length::kMaximum) return Length::kRefusal;
    field_at<Place>(request).low = static_cast<std::uint32_t>(low);
    field_at<Place>(request).high = Length::kMaximum;
    return nullptr;
  }
};

template <auto Place, class Length>
struct LessThan {
  template <class Request>
  static Refusal apply(Request& request, const CliToken& token) {
    const std::uint32_t number = token_number(token);
    if (number == 0) return Length::kRefusal;
    field_at<Place>(request).low = std::uint32_t{0};
    field_at<Place>(request).high = number - 1;
    return nullptr;
  }
};

template <auto Place>
struct EqualTo {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request).low = token_number(token);
    field_at<Place>(request).high = token_number(token);
  }
};

template <auto Place>
struct RangeLow {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request).low = token_number(token);
  }
};

template <auto Place>
struct RangeHigh {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request).high = token_number(token);
  }
};

// The keywords of each kind of length, with what else they do in a handler.
template <auto Place, class... Also>
using HeaderLengthKeywords = KeywordRows<On<Ids<kw::header_length_greater>, GreaterThan<Place, HeaderLength>, Also...>,
                                         On<Ids<kw::header_length_less>, LessThan<Place, HeaderLength>, Also...>,
                                         On<Ids<kw::header_length_equal>, EqualTo<Place>, Also...>,
                                         On<Ids<kw::header_length_range_low>, RangeLow<Place>, Also...>,
                                         On<Ids<kw::header_length_range_high>, RangeHigh<Place>, Also...>>;

template <auto Place, class... Also>
using UrlLengthKeywords = KeywordRows<On<Ids<kw::url_length_greater>, GreaterThan<Place, UrlLength>, Also...>,
                                      On<Ids<kw::url_length_less>, LessThan<Place, UrlLength>, Also...>,
                                      On<Ids<kw::url_length_equal>, EqualTo<Place>, Also...>,
                                      On<Ids<kw::url_length_range_low>, RangeLow<Place>, Also...>,
                                      On<Ids<kw::url_length_range_high>, RangeHigh<Place>, Also...>>;

template <auto Place, class... Also>
using ContentLengthKeywords =
    KeywordRows<On<Ids<kw::content_length_greater>, GreaterThan<Place, ContentLength>, Also...>,
                On<Ids<kw::content_length_less>, LessThan<Place, ContentLength>, Also...>,
                On<Ids<kw::content_length_equal>, EqualTo<Place>, Also...>,
                On<Ids<kw::content_length_range_low>, RangeLow<Place>, Also...>,
                On<Ids<kw::content_length_range_high>, RangeHigh<Place>, Also...>>;

}  // namespace kvel::cli
