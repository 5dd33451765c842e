// The fields of the records for load balancing and inspection, by name, offset and width: a command that sets one field
// touches the bytes of that field, and at most the words for its kind and presence.
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"
#include "tests/cli/wire_record.h"

namespace kvel::cli::test::policy_load_balancing_layout_test {
namespace {

using namespace std::string_literals;

const std::string kName = std::string(70, 'x');
const std::string kCutName = std::string(64, 'x');
const std::string kText = std::string(300, 'x');
const std::string kCutText = std::string(255, 'x');
const std::string kOne = "\0\0\0\1"s;
const std::string kNumber = "\xa1\xb2\xc3\xd4";

class PolicyMapRecordLayout : public PluginTest {
 protected:
  // Every field at its place, and no byte of the record left out.
  void expect_layout(const char* handler, std::size_t size, const std::vector<RecordField>& fields) {
    EXPECT_EQ(untiled(fields, size), "") << handler;
    for (const RecordField& field : fields) {
      const std::string sent = sent_buffer(run(handler, field.tokens));
      EXPECT_EQ(sent.size(), size) << handler;
      EXPECT_EQ(misplaced(field, sent), "") << handler << " " << field.name;
    }
  }
};

TEST_F(PolicyMapRecordLayout, LbVipConfigRecord) {
  expect_layout("kvelpolicymap_configloadbalance", 160,
                {
                    {"in service", 0, 4, {{404}}, kOne, {156}},
                    {"icmp reply", 4, 4, {{415}}, kOne, {156}},
                    {"route advertisement", 8, 4, {{405}}, kOne, {156}},
                    {"route metric", 12, 4, {{409, 0xa1b2c3d4}}, kNumber, {156}},
                    {"zero", 16, 4},
                    {"second object", 20, 65, {{412, kName}}, kCutName, {156}},
                    {"layer-7 policy-map", 85, 65, {{402, kName}}, kCutName, {156}},
                    {"zero", 150, 2},
                    {"option", 152, 4, {{408}}, kOne, {156}},
                    {"presence bits", 156, 4, {{409, 0}}, "\x10\0\0\0"s},
                });
}

// One table for each layout of the bytes after the kind.
TEST_F(PolicyMapRecordLayout, InlineLbMatchRecord) {
  const char* handler = "kvelpolicymap_config_inline_lb";
  expect_layout(handler, 332,
                {
                    {"kind", 0, 4, {{510, ""}}, "\0\0\0\6"s},
                    {"header name", 4, 65, {{509, kName}}, kCutName},
                    {"value", 69, 256, {{507, kText}}, kCutText},
                    {"zero", 325, 3},
                    {"cookie option", 328, 4, {{532}}, kOne, {0}},
                });
  expect_layout(handler, 332,
                {
                    {"kind", 0, 4, {{570, 0}}, "\0\0\0\2"s},
                    {"cookie name", 4, 65, {{506, kName}}, kCutName, {0}},
                    {"value", 69, 256, {{510, kText}}, kCutText, {0}},
                    {"zero", 325, 3},
                    {"cookie option", 328, 4, {{532}}, kOne, {0}},
                });
  expect_layout(handler, 332,
                {
                    {"kind", 0, 4, {{528, ""}}, "\0\0\0\5"s},
                    {"url", 4, 256, {{528, kText}}, kCutText, {0}},
                    {"qualifier", 260, 65, {{529, kName}}, kCutName},
                    {"zero", 325, 3},
                    {"cookie option", 328, 4, {{532}}, kOne, {0}},
                });
  expect_layout(handler, 332,
                {
                    {"kind", 0, 4, {{570, 0}}, "\0\0\0\2"s},
                    {"source address", 4, 4, {{570, 0xa1b2c3d4}}, kNumber, {0}},
                    {"source mask", 8, 4, {{571, 0xffffffff}}, "\xff\xff\xff\xff", {12}},
                    {"mask given", 12, 4, {{571, 0xffffffff}}, kOne, {8}},
                    {"zero", 16, 316},
                });
}

TEST_F(PolicyMapRecordLayout, SlbActionRecord) {
  expect_layout("kvelpolicymap_configslbactions", 732,
                {
                    {"number", 0, 1, {{676, 0xa1b2c3d4}}, "\xd4"},
                    {"zero", 1, 3},
                    {"target", 4, 65, {{578, kName}}, kCutName, {144, 728}},
                    {"second target", 69, 65, {{579, kName}}, kCutName, {144}},
                    {"zero", 134, 2},
                    {"option of 580", 136, 4, {{580}}, kOne, {144}},
                    {"option of 590", 140, 4, {{590}}, kOne, {144}},
                    {"presence bits A", 144, 4, {{579, ""}}, "\x40\0\0\0"s},
                    {"zero", 148, 65},
                    {"header name", 213, 256, {{588, kText}}, kCutText, {728}},
                    {"value", 469, 256, {{589, kText}}, kCutText},
                    {"zero", 725, 3},
                    {"presence bits B", 728, 4, {{585}}, "\x80\0\0\0"s},
                });
  expect_layout("kvelpolicymap_configslbactions", 732,
                {
                    {"number", 0, 1, {{676, 1}}, "\1"},
                    {"zero", 1, 3},
                    {"flag of 581", 4, 4, {{581}}, kOne, {728}},
                    {"rest of the target", 8, 720},
                    {"presence bits B", 728, 4, {{587}}, "\2\0\0\0"s},
                });
}

TEST_F(PolicyMapRecordLayout, DnsInspectRecord) {
  expect_layout("kvelpolicymap_configinspect_dns", 12,
                {
                    {"maximum length given", 0, 4, {{389, 0}}, kOne, {8}},
                    {"maximum length", 4, 4, {{389, 0xa1b2c3d4}}, kNumber, {0, 8}},
                    {"presence bits", 8, 4, {{389, 0}}, "\x80\0\0\0"s, {0}},
                });
}

TEST_F(PolicyMapRecordLayout, IcmpInspectRecord) {
  expect_layout("kvelpolicymap_configinspect_icmp", 4, {{"error mode", 0, 4, {{390}}, "\0\0\0\2"s}});
}

TEST_F(PolicyMapRecordLayout, FtpInspectRecord) {
  expect_layout("kvelpolicymap_configinspect_ftp", 72,
                {
                    {"strict, or policy-map given", 0, 4, {{383}}, kOne},
                    {"policy-map", 4, 65, {{384, kName}}, kCutName, {0}},
                    {"zero", 69, 3},
                });
}

TEST_F(PolicyMapRecordLayout, FtpInspectActionRecord) {
  expect_layout("kvelpolicymap_configclass_insftpact", 4, {{"action", 0, 4, {{662}}, "\0\0\0\6"s}});
}

// One table for each layout of the bytes after the kind.
TEST_F(PolicyMapRecordLayout, InlineHttpInspectRecord) {
  const char* handler = "kvelpolicymap_configinspect_l7http";
  const std::string value = std::string(191, 'x');  // as long as the content offset allows
  expect_layout(handler, 328,
                {
                    {"kind", 0, 4, {{166}}, "\0\0\0\x15"s},
                    {"header name", 4, 65, {{115, kName}}, kCutName},
                    {"header value", 69, 256, {{116, value}}, value, {0}},
                    {"zero", 325, 3},
                });
  expect_layout(handler, 328,
                {
                    {"kind", 0, 4, {{165}}, "\0\0\0\x16"s},
                    {"url", 4, 256, {{123, kText}}, kCutText, {0}},
                    {"content offset", 260, 2, {{146, 0xa1b200d4}}, "\0\xd4"s},
                    {"zero", 262, 66},
                });
  expect_layout(handler, 328,
                {
                    {"kind", 0, 4, {{113}}, "\0\0\0\x0c"s},
                    {"content", 4, 256, {{145, kText}}, kCutText, {0}},
                    {"content offset", 260, 2, {{146, 0xff}}, "\0\xff"s},
                    {"zero", 262, 66},
                });
  expect_layout(handler, 328,
                {
                    {"kind", 0, 4, {{131}}, "\0\0\0\x10"s},
                    {"code", 4, 1, {{1045}}, "\x4d", {0}},
                    {"zero", 5, 323},
                });
  expect_layout(handler, 328,
                {
                    {"kind", 0, 4, {{122}}, "\0\0\0\x0a"s},
                    {"low bound of a url length", 4, 4, {{128, 0xa1b2c3d4}}, kNumber},
                    {"high bound of a url length", 8, 4, {{129, 0xa1b2c3d4}}, kNumber},
                    {"zero", 12, 316},
                });
  expect_layout(handler, 328,
                {
                    {"kind", 0, 4, {{142}}, "\0\0\0\x0f"s},
                    {"low bound of a content length", 4, 4, {{136, 0xa1b2c3d4}}, kNumber},
                    {"high bound of a content length", 8, 4, {{137, 0xa1b2c3d4}}, kNumber},
                    {"zero", 12, 316},
                });
  expect_layout(handler, 328,
                {
                    {"kind", 0, 4, {{113}}, "\0\0\0\x0c"s},
                    {"direction", 4, 4, {{114}}, kOne, {0}},
                    {"low bound of a header length", 8, 4, {{65, 0xa1b2c3d4}}, kNumber},
                    {"high bound of a header length", 12, 4, {{66, 0xa1b2c3d4}}, kNumber},
                    {"zero", 16, 312},
                });
}

// What these tests stand on: a field elsewhere, one more byte and a gap in a table are found.
TEST(WireRecord, FindsWhatIsMisplaced) {
  const RecordField field = {"field", 4, 2, {}, "\xa1\xb2", {8}};
  EXPECT_EQ(misplaced(field, "\0\0\0\0\xa1\xb2\0\0\1\2\3\4"s), "");
  EXPECT_EQ(misplaced(field, "\0\0\0\0\xb2\xa1\0\0\0\0\0\0"s), "it holds b2a1 instead of a1b2");
  EXPECT_EQ(misplaced(field, "\0\0\0\xa1\xb2\0\0\0\0\0\0\0"s), "it holds b200 instead of a1b2");
  EXPECT_EQ(misplaced(field, "\0\0\0\0\xa1\xb2\1\0\0\0\0\0"s), "the byte at 6 is set too");
  EXPECT_EQ(misplaced(field, "\1\0\0\0\xa1\xb2\0\0\0\0\0\0"s), "the byte at 0 is set too");
  EXPECT_EQ(misplaced(field, "\0\0\0\0\xa1"s), "it is too short");
  EXPECT_EQ(untiled({{"a", 0, 4}, {"b", 4, 2}}, 6), "");
  EXPECT_EQ(untiled({{"a", 0, 4}, {"b", 5, 2}}, 7), "b begins elsewhere than at 4");
  EXPECT_EQ(untiled({{"a", 0, 4}, {"b", 3, 2}}, 5), "b begins elsewhere than at 4");
  EXPECT_EQ(untiled({{"a", 0, 4}, {"b", 4, 2}}, 7), "the fields end at 6");
}

TEST(WireRecord, ReadsBackWhatTheNotationDescribes) {
  const std::string bytes = "\1\2\0\0\0\0\0\0\xff\xff\3"s + std::string(65, 'x');
  EXPECT_EQ(sent_buffer({"bind 2", "call f(u16 7, " + buffer(bytes) + ", u8 1)", "return 0"}), bytes);
  EXPECT_EQ(sent_buffer({"call f(u16 7, " + buffer(bytes) + ")"}), bytes);
  EXPECT_EQ(record(6, {{1, "abcd"}, {2, "\0x"s}}), "\0a\0xd\0"s);
  EXPECT_EQ(big_endian(0xa1b2c3d4), "\xa1\xb2\xc3\xd4");
}

}  // namespace
}  // namespace kvel::cli::test::policy_load_balancing_layout_test
