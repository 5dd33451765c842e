// Every way to get the variable arguments of a call wrong. None may reach the service, and none may break the next
// call.
#include <array>
#include <limits>

#include "tests/rpc/channel_fixture.h"

namespace kvel::rpc::testing::misuse_test {
namespace {

class Misuse : public ChannelTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(service_.calls().empty());
    EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), 0);
  }

  void* result() { return result_.data(); }
  std::array<char, 4> result_{};
};
INSTANTIATE_TEST_SUITE_P(Through, Misuse, ::testing::Values(ChannelKind::embedded, ChannelKind::remote), channel_name);

TEST_P(Misuse, UnknownNames) {
  EXPECT_EQ(tnrpc_call(nullptr, 0), -999);
  EXPECT_EQ(tnrpc_call(nullptr, 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -999);
  EXPECT_EQ(tnrpc_call("", 0), -999);
  EXPECT_EQ(tnrpc_call("cm_update_classdes", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -999);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc2", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -999);
  EXPECT_EQ(tnrpc_call("CM_UPDATE_CLASSDESC", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -999);
  EXPECT_EQ(tnrpc_call("nothing", -1), -999);
  EXPECT_EQ(tnrpc_call("nothing", std::numeric_limits<std::int32_t>::max()), -999);
}

TEST_P(Misuse, ImpossibleAndOtherCounts) {
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", -1), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", std::numeric_limits<std::int32_t>::min()), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", std::numeric_limits<std::int32_t>::max()), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 17), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 4, 1, 0, 6, 0U, 4, "a", 4, "b"), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 6, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0, 0, 0), -996);
}

TEST_P(Misuse, AnotherTypeInEachPlace) {
  // u16, session, string, string, u8
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 0, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 2, 0U, 6, 0U, 4, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 2, 0U, 4, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 8, result(), 4U, 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 2, 0U, 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 1, 0), -996);
  // two swapped
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 6, 0U, 1, 0, 4, "a", 4, "b", 0, 0), -996);
}

TEST_P(Misuse, TypeCodesThatDoNotExist) {
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 3, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 5, 0U, 4, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 7, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 10, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", -1, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 256, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -996);
}

// What follows an unknown code is of unknown width, so nothing of it may be read as a pointer.
TEST_P(Misuse, NothingIsReadAfterAnUnknownTypeCode) {
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 3, 4, 4, 9, 9, 9, 8, 8, 9, 9, 9, 9), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 77), -996);
}

TEST_P(Misuse, NumbersOutOfRange) {
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 65536, 6, 0U, 4, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, -1, 6, 0U, 4, "a", 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 256), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, -1), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, -256), -996);
}

TEST_P(Misuse, NullPointers) {
  const char* no_text = nullptr;
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, no_text, 4, "b", 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, no_text, 0, 0), -996);
  EXPECT_EQ(tnrpc_call("cm_add_or_lookup_classmap", 7, 1, 0, 6, 0U, 0, 0, 0, 0, 4, "a", 0, 1, 8,
                       static_cast<void*>(nullptr), 4U),
            -996);
  EXPECT_EQ(tnrpc_call("kvel_get_object", 4, 1, 0, 2, 1U, 4, "web", 9, static_cast<TnrpcResponse*>(nullptr)), -996);
}

TEST_P(Misuse, BuffersOfAnotherLength) {
  for (const std::uint32_t length : {0U, 3U, 5U, 65U, 0xffffffffU}) {
    EXPECT_EQ(tnrpc_call("cm_add_or_lookup_classmap", 7, 1, 0, 6, 0U, 0, 0, 0, 0, 4, "a", 0, 1, 8, result(), length),
              -996)
        << length;
  }
}

TEST_P(Misuse, AResponseThatTheCallDoesNotHave) {
  TnrpcResponse holder;
  tnrpc_init_resp(&holder);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 9, &holder), -996);
  EXPECT_EQ(holder.data, nullptr);
}

}  // namespace
}  // namespace kvel::rpc::testing::misuse_test
