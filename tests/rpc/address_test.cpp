#include "rpc/wire/address.h"

#include <gtest/gtest.h>

namespace kvel::rpc::address_test {
namespace {

TEST(Address, IsAPathWithOrWithoutScheme) {
  EXPECT_EQ(parse_address("/run/kvel/manager")->path(), "/run/kvel/manager");
  EXPECT_EQ(parse_address("unix:/run/kvel/manager")->path(), "/run/kvel/manager");
  EXPECT_EQ(parse_address("unix:manager.socket")->path(), "manager.socket");
  EXPECT_EQ(parse_address("manager.socket")->text(), "unix:manager.socket");
  EXPECT_EQ(parse_address("a:b")->path(), "a:b");
  EXPECT_EQ(parse_address("unix:tcp:name")->path(), "tcp:name");
}

TEST(Address, OtherTransportsAreRefusedByName) {
  EXPECT_EQ(parse_address("tcp:host:4000").error(),
            "addresses that begin with tcp: are not supported yet; use unix:PATH or a path");
  EXPECT_EQ(parse_address("tls:host:4000").error(),
            "addresses that begin with tls: are not supported yet; use unix:PATH or a path");
}

TEST(Address, AnEmptyPathIsRefused) {
  EXPECT_EQ(parse_address("").error(), "the address names no socket path");
  EXPECT_EQ(parse_address("unix:").error(), "the address names no socket path");
}

TEST(Address, APathThatNoSocketTakesIsRefused) {
  EXPECT_EQ(parse_address("/" + std::string(106, 'a'))->path().size(), 107U);
  EXPECT_EQ(parse_address("/" + std::string(107, 'a')).error(),
            "the socket path is too long: 108 bytes, at most 107 fit");
  EXPECT_EQ(parse_address(std::string_view("/a\0b", 4)).error(), "a socket path holds no NUL byte");
}

}  // namespace
}  // namespace kvel::rpc::address_test
