// Keyword tables of HTTP and FTP rules that several handlers share, the inline matches of policy-maps included.
#pragma once

#include <cstdint>

#include "cli/common/keyword_table.h"
#include "kvel/keywords.h"

namespace kvel::cli {

// The well-known HTTP header names, in the order of their keywords in every command family.
inline constexpr const char* kHttpHeaderNames[] = {"Via",
                                                   "User-Agent",
                                                   "Transfer-Encoding",
                                                   "Referer",
                                                   "Pragma",
                                                   "If-Match",
                                                   "Host",
                                                   "From",
                                                   "Expect",
                                                   "Content-MD5",
                                                   "Connection",
                                                   "Cache-Control",
                                                   "Authorization",
                                                   "Accept-Language",
                                                   "Accept-Encoding",
                                                   "Accept-Charset",
                                                   "Accept"};

// The keywords of a code table and what is taken from the id to get the code.
using FtpMethodIds = IdRange<kw::ftp_method_appe, kw::ftp_method_syst>;
inline constexpr std::uint32_t kFtpMethodBase = 875;  // codes 1 to 13

using MimeTypeIds = IdRange<kw::mime_application_gzip, kw::mime_video_x_fli>;
inline constexpr std::uint32_t kMimeTypeBase = 968;  // codes 33 to 77

using TransferEncodingIds = IdRange<kw::transfer_encoding_chunked, kw::transfer_encoding_trailers>;
inline constexpr std::uint32_t kTransferEncodingBase = 1018;  // codes 83 to 88

using HttpMethodIds = IdRange<kw::http_method_connect, kw::http_method_version_control>;
inline constexpr std::uint32_t kHttpMethodBase = 1200;  // codes 1 to 27

using PortMisuseIds = IdRange<kw::port_misuse_instant_messaging, kw::port_misuse_tunnelling>;
inline constexpr std::uint32_t kPortMisuseBase = 1250;  // codes 1 to 3

// The header-name keywords of the inspection and of the load-balancing rules.
using InspectionHeaderIds = IdRange<kw::http_insp_header_via, kw::http_insp_header_accept>;
using LoadBalancingHeaderIds = IdRange<kw::http_lb_header_via, kw::http_lb_header_accept>;

static_assert(kw::ftp_method_syst - kFtpMethodBase == 13);
static_assert(kw::mime_application_gzip - kMimeTypeBase == 33 && kw::mime_video_x_fli - kMimeTypeBase == 77);
static_assert(kw::transfer_encoding_chunked - kTransferEncodingBase == 83);
static_assert(kw::transfer_encoding_trailers - kTransferEncodingBase == 88);
static_assert(kw::http_method_version_control - kHttpMethodBase == 27);
static_assert(kw::port_misuse_tunnelling - kPortMisuseBase == 3);
static_assert(kw::http_insp_header_accept - kw::http_insp_header_via + 1 == 17);
static_assert(kw::http_lb_header_accept - kw::http_lb_header_via + 1 == 17);

}  // namespace kvel::cli
