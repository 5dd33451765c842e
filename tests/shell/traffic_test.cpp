// "traffic", on a manager that gives literal answers: what it is sent, what is printed where, and what counts as
// failed.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "kvel/status.h"
#include "rpc/calls/call_table.h"
#include "rpc/calls/service.h"
#include "shell/replay/replay.h"
#include "shell/traffic/progress.h"
#include "tests/shell/process.h"
#include "tests/shell/session_on.h"

namespace kvel::shell::traffic_test {
namespace {

using namespace std::string_literals;
using kvel::test::read_file;
using kvel::test::TemporaryFolder;
using kvel::test::write_file;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Answers the n-th call with the n-th answer; after the last with a flow that was counted.
class TrafficService final : public rpc::Service {
 public:
  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    if (rpc::kCalls[call].name != std::string_view("kvel_count_flows")) return Status::unknown_call;
    EXPECT_EQ(arguments[0].number, 3U);
    sent.push_back(std::to_string(arguments[1].number) + ":" + std::string(arguments[2].text));
    if (during) during();
    const std::string answer = sent.size() <= answers.size()
                                   ? answers[sent.size() - 1]
                                   : R"({"flows":1,"classified":1,"unclassified":0,"refused":0,"faults":[]})";
    if (answer.empty()) return status;
    arguments[3].response->append(answer);
    return Status::ok;
  }

  std::vector<std::string> answers;  // an empty one: `status`
  Status status = Status::transport;
  std::function<void()> during;
  std::vector<std::string> sent;
};

class TrafficCommand : public ::testing::Test {
 protected:
  test::Executed send(const std::string& flows) {
    write_file(file, flows);
    return shell.execute("traffic " + file);
  }

  TemporaryFolder folder;
  const std::string file = folder.file("flows");
  TrafficService service;
  test::SessionOn shell{service};
};

TEST_F(TrafficCommand, CountsAFile) {
  service.answers = {R"({"flows":3,"classified":2,"unclassified":1,"refused":0,"faults":[]})"};
  const auto done = send("{}\n{}\n\n{}\n");
  EXPECT_THAT(service.sent, ElementsAre("1:{}\n{}\n\n{}\n"));
  EXPECT_EQ(done.out, "3 flows: 2 classified, 1 not classified, 0 refused\n");
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.error_message, "");
  EXPECT_EQ(done.outcome, Outcome::done);
}

TEST_F(TrafficCommand, TheLastLineMayLackItsEnd) {
  EXPECT_EQ(send("{}\n\n{ }").out, "2 flows: 2 classified, 0 not classified, 0 refused\n");
  EXPECT_THAT(service.sent, ElementsAre("1:{}\n\n", "3:{ }"));
}

TEST_F(TrafficCommand, AnEmptyFileIsNoFlow) {
  const auto done = send("");
  EXPECT_THAT(service.sent, IsEmpty());
  EXPECT_EQ(done.out, "0 flows: 0 classified, 0 not classified, 0 refused\n");
  EXPECT_EQ(done.outcome, Outcome::done);
}

TEST_F(TrafficCommand, AddsUpItsBatches) {
  const std::string line = std::string(40000, 'x') + "\n";
  service.answers = {R"({"flows":1,"classified":0,"unclassified":0,"refused":1,"faults":[{"line":1,"fault":"odd"}]})",
                     R"({"flows":1,"classified":0,"unclassified":1,"refused":0,"faults":[]})"};
  const auto done = send(line + line + line);
  EXPECT_THAT(service.sent, ElementsAre("1:" + line, "2:" + line, "3:" + line));
  EXPECT_EQ(done.out, "3 flows: 1 classified, 1 not classified, 1 refused\n");
  EXPECT_EQ(done.err, file + ":1: odd\n");
  EXPECT_EQ(done.outcome, Outcome::failed);
  EXPECT_EQ(done.error_message, "");
}

TEST_F(TrafficCommand, OneFlowIsOne) {
  EXPECT_EQ(send("{}\n").out, "1 flow: 1 classified, 0 not classified, 0 refused\n");
}

TEST_F(TrafficCommand, ReportedErrorsAreBounded) {
  std::string faults;
  for (int line = 1; line <= 70; ++line)
    faults += (line == 1 ? "" : ",") + R"({"line":)"s + std::to_string(line) + R"(,"fault":"f"})";
  const std::string answer = R"({"flows":500,"classified":0,"unclassified":0,"refused":500,"faults":[)" + faults + "]}";
  service.answers = {answer, answer};
  const std::string line = std::string(40000, 'x') + "\n";
  const auto done = send(line + line);
  std::size_t lines = 0;
  for (const char byte : done.err)
    lines += byte == '\n' ? 1 : 0;
  EXPECT_EQ(lines, 101U);
  EXPECT_TRUE(done.err.ends_with(file + ":30: f\n" + file + ": 900 more flows were refused\n")) << done.err;
  EXPECT_EQ(done.out, "1000 flows: 0 classified, 0 not classified, 1000 refused\n");
}

TEST_F(TrafficCommand, LinesThatCannotBeSentAreRefusedByTheShell) {
  const auto done = send("{}\n" + std::string(524289, 'x') + "\n{\0}\n{}\n"s);
  EXPECT_THAT(service.sent, ElementsAre("1:{}\n", "4:{}\n"));
  EXPECT_EQ(done.out, "4 flows: 2 classified, 0 not classified, 2 refused\n");
  EXPECT_EQ(done.err, file + ":2: it is longer than 524288 bytes\n" + file + ":3: it holds a NUL byte\n");
  EXPECT_EQ(done.outcome, Outcome::failed);
}

TEST_F(TrafficCommand, AFileThatCannotBeReadIsReportedWithItsReason) {
  auto done = shell.execute("traffic " + folder.file("none"));
  EXPECT_EQ(done.error_message, "Error: " + folder.file("none") + ": No such file or directory\n");
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.outcome, Outcome::failed);
  done = shell.execute("traffic " + folder.path());
  EXPECT_EQ(done.error_message, "Error: " + folder.path() + ": Is a directory\n");
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.outcome, Outcome::failed);
  EXPECT_THAT(service.sent, IsEmpty());
}

TEST_F(TrafficCommand, AFailedCallStopsIt) {
  const std::string line = std::string(40000, 'x') + "\n";
  service.answers = {R"({"flows":1,"classified":1,"unclassified":0,"refused":0,"faults":[]})", ""};
  const auto done = send(line + line + line);
  EXPECT_EQ(service.sent.size(), 2U);
  EXPECT_EQ(done.out, "1 flow: 1 classified, 0 not classified, 0 refused\n");
  EXPECT_EQ(done.error_message, "Error: " + file + ": " + std::string(status_text(Status::transport)) +
                                    "; whether line 2 and what follows were counted is not known\n");
  EXPECT_EQ(done.outcome, Outcome::failed);
}

TEST_F(TrafficCommand, AFirstCallThatFailsCountsNothing) {
  service.answers = {""};
  const auto done = send("{}\n");
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.error_message, "Error: " + file + ": " + std::string(status_text(Status::transport)) +
                                    "; whether line 1 and what follows were counted is not known\n");
}

TEST_F(TrafficCommand, AnAnswerThatIsNoneIsAFailedCall) {
  for (const char* answer : {"{}", "[]", "nothing", R"({"flows":"1"})",
                             R"({"flows":1,"classified":0,"unclassified":0,"refused":1,"faults":[{"line":1}]})"}) {
    service.sent.clear();
    service.answers = {answer};
    const auto done = send("{}\n");
    EXPECT_EQ(done.outcome, Outcome::failed) << answer;
    EXPECT_EQ(done.error_message, "Error: " + file + ": " + std::string(status_text(Status::transport)) +
                                      "; whether line 1 and what follows were counted is not known\n")
        << answer;
  }
}

TEST_F(TrafficCommand, StandardInputHoldsFlowsUnlessItHoldsCommands) {
  const int saved = dup(STDIN_FILENO);
  const auto read_from = [&](const std::string& flows) {
    write_file(file, flows);
    const int opened = open(file.c_str(), O_RDONLY);
    dup2(opened, STDIN_FILENO);
    close(opened);
    return shell.execute("traffic -");
  };
  service.answers = {R"({"flows":1,"classified":0,"unclassified":0,"refused":1,"faults":[{"line":1,"fault":"odd"}]})"};
  auto done = read_from("x\n");
  EXPECT_EQ(done.out, "1 flow: 0 classified, 0 not classified, 1 refused\n");
  EXPECT_EQ(done.err, "standard input:1: odd\n");

  service.sent.clear();
  for (const CommandSource source : {CommandSource::standard_input, CommandSource::prompt}) {
    shell.session().reads_from(source);
    done = read_from("x\n");
    EXPECT_EQ(done.error_message, "Error: standard input cannot be read for flows: the commands are read from it\n");
    EXPECT_EQ(done.outcome, Outcome::failed);
    // By any other name too.
    EXPECT_EQ(shell.execute("traffic /dev/stdin").error_message,
              "Error: standard input cannot be read for flows: the commands are read from it\n");
  }
  EXPECT_THAT(service.sent, IsEmpty());
  dup2(saved, STDIN_FILENO);
  close(saved);
}

// What a writer has written is sent when it is there, not at the end.
TEST_F(TrafficCommand, ReadsAPipeAsItIsWritten) {
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  int writer = -1;
  int written = 0;
  std::thread other([&] {
    writer = open(file.c_str(), O_WRONLY);
    EXPECT_EQ(write(writer, "{}\n{", 4), 4);
  });
  service.during = [&] {
    if (++written > 1) return;
    other.join();
    EXPECT_EQ(write(writer, "}\n", 2), 2);
    close(writer);
  };
  const auto done = shell.execute("traffic " + file);
  EXPECT_THAT(service.sent, ElementsAre("1:{}\n", "2:{}\n"));
  EXPECT_EQ(done.outcome, Outcome::done);
}

// What the key does outside the command, whatever this process was started with.
class InterruptAction {
 public:
  explicit InterruptAction(sighandler_t action) : before_(std::signal(SIGINT, action)) {}
  InterruptAction(const InterruptAction&) = delete;
  InterruptAction& operator=(const InterruptAction&) = delete;
  ~InterruptAction() { std::signal(SIGINT, before_); }

 private:
  sighandler_t before_;
};

// The key comes during the first batch: that one is still counted.
TEST_F(TrafficCommand, TheInterruptKeyStopsItBetweenBatches) {
  const InterruptAction usual(SIG_DFL);
  shell.session().reads_from(CommandSource::prompt);
  service.during = [] { kill(getpid(), SIGINT); };
  const std::string line = std::string(40000, 'x') + "\n";
  const auto done = send(line + line);
  EXPECT_EQ(service.sent.size(), 1U);
  EXPECT_EQ(done.out, "1 flow: 1 classified, 0 not classified, 0 refused\n");
  EXPECT_EQ(done.error_message, "Error: " + file + ": interrupted; line 2 and what follows were not counted\n");
  EXPECT_EQ(done.outcome, Outcome::failed);
  // The next one is not.
  service.during = nullptr;
  EXPECT_EQ(send("{}\n").outcome, Outcome::done);
}

TEST_F(TrafficCommand, TheInterruptKeyAtTheEndDoesNotOutliveIt) {
  const InterruptAction usual(SIG_DFL);
  shell.session().reads_from(CommandSource::prompt);
  service.during = [] { kill(getpid(), SIGINT); };
  EXPECT_EQ(send("{}\n").error_message, "Error: " + file + ": interrupted; line 2 and what follows were not counted\n");
}

TEST_F(TrafficCommand, TheInterruptKeyEndsAReplayWithItsMessage) {
  const InterruptAction usual(SIG_DFL);
  service.during = [] { kill(getpid(), SIGINT); };
  write_file(file, "{}\n{}\n");
  EXPECT_EXIT(Replay(shell.session(), OnError::go_on).commands("traffic " + file), ::testing::KilledBySignal(SIGINT),
              "^-c:1:1: error: .*flows: interrupted; line 3 and what follows were not counted\n"
              "traffic .*flows\n\\^\n-c:1: error: the replay was ended by SIGINT; 0 lines were carried out\n$");
}

TEST_F(TrafficCommand, AnIgnoredInterruptKeyStaysIgnored) {
  const InterruptAction ignored(SIG_IGN);
  service.during = [] { kill(getpid(), SIGINT); };
  const auto done = send("{}\n{}\n");
  EXPECT_EQ(done.error_message, "");
  EXPECT_EQ(done.outcome, Outcome::done);
}

// ---- the line on a terminal

class ProgressLine : public ::testing::Test {
 protected:
  ~ProgressLine() override {
    std::fclose(stream);
    std::free(text);
  }

  std::string shown() {
    std::fflush(stream);
    return std::string(text, size);
  }

  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&text, &size);
  const Progress::Time start{};
};

TEST_F(ProgressLine, IsWrittenAtMostTenTimesASecond) {
  using std::chrono::milliseconds;
  {
    Progress progress(stream, true, start);
    progress.flows(100, start + milliseconds(99));
    EXPECT_EQ(shown(), "");
    progress.flows(200, start + milliseconds(100));
    progress.flows(300, start + milliseconds(199));
    progress.flows(400, start + milliseconds(200));
    EXPECT_EQ(shown(), "\r\x1b[K200 flows\r\x1b[K400 flows");
    progress.erase();
    progress.erase();
    EXPECT_EQ(shown(), "\r\x1b[K200 flows\r\x1b[K400 flows\r\x1b[K");
    progress.flows(500, start + milliseconds(900));
  }
  EXPECT_EQ(shown(), "\r\x1b[K200 flows\r\x1b[K400 flows\r\x1b[K\r\x1b[K500 flows\r\x1b[K");
}

TEST_F(ProgressLine, IsNotThereWithoutATerminal) {
  {
    Progress progress(stream, false, start);
    progress.flows(100, start + std::chrono::seconds(5));
  }
  EXPECT_EQ(shown(), "");
}

}  // namespace
}  // namespace kvel::shell::traffic_test
