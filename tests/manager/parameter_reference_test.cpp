// Who uses parameter-maps and SSL-proxy services: classes of policy-maps and services, before and after a restart.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/failing_allocation.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/parameter_client.h"

namespace kvel::manager::testing::parameter_reference_test {
namespace {

enum : std::uint32_t { kConnectionParameters = 0, kApplicationParameters = 1 };
enum : std::uint32_t { kLayer34 = 1, kLoadBalancing = 2, kManagement = 5 };

class ParameterReferences : public ::testing::Test {
 protected:
  FakeDisk disk;
  std::unique_ptr<Manager> manager = open();

  std::unique_ptr<Manager> open() { return Manager::open(std::make_unique<FakeStore>(disk)).value(); }
  ParameterClient client() { return ParameterClient(*manager); }
  void reopen() {
    manager.reset();
    manager = open();
  }
  void make_objects() {
    for (const auto& [name, type] : {std::pair("conn", kConnectionMap), {"http", kHttpMap}, {"ssl", kSslMap}})
      ASSERT_EQ(client().create(name, type), Status::ok);
    ASSERT_EQ(client().service("shop"), Status::ok);
    ASSERT_EQ(client().policy("edge", kLayer34), Status::ok);
    ASSERT_EQ(client().policy("lb", kLoadBalancing), Status::ok);
  }
  void expect_refused(const FakeDisk::Key& key, const std::string& body, const std::string& why) {
    manager.reset();
    const auto before = disk.records;
    disk.records[key] = body;
    const auto refused = Manager::open(std::make_unique<FakeStore>(disk));
    ASSERT_FALSE(refused) << body;
    EXPECT_EQ(refused.error().message, why);
    disk.records = before;
    manager = open();
  }
};

TEST_F(ParameterReferences, AttachmentsNeedTheirObjects) {
  make_objects();
  using enum Status;
  EXPECT_EQ(client().attach("edge", "none", kConnectionParameters), parameter_map_not_found);
  EXPECT_EQ(client().attach("edge", "http", kConnectionParameters), parameter_map_type_differs);
  EXPECT_EQ(client().attach("edge", "ssl", kConnectionParameters), parameter_map_type_differs);
  EXPECT_EQ(client().attach("edge", "conn", kApplicationParameters), parameter_map_type_differs);
  EXPECT_EQ(client().attach("edge", "ssl", kApplicationParameters), parameter_map_type_differs);
  EXPECT_EQ(client().attach("edge", "conn", 2), bad_arguments);
  EXPECT_EQ(client().attach("edge", "", kConnectionParameters), invalid_name);
  EXPECT_EQ(client().attach("none", "conn", kConnectionParameters), policy_map_not_found);
  EXPECT_EQ(client().attach("lb", "conn", kConnectionParameters), policy_map_type_differs);
  EXPECT_EQ(client().attach_service("edge", "none"), ssl_proxy_not_found);
  EXPECT_EQ(client().attach_service("edge", "ssl"), ssl_proxy_not_found);
  EXPECT_EQ(client().object(4, "edge"), R"({"kind":"policy-map","name":"edge","type":1,"subtype":1})");

  EXPECT_EQ(client().attach("edge", "conn", kConnectionParameters), ok);
  EXPECT_EQ(client().attach("edge", "http", kApplicationParameters), ok);
  EXPECT_EQ(client().attach_service("edge", "shop"), ok);
  EXPECT_EQ(client().attach_service("lb", "shop"), ok);
  EXPECT_EQ(
      client().object(4, "edge"),
      R"({"kind":"policy-map","name":"edge","type":1,"subtype":1,"classes":[{"line":10,"class":"class-default",)"
      R"("actions":[{"action":"ssl-proxy-server","name":"shop"},{"action":"connection-parameters","name":"conn"},)"
      R"({"action":"application-parameters","name":"http"}]}]})");
  EXPECT_EQ(client().object(4, "lb"),
            R"({"kind":"policy-map","name":"lb","type":2,"subtype":1,"classes":[{"line":10,"class":"class-default",)"
            R"("actions":[{"action":"ssl-proxy-client","name":"shop"}]}]})");
}

TEST_F(ParameterReferences, WhatIsDetachedMustBeAttached) {
  make_objects();
  using enum Status;
  EXPECT_EQ(client().attach("edge", "conn", kConnectionParameters, 0), action_not_found);
  EXPECT_EQ(client().attach("edge", "", kConnectionParameters, 0), action_not_found);
  EXPECT_EQ(client().attach_service("edge", "shop", 0), action_not_found);
  ASSERT_EQ(client().attach("edge", "conn", kConnectionParameters), ok);
  ASSERT_EQ(client().attach_service("edge", "shop"), ok);
  EXPECT_EQ(client().attach("edge", "http", kConnectionParameters, 0), action_not_found);
  EXPECT_EQ(client().attach("edge", "conn", kApplicationParameters, 0), action_not_found);
  EXPECT_EQ(client().attach_service("edge", "other", 0), action_not_found);
  EXPECT_EQ(client().attach("edge", "", kConnectionParameters, 0), ok);
  EXPECT_EQ(client().attach_service("edge", "shop", 0), ok);
  EXPECT_EQ(client().object(4, "edge"), R"({"kind":"policy-map","name":"edge","type":1,"subtype":1})");
}

// The same before and after the manager is opened anew.
TEST_F(ParameterReferences, WhatIsUsedStays) {
  make_objects();
  ASSERT_EQ(client().attach("edge", "conn", kConnectionParameters), Status::ok);
  ASSERT_EQ(client().attach("edge", "http", kApplicationParameters), Status::ok);
  ASSERT_EQ(client().attach_service("lb", "shop"), Status::ok);
  ASSERT_EQ(client().set("param_map", "shop", "ssl"), Status::ok);
  const std::string all = client().objects();
  for (const bool again : {false, true}) {
    if (again) reopen();
    EXPECT_EQ(client().objects(), all);
    EXPECT_EQ(client().remove("conn", kConnectionMap), Status::parameter_map_in_use);
    EXPECT_EQ(client().remove("http", kHttpMap), Status::parameter_map_in_use);
    EXPECT_EQ(client().remove("ssl", kSslMap), Status::parameter_map_in_use);
    EXPECT_EQ(client().remove("ssl", kHttpMap), Status::parameter_map_type_differs);
    EXPECT_EQ(client().remove_service("shop"), Status::ssl_proxy_in_use);
    EXPECT_EQ(client().objects(), all);
  }
  // What is no longer named can go: after another one was attached, after a detachment, and with what named it.
  ASSERT_EQ(client().create("conn2", kConnectionMap), Status::ok);
  ASSERT_EQ(client().attach("edge", "conn2", kConnectionParameters), Status::ok);
  EXPECT_EQ(client().remove("conn", kConnectionMap), Status::ok);
  EXPECT_EQ(client().remove("conn2", kConnectionMap), Status::parameter_map_in_use);
  ASSERT_EQ(client().attach("edge", "http", kApplicationParameters, 0), Status::ok);
  EXPECT_EQ(client().remove("http", kHttpMap), Status::ok);
  ASSERT_EQ(client().policy("edge", kLayer34, 0), Status::ok);
  EXPECT_EQ(client().remove("conn2", kConnectionMap), Status::ok);
  ASSERT_EQ(client().policy("lb", kLoadBalancing, 0), Status::ok);
  EXPECT_EQ(client().remove_service("shop"), Status::ok);
  EXPECT_EQ(client().remove("ssl", kSslMap), Status::ok);
  EXPECT_EQ(client().objects(), "[]");
  EXPECT_TRUE(disk.records.empty());
}

TEST_F(ParameterReferences, AChangedMemberReleasesWhatItWas) {
  make_objects();
  ASSERT_EQ(client().create("ssl2", kSslMap), Status::ok);
  ASSERT_EQ(client().set("param_map", "shop", "ssl"), Status::ok);
  ASSERT_EQ(client().set("key", "shop", "k"), Status::ok);
  EXPECT_EQ(client().remove("ssl", kSslMap), Status::parameter_map_in_use);
  ASSERT_EQ(client().set("param_map", "shop", "ssl2"), Status::ok);
  EXPECT_EQ(client().remove("ssl", kSslMap), Status::ok);
  EXPECT_EQ(client().remove("ssl2", kSslMap), Status::parameter_map_in_use);
  ASSERT_EQ(client().unset("param_map", "shop", ""), Status::ok);
  EXPECT_EQ(client().remove("ssl2", kSslMap), Status::ok);
}

TEST_F(ParameterReferences, ObjectsComeBeforeThoseThatReferToThem) {
  make_objects();
  ASSERT_EQ(client().set("param_map", "shop", "ssl"), Status::ok);
  EXPECT_EQ(client().objects(),
            R"([{"kind":"parameter-map","name":"conn","type":0},{"kind":"parameter-map","name":"http","type":1},)"
            R"({"kind":"parameter-map","name":"ssl","type":2},)"
            R"({"kind":"ssl-proxy","name":"shop","parameter_map":"ssl"},)"
            R"({"kind":"policy-map","name":"edge","type":1,"subtype":1},)"
            R"({"kind":"policy-map","name":"lb","type":2,"subtype":1}])");
}

// A settled map and service come back as they were, with the rows that were written.
TEST_F(ParameterReferences, SettingsComeBack) {
  make_objects();
  ASSERT_EQ(client().configure("conn", kConnectionMap, settings_record(0x80100000, {{4, word(60)}, {128, "\x10"}})),
            Status::ok);
  ASSERT_EQ(client().configure("http", kHttpMap, settings_record(0x12000000, {{16, word(1)}, {28, "\"\\"}})),
            Status::ok);
  ASSERT_EQ(client().configure("ssl", kSslMap, settings_record(0x80000000, {{4, word(3)}, {8, word(2)}})), Status::ok);
  EXPECT_EQ(
      disk.records.at({0, 7, "conn", 0}),
      R"({"type":0,"settings":[{"setting":"half-closed-timeout","seconds":60},{"setting":"tos-rewrite","value":16}]})");
  EXPECT_EQ(disk.records.at({0, 7, "http", 0}),
            R"({"type":1,"settings":[{"setting":"length-exceed","action":"continue"},)"
            R"({"setting":"cookie-delimiters","text":"\"\\"}]})");
  EXPECT_EQ(disk.records.at({0, 7, "ssl", 0}), R"({"type":2,"settings":[{"setting":"cipher","code":3,"priority":2}]})");
  const std::string all = client().objects();
  const std::string shown = client().show().response;
  reopen();
  EXPECT_EQ(client().objects(), all);
  EXPECT_EQ(client().show().response, shown);
}

TEST_F(ParameterReferences, StoresThatAreRefused) {
  make_objects();
  const FakeDisk::Key map{0, 7, "p", 0};
  const std::string in_map = R"(parameter-map "p" in context 0: )";
  const std::string form = "its body is not in the form that this system writes";
  const auto refuse_setting = [&](const std::string& type, const std::string& setting, const std::string& why) {
    expect_refused(map, R"({"type":)" + type + R"(,"settings":[)" + setting + "]}", in_map + why);
  };
  expect_refused(map, "", in_map + "its body is no JSON object");
  expect_refused(map, "[]", in_map + "its body is no JSON object");
  expect_refused(map, "{}", in_map + "its type null is none of 0 to 2");
  expect_refused(map, R"({"type":3})", in_map + "its type 3 is none of 0 to 2");
  expect_refused(map, R"({"type":-1})", in_map + "its type -1 is none of 0 to 2");
  expect_refused(map, R"({"type":0,"settings":{}})", in_map + "its settings are no array");
  expect_refused(map, R"({"type":0,"settings":[]})", in_map + form);
  expect_refused(map, R"({"type":0,"colour":1})", in_map + form);
  expect_refused(map, R"({ "type":0})", in_map + form);
  refuse_setting("0", "7", "it has a setting without a kind");
  refuse_setting("0", R"({"mode":"disabled"})", "it has a setting without a kind");
  refuse_setting("1", R"({"setting":"nagle","mode":"disabled"})",
                 R"(its type has no setting {"mode":"disabled","setting":"nagle"})");
  refuse_setting("0", R"({"setting":"nagle","mode":"disabled","colour":1})", form);
  refuse_setting("0", R"({"setting":"nagle","mode":"enabled"})", form);
  refuse_setting("0", R"({"setting":"nagle"})", form);
  refuse_setting("0", R"({"setting":"nagle","mode":"disabled"},{"setting":"nagle","mode":"disabled"})", form);
  refuse_setting("0", R"({"setting":"slow-start","mode":"disabled"},{"setting":"nagle","mode":"disabled"})", form);
  refuse_setting("0", R"({"setting":"nagle","mode":"off"})", R"(its setting "nagle": mode cannot be "off")");
  refuse_setting("0", R"({"setting":"nagle","mode":1})", R"(its setting "nagle": mode cannot be 1)");
  refuse_setting("0", R"({"setting":"queue-limit","count":-1})", R"(its setting "queue-limit": count cannot be -1)");
  refuse_setting("0", R"({"setting":"queue-limit","count":4294967296})",
                 R"(its setting "queue-limit": count cannot be 4294967296)");
  refuse_setting("0", R"({"setting":"tos-rewrite","value":256})",
                 R"(its setting "tos-rewrite": the setting does not take this value)");
  refuse_setting("0", R"({"setting":"tos-rewrite","value":4294967295})", form);
  refuse_setting("0", R"({"setting":"mss","min":1461,"max":1460})",
                 R"(its setting "mss": the setting does not take this value)");
  refuse_setting("0", R"({"setting":"options-drop","low":2,"high":1})",
                 R"(its setting "options-drop": the range is empty: its lower end is above its upper end)");
  refuse_setting("1", R"({"setting":"cookie-delimiters","text":"abcde"})",
                 R"(its setting "cookie-delimiters": text cannot be "abcde")");
  refuse_setting("1", R"({"setting":"cookie-delimiters","text":""})",
                 R"(its setting "cookie-delimiters": the setting does not take this value)");
  refuse_setting("2", R"({"setting":"cipher","code":12,"priority":1})",
                 R"(its type has no setting {"code":12,"priority":1,"setting":"cipher"})");
  refuse_setting("2", R"({"setting":"cipher","priority":1})",
                 R"(its type has no setting {"priority":1,"setting":"cipher"})");
  refuse_setting("2", R"({"setting":"cipher","code":1,"priority":0})", form);
  refuse_setting("2", R"({"setting":"cipher","code":1,"priority":256})",
                 R"(its setting "cipher": the setting does not take this value)");
  expect_refused({0, 7, "#p", 0}, R"({"type":0})", R"(parameter-map "#p" in context 0: nothing can have this name)");
  expect_refused({0, 7, "conn", 1}, R"({"type":0})", R"(parameter-map "conn" in context 0: it has no part 1)");

  const FakeDisk::Key service{0, 6, "s", 0};
  const std::string in_service = R"(ssl-proxy "s" in context 0: )";
  expect_refused(service, "null", in_service + "its body is no JSON object");
  expect_refused(service, R"({"key":""})", in_service + form);
  expect_refused(service, R"({"certificate":"c","key":"k"})", in_service + form);
  expect_refused(service, R"({"colour":"c"})", in_service + form);
  expect_refused(service, R"({"key":7})", in_service + "its key cannot be 7");
  expect_refused(service, R"({"key":"#k"})", in_service + "nothing can have the name of its key");
  expect_refused(service, R"({"parameter_map":"none"})",
                 in_service + R"(parameter-map "none": the parameter-map does not exist)");
  expect_refused(service, R"({"parameter_map":"http"})",
                 in_service + R"(parameter-map "http": the parameter-map is of another type)");
  expect_refused({0, 6, "shop", 2}, "{}", R"(ssl-proxy "shop" in context 0: it has no part 2)");
  // Another context's objects are not there.
  expect_refused({1, 6, "s", 0}, R"({"parameter_map":"ssl"})",
                 R"(ssl-proxy "s" in context 1: parameter-map "ssl": the parameter-map does not exist)");

  const FakeDisk::Key class_default{0, 4, "edge", 9223372036854775807};
  const auto refuse_action = [&](const std::string& action, const std::string& why) {
    expect_refused(class_default, R"({"class":"class-default","actions":[)" + action + "]}",
                   R"(policy-map "edge" in context 0: its class "class-default": )" + why);
  };
  refuse_action(R"({"action":"ssl-proxy-server","name":"none"})", "the SSL-proxy service does not exist");
  refuse_action(R"({"action":"connection-parameters","name":"none"})", "the parameter-map does not exist");
  refuse_action(R"({"action":"connection-parameters","name":"http"})", "the parameter-map is of another type");
  refuse_action(R"({"action":"application-parameters","name":"conn"})", "the parameter-map is of another type");
}

// Whichever allocation of a call fails, nothing has changed, and the call works afterwards.
TEST_F(ParameterReferences, AFailedAllocationChangesNothing) {
  class Starved final : public rpc::Service {
   public:
    Starved(rpc::Service& service, std::uint64_t allocations) : service_(service), allocations_(allocations) {}
    [[nodiscard]] Status call(std::size_t row, std::span<const rpc::Argument> arguments) noexcept override {
      const FailingAllocation failing(allocations_);
      const Status status = service_.call(row, arguments);
      has_failed = FailingAllocation::has_failed();
      return status;
    }
    bool has_failed = false;

   private:
    rpc::Service& service_;
    std::uint64_t allocations_;
  };
  using Operation = Status (*)(ParameterClient&);
  const Operation operations[] = {
      [](ParameterClient& on) { return on.create("a rather long name of a new parameter-map", kHttpMap); },
      [](ParameterClient& on) {
        return on.configure("conn", kConnectionMap, settings_record(0x80000000, {{4, word(1)}}));
      },
      [](ParameterClient& on) { return on.service("a rather long name of a new SSL-proxy service"); },
      [](ParameterClient& on) { return on.set("key", "shop", "a rather long name of a key of a service"); },
      [](ParameterClient& on) { return on.set("param_map", "shop", "ssl"); },
      [](ParameterClient& on) { return on.attach_service("edge", "shop"); },
      [](ParameterClient& on) { return on.attach("edge", "conn", kConnectionParameters); },
  };
  make_objects();
  for (const Operation run : operations) {
    const std::string before = client().objects();
    bool failed = true;
    for (std::uint64_t allocations = 0; failed; ++allocations) {
      ASSERT_LT(allocations, 200U);
      Starved starved(*manager, allocations);
      ParameterClient hungry(starved);
      const Status status = run(hungry);
      failed = starved.has_failed;
      ASSERT_EQ(status, failed ? Status::internal : Status::ok);
      if (failed) {
        ASSERT_EQ(client().objects(), before);
      }
    }
    EXPECT_NE(client().objects(), before);
  }
  EXPECT_EQ(client().remove("ssl", kSslMap), Status::parameter_map_in_use);
  const std::string after = client().objects();
  reopen();
  EXPECT_EQ(client().objects(), after);
}

}  // namespace
}  // namespace kvel::manager::testing::parameter_reference_test
