// The four members of SSL-proxy services.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::ssl_proxy_test {
namespace {

using namespace std::string_literals;

const std::string k64(64, 'x');  // the longest name

class SslProxyMember : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("sslproxy_submode_config", tokens, form); }
};

struct Member {
  std::uint32_t keyword_id;
  const char* call;
};

constexpr std::array kMembers = {
    Member{4, "call cm_update_key(u16 7, "},         // key
    Member{6, "call cm_update_cert(u16 7, "},        // certificate
    Member{8, "call cm_update_chaingrp(u16 7, "},    // chain group
    Member{18, "call cm_update_param_map(u16 7, "},  // SSL parameter-map
};

Events sent(const Member& member, const std::string& service, const std::string& name, const std::string& add = "1") {
  return {"bind 2", member.call + ("'" + service) + "', '" + name + "', u8 " + add + ")", "return 0"};
}

const Events kNothingToSend = {"bind 2", "return 1"};

// The tokens after it are not read, not even another of its kind.
TEST_F(SslProxyMember, TheFirstMemberEndsTheWalk) {
  for (const Member& first : kMembers) {
    for (const Member& second : kMembers) {
      EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, "a"}, {second.keyword_id, "b"}}), sent(first, "shop", "a"));
      EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, "a"}, {second.keyword_id}}), sent(first, "shop", "a"));
    }
    EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, "a"}, {3, "other"}}), sent(first, "shop", "a"));
    EXPECT_EQ(config({{3, "shop"}, {first.keyword_id, ""}, {4, "b"}}), sent(first, "shop", ""));
  }
}

TEST_F(SslProxyMember, AServiceNamedAfterItsMemberIsEmpty) {
  for (const Member& member : kMembers) {
    EXPECT_EQ(config({{member.keyword_id, "a"}, {3, "shop"}}), sent(member, "", "a"));
    EXPECT_EQ(config({{member.keyword_id, "a"}}), sent(member, "", "a"));
    EXPECT_EQ(config({{member.keyword_id, "a"}, {3}}), sent(member, "", "a"));  // unreadable
  }
}

TEST_F(SslProxyMember, Names) {
  for (const Member& member : kMembers) {
    const std::uint32_t keyword = member.keyword_id;
    EXPECT_EQ(config({{3, nullptr}, {keyword, nullptr}}), sent(member, "", ""));
    EXPECT_EQ(config({{3, k64}, {keyword, k64}}), sent(member, k64, k64));
    EXPECT_EQ(config({{3, k64 + "y"}, {keyword, k64 + "z"}}), sent(member, k64, k64));
    EXPECT_EQ(config({{3, "s"}, {keyword, k64 + std::string(65536, 'z')}}), sent(member, "s", k64));
    EXPECT_EQ(config({{3, k64 + "y"}, {3, "ab"}, {keyword, "c"}}), sent(member, "ab", "c"));
    EXPECT_EQ(config({{3, "ab"}, {3, nullptr}, {keyword, "c"}}), sent(member, "", "c"));
    EXPECT_EQ(config({{3, "#s"}, {keyword, "#k"}}), sent(member, "#s", "#k"));  // not for new names
    EXPECT_EQ(config({{3, "%s"}, {keyword, "\x01\xff"}}), sent(member, "%s", "\\x01\\xff"));
  }
}

TEST_F(SslProxyMember, WithoutAMemberThereIsNothingToSend) {
  for (const Form& form : {Form{}, kNo}) {
    EXPECT_EQ(config({}, form), kNothingToSend);
    EXPECT_EQ(config({{3, "shop"}}, form), kNothingToSend);
    EXPECT_EQ(config({{3, "shop"}, {5}, {7}}, form), kNothingToSend);
  }
}

}  // namespace
}  // namespace kvel::cli::test::ssl_proxy_test
