// XML: literal documents.
#include <gtest/gtest.h>

#include <string>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace kvel::output::testing::xml_test {
namespace {

TEST(Xml, EmptyDocument) {
  EXPECT_EQ(xml([] {}), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<output/>\n");
  EXPECT_EQ(xml_body([] { xprint(""); }), "<output/>\n");
  EXPECT_EQ(xml_body([] { xprint("\n \t\n"); }), "<output/>\n");
  EXPECT_EQ(xml_body([] { xprint_footer("never_opened"); }), "<output/>\n");
}

TEST(Xml, StatisticsPage) {
  EXPECT_EQ(xml([] {
              char tags[2 * 64];
              xprint_header("xml_show_service_policy");
              xprint_header("service_policy");
              xprint("\n");
              xprint("Status     : ACTIVE\n");
              xprint("Description: %s\n", "front door");
              xprint("-----------------------------------------\n");
              xprint("Interface: vlan ");
              xprint("<%d> ", "sp_interface_vlan", 10);
              xprint("<%d> ", "sp_interface_vlan", 20);
              xprint("\n");
              xprint("  service-policy: <%s>\n", "sp_name", "web");
              xprint_header("sp_security_acl");
              xprint_footer("sp_security_acl");
              xprint("        VIP Route Advertise  : ENABLED\n", "sp_lb_rhi_state");
              xprint("        curr conns       : <%-10u>, hit count        : <%-10u>\n",
                     xmltag(tags, 2, "sp_curr_conns", "sp_hit_count"), 5U, 6U);
              xprint("            hit count        : %-10u\n", 7U);
              xprint_footer("service_policy");
              xprint("\n");
              xprint_footer("xml_show_service_policy");
            }),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<xml_show_service_policy>\n"
            "  <service_policy>\n"
            "    <text>Status     : ACTIVE</text>\n"
            "    <text>Description: front door</text>\n"
            "    <text>-----------------------------------------</text>\n"
            "    <text>Interface: vlan</text>\n"
            "    <sp_interface_vlan>10</sp_interface_vlan>\n"
            "    <sp_interface_vlan>20</sp_interface_vlan>\n"
            "    <sp_name>web</sp_name>\n"
            "    <sp_security_acl/>\n"
            "    <text>VIP Route Advertise  : ENABLED</text>\n"
            "    <sp_curr_conns>5</sp_curr_conns>\n"
            "    <sp_hit_count>6</sp_hit_count>\n"
            "    <text>hit count        : 7</text>\n"
            "  </service_policy>\n"
            "</xml_show_service_policy>\n");
}

TEST(Xml, FooterClosesDownToItsTag) {
  EXPECT_EQ(xml_body([] {
              for (const char* tag : {"r", "a", "b", "c"})
                xprint_header(tag);
              xprint_footer("a");
              xprint("<%d>\n", "v", 1);
            }),
            "<r>\n  <a>\n    <b>\n      <c/>\n    </b>\n  </a>\n  <v>1</v>\n</r>\n");
}

TEST(Xml, FooterMeetsTheInnermostElementOfItsTag) {
  EXPECT_EQ(xml_body([] {
              for (const char* tag : {"r", "a", "a"})
                xprint_header(tag);
              xprint_footer("a");
              xprint("<%d>\n", "v", 1);
            }),
            "<r>\n  <a>\n    <a/>\n    <v>1</v>\n  </a>\n</r>\n");
}

TEST(Xml, FooterOfNothingOpenIsIgnored) {
  EXPECT_EQ(xml_body([] {
              xprint_footer("x");
              xprint_header("r");
              xprint_footer("x");
              xprint_header("a");
              xprint_footer("aa");
              xprint_footer("");
              xprint("<%d>\n", "v", 1);
            }),
            "<r>\n  <a>\n    <v>1</v>\n  </a>\n</r>\n");
}

TEST(Xml, OpenElementsEndWithTheDocument) {
  EXPECT_EQ(xml_body([] {
              xprint_header("r");
              xprint_header("a");
              xprint("unfinished");
            }),
            "<r>\n  <a>\n    <text>unfinished</text>\n  </a>\n</r>\n");
}

TEST(Xml, OutputBeforeAnyHeader) {
  EXPECT_EQ(xml_body([] {
              xprint("\n");
              xprint("hello\n");
              xprint_footer("output");
              xprint_header("r");
              xprint("<%d>\n", "v", 1);
              xprint_footer("r");
            }),
            "<output>\n  <text>hello</text>\n  <r>\n    <v>1</v>\n  </r>\n</output>\n");
}

TEST(Xml, OutputAfterTheRootStaysInIt) {
  EXPECT_EQ(xml_body([] {
              xprint_header("r");
              xprint_header("a");
              xprint_footer("r");
              xprint("after\n");
              xprint_header("b");
              xprint_footer("r");  // ended already: leaves "b" open
              xprint("<%d>\n", "v", 1);
              xprint_footer("b");
              xprint_header("r");
              xprint_footer("r");
            }),
            "<r>\n  <a/>\n  <text>after</text>\n  <b>\n    <v>1</v>\n  </b>\n  <r/>\n</r>\n");
}

TEST(Xml, PiecesMakeLines) {
  EXPECT_EQ(xml_body([] {
              xprint("one ");
              xprint("line\ntwo\n\n   \n");
              xprint("  th");
              xprint("ree  \r\n");
              xprint("cut by a value");
              xprint("<%d>", "v", 1);
              xprint(" the rest\n");
              xprint("cut by a header");
              xprint_header("h");
              xprint("cut by a footer");
              xprint_footer("h");
            }),
            "<output>\n"
            "  <text>one line</text>\n"
            "  <text>two</text>\n"
            "  <text>three</text>\n"
            "  <text>cut by a value</text>\n"
            "  <v>1</v>\n"
            "  <text>the rest</text>\n"
            "  <text>cut by a header</text>\n"
            "  <h>\n"
            "    <text>cut by a footer</text>\n"
            "  </h>\n"
            "</output>\n");
}

TEST(Xml, BlanksOfTheLayoutGoAndBlanksOfValuesStay) {
  EXPECT_EQ(xml_body([] {
              xprint("  Description: %s  \n", "  kept  ");
              xprint("  %s\n", "  kept");
              xprint("  %8s|%-8s\n", "a", "b");
              xprint("  %8s\n", "a");
              xprint("%s\n", "   ");
              xprint("   description: <%s>   \n", "d", "  kept  ");
              xprint("<%10s>|<%-10s>\n", "d", "a", "b");
            }),
            "<output>\n"
            "  <text>Description:   kept  </text>\n"
            "  <text>  kept</text>\n"
            "  <text>a|b</text>\n"
            "  <text>a</text>\n"
            "  <d>  kept  </d>\n"
            "  <d>a</d>\n"
            "  <d>b</d>\n"
            "</output>\n");
}

TEST(Xml, ValuesWithoutTheirWidth) {
  EXPECT_EQ(xml_body([] {
              xprint("<%08x> <%#x> <%+d> <% d> <%.4d> <%5c> <%8.2f> <%*d> <%hhu>\n", "v", 0xABU, 0xABU, 1, 2, 3, 'c',
                     1.255, 9, 4, 0x1FF);
              xprint("<%.2s> <%s>\n", "s", "abc", static_cast<const char*>(nullptr));
              xprint("<%s>\n", "s", "");
            }),
            "<output>\n  <v>ab</v>\n  <v>0xab</v>\n  <v>+1</v>\n  <v>2</v>\n  <v>0003</v>\n  <v>c</v>\n  <v>1.25</v>\n"
            "  <v>4</v>\n  <v>255</v>\n  <s>ab</s>\n  <s>(null)</s>\n  <s></s>\n</output>\n");
}

TEST(Xml, LabelsAreDroppedButPlainValuesBesideThemAreKept) {
  EXPECT_EQ(xml_body([] {
              xprint("  used: <%d> of %d slots, free: <%d>, %%\n", "v", 3, 80, 77);
              xprint("%s: <%d>\n", "v", "label", 4);
              xprint("<%d> and %s", "v", 5, "more");
              xprint(" to come\n");
            }),
            "<output>\n"
            "  <v>3</v>\n"
            "  <text>of 80 slots, free:</text>\n"
            "  <v>77</v>\n"
            "  <text>label:</text>\n"
            "  <v>4</v>\n"
            "  <v>5</v>\n"
            "  <text>and more to come</text>\n"
            "</output>\n");
}

TEST(Xml, RefusedAndUnknownConversions) {
  int untouched = 42;
  EXPECT_EQ(xml_body([&] {
              xprint("a%nb %y %d%%\n", &untouched, 1);
              xprint("<%n> <%d> <%y>\n", "v", &untouched, 2);
            }),
            "<output>\n  <text>a%nb %y 1%</text>\n  <v>%n</v>\n  <v>2</v>\n</output>\n");
  EXPECT_EQ(untouched, 42);
}

TEST(Xml, Markup) {
  EXPECT_EQ(xml_body([] {
              xprint("<%s>\n", "v", "a<b>&amp;\"'");
              xprint("<%s>\n", "v", "]]><![CDATA[");
              xprint("if a < b && c > d: \"%s\"\n", "<!-- x -->");
            }),
            "<output>\n"
            "  <v>a&lt;b&gt;&amp;amp;\"'</v>\n"
            "  <v>]]&gt;&lt;![CDATA[</v>\n"
            "  <text>if a &lt; b &amp;&amp; c &gt; d: \"&lt;!-- x --&gt;\"</text>\n"
            "</output>\n");
}

// What a reader of the document gets for a value.
std::string read_back(const char* value) {
  const XmlDocument document = parse_xml(xml([&] { xprint("<%s>\n", "v", value); }));
  return document == nullptr ? "not XML" : content(xmlFirstElementChild(xmlDocGetRootElement(document.get())));
}

TEST(Xml, ControlCharactersAndLineEnds) {
  EXPECT_EQ(read_back("a\tb\nc\r\nd\re"), "a\tb\nc\r\nd\re");
  EXPECT_EQ(read_back("\x01\x08\x0B\x0C\x0E\x1B\x1F"), "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(read_back("\x7F"), "\x7F");
  const XmlDocument nul = parse_xml(xml([] { xprint("<%c>\n", "v", 0); }));
  EXPECT_EQ(content(xmlFirstElementChild(xmlDocGetRootElement(nul.get()))), "\uFFFD");
}

TEST(Xml, BytesThatAreNotUtf8) {
  EXPECT_EQ(read_back("gr\u00FC\u00DFe \u20AC \U0001F600 \U0010FFFF"), "gr\u00FC\u00DFe \u20AC \U0001F600 \U0010FFFF");
  EXPECT_EQ(read_back("\xFF"
                      "a"),
            "\uFFFDa");
  EXPECT_EQ(read_back("\x80"), "\uFFFD");
  EXPECT_EQ(read_back("a\xC3"), "a\uFFFD");                              // cut off
  EXPECT_EQ(read_back("\xE2\x82"), "\uFFFD\uFFFD");                      // cut off
  EXPECT_EQ(read_back("\xC3(\x28"), "\uFFFD((");                         // no continuation
  EXPECT_EQ(read_back("\xC0\xAF"), "\uFFFD\uFFFD");                      // longer than needed
  EXPECT_EQ(read_back("\xE0\x80\xAF"), "\uFFFD\uFFFD\uFFFD");            // longer than needed
  EXPECT_EQ(read_back("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");            // a surrogate
  EXPECT_EQ(read_back("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");  // beyond the last character
  EXPECT_EQ(read_back("\xEF\xBF\xBE|\xEF\xBF\xBF|\uFFFD"), "\uFFFD|\uFFFD|\uFFFD");
  EXPECT_EQ(read_back("\u0085\u2028\uFDD0"), "\u0085\u2028\uFDD0");
}

TEST(Xml, LargeValues) {
  const std::string mega(1 << 20, '<');
  EXPECT_EQ(read_back(mega.c_str()), mega);
  const std::string line(1 << 20, 'x');
  EXPECT_EQ(xml_body([&] { xprint("%s\n", line.c_str()); }), "<output>\n  <text>" + line + "</text>\n</output>\n");
}

TEST(Xml, NestsTwoHundredDeep) {
  const std::string bytes = xml([] {
    xprint_header("root");
    xprint_header("outer");
    for (int count = 0; count < 1000; ++count)
      xprint_header("level");
    xprint("<%d>\n", "deep", 1);
    for (int count = 0; count < 802; ++count)
      xprint_footer("level");  // of those that open nothing
    xprint("<%d>\n", "as_deep", 2);
    xprint_footer("level");
    xprint("<%d>\n", "higher", 3);
    xprint_footer("outer");
    xprint("<%d>\n", "flat", 4);
  });
  const XmlDocument document = parse_xml(bytes);
  ASSERT_NE(document, nullptr);
  const auto depth_of = [&](const std::string& line) {
    const std::size_t end = bytes.find(line);
    return (end - bytes.rfind('\n', end) - 1) / 2;
  };
  EXPECT_EQ(depth_of("<deep>1</deep>"), 200U);
  EXPECT_EQ(depth_of("<as_deep>2</as_deep>"), 200U);
  EXPECT_EQ(depth_of("<higher>3</higher>"), 199U);
  EXPECT_EQ(depth_of("<flat>4</flat>"), 1U);
}

}  // namespace
}  // namespace kvel::output::testing::xml_test
