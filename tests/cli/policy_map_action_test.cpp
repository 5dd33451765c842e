// What the actions and settings of policy-maps have in common: names, both forms, the session, the bind and the
// statuses of the backend.
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_map_action_test {
namespace {

enum class Bind { none, prints, silent };

struct Name {
  std::uint32_t keyword_id;
  std::string_view place;  // in the call
};

struct Handler {
  const char* label;
  const char* name;
  // Of a command with no more than `tokens`: <context>, <session> and <add> stand for what the tests vary, every other
  // place for a name, or for nothing.
  const char* call;
  std::vector<Name> names;
  Tokens tokens = {};
  std::uint32_t command_id = 0;
  Bind bind = Bind::prints;
  const char* after_failed_bind = "return 1";
  bool asks_to_modify = false;
  bool names_objects = false;  // 0x40f30009 and 0x40f3000a have messages of their own
};

const std::array kHandlers = {
    Handler{.label = "line interval",
            .name = "kvelpolicymap_configsequence",
            .call = "cm_set_policy_class_line_interval(u16 <context>, session <session>, '<policy>', u32 0)",
            .names = {{352, "<policy>"}},
            .after_failed_bind = "return 255"},
    Handler{.label = "description",
            .name = "kvelpolicymap_configdescr",
            .call = "cm_update_policydesc(u16 <context>, session <session>, '<policy>', '', u8 <add>)",
            .names = {{352, "<policy>"}, {503, "<policy>"}, {603, "<policy>"}, {652, "<policy>"}, {665, "<policy>"}},
            .bind = Bind::silent},
    Handler{.label = "static NAT",
            .name = "kvelpolicymap_confignat",
            .call = "cm_update_static_nat(u16 <context>, session <session>, '<policy>', '<class>', u32 167772161, "
                    "u32 4294967295, u32 0, u32 0, u32 <add>)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .tokens = {{360, 0x0a000001}, {365, 0xffffffff}},
            .command_id = 362,
            .bind = Bind::none,
            .asks_to_modify = true},
    Handler{.label = "dynamic NAT",
            .name = "kvelpolicymap_confignat",
            .call = "cm_update_dynamic_nat(u16 <context>, session <session>, '<policy>', '<class>', u32 0, u32 0, "
                    "u32 <add>)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .command_id = 364,
            .bind = Bind::none,
            .asks_to_modify = true},
    Handler{.label = "options",
            .name = "kvelpolicymap_configsacl",
            .call = "cm_update_l3_opt_config(u16 <context>, u8 <add>, '<policy>', '<class>', buffer[8] 00*8)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .names_objects = true},
    Handler{.label = "HTTP inspection",
            .name = "kvelpolicymap_configinspect_l3http",
            .call = "cm_update_l3_http_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
                    "buffer[156] 00*156)",
            .names = {{352, "<policy>"}, {356, "<class>"}},
            .names_objects = true},
    Handler{.label = "HTTP inspection action",
            .name = "kvelpolicymap_cfginsp_l7http_action",
            .call = "cm_update_l7_http_insp_action(u16 <context>, session <session>, u8 <add>, '<policy>', '<action>', "
                    "u8 0)",
            .names = {{603, "<policy>"}, {593, "<action>"}},
            .names_objects = true},
    Handler{.label = "SSL-proxy client",
            .name = "kvelpolicymap_config_sslproxy_client",
            .call = "cm_update_ssl_config(u16 <context>, session <session>, '<policy>', '<action>', '<service>', "
                    "u8 <add>)",
            .names = {{503, "<policy>"}, {576, "<action>"}, {473, "<service>"}}},
    Handler{.label = "SSL-proxy server",
            .name = "kvelpolicymap_config_sslproxy_server",
            .call = "cm_update_ssl_config(u16 <context>, session <session>, '<policy>', '<class>', '<service>', "
                    "u8 <add>)",
            .names = {{352, "<policy>"}, {356, "<class>"}, {471, "<service>"}}},
    Handler{.label = "connection parameters",
            .name = "kvelpolicymap_configconn",
            .call = "cm_update_l3_param_map_config(u16 <context>, session <session>, '<policy>', '<class>', "
                    "'<parameters>', u8 0, u8 <add>)",
            .names = {{352, "<policy>"}, {356, "<class>"}, {466, "<parameters>"}}},
    Handler{.label = "application parameters",
            .name = "kvelpolicymap_configappl_params",
            .call = "cm_update_l3_param_map_config(u16 <context>, session <session>, '<policy>', '<class>', "
                    "'<parameters>', u8 1, u8 <add>)",
            .names = {{352, "<policy>"}, {356, "<class>"}, {492, "<parameters>"}}},
    Handler{.label = "management",
            .name = "kvelpolicymap_configmgmt",
            .call = "cm_update_mgmt_action(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', u32 0, "
                    "u32 0)",
            .names = {{665, "<policy>"}, {668, "<class>"}}},
};

struct Values {
  std::string context = "7";
  std::string session = "0x01020304";
  std::string add = "1";
};

using Texts = std::vector<std::pair<std::string_view, std::string>>;  // places and what stands there

std::string call(const Handler& handler, const Values& values = {}, const Texts& texts = {}) {
  std::string text = std::string("call ") + handler.call;
  const auto put = [&text](std::string_view place, const std::string& value) {
    const std::size_t at = text.find(place);
    if (at != std::string::npos) text.replace(at, place.size(), value);
  };
  put("<context>", values.context);
  put("<session>", values.session);
  put("<add>", values.add);
  for (const auto& [place, value] : texts)
    put(place, value);
  for (const Name& name : handler.names)
    put(name.place, "");
  return text;
}

// What stands before the call; `negated` as the host's check sees it.
Events asked(const Handler& handler, const std::string& negated = "0") {
  Events events;
  if (handler.bind != Bind::none) events.emplace_back("bind 2");
  if (handler.asks_to_modify) events.push_back("modify " + negated);
  return events;
}

Events sent(const Handler& handler, const Texts& texts) {
  return asked(handler) + Events{call(handler, {}, texts), "return 0"};
}

class PolicyMapAction : public PluginTest {
 protected:
  // The command with the tokens that it cannot do without.
  Events act(const Handler& handler, Tokens tokens, Form form = {}) {
    tokens.insert(tokens.end(), handler.tokens.begin(), handler.tokens.end());
    form.command_id = handler.command_id;
    return run(handler.name, tokens, form);
  }
};

TEST_F(PolicyMapAction, WithoutTokens) {
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.label;
  }
}

TEST_F(PolicyMapAction, AnyNonzeroNegatedIsTheNoForm) {
  struct Row {
    std::uint32_t negated;
    const char* text;
  };
  for (const Row& row :
       std::array{Row{1, "1"}, Row{2, "2"}, Row{255, "255"}, Row{256, "256"}, Row{0x00010000, "65536"},
                  Row{0x01000000, "16777216"}, Row{0x80000000, "2147483648"}, Row{0xffffffff, "4294967295"}}) {
    for (const Handler& handler : kHandlers) {
      EXPECT_EQ(act(handler, {}, {.negated = row.negated}),
                (asked(handler, row.text) + Events{call(handler, {.add = "0"}), "return 0"}))
          << handler.label << " " << row.text;
    }
  }
}

TEST_F(PolicyMapAction, EveryName) {
  for (const Handler& handler : kHandlers) {
    Tokens tokens;
    Tokens reversed;
    Texts texts;
    std::set<std::string_view> places;
    for (const Name& name : handler.names) {
      const std::string text = "n-" + std::to_string(name.keyword_id);
      EXPECT_EQ(act(handler, {{name.keyword_id, text}}), sent(handler, {{name.place, text}}))
          << handler.label << " " << name.keyword_id;
      if (!places.insert(name.place).second) continue;
      tokens.emplace_back(name.keyword_id, text);
      reversed.emplace(reversed.begin(), name.keyword_id, text);
      texts.emplace_back(name.place, text);
    }
    EXPECT_EQ(act(handler, tokens), sent(handler, texts)) << handler.label;
    EXPECT_EQ(act(handler, reversed), sent(handler, texts)) << handler.label;
    EXPECT_EQ(act(handler, tokens, kNo), (asked(handler, "1") + Events{call(handler, {.add = "0"}, texts), "return 0"}))
        << handler.label;
  }
}

TEST_F(PolicyMapAction, NamesAreCutAt64Characters) {
  const std::string longest(64, 'x');
  for (const Handler& handler : kHandlers) {
    for (const Name& name : handler.names) {
      const auto typed = [&](const std::string& text) { return act(handler, {{name.keyword_id, text}}); };
      const auto named = [&](const std::string& text) { return sent(handler, {{name.place, text}}); };
      const std::string message = std::string(handler.label) + " " + std::to_string(name.keyword_id);
      EXPECT_EQ(typed(""), named("")) << message;
      EXPECT_EQ(typed("w"), named("w")) << message;
      EXPECT_EQ(typed(std::string(63, 'x')), named(std::string(63, 'x'))) << message;
      EXPECT_EQ(typed(longest), named(longest)) << message;
      EXPECT_EQ(typed(longest + "y"), named(longest)) << message;
      EXPECT_EQ(typed(longest + "yyyyyy"), named(longest)) << message;
      EXPECT_EQ(typed(longest + std::string(65536, 'y')), named(longest)) << message;
    }
  }
}

TEST_F(PolicyMapAction, EveryNameFullAtOnce) {
  for (const Handler& handler : kHandlers) {
    Tokens tokens;
    Texts texts;
    char letter = 'a';
    for (const Name& name : handler.names) {
      if (!texts.empty() && texts.back().first == name.place) continue;
      tokens.emplace_back(name.keyword_id, std::string(70, letter));
      texts.emplace_back(name.place, std::string(64, letter));
      ++letter;
    }
    EXPECT_EQ(act(handler, tokens), sent(handler, texts)) << handler.label;
  }
}

TEST_F(PolicyMapAction, ALaterNameReplacesTheWholeEarlierOne) {
  for (const Handler& handler : kHandlers) {
    for (const Name& earlier : handler.names) {
      for (const Name& later : handler.names) {
        if (earlier.place != later.place) continue;
        const std::uint32_t first = earlier.keyword_id;
        const std::uint32_t second = later.keyword_id;
        EXPECT_EQ(act(handler, {{first, std::string(70, 'x')}, {second, "ab"}}), sent(handler, {{later.place, "ab"}}))
            << handler.label << " " << first << " " << second;
        EXPECT_EQ(act(handler, {{first, "ab"}, {second, nullptr}}), sent(handler, {}))
            << handler.label << " " << first << " " << second;
      }
    }
  }
}

TEST_F(PolicyMapAction, ANullNameIsEmpty) {
  for (const Handler& handler : kHandlers) {
    for (const Name& name : handler.names) {
      EXPECT_EQ(act(handler, {{name.keyword_id, nullptr}}), sent(handler, {})) << handler.label;
    }
  }
}

TEST_F(PolicyMapAction, NamesTravelByteForByte) {
  for (const Handler& handler : kHandlers) {
    for (const Name& name : handler.names) {
      EXPECT_EQ(act(handler, {{name.keyword_id, "\x01\t %s%n\x7f\x80\xff"}}),
                sent(handler, {{name.place, "\\x01\\x09 %s%n\\x7f\\x80\\xff"}}))
          << handler.label;
      EXPECT_EQ(act(handler, {{name.keyword_id, "#web"}}), sent(handler, {{name.place, "#web"}})) << handler.label;
      EXPECT_EQ(act(handler, {{name.keyword_id, "class-default"}}), sent(handler, {{name.place, "class-default"}}))
          << handler.label;
    }
  }
}

TEST_F(PolicyMapAction, IdentityOfTheSession) {
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
      EXPECT_EQ(act(handler, {}, {.context_id = row.context_id, .session_id = row.session_id}),
                (asked(handler) + Events{call(handler, {.context = row.context, .session = row.session}), "return 0"}))
          << handler.label;
    }
  }
}

TEST_F(PolicyMapAction, SkippedExecutionAndTheRuleDomainAreNotLookedAt) {
  host.rule_domain_answer = 0;
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t skip : {1U, 256U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(act(handler, {}, {.skip_execution = skip}), sent(handler, {})) << handler.label << " " << skip;
      EXPECT_EQ(act(handler, {}, {.negated = 1, .skip_execution = skip}),
                (asked(handler, "1") + Events{call(handler, {.add = "0"}), "return 0"}))
          << handler.label << " " << skip;
    }
  }
}

// Of all these commands only NAT has two forms, and only NAT asks whether matched rules may be modified.
TEST_F(PolicyMapAction, TheCommandFormIsNotLookedAt) {
  host.rule_modify_answer = 1;
  for (const Handler& handler : kHandlers) {
    if (handler.asks_to_modify) continue;
    for (std::uint32_t form : {0U, 1U, 362U, 364U, 0xffffffffU}) {
      EXPECT_EQ(run(handler.name, handler.tokens, {.command_id = form}), sent(handler, {})) << handler.label << form;
    }
  }
}

struct Failure {
  std::int32_t status;
  const char* message;
};

const std::array kFailures = {
    Failure{-999, "Error: Called API is invalid or non-existant\n"},
    Failure{-998, "Error: Called API timed out\n"},
    Failure{-997, "Error: Transport error\n"},
    Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
    Failure{-1, "Error: Called API encountered error\n"},
    Failure{-2, "Error: text of 0xfffffffe, 100%d %s\n"},
    Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
    Failure{0x40f2ffff, "Error: text of 0x40f2ffff, 100%d %s\n"},
    Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
    Failure{0x40f30008, "Error: text of 0x40f30008, 100%d %s\n"},
    Failure{0x40f3000b, "Error: text of 0x40f3000b, 100%d %s\n"},
    Failure{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
    Failure{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
    Failure{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
    Failure{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
    Failure{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
    Failure{0x40f30106, "Error: text of 0x40f30106, 100%d %s\n"},
    Failure{0x40f3013c, "Error: text of 0x40f3013c, 100%d %s\n"},
    Failure{0x40f30141, "Error: text of 0x40f30141, 100%d %s\n"},
    Failure{std::numeric_limits<std::int32_t>::max(), "Error: text of 0x7fffffff, 100%d %s\n"},
    Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

// A policy-map or class that is not configured.
const std::array kObjectFailures = {
    Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    Failure{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
};

Events failed_bind(const Handler& handler, const Failure& failure) {
  Events events = {"bind 2"};
  if (handler.bind == Bind::prints) events.push_back(out(failure.message));
  return events + Events{handler.after_failed_bind};
}

// The bind comes before the tokens are read: these texts would crash whoever read them. Statuses that have a message of
// their own after a call have none after a bind.
TEST_F(PolicyMapAction, AFailedBind) {
  const auto check = [this](const Failure& failure) {
    for (const Handler& handler : kHandlers) {
      if (handler.bind == Bind::none) continue;
      Tokens tokens;
      for (const Name& name : handler.names)
        tokens.emplace_back(name.keyword_id);
      host.bind_status = failure.status;
      EXPECT_EQ(act(handler, tokens), failed_bind(handler, failure)) << handler.label;
      EXPECT_EQ(act(handler, tokens, kNo), failed_bind(handler, failure)) << handler.label;
      EXPECT_EQ(act(handler, tokens, {.skip_execution = 1}), failed_bind(handler, failure)) << handler.label;
    }
  };
  for (const Failure& failure : kFailures)
    check(failure);
  for (const Failure& failure : kObjectFailures)
    check(failure);
}

TEST_F(PolicyMapAction, ABindWithMoreDataFailsSilently) {
  host.bind_status = 0x40f30000;
  for (const Handler& handler : kHandlers) {
    if (handler.bind == Bind::none) continue;
    EXPECT_EQ(act(handler, {}), (Events{"bind 2", handler.after_failed_bind})) << handler.label;
    EXPECT_EQ(act(handler, {}, kNo), (Events{"bind 2", handler.after_failed_bind})) << handler.label;
  }
}

TEST_F(PolicyMapAction, ThoseWithoutABindDoNotMindItsFailure) {
  host.bind_status = -997;
  for (const Handler& handler : kHandlers) {
    if (handler.bind != Bind::none) continue;
    EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.label;
  }
}

TEST_F(PolicyMapAction, BackendSuccesses) {
  for (const Handler& handler : kHandlers) {
    for (std::int32_t status : {0, 0x40f30000}) {
      host.answer({.status = status});
      EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.label << " " << status;
      host.answer({.status = status});
      EXPECT_EQ(act(handler, {}, kNo), (asked(handler, "1") + Events{call(handler, {.add = "0"}), "return 0"}))
          << handler.label << " " << status;
    }
  }
}

TEST_F(PolicyMapAction, BackendFailures) {
  const auto check = [this](const Handler& handler, const Failure& failure) {
    Tokens tokens;
    for (const Name& name : handler.names)
      tokens.emplace_back(name.keyword_id, "web");
    Texts texts;
    for (const Name& name : handler.names)
      texts.emplace_back(name.place, "web");
    host.answer({.status = failure.status});
    EXPECT_EQ(act(handler, tokens),
              (asked(handler) + Events{call(handler, {}, texts), out(failure.message), "return 1"}))
        << handler.label;
    host.answer({.status = failure.status});
    EXPECT_EQ(act(handler, {}, kNo),
              (asked(handler, "1") + Events{call(handler, {.add = "0"}), out(failure.message), "return 1"}))
        << handler.label;
  };
  for (const Handler& handler : kHandlers) {
    for (const Failure& failure : kFailures)
      check(handler, failure);
    if (handler.names_objects) continue;
    for (const Failure& failure : kObjectFailures)
      check(handler, failure);
  }
}

TEST_F(PolicyMapAction, NothingIsRememberedBetweenCommands) {
  for (const Handler& handler : kHandlers) {
    Tokens tokens;
    for (const Name& name : handler.names)
      tokens.emplace_back(name.keyword_id, std::string(64, 'x'));
    EXPECT_EQ(act(handler, tokens, kNo).back(), "return 0") << handler.label;
    EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.label;
  }
}

TEST_F(PolicyMapAction, ReadsAll255Tokens) {
  for (const Handler& handler : kHandlers) {
    Tokens tokens(254 - handler.tokens.size(), Token(4711));
    tokens.insert(tokens.begin(), handler.tokens.begin(), handler.tokens.end());
    tokens.emplace_back(handler.names.front().keyword_id, "last");
    EXPECT_EQ(run(handler.name, tokens, {.command_id = handler.command_id}),
              sent(handler, {{handler.names.front().place, "last"}}))
        << handler.label;
  }
}

TEST_F(PolicyMapAction, HandlersAllocateNothing) {
  heap.fail_from(1);
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.label;
  }
  EXPECT_EQ(run("kvelpolicymap_config", {{352, "web"}}).back(), "return 0");
  EXPECT_EQ(run("kvelpolicymap_configclass", {{352, "web"}, {356, "c"}}).back(), "return 0");
  EXPECT_EQ(heap.allocations(), 0U);
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_action_test
