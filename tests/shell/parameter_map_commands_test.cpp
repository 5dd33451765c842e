// Records of parameter-maps and SSL-proxy services as the commands that make them: literal JSON in, literal lines out.
#include "shell/configuration/parameter_map_commands.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/configuration/kept_fields.h"
#include "shell/configuration/object_mode.h"
#include "shell/configuration/ssl_proxy_commands.h"

namespace kvel::shell::parameter_map_commands_test {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kNoLine = "no command for this";

Lines rendered(const std::vector<ConfigCommand>& commands) {
  Lines lines;
  for (const ConfigCommand& command : commands)
    lines.push_back(std::string(command.mode) + ": " + render(shell_grammar(), command).value_or(kNoLine));
  return lines;
}

Lines parameter_map(const std::string& record) {
  return rendered(parameter_map_commands(shell_grammar(), ObjectRecord::parse(record)));
}

Lines ssl_proxy(const std::string& record) {
  return rendered(ssl_proxy_commands(shell_grammar(), ObjectRecord::parse(record)));
}

struct Setting {
  const char* record;  // without braces
  const char* line;
};

void check_settings(int type, const std::string& mode, const std::vector<Setting>& settings) {
  for (const auto& [record, line] : settings) {
    EXPECT_EQ(parameter_map(R"({"kind":"parameter-map","name":"p","type":)" + std::to_string(type) +
                            R"(,"settings":[{"setting":)" + record + "}]}")
                  .at(1),
              mode + ": " + line)
        << record;
  }
}

TEST(ParameterMapCommands, Creation) {
  EXPECT_EQ(parameter_map(R"({"kind":"parameter-map","name":"p p","type":0})"),
            Lines{"config: parameter-map type connection \"p p\""});
  EXPECT_EQ(parameter_map(R"({"kind":"parameter-map","name":"p","type":1})"),
            Lines{"config: parameter-map type http p"});
  EXPECT_EQ(parameter_map(R"({"kind":"parameter-map","name":"p","type":2})"),
            Lines{"config: parameter-map type ssl p"});
  EXPECT_EQ(parameter_map(R"({"kind":"parameter-map","name":"type","type":0})"),
            Lines{"config: parameter-map type connection type"});
}

TEST(ParameterMapCommands, ConnectionSettings) {
  check_settings(0, "parameter-map-connection",
                 {{R"("half-closed-timeout","seconds":0)", "half-closed-timeout 0"},
                  {R"("half-closed-timeout","seconds":4294967295)", "half-closed-timeout 4294967295"},
                  {R"("rx-buffer-share","bytes":4096)", "rx-buffer-share 4096"},
                  {R"("nagle","mode":"enabled")", "nagle"},
                  {R"("embryonic-timeout","seconds":10)", "embryonic-timeout 10"},
                  {R"("tx-buffer-share","bytes":4294967295)", "tx-buffer-share 4294967295"},
                  {R"("slow-start","mode":"enabled")", "slow-start"},
                  {R"("keepalive","mode":"enabled")", "keepalive"},
                  {R"("inactivity-timeout","seconds":1)", "inactivity-timeout 1"},
                  {R"("syn-retry-count","count":6)", "syn-retry-count 6"},
                  {R"("tos-rewrite","value":0)", "tos-rewrite 0"},
                  {R"("tos-rewrite","value":255)", "tos-rewrite 255"},
                  {R"("mss","min":536,"max":1400)", "mss minimum 536 maximum 1400"},
                  {R"("mss","min":0,"max":1400)", "mss minimum 0 maximum 1400"},
                  {R"("mss","min":536,"max":0)", "mss minimum 536 maximum 0"},
                  {R"("mss","min":0,"max":0)", "mss minimum 0 maximum 0"},
                  {R"("options-allow","low":0,"high":255)", "tcp-options allow range 0 255"},
                  {R"("options-drop","low":9,"high":9)", "tcp-options drop range 9 9"},
                  {R"("selective-ack","action":"clear")", "selective-ack clear"},
                  {R"("selective-ack","action":"allow")", "selective-ack allow"},
                  {R"("timestamp","action":"clear")", "timestamp clear"},
                  {R"("window-scale","action":"clear")", "window-scale clear"},
                  {R"("reserved-bits","action":"clear")", "reserved-bits clear"},
                  {R"("reserved-bits","action":"drop")", "reserved-bits drop"},
                  {R"("random-sequence","mode":"enabled")", "random-sequence-numbers"},
                  {R"("syn-data","action":"drop")", "syn-data drop"},
                  {R"("exceed-mss","action":"allow")", "exceed-mss allow"},
                  {R"("urgent-flag","action":"clear")", "urgent-flag clear"},
                  {R"("setting-116","value":1)", "advanced setting-116 1"},
                  {R"("setting-116","value":0)", "advanced setting-116 0"},
                  {R"("setting-120","value":0)", "advanced setting-120"},
                  {R"("setting-136","value":4294967295)", "advanced setting-136 4294967295"},
                  {R"("queue-limit","count":100)", "queue-limit 100"}});
}

TEST(ParameterMapCommands, HttpSettings) {
  check_settings(1, "parameter-map-http",
                 {{R"("connection-reuse","mode":"enabled")", "connection-reuse"},
                  {R"("case-insensitive","mode":"enabled")", "case-insensitive"},
                  {R"("persistence-rebalance","mode":"enabled")", "persistence-rebalance"},
                  {R"("length-exceed","action":"continue")", "length-exceed continue"},
                  {R"("length-exceed","action":"drop")", "length-exceed drop"},
                  {R"("header-max-parse","bytes":0)", "header-maximum-parse-length 0"},
                  {R"("content-max-parse","bytes":4294967295)", "content-maximum-parse-length 4294967295"},
                  {R"("cookie-delimiters","text":"/?&;")", "cookie-delimiters \"/?&;\""},
                  {R"("cookie-delimiters","text":"|")", "cookie-delimiters |"}});
}

TEST(ParameterMapCommands, SslSettings) {
  check_settings(2, "parameter-map-ssl",
                 {{R"("cipher","code":0,"priority":1)", "cipher rsa-with-rc4-128-md5"},
                  {R"("cipher","code":1,"priority":2)", "cipher rsa-with-rc4-128-sha priority 2"},
                  {R"("cipher","code":2,"priority":255)", "cipher rsa-with-des-cbc-sha priority 255"},
                  {R"("cipher","code":3,"priority":1)", "cipher rsa-with-3des-ede-cbc-sha"},
                  {R"("cipher","code":4,"priority":1)", "cipher rsa-with-aes-128-cbc-sha"},
                  {R"("cipher","code":5,"priority":1)", "cipher rsa-with-aes-256-cbc-sha"},
                  {R"("cipher","code":6,"priority":1)", "cipher rsa-export-with-rc4-40-md5"},
                  {R"("cipher","code":7,"priority":1)", "cipher rsa-export1024-with-rc4-56-md5"},
                  {R"("cipher","code":8,"priority":1)", "cipher rsa-export-with-des40-cbc-sha"},
                  {R"("cipher","code":9,"priority":1)", "cipher rsa-export1024-with-des-cbc-sha"},
                  {R"("cipher","code":10,"priority":1)", "cipher rsa-export1024-with-rc4-56-sha"},
                  {R"("version","version":"all")", "version all"},
                  {R"("version","version":"ssl3")", "version ssl3"},
                  {R"("version","version":"tls1")", "version tls1"},
                  {R"("setting-956","value":1)", "advanced setting-956 1"},
                  {R"("close-protocol","mode":"strict")", "close-protocol strict"},
                  {R"("close-protocol","mode":"none")", "close-protocol none"},
                  {R"("close-protocol","mode":"disabled")", "close-protocol disabled"},
                  {R"("setting-963","value":4294967295)", "advanced setting-963 4294967295"},
                  {R"("setting-964","value":0)", "advanced setting-964 0"}});
}

// Other clients of the manager can set what no command sets.
TEST(ParameterMapCommands, RecordsWithoutACommand) {
  check_settings(0, "parameter-map-connection",
                 {{R"("nagle","mode":"disabled")", kNoLine},
                  {R"("keepalive","mode":"disabled")", kNoLine},
                  {R"("setting-120","value":1)", kNoLine},
                  {R"("setting-116","value":2)", kNoLine},
                  {R"("tos-rewrite","value":256)", kNoLine},
                  {R"("mss","min":65536,"max":0)", kNoLine},
                  {R"("options-allow","low":0)", kNoLine},
                  {R"("options-clear","low":0,"high":1)", kNoLine},
                  {R"("selective-ack","action":"drop")", kNoLine},
                  {R"("half-closed-timeout","bytes":5)", kNoLine},
                  {R"("half-closed-timeout","seconds":4294967296)", kNoLine},
                  {R"("connection-reuse","mode":"enabled")", kNoLine}});
  check_settings(1, "parameter-map-http",
                 {{R"("connection-reuse","mode":"disabled")", kNoLine},
                  {R"("cookie-delimiters","text":"")", kNoLine},
                  {R"("cookie-delimiters","text":"/?&#!")", kNoLine},
                  {R"("nagle","mode":"enabled")", kNoLine}});
  check_settings(2, "parameter-map-ssl",
                 {{R"("cipher","code":11,"priority":1)", kNoLine},
                  {R"("cipher","code":0,"priority":0)", kNoLine},
                  {R"("cipher","code":0,"priority":256)", kNoLine},
                  {R"("version","version":"tls2")", kNoLine}});
}

TEST(ParameterMapCommands, SettingsKeepTheOrderOfTheRecord) {
  EXPECT_EQ(
      parameter_map(R"({"kind":"parameter-map","name":"p","type":0,"settings":[{"setting":"queue-limit","count":1},)"
                    R"({"setting":"unheard-of"},{"setting":"keepalive","mode":"enabled"}]})"),
      (Lines{"config: parameter-map type connection p", "parameter-map-connection: queue-limit 1",
             "parameter-map-connection: no command for this", "parameter-map-connection: keepalive"}));
}

TEST(SslProxyCommands, CreationAndMembers) {
  EXPECT_EQ(ssl_proxy(R"({"kind":"ssl-proxy","name":"s s"})"), Lines{"config: ssl-proxy service \"s s\""});
  EXPECT_EQ(ssl_proxy(R"({"kind":"ssl-proxy","name":"s","key":"k k","certificate":"c","chain_group":"g",)"
                      R"("parameter_map":"type"})"),
            (Lines{"config: ssl-proxy service s", "ssl-proxy: key \"k k\"", "ssl-proxy: certificate c",
                   "ssl-proxy: chain-group g", "ssl-proxy: parameter-map type"}));
  EXPECT_EQ(ssl_proxy(R"({"kind":"ssl-proxy","name":"s","chain_group":"g"})"),
            (Lines{"config: ssl-proxy service s", "ssl-proxy: chain-group g"}));
  EXPECT_EQ(ssl_proxy(R"({"kind":"ssl-proxy","name":"s","key":"","cert":"c"})"),
            (Lines{"config: ssl-proxy service s", "ssl-proxy: no command for this", "ssl-proxy: no command for this"}));
}

// Bit 0 is the minimum, bit 1 the maximum.
TEST(KeptFields, AreThoseThatALineDoesNotGive) {
  const Token mss{771, {}};
  const Token minimum{772, 900U};
  const Token maximum{773, 1000U};
  EXPECT_EQ(kept_fields(std::vector{mss, minimum}), 2U);
  EXPECT_EQ(kept_fields(std::vector{mss, maximum}), 1U);
  EXPECT_EQ(kept_fields(std::vector{mss, minimum, maximum}), 0U);
  EXPECT_EQ(kept_fields(std::vector{mss}), 0U);
  EXPECT_EQ(kept_fields(std::vector{minimum}), 0U);
  EXPECT_EQ(kept_fields({}), 0U);
}

TEST(ObjectMode, OfParameterMapsAndSslProxies) {
  const auto only_named = [](const char* mode, const std::vector<Token>& tokens) {
    return is_object_only_named(mode, tokens);
  };
  EXPECT_TRUE(only_named("parameter-map-connection", {{703, "p"}}));
  EXPECT_TRUE(only_named("parameter-map-http", {{800, {}}, {801, "p"}}));
  EXPECT_TRUE(only_named("parameter-map-ssl", {{920, {}}, {921, "p"}}));
  EXPECT_FALSE(only_named("parameter-map-ssl", {{920, {}}, {921, "p"}, {922, {}}}));
  EXPECT_TRUE(only_named("ssl-proxy", {{3, "s"}}));
  EXPECT_FALSE(only_named("ssl-proxy", {{3, "s"}, {4, "k"}}));
}

TEST(ObjectMode, TellsTheKindOfTheObject) {
  EXPECT_EQ(kind_of_mode("class-map-ftp-inspection"), 5U);
  EXPECT_EQ(kind_of_mode("policy-map-management"), 4U);
  EXPECT_EQ(kind_of_mode("ssl-proxy"), 6U);
  EXPECT_EQ(kind_of_mode("parameter-map-ssl"), 7U);
  EXPECT_EQ(kind_of_mode("policy-map-l3-class"), std::nullopt);
  EXPECT_EQ(kind_of_mode("config"), std::nullopt);
}

}  // namespace
}  // namespace kvel::shell::parameter_map_commands_test
