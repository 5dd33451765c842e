// What the load-balancing and inspection handlers of policy-maps have in common: names, both forms, the session, the
// bind, skipped execution and the statuses of the backend.
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_load_balancing_and_inspection_test {
namespace {

struct Failure {
  std::int32_t status;
  const char* message;
};

// A name that a handler sends as it was typed, and its place in the call.
struct Name {
  std::uint32_t keyword_id;
  const char* place;
};

// `call` is the call of a command with names at most, <context>, <session>, <add> and the names in place of what the
// tests vary.
struct Handler {
  const char* name;
  const char* call;
  std::vector<Name> names;
  const char* failed;                      // how it returns after a failure
  bool skips = false;                      // looks at skip_execution
  Tokens full = {};                        // a command with every name,
  std::string named = {};                  // its call,
  std::vector<Failure> own_messages = {};  // and the statuses that have a message of their own after it
};

const std::array kHandlers = {
    // load-balancing
    Handler{.name = "kvelpolicymap_configloadbalance",
            .call = "cm_update_l3_lb_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
                    "buffer[160] 00*160)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .failed = "return 1",
            .full = {{352, "p1"}, {356, "c1"}},
            .named = "cm_update_l3_lb_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[160] 00*160)",
            .own_messages = {{0x40f30009, "Error: policy-map '' not configured\n"},
                             {0x40f3000a, "Error: class-map 'c1' not configured\n"}}},
    Handler{.name = "kvelpolicymap_config_inline_lb",
            .call = "cm_update_l7_inline_lb_match(u16 <context>, session <session>, u8 <add>, '<policy>', '<match>', "
                    "'<before>', buffer[332] 00*332)",
            .names = {{503, "<policy>"}, {505, "<match>"}, {610, "<before>"}},
            .failed = "return 255",
            .skips = true,
            .full = {{503, "p1"}, {505, "m1"}, {610, "b1"}},
            .named = "cm_update_l7_inline_lb_match(u16 7, session 0x01020304, u8 1, 'p1', 'm1', 'b1', "
                     "buffer[332] 00*332)",
            .own_messages = {{0x40f3013c, "Error: insert-before class/match 'b1' not configured\n"},
                             {0x40f30141, "Error: could not find class/match 'b1' in policy 'p1'\n"},
                             {0x40f30009, "Error: policy-map 'p1' not configured\n"}}},
    Handler{.name = "kvelpolicymap_configslbactions",
            .call = "cm_lb_add_or_lookup_action(u16 <context>, u8 <add>, '<policy>', '<action>', buffer[732] 00*732)",
            .names = {{503, "<policy>"}, {576, "<action>"}},
            .failed = "return 1",
            .full = {{503, "p1"}, {505, "c1"}, {576, "a1"}},
            .named = "cm_lb_add_or_lookup_action(u16 7, u8 1, 'p1', 'a1', buffer[732] 00*732)"},
    // inspection in a class of a layer-3/4 policy-map
    Handler{.name = "kvelpolicymap_configinspect_dns",
            .call = "cm_update_l3_dns_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
                    "buffer[12] 00*12)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .failed = "return 1",
            .full = {{352, "p1"}, {356, "c1"}},
            .named = "cm_update_l3_dns_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[12] 00*12)",
            .own_messages = {{0x40f30009, "Error: policy-map 'p1' not configured\n"},
                             {0x40f3000a, "Error: class-map 'c1' not configured\n"}}},
    Handler{.name = "kvelpolicymap_configinspect_icmp",
            .call = "cm_update_l3_icmp_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
                    "buffer[4] 00000000)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .failed = "return 1",
            .full = {{352, "p1"}, {356, "c1"}},
            .named = "cm_update_l3_icmp_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[4] 00000000)",
            .own_messages = {{0x40f30009, "Error: policy-map 'p1' not configured\n"},
                             {0x40f3000a, "Error: class-map 'c1' not configured\n"}}},
    Handler{.name = "kvelpolicymap_configinspect_ftp",
            .call = "cm_update_l3_ftp_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
                    "buffer[72] 00*72)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .failed = "return 1",
            .full = {{352, "p1"}, {356, "c1"}},
            .named = "cm_update_l3_ftp_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[72] 00*72)",
            .own_messages = {{0x40f30009, "Error: policy-map 'p1' not configured\n"},
                             {0x40f3000a, "Error: class-map 'c1' not configured\n"}}},
    Handler{.name = "kvelpolicymap_configinspect_rtsp",
            .call = "cm_update_l3_rtsp_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>')",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .failed = "return 1",
            .full = {{352, "p1"}, {356, "c1"}},
            .named = "cm_update_l3_rtsp_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1')",
            .own_messages = {{0x40f30009, "Error: policy-map 'p1' not configured\n"},
                             {0x40f3000a, "Error: class-map 'c1' not configured\n"}}},
    // in an FTP inspection policy-map
    Handler{.name = "kvelpolicymap_configclass_insftpact",
            .call = "cm_update_l7_ftp_insp_action(u16 <context>, session <session>, '<policy>', '<action>', "
                    "buffer[4] 00000000, u8 <add>)",
            .names = {{652, "<policy>"}, {659, "<action>"}},
            .failed = "return 1",
            .full = {{652, "p1"}, {656, "c1"}, {659, "a1"}},
            .named = "cm_update_l7_ftp_insp_action(u16 7, session 0x01020304, 'p1', 'a1', buffer[4] 00000000, u8 1)"},
    Handler{.name = "kvelpolicymap_configmatch_insftpreq",
            .call = "cm_update_l7_inline_ftp_insp_match(u16 <context>, session <session>, '<policy>', '<match>', u8 0, "
                    "u8 <add>)",
            .names = {{652, "<policy>"}, {656, "<match>"}},
            .failed = "return 255",
            .skips = true,
            .full = {{652, "p1"}, {656, "m1"}},
            .named = "cm_update_l7_inline_ftp_insp_match(u16 7, session 0x01020304, 'p1', 'm1', u8 0, u8 1)"},
    // in an HTTP inspection policy-map
    Handler{.name = "kvelpolicymap_configinspect_l7http",
            .call = "cm_update_l7_inline_http_insp_match(u16 <context>, session <session>, u8 <add>, '<policy>', "
                    "'<match>', '<before>', buffer[328] 00*328)",
            .names = {{603, "<policy>"}, {605, "<match>"}, {595, "<before>"}},
            .failed = "return 255",
            .skips = true,
            .full = {{603, "p1"}, {605, "m1"}, {595, "b1"}},
            .named = "cm_update_l7_inline_http_insp_match(u16 7, session 0x01020304, u8 1, 'p1', 'm1', 'b1', "
                     "buffer[328] 00*328)",
            .own_messages = {{0x40f3013c, "Error: insert-before class/match 'b1' not configured\n"},
                             {0x40f30141, "Error: could not find class/match 'b1' in policy 'p1'\n"},
                             {0x40f30009, "Error: policy-map 'p1' not configured\n"}}},
};

struct Values {
  std::string context = "7";
  std::string session = "0x01020304";
  std::string add = "1";
  std::vector<std::pair<std::string, std::string>> names = {};  // place and text; the others are empty
};

std::string call(const Handler& handler, const Values& values) {
  std::string text = std::string("call ") + handler.call;
  const auto put = [&text](std::string_view place, const std::string& value) {
    const std::size_t at = text.find(place);
    if (at != std::string::npos) text.replace(at, place.size(), value);
  };
  put("<context>", values.context);
  put("<session>", values.session);
  put("<add>", values.add);
  for (const auto& [place, name] : values.names)
    put(place, name);
  for (const Name& name : handler.names)
    put(name.place, "");
  return text;
}

Events sent(const Handler& handler, const Values& values) { return {"bind 2", call(handler, values), "return 0"}; }

using PolicyMapLoadBalancingAndInspection = PluginTest;

TEST_F(PolicyMapLoadBalancingAndInspection, WithoutTokens) {
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(run(handler.name, {}), sent(handler, {})) << handler.name;
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, WithEveryName) {
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(run(handler.name, handler.full), (Events{"bind 2", "call " + handler.named, "return 0"})) << handler.name;
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, BothForms) {
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(run(handler.name, {}), sent(handler, {.add = "1"})) << handler.name;
    for (std::uint32_t negated : {1U, 2U, 255U, 256U, 0x00010000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(run(handler.name, {}, {.negated = negated}), sent(handler, {.add = "0"})) << handler.name << negated;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, NamesAreCutAt64Characters) {
  const std::string longest(64, 'x');
  for (const Handler& handler : kHandlers) {
    for (const auto& [keyword, place] : handler.names) {
      const auto named = [&, place = place](const std::string& name) {
        return sent(handler, {.names = {{place, name}}});
      };
      const std::string message = std::string(handler.name) + " " + std::to_string(keyword);
      EXPECT_EQ(run(handler.name, {{keyword, ""}}), named("")) << message;
      EXPECT_EQ(run(handler.name, {{keyword, "w"}}), named("w")) << message;
      EXPECT_EQ(run(handler.name, {{keyword, std::string(63, 'x')}}), named(std::string(63, 'x'))) << message;
      EXPECT_EQ(run(handler.name, {{keyword, longest}}), named(longest)) << message;
      EXPECT_EQ(run(handler.name, {{keyword, longest + "y"}}), named(longest)) << message;
      EXPECT_EQ(run(handler.name, {{keyword, longest + "yyyyyy"}}), named(longest)) << message;
      EXPECT_EQ(run(handler.name, {{keyword, longest + std::string(65536, 'y')}}), named(longest)) << message;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, ALaterNameReplacesTheWholeEarlierOne) {
  for (const Handler& handler : kHandlers) {
    for (const auto& [keyword, place] : handler.names) {
      EXPECT_EQ(run(handler.name, {{keyword, std::string(70, 'x')}, {keyword, "ab"}}),
                sent(handler, {.names = {{place, "ab"}}}))
          << handler.name << " " << keyword;
      EXPECT_EQ(run(handler.name, {{keyword, "ab"}, {keyword, ""}}), sent(handler, {})) << handler.name << keyword;
      EXPECT_EQ(run(handler.name, {{keyword, "ab"}, {keyword, nullptr}}), sent(handler, {})) << handler.name << keyword;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, ANullTextIsAnEmptyName) {
  for (const Handler& handler : kHandlers) {
    for (const Name& name : handler.names) {
      EXPECT_EQ(run(handler.name, {{name.keyword_id, nullptr}}), sent(handler, {}))
          << handler.name << " " << name.keyword_id;
    }
  }
}

// No name is looked at; "#" and the reserved names are sent like any other.
TEST_F(PolicyMapLoadBalancingAndInspection, NamesTravelByteForByte) {
  for (const Handler& handler : kHandlers) {
    for (const auto& [keyword, place] : handler.names) {
      EXPECT_EQ(run(handler.name, {{keyword, "\x01\t %s%n\x7f\x80\xff"}}),
                sent(handler, {.names = {{place, "\\x01\\x09 %s%n\\x7f\\x80\\xff"}}}))
          << handler.name << " " << keyword;
      for (const char* name : {"#web", "#class_default_l3", "class-default"}) {
        EXPECT_EQ(run(handler.name, {{keyword, name}}), sent(handler, {.names = {{place, name}}}))
            << handler.name << " " << keyword;
      }
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, TheOrderOfNamesDoesNotMatter) {
  for (const Handler& handler : kHandlers) {
    const Tokens reversed(handler.full.rbegin(), handler.full.rend());
    EXPECT_EQ(run(handler.name, reversed), (Events{"bind 2", "call " + handler.named, "return 0"})) << handler.name;
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, IdentityOfTheSession) {
  struct Row {
    std::int16_t context_id;
    std::uint32_t session_id;
    const char* context;
    const char* session;
  };
  const std::array rows = {
      Row{0, 0, "0", "0x00000000"},
      Row{32767, 0x7fffffff, "32767", "0x7fffffff"},
      Row{-1, 0xffffffff, "65535", "0xffffffff"},
      Row{-32768, 0x80000000, "32768", "0x80000000"},
      Row{-2, 0xfedcba98, "65534", "0xfedcba98"},
  };
  for (const Handler& handler : kHandlers) {
    for (const Row& row : rows) {
      EXPECT_EQ(run(handler.name, {}, {.context_id = row.context_id, .session_id = row.session_id}),
                sent(handler, {.context = row.context, .session = row.session}))
          << handler.name;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, TheCommandFormIsNotLookedAt) {
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t word : {1U, 362U, 364U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(run(handler.name, {}, {.command_id = word}), sent(handler, {})) << handler.name;
    }
  }
}

// Inline matches open a mode of their own and leave at once: nothing is bound, no token is read. The others act.
TEST_F(PolicyMapLoadBalancingAndInspection, SkippedExecution) {
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t word : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
      if (handler.skips) {
        EXPECT_EQ(run(handler.name, {}, {.skip_execution = word}), (Events{"return 0"})) << handler.name;
        EXPECT_EQ(run(handler.name, {{handler.names.front().keyword_id}}, {.skip_execution = word}),
                  (Events{"return 0"}))
            << handler.name;
        EXPECT_EQ(run(handler.name, handler.full, {.negated = 1, .skip_execution = word}), (Events{"return 0"}))
            << handler.name;
      } else {
        EXPECT_EQ(run(handler.name, handler.full, {.skip_execution = word}),
                  (Events{"bind 2", "call " + handler.named, "return 0"}))
            << handler.name;
      }
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, SkippedExecutionIsAskedBeforeTheBind) {
  host.bind_status = -997;
  for (const Handler& handler : kHandlers) {
    const Events events = run(handler.name, {}, {.skip_execution = 1});
    if (handler.skips) {
      EXPECT_EQ(events, (Events{"return 0"})) << handler.name;
    } else {
      EXPECT_EQ(events, (Events{"bind 2", out("Error: Transport error\n"), handler.failed})) << handler.name;
    }
  }
}

// None of them asks the host; one that did would find a host that refuses everything.
TEST_F(PolicyMapLoadBalancingAndInspection, TheRuleDomainIsNotChecked) {
  host.rule_domain_answer = 0;
  host.rule_modify_answer = 1;
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(run(handler.name, handler.full), (Events{"bind 2", "call " + handler.named, "return 0"})) << handler.name;
    EXPECT_EQ(run(handler.name, {}, kNo), sent(handler, {.add = "0"})) << handler.name;
  }
}

// The line of each status after a failed bind, and after a call where the handler has none of its own.
const std::array kFailures = {
    Failure{-999, "Error: Called API is invalid or non-existant\n"},
    Failure{-998, "Error: Called API timed out\n"},
    Failure{-997, "Error: Transport error\n"},
    Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
    Failure{-1, "Error: Called API encountered error\n"},
    Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
    Failure{255, "Error: text of 0x000000ff, 100%d %s\n"},
    Failure{256, "Error: text of 0x00000100, 100%d %s\n"},
    Failure{-2, "Error: text of 0xfffffffe, 100%d %s\n"},
    Failure{-995, "Error: text of 0xfffffc1d, 100%d %s\n"},
    Failure{-1000, "Error: text of 0xfffffc18, 100%d %s\n"},
    Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
    Failure{0x40f30008, "Error: text of 0x40f30008, 100%d %s\n"},
    Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    Failure{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
    Failure{0x40f3000b, "Error: text of 0x40f3000b, 100%d %s\n"},
    Failure{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
    Failure{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
    Failure{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
    Failure{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
    Failure{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
    Failure{0x40f30106, "Error: text of 0x40f30106, 100%d %s\n"},
    Failure{0x40f3013b, "Error: text of 0x40f3013b, 100%d %s\n"},
    Failure{0x40f3013c, "Error: text of 0x40f3013c, 100%d %s\n"},
    Failure{0x40f3013d, "Error: text of 0x40f3013d, 100%d %s\n"},
    Failure{0x40f30140, "Error: text of 0x40f30140, 100%d %s\n"},
    Failure{0x40f30141, "Error: text of 0x40f30141, 100%d %s\n"},
    Failure{0x40f30142, "Error: text of 0x40f30142, 100%d %s\n"},
    Failure{0x40f40000, "Error: text of 0x40f40000, 100%d %s\n"},
    Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

TEST_F(PolicyMapLoadBalancingAndInspection, AFailedBindIsReportedAndNamesNoObject) {
  for (const Handler& handler : kHandlers) {
    for (const auto& [status, message] : kFailures) {
      host.bind_status = status;
      EXPECT_EQ(run(handler.name, handler.full), (Events{"bind 2", out(message), handler.failed})) << handler.name;
      EXPECT_EQ(run(handler.name, {}, kNo), (Events{"bind 2", out(message), handler.failed})) << handler.name;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, ABindWithMoreDataFailsSilently) {
  host.bind_status = 0x40f30000;
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(run(handler.name, handler.full), (Events{"bind 2", handler.failed})) << handler.name;
    EXPECT_EQ(run(handler.name, {}, kNo), (Events{"bind 2", handler.failed})) << handler.name;
  }
}

// The bind comes before the tokens are read: these texts would crash whoever read them.
TEST_F(PolicyMapLoadBalancingAndInspection, AfterAFailedBindNoTokenIsRead) {
  host.bind_status = -997;
  for (const Handler& handler : kHandlers) {
    for (const Name& name : handler.names) {
      EXPECT_EQ(run(handler.name, {{name.keyword_id}}),
                (Events{"bind 2", out("Error: Transport error\n"), handler.failed}))
          << handler.name;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, BackendSuccesses) {
  for (const Handler& handler : kHandlers) {
    for (std::int32_t status : {0, 0x40f30000}) {
      host.answer({.status = status});
      EXPECT_EQ(run(handler.name, {}), sent(handler, {})) << handler.name << " " << status;
      host.answer({.status = status});
      EXPECT_EQ(run(handler.name, {}, kNo), sent(handler, {.add = "0"})) << handler.name << " " << status;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, BackendFailures) {
  for (const Handler& handler : kHandlers) {
    std::size_t own = 0;
    for (const auto& [status, common_message] : kFailures) {
      const char* message = common_message;
      for (const Failure& failure : handler.own_messages) {
        if (failure.status != status) continue;
        message = failure.message;
        ++own;
      }
      host.answer({.status = status});
      EXPECT_EQ(run(handler.name, handler.full),
                (Events{"bind 2", "call " + handler.named, out(message), handler.failed}))
          << handler.name;
    }
    EXPECT_EQ(own, handler.own_messages.size()) << handler.name;
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, TheNoFormReportsAlike) {
  for (const Handler& handler : kHandlers) {
    for (const auto& [status, message] : handler.own_messages) {
      host.answer({.status = status});
      const Events events = run(handler.name, handler.full, kNo);
      ASSERT_EQ(events.size(), 4U) << handler.name;
      EXPECT_EQ(events[2], out(message)) << handler.name;
      EXPECT_EQ(events[3], handler.failed) << handler.name;
    }
    host.answer({.status = -998});
    EXPECT_EQ(run(handler.name, {}, kNo),
              (Events{"bind 2", call(handler, {.add = "0"}), out("Error: Called API timed out\n"), handler.failed}))
        << handler.name;
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, NothingIsRememberedBetweenCommands) {
  for (const Handler& handler : kHandlers) {
    for (const Name& name : handler.names) {
      EXPECT_EQ(run(handler.name, {{name.keyword_id, std::string(64, 'x')}}).back(), "return 0") << handler.name;
      EXPECT_EQ(run(handler.name, {}), sent(handler, {})) << handler.name;
    }
  }
}

TEST_F(PolicyMapLoadBalancingAndInspection, ReadsAll255Tokens) {
  for (const Handler& handler : kHandlers) {
    Tokens tokens(255 - handler.full.size(), Token(4711));
    tokens.insert(tokens.end(), handler.full.begin(), handler.full.end());
    EXPECT_EQ(run(handler.name, tokens), (Events{"bind 2", "call " + handler.named, "return 0"})) << handler.name;
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_load_balancing_and_inspection_test
