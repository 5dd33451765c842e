// A show command whose output does not go straight to standard output: it is filtered, saved, or paged.
#pragma once

#include <functional>

#include "shell/session/output_filter.h"
#include "shell/session/session.h"

namespace kvel::shell {

// Runs the command with its output held back, and then gives out what the filters leave of it: to standard output, or
// on a terminal through the pager when `paged`, or to a file.
//
// The error message of a failed command on standard output ("Error: ...") is not part of its output: of a document
// never (there nothing that is printed past the output library is), of filtered or saved text when the command fails.
// It goes to standard error. A document is whole even then; a file is not written.
[[nodiscard]] Execution run_filtered(const OutputFilters& filters, bool paged,
                                     const std::function<Execution()>& command);

}  // namespace kvel::shell
