// The conversions of a printf format: reading one, and turning its argument into bytes. Allocates only for a number of
// more than 511 bytes, and survives when that fails.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace kvel::output {

// The variable arguments of a call; wrapped, since a va_list parameter cannot be passed on by reference portably.
struct Arguments {
  std::va_list list;
};

enum class Length : std::uint8_t { none, hh, h, l, ll, z, j, t, L };

enum class Kind : std::uint8_t {
  value,    // prints an argument
  percent,  // "%%"
  refused,  // "%n": takes its argument and never writes through it; printed unchanged
  unknown,  // printed unchanged; takes no argument but those of its '*'
};

// One conversion as the format spells it.
struct Conversion {
  const char* begin = nullptr;  // its '%'
  const char* end = nullptr;    // after its last byte; an unknown one ends before the byte that nobody knows
  int width = 0;
  int precision = -1;  // -1: none given
  bool left = false;
  bool zero = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool grouped = false;
  bool star_width = false;
  bool star_precision = false;
  Length length = Length::none;
  Kind kind = Kind::unknown;
  char type = '\0';

  [[nodiscard]] std::string_view spelling() const { return {begin, end}; }
  // Whether it takes an argument of its own.
  [[nodiscard]] bool takes_argument() const { return kind == Kind::value || kind == Kind::refused; }
};

// Reads the conversion at `percent`, which points at a '%'.
[[nodiscard]] Conversion parse_conversion(const char* percent) noexcept;

// Buffers for one rendered value.
class Scratch {
 public:
  static constexpr std::size_t kBody = 512;
  static constexpr std::size_t kNumber = 64;

  [[nodiscard]] char* body() { return body_.data(); }
  [[nodiscard]] char* number() { return number_.data(); }
  // At least `size` bytes until the next call; null when there is no memory.
  [[nodiscard]] char* large_body(std::size_t size) {
    large_.reset(static_cast<char*>(std::malloc(size)));
    return large_.get();
  }

 private:
  struct Free {
    void operator()(char* block) const { std::free(block); }
  };
  std::array<char, kBody> body_;
  std::array<char, kNumber> number_;
  std::unique_ptr<char, Free> large_;
};

enum class Form : std::uint8_t {
  printed,  // as printf prints it
  bare,     // without the width and what would fill it, without the blank for a missing sign; with its JSON number
};

// A value as bytes: `left` blanks, the body, `right` blanks. Views last as long as the scratch and the argument.
struct Rendered {
  std::string_view body{};
  std::size_t left = 0;
  std::size_t right = 0;
  std::string_view number{};  // bare form: the value as a JSON number; empty when it is none
  bool out_of_memory = false;
};

// Takes the arguments of `conversion`, in printf's order and types, and renders its value. For "%%" and for a refused
// or unknown one the body is what is printed instead.
[[nodiscard]] Rendered render(const Conversion& conversion, Form form, Arguments& arguments, Scratch& scratch) noexcept;

}  // namespace kvel::output
