#include <gtest/gtest.h>

#include "kvel/rpc.h"

namespace {

TEST(StatusText, CoversWhatTheManagerCanAnswer) {
  EXPECT_STREQ(syserr2str(0), "success");
  EXPECT_STREQ(syserr2str(-999), "the called function is not known to the manager");
  EXPECT_STREQ(syserr2str(-998), "the manager did not answer in time");
  EXPECT_STREQ(syserr2str(-997), "the manager could not be reached");
  EXPECT_STREQ(syserr2str(-996), "the arguments of the call do not fit the called function");
  EXPECT_STREQ(syserr2str(-1), "the manager failed while carrying out the call; nothing was changed");
  EXPECT_STREQ(syserr2str(0x40f30000), "success, more data follows");
  EXPECT_STREQ(syserr2str(0x40f3009b), "the class-map is in use and cannot be deleted");
  EXPECT_STREQ(syserr2str(0x40f3f012), "the configuration store is read-only; nothing was changed");
}

// 0x40f3e000, the fault's number less 0x40f3f040 in the third byte, the character in the last.
TEST(StatusText, LocatesTheErrorInAnExpression) {
  EXPECT_STREQ(syserr2str(0x40f3f041), "the expression has a ( without its )");
  EXPECT_STREQ(syserr2str(0x40f3e101), "the expression has a ( without its ), at character 1");
  EXPECT_STREQ(syserr2str(0x40f3e1ff), "the expression has a ( without its ), at character 255");
  EXPECT_STREQ(syserr2str(0x40f3eb07), "the expression has a (?P<> without a proper name, at character 7");
  EXPECT_STREQ(syserr2str(0x40f3edff), "the expression cannot be used, at character 255");
  EXPECT_STREQ(syserr2str(0x40f3ee00), "unknown status 0x40f3ee00");
  EXPECT_STREQ(syserr2str(0x40f3dfff), "unknown status 0x40f3dfff");
}

// 0x40f34000, 64 for each number of a character that cannot be shown, and its place less 1.
TEST(StatusText, LocatesTheCharacterThatANewNameCannotHave) {
  EXPECT_STREQ(syserr2str(0x40f34000 + 79 * 64 + 4),
               "an object name has only characters that can be shown; this one has U+202E, at character 5");
  EXPECT_STREQ(syserr2str(0x40f34000 + 10 * 64),
               "an object name has only characters that can be shown; this one has U+000A, at character 1");
  EXPECT_STREQ(syserr2str(0x40f34000 + 227 * 64 + 63),
               "an object name has only characters that can be shown; this one has U+E007F, at character 64");
  EXPECT_STREQ(syserr2str(0x40f34000 + 255 * 64 + 1), "an object name must be UTF-8; this one is not, at character 2");
  EXPECT_STREQ(syserr2str(0x40f34000 + 228 * 64), "unknown status 0x40f37900");
}

TEST(StatusText, NamesAnUnknownStatusByItsNumber) {
  EXPECT_STREQ(syserr2str(0x40f3abcd), "unknown status 0x40f3abcd");
  EXPECT_STREQ(syserr2str(1), "unknown status 0x00000001");
  EXPECT_STREQ(syserr2str(-2), "unknown status 0xfffffffe");
  EXPECT_STREQ(syserr2str(INT32_MIN), "unknown status 0x80000000");
}

}  // namespace
