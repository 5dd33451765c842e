#include "manager/traffic/flow_words.h"

#include <algorithm>
#include <array>

#include "manager/model/match_rule.h"
#include "manager/traffic/flow.h"

namespace kvel::manager {
namespace {

constexpr std::array<std::string_view, 27> kRequestMethods{"CONNECT",
                                                           "DELETE",
                                                           "GET",
                                                           "HEAD",
                                                           "OPTIONS",
                                                           "POST",
                                                           "PUT",
                                                           "TRACE",
                                                           "COPY",
                                                           "LOCK",
                                                           "MKCOL",
                                                           "MOVE",
                                                           "PROPFIND",
                                                           "PROPPATCH",
                                                           "UNLOCK",
                                                           "ACL",
                                                           "BASELINE-CONTROL",
                                                           "BIND",
                                                           "CHECKIN",
                                                           "CHECKOUT",
                                                           "LABEL",
                                                           "MERGE",
                                                           "MKACTIVITY",
                                                           "MKWORKSPACE",
                                                           "REPORT",
                                                           "SEARCH",
                                                           "VERSION-CONTROL"};

constexpr std::array<std::string_view, 45> kMimeTypes{"application/gzip",
                                                      "application/json",
                                                      "application/msword",
                                                      "application/octet-stream",
                                                      "application/pdf",
                                                      "application/postscript",
                                                      "application/rtf",
                                                      "application/vnd.ms-excel",
                                                      "application/vnd.ms-powerpoint",
                                                      "application/x-java-archive",
                                                      "application/x-msdownload",
                                                      "application/xml",
                                                      "application/zip",
                                                      "audio/aac",
                                                      "audio/basic",
                                                      "audio/midi",
                                                      "audio/mpeg",
                                                      "audio/ogg",
                                                      "audio/vnd.wave",
                                                      "audio/x-adpcm",
                                                      "image/bmp",
                                                      "image/cgm",
                                                      "image/gif",
                                                      "image/jpeg",
                                                      "image/png",
                                                      "image/svg+xml",
                                                      "image/tiff",
                                                      "image/x-3ds",
                                                      "image/x-bitmap",
                                                      "image/x-niff",
                                                      "image/x-portable-bitmap",
                                                      "image/x-portable-graymap",
                                                      "image/x-xpm",
                                                      "text/css",
                                                      "text/csv",
                                                      "text/html",
                                                      "text/plain",
                                                      "text/richtext",
                                                      "text/sgml",
                                                      "text/xml",
                                                      "video/mp4",
                                                      "video/mpeg",
                                                      "video/quicktime",
                                                      "video/sgi",
                                                      "video/x-fli"};

constexpr std::array<std::string_view, 6> kTransferEncodings{"chunked", "compress", "deflate",
                                                             "gzip",    "identity", "trailers"};
constexpr std::array<std::string_view, 3> kPortMisuses{"instant-messaging", "peer-to-peer", "tunnelling"};
constexpr std::array<std::string_view, 13> kFtpMethods{"APPE", "CDUP", "DELE", "RETR", "HELP", "MKD", "STOR",
                                                       "RMD",  "RNFR", "RNTO", "SITE", "STOU", "SYST"};

template <class Rule, std::size_t Size>
constexpr CodeWords words_of(const std::array<std::string_view, Size>& words) {
  static_assert(Size == Rule::kLast - Rule::kFirst + 1);
  return {Rule::kFirst, words};
}

struct Protocol {
  std::string_view name;
  std::uint8_t number;
};
constexpr std::array kProtocols{
    Protocol{"icmp", kIcmp}, Protocol{"igmp", 2},   Protocol{"ipip", 4},   Protocol{"tcp", kTcp}, Protocol{"egp", 8},
    Protocol{"udp", kUdp},   Protocol{"gre", 47},   Protocol{"esp", 50},   Protocol{"ah", 51},    Protocol{"ospf", 89},
    Protocol{"pim", 103},    Protocol{"vrrp", 112}, Protocol{"sctp", 132},
};

}  // namespace

constinit const CodeWords kRequestMethodWords = words_of<RequestMethodRule>(kRequestMethods);
constinit const CodeWords kMimeTypeWords = words_of<MimeTypeRule>(kMimeTypes);
constinit const CodeWords kTransferEncodingWords = words_of<TransferEncodingRule>(kTransferEncodings);
constinit const CodeWords kPortMisuseWords = words_of<PortMisuseRule>(kPortMisuses);
constinit const CodeWords kFtpMethodWords = words_of<FtpMethodRule>(kFtpMethods);

std::optional<std::uint32_t> CodeWords::code_of(std::string_view word) const {
  const auto found =
      std::find_if(words.begin(), words.end(), [&](std::string_view known) { return is_same_token(known, word); });
  if (found == words.end()) return std::nullopt;
  return first_code + static_cast<std::uint32_t>(found - words.begin());
}

std::optional<std::uint8_t> protocol_of(std::string_view name) {
  const auto* found = std::find_if(kProtocols.begin(), kProtocols.end(),
                                   [&](const Protocol& known) { return is_same_token(known.name, name); });
  if (found == kProtocols.end()) return std::nullopt;
  return found->number;
}

}  // namespace kvel::manager
