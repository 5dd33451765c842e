// Strings that copies share.
#include "collections/shared_string.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace kvel::collections::shared_string_test {
namespace {

TEST(SharedString, HoldsAnyBytes) {
  const std::string bytes("a\0\xff", 3);
  EXPECT_EQ(SharedString(bytes).view(), bytes);
  EXPECT_EQ(SharedString("").view(), "");
  EXPECT_EQ(SharedString().view(), "");
}

TEST(SharedString, CopiesShareTheText) {
  const SharedString one("web");
  SharedString other = one;
  EXPECT_EQ(one.view().data(), other.view().data());
  const SharedString moved = std::move(other);
  EXPECT_EQ(moved.view().data(), one.view().data());
  other = moved;
  EXPECT_EQ(other, one);
  const SharedString& itself = other;
  other = itself;
  EXPECT_EQ(other.view(), "web");
}

TEST(SharedString, IsOrderedByItsBytes) {
  EXPECT_LT(SharedString("a"), SharedString("b"));
  EXPECT_LT(SharedString("a"), SharedString("aa"));
  EXPECT_LT(SharedString(), SharedString("a"));
  EXPECT_LT(SharedString("z"), SharedString("\xc3\xa4"));
  EXPECT_EQ(SharedString("web"), SharedString("web"));
  EXPECT_EQ(SharedString("web"), std::string_view("web"));
  EXPECT_LT(SharedString("web"), std::string_view("wec"));
  EXPECT_LT(std::string_view("wea"), SharedString("web"));
}

}  // namespace
}  // namespace kvel::collections::shared_string_test
