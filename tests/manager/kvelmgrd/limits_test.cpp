// kvelmgrd as a program, with a log that nobody reads and with connections that say nothing.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "process/descriptor.h"
#include "tests/rpc/support.h"
#include "tests/shell/process.h"

namespace kvel::limits_test {
namespace {

using namespace std::chrono_literals;
using rpc::testing::PlainSocket;
using ::testing::HasSubstr;

// A daemon whose standard error is a pipe that is full, and that nobody reads at first.
class FullPipe : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(::mkfifo(fifo_.c_str(), 0600), 0);
    reader_ = Descriptor(::open(fifo_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    const Descriptor filler(::open(fifo_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_EQ(::fcntl(filler.get(), F_SETPIPE_SZ, 4096), 4096);
    while (::write(filler.get(), "x", 1) == 1)
      ++filled_;
    daemon_.emplace("/bin/sh", std::vector<std::string>{
                                   "-c", "exec \"$0\" --store \"$1\" --socket \"$2\" --log-level debug 2>\"$3\"",
                                   KVEL_KVELMGRD, folder_.file("store.db"), socket_, fifo_});
    ASSERT_TRUE(rpc::testing::eventually([&] { return ::access(socket_.c_str(), F_OK) == 0; }));
  }

  // Each is two lines in the log when it has gone, and one before.
  void greet_and_go(int times) {
    for (int count = 0; count < times; ++count)
      last_ = PlainSocket::greet(socket_);
  }

  // Whether it ends in some seconds, with status 0.
  bool stops_cleanly() {
    daemon_->signal(SIGTERM);
    for (int tries = 0; tries < 2000; ++tries) {
      siginfo_t info{};
      ::waitid(P_PID, static_cast<id_t>(daemon_->pid()), &info, WEXITED | WNOHANG | WNOWAIT);
      if (info.si_pid != 0) return daemon_->wait() == 0;
      std::this_thread::sleep_for(10ms);
    }
    return false;
  }

  // All up to the daemon's end.
  std::string read_log() {
    ::fcntl(reader_.get(), F_SETFL, 0);
    std::string log;
    std::array<char, 4096> piece{};
    for (ssize_t size = 1; size > 0;) {
      size = ::read(reader_.get(), piece.data(), piece.size());
      log.append(piece.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    return log.substr(filled_);
  }

  test::TemporaryFolder folder_;
  std::string fifo_ = folder_.file("log");
  std::string socket_ = folder_.file("socket");
  Descriptor reader_;
  std::size_t filled_ = 0;
  std::optional<test::Background> daemon_;
  PlainSocket last_{-1};
};

TEST_F(FullPipe, NeitherServingNorTheEndWaitForTheLog) {
  ASSERT_NO_FATAL_FAILURE(greet_and_go(100));
  EXPECT_TRUE(stops_cleanly());
  EXPECT_NE(::access(socket_.c_str(), F_OK), 0);
}

TEST_F(FullPipe, TheLogSaysHowManyLinesAreMissing) {
  constexpr int kSessions = 2000;
  ASSERT_NO_FATAL_FAILURE(greet_and_go(kSessions));
  std::string log;
  std::thread reader([&] { log = read_log(); });
  EXPECT_TRUE(stops_cleanly());
  reader.join();
  std::istringstream lines(log);
  std::size_t seen = 0;
  std::size_t lost = 0;
  std::string last;
  for (std::string line; std::getline(lines, line); last = line) {
    constexpr std::string_view kLost = "[warning] log lines lost here: ";
    const auto at = line.find(kLost);
    if (at == std::string::npos) {
      ++seen;
    } else {
      lost += std::stoul(line.substr(at + kLost.size()));
    }
  }
  EXPECT_GT(lost, 1000U);
  // Listening, serving, the signal, the socket closed, stopped; each session's begin and end, but the last one's end.
  EXPECT_EQ(seen + lost, 5U + 2 * kSessions - 1);
  EXPECT_THAT(last, HasSubstr("[info] stopped"));
}

// The manager's own limit is that of the connections that wait, not of those that connect.
TEST(SilentConnections, KeepNoClientOut) {
  rlimit files{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &files), 0);
  const rlimit before = files;
  files.rlim_cur = files.rlim_max;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &files), 0);
  const test::TemporaryFolder folder;
  const std::string socket = folder.file("socket");
  test::Background daemon(KVEL_KVELMGRD, {"--store", folder.file("store.db"), "--socket", socket});
  ASSERT_TRUE(daemon.printed("serving "));
  {
    std::vector<PlainSocket> silent;
    for (int count = 0; count < 2000; ++count)
      silent.push_back(PlainSocket::connect(socket));
    const auto begin = std::chrono::steady_clock::now();
    const PlainSocket client = PlainSocket::greet(socket);
    // Waiting for all of them to be given up would be 60 seconds and more.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
  }
  daemon.signal(SIGTERM);
  EXPECT_EQ(daemon.wait(), 0);
  EXPECT_TRUE(daemon.printed("session closed: it has not greeted, and another connection needs its place ("));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST(AnswerMemory, IsASize) {
  const auto refusal = [](const char* size) {
    const test::Finished finished =
        test::run_program(KVEL_KVELMGRD, {"--store", "x", "--socket", "y", "--answer-memory", size});
    EXPECT_EQ(finished.status, 2) << size;
    return finished.err;
  };
  EXPECT_THAT(refusal("0"), HasSubstr("--answer-memory: a size is at least one byte\n"));
  EXPECT_THAT(refusal("-1"), HasSubstr("--answer-memory: a size is at least one byte\n"));
  EXPECT_THAT(refusal("64Q"), HasSubstr("--answer-memory: q unit not recognized."));
  EXPECT_THAT(refusal("99999999999G"), HasSubstr("overflow"));
  EXPECT_THAT(refusal("much"), HasSubstr("--answer-memory: "));
  for (const char* const size : {"1", "100000", "500k", "64M", "1G", "64 MB"}) {
    const test::TemporaryFolder folder;
    test::Background daemon(KVEL_KVELMGRD, {"--store", folder.file("store.db"), "--socket", folder.file("socket"),
                                            "--answer-memory", size});
    EXPECT_TRUE(daemon.printed("serving ")) << size;
    daemon.signal(SIGTERM);
    EXPECT_EQ(daemon.wait(), 0);
  }
}

}  // namespace
}  // namespace kvel::limits_test
