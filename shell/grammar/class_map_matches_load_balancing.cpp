// Match rules of HTTP load-balancing class-maps.
#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/load_balancing_rules.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

using namespace pattern;

// The same rules for the class of a match that is written into a load-balancing policy-map. Its name is that of the
// policy-map followed by the name of the match.
Pattern inline_match(Pattern rule) {
  return sequence(word("inline-match", "The rule of a match that is written into a load-balancing policy-map"),
                  name("NAME", "Name of the policy-map and name of the match, joined", kw::inline_match_name),
                  optional(word("insert-before", "Place it before a class or match of the policy-map"),
                           name("CLASS", "Name of that class or match", kw::insert_before_lb,
                                KVEL_HOOK(classmap_lb_completionhook))),
                  match_rule(kw::inline_lb_line, std::move(rule)));
}

}  // namespace

void declare_load_balancing_matches(GrammarBuilder& grammar) {
  const auto rule = [&grammar](Pattern what) -> CommandDeclaration& {
    return grammar.command(kClassMapHttpLbMode, match_rule(kw::http_lb_line, std::move(what))).negatable();
  };

  rule(http_url_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httplburl)).records("http-url");
  rule(http_cookie_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httplbcookie)).records("http-cookie");
  rule(http_header_rule(kw::http_lb_header_value))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbhdr))
      .records("http-header");
  rule(http_source_address_rule())
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbsrcaddr))
      .records("http-source-address", http_source_address_defaults());
  rule(sequence(word("class-map", "What another HTTP load-balancing class-map matches"),
                name("NAME", "Name of the class-map", kw::http_lb_child, KVEL_HOOK(classmap_lb_completionhook))
                    .binds("name")))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbcmap))
      .records("class-map");

  const auto inline_rule = [&grammar](Pattern what) -> CommandDeclaration& {
    return grammar.command(kConfigMode, inline_match(std::move(what))).negatable();
  };
  inline_rule(http_url_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httplburl));
  inline_rule(http_cookie_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httplbcookie));
  inline_rule(http_header_rule(kw::http_lb_header_value)).calls(KVEL_HANDLER(kvelclassmap_config_httplbhdr));
  inline_rule(http_source_address_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httplbsrcaddr));

  // No rule comes of these two.
  grammar.command(kClassMapHttpLbMode, match_rule(kw::http_lb_line, http_request()))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplb));
  grammar.command(kClassMapHttpLbMode, match_rule(kw::http_lb_line, word("ssl", "The SSL session").unsupported()))
      .calls(KVEL_HANDLER(kvelclassmap_config_httplbssl));

  grammar.command(kClassMapHttpLbMode, rule_line(kw::http_lb_line))
      .calls(KVEL_HANDLER(kvelclassmap_delete_match_linenum))
      .only_negated();
}

}  // namespace kvel::shell
