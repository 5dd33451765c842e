// The inspection rules with texts: a header by its name and value, and the content at an offset.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_inspection_texts_test {
namespace {

// ---- header

class ClassMapInspectedHeader : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httpinsp_hdr", tokens, form);
  }
};

// The call of a command without name and line number.
Events header(const std::string& name, const std::string& value) {
  return {"bind 2", "call cm_update_http_header_match(u16 7, '', u32 0, '" + name + "', '" + value + "', u8 1)",
          "return 0"};
}

TEST_F(ClassMapInspectedHeader, EveryWellKnownName) {
  struct Row {
    std::uint32_t keyword_id;
    const char* name;
  };
  const std::array rows = {
      Row{44, "Via"},
      Row{45, "User-Agent"},
      Row{46, "Transfer-Encoding"},
      Row{47, "Referer"},
      Row{48, "Pragma"},
      Row{49, "If-Match"},
      Row{50, "Host"},
      Row{51, "From"},
      Row{52, "Expect"},
      Row{53, "Content-MD5"},
      Row{54, "Connection"},
      Row{55, "Cache-Control"},
      Row{56, "Authorization"},
      Row{57, "Accept-Language"},
      Row{58, "Accept-Encoding"},
      Row{59, "Accept-Charset"},
      Row{60, "Accept"},
  };
  for (const auto& [keyword, name] : rows) {
    EXPECT_EQ(match({{keyword}}), header(name, "")) << "keyword " << keyword;
    EXPECT_EQ(match({{116, "value"}, {keyword}}), header(name, "value")) << "keyword " << keyword;
    // Either kind of name replaces the other whole.
    EXPECT_EQ(match({{115, std::string(64, 'h')}, {keyword}}), header(name, "")) << "keyword " << keyword;
    EXPECT_EQ(match({{keyword}, {115, "H"}}), header("H", "")) << "keyword " << keyword;
    EXPECT_EQ(match({{46}, {keyword}}), header(name, "")) << "keyword " << keyword;
  }
}

// ---- content

class ClassMapInspectedContent : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httpinsp_content", tokens, form);
  }
};

// The call of a command without name and line number.
Events content(const std::string& expression, const std::string& offset) {
  return {"bind 2",
          "call cm_update_http_content_match(u16 7, '', u32 0, '" + expression + "', u8 " + offset + ", u8 1)",
          "return 0"};
}

std::string characters(std::size_t count) { return std::string(count, 'c'); }

const Events kTooLong = {
    "bind 2", out("Error: content expression length with offset value cannot be greater than 255\n"), "return 1"};

TEST_F(ClassMapInspectedContent, EveryKeyword) {
  EXPECT_EQ(match({{145, "secret"}}), content("secret", "0"));
  EXPECT_EQ(match({{146, 5}}), content("", "5"));
  EXPECT_EQ(match({{145, nullptr}}), content("", "0"));
  EXPECT_EQ(match({{146, 5}, {146, nullptr}}), content("", "0"));
  EXPECT_EQ(match({{145, "a long expression"}, {146, 5}, {145, "ab"}, {146, 6}}), content("ab", "6"));
  EXPECT_EQ(match({{145, " [^?\x01%s%n\xff"}}), content(" [^?\\x01%s%n\\xff", "0"));
}

TEST_F(ClassMapInspectedContent, TheOffsetIsTheLowByte) {
  EXPECT_EQ(match({{146, 255}}), content("", "255"));
  EXPECT_EQ(match({{146, 256}}), content("", "0"));
  EXPECT_EQ(match({{146, 257}}), content("", "1"));
  EXPECT_EQ(match({{146, 300}}), content("", "44"));
  EXPECT_EQ(match({{146, 0x12345678}}), content("", "120"));
  EXPECT_EQ(match({{146, 4294967295}}), content("", "255"));
}

TEST_F(ClassMapInspectedContent, LengthAndOffsetReach255) {
  EXPECT_EQ(match({{145, characters(250)}, {146, 5}}), content(characters(250), "5"));
  EXPECT_EQ(match({{145, characters(255)}, {146, 0}}), content(characters(255), "0"));
  EXPECT_EQ(match({{145, characters(255)}}), content(characters(255), "0"));
  EXPECT_EQ(match({{145, "c"}, {146, 254}}), content("c", "254"));
  EXPECT_EQ(match({{145, ""}, {146, 255}}), content("", "255"));
  EXPECT_EQ(match({{146, 5}, {145, characters(250)}}), content(characters(250), "5"));
}

TEST_F(ClassMapInspectedContent, LengthAndOffsetFrom256OnAreRefused) {
  EXPECT_EQ(match({{145, characters(250)}, {146, 6}}), kTooLong);
  EXPECT_EQ(match({{146, 6}, {145, characters(250)}}), kTooLong);
  EXPECT_EQ(match({{145, characters(255)}, {146, 1}}), kTooLong);
  EXPECT_EQ(match({{145, "c"}, {146, 255}}), kTooLong);
  EXPECT_EQ(match({{145, characters(255)}, {146, 255}}), kTooLong);
  EXPECT_EQ(match({{145, characters(250)}, {146, 6}}, kNo), kTooLong);
}

// 300 is sent as 44 and counts as 44.
TEST_F(ClassMapInspectedContent, TheOffsetIsMeasuredAsItIsSent) {
  EXPECT_EQ(match({{145, characters(211)}, {146, 300}}), content(characters(211), "44"));
  EXPECT_EQ(match({{145, characters(212)}, {146, 300}}), kTooLong);
  EXPECT_EQ(match({{145, characters(255)}, {146, 256}}), content(characters(255), "0"));
  EXPECT_EQ(match({{145, characters(255)}, {146, 257}}), kTooLong);
}

TEST_F(ClassMapInspectedContent, TheExpressionIsMeasuredAfterTheCut) {
  EXPECT_EQ(match({{145, characters(256)}}), content(characters(255), "0"));
  EXPECT_EQ(match({{145, characters(300)}, {146, 0}}), content(characters(255), "0"));
  EXPECT_EQ(match({{145, characters(65536)}, {146, 512}}), content(characters(255), "0"));
  EXPECT_EQ(match({{145, characters(300)}, {146, 1}}), kTooLong);
}

// The sum counts when all tokens are read.
TEST_F(ClassMapInspectedContent, LaterTokensMayShortenIt) {
  EXPECT_EQ(match({{145, characters(250)}, {146, 6}, {146, 5}}), content(characters(250), "5"));
  EXPECT_EQ(match({{145, characters(250)}, {146, 6}, {145, "ab"}}), content("ab", "6"));
  EXPECT_EQ(match({{145, "ab"}, {146, 6}, {145, characters(250)}}), kTooLong);
}

}  // namespace
}  // namespace kvel::cli::test::class_map_inspection_texts_test
