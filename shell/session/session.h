// One operator's session: the stack of modes, and the execution of command lines. It knows nothing of where lines come
// from; the editor and the replay give them to it and show its error messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shell/configuration/object_identity.h"
#include "shell/grammar/grammar.h"
#include "shell/matcher/match.h"
#include "shell/matcher/purpose.h"
#include "shell/plugin/plugin.h"
#include "shell/session/call_watch.h"
#include "shell/session/failed_block.h"

namespace kvel::shell {

enum class Outcome : std::uint8_t {
  done,         // the line was carried out
  nothing,      // there was nothing to do: a blank line or a comment
  failed,       // it was not carried out
  passed_over,  // neither: it belongs to a line that failed (shell/session/failed_block.h)
  quit,         // the session is over
};

struct Execution {
  Outcome outcome = Outcome::done;
  std::string error_message;         // why a line failed, whole lines; what its handler has printed is in it
  std::optional<Mismatch> mismatch;  // of a line that matches no command; the message shows it under the line
  bool manager_is_lost = false;      // the line failed for that
  std::string warning{};             // what else the operator has to know of a line that was carried out; no line end
  bool printed_in_part = false;      // what the line failed at is told, and the rest of what it shows was printed
  bool interrupted = false;          // the line failed because the interrupt key was pressed
  // The line failed because the object or class of this mode is gone: the mode is left.
  std::optional<std::size_t> left_level{};

  [[nodiscard]] static Execution failed(std::string error_message) {
    return {Outcome::failed, std::move(error_message), std::nullopt, false};
  }
  [[nodiscard]] static Execution failed(Mismatch mismatch, std::string_view line) {
    std::string error_message = format_mismatch(mismatch, line);
    return {Outcome::failed, std::move(error_message), std::move(mismatch), false};
  }
};

// Where a session's command lines come from.
enum class CommandSource : std::uint8_t {
  files,           // or the command line; standard input is free
  standard_input,  // replayed
  prompt,          // typed
};

class Session {
 public:
  // Grammar and plug-in outlive the session.
  Session(const Grammar& grammar, Plugin& plugin, int context, std::uint32_t session_id);

  // Carries out one command line. What the command prints goes to standard output, but for a failed one, which has
  // no results: then it is part of the error message.
  [[nodiscard]] Execution execute(std::string_view line);

  // From now on long output of show commands is paged where it goes to a terminal.
  void page_output() { pages_output_ = true; }
  [[nodiscard]] bool pages_output() const { return pages_output_; }

  // Files, by default.
  void reads_from(CommandSource source) { source_ = source; }

  // The watch of the channel that handlers use: from now on an object is entered in one call and known again, and a
  // lost manager is told from other failures. The watch outlives the session.
  void watch_calls(CallWatch& calls) { calls_ = &calls; }

  // Back to the top mode, whatever has failed before.
  void leave_modes() {
    modes_.resize(1);
    failed_block_.end();
  }
  // Whether the last line that was passed over is indented deeper than the failed one.
  [[nodiscard]] bool passed_over_by_indentation() const { return failed_block_.covers_by_indentation(); }

  [[nodiscard]] ModeStack modes() const { return modes_; }
  [[nodiscard]] std::string prompt() const;
  [[nodiscard]] const Grammar& grammar() const { return grammar_; }
  // The names that a completion hook gives for a word that begins with `partial`.
  [[nodiscard]] std::vector<std::string> object_names(std::string_view hook, std::string_view partial) const;

  // The lines that "history" shows; the editor adds what it reads.
  void remember(std::string line) { history_.push_back(std::move(line)); }

 private:
  Execution execute_words(const LexedLine& words, Purpose& purpose);
  Execution execute_match(const Match& match);
  void leave_what_failed(std::size_t indentation, const Purpose& purpose);
  void explain_failure(Execution& execution, const Match& match) const;
  Execution call_handler(const Match& match, std::string_view symbol);
  Execution run_own_command(const Match& match);
  std::optional<Execution> refuse_other_object(const Match& match);
  [[nodiscard]] std::optional<ObjectIdentity> entered_identity(const ModeLevel& entered) const;
  Execution show_applied_policies(const Match& match);
  Execution apply(const Match& match);
  Execution send_traffic(const Match& match);

  const Grammar& grammar_;
  Plugin& plugin_;
  int context_;
  std::uint32_t session_id_;
  CommandSource source_ = CommandSource::files;
  CallWatch* calls_ = nullptr;
  std::vector<ModeLevel> modes_{1};
  std::vector<std::size_t> indentations_{0};  // of the lines that entered the modes; may be longer than the stack
  std::size_t indentation_ = 0;               // of the line that is being carried out
  // What the modes are of, where that is known; may be longer, too.
  std::vector<std::optional<ObjectIdentity>> identities_{std::nullopt};
  FailedBlock failed_block_;
  std::vector<std::string> history_;
  bool pages_output_ = false;
};

}  // namespace kvel::shell
