// Reading output filters.
#include "shell/session/output_filter.h"

#include <algorithm>
#include <array>

namespace kvel::shell {

namespace {

struct FilterWord {
  std::string_view word;
  std::string_view help;
  output::Format format;
};

constexpr std::array kFilterWords{
    FilterWord{"json", "Print the output as a JSON document", output::Format::json},
    FilterWord{"xml", "Print the output as an XML document", output::Format::xml},
};

Mismatch mismatch(MismatchKind kind, std::size_t column, std::string_view word) {
  Mismatch result(kind);
  result.column = column;
  result.word = word;
  for (const FilterWord& row : kFilterWords) {
    result.expected.push_back({Expected::Kind::word, std::string(row.word), std::string(row.help)});
  }
  return result;
}

}  // namespace

std::optional<FilteredLine> split_filter(const LexedLine& line) {
  const auto bar = std::find_if(line.words.begin(), line.words.end(),
                                [](const Word& word) { return !word.quoted && word.text == "|"; });
  if (bar == line.words.end() || bar == line.words.begin()) return std::nullopt;
  return FilteredLine{line.line.substr(0, bar->column), line.line.substr(bar->column)};
}

tl::expected<OutputFilter, Mismatch> parse_filter(const FilteredLine& line) {
  const LexedLine words = lex(line.filter);
  const std::size_t base = line.command.size();
  if (words.words.size() < 2) return tl::unexpected(mismatch(MismatchKind::incomplete, base + line.filter.size(), ""));
  const Word& word = words.words[1];
  const auto* row = std::find_if(kFilterWords.begin(), kFilterWords.end(), [&](const FilterWord& candidate) {
    return !word.quoted && candidate.word.starts_with(word.text);
  });
  if (row == kFilterWords.end()) {
    return tl::unexpected(mismatch(MismatchKind::unknown_word, base + word.column, word.text));
  }
  if (words.words.size() > 2) {
    Mismatch extra(MismatchKind::unexpected_word);
    extra.column = base + words.words[2].column;
    extra.word = words.words[2].text;
    return tl::unexpected(extra);
  }
  return OutputFilter{row->format};
}

}  // namespace kvel::shell
