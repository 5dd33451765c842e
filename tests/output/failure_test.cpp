// Destinations that cannot be written: nothing crashes, finish() reports the failure, the next session is untouched.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace kvel::output::testing::failure_test {
namespace {

class Failure : public ::testing::TestWithParam<Format> {};

void some_output() {
  xprint_header("a");
  xprint("<%s>\n", "v", std::string(100'000, 'x').c_str());
  xprint("text\n");
  xprint_footer("a");
}

void expect_next_session_to_work() {
  EXPECT_EQ(written(Format::text, [] { xprint("fine\n"); }), "fine\n");
  EXPECT_EQ(failure(), 0);
}

TEST_P(Failure, FullDisk) {
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  begin(GetParam(), full);
  some_output();
  EXPECT_FALSE(finish());
  EXPECT_EQ(failure(), ENOSPC);
  std::fclose(full);
  expect_next_session_to_work();
}

TEST_P(Failure, FullDiskFoundOnlyByTheLastFlush) {
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  begin(GetParam(), full);
  xprint("short\n");
  EXPECT_FALSE(finish());
  EXPECT_EQ(failure(), ENOSPC);
  std::fclose(full);
  expect_next_session_to_work();
}

TEST_P(Failure, ClosedPipe) {
  const auto handler = std::signal(SIGPIPE, SIG_IGN);
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  close(ends[0]);
  std::FILE* pipe_end = fdopen(ends[1], "w");
  begin(GetParam(), pipe_end);
  some_output();
  EXPECT_FALSE(finish());
  EXPECT_EQ(failure(), EPIPE);
  std::fclose(pipe_end);
  std::signal(SIGPIPE, handler);
  expect_next_session_to_work();
}

TEST_P(Failure, StreamOpenedForReading) {
  std::FILE* reading = std::fopen("/dev/null", "r");
  ASSERT_NE(reading, nullptr);
  begin(GetParam(), reading);
  some_output();
  EXPECT_FALSE(finish());
  EXPECT_EQ(failure(), EBADF);
  std::fclose(reading);
  expect_next_session_to_work();
}

INSTANTIATE_TEST_SUITE_P(
    Forms, Failure, ::testing::Values(Format::text, Format::xml, Format::json), [](const auto& instance) {
      return std::string(instance.param == Format::text ? "Text" : instance.param == Format::xml ? "Xml" : "Json");
    });

TEST(FailureOfOthers, CountsOnlyWhenItHappensDuringTheSession) {
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  std::setvbuf(full, nullptr, _IONBF, 0);
  begin(Format::text, full);
  std::fputs("past the session", full);
  EXPECT_FALSE(finish());
  EXPECT_EQ(failure(), EIO);

  begin(Format::text, full);  // the stream still carries its old error
  EXPECT_TRUE(finish());
  std::fclose(full);
}

TEST(FailureOfStdout, IsReportedWithoutASession) {
  // A process of its own, since its stdout stays broken.
  EXPECT_EXIT(
      {
        if (std::freopen("/dev/full", "w", stdout) == nullptr) std::_Exit(3);
        xprint("lost\n");
        std::_Exit(!finish() && failure() == ENOSPC ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace kvel::output::testing::failure_test
