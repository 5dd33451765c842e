// SSL-proxy services and their members.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/parameter_client.h"

namespace kvel::manager::testing::ssl_proxy_calls_test {
namespace {

class SslProxies : public ::testing::Test {
 protected:
  FakeDisk disk;
  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<FakeStore>(disk)).value();
  ParameterClient client{*manager};
};

std::string name_field(std::string_view name) { return block(65, {{0, std::string(name)}}); }

TEST_F(SslProxies, AreMadeOnceAndDeleted) {
  EXPECT_EQ(client.service("s"), Status::ok);
  EXPECT_EQ(client.service("s"), Status::ok);
  EXPECT_EQ(disk.commits, 1);
  EXPECT_EQ(disk.records, (std::map<FakeDisk::Key, std::string>{{{0, 6, "s", 0}, "{}"}}));
  EXPECT_EQ(client.ssl_proxy("s"), R"({"kind":"ssl-proxy","name":"s"})");
  EXPECT_EQ(ParameterClient(*manager, 1).ssl_proxy("s"), "the SSL-proxy service does not exist");
  EXPECT_EQ(client.remove_service("t"), Status::ssl_proxy_not_found);
  EXPECT_EQ(client.remove_service("s"), Status::ok);
  EXPECT_EQ(client.remove_service("s"), Status::ssl_proxy_not_found);
  EXPECT_TRUE(disk.records.empty());
}

TEST_F(SslProxies, WhatCannotBe) {
  for (const std::string& name : {std::string(), std::string("#s"), std::string(65, 's')}) {
    EXPECT_EQ(client.service(name), Status::invalid_name) << name;
    EXPECT_EQ(client.remove_service(name), Status::invalid_name) << name;
  }
  EXPECT_EQ(client.service("s", 2), Status::bad_arguments);
  EXPECT_EQ(disk.commits, 0);
  EXPECT_EQ(client.service(std::string(64, 's')), Status::ok);
}

TEST_F(SslProxies, MembersAreSetAndTakenAway) {
  ASSERT_EQ(client.service("s"), Status::ok);
  ASSERT_EQ(client.create("p", kSslMap), Status::ok);
  EXPECT_EQ(client.set("param_map", "s", "p"), Status::ok);
  EXPECT_EQ(client.set("chaingrp", "s", "g"), Status::ok);
  EXPECT_EQ(client.set("cert", "s", "c"), Status::ok);
  EXPECT_EQ(client.set("key", "s", "k"), Status::ok);
  EXPECT_EQ(client.ssl_proxy("s"), R"({"kind":"ssl-proxy","name":"s","key":"k","certificate":"c","chain_group":"g",)"
                                   R"("parameter_map":"p"})");
  EXPECT_EQ(disk.records.at({0, 6, "s", 0}), R"({"key":"k","certificate":"c","chain_group":"g","parameter_map":"p"})");
  const int commits = disk.commits;
  EXPECT_EQ(client.set("key", "s", "k"), Status::ok);
  EXPECT_EQ(client.set("param_map", "s", "p"), Status::ok);
  EXPECT_EQ(disk.commits, commits);
  EXPECT_EQ(client.set("key", "s", "k2"), Status::ok);

  EXPECT_EQ(client.unset("cert", "s", "other"), Status::member_not_set);
  EXPECT_EQ(client.unset("cert", "s", "c"), Status::ok);
  EXPECT_EQ(client.unset("cert", "s", "c"), Status::member_not_set);
  EXPECT_EQ(client.unset("param_map", "s", ""), Status::ok);
  EXPECT_EQ(client.unset("param_map", "s", ""), Status::member_not_set);
  EXPECT_EQ(client.ssl_proxy("s"), R"({"kind":"ssl-proxy","name":"s","key":"k2","chain_group":"g"})");
  EXPECT_EQ(client.unset("chaingrp", "s", "g"), Status::ok);
  EXPECT_EQ(client.unset("key", "s", ""), Status::ok);
  EXPECT_EQ(client.ssl_proxy("s"), R"({"kind":"ssl-proxy","name":"s"})");
}

TEST_F(SslProxies, MembersThatCannotBe) {
  ASSERT_EQ(client.service("s"), Status::ok);
  const int commits = disk.commits;
  for (const char* which : {"key", "cert", "chaingrp", "param_map"}) {
    EXPECT_EQ(client.set(which, "s", ""), Status::invalid_name) << which;
    EXPECT_EQ(client.set(which, "s", "#x"), Status::invalid_name) << which;
    EXPECT_EQ(client.set(which, "s", std::string(65, 'x')), Status::invalid_name) << which;
    EXPECT_EQ(client.set(which, "t", "x"), Status::ssl_proxy_not_found) << which;
    EXPECT_EQ(client.set(which, "", "x"), Status::ssl_proxy_not_found) << which;
    EXPECT_EQ(client.unset(which, "t", "x"), Status::ssl_proxy_not_found) << which;
    EXPECT_EQ(client.unset(which, "s", "x"), Status::member_not_set) << which;
    EXPECT_EQ(client.set(which, "s", "x", 2), Status::bad_arguments) << which;
  }
  ASSERT_EQ(client.create("h", kHttpMap), Status::ok);
  ASSERT_EQ(client.create("c", kConnectionMap), Status::ok);
  EXPECT_EQ(client.set("param_map", "s", "p"), Status::parameter_map_not_found);
  EXPECT_EQ(client.set("param_map", "s", "h"), Status::parameter_map_type_differs);
  EXPECT_EQ(client.set("param_map", "s", "c"), Status::parameter_map_type_differs);
  EXPECT_EQ(disk.commits, commits + 2);
  EXPECT_EQ(client.ssl_proxy("s"), R"({"kind":"ssl-proxy","name":"s"})");
}

TEST_F(SslProxies, AFailingStoreChangesNothing) {
  ASSERT_EQ(client.service("s"), Status::ok);
  ASSERT_EQ(client.create("old", kSslMap), Status::ok);
  ASSERT_EQ(client.create("new", kSslMap), Status::ok);
  ASSERT_EQ(client.set("param_map", "s", "old"), Status::ok);
  const std::string before = client.objects();
  disk.fault = StoreError{StoreFault::full, "no space"};
  EXPECT_EQ(client.service("t"), Status::store_full);
  EXPECT_EQ(client.remove_service("s"), Status::store_full);
  EXPECT_EQ(client.set("key", "s", "k"), Status::store_full);
  EXPECT_EQ(client.set("param_map", "s", "new"), Status::store_full);
  EXPECT_EQ(client.unset("param_map", "s", ""), Status::store_full);
  EXPECT_EQ(client.objects(), before);
  disk.fault.reset();
  // The references are those of before, too.
  EXPECT_EQ(client.remove("old", kSslMap), Status::parameter_map_in_use);
  EXPECT_EQ(client.remove("new", kSslMap), Status::ok);
}

TEST_F(SslProxies, AreListedInPagesOfAThousand) {
  EXPECT_EQ(client.list_services().response, "");
  EXPECT_EQ(client.list_services().status, Status::ok);
  for (int number = 0; number < 1001; ++number)
    ASSERT_EQ(client.service("s" + std::to_string(10000 + number)), Status::ok);
  Page page = client.list_services();
  EXPECT_EQ(page.status, Status::more_data);
  EXPECT_EQ(page.more, word(1));
  EXPECT_EQ(page.response.size(), 65000U);
  EXPECT_EQ(page.response.substr(0, 130), name_field("s10000") + name_field("s10001"));
  EXPECT_EQ(page.cursor, name_field("s10999"));
  ASSERT_EQ(client.remove_service("s10999"), Status::ok);
  ASSERT_EQ(client.service("s10999x"), Status::ok);
  page = client.list_services(page);
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(page.response, name_field("s10999x") + name_field("s11000"));
  page.cursor = std::string(65, 'x');
  EXPECT_EQ(client.list_services(page).status, Status::bad_arguments);
}

}  // namespace
}  // namespace kvel::manager::testing::ssl_proxy_calls_test
