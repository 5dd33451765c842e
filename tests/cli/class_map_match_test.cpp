// What the match rules of class-maps have in common: names, line numbers, both forms, the session, the bind and the
// statuses of the backend.
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_match_test {
namespace {

// In these tests each handler is called with a name and a line number at most. `call` is the call of such a command,
// with <context>, <session>, <name>, <line> and <add> in place of what the tests vary.
struct Handler {
  const char* name;
  const char* call;
  std::vector<std::uint32_t> name_keywords;
  std::vector<std::uint32_t> line_keywords;
  bool binds = true;
  bool only_in_the_no_form = false;
  bool knows_class_map_status = false;  // 0x40f3000a has a message of its own
};

const std::array kHandlers = {
    // layer-3/4: name 8, line 201
    Handler{"kvelclassmap_configvip",
            "cm_update_class_to_vip(u16 <context>, session <session>, u8 0, u8 1, '<name>', u32 0, u32 4294967295, "
            "u32 0, u32 0, u32 0, u32 65535, u8 <add>, u32 <line>)",
            {8},
            {201}},
    Handler{"kvelclassmap_configsrcdstaddr",
            "cm_update_class_to_ip(u16 <context>, session <session>, u8 0, u8 1, u32 0, '<name>', u32 0, u32 0, u32 0, "
            "u32 0, u8 <add>, u32 <line>)",
            {8},
            {201}},
    Handler{"kvelclassmap_configport",
            "cm_update_class_to_port(u16 <context>, session <session>, u8 0, u8 1, '<name>', u32 0, u32 0, u32 0, "
            "u32 0, u8 <add>, u32 <line>)",
            {8},
            {201}},
    Handler{.name = "kvelclassmap_configanything",
            .call = "cm_update_class_to_any(u16 <context>, session <session>, u8 0, u8 1, '<name>', u8 <add>, "
                    "u32 <line>)",
            .name_keywords = {8},
            .line_keywords = {201},
            .knows_class_map_status = true},
    Handler{.name = "kvelclassmap_configacl",
            .call = "cm_update_class_to_acl(u16 <context>, session <session>, u8 0, u8 1, '<name>', '', u8 <add>, "
                    "u32 <line>)",
            .name_keywords = {8},
            .line_keywords = {201},
            .knows_class_map_status = true},
    // management
    Handler{.name = "kvelclassmap_config_mgmtproto",
            .call = "cm_update_class_to_mgmtproto(u16 <context>, session <session>, u8 1, u8 1, '<name>', u32 0, "
                    "u32 0, u32 0, u32 65535, u32 0, u32 0, u8 <add>, u32 <line>)",
            .name_keywords = {183},
            .line_keywords = {194},
            .knows_class_map_status = true},
    // line numbers
    Handler{.name = "kvelclassmap_config_lineno",
            .call = "cm_update_class_lineno(u16 <context>, session <session>, u8 0, u8 1, '<name>', u32 <line>)",
            .name_keywords = {8},
            .line_keywords = {201},
            .only_in_the_no_form = true,
            .knows_class_map_status = true},
    Handler{.name = "kvelclassmap_config_mgmt_lineno",
            .call = "cm_update_class_lineno(u16 <context>, session <session>, u8 1, u8 1, '<name>', u32 <line>)",
            .name_keywords = {183},
            .line_keywords = {194},
            .only_in_the_no_form = true,
            .knows_class_map_status = true},
    Handler{.name = "kvelclassmap_delete_match_linenum",
            .call = "cm_del_match_with_linenum(u16 <context>, '<name>', u32 <line>, u8 <add>)",
            .name_keywords = {18, 103, 173},
            .line_keywords = {19, 106, 176},
            .binds = false},
    // FTP and HTTP inspection
    Handler{"kvelclassmap_config_ftpinspect",
            "cm_update_ftp_request_method_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
            {173},
            {176}},
    Handler{"kvelclassmap_config_httpinsp_hdrlen",
            "cm_update_http_header_length_match(u16 <context>, '<name>', u32 <line>, u8 0, buffer[12] 00*12, u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_hdr",
            "cm_update_http_header_match(u16 <context>, '<name>', u32 <line>, '', '', u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_url",
            "cm_update_http_url_match(u16 <context>, '<name>', u32 <line>, u8 0, '', buffer[8] 00*8, u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_mime",
            "cm_update_mime_type_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_content",
            "cm_update_http_content_match(u16 <context>, '<name>', u32 <line>, '', u8 0, u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_cntlen",
            "cm_update_http_content_length_match(u16 <context>, '<name>', u32 <line>, buffer[8] 00*8, u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_method",
            "cm_update_request_method_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_p80misuse",
            "cm_update_p80_misuse_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
            {103},
            {106}},
    Handler{"kvelclassmap_config_httpinsp_encoding",
            "cm_update_transfer_encoding_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
            {103},
            {106}},
    // HTTP load-balancing, as matches of a class-map
    Handler{"kvelclassmap_config_httplburl",
            "cm_update_lbclass_to_url(u16 <context>, '<name>', '', u32 <line>, u32 0, '', '', u8 <add>)",
            {18},
            {19, 504}},
    Handler{"kvelclassmap_config_httplbcookie",
            "cm_update_lbclass_to_cookie(u16 <context>, '<name>', '', u32 <line>, u32 0, u32 0, '', '', u8 <add>)",
            {18},
            {19, 504}},
    Handler{"kvelclassmap_config_httplbhdr",
            "cm_update_lbclass_to_header(u16 <context>, '<name>', '', u32 <line>, u32 0, '', '', u8 <add>)",
            {18},
            {19, 504}},
    Handler{"kvelclassmap_config_httplbsrcaddr",
            "cm_update_lbclass_to_srcaddr(u16 <context>, '<name>', u32 <line>, u32 0, u32 4294967295, u32 0, u32 0, "
            "u8 <add>)",
            {18},
            {19, 504}},
    Handler{"kvelclassmap_config_httplbcmap",
            "cm_update_l7class_to_cmap(u16 <context>, session <session>, '<name>', u32 <line>, '', u8 <add>)",
            {18},
            {19}},
};

struct Values {
  std::string context = "7";
  std::string session = "0x01020304";
  std::string name = {};
  std::string line = "0";
  std::string add = "1";
};

std::string call(const Handler& handler, const Values& values) {
  std::string text = std::string("call ") + handler.call;
  const auto put = [&text](std::string_view place, const std::string& value) {
    const std::size_t at = text.find(place);
    if (at != std::string::npos) text.replace(at, place.size(), value);
  };
  put("<context>", values.context);
  put("<session>", values.session);
  put("<line>", values.line);
  put("<add>", values.add);
  put("<name>", values.name);
  return text;
}

Events bound(const Handler& handler) { return handler.binds ? Events{"bind 2"} : Events{}; }

Events sent(const Handler& handler, const Values& values) {
  return bound(handler) + Events{call(handler, values), "return 0"};
}

class ClassMapMatch : public PluginTest {
 protected:
  // A command in a form in which the handler acts, whether or not it has another.
  Events act(const Handler& handler, const Tokens& tokens, Form form = {}) {
    if (handler.only_in_the_no_form) form.negated = 1;
    return run(handler.name, tokens, form);
  }
};

TEST_F(ClassMapMatch, WithoutTokens) {
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.name;
  }
}

TEST_F(ClassMapMatch, BothForms) {
  for (const Handler& handler : kHandlers) {
    if (!handler.only_in_the_no_form) {
      EXPECT_EQ(run(handler.name, {}), sent(handler, {.add = "1"})) << handler.name;
    }
    for (std::uint32_t negated : {1U, 2U, 255U, 256U, 0x00010000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(run(handler.name, {}, {.negated = negated}), sent(handler, {.add = "0"})) << handler.name << negated;
    }
  }
}

TEST_F(ClassMapMatch, EveryNameAndLineKeyword) {
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t name : handler.name_keywords) {
      for (std::uint32_t line : handler.line_keywords) {
        const Tokens tokens = {{name, "web"}, {line, 30}};
        EXPECT_EQ(act(handler, tokens),
                  sent(handler, {.name = "web", .line = "30", .add = handler.only_in_the_no_form ? "0" : "1"}))
            << handler.name << " " << name << " " << line;
        const Tokens reversed = {{line, 30}, {name, "web"}};
        EXPECT_EQ(run(handler.name, reversed, kNo), sent(handler, {.name = "web", .line = "30", .add = "0"}))
            << handler.name << " " << name << " " << line;
      }
    }
  }
}

TEST_F(ClassMapMatch, NamesAreCutAt64Characters) {
  const std::string longest(64, 'x');
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t keyword : handler.name_keywords) {
      const auto named = [&](const std::string& name) { return sent(handler, {.name = name}); };
      const auto message = [&] { return std::string(handler.name) + " " + std::to_string(keyword); };
      EXPECT_EQ(act(handler, {{keyword, ""}}), named("")) << message();
      EXPECT_EQ(act(handler, {{keyword, "w"}}), named("w")) << message();
      EXPECT_EQ(act(handler, {{keyword, std::string(63, 'x')}}), named(std::string(63, 'x'))) << message();
      EXPECT_EQ(act(handler, {{keyword, longest}}), named(longest)) << message();
      EXPECT_EQ(act(handler, {{keyword, longest + "y"}}), named(longest)) << message();
      EXPECT_EQ(act(handler, {{keyword, longest + "yyyyyy"}}), named(longest)) << message();
      EXPECT_EQ(act(handler, {{keyword, longest + std::string(65536, 'y')}}), named(longest)) << message();
    }
  }
}

TEST_F(ClassMapMatch, ALaterNameReplacesTheWholeEarlierOne) {
  for (const Handler& handler : kHandlers) {
    const std::uint32_t keyword = handler.name_keywords.front();
    EXPECT_EQ(act(handler, {{keyword, std::string(70, 'x')}, {keyword, "ab"}}), sent(handler, {.name = "ab"}))
        << handler.name;
    EXPECT_EQ(act(handler, {{keyword, "ab"}, {keyword, nullptr}}), sent(handler, {})) << handler.name;
  }
}

TEST_F(ClassMapMatch, NamesTravelByteForByte) {
  for (const Handler& handler : kHandlers) {
    const std::uint32_t keyword = handler.name_keywords.front();
    EXPECT_EQ(act(handler, {{keyword, "\x01\t %s%n\x7f\x80\xff"}}),
              sent(handler, {.name = "\\x01\\x09 %s%n\\x7f\\x80\\xff"}))
        << handler.name;
    EXPECT_EQ(act(handler, {{keyword, "#web"}}), sent(handler, {.name = "#web"})) << handler.name;
    EXPECT_EQ(act(handler, {{keyword, "class-default"}}), sent(handler, {.name = "class-default"})) << handler.name;
  }
}

TEST_F(ClassMapMatch, LineNumbersAreNotChecked) {
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t keyword : handler.line_keywords) {
      for (std::uint32_t line : {0U, 1U, 255U, 256U, 65536U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        EXPECT_EQ(act(handler, {{keyword, line}}), sent(handler, {.line = std::to_string(line)}))
            << handler.name << " " << keyword;
      }
      EXPECT_EQ(act(handler, {{keyword, 10}, {keyword, 20}}), sent(handler, {.line = "20"})) << handler.name;
    }
  }
}

TEST_F(ClassMapMatch, ANullTextIsAnEmptyNameAndALineNumberOfZero) {
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t keyword : handler.name_keywords) {
      EXPECT_EQ(act(handler, {{keyword, nullptr}}), sent(handler, {})) << handler.name << " " << keyword;
    }
    for (std::uint32_t keyword : handler.line_keywords) {
      EXPECT_EQ(act(handler, {{keyword, nullptr}}), sent(handler, {})) << handler.name << " " << keyword;
      EXPECT_EQ(act(handler, {{keyword, 10}, {keyword, nullptr}}), sent(handler, {})) << handler.name << " " << keyword;
    }
  }
}

TEST_F(ClassMapMatch, IdentityOfTheSession) {
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
                sent(handler, {.context = row.context, .session = row.session}))
          << handler.name;
    }
  }
}

TEST_F(ClassMapMatch, TheCommandFormAndSkippedExecutionAreNotLookedAt) {
  for (const Handler& handler : kHandlers) {
    for (std::uint32_t word : {1U, 2U, 362U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(act(handler, {}, {.skip_execution = word}), sent(handler, {})) << handler.name;
      EXPECT_EQ(act(handler, {}, {.command_id = word}), sent(handler, {})) << handler.name;
    }
  }
}

// No rule asks the host; one that did would find a host that refuses everything.
TEST_F(ClassMapMatch, TheRuleDomainIsNotChecked) {
  host.rule_domain_answer = 0;
  host.rule_modify_answer = 1;
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(act(handler, {{handler.name_keywords.front(), "web"}}), sent(handler, {.name = "web"})) << handler.name;
    EXPECT_EQ(run(handler.name, {{handler.name_keywords.front(), "web"}}, kNo),
              sent(handler, {.name = "web", .add = "0"}))
        << handler.name;
  }
}

struct Failure {
  std::int32_t status;
  const char* message;
};

// The lines that every rule prints alike. 0x40f3000a, 0x40f300f2 and 0x40f30106 have lines of their own in some.
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
    Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    Failure{0x40f3000b, "Error: text of 0x40f3000b, 100%d %s\n"},
    Failure{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
    Failure{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
    Failure{0x40f300f1, "Error: text of 0x40f300f1, 100%d %s\n"},
    Failure{0x40f300f3, "Error: text of 0x40f300f3, 100%d %s\n"},
    Failure{0x40f30105, "Error: text of 0x40f30105, 100%d %s\n"},
    Failure{0x40f30107, "Error: text of 0x40f30107, 100%d %s\n"},
    Failure{0x40f3013c, "Error: text of 0x40f3013c, 100%d %s\n"},
    Failure{0x40f40000, "Error: text of 0x40f40000, 100%d %s\n"},
    Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

TEST_F(ClassMapMatch, AFailedBindIsReported) {
  for (const Handler& handler : kHandlers) {
    if (!handler.binds) continue;
    for (const Failure& failure : kFailures) {
      host.bind_status = failure.status;
      EXPECT_EQ(act(handler, {}), (Events{"bind 2", out(failure.message), "return 1"})) << handler.name;
      EXPECT_EQ(run(handler.name, {{handler.name_keywords.front(), "web"}}, kNo),
                (Events{"bind 2", out(failure.message), "return 1"}))
          << handler.name;
    }
  }
}

// Statuses that have a message of their own after a call have none after a bind.
TEST_F(ClassMapMatch, AFailedBindNamesNoObject) {
  const std::array failures = {
      Failure{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
      Failure{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
      Failure{0x40f30106, "Error: text of 0x40f30106, 100%d %s\n"},
  };
  for (const Handler& handler : kHandlers) {
    if (!handler.binds) continue;
    for (const Failure& failure : failures) {
      host.bind_status = failure.status;
      EXPECT_EQ(act(handler, {{handler.name_keywords.front(), "web"}}),
                (Events{"bind 2", out(failure.message), "return 1"}))
          << handler.name;
    }
  }
}

TEST_F(ClassMapMatch, ABindWithMoreDataFailsSilently) {
  host.bind_status = 0x40f30000;
  for (const Handler& handler : kHandlers) {
    if (!handler.binds) continue;
    EXPECT_EQ(act(handler, {}), (Events{"bind 2", "return 1"})) << handler.name;
    EXPECT_EQ(run(handler.name, {}, kNo), (Events{"bind 2", "return 1"})) << handler.name;
  }
}

// The bind comes before the tokens are read: these texts would crash whoever read them.
TEST_F(ClassMapMatch, AfterAFailedBindNoTokenIsRead) {
  host.bind_status = -997;
  for (const Handler& handler : kHandlers) {
    if (!handler.binds) continue;
    EXPECT_EQ(act(handler, {{handler.name_keywords.front()}, {handler.line_keywords.front()}}),
              (Events{"bind 2", out("Error: Transport error\n"), "return 1"}))
        << handler.name;
  }
}

TEST_F(ClassMapMatch, BackendSuccesses) {
  for (const Handler& handler : kHandlers) {
    for (std::int32_t status : {0, 0x40f30000}) {
      host.answer({.status = status});
      EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.name << " " << status;
      host.answer({.status = status});
      EXPECT_EQ(run(handler.name, {}, kNo), sent(handler, {.add = "0"})) << handler.name << " " << status;
    }
  }
}

TEST_F(ClassMapMatch, BackendFailures) {
  for (const Handler& handler : kHandlers) {
    for (const Failure& failure : kFailures) {
      host.answer({.status = failure.status});
      EXPECT_EQ(act(handler, {{handler.name_keywords.front(), "web"}}),
                (bound(handler) + Events{call(handler, {.name = "web"}), out(failure.message), "return 1"}))
          << handler.name;
      host.answer({.status = failure.status});
      EXPECT_EQ(run(handler.name, {}, kNo),
                (bound(handler) + Events{call(handler, {.add = "0"}), out(failure.message), "return 1"}))
          << handler.name;
    }
  }
}

TEST_F(ClassMapMatch, AClassMapThatIsNotConfigured) {
  const auto failed = [this](const Handler& handler, const std::string& name, const Values& values,
                             const std::string& message) {
    host.answer({.status = 0x40f3000a});
    EXPECT_EQ(act(handler, {{handler.name_keywords.front(), name}}),
              (bound(handler) + Events{call(handler, values), out(message), "return 1"}))
        << handler.name;
  };
  const std::string k64(64, 'x');
  for (const Handler& handler : kHandlers) {
    if (handler.knows_class_map_status) {
      failed(handler, "web", {.name = "web"}, "Error: class-map 'web' not configured\n");
      failed(handler, "", {}, "Error: class-map '' not configured\n");
      failed(handler, "100%s%n", {.name = "100%s%n"}, "Error: class-map '100%s%n' not configured\n");
      failed(handler, k64 + "yyyyyy", {.name = k64}, "Error: class-map '" + k64 + "' not configured\n");
    } else {
      failed(handler, "web", {.name = "web"}, "Error: text of 0x40f3000a, 100%d %s\n");
    }
  }
}

TEST_F(ClassMapMatch, NothingIsRememberedBetweenCommands) {
  for (const Handler& handler : kHandlers) {
    EXPECT_EQ(act(handler,
                  {{handler.name_keywords.front(), std::string(64, 'x')}, {handler.line_keywords.front(), 0xffffffff}})
                  .back(),
              "return 0")
        << handler.name;
    EXPECT_EQ(act(handler, {}), sent(handler, {})) << handler.name;
  }
}

TEST_F(ClassMapMatch, ReadsAll255Tokens) {
  for (const Handler& handler : kHandlers) {
    Tokens tokens(253, Token(4711));
    tokens.emplace_back(handler.name_keywords.front(), "last");
    tokens.emplace_back(handler.line_keywords.front(), 255);
    EXPECT_EQ(act(handler, tokens), sent(handler, {.name = "last", .line = "255"})) << handler.name;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_match_test
