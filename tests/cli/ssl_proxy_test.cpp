// SSL-proxy services: their creation, look-up and deletion, and their four members.
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::ssl_proxy_test {
namespace {

using namespace std::string_literals;

const std::string k64(64, 'x');  // the longest name

struct StatusLine {
  std::int32_t status;
  const char* message;
};

const StatusLine kStatusLines[] = {
    {-999, "Error: Called API is invalid or non-existant\n"},
    {-998, "Error: Called API timed out\n"},
    {-997, "Error: Transport error\n"},
    {-996, "Error: Incorrect argument(s)/type mismatch\n"},
    {-1, "Error: Called API encountered error\n"},
    {1, "Error: text of 0x00000001, 100%d %s\n"},
    {-2, "Error: text of 0xfffffffe, 100%d %s\n"},
    {0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
    {0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    {0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
    {0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
    {0x40f2ffff, "Error: text of 0x40f2ffff, 100%d %s\n"},
    {std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

// The module's printer keeps no status silent.
const StatusLine kMoreDataLine = {0x40f30000, "Error: text of 0x40f30000, 100%d %s\n"};

struct ContextRow {
  std::int16_t context_id;
  const char* argument;
};

constexpr std::array kContexts = {ContextRow{0, "u16 0"}, ContextRow{32767, "u16 32767"}, ContextRow{-1, "u16 65535"},
                                  ContextRow{-32768, "u16 32768"}};

// ---- services

class SslProxy : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("sslproxy_config", tokens, form); }
};

std::string add_call(const std::string& name) { return "call cm_add_or_lookup_ssl_proxy(u16 7, '" + name + "', u8 1)"; }
Events added(const std::string& name) { return {"bind 2", "domain 6 '" + name + "' 0", add_call(name), "return 0"}; }

TEST_F(SslProxy, AddsAndDeletes) {
  EXPECT_EQ(config({{3, "shop"}}), (Events{"bind 2", "domain 6 'shop' 0",
                                           "call cm_add_or_lookup_ssl_proxy(u16 7, 'shop', u8 1)", "return 0"}));
  EXPECT_EQ(config({{3, "shop"}}, kNo), (Events{"bind 2", "domain 6 'shop' 1",
                                                "call cm_add_or_lookup_ssl_proxy(u16 7, 'shop', u8 0)", "return 0"}));
}

TEST_F(SslProxy, Names) {
  EXPECT_EQ(config({}), added(""));
  EXPECT_EQ(config({{3, nullptr}}), added(""));
  EXPECT_EQ(config({{3, ""}}), added(""));
  EXPECT_EQ(config({{3, std::string(63, 'x')}}), added(std::string(63, 'x')));
  EXPECT_EQ(config({{3, k64}}), added(k64));
  EXPECT_EQ(config({{3, k64 + "y"}}), added(k64));
  EXPECT_EQ(config({{3, k64 + std::string(65536, 'y')}}), added(k64));
  EXPECT_EQ(config({{3, "\x01 %s\xff"}}), added("\\x01 %s\\xff"));
  EXPECT_EQ(config({{3, "class-default"}}), added("class-default"));
}

TEST_F(SslProxy, ALaterNameWins) {
  EXPECT_EQ(config({{3, k64 + "y"}, {3, "ab"}}), added("ab"));
  EXPECT_EQ(config({{3, "ab"}, {3, nullptr}}), added(""));
}

TEST_F(SslProxy, IgnoresOtherKeywords) {
  for (std::uint32_t keyword : {0, 1, 2, 4, 5, 6, 8, 18, 703, 921}) {
    EXPECT_EQ(config({{keyword}, {3, "shop"}}), added("shop")) << "keyword " << keyword;
    EXPECT_EQ(config({{3, "shop"}, {keyword}}), added("shop")) << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{3, "shop"}}, {3})) {
    EXPECT_EQ(config(tokens), added("shop")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, {3})) {
    EXPECT_EQ(config(tokens), added("")) << range;
  }
}

TEST_F(SslProxy, TheContextTravelsAsItsLow16BitsAndTheSessionNot) {
  for (const ContextRow& row : kContexts) {
    EXPECT_EQ(config({{3, "shop"}}, {.context_id = row.context_id, .session_id = 0xfedcba98}),
              (Events{"bind 2", "domain 6 'shop' 0",
                      "call cm_add_or_lookup_ssl_proxy("s + row.argument + ", 'shop', u8 1)", "return 0"}));
  }
}

TEST_F(SslProxy, NegatedGoesUnchangedToTheRuleDomain) {
  struct Row {
    std::uint32_t negated;
    const char* check;
  };
  const std::array rows = {Row{1, "domain 6 'shop' 1"}, Row{2, "domain 6 'shop' 2"}, Row{256, "domain 6 'shop' 256"},
                           Row{0x80000000, "domain 6 'shop' 2147483648"},
                           Row{0xffffffff, "domain 6 'shop' 4294967295"}};
  for (const Row& row : rows) {
    EXPECT_EQ(config({{3, "shop"}}, {.negated = row.negated}),
              (Events{"bind 2", row.check, "call cm_add_or_lookup_ssl_proxy(u16 7, 'shop', u8 0)", "return 0"}));
  }
}

TEST_F(SslProxy, AFailedBindIsReported) {
  for (const StatusLine& line : kStatusLines) {
    host.bind_status = line.status;
    const Events refused = {"bind 2", out(line.message), "return 255"};
    EXPECT_EQ(config({{3, "shop"}}), refused) << line.status;
    EXPECT_EQ(config({{3, "#"}}, kNo), refused) << line.status;
    EXPECT_EQ(config({{3, "shop"}}, {.skip_execution = 1}), refused) << line.status;
  }
  host.bind_status = kMoreDataLine.status;
  EXPECT_EQ(config({{3, "shop"}}), (Events{"bind 2", out(kMoreDataLine.message), "return 255"}));
}

TEST_F(SslProxy, SkippedExecutionOnlyBinds) {
  host.rule_domain_answer = 0;
  for (std::uint32_t skip : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(config({{3, "shop"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{3, "#"}}, {.negated = 1, .skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{3}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;  // unreadable
  }
}

TEST_F(SslProxy, ARefusedRuleDomainIsSilent) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{3, "shop"}}), (Events{"bind 2", "domain 6 'shop' 0", "return 255"}));
  EXPECT_EQ(config({{3, "shop"}}, kNo), (Events{"bind 2", "domain 6 'shop' 1", "return 255"}));
  EXPECT_EQ(config({}), (Events{"bind 2", "domain 6 '' 0", "return 255"}));
  EXPECT_EQ(config({{3, "#x"}}), (Events{"bind 2", "domain 6 '#x' 0", "return 255"}));  // before the number sign
  EXPECT_EQ(config({{3, k64 + "y"}}), (Events{"bind 2", "domain 6 '" + k64 + "' 0", "return 255"}));
}

TEST_F(SslProxy, AnyNonzeroRuleDomainAnswerAccepts) {
  for (std::int32_t answer : {2, 256, 0x10000, -1, std::numeric_limits<std::int32_t>::min()}) {
    host.rule_domain_answer = answer;
    EXPECT_EQ(config({{3, "shop"}}), added("shop")) << answer;
  }
}

// Here, other than for class-maps and parameter-maps, the answer is 1.
TEST_F(SslProxy, ANameMayNotBeginWithANumberSign) {
  const std::string message = out("Error: Object Name cannot start with character #\n");
  EXPECT_EQ(config({{3, "#x"}}), (Events{"bind 2", "domain 6 '#x' 0", message, "return 1"}));
  EXPECT_EQ(config({{3, "#"}}), (Events{"bind 2", "domain 6 '#' 0", message, "return 1"}));
  EXPECT_EQ(config({{3, "#x"}}, kNo), (Events{"bind 2", "domain 6 '#x' 1", message, "return 1"}));
  EXPECT_EQ(config({{3, "x#"}}), added("x#"));
  EXPECT_EQ(config({{3, " #"}}), added(" #"));
  EXPECT_EQ(config({{3, "#x"}, {3, "shop"}}), added("shop"));
}

TEST_F(SslProxy, BackendSuccesses) {
  host.answer({.status = 0});
  EXPECT_EQ(config({{3, "shop"}}), added("shop"));
  host.answer({.status = 0x40f30000});
  EXPECT_EQ(config({{3, "shop"}}), added("shop"));
}

TEST_F(SslProxy, BackendFailures) {
  for (const StatusLine& line : kStatusLines) {
    host.answer({.status = line.status});
    EXPECT_EQ(config({{3, "shop"}}),
              (Events{"bind 2", "domain 6 'shop' 0", add_call("shop"), out(line.message), "return 1"}))
        << line.status;
    host.answer({.status = line.status});
    EXPECT_EQ(config({{3, "shop"}}, kNo),
              (Events{"bind 2", "domain 6 'shop' 1", "call cm_add_or_lookup_ssl_proxy(u16 7, 'shop', u8 0)",
                      out(line.message), "return 1"}))
        << line.status;
  }
}

// ---- members

class SslProxyMember : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("sslproxy_submode_config", tokens, form); }
};

struct Member {
  std::uint32_t keyword_id;
  const char* call;
};

constexpr std::array kMembers = {
    Member{4, "call cm_update_key(u16 7, "},         // key
    Member{6, "call cm_update_cert(u16 7, "},        // certificate
    Member{8, "call cm_update_chaingrp(u16 7, "},    // chain group
    Member{18, "call cm_update_param_map(u16 7, "},  // SSL parameter-map
};

Events sent(const Member& member, const std::string& service, const std::string& name, const std::string& add = "1") {
  return {"bind 2", member.call + ("'" + service) + "', '" + name + "', u8 " + add + ")", "return 0"};
}

const Events kNothingToSend = {"bind 2", "return 1"};

TEST_F(SslProxyMember, SetsEach) {
  EXPECT_EQ(config({{3, "shop"}, {4, "k.pem"}}),
            (Events{"bind 2", "call cm_update_key(u16 7, 'shop', 'k.pem', u8 1)", "return 0"}));
  EXPECT_EQ(config({{3, "shop"}, {6, "c.pem"}}),
            (Events{"bind 2", "call cm_update_cert(u16 7, 'shop', 'c.pem', u8 1)", "return 0"}));
  EXPECT_EQ(config({{3, "shop"}, {8, "chain"}}),
            (Events{"bind 2", "call cm_update_chaingrp(u16 7, 'shop', 'chain', u8 1)", "return 0"}));
  EXPECT_EQ(config({{3, "shop"}, {18, "tls"}}),
            (Events{"bind 2", "call cm_update_param_map(u16 7, 'shop', 'tls', u8 1)", "return 0"}));
}

TEST_F(SslProxyMember, ClearsEachByItsName) {
  for (const Member& member : kMembers) {
    for (std::uint32_t negated : {1U, 2U, 256U, 0x00010000U, 0x80000000U}) {
      EXPECT_EQ(config({{3, "shop"}, {member.keyword_id, "old"}}, {.negated = negated}),
                sent(member, "shop", "old", "0"))
          << member.call;
    }
  }
}

// The tokens behind it are not read, not even another of its kind.
TEST_F(SslProxyMember, TheFirstMemberEndsTheWalk) {
  for (const Member& first : kMembers) {
    for (const Member& second : kMembers) {
      EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, "a"}, {second.keyword_id, "b"}}), sent(first, "shop", "a"));
      EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, "a"}, {second.keyword_id}}), sent(first, "shop", "a"));
    }
    EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, "a"}, {3, "other"}}), sent(first, "shop", "a"));
    EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, ""}, {4, "b"}}), sent(first, "shop", ""));
  }
}

TEST_F(SslProxyMember, AServiceNamedAfterItsMemberIsEmpty) {
  for (const Member& member : kMembers) {
    EXPECT_EQ(config({{member.keyword_id, "a"}, {3, "shop"}}), sent(member, "", "a"));
    EXPECT_EQ(config({{member.keyword_id, "a"}}), sent(member, "", "a"));
    EXPECT_EQ(config({{member.keyword_id, "a"}, {3}}), sent(member, "", "a"));  // unreadable
  }
}

TEST_F(SslProxyMember, Names) {
  for (const Member& member : kMembers) {
    const std::uint32_t keyword = member.keyword_id;
    EXPECT_EQ(config({{3, nullptr}, {keyword, nullptr}}), sent(member, "", ""));
    EXPECT_EQ(config({{3, k64}, {keyword, k64}}), sent(member, k64, k64));
    EXPECT_EQ(config({{3, k64 + "y"}, {keyword, k64 + "z"}}), sent(member, k64, k64));
    EXPECT_EQ(config({{3, "s"}, {keyword, k64 + std::string(65536, 'z')}}), sent(member, "s", k64));
    EXPECT_EQ(config({{3, k64 + "y"}, {3, "ab"}, {keyword, "c"}}), sent(member, "ab", "c"));
    EXPECT_EQ(config({{3, "ab"}, {3, nullptr}, {keyword, "c"}}), sent(member, "", "c"));
    EXPECT_EQ(config({{3, "#s"}, {keyword, "#k"}}), sent(member, "#s", "#k"));  // not for new names
    EXPECT_EQ(config({{3, "%s"}, {keyword, "\x01\xff"}}), sent(member, "%s", "\\x01\\xff"));
  }
}

TEST_F(SslProxyMember, WithoutAMemberThereIsNothingToSend) {
  for (const Form& form : {Form{}, kNo}) {
    EXPECT_EQ(config({}, form), kNothingToSend);
    EXPECT_EQ(config({{3, "shop"}}, form), kNothingToSend);
    EXPECT_EQ(config({{3, "shop"}, {5}, {7}}, form), kNothingToSend);
  }
}

TEST_F(SslProxyMember, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {3, 4, 6, 8, 18};
  for (std::uint32_t keyword : {0, 1, 2, 5, 7, 9, 17, 19, 921}) {
    EXPECT_EQ(config({{keyword}}), kNothingToSend) << "keyword " << keyword;
    for (const Member& member : kMembers) {
      EXPECT_EQ(config({{keyword}, {3, "s"}, {keyword}, {member.keyword_id, "m"}}), sent(member, "s", "m"))
          << "keyword " << keyword;
    }
  }
  for (auto& [range, tokens] : unlisted_keywords({{3, "shop"}}, listed)) {
    EXPECT_EQ(config(tokens), kNothingToSend) << range;
    Tokens with_member = tokens;
    with_member.emplace_back(6, "c");
    EXPECT_EQ(config(with_member), sent(kMembers[1], "shop", "c")) << range;
  }
}

TEST_F(SslProxyMember, ReadsAll255Tokens) {
  Tokens tokens(253, Token(4711));
  tokens.emplace(tokens.begin(), 3, "first");
  tokens.emplace_back(18, "last");
  EXPECT_EQ(config(tokens), sent(kMembers[3], "first", "last"));
}

TEST_F(SslProxyMember, TheContextTravelsAsItsLow16BitsAndTheSessionNot) {
  for (const ContextRow& row : kContexts) {
    EXPECT_EQ(config({{3, "s"}, {4, "k"}}, {.context_id = row.context_id, .session_id = 0xfedcba98}),
              (Events{"bind 2", "call cm_update_key("s + row.argument + ", 's', 'k', u8 1)", "return 0"}));
  }
}

TEST_F(SslProxyMember, TheRuleDomainIsNotAsked) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{3, "s"}, {4, "k"}}), sent(kMembers[0], "s", "k"));
}

TEST_F(SslProxyMember, AFailedBindIsReported) {
  for (const StatusLine& line : kStatusLines) {
    host.bind_status = line.status;
    const Events refused = {"bind 2", out(line.message), "return 255"};
    EXPECT_EQ(config({{3, "shop"}, {4, "k"}}), refused) << line.status;
    EXPECT_EQ(config({}), refused) << line.status;
    EXPECT_EQ(config({{3, "shop"}, {4, "k"}}, {.skip_execution = 1}), refused) << line.status;
  }
  host.bind_status = kMoreDataLine.status;
  EXPECT_EQ(config({{3, "shop"}, {4, "k"}}), (Events{"bind 2", out(kMoreDataLine.message), "return 255"}));
}

TEST_F(SslProxyMember, SkippedExecutionOnlyBinds) {
  for (std::uint32_t skip : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(config({{3, "shop"}, {4, "k"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{3, "shop"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{4}}, {.negated = 1, .skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
  }
}

TEST_F(SslProxyMember, BackendSuccesses) {
  for (const Member& member : kMembers) {
    host.answer({.status = 0x40f30000});
    EXPECT_EQ(config({{3, "s"}, {member.keyword_id, "m"}}), sent(member, "s", "m"));
  }
}

TEST_F(SslProxyMember, BackendFailures) {
  for (const Member& member : kMembers) {
    for (const StatusLine& line : kStatusLines) {
      host.answer({.status = line.status});
      EXPECT_EQ(config({{3, "s"}, {member.keyword_id, "m"}}),
                (Events{"bind 2", member.call + "'s', 'm', u8 1)"s, out(line.message), "return 1"}))
          << line.status;
    }
  }
}

}  // namespace
}  // namespace kvel::cli::test::ssl_proxy_test
