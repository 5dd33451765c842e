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

TEST(StatusText, NamesAnUnknownStatusByItsNumber) {
  EXPECT_STREQ(syserr2str(0x40f3abcd), "unknown status 0x40f3abcd");
  EXPECT_STREQ(syserr2str(1), "unknown status 0x00000001");
  EXPECT_STREQ(syserr2str(-2), "unknown status 0xfffffffe");
  EXPECT_STREQ(syserr2str(INT32_MIN), "unknown status 0x80000000");
}

}  // namespace
