// Commands without a prompt: from files, from a stream, or from the command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "shell/replay/end_notice.h"
#include "shell/session/session.h"

namespace kvel::shell {

enum class OnError : std::uint8_t { go_on, stop };

// Carries out every line of streams, and every command of texts with ";" between them, in the order in which they are
// given. A failed line is reported on standard error with its place, as FILE:LINE:COLUMN: error: REASON; the lines that
// belong to it are passed over, and those after them are still carried out. The replay ends before that when the
// manager is lost, and on_error says so of every failed line.
class Replay {
 public:
  // The session outlives the replay.
  explicit Replay(Session& session, OnError on_error = OnError::go_on) : session_(session), on_error_(on_error) {}

  void stream(std::FILE* stream, const std::string& name);
  void commands(std::string_view commands);

  [[nodiscard]] bool succeeded() const { return succeeded_; }  // every line was carried out
  [[nodiscard]] bool is_over() const { return over_; }         // nothing more is carried out

 private:
  void enter(const std::string& name);
  void leave();
  void carry_out(std::string_view line, std::size_t number);
  void report(std::string_view line, std::size_t number, const Execution& execution);
  void end_at(std::size_t number, std::string_view why);
  void pass_over(std::size_t number);
  void report_passed_over();

  Session& session_;
  OnError on_error_;
  EndNotice end_notice_;
  std::string name_;                   // of the source
  std::size_t command_number_ = 0;     // of the texts so far
  std::size_t carried_out_ = 0;        // lines, of all sources
  std::size_t failed_line_ = 0;        // the last one of this source
  std::size_t first_passed_over_ = 0;  // of the lines that belong to it
  std::size_t last_passed_over_ = 0;
  std::size_t passed_over_ = 0;
  bool by_indentation_ = true;  // they are all indented deeper
  bool succeeded_ = true;
  bool over_ = false;
};

}  // namespace kvel::shell
