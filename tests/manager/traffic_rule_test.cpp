// What each kind of match rule matches, and the reason that it gives when it does not.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/manager/support/traffic_site.h"

namespace kvel::manager::testing::traffic_rule_test {
namespace {

// "yes", or why the rule does not match. Both ways of asking must agree.
std::string answer(const MatchRule& rule, const Flow& flow) {
  const RuleMatch match(10, rule, nullptr);
  std::string reason;
  const bool matches = match.matches(flow, reason);
  EXPECT_EQ(match.matches(flow), matches);
  return matches ? "yes" : reason;
}

std::string tcp(int port, const std::string& more = "") {
  return R"({"source":"192.168.7.9","destination":"10.1.1.2","protocol":"tcp","source_port":40000,"destination_port":)" +
         std::to_string(port) + more + "}";
}
std::string protocol(const std::string& name, const std::string& more = "") {
  return R"({"source":"192.168.7.9","destination":"10.1.1.2","protocol":)" + name + more + "}";
}
Flow http(const std::string& members) { return flow_of(tcp(80, R"(,"http":{)" + members + "}")); }

TEST(TrafficRule, VirtualAddress) {
  const VirtualAddressRule web{ipv4(10, 1, 1, 2), kHost, 6, 80, 80};
  EXPECT_EQ(answer(web, flow_of(tcp(80))), "yes");
  EXPECT_EQ(answer(web, flow_of(tcp(81))), "the destination port 81 is not 80");
  EXPECT_EQ(answer(web, flow_of(protocol("17", R"(,"source_port":80,"destination_port":80)"))),
            "the protocol 17 is not 6");
  EXPECT_EQ(answer(VirtualAddressRule{ipv4(10, 1, 1, 1), kHost, 6, 80, 80}, flow_of(tcp(80))),
            "the destination 10.1.1.2 is not 10.1.1.1");
  EXPECT_EQ(answer(VirtualAddressRule{ipv4(10, 1, 2, 0), ipv4(255, 255, 255, 0), 6, 80, 80}, flow_of(tcp(80))),
            "the destination 10.1.1.2 is not in 10.1.2.0 with the mask 255.255.255.0");
  // Bits of the address outside the mask do not count.
  EXPECT_EQ(answer(VirtualAddressRule{ipv4(10, 1, 1, 77), ipv4(255, 255, 255, 0), 6, 80, 80}, flow_of(tcp(80))), "yes");
  const VirtualAddressRule range{ipv4(10, 1, 1, 2), kHost, 6, 8000, 8010};
  EXPECT_EQ(answer(range, flow_of(tcp(8000))), "yes");
  EXPECT_EQ(answer(range, flow_of(tcp(8010))), "yes");
  EXPECT_EQ(answer(range, flow_of(tcp(7999))), "the destination port 7999 is not in 8000 to 8010");
  EXPECT_EQ(answer(range, flow_of(tcp(8011))), "the destination port 8011 is not in 8000 to 8010");
}

TEST(TrafficRule, PortsCountForTcpAndUdpOnly) {
  const VirtualAddressRule any_protocol{ipv4(10, 1, 1, 2), kHost, 0, 80, 80};
  EXPECT_EQ(answer(any_protocol, flow_of(tcp(80))), "yes");
  EXPECT_EQ(answer(any_protocol, flow_of(tcp(81))), "the destination port 81 is not 80");
  EXPECT_EQ(answer(any_protocol, flow_of(protocol("\"icmp\""))), "yes");
  EXPECT_EQ(answer(any_protocol, flow_of(protocol("\"icmp\"", R"(,"destination_port":9)"))), "yes");
  EXPECT_EQ(answer(PortRule{132, 80, 80}, flow_of(protocol("\"sctp\"", R"(,"destination_port":9)"))), "yes");
}

TEST(TrafficRule, Port) {
  EXPECT_EQ(answer(PortRule{6, 80, 80}, flow_of(tcp(80))), "yes");
  EXPECT_EQ(answer(PortRule{6, 0, 0}, flow_of(tcp(0))), "yes");
  EXPECT_EQ(answer(PortRule{6, 0, 0}, flow_of(tcp(1))), "the destination port 1 is not 0");
  EXPECT_EQ(answer(PortRule{6, 0, 65535}, flow_of(tcp(65535))), "yes");
  EXPECT_EQ(answer(PortRule{17, 80, 80}, flow_of(tcp(80))), "the protocol 6 is not 17");
}

TEST(TrafficRule, Addresses) {
  EXPECT_EQ(answer(SourceAddressRule{ipv4(192, 168, 0, 0), ipv4(255, 255, 0, 0)}, flow_of(tcp(80))), "yes");
  // A source without a mask is written with the mask 0.0.0.0: every source is in it.
  EXPECT_EQ(answer(SourceAddressRule{ipv4(10, 9, 9, 9), {}}, flow_of(tcp(80))), "yes");
  EXPECT_EQ(answer(SourceAddressRule{ipv4(192, 168, 7, 8), kHost}, flow_of(tcp(80))),
            "the source 192.168.7.9 is not 192.168.7.8");
  EXPECT_EQ(answer(DestinationAddressRule{ipv4(10, 1, 1, 2), kHost}, flow_of(tcp(80))), "yes");
  EXPECT_EQ(answer(DestinationAddressRule{ipv4(192, 168, 7, 9), kHost}, flow_of(tcp(80))),
            "the destination 10.1.1.2 is not 192.168.7.9");
}

TEST(TrafficRule, AnyAndAccessLists) {
  EXPECT_EQ(answer(AnyRule{}, flow_of(protocol("0"))), "yes");
  EXPECT_EQ(answer(AccessListRule{"b"}, flow_of(tcp(80, R"(,"access_lists":["a","b"])"))), "yes");
  EXPECT_EQ(answer(AccessListRule{"B"}, flow_of(tcp(80, R"(,"access_lists":["a","b"])"))),
            R"(access list "B" does not permit the flow)");
}

TEST(TrafficRule, Management) {
  const ManagementRule ssh{6, 22, 22, ipv4(192, 168, 7, 0), ipv4(255, 255, 255, 0)};
  EXPECT_EQ(answer(ssh, flow_of(tcp(22))), "yes");
  EXPECT_EQ(answer(ssh, flow_of(tcp(23))), "the destination port 23 is not 22");
  EXPECT_EQ(answer(ManagementRule{6, 22, 22, ipv4(192, 168, 8, 0), ipv4(255, 255, 255, 0)}, flow_of(tcp(22))),
            "the source 192.168.7.9 is not in 192.168.8.0 with the mask 255.255.255.0");
  EXPECT_EQ(answer(ManagementRule{1, 0, 65535, {}, {}}, flow_of(protocol("1"))), "yes");
}

TEST(TrafficRule, NothingOfHttpMatchesWithoutARequest) {
  const std::string none = "the flow carries no HTTP request";
  const std::vector<MatchRule> rules{LbUrlRule{".*", ""},   LbCookieRule{"a", "", false},
                                     LbHeaderRule{"a", ""}, LbValueRule{".*"},
                                     HeaderRule{"a", ""},   HeaderLengthRule{HttpDirection::request, 0, 255},
                                     UrlRule{".*"},         UrlLengthRule{0, 65535},
                                     ContentRule{".*", 0},  ContentLengthRule{0, 5},
                                     MimeTypeRule{33},      RequestMethodRule{3},
                                     PortMisuseRule{1},     TransferEncodingRule{83}};
  for (const MatchRule& rule : rules)
    EXPECT_EQ(answer(rule, flow_of(tcp(80))), none) << rule.index();
  EXPECT_EQ(answer(FtpMethodRule{1}, flow_of(tcp(21))), "the flow carries no FTP command");
}

TEST(TrafficRule, UrlsMatchAsAWhole) {
  for (const MatchRule& rule : {MatchRule(LbUrlRule{"/img/.*[.]png", "word"}), MatchRule(UrlRule{"/img/.*[.]png"})}) {
    EXPECT_EQ(answer(rule, http(R"("url":"/img/a.png")")), "yes");
    EXPECT_EQ(answer(rule, http(R"("url":"/x/img/a.png")")), R"(the URL "/x/img/a.png" does not match)");
    EXPECT_EQ(answer(rule, http(R"("url":"/img/a.png?x")")), R"(the URL "/img/a.png?x" does not match)");
    EXPECT_EQ(answer(rule, http("")), "the request has no URL");
  }
  EXPECT_EQ(answer(UrlRule{"a|ab"}, http(R"("url":"ab")")), "yes");
  EXPECT_EQ(answer(UrlRule{"/a.c"}, http("\"url\":\"/a\u00e4c\"")), "yes");
  EXPECT_EQ(answer(UrlRule{"x"}, http(R"("url":")" + std::string(1000, 'u') + "\"")),
            "the URL \"" + std::string(200, 'u') + "\"... does not match");
}

TEST(TrafficRule, Headers) {
  for (const MatchRule& rule :
       {MatchRule(LbHeaderRule{"Host", "www[.]a[.]b"}), MatchRule(HeaderRule{"Host", "www[.]a[.]b"})}) {
    EXPECT_EQ(answer(rule, http(R"("headers":{"hOST":"www.a.b"})")), "yes");
    EXPECT_EQ(answer(rule, http(R"("headers":{"Host":"www.a.b:80"})")), R"(the header "www.a.b:80" does not match)");
    EXPECT_EQ(answer(rule, http(R"("headers":{"Hosts":"www.a.b"})")), R"(the request has no header "Host")");
    EXPECT_EQ(answer(rule, http(R"("response_headers":{"Host":"www.a.b"})")), R"(the request has no header "Host")");
  }
  EXPECT_EQ(answer(HeaderRule{"X-A", ""}, http(R"("headers":{"X-A":"anything\nat all"})")), "yes");
}

TEST(TrafficRule, Cookies) {
  const Flow flow = http(R"("headers":{"cookie":"a=1; session=x=y ;b="})");
  EXPECT_EQ(answer(LbCookieRule{"a", "1", false}, flow), "yes");
  EXPECT_EQ(answer(LbCookieRule{"a", "1", true}, flow), "yes");
  EXPECT_EQ(answer(LbCookieRule{"session", "x=y", false}, flow), "yes");
  EXPECT_EQ(answer(LbCookieRule{"b", "", false}, flow), "yes");
  EXPECT_EQ(answer(LbCookieRule{"A", "1", false}, flow), R"(the request has no cookie "A")");
  EXPECT_EQ(answer(LbCookieRule{"a", "11?1", false}, flow), R"(the value of the cookie "a" does not match)");
  EXPECT_EQ(answer(LbCookieRule{"a", "", false}, http("")), R"(the request has no cookie "a")");
}

TEST(TrafficRule, FurtherLoadBalancingRules) {
  EXPECT_EQ(answer(LbSourceAddressRule{ipv4(192, 168, 7, 9), kHost, false}, flow_of(tcp(80))), "yes");
  EXPECT_EQ(answer(LbSourceAddressRule{ipv4(192, 168, 7, 1), kHost, false}, flow_of(tcp(80))),
            "the source 192.168.7.9 is not 192.168.7.1");
  EXPECT_EQ(answer(LbValueRule{"b+"}, http(R"("headers":{"X":"a","Y":"bbb"})")), "yes");
  EXPECT_EQ(answer(LbValueRule{"b"}, http(R"("headers":{"X":"a","Y":"bbb"})")),
            "no header of the request has a value that matches");
}

TEST(TrafficRule, NestedClassMaps) {
  TrafficSite site;
  site.class_map("images", ClassMapType::http_load_balancing, MatchMode::any,
                 {LbUrlRule{".*[.]png", ""}, LbUrlRule{".*[.]jpg", ""}});
  site.class_map("outer", ClassMapType::http_load_balancing, MatchMode::all,
                 {NestedClassMapRule{"images"}, LbHeaderRule{"Host", "a"}});
  ClassMatches matches(*site.context());
  const ClassMatch& outer = *matches.of_class_map("outer");
  EXPECT_TRUE(outer.matches(http(R"("url":"/x.jpg","headers":{"Host":"a"})")));
  EXPECT_FALSE(outer.matches(http(R"("url":"/x.jpg","headers":{"Host":"b"})")));
  std::string reason;
  EXPECT_FALSE(outer.rules()[0].matches(http(R"("url":"/x.gif","headers":{"Host":"a"})"), reason));
  EXPECT_EQ(reason, R"(class-map "images" does not match)");
}

TEST(TrafficRule, Lengths) {
  // "A: bc" and "DE: " with their ends of line: 7 and 6 bytes.
  const Flow flow = http(R"("url":"/abc","headers":{"A":"bc","DE":""},"response_headers":{},"content":"12345")");
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::request, 13, 13}, flow), "yes");
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::request, 14, 20}, flow),
            "the length 13 of the request's headers is not in 14 to 20");
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::response, 0, 0}, flow), "yes");
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::response, 1, 1}, flow),
            "the length 0 of the response's headers is not 1");
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::response, 0, 255}, http("")),
            "the flow carries no headers of a response");
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::request, 0, 0}, http("")), "yes");
  EXPECT_EQ(answer(UrlLengthRule{4, 4}, flow), "yes");
  EXPECT_EQ(answer(UrlLengthRule{5, 9}, flow), "the length 4 of the URL is not in 5 to 9");
  EXPECT_EQ(answer(UrlLengthRule{0, 9}, http("")), "the request has no URL");
  EXPECT_EQ(answer(ContentLengthRule{5, 5}, flow), "yes");
  EXPECT_EQ(answer(ContentLengthRule{6, 9}, flow), "the length 5 of the content is not in 6 to 9");
  // The length in the record goes before what it carries of the content.
  EXPECT_EQ(answer(ContentLengthRule{4000000000, 4294967295}, http(R"("content":"1","content_length":4294967295)")),
            "yes");
  EXPECT_EQ(answer(ContentLengthRule{0, 5}, http("")), "the request has no content and no content length");
}

// "Longer than" has no upper end, whatever the greatest length is that a rule can hold.
TEST(TrafficRule, TheGreatestLengthIsNoUpperEnd) {
  const auto headers = [](std::size_t value) {
    return http(R"("headers":{"A":")" + std::string(value, 'v') + R"("},"response_headers":{"A":")" +
                std::string(value, 'v') + "\"}");
  };
  for (const HttpDirection direction : {HttpDirection::request, HttpDirection::response}) {
    EXPECT_EQ(answer(HeaderLengthRule{direction, 251, 255}, headers(100000)), "yes");
    EXPECT_EQ(answer(HeaderLengthRule{direction, 255, 255}, headers(251)), "yes");
    EXPECT_NE(answer(HeaderLengthRule{direction, 251, 254}, headers(250)), "yes");
  }
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::request, 251, 255}, headers(245)),
            "the length 250 of the request's headers is below 251");
  EXPECT_EQ(answer(HeaderLengthRule{HttpDirection::response, 0, 254}, headers(250)),
            "the length 255 of the response's headers is not in 0 to 254");

  const auto url = [](std::size_t length) { return http(R"("url":")" + std::string(length, 'u') + "\""); };
  EXPECT_EQ(answer(UrlLengthRule{21, 65535}, url(70001)), "yes");
  EXPECT_EQ(answer(UrlLengthRule{65535, 65535}, url(65536)), "yes");
  EXPECT_EQ(answer(UrlLengthRule{21, 65534}, url(65535)), "the length 65535 of the URL is not in 21 to 65534");
  EXPECT_EQ(answer(UrlLengthRule{21, 65535}, url(20)), "the length 20 of the URL is below 21");
  // What is the greatest for one kind of length is none for another.
  EXPECT_EQ(answer(UrlLengthRule{0, 255}, url(256)), "the length 256 of the URL is not in 0 to 255");

  const Flow large = http(R"("content_length":18446744073709551615)");
  EXPECT_EQ(answer(ContentLengthRule{5, 4294967295}, large), "yes");
  EXPECT_EQ(answer(ContentLengthRule{4294967295, 4294967295}, large), "yes");
  EXPECT_EQ(answer(ContentLengthRule{5, 4294967294}, http(R"("content_length":4294967295)")),
            "the length 4294967295 of the content is not in 5 to 4294967294");
  EXPECT_EQ(answer(ContentLengthRule{4294967295, 4294967295}, http(R"("content_length":4294967294)")),
            "the length 4294967294 of the content is below 4294967295");
}

TEST(TrafficRule, ContentIsSearchedFromItsOffset) {
  const Flow flow = http(R"("content":"abcabd")");
  EXPECT_EQ(answer(ContentRule{"b[cd]", 0}, flow), "yes");
  EXPECT_EQ(answer(ContentRule{"bc", 1}, flow), "yes");
  EXPECT_EQ(answer(ContentRule{"bc", 2}, flow), "nothing in the content from offset 2 on matches");
  EXPECT_EQ(answer(ContentRule{"^abd$", 3}, flow), "yes");
  EXPECT_EQ(answer(ContentRule{"x*", 6}, flow), "yes");
  EXPECT_EQ(answer(ContentRule{"x*", 7}, flow), "the content has 6 bytes and ends before offset 7");
  EXPECT_EQ(answer(ContentRule{"x", 0}, http("")), "the request has no content");
  // An offset within a character.
  EXPECT_EQ(answer(ContentRule{"b", 1}, http("\"content\":\"\u00e4b\"")), "yes");
}

TEST(TrafficRule, Codes) {
  const MimeTypeRule html{68};
  EXPECT_EQ(answer(html, http(R"("headers":{"Content-Type":"text/html"})")), "yes");
  EXPECT_EQ(answer(html, http(R"("response_headers":{"content-type":"Text/HTML ; charset=utf-8"})")), "yes");
  EXPECT_EQ(answer(html, http(R"("headers":{"Content-Type":"text/htm"})")),
            "neither request nor response has the content type text/html");
  EXPECT_EQ(answer(RequestMethodRule{3}, http(R"("method":"GET")")), "yes");
  EXPECT_EQ(answer(RequestMethodRule{3}, http(R"("method":"Get")")), "yes");
  EXPECT_EQ(answer(RequestMethodRule{27}, http(R"("method":"VERSION-CONTROL")")), "yes");
  EXPECT_EQ(answer(RequestMethodRule{3}, http(R"("method":"BREW")")), R"(the method "BREW" is not GET)");
  EXPECT_EQ(answer(RequestMethodRule{3}, http("")), R"(the method "" is not GET)");
  EXPECT_EQ(answer(PortMisuseRule{2}, http(R"("misuse":["peer-to-peer"])")), "yes");
  EXPECT_EQ(answer(PortMisuseRule{3}, http(R"("misuse":["peer-to-peer"])")), "the flow is no tunnelling");
  EXPECT_EQ(answer(FtpMethodRule{4}, flow_of(tcp(21, R"(,"ftp":{"command":"RETR"})"))), "yes");
  EXPECT_EQ(answer(FtpMethodRule{4}, flow_of(tcp(21, R"(,"ftp":{"command":"USER"})"))),
            R"(the command "USER" is not RETR)");
}

TEST(TrafficRule, TransferEncodings) {
  const TransferEncodingRule chunked{83};
  const TransferEncodingRule gzip{86};
  const TransferEncodingRule identity{87};
  const TransferEncodingRule trailers{88};
  const Flow both = http(R"("headers":{"Transfer-Encoding":"x-gzip , Chunked"})");
  EXPECT_EQ(answer(chunked, both), "yes");
  EXPECT_EQ(answer(gzip, both), "yes");
  EXPECT_EQ(answer(TransferEncodingRule{85}, both), "neither request nor response has the transfer encoding deflate");
  EXPECT_EQ(answer(chunked, http(R"("response_headers":{"transfer-encoding":"chunked"})")), "yes");
  // No coding is the identity.
  EXPECT_EQ(answer(identity, http("")), "yes");
  EXPECT_EQ(answer(identity, both), "neither request nor response has the transfer encoding identity");
  EXPECT_EQ(answer(identity, http(R"("headers":{"Transfer-Encoding":"identity"})")), "yes");
  EXPECT_EQ(answer(trailers, http(R"("response_headers":{"Trailer":"Expires"})")), "yes");
  EXPECT_EQ(answer(trailers, both), "neither request nor response has the transfer encoding trailers");
}

TEST(TrafficRule, KindsThatAreKnownByTheirNumberOnly) {
  EXPECT_EQ(answer(Kind21Rule{}, http(R"("url":"/")")), "nothing is known that a rule of this kind matches");
  EXPECT_EQ(answer(Kind22Rule{}, http(R"("url":"/")")), "nothing is known that a rule of this kind matches");
}

TEST(TrafficRule, Modes) {
  TrafficSite site;
  const std::vector<MatchRule> rules{SourceAddressRule{ipv4(192, 168, 7, 9), kHost}, PortRule{6, 80, 80}};
  site.class_map("all", ClassMapType::layer34, MatchMode::all, rules);
  site.class_map("any", ClassMapType::layer34, MatchMode::any, rules);
  site.class_map("none-all", ClassMapType::layer34, MatchMode::all, {});
  site.class_map("none-any", ClassMapType::layer34, MatchMode::any, {});
  ClassMatches matches(*site.context());
  const auto takes = [&](const std::string& name, int port) {
    return matches.of_class_map(name)->matches(flow_of(tcp(port)));
  };
  EXPECT_TRUE(takes("all", 80));
  EXPECT_FALSE(takes("all", 81));
  EXPECT_TRUE(takes("any", 81));
  EXPECT_FALSE(takes("none-all", 80));
  EXPECT_FALSE(takes("none-any", 80));
}

}  // namespace
}  // namespace kvel::manager::testing::traffic_rule_test
