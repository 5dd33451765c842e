// Calls as a plug-in makes them, through both channels.
#include <array>
#include <limits>

#include "tests/rpc/channel_fixture.h"

namespace kvel::rpc::testing::call_test {
namespace {

class Call : public ChannelTest {};
INSTANTIATE_TEST_SUITE_P(Through, Call, ::testing::Values(ChannelKind::embedded, ChannelKind::remote), channel_name);

TEST_P(Call, ReachesTheServiceWithItsArguments) {
  unsigned char result[4] = {0xee, 0xee, 0xee, 0xee};
  service_.set_reply([](std::span<const Argument> arguments) {
    std::memcpy(arguments[6].bytes.data(), "\x00\x00\x00\x07", 4);
    return Status::ok;
  });
  EXPECT_EQ(tnrpc_call("cm_add_or_lookup_classmap", 7, 1, 65535, 6, 4294967295U, 0, 255, 0, 0, 4, "web", 0, 1, 8,
                       static_cast<void*>(result), 4U),
            0);
  EXPECT_EQ(to_hex({reinterpret_cast<char*>(result), 4}), "00 00 00 07");
  EXPECT_EQ(service_.calls(), std::vector<std::string>{"cm_add_or_lookup_classmap, u16 65535, session 4294967295, "
                                                       "u8 255, u8 0, string 'web', u8 1, out 4"});
}

TEST_P(Call, PassesTextsOfAnyBytes) {
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "", 4, "\xff\x01 \xc3\xa4\n", 0, 0), 0);
  EXPECT_EQ(service_.calls(),
            std::vector<std::string>{"cm_update_classdesc, u16 0, session 0, string '', string '\xff\x01 \xc3\xa4\n', "
                                     "u8 0"});
}

TEST_P(Call, ReadsAndReturnsBuffersAndAResponse) {
  std::array<char, 65> cursor{};
  cursor[0] = 'w';
  std::array<char, 4> more = {1, 2, 3, 4};
  service_.set_reply([](std::span<const Argument> arguments) {
    std::ranges::fill(arguments[2].bytes, std::byte{'n'});
    arguments[3].bytes[3] = std::byte{9};
    arguments[4].response->append(std::string_view("first\0second", 12));
    return Status::more_data;
  });
  TnrpcResponse names;
  tnrpc_init_resp(&names);
  EXPECT_EQ(tnrpc_call("cm_classmap_get_list", 5, 1, 3, 2, 8U, 8, static_cast<void*>(cursor.data()), 65U, 8,
                       static_cast<void*>(more.data()), 4U, 9, &names),
            0x40f30000);
  std::string sent = "77";
  for (int count = 0; count < 64; ++count)
    sent += " 00";
  EXPECT_EQ(service_.calls(), std::vector<std::string>{"cm_classmap_get_list, u16 3, u32 8, buffer " + sent +
                                                       ", buffer 01 02 03 04, response"});
  EXPECT_EQ(std::string(cursor.data(), 65), std::string(65, 'n'));
  EXPECT_EQ(to_hex({more.data(), 4}), "01 02 03 09");
  ASSERT_EQ(names.length, 12);
  EXPECT_EQ(std::string(static_cast<char*>(names.data), 12), std::string("first\0second", 12));
  tnrpc_free(&names);
}

TEST_P(Call, AnswersTheStatusOfTheService) {
  for (const std::int32_t status :
       {-1, -996, -999, 0x40f3000a, 0x40f3f012, 0x40f3dead, 1, -2, std::numeric_limits<std::int32_t>::min()}) {
    service_.set_reply([=](std::span<const Argument>) { return static_cast<Status>(status); });
    EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), status);
  }
}

TEST_P(Call, ManyFollowOneAnother) {
  for (int count = 0; count < 1000; ++count) {
    const std::string name = "c" + std::to_string(count);
    ASSERT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, count, 6, 1U, 4, name.c_str(), 4, "", 0, 1), 0);
  }
  const auto calls = service_.calls();
  ASSERT_EQ(calls.size(), 1000U);
  EXPECT_EQ(calls[999], "cm_update_classdesc, u16 999, session 1, string 'c999', string '', u8 1");
}

TEST_P(Call, TakesALargeResponse) {
  constexpr std::size_t kSize = 5'000'003;
  service_.set_reply([](std::span<const Argument> arguments) {
    auto* bytes = arguments[3].response->extend(kSize);
    for (std::size_t index = 0; index < kSize; ++index)
      bytes[index] = static_cast<std::byte>(index * 7);
    return Status::ok;
  });
  for (int round = 0; round < 2; ++round) {
    TnrpcResponse object;
    tnrpc_init_resp(&object);
    ASSERT_EQ(tnrpc_call("kvel_get_object", 4, 1, 0, 2, 1U, 4, "web", 9, &object), 0);
    ASSERT_EQ(object.length, 5'000'003);
    const auto* bytes = static_cast<const unsigned char*>(object.data);
    bool same = true;
    for (std::size_t index = 0; index < kSize; ++index)
      same = same && bytes[index] == static_cast<unsigned char>(index * 7);
    EXPECT_TRUE(same);
    tnrpc_free(&object);
  }
}

TEST_P(Call, ATooLargeResponseIsAFailureOfTheManager) {
  service_.set_reply([](std::span<const Argument> arguments) {
    std::memset(arguments[3].response->extend(67'043'329), 0, 1);  // 64 MiB less 64 KiB, and one
    return Status::ok;
  });
  TnrpcResponse object;
  tnrpc_init_resp(&object);
  EXPECT_EQ(tnrpc_call("kvel_get_object", 4, 1, 0, 2, 1U, 4, "web", 9, &object), -1);
  EXPECT_EQ(object.length, 0);
  EXPECT_EQ(object.data, nullptr);
}

TEST_P(Call, TakesTextsUpToTheirLimitTogether) {
  const std::string longest(983'040, 'x');  // 1 MiB less 64 KiB
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "", 4, longest.c_str(), 0, 1), 0);
  EXPECT_EQ(service_.calls(), std::vector<std::string>{"cm_update_classdesc, u16 0, session 0, string '', string '" +
                                                       longest + "', u8 1"});
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "y", 4, longest.c_str(), 0, 1), -996);
  EXPECT_EQ(service_.calls().size(), 1U);
}

TEST_P(Call, FindsTheManager) {
  EXPECT_EQ(tnrpc_clnt_init(2), 0);
  EXPECT_EQ(tnrpc_clnt_init(2), 0);
  EXPECT_EQ(channel_->last_failure(), "");
  EXPECT_TRUE(service_.calls().empty());
}

TEST_P(Call, NoOtherServiceIsOffered) {
  for (const std::int32_t service : {0, 1, 3, -2, 0x7fffffff})
    EXPECT_EQ(tnrpc_clnt_init(service), -997) << service;
}

TEST(EmbeddedCall, WorksOnTheCallersOwnMemory) {
  RecordingService service;
  EmbeddedChannel channel(service);
  const InstalledChannel installed(channel);
  std::array<char, 4> result{};
  const char* name = "web";
  bool same = false;
  service.set_reply([&](std::span<const Argument> arguments) {
    same = arguments[4].text.data() == name && arguments[6].bytes.data() == reinterpret_cast<std::byte*>(result.data());
    return Status::ok;
  });
  EXPECT_EQ(tnrpc_call("cm_add_or_lookup_classmap", 7, 1, 0, 6, 0U, 0, 0, 0, 0, 4, name, 0, 1, 8,
                       static_cast<void*>(result.data()), 4U),
            0);
  EXPECT_TRUE(same);
}

TEST(RemoteCall, ThatFailsLeavesReturnedBuffersAlone) {
  TempFolder folder;
  RecordingService service;
  const ServerThread server(service, folder.file("manager"));
  RemoteChannel channel(*parse_address(folder.file("manager")), kAmple);
  const InstalledChannel installed(channel);
  service.set_reply([](std::span<const Argument> arguments) {
    std::ranges::fill(arguments[6].bytes, std::byte{0x55});
    return Status::class_map_type_differs;
  });
  std::array<char, 4> result = {1, 2, 3, 4};
  EXPECT_EQ(tnrpc_call("cm_add_or_lookup_classmap", 7, 1, 0, 6, 0U, 0, 0, 0, 0, 4, "web", 0, 1, 8,
                       static_cast<void*>(result.data()), 4U),
            0x40f3000f);
  EXPECT_EQ(to_hex({result.data(), 4}), "01 02 03 04");
}

TEST(NoChannel, IsNobodyThere) {
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -997);
}

TEST(NoChannel, ComesBackWhenAnInstalledOneGoes) {
  RecordingService outer_service;
  RecordingService inner_service;
  EmbeddedChannel outer(outer_service);
  EmbeddedChannel inner(inner_service);
  {
    const InstalledChannel outer_installed(outer);
    {
      const InstalledChannel inner_installed(inner);
      EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 1, 6, 0U, 4, "a", 4, "b", 0, 0), 0);
    }
    EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 2, 6, 0U, 4, "a", 4, "b", 0, 0), 0);
  }
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(inner_service.calls(),
            std::vector<std::string>{"cm_update_classdesc, u16 1, session 0, string 'a', string 'b', u8 0"});
  EXPECT_EQ(outer_service.calls(),
            std::vector<std::string>{"cm_update_classdesc, u16 2, session 0, string 'a', string 'b', u8 0"});
}

class ThrowingChannel final : public Channel {
 public:
  Status bind() override { throw std::bad_alloc(); }
  Status call(std::size_t /*call*/, std::span<const Argument> /*arguments*/) override { throw std::bad_alloc(); }
};

TEST(Exceptions, DoNotCrossTheCBoundary) {
  ThrowingChannel channel;
  const InstalledChannel installed(channel);
  EXPECT_EQ(tnrpc_clnt_init(2), -1);
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0), -1);
}

}  // namespace
}  // namespace kvel::rpc::testing::call_test
