// One flow of traffic as the manager classifies it: a connection, or the beginning or end of one, with the requests
// that it carries. Read once from a line of JSON (flow_reader.h); docs/flows.md defines each member.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "manager/model/address.h"

namespace kvel::manager {

inline constexpr std::uint8_t kIcmp = 1;
inline constexpr std::uint8_t kTcp = 6;
inline constexpr std::uint8_t kUdp = 17;

// Ports of other protocols are no ports: no rule looks at them.
[[nodiscard]] constexpr bool has_ports(std::uint32_t protocol) { return protocol == kTcp || protocol == kUdp; }

enum class FlowEvent : std::uint8_t { whole, open, close };

struct HttpHeader {
  std::string name;  // compared without regard to case
  std::string value;
};
using HttpHeaders = std::vector<HttpHeader>;

struct HttpRequest {
  std::string method;
  std::optional<std::uint32_t> method_code;  // of a method that rules know
  std::optional<std::string> url;
  HttpHeaders headers;
  std::optional<std::string> content;
  std::optional<std::uint64_t> content_length;
  std::optional<HttpHeaders> response_headers;
  std::vector<std::uint32_t> misuses;  // codes, each once
};

struct FtpRequest {
  std::string command;
  std::optional<std::uint32_t> command_code;  // of a command that rules know
};

struct DnsMessage {
  std::uint32_t length = 0;  // bytes
};

struct FlowTraffic {
  std::uint32_t client_packets = 0;
  std::uint32_t server_packets = 0;
  std::uint64_t client_bytes = 0;
  std::uint64_t server_bytes = 0;
};

struct Flow {
  // Why no policy-map can be asked about the flow, as part of a sentence; empty: one can.
  std::string unclassifiable;

  Ipv4 source;
  Ipv4 destination;
  std::uint8_t protocol = 0;
  std::uint16_t source_port = 0;
  std::uint16_t destination_port = 0;
  std::optional<std::uint32_t> vlan;
  bool management = false;
  FlowEvent event = FlowEvent::whole;
  FlowTraffic traffic;
  std::vector<std::string> access_lists;
  std::optional<HttpRequest> http;
  std::optional<FtpRequest> ftp;
  std::optional<DnsMessage> dns;
};

// Whether two ASCII texts differ in no more than the case of their letters.
[[nodiscard]] inline bool is_same_token(std::string_view one, std::string_view other) {
  const auto lower = [](char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](char left, char right) { return lower(left) == lower(right); });
}

}  // namespace kvel::manager
