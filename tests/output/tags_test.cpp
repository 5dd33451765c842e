// Tag lists and the names that tags are converted to.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace kvel::output::testing::tags_test {
namespace {

// The element that a value gets under the tag.
std::string element_of(const char* tag) {
  const std::string bytes = xml([&] { xprint("<%s>\n", tag, "v"); });
  const XmlDocument document = parse_xml(bytes);
  if (document == nullptr) return "";
  const xmlNode* leaf = xmlFirstElementChild(xmlDocGetRootElement(document.get()));
  return leaf == nullptr ? "" : reinterpret_cast<const char*>(leaf->name);
}

TEST(Tags, ListGoesToTheCallersBufferAndNamesTheValuesInOrder) {
  char buffer[3 * 64];
  EXPECT_EQ(xmltag(buffer, 3, "sp_nat_type", "sp_nat_ip", "sp_nat_vlan"), buffer);
  EXPECT_EQ(xml_body([&] { xprint("        nat <%s> <%s> vlan <%d>\n", buffer, "static", "10.1.1.1", 7); }),
            "<output>\n"
            "  <sp_nat_type>static</sp_nat_type>\n"
            "  <sp_nat_ip>10.1.1.1</sp_nat_ip>\n"
            "  <sp_nat_vlan>7</sp_nat_vlan>\n"
            "</output>\n");
}

TEST(Tags, LastTagRepeatsAndSurplusTagsAreIgnored) {
  char buffer[3 * 64];
  EXPECT_EQ(xml_body([&] {
              xprint("<%d> <%d> <%d>\n", xmltag(buffer, 2, "a", "b"), 1, 2, 3);
              xprint("<%d> <%d>\n", "c", 4, 5);
              xprint("<%d>\n", xmltag(buffer, 3, "d", "e", "f"), 6);
            }),
            "<output>\n  <a>1</a>\n  <b>2</b>\n  <b>3</b>\n  <c>4</c>\n  <c>5</c>\n  <d>6</d>\n</output>\n");
}

TEST(Tags, NoNamesGiveAnEmptyList) {
  char buffer[64] = "left over";
  EXPECT_EQ(xmltag(buffer, 0), buffer);
  EXPECT_STREQ(buffer, "");
  std::strcpy(buffer, "left over");
  EXPECT_EQ(xmltag(buffer, -3), buffer);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(xmltag(nullptr, 1, "a"), nullptr);
  EXPECT_EQ(xml_body([&] { xprint("<%d> <%d>\n", xmltag(buffer, 0), 1, 2); }),
            "<output>\n  <unnamed>1</unnamed>\n  <unnamed>2</unnamed>\n</output>\n");
}

TEST(Tags, LongNamesAreCutAndStayWithinTheBuffer) {
  const std::string exact(63, 'x');
  const std::string longer(200, 'y');
  std::vector<char> buffer(2 * 64 + 1, '#');  // one byte more than promised, which has to stay
  xmltag(buffer.data(), 2, longer.c_str(), (exact + "z").c_str());
  EXPECT_EQ(buffer[128], '#');
  EXPECT_EQ(buffer[127], '\0');
  EXPECT_EQ(xml_body([&] { xprint("<%d><%d>\n", buffer.data(), 1, 2); }),
            "<output>\n  <" + std::string(63, 'y') + ">1</" + std::string(63, 'y') + ">\n  <" + exact + ">2</" + exact +
                ">\n</output>\n");
}

TEST(Tags, NullAndEmptyNamesInAList) {
  char buffer[3 * 64];
  xmltag(buffer, 3, static_cast<const char*>(nullptr), "", "c");
  EXPECT_EQ(xml_body([&] { xprint("<%d><%d><%d>\n", buffer, 1, 2, 3); }),
            "<output>\n  <unnamed>1</unnamed>\n  <unnamed>2</unnamed>\n  <c>3</c>\n</output>\n");
}

TEST(Tags, ASeparatorInANameDoesNotSplitIt) {
  char buffer[2 * 64];
  xmltag(buffer, 2,
         "a\x1f"
         "b",
         "c");
  EXPECT_EQ(xml_body([&] { xprint("<%d><%d>\n", buffer, 1, 2); }), "<output>\n  <a_b>1</a_b>\n  <c>2</c>\n</output>\n");
}

TEST(Tags, AreConvertedToValidNames) {
  EXPECT_EQ(element_of("sp_class_name"), "sp_class_name");
  EXPECT_EQ(element_of("_a-b.c9"), "_a-b.c9");
  EXPECT_EQ(element_of(nullptr), "unnamed");
  EXPECT_EQ(element_of(""), "unnamed");
  EXPECT_EQ(element_of("9lives"), "_9lives");
  EXPECT_EQ(element_of("-x"), "_-x");
  EXPECT_EQ(element_of(".x"), "_.x");
  EXPECT_EQ(element_of("two words"), "two_words");
  EXPECT_EQ(element_of(" x"), "_x");
  EXPECT_EQ(element_of("ns:x"), "ns_x");
  EXPECT_EQ(element_of("<a>&\"'"), "_a____");
  EXPECT_EQ(element_of("\xC3\xA4\xFF"), "___");
  EXPECT_EQ(element_of(std::string(1000, 'n').c_str()), std::string(255, 'n'));
  EXPECT_EQ(element_of(std::string(1000, '7').c_str()), "_" + std::string(254, '7'));
}

TEST(Tags, HeaderAndFooterMeetUnderTheirValidName) {
  EXPECT_EQ(xml_body([] {
              xprint_header("a");
              xprint_header("not a name");
              xprint_footer("not a name");
              xprint_header(nullptr);
              xprint_footer("");
              xprint("<%d>\n", "v", 1);
            }),
            "<a>\n  <not_a_name/>\n  <unnamed/>\n  <v>1</v>\n</a>\n");
}

}  // namespace
}  // namespace kvel::output::testing::tags_test
