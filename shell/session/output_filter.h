// What may follow a show command after "|": the format of its output, which of its lines are shown, and a file for it.
//   show running-config | include web | exclude "a b" | count
//   show running-config | xml | save FILE
// "xml" and "json" come first, and only "save" may follow them; nothing follows "save".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "output/output.h"
#include "shell/grammar/grammar.h"
#include "shell/matcher/help.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/mismatch.h"
#include "shell/session/line_filter.h"

namespace kvel::shell {

struct OutputFilters {
  output::Format format = output::Format::text;
  std::vector<LineFilter> lines{};    // of text only
  std::optional<std::string> file{};  // where the output goes instead of standard output
};

// A line cut at its first word "|" outside quotes.
struct FilteredLine {
  std::string_view command;
  std::string_view filters;  // from the "|" to the end of the line
};
[[nodiscard]] std::optional<FilteredLine> split_filters(const LexedLine& line);

// Reads the filters. The column of a mismatch counts from the start of the line that they are part of.
[[nodiscard]] tl::expected<OutputFilters, Mismatch> parse_filters(const FilteredLine& line);

// help_at() and complete_at(), filters included: after a command that may have them, "|" and what follows it.
[[nodiscard]] tl::expected<std::vector<Expected>, Mismatch> help_with_filters(const Grammar& grammar, ModeStack stack,
                                                                              std::string_view prefix);
[[nodiscard]] Completion complete_with_filters(const Grammar& grammar, ModeStack stack, std::string_view prefix);

}  // namespace kvel::shell
