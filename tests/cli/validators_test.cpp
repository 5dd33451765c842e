// The checks of what a user typed, each rule with its neighbours.
#include "cli/common/validators.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <string>

namespace kvel::cli::validators_test {
namespace {

TEST(HostAddress, TakesUnicastAddresses) {
  for (const std::uint32_t address : {
           0x01000000U,  // 1.0.0.0
           0x0A000001U,  // 10.0.0.1
           0x7EFFFFFFU,  // 126.255.255.255
           0x80000000U,  // 128.0.0.0
           0xDFFFFFFFU,  // 223.255.255.255
       }) {
    EXPECT_TRUE(is_valid_host_address(address)) << std::hex << address;
  }
}

TEST(HostAddress, RefusesWhatIsNoHost) {
  for (const std::uint32_t address : {
           0x00000000U,  // 0.0.0.0
           0x00000001U,  // 0.0.0.1
           0x00FFFFFFU,  // 0.255.255.255
           0x7F000000U,  // 127.0.0.0
           0x7F000001U,  // 127.0.0.1
           0x7FFFFFFFU,  // 127.255.255.255
           0xE0000000U,  // 224.0.0.0
           0xE0000001U,  // 224.0.0.1
           0xEFFFFFFFU,  // 239.255.255.255
           0xF0000001U,  // 240.0.0.1
           0xFFFFFFFEU,  // 255.255.255.254
           0xFFFFFFFFU,  // 255.255.255.255
       }) {
    EXPECT_FALSE(is_valid_host_address(address)) << std::hex << address;
  }
}

TEST(HttpToken, TakesNames) {
  for (const char* text : {"Host", "X-Forwarded-For", "a_b.c", "~", "0", "!#$%&'*+-.^_`|~"}) {
    EXPECT_TRUE(is_http_token(text)) << text;
  }
}

TEST(HttpToken, RefusesNoTextAtAll) {
  EXPECT_FALSE(is_http_token(nullptr));
  EXPECT_FALSE(is_http_token(""));
}

TEST(HttpToken, RefusesEachSeparatorBlankControlAndByteBeyondAscii) {
  for (const char character : std::string("()<>@,;:\\\"/[]?={}")) {
    EXPECT_FALSE(is_http_token((std::string("a") + character + "b").c_str())) << character;
  }
  for (int byte = 1; byte < 256; ++byte) {
    const bool printable = byte > 0x20 && byte < 0x7F;
    if (printable) continue;
    EXPECT_FALSE(is_http_token((std::string("a") + static_cast<char>(byte)).c_str())) << byte;
  }
}

TEST(HttpToken, IsCheckedByAsciiInEveryLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  EXPECT_FALSE(is_http_token("caf\xC3\xA9"));
  EXPECT_TRUE(is_http_token("cafe"));
  std::setlocale(LC_ALL, "C");
}

TEST(NetworkMask, IsARunOfOnesFromTheTop) {
  for (int ones = 1; ones <= 32; ++ones)
    EXPECT_TRUE(is_contiguous_mask(0xFFFFFFFFU << (32 - ones))) << ones;
  EXPECT_TRUE(is_contiguous_mask(0xFFFFFF00U));  // 255.255.255.0
  EXPECT_TRUE(is_contiguous_mask(0x80000000U));  // 128.0.0.0
}

TEST(NetworkMask, RefusesEverythingElse) {
  for (const std::uint32_t mask : {
           0xFF00FF00U,  // 255.0.255.0
           0x000000FFU,  // 0.0.0.255
           0x00000001U, 0x7FFFFFFFU, 0xFFFFFFFDU, 0x40000000U,
           0x00000000U,  // whether 0 is checked at all is the handler's rule
       }) {
    EXPECT_FALSE(is_contiguous_mask(mask)) << std::hex << mask;
  }
}

}  // namespace
}  // namespace kvel::cli::validators_test
