#include "tests/fuzz/printed_pages.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

// Not linked but included: loading the plug-in anew for each input is slow and makes the fuzzer lose its counters, and
// the remembered values are nobody's but this file's.
#include "cli/servicepolicy/format.cpp"  // NOLINT(bugprone-suspicious-include)

namespace kvel::fuzz {
namespace {

std::string printed;
std::int64_t opened = 0;

}  // namespace

void load_anew() {
  cli::servicepolicy::header_shown = false;
  cli::servicepolicy::last_class = {};
  cli::servicepolicy::last_action_class = {};
  opened = 0;
}

std::string print_page(const std::string& page, bool detail) {
  const std::unique_ptr<char[]> block(new char[page.size()]);
  std::memcpy(block.get(), page.data(), page.size());
  printed.clear();
  format_and_display_policystats(detail ? 1 : 0, "policy", static_cast<std::int32_t>(page.size()), block.get(),
                                 nullptr);
  return printed;
}

std::int64_t open_elements() { return opened; }

}  // namespace kvel::fuzz

// The output library of these programs: it reads every value, and keeps the text.
void xprint_header(const char* tag) { kvel::fuzz::opened += tag != nullptr ? 1 : 0; }

void xprint_footer(const char* tag) { kvel::fuzz::opened -= tag != nullptr ? 1 : 0; }

void xprint(const char* format, ...) {
  const bool is_tagged = std::strstr(format, "<%") != nullptr;
  std::va_list values;
  va_start(values, format);
  if (is_tagged) kvel::fuzz::printed.append(va_arg(values, const char*)).append(" ");
  char line[1024];
  const int length = std::vsnprintf(line, sizeof line, format, values);
  va_end(values);
  if (length < 0 || static_cast<std::size_t>(length) >= sizeof line) std::abort();
  kvel::fuzz::printed.append(line, static_cast<std::size_t>(length));
}

char* xmltag(char* buffer, std::int32_t count, ...) {
  std::va_list tags;
  va_start(tags, count);
  char* end = buffer;
  for (; count > 0; --count) {
    const char* tag = va_arg(tags, const char*);
    const std::size_t length = std::strlen(tag);
    if (length >= 63) std::abort();
    std::memcpy(end, tag, length);
    end += length;
    *end++ = '+';
  }
  va_end(tags);
  *end = '\0';
  return buffer;
}
