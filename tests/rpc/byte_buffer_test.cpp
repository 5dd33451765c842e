#include "rpc/wire/byte_buffer.h"

#include <gtest/gtest.h>

#include <string_view>

namespace kvel::rpc::byte_buffer_test {
namespace {

std::string_view content(const ByteBuffer& buffer) {
  return {reinterpret_cast<const char*>(buffer.bytes().data()), buffer.size()};
}

TEST(ByteBuffer, IsAppendedToAndConsumed) {
  ByteBuffer buffer;
  EXPECT_TRUE(buffer.empty());
  buffer.append("hello", 5);
  buffer.append("", 0);
  buffer.append(" you", 4);
  EXPECT_EQ(content(buffer), "hello you");
  buffer.consume(6);
  EXPECT_EQ(content(buffer), "you");
  buffer.consume(3);
  EXPECT_TRUE(buffer.empty());
}

TEST(ByteBuffer, KeepsItsContentWhenItGrows) {
  ByteBuffer buffer;
  buffer.append("first", 5);
  buffer.consume(3);
  const auto space = buffer.space(100'000);
  ASSERT_GE(space.size(), 100'000U);
  std::ranges::fill(space, std::byte{'x'});
  buffer.commit(100'000);
  EXPECT_EQ(buffer.size(), 100'002U);
  EXPECT_EQ(content(buffer).substr(0, 4), "stxx");
  EXPECT_EQ(content(buffer).back(), 'x');
}

// Memory follows the bytes that have come, so a stranger who announces much gets little.
TEST(ByteBuffer, ReceiveCapacityGrowsWithWhatIsThere) {
  ByteBuffer buffer;
  EXPECT_LE(buffer.space().size(), 4096U);
  buffer.append("\x04\0\0\0", 4);
  EXPECT_LE(buffer.space().size(), 8192U);
  for (int round = 0; round < 10; ++round) {
    const std::size_t before = buffer.size();
    buffer.commit(buffer.space().size());
    EXPECT_LE(buffer.size(), 2 * before + 8192);
  }
}

TEST(ByteBuffer, GivesALargeBlockBackWhenItIsEmpty) {
  ByteBuffer buffer;
  buffer.commit(buffer.space(1'000'000).size());
  buffer.clear();
  EXPECT_TRUE(buffer.empty());
  EXPECT_LE(buffer.space().size(), 4096U);
}

}  // namespace
}  // namespace kvel::rpc::byte_buffer_test
