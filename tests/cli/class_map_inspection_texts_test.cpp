// The inspection rules with texts: a header by its name and value, and the content at an offset.
#include <array>
#include <cstdint>
#include <set>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

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

TEST_F(ClassMapInspectedHeader, AddsAndRemoves) {
  EXPECT_EQ(match({{103, "web"}, {106, 20}, {50}, {116, ".*example"}}),
            (Events{"bind 2", "call cm_update_http_header_match(u16 7, 'web', u32 20, 'Host', '.*example', u8 1)",
                    "return 0"}));
  EXPECT_EQ(match({{103, "web"}, {115, "X-Client"}, {116, ".*example"}}, kNo),
            (Events{"bind 2", "call cm_update_http_header_match(u16 7, 'web', u32 0, 'X-Client', '.*example', u8 0)",
                    "return 0"}));
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

TEST_F(ClassMapInspectedHeader, ValuesAreCutAt255Characters) {
  const std::string longest(255, 'v');
  EXPECT_EQ(match({{116, ""}}), header("", ""));
  EXPECT_EQ(match({{116, nullptr}}), header("", ""));
  EXPECT_EQ(match({{116, std::string(254, 'v')}}), header("", std::string(254, 'v')));
  EXPECT_EQ(match({{116, longest}}), header("", longest));
  EXPECT_EQ(match({{116, longest + "w"}}), header("", longest));
  EXPECT_EQ(match({{116, longest + std::string(65536, 'w')}}), header("", longest));
  EXPECT_EQ(match({{116, longest + "w"}, {116, "ab"}}), header("", "ab"));
  // all fields full at once
  EXPECT_EQ(match({{116, longest + "w"}, {115, std::string(65, 'h')}, {103, std::string(65, 'n')}}),
            (Events{"bind 2",
                    "call cm_update_http_header_match(u16 7, '" + std::string(64, 'n') + "', u32 0, '" +
                        std::string(64, 'h') + "', '" + longest + "', u8 1)",
                    "return 0"}));
}

TEST_F(ClassMapInspectedHeader, ValuesAreNotChecked) {
  EXPECT_EQ(match({{116, " a:(b)\t\x01%s%n\x80\xff"}}), header("", " a:(b)\\x09\\x01%s%n\\x80\\xff"));
}

TEST_F(ClassMapInspectedHeader, IgnoresOtherKeywords) {
  std::set<std::uint32_t> listed = {103, 106, 115, 116};
  for (std::uint32_t keyword = 44; keyword <= 60; ++keyword)
    listed.insert(keyword);
  for (std::uint32_t keyword : {42, 43, 61, 62, 102, 104, 105, 107, 113, 114, 117, 300, 509, 510, 511, 527}) {
    EXPECT_EQ(match({{keyword}}), header("", "")) << "keyword " << keyword;
    EXPECT_EQ(match({{50}, {116, "value"}, {keyword}}), header("Host", "value")) << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{115, "X-Client"}, {116, "value"}}, listed)) {
    EXPECT_EQ(match(tokens), header("X-Client", "value")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(match(tokens), header("", "")) << range;
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

TEST_F(ClassMapInspectedContent, AddsAndRemoves) {
  EXPECT_EQ(match({{103, "web"}, {106, 20}, {145, "secret.*"}, {146, 100}}),
            (Events{"bind 2", "call cm_update_http_content_match(u16 7, 'web', u32 20, 'secret.*', u8 100, u8 1)",
                    "return 0"}));
  EXPECT_EQ(match({{103, "web"}, {145, "secret.*"}, {146, 100}}, kNo),
            (Events{"bind 2", "call cm_update_http_content_match(u16 7, 'web', u32 0, 'secret.*', u8 100, u8 0)",
                    "return 0"}));
}

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

TEST_F(ClassMapInspectedContent, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {103, 106, 145, 146};
  for (std::uint32_t keyword : {102, 104, 105, 107, 144, 147, 401, 402}) {
    EXPECT_EQ(match({{145, "secret"}, {146, 5}, {keyword}}), content("secret", "5")) << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{145, "secret"}, {146, 5}}, listed)) {
    EXPECT_EQ(match(tokens), content("secret", "5")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(match(tokens), content("", "0")) << range;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_inspection_texts_test
