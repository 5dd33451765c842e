// Match rules of HTTP-inspection class-maps.
#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/http_inspection_rules.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

using namespace pattern;

void declare_http_inspection_matches(GrammarBuilder& grammar) {
  const auto rule = [&grammar](std::string_view kind, Pattern what) -> CommandDeclaration& {
    return grammar.command(kClassMapHttpInspectionMode, match_rule(kw::http_insp_line, std::move(what)))
        .negatable()
        .records(kind);
  };

  rule("header-length", header_length_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_hdrlen));
  rule("header", header_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_hdr));
  rule("url", url_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_url));
  rule("url-length", url_length_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_url));
  rule("mime-type", mime_type_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_mime));
  rule("content", content_rule())
      .calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_content))
      .records("content", {{"offset", 0U}});
  rule("content-length", content_length_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_cntlen));
  rule("request-method", request_method_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_method));
  rule("port-misuse", port_misuse_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_p80misuse));
  rule("transfer-encoding", transfer_encoding_rule()).calls(KVEL_HANDLER(kvelclassmap_config_httpinsp_encoding));

  // No rule comes of it.
  grammar.command(kClassMapHttpInspectionMode, match_rule(kw::http_insp_line, word("http", "The HTTP request")))
      .calls(KVEL_HANDLER(kvelclassmap_config_httpinspect));

  grammar.command(kClassMapHttpInspectionMode, rule_line(kw::http_insp_line))
      .calls(KVEL_HANDLER(kvelclassmap_delete_match_linenum))
      .only_negated();
}

}  // namespace kvel::shell
