// Flows as text: what is read, and what is refused with which words.
#include "manager/traffic/flow_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace kvel::manager::testing::flow_reader_test {
namespace {

using namespace std::string_literals;

constexpr const char* kSmallest = R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":"icmp")";

// A flow with these further members.
std::string with(const std::string& members) { return kSmallest + ","s + members + "}"; }

std::string fault_of(const std::string& line) {
  const auto flow = read_flow(line);
  return flow ? "none" : flow.error();
}

// JSON has a zero with a sign; it is the number 0.
TEST(FlowReader, TakesASignedZeroForZero) {
  const auto flow = read_flow(with(R"("client_packets":-0)"));
  ASSERT_TRUE(flow) << flow.error();
  EXPECT_EQ(flow->traffic.client_packets, 0U);
  EXPECT_EQ(fault_of(with(R"("vlan":-0)")), "its vlan 0 is below 1");
}

TEST(FlowReader, ReadsEveryMember) {
  const auto flow = read_flow(R"( {"source":"192.168.7.9", "destination":"10.1.1.1", "protocol":"tcp",
    "source_port":40000, "destination_port":80, "vlan":20, "management":true, "event":"open",
    "client_packets":4294967295, "server_packets":2, "client_bytes":18446744073709551615, "server_bytes":0,
    "access_lists":["inside","out side"],
    "http":{"method":"get","url":"/a?b","headers":{"Host":"example.org","X-A":""},"content":"abc","content_length":3000,
            "response_headers":{"Content-Type":"text/html"},"misuse":["tunnelling","instant-messaging"]},
    "ftp":{"command":"retr"}, "dns":{"length":512}} )");
  ASSERT_TRUE(flow) << flow.error();
  EXPECT_EQ(flow->unclassifiable, "");
  EXPECT_EQ(flow->source.word, 0xc0a80709U);
  EXPECT_EQ(flow->destination.word, 0x0a010101U);
  EXPECT_EQ(flow->protocol, 6);
  EXPECT_EQ(flow->source_port, 40000);
  EXPECT_EQ(flow->destination_port, 80);
  EXPECT_EQ(flow->vlan, 20U);
  EXPECT_TRUE(flow->management);
  EXPECT_EQ(flow->event, FlowEvent::open);
  EXPECT_EQ(flow->traffic.client_packets, 4294967295U);
  EXPECT_EQ(flow->traffic.server_packets, 2U);
  EXPECT_EQ(flow->traffic.client_bytes, 18446744073709551615U);
  EXPECT_EQ(flow->traffic.server_bytes, 0U);
  EXPECT_EQ(flow->access_lists, (std::vector<std::string>{"inside", "out side"}));
  ASSERT_TRUE(flow->http);
  EXPECT_EQ(flow->http->method, "get");
  EXPECT_EQ(flow->http->method_code, 3U);
  EXPECT_EQ(flow->http->url, "/a?b");
  ASSERT_EQ(flow->http->headers.size(), 2U);
  EXPECT_EQ(flow->http->headers[0].name, "Host");
  EXPECT_EQ(flow->http->headers[0].value, "example.org");
  EXPECT_EQ(flow->http->headers[1].name, "X-A");
  EXPECT_EQ(flow->http->headers[1].value, "");
  EXPECT_EQ(flow->http->content, "abc");
  EXPECT_EQ(flow->http->content_length, 3000U);
  ASSERT_TRUE(flow->http->response_headers);
  ASSERT_EQ(flow->http->response_headers->size(), 1U);
  EXPECT_EQ(flow->http->response_headers->front().value, "text/html");
  EXPECT_EQ(flow->http->misuses, (std::vector<std::uint32_t>{3, 1}));
  ASSERT_TRUE(flow->ftp);
  EXPECT_EQ(flow->ftp->command_code, 4U);
  ASSERT_TRUE(flow->dns);
  EXPECT_EQ(flow->dns->length, 512U);
}

TEST(FlowReader, WhatIsLeftOutIsNothing) {
  const auto flow = read_flow(kSmallest + "}"s);
  ASSERT_TRUE(flow) << flow.error();
  EXPECT_EQ(flow->protocol, 1);
  EXPECT_EQ(flow->vlan, std::nullopt);
  EXPECT_FALSE(flow->management);
  EXPECT_EQ(flow->event, FlowEvent::whole);
  EXPECT_EQ(flow->traffic.client_bytes, 0U);
  EXPECT_TRUE(flow->access_lists.empty());
  EXPECT_FALSE(flow->http);
  EXPECT_FALSE(flow->ftp);
  EXPECT_FALSE(flow->dns);
}

TEST(FlowReader, EmptyPartsAreThere) {
  const auto flow = read_flow(with(R"("http":{"headers":{},"response_headers":{},"misuse":[]},"ftp":{},"dns":{},)"
                                   R"("access_lists":[])"));
  ASSERT_TRUE(flow) << flow.error();
  ASSERT_TRUE(flow->http);
  EXPECT_EQ(flow->http->method_code, std::nullopt);
  EXPECT_EQ(flow->http->url, std::nullopt);
  EXPECT_TRUE(flow->http->response_headers);
  ASSERT_TRUE(flow->ftp);
  EXPECT_EQ(flow->ftp->command_code, std::nullopt);
  ASSERT_TRUE(flow->dns);
  EXPECT_EQ(flow->dns->length, 0U);
}

TEST(FlowReader, Protocols) {
  const auto protocol = [](const std::string& text) {
    const auto flow = read_flow(R"({"source":"10.0.0.1","destination":"10.0.0.2","source_port":1,"destination_port":2,)"
                                R"("protocol":)" +
                                text + "}");
    EXPECT_TRUE(flow) << flow.error();
    return flow && flow->unclassifiable.empty() ? static_cast<int>(flow->protocol) : -1;
  };
  EXPECT_EQ(protocol(R"("tcp")"), 6);
  EXPECT_EQ(protocol(R"("UDP")"), 17);
  EXPECT_EQ(protocol(R"("gre")"), 47);
  EXPECT_EQ(protocol(R"("ospf")"), 89);
  EXPECT_EQ(protocol("0"), 0);
  EXPECT_EQ(protocol("6"), 6);
  EXPECT_EQ(protocol("255"), 255);
  EXPECT_EQ(protocol(R"("")"), -1);
  EXPECT_EQ(protocol(R"("6")"), -1);
  EXPECT_EQ(protocol(R"("tcpx")"), -1);
}

TEST(FlowReader, UnknownProtocolsAndIpv6AreReadButNotClassified) {
  const auto why = [](const std::string& line) {
    const auto flow = read_flow(line);
    return flow ? flow->unclassifiable : "refused: " + flow.error();
  };
  EXPECT_EQ(why(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":"chaos"})"),
            R"(its protocol "chaos" is not known)");
  EXPECT_EQ(why(R"({"source":"2001:db8::1","destination":"10.0.0.2","protocol":1})"), "its source is an IPv6 address");
  EXPECT_EQ(why(R"({"source":"10.0.0.1","destination":"::ffff:10.0.0.2","protocol":1})"),
            "its destination is an IPv6 address");
  EXPECT_EQ(why(R"({"source":"::1","destination":"::2","protocol":"tcp","source_port":1,"destination_port":2})"),
            "its source is an IPv6 address");
  // A fault is a fault in any flow.
  EXPECT_EQ(why(R"({"source":"::1","destination":"::2","protocol":"tcp"})"),
            "refused: it has no source_port, which protocol 6 needs");
  EXPECT_EQ(why(R"({"source":"::1","destination":"::x","protocol":"tcp"})"),
            R"(refused: its destination "::x" is no address)");
}

TEST(FlowReader, MembersThatAreNeeded) {
  EXPECT_EQ(fault_of("{}"), "it has no source");
  EXPECT_EQ(fault_of(R"({"source":"10.0.0.1"})"), "it has no destination");
  EXPECT_EQ(fault_of(R"({"source":"10.0.0.1","destination":"10.0.0.2"})"), "it has no protocol");
  EXPECT_EQ(fault_of(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":"udp","source_port":1})"),
            "it has no destination_port, which protocol 17 needs");
  EXPECT_EQ(fault_of(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":6,"destination_port":1})"),
            "it has no source_port, which protocol 6 needs");
  EXPECT_EQ(fault_of(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":47})"), "none");
}

TEST(FlowReader, Addresses) {
  const auto fault = [](const std::string& address) {
    return fault_of(R"({"source":"10.0.0.1","destination":")" + address + R"(","protocol":1})");
  };
  EXPECT_EQ(fault("0.0.0.0"), "none");
  EXPECT_EQ(fault("255.255.255.255"), "none");
  EXPECT_EQ(fault(""), R"(its destination "" is no address)");
  EXPECT_EQ(fault("10.0.0"), R"(its destination "10.0.0" is no address)");
  EXPECT_EQ(fault("10.0.0.256"), R"(its destination "10.0.0.256" is no address)");
  EXPECT_EQ(fault("10.0.0.1 "), R"(its destination "10.0.0.1 " is no address)");
  EXPECT_EQ(fault("0x0a.0.0.1"), R"(its destination "0x0a.0.0.1" is no address)");
  EXPECT_EQ(fault("10.0.0.1\\u0000x"), "its destination \"10.0.0.1\\x00x\" is no address");
  EXPECT_EQ(fault("fe80::1%eth0"), R"(its destination "fe80::1%eth0" is no address)");
}

TEST(FlowReader, NumbersOutOfRange) {
  EXPECT_EQ(fault_of(with(R"("destination_port":70000)")), "its destination_port 70000 is above 65535");
  EXPECT_EQ(fault_of(with(R"("destination_port":65536)")), "its destination_port 65536 is above 65535");
  EXPECT_EQ(fault_of(with(R"("destination_port":65535)")), "none");
  EXPECT_EQ(fault_of(with(R"("source_port":-1)")), "its source_port -1 is below 0");
  EXPECT_EQ(fault_of(with(R"("vlan":0)")), "its vlan 0 is below 1");
  EXPECT_EQ(fault_of(with(R"("vlan":4094)")), "none");
  EXPECT_EQ(fault_of(with(R"("vlan":4095)")), "its vlan 4095 is above 4094");
  EXPECT_EQ(fault_of(with(R"("client_packets":4294967296)")), "its client_packets 4294967296 is above 4294967295");
  EXPECT_EQ(fault_of(with(R"("client_bytes":18446744073709551616)")),
            "its client_bytes 18446744073709551616 is above 18446744073709551615");
  EXPECT_EQ(fault_of(with(R"("server_bytes":-99999999999999999999)")),
            "its server_bytes -99999999999999999999 is below 0");
  EXPECT_EQ(fault_of(R"({"protocol":256})"), "its protocol 256 is above 255");
  EXPECT_EQ(fault_of(with(R"("dns":{"length":4294967296})")), "its dns.length 4294967296 is above 4294967295");
  // Digits without end are not repeated in full.
  EXPECT_EQ(fault_of(with(R"("vlan":)" + std::string(200, '9'))),
            "its vlan " + std::string(40, '9') + " is above 4094");
  EXPECT_EQ(fault_of(with(R"("vlan":)" + std::string(500, '9'))),
            "it has a number that is far too large, before byte 571");
}

TEST(FlowReader, WrongTypes) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {R"("vlan":"20")", R"(its vlan must be a whole number, not "20")"},
      {R"("vlan":20.5)", "its vlan must be a whole number, not 20.5"},
      {R"("vlan":2e1)", "its vlan must be a whole number, not 2e1"},
      {R"("vlan":null)", "its vlan must be a whole number, not null"},
      {R"("vlan":true)", "its vlan must be a whole number, not true"},
      {R"("vlan":[20])", "its vlan must be a whole number, not an array"},
      {R"("vlan":{})", "its vlan must be a whole number, not an object"},
      {R"("management":1)", "its management must be true or false, not 1"},
      {R"("management":"yes")", R"(its management must be true or false, not "yes")"},
      {R"("event":5)", "its event must be a text, not 5"},
      {R"("event":"closed")", R"(its event "closed" is neither "open" nor "close")"},
      {R"("access_lists":"inside")", R"(its access_lists must be an array of texts, not "inside")"},
      {R"("access_lists":[5])", "its access_lists must hold texts only, not 5"},
      {R"("access_lists":["a",["b"]])", "its access_lists must hold texts only, not an array"},
      {R"("access_lists":[{}])", "its access_lists must hold texts only, not an object"},
      {R"("http":[])", "its http must be an object, not an array"},
      {R"("http":null)", "its http must be an object, not null"},
      {R"("http":{"method":3})", "its http.method must be a text, not 3"},
      {R"("http":{"headers":[]})", "its http.headers must be an object, not an array"},
      {R"("http":{"headers":{"Host":5}})", R"(its http.headers member "Host" must be a text, not 5)"},
      {R"("http":{"headers":{"Host":{}}})", R"(its http.headers member "Host" must be a text, not an object)"},
      {R"("http":{"response_headers":{"A":null}})", R"(its http.response_headers member "A" must be a text, not null)"},
      {R"("http":{"misuse":["spam"]})", R"(its http.misuse "spam" is not known)"},
      {R"("http":{"misuse":[1]})", "its http.misuse must hold texts only, not 1"},
      {R"("http":{"content_length":-5})", "its http.content_length -5 is below 0"},
      {R"("ftp":"retr")", R"(its ftp must be an object, not "retr")"},
      {R"("ftp":{"command":null})", "its ftp.command must be a text, not null"},
      {R"("dns":{"length":"5"})", R"(its dns.length must be a whole number, not "5")"},
  };
  for (const auto& [members, fault] : cases)
    EXPECT_EQ(fault_of(with(members)), fault) << members;
  EXPECT_EQ(fault_of(R"({"source":167772161})"), "its source must be a text, not 167772161");
  EXPECT_EQ(fault_of(R"({"protocol":true})"), "its protocol must be a name or a number, not true");
}

TEST(FlowReader, UnknownAndRepeatedMembers) {
  EXPECT_EQ(fault_of(with(R"("sorce_port":5)")), R"(it has an unknown member "sorce_port")");
  EXPECT_EQ(fault_of(with(R"("Vlan":5)")), R"(it has an unknown member "Vlan")");
  EXPECT_EQ(fault_of(with(R"("":5)")), R"(it has an unknown member "")");
  EXPECT_EQ(fault_of(with(R"("method":"GET")")), R"(it has an unknown member "method")");
  EXPECT_EQ(fault_of(with(R"("http":{"vlan":5})")), R"(its http has an unknown member "vlan")");
  EXPECT_EQ(fault_of(with(R"("dns":{"size":5})")), R"(its dns has an unknown member "size")");
  EXPECT_EQ(fault_of(with(R"("vlan":5,"vlan":5)")), "its vlan is given twice");
  EXPECT_EQ(fault_of(with(R"("source":"10.0.0.1")")), "its source is given twice");
  EXPECT_EQ(fault_of(with(R"("http":{},"http":{})")), "its http is given twice");
  EXPECT_EQ(fault_of(with(R"("http":{"url":"/","url":"/"})")), "its http.url is given twice");
  EXPECT_EQ(fault_of(with(R"("http":{"headers":{"A":"1","B":"2","A":"3"}})")),
            R"(its http.headers member "A" is given twice)");
  EXPECT_EQ(fault_of(with(R"("http":{"headers":{"Host":"1","HOST":"3"}})")),
            R"(its http.headers member "HOST" is given twice)");
  // The same name in both directions is no repetition.
  EXPECT_EQ(fault_of(with(R"("http":{"headers":{"A":"1"},"response_headers":{"A":"1"}})")), "none");
  // A long name is not repeated in full, and is cut between two characters.
  EXPECT_EQ(fault_of(with("\"" + std::string(5000, 'a') + "\":5")),
            "it has an unknown member \"" + std::string(60, 'a') + "\"...");
  EXPECT_EQ(fault_of(with("\"" + std::string(59, 'a') + "\u00e4\u00e4\":5")),
            "it has an unknown member \"" + std::string(59, 'a') + "\"...");
}

TEST(FlowReader, BrokenJson) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"", "it is no JSON from byte 1 on"},
      {"{", "it is no JSON from byte 2 on"},
      {"}", "it is no JSON from byte 1 on"},
      {"flow", "it is no JSON from byte 2 on"},
      {R"({"vlan" 5})", "it is no JSON from byte 9 on"},
      {R"({"vlan":5)", "it is no JSON from byte 10 on"},
      {R"({"vlan":5,})", "it is no JSON from byte 11 on"},
      {R"({"vlan":5x})", "it is no JSON from byte 10 on"},
      {R"({'vlan':5})", "it is no JSON from byte 2 on"},
      {R"({"source":"10.0.0.1)", "it is no JSON from byte 20 on"},
      {"{\"source\":\"10.0\t.0.1\"}", "it is no JSON from byte 16 on"},
      {R"({"source":"\ud800"})", "it is no JSON from byte 18 on"},
      {R"({} {})", "it is no JSON from byte 4 on"},
      {R"({"vlan":5}])", "it is no JSON from byte 11 on"},
      {R"(/* x */ {})", "it is no JSON from byte 1 on"},
      {"{\"source\":\"\xff\"}", "it is no JSON from byte 12 on"},
      {"{\"source\":\"\xc0\xaf\"}", "it is no JSON from byte 12 on"},
      {"{\"source\":\"\xed\xa0\x80\"}", "it is no JSON from byte 13 on"},
      {"\xff", "it is no JSON from byte 1 on"},
      {"{}\0{}"s, "it is no JSON from byte 3 on"},
      {"\0"s, "it is no JSON from byte 1 on"},
  };
  for (const auto& [line, fault] : cases)
    EXPECT_EQ(fault_of(line), fault) << line;
}

TEST(FlowReader, OtherJsonThanObjects) {
  EXPECT_EQ(fault_of("[]"), "it is no JSON object but an array");
  EXPECT_EQ(fault_of("5"), "it is no JSON object but 5");
  EXPECT_EQ(fault_of("-5"), "it is no JSON object but -5");
  EXPECT_EQ(fault_of("5.5"), "it is no JSON object but 5.5");
  EXPECT_EQ(fault_of("null"), "it is no JSON object but null");
  EXPECT_EQ(fault_of("true"), "it is no JSON object but true");
  EXPECT_EQ(fault_of(R"("flow")"), R"(it is no JSON object but "flow")");
}

TEST(FlowReader, DeepNestingAndLongLines) {
  constexpr std::size_t kDeep = 1'000'000;
  EXPECT_EQ(fault_of(std::string(kDeep, '[')), "it is no JSON object but an array");
  EXPECT_EQ(fault_of(with(R"("http":)" + std::string(kDeep, '['))), "its http must be an object, not an array");
  std::string objects;
  for (std::size_t depth = 0; depth < 100'000; ++depth)
    objects += R"({"http":)";
  EXPECT_EQ(fault_of(objects), R"(its http has an unknown member "http")");

  const auto flow = read_flow(with(R"("http":{"url":")" + std::string(kDeep, 'u') + R"("})"));
  ASSERT_TRUE(flow) << flow.error();
  EXPECT_EQ(flow->http->url->size(), kDeep);
  EXPECT_EQ(fault_of(std::string(kDeep, 'x')), "it is no JSON from byte 1 on");
  EXPECT_EQ(fault_of(with(R"("event":")" + std::string(kDeep, 'x') + "\"")),
            "its event \"" + std::string(60, 'x') + "\"... is neither \"open\" nor \"close\"");
}

TEST(FlowReader, ListsHaveAnEnd) {
  const auto listed = [](std::size_t count, const std::string& before, const auto& member) {
    std::string members = before;
    for (std::size_t number = 0; number < count; ++number)
      members += (number == 0 ? "" : ",") + member(number);
    return members;
  };
  const auto header = [](std::size_t number) { return "\"h" + std::to_string(number) + "\":\"v\""; };
  const auto list = [](std::size_t number) { return "\"l" + std::to_string(number) + "\""; };
  EXPECT_EQ(fault_of(with(listed(1000, R"("http":{"headers":{)", header) + "}}")), "none");
  EXPECT_EQ(fault_of(with(listed(1001, R"("http":{"headers":{)", header) + "}}")),
            "its http.headers are more than 1000");
  EXPECT_EQ(fault_of(with(listed(1000, R"("access_lists":[)", list) + "]")), "none");
  EXPECT_EQ(fault_of(with(listed(1001, R"("access_lists":[)", list) + "]")), "it has more than 1000 access_lists");
}

TEST(FlowReader, AMisuseCountsOnceWhereverItIs) {
  std::string misuses;
  for (int number = 0; number < 1000; ++number)
    misuses += R"("peer-to-peer",)";
  const auto flow = read_flow(with(R"("http":{"misuse":[)" + misuses + R"("tunnelling","Peer-To-Peer"]})"));
  ASSERT_TRUE(flow) << flow.error();
  EXPECT_EQ(flow->http->misuses, (std::vector<std::uint32_t>{2, 3}));
}

TEST(FlowReader, WhiteSpaceAround) {
  EXPECT_EQ(fault_of(kSmallest + "}\r"s), "none");
  EXPECT_EQ(fault_of("\t "s + kSmallest + "} \r"), "none");
  EXPECT_TRUE(is_blank(""));
  EXPECT_TRUE(is_blank(" \t\r"));
  EXPECT_FALSE(is_blank(" x "));
  EXPECT_FALSE(is_blank("\0"s));
}

}  // namespace
}  // namespace kvel::manager::testing::flow_reader_test
