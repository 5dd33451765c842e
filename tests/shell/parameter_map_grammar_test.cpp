// Parameter-maps and SSL-proxy services, line by line: handlers, exact tokens (keyword ids as plain numbers), modes,
// and what is carried into them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "tests/shell/typed_lines.h"

namespace kvel::shell::parameter_map_grammar_test {
namespace {

using test::number_token;
using test::Stack;
using test::string_token;
using test::Tokens;
using test::word_token;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class ParameterMapGrammar : public test::TypedLines {
 protected:
  // The numbers at both ends are taken, and the one above is not.
  void number(const Stack& stack, const std::string& words, std::string_view handler, const Tokens& before,
              KeywordId keyword, std::uint32_t low, std::uint32_t high) {
    for (const std::uint32_t value : {low, high}) {
      Tokens tokens = before;
      tokens.push_back(number_token(keyword, value));
      accepts_both(stack, words + " " + std::to_string(value), handler, tokens);
    }
    const std::string above = std::to_string(std::uint64_t{high} + 1);
    EXPECT_THAT(refusal(stack, words + " " + above), StartsWith("\"" + above + "\" is out of range")) << words;
    EXPECT_EQ(refusal(stack, words),
              "incomplete command; expected: <" + std::to_string(low) + "-" + std::to_string(high) + ">");
    EXPECT_THAT(refusal(stack, words + " x"), ::testing::Not("accepted"));
  }

  std::string help_of(const Stack& stack, const std::string& prefix) const {
    const auto entries = help_at(grammar, stack, prefix);
    return entries ? entries->front().text + ": " + entries->front().help : "none";
  }

  std::vector<std::string> hooks(const Stack& stack, const char* prefix) const {
    const auto found = complete_at(grammar, stack, prefix).hooks;
    return {found.begin(), found.end()};
  }

  const Stack top = inside({});
};

TEST_F(ParameterMapGrammar, CreatesAndDeletesEveryType) {
  const char* const handler = "kvelparammap_config";
  accepts_both(top, "parameter-map p", handler, {string_token(703, "p")});
  accepts_both(top, "parameter-map type connection p", handler, {string_token(703, "p")});
  accepts_both(top, "parameter-map type http p", handler, {word_token(800), string_token(801, "p")});
  accepts_both(top, "parameter-map type ssl p", handler, {word_token(920), string_token(921, "p")});
  accepts_both(top, "parameter-map \"type\"", handler, {string_token(703, "type")});
  EXPECT_EQ(reached, (std::set<KeywordId>{703, 800, 801, 920, 921}));
  opens(top, "parameter-map p", "parameter-map-connection", {string_token(703, "p")});
  opens(top, "parameter-map type connection p", "parameter-map-connection", {string_token(703, "p")});
  opens(top, "parameter-map type http p", "parameter-map-http", {string_token(801, "p")});
  opens(top, "parameter-map type ssl p", "parameter-map-ssl", {string_token(921, "p")});
  for (const char* line : {"parameter-map p", "parameter-map type http p", "parameter-map type ssl p"})
    EXPECT_EQ(prompt_of(inside({line})), "config-parameter-map p");
}

TEST_F(ParameterMapGrammar, RefusesOtherTypesAndNames) {
  EXPECT_EQ(refusal(top, "parameter-map"), "incomplete command; expected: type, NAME");
  EXPECT_EQ(refusal(top, "parameter-map type"), "incomplete command; expected: connection, http, ssl");
  EXPECT_EQ(refusal(top, "parameter-map type tcp p"), "unknown word \"tcp\"; expected: connection, http, ssl");
  EXPECT_EQ(refusal(top, "parameter-map type ssl"), "incomplete command; expected: NAME");
  EXPECT_EQ(refusal(top, "parameter-map p q"), "unexpected word \"q\"; expected: <cr>");
  for (const std::string words : {"parameter-map ", "parameter-map type http ", "parameter-map type ssl "}) {
    EXPECT_EQ(refusal(top, words + std::string(65, 'x')), "NAME is too long: at most 64 characters");
    EXPECT_EQ(refusal(top, words + std::string(64, 'x')), "accepted");
  }
}

TEST_F(ParameterMapGrammar, NamesAreCompletedByTheHookOfTheirKind) {
  EXPECT_THAT(hooks(top, "parameter-map "), ElementsAre("kvelparammap_conn_completionhook"));
  EXPECT_THAT(hooks(top, "parameter-map type connection "), ElementsAre("kvelparammap_conn_completionhook"));
  EXPECT_THAT(hooks(top, "no parameter-map type http "), ElementsAre("kvelparammap_http_completionhook"));
  EXPECT_THAT(hooks(top, "parameter-map type ssl "), ElementsAre("kvelparammap_ssl_completionhook"));
  EXPECT_THAT(hooks(top, "show parameter-map "), ElementsAre("kvelparammap_completionhook"));
  EXPECT_THAT(hooks(top, "ssl-proxy service "), ElementsAre("sslproxy_completionhook"));
  EXPECT_THAT(hooks(top, "show ssl-proxy "), ElementsAre("sslproxy_completionhook"));
  EXPECT_THAT(hooks(inside({"ssl-proxy service s"}), "parameter-map "), ElementsAre("kvelparammap_ssl_completionhook"));
  const Stack layer34 = inside({"policy-map p", "class c"});
  EXPECT_THAT(hooks(layer34, "parameters connection "), ElementsAre("kvelparammap_conn_completionhook"));
  EXPECT_THAT(hooks(layer34, "parameters application "), ElementsAre("kvelparammap_http_completionhook"));
  EXPECT_THAT(hooks(layer34, "ssl-proxy server "), ElementsAre("sslproxy_completionhook"));
  EXPECT_THAT(hooks(inside({"policy-map type http-load-balancing p", "class c"}), "ssl-proxy client "),
              ElementsAre("sslproxy_completionhook"));
}

class ConnectionParameters : public ParameterMapGrammar {
 protected:
  // A setting by a number. After "no" its word alone is enough.
  void limit(const std::string& words, KeywordId setting, KeywordId value, std::uint32_t high = 4294967295) {
    number(stack, words, handler, {word_token(setting)}, value, 0, high);
    accepts(stack, "no " + words, handler, {word_token(setting)}, true);
  }

  void actions(const std::string& words, KeywordId setting,
               const std::vector<std::pair<std::string, KeywordId>>& actions, const std::string& expected) {
    for (const auto& [word, keyword] : actions)
      accepts_both(stack, words + " " + word, handler, {word_token(setting), word_token(keyword)});
    accepts(stack, "no " + words, handler, {word_token(setting)}, true);
    EXPECT_EQ(refusal(stack, words), "incomplete command; expected: " + expected);
    EXPECT_EQ(refusal(stack, words + " keep"), "unknown word \"keep\"; expected: " + expected);
  }

  const Stack stack = inside({"parameter-map p"});
  const char* handler = "kvelparammap_config_conn";
};

TEST_F(ConnectionParameters, Timeouts) {
  limit("half-closed-timeout", 710, 774);
  limit("embryonic-timeout", 711, 775);
  limit("inactivity-timeout", 827, 828);
  EXPECT_EQ(reached, (std::set<KeywordId>{710, 711, 774, 775, 827, 828}));
  EXPECT_EQ(help_of(stack, "half-closed-timeout "), "<0-4294967295>: After that time without traffic (seconds)");
  EXPECT_EQ(help_of(stack, "embryonic-timeout "), "<0-4294967295>: After that time (seconds)");
  EXPECT_EQ(help_of(stack, "inactivity-timeout "), "<0-4294967295>: After that time without traffic (seconds)");
}

TEST_F(ConnectionParameters, BuffersAndLimits) {
  limit("rx-buffer-share", 714, 778);
  limit("tx-buffer-share", 715, 779);
  limit("syn-retry-count", 712, 780);
  limit("queue-limit", 856, 776);
  limit("tos-rewrite", 718, 781, 255);
  EXPECT_EQ(reached, (std::set<KeywordId>{712, 714, 715, 718, 776, 778, 779, 780, 781, 856}));
  EXPECT_EQ(help_of(stack, "rx-buffer-share "), "<0-4294967295>: Size of the share (bytes)");
  EXPECT_EQ(help_of(stack, "tx-buffer-share "), "<0-4294967295>: Size of the share (bytes)");
  EXPECT_EQ(help_of(stack, "tos-rewrite "), "<0-255>: New value of the byte");
}

TEST_F(ConnectionParameters, Switches) {
  accepts_both(stack, "nagle", handler, {word_token(756)});
  accepts_both(stack, "slow-start", handler, {word_token(769)});
  accepts_both(stack, "keepalive", handler, {word_token(707)});
  accepts_both(stack, "random-sequence-numbers", handler, {word_token(754)});
  for (const char* line : {"nagle 1", "slow-start on", "keepalive 5", "random-sequence-numbers off"})
    EXPECT_THAT(refusal(stack, line), StartsWith("unexpected word")) << line;
}

TEST_F(ConnectionParameters, SegmentSizes) {
  const Token mss = word_token(771);
  accepts_both(stack, "mss minimum 0", handler, {mss, number_token(772, 0)});
  accepts_both(stack, "mss minimum 65535", handler, {mss, number_token(772, 65535)});
  accepts_both(stack, "mss maximum 65535", handler, {mss, number_token(773, 65535)});
  accepts_both(stack, "mss minimum 536 maximum 1460", handler, {mss, number_token(772, 536), number_token(773, 1460)});
  accepts(stack, "no mss", handler, {mss}, true);
  EXPECT_EQ(refusal(stack, "mss"), "incomplete command; expected: maximum, minimum");
  EXPECT_EQ(refusal(stack, "mss maximum 1460 minimum 536"), "unexpected word \"minimum\"; expected: <cr>");
  EXPECT_THAT(refusal(stack, "mss minimum 65536"), StartsWith("\"65536\" is out of range"));
  EXPECT_THAT(refusal(stack, "mss maximum 65536"), StartsWith("\"65536\" is out of range"));
  EXPECT_EQ(help_of(stack, "mss minimum "), "<0-65535>: Size; 0 for no limit (bytes)");
}

TEST_F(ConnectionParameters, Options) {
  accepts_both(stack, "tcp-options allow range 0 255", handler,
               {word_token(724), number_token(727, 0), number_token(729, 255)});
  accepts_both(stack, "tcp-options drop range 5 5", handler,
               {word_token(726), number_token(728, 5), number_token(730, 5)});
  accepts_both(stack, "tcp-options clear range 6 7", handler,
               {word_token(725), number_token(727, 6), number_token(729, 7)});
  accepts(stack, "no tcp-options allow", handler, {word_token(724)}, true);
  accepts(stack, "no tcp-options drop", handler, {word_token(726)}, true);
  EXPECT_EQ(reached, (std::set<KeywordId>{724, 725, 726, 727, 728, 729, 730}));
  for (const std::string action : {"allow", "drop", "clear"}) {
    const std::string words = "tcp-options " + action;
    EXPECT_EQ(refusal(stack, words), "incomplete command; expected: range");
    EXPECT_EQ(refusal(stack, words + " range 5"), "incomplete command; expected: <0-255>");
    EXPECT_THAT(refusal(stack, words + " range 0 256"), StartsWith("\"256\" is out of range"));
    EXPECT_THAT(refusal(stack, words + " range 256 0"), StartsWith("\"256\" is out of range"));
  }
  EXPECT_EQ(refusal(stack, "tcp-options"), "incomplete command; expected: allow, clear, drop");
  EXPECT_EQ(help_of(stack, "tcp-options cl"), "clear: Remove them; accepted, but changes nothing");
}

TEST_F(ConnectionParameters, Actions) {
  actions("selective-ack", 731, {{"allow", 732}, {"clear", 733}}, "allow, clear");
  actions("timestamp", 734, {{"allow", 735}, {"clear", 736}}, "allow, clear");
  actions("window-scale", 737, {{"allow", 738}, {"clear", 739}}, "allow, clear");
  actions("reserved-bits", 743, {{"allow", 744}, {"clear", 745}, {"drop", 746}}, "allow, clear, drop");
  actions("exceed-mss", 747, {{"allow", 748}, {"drop", 749}}, "allow, drop");
  actions("syn-data", 750, {{"allow", 751}, {"drop", 752}}, "allow, drop");
  actions("urgent-flag", 719, {{"allow", 720}, {"clear", 721}}, "allow, clear");
  EXPECT_EQ(reached, (std::set<KeywordId>{719, 720, 721, 731, 732, 733, 734, 735, 736, 737, 738,
                                          739, 743, 744, 745, 746, 747, 748, 749, 750, 751, 752}));
}

TEST_F(ConnectionParameters, SettingsKnownByNumber) {
  accepts_both(stack, "advanced setting-116 0", handler, {word_token(741)});
  accepts_both(stack, "advanced setting-116 1", handler, {word_token(742)});
  accepts_both(stack, "advanced setting-120", handler, {word_token(753)});
  accepts_both(stack, "advanced setting-755", handler, {word_token(755)});
  number(stack, "advanced setting-136", handler, {}, 830, 0, 4294967295);
  EXPECT_EQ(reached, (std::set<KeywordId>{741, 742, 753, 755, 830}));
  EXPECT_EQ(help(stack, "advanced "),
            (std::vector<std::string>{"setting-116", "setting-120", "setting-136", "setting-755"}));
  EXPECT_EQ(refusal(stack, "advanced setting-116 2"), "unknown word \"2\"; expected: 0, 1");
  // Only the value names these.
  EXPECT_EQ(refusal(stack, "no advanced setting-116"), "incomplete command; expected: 0, 1");
  EXPECT_EQ(refusal(stack, "no advanced setting-136"), "incomplete command; expected: <0-4294967295>");
  EXPECT_EQ(help_of(stack, "advanced setting-755"), "setting-755: The setting of that number (not supported)");
}

TEST_F(ConnectionParameters, Help) {
  const std::vector<std::string> settings{"advanced",
                                          "embryonic-timeout",
                                          "exceed-mss",
                                          "half-closed-timeout",
                                          "inactivity-timeout",
                                          "keepalive",
                                          "mss",
                                          "nagle",
                                          "queue-limit",
                                          "random-sequence-numbers",
                                          "reserved-bits",
                                          "rx-buffer-share",
                                          "selective-ack",
                                          "slow-start",
                                          "syn-data",
                                          "syn-retry-count",
                                          "tcp-options",
                                          "timestamp",
                                          "tos-rewrite",
                                          "tx-buffer-share",
                                          "urgent-flag",
                                          "window-scale"};
  EXPECT_EQ(help(stack, "no "), settings);
  std::vector<std::string> all = settings;
  all.insert(all.end(), {"clear", "end", "exit", "explain", "help", "history", "no", "quit", "show", "traffic"});
  std::sort(all.begin(), all.end());
  EXPECT_EQ(help(stack, " "), all);
}

class HttpParameters : public ParameterMapGrammar {
 protected:
  const Stack stack = inside({"parameter-map type http p"});
  const char* handler = "kvelparammap_config_http";
};

TEST_F(HttpParameters, EverySetting) {
  accepts_both(stack, "connection-reuse", handler, {word_token(803)});
  accepts_both(stack, "case-insensitive", handler, {word_token(804)});
  accepts_both(stack, "persistence-rebalance", handler, {word_token(810)});
  accepts_both(stack, "length-exceed drop", handler, {word_token(806), word_token(808)});
  accepts_both(stack, "length-exceed continue", handler, {word_token(806), word_token(809)});
  accepts(stack, "no length-exceed", handler, {word_token(806)}, true);
  number(stack, "header-maximum-parse-length", handler, {word_token(812)}, 814, 0, 4294967295);
  accepts(stack, "no header-maximum-parse-length", handler, {word_token(812)}, true);
  number(stack, "content-maximum-parse-length", handler, {word_token(807)}, 815, 0, 4294967295);
  accepts(stack, "no content-maximum-parse-length", handler, {word_token(807)}, true);
  accepts_both(stack, "cookie-delimiters /", handler, {word_token(805), string_token(813, "/")});
  accepts_both(stack, "cookie-delimiters /?&#", handler, {word_token(805), string_token(813, "/?&#")});
  accepts_both(stack, "cookie-delimiters \";|\\\"\"", handler, {word_token(805), string_token(813, ";|\"")});
  accepts(stack, "no cookie-delimiters", handler, {word_token(805)}, true);
  EXPECT_EQ(reached, (std::set<KeywordId>{803, 804, 805, 806, 807, 808, 809, 810, 812, 813, 814, 815}));
  EXPECT_EQ(help_of(stack, "header-maximum-parse-length "), "<0-4294967295>: Length (bytes)");
  EXPECT_EQ(help_of(stack, "content-maximum-parse-length "), "<0-4294967295>: Length (bytes)");
}

TEST_F(HttpParameters, RefusedLines) {
  EXPECT_EQ(refusal(stack, "cookie-delimiters /?&#!"), "TEXT is too long: at most 4 characters");
  EXPECT_EQ(refusal(stack, "cookie-delimiters"), "incomplete command; expected: TEXT");
  EXPECT_EQ(refusal(stack, "length-exceed stop"), "unknown word \"stop\"; expected: continue, drop");
  EXPECT_EQ(refusal(stack, "length-exceed"), "incomplete command; expected: continue, drop");
  EXPECT_THAT(refusal(stack, "connection-reuse 1"), StartsWith("unexpected word"));
  for (const char* line : {"nagle", "cipher", "advanced setting-120"})
    EXPECT_THAT(refusal(stack, line), StartsWith("unknown word")) << line;
  EXPECT_EQ(help(stack, "no "),
            (std::vector<std::string>{"case-insensitive", "connection-reuse", "content-maximum-parse-length",
                                      "cookie-delimiters", "header-maximum-parse-length", "length-exceed",
                                      "persistence-rebalance"}));
}

class SslParameters : public ParameterMapGrammar {
 protected:
  const Stack stack = inside({"parameter-map type ssl p"});
  const char* handler = "kvelparammap_config_ssl";
};

TEST_F(SslParameters, Ciphers) {
  const std::vector<std::pair<std::string, KeywordId>> ciphers{
      {"rsa-with-rc4-128-md5", 922},           {"rsa-with-rc4-128-sha", 923},
      {"rsa-with-des-cbc-sha", 924},           {"rsa-with-3des-ede-cbc-sha", 925},
      {"rsa-export-with-rc4-40-md5", 926},     {"rsa-export-with-des40-cbc-sha", 927},
      {"rsa-export1024-with-rc4-56-md5", 928}, {"rsa-export1024-with-des-cbc-sha", 929},
      {"rsa-export1024-with-rc4-56-sha", 930}, {"rsa-with-aes-128-cbc-sha", 931},
      {"rsa-with-aes-256-cbc-sha", 932}};
  for (const auto& [word, keyword] : ciphers) {
    accepts_both(stack, "cipher " + word, handler, {word_token(keyword)});
    accepts_both(stack, "cipher " + word + " priority 1", handler, {word_token(keyword), number_token(950, 1)});
    accepts_both(stack, "cipher " + word + " priority 255", handler, {word_token(keyword), number_token(950, 255)});
  }
  EXPECT_EQ(help(stack, "cipher ").size(), 11U);
  const std::string cipher = "cipher rsa-with-rc4-128-md5";
  EXPECT_THAT(refusal(stack, cipher + " priority 0"), StartsWith("\"0\" is out of range"));
  EXPECT_THAT(refusal(stack, cipher + " priority 256"), StartsWith("\"256\" is out of range"));
  EXPECT_EQ(refusal(stack, cipher + " priority"), "incomplete command; expected: <1-255>");
  EXPECT_EQ(refusal(stack, cipher + " 5"), "unknown word \"5\"; expected: priority, <cr>");
  EXPECT_THAT(refusal(stack, "cipher rsa-any"), StartsWith("unknown word \"rsa-any\""));
}

TEST_F(SslParameters, VersionCloseProtocolAndSettingsKnownByNumber) {
  accepts_both(stack, "version all", handler, {word_token(951), word_token(952)});
  accepts_both(stack, "version ssl3", handler, {word_token(951), word_token(953)});
  accepts_both(stack, "version tls1", handler, {word_token(951), word_token(954)});
  accepts(stack, "no version", handler, {word_token(951)}, true);
  accepts_both(stack, "close-protocol strict", handler, {word_token(957), word_token(958)});
  accepts_both(stack, "close-protocol none", handler, {word_token(957), word_token(959)});
  accepts_both(stack, "close-protocol disabled", handler, {word_token(957), word_token(960)});
  accepts(stack, "no close-protocol", handler, {word_token(957)}, true);
  number(stack, "advanced setting-956", handler, {}, 956, 0, 4294967295);
  number(stack, "advanced setting-963", handler, {}, 963, 0, 4294967295);
  number(stack, "advanced setting-964", handler, {}, 964, 0, 4294967295);
  EXPECT_EQ(reached, (std::set<KeywordId>{951, 952, 953, 954, 956, 957, 958, 959, 960, 963, 964}));
  EXPECT_EQ(refusal(stack, "version tls2"),
            "unknown word \"tls2\" (did you mean \"tls1\"?); expected: all, ssl3, tls1");
  EXPECT_EQ(refusal(stack, "version"), "incomplete command; expected: all, ssl3, tls1");
  EXPECT_EQ(refusal(stack, "close-protocol"), "incomplete command; expected: disabled, none, strict");
  EXPECT_EQ(refusal(stack, "no advanced setting-956"), "incomplete command; expected: <0-4294967295>");
  EXPECT_EQ(help(stack, "no "), (std::vector<std::string>{"advanced", "cipher", "close-protocol", "version"}));
}

class SslProxyGrammar : public ParameterMapGrammar {
 protected:
  const Stack stack = inside({"ssl-proxy service s"});
};

TEST_F(SslProxyGrammar, CreatesAndDeletes) {
  accepts_both(top, "ssl-proxy service s", "sslproxy_config", {string_token(3, "s")});
  opens(top, "ssl-proxy service s", "ssl-proxy", {string_token(3, "s")});
  EXPECT_EQ(prompt_of(stack), "config-ssl-proxy s");
  EXPECT_EQ(refusal(top, "ssl-proxy"), "incomplete command; expected: service");
  EXPECT_EQ(refusal(top, "ssl-proxy service"), "incomplete command; expected: NAME");
  EXPECT_EQ(refusal(top, "ssl-proxy s t u"), "unexpected word \"u\"; expected: <cr>");
  EXPECT_EQ(refusal(top, "ssl-proxy service " + std::string(65, 'x')), "NAME is too long: at most 64 characters");
}

TEST_F(SslProxyGrammar, TheServicePrecedesEveryMember) {
  const std::vector<std::pair<std::string, KeywordId>> members{
      {"key", 4}, {"certificate", 6}, {"chain-group", 8}, {"parameter-map", 18}};
  for (const auto& [word, keyword] : members) {
    accepts_both(stack, word + " x", "sslproxy_submode_config", {string_token(keyword, "x")});
    EXPECT_EQ(match(grammar, stack, word + " \"a b\"")->tokens,
              (Tokens{string_token(3, "s"), string_token(keyword, "a b")}));
    EXPECT_EQ(refusal(stack, word), "incomplete command; expected: NAME");
    EXPECT_EQ(refusal(stack, "no " + word), "incomplete command; expected: NAME");
    EXPECT_EQ(refusal(stack, word + " " + std::string(65, 'x')), "NAME is too long: at most 64 characters");
  }
  EXPECT_EQ(help(stack, "no "), (std::vector<std::string>{"certificate", "chain-group", "key", "parameter-map"}));
}

// A name alone is a member. With a type in front it is the command of the mode around; so it is written in
// configurations.
TEST_F(SslProxyGrammar, OneParameterMapIsAMemberAndOneWithATypeIsAnother) {
  EXPECT_EQ(match(grammar, stack, "parameter-map type")->command->handler, "sslproxy_submode_config");
  const auto other = match(grammar, stack, "parameter-map type ssl p");
  ASSERT_TRUE(other);
  EXPECT_EQ(other->command->handler, "kvelparammap_config");
  EXPECT_EQ(other->level, 0U);
  EXPECT_EQ(match(grammar, stack, "parameter-map type connection p")->tokens, Tokens{string_token(703, "p")});
  EXPECT_EQ(match(grammar, inside({"policy-map p", "class c"}), "ssl-proxy service t")->level, 0U);
}

TEST_F(ParameterMapGrammar, EveryKeywordHasAWord) {
  std::set<KeywordId> produced;
  for (const Edge& edge : grammar.edges()) {
    if (edge.command == kNoCommand) continue;
    const Command& command = grammar.command(edge.command);
    const bool ours = command.handler.starts_with("kvelparammap_") || command.text_handler.starts_with("kvelparammap_");
    if (ours && edge.symbol.keyword != kNoKeyword) produced.insert(edge.symbol.keyword);
  }
  std::set<KeywordId> named;
#define KVEL_ADD(name, id) named.insert(id);
  KVEL_PARAMETER_MAP_KEYWORDS(KVEL_ADD)
  KVEL_PARAMETER_KEYWORDS(KVEL_ADD)
#undef KVEL_ADD
  EXPECT_EQ(produced, named);
}

// Every line of the example is known, and together they show every setting and member, and every way to attach them.
TEST_F(ParameterMapGrammar, TheExampleShowsEachKind) {
  std::ifstream file(KVEL_ROOT "/examples/parameter-maps.kvel");
  ASSERT_TRUE(file);
  const auto ours = [](const Command& command) {
    static const std::set<std::string_view> attachments{"ssl-proxy-server", "ssl-proxy-client", "connection-parameters",
                                                        "application-parameters"};
    return command.handler.starts_with("kvelparammap_") || command.handler.starts_with("sslproxy_") ||
           attachments.contains(command.record);
  };
  Stack stack = inside({});
  std::set<std::string_view> shown;
  for (std::string line; std::getline(file, line);) {
    line.resize(std::min(line.find(" | "), line.size()));  // filters are no matter of the grammar
    const LexedLine words = lex(line);
    if (words.blank()) continue;
    const auto matched = match(grammar, stack, words);
    ASSERT_TRUE(matched) << line << ": " << describe(matched.error());
    if (matched->command->handler.empty()) continue;
    if (ours(*matched->command) && !matched->negated && !matched->command->record.empty())
      shown.insert(matched->command->record);
    stack.resize(matched->level + 1);
    if (matched->opens) stack.push_back(*matched->opens);
  }
  std::set<std::string_view> recorded;
  for (const Command& command : grammar.commands()) {
    if (ours(command) && !command.record.empty()) recorded.insert(command.record);
  }
  EXPECT_EQ(recorded.size(), 46U);
  EXPECT_EQ(shown, recorded);
}

}  // namespace
}  // namespace kvel::shell::parameter_map_grammar_test
