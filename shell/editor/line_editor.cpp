// The prompt, on libedit.
#include "shell/editor/line_editor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <histedit.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "encoding/utf8.h"
#include "process/signals.h"
#include "shell/matcher/help.h"
#include "shell/matcher/lexer.h"
#include "shell/session/memory_file.h"
#include "shell/session/output_filter.h"
#include "shell/session/save_file.h"

namespace kvel::shell {

namespace {

constexpr int kHistoryLines = 1000;

struct EditLineEnd {
  void operator()(EditLine* editor) const { el_end(editor); }
};
struct HistoryEnd {
  void operator()(History* history) const { history_end(history); }
};

// The interrupt key ends neither the shell nor a command; one that can be interrupted, or lends the terminal to another
// program, sees to the key itself, and so does the editor while a line is typed.
class InterruptsIgnored {
 public:
  InterruptsIgnored() {
    struct sigaction action {};
    action.sa_handler = [](int) {};  // not SIG_IGN, which a command takes for the wish of whoever started the shell
    action.sa_flags = SA_RESTART;
    if (!is_ignored(SIGINT)) is_set_ = sigaction(SIGINT, &action, &previous_) == 0;
  }
  InterruptsIgnored(const InterruptsIgnored&) = delete;
  InterruptsIgnored& operator=(const InterruptsIgnored&) = delete;
  ~InterruptsIgnored() {
    if (is_set_) sigaction(SIGINT, &previous_, nullptr);
  }

 private:
  bool is_set_ = false;
  struct sigaction previous_ {};
};

class LineEditor {
 public:
  LineEditor(Session& session, std::filesystem::path history_file);
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;
  ~LineEditor() = default;

  void run();

 private:
  static LineEditor& self(EditLine* editor);
  static char* prompt_of(EditLine* editor);
  static unsigned char complete_key(EditLine* editor, int);
  static unsigned char help_key(EditLine* editor, int);
  static unsigned char cancel_key(EditLine* editor, int);

  [[nodiscard]] std::string_view text_before_cursor() const;
  void replace_word(const Completion& completion, std::string_view typed, const std::string& replacement);
  void load_history();
  void remember(const std::string& line);
  [[nodiscard]] bool save_history();

  Session& session_;
  std::filesystem::path history_file_;
  std::string prompt_;
  bool cancelled_ = false;  // the line that is being read
  std::unique_ptr<History, HistoryEnd> history_;
  std::unique_ptr<EditLine, EditLineEnd> editor_;
};

LineEditor::LineEditor(Session& session, std::filesystem::path history_file)
    : session_(session),
      history_file_(std::move(history_file)),
      history_(history_init()),
      editor_(el_init("kvelsh", stdin, stdout, stderr)) {
  EditLine* editor = editor_.get();
  el_set(editor, EL_CLIENTDATA, this);
  el_set(editor, EL_PROMPT, &LineEditor::prompt_of);
  el_set(editor, EL_EDITOR, "emacs");
  el_set(editor, EL_SIGNAL, 1);
  el_set(editor, EL_SETTY, "-d", "-isig", nullptr);  // while a line is typed, the interrupt key is a key like any other
  el_set(editor, EL_ADDFN, "kvel-complete", "Complete the word", &LineEditor::complete_key);
  el_set(editor, EL_ADDFN, "kvel-help", "List what may be typed next", &LineEditor::help_key);
  el_set(editor, EL_ADDFN, "kvel-cancel", "Cancel the line", &LineEditor::cancel_key);
  el_set(editor, EL_BIND, "^C", "kvel-cancel", nullptr);
  el_set(editor, EL_BIND, "^I", "kvel-complete", nullptr);
  el_set(editor, EL_BIND, "?", "kvel-help", nullptr);
  el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);

  HistEvent event;
  history(history_.get(), &event, H_SETSIZE, kHistoryLines);
  history(history_.get(), &event, H_SETUNIQUE, 1);
  el_set(editor, EL_HIST, history, history_.get());
  load_history();
}

LineEditor& LineEditor::self(EditLine* editor) {
  void* data = nullptr;
  el_get(editor, EL_CLIENTDATA, &data);
  return *static_cast<LineEditor*>(data);
}

char* LineEditor::prompt_of(EditLine* editor) { return self(editor).prompt_.data(); }

std::string_view LineEditor::text_before_cursor() const {
  const LineInfo* line = el_line(editor_.get());
  return {line->buffer, static_cast<std::size_t>(line->cursor - line->buffer)};
}

// What follows a name or text that is being typed freely: there "?" is a character like any other.
bool types_freely(const Session& session, std::string_view before) {
  const LexedLine line = lex(before);
  if (line.error && line.error->kind == LexErrorKind::unclosed_quote) return true;
  return complete_with_filters(session.grammar(), session.modes(), before).in_text;
}

unsigned char LineEditor::help_key(EditLine* editor, int) {
  LineEditor& self_ref = self(editor);
  const std::string before(self_ref.text_before_cursor());
  if (types_freely(self_ref.session_, before)) {
    el_insertstr(editor, "?");
    return CC_REFRESH;
  }
  std::fputs("?\n", stdout);
  const auto help = help_with_filters(self_ref.session_.grammar(), self_ref.session_.modes(), before);
  if (!help) {
    std::fputs(format_mismatch(help.error(), before).c_str(), stdout);
  } else {
    std::size_t width = 0;
    for (const Expected& expected : *help)
      width = std::max(width, expected.text.size());
    for (const Expected& expected : *help)
      std::fputs(fmt::format("  {:<{}}  {}\n", expected.text, width, expected.help).c_str(), stdout);
  }
  std::fflush(stdout);
  return CC_REDISPLAY;
}

unsigned char LineEditor::cancel_key(EditLine* editor, int) {
  self(editor).cancelled_ = true;
  std::fputs("^C\n", stdout);
  std::fflush(stdout);
  return CC_NEWLINE;
}

// The whole characters that all candidates begin with.
std::string common_prefix(const std::vector<std::string>& candidates) {
  std::string prefix = candidates.front();
  for (const std::string& candidate : candidates) {
    const auto end = std::mismatch(prefix.begin(), prefix.end(), candidate.begin(), candidate.end()).first;
    prefix.erase(end, prefix.end());
  }
  std::size_t whole = 0;
  while (whole < prefix.size()) {
    const std::size_t length = encoding::decode_utf8(prefix, whole).length;
    if (length == 0) break;
    whole += length;
  }
  prefix.resize(whole);
  return prefix;
}

void LineEditor::replace_word(const Completion& completion, std::string_view typed, const std::string& replacement) {
  el_deletestr(editor_.get(), static_cast<int>(encoding::count_characters(typed.substr(completion.column))));
  el_insertstr(editor_.get(), replacement.c_str());
}

unsigned char LineEditor::complete_key(EditLine* editor, int) {
  LineEditor& self_ref = self(editor);
  const std::string before(self_ref.text_before_cursor());
  const Completion completion = complete_with_filters(self_ref.session_.grammar(), self_ref.session_.modes(), before);
  std::vector<std::string> candidates = completion.words;
  for (const std::string_view hook : completion.hooks) {
    auto names = self_ref.session_.object_names(hook, completion.partial);
    candidates.insert(candidates.end(), names.begin(), names.end());
  }
  std::sort(candidates.begin(), candidates.end());
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  if (candidates.empty()) return CC_REFRESH_BEEP;

  if (candidates.size() == 1) {
    const std::string& only = candidates.front();
    self_ref.replace_word(completion, before, (completion.quoted ? quote(only) : quote_if_needed(only)) + " ");
    return CC_REFRESH;
  }
  const std::string prefix = common_prefix(candidates);
  if (prefix.size() > completion.partial.size() && !completion.quoted && quote_if_needed(prefix) == prefix) {
    self_ref.replace_word(completion, before, prefix);
    return CC_REFRESH;
  }
  std::fputc('\n', stdout);
  for (const std::string& candidate : candidates)
    std::fputs(fmt::format("  {}\n", candidate).c_str(), stdout);
  std::fflush(stdout);
  return CC_REDISPLAY;
}

void LineEditor::load_history() {
  if (history_file_.empty()) return;
  const mode_t mask = umask(077);  // the folder may be that of the store, too
  std::error_code error;
  std::filesystem::create_directories(history_file_.parent_path(), error);
  umask(mask);
  HistEvent event;
  history(history_.get(), &event, H_LOAD, history_file_.c_str());  // there is none at the first start
  for (int found = history(history_.get(), &event, H_LAST); found >= 0;
       found = history(history_.get(), &event, H_PREV)) {
    std::string line = event.str;
    while (!line.empty() && line.back() == '\n')
      line.pop_back();
    session_.remember(std::move(line));
  }
}

// Whole or not at all; the library itself would cut the file off before it knows whether there is space.
bool LineEditor::save_history() {
  MemoryFile lines;
  if (lines.error() != 0) return false;
  std::FILE* const stream = fdopen(fcntl(lines.descriptor(), F_DUPFD_CLOEXEC, 0), "w");
  if (stream == nullptr) return false;
  HistEvent event;
  const bool written = history(history_.get(), &event, H_SAVE_FP, stream) >= 0;
  if (std::fclose(stream) != 0 || !written) return false;
  const auto bytes = lines.read();
  const mode_t mask = umask(077);
  const bool saved = bytes && save_file(history_file_, *bytes).has_value();
  umask(mask);
  return saved;
}

// The file is written after every line, so that a session that is cut off loses none.
void LineEditor::remember(const std::string& line) {
  HistEvent event;
  history(history_.get(), &event, H_ENTER, line.c_str());
  session_.remember(line.substr(0, line.find_last_not_of(" \t\r\n") + 1));
  if (history_file_.empty()) return;
  if (!save_history()) {
    std::fputs(fmt::format("kvelsh: the history cannot be saved in {}\n", history_file_.string()).c_str(), stderr);
    history_file_.clear();
  }
}

void LineEditor::run() {
  const InterruptsIgnored ignored;
  for (;;) {
    prompt_ = session_.prompt();
    cancelled_ = false;
    int length = 0;
    const char* typed = el_gets(editor_.get(), &length);
    if (typed == nullptr || length <= 0) break;  // end of input
    if (cancelled_) continue;
    const std::string line(typed, static_cast<std::size_t>(length));
    if (line.find_first_not_of(" \t\r\n") != std::string::npos) remember(line);
    const Execution execution = session_.execute(line);
    std::fputs(execution.error_message.c_str(), stdout);
    if (execution.outcome == Outcome::quit) return;
  }
  std::fputc('\n', stdout);
}

}  // namespace

void run_line_editor(Session& session, const std::filesystem::path& history_file) {
  LineEditor(session, history_file).run();
}

}  // namespace kvel::shell
