// include, exclude, begin and count.
#include "shell/session/line_filter.h"

#include <algorithm>
#include <cstddef>

namespace kvel::shell {

std::string_view take_line(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  const std::string_view line = rest.substr(0, end == rest.npos ? end : end + 1);
  rest.remove_prefix(line.size());
  return line;
}

namespace {

std::string lines_where(std::string_view output, std::string_view text, bool held) {
  std::string kept;
  while (!output.empty()) {
    const std::string_view line = take_line(output);
    const bool holds = line.substr(0, line.size() - 1).find(text) != line.npos;
    if (holds == held) kept += line;
  }
  return kept;
}

std::string lines_from(std::string_view output, std::string_view text) {
  while (!output.empty()) {
    std::string_view rest = output;
    const std::string_view line = take_line(rest);
    if (line.substr(0, line.size() - 1).find(text) != line.npos) break;
    output = rest;
  }
  return std::string(output);
}

std::string filter(const LineFilter& filter, std::string_view output) {
  switch (filter.kind) {
    case LineFilter::Kind::include:
      return lines_where(output, filter.text, true);
    case LineFilter::Kind::exclude:
      return lines_where(output, filter.text, false);
    case LineFilter::Kind::begin:
      return lines_from(output, filter.text);
    case LineFilter::Kind::count:
      break;
  }
  return std::to_string(std::count(output.begin(), output.end(), '\n')) + "\n";
}

}  // namespace

std::string filter_lines(const std::vector<LineFilter>& filters, std::string output) {
  for (const LineFilter& next : filters) {
    if (!output.empty() && output.back() != '\n') output += '\n';
    output = filter(next, output);
  }
  return output;
}

}  // namespace kvel::shell
