// What may follow a show command behind "|": here the form of its output.
#pragma once

#include <optional>
#include <string_view>
#include <tl/expected.hpp>

#include "output/output.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/mismatch.h"

namespace kvel::shell {

struct OutputFilter {
  output::Format format = output::Format::text;
};

// A line cut at its first word "|" that stands outside quotes.
struct FilteredLine {
  std::string_view command;
  std::string_view filter;  // from the "|" to the end of the line
};
[[nodiscard]] std::optional<FilteredLine> split_filter(const LexedLine& line);

// Reads "| xml" or "| json". The column of a mismatch counts from the start of the line that `filter` is part of.
[[nodiscard]] tl::expected<OutputFilter, Mismatch> parse_filter(const FilteredLine& line);

}  // namespace kvel::shell
