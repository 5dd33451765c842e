#include "manager/model/expression.h"

#include <re2/re2.h>

#include <optional>

#include "encoding/utf8.h"

namespace kvel::manager {
namespace {

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

Complaint compile(std::string_view expression, const RE2::Options& options) {
  const RE2 compiled(re2::StringPiece(expression.data(), expression.size()), options);
  return {fault_of(compiled.error_code()), compiled.error_arg()};
}

// How much of an expression can stand as the beginning of a sound one. With groups left open it can, unless the open
// group is what is looked for.
std::size_t sound_beginning(std::string_view expression, Status fault) {
  constexpr std::int64_t kEnoughToParse = 1 << 16;
  RE2::Options options(RE2::Quiet);
  options.set_max_mem(kEnoughToParse);
  for (std::size_t length = expression.size(); length-- > 0;) {
    switch (compile(expression.substr(0, length), options).fault) {
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

}  // namespace

Status check_expression(std::string_view expression) {
  const Complaint complaint = compile(expression, RE2::Options(RE2::Quiet));
  if (complaint.fault == Status::ok) return Status::ok;
  std::uint32_t character = 0;
  if (const auto offset = find_fault(expression, complaint)) {
    character = 1 + static_cast<std::uint32_t>(encoding::count_characters(expression.substr(0, *offset)));
  }
  return status_of({complaint.fault, character});
}

}  // namespace kvel::manager
