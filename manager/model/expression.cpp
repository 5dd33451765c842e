#include "manager/model/expression.h"

#include <re2/re2.h>

namespace kvel::manager {

Status check_expression(std::string_view expression) {
  const RE2 compiled(re2::StringPiece(expression.data(), expression.size()), RE2::Quiet);
  switch (compiled.error_code()) {
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

}  // namespace kvel::manager
