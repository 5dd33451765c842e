// Match rules of HTTP load-balancing class-maps.
#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/families.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

using namespace pattern;

Pattern http() { return word("http", "The HTTP request"); }

Pattern url() {
  return sequence(
      word("url", "The URL"), expression("Regular expression that the URL matches", kw::http_lb_url).says("expression"),
      optional(word("qualifier", "Qualify the rule by a further word"),
               string("WORD", "The further word", kw::http_lb_url_qualifier, kMaxNameBytes).says("qualifier")));
}

Pattern cookie() {
  return sequence(
      word("cookie", "A cookie of the request"),
      string("NAME", "Name of the cookie", kw::http_lb_cookie_name, kMaxNameBytes).says("name"),
      word("value", "Value of the cookie"),
      expression("Regular expression that the value matches", kw::http_lb_cookie_value).says("value"),
      optional(word("option", "Set the option of the rule", kw::http_lb_cookie_option).says("option", true)));
}

Pattern source_address() {
  return sequence(word("source-address", "Where the request comes from"),
                  address("ADDRESS", "IPv4 address", kw::http_lb_source_address).says("address"),
                  optional(mask("MASK", "Mask of the address; one host when left out", kw::http_lb_source_mask)
                               .says("mask")
                               .says("mask_given", true)));
}

// The same rules written into a load-balancing policy-map, each under a name of its own.
Pattern inline_match(Pattern rule) {
  return sequence(word("inline-match", "A match rule written into a load-balancing policy-map"),
                  name("NAME", "Name of the inline match", kw::inline_match_name),
                  optional(word("insert-before", "Place it before a class or match of the policy-map"),
                           name("CLASS", "Name of that class or match", kw::insert_before_lb,
                                KVEL_HOOK(classmap_lb_completionhook))),
                  match_rule(kw::inline_lb_line, std::move(rule)));
}

}  // namespace

void declare_load_balancing_matches(GrammarBuilder& grammar) {
  const auto rule = [&grammar](Pattern what) -> FormDraft& {
    return grammar.form(kClassMapHttpLbMode, match_rule(kw::http_lb_line, std::move(what))).negatable();
  };

  rule(sequence(http(), url())).calls(KVEL_HANDLER(kvelclassmap_config_httplburl)).records("http-url");
  rule(sequence(http(), cookie())).calls(KVEL_HANDLER(kvelclassmap_config_httplbcookie)).records("http-cookie");
  rule(sequence(http(), http_header(kw::http_lb_header_via, kw::http_lb_header_name, kw::http_lb_header_value)))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbhdr))
      .records("http-header");
  rule(sequence(http(), source_address()))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbsrcaddr))
      .records("http-source-address", {{"mask", "255.255.255.255"}, {"mask_given", false}});
  rule(
      sequence(
          word("class-map", "What another HTTP load-balancing class-map matches"),
          name("NAME", "Name of the class-map", kw::http_lb_child, KVEL_HOOK(classmap_lb_completionhook)).says("name")))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbcmap))
      .records("class-map");

  const auto inline_rule = [&grammar](Pattern what) -> FormDraft& {
    return grammar.form(kConfigMode, inline_match(std::move(what))).negatable();
  };
  inline_rule(sequence(http(), url())).calls(KVEL_HANDLER(kvelclassmap_config_httplburl));
  inline_rule(sequence(http(), cookie())).calls(KVEL_HANDLER(kvelclassmap_config_httplbcookie));
  inline_rule(sequence(http(), http_header(kw::http_lb_header_via, kw::http_lb_header_name, kw::http_lb_header_value)))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbhdr));
  inline_rule(sequence(http(), source_address())).calls(KVEL_HANDLER(kvelclassmap_config_httplbsrcaddr));

  // No rule comes of these two.
  grammar.form(kClassMapHttpLbMode, match_rule(kw::http_lb_line, http()))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplb));
  grammar.form(kClassMapHttpLbMode, match_rule(kw::http_lb_line, word("ssl", "The SSL session; not supported yet")))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbssl));

  grammar.form(kClassMapHttpLbMode, rule_line(kw::http_lb_line))
      .calls(KVEL_HANDLER(kvelclassmap_delete_match_linenum))
      .only_negated();
}

}  // namespace kvel::shell
