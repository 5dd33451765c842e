// Match rules of HTTP load-balancing class-maps; the same handlers serve the inline matches of a policy-map.
#include <cstdio>

#include "cli/classmap/class_map.h"
#include "cli/common/backend.h"
#include "cli/common/fixed_text.h"
#include "cli/common/http_tables.h"
#include "cli/common/keyword_table.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

// What every rule here carries: the name of a class-map, or of an inline match.
struct Rule {
  ObjectName name;
  std::uint32_t line = 0;
  std::uint32_t is_inline = 0;  // a class-map's name never resets it
};

template <class Request>
using RuleKeywords = KeywordRows<On<Ids<kw::class_map_http_lb_name>, Text<&Request::name>>,
                                 On<Ids<kw::inline_match_name>, Text<&Request::name>, Set<&Request::is_inline, 1U>>,
                                 On<Ids<kw::http_lb_line, kw::inline_lb_line>, Number<&Request::line>>>;

struct OrderedRule : Rule {
  ObjectName insert_before;
};

template <class Request>
using OrderedRuleKeywords =
    KeywordRows<RuleKeywords<Request>, On<Ids<kw::insert_before_lb>, Text<&Request::insert_before>>>;

struct UrlMatch : OrderedRule {
  ObjectName qualifier;
  Expression expression;
};

using UrlKeywords = KeywordTable<OrderedRuleKeywords<UrlMatch>, On<Ids<kw::http_lb_url>, Text<&UrlMatch::expression>>,
                                 On<Ids<kw::http_lb_url_qualifier>, Text<&UrlMatch::qualifier>>>;

struct CookieMatch : OrderedRule {
  std::uint32_t option = 0;
  ObjectName cookie;
  Expression value;
};

using CookieKeywords = KeywordTable<OrderedRuleKeywords<CookieMatch>,
                                    On<Ids<kw::http_lb_cookie_name>, Text<&CookieMatch::cookie>,
                                       CheckHttpToken<&CookieMatch::cookie, kInvalidCookieName>>,
                                    On<Ids<kw::http_lb_cookie_value>, Text<&CookieMatch::value>>,
                                    On<Ids<kw::http_lb_cookie_option>, Set<&CookieMatch::option, 1U>>>;

struct HeaderMatch : OrderedRule {
  ObjectName header;
  Expression value;
};

using HeaderKeywords = KeywordTable<OrderedRuleKeywords<HeaderMatch>, LoadBalancingHeaderName<&HeaderMatch::header>,
                                    On<Ids<kw::http_lb_header_value>, Text<&HeaderMatch::value>>>;

struct SourceAddressMatch : Rule {
  std::uint32_t address = 0;
  std::uint32_t mask = 0xFFFFFFFF;
  std::uint32_t mask_given = 0;
};

using SourceAddressKeywords = KeywordTable<
    RuleKeywords<SourceAddressMatch>, On<Ids<kw::http_lb_source_address>, Number<&SourceAddressMatch::address>>,
    On<Ids<kw::http_lb_source_mask>, Number<&SourceAddressMatch::mask>, Set<&SourceAddressMatch::mask_given, 1U>>>;

// A class-map nested in another; there is no inline form of it.
struct NestedClassMap {
  ObjectName class_map;
  std::uint32_t line = 0;
  ObjectName child;
};

using NestedKeywords = KeywordTable<On<Ids<kw::class_map_http_lb_name>, Text<&NestedClassMap::class_map>>,
                                    On<Ids<kw::http_lb_child>, Text<&NestedClassMap::child>>,
                                    On<Ids<kw::http_lb_line>, Number<&NestedClassMap::line>>>;

}  // namespace

}  // namespace kvel::cli::classmap

using namespace kvel::cli;
using namespace kvel::cli::classmap;

// Enters the match mode of an HTTP load-balancing class-map; nothing else is to be done.
int32_t kvelclassmap_config_httplb(const CliCommand*) { return kDone; }

// Placeholder of the grammar: nothing is bound or sent, and the command counts as done.
int32_t kvelclassmap_config_httplbssl(const CliCommand*) {
  std::puts("Error: this feature has yet to be supported");
  return kDone;
}

int32_t kvelclassmap_config_httplburl(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  UrlMatch match;
  UrlKeywords::read(*command, match);

  return finish_match(backend_call("cm_update_lbclass_to_url", context(command), match.name, match.insert_before,
                                   u32{match.line}, u32{match.is_inline}, match.qualifier, match.expression,
                                   add(command)));
}

int32_t kvelclassmap_config_httplbcookie(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  CookieMatch match;
  if (Refusal refusal = CookieKeywords::read(*command, match)) return refuse(refusal);

  return finish_match(backend_call("cm_update_lbclass_to_cookie", context(command), match.name, match.insert_before,
                                   u32{match.line}, u32{match.is_inline}, u32{match.option}, match.cookie, match.value,
                                   add(command)));
}

int32_t kvelclassmap_config_httplbhdr(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  HeaderMatch match;
  if (Refusal refusal = HeaderKeywords::read(*command, match)) return refuse(refusal);

  return finish_match(backend_call("cm_update_lbclass_to_header", context(command), match.name, match.insert_before,
                                   u32{match.line}, u32{match.is_inline}, match.header, match.value, add(command)));
}

int32_t kvelclassmap_config_httplbsrcaddr(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  SourceAddressMatch match;
  SourceAddressKeywords::read(*command, match);

  return finish_match(backend_call("cm_update_lbclass_to_srcaddr", context(command), match.name, u32{match.line},
                                   u32{match.address}, u32{match.mask}, u32{match.mask_given}, u32{match.is_inline},
                                   add(command)));
}

int32_t kvelclassmap_config_httplbcmap(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  NestedClassMap match;
  NestedKeywords::read(*command, match);

  // The first message names the child, the second the class-map being edited.
  return finish_match(backend_call("cm_update_l7class_to_cmap", context(command), session(command), match.class_map,
                                   u32{match.line}, match.child, add(command)),
                      {{KVEL_STATUS_class_map_has_children,
                        "Error: class-map '%s' inturn has child class-map associated\n", match.child.c_str()},
                       {KVEL_STATUS_class_map_is_child,
                        "Error: class-map '%s' is already child of other class-map(s)\n", match.class_map.c_str()}});
}
