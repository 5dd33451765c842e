// kvelclassmap_config: creation, look-up and deletion of class-maps.
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::class_map_config_test {
namespace {

using namespace std::string_literals;

class ClassMapConfig : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelclassmap_config", tokens, form); }
};

const std::string k64(64, 'x');  // the longest name

// The call for a name, positive form, as layer-3/4 match-all.
std::string add_call(const std::string& name) {
  return "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, '" + name +
         "', u8 1, buffer[4] 00000000)";
}
Events added(const std::string& name) { return {"bind 2", "domain 5 '" + name + "' 0", add_call(name), "return 0"}; }

const Events kWebAdded = added("web");

// The call of "no class-map web".
const std::string kWebDeletion =
    "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, 'web', u8 0, buffer[4] 00000000)";

TEST_F(ClassMapConfig, CreatesALayer34ClassMap) {
  EXPECT_EQ(config({{8, "web"}, {9}}),
            (Events{"bind 2", "domain 5 'web' 0",
                    "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 0, 'web', u8 1, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ClassMapConfig, DeletesInTheNoForm) {
  EXPECT_EQ(config({{8, "web"}}, kNo),
            (Events{"bind 2", "domain 5 'web' 1",
                    "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, 'web', u8 0, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ClassMapConfig, EveryKeyword) {
  struct Row {
    std::uint32_t keyword_id;
    bool is_name;
    const char* type;
    const char* mode;
  };
  const std::array rows = {
      Row{8, true, "u8 0", "u8 1"},     // name, layer-3/4 form
      Row{18, true, "u8 0", "u8 1"},    // name, other forms
      Row{103, true, "u8 0", "u8 1"},   //
      Row{173, true, "u8 0", "u8 1"},   //
      Row{183, true, "u8 0", "u8 1"},   //
      Row{182, false, "u8 1", "u8 1"},  // management
      Row{15, false, "u8 2", "u8 1"},   // HTTP load-balancing
      Row{102, false, "u8 3", "u8 1"},  // HTTP inspection
      Row{172, false, "u8 4", "u8 1"},  // FTP inspection
      Row{10, false, "u8 0", "u8 1"},   // match-all
      Row{16, false, "u8 0", "u8 1"},   //
      Row{104, false, "u8 0", "u8 1"},  //
      Row{195, false, "u8 0", "u8 1"},  //
      Row{9, false, "u8 0", "u8 0"},    // match-any
      Row{17, false, "u8 0", "u8 0"},   //
      Row{105, false, "u8 0", "u8 0"},  //
      Row{178, false, "u8 0", "u8 0"},  //
      Row{196, false, "u8 0", "u8 0"},  //
  };
  for (const Row& row : rows) {
    const Token token = row.is_name ? Token(row.keyword_id, "web") : Token(row.keyword_id);
    const std::string name = row.is_name ? "'web'" : "''";
    EXPECT_EQ(config({token}), (Events{"bind 2", "domain 5 " + name + " 0",
                                       "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, "s + row.type + ", " +
                                           row.mode + ", " + name + ", u8 1, buffer[4] 00000000)",
                                       "return 0"}))
        << "keyword " << row.keyword_id;
  }
}

// Each match-all keyword takes back an earlier match-any.
TEST_F(ClassMapConfig, MatchAllAfterMatchAny) {
  for (std::uint32_t keyword : {10, 16, 104, 195}) {
    EXPECT_EQ(config({{9}, {8, "web"}, {keyword}}), kWebAdded) << "keyword " << keyword;
  }
}

TEST_F(ClassMapConfig, EveryFormAsTheGrammarHasIt) {
  struct Row {
    Tokens tokens;
    const char* type;
    const char* mode;
  };
  const std::vector<Row> rows = {
      {{{8, "m"}}, "u8 0", "u8 1"},
      {{{10}, {8, "m"}}, "u8 0", "u8 1"},
      {{{182}, {195}, {183, "m"}}, "u8 1", "u8 1"},
      {{{182}, {196}, {183, "m"}}, "u8 1", "u8 0"},
      {{{15}, {16}, {18, "m"}}, "u8 2", "u8 1"},
      {{{15}, {17}, {18, "m"}}, "u8 2", "u8 0"},
      {{{102}, {104}, {103, "m"}}, "u8 3", "u8 1"},
      {{{102}, {105}, {103, "m"}}, "u8 3", "u8 0"},
      {{{172}, {178}, {173, "m"}}, "u8 4", "u8 0"},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const Row& row = rows[index];
    EXPECT_EQ(config(row.tokens), (Events{"bind 2", "domain 5 'm' 0",
                                          "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, "s + row.type +
                                              ", " + row.mode + ", 'm', u8 1, buffer[4] 00000000)",
                                          "return 0"}))
        << "row " << index;
    EXPECT_EQ(config(row.tokens, kNo), (Events{"bind 2", "domain 5 'm' 1",
                                               "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, "s +
                                                   row.type + ", " + row.mode + ", 'm', u8 0, buffer[4] 00000000)",
                                               "return 0"}))
        << "row " << index;
  }
}

// The neighbours of every keyword of the table, the description's keyword, and ids that equal one only when cut.
TEST_F(ClassMapConfig, IgnoresOtherKeywords) {
  const std::uint32_t others[] = {0,   1,   5,   7,   11,         14,         19,         100,        101,       106,
                                  171, 174, 177, 179, 181,        184,        194,        197,        505,       264,
                                  265, 438, 451, 452, 0x80000008, 0xffffffff, 0x00010009, 0x0a000000, 0x000f0000};
  for (std::uint32_t other : others) {
    EXPECT_EQ(config({{other}, {8, "web"}}), kWebAdded) << "keyword " << other;
    EXPECT_EQ(config({{8, "web"}, {other}}), kWebAdded) << "keyword " << other;
  }
  const std::set<std::uint32_t> listed = {8,  18, 103, 173, 183, 182, 15,  102, 172,
                                          10, 16, 104, 195, 9,   17,  105, 178, 196};
  for (const auto& [range, tokens] : unlisted_keywords({{8, "web"}}, listed))
    EXPECT_EQ(config(tokens), kWebAdded) << range;
}

TEST_F(ClassMapConfig, ReadsTheTokensBehindAnUnknownOne) {
  EXPECT_EQ(config({{8, "web"}, {4711}, {9}}),
            (Events{"bind 2", "domain 5 'web' 0",
                    "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 0, 'web', u8 1, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ClassMapConfig, ALaterTokenWins) {
  const auto call = [](const char* type, const char* mode, const char* name) {
    return Events{"bind 2", "domain 5 '"s + name + "' 0",
                  "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 "s + type + ", u8 " + mode + ", '" +
                      name + "', u8 1, buffer[4] 00000000)",
                  "return 0"};
  };
  EXPECT_EQ(config({{182}, {8, "web"}}), call("0", "1", "web"));
  EXPECT_EQ(config({{8, "web"}, {182}}), call("1", "1", "web"));
  EXPECT_EQ(config({{182}, {183, "web"}}), call("1", "1", "web"));
  EXPECT_EQ(config({{15}, {102}, {172}}), call("4", "1", ""));
  EXPECT_EQ(config({{172}, {102}, {15}}), call("2", "1", ""));
  EXPECT_EQ(config({{10}, {9}}), call("0", "0", ""));
  EXPECT_EQ(config({{196}, {195}}), call("0", "1", ""));
  EXPECT_EQ(config({{8, "a-long-name"}, {18, "ab"}}), call("0", "1", "ab"));
  EXPECT_EQ(config({{15}, {18, "ab"}, {8, "xyz"}}), call("0", "1", "xyz"));
  EXPECT_EQ(config({{18, "ab"}, {103, nullptr}}), call("0", "1", ""));
  EXPECT_EQ(config({{18, "ab"}, {103, ""}}), call("0", "1", ""));
}

TEST_F(ClassMapConfig, WithoutTokens) { EXPECT_EQ(config({}), added("")); }

TEST_F(ClassMapConfig, ANullNameIsEmpty) {
  for (std::uint32_t keyword : {8, 18, 103, 173, 183}) {
    EXPECT_EQ(config({{keyword, nullptr}}), added("")) << "keyword " << keyword;
  }
}

TEST_F(ClassMapConfig, NamesAreCutAt64Characters) {
  for (std::uint32_t keyword : {8, 18, 103, 173, 183}) {
    EXPECT_EQ(config({{keyword, ""}}), added("")) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, "w"}}), added("w")) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, std::string(63, 'x')}}), added(std::string(63, 'x'))) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64}}), added(k64)) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + "y"}}), added(k64)) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + "yyyyyy"}}), added(k64)) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, k64 + std::string(65536, 'y')}}), added(k64)) << "keyword " << keyword;
  }
}

TEST_F(ClassMapConfig, AShortNameReplacesALongOneWhole) {
  EXPECT_EQ(config({{8, k64 + "yyyyyy"}, {8, "ab"}}), added("ab"));
}

TEST_F(ClassMapConfig, NamesTravelByteForByte) {
  EXPECT_EQ(config({{8, "\x01\t z\x7f\x80\xff"}}), added("\\x01\\x09 z\\x7f\\x80\\xff"));
  EXPECT_EQ(config({{8, "gr\xc3\xbc\xc3\x9f"}}), added("gr\\xc3\\xbc\\xc3\\x9f"));
  EXPECT_EQ(config({{8, "%s%n"}}), added("%s%n"));
  EXPECT_EQ(config({{8, " #"}}), added(" #"));
}

TEST_F(ClassMapConfig, IdentityOfTheSession) {
  struct Row {
    std::int16_t context_id;
    std::uint32_t session_id;
    const char* arguments;
  };
  const std::array rows = {
      Row{0, 0, "u16 0, session 0x00000000"},
      Row{1, 1, "u16 1, session 0x00000001"},
      Row{32767, 0x7fffffff, "u16 32767, session 0x7fffffff"},
      Row{-1, 0xffffffff, "u16 65535, session 0xffffffff"},
      Row{-32768, 0x80000000, "u16 32768, session 0x80000000"},
      Row{-2, 0xfedcba98, "u16 65534, session 0xfedcba98"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(
        config({{8, "web"}}, {.context_id = row.context_id, .session_id = row.session_id}),
        (Events{"bind 2", "domain 5 'web' 0",
                "call cm_add_or_lookup_classmap("s + row.arguments + ", u8 0, u8 1, 'web', u8 1, buffer[4] 00000000)",
                "return 0"}));
  }
}

TEST_F(ClassMapConfig, TheCommandFormIsNotLookedAt) {
  for (std::uint32_t form : {1U, 362U, 364U, 0xffffffffU}) {
    EXPECT_EQ(config({{8, "web"}}, {.command_id = form}), kWebAdded) << form;
  }
}

// Any nonzero "negated" is the "no" form; the check of the rule domain sees it as it is.
TEST_F(ClassMapConfig, NegatedGoesUnchangedToTheRuleDomain) {
  struct Row {
    std::uint32_t negated;
    const char* check;
  };
  const std::array rows = {Row{1, "domain 5 'web' 1"},
                           Row{2, "domain 5 'web' 2"},
                           Row{256, "domain 5 'web' 256"},
                           Row{0x00010000, "domain 5 'web' 65536"},
                           Row{0x80000000, "domain 5 'web' 2147483648"},
                           Row{0xffffffff, "domain 5 'web' 4294967295"}};
  for (const Row& row : rows) {
    EXPECT_EQ(config({{8, "web"}}, {.negated = row.negated}),
              (Events{"bind 2", row.check,
                      "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, 'web', u8 0, "
                      "buffer[4] 00000000)",
                      "return 0"}));
  }
}

TEST_F(ClassMapConfig, AFailedBindIsSilent) {
  for (std::int32_t status : {1, 2, 255, 256, 0x10000, -1, -996, -997, -998, -999, 0x40f30000, 0x40f3000a, 0x40f3000f,
                              0x40f3009b, std::numeric_limits<std::int32_t>::min()}) {
    host.bind_status = status;
    EXPECT_EQ(config({{8, "web"}}), (Events{"bind 2", "return 255"})) << status;
    EXPECT_EQ(config({{8, "web"}}, kNo), (Events{"bind 2", "return 255"})) << status;
    EXPECT_EQ(config({{8, "class-default"}}), (Events{"bind 2", "return 255"})) << status;
    EXPECT_EQ(config({{8, "web"}}, {.skip_execution = 1}), (Events{"bind 2", "return 255"})) << status;
  }
}

TEST_F(ClassMapConfig, SkippedExecutionOnlyBinds) {
  for (std::uint32_t skip : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(config({{8, "web"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{8, "web"}}, {.negated = 1, .skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{8, "class-default"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
    EXPECT_EQ(config({{8, "#web"}}, {.skip_execution = skip}), (Events{"bind 2", "return 0"})) << skip;
  }
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{8, "web"}}, {.skip_execution = 1}), (Events{"bind 2", "return 0"}));
}

TEST_F(ClassMapConfig, TheWellKnownClassIsRefused) {
  const Events refused = {"bind 2", out("Error: class-default is a well-known class and is not configurable\n"),
                          "return 255"};
  for (std::uint32_t keyword : {8, 18, 103, 173, 183}) {
    EXPECT_EQ(config({{keyword, "class-default"}}), refused) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, "class-default"}}, kNo), refused) << "keyword " << keyword;
  }
  EXPECT_EQ(config({{182}, {195}, {183, "class-default"}}), refused);
  EXPECT_EQ(config({{8, "web"}, {8, "class-default"}}), refused);
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{8, "class-default"}}), refused);
}

TEST_F(ClassMapConfig, NamesNextToTheWellKnownOneAreOrdinary) {
  for (const char* name :
       {"class-default1", "class-default ", "class-default-and-more", "class-defaul", "class-defaulu", "Class-default",
        "class-Default", " class-default", "class_default", "class-", "c"}) {
    EXPECT_EQ(config({{8, name}}), added(name));
  }
  EXPECT_EQ(config({{8, "class-default\xff"}}), added("class-default\\xff"));
  EXPECT_EQ(config({{8, "class-default"}, {8, "web"}}), kWebAdded);
}

TEST_F(ClassMapConfig, ARefusedRuleDomainIsSilent) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{8, "web"}}), (Events{"bind 2", "domain 5 'web' 0", "return 255"}));
  EXPECT_EQ(config({{8, "web"}}, kNo), (Events{"bind 2", "domain 5 'web' 1", "return 255"}));
  EXPECT_EQ(config({}), (Events{"bind 2", "domain 5 '' 0", "return 255"}));
  EXPECT_EQ(config({{8, k64 + "yyyyyy"}}), (Events{"bind 2", "domain 5 '" + k64 + "' 0", "return 255"}));
}

TEST_F(ClassMapConfig, AnyNonzeroRuleDomainAnswerAccepts) {
  for (std::int32_t answer : {1, 2, 256, 0x10000, -1, std::numeric_limits<std::int32_t>::min()}) {
    host.rule_domain_answer = answer;
    EXPECT_EQ(config({{8, "web"}}), kWebAdded) << answer;
  }
}

TEST_F(ClassMapConfig, ANameMayNotBeginWithANumberSign) {
  const std::string message = out("Error: Object Name cannot start with character #\n");
  EXPECT_EQ(config({{8, "#x"}}), (Events{"bind 2", "domain 5 '#x' 0", message, "return 255"}));
  EXPECT_EQ(config({{8, "#"}}), (Events{"bind 2", "domain 5 '#' 0", message, "return 255"}));
  EXPECT_EQ(config({{8, "##"}}), (Events{"bind 2", "domain 5 '##' 0", message, "return 255"}));
  EXPECT_EQ(config({{8, "#x"}}, kNo), (Events{"bind 2", "domain 5 '#x' 1", message, "return 255"}));
  EXPECT_EQ(config({{8, "#class-default"}}), (Events{"bind 2", "domain 5 '#class-default' 0", message, "return 255"}));
  const std::string cut = "#" + std::string(63, 'x');
  EXPECT_EQ(config({{8, cut + "yyyyyy"}}), (Events{"bind 2", "domain 5 '" + cut + "' 0", message, "return 255"}));
}

TEST_F(ClassMapConfig, TheRuleDomainComesBeforeTheNumberSign) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{8, "#x"}}), (Events{"bind 2", "domain 5 '#x' 0", "return 255"}));
  EXPECT_EQ(config({{8, "#x"}}, kNo), (Events{"bind 2", "domain 5 '#x' 1", "return 255"}));
}

TEST_F(ClassMapConfig, OnlyTheFirstCharacterMayNotBeANumberSign) {
  EXPECT_EQ(config({{8, "x#"}}), added("x#"));
  EXPECT_EQ(config({{8, "#x"}, {8, "web"}}), kWebAdded);
}

TEST_F(ClassMapConfig, BackendSuccesses) {
  host.answer({.status = 0, .buffers = {"\xff\xff\xff\xff"}});
  EXPECT_EQ(config({{8, "web"}}), kWebAdded);
  host.answer({.status = 0x40f30000, .buffers = {"\0\0\0\1"s}});
  EXPECT_EQ(config({{8, "web"}}), kWebAdded);
}

TEST_F(ClassMapConfig, BackendFailures) {
  struct Row {
    std::int32_t status;
    const char* message;
  };
  const std::array rows = {
      Row{0x40f3000f, "Error: class-map 'web', already exists with a different type\n"},
      Row{0x40f3000a, "Error: class-map 'web' not configured\n"},
      Row{0x40f3009b, "Error: class-map 'web' is in use. Deletion not allowed\n"},
      Row{-999, "Error: Called API is invalid or non-existant\n"},
      Row{-998, "Error: Called API timed out\n"},
      Row{-997, "Error: Transport error\n"},
      Row{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Row{-1, "Error: Called API encountered error\n"},
      // of other objects, or next to a known one
      Row{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
      Row{0x40f3000b, "Error: text of 0x40f3000b, 100%d %s\n"},
      Row{0x40f3000e, "Error: text of 0x40f3000e, 100%d %s\n"},
      Row{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
      Row{0x40f3009a, "Error: text of 0x40f3009a, 100%d %s\n"},
      Row{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
      Row{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
      Row{0x40f30106, "Error: text of 0x40f30106, 100%d %s\n"},
      Row{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      Row{1, "Error: text of 0x00000001, 100%d %s\n"},
      Row{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Row& row : rows) {
    host.answer({.status = row.status});
    EXPECT_EQ(config({{8, "web"}}),
              (Events{"bind 2", "domain 5 'web' 0", add_call("web"), out(row.message), "return 255"}));
    host.answer({.status = row.status});
    EXPECT_EQ(config({{8, "web"}}, kNo),
              (Events{"bind 2", "domain 5 'web' 1", kWebDeletion, out(row.message), "return 255"}));
  }
}

// Messages show the name as it was sent.
TEST_F(ClassMapConfig, NamesInMessages) {
  const auto refused = [](const std::string& name, const std::string& message) {
    return Events{"bind 2", "domain 5 '" + name + "' 0", add_call(name), out(message), "return 255"};
  };
  host.answer({.status = 0x40f3000a});
  EXPECT_EQ(config({{8, ""}}), refused("", "Error: class-map '' not configured\n"));
  host.answer({.status = 0x40f3000a});
  EXPECT_EQ(config({{8, "100%s%n"}}), refused("100%s%n", "Error: class-map '100%s%n' not configured\n"));
  host.answer({.status = 0x40f3009b});
  EXPECT_EQ(config({{8, k64 + "yyyyyy"}}),
            refused(k64, "Error: class-map '" + k64 + "' is in use. Deletion not allowed\n"));
  host.answer({.status = 0x40f3000f});
  EXPECT_EQ(config({{8, "gr\xc3\xbcn"}}),
            refused("gr\\xc3\\xbcn", "Error: class-map 'gr\xc3\xbcn', already exists with a different type\n"));
}

TEST_F(ClassMapConfig, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(config({{182}, {196}, {183, "a-long-name"}}).size(), 4U);
  EXPECT_EQ(config({}), added(""));
}

}  // namespace
}  // namespace kvel::cli::test::class_map_config_test
