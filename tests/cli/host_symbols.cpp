// The platform functions that the plug-in finds in its host. They decode what the
// plug-in passes and leave the rest to the fake host.
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "kvel/host.h"
#include "kvel/output.h"
#include "kvel/rpc.h"
#include "tests/cli/fake_host.h"

namespace {

using kvel::cli::test::CallArgument;
using kvel::cli::test::Host;
using kvel::cli::test::quoted;

constexpr int kMostArguments = 32;

// Whether the first argument after the format is the line's tag: so for values in angle brackets, and for two lines
// that have a tag without a value.
bool takes_tag(std::string_view format) {
  return format.find("<%") != std::string_view::npos || format.starts_with("        VIP Route Advertise  : ") ||
         format.starts_with("        VIP ICMP Reply       : ");
}

std::string quoted_or_null(const char* text) { return text == nullptr ? "null" : quoted(text); }

// Reads the value after argument.type; false for a type code that is none.
bool read_value(CallArgument& argument, std::va_list& list) {
  switch (argument.type) {
    // NOLINTNEXTLINE(bugprone-branch-clone): int and uint32_t are two types to va_arg
    case TNRPC_ARG_U8:
    case TNRPC_ARG_U16:
      argument.number = va_arg(list, int);
      return true;
    case TNRPC_ARG_U32:
    case TNRPC_ARG_SESSION:
      argument.number = va_arg(list, std::uint32_t);
      return true;
    case TNRPC_ARG_STRING:
      argument.text = va_arg(list, const char*);
      return true;
    case TNRPC_ARG_BUFFER:
      argument.buffer = va_arg(list, void*);
      argument.length = va_arg(list, std::uint32_t);
      return true;
    case TNRPC_ARG_RESPONSE:
      argument.response = va_arg(list, TnrpcResponse*);
      return true;
    default:
      return false;
  }
}

}  // namespace

extern "C" {

std::int32_t tnrpc_clnt_init(std::int32_t service) {
  Host::current().record("bind " + std::to_string(service));
  return Host::current().bind_status;
}

std::int32_t tnrpc_call(const char* name, std::int32_t nargs, ...) {
  std::vector<CallArgument> arguments;
  if (nargs < 0 || nargs > kMostArguments) {
    Host::current().complain("a call has " + std::to_string(nargs) + " arguments");
    nargs = 0;
  }
  std::va_list list;
  va_start(list, nargs);
  bool known = true;
  while (known && arguments.size() < static_cast<std::size_t>(nargs)) {
    CallArgument& argument = arguments.emplace_back();
    argument.type = va_arg(list, int);
    known = read_value(argument, list);
  }
  va_end(list);
  return Host::current().call(name, arguments);
}

void tnrpc_init_resp(TnrpcResponse* response) { Host::current().prepare(response); }

void tnrpc_free(TnrpcResponse* response) { Host::current().release(response); }

// The text holds conversions that must come out as they are.
const char* syserr2str(std::int32_t status) {
  static std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "text of 0x%08x, 100%%d %%s", static_cast<unsigned>(status));
  return text.data();
}

std::int32_t vsh_platform_specific_rule_domain_check_valid(std::int32_t domain, const char* name,
                                                           std::uint32_t negated) {
  Host::current().record("domain " + std::to_string(domain) + " " + quoted_or_null(name) + " " +
                         std::to_string(negated));
  return Host::current().rule_domain_answer;
}

std::int32_t vsh_platform_matched_rule_modify_check(std::uint32_t negated) {
  Host::current().record("modify " + std::to_string(negated));
  return Host::current().rule_modify_answer;
}

void xprint_header(const char* tag) { Host::current().record("xprint_header " + quoted_or_null(tag)); }

void xprint_footer(const char* tag) { Host::current().record("xprint_footer " + quoted_or_null(tag)); }

void xprint(const char* format, ...) {
  std::string event = "xprint " + quoted(format, '"');
  std::va_list list;
  va_start(list, format);
  if (takes_tag(format)) event += " " + quoted_or_null(va_arg(list, const char*));
  std::array<char, 4096> text;
  std::vsnprintf(text.data(), text.size(), format, list);
  va_end(list);
  Host::current().record(event + " => " + quoted(text.data(), '"'));
}

// A tag list is its names with blanks between them.
char* xmltag(char* buffer, std::int32_t count, ...) {
  if (count < 1) {
    Host::current().complain("a tag list has " + std::to_string(count) + " names");
    return buffer;
  }
  std::va_list list;
  va_start(list, count);
  std::string tags = va_arg(list, const char*);
  for (std::int32_t index = 1; index < count; ++index)
    tags.append(" ").append(va_arg(list, const char*));
  va_end(list);
  // The caller's buffer holds 64 bytes for each name: all of them are written, so that a smaller one is noticed.
  tags.resize(64 * static_cast<std::size_t>(count) - 1);
  std::memcpy(buffer, tags.c_str(), tags.size() + 1);
  return buffer;
}

}  // extern "C"
