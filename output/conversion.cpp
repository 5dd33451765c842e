// printf's conversions. The plain ones are rendered here; flags that few lines use, floating-point and wide values go
// through snprintf with a format that is put together from the parsed parts.
#include "output/conversion.h"

#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <type_traits>

// NOLINTBEGIN(clang-analyzer-valist.Uninitialized): xprint starts the list; the analyzer loses it inside Arguments.

namespace kvel::output {
namespace {

constexpr std::string_view kNullText = "(null)";

// What the flags, the width and the precision come to once the '*' have their numbers.
struct Shape {
  std::size_t width = 0;
  int precision = -1;
  bool left = false;
  bool zero = false;   // fill with zeros up to the width
  bool blank = false;  // a blank where a sign is missing
};

int read_digits(const char*& at) {
  int number = 0;
  for (; *at >= '0' && *at <= '9'; ++at) {
    const int digit = *at - '0';
    number = number > (INT_MAX - digit) / 10 ? INT_MAX : number * 10 + digit;
  }
  return number;
}

bool read_flag(char byte, Conversion& conversion) {
  switch (byte) {
    case '-':
      return conversion.left = true;
    case '0':
      return conversion.zero = true;
    case '+':
      return conversion.plus = true;
    case ' ':
      return conversion.blank = true;
    case '#':
      return conversion.alternate = true;
    case '\'':
      return conversion.grouped = true;
    default:
      return false;
  }
}

Length read_length(const char*& at) {
  const auto once_or_twice = [&at](Length once, Length twice) {
    if (at[1] != at[0]) return ++at, once;
    return at += 2, twice;
  };
  switch (*at) {
    case 'h':
      return once_or_twice(Length::h, Length::hh);
    case 'l':
      return once_or_twice(Length::l, Length::ll);
    case 'z':
      return ++at, Length::z;
    case 'j':
      return ++at, Length::j;
    case 't':
      return ++at, Length::t;
    case 'L':
      return ++at, Length::L;
    default:
      return Length::none;
  }
}

// What each byte is as the type of a conversion.
constexpr std::array<Kind, 256> kKinds = [] {
  std::array<Kind, 256> kinds;
  kinds.fill(Kind::unknown);
  for (const char type : std::string_view("diuxXocspfFeEgGaA"))
    kinds[static_cast<unsigned char>(type)] = Kind::value;
  kinds['n'] = Kind::refused;
  kinds['%'] = Kind::percent;
  return kinds;
}();

Kind kind_of(char type) { return kKinds[static_cast<unsigned char>(type)]; }

Shape take_shape(const Conversion& conversion, Form form, Arguments& arguments) {
  Shape shape{static_cast<std::size_t>(conversion.width), conversion.precision, conversion.left, conversion.zero,
              conversion.blank};
  if (conversion.star_width) {
    const int width = va_arg(arguments.list, int);
    shape.left = shape.left || width < 0;
    shape.width = static_cast<std::size_t>(std::abs(static_cast<std::int64_t>(width)));
    if (shape.width > INT_MAX) shape.width = INT_MAX;
  }
  if (conversion.star_precision) {
    const int precision = va_arg(arguments.list, int);
    shape.precision = precision < 0 ? -1 : precision;
  }
  if (shape.left) shape.zero = false;
  if (form == Form::bare) {
    shape.width = 0;
    shape.zero = shape.blank = false;
  }
  return shape;
}

// NOLINTBEGIN(bugprone-branch-clone): types that are one on this machine are several on another.
std::intmax_t take_signed(Length length, Arguments& arguments) {
  switch (length) {
    case Length::hh:
      return static_cast<signed char>(va_arg(arguments.list, int));
    case Length::h:
      return static_cast<short>(va_arg(arguments.list, int));
    case Length::l:
      return va_arg(arguments.list, long);
    case Length::ll:
    case Length::L:
      return va_arg(arguments.list, long long);
    case Length::z:
      return va_arg(arguments.list, std::make_signed_t<std::size_t>);
    case Length::j:
      return va_arg(arguments.list, std::intmax_t);
    case Length::t:
      return va_arg(arguments.list, std::ptrdiff_t);
    case Length::none:
      break;
  }
  return va_arg(arguments.list, int);
}

std::uintmax_t take_unsigned(Length length, Arguments& arguments) {
  switch (length) {
    case Length::hh:
      return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
    case Length::h:
      return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
    case Length::l:
      return va_arg(arguments.list, unsigned long);
    case Length::ll:
    case Length::L:
      return va_arg(arguments.list, unsigned long long);
    case Length::z:
      return va_arg(arguments.list, std::size_t);
    case Length::j:
      return va_arg(arguments.list, std::uintmax_t);
    case Length::t:
      return va_arg(arguments.list, std::make_unsigned_t<std::ptrdiff_t>);
    case Length::none:
      break;
  }
  return va_arg(arguments.list, unsigned);
}
// NOLINTEND(bugprone-branch-clone)

// Lays a finished body out in the width.
Rendered lay_out(std::string_view body, const Shape& shape) {
  Rendered rendered{.body = body};
  if (body.size() < shape.width) (shape.left ? rendered.right : rendered.left) = shape.width - body.size();
  return rendered;
}

// The value as snprintf prints it, `length` being the letters of its type.
template <class T>
Rendered print_by_libc(const Conversion& conversion, const Shape& shape, std::string_view length, T value,
                       Scratch& scratch) {
  std::array<char, 16> format;
  char* end = format.data();
  *end++ = '%';
  if (conversion.plus) *end++ = '+';
  if (shape.blank) *end++ = ' ';
  if (conversion.alternate) *end++ = '#';
  if (conversion.grouped) *end++ = '\'';
  if (shape.zero) *end++ = '0';
  for (const char letter : std::string_view("*.*"))
    *end++ = letter;
  for (const char letter : length)
    *end++ = letter;
  *end++ = conversion.type;
  *end = '\0';

  const int width = shape.zero ? static_cast<int>(shape.width) : 0;
  const int size = std::snprintf(scratch.body(), Scratch::kBody, format.data(), width, shape.precision, value);
  if (size < 0) return lay_out(conversion.spelling(), shape);  // no form in this locale, or longer than INT_MAX
  if (static_cast<std::size_t>(size) < Scratch::kBody) {
    return lay_out({scratch.body(), static_cast<std::size_t>(size)}, shape);
  }
  const std::size_t capacity = static_cast<std::size_t>(size) + 1;
  char* large = scratch.large_body(capacity);
  if (large == nullptr) return Rendered{.out_of_memory = true};
  std::snprintf(large, capacity, format.data(), width, shape.precision, value);
  return lay_out({large, capacity - 1}, shape);
}

std::string_view decimal(auto number, Scratch& scratch) {
  const auto result = std::to_chars(scratch.number(), scratch.number() + Scratch::kNumber, number);
  return {scratch.number(), result.ptr};
}

template <std::integral Number>
Rendered render_integer(const Conversion& conversion, const Shape& shape, Form form, Number number, Scratch& scratch) {
  const bool plain = shape.precision < 0 && !shape.zero && !shape.blank && !conversion.plus && !conversion.alternate &&
                     !conversion.grouped && conversion.type != 'X';
  Rendered rendered;
  if (plain) {
    const int base = conversion.type == 'x' ? 16 : conversion.type == 'o' ? 8 : 10;
    const auto result = std::to_chars(scratch.body(), scratch.body() + Scratch::kBody, number, base);
    rendered = lay_out({scratch.body(), result.ptr}, shape);
  } else {
    rendered = print_by_libc(conversion, shape, "j", number, scratch);
  }
  if (form == Form::bare) rendered.number = decimal(number, scratch);
  return rendered;
}

// -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
bool is_json_number(std::string_view text) {
  std::size_t at = 0;
  const auto next_is = [&](std::string_view choice) {
    return at < text.size() && choice.find(text[at]) != choice.npos;
  };
  const auto skip_digits = [&] {
    const std::size_t start = at;
    while (next_is("0123456789"))
      ++at;
    return at > start;
  };
  if (next_is("-")) ++at;
  if (next_is("0")) {
    ++at;
  } else if (!skip_digits()) {
    return false;
  }
  if (next_is(".")) {
    ++at;
    if (!skip_digits()) return false;
  }
  if (next_is("eE")) {
    ++at;
    if (next_is("+-")) ++at;
    if (!skip_digits()) return false;
  }
  return at == text.size();
}

template <std::floating_point Number>
Rendered render_floating(const Conversion& conversion, const Shape& shape, Form form, Number number, Scratch& scratch) {
  Rendered rendered = print_by_libc(conversion, shape, std::is_same_v<Number, long double> ? "L" : "", number, scratch);
  if (form == Form::bare) {
    // A reader of JSON holds doubles; what is none stays a string.
    const auto as_double = static_cast<double>(number);
    if (std::isfinite(as_double)) {
      rendered.number = is_json_number(rendered.body) ? rendered.body : decimal(as_double, scratch);
    }
  }
  return rendered;
}

Rendered render_text(const Shape& shape, const char* text) {
  if (text == nullptr) {
    // Whole or not at all, as libc does it.
    const bool fits = shape.precision < 0 || static_cast<std::size_t>(shape.precision) >= kNullText.size();
    return lay_out(fits ? kNullText : std::string_view(), shape);
  }
  const std::size_t size =
      shape.precision < 0 ? std::strlen(text) : strnlen(text, static_cast<std::size_t>(shape.precision));
  return lay_out({text, size}, shape);
}

}  // namespace

Conversion parse_conversion(const char* percent) noexcept {
  Conversion conversion;
  conversion.begin = percent;
  const char* at = percent + 1;
  const auto finish = [&conversion](const char* type, Kind kind) {
    conversion.type = *type;
    conversion.kind = kind;
    conversion.end = kind == Kind::unknown ? type : type + 1;
  };
  if (const Kind kind = kind_of(*at); kind != Kind::unknown) {  // most are only "%s" or "%u"
    finish(at, kind);
    return conversion;
  }

  while (read_flag(*at, conversion))
    ++at;
  if (*at == '*') {
    conversion.star_width = true;
    ++at;
  } else {
    conversion.width = read_digits(at);
  }
  if (*at == '.') {
    ++at;
    if (*at == '*') {
      conversion.star_precision = true;
      ++at;
    } else {
      conversion.precision = read_digits(at);
    }
  }
  conversion.length = read_length(at);
  finish(at, kind_of(*at));
  return conversion;
}

Rendered render(const Conversion& conversion, Form form, Arguments& arguments, Scratch& scratch) noexcept {
  const Shape shape = take_shape(conversion, form, arguments);
  const Length length = conversion.length;
  switch (conversion.type) {
    case 'd':
    case 'i':
      return render_integer(conversion, shape, form, take_signed(length, arguments), scratch);
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      return render_integer(conversion, shape, form, take_unsigned(length, arguments), scratch);
    case 's':
      if (length == Length::l) {
        return print_by_libc(conversion, shape, "l", va_arg(arguments.list, const wchar_t*), scratch);
      }
      return render_text(shape, va_arg(arguments.list, const char*));
    case 'c':
      if (length == Length::l) {
        return print_by_libc(conversion, shape, "l", va_arg(arguments.list, std::wint_t), scratch);
      }
      *scratch.body() = static_cast<char>(va_arg(arguments.list, int));
      return lay_out({scratch.body(), 1}, shape);
    case 'p':
      return print_by_libc(conversion, shape, "", va_arg(arguments.list, const void*), scratch);
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      if (length == Length::L || length == Length::ll) {
        return render_floating(conversion, shape, form, va_arg(arguments.list, long double), scratch);
      }
      return render_floating(conversion, shape, form, va_arg(arguments.list, double), scratch);
    case 'n':
      static_cast<void>(va_arg(arguments.list, void*));
      return {.body = conversion.spelling()};
    case '%':
      return {.body = "%"};
    default:
      return {.body = conversion.spelling()};
  }
}

}  // namespace kvel::output

// NOLINTEND(clang-analyzer-valist.Uninitialized)
