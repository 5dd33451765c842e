#include "manager/model/expression.h"

#include <re2/re2.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <utility>

#include "encoding/utf8.h"

namespace kvel::manager {
namespace {

// Memory for the program of an expression that is checked: 12 bytes hold one instruction before it is optimised, so
// about 6800 of them. Beyond that RE2 gives up at once, while compiling with its usual memory may take it a second.
constexpr std::int64_t kCheckedBytes = 80 << 10;

std::atomic<std::uint64_t> compiled_count = 0;

re2::StringPiece piece(std::string_view text) { return {text.data(), text.size()}; }

RE2::Options quiet() { return RE2::Options(RE2::Quiet); }
RE2::Options within(std::int64_t bytes) {
  RE2::Options options = quiet();
  options.set_max_mem(bytes);
  return options;
}

std::unique_ptr<const RE2> compile(std::string_view expression, const RE2::Options& options) {
  ++compiled_count;
  return std::make_unique<const RE2>(piece(expression), options);
}

// The error that RE2 reports for an expression, and the piece of it that it names.
struct Complaint {
  Status fault = Status::ok;
  std::string piece;
};

Status fault_of(RE2::ErrorCode code) {
  switch (code) {
    case RE2::NoError:
      return Status::ok;
    case RE2::ErrorMissingParen:
      return Status::expression_unclosed_group;
    case RE2::ErrorUnexpectedParen:
      return Status::expression_unopened_group;
    case RE2::ErrorMissingBracket:
      return Status::expression_unclosed_class;
    case RE2::ErrorBadCharClass:
    case RE2::ErrorBadCharRange:
      return Status::expression_bad_class;
    case RE2::ErrorBadEscape:
      return Status::expression_bad_escape;
    case RE2::ErrorTrailingBackslash:
      return Status::expression_trailing_backslash;
    case RE2::ErrorRepeatArgument:
      return Status::expression_nothing_to_repeat;
    case RE2::ErrorRepeatSize:
      return Status::expression_bad_repetition;
    case RE2::ErrorRepeatOp:
      return Status::expression_double_repetition;
    case RE2::ErrorBadPerlOp:
      return Status::expression_bad_group;
    case RE2::ErrorBadNamedCapture:
      return Status::expression_bad_group_name;
    case RE2::ErrorPatternTooLarge:
      return Status::expression_too_large;
    case RE2::ErrorInternal:
    case RE2::ErrorBadUTF8:
      break;
  }
  return Status::expression_refused;
}

Complaint complaint_about(std::string_view expression, std::int64_t max_bytes) {
  const auto compiled = compile(expression, within(max_bytes));
  return {fault_of(compiled->error_code()), compiled->error_arg()};
}

// How much of an expression can stand as the beginning of a sound one. With groups left open it can, unless the open
// group is what is looked for.
std::size_t sound_beginning(std::string_view expression, Status fault) {
  constexpr std::int64_t kEnoughToParse = 16 << 10;
  for (std::size_t length = expression.size(); length-- > 0;) {
    switch (complaint_about(expression.substr(0, length), kEnoughToParse).fault) {
      case Status::ok:
      case Status::expression_too_large:
        return length;
      case Status::expression_unclosed_group:
        if (fault != Status::expression_unclosed_group) return length;
        break;
      default:
        break;
    }
  }
  return 0;
}

// Where the fault begins: what RE2 names if it can be found around the end of the sound beginning, else that end. A
// fault of the expression as a whole has no place.
std::optional<std::size_t> find_fault(std::string_view expression, const Complaint& complaint) {
  if (complaint.fault == Status::expression_too_large || complaint.fault == Status::expression_refused) return {};
  const std::size_t end = sound_beginning(expression, complaint.fault);
  const bool names_a_piece = !complaint.piece.empty() && complaint.piece.size() < expression.size();
  if (names_a_piece) {
    const std::size_t before = expression.rfind(complaint.piece, end);
    if (before != std::string_view::npos && before + complaint.piece.size() > end) return before;
    const std::size_t after = expression.find(complaint.piece, end);
    if (after != std::string_view::npos) return after;
  }
  return end;
}

Status check(std::string_view expression) {
  const Complaint complaint = complaint_about(expression, kCheckedBytes);
  if (complaint.fault == Status::ok) return Status::ok;
  std::uint32_t character = 0;
  if (const auto offset = find_fault(expression, complaint)) {
    character = 1 + static_cast<std::uint32_t>(encoding::count_characters(expression.substr(0, *offset)));
  }
  return status_of({complaint.fault, character});
}

}  // namespace

struct Expression::State {
  explicit State(std::string initial) : text(std::move(initial)) {}

  Status check() {
    std::call_once(checked, [this] { fault = manager::check(text); });
    return fault;
  }
  // Null when it is refused. Matching has the usual memory: with little of it, it would be slow.
  const RE2* program() {
    std::call_once(compiled, [this] {
      if (succeeded(check())) ready = compile(text, quiet());
    });
    return ready.get();
  }

  const std::string text;
  std::once_flag checked;
  Status fault = Status::ok;
  std::once_flag compiled;
  std::unique_ptr<const RE2> ready;
};

Expression::Expression(std::string text) {
  if (!text.empty()) state_ = std::make_shared<State>(std::move(text));
}

const std::string& Expression::text() const {
  static const std::string none;
  return state_ == nullptr ? none : state_->text;
}

Status Expression::check() const { return state_ == nullptr ? Status::ok : state_->check(); }

void Expression::prepare() const {
  if (state_ != nullptr) state_->program();
}

bool Expression::matches(std::string_view whole) const {
  if (state_ == nullptr) return true;
  const RE2* const program = state_->program();
  return program != nullptr && RE2::FullMatch(piece(whole), *program);
}

bool Expression::is_found_in(std::string_view text) const {
  if (state_ == nullptr) return true;
  const RE2* const program = state_->program();
  return program != nullptr && RE2::PartialMatch(piece(text), *program);
}

std::uint64_t expressions_compiled() noexcept { return compiled_count; }

}  // namespace kvel::manager
