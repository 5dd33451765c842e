// A match rule written into an HTTP-inspection policy-map.
#include <cstring>

#include "cli/common/backend.h"
#include "cli/common/http_tables.h"
#include "cli/common/length_match.h"
#include "cli/policymap/inline_http_inspect_record.h"
#include "cli/policymap/policy_map.h"

namespace kvel::cli::policymap {

namespace {

struct MatchRequest {
  ObjectName policy;
  ObjectName match;
  ObjectName insert_before;
  InlineHttpInspectRecord record;
};

using Record = InlineHttpInspectRecord;
template <class Field>
inline constexpr auto kIn = kFieldOf<&MatchRequest::record, Field>;

template <std::uint32_t Kind>
using SetKind = Set<kIn<Record::Kind>, Kind>;

// A word of the rule that gives only its kind, and the codes after it, which give the kind too.
template <class WordIds, std::uint32_t Kind>
using KindKeyword = On<WordIds, SetKind<Kind>>;
template <class CodeIds, std::uint32_t Base, std::uint32_t Kind>
using CodeKeywords = On<CodeIds, SetKind<Kind>, Code<kIn<Record::Code>, Base>>;

// The compress coding is no property here, though the codes of the others go on as if it were.
static_assert(kw::transfer_encoding_chunked + 1 == kw::transfer_encoding_compress);
static_assert(kw::transfer_encoding_compress + 1 == kw::transfer_encoding_deflate);
using InlineTransferEncodings =
    KeywordRows<CodeKeywords<Ids<kw::transfer_encoding_chunked>, kTransferEncodingBase, kTransferEncoding>,
                CodeKeywords<IdRange<kw::transfer_encoding_deflate, kw::transfer_encoding_trailers>,
                             kTransferEncodingBase, kTransferEncoding>>;

// Lengths leave the kind to the other words of the rule.
using MatchKeywords =
    KeywordTable<On<Ids<kw::policy_map_http_insp_name>, Text<&MatchRequest::policy>>,
                 On<Ids<kw::inline_http_match_name>, Text<&MatchRequest::match>>,
                 On<Ids<kw::inline_http_insert_before>, Text<&MatchRequest::insert_before>>,
                 InspectionHeaderName<kIn<Record::HeaderName>>,
                 On<Ids<kw::http_insp_header_value>, Text<kIn<Record::HeaderValue>>, SetKind<kHeader>>,
                 HeaderLengthKeywords<kIn<Record::HeaderLength>>,
                 On<Ids<kw::header_length_request>, SetKind<kRequestHeaderLength>, Set<kIn<Record::Direction>, 0U>>,
                 On<Ids<kw::header_length_response>, SetKind<kResponseHeaderLength>, Set<kIn<Record::Direction>, 1U>>,
                 KindKeyword<Ids<kw::inline_url_length>, kUrlLength>,
                 On<Ids<kw::http_insp_url>, Text<kIn<Record::Expression>>, SetKind<kUrlExpression>>,
                 UrlLengthKeywords<kIn<Record::Length>>,  //
                 KindKeyword<Ids<kw::inline_content_length>, kContentLength>,
                 On<Ids<kw::content_expression>, Text<kIn<Record::Expression>>, SetKind<kContentExpression>>,
                 On<Ids<kw::content_offset>, LowHalf<kIn<Record::ContentOffset>>>,
                 ContentLengthKeywords<kIn<Record::Length>>,  //
                 KindKeyword<Ids<kw::inline_mime_type>, kMimeType>,
                 KindKeyword<Ids<kw::inline_request_method, kw::inline_extension_method>, kRequestMethod>,
                 KindKeyword<Ids<kw::inline_port_misuse>, kPortMisuse>,
                 KindKeyword<Ids<kw::inline_transfer_encoding>, kTransferEncoding>,
                 KindKeyword<Ids<kw::inline_kind_21>, kKind21>,  //
                 KindKeyword<Ids<kw::inline_kind_22>, kKind22>, CodeKeywords<MimeTypeIds, kMimeTypeBase, kMimeType>,
                 CodeKeywords<HttpMethodIds, kHttpMethodBase, kRequestMethod>,
                 CodeKeywords<PortMisuseIds, kPortMisuseBase, kPortMisuse>, InlineTransferEncodings>;

// Reads the finished record, whatever its kind: the text at the expression's place up to the next zero byte.
bool content_is_within_reach(InlineHttpInspectRecord& record) {
  return std::strlen(record.field<Record::Expression>().c_str()) + record.field<Record::ContentOffset>() <
         kContentReach;
}

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

int32_t kvelpolicymap_configinspect_l7http(const CliCommand* command) {
  if (command->skip_execution != 0) return kDone;
  if (!bind_for_policy()) return kObjectFailed;
  MatchRequest request;
  if (Refusal refusal = MatchKeywords::read(*command, request)) return refuse_object(refusal);

  if (!content_is_within_reach(request.record)) {
    return refuse_object(kBeyondContentReach);
  }
  if (!inline_name_fits(request.policy, request.match)) return kObjectFailed;
  if (is_inserted_before_itself(*command, request.match, request.insert_before)) {
    return refuse_object(kMatchBeforeItself);
  }
  return finish_object(
      backend_call("cm_update_l7_inline_http_insp_match", context(command), session(command), add(command),
                   request.policy, request.match, request.insert_before, buffer(request.record)),
      {{KVEL_STATUS_insert_before_not_found, kInsertBeforeNotConfigured, request.insert_before.c_str()},
       {KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.policy.c_str()},
       {KVEL_STATUS_class_not_found, kNotInPolicy, request.insert_before.c_str(), request.policy.c_str()}});
}
