// Lines of flows, in good order and not. A line is read exactly when it is a flow by its document, and the flow has the
// values of its members; a fault is one short line of UTF-8. Counting many lines reports the fault of each refused one
// by its number, and the numbers add up; explaining one answers JSON.
#include <arpa/inet.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "manager/traffic/flow_reader.h"
#include "rpc/calls/call_table.h"
#include "tests/fuzz/expected_flow.h"
#include "tests/fuzz/invariant.h"

namespace {

using namespace kvel;
using kvel::fuzz::invariant;
using manager::Flow;
using Json = nlohmann::json;

constexpr std::size_t kLongestFault = 400;
constexpr std::uint32_t kMostLines = 5;

struct Member {
  const char* name;
  const char* value;
};
constexpr Member kNeeded[] = {{"source", R"("192.0.2.10")"},
                              {"destination", R"("10.1.1.1")"},
                              {"protocol", R"("tcp")"},
                              {"source_port", "40000"},
                              {"destination_port", "80"}};
constexpr Member kMembers[] = {{"source", R"("192.0.2.10")"},
                               {"destination", R"("2001:db8::1")"},
                               {"protocol", "17"},
                               {"protocol", R"("ICMP")"},
                               {"protocol", R"("nothing")"},
                               {"source_port", "0"},
                               {"destination_port", "65535"},
                               {"vlan", "20"},
                               {"management", "true"},
                               {"event", R"("close")"},
                               {"client_packets", "4294967295"},
                               {"server_packets", "1"},
                               {"client_bytes", "18446744073709551615"},
                               {"server_bytes", "7"},
                               {"access_lists", R"(["in","out"])"},
                               {"http", R"({"method":"GET","url":"/a","headers":{"Host":"x","A":""},"content":"b"})"},
                               {"http", R"({"content_length":5,"response_headers":{},"misuse":["peer-to-peer"]})"},
                               {"ftp", R"({"command":"RETR"})"},
                               {"dns", R"({"length":512})"},
                               {"sorce", "1"}};
constexpr const char* kOtherValues[] = {"null",
                                        "true",
                                        "-0",
                                        "-1",
                                        "0",
                                        "1.0",
                                        "1e3",
                                        "65536",
                                        "4095",
                                        "4294967296",
                                        "18446744073709551616",
                                        "\"\"",
                                        "\"open\"",
                                        "\"tcp\"",
                                        "\"10.1.1\"",
                                        "\"10.1.1.1\\u0000\"",
                                        "\"\\ud800\"",
                                        "[]",
                                        "[1]",
                                        "[\"a\",[]]",
                                        "{}",
                                        R"({"headers":{"a":"1","A":"2"}})",
                                        R"({"headers":{"a":"1","a":"2"}})",
                                        R"({"length":-1})",
                                        "1e999"};

std::string any_flow(FuzzedDataProvider& bytes) {
  std::string line = "{";
  const auto add = [&](const Member& member) {
    if (line.size() > 1) line += ",";
    const bool is_other = bytes.ConsumeIntegralInRange<int>(0, 7) == 7;
    line += "\"" + std::string(member.name) + "\":" + (is_other ? bytes.PickValueInArray(kOtherValues) : member.value);
  };
  for (const Member& member : kNeeded) {
    if (bytes.ConsumeIntegralInRange<int>(0, 7) != 7) add(member);
  }
  for (auto left = bytes.ConsumeIntegralInRange<int>(0, 4); left > 0; --left)
    add(bytes.PickValueInArray(kMembers));
  line += "}";
  for (auto left = bytes.ConsumeIntegralInRange<int>(0, 4) - 2; left > 0; --left) {
    const auto at = bytes.ConsumeIntegralInRange<std::size_t>(0, line.size());
    if (bytes.ConsumeBool()) {
      line.insert(at, bytes.ConsumeRandomLengthString(6));
    } else {
      line.erase(at, bytes.ConsumeIntegralInRange<std::size_t>(1, 6));
    }
  }
  return line;
}

std::string any_line(FuzzedDataProvider& bytes) {
  std::string line = bytes.ConsumeBool() ? bytes.ConsumeRandomLengthString(400) : any_flow(bytes);
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

// ---- One line

std::string text_of(manager::Ipv4 address) {
  const std::uint32_t network = htonl(address.word);
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &network, text.data(), text.size());
  return text.data();
}

void check_http(const std::optional<manager::HttpRequest>& http, const Json& flow, const std::string& line) {
  invariant(http.has_value() == flow.contains("http"), "a request is there when it is written", line);
  if (!http) return;
  const Json& request = flow["http"];
  invariant(http->method == request.value("method", "") && http->url.value_or("") == request.value("url", "") &&
                http->content.value_or("") == request.value("content", "") &&
                http->content_length.value_or(0) == request.value("content_length", std::uint64_t{0}),
            "a request has its members", line);
  invariant(http->url.has_value() == request.contains("url") &&
                http->content.has_value() == request.contains("content") &&
                http->content_length.has_value() == request.contains("content_length") &&
                http->response_headers.has_value() == request.contains("response_headers"),
            "a request has no other members", line);
  invariant(http->misuses.size() == request.value("misuse", Json::array()).size(), "a request has its misuses", line);
  const Json headers = request.value("headers", Json::object());
  invariant(http->headers.size() == headers.size(), "a request has its headers", line);
  for (const auto& header : http->headers)
    invariant(headers.at(header.name) == header.value, "a header has its value", line);
}

void check_flow(const Flow& flow, const Json& written, const std::string& line) {
  for (const auto& [name, address] : {std::pair{"source", flow.source}, std::pair{"destination", flow.destination}}) {
    const std::string text = written.at(name);
    if (text.find(':') == text.npos) {
      invariant(text_of(address) == text, "an address is read", line);
    } else {
      invariant(!flow.unclassifiable.empty(), "a flow with an IPv6 address is not classified", line);
    }
  }
  if (written["protocol"].is_number()) invariant(flow.protocol == written["protocol"], "a protocol is read", line);
  invariant(flow.source_port == written.value("source_port", 0) &&
                flow.destination_port == written.value("destination_port", 0),
            "ports are read", line);
  invariant(flow.vlan.value_or(0) == written.value("vlan", 0U) && flow.management == written.value("management", false),
            "where a flow came in is read", line);
  invariant((flow.event == manager::FlowEvent::whole) == !written.contains("event"), "an event is read", line);
  invariant(flow.traffic.client_packets == written.value("client_packets", 0U) &&
                flow.traffic.server_packets == written.value("server_packets", 0U) &&
                flow.traffic.client_bytes == written.value("client_bytes", std::uint64_t{0}) &&
                flow.traffic.server_bytes == written.value("server_bytes", std::uint64_t{0}),
            "packets and bytes are read", line);
  invariant(Json(flow.access_lists) == written.value("access_lists", Json::array()), "access lists are read", line);
  invariant(flow.ftp.has_value() == written.contains("ftp") && flow.dns.has_value() == written.contains("dns"),
            "what a flow carries is read", line);
  if (flow.ftp) invariant(flow.ftp->command == written["ftp"].value("command", ""), "a command is read", line);
  if (flow.dns) invariant(flow.dns->length == written["dns"].value("length", 0U), "a message is read", line);
  check_http(flow.http, written, line);
}

void check_fault(const std::string& fault) {
  invariant(!fault.empty() && fault.size() <= kLongestFault, "a fault is reported in few words", fault);
  for (const char byte : fault)
    invariant(static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7f, "a fault is one line", fault);
  invariant(Json::accept(Json(fault).dump(-1, ' ', false, Json::error_handler_t::strict)), "a fault is UTF-8", fault);
}

// ---- Through the manager

rpc::Argument argument(rpc::ArgType type, std::uint32_t number) {
  rpc::Argument made;
  made.type = type;
  made.number = number;
  return made;
}

Json answer(rpc::Service& service, std::string_view call, std::vector<rpc::Argument> arguments,
            const std::string& text) {
  rpc::ResponseBuffer response;
  rpc::Argument lines = argument(rpc::ArgType::string, 0);
  lines.text = text;
  rpc::Argument holder = argument(rpc::ArgType::response, 0);
  holder.response = &response;
  arguments.push_back(lines);
  arguments.push_back(holder);
  invariant(service.call(rpc::find_call(call), arguments) == Status::ok, "a call about flows succeeds", text);
  const auto bytes = response.bytes();
  const std::string json(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  Json parsed = Json::parse(json, nullptr, false);
  invariant(!parsed.is_discarded() && parsed.is_object(), "the answer is JSON", json);
  return parsed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto kManager = manager::Manager::open(std::make_unique<manager::NullStore>()).value();
  FuzzedDataProvider bytes(data, size);
  const auto first = bytes.ConsumeIntegral<std::uint32_t>();
  std::string lines;
  Json faults = Json::array();
  std::uint64_t flows = 0;
  const auto count = bytes.ConsumeIntegralInRange<std::uint32_t>(1, kMostLines);
  for (std::uint32_t number = 0; number < count; ++number) {
    const std::string line = any_line(bytes);
    lines += line + "\n";
    if (manager::is_blank(line)) continue;
    ++flows;
    const auto expected = kvel::fuzz::expected_flow(line);
    const auto flow = manager::read_flow(line);
    invariant(flow.has_value() == expected.has_value(), flow ? "a line in bad order is refused" : "a flow is read",
              line);
    if (line.find('\0') == line.npos) {
      const Json explained = answer(*kManager, "kvel_explain_flow", {argument(rpc::ArgType::u16, 0)}, line);
      invariant(explained.contains(flow ? "policies" : "fault"), "a flow is explained, a fault is reported", line);
    }
    if (flow) {
      check_flow(*flow, *expected, line);
    } else {
      check_fault(flow.error());
      faults.push_back({{"line", std::uint64_t{first} + number}, {"fault", flow.error()}});
    }
  }
  if (lines.find('\0') != lines.npos) return 0;  // no text of a call has one
  const Json counted = answer(*kManager, "kvel_count_flows",
                              {argument(rpc::ArgType::u16, 0), argument(rpc::ArgType::u32, first)}, lines);
  invariant(counted["flows"] == flows && counted["refused"] == faults.size() && counted["classified"] == 0 &&
                counted["unclassified"] == flows - faults.size(),
            "the numbers of flows add up", lines);
  invariant(counted["faults"] == faults, "each fault is reported with its line", lines);
  return 0;
}
