// The notation of the plug-in's tests: how events, texts and bytes are written in an expectation.
#pragma once

#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace kvel::cli::test {

// What a plug-in did, in order, one line each:
//   bind 2                             tnrpc_clnt_init(2)
//   domain 5 'web' 0                   vsh_platform_specific_rule_domain_check_valid
//   modify 0                           vsh_platform_matched_rule_modify_check
//   init_resp                          tnrpc_init_resp
//   call NAME(u16 7, session 0x01020304, u8 1, u32 80, 'text', buffer[4] 00000000, response)
//   free                               tnrpc_free
//   xprint_header 'tag'                and xprint_footer
//   xprint "format" 'tag' => "text"    the tag only for a format with angle brackets
//                                      and for the VIP lines of a load-balancing action
//   out "text"                         everything written to standard output since the event before
//   left 3 blocks                      heap blocks that a completion hook neither freed nor returned
//   return 0                           or: return null, return ['web', 'db']
struct Events : std::vector<std::string> {
  using std::vector<std::string>::vector;
};
void PrintTo(const Events& events, std::ostream* stream);  // NOLINT(readability-identifier-naming): GoogleTest's name

// The events `first` and then `second`.
[[nodiscard]] Events operator+(Events first, const Events& second);

// 'text' or "text": the quote, the backslash and every byte that is not printable ASCII are escaped as in C (\n, \xff).
[[nodiscard]] std::string quoted(std::string_view text, char quote = '\'');

// The event of a text on standard output.
[[nodiscard]] std::string out(std::string_view text);

// Two hex digits a byte; five and more equal bytes in a row stand apart as "00*65".
[[nodiscard]] std::string hex(std::string_view bytes);

// `text`, filled with zero bytes up to `size`.
[[nodiscard]] std::string field(std::string_view text, std::size_t size);

// A page of object names: one zero-filled record of 65 bytes each.
[[nodiscard]] std::string page(std::initializer_list<std::string_view> names);

}  // namespace kvel::cli::test
