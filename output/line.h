// One call of xprint: a walk over its format that hands every piece to a sink, which knows what to make of it.
#pragma once

#include <cstdarg>
#include <cstring>
#include <string_view>

#include "output/conversion.h"

namespace kvel::output {

// A value in angle brackets: '<' right before the conversion, '>' right after it. `first` is where the format starts.
inline bool is_tagged(const Conversion& conversion, const char* first) {
  return conversion.takes_argument() && conversion.begin != first && conversion.begin[-1] == '<' &&
         *conversion.end == '>';
}

// Whether the format takes a tag list as its first argument.
inline bool has_tagged_value(const char* format) {
  for (const char* at = std::strchr(format, '<'); at != nullptr; at = std::strchr(at + 1, '<')) {
    if (at[1] == '%' && is_tagged(parse_conversion(at + 1), format)) return true;
  }
  return false;
}

// Whether a value without brackets is at `at` or after, before the next one in brackets. `first` as above.
inline bool has_plain_value(const char* at, const char* first) {
  while ((at = std::strchr(at, '%')) != nullptr) {
    const Conversion conversion = parse_conversion(at);
    if (is_tagged(conversion, first)) return false;
    if (conversion.kind == Kind::value) return true;
    at = conversion.end;
  }
  return false;
}

// A sink offers:
//   Form kTaggedForm                  how values in brackets are rendered
//   bool kKeepsLabels                 whether every text beside values in brackets is printed; if not, it also offers
//     void stretch(bool kept)         whether the text from here to the next value in brackets, or to the end, is more
//                                     than layout; called at the start and after every value in brackets
//   void tags(const char* list)       first of all, when the line has values in brackets
//   void layout(std::string_view)     literal text of the format
//   void plain(const Rendered&)       a value without brackets
//   void tagged(const Rendered&)      a value in brackets
// The walk itself never allocates (render() may).
template <class Sink>
void print_line(const char* format, Arguments& arguments, Sink& sink) {
  const bool tagged_line = has_tagged_value(format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): xprint starts the list; the analyzer loses it inside Arguments
  if (tagged_line) sink.tags(va_arg(arguments.list, const char*));
  if constexpr (!Sink::kKeepsLabels) sink.stretch(!tagged_line || has_plain_value(format, format));

  Scratch scratch;
  const char* at = format;
  for (;;) {
    const char* percent = ::strchrnul(at, '%');
    if (*percent == '\0') return sink.layout({at, percent});
    const Conversion conversion = parse_conversion(percent);
    if (tagged_line && is_tagged(conversion, format)) {
      sink.layout({at, percent - 1});
      sink.tagged(render(conversion, Sink::kTaggedForm, arguments, scratch));
      at = conversion.end + 1;
      if constexpr (!Sink::kKeepsLabels) sink.stretch(has_plain_value(at, format));
      continue;
    }
    sink.layout({at, percent});
    const Rendered rendered = render(conversion, Form::printed, arguments, scratch);
    if (conversion.kind == Kind::value) {
      sink.plain(rendered);
    } else {
      sink.layout(rendered.body);
    }
    at = conversion.end;
  }
}

}  // namespace kvel::output
