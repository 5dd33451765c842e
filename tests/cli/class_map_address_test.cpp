// kvelclassmap_configsrcdstaddr: a source or destination address.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/address_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_address_test {
namespace {

class ClassMapAddress : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_configsrcdstaddr", tokens, form);
  }
};

// What the call carries; with its defaults, what a command without tokens sends.
struct Address {
  std::uint32_t mode = 1;
  std::uint32_t direction = 0;
  std::string name = {};
  std::uint32_t source = 0;
  std::uint32_t source_mask = 0;
  std::uint32_t destination = 0;
  std::uint32_t destination_mask = 0;
  std::uint32_t add = 1;
  std::uint32_t line = 0;
};

Events sent(const Address& address) {
  const auto u32 = [](std::uint32_t value) { return "u32 " + std::to_string(value) + ", "; };
  return {"bind 2",
          "call cm_update_class_to_ip(u16 7, session 0x01020304, u8 0, u8 " + std::to_string(address.mode) + ", " +
              u32(address.direction) + "'" + address.name + "', " + u32(address.source) + u32(address.source_mask) +
              u32(address.destination) + u32(address.destination_mask) + "u8 " + std::to_string(address.add) +
              ", u32 " + std::to_string(address.line) + ")",
          "return 0"};
}

Events refused(const std::string& message) { return {"bind 2", out(message), "return 1"}; }

const Events kBadAddress = refused("Error: Invalid IP address\n");
const Events kBadMask = refused("Error: Invalid network mask.\n");

TEST_F(ClassMapAddress, AddsASource) {
  EXPECT_EQ(match({{8, "web"}, {9}, {201, 20}, {211, 0x0a010200}, {212, 0xffffff00}}),
            (Events{"bind 2",
                    "call cm_update_class_to_ip(u16 7, session 0x01020304, u8 0, u8 0, u32 1, 'web', u32 167838208, "
                    "u32 4294967040, u32 0, u32 0, u8 1, u32 20)",
                    "return 0"}));
}

TEST_F(ClassMapAddress, RemovesADestinationInTheNoForm) {
  EXPECT_EQ(match({{8, "web"}, {213, 0x0a010200}, {214, 0xffffff00}}, kNo),
            (Events{"bind 2",
                    "call cm_update_class_to_ip(u16 7, session 0x01020304, u8 0, u8 1, u32 0, 'web', u32 0, u32 0, "
                    "u32 167838208, u32 4294967040, u8 0, u32 0)",
                    "return 0"}));
}

TEST_F(ClassMapAddress, EveryKeyword) {
  struct Row {
    Tokens tokens;
    Address address;
  };
  const std::vector<Row> rows = {
      {{{8, "web"}}, {.name = "web"}},
      {{{9}}, {.mode = 0}},
      {{{10}}, {.mode = 1}},
      {{{9}, {10}}, {.mode = 1}},
      {{{201, 20}}, {.line = 20}},
      {{{211, 0x0a010101}}, {.direction = 1, .source = 0x0a010101}},
      {{{212, 0xffff0000}}, {.direction = 1, .source_mask = 0xffff0000}},
      {{{213, 0x0a010101}}, {.direction = 0, .destination = 0x0a010101, .destination_mask = 0xffffffff}},
      {{{214, 0xffff0000}}, {.direction = 0, .destination_mask = 0xffff0000}},
      {{{211, 0x0a010101}, {213, 0x0a010102}},
       {.direction = 0, .source = 0x0a010101, .destination = 0x0a010102, .destination_mask = 0xffffffff}},
      {{{211, 0x0a010101}, {214, 0xff000000}}, {.direction = 0, .source = 0x0a010101, .destination_mask = 0xff000000}},
      {{{213, 0x0a010101}, {211, 0x0a010102}},
       {.direction = 1, .source = 0x0a010102, .destination = 0x0a010101, .destination_mask = 0xffffffff}},
      {{{213, 0x0a010101}, {212, 0xff000000}},
       {.direction = 1, .source_mask = 0xff000000, .destination = 0x0a010101, .destination_mask = 0xffffffff}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(match(rows[index].tokens), sent(rows[index].address)) << "row " << index;
  }
}

TEST_F(ClassMapAddress, ASourceWithoutAMaskLeavesTheMaskZero) {
  EXPECT_EQ(match({{211, 0x0a010101}}), sent({.direction = 1, .source = 0x0a010101, .source_mask = 0}));
}

TEST_F(ClassMapAddress, ADestinationWithoutAMaskIsOneHost) {
  EXPECT_EQ(match({{213, 0x0a010101}}), sent({.destination = 0x0a010101, .destination_mask = 0xffffffff}));
}

TEST_F(ClassMapAddress, ADestinationTakesBackAnEarlierMask) {
  EXPECT_EQ(match({{214, 0xffff0000}, {213, 0x0a010101}}),
            sent({.destination = 0x0a010101, .destination_mask = 0xffffffff}));
  EXPECT_EQ(match({{214, 0xff00ff00}, {213, 0x0a010101}}),
            sent({.destination = 0x0a010101, .destination_mask = 0xffffffff}));
  EXPECT_EQ(match({{213, 0x0a010101}, {214, 0xffff0000}}),
            sent({.destination = 0x0a010101, .destination_mask = 0xffff0000}));
  EXPECT_EQ(match({{212, 0xffff0000}, {211, 0x0a010101}}),
            sent({.direction = 1, .source = 0x0a010101, .source_mask = 0xffff0000}));
}

TEST_F(ClassMapAddress, NullNumbersAreZero) {
  EXPECT_EQ(match({{211, nullptr}}), sent({.direction = 1}));
  EXPECT_EQ(match({{212, nullptr}}), sent({.direction = 1}));
  EXPECT_EQ(match({{213, nullptr}}), sent({.destination_mask = 0xffffffff}));
  EXPECT_EQ(match({{214, nullptr}}), sent({}));
  EXPECT_EQ(match({{213, 0x0a010101}, {214, nullptr}}), sent({.destination = 0x0a010101, .destination_mask = 0}));
}

TEST_F(ClassMapAddress, HostAddressesAreAccepted) {
  for (std::uint32_t address : kHostAddresses) {
    EXPECT_EQ(match({{211, address}}), sent({.direction = 1, .source = address})) << address;
    EXPECT_EQ(match({{213, address}}), sent({.destination = address, .destination_mask = 0xffffffff})) << address;
  }
  EXPECT_EQ(match({{211, 0}}), sent({.direction = 1}));
  EXPECT_EQ(match({{213, 0}}), sent({.destination_mask = 0xffffffff}));
}

TEST_F(ClassMapAddress, OtherAddressesAreRefused) {
  for (std::uint32_t address : kNoHostAddresses) {
    for (std::uint32_t keyword : {211, 213}) {
      EXPECT_EQ(match({{keyword, address}}), kBadAddress) << keyword << " " << address;
      EXPECT_EQ(match({{keyword, address}}, kNo), kBadAddress) << keyword << " " << address;
    }
  }
}

TEST_F(ClassMapAddress, ContiguousMasksAreAccepted) {
  for (std::uint32_t mask : kMasks) {
    EXPECT_EQ(match({{212, mask}}), sent({.direction = 1, .source_mask = mask})) << mask;
    EXPECT_EQ(match({{214, mask}}), sent({.destination_mask = mask})) << mask;
  }
  EXPECT_EQ(match({{212, 0}}), sent({.direction = 1}));
  EXPECT_EQ(match({{214, 0}}), sent({}));
}

// With the message that ends with a full stop.
TEST_F(ClassMapAddress, OtherMasksAreRefused) {
  for (std::uint32_t mask : kNoMasks) {
    EXPECT_EQ(match({{211, 0x0a010101}, {212, mask}}), kBadMask) << mask;
    EXPECT_EQ(match({{213, 0x0a010101}, {214, mask}}), kBadMask) << mask;
    EXPECT_EQ(match({{212, mask}}), kBadMask) << mask;
    EXPECT_EQ(match({{214, mask}}, kNo), kBadMask) << mask;
  }
}

TEST_F(ClassMapAddress, TheAddressIsCheckedBeforeTheMask) {
  EXPECT_EQ(match({{212, 0xff00ff00}, {211, 0x7f000001}}), kBadAddress);
  EXPECT_EQ(match({{213, 0x7f000001}, {214, 0xff00ff00}}), kBadAddress);
}

// The last address or mask decides; what was typed for the other direction is sent as it is.
TEST_F(ClassMapAddress, OnlyTheLastDirectionIsChecked) {
  // source last
  EXPECT_EQ(match({{213, 0x7f000001}, {214, 0xff00ff00}, {211, 0x0a010101}}),
            sent({.direction = 1, .source = 0x0a010101, .destination = 0x7f000001, .destination_mask = 0xff00ff00}));
  EXPECT_EQ(
      match({{213, 0xffffffff}, {212, 0xffff0000}}),
      sent({.direction = 1, .source_mask = 0xffff0000, .destination = 0xffffffff, .destination_mask = 0xffffffff}));
  EXPECT_EQ(match({{211, 0x7f000001}, {213, 0x0a010101}, {212, 0xffff0000}}), kBadAddress);
  EXPECT_EQ(match({{212, 0xff00ff00}, {213, 0x0a010101}, {211, 0x0a010101}}), kBadMask);
  // destination last
  EXPECT_EQ(match({{211, 0x7f000001}, {212, 0xff00ff00}, {213, 0x0a010101}}), sent({.source = 0x7f000001,
                                                                                    .source_mask = 0xff00ff00,
                                                                                    .destination = 0x0a010101,
                                                                                    .destination_mask = 0xffffffff}));
  EXPECT_EQ(match({{211, 0xffffffff}, {214, 0xffff0000}}),
            sent({.source = 0xffffffff, .destination_mask = 0xffff0000}));
  EXPECT_EQ(match({{213, 0x7f000001}, {211, 0x0a010101}, {214, 0xffff0000}}), kBadAddress);
  EXPECT_EQ(match({{214, 0xff00ff00}, {211, 0x0a010101}, {214, 0xff00ff00}}), kBadMask);
}

TEST_F(ClassMapAddress, OtherTokensLeaveTheDirection) {
  EXPECT_EQ(match({{211, 0x0a010101}, {8, "web"}, {9}, {201, 20}}),
            sent({.mode = 0, .direction = 1, .name = "web", .source = 0x0a010101, .line = 20}));
  EXPECT_EQ(match({{213, 0x7f000001}, {8, "web"}}), kBadAddress);
}

}  // namespace
}  // namespace kvel::cli::test::class_map_address_test
