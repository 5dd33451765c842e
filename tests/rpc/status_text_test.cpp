#include <gtest/gtest.h>

#include "kvel/rpc.h"

namespace {

TEST(StatusText, SaysWhatTheManagerCanAnswer) {
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

TEST(StatusText, NamesAnUnknownStatusByItsNumber) {
  EXPECT_STREQ(syserr2str(0x40f3abcd), "unknown status 0x40f3abcd");
  EXPECT_STREQ(syserr2str(1), "unknown status 0x00000001");
  EXPECT_STREQ(syserr2str(-2), "unknown status 0xfffffffe");
  EXPECT_STREQ(syserr2str(INT32_MIN), "unknown status 0x80000000");
}

}  // namespace
