#include "tests/fuzz/output_calls.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "kvel/output.h"

namespace kvel::fuzz {
namespace {

constexpr std::uint32_t kMostCalls = 60;
constexpr std::uint32_t kDeepHeaders = 120;  // two such runs nest deeper than a document does
constexpr const char* kHeaders[] = {"h1", "h2", "h3"};
constexpr const char* kLabels[] = {"", " ", "label: ", "  class: ", "100%% ", " & ", "\n", " - ", "]]>"};
constexpr const char* kPieces[] = {"web", " ",  "<",    ">",    "&",    "\"",       "'",    "\\", "]]>", "\t",
                                   "\n",  "\r", "\x01", "\xFF", "\x80", "\xC3\xA4", "\x7F", "%s", "x"};
constexpr const char* kFlags[] = {"", "-", "0", "+", " ", "#", "-+", "+0"};
constexpr const char* kKeptFlags[] = {"", "", "", "+", "", "#", "+", "+"};
constexpr const char* kWidths[] = {"", "1", "5", "20", "300"};
constexpr const char* kPrecisions[] = {"", ".0", ".3", ".", ".12", ".600"};

struct Tag {
  const char* tag;
  const char* element;
};
constexpr Tag kTags[] = {{"v1", "v1"},   {"v-2.x", "v-2.x"}, {"9v", "_9v"},
                         {"v v", "v_v"}, {"", "unnamed"},    {"v<", "v_"}};

std::string any_text(FuzzedDataProvider& bytes) {
  std::string text;
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(0, 12); left > 0; --left)
    text += bytes.PickValueInArray(kPieces);
  return text;
}

std::string printed(const char* format, ...) {
  std::array<char, 4096> line;
  std::va_list arguments;
  va_start(arguments, format);
  const int size = std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  return {line.data(), static_cast<std::size_t>(size)};
}

PrintedArgument argument_of(const PrintedValue& value) {
  if (!std::holds_alternative<const char*>(value.argument)) return value.argument;
  return value.is_null ? nullptr : value.text.c_str();
}

// A conversion of the plugin's kinds with any width, flags and precision that have a meaning for it.
PrintedValue any_value(FuzzedDataProvider& bytes) {
  PrintedValue value;
  const auto flags = bytes.ConsumeIntegralInRange<std::size_t>(0, std::size(kFlags) - 1);
  const std::string width = bytes.PickValueInArray(kWidths);
  const std::string precision = bytes.PickValueInArray(kPrecisions);
  std::string flag = kFlags[flags];
  std::string kept = kKeptFlags[flags];
  std::string type;
  const auto text_flags = [&] {
    flag = flag.find('-') != flag.npos ? "-" : "";
    kept.clear();
  };
  const auto plain_flags = [&] {
    if (flag == "#") flag = kept = "";
  };
  std::string digits = precision;
  switch (bytes.ConsumeIntegralInRange<int>(0, 6)) {
    case 0:
      type = "d";
      plain_flags();
      value.argument = bytes.ConsumeIntegral<int>();
      break;
    case 1:
      type = "lld";
      plain_flags();
      value.argument = static_cast<long long>(bytes.ConsumeIntegral<std::int64_t>());
      break;
    case 2:
      type = "u";
      text_flags();
      value.argument = bytes.ConsumeIntegral<unsigned>();
      break;
    case 3:
      type = bytes.ConsumeBool() ? "x" : "X";
      if (flag != "#") text_flags();
      value.argument = bytes.ConsumeIntegral<unsigned>();
      break;
    case 4:
      type = bytes.ConsumeBool() ? "f" : "g";
      value.argument = bytes.ConsumeFloatingPointInRange<double>(-1e9, 1e9);
      break;
    default:
      type = "s";
      text_flags();
      value.argument = static_cast<const char*>(nullptr);
      value.is_null = bytes.ConsumeIntegralInRange<int>(0, 15) == 15;
      if (!value.is_null) value.text = any_text(bytes);
  }
  value.conversion = "%" + flag + width + digits + type;
  const auto print = [&](const std::string& format) {
    return std::visit([&](auto argument) { return printed(format.c_str(), argument); }, argument_of(value));
  };
  value.printed = print(value.conversion);
  value.bare = print("%" + kept + digits + type);
  value.is_tagged = bytes.ConsumeIntegralInRange<int>(0, 3) != 0;
  value.tag = bytes.PickValueInArray(kTags).tag;
  return value;
}

OutputCall any_line(FuzzedDataProvider& bytes) {
  OutputCall call{OutputCall::line, "", bytes.PickValueInArray(kLabels), "", {}};
  call.as_printf = call.format;
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(0, 2); left > 0; --left) {
    const PrintedValue value = any_value(bytes);
    const std::string label = bytes.PickValueInArray(kLabels);
    call.format += (value.is_tagged ? "<" + value.conversion + ">" : value.conversion) + label;
    call.as_printf += value.conversion + label;
    call.values.push_back(value);
  }
  if (bytes.ConsumeBool()) {
    call.format += "\n";
    call.as_printf += "\n";
  }
  return call;
}

// Calls `print` with the arguments of the line's values.
template <class Print>
void with_arguments(const OutputCall& call, Print print) {
  if (call.values.empty()) return print();
  const PrintedArgument first = argument_of(call.values[0]);
  if (call.values.size() == 1) return std::visit(print, first);
  std::visit(print, first, argument_of(call.values[1]));
}

void print_line(const OutputCall& call) {
  std::array<const char*, 2> tags{};
  std::int32_t count = 0;
  for (const PrintedValue& value : call.values) {
    if (value.is_tagged) tags[static_cast<std::size_t>(count++)] = value.tag;
  }
  const char* format = call.format.c_str();
  if (count == 0) return with_arguments(call, [&](auto... values) { xprint(format, values...); });
  std::array<char, 2 * 64> list;
  const char* tag = count == 1 ? tags[0] : xmltag(list.data(), 2, tags[0], tags[1]);
  with_arguments(call, [&](auto... values) { xprint(format, tag, values...); });
}

}  // namespace

std::vector<OutputCall> any_calls(FuzzedDataProvider& bytes) {
  std::vector<OutputCall> calls;
  for (std::uint32_t left = kMostCalls; left > 0 && bytes.remaining_bytes() > 0; --left) {
    switch (bytes.ConsumeIntegralInRange<int>(0, 6)) {
      case 0:
        calls.push_back({OutputCall::header, bytes.PickValueInArray(kHeaders), "", "", {}});
        break;
      case 1:
        calls.push_back({OutputCall::footer, bytes.PickValueInArray(kHeaders), "", "", {}});
        break;
      case 2:
        if (bytes.ConsumeIntegralInRange<int>(0, 15) == 15)
          calls.insert(calls.end(), kDeepHeaders, {OutputCall::header, bytes.PickValueInArray(kHeaders), "", "", {}});
        break;
      default:
        calls.push_back(any_line(bytes));
    }
  }
  return calls;
}

std::string element_of(const std::string& tag) {
  for (const Tag& known : kTags) {
    if (tag == known.tag) return known.element;
  }
  return tag;
}

std::string in_document(const std::string& text) {
  std::string kept;
  for (std::string_view rest = text; !rest.empty();) {
    if (rest.starts_with("\xC3\xA4")) {
      kept += "\xC3\xA4";
      rest.remove_prefix(2);
      continue;
    }
    const auto byte = static_cast<unsigned char>(rest.front());
    const bool is_kept = (byte >= 0x20 && byte < 0x80) || byte == '\t' || byte == '\n' || byte == '\r';
    kept += is_kept ? std::string(1, rest.front()) : "\xEF\xBF\xBD";
    rest.remove_prefix(1);
  }
  return kept;
}

void perform(const std::vector<OutputCall>& calls) {
  for (const OutputCall& call : calls) {
    if (call.kind == OutputCall::header) {
      xprint_header(call.tag);
    } else if (call.kind == OutputCall::footer) {
      xprint_footer(call.tag);
    } else {
      print_line(call);
    }
  }
}

std::string as_text(const std::vector<OutputCall>& calls) {
  std::string text;
  for (const OutputCall& call : calls) {
    if (call.kind != OutputCall::line) continue;
    with_arguments(call, [&](auto... values) { text += printed(call.as_printf.c_str(), values...); });
  }
  return text;
}

}  // namespace kvel::fuzz
