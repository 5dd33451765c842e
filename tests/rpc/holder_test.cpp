// Who owns a response, when it is there, and that nothing of it stays behind.
#include "tests/rpc/channel_fixture.h"

namespace kvel::rpc::testing::holder_test {
namespace {

class Holder : public ChannelTest {
 protected:
  void SetUp() override { ASSERT_EQ(live_holders(), 0U); }
  void TearDown() override { EXPECT_EQ(live_holders(), 0U); }

  std::int32_t get_object(TnrpcResponse& holder) {
    return tnrpc_call("kvel_get_object", 4, 1, 0, 2, 1U, 4, "web", 9, &holder);
  }
  void answer(std::string_view text, Status status = Status::ok) {
    service_.set_reply([=](std::span<const Argument> arguments) {
      arguments[3].response->append(text);
      return status;
    });
  }
};
INSTANTIATE_TEST_SUITE_P(Through, Holder, ::testing::Values(ChannelKind::embedded, ChannelKind::remote), channel_name);

TEST_P(Holder, HoldsTheResponseUntilItIsFreed) {
  answer("{}");
  TnrpcResponse holder{77, &holder};
  tnrpc_init_resp(&holder);
  EXPECT_EQ(holder.length, 0);
  EXPECT_EQ(holder.data, nullptr);
  EXPECT_EQ(get_object(holder), 0);
  EXPECT_EQ(holder.length, 2);
  EXPECT_EQ(std::string(static_cast<char*>(holder.data), 2), "{}");
  EXPECT_EQ(live_holders(), 1U);
  tnrpc_free(&holder);
  EXPECT_EQ(holder.length, 0);
  EXPECT_EQ(holder.data, nullptr);
  EXPECT_EQ(live_holders(), 0U);
}

TEST_P(Holder, MayBeFreedEmptyTwiceAndNotAtAll) {
  answer("{}");
  TnrpcResponse holder;
  tnrpc_init_resp(&holder);
  tnrpc_free(&holder);
  EXPECT_EQ(get_object(holder), 0);
  tnrpc_free(&holder);
  tnrpc_free(&holder);
  EXPECT_EQ(holder.data, nullptr);
  tnrpc_free(nullptr);
  tnrpc_init_resp(nullptr);
}

TEST_P(Holder, OfAnEmptyResponseIsEmpty) {
  TnrpcResponse holder;
  tnrpc_init_resp(&holder);
  EXPECT_EQ(get_object(holder), 0);
  EXPECT_EQ(holder.length, 0);
  EXPECT_EQ(holder.data, nullptr);
  EXPECT_EQ(live_holders(), 0U);
}

TEST_P(Holder, OfAFailedCallIsEmpty) {
  answer("half a result", Status::internal);
  TnrpcResponse holder;
  tnrpc_init_resp(&holder);
  EXPECT_EQ(get_object(holder), -1);
  EXPECT_EQ(holder.length, 0);
  EXPECT_EQ(holder.data, nullptr);
  EXPECT_EQ(live_holders(), 0U);
}

TEST_P(Holder, IsEmptiedByACallThatIsRefused) {
  TnrpcResponse holder{5, &holder};
  EXPECT_EQ(tnrpc_call("kvel_get_object", 4, 1, 65536, 2, 1U, 4, "web", 9, &holder), -996);
  EXPECT_EQ(holder.length, 0);
  EXPECT_EQ(holder.data, nullptr);
}

TEST_P(Holder, ManyAreCounted) {
  answer("{}");
  std::array<TnrpcResponse, 3> holders;
  for (TnrpcResponse& holder : holders) {
    tnrpc_init_resp(&holder);
    EXPECT_EQ(get_object(holder), 0);
  }
  EXPECT_EQ(live_holders(), 3U);
  for (TnrpcResponse& holder : holders)
    tnrpc_free(&holder);
}

TEST_P(Holder, OfOnePageDoesNotShineThroughInTheNext) {
  answer("a long first page");
  TnrpcResponse holder;
  tnrpc_init_resp(&holder);
  EXPECT_EQ(get_object(holder), 0);
  tnrpc_free(&holder);
  answer("2nd");
  tnrpc_init_resp(&holder);
  EXPECT_EQ(get_object(holder), 0);
  EXPECT_EQ(std::string(static_cast<char*>(holder.data), static_cast<std::size_t>(holder.length)), "2nd");
  tnrpc_free(&holder);
}

TEST(HolderWithoutChannel, IsEmptied) {
  TnrpcResponse holder{5, &holder};
  EXPECT_EQ(tnrpc_call("kvel_get_object", 4, 1, 0, 2, 1U, 4, "web", 9, &holder), -997);
  EXPECT_EQ(holder.length, 0);
  EXPECT_EQ(holder.data, nullptr);
}

}  // namespace
}  // namespace kvel::rpc::testing::holder_test
