#include "tests/fuzz/expected_flow.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <vector>

namespace kvel::fuzz {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMostListed = 1000;
constexpr std::uint64_t kHighest16 = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t kHighest32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kHighest64 = std::numeric_limits<std::uint64_t>::max();

bool is_number(const Json& value, std::uint64_t low, std::uint64_t high) {
  if (!value.is_number_integer() || (!value.is_number_unsigned() && value.get<std::int64_t>() < 0)) return false;
  const auto number = value.get<std::uint64_t>();
  return number >= low && number <= high;
}

bool is_address(const Json& value) {
  if (!value.is_string()) return false;
  const std::string text = value;
  std::array<unsigned char, sizeof(in6_addr)> parsed{};
  if (text.find('\0') != text.npos) return false;
  return ::inet_pton(AF_INET, text.c_str(), parsed.data()) == 1 ||
         ::inet_pton(AF_INET6, text.c_str(), parsed.data()) == 1;
}

bool is_list_of_texts(const Json& value) {
  return value.is_array() && std::all_of(value.begin(), value.end(), [](const Json& item) { return item.is_string(); });
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return text;
}

bool are_headers(const Json& value) {
  if (!value.is_object() || value.size() > kMostListed) return false;
  std::set<std::string> names;
  for (const auto& [name, content] : value.items()) {
    if (!content.is_string() || !names.insert(lower(name)).second) return false;
  }
  return true;
}

bool is_http_member(const std::string& name, const Json& value) {
  if (name == "method" || name == "url" || name == "content") return value.is_string();
  if (name == "headers" || name == "response_headers") return are_headers(value);
  if (name == "content_length") return is_number(value, 0, kHighest64);
  if (name != "misuse" || !is_list_of_texts(value)) return false;
  return std::all_of(value.begin(), value.end(), [](const Json& item) {
    const std::string word = lower(item);
    return word == "instant-messaging" || word == "peer-to-peer" || word == "tunnelling";
  });
}

template <class IsMember>
bool is_object_of(const Json& value, IsMember is_member) {
  if (!value.is_object()) return false;
  for (const auto& [name, content] : value.items()) {
    if (!is_member(name, content)) return false;
  }
  return true;
}

bool is_member(const std::string& name, const Json& value) {
  if (name == "source" || name == "destination") return is_address(value);
  if (name == "protocol") return value.is_string() || is_number(value, 0, 255);
  if (name == "source_port" || name == "destination_port") return is_number(value, 0, kHighest16);
  if (name == "vlan") return is_number(value, 1, 4094);
  if (name == "management") return value.is_boolean();
  if (name == "event") return value == "open" || value == "close";
  if (name == "client_packets" || name == "server_packets") return is_number(value, 0, kHighest32);
  if (name == "client_bytes" || name == "server_bytes") return is_number(value, 0, kHighest64);
  if (name == "access_lists") return is_list_of_texts(value) && value.size() <= kMostListed;
  if (name == "http") return is_object_of(value, is_http_member);
  if (name == "ftp")
    return is_object_of(value,
                        [](const std::string& word, const Json& of) { return word == "command" && of.is_string(); });
  if (name == "dns")
    return is_object_of(value, [](const std::string& word, const Json& of) {
      return word == "length" && is_number(of, 0, kHighest32);
    });
  return false;
}

bool has_ports(const Json& protocol) {
  if (protocol.is_number()) return protocol == 6 || protocol == 17;
  const std::string name = lower(protocol);
  return name == "tcp" || name == "udp";
}

}  // namespace

std::optional<Json> expected_flow(const std::string& line) {
  if (line.find('\0') != line.npos) return std::nullopt;
  std::vector<std::set<std::string>> names;  // of the objects that are open
  bool is_twice = false;
  const auto watch = [&](int, Json::parse_event_t event, Json& parsed) {
    if (event == Json::parse_event_t::object_start) names.emplace_back();
    if (event == Json::parse_event_t::object_end) names.pop_back();
    if (event == Json::parse_event_t::key && !names.back().insert(parsed).second) is_twice = true;
    return true;
  };
  Json flow;
  try {
    flow = Json::parse(line, watch);
  } catch (const Json::exception&) {
    return std::nullopt;
  }
  if (is_twice || !is_object_of(flow, is_member)) return std::nullopt;
  for (const char* needed : {"source", "destination", "protocol"}) {
    if (!flow.contains(needed)) return std::nullopt;
  }
  for (const char* needed : {"source_port", "destination_port"}) {
    if (has_ports(flow["protocol"]) && !flow.contains(needed)) return std::nullopt;
  }
  return flow;
}

}  // namespace kvel::fuzz
