// Entering objects by name, and knowing later whether the name means the same object.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/parameter_client.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::entry_calls_test {
namespace {

constexpr std::uint32_t kPolicyMaps = 4, kClassMaps = 5, kSslProxies = 6, kParameterMaps = 7;

struct Identity {
  Status status = Status::internal;
  std::string which;                // 8 bytes: the process, and the number of the object
  std::vector<std::uint32_t> rest;  // 3 words
};

class Entry : public ::testing::Test {
 protected:
  Identity enter(std::uint32_t kind, const std::string& name, std::uint32_t type, std::uint32_t setting = 1,
                 std::uint32_t given = 0) {
    return identity("kvel_enter_object",
                    {u16(0), session(), u32(kind), string(name), u8(type), u8(setting), u8(given), out()});
  }
  Identity identify(std::uint32_t kind, const std::string& name, const std::string& entry = {}) {
    return identity("kvel_identify_object", {u16(0), u32(kind), string(name), string(entry), out()});
  }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client classes_{*manager_};
  PolicyClient policies_{*manager_};
  ParameterClient parameters_{*manager_};

 private:
  static Value out() { return buffer(std::string(20, '?')); }
  Identity identity(std::string_view call, std::vector<Value> values) {
    Identity identity;
    identity.status = call_with(*manager_, call, values);
    const std::string& bytes = values.back().text;
    identity.which = bytes.substr(0, 8);
    for (std::size_t at = 8; at < 20; at += 4) {
      std::uint32_t word = 0;
      for (std::size_t byte = at; byte < at + 4; ++byte)
        word = word << 8U | static_cast<unsigned char>(bytes[byte]);
      identity.rest.push_back(word);
    }
    return identity;
  }
};

using Words = std::vector<std::uint32_t>;

TEST_F(Entry, MakesWhatIsNotThere) {
  EXPECT_EQ(enter(kClassMaps, "web", 2, kMatchAny).rest, (Words{1, 0, 0}));
  EXPECT_EQ(enter(kPolicyMaps, "p", 3, 3).rest, (Words{1, 3, 0}));
  EXPECT_EQ(enter(kParameterMaps, "m", 1, 0).rest, (Words{1, 0, 0}));
  EXPECT_EQ(enter(kSslProxies, "s", 0, 0).rest, (Words{1, 0, 0}));
  EXPECT_EQ(parameters_.objects(), R"([{"kind":"parameter-map","name":"m","type":1},{"kind":"ssl-proxy","name":"s"},)"
                                   R"({"kind":"class-map","name":"web","type":2,"match_all":false},)"
                                   R"({"kind":"policy-map","name":"p","type":3,"subtype":3}])");
  EXPECT_EQ(disk_.commits, 4);
}

// One step: whoever made it, and however, it stays as it is.
TEST_F(Entry, WhatIsThereIsLookedUpAndNotChanged) {
  ASSERT_EQ(classes_.create("web", 2, kMatchAny), Status::ok);
  ASSERT_EQ(policies_.create("p", 3, 3), Status::ok);
  RuleClient rules(*manager_);
  ASSERT_EQ(rules.lb_url({"web"}, "/a"), Status::ok);
  ASSERT_EQ(rules.lb_url({"web"}, "/b"), Status::ok);
  const int commits = disk_.commits;
  EXPECT_EQ(enter(kClassMaps, "web", 2, kMatchAll).rest, (Words{0, kMatchAny, 2}));
  EXPECT_EQ(enter(kPolicyMaps, "p", 3, 1).status, Status::ok);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(enter(kClassMaps, "web", 0, kMatchAll).status, Status::class_map_type_differs);
  EXPECT_EQ(enter(kPolicyMaps, "p", 1, 1).status, Status::policy_map_type_differs);
  // What is given is meant.
  EXPECT_EQ(enter(kPolicyMaps, "p", 3, 1, 1).status, Status::policy_map_type_differs);
  EXPECT_EQ(enter(kClassMaps, "web", 2, kMatchAll, 1).rest, (Words{0, kMatchAny, 2}));
  EXPECT_EQ(enter(kClassMaps, "web", 2, kMatchAll).rest, (Words{0, kMatchAll, 2}));
  EXPECT_EQ(disk_.commits, commits + 1);
}

TEST_F(Entry, WhatCannotBe) {
  EXPECT_EQ(enter(kClassMaps, "#x", 0).status, Status::invalid_name);
  EXPECT_EQ(enter(kClassMaps, "x", 5).status, Status::invalid_type);
  EXPECT_EQ(enter(kClassMaps, "x", 0, 2).status, Status::invalid_match_mode);
  EXPECT_EQ(enter(kClassMaps, "x", 0, 1, 2).status, Status::bad_arguments);
  EXPECT_EQ(enter(3, "x", 0).status, Status::invalid_type);
  EXPECT_EQ(enter(0, "x", 0).status, Status::invalid_type);
  EXPECT_EQ(identify(3, "x").status, Status::invalid_type);
  EXPECT_EQ(identify(kClassMaps, "x").status, Status::class_map_not_found);
  EXPECT_EQ(identify(kClassMaps, "x", "y").status, Status::bad_arguments);
  EXPECT_EQ(identify(kPolicyMaps, "x", "y").status, Status::policy_map_not_found);
  EXPECT_EQ(disk_.commits, 0);
}

TEST_F(Entry, AnObjectMadeAnewIsAnotherOne) {
  struct Kind {
    std::uint32_t kind, type;
    std::function<Status()> remove;
  };
  for (const Kind& kind : {Kind{kClassMaps, 0, [&] { return classes_.remove("x"); }},
                           Kind{kPolicyMaps, 1, [&] { return policies_.remove("x"); }},
                           Kind{kParameterMaps, 2, [&] { return parameters_.remove("x", 2); }},
                           Kind{kSslProxies, 0, [&] { return parameters_.remove_service("x"); }}}) {
    const Identity first = enter(kind.kind, "x", kind.type);
    EXPECT_EQ(first.status, Status::ok);
    EXPECT_EQ(first.which.find(std::string(4, '\0')), std::string::npos);
    ASSERT_EQ(classes_.create("other" + std::to_string(kind.kind)), Status::ok);
    EXPECT_EQ(enter(kind.kind, "x", kind.type).which, first.which);
    EXPECT_EQ(identify(kind.kind, "x").which, first.which);
    EXPECT_EQ(identify(kind.kind, "x").rest, (Words{kind.type, 0, 0}));
    ASSERT_EQ(kind.remove(), Status::ok);
    EXPECT_NE(identify(kind.kind, "x").status, Status::ok);
    const Identity second = enter(kind.kind, "x", kind.type);
    EXPECT_EQ(second.which.substr(0, 4), first.which.substr(0, 4));
    EXPECT_NE(second.which, first.which);
    EXPECT_EQ(identify(kind.kind, "x").which, second.which);
  }
}

TEST_F(Entry, AMatchModeOrADescriptionMakesNoOtherObject) {
  const Identity first = enter(kClassMaps, "x", 0, kMatchAll);
  ASSERT_EQ(classes_.create("x", 0, kMatchAny), Status::ok);
  ASSERT_EQ(classes_.describe("x", "y"), Status::ok);
  EXPECT_EQ(identify(kClassMaps, "x").which, first.which);
}

TEST_F(Entry, AClassTakenOutAndPutInAgainIsAnotherOne) {
  ASSERT_EQ(policies_.create("lb", 2), Status::ok);
  ASSERT_EQ(classes_.create("c", 2), Status::ok);
  ASSERT_EQ(policies_.put({"lb", "c"}, 2), Status::ok);
  ASSERT_EQ(policies_.url_match({"lb", "m"}, "/"), Status::ok);
  const Identity of_class = identify(kPolicyMaps, "lb", "c");
  const Identity of_match = identify(kPolicyMaps, "lb", "m");
  EXPECT_EQ(of_class.which, identify(kPolicyMaps, "lb").which);
  EXPECT_NE(of_class.rest, of_match.rest);
  EXPECT_EQ(identify(kPolicyMaps, "lb", "class-default").status, Status::ok);
  EXPECT_EQ(identify(kPolicyMaps, "lb", "none").status, Status::class_not_in_policy);
  // Moved or changed, it is the same.
  ASSERT_EQ(policies_.put({"lb", "c", 1, "class-default"}, 2), Status::ok);
  ASSERT_EQ(policies_.url_match({"lb", "m"}, "/other"), Status::ok);
  EXPECT_EQ(identify(kPolicyMaps, "lb", "c").rest, of_class.rest);
  EXPECT_EQ(identify(kPolicyMaps, "lb", "m").rest, of_match.rest);
  ASSERT_EQ(policies_.put({"lb", "c", 0}, 2), Status::ok);
  EXPECT_EQ(identify(kPolicyMaps, "lb", "c").status, Status::class_not_in_policy);
  ASSERT_EQ(policies_.put({"lb", "c"}, 2), Status::ok);
  EXPECT_NE(identify(kPolicyMaps, "lb", "c").rest, of_class.rest);
}

TEST_F(Entry, AnotherProcessIsTold) {
  const Identity before = enter(kClassMaps, "web", 0);
  manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  const Identity after = identify(kClassMaps, "web");
  EXPECT_EQ(after.status, Status::ok);
  EXPECT_NE(after.which.substr(0, 4), before.which.substr(0, 4));
}

// Of one setting the fields that are not given stay.
class KeptFields : public Entry {
 protected:
  KeptFields() { EXPECT_EQ(parameters_.create("m", kConnectionMap), Status::ok); }
  Status mss(std::uint32_t min, std::uint32_t max, std::uint32_t kept, std::uint32_t add = 1,
             std::uint32_t mask = 0x00080000) {
    std::vector values{
        u16(0),      session(),          u8(add),
        string("m"), u8(kConnectionMap), buffer(settings_record(mask, Bytes{{52, word(min)}, {48, word(max)}})),
        u32(kept)};
    return call_with(*manager_, "kvel_change_parameter_map", values);
  }
  std::string settings() {
    return parameters_.map("m").substr(std::string(R"({"kind":"parameter-map","name":"m",)").size());
  }
  static constexpr std::uint32_t kMin = 1, kMax = 2;
};

TEST_F(KeptFields, StayAsTheyAre) {
  EXPECT_EQ(mss(900, 0, kMax), Status::ok);
  EXPECT_EQ(settings(), R"("type":0,"settings":[{"setting":"mss","min":900,"max":1460}]})");
  EXPECT_EQ(mss(0, 1000, kMin), Status::ok);
  EXPECT_EQ(settings(), R"("type":0,"settings":[{"setting":"mss","min":900,"max":1000}]})");
  EXPECT_EQ(mss(0, 899, kMin), Status::bounds_crossed);
  EXPECT_EQ(mss(1001, 0, kMax), Status::bounds_crossed);
  EXPECT_EQ(mss(65536, 0, kMax), Status::invalid_setting);
  EXPECT_EQ(settings(), R"("type":0,"settings":[{"setting":"mss","min":900,"max":1000}]})");
  EXPECT_EQ(mss(0, 0, kMin), Status::ok);  // no maximum
  EXPECT_EQ(settings(), R"("type":0,"settings":[{"setting":"mss","min":900,"max":0}]})");
  EXPECT_EQ(mss(0, 0, kMin, 0), Status::ok);
  EXPECT_EQ(settings(), R"("type":0,"settings":[{"setting":"mss","min":900,"max":1460}]})");
  EXPECT_EQ(mss(0, 0, kMax, 0), Status::ok);
  EXPECT_EQ(settings(), R"("type":0})");
  EXPECT_EQ(mss(1400, 1500, 0), Status::ok);
  EXPECT_EQ(mss(0, 0, kMin, 0), Status::ok);
  ASSERT_EQ(mss(1460, 1500, 0), Status::ok);
  EXPECT_EQ(mss(1500, 0, kMax), Status::ok);
  EXPECT_EQ(mss(0, 0, kMin, 0), Status::bounds_crossed);  // the maximum would be 1460 again
  EXPECT_EQ(mss(0, 0, 0, 0), Status::ok);
  EXPECT_EQ(settings(), R"("type":0})");
}

TEST_F(KeptFields, AreSomeOfOneSetting) {
  EXPECT_EQ(mss(1, 2, 3), Status::bad_arguments);
  EXPECT_EQ(mss(1, 2, 4), Status::bad_arguments);
  EXPECT_EQ(mss(1, 2, kMin, 1, 0x80080000), Status::bad_arguments);
  EXPECT_EQ(mss(1, 2, kMin, 1, 0x80000000), Status::bad_arguments);
  EXPECT_EQ(settings(), R"("type":0})");
}

}  // namespace
}  // namespace kvel::manager::testing::entry_calls_test
