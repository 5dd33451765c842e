// Parsing output filters, word by word, and what may come next.
#include "shell/session/output_filter.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "shell/matcher/match.h"
#include "shell/matcher/misspelling.h"
#include "shell/matcher/walk.h"

namespace kvel::shell {

namespace {

enum class Argument : std::uint8_t { none, text, file };

struct FilterWord {
  std::string_view word;
  std::string_view help;
  Argument argument;
  output::Format format;  // of xml and json; else text
  LineFilter::Kind lines = LineFilter::Kind::include;

  [[nodiscard]] bool is_document() const { return format != output::Format::text; }
};

// Sorted, and each word begins with a letter of its own, so that every abbreviation is one.
constexpr std::array kFilterWords{
    FilterWord{"begin", "Print from the first line on that contains a text", Argument::text, output::Format::text,
               LineFilter::Kind::begin},
    FilterWord{"count", "Print the number of lines", Argument::none, output::Format::text, LineFilter::Kind::count},
    FilterWord{"exclude", "Print the lines that do not contain a text", Argument::text, output::Format::text,
               LineFilter::Kind::exclude},
    FilterWord{"include", "Print the lines that contain a text", Argument::text, output::Format::text,
               LineFilter::Kind::include},
    FilterWord{"json", "Print the output as a JSON document", Argument::none, output::Format::json},
    FilterWord{"save", "Write the output to a file", Argument::file, output::Format::text},
    FilterWord{"xml", "Print the output as an XML document", Argument::none, output::Format::xml},
};

bool is_bar(const Word& word) { return !word.quoted && word.text == "|"; }

// Takes the words of the filters one by one, the first "|" included.
class FilterReader {
 public:
  // A mismatch when the word is not allowed here; columns are those of the word.
  std::optional<Mismatch> take(const Word& word) {
    switch (next_) {
      case Next::bar:
        if (!is_bar(word) || filters_.file) return mismatch(MismatchKind::unexpected_word, word);
        next_ = Next::filter;
        return std::nullopt;
      case Next::filter:
        return take_filter(word);
      case Next::argument:
        break;
    }
    return take_argument(word);
  }

  // What may follow the words taken so far.
  [[nodiscard]] std::vector<Expected> expected() const {
    if (next_ == Next::argument) {
      const bool is_file = filter_->argument == Argument::file;
      return {is_file ? Expected{Expected::Kind::parameter, "FILE", "Path of the file, replaced when there is one"}
                      : Expected{Expected::Kind::parameter, "TEXT", "Word, or text in quotes, to search for"}};
    }
    std::vector<Expected> expected;
    if (next_ == Next::filter) {
      for (const FilterWord& row : kFilterWords) {
        if (refusal_of(row).empty()) {
          expected.push_back({Expected::Kind::word, std::string(row.word), std::string(row.help)});
        }
      }
    } else {
      if (!filters_.file) expected.push_back(expected_bar());
      if (filter_ != nullptr) expected.push_back(expected_end());
    }
    return expected;
  }

  [[nodiscard]] bool wants_argument() const { return next_ == Next::argument; }
  [[nodiscard]] bool may_end() const { return next_ == Next::bar; }
  [[nodiscard]] Mismatch incomplete(std::size_t column) const {
    return mismatch(MismatchKind::incomplete, {.text = {}, .column = column});
  }
  [[nodiscard]] Mismatch unknown(const Word& word) const {
    Mismatch unknown = mismatch(MismatchKind::unknown_word, word);
    for (const Expected& candidate : unknown.expected) {
      if (!word.quoted && is_misspelling(word.text, candidate.text)) unknown.nearby.push_back(candidate.text);
    }
    return unknown;
  }

  OutputFilters filters() && { return std::move(filters_); }

  static Expected expected_bar() { return {Expected::Kind::word, "|", "Filter the output"}; }

 private:
  enum class Next : std::uint8_t { bar, filter, argument };

  // Why a filter may not follow those before it; empty when it may.
  [[nodiscard]] std::string refusal_of(const FilterWord& row) const {
    const bool document = filters_.format != output::Format::text;
    if (row.is_document() && filter_ != nullptr) return "\"" + std::string(row.word) + "\" must be the first filter";
    if (document && row.argument != Argument::file) {
      return "\"" + std::string(row.word) + "\" filters text: after \"xml\" or \"json\" only \"save\" is allowed";
    }
    return {};
  }

  std::optional<Mismatch> take_filter(const Word& word) {
    const auto* row = std::find_if(kFilterWords.begin(), kFilterWords.end(), [&](const FilterWord& candidate) {
      return !word.quoted && candidate.word.starts_with(word.text);
    });
    if (row == kFilterWords.end()) return unknown(word);
    if (std::string reason = refusal_of(*row); !reason.empty()) {
      Mismatch refused = mismatch(MismatchKind::misplaced, word);
      refused.reason = std::move(reason);
      return refused;
    }
    filter_ = row;
    next_ = row->argument == Argument::none ? Next::bar : Next::argument;
    if (row->is_document()) {
      filters_.format = row->format;
    } else if (row->argument == Argument::none) {
      filters_.lines.push_back({row->lines});
    }
    return std::nullopt;
  }

  std::optional<Mismatch> take_argument(const Word& word) {
    if (is_bar(word)) return incomplete(word.column);
    if (word.text.empty()) return mismatch(MismatchKind::empty_value, word);
    if (filter_->argument == Argument::file) {
      filters_.file = word.text;
    } else {
      filters_.lines.push_back({filter_->lines, std::string(word.text)});
    }
    next_ = Next::bar;
    return std::nullopt;
  }

  [[nodiscard]] Mismatch mismatch(MismatchKind kind, const Word& word) const {
    Mismatch result(kind);
    result.column = word.column;
    result.word = word.text;
    result.expected = expected();
    return result;
  }

  OutputFilters filters_;
  const FilterWord* filter_ = nullptr;  // the last one
  Next next_ = Next::bar;
};

// The filters of a command that may have them.
std::optional<FilteredLine> filters_of(const Grammar& grammar, ModeStack stack, const LexedLine& line) {
  const auto split = split_filters(line);
  if (!split) return std::nullopt;
  const auto matched = match(grammar, stack, split->command);
  if (!matched || !matched->command->filterable) return std::nullopt;
  return split;
}

// The filters up to the cursor: the word under it, and a reader that has taken those before it.
struct FilterCursor {
  explicit FilterCursor(const FilteredLine& split) : line(lex(split.filters)) {
    std::size_t whole = line.words.size();
    if (line.unfinished) {
      typed = line.unfinished;
    } else if (!line.ends_in_blank && !line.error) {
      typed = line.words[--whole];
    }
    for (std::size_t index = 0; index < whole && !mismatch; ++index)
      mismatch = reader.take(line.words[index]);
    if (line.error && !line.unfinished && !mismatch) mismatch = Mismatch(*line.error);
  }

  // The candidates under the cursor.
  [[nodiscard]] std::vector<Expected> candidates() const {
    std::vector<Expected> found = reader.expected();
    if (typed && !reader.wants_argument()) {
      std::erase_if(found, [&](const Expected& candidate) {
        return candidate.kind == Expected::Kind::end || typed->quoted || !candidate.text.starts_with(typed->text);
      });
    }
    return found;
  }

  LexedLine line;
  FilterReader reader;
  std::optional<Word> typed;
  std::optional<Mismatch> mismatch;  // of the words before the cursor
};

tl::unexpected<Mismatch> refused(Mismatch mismatch, const FilteredLine& line) {
  mismatch.column += line.command.size();
  return tl::unexpected(std::move(mismatch));
}

}  // namespace

std::optional<FilteredLine> split_filters(const LexedLine& line) {
  const auto bar = std::find_if(line.words.begin(), line.words.end(), is_bar);
  if (bar == line.words.end() || bar == line.words.begin()) return std::nullopt;
  return FilteredLine{line.line.substr(0, bar->column), line.line.substr(bar->column)};
}

tl::expected<OutputFilters, Mismatch> parse_filters(const FilteredLine& line) {
  const LexedLine words = lex(line.filters);
  FilterReader reader;
  for (const Word& word : words.words) {
    if (auto mismatch = reader.take(word)) return refused(*std::move(mismatch), line);
  }
  if (words.error) return refused(Mismatch(*words.error), line);
  if (!reader.may_end()) return refused(reader.incomplete(line.filters.size()), line);
  return std::move(reader).filters();
}

tl::expected<std::vector<Expected>, Mismatch> help_with_filters(const Grammar& grammar, ModeStack stack,
                                                                std::string_view prefix) {
  const LexedLine line = lex(prefix);
  if (const auto split = filters_of(grammar, stack, line)) {
    FilterCursor cursor(*split);
    if (cursor.mismatch) return refused(*std::move(cursor.mismatch), *split);
    auto help = cursor.candidates();
    if (help.empty()) return refused(cursor.reader.unknown(*cursor.typed), *split);
    return help;
  }
  auto help = help_at(grammar, stack, prefix);
  const bool may_end = help && !help->empty() && help->back().kind == Expected::Kind::end;
  if (may_end && match(grammar, stack, line)->command->filterable) {
    help->insert(help->end() - 1, FilterReader::expected_bar());
  }
  return help;
}

Completion complete_with_filters(const Grammar& grammar, ModeStack stack, std::string_view prefix) {
  const LexedLine line = lex(prefix);
  const auto split = filters_of(grammar, stack, line);
  if (!split) return complete_at(grammar, stack, prefix);
  const FilterCursor cursor(*split);
  Completion completion;
  completion.column = prefix.size();
  if (cursor.typed) {
    completion.column = split->command.size() + cursor.typed->column;
    completion.partial = cursor.typed->text;
    completion.quoted = cursor.typed->quoted;
  }
  if (cursor.mismatch) return completion;
  completion.in_text = cursor.typed && cursor.reader.wants_argument();
  for (const Expected& candidate : cursor.candidates()) {
    if (candidate.kind == Expected::Kind::word) completion.words.push_back(candidate.text);
  }
  return completion;
}

}  // namespace kvel::shell
