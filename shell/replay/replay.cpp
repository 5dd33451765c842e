// Replaying commands.
#include "shell/replay/replay.h"

#include <fmt/format.h>
#include <stdio_ext.h>

#include <algorithm>
#include <csignal>
#include <cstring>

#include "encoding/utf8.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/printable.h"
#include "shell/replay/line_reader.h"

namespace kvel::shell {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kNoReason = "the command failed without a reason";

void print_error(std::string_view text) {
  std::fflush(stdout);  // what the commands printed so far comes first
  const std::string shown = printable_lines(text);
  std::fwrite(shown.data(), 1, shown.size(), stderr);
}

std::string_view first_line(std::string_view text) { return text.substr(0, text.find('\n')); }

// Why a line failed: the reason in a line, and further lines, each with its line end.
struct Explanation {
  std::string reason;
  std::string details;
};

// The reason is the first line that says to be an error; whatever else was printed follows as it is.
Explanation explanation_of(std::string_view message) {
  message.remove_prefix(std::min(message.find_first_not_of('\n'), message.size()));
  std::size_t start = message.starts_with(kErrorPrefix) ? 0 : message.find("\n" + std::string(kErrorPrefix));
  if (start == std::string_view::npos) start = 0;
  if (message.substr(start).starts_with('\n')) ++start;
  const std::string_view line = first_line(message.substr(start));
  Explanation explanation;
  explanation.reason = line.starts_with(kErrorPrefix) ? line.substr(kErrorPrefix.size()) : line;
  if (explanation.reason.empty()) explanation.reason = kNoReason;
  explanation.details = message.substr(0, start);
  explanation.details += message.substr(std::min(start + line.size() + 1, message.size()));
  if (!explanation.details.empty() && !explanation.details.ends_with('\n')) explanation.details += '\n';
  return explanation;
}

// Characters up to a byte offset, from 1.
std::size_t column_at(std::string_view line, std::size_t offset) {
  std::size_t column = 1;
  for (std::size_t at = 0; at < std::min(offset, line.size()); ++column)
    at += std::max<std::size_t>(encoding::decode_utf8(line, at).length, 1);
  return column + (offset > line.size() ? offset - line.size() : 0);
}

std::string lines_were(std::size_t count) { return count == 1 ? "1 line was" : fmt::format("{} lines were", count); }

}  // namespace

void Replay::stream(std::FILE* stream, const std::string& name) {
  enter(name);
  LineReader reader(stream, kMaxLineBytes);
  std::string line;
  end_notice_.at(1, carried_out_);
  while (!over_ && reader.next(line)) {
    if (reader.number() == 1 && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
    if (reader.ended_without_newline()) {
      print_error(fmt::format("{}:{}: warning: the file ends within this line; it may have been cut off\n", name_,
                              reader.number()));
    }
    carry_out(line, reader.number());
    end_notice_.at(reader.number() + 1, carried_out_);
  }
  if (reader.endless() || reader.error() != 0) {
    succeeded_ = false;
    const std::string why = reader.endless()
                                ? fmt::format("the line does not end within {} bytes", LineReader::kEndlessBytes)
                                : std::strerror(reader.error());
    print_error(fmt::format("{}:{}: error: cannot read on: {}\n", name_, reader.number() + 1, why));
  }
  leave();
}

void Replay::commands(std::string_view commands) {
  enter("-c");
  for (std::string_view command : split_commands(commands)) {
    command.remove_prefix(std::min(command.find_first_not_of(' '), command.size()));
    carry_out(command, ++command_number_);
    if (over_) break;
  }
  leave();
}

void Replay::enter(const std::string& name) {
  name_ = name;
  end_notice_.enter(name);
}

void Replay::leave() {
  report_passed_over();
  session_.leave_modes();
}

void Replay::carry_out(std::string_view line, std::size_t number) {
  end_notice_.at(number, carried_out_);
  const Execution execution = session_.execute(line);
  switch (execution.outcome) {
    case Outcome::nothing:
      return;
    case Outcome::passed_over:
      return pass_over(number);
    case Outcome::done:
    case Outcome::quit:
      report_passed_over();
      ++carried_out_;
      over_ = execution.outcome == Outcome::quit;
      if (!execution.warning.empty())
        print_error(fmt::format("{}:{}: warning: {}\n", name_, number, execution.warning));
      break;
    case Outcome::failed:
      report_passed_over();
      report(line, number, execution);
      if (execution.interrupted) std::raise(SIGINT);  // whoever interrupts a replay means all of it
  }
  if (__fpending(stdout) > 0) std::fflush(stdout);  // a signal may end the process
}

void Replay::report(std::string_view line, std::size_t number, const Execution& execution) {
  succeeded_ = false;
  failed_line_ = number;
  const std::size_t first_word = std::min(line.find_first_not_of(" \t"), line.size());
  const std::size_t offset = execution.mismatch ? execution.mismatch->column : first_word;
  const Explanation explanation =
      explanation_of(execution.mismatch ? describe(*execution.mismatch) : execution.error_message);
  print_error(fmt::format("{}:{}:{}: error: {}\n{}{}", name_, number, column_at(line, offset), explanation.reason,
                          mark_column(line, offset), explanation.details));
  if (execution.manager_is_lost) {
    end_at(number, "the manager was lost");
  } else if (on_error_ == OnError::stop) {
    end_at(number, "a line failed");
  }
}

void Replay::end_at(std::size_t number, std::string_view why) {
  over_ = true;
  print_error(fmt::format("{}:{}: error: the replay ends here, since {}; {} carried out\n", name_, number, why,
                          lines_were(carried_out_)));
}

void Replay::pass_over(std::size_t number) {
  if (passed_over_++ == 0) {
    first_passed_over_ = number;
    by_indentation_ = true;
  }
  last_passed_over_ = number;
  by_indentation_ = by_indentation_ && session_.passed_over_by_indentation();
}

void Replay::report_passed_over() {
  if (passed_over_ == 0) return;
  const std::string lines = first_passed_over_ == last_passed_over_
                                ? fmt::format("{}", first_passed_over_)
                                : fmt::format("{}-{}", first_passed_over_, last_passed_over_);
  print_error(fmt::format(
      "{}:{}: error: {} passed over: {}\n", name_, lines, lines_were(passed_over_),
      by_indentation_ ? fmt::format("indented below line {}, which failed", failed_line_)
                      : fmt::format("up to the next command of the top mode, since line {} failed", failed_line_)));
  passed_over_ = 0;
}

}  // namespace kvel::shell
