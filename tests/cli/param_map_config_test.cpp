// kvelparammap_config: creation, look-up and deletion of parameter-maps.
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::param_map_config_test {
namespace {

using namespace std::string_literals;

class ParamMapConfig : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelparammap_config", tokens, form); }
};

const std::string k64(64, 'x');  // the longest name

constexpr std::array<std::uint32_t, 3> kNameKeywords = {703, 801, 921};

// The call for a name, positive form.
std::string add_call(const std::string& name, const std::string& type = "0") {
  return "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 1, '" + name + "', u8 " + type +
         ", buffer[4] 00000000)";
}
Events added(const std::string& name, const std::string& type = "0") {
  return {"bind 2", "domain 7 '" + name + "' 0", add_call(name, type), "return 0"};
}

const Events kWebAdded = added("web");

// The call of "no" and the name web, of the connection type.
const std::string kWebDeletion =
    "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 0, 'web', u8 0, buffer[4] 00000000)";

TEST_F(ParamMapConfig, CreatesAConnectionMap) {
  EXPECT_EQ(config({{703, "web"}}),
            (Events{"bind 2", "domain 7 'web' 0",
                    "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 1, 'web', u8 0, buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ParamMapConfig, DeletesInTheNoForm) {
  EXPECT_EQ(config({{800}, {801, "web"}}, kNo),
            (Events{"bind 2", "domain 7 'web' 1",
                    "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 0, 'web', u8 1, buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ParamMapConfig, EveryKeyword) {
  EXPECT_EQ(config({{703, "web"}}), added("web", "0"));
  EXPECT_EQ(config({{801, "web"}}), added("web", "0"));
  EXPECT_EQ(config({{921, "web"}}), added("web", "0"));
  EXPECT_EQ(config({{800}}), added("", "1"));  // http
  EXPECT_EQ(config({{920}}), added("", "2"));  // ssl
}

TEST_F(ParamMapConfig, EveryFormAsTheGrammarHasIt) {
  struct Row {
    Tokens tokens;
    const char* type;
  };
  const std::vector<Row> rows = {
      {{{700}, {702}, {703, "m"}}, "0"},
      {{{700}, {800}, {801, "m"}}, "1"},
      {{{700}, {920}, {921, "m"}}, "2"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(config(row.tokens), added("m", row.type)) << row.type;
    EXPECT_EQ(config(row.tokens, kNo), (Events{"bind 2", "domain 7 'm' 1",
                                               "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 0, 'm', "
                                               "u8 "s +
                                                   row.type + ", buffer[4] 00000000)",
                                               "return 0"}))
        << row.type;
  }
}

TEST_F(ParamMapConfig, TheWordOfTheConnectionTypeSetsNoType) {
  for (std::uint32_t keyword : {700, 701, 702}) {
    EXPECT_EQ(config({{keyword}, {703, "web"}}), added("web", "0")) << "keyword " << keyword;
    EXPECT_EQ(config({{800}, {703, "web"}, {keyword}}), added("web", "1")) << "keyword " << keyword;
    EXPECT_EQ(config({{920}, {703, "web"}, {keyword}}), added("web", "2")) << "keyword " << keyword;
  }
}

TEST_F(ParamMapConfig, ALaterTokenWins) {
  EXPECT_EQ(config({{800}, {920}, {801, "web"}}), added("web", "2"));
  EXPECT_EQ(config({{920}, {800}, {921, "web"}}), added("web", "1"));
  EXPECT_EQ(config({{920}, {801, "web"}, {800}, {920}}), added("web", "2"));
  EXPECT_EQ(config({{703, "a-long-name"}, {801, "ab"}}), added("ab"));
  EXPECT_EQ(config({{801, "a-long-name"}, {921, "ab"}}), added("ab"));
  EXPECT_EQ(config({{921, "a-long-name"}, {703, "ab"}}), added("ab"));
  EXPECT_EQ(config({{703, "ab"}, {801, nullptr}}), added(""));
  EXPECT_EQ(config({{703, "ab"}, {921, ""}}), added(""));
}

TEST_F(ParamMapConfig, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {703, 800, 801, 920, 921};
  for (std::uint32_t keyword : {0, 699, 700, 701, 702, 704, 799, 802, 811, 919, 922, 965, 966}) {
    EXPECT_EQ(config({{keyword}, {800}, {801, "web"}}), added("web", "1")) << "keyword " << keyword;
    EXPECT_EQ(config({{800}, {801, "web"}, {keyword}}), added("web", "1")) << "keyword " << keyword;
    EXPECT_EQ(config({{800}, {keyword}, {801, "web"}}), added("web", "1")) << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{703, "web"}}, listed)) {
    EXPECT_EQ(config(tokens), kWebAdded) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{921, "web"}, {920}}, listed)) {
    EXPECT_EQ(config(tokens), added("web", "2")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(config(tokens), added("")) << range;
  }
}

TEST_F(ParamMapConfig, WithoutTokens) { EXPECT_EQ(config({}), added("")); }

TEST_F(ParamMapConfig, ANullNameIsEmpty) {
  for (std::uint32_t keyword : kNameKeywords) {
    EXPECT_EQ(config({{keyword, nullptr}}), added("")) << "keyword " << keyword;
  }
}

TEST_F(ParamMapConfig, NamesAreCutAt64Characters) {
  for (std::uint32_t keyword : kNameKeywords) {
    EXPECT_EQ(config({{keyword, ""}}), added("")) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, "w"}}), added("w")) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, std::string(63, 'x')}}), added(std::string(63, 'x'))) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64}}), added(k64)) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + "y"}}), added(k64)) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + "yyyyyy"}}), added(k64)) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + std::string(65536, 'y')}}), added(k64)) << "keyword " << keyword;
  }
}

TEST_F(ParamMapConfig, AShortNameReplacesALongOneWhole) {
  for (std::uint32_t keyword : kNameKeywords) {
    EXPECT_EQ(config({{703, k64 + "yyyyyy"}, {keyword, "ab"}}), added("ab")) << "keyword " << keyword;
  }
}

TEST_F(ParamMapConfig, NamesTravelByteForByte) {
  EXPECT_EQ(config({{703, "\x01\t z\x7f\x80\xff"}}), added("\\x01\\x09 z\\x7f\\x80\\xff"));
  EXPECT_EQ(config({{801, "gr\xc3\xbc\xc3\x9f"}}), added("gr\\xc3\\xbc\\xc3\\x9f"));
  EXPECT_EQ(config({{921, "%s%n"}}), added("%s%n"));
  EXPECT_EQ(config({{703, " #"}}), added(" #"));
  EXPECT_EQ(config({{703, "class-default"}}), added("class-default"));
}

TEST_F(ParamMapConfig, IdentityOfTheSession) {
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
    EXPECT_EQ(config({{703, "web"}}, {.context_id = row.context_id, .session_id = row.session_id}),
              (Events{"bind 2", "domain 7 'web' 0",
                      "call cm_param_map_add_or_lookup("s + row.arguments + ", u8 1, 'web', u8 0, buffer[4] 00000000)",
                      "return 0"}));
  }
}

TEST_F(ParamMapConfig, TheCommandFormIsNotLookedAt) {
  for (std::uint32_t form : {1U, 362U, 364U, 0xffffffffU}) {
    EXPECT_EQ(config({{703, "web"}}, {.command_id = form}), kWebAdded) << form;
  }
}

// Any nonzero "negated" is the "no" form; the check of the rule domain sees it as it is.
TEST_F(ParamMapConfig, NegatedGoesUnchangedToTheRuleDomain) {
  struct Row {
    std::uint32_t negated;
    const char* check;
  };
  const std::array rows = {Row{1, "domain 7 'web' 1"},
                           Row{2, "domain 7 'web' 2"},
                           Row{256, "domain 7 'web' 256"},
                           Row{0x00010000, "domain 7 'web' 65536"},
                           Row{0x80000000, "domain 7 'web' 2147483648"},
                           Row{0xffffffff, "domain 7 'web' 4294967295"}};
  for (const Row& row : rows) {
    EXPECT_EQ(config({{703, "web"}}, {.negated = row.negated}),
              (Events{"bind 2", row.check, kWebDeletion, "return 0"}));
  }
}

TEST_F(ParamMapConfig, AFailedBindIsReported) {
  struct Row {
    std::int32_t status;
    const char* message;
  };
  const std::array rows = {
      Row{-999, "Error: Called API is invalid or non-existant\n"},
      Row{-998, "Error: Called API timed out\n"},
      Row{-997, "Error: Transport error\n"},
      Row{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Row{-1, "Error: Called API encountered error\n"},
      Row{1, "Error: text of 0x00000001, 100%d %s\n"},
      Row{256, "Error: text of 0x00000100, 100%d %s\n"},
      Row{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
      Row{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Row& row : rows) {
    host.bind_status = row.status;
    const Events refused = {"bind 2", out(row.message), "return 255"};
    EXPECT_EQ(config({{703, "web"}}), refused) << row.status;
    EXPECT_EQ(config({{703, "web"}}, kNo), refused) << row.status;
    EXPECT_EQ(config({{703, "web"}}, {.skip_execution = 1}), refused) << row.status;
    EXPECT_EQ(config({{703, "#web"}}), refused) << row.status;
  }
}

TEST_F(ParamMapConfig, ABindThatHasMoreDataFailsSilently) {
  host.bind_status = kMoreData;
  EXPECT_EQ(config({{703, "web"}}), (Events{"bind 2", "return 255"}));
  EXPECT_EQ(config({{703, "web"}}, {.skip_execution = 1}), (Events{"bind 2", "return 255"}));
}

TEST_F(ParamMapConfig, SkippedExecutionOnlyBinds) {
  for (std::uint32_t skip : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(config({{703, "web"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{703, "web"}}, {.negated = 1, .skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{703, "#web"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{703}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;  // unreadable
  }
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{703, "web"}}, {.skip_execution = 1}), (Events{"bind 2", "return 0"}));
}

TEST_F(ParamMapConfig, ARefusedRuleDomainIsSilent) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{703, "web"}}), (Events{"bind 2", "domain 7 'web' 0", "return 255"}));
  EXPECT_EQ(config({{703, "web"}}, kNo), (Events{"bind 2", "domain 7 'web' 1", "return 255"}));
  EXPECT_EQ(config({{800}, {801, "web"}}), (Events{"bind 2", "domain 7 'web' 0", "return 255"}));
  EXPECT_EQ(config({{920}, {921, "web"}}), (Events{"bind 2", "domain 7 'web' 0", "return 255"}));
  EXPECT_EQ(config({}), (Events{"bind 2", "domain 7 '' 0", "return 255"}));
  EXPECT_EQ(config({{703, k64 + "yyyyyy"}}), (Events{"bind 2", "domain 7 '" + k64 + "' 0", "return 255"}));
}

TEST_F(ParamMapConfig, AnyNonzeroRuleDomainAnswerAccepts) {
  for (std::int32_t answer : {1, 2, 256, 0x10000, -1, std::numeric_limits<std::int32_t>::min()}) {
    host.rule_domain_answer = answer;
    EXPECT_EQ(config({{703, "web"}}), kWebAdded) << answer;
  }
}

TEST_F(ParamMapConfig, ANameMayNotBeginWithANumberSign) {
  const std::string message = out("Error: Object Name cannot start with character #\n");
  for (std::uint32_t keyword : kNameKeywords) {
    EXPECT_EQ(config({{keyword, "#x"}}), (Events{"bind 2", "domain 7 '#x' 0", message, "return 255"})) << keyword;
    EXPECT_EQ(config({{keyword, "#x"}}, kNo), (Events{"bind 2", "domain 7 '#x' 1", message, "return 255"})) << keyword;
  }
  EXPECT_EQ(config({{703, "#"}}), (Events{"bind 2", "domain 7 '#' 0", message, "return 255"}));
  EXPECT_EQ(config({{703, "##"}}), (Events{"bind 2", "domain 7 '##' 0", message, "return 255"}));
  const std::string cut = "#" + std::string(63, 'x');
  EXPECT_EQ(config({{703, cut + "yyyyyy"}}), (Events{"bind 2", "domain 7 '" + cut + "' 0", message, "return 255"}));
}

TEST_F(ParamMapConfig, TheRuleDomainComesBeforeTheNumberSign) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{703, "#x"}}), (Events{"bind 2", "domain 7 '#x' 0", "return 255"}));
  EXPECT_EQ(config({{703, "#x"}}, kNo), (Events{"bind 2", "domain 7 '#x' 1", "return 255"}));
}

TEST_F(ParamMapConfig, OnlyTheFirstCharacterMayNotBeANumberSign) {
  EXPECT_EQ(config({{703, "x#"}}), added("x#"));
  EXPECT_EQ(config({{703, "#x"}, {703, "web"}}), kWebAdded);
}

TEST_F(ParamMapConfig, BackendSuccesses) {
  host.answer({.status = 0, .buffers = {"\xff\xff\xff\xff"}});
  EXPECT_EQ(config({{703, "web"}}), kWebAdded);
  host.answer({.status = 0x40f30000, .buffers = {"\0\0\0\1"s}});
  EXPECT_EQ(config({{703, "web"}}), kWebAdded);
}

// No status has a message of its own here, those of class-maps and policy-maps included.
TEST_F(ParamMapConfig, BackendFailures) {
  struct Row {
    std::int32_t status;
    const char* message;
  };
  const std::array rows = {
      Row{-999, "Error: Called API is invalid or non-existant\n"},
      Row{-998, "Error: Called API timed out\n"},
      Row{-997, "Error: Transport error\n"},
      Row{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Row{-1, "Error: Called API encountered error\n"},
      Row{1, "Error: text of 0x00000001, 100%d %s\n"},
      Row{-2, "Error: text of 0xfffffffe, 100%d %s\n"},
      Row{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      Row{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
      Row{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
      Row{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
      Row{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
      Row{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
      Row{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
      Row{0x40f2ffff, "Error: text of 0x40f2ffff, 100%d %s\n"},
      Row{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Row& row : rows) {
    host.answer({.status = row.status});
    EXPECT_EQ(config({{703, "web"}}),
              (Events{"bind 2", "domain 7 'web' 0", add_call("web"), out(row.message), "return 255"}));
    host.answer({.status = row.status});
    EXPECT_EQ(config({{703, "web"}}, kNo),
              (Events{"bind 2", "domain 7 'web' 1", kWebDeletion, out(row.message), "return 255"}));
  }
}

TEST_F(ParamMapConfig, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(config({{920}, {921, "a-long-name"}}), added("a-long-name", "2"));
  EXPECT_EQ(config({}), added(""));
}

}  // namespace
}  // namespace kvel::cli::test::param_map_config_test
