// The heading of a service policy, the records that a page begins with, and the walk from class to class.
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/cli/guarded_memory.h"
#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_heading_test {
namespace {

using ServicePolicyHeading = ServicePolicyTest;

const Events kPageEnd = {"xprint_footer 'service_policy'"};
const std::string kFirstLine = R"(xprint "\n" => "\n")";
const std::string kActive = R"(xprint "Status     : ACTIVE\n" => "Status     : ACTIVE\n")";
const std::string kInactive = R"(xprint "Status     : INACTIVE\n" => "Status     : INACTIVE\n")";
const std::string kRule =
    R"(xprint "-----------------------------------------\n" => "-----------------------------------------\n")";
const std::string kGlobal = R"(xprint "Context Global Policy:" => "Context Global Policy:")";
const std::string kInterface = R"(xprint "Interface: vlan " => "Interface: vlan ")";
const std::string kName = R"(xprint "  service-policy: <%s>\n" 'sp_name' => "  service-policy: <edge>\n")";

std::string vlan(const std::string& text) { return R"(xprint "<%d> " 'sp_interface_vlan' => "<)" + text + R"(> ")"; }

// ---- the heading

TEST_F(ServicePolicyHeading, ActiveOnTheContext) {
  EXPECT_EQ(format(stream::policy({.class_count = 0})),
            (Events{"xprint_header 'service_policy'", kFirstLine, kActive, kRule, kGlobal, kFirstLine, kName,
                    "xprint_footer 'service_policy'"}));
}

TEST_F(ServicePolicyHeading, ActiveOnTheContextWithDetail) {
  EXPECT_EQ(format(stream::policy({.class_count = 0}), 1),
            (Events{"xprint_header 'service_policy'", kFirstLine, kActive,
                    R"(xprint "Description: -\n" => "Description: -\n")", kRule, kGlobal, kFirstLine, kName,
                    "xprint_footer 'service_policy'"}));
}

TEST_F(ServicePolicyHeading, Inactive) {
  EXPECT_EQ(format(stream::policy({.class_count = 0, .active = 0})),
            (Events{"xprint_header 'service_policy'", kFirstLine, kInactive, kRule, kFirstLine, kName,
                    "xprint_footer 'service_policy'"}));
}

TEST_F(ServicePolicyHeading, InactiveWithDetail) {
  EXPECT_EQ(format(stream::policy({.class_count = 0, .active = 0, .description = "spare"}), 1),
            (Events{"xprint_header 'service_policy'", kFirstLine, kInactive,
                    R"(xprint "Description: %s\n" => "Description: spare\n")", kRule, kFirstLine, kName,
                    "xprint_footer 'service_policy'"}));
}

TEST_F(ServicePolicyHeading, ActiveOnOneInterface) {
  EXPECT_EQ(format(stream::policy({.class_count = 0, .vlans = {20}})),
            (Events{"xprint_header 'service_policy'", kFirstLine, kActive, kRule, kInterface, vlan("20"), kFirstLine,
                    kName, "xprint_footer 'service_policy'"}));
}

// In the order of the words; as signed numbers.
TEST_F(ServicePolicyHeading, ActiveOnSeveralInterfaces) {
  EXPECT_EQ(
      format(stream::policy({.class_count = 0, .vlans = {4094, 1, 0, 0x01020304, 0x7fffffff, 0x80000000, 0xffffffff}})),
      (Events{"xprint_header 'service_policy'", kFirstLine, kActive, kRule, kInterface, vlan("4094"), vlan("1"),
              vlan("0"), vlan("16909060"), vlan("2147483647"), vlan("-2147483648"), vlan("-1"), kFirstLine, kName,
              "xprint_footer 'service_policy'"}));
}

TEST_F(ServicePolicyHeading, ADescriptionIsShownWithDetailAlone) {
  EXPECT_EQ(format(stream::policy({.class_count = 0, .description = "front door"})),
            (Events{"xprint_header 'service_policy'", kFirstLine, kActive, kRule, kGlobal, kFirstLine, kName,
                    "xprint_footer 'service_policy'"}));
  reload();
  EXPECT_EQ(format(stream::policy({.class_count = 0, .description = "front door", .vlans = {20}}), 1),
            (Events{"xprint_header 'service_policy'", kFirstLine, kActive,
                    R"(xprint "Description: %s\n" => "Description: front door\n")", kRule, kInterface, vlan("20"),
                    kFirstLine, kName, "xprint_footer 'service_policy'"}));
}

TEST_F(ServicePolicyHeading, DescriptionsOfAnyTextAndLength) {
  for (const std::string& description : {std::string("-"), std::string("x"), std::string("100%s %n%d"),
                                         std::string("a <b> & \"c\"\n"), std::string(243, 'd')}) {
    reload();
    EXPECT_EQ(format(stream::policy({.class_count = 0, .description = description}), 1).at(3),
              line("Description: %s\n", "Description: " + description + "\n"));
  }
}

// Every nonzero word is yes, whichever of its bits is set.
TEST_F(ServicePolicyHeading, AnyNonzeroActive) {
  for (std::uint32_t active : {1U, 2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    reload();
    EXPECT_EQ(format(stream::policy({.class_count = 0, .active = active})), heading({}) + kPageEnd) << active;
  }
}

TEST_F(ServicePolicyHeading, AnyNonzeroDetail) {
  for (std::uint8_t detail : std::array<std::uint8_t, 4>{1, 2, 128, 255}) {
    reload();
    EXPECT_EQ(format(stream::policy({.class_count = 0}), detail), heading({.detail = 1}) + kPageEnd) << int{detail};
  }
}

TEST_F(ServicePolicyHeading, TheNameIsTheOneTyped) {
  const std::string bytes = stream::policy({.class_count = 0});
  const auto named = [&](const char* name) {
    reload();
    return invoke("format_and_display_policystats", std::uint8_t{0}, name, static_cast<std::int32_t>(bytes.size()),
                  static_cast<const void*>(bytes.data()), static_cast<void*>(nullptr))
        .at(6);
  };
  EXPECT_EQ(named(""), line("  service-policy: <%s>\n", "sp_name", "  service-policy: <>\n"));
  EXPECT_EQ(named("%s%n"), line("  service-policy: <%s>\n", "sp_name", "  service-policy: <%s%n>\n"));
  const std::string x64(64, 'x');
  EXPECT_EQ(named(x64.c_str()), line("  service-policy: <%s>\n", "sp_name", "  service-policy: <" + x64 + ">\n"));
}

// ---- interfaces that are none

// Counts are signed: below zero there is no VLAN word.
TEST_F(ServicePolicyHeading, ANegativeInterfaceCountIsNone) {
  for (std::uint32_t count : {0x80000000U, 0xffffffffU}) {
    reload();
    const std::string first = stream::policy({.interface_count = count}) + stream::class_map({.entry_count = 0});
    EXPECT_EQ(format(first), heading({}) + class_opened("web") + class_closed() + kPageEnd) << count;
    const std::string later =
        stream::policy({.interface_count = count}) + stream::class_map({.entry_count = 0, .name = "mail"});
    EXPECT_EQ(format(later), class_opened("mail") + class_closed() + kPageEnd) << count;
  }
}

// The first page of an inactive policy has no VLAN words, whatever its count.
TEST_F(ServicePolicyHeading, AnInactiveFirstPageDoesNotStepOverInterfaces) {
  EXPECT_EQ(format(stream::policy({.interface_count = 2, .active = 0}) + stream::class_map({.entry_count = 0})),
            heading({.active = 0}) + class_opened("web") + class_closed() + kPageEnd);
  reload();
  EXPECT_EQ(format(stream::policy({.active = 0, .vlans = {20, 30}}) + stream::class_map({.entry_count = 0})),
            heading({.active = 0}) + Events{out("\nUnexpected header: 20")});
}

// Once the heading has been shown, the words are stepped over: of an active policy and of an inactive one.
TEST_F(ServicePolicyHeading, LaterPagesStepOverInterfaces) {
  EXPECT_EQ(format(stream::policy({.class_count = 0})), heading({}) + kPageEnd);
  for (std::uint32_t active : {1U, 0U}) {
    const std::string name = active != 0 ? "web" : "mail";
    EXPECT_EQ(format(stream::policy({.active = active, .vlans = {20, 30, 0xffffffff}}) +
                     stream::class_map({.entry_count = 0, .name = name})),
              class_opened(name) + class_closed() + kPageEnd)
        << "active " << active;
  }
}

TEST_F(ServicePolicyHeading, ThePageAfterAnInactiveFirstPageStepsOverInterfaces) {
  EXPECT_EQ(format(stream::policy({.interface_count = 2, .active = 0}) + stream::class_map({.entry_count = 0})),
            heading({.active = 0}) + class_opened("web") + class_closed() + kPageEnd);
  EXPECT_EQ(
      format(stream::policy({.active = 0, .vlans = {20, 30}}) + stream::class_map({.entry_count = 0, .name = "mail"})),
      class_opened("mail") + class_closed() + kPageEnd);
}

// ---- once in the life of the plug-in

TEST_F(ServicePolicyHeading, IsShownOnce) {
  const std::string bytes = stream::policy({.class_count = 0, .description = "front door", .vlans = {20}});
  EXPECT_EQ(format(bytes, 1).size(), 10U);
  EXPECT_EQ(format(bytes, 1), kPageEnd);
  EXPECT_EQ(format(bytes, 0), kPageEnd);
  reload();
  EXPECT_EQ(format(bytes, 1).size(), 10U);
}

// Another policy, another name, another state: no heading either.
TEST_F(ServicePolicyHeading, IsShownOnceForAllCommands) {
  host.answer({.response = stream::policy({.class_count = 0})});
  EXPECT_EQ(run("kvelpolicymap_show_servicepolicy", {{902, "edge"}}).size(), 16U);
  host.answer(
      {.response = stream::policy({.active = 0, .description = "spare"}) + stream::class_map({.entry_count = 0})});
  EXPECT_EQ(
      run("kvelpolicymap_show_servicepolicy", {{902, "core"}, {903}}),
      (Events{"bind 2", "xprint_header 'xml_show_service_policy'", "init_resp",
              "call cm_show_service_policy(u16 7, 'core', u32 1, buffer[20] 00*20, buffer[4] 00000000, response)",
              "xprint_header 'sp_class_map'", R"(xprint "    class: <%s>\n" 'sp_class_name' => "    class: <web>\n")",
              "xprint_header 'sp_class_types'", "xprint_footer 'sp_class_types'", "xprint_footer 'sp_class_map'",
              "xprint_footer 'service_policy'", "free", R"(xprint "\n" => "\n")",
              "xprint_footer 'xml_show_service_policy'", "return 0"}));
}

// ---- pages that are none

TEST_F(ServicePolicyHeading, NoLengthOrNoDataShowsNothing) {
  const std::string bytes = stream::policy({}) + stream::class_map({.entry_count = 0});
  const auto shown = [&](std::int32_t length, const void* data) {
    return invoke("format_and_display_policystats", std::uint8_t{1}, "edge", length, data, static_cast<void*>(nullptr));
  };
  EXPECT_EQ(shown(0, bytes.data()), Events{});
  EXPECT_EQ(shown(0, inaccessible()), Events{});
  EXPECT_EQ(shown(520, nullptr), Events{});
  EXPECT_EQ(shown(-1, nullptr), Events{});
  EXPECT_EQ(shown(0, nullptr), Events{});
  // and left the heading to the first page that is one
  EXPECT_EQ(format(bytes), heading({}) + class_opened("web") + class_closed() + kPageEnd);
}

// The counts in the records lead the walk; the length is only asked whether it is 0.
TEST_F(ServicePolicyHeading, TheLengthIsNoBound) {
  const std::string bytes = stream::policy({}) + stream::class_map({.entry_count = 0});
  for (std::int32_t length : {1, 4, 259, 260, 261, 519, 521, 1'000'000, std::numeric_limits<std::int32_t>::max(), -1,
                              std::numeric_limits<std::int32_t>::min()}) {
    reload();
    EXPECT_EQ(invoke("format_and_display_policystats", std::uint8_t{0}, "edge", length,
                     static_cast<const void*>(bytes.data()), static_cast<void*>(nullptr)),
              heading({}) + class_opened("web") + class_closed() + kPageEnd)
        << length;
  }
}

TEST_F(ServicePolicyHeading, AFirstRecordOfAnotherTypeHidesItsPage) {
  for (std::uint32_t type : {0U, 1U, 3U, 0x0102U, 0x00020000U, 0x02000000U, 0x80000002U, 0xffffffffU}) {
    EXPECT_EQ(format(stream::policy({.record_type = type, .vlans = {20}}) + stream::class_map({.entry_count = 0}), 1),
              Events{})
        << type;
  }
  // neither the heading nor a class counts as shown
  EXPECT_EQ(format(stream::policy({}) + stream::class_map({.entry_count = 0})),
            heading({}) + class_opened("web") + class_closed() + kPageEnd);
  EXPECT_EQ(format(stream::policy({.record_type = 3}) + stream::class_map({.entry_count = 0, .name = "mail"})),
            Events{});
}

// ---- from class to class

TEST_F(ServicePolicyHeading, NoClasses) {
  for (std::uint32_t count : {0U, 0x80000000U, 0xffffffffU}) {
    reload();
    EXPECT_EQ(format(stream::policy({.class_count = count, .vlans = {20}})),
              (Events{"xprint_header 'service_policy'", kFirstLine, kActive, kRule, kInterface, vlan("20"), kFirstLine,
                      kName, "xprint_footer 'service_policy'"}))
        << count;
    EXPECT_EQ(format(stream::policy({.class_count = count, .vlans = {20}})), kPageEnd) << count;
  }
}

// What comes after the classes counted is not read.
TEST_F(ServicePolicyHeading, AsManyClassesAsCounted) {
  const std::string classes = stream::class_map({.entry_count = 0, .name = "a"}) +
                              stream::class_map({.entry_count = 0, .name = "b"}) +
                              stream::class_map({.entry_count = 0, .name = "c"});
  EXPECT_EQ(
      format(stream::policy({.class_count = 3, .vlans = {7}}) + classes),
      (Events{"xprint_header 'service_policy'", kFirstLine, kActive, kRule, kInterface, vlan("7"), kFirstLine, kName} +
       class_opened("a") + class_closed() + class_opened("b") + class_closed() + class_opened("c") + class_closed() +
       kPageEnd));
  reload();
  EXPECT_EQ(format(stream::policy({.class_count = 2}) + classes),
            heading({}) + class_opened("a") + class_closed() + class_opened("b") + class_closed() + kPageEnd);
}

TEST_F(ServicePolicyHeading, OneThousandClasses) {
  std::string bytes = stream::policy({.class_count = 1000});
  Events expected = heading({});
  for (int number = 0; number < 1000; ++number) {
    const std::string name = "class-" + std::to_string(number);
    bytes += stream::class_map({.entry_count = 0, .name = name});
    expected = std::move(expected) + class_opened(name) + class_closed();
  }
  EXPECT_EQ(format(bytes), expected + kPageEnd);
}

// Without action groups a class is its name and an empty list.
TEST_F(ServicePolicyHeading, AClassWithoutActions) {
  const Events shown = {
      "xprint_header 'sp_class_map'",   R"(xprint "    class: <%s>\n" 'sp_class_name' => "    class: <web>\n")",
      "xprint_header 'sp_class_types'", "xprint_footer 'sp_class_types'",
      "xprint_footer 'sp_class_map'",   "xprint_footer 'service_policy'"};
  EXPECT_EQ(format(stream::policy({}) + stream::class_map({.entry_count = 0})), heading({}) + shown);
}

TEST_F(ServicePolicyHeading, ClassNamesOfAnyText) {
  for (const std::string& name :
       {std::string("x"), std::string("%s%n"), std::string("a <b> \"c\""), std::string(63, 'x')}) {
    reload();
    EXPECT_EQ(format(stream::policy({}) + stream::class_map({.entry_count = 0, .name = name})),
              (heading({}) + Events{"xprint_header 'sp_class_map'",
                                    line("    class: <%s>\n", "sp_class_name", "    class: <" + name + ">\n"),
                                    "xprint_header 'sp_class_types'", "xprint_footer 'sp_class_types'",
                                    "xprint_footer 'sp_class_map'", "xprint_footer 'service_policy'"}));
  }
}

// ---- a record that is no class

// The walk stops with every element open that was.
TEST_F(ServicePolicyHeading, AnUnexpectedRecordStopsTheWalk) {
  struct Row {
    std::uint32_t type;
    const char* message;
  };
  constexpr std::array rows = {
      Row{0, "\nUnexpected header: 0"},
      Row{2, "\nUnexpected header: 2"},
      Row{7, "\nUnexpected header: 7"},
      Row{0x00010000, "\nUnexpected header: 65536"},
      Row{0x01000000, "\nUnexpected header: 16777216"},
      Row{0x80000001, "\nUnexpected header: 2147483649"},
      Row{0xffffffff, "\nUnexpected header: 4294967295"},
  };
  for (const Row& row : rows) {
    reload();
    EXPECT_EQ(format(stream::policy({}) + stream::class_map({.record_type = row.type, .entry_count = 0})),
              heading({}) + Events{out(row.message)});
  }
}

TEST_F(ServicePolicyHeading, AnUnexpectedRecordAfterOtherClasses) {
  const std::string bytes = stream::policy({.class_count = 3}) + stream::class_map({.entry_count = 0}) +
                            stream::class_map({.record_type = 9, .entry_count = 0, .name = "mail"}) +
                            stream::class_map({.entry_count = 0, .name = "ftp"});
  EXPECT_EQ(format(bytes), heading({}) + class_opened("web") + class_closed() + Events{out("\nUnexpected header: 9")});
  // the heading is shown, "web" is the last class, "mail" was none
  EXPECT_EQ(
      format(stream::policy({.class_count = 2}) + stream::class_map({.entry_count = 0}) +
             stream::class_map({.entry_count = 0, .name = "mail"})),
      (Events{"xprint_header 'sp_class_types'", "xprint_footer 'sp_class_types'", "xprint_footer 'sp_class_map'"} +
       class_opened("mail") + class_closed() + kPageEnd));
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_heading_test
