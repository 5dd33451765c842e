// HTTP load-balancing rules. See load_balancing_rules.h.
#include "shell/grammar/load_balancing_rules.h"

#include "shell/grammar/class_map_matches.h"

namespace kvel::shell {

using namespace pattern;

Pattern http_request() { return word("http", "The HTTP request"); }

Pattern http_url_rule() {
  return sequence(
      http_request(), word("url", "The URL"),
      expression("Regular expression that the URL matches", kw::http_lb_url).binds("expression"),
      optional(word("qualifier", "Qualifier of the rule"),
               string("WORD", "The qualifier", kw::http_lb_url_qualifier, kMaxNameBytes).binds("qualifier")));
}

Pattern http_cookie_rule() {
  return sequence(http_request(), word("cookie", "A cookie of the request"),
                  string("NAME", "Name of the cookie", kw::http_lb_cookie_name, kMaxNameBytes).binds("name"),
                  word("value", "Value of the cookie"),
                  expression("Regular expression that the value matches", kw::http_lb_cookie_value).binds("value"),
                  optional(advanced(
                      word("option", "Set the option of the rule", kw::http_lb_cookie_option).binds("option", true))));
}

Pattern http_header_rule(KeywordId value) {
  return sequence(http_request(), http_header(kw::http_lb_header_via, kw::http_lb_header_name, value));
}

Pattern http_source_address_rule() {
  return sequence(
      http_request(), word("source-address", "Where the request comes from"),
      choice(sequence(address("ADDRESS", "IPv4 address", kw::http_lb_source_address).binds("address"),
                      optional(mask("MASK", "Mask of the address; one host when left out", kw::http_lb_source_mask)
                                   .binds("mask")
                                   .binds("mask_given", true))),
             pattern::network(kNetworkHelp, kw::http_lb_source_address, kw::http_lb_source_mask)
                 .binds("address")
                 .binds("mask")
                 .binds("mask_given", true)));
}

std::vector<MemberDefault> http_source_address_defaults() {
  return {{"mask", "255.255.255.255"}, {"mask_given", false}};
}

}  // namespace kvel::shell
