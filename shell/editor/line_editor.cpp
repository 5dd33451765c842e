// The prompt, on libedit.
#include "shell/editor/line_editor.h"

#include <fmt/format.h>
#include <histedit.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "encoding/utf8.h"
#include "process/signals.h"
#include "shell/editor/history_file.h"
#include "shell/editor/listing.h"
#include "shell/matcher/help.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/printable.h"
#include "shell/session/memory_file.h"
#include "shell/session/output_filter.h"
#include "shell/session/pager.h"

namespace kvel::shell {

namespace {

// What a terminal puts in front of a paste.
constexpr const char* kPasteBegins = "\x1b[200~";

struct EditLineEnd {
  void operator()(EditLine* editor) const { el_end(editor); }
};

// Has the terminal mark where a paste begins and ends, if it is one that knows how to.
class MarkedPastes {
 public:
  MarkedPastes() {
    const char* terminal = std::getenv("TERM");
    is_on_ = terminal != nullptr && *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
    ask('h');
  }
  MarkedPastes(const MarkedPastes&) = delete;
  MarkedPastes& operator=(const MarkedPastes&) = delete;
  ~MarkedPastes() { ask('l'); }

 private:
  void ask(char what) const {
    if (!is_on_) return;
    std::fputs(fmt::format("\x1b[?2004{}", what).c_str(), stdout);
    std::fflush(stdout);
  }
  bool is_on_ = false;
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
  static unsigned char paste_key(EditLine* editor, int);

  [[nodiscard]] std::string_view text_before_cursor() const;
  void replace_word(const Completion& completion, std::string_view typed, const std::string& replacement);
  void load_history();
  void remember(const std::string& line);
  [[nodiscard]] std::vector<std::string> names_for(const Completion& completion) const;
  [[nodiscard]] std::vector<Expected> expected_names(const std::vector<Expected>& help, std::string_view before) const;
  [[nodiscard]] bool confirms(std::size_t entries) const;
  void show(const Listing& listing) const;
  [[nodiscard]] std::optional<std::string> read_line();

  Session& session_;
  HistoryFile history_file_;
  std::string prompt_;
  bool cancelled_ = false;  // the line that is being read
  std::wstring pasted_;     // what a paste still has for the next prompts
  HistoryLines history_;
  std::unique_ptr<EditLine, EditLineEnd> editor_;
};

LineEditor::LineEditor(Session& session, std::filesystem::path history_file)
    : session_(session),
      history_file_(std::move(history_file)),
      history_(make_history()),
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
  el_set(editor, EL_ADDFN, "kvel-paste", "Insert what is pasted", &LineEditor::paste_key);
  el_set(editor, EL_BIND, kPasteBegins, "kvel-paste", nullptr);
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

bool is_in_quotes(std::string_view before) {
  const LexedLine line = lex(before);
  return line.error && line.error->kind == LexErrorKind::unclosed_quote;
}

// Within quotes, and within a text that takes the rest of the line, "?" is a character like any other.
bool types_freely(const Session& session, std::string_view before) {
  return is_in_quotes(before) || complete_with_filters(session.grammar(), session.modes(), before).in_text;
}

// Sorted, each once.
std::vector<std::string> LineEditor::names_for(const Completion& completion) const {
  std::vector<std::string> names;
  for (const std::string_view hook : completion.hooks) {
    auto found = session_.object_names(hook, completion.partial);
    names.insert(names.end(), found.begin(), found.end());
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

// The names that may be typed where one is expected, with the help of that parameter.
std::vector<Expected> LineEditor::expected_names(const std::vector<Expected>& help, std::string_view before) const {
  const auto parameter = std::find_if(help.begin(), help.end(), [](const Expected& expected) {
    return expected.kind == Expected::Kind::parameter && !expected.text.starts_with('<');
  });
  std::vector<Expected> names;
  if (parameter == help.end()) return names;
  for (const std::string& name : names_for(complete_with_filters(session_.grammar(), session_.modes(), before)))
    names.push_back({Expected::Kind::parameter, quote_if_needed(name), parameter->help});
  return names;
}

bool LineEditor::confirms(std::size_t entries) const {
  std::fputs(fmt::format("Display all {} possibilities? (y or n)", entries).c_str(), stdout);
  std::fflush(stdout);
  wchar_t answer = L'n';
  const bool answered = el_wgetc(editor_.get(), &answer) == 1;
  std::fputc('\n', stdout);
  return answered && (answer == L'y' || answer == L'Y' || answer == L' ');
}

void LineEditor::show(const Listing& listing) const {
  const bool wanted = listing.entries <= kMostUnasked || confirms(listing.entries);
  if (wanted && !(session_.pages_output() && show_in_pager(listing.text))) std::fputs(listing.text.c_str(), stdout);
  std::fflush(stdout);
}

unsigned char LineEditor::help_key(EditLine* editor, int) {
  LineEditor& self_ref = self(editor);
  const std::string before(self_ref.text_before_cursor());
  if (types_freely(self_ref.session_, before)) {
    el_insertstr(editor, "?");
    return CC_REFRESH;
  }
  std::fputs("?\n", stdout);
  const Session& session = self_ref.session_;
  auto help = help_with_filters(session.grammar(), session.modes(), before);
  Listing listing;
  if (!help) {
    listing.add_line(format_mismatch(help.error(), before));
    listing.text.pop_back();
  } else {
    for (Expected& name : self_ref.expected_names(*help, before))
      help->push_back(std::move(name));
    listing.add(*help);
    const std::vector<Expected> outer = outer_help_at(session.grammar(), session.modes(), before);
    if (!outer.empty()) listing.add_line("Of the modes around this one:");
    listing.add(outer);
  }
  self_ref.show(listing);
  return CC_REDISPLAY;
}

// The whole paste, so that none of it reaches the terminal while a command runs.
std::wstring read_paste(EditLine* editor) {
  constexpr std::wstring_view kPasteEnds = L"\x1b[201~";
  std::wstring text;
  for (wchar_t key = 0; el_wgetc(editor, &key) == 1;) {
    if (key != 0) text += key;
    if (!text.ends_with(kPasteEnds)) continue;
    text.resize(text.size() - kPasteEnds.size());
    break;
  }
  return text;
}

// Inserts the next line of a paste, whose every key is text; at its end the line is entered, and what follows it waits
// for the next prompt.
unsigned char LineEditor::paste_key(EditLine* editor, int) {
  std::wstring& pasted = self(editor).pasted_;
  if (pasted.empty()) pasted = read_paste(editor);
  const std::size_t end = std::min(pasted.find_first_of(L"\r\n"), pasted.size());
  if (end > 0) el_winsertstr(editor, pasted.substr(0, end).c_str());
  if (end == pasted.size()) {
    pasted.clear();
    return CC_REFRESH;
  }
  pasted.erase(0, end + 1);
  el_push(editor, "\n");
  return CC_REFRESH;
}

unsigned char LineEditor::cancel_key(EditLine* editor, int) {
  self(editor).cancelled_ = true;
  self(editor).pasted_.clear();
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
  if (is_in_quotes(before)) {
    el_insertstr(editor, "\t");
    return CC_REFRESH;
  }
  const Completion completion = complete_with_filters(self_ref.session_.grammar(), self_ref.session_.modes(), before);
  std::vector<std::string> candidates = completion.words;
  for (std::string& name : self_ref.names_for(completion))
    candidates.push_back(std::move(name));
  if (candidates.empty()) return CC_REFRESH_BEEP;

  if (candidates.size() == 1) {
    const std::string& only = candidates.front();
    self_ref.replace_word(completion, before, quote_if_needed(only) + " ");
    return CC_REFRESH;
  }
  const std::string prefix = common_prefix(candidates);
  if (prefix.size() > completion.partial.size() && quote_if_needed(prefix) == prefix) {
    self_ref.replace_word(completion, before, prefix);
    return CC_REFRESH;
  }
  std::fputc('\n', stdout);
  Listing listing;
  std::vector<Expected> entries;
  for (const std::string& candidate : candidates)
    entries.push_back({Expected::Kind::word, candidate, {}});
  listing.add(entries);
  self_ref.show(listing);
  return CC_REDISPLAY;
}

void LineEditor::load_history() {
  history_file_.load(*history_);
  HistEvent event;
  for (int found = history(history_.get(), &event, H_LAST); found >= 0;
       found = history(history_.get(), &event, H_PREV)) {
    std::string line = event.str;
    while (!line.empty() && line.back() == '\n')
      line.pop_back();
    session_.remember(std::move(line));
  }
}

// The file is written after every line, so that a session that is cut off loses none.
void LineEditor::remember(const std::string& line) {
  HistEvent event;
  history(history_.get(), &event, H_ENTER, line.c_str());
  session_.remember(line.substr(0, line.find_last_not_of(" \t\r\n") + 1));
  if (!history_file_.append(line)) {
    std::fputs(
        fmt::format("kvelsh: the history cannot be saved in {}\n", printable(history_file_.path().string())).c_str(),
        stderr);
    history_file_.forget();
  }
}

std::optional<std::string> LineEditor::read_line() {
  prompt_ = printable(session_.prompt());
  cancelled_ = false;
  if (!pasted_.empty()) el_push(editor_.get(), kPasteBegins);
  const MarkedPastes marked;
  int length = 0;
  const char* typed = el_gets(editor_.get(), &length);
  if (cancelled_) return std::string();
  if (typed == nullptr || length <= 0) return std::nullopt;  // end of input
  return std::string(typed, static_cast<std::size_t>(length));
}

void LineEditor::run() {
  const InterruptsIgnored ignored;
  while (const auto line = read_line()) {
    if (line->find_first_not_of(" \t\r\n") == std::string::npos) continue;
    remember(*line);
    const Execution execution = session_.execute(*line);
    std::fputs(printable_lines(execution.error_message).c_str(), stdout);
    if (!execution.warning.empty()) std::fputs(printable("Warning: " + execution.warning).append("\n").c_str(), stdout);
    if (execution.outcome == Outcome::quit) return history_file_.trim();
  }
  history_file_.trim();
  std::fputc('\n', stdout);
}

}  // namespace

void run_line_editor(Session& session, const std::filesystem::path& history_file) {
  LineEditor(session, history_file).run();
}

}  // namespace kvel::shell
