// kvelpolicymap_config: creation, look-up and deletion of policy-maps.
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::policy_map_config_test {
namespace {

using namespace std::string_literals;

class PolicyMapConfig : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelpolicymap_config", tokens, form); }
};

constexpr std::array<std::uint32_t, 5> kNameKeywords = {352, 503, 603, 652, 665};
const std::string k64(64, 'x');  // the longest name

// What the call carries; as it stands here, what a command without tokens sends.
struct PolicyMap {
  std::string name = {};
  std::uint32_t type = 1;
  std::uint32_t subtype = 1;
  std::uint32_t add = 1;
};

std::string call(const PolicyMap& map) {
  return "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, '" + map.name + "', u8 " +
         std::to_string(map.type) + ", u8 " + std::to_string(map.subtype) + ", u8 " + std::to_string(map.add) +
         ", buffer[4] 00000000)";
}

Events sent(const PolicyMap& map) {
  return {"bind 2", "domain 4 '" + map.name + "' " + (map.add == 1 ? "0" : "1"), call(map), "return 0"};
}

TEST_F(PolicyMapConfig, CreatesALayer34PolicyMap) {
  EXPECT_EQ(config({{351}, {352, "web"}}),
            (Events{"bind 2", "domain 4 'web' 0",
                    "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, 'web', u8 1, u8 1, u8 1, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(PolicyMapConfig, DeletesInTheNoForm) {
  EXPECT_EQ(config({{502}, {530}, {503, "web"}}, kNo),
            (Events{"bind 2", "domain 4 'web' 1",
                    "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, 'web', u8 2, u8 2, u8 0, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(PolicyMapConfig, WithoutTokens) {
  EXPECT_EQ(config({}), (Events{"bind 2", "domain 4 '' 0",
                                "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, '', u8 1, u8 1, u8 1, "
                                "buffer[4] 00000000)",
                                "return 0"}));
}

TEST_F(PolicyMapConfig, EveryKeyword) {
  struct Row {
    Tokens tokens;
    PolicyMap map;
  };
  const std::vector<Row> rows = {
      {{{352, "web"}}, {.name = "web"}},  // layer-3/4
      {{{503, "web"}}, {.name = "web"}},  // load-balancing: the name alone says nothing of the type
      {{{603, "web"}}, {.name = "web"}},  // HTTP inspection
      {{{652, "web"}}, {.name = "web"}},  // FTP inspection
      {{{665, "web"}}, {.name = "web"}},  // management
      {{{502}}, {.type = 2}},             // load-balancing
      {{{601}}, {.type = 3}},             // HTTP inspection
      {{{651}}, {.type = 4}},             // FTP inspection
      {{{663}}, {.type = 5}},             // management
      {{{351}}, {.subtype = 1}},
      {{{530}}, {.subtype = 2}},
      {{{654}}, {.subtype = 2}},
      {{{664}}, {.subtype = 2}},
      {{{602}}, {.subtype = 3}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(config(rows[index].tokens), sent(rows[index].map)) << "row " << index;
    PolicyMap deleted = rows[index].map;
    deleted.add = 0;
    EXPECT_EQ(config(rows[index].tokens, kNo), sent(deleted)) << "row " << index;
  }
}

TEST_F(PolicyMapConfig, EveryFormAsTheGrammarHasIt) {
  EXPECT_EQ(config({{352, "m"}}), sent({.name = "m", .type = 1, .subtype = 1}));
  EXPECT_EQ(config({{502}, {530}, {503, "m"}}), sent({.name = "m", .type = 2, .subtype = 2}));
  EXPECT_EQ(config({{601}, {602}, {603, "m"}}), sent({.name = "m", .type = 3, .subtype = 3}));
  EXPECT_EQ(config({{651}, {654}, {652, "m"}}), sent({.name = "m", .type = 4, .subtype = 2}));
  EXPECT_EQ(config({{663}, {664}, {665, "m"}}), sent({.name = "m", .type = 5, .subtype = 2}));
}

TEST_F(PolicyMapConfig, EveryTypeWithEverySubtype) {
  const std::array<std::array<std::uint32_t, 2>, 4> types = {{{502, 2}, {601, 3}, {651, 4}, {663, 5}}};
  const std::array<std::array<std::uint32_t, 2>, 5> subtypes = {{{351, 1}, {530, 2}, {654, 2}, {664, 2}, {602, 3}}};
  for (const auto& [type_keyword, type] : types) {
    for (const auto& [subtype_keyword, subtype] : subtypes) {
      EXPECT_EQ(config({{type_keyword}, {subtype_keyword}, {352, "m"}}),
                sent({.name = "m", .type = type, .subtype = subtype}))
          << type_keyword << " " << subtype_keyword;
      EXPECT_EQ(config({{352, "m"}, {subtype_keyword}, {type_keyword}}),
                sent({.name = "m", .type = type, .subtype = subtype}))
          << type_keyword << " " << subtype_keyword;
    }
  }
}

TEST_F(PolicyMapConfig, ALaterTypeWins) {
  const std::array<std::array<std::uint32_t, 2>, 4> types = {{{502, 2}, {601, 3}, {651, 4}, {663, 5}}};
  for (const auto& [earlier, ignored] : types) {
    for (const auto& [later, type] : types) {
      EXPECT_EQ(config({{earlier}, {later}}), sent({.type = type})) << earlier << " then " << later;
    }
  }
}

TEST_F(PolicyMapConfig, ALaterSubtypeWins) {
  const std::array<std::array<std::uint32_t, 2>, 5> subtypes = {{{351, 1}, {530, 2}, {654, 2}, {664, 2}, {602, 3}}};
  for (const auto& [earlier, ignored] : subtypes) {
    for (const auto& [later, subtype] : subtypes) {
      EXPECT_EQ(config({{earlier}, {later}}), sent({.subtype = subtype})) << earlier << " then " << later;
    }
  }
}

TEST_F(PolicyMapConfig, ALaterNameReplacesTheWholeEarlierOne) {
  for (std::uint32_t earlier : kNameKeywords) {
    for (std::uint32_t later : kNameKeywords) {
      EXPECT_EQ(config({{earlier, k64 + "yyyyyy"}, {later, "ab"}}), sent({.name = "ab"})) << earlier << " " << later;
      EXPECT_EQ(config({{earlier, "ab"}, {later, nullptr}}), sent({})) << earlier << " " << later;
      EXPECT_EQ(config({{earlier, "ab"}, {later, ""}}), sent({})) << earlier << " " << later;
    }
  }
}

TEST_F(PolicyMapConfig, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {351, 352, 502, 503, 530, 601, 602, 603, 651, 652, 654, 663, 664, 665};
  for (std::uint32_t keyword : {8,   12,  18,  350, 353, 356, 501, 504, 529, 531, 576, 593, 600,
                                604, 650, 653, 655, 659, 662, 666, 668, 366, 413, 671, 673, 1501}) {
    EXPECT_EQ(config({{663}, {602}, {352, "web"}, {keyword}}), sent({.name = "web", .type = 5, .subtype = 3}))
        << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{663}, {602}, {352, "web"}}, listed)) {
    EXPECT_EQ(config(tokens), sent({.name = "web", .type = 5, .subtype = 3})) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(config(tokens), sent({})) << range;
  }
}

TEST_F(PolicyMapConfig, ReadsTheTokensBehindAnUnknownOne) {
  EXPECT_EQ(config({{502}, {4711}, {503, "web"}}), sent({.name = "web", .type = 2}));
}

TEST_F(PolicyMapConfig, ReadsAll255Tokens) {
  Tokens tokens(254, Token(4711));
  tokens.emplace_back(603, "last");
  EXPECT_EQ(config(tokens), sent({.name = "last"}));
}

TEST_F(PolicyMapConfig, ANullNameIsEmpty) {
  for (std::uint32_t keyword : kNameKeywords) {
    EXPECT_EQ(config({{keyword, nullptr}}), sent({})) << "keyword " << keyword;
  }
}

TEST_F(PolicyMapConfig, NamesAreCutAt64Characters) {
  for (std::uint32_t keyword : kNameKeywords) {
    EXPECT_EQ(config({{keyword, ""}}), sent({})) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, "w"}}), sent({.name = "w"})) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, std::string(63, 'x')}}), sent({.name = std::string(63, 'x')})) << keyword;
    EXPECT_EQ(config({{keyword, k64}}), sent({.name = k64})) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + "y"}}), sent({.name = k64})) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + "yyyyyy"}}), sent({.name = k64})) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + std::string(65536, 'y')}}), sent({.name = k64})) << "keyword " << keyword;
  }
}

TEST_F(PolicyMapConfig, NamesTravelByteForByte) {
  EXPECT_EQ(config({{352, "\x01\t z\x7f\x80\xff"}}), sent({.name = "\\x01\\x09 z\\x7f\\x80\\xff"}));
  EXPECT_EQ(config({{352, "gr\xc3\xbcn"}}), sent({.name = "gr\\xc3\\xbcn"}));
  EXPECT_EQ(config({{352, "%s%n"}}), sent({.name = "%s%n"}));
  EXPECT_EQ(config({{352, " #"}}), sent({.name = " #"}));
  EXPECT_EQ(config({{352, "class-default"}}), sent({.name = "class-default"}));
}

TEST_F(PolicyMapConfig, IdentityOfTheSession) {
  struct Row {
    std::int16_t context_id;
    std::uint32_t session_id;
    const char* arguments;
  };
  const std::array rows = {
      Row{0, 0, "u16 0, session 0x00000000"},
      Row{32767, 0x7fffffff, "u16 32767, session 0x7fffffff"},
      Row{-1, 0xffffffff, "u16 65535, session 0xffffffff"},
      Row{-32768, 0x80000000, "u16 32768, session 0x80000000"},
      Row{-2, 0xfedcba98, "u16 65534, session 0xfedcba98"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(config({{352, "web"}}, {.context_id = row.context_id, .session_id = row.session_id}),
              (Events{"bind 2", "domain 4 'web' 0",
                      "call cm_add_or_lookup_pmap_by_name("s + row.arguments +
                          ", 'web', u8 1, u8 1, u8 1, buffer[4] 00000000)",
                      "return 0"}));
  }
}

TEST_F(PolicyMapConfig, TheCommandFormIsNotLookedAt) {
  for (std::uint32_t form : {1U, 362U, 364U, 0xffffffffU}) {
    EXPECT_EQ(config({{352, "web"}}, {.command_id = form}), sent({.name = "web"})) << form;
  }
}

// Any nonzero "negated" is the "no" form; the check of the rule domain sees it as it is.
TEST_F(PolicyMapConfig, NegatedGoesUnchangedToTheRuleDomain) {
  struct Row {
    std::uint32_t negated;
    const char* check;
  };
  const std::array rows = {Row{1, "domain 4 'web' 1"},
                           Row{2, "domain 4 'web' 2"},
                           Row{256, "domain 4 'web' 256"},
                           Row{0x00010000, "domain 4 'web' 65536"},
                           Row{0x80000000, "domain 4 'web' 2147483648"},
                           Row{0xffffffff, "domain 4 'web' 4294967295"}};
  for (const Row& row : rows) {
    EXPECT_EQ(config({{352, "web"}}, {.negated = row.negated}),
              (Events{"bind 2", row.check,
                      "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, 'web', u8 1, u8 1, u8 0, "
                      "buffer[4] 00000000)",
                      "return 0"}));
  }
}

struct Failure {
  std::int32_t status;
  const char* message;
};

TEST_F(PolicyMapConfig, AFailedBindIsPrinted) {
  const std::array failures = {
      Failure{-999, "Error: Called API is invalid or non-existant\n"},
      Failure{-998, "Error: Called API timed out\n"},
      Failure{-997, "Error: Transport error\n"},
      Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Failure{-1, "Error: Called API encountered error\n"},
      Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
      Failure{256, "Error: text of 0x00000100, 100%d %s\n"},
      Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      // with a message of their own after a call only
      Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
      Failure{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
      Failure{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
      Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Failure& failure : failures) {
    host.bind_status = failure.status;
    const Events failed = {"bind 2", out(failure.message), "return 255"};
    EXPECT_EQ(config({{352, "web"}}), failed);
    EXPECT_EQ(config({{352, "web"}}, kNo), failed);
    EXPECT_EQ(config({{352, "#web"}}), failed);
    EXPECT_EQ(config({{352}}), failed);  // a text that would crash whoever read it
    EXPECT_EQ(config({{352, "web"}}, {.skip_execution = 1}), failed);
  }
}

TEST_F(PolicyMapConfig, ABindWithMoreDataFailsSilently) {
  host.bind_status = 0x40f30000;
  EXPECT_EQ(config({{352, "web"}}), (Events{"bind 2", "return 255"}));
  EXPECT_EQ(config({{352, "web"}}, kNo), (Events{"bind 2", "return 255"}));
  EXPECT_EQ(config({{352, "web"}}, {.skip_execution = 1}), (Events{"bind 2", "return 255"}));
}

TEST_F(PolicyMapConfig, SkippedExecutionOnlyBinds) {
  host.rule_domain_answer = 0;
  for (std::uint32_t skip : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(config({{352}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{352, "web"}}, {.negated = 1, .skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{352, "#web"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
  }
}

// This refusal returns 1, unlike every other failure of the command; the rule domain is not asked.
TEST_F(PolicyMapConfig, ANameMayNotBeginWithANumberSign) {
  const Events refused = {"bind 2", out("Error: Object Name cannot start with character #\n"), "return 1"};
  for (std::uint32_t keyword : kNameKeywords) {
    EXPECT_EQ(config({{keyword, "#x"}}), refused) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, "#x"}}, kNo), refused) << "keyword " << keyword;
  }
  EXPECT_EQ(config({{352, "#"}}), refused);
  EXPECT_EQ(config({{352, "##"}}), refused);
  EXPECT_EQ(config({{352, "#class_default_l3"}}), refused);
  EXPECT_EQ(config({{352, "#" + k64}}), refused);
  EXPECT_EQ(config({{352, "web"}, {503, "#x"}}), refused);
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{352, "#x"}}), refused);
  EXPECT_EQ(config({{352, "#x"}}, kNo), refused);
}

TEST_F(PolicyMapConfig, OnlyTheFirstCharacterMayNotBeANumberSign) {
  EXPECT_EQ(config({{352, "x#"}}), sent({.name = "x#"}));
  EXPECT_EQ(config({{352, "#x"}, {352, "web"}}), sent({.name = "web"}));
}

TEST_F(PolicyMapConfig, ARefusedRuleDomainIsSilent) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{352, "web"}}), (Events{"bind 2", "domain 4 'web' 0", "return 255"}));
  EXPECT_EQ(config({{352, "web"}}, kNo), (Events{"bind 2", "domain 4 'web' 1", "return 255"}));
  EXPECT_EQ(config({}), (Events{"bind 2", "domain 4 '' 0", "return 255"}));
  EXPECT_EQ(config({{352, k64 + "yyyyyy"}}), (Events{"bind 2", "domain 4 '" + k64 + "' 0", "return 255"}));
}

TEST_F(PolicyMapConfig, AnyNonzeroRuleDomainAnswerAccepts) {
  for (std::int32_t answer : {1, 2, 256, 0x10000, -1, std::numeric_limits<std::int32_t>::min()}) {
    host.rule_domain_answer = answer;
    EXPECT_EQ(config({{352, "web"}}), sent({.name = "web"})) << answer;
  }
}

TEST_F(PolicyMapConfig, BackendSuccesses) {
  host.answer({.status = 0, .buffers = {"\xff\xff\xff\xff"}});
  EXPECT_EQ(config({{352, "web"}}), sent({.name = "web"}));
  host.answer({.status = 0x40f30000, .buffers = {"\0\0\0\1"s}});
  EXPECT_EQ(config({{352, "web"}}), sent({.name = "web"}));
}

TEST_F(PolicyMapConfig, BackendFailures) {
  const std::array failures = {
      Failure{0x40f30010, "Error: policy-map 'web', already exists with a different type\n"},
      Failure{0x40f3009c, "Error: policy-map 'web' is in use. Deletion not allowed\n"},
      Failure{0x40f30009, "Error: policy-map 'web' not configured\n"},
      Failure{-999, "Error: Called API is invalid or non-existant\n"},
      Failure{-998, "Error: Called API timed out\n"},
      Failure{-997, "Error: Transport error\n"},
      Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Failure{-1, "Error: Called API encountered error\n"},
      // of other objects, or next to a known one
      Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      Failure{0x40f30008, "Error: text of 0x40f30008, 100%d %s\n"},
      Failure{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
      Failure{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
      Failure{0x40f30011, "Error: text of 0x40f30011, 100%d %s\n"},
      Failure{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
      Failure{0x40f3009d, "Error: text of 0x40f3009d, 100%d %s\n"},
      Failure{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
      Failure{0x40f3013c, "Error: text of 0x40f3013c, 100%d %s\n"},
      Failure{0x40f30141, "Error: text of 0x40f30141, 100%d %s\n"},
      Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
      Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Failure& failure : failures) {
    host.answer({.status = failure.status});
    EXPECT_EQ(config({{352, "web"}}),
              (Events{"bind 2", "domain 4 'web' 0", call({.name = "web"}), out(failure.message), "return 255"}));
    host.answer({.status = failure.status});
    EXPECT_EQ(config({{663}, {665, "web"}}, kNo),
              (Events{"bind 2", "domain 4 'web' 1",
                      "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, 'web', u8 5, u8 1, u8 0, "
                      "buffer[4] 00000000)",
                      out(failure.message), "return 255"}));
  }
}

// Messages show the name as it was sent.
TEST_F(PolicyMapConfig, NamesInMessages) {
  const auto refused = [](const std::string& name, const std::string& message) {
    return Events{"bind 2", "domain 4 '" + name + "' 0", call({.name = name}), out(message), "return 255"};
  };
  host.answer({.status = 0x40f30009});
  EXPECT_EQ(config({}), refused("", "Error: policy-map '' not configured\n"));
  host.answer({.status = 0x40f30009});
  EXPECT_EQ(config({{352, "100%s%n"}}), refused("100%s%n", "Error: policy-map '100%s%n' not configured\n"));
  host.answer({.status = 0x40f3009c});
  EXPECT_EQ(config({{352, k64 + "yyyyyy"}}),
            refused(k64, "Error: policy-map '" + k64 + "' is in use. Deletion not allowed\n"));
  host.answer({.status = 0x40f30010});
  EXPECT_EQ(config({{352, "gr\xc3\xbcn"}}),
            refused("gr\\xc3\\xbcn", "Error: policy-map 'gr\xc3\xbcn', already exists with a different type\n"));
}

TEST_F(PolicyMapConfig, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(config({{663}, {664}, {665, "a-long-name"}}, kNo).back(), "return 0");
  EXPECT_EQ(config({}), sent({}));
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_config_test
