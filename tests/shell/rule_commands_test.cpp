// Records of rules as the commands that make them: literal JSON in, literal lines out.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/record_command.h"
#include "shell/matcher/render.h"

namespace kvel::shell::rule_commands_test {
namespace {

struct Rule {
  const char* record;
  const char* line;
};

std::string rendered(const ConfigCommand& command) {
  const Grammar& grammar = shell_grammar();
  return render(grammar, *grammar.find_mode(command.mode), command.action, false, command.tokens)
      .value_or("no command for this");
}

void check(const char* mode, const std::vector<Rule>& rules) {
  for (const Rule& rule : rules) {
    SCOPED_TRACE(rule.record);
    const auto command = rule_command(shell_grammar(), mode, ObjectRecord::parse(rule.record));
    ASSERT_TRUE(command);
    EXPECT_EQ(command->mode, mode);
    EXPECT_EQ(rendered(*command), rule.line);
  }
}

void refuse(const char* mode, const std::vector<const char*>& records) {
  for (const char* record : records)
    EXPECT_FALSE(rule_command(shell_grammar(), mode, ObjectRecord::parse(record))) << record;
}

TEST(RuleCommands, VirtualAddress) {
  const auto record = [](const char* rest) {
    return R"({"line":10,"match":"virtual-address","address":"10.1.1.1","mask":"255.255.255.0",)" + std::string(rest) +
           "}";
  };
  const std::vector<std::pair<const char*, const char*>> rules{
      {R"("protocol":0,"lower":0,"upper":65535)", "any"},
      {R"("protocol":1,"lower":0,"upper":65535)", "protocol 1"},
      {R"("protocol":255,"lower":0,"upper":65535)", "protocol 255"},
      {R"("protocol":6,"lower":0,"upper":65535)", "tcp any"},
      {R"("protocol":6,"lower":80,"upper":80)", "tcp equal 80"},
      {R"("protocol":6,"lower":0,"upper":0)", "tcp equal 0"},
      {R"("protocol":6,"lower":80,"upper":90)", "tcp range 80 90"},
      {R"("protocol":6,"lower":1,"upper":65535)", "tcp range 1 65535"},
      {R"("protocol":17,"lower":0,"upper":65535)", "udp any"},
      {R"("protocol":17,"lower":53,"upper":53)", "udp equal 53"},
      {R"("protocol":17,"lower":0,"upper":65534)", "udp range 0 65534"},
  };
  for (const auto& [rest, words] : rules) {
    check("class-map-l3",
          {{record(rest).c_str(), ("10 match virtual-address 10.1.1.1 255.255.255.0 " + std::string(words)).c_str()}});
  }
  refuse("class-map-l3", {record(R"("protocol":1,"lower":5,"upper":5)").c_str()});
  refuse("class-map-l3", {record(R"("protocol":256,"lower":0,"upper":65535)").c_str()});
  refuse("class-map-l3", {record(R"("protocol":6,"lower":0,"upper":65536)").c_str()});
  refuse("class-map-l3", {record(R"("protocol":6,"lower":-1,"upper":-1)").c_str()});
  refuse("class-map-l3", {record(R"("protocol":6,"lower":0)").c_str()});
}

TEST(RuleCommands, Layer34) {
  check("class-map-l3",
        {{R"({"line":4294967295,"match":"source-address","address":"10.0.0.1","mask":"0.0.0.0"})",
          "4294967295 match source-address 10.0.0.1 0.0.0.0"},
         {R"({"line":1,"match":"destination-address","address":"10.0.0.1","mask":"255.255.255.255"})",
          "1 match destination-address 10.0.0.1 255.255.255.255"},
         {R"({"line":10,"match":"port","protocol":6,"lower":443,"upper":443})", "10 match port tcp equal 443"},
         {R"({"line":10,"match":"port","protocol":17,"lower":0,"upper":65535})", "10 match port udp any"},
         {R"({"line":10,"match":"port","protocol":17,"lower":1,"upper":5})", "10 match port udp range 1 5"},
         // "equal 0" would be every port.
         {R"({"line":10,"match":"port","protocol":6,"lower":0,"upper":0})", "10 match port tcp range 0 0"},
         {R"({"line":10,"match":"any"})", "10 match any"},
         {R"({"line":10,"match":"access-list","name":"in side"})", "10 match access-list \"in side\""}});
  refuse("class-map-l3",
         {R"({"line":10,"match":"port","protocol":0,"lower":1,"upper":1})", R"({"line":0,"match":"any"})",
          R"({"line":10,"match":"any","more":1})", R"({"line":10,"match":"access-list","name":""})",
          R"({"line":10,"match":"source-address","address":"10.0.0","mask":"0.0.0.0"})",
          R"({"line":10,"match":"source-address","address":"","mask":"0.0.0.0"})",
          R"({"line":10,"match":"source-address","address":167772161,"mask":"0.0.0.0"})",
          R"({"line":10,"match":"url","expression":"x"})", R"({"line":10,"match":""})"});
}

TEST(RuleCommands, Management) {
  const auto record = [](const char* service) {
    return R"({"line":10,"match":"management",)" + std::string(service) +
           R"(,"address":"10.0.0.0","mask":"255.0.0.0"})";
  };
  const std::vector<std::pair<const char*, const char*>> services{
      {R"("protocol":6,"lower":22,"upper":22)", "ssh"},   {R"("protocol":6,"lower":23,"upper":23)", "telnet"},
      {R"("protocol":6,"lower":80,"upper":80)", "http"},  {R"("protocol":6,"lower":443,"upper":443)", "https"},
      {R"("protocol":6,"lower":21,"upper":21)", "ftp"},   {R"("protocol":1,"lower":0,"upper":65535)", "icmp"},
      {R"("protocol":17,"lower":69,"upper":69)", "tftp"}, {R"("protocol":17,"lower":161,"upper":161)", "snmp"}};
  for (const auto& [fields, word] : services) {
    check("class-map-management",
          {{record(fields).c_str(),
            ("10 match protocol " + std::string(word) + " source address 10.0.0.0 mask 255.0.0.0").c_str()}});
  }
  check("class-map-management",
        {{R"({"line":10,"match":"management","protocol":6,"lower":22,"upper":22,"address":"0.0.0.0","mask":"0.0.0.0"})",
          "10 match protocol ssh source any"}});
  refuse("class-map-management", {record(R"("protocol":0,"lower":0,"upper":65535)").c_str()});
}

TEST(RuleCommands, LoadBalancing) {
  check(
      "class-map-http-lb",
      {{R"({"line":10,"match":"http-url","expression":"/a b/.*"})", "10 match http url \"/a b/.*\""},
       {R"({"line":10,"match":"http-url","expression":"x","qualifier":"get"})", "10 match http url x qualifier get"},
       {R"({"line":10,"match":"http-cookie","name":"sid","value":"^\\d+$"})",
        R"(10 match http cookie sid value "^\\d+$")"},
       {R"({"line":10,"match":"http-cookie","name":"sid","value":"x","option":true})",
        "10 match http cookie sid value x advanced option"},
       {R"({"line":10,"match":"http-header","name":"Via","value":"x"})", "10 match http header Via value x"},
       {R"({"line":10,"match":"http-header","name":"Accept-Charset","value":"x"})",
        "10 match http header Accept-Charset value x"},
       {R"({"line":10,"match":"http-header","name":"via","value":"x"})", "10 match http header via value x"},
       {R"({"line":10,"match":"http-header","name":"Acc","value":"x"})", "10 match http header \"Acc\" value \"x\""},
       {R"({"line":10,"match":"http-source-address","address":"10.0.0.1","mask":"255.255.255.255","mask_given":false})",
        "10 match http source-address 10.0.0.1"},
       {R"({"line":10,"match":"http-source-address","address":"10.0.0.1","mask":"255.255.255.255","mask_given":true})",
        "10 match http source-address 10.0.0.1 255.255.255.255"},
       {R"({"line":10,"match":"http-source-address","address":"0.0.0.0","mask":"0.0.0.0","mask_given":true})",
        "10 match http source-address 0.0.0.0 0.0.0.0"},
       {R"({"line":10,"match":"class-map","name":"images"})", "10 match class-map images"}});
  refuse("class-map-http-lb",
         {R"({"line":10,"match":"http-source-address","address":"10.0.0.1","mask":"255.0.0.0","mask_given":false})",
          R"({"line":10,"match":"http-cookie","name":"sid","value":"x","option":false})",
          R"({"line":10,"match":"http-url","expression":""})"});
}

TEST(RuleCommands, HttpInspection) {
  check("class-map-http-inspection",
        {{R"({"line":10,"match":"header-length","direction":"request","low":5,"high":5})",
          "10 match header-length request equal 5"},
         {R"({"line":10,"match":"header-length","direction":"response","low":255,"high":255})",
          "10 match header-length response equal 255"},
         {R"({"line":10,"match":"header-length","direction":"response","low":200,"high":255})",
          "10 match header-length response greater-than 199"},
         {R"({"line":10,"match":"header-length","direction":"request","low":0,"high":199})",
          "10 match header-length request less-than 200"},
         {R"({"line":10,"match":"header-length","direction":"request","low":0,"high":255})",
          "10 match header-length request range 0 255"},
         {R"({"line":10,"match":"header-length","direction":"request","low":9,"high":3})",
          "10 match header-length request range 9 3"},
         {R"({"line":10,"match":"header","name":"Host","value":"x"})", "10 match header Host value x"},
         {R"({"line":10,"match":"header","name":"X-Realm","value":"x"})", "10 match header X-Realm value x"},
         {R"({"line":10,"match":"url","expression":"\\.exe$"})", R"(10 match url "\\.exe$")"},
         {R"({"line":10,"match":"url-length","low":1,"high":65535})", "10 match url-length greater-than 0"},
         {R"({"line":10,"match":"url-length","low":0,"high":0})", "10 match url-length equal 0"},
         {R"({"line":10,"match":"url-length","low":2,"high":65534})", "10 match url-length range 2 65534"},
         {R"({"line":10,"match":"content","expression":"x","offset":0})", "10 match content x"},
         {R"({"line":10,"match":"content","expression":"x","offset":255})", "10 match content x offset 255"},
         {R"({"line":10,"match":"content-length","low":4294967295,"high":4294967295})",
          "10 match content-length equal 4294967295"},
         {R"({"line":10,"match":"content-length","low":4294967294,"high":4294967295})",
          "10 match content-length greater-than 4294967293"},
         {R"({"line":10,"match":"content-length","low":0,"high":4294967294})",
          "10 match content-length less-than 4294967295"},
         {R"({"line":10,"match":"content-length","low":0,"high":4294967295})",
          "10 match content-length range 0 4294967295"},
         {R"({"line":10,"match":"mime-type","code":33})", "10 match mime-type application/gzip"},
         {R"({"line":10,"match":"mime-type","code":77})", "10 match mime-type video/x-fli"},
         {R"({"line":10,"match":"transfer-encoding","code":83})", "10 match transfer-encoding chunked"},
         {R"({"line":10,"match":"transfer-encoding","code":88})", "10 match transfer-encoding trailers"},
         {R"({"line":10,"match":"request-method","code":1})", "10 match request-method connect"},
         {R"({"line":10,"match":"request-method","code":27})", "10 match request-method version-control"},
         {R"({"line":10,"match":"port-misuse","code":1})", "10 match port-misuse instant-messaging"},
         {R"({"line":10,"match":"port-misuse","code":3})", "10 match port-misuse tunnelling"}});
  refuse("class-map-http-inspection",
         {R"({"line":10,"match":"mime-type","code":32})", R"({"line":10,"match":"mime-type","code":78})",
          R"({"line":10,"match":"request-method","code":0})",
          R"({"line":10,"match":"content","expression":"x","offset":256})",
          R"({"line":10,"match":"content-length","low":0,"high":4294967296})",
          R"({"line":10,"match":"header-length","direction":"both","low":0,"high":1})"});
}

TEST(RuleCommands, FtpInspection) {
  check("class-map-ftp-inspection", {{R"({"line":10,"match":"ftp-method","code":1})", "10 match ftp-command appe"},
                                     {R"({"line":10,"match":"ftp-method","code":4})", "10 match ftp-command retr"},
                                     {R"({"line":10,"match":"ftp-method","code":13})", "10 match ftp-command syst"}});
  refuse("class-map-ftp-inspection", {R"({"line":10,"match":"ftp-method","code":14})"});
}

TEST(RuleCommands, CodesHaveWords) {
  const auto word = [](const char* mode, const char* kind, const char* member, const ObjectRecord& value) {
    return std::string(word_of_code(shell_grammar(), mode, kind, member, value).value_or("none"));
  };
  EXPECT_EQ(word("class-map-http-inspection", "mime-type", "code", 68U), "text/html");
  EXPECT_EQ(word("class-map-http-inspection", "request-method", "code", 3U), "get");
  EXPECT_EQ(word("class-map-ftp-inspection", "ftp-method", "code", 7U), "stor");
  EXPECT_EQ(word("class-map-http-inspection", "mime-type", "code", 3U), "none");
  EXPECT_EQ(word("class-map-http-inspection", "mime-type", "line", 68U), "none");
  EXPECT_EQ(word("class-map-l3", "port", "protocol", 6U), "none");
}

TEST(RuleCommands, AClassMapIsItsCreationThenItsRules) {
  const auto class_map = ObjectRecord::parse(
      R"({"kind":"class-map","name":"web","type":0,"match_all":false,"description":"a","rules":[)"
      R"({"line":10,"match":"any"},{"line":20,"match":"unheard-of"},{"line":30,"match":"access-list","name":"in"}]})");
  std::vector<std::string> lines;
  for (const ConfigCommand& command : class_map_commands(shell_grammar(), class_map))
    lines.push_back(rendered(command));
  EXPECT_EQ(lines, (std::vector<std::string>{"class-map match-any web", "description a", "10 match any",
                                             "no command for this", "30 match access-list in"}));
  EXPECT_FALSE(names_other_class_maps(class_map));
}

}  // namespace
}  // namespace kvel::shell::rule_commands_test
