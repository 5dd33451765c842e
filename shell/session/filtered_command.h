// A show command whose output does not go straight to standard output: it is filtered, saved, or paged.
#pragma once

#include <functional>

#include "shell/session/output_filter.h"
#include "shell/session/session.h"

namespace kvel::shell {

inline constexpr const char* kNotWritten = "Error: the output could not be written\n";

// Runs the command with its output held back, and then gives out what the filters leave of it: to standard output, or
// on a terminal through the pager when `paged`, or to a file.
//
// What is printed past the output library is not part of a document, and goes to standard error. A command that fails
// has no output: nothing is printed and no file is written, and the errors that it has printed are in the error
// message. Only where its failure tells what is missing, and nothing filters the rest, that rest is printed.
[[nodiscard]] Execution run_filtered(const OutputFilters& filters, bool paged,
                                     const std::function<Execution()>& command);

}  // namespace kvel::shell
