// Matches written into a policy-map: a name and a rule. What is to be done with them follows in a mode of their own.
#include "shell/grammar/inline_matches.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/ftp_inspection_rules.h"
#include "shell/grammar/http_inspection_rules.h"
#include "shell/grammar/load_balancing_rules.h"
#include "shell/grammar/policy_map_types.h"

namespace kvel::shell {

namespace {

using namespace pattern;

// The matches of one type of policy-map.
class InlineMatches {
 public:
  // `insert_before` is kNoKeyword where a match always takes the last position.
  InlineMatches(GrammarBuilder& grammar, const PolicyMapType& type, std::string_view handler, KeywordId match_name,
                KeywordId insert_before)
      : grammar_(grammar), type_(type), handler_(handler), match_name_(match_name), insert_before_(insert_before) {
    // Removing a match needs no more than its name.
    grammar_.command(type_.mode, named()).calls(handler_).only_negated();
  }

  void rule(std::string_view kind, Pattern what, std::vector<MemberDefault> defaults = {}) {
    grammar_.command(type_.mode, sequence(named(), position(), std::move(what)))
        .calls(handler_)
        .negatable()
        .opens(type_.match_mode, {match_name_})
        .records(kind, std::move(defaults));
  }

 private:
  [[nodiscard]] Pattern named() const {
    return sequence(word("match", "A match written into the policy-map, and what to do with it"),
                    name("NAME", "Name of the match", match_name_).binds(kMatchNameMember));
  }

  [[nodiscard]] Pattern position() const {
    if (insert_before_ == kNoKeyword) return sequence();
    return optional(
        word("insert-before", "Place it before another class or match of the policy-map"),
        name("OTHER", "Name of that class or match", insert_before_, type_.class_hook).binds(kInsertBeforeMember));
  }

  GrammarBuilder& grammar_;
  const PolicyMapType& type_;
  std::string_view handler_;
  KeywordId match_name_;
  KeywordId insert_before_;
};

const PolicyMapType& type_of_mode(std::string_view mode) {
  return *std::find_if(kPolicyMapTypes.begin(), kPolicyMapTypes.end(),
                       [mode](const PolicyMapType& type) { return type.mode == mode; });
}

void declare_load_balancing(GrammarBuilder& grammar) {
  InlineMatches matches(grammar, type_of_mode(kPolicyMapHttpLbMode), KVEL_HANDLER(kvelpolicymap_config_inline_lb),
                        kw::inline_match_name, kw::inline_lb_insert_before);
  matches.rule("http-url", http_url_rule());
  matches.rule("http-cookie", http_cookie_rule());
  // The keyword of a header's value in a class-map is that of a value alone here.
  matches.rule("http-header", http_header_rule(kw::http_lb_cookie_value));
  matches.rule("http-source-address", http_source_address_rule(), http_source_address_defaults());
  matches.rule(
      "http-value",
      sequence(http_request(), word("value", "A value, wherever it is"),
               expression("Regular expression that the value matches", kw::http_lb_header_value).binds("value")));
}

void declare_http_inspection(GrammarBuilder& grammar) {
  InlineMatches matches(grammar, type_of_mode(kPolicyMapHttpInspectionMode),
                        KVEL_HANDLER(kvelpolicymap_configinspect_l7http), kw::inline_http_match_name,
                        kw::inline_http_insert_before);
  matches.rule("header-length", header_length_rule());
  matches.rule("header", header_rule());
  matches.rule("url", url_rule());
  matches.rule("url-length", url_length_rule(kw::inline_url_length));
  matches.rule("mime-type", mime_type_rule(kw::inline_mime_type));
  matches.rule("content", content_rule(), {{"offset", 0U}});
  matches.rule("content-length", content_length_rule(kw::inline_content_length));
  matches.rule("request-method", request_method_rule(kw::inline_request_method));
  matches.rule("request-method", extension_method_rule(kw::inline_extension_method));
  matches.rule("port-misuse", port_misuse_rule(kw::inline_port_misuse));
  matches.rule("transfer-encoding", inline_transfer_encoding_rule(kw::inline_transfer_encoding));
  matches.rule("kind-21", advanced(word("kind-21", "The kind of match of that number", kw::inline_kind_21)));
  matches.rule("kind-22", advanced(word("kind-22", "The kind of match of that number", kw::inline_kind_22)));
}

void declare_ftp_inspection(GrammarBuilder& grammar) {
  InlineMatches matches(grammar, type_of_mode(kPolicyMapFtpInspectionMode),
                        KVEL_HANDLER(kvelpolicymap_configmatch_insftpreq), kw::inline_ftp_match_name, kNoKeyword);
  matches.rule("ftp-method", ftp_command_rule(&FtpCommand::inline_match));
}

}  // namespace

void declare_inline_matches(GrammarBuilder& grammar) {
  declare_load_balancing(grammar);
  declare_http_inspection(grammar);
  declare_ftp_inspection(grammar);
}

}  // namespace kvel::shell
