// The session of the process, which the C calls of the plug-in and the C++ calls of the shell share.
#include "output/output.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <new>
#include <string_view>
#include <variant>

#include "kvel/output.h"
#include "output/conversion.h"
#include "output/destination.h"
#include "output/json_writer.h"
#include "output/line.h"
#include "output/sinks.h"
#include "output/xml_writer.h"

namespace kvel::output {
namespace {

// Text to stdout unless a session was begun.
class Session {
 public:
  void begin(Format format, std::FILE* file) {
    if (begun_) finish();
    destination_.attach(file);
    format_ = format;
    begun_ = true;
    if (format == Format::xml) writer_ = &form_.emplace<XmlWriter>(destination_);
    if (format == Format::json) writer_ = &form_.emplace<JsonWriter>(destination_);
    destination_.push();
  }

  bool finish() {
    if (writer_ != nullptr) writer_->finish();
    destination_.flush();
    failure_ = destination_.failure();
    writer_ = nullptr;
    form_.emplace<std::monostate>();
    format_ = Format::text;
    begun_ = false;
    destination_.attach(stdout);
    return failure_ == 0;
  }

  // Runs one call on the text destination or on the document, and hands over what it wrote.
  template <class OnText, class OnDocument>
  void call(OnText&& on_text, OnDocument&& on_document) {
    if (writer_ == nullptr) {
      on_text(destination_);
    } else {
      try {
        on_document(*writer_);
      } catch (const std::exception&) {  // std::bad_alloc, or a string beyond its largest size
        destination_.fail(ENOMEM);
      }
    }
    destination_.push();
  }

  void print(const char* format, Arguments& arguments) {
    call(
        [&](Destination& destination) {
          TextSink sink(destination);
          print_line(format, arguments, sink);
        },
        [&](DocumentWriter& writer) {
          DocumentSink sink(writer, destination_);
          print_line(format, arguments, sink);
        });
  }

  void value(std::string_view tag, Scalar scalar) {
    call(
        [&](Destination& destination) {
          destination.append(tag);
          destination.append(": ");
          destination.append(scalar.text);
          destination.append('\n');
        },
        [&](DocumentWriter& writer) { writer.value(tag, scalar); });
  }

  [[nodiscard]] Format format() const { return format_; }
  [[nodiscard]] int failure() const { return failure_; }

 private:
  Destination destination_{stdout};
  std::variant<std::monostate, XmlWriter, JsonWriter> form_;
  DocumentWriter* writer_ = nullptr;  // the one in form_; null for text
  Format format_ = Format::text;
  bool begun_ = false;
  int failure_ = 0;
};

// Never destroyed, so that it serves the handlers that run at exit too.
Session& session() {
  alignas(Session) static std::array<std::byte, sizeof(Session)> storage;
  static Session& only = *new (storage.data()) Session;
  return only;
}

constexpr auto kNoText = [](Destination&) {};

void number_value(std::string_view tag, auto number) {
  std::array<char, 24> digits;
  const auto result = std::to_chars(digits.begin(), digits.end(), number);
  const std::string_view text(digits.data(), result.ptr);
  session().value(tag, {text, text});
}

std::string_view view(const char* tag) { return tag != nullptr ? std::string_view(tag) : std::string_view(); }

}  // namespace

void begin(Format format, std::FILE* destination) noexcept { session().begin(format, destination); }

bool finish() noexcept { return session().finish(); }

int failure() noexcept { return session().failure(); }

Format format() noexcept { return session().format(); }

void open_element(std::string_view tag) noexcept {
  session().call(kNoText, [&](DocumentWriter& writer) { writer.open(tag); });
}

void close_element(std::string_view tag) noexcept {
  session().call(kNoText, [&](DocumentWriter& writer) { writer.close(tag); });
}

void value(std::string_view tag, std::string_view text) noexcept { session().value(tag, {text, {}}); }

void value_signed(std::string_view tag, std::int64_t number) noexcept { number_value(tag, number); }

void value_unsigned(std::string_view tag, std::uint64_t number) noexcept { number_value(tag, number); }

void value_truth(std::string_view tag, bool truth) noexcept {
  const std::string_view word = truth ? "true" : "false";
  session().value(tag, {word, word});
}

void text(std::string_view line) noexcept {
  session().call(
      [&](Destination& destination) {
        destination.append(line);
        if (!line.ends_with('\n')) destination.append('\n');
      },
      [&](DocumentWriter& writer) {
        writer.data(line);
        if (!line.ends_with('\n')) writer.data("\n");
      });
}

}  // namespace kvel::output

void xprint_header(const char* tag) { kvel::output::open_element(kvel::output::view(tag)); }

void xprint_footer(const char* tag) { kvel::output::close_element(kvel::output::view(tag)); }

void xprint(const char* format, ...) {
  if (format == nullptr) return;
  kvel::output::Arguments arguments;
  va_start(arguments.list, format);
  kvel::output::session().print(format, arguments);
  va_end(arguments.list);
}
