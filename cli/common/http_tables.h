// Keyword tables of HTTP and FTP rules that several handlers share, the inline matches of policy-maps included.
#pragma once

#include <cstdint>

#include "cli/common/keyword_table.h"
#include "cli/common/validators.h"
#include "kvel/http_headers.h"
#include "kvel/keywords.h"

namespace kvel::cli {

// The well-known HTTP header names, in the order of their keywords in every command family.
inline constexpr const char* kHttpHeaderNames[] = {
#define KVEL_HTTP_HEADER_NAME(name) name,
    KVEL_HTTP_HEADERS(KVEL_HTTP_HEADER_NAME)
#undef KVEL_HTTP_HEADER_NAME
};

// The keywords of a code table and what is taken from the id to get the code.
using FtpMethodIds = IdRange<kw::ftp_methods.first, kw::ftp_methods.last>;
inline constexpr std::uint32_t kFtpMethodBase = kw::ftp_methods.base();  // codes 1 to 13

using MimeTypeIds = IdRange<kw::mime_types.first, kw::mime_types.last>;
inline constexpr std::uint32_t kMimeTypeBase = kw::mime_types.base();  // codes 33 to 77

using TransferEncodingIds = IdRange<kw::transfer_encodings.first, kw::transfer_encodings.last>;
inline constexpr std::uint32_t kTransferEncodingBase = kw::transfer_encodings.base();  // codes 83 to 88

using HttpMethodIds = IdRange<kw::http_methods.first, kw::http_methods.last>;
inline constexpr std::uint32_t kHttpMethodBase = kw::http_methods.base();  // codes 1 to 27

using PortMisuseIds = IdRange<kw::port_misuses.first, kw::port_misuses.last>;
inline constexpr std::uint32_t kPortMisuseBase = kw::port_misuses.base();  // codes 1 to 3

// The header-name keywords of the inspection and of the load-balancing rules.
using InspectionHeaderIds = IdRange<kw::http_insp_header_via, kw::http_insp_header_accept>;
using LoadBalancingHeaderIds = IdRange<kw::http_lb_header_via, kw::http_lb_header_accept>;

static_assert(kw::ftp_method_syst - kFtpMethodBase == 13);
static_assert(kw::mime_application_gzip - kMimeTypeBase == 33 && kw::mime_video_x_fli - kMimeTypeBase == 77);
static_assert(kw::transfer_encoding_chunked - kTransferEncodingBase == 83);
static_assert(kw::transfer_encoding_trailers - kTransferEncodingBase == 88);
static_assert(kw::http_method_version_control - kHttpMethodBase == 27);
static_assert(kw::port_misuse_tunnelling - kPortMisuseBase == 3);
static_assert(kw::http_insp_header_accept - kw::http_insp_header_via + 1 == KVEL_HTTP_HEADER_COUNT);
static_assert(kw::http_lb_header_accept - kw::http_lb_header_via + 1 == KVEL_HTTP_HEADER_COUNT);

inline constexpr char kInvalidHeaderName[] = "Error: Invalid HTTP token in header name";
inline constexpr char kInvalidCookieName[] = "Error: Invalid HTTP token in cookie name";

// Refuses the command at its token when the member is no HTTP token. Well-known names need no such check.
template <auto Place, const auto& Message>
struct CheckHttpToken {
  template <class Request>
  static Refusal apply(Request& request, const CliToken&) {
    return is_http_token(field_at<Place>(request).c_str()) ? nullptr : Message;
  }
};

// The header names of inspection and of load balancing: a well-known one by its keyword, any other as it is typed.
template <auto Place>
using InspectionHeaderName =
    KeywordRows<On<InspectionHeaderIds, TextOf<Place, kHttpHeaderNames, kw::http_insp_header_via>>,
                On<Ids<kw::http_insp_header_name>, Text<Place>, CheckHttpToken<Place, kInvalidHeaderName>>>;

template <auto Place>
using LoadBalancingHeaderName =
    KeywordRows<On<LoadBalancingHeaderIds, TextOf<Place, kHttpHeaderNames, kw::http_lb_header_via>>,
                On<Ids<kw::http_lb_header_name>, Text<Place>, CheckHttpToken<Place, kInvalidHeaderName>>>;

}  // namespace kvel::cli
