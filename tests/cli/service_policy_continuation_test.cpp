// Classes that go on: over pages, over commands, twice on one page. What is remembered of them, when, and what is not
// written again.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_continuation_test {
namespace {

using ServicePolicyContinuation = ServicePolicyTest;

const Mode kDetail = {.active = 1, .detail = 1};
const Events kPageEnd = {"xprint_footer 'service_policy'"};
const std::string kNewline = R"(xprint "\n" => "\n")";

// What precedes the action groups of a class that was the last one.
const Events kClassContinued = {"xprint_header 'sp_class_types'"};

// An action group and what is shown of it: for a class that is new, and for one that continues.
struct Action {
  std::string bytes;
  Events first;
  Events again;
};

Events in_element(const Events& events) {
  return Events{"xprint_header 'sp_class_type'"} + events + Events{"xprint_footer 'sp_class_type'"};
}

Action acl() {
  const Events shown = in_element({"xprint_header 'sp_security_acl'", "xprint_footer 'sp_security_acl'"});
  return {stream::action({.type = stream::kSecurityAcl}), shown, shown};
}

// Two records, which are written each time.
Action nat(const Mode& mode) {
  const Events record = Events{"xprint_header 'sp_action'", line("        nat <%s> <%s> <%d> vlan <%d>\n",
                                                                 "sp_nat_type sp_nat_ip sp_nat_port sp_nat_vlan",
                                                                 "        nat <static> <10.0.0.1> <80> vlan <20>\n")} +
                        statistics(mode) + Events{"xprint_footer 'sp_action'"};
  const Events records = Events{"xprint_header 'sp_actions'"} + record + record +
                         Events{"xprint_footer 'sp_actions'", "xprint_footer 'sp_nat'"};
  return {stream::action({.count = 2, .type = stream::kNat}) + stream::nat({}) + stream::nat({}),
          in_element(Events{"xprint_header 'sp_nat'", action_name("nat")} + records),
          in_element(Events{"xprint_header 'sp_nat'"} + records)};
}

Events load_balance_settings(const Mode& mode) {
  return Events{
             "xprint_header 'sp_loadbalance'",
             action_name("loadbalance"),
             line("        L7 loadbalance policy: <%s>\n", "sp_lb_policymap",
                  "        L7 loadbalance policy: <shop>\n"),
             line("        VIP Route Metric     : <%d>\n", "sp_lb_rhi_metric", "        VIP Route Metric     : <77>\n"),
             tagged("        VIP Route Advertise  : ENABLED\n", "sp_lb_rhi_state"),
             tagged("        VIP ICMP Reply       : ENABLED\n", "sp_lb_icmpreply_state"),
             line("        VIP State: <%s>\n", "sp_lb_vip_state", "        VIP State: <INSERVICE>\n")} +
         statistics(mode);
}

Events load_balance_rule(const Mode& mode) {
  Events events = {line("          class/match : %s\n", "          class/match : images\n"),
                   line("            LB action : \n"),
                   line("               serverfarm: %s\n", "               serverfarm: farm\n")};
  if (mode.active == 0) return events;
  return events + Events{line("            hit count        : %-10u\n", "            hit count        : 3001      \n"),
                         line("            dropped conns    : %-10u\n", "            dropped conns    : 3002      \n")};
}

// Complete, with two rules if they are asked for.
Action load_balance(const Mode& mode) {
  std::string bytes =
      stream::action({.has_l7 = 1, .count = 1, .type = stream::kLoadBalance}) + stream::load_balance({});
  Events shown = load_balance_settings(mode);
  if (mode.detail != 0) {
    bytes += stream::rules({.rule_count = 2}) + stream::load_balance_rule({}) + stream::load_balance_rule({});
    shown = shown +
            Events{line("        L7 Loadbalance policy : %s\n", "        L7 Loadbalance policy : l7-policy\n")} +
            load_balance_rule(mode) + load_balance_rule(mode);
  }
  return {bytes, in_element(shown + Events{"xprint_footer 'sp_loadbalance'"}), {}};
}

// The part of a class that continues: it has no records, and one rule if it is asked for. The footer is alone.
Action continued_load_balance(const Mode& mode) {
  std::string bytes = stream::action({.has_l7 = 1, .count = 1, .type = stream::kLoadBalance});
  Events shown;
  if (mode.detail != 0) {
    bytes += stream::rules({.rule_count = 1}) + stream::load_balance_rule({});
    shown = load_balance_rule(mode);
  }
  return {bytes, {}, in_element(shown + Events{"xprint_footer 'sp_loadbalance'"})};
}

Events http_rule(const Mode& mode) {
  Events events = {line("          class/match : %s\n", "          class/match : uploads\n"),
                   line("            Inspect action :\n"), line("               permit\n")};
  if (mode.active == 0) return events;
  return events +
         Events{line("            Total Inspected      : <%-10u> , Total Matched: <%-10u>\n", "sp_insphttp_l7stats1",
                     "            Total Inspected      : <3003      > , Total Matched: <3004      >\n"),
                line("            Total Dropped OnError: <%-10u>\n", "sp_insphttp_l7stats2",
                     "            Total Dropped OnError: <3005      >\n")};
}

Action http(const Mode& mode) {
  std::string bytes = stream::action({.has_l7 = 1, .count = 1, .type = stream::kInspectHttp}) + stream::http({});
  Events shown = {"xprint_header 'sp_inspecthttp'", action_name("inspect http"),
                  line("        L7 inspect policy : <%s>\n", "sp_insphttp_policymap",
                       "        L7 inspect policy : <strict-http>\n"),
                  line("        Url Logging: <%s>\n", "sp_insphttp_urllog", "        Url Logging: <ENABLED>\n")};
  if (mode.active != 0) {
    shown = shown + statistics() +
            Events{line("        <%s>:\n", "sp_insphttp_l4stats1", "        <L4 policy stats>:\n"),
                   line("          Total Req/Resp: <%-10u> , Total Allowed: <%-10u>\n", "sp_insphttp_l4stats1",
                        "          Total Req/Resp: <2001      > , Total Allowed: <2002      >\n"),
                   line("          Total Dropped : <%-10u> , Total Logged : <%-10u>\n", "sp_insphttp_l4stats2",
                        "          Total Dropped : <2003      > , Total Logged : <2004      >\n")};
  }
  if (mode.detail != 0) {
    bytes += stream::rules({.rule_count = 2}) + stream::inspect_rule({}) + stream::inspect_rule({});
    shown = shown + Events{line("        L7 Inspect policy : %s\n", "        L7 Inspect policy : l7-policy\n")} +
            http_rule(mode) + http_rule(mode);
  }
  return {bytes, in_element(shown + Events{"xprint_footer 'sp_inspecthttp'"}), {}};
}

Action continued_http(const Mode& mode) {
  std::string bytes = stream::action({.has_l7 = 1, .count = 1, .type = stream::kInspectHttp});
  Events shown;
  if (mode.detail != 0) {
    bytes += stream::rules({.rule_count = 1}) + stream::inspect_rule({});
    shown = http_rule(mode);
  }
  return {bytes, {}, in_element(shown + Events{"xprint_footer 'sp_inspecthttp'"})};
}

// The small inspections are written whole each time, their names too.
Action ftp(const Mode& mode) {
  Events shown =
      Events{
          "xprint_header 'sp_inspectftp'", action_name("inspect ftp"),
          line("        L7 inspect policy : <%s>\n", "sp_inspftp_policymap", "        L7 inspect policy : <no-put>\n"),
          line("        strict ftp: <%s>", "sp_inspftp_strict", "        strict ftp: <ENABLED>"), kNewline} +
      statistics(mode);
  if (mode.detail != 0) {
    shown.push_back(
        line("        L7 Inspect policy: <%s>\n", "sp_inspftp_policymap", "        L7 Inspect policy: <no-put>\n"));
    if (mode.active != 0) {
      shown.push_back(line("          Total ReplyMasked : <%-10u> , Total Dropped: <%-10u>\n", "sp_inspftp_l7stats",
                           "          Total ReplyMasked : <2005      > , Total Dropped: <2006      >\n"));
    }
  }
  shown = in_element(shown + Events{"xprint_footer 'sp_inspectftp'"});
  return {stream::action({.type = stream::kInspectFtp}) + stream::ftp({}), shown, shown};
}

Action dns(const Mode& mode) {
  const Events shown =
      in_element(Events{"xprint_header 'sp_inspectdns'", action_name("inspect dns"),
                        line("        max length: <%u>", "sp_inspdns_maxlen", "        max length: <512>"), kNewline} +
                 statistics(mode) + Events{"xprint_footer 'sp_inspectdns'"});
  return {stream::action({.type = stream::kInspectDns}) + stream::dns({}), shown, shown};
}

Action icmp(const Mode& mode) {
  const Events shown = in_element(
      Events{"xprint_header 'sp_inspecticmp'", action_name("inspect icmp"),
             line("        icmp error: <%s>", "sp_inspicmp_error", "        icmp error: <ENABLED>"), kNewline} +
      statistics(mode) + Events{"xprint_footer 'sp_inspecticmp'"});
  return {stream::action({.type = stream::kInspectIcmp}) + stream::icmp({}), shown, shown};
}

Action rtsp(const Mode& mode) {
  const Events shown = in_element(Events{"xprint_header 'sp_inspectrtsp'", action_name("inspect rtsp"), kNewline} +
                                  statistics(mode) + Events{"xprint_footer 'sp_inspectrtsp'"});
  return {stream::action({.type = stream::kInspectRtsp}) + stream::rtsp({}), shown, shown};
}

// A type that is none.
Action none() { return {stream::action({.type = 9}), in_element({}), in_element({})}; }

// A group without records; its element stays open.
Action empty_group() {
  const Events shown = {"xprint_header 'sp_class_type'"};
  return {stream::action({.count = 0, .type = stream::kNat}), shown, shown};
}

// A page with one class for each list of groups.
struct ClassGroup {
  std::string name;
  std::vector<Action> actions;
};

std::string page_of(const Mode& mode, const std::vector<ClassGroup>& classes) {
  std::string bytes =
      stream::policy({.class_count = static_cast<std::uint32_t>(classes.size()), .active = mode.active});
  for (const ClassGroup& group : classes) {
    bytes += stream::class_map({.entry_count = static_cast<std::uint32_t>(group.actions.size()), .name = group.name});
    for (const Action& action : group.actions)
      bytes += action.bytes;
  }
  return bytes;
}

// A page with one class.
std::string page_of(const Mode& mode, const std::string& name, const std::vector<Action>& actions) {
  return page_of(mode, {{name, actions}});
}

// ---- the class that the page before ended with

TEST_F(ServicePolicyContinuation, EveryActionGoesOnOnTheNextPage) {
  struct Row {
    const char* type;
    Action (*first)(const Mode&);
    Action (*again)(const Mode&);
  };
  const std::vector<Row> rows = {
      {"security ACL", [](const Mode&) { return acl(); }, [](const Mode&) { return acl(); }},
      {"NAT", nat, nat},
      {"load balance", load_balance, continued_load_balance},
      {"inspect http", http, continued_http},
      {"inspect ftp", ftp, ftp},
      {"inspect dns", dns, dns},
      {"inspect icmp", icmp, icmp},
      {"inspect rtsp", rtsp, rtsp},
      {"none", [](const Mode&) { return none(); }, [](const Mode&) { return none(); }},
  };
  for (const Row& row : rows) {
    for (const Mode& mode : kModes) {
      reload();
      const Action first = row.first(mode);
      const Action again = row.again(mode);
      EXPECT_EQ(format(page_of(mode, "web", {first}), mode.detail),
                heading(mode) + class_opened("web") + first.first + class_closed() + kPageEnd)
          << row.type << ", " << name_of(mode);
      // on each page that follows
      for (int number = 0; number < 2; ++number) {
        EXPECT_EQ(format(page_of(mode, "web", {again}), mode.detail),
                  kClassContinued + again.again + class_closed() + kPageEnd)
            << row.type << ", " << name_of(mode);
      }
      // on the page of another class everything is written again
      EXPECT_EQ(format(page_of(mode, "mail", {first}), mode.detail),
                class_opened("mail") + first.first + class_closed() + kPageEnd)
          << row.type << ", " << name_of(mode);
    }
  }
}

// All groups of a class that goes on are taken to go on, also types that were not there before.
TEST_F(ServicePolicyContinuation, AllActionsOfTheClassGoOn) {
  EXPECT_EQ(format(page_of(kDetail, "web", {dns(kDetail)}), 1),
            heading(kDetail) + class_opened("web") + dns(kDetail).first + class_closed() + kPageEnd);
  const std::vector<Action> later = {nat(kDetail), continued_load_balance(kDetail), continued_http(kDetail),
                                     ftp(kDetail), nat(kDetail)};
  EXPECT_EQ(format(page_of(kDetail, "web", later), 1),
            kClassContinued + nat(kDetail).again + continued_load_balance(kDetail).again +
                continued_http(kDetail).again + ftp(kDetail).first + nat(kDetail).again + class_closed() + kPageEnd);
}

// The class that is remembered changes when its group is complete: two groups of one class are both written whole.
TEST_F(ServicePolicyContinuation, GroupsOfOneClassAreEachWrittenWhole) {
  const std::vector<Action> actions = {nat({}), load_balance({}), nat({}), load_balance({}), http({}), http({})};
  EXPECT_EQ(format(page_of({}, "web", actions)), heading({}) + class_opened("web") + nat({}).first +
                                                     load_balance({}).first + nat({}).first + load_balance({}).first +
                                                     http({}).first + http({}).first + class_closed() + kPageEnd);
}

TEST_F(ServicePolicyContinuation, ClassesInBetweenEndAClass) {
  EXPECT_EQ(format(page_of({}, {{"web", {nat({})}}, {"mail", {nat({})}}})),
            heading({}) + class_opened("web") + nat({}).first + class_closed() + class_opened("mail") + nat({}).first +
                class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of({}, {{"web", {load_balance({})}}, {"mail", {load_balance({})}}})),
            class_opened("web") + load_balance({}).first + class_closed() + class_opened("mail") +
                load_balance({}).first + class_closed() + kPageEnd);
}

// The same rule holds on one page.
TEST_F(ServicePolicyContinuation, TheSameClassTwiceOnAPage) {
  EXPECT_EQ(format(page_of({}, {{"web", {nat({}), load_balance({})}},
                                {"web", {nat({}), continued_load_balance({}), continued_http({}), dns({})}},
                                {"mail", {nat({})}}})),
            heading({}) + class_opened("web") + nat({}).first + load_balance({}).first + class_closed() +
                kClassContinued + nat({}).again + continued_load_balance({}).again + continued_http({}).again +
                dns({}).first + class_closed() + class_opened("mail") + nat({}).first + class_closed() + kPageEnd);
}

// ---- the state that remains after a class

// The last group decides: without records, the actions of the class are written whole again, but not its name.
TEST_F(ServicePolicyContinuation, AClassThatEndsWithoutRecords) {
  EXPECT_EQ(format(page_of({}, "web", {nat({}), empty_group()})),
            heading({}) + class_opened("web") + nat({}).first + empty_group().first + class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of({}, "web", {nat({}), load_balance({}), http({})})),
            kClassContinued + nat({}).first + load_balance({}).first + http({}).first + class_closed() + kPageEnd);
}

TEST_F(ServicePolicyContinuation, AClassThatOnlyBeginsWithoutRecords) {
  EXPECT_EQ(format(page_of({}, "web", {empty_group(), nat({})})),
            heading({}) + class_opened("web") + empty_group().first + nat({}).first + class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of({}, "web", {nat({}), continued_load_balance({})})),
            kClassContinued + nat({}).again + continued_load_balance({}).again + class_closed() + kPageEnd);
}

// A last group with records counts, whatever its type.
TEST_F(ServicePolicyContinuation, EveryTypeOfLastGroupCounts) {
  for (const Action& last :
       {acl(), nat({}), load_balance({}), http({}), ftp({}), dns({}), icmp({}), rtsp({}), none()}) {
    reload();
    EXPECT_EQ(format(page_of({}, "web", {nat({}), empty_group(), last})), heading({}) + class_opened("web") +
                                                                              nat({}).first + empty_group().first +
                                                                              last.first + class_closed() + kPageEnd);
    EXPECT_EQ(format(page_of({}, "web", {nat({})})), kClassContinued + nat({}).again + class_closed() + kPageEnd);
  }
}

// A class in between that ends without records, or has no group, hides the name of the class before, but not its
// actions.
TEST_F(ServicePolicyContinuation, TheLastClassAndTheLastWithActionsMayDiffer) {
  for (const std::vector<Action>& between : {std::vector<Action>{}, {empty_group()}, {ftp({}), empty_group()}}) {
    reload();
    Events shown_between;
    for (const Action& action : between)
      shown_between = shown_between + action.first;
    EXPECT_EQ(
        format(page_of({}, {{"web", {nat({})}}, {"mail", between}, {"web", {nat({}), continued_load_balance({})}}})),
        heading({}) + class_opened("web") + nat({}).first + class_closed() + class_opened("mail") + shown_between +
            class_closed() + class_opened("web") + nat({}).again + continued_load_balance({}).again + class_closed() +
            kPageEnd);
    // and now "web" is both
    EXPECT_EQ(format(page_of({}, "web", {nat({})})), kClassContinued + nat({}).again + class_closed() + kPageEnd);
  }
}

TEST_F(ServicePolicyContinuation, AClassInBetweenIsTheLastOne) {
  EXPECT_EQ(format(page_of({}, {{"web", {nat({})}}, {"mail", {}}})), heading({}) + class_opened("web") + nat({}).first +
                                                                         class_closed() + class_opened("mail") +
                                                                         class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of({}, "mail", {nat({})})), kClassContinued + nat({}).first + class_closed() + kPageEnd);
}

// ---- names

TEST_F(ServicePolicyContinuation, NamesAreComparedWhole) {
  const std::string x62(62, 'x');
  const std::vector<std::string> names = {"web", "web2", "we", "Web", "web ", x62 + "a", x62 + "b", x62};
  Events expected = heading({});
  std::vector<ClassGroup> classes;
  for (const std::string& name : names) {
    classes.push_back({name, {nat({})}});
    expected = std::move(expected) + class_opened(name) + nat({}).first + class_closed();
  }
  EXPECT_EQ(format(page_of({}, classes)), expected + kPageEnd);
}

// A name of 64 characters fills its field; it is distinguished from its neighbours and recognised again.
TEST_F(ServicePolicyContinuation, NamesOf64Characters) {
  const std::string ends_in_a = std::string(63, 'x') + "a";
  const std::string ends_in_b = std::string(63, 'x') + "b";
  const auto full_name_page = [](const std::string& name) {
    std::string bytes = page_of({}, name, {nat({})});
    bytes[260 + 12 + 64] = '\0';
    return bytes;
  };
  EXPECT_EQ(format(full_name_page(ends_in_a)),
            heading({}) + class_opened(ends_in_a) + nat({}).first + class_closed() + kPageEnd);
  EXPECT_EQ(format(full_name_page(ends_in_a)), kClassContinued + nat({}).again + class_closed() + kPageEnd);
  EXPECT_EQ(format(full_name_page(ends_in_b)), class_opened(ends_in_b) + nat({}).first + class_closed() + kPageEnd);
  EXPECT_EQ(format(full_name_page(ends_in_b)), kClassContinued + nat({}).again + class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of({}, std::string(63, 'x'), {nat({})})),
            class_opened(std::string(63, 'x')) + nat({}).first + class_closed() + kPageEnd);
}

// Nothing of a long name remains after a short one.
TEST_F(ServicePolicyContinuation, AShortNameAfterALongOne) {
  EXPECT_EQ(format(page_of({}, {{std::string(63, 'x'), {nat({})}}, {"x", {nat({})}}, {"x", {nat({})}}})),
            heading({}) + class_opened(std::string(63, 'x')) + nat({}).first + class_closed() + class_opened("x") +
                nat({}).first + class_closed() + kClassContinued + nat({}).again + class_closed() + kPageEnd);
}

// The remembered names begin empty: a class without a name is taken to go on.
TEST_F(ServicePolicyContinuation, AClassWithoutANameGoesOnFromTheStart) {
  EXPECT_EQ(format(page_of({}, "", {nat({}), continued_load_balance({}), continued_http({}), rtsp({})})),
            heading({}) + kClassContinued + nat({}).again + continued_load_balance({}).again +
                continued_http({}).again + rtsp({}).first + class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of({}, {{"web", {nat({})}}, {"", {nat({}), load_balance({})}}})),
            class_opened("web") + nat({}).first + class_closed() + class_opened("") + nat({}).first +
                load_balance({}).first + class_closed() + kPageEnd);
}

// ---- how long it is remembered

// Neither another policy nor another mode begins anew.
TEST_F(ServicePolicyContinuation, OverCommands) {
  host.answer({.response = page_of({}, "web", {nat({})})});
  EXPECT_EQ(run("kvelpolicymap_show_servicepolicy", {{902, "edge"}}).back(), "return 0");
  const Mode inactive_detail = {.active = 0, .detail = 1};
  host.answer({.response = page_of(inactive_detail, "web", {nat(inactive_detail), continued_http(inactive_detail)})});
  EXPECT_EQ(
      run("kvelpolicymap_show_servicepolicy", {{902, "core"}, {903}}),
      (Events{"bind 2", "xprint_header 'xml_show_service_policy'", "init_resp",
              "call cm_show_service_policy(u16 7, 'core', u32 1, buffer[20] 00*20, buffer[4] 00000000, response)"} +
       kClassContinued + nat(inactive_detail).again + continued_http(inactive_detail).again + class_closed() +
       kPageEnd + Events{"free", kNewline, "xprint_footer 'xml_show_service_policy'", "return 0"}));
}

TEST_F(ServicePolicyContinuation, UntilThePlugInIsUnloaded) {
  const std::string bytes = page_of({}, "web", {nat({})});
  const Events shown = heading({}) + class_opened("web") + nat({}).first + class_closed() + kPageEnd;
  for (int number = 0; number < 3; ++number) {
    EXPECT_EQ(format(bytes), shown);
    EXPECT_EQ(format(bytes), kClassContinued + nat({}).again + class_closed() + kPageEnd);
    reload();
  }
}

TEST_F(ServicePolicyContinuation, PagesWithoutClassesChangeNothing) {
  EXPECT_EQ(format(page_of({}, "web", {nat({})})),
            heading({}) + class_opened("web") + nat({}).first + class_closed() + kPageEnd);
  EXPECT_EQ(format(stream::policy({.class_count = 0})), kPageEnd);
  EXPECT_EQ(format(stream::policy({.record_type = 1, .class_count = 0})), Events{});
  EXPECT_EQ(format(stream::policy({}) + stream::class_map({.record_type = 5, .name = "mail"})),
            Events{out("\nUnexpected header: 5")});
  EXPECT_EQ(format(page_of({}, "web", {nat({})})), kClassContinued + nat({}).again + class_closed() + kPageEnd);
}

// Counters follow the state that each page gives.
TEST_F(ServicePolicyContinuation, EachPageStatesWhetherThePolicyIsActive) {
  const Mode inactive = {.active = 0};
  EXPECT_EQ(format(page_of({}, "web", {nat({})})),
            heading({}) + class_opened("web") + nat({}).first + class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of(inactive, "web", {nat(inactive)})),
            kClassContinued + nat(inactive).again + class_closed() + kPageEnd);
  EXPECT_EQ(format(page_of({}, "mail", {nat({})})), class_opened("mail") + nat({}).first + class_closed() + kPageEnd);
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_continuation_test
