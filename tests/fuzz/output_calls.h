// Calls of the output library out of a fuzzer's bytes, and what each of them must leave in the output.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace kvel::fuzz {

using PrintedArgument = std::variant<const char*, int, unsigned, long long, double>;

// One value of a line: its conversion as the format spells it, and what is shown of it.
struct PrintedValue {
  std::string conversion;
  std::string text;              // of a text argument; the argument points here
  PrintedArgument argument = 0;  // a text argument is set by the one who prints it
  bool is_null = false;          // the text argument is null
  std::string printed;           // as printf prints it
  std::string bare;              // as a document shows it: printed without its width
  bool is_tagged = false;
  const char* tag = "";
};

struct OutputCall {
  enum Kind : std::uint8_t { header, footer, line } kind = header;
  const char* tag = "";
  std::string format;                // of a line, with values in angle brackets
  std::string as_printf;             // the same without the brackets
  std::vector<PrintedValue> values;  // none, one or two
};

[[nodiscard]] std::vector<OutputCall> any_calls(FuzzedDataProvider& bytes);

// The element name of a tag of any_calls().
[[nodiscard]] std::string element_of(const std::string& tag);

// A text as a document contains it: bytes that no document can hold are replaced.
[[nodiscard]] std::string in_document(const std::string& text);

void perform(const std::vector<OutputCall>& calls);

// What printf prints for them.
[[nodiscard]] std::string as_text(const std::vector<OutputCall>& calls);

}  // namespace kvel::fuzz
