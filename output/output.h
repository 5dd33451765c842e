// The face of the output library to the shell: it chooses here what the calls of kvel/output.h write, and writes its
// own documents with the same writer.
//
// One session per process, not thread-safe: commands run one at a time. Nothing here throws; what goes wrong (the
// destination cannot be written, memory is short) is remembered and reported by finish(). Before the first begin() and
// after every finish() the calls write text to stdout. Each call hands its bytes to the stream before it returns, so
// they keep their order with whatever else is written to that stream.
//
// Text: a format is printed as printf prints it, the angle brackets around values gone.
//
// XML and JSON: always one well-formed document.
// - xprint_header opens an element; xprint_footer closes down to its tag, and is ignored when that is not open. The
//   first element at top level is the root and stays open to the end of the document: what comes after its footer still
//   lands in it. Output that comes before any header opens the root "output". Without any output: <output/> or {}.
// - A value in angle brackets is converted to an element named by the line's next tag; the last tag repeats, surplus
//   tags are ignored. The width of its conversion is layout and dropped, whatever would fill it; so are the labels
//   beside it.
// - Everything else is a text line: an element (JSON: a member) "text" for each line, without its line end. Pieces make
//   one line until a line end, a tagged value, a header or a footer. Blanks at both ends that come from the format or
//   from padding are dropped, those of a printed value are kept; blank lines vanish.
// - A format without values in brackets is a text line also when a tag is passed along with it ("VIP Route Advertise  :
//   ENABLED"). Nothing in such a format shows whether there is a tag, and an argument that may be missing must not be
//   read: the tag is left alone, and the content of the line is in its "text", label and all.
// - A plain value beside values in brackets is not lost: the stretch of the format that holds it, from bracket to
//   bracket, is kept as a text line with its labels.
// - Tags are made valid: see ElementName in output/tags.h. Bytes that are not UTF-8 and characters that XML 1.0 forbids
//   are replaced by U+FFFD in both forms.
// - Elements nest 200 deep; a header beyond that opens nothing (its footer is still its own), its content lands in the
//   deepest element. XML is written as it comes, JSON is held in memory until finish().
// - JSON: a name that comes again in one element makes an array; integer conversions give exact numbers, whatever their
//   base, finite floating ones a number (as formatted where that is one in JSON); everything else is a string.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace kvel::output {

enum class Format : std::uint8_t { text, xml, json };

// From now on output goes to `destination` (not null; stays the caller's, open until finish()) as `format`. A session
// that is still open is finished first.
void begin(Format format, std::FILE* destination) noexcept;

// Closes every open element, ends the document and flushes the destination; text to stdout follows. False when anything
// of the session was lost, and failure() gives the reason.
[[nodiscard]] bool finish() noexcept;

// The errno value of the first failure in the session that finish() ended last; 0 when nothing did.
[[nodiscard]] int failure() noexcept;

// The form of the output at present.
[[nodiscard]] Format format() noexcept;

// The shell's own documents, by the rules above. In text, elements leave no trace and a value is the line "tag: value".
void open_element(std::string_view tag) noexcept;
void close_element(std::string_view tag) noexcept;
void value(std::string_view tag, std::string_view text) noexcept;
void value_signed(std::string_view tag, std::int64_t number) noexcept;
void value_unsigned(std::string_view tag, std::uint64_t number) noexcept;
void value_truth(std::string_view tag, bool truth) noexcept;  // true or false, unquoted in JSON

template <std::integral Number>
requires(!std::same_as<Number, bool> && !std::same_as<Number, char>) void value(std::string_view tag,
                                                                                Number number) noexcept {
  if constexpr (std::signed_integral<Number>) {
    value_signed(tag, number);
  } else {
    value_unsigned(tag, number);
  }
}

// A line of text, whole: its blanks are kept. With or without its line end.
void text(std::string_view line) noexcept;

}  // namespace kvel::output
