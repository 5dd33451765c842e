// Sessions: where output goes before, during and between them, and the calls of the shell.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace kvel::output::testing::session_test {
namespace {

void shell_document() {
  open_element("objects");
  text("  kept as it is");
  value("name", "42");
  value("count", 42);
  value("smallest", std::numeric_limits<std::int64_t>::min());
  value("largest", std::numeric_limits<std::uint64_t>::max());
  value("octet", std::uint8_t{200});
  close_element("objects");
}

TEST(Session, ShellDocumentAsXml) {
  EXPECT_EQ(xml_body(shell_document),
            "<objects>\n"
            "  <text>  kept as it is</text>\n"
            "  <name>42</name>\n"
            "  <count>42</count>\n"
            "  <smallest>-9223372036854775808</smallest>\n"
            "  <largest>18446744073709551615</largest>\n"
            "  <octet>200</octet>\n"
            "</objects>\n");
}

TEST(Session, ShellDocumentAsJson) {
  EXPECT_EQ(json(shell_document),
            "{\n"
            "  \"objects\": {\n"
            "    \"text\": \"  kept as it is\",\n"
            "    \"name\": \"42\",\n"
            "    \"count\": 42,\n"
            "    \"smallest\": -9223372036854775808,\n"
            "    \"largest\": 18446744073709551615,\n"
            "    \"octet\": 200\n"
            "  }\n"
            "}\n");
}

TEST(Session, ShellDocumentAsText) {
  EXPECT_EQ(written(Format::text, shell_document),
            "  kept as it is\n"
            "name: 42\n"
            "count: 42\n"
            "smallest: -9223372036854775808\n"
            "largest: 18446744073709551615\n"
            "octet: 200\n");
}

TEST(Session, TextLinesWithAndWithoutTheirEnd) {
  const auto lines = [] {
    text("one\n");
    text("two");
    text("");
    text("three\nfour  ");
    text("five\r\n");
  };
  EXPECT_EQ(written(Format::text, lines), "one\ntwo\n\nthree\nfour  \nfive\r\n");
  EXPECT_EQ(xml_body(lines),
            "<output>\n  <text>one</text>\n  <text>two</text>\n  <text>three</text>\n  <text>four  </text>\n"
            "  <text>five</text>\n</output>\n");
}

TEST(Session, ShellCallsTakeAnyBytes) {
  const auto calls = [] {
    open_element({});
    value({}, {});
    value({"a\0b", 3}, {"a\0b", 3});
  };
  EXPECT_EQ(xml_body(calls),
            "<unnamed>\n  <unnamed></unnamed>\n  <a_b>a\uFFFD"
            "b</a_b>\n</unnamed>\n");
}

TEST(Session, TextGoesToStdoutWithoutASession) {
  ::testing::internal::CaptureStdout();
  xprint("before <%s>\n", "tag", "begin");
  const std::string document = written(Format::xml, [] { xprint("inside\n"); });
  xprint("after\n");
  text("the end");
  EXPECT_TRUE(finish());
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "before begin\nafter\nthe end\n");
  EXPECT_EQ(document, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<output>\n  <text>inside</text>\n</output>\n");
}

TEST(Session, TextKeepsItsOrderWithOtherWritersOfTheStream) {
  Memory memory;
  begin(Format::text, memory.file());
  xprint("one ");
  std::fputs("two ", memory.file());
  xprint("three\n");
  EXPECT_TRUE(finish());
  EXPECT_EQ(memory.bytes(), "one two three\n");
}

TEST(Session, ReportsItsFormat) {
  Memory memory;
  EXPECT_EQ(format(), Format::text);
  begin(Format::json, memory.file());
  EXPECT_EQ(format(), Format::json);
  EXPECT_TRUE(finish());
  EXPECT_EQ(format(), Format::text);
}

TEST(Session, BeginEndsTheSessionBefore) {
  Memory first;
  Memory second;
  begin(Format::xml, first.file());
  xprint_header("a");
  begin(Format::json, second.file());
  xprint_header("b");
  EXPECT_TRUE(finish());
  EXPECT_EQ(first.bytes(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a/>\n");
  EXPECT_EQ(second.bytes(), "{\n  \"b\": {}\n}\n");
}

TEST(Session, NothingIsLeftOverForTheNextOne) {
  static_cast<void>(written(Format::xml, [] {
    xprint_header("a");
    xprint("unfinished line");
  }));
  EXPECT_EQ(xml_body([] { xprint(" fresh\n"); }), "<output>\n  <text>fresh</text>\n</output>\n");
}

TEST(Session, XmlComesOutAsItIsWritten) {
  Memory memory;
  begin(Format::xml, memory.file());
  xprint_header("a");
  xprint("<%d>\n", "v", 1);
  EXPECT_EQ(memory.bytes(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n  <v>1</v>\n");
  EXPECT_TRUE(finish());
  EXPECT_EQ(memory.bytes(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n  <v>1</v>\n</a>\n");
}

}  // namespace
}  // namespace kvel::output::testing::session_test
