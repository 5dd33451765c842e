// Match rules of HTTP-inspection and FTP-inspection class-maps. None of their calls carries the session.
#include "cli/classmap/class_map.h"
#include "cli/common/backend.h"
#include "cli/common/big_endian.h"
#include "cli/common/fixed_text.h"
#include "cli/common/http_tables.h"
#include "cli/common/keyword_table.h"
#include "cli/common/length_match.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

struct Rule {
  ObjectName class_map;
  std::uint32_t line = 0;
};

template <class Request>
using HttpRuleKeywords = KeywordRows<On<Ids<kw::class_map_http_insp_name>, Text<&Request::class_map>>,
                                     On<Ids<kw::http_insp_line>, Number<&Request::line>>>;

// A rule that is one code of a table.
struct CodeMatch : Rule {
  std::uint8_t code = 0;
};

using FtpMethodKeywords = KeywordTable<On<Ids<kw::class_map_ftp_insp_name>, Text<&CodeMatch::class_map>>,
                                       On<Ids<kw::ftp_insp_line>, Number<&CodeMatch::line>>,
                                       On<FtpMethodIds, Code<&CodeMatch::code, kFtpMethodBase>>>;

template <class CodeIds, std::uint32_t Base>
using HttpCodeKeywords = KeywordTable<HttpRuleKeywords<CodeMatch>, On<CodeIds, Code<&CodeMatch::code, Base>>>;

template <class Keywords>
std::int32_t match_code(const CliCommand* command, const char* call) {
  if (!bind_for_match()) return kFailed;
  CodeMatch match;
  Keywords::read(*command, match);
  return finish_match(
      backend_call(call, context(command), match.class_map, u32{match.line}, u8{match.code}, add(command)));
}

// Sent as buffer(12).
struct DirectedLengthRange {
  be32 direction;      // offset 0: 0 request, 1 response
  LengthRange length;  // offset 4
};
static_assert(sizeof(DirectedLengthRange) == 12);

struct HeaderLengthMatch : Rule {
  std::uint8_t match_code = 0;
  std::uint32_t direction = 0;
  LengthRange length;
};

constexpr std::uint8_t kRequestHeaderLength = 12;
constexpr std::uint8_t kResponseHeaderLength = 13;

using DirectedHeaderLengthKeywords =
    KeywordTable<HttpRuleKeywords<HeaderLengthMatch>, HeaderLengthKeywords<&HeaderLengthMatch::length>,
                 On<Ids<kw::header_length_request>, Set<&HeaderLengthMatch::direction, 0U>,
                    Set<&HeaderLengthMatch::match_code, kRequestHeaderLength>>,
                 On<Ids<kw::header_length_response>, Set<&HeaderLengthMatch::direction, 1U>,
                    Set<&HeaderLengthMatch::match_code, kResponseHeaderLength>>>;

struct HeaderMatch : Rule {
  ObjectName name;
  Expression value;
};

using HeaderKeywords = KeywordTable<HttpRuleKeywords<HeaderMatch>, InspectionHeaderName<&HeaderMatch::name>,
                                    On<Ids<kw::http_insp_header_value>, Text<&HeaderMatch::value>>>;

struct UrlMatch : Rule {
  std::uint8_t match_code = 0;
  Expression expression;
  LengthRange length;
};

constexpr std::uint8_t kUrlExpression = 9;
constexpr std::uint8_t kUrlLength = 10;

// Expression and length may both be there; the later token decides the match code.
using UrlKeywords =
    KeywordTable<HttpRuleKeywords<UrlMatch>,
                 On<Ids<kw::http_insp_url>, Text<&UrlMatch::expression>, Set<&UrlMatch::match_code, kUrlExpression>>,
                 UrlLengthKeywords<&UrlMatch::length, Set<&UrlMatch::match_code, kUrlLength>>>;

struct ContentMatch : Rule {
  Expression expression;
  std::uint8_t offset = 0;
};

using ContentKeywords =
    KeywordTable<HttpRuleKeywords<ContentMatch>, On<Ids<kw::content_expression>, Text<&ContentMatch::expression>>,
                 On<Ids<kw::content_offset>, LowByte<&ContentMatch::offset>>>;

struct ContentLengthMatch : Rule {
  LengthRange length;
};

using ContentLengthTable =
    KeywordTable<HttpRuleKeywords<ContentLengthMatch>, ContentLengthKeywords<&ContentLengthMatch::length>>;

}  // namespace

}  // namespace kvel::cli::classmap

using namespace kvel::cli;
using namespace kvel::cli::classmap;

// Enters the match mode of an HTTP-inspection class-map; nothing else is to be done.
int32_t kvelclassmap_config_httpinspect(const CliCommand*) { return kDone; }

int32_t kvelclassmap_config_ftpinspect(const CliCommand* command) {
  return match_code<FtpMethodKeywords>(command, "cm_update_ftp_request_method_match");
}

int32_t kvelclassmap_config_httpinsp_mime(const CliCommand* command) {
  return match_code<HttpCodeKeywords<MimeTypeIds, kMimeTypeBase>>(command, "cm_update_mime_type_match");
}

int32_t kvelclassmap_config_httpinsp_method(const CliCommand* command) {
  return match_code<HttpCodeKeywords<HttpMethodIds, kHttpMethodBase>>(command, "cm_update_request_method_match");
}

int32_t kvelclassmap_config_httpinsp_p80misuse(const CliCommand* command) {
  return match_code<HttpCodeKeywords<PortMisuseIds, kPortMisuseBase>>(command, "cm_update_p80_misuse_match");
}

int32_t kvelclassmap_config_httpinsp_encoding(const CliCommand* command) {
  return match_code<HttpCodeKeywords<TransferEncodingIds, kTransferEncodingBase>>(command,
                                                                                  "cm_update_transfer_encoding_match");
}

int32_t kvelclassmap_config_httpinsp_hdrlen(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  HeaderLengthMatch match;
  if (Refusal refusal = DirectedHeaderLengthKeywords::read(*command, match)) return refuse(refusal);

  DirectedLengthRange range{match.direction, match.length};
  return finish_match(backend_call("cm_update_http_header_length_match", context(command), match.class_map,
                                   u32{match.line}, u8{match.match_code}, buffer(range), add(command)));
}

int32_t kvelclassmap_config_httpinsp_hdr(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  HeaderMatch match;
  if (Refusal refusal = HeaderKeywords::read(*command, match)) return refuse(refusal);

  return finish_match(backend_call("cm_update_http_header_match", context(command), match.class_map, u32{match.line},
                                   match.name, match.value, add(command)));
}

int32_t kvelclassmap_config_httpinsp_url(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  UrlMatch match;
  if (Refusal refusal = UrlKeywords::read(*command, match)) return refuse(refusal);

  return finish_match(backend_call("cm_update_http_url_match", context(command), match.class_map, u32{match.line},
                                   u8{match.match_code}, match.expression, buffer(match.length), add(command)));
}

int32_t kvelclassmap_config_httpinsp_content(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  ContentMatch match;
  ContentKeywords::read(*command, match);

  if (match.expression.length() + match.offset >= kContentReach) {
    return refuse(kBeyondContentReach);
  }
  return finish_match(backend_call("cm_update_http_content_match", context(command), match.class_map, u32{match.line},
                                   match.expression, u8{match.offset}, add(command)));
}

int32_t kvelclassmap_config_httpinsp_cntlen(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  ContentLengthMatch match;
  if (Refusal refusal = ContentLengthTable::read(*command, match)) return refuse(refusal);

  return finish_match(backend_call("cm_update_http_content_length_match", context(command), match.class_map,
                                   u32{match.line}, buffer(match.length), add(command)));
}
