// What a session makes of a manager that is none of ours: its records lack members, or have others.
#include "shell/session/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "kvel/status.h"
#include "rpc/calls/service.h"
#include "tests/shell/record_service.h"
#include "tests/shell/session_on.h"

namespace kvel::shell::session_test {
namespace {

test::Executed executed(const std::string& record, const std::string& line) {
  test::RecordService service({record});
  return test::SessionOn(service).execute(line);
}

TEST(SessionOnAnotherManager, RecordsThatAreNoneOfOursAreAFailedCall) {
  const std::string error_message = "Error: " + std::string(status_text(Status::transport)) + "\n";
  const auto fails = [&](const std::string& record, const std::string& line) {
    const auto done = executed(record, line);
    EXPECT_EQ(done.outcome, Outcome::failed) << record << ": " << line;
    EXPECT_EQ(done.error_message, error_message) << record << ": " << line;
  };
  for (const char* show : {"show class-map", "show class-map x", "show class-map x | xml", "show running-config"}) {
    fails(R"({"kind":"class-map","name":"x"})", show);
    fails(R"({"kind":"class-map","name":"x","type":"0","match_all":true})", show);
    fails(R"({"kind":"class-map","name":"x","type":5,"match_all":true})", show);
    fails(R"({"kind":"class-map","name":"x","type":0,"match_all":true,"rules":[{}]})", show);
  }
  for (const char* show : {"show policy-map", "show policy-map x | json"})
    fails(R"({"kind":"policy-map","name":"x","type":0,"subtype":1})", show);
  fails(R"({"kind":"policy-map","name":"x","type":1})", "show policy-map");
  fails(R"({"kind":"policy-map","name":"x","type":1,"subtype":1,"classes":[{"line":10}]})", "show policy-map");
  fails(R"({"kind":"parameter-map","name":"x","type":3})", "show parameter-map | json");
  fails(R"({"kind":"ssl-proxy"})", "show ssl-proxy");
  fails(R"({"kind":"policy-map","applied":"global"})", "show service-policy");
  fails("7", "show running-config");
}

// A manager whose first answers are errors.
class FailingService : public test::RecordService {
 public:
  explicit FailingService(Status error) : RecordService({}), error_(error) {}
  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    calls.emplace_back(rpc::kCalls[call].name);
    return calls.size() == 1 ? error_ : RecordService::call(call, arguments);
  }
  std::vector<std::string> calls;

 private:
  Status error_;
};

// Carried out without knowing whether there is a class-map, the command would set its match mode to the default.
TEST(SessionOnAFailingManager, ACommandThatMayOnlyEnterIsNotCarriedOut) {
  struct Failure {
    Status status;
    const char* told;
  };
  for (const Failure& failure :
       {Failure{Status::timed_out, "Error: the manager did not answer in time\nError: Called API timed out\n"},
        Failure{Status::transport, "Error: the manager could not be reached\nError: Transport error\n"},
        Failure{Status::internal, "Error: Called API encountered error\n"}}) {
    FailingService service(failure.status);
    const auto done = test::SessionOn(service).execute("class-map web");
    EXPECT_EQ(done.outcome, Outcome::failed);
    EXPECT_EQ(done.error_message, failure.told);
    EXPECT_EQ(service.calls, std::vector<std::string>{"kvel_enter_object"});
  }
  // Another manager may not know that call, and is asked as the handler asks.
  FailingService service(Status::unknown_call);
  static_cast<void>(test::SessionOn(service).execute("class-map web"));
  EXPECT_EQ(service.calls, (std::vector<std::string>{"kvel_enter_object", "cm_add_or_lookup_classmap"}));
}

// Takes down the calls and, of each, its arguments; knows what it is told of one object.
class EnteredService : public rpc::Service {
 public:
  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    std::string text(rpc::kCalls[call].name);
    for (const rpc::Argument& argument : arguments) {
      if (argument.type == rpc::ArgType::string) text += " '" + std::string(argument.text) + "'";
      if (argument.type <= rpc::ArgType::u32) text += " " + std::to_string(argument.number);
    }
    calls.push_back(text);
    const auto out = arguments.back().bytes;
    if (out.size() == identity.size()) std::ranges::copy(identity, out.begin());
    return status;
  }
  void object(std::uint8_t process, std::uint8_t made, std::uint8_t type = 0, std::uint8_t entry = 0) {
    identity = {};
    identity[3] = std::byte{process};
    identity[7] = std::byte{made};
    identity[11] = std::byte{type};
    identity[19] = std::byte{entry};
  }

  std::vector<std::string> calls;
  std::array<std::byte, 20> identity{};
  Status status = Status::ok;
};

TEST(SessionEntering, IsOneCallWhateverIsTyped) {
  const auto calls_of = [](const char* line) {
    EnteredService service;
    EXPECT_EQ(test::SessionOn(service).execute(line).outcome, Outcome::done) << line;
    return service.calls;
  };
  using Calls = std::vector<std::string>;
  // Context, kind, name, type, match mode or subtype, whether that is given.
  EXPECT_EQ(calls_of("class-map web"), Calls{"kvel_enter_object 3 5 'web' 0 1 0"});
  EXPECT_EQ(calls_of("class-map match-any web"), Calls{"kvel_enter_object 3 5 'web' 0 0 1"});
  EXPECT_EQ(calls_of("class-map type http-load-balancing web"), Calls{"kvel_enter_object 3 5 'web' 2 1 0"});
  EXPECT_EQ(calls_of("policy-map type http-inspection p"), Calls{"kvel_enter_object 3 4 'p' 3 1 0"});
  EXPECT_EQ(calls_of("policy-map type http-inspection advanced subtype-3 p"), Calls{"kvel_enter_object 3 4 'p' 3 3 1"});
  EXPECT_EQ(calls_of("parameter-map type ssl m"), Calls{"kvel_enter_object 3 7 'm' 2 0 0"});
  EXPECT_EQ(calls_of("ssl-proxy service s"), Calls{"kvel_enter_object 3 6 's' 0 0 0"});
  EXPECT_EQ(calls_of("no class-map web"), Calls{"cm_add_or_lookup_classmap 3 0 1 'web' 0"});
}

class SessionInAMode : public ::testing::Test {
 protected:
  SessionInAMode() {
    service.object(1, 7);
    EXPECT_EQ(on.execute("class-map web").outcome, Outcome::done);
    service.calls.clear();
  }
  std::string error_of(const char* line) { return on.execute(line).error_message; }

  EnteredService service;
  test::SessionOn on{service};
};

TEST_F(SessionInAMode, CommandsGoToTheObjectThatWasEntered) {
  EXPECT_EQ(error_of("match any"), "");
  EXPECT_EQ(service.calls.front(), "kvel_identify_object 3 5 'web' ''");
  EXPECT_EQ(service.calls.back().substr(0, 22), "cm_update_class_to_any");
  service.calls.clear();
  service.object(1, 8);
  EXPECT_EQ(
      error_of("match any"),
      "Error: class-map 'web' was deleted and made anew; its mode is left, enter it again to change the new one\n");
  EXPECT_EQ(service.calls, std::vector<std::string>{"kvel_identify_object 3 5 'web' ''"});
  EXPECT_EQ(on.session().modes().size(), 1U);
}

TEST_F(SessionInAMode, ADeletedObjectIsLeft) {
  service.status = Status::class_map_not_found;
  EXPECT_EQ(error_of("match any"), "Error: class-map 'web' was deleted; its mode is left\n");
  EXPECT_EQ(service.calls.size(), 1U);
  EXPECT_EQ(on.session().modes().size(), 1U);
}

// In a replay the lines that follow were meant for the same object, however they are indented.
TEST_F(SessionInAMode, TheLinesUpToTheNextTopCommandAreForTheLostObject) {
  service.object(1, 8);
  EXPECT_EQ(on.execute("match any").outcome, Outcome::failed);
  EXPECT_EQ(on.execute("description x").outcome, Outcome::passed_over);
  EXPECT_EQ(on.execute("class-map web").outcome, Outcome::done);
  EXPECT_EQ(on.execute("match any").outcome, Outcome::done);
}

// A manager that was started anew has other numbers; the type still tells.
TEST_F(SessionInAMode, AManagerThatComesBackIsNoOtherObject) {
  service.object(2, 1, 0);
  EXPECT_EQ(error_of("match any"), "");
  EXPECT_EQ(error_of("match any"), "");
  service.object(2, 2, 0);
  EXPECT_NE(error_of("match any"), "");
  EXPECT_EQ(on.execute("class-map web").outcome, Outcome::done);
  service.object(3, 2, 1);
  EXPECT_NE(error_of("match any"), "");
  EXPECT_EQ(on.session().modes().size(), 1U);
}

TEST_F(SessionInAMode, WithoutAnAnswerNothingIsCarriedOut) {
  service.status = Status::timed_out;
  EXPECT_EQ(error_of("match any"), "Error: the manager did not answer in time\n");
  EXPECT_EQ(service.calls.size(), 1U);
  EXPECT_EQ(on.session().modes().size(), 2U);
}

TEST_F(SessionInAMode, ShowCommandsAskForNothing) {
  service.object(1, 8);
  EXPECT_EQ(on.execute("show version").outcome, Outcome::done);
  EXPECT_TRUE(service.calls.empty());
  EXPECT_EQ(on.session().modes().size(), 2U);
}

TEST(SessionInAClass, TheClassIsKnownToo) {
  EnteredService service;
  service.object(1, 7, 2, 40);
  test::SessionOn on(service);
  EXPECT_EQ(on.execute("policy-map type http-load-balancing p").outcome, Outcome::done);
  EXPECT_EQ(on.execute("class c").outcome, Outcome::done);
  service.calls.clear();
  EXPECT_EQ(on.execute("drop").error_message, "");
  EXPECT_EQ(service.calls.front(), "kvel_identify_object 3 4 'p' 'c'");
  service.object(1, 7, 2, 41);
  EXPECT_EQ(
      on.execute("drop").error_message,
      "Error: 'c' was taken out of policy-map 'p' and put in again; its mode is left, enter it again to change the "
      "new one\n");
  EXPECT_EQ(on.session().modes().size(), 2U);
  EXPECT_EQ(on.execute("policy-map type http-load-balancing p").outcome, Outcome::done);
  EXPECT_EQ(on.execute("class c").outcome, Outcome::done);
  service.status = Status::class_not_in_policy;
  EXPECT_EQ(on.execute("drop").error_message, "Error: 'c' was taken out of policy-map 'p'; its mode is left\n");
  EXPECT_EQ(on.session().modes().size(), 2U);
}

TEST(SessionChangingASetting, SaysWhichFieldsStay) {
  EnteredService service;
  test::SessionOn on(service);
  EXPECT_EQ(on.execute("parameter-map type connection c").outcome, Outcome::done);
  const auto last_call_of = [&](const char* line) {
    EXPECT_EQ(on.execute(line).error_message, "") << line;
    return service.calls.back();
  };
  EXPECT_EQ(last_call_of("mss minimum 900"), "kvel_change_parameter_map 3 1 'c' 0 2");
  EXPECT_EQ(last_call_of("no mss maximum 900"), "kvel_change_parameter_map 3 0 'c' 0 1");
  EXPECT_EQ(last_call_of("mss minimum 900 maximum 1000"), "cm_param_map_config 3 1 'c' 0");
  EXPECT_EQ(last_call_of("no mss"), "cm_param_map_config 3 0 'c' 0");
  EXPECT_EQ(last_call_of("nagle"), "cm_param_map_config 3 1 'c' 0");
}

TEST(SessionOnAnotherManager, ADocumentThatFailsIsNotPrinted) {
  const auto done = executed(R"({"kind":"class-map","name":"x","type":5})", "show class-map | xml");
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.outcome, Outcome::failed);
}

// Answers the same page for ever, by a cursor that stands still or that goes round.
class CirclingService : public test::RecordService {
 public:
  explicit CirclingService(int pages) : RecordService({}), pages_(pages) {}
  Status call(std::size_t, std::span<const rpc::Argument> arguments) noexcept override {
    arguments[4].response->append(R"([{"kind":"class-map","name":"x","type":0,"match_all":true}])");
    next_ = (next_ + 1) % pages_;
    arguments[2].bytes[0] = static_cast<std::byte>(next_);
    arguments[3].bytes[3] = std::byte{1};
    return Status::ok;
  }

 private:
  int pages_;
  int next_ = 0;
};

TEST(SessionOnAnotherManager, ACursorThatComesBackIsAFailedCall) {
  for (const int pages : {1, 2, 7}) {
    CirclingService service(pages);
    const auto done = test::SessionOn(service).execute("show class-map | count");
    EXPECT_EQ(done.outcome, Outcome::failed) << pages;
    EXPECT_EQ(done.error_message, "Error: the manager could not be reached\n") << pages;
  }
}

// An object that is too long for an answer has the number of its parts in their place.
class PagedService : public rpc::Service {
 public:
  explicit PagedService(std::vector<std::string> pages) : pages_(std::move(pages)) {}
  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    const std::string_view name = rpc::kCalls[call].name;
    const std::string record = R"({"kind":"class-map","name":"x","type":0,"match_all":true,"rules":3})";
    if (name == "kvel_get_object") return arguments[3].response->append(record), Status::ok;
    if (name == "kvel_get_objects") return arguments[4].response->append("[" + record + "]"), Status::ok;
    if (name != "kvel_get_parts" || arguments[1].number != 5 || arguments[2].text != "x") return Status::bad_arguments;
    if (end != Status::ok && next_ > 0) return end;
    arguments[5].response->append(pages_[next_ % pages_.size()]);
    ++next_;
    arguments[3].bytes[15] = static_cast<std::byte>(circles ? 0 : next_);
    arguments[4].bytes[3] = static_cast<std::byte>(circles || next_ < pages_.size() ? 1 : 0);
    return Status::ok;
  }
  bool circles = false;
  Status end = Status::ok;

 private:
  std::vector<std::string> pages_;
  std::size_t next_ = 0;
};

const std::vector<std::string> kPages{R"([{"line":10,"match":"any"},{"line":20,"match":"access-list","name":"a"}])",
                                      R"([{"line":30,"match":"access-list","name":"b"}])"};

TEST(SessionOnAPagingManager, LongObjectsAreShownWhole) {
  const auto shown = [](const char* line) {
    PagedService service(kPages);
    return test::SessionOn(service).execute(line).out;
  };
  const std::string lines =
      "class-map match-all x\n  10 match any\n  20 match access-list a\n  30 match access-list b\n";
  EXPECT_EQ(shown("show running-config"), lines);
  EXPECT_EQ(shown("show running-config class-map x"), lines);
  EXPECT_NE(shown("show class-map x").find("   30  access-list b\n"), std::string::npos);
  EXPECT_NE(shown("show class-map | json").find(R"("line": 30)"), std::string::npos) << shown("show class-map | json");
  EXPECT_NE(shown("show class-map x | xml").find("<line>30</line>"), std::string::npos);
}

TEST(SessionOnAPagingManager, APositionThatComesBackIsAFailedCall) {
  PagedService service(kPages);
  service.circles = true;
  const auto done = test::SessionOn(service).execute("show class-map x");
  EXPECT_EQ(done.error_message, "Error: class-map 'x': the manager could not be reached\n");
  EXPECT_EQ(done.out, "");
}

// It went between two pages: of all objects it is left out, by its name it is missed.
TEST(SessionOnAPagingManager, AnObjectThatGoesMeanwhile) {
  const auto executed_with = [](Status end, const char* line) {
    PagedService service(kPages);
    service.end = end;
    return test::SessionOn(service).execute(line);
  };
  EXPECT_EQ(executed_with(Status::class_map_not_found, "show running-config").error_message, "");
  EXPECT_EQ(executed_with(Status::class_map_not_found, "show class-map x").error_message,
            "Error: class-map 'x' not configured\n");
  EXPECT_EQ(executed_with(Status::object_made_anew, "show running-config").outcome, Outcome::failed);
}

// Pages before the one that failed are not printed as if they were all.
class EndingService : public test::RecordService {
 public:
  using RecordService::RecordService;
  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    if (calls_++ == 2) return Status::internal;
    return RecordService::call(call, arguments);
  }

 private:
  int calls_ = 0;
};

TEST(SessionOnAFailingManager, NothingIsPrintedOfWhatIsNotWhole) {
  for (const char* show : {"show running-config", "show class-map", "show running-config class-map"}) {
    const auto record = [](const char* name) {
      return R"({"kind":"class-map","name":")" + std::string(name) + R"(","type":0,"match_all":true})";
    };
    EndingService service({record("a"), record("b"), record("c"), record("d")});
    const auto done = test::SessionOn(service).execute(show);
    EXPECT_EQ(done.outcome, Outcome::failed) << show;
    EXPECT_EQ(done.out, "") << show;
    EXPECT_EQ(done.error_message, "Error: the manager failed while carrying out the call; nothing was changed\n")
        << show;
  }
}

// What can be said is said, and what is missing is named.
TEST(SessionOnAnotherManager, AConfigurationWithAPartThatNoCommandCanCreateIsPrintedWithoutIt) {
  const auto done = executed(
      R"({"kind":"class-map","name":"x","type":0,"match_all":true,"rules":[{"line":10,"match":"moon"},{"line":20,"match":"any"}]})",
      "show running-config");
  EXPECT_EQ(done.outcome, Outcome::failed);
  EXPECT_EQ(done.out, "class-map match-all x\n  20 match any\n");
  EXPECT_EQ(done.error_message, "Error: class-map \"x\" has parts that no command can create\n");
}

// At a prompt the operator goes on where a mistake in a word was made; but what would have entered another object
// leaves this one, and lines pasted with it are passed over.
TEST(SessionAtAPrompt, AFailedHeadLeavesTheModeAndItsIndentedLinesArePassedOver) {
  test::RecordService service({R"({"kind":"policy-map","name":"g","type":3,"subtype":1})"});
  test::SessionOn on(service);
  on.session().reads_from(CommandSource::prompt);
  const auto outcome = [&](const char* line) { return on.execute(line).outcome; };
  EXPECT_EQ(outcome("policy-map type http-inspection g"), Outcome::done);
  EXPECT_EQ(outcome("zone"), Outcome::failed);
  EXPECT_EQ(outcome("reset"), Outcome::failed);
  EXPECT_EQ(on.session().modes().size(), 2U);

  EXPECT_EQ(outcome("policy-map typ http-inspektion h"), Outcome::failed);
  EXPECT_EQ(on.session().modes().size(), 1U);
  EXPECT_EQ(on.execute("  class class-default").error_message,
            "Error: passed over, since it is indented below a line that failed\n");
  EXPECT_EQ(outcome("\treset"), Outcome::passed_over);
  EXPECT_EQ(outcome("   "), Outcome::nothing);
  EXPECT_EQ(outcome("help"), Outcome::done);
  EXPECT_EQ(outcome("  help"), Outcome::done);
}

}  // namespace
}  // namespace kvel::shell::session_test
