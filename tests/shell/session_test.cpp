// What a session makes of a manager that is none of ours: its records lack members, or have others.
#include "shell/session/session.h"

#include <gtest/gtest.h>

#include <string>

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
  fails(R"({"kind":"class-map","name":"x","type":"0"})", "class-map x");
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
  for (const Status error : {Status::timed_out, Status::transport, Status::internal}) {
    FailingService service(error);
    const auto done = test::SessionOn(service).execute("class-map web");
    EXPECT_EQ(done.outcome, Outcome::failed);
    EXPECT_EQ(done.error_message, "Error: " + std::string(status_text(error)) + "\n");
    EXPECT_EQ(service.calls, std::vector<std::string>{"kvel_get_object"});
  }
  for (const Status answer : {Status::class_map_not_found, Status::unknown_call, Status::invalid_name}) {
    FailingService service(answer);
    static_cast<void>(test::SessionOn(service).execute("class-map web"));
    EXPECT_EQ(service.calls.size(), 2U);
    EXPECT_EQ(service.calls.back(), "cm_add_or_lookup_classmap");
  }
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
