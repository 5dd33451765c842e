// Where the output of a filtered command goes, and what its handler prints past the output library.
#include "shell/session/filtered_command.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <new>

#include "kvel/output.h"
#include "shell/session/pager.h"
#include "shell/session/stdout_capture.h"
#include "tests/shell/process.h"

namespace kvel::shell::filtered_command_test {
namespace {

using kvel::test::read_file;
using kvel::test::TemporaryFolder;
using kvel::test::write_file;

struct Seen {
  std::string out;
  std::string err;
  Execution execution;
};

template <class Command>
Seen run(const OutputFilters& filters, Command command) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  Seen seen;
  seen.execution = run_filtered(filters, false, command);
  std::puts("after");
  std::fflush(stdout);
  seen.out = ::testing::internal::GetCapturedStdout();
  seen.err = ::testing::internal::GetCapturedStderr();
  return seen;
}

// Prints as a handler of the plug-in does, and fails on its way.
Execution half_way() {
  xprint_header("doc");
  xprint("  name: <%s>\n", "name", "web");
  std::puts("Error: no more of it");
  xprint_footer("doc");
  return Execution::failed({});
}

TEST(FilteredCommand, ADocumentIsPrintedWholeOrNotAtAll) {
  const Seen xml = run({.format = output::Format::xml}, half_way);
  EXPECT_EQ(xml.out, "after\n");
  EXPECT_EQ(xml.err, "");
  EXPECT_EQ(xml.execution.outcome, Outcome::failed);
  EXPECT_EQ(xml.execution.error_message, "Error: no more of it\n");

  const Seen json = run({.format = output::Format::json}, half_way);
  EXPECT_EQ(json.out, "after\n");
  EXPECT_EQ(json.execution.error_message, "Error: no more of it\n");
}

TEST(FilteredCommand, ANoticeWithoutItsLineEndGetsIt) {
  const Seen seen = run({.format = output::Format::xml}, [] {
    xprint_header("doc");
    std::printf("\nUnexpected header: %u", 7U);
    xprint("\n");
    xprint_footer("doc");
    return Execution{};
  });
  EXPECT_EQ(seen.out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<doc/>\nafter\n");
  EXPECT_EQ(seen.err, "Unexpected header: 7\n");
  EXPECT_EQ(seen.execution.outcome, Outcome::done);
}

TEST(FilteredCommand, TextIsFilteredWhoeverPrintsIt) {
  const Seen seen = run({.lines = {{LineFilter::Kind::include, "kept"}}}, [] {
    xprint("kept by <%s>\n", "tag", "the library");
    std::puts("kept by stdio\nError: a class that is named so, kept\nlost");
    EXPECT_EQ(write(STDOUT_FILENO, "kept too\n", 9), 9);
    xprint("and kept");
    return Execution{};
  });
  // What goes past stdio overtakes it, here as without a filter.
  EXPECT_EQ(seen.out,
            "kept too\nkept by the library\nkept by stdio\nError: a class that is named so, kept\nand kept\nafter\n");
  EXPECT_EQ(seen.err, "");
}

TEST(FilteredCommand, TheErrorsOfAFailedCommandAreNotFiltered) {
  const Seen seen = run({.lines = {{LineFilter::Kind::include, "name"}, {LineFilter::Kind::count}}}, half_way);
  EXPECT_EQ(seen.out, "after\n");
  EXPECT_EQ(seen.execution.error_message, "Error: no more of it\n");
  EXPECT_EQ(seen.execution.outcome, Outcome::failed);
}

TEST(FilteredCommand, WithoutFiltersAFailedCommandPrintsNothingEither) {
  const Seen seen = run({}, half_way);
  EXPECT_EQ(seen.out, "after\n");
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.execution.error_message, "Error: no more of it\n");
}

// More than a pipe, a buffer of stdio or a page holds.
TEST(FilteredCommand, LongOutputIsKeptWhole) {
  std::string lines;
  for (int number = 0; number < 200'000; ++number)
    lines += std::to_string(number) + "\n";
  const auto print = [&] {
    std::fputs(lines.c_str(), stdout);
    std::fflush(stdout);
    std::fputs(lines.c_str(), stdout);
    return Execution{};
  };
  EXPECT_TRUE(run({}, print).out == lines + lines + "after\n");  // too long to be compared line by line
  const TemporaryFolder folder;
  EXPECT_EQ(run({.file = folder.file("f")}, print).execution.outcome, Outcome::done);
  EXPECT_TRUE(read_file(folder.file("f")) == lines + lines);
  const Seen failed = run({}, [&] {
    std::fputs(("Error: " + lines).c_str(), stdout);
    return Execution::failed({});
  });
  EXPECT_EQ(failed.execution.error_message, "Error: 0\n");
  EXPECT_EQ(failed.out, "after\n");
}

TEST(FilteredCommand, WhatIsMissingInAKnownPartLeavesTheRest) {
  const auto in_part = [] {
    std::puts("the rest");
    Execution execution = Execution::failed("Error: one part is missing\n");
    execution.printed_in_part = true;
    return execution;
  };
  EXPECT_EQ(run({}, in_part).out, "the rest\nafter\n");
  EXPECT_EQ(run({}, in_part).execution.error_message, "Error: one part is missing\n");
  EXPECT_EQ(run({.lines = {{LineFilter::Kind::count}}}, in_part).out, "after\n");
}

TEST(FilteredCommand, Saves) {
  const TemporaryFolder folder;
  const Seen text = run({.lines = {{LineFilter::Kind::exclude, "not"}}, .file = folder.file("text")}, [] {
    xprint("this\nnot this\n");
    return Execution{};
  });
  EXPECT_EQ(text.out, "after\n");
  EXPECT_EQ(text.execution.outcome, Outcome::done);
  EXPECT_EQ(read_file(folder.file("text")), "this\n");
  const auto document = [] {
    xprint("<%d>\n", "n", 1);
    return Execution{};
  };
  run({.format = output::Format::xml, .file = folder.file("text")}, document);
  EXPECT_EQ(read_file(folder.file("text")),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<output>\n  <n>1</n>\n</output>\n");
  run({.format = output::Format::json, .file = folder.file("text")}, document);
  EXPECT_EQ(read_file(folder.file("text")), "{\n  \"output\": {\n    \"n\": 1\n  }\n}\n");
}

TEST(FilteredCommand, WhatFailedIsNotSaved) {
  const TemporaryFolder folder;
  write_file(folder.file("old"), "as it was");
  const Seen seen = run({.file = folder.file("old")}, half_way);
  EXPECT_EQ(seen.out, "after\n");
  EXPECT_EQ(seen.execution.outcome, Outcome::failed);
  EXPECT_EQ(seen.execution.error_message,
            "Error: no more of it\nError: '" + folder.file("old") + "' is not written, since the command failed\n");
  EXPECT_EQ(read_file(folder.file("old")), "as it was");
}

TEST(FilteredCommand, AFileThatCannotBeWrittenFailsTheCommand) {
  const Seen seen = run({.file = "/dev/full"}, [] {
    xprint("text\n");
    return Execution{};
  });
  EXPECT_EQ(seen.out, "after\n");
  EXPECT_EQ(seen.execution.outcome, Outcome::failed);
  EXPECT_EQ(seen.execution.error_message,
            "Error: '/dev/full' cannot be written: it is no regular file; give another name\n");
}

TEST(FilteredCommand, AnExceptionGivesStandardOutputBack) {
  ::testing::internal::CaptureStdout();
  EXPECT_THROW(static_cast<void>(run_filtered({.format = output::Format::xml}, false,
                                              []() -> Execution {
                                                xprint_header("doc");
                                                throw std::bad_alloc();
                                              })),
               std::bad_alloc);
  xprint("text <%s>\n", "tag", "again");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "text again\n");
}

TEST(FilteredCommand, AFullStandardOutputIsReported) {
  // In a process of its own, since its stdout stays broken.
  EXPECT_EXIT(
      {
        if (std::freopen("/dev/full", "w", stdout) == nullptr) std::_Exit(3);
        const Execution execution = run_filtered({.format = output::Format::xml}, false, [] { return Execution{}; });
        std::_Exit(execution.outcome == Outcome::failed &&
                           execution.error_message == "Error: the output could not be written\n"
                       ? 0
                       : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(StdoutCapture, AClosedStandardOutputIsClosedAgain) {
  EXPECT_EXIT(
      {
        close(STDOUT_FILENO);
        StdoutCapture capture;
        if (capture.error() != 0) std::_Exit(2);
        std::printf("held");
        const auto held = capture.take();
        std::_Exit(held && *held == "held" && fcntl(STDOUT_FILENO, F_GETFD) < 0 ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(StdoutCapture, WhatCouldNotBeWrittenBeforeDoesNotTurnUp) {
  EXPECT_EXIT(
      {
        if (std::freopen("/dev/full", "w", stdout) == nullptr) std::_Exit(3);
        std::printf("lost");
        StdoutCapture capture;
        std::printf("held");
        const auto held = capture.take();
        std::_Exit(held && *held == "held" ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(Pager, CountsRowsAsATerminalShowsThem) {
  EXPECT_EQ(rows_of("", 80), 0U);
  EXPECT_EQ(rows_of("a", 80), 1U);
  EXPECT_EQ(rows_of("a\n", 80), 1U);
  EXPECT_EQ(rows_of("\n\na\n", 80), 3U);
  EXPECT_EQ(rows_of(std::string(80, 'x') + "\n", 80), 1U);
  EXPECT_EQ(rows_of(std::string(81, 'x') + "\n", 80), 2U);
  EXPECT_EQ(rows_of("\xE6\x97\xA5\xE6\x9C\xAC\n", 3), 2U);  // two wide characters
  EXPECT_EQ(rows_of("\xFF\xFF\xFF\n", 3), 1U);
  EXPECT_EQ(rows_of("abc", 0), 3U);
}

TEST(Pager, IsForTerminalsOnly) {
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(show_in_pager(std::string(1000, '\n')));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace kvel::shell::filtered_command_test
