// Replaying commands.
#include "shell/replay/replay.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "shell/matcher/lexer.h"
#include "shell/matcher/utf8.h"
#include "shell/replay/line_reader.h"

namespace kvel::shell {

namespace {

constexpr std::size_t kShownBytes = 500;  // of a failed line; its last character is shown whole

// The line as it can be shown on a terminal.
std::string printable(std::string_view line) {
  std::string shown;
  for (std::size_t at = 0; at < line.size();) {
    if (at >= kShownBytes) return shown + "...";
    const DecodedCharacter character = decode_utf8(line, at);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    if (character.length == 0 || is_unprintable(character.code)) {
      shown += '?';
    } else {
      shown += line.substr(at, length);
    }
    at += length;
  }
  return shown;
}

void print_error(std::string_view text) {
  std::fflush(stdout);  // what the commands printed so far comes first
  std::fputs(printable_lines(text).c_str(), stderr);
}

// Carries out one line; false when the session is over.
bool replay_line(Session& session, std::string_view line, std::string_view location, ReplayResult& result) {
  const Execution execution = session.execute(line);
  if (execution.outcome == Outcome::failed) {
    result.succeeded = false;
    print_error(fmt::format("{}: failed: {}\n{}", location, printable(line), execution.error_message));
  }
  if (!execution.warning.empty()) print_error(fmt::format("{}: warning: {}\n", location, execution.warning));
  result.quit = execution.outcome == Outcome::quit;
  return !result.quit;
}

}  // namespace

ReplayResult replay_stream(Session& session, std::FILE* stream, std::string_view name) {
  ReplayResult result;
  LineReader reader(stream, kMaxLineBytes);
  std::string line;
  while (reader.next(line)) {
    if (reader.ended_without_newline()) {
      print_error(fmt::format("{}:{}: warning: the file ends within this line; it may have been cut off\n", name,
                              reader.number()));
    }
    if (!replay_line(session, line, fmt::format("{}:{}", name, reader.number()), result)) break;
  }
  if (reader.error() != 0) {
    result.succeeded = false;
    print_error(fmt::format("{}:{}: cannot read on: {}\n", name, reader.number() + 1, std::strerror(reader.error())));
  }
  session.leave_modes();
  return result;
}

ReplayResult replay_commands(Session& session, std::string_view commands) {
  ReplayResult result;
  std::size_t number = 0;
  for (std::string_view command : split_commands(commands)) {
    command.remove_prefix(std::min(command.find_first_not_of(' '), command.size()));
    if (!replay_line(session, command, fmt::format("-c:{}", ++number), result)) break;
  }
  session.leave_modes();
  return result;
}

}  // namespace kvel::shell
