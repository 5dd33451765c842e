// Holding output back and giving it out.
#include "shell/session/filtered_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "output/output.h"
#include "shell/matcher/printable.h"
#include "shell/session/line_filter.h"
#include "shell/session/pager.h"
#include "shell/session/save_file.h"
#include "shell/session/stdout_capture.h"

namespace kvel::shell {

namespace {

// A stream into memory.
class MemoryStream {
 public:
  MemoryStream() : stream_(open_memstream(&bytes_, &size_)) {}
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;
  ~MemoryStream() {
    if (stream_ != nullptr) std::fclose(stream_);
    std::free(bytes_);
  }
  [[nodiscard]] std::FILE* stream() const { return stream_; }  // null when there is no memory
  // Valid until the next write; what is written has been flushed.
  [[nodiscard]] std::string_view bytes() const { return {bytes_, size_}; }

 private:
  char* bytes_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* stream_;
};

// A session of the output library, ended in any case.
class OutputSession {
 public:
  OutputSession(output::Format format, std::FILE* stream) { output::begin(format, stream); }
  OutputSession(const OutputSession&) = delete;
  OutputSession& operator=(const OutputSession&) = delete;
  ~OutputSession() { static_cast<void>(finish()); }

  bool finish() {
    if (open_) written_ = output::finish();
    open_ = false;
    return written_;
  }

 private:
  bool open_ = true;
  bool written_ = false;
};

// What a command has printed.
struct Printed {
  std::string output;
  std::string notices;  // what it printed beside its output, whole lines
};

// Moves the lines that report why a command failed from its output to its notices.
void set_errors_apart(Printed& printed) {
  std::string output;
  for (std::string_view rest = printed.output; !rest.empty();) {
    const std::string_view line = take_line(rest);
    (line.starts_with(kErrorPrefix) ? printed.notices : output) += line;
  }
  printed.output = std::move(output);
}

// A notice may come as a part of a line that its writer meant the output to go on with.
std::string whole_lines(std::string_view notices) {
  notices.remove_prefix(std::min(notices.find_first_not_of('\n'), notices.size()));
  std::string lines(notices);
  if (!lines.empty() && !lines.ends_with('\n')) lines += '\n';
  return lines;
}

void print_notices(const std::string& lines) {
  if (lines.empty()) return;
  std::fflush(stdout);
  const std::string shown = printable_lines(lines);
  std::fwrite(shown.data(), 1, shown.size(), stderr);
}

bool print(std::string_view output, bool paged) {
  std::string shown;
  if (isatty(STDOUT_FILENO) != 0) output = shown = printable_lines(output);
  if (paged && show_in_pager(output)) return true;
  return std::fwrite(output.data(), 1, output.size(), stdout) == output.size() && std::fflush(stdout) == 0;
}

// Runs the command; false when its output could not be held.
bool hold_output(output::Format format, const std::function<Execution()>& command, Execution& execution,
                 Printed& printed) {
  const MemoryStream document;
  StdoutCapture capture;
  if (capture.error() != 0 || document.stream() == nullptr) return false;
  const bool is_text = format == output::Format::text;
  OutputSession session(format, is_text ? stdout : document.stream());
  execution = command();
  const bool written = session.finish();
  auto held = capture.take();
  if (!written || !held) return false;
  if (is_text) {
    printed.output = *std::move(held);
  } else {
    printed.output = document.bytes();
    printed.notices = *std::move(held);
  }
  return true;
}

Execution save(const std::string& file, const std::string& output) {
  if (const auto saved = save_file(file, output); !saved) {
    return Execution::failed(fmt::format("Error: '{}' cannot be written: {}\n", file, saved.error()));
  }
  return {};
}

Execution without_output(const OutputFilters& filters, Printed printed, Execution execution) {
  if (filters.format == output::Format::text) set_errors_apart(printed);
  execution.error_message = whole_lines(printed.notices) + execution.error_message;
  if (filters.file) {
    execution.error_message += fmt::format("Error: '{}' is not written, since the command failed\n", *filters.file);
  }
  return execution;
}

}  // namespace

Execution run_filtered(const OutputFilters& filters, bool paged, const std::function<Execution()>& command) {
  Execution execution;
  Printed printed;
  if (!hold_output(filters.format, command, execution, printed)) {
    return Execution::failed(execution.error_message + kNotWritten);
  }
  const bool plain = filters.format == output::Format::text && filters.lines.empty() && !filters.file;
  if (execution.outcome == Outcome::failed && !(plain && execution.printed_in_part)) {
    return without_output(filters, std::move(printed), std::move(execution));
  }
  const std::string output = filter_lines(filters.lines, std::move(printed.output));
  const std::string notices = whole_lines(printed.notices);
  if (filters.file) {
    print_notices(notices);
    return save(*filters.file, output);
  }
  const bool shown = print(output, paged);
  print_notices(notices);
  if (!shown) return Execution::failed(execution.error_message + kNotWritten);
  return execution;
}

}  // namespace kvel::shell
