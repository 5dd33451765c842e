// The four status printers: one line for every failure, and the success values that each keeps silent.
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::status_printer_test {
namespace {

using StatusPrinter = PluginTest;

constexpr std::array kPrinters = {"class_display_error", "policy_display_error", "parammap_display_error",
                                  "ssl_proxy_display_error"};

struct Line {
  std::int32_t status;
  const char* text;
};

TEST_F(StatusPrinter, TransportStatusesHaveFixedLines) {
  const std::array lines = {
      Line{-999, "Error: Called API is invalid or non-existant\n"},
      Line{-998, "Error: Called API timed out\n"},
      Line{-997, "Error: Transport error\n"},
      Line{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Line{-1, "Error: Called API encountered error\n"},
  };
  for (const char* printer : kPrinters) {
    for (const Line& line : lines) {
      EXPECT_EQ(print_status(printer, line.status), Events{out(line.text)}) << printer << " " << line.status;
    }
  }
}

TEST_F(StatusPrinter, OtherStatusesAreNamedByTheHost) {
  const std::array lines = {
      Line{1, "Error: text of 0x00000001, 100%d %s\n"},
      Line{-2, "Error: text of 0xfffffffe, 100%d %s\n"},
      Line{-995, "Error: text of 0xfffffc1d, 100%d %s\n"},
      Line{-1000, "Error: text of 0xfffffc18, 100%d %s\n"},
      Line{999, "Error: text of 0x000003e7, 100%d %s\n"},
      Line{0x40f2ffff, "Error: text of 0x40f2ffff, 100%d %s\n"},
      Line{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      Line{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
      Line{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
      Line{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
      Line{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
      Line{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
      Line{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
      Line{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
      Line{0x40f30106, "Error: text of 0x40f30106, 100%d %s\n"},
      Line{0x40f3013c, "Error: text of 0x40f3013c, 100%d %s\n"},
      Line{0x40f30141, "Error: text of 0x40f30141, 100%d %s\n"},
      Line{0x40f40000, "Error: text of 0x40f40000, 100%d %s\n"},
      Line{std::numeric_limits<std::int32_t>::max(), "Error: text of 0x7fffffff, 100%d %s\n"},
      Line{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const char* printer : kPrinters) {
    for (const Line& line : lines) {
      EXPECT_EQ(print_status(printer, line.status), Events{out(line.text)}) << printer << " " << line.status;
    }
  }
}

TEST_F(StatusPrinter, ClassMapsKeepBothSuccessesSilent) {
  EXPECT_EQ(print_status("class_display_error", 0), Events{});
  EXPECT_EQ(print_status("class_display_error", 0x40f30000), Events{});
}

TEST_F(StatusPrinter, PolicyMapsKeepBothSuccessesSilent) {
  EXPECT_EQ(print_status("policy_display_error", 0), Events{});
  EXPECT_EQ(print_status("policy_display_error", 0x40f30000), Events{});
}

TEST_F(StatusPrinter, ParameterMapsKeepOnlyMoreDataSilent) {
  EXPECT_EQ(print_status("parammap_display_error", 0), Events{out("Error: text of 0x00000000, 100%d %s\n")});
  EXPECT_EQ(print_status("parammap_display_error", 0x40f30000), Events{});
}

TEST_F(StatusPrinter, SslProxyPrintsBothSuccesses) {
  EXPECT_EQ(print_status("ssl_proxy_display_error", 0), Events{out("Error: text of 0x00000000, 100%d %s\n")});
  EXPECT_EQ(print_status("ssl_proxy_display_error", 0x40f30000), Events{out("Error: text of 0x40f30000, 100%d %s\n")});
}

}  // namespace
}  // namespace kvel::cli::test::status_printer_test
