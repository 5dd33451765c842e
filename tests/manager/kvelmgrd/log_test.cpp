// The log of kvelmgrd against readers that are slow, have stopped, or are gone.
#include "manager/kvelmgrd/log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "process/descriptor.h"

namespace kvel::log_test {
namespace {

using namespace std::chrono_literals;

// What a line says, after its time, its logger and its level.
std::string_view text_of(std::string_view line) { return line.substr(line.rfind(']') + 2); }

// A log into a pipe that takes 4 KiB.
class LogTest : public ::testing::Test {
 protected:
  LogTest() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) std::abort();
    reader_ = Descriptor(ends[0]);
    writer_ = ends[1];
    EXPECT_EQ(::fcntl(writer_, F_SETPIPE_SZ, 4096), 4096);
    std::signal(SIGPIPE, SIG_IGN);
    log_.emplace(writer_);
  }
  // Where the log was given up its thread is in a write yet: that fails now. The other end stays open, so that the
  // thread never meets another file there.
  ~LogTest() override { reader_ = Descriptor(); }

  void write_lines(std::size_t count) {
    for (std::size_t end = written_ + count; written_ < end; ++written_)
      log_->logger()->info("line {}", written_);
  }

  void wait_for_full_pipe() const {
    pollfd state{writer_, POLLOUT, 0};
    while (::poll(&state, 1, 0) == 1)
      std::this_thread::sleep_for(1ms);
  }

  [[nodiscard]] bool has_more(std::chrono::milliseconds within) const {
    pollfd state{reader_.get(), POLLIN, 0};
    return ::poll(&state, 1, static_cast<int>(within.count())) == 1;
  }

  // The next line, which comes within ten seconds.
  std::string read_line() {
    std::string line;
    for (char byte = 0; byte != '\n';) {
      if (!has_more(10s) || ::read(reader_.get(), &byte, 1) != 1) {
        ADD_FAILURE() << "a line is missing after " << line;
        return "[] missing";
      }
      if (byte != '\n') line += byte;
    }
    return line;
  }
  void expect_lines(std::size_t from, std::size_t to) {
    for (std::size_t number = from; number < to; ++number)
      ASSERT_EQ(text_of(read_line()), "line " + std::to_string(number));
  }

  Descriptor reader_;
  int writer_ = -1;
  std::optional<Log> log_;
  std::size_t written_ = 0;
};

TEST_F(LogTest, ALineSaysWhenFromWhomAndHowBad) {
  log_->logger()->warn("no {}", "disk");
  const std::string line = read_line();
  EXPECT_EQ(line.find('['), 0U);
  EXPECT_EQ(line.substr(line.find(']')), "] [kvelmgrd] [warning] no disk");
}

// More than the pipe takes, and no more than may wait: all of it is there at the end.
TEST_F(LogTest, LosesNothingForAReaderThatIsSlow) {
  write_lines(Log::kLines);
  std::thread reader([&] {
    std::this_thread::sleep_for(100ms);
    expect_lines(0, Log::kLines);
  });
  log_.reset();
  reader.join();
  EXPECT_FALSE(has_more(0s));
}

TEST_F(LogTest, LosesNothingWhenWritesDoNotBlock) {
  ASSERT_EQ(::fcntl(writer_, F_SETFL, O_NONBLOCK), 0);
  write_lines(Log::kLines);
  std::thread reader([&] { expect_lines(0, Log::kLines); });
  log_.reset();
  reader.join();
}

// As many as there is room for are kept, the newest ones; where the others would be is how many they were.
TEST_F(LogTest, AReaderThatHasStoppedHoldsUpNobody) {
  write_lines(Log::kLines / 4);  // more than the pipe takes
  wait_for_full_pipe();
  write_lines(10 * Log::kLines);
  // Wherever lines are missing, it is told how many.
  const std::string told = "log lines lost here: ";
  std::size_t lost = 0;
  for (std::size_t next = 0; next < written_;) {
    const std::string text(text_of(read_line()));
    if (text.starts_with(told)) {
      const std::size_t count = std::stoul(text.substr(told.size()));
      lost += count;
      next += count;
    } else {
      ASSERT_EQ(text, "line " + std::to_string(next));
      ++next;
    }
  }
  EXPECT_GT(lost, 0U);
  // Then all is well again, and what was lost has been told.
  write_lines(20);
  expect_lines(written_ - 20, written_);
}

TEST_F(LogTest, AReaderThatHasStoppedIsGivenUpAtTheEnd) {
  write_lines(Log::kLines / 4);
  const auto begin = std::chrono::steady_clock::now();
  log_.reset();
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 1s);
}

// A reader that goes on gets the rest, though it takes longer than one that has stopped may.
TEST_F(LogTest, AReaderThatGoesOnIsNotGivenUp) {
  write_lines(Log::kLines);
  std::thread reader([&] {
    for (std::size_t from = 0; from < Log::kLines; from += 256) {
      std::this_thread::sleep_for(400ms);
      expect_lines(from, from + 256);
    }
  });
  const auto begin = std::chrono::steady_clock::now();
  log_.reset();
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 1500ms);  // the last of them do not fit into the pipe before
  reader.join();
}

TEST_F(LogTest, LinesThatCannotBeWrittenAreCounted) {
  std::string folder = std::filesystem::temp_directory_path() / "kvel-log-XXXXXX";
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  const std::string fifo = folder + "/log";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  Descriptor first(::open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const Descriptor writer(::open(fifo.c_str(), O_WRONLY | O_CLOEXEC));
  log_.emplace(writer.get());
  first = Descriptor();
  write_lines(5);  // to nobody
  log_->logger()->flush();
  std::this_thread::sleep_for(50ms);
  reader_ = Descriptor(::open(fifo.c_str(), O_RDONLY | O_CLOEXEC));
  write_lines(1);
  EXPECT_EQ(text_of(read_line()), "log lines lost here: 5");
  EXPECT_EQ(text_of(read_line()), "line 5");
  log_.reset();
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace kvel::log_test
