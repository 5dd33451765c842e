#include "rpc/wire/frame.h"

#include <gtest/gtest.h>

#include "tests/rpc/support.h"

namespace kvel::rpc::frame_test {
namespace {

using testing::from_hex;
using testing::to_hex;
using testing::writable_bytes;

constexpr std::size_t kAddClassMap = find_call("cm_add_or_lookup_classmap");
constexpr std::size_t kListClassMaps = find_call("cm_classmap_get_list");

std::string content(ByteBuffer& buffer) {
  return to_hex({reinterpret_cast<const char*>(buffer.bytes().data()), buffer.size()});
}

Argument number(ArgType type, std::uint32_t value) { return {type, value, {}, {}, nullptr}; }
Argument text(std::string_view value) { return {ArgType::string, 0, value, {}, nullptr}; }
Argument bytes(std::span<std::byte> value) { return {ArgType::buffer, 0, {}, value, nullptr}; }
Argument response(ResponseBuffer& value) { return {ArgType::response, 0, {}, {}, &value}; }

TEST(Hello, IsEightBytes) {
  const auto bytes_sent = encode_hello({});
  EXPECT_EQ(to_hex({reinterpret_cast<const char*>(bytes_sent.data()), bytes_sent.size()}), "4b 56 45 4c 00 01 00 00");
  const auto refusal = encode_hello({0x0203, Welcome::full});
  EXPECT_EQ(to_hex({reinterpret_cast<const char*>(refusal.data()), refusal.size()}), "4b 56 45 4c 02 03 00 02");
}

TEST(Hello, IsReadBack) {
  std::string received = from_hex("4b 56 45 4c 02 03 00 01");
  const auto hello = decode_hello(writable_bytes(received));
  ASSERT_TRUE(hello);
  EXPECT_EQ(hello->version, 0x0203);
  EXPECT_EQ(hello->welcome, Welcome::version_refused);
  received = "GET / HT";
  EXPECT_FALSE(decode_hello(writable_bytes(received)));
  received = from_hex("4b 56 45 4d 00 01 00 00");
  EXPECT_FALSE(decode_hello(writable_bytes(received)));
}

TEST(Frame, IsFoundOnceItIsWhole) {
  std::string received = from_hex("00 00 00 02 aa bb cc");
  EXPECT_EQ(scan_frame(writable_bytes(received).first(0), 100).state, FrameScan::State::incomplete);
  EXPECT_EQ(scan_frame(writable_bytes(received).first(3), 100).state, FrameScan::State::incomplete);
  EXPECT_EQ(scan_frame(writable_bytes(received).first(5), 100).state, FrameScan::State::incomplete);
  const FrameScan frame = scan_frame(writable_bytes(received), 100);
  EXPECT_EQ(frame.state, FrameScan::State::complete);
  EXPECT_EQ(frame.size, 6U);
  ASSERT_EQ(frame.payload.size(), 2U);
  EXPECT_EQ(frame.payload[0], std::byte{0xaa});
  EXPECT_EQ(frame.payload[1], std::byte{0xbb});
}

TEST(Frame, OfAnImpossibleLengthIsRefusedByItsHeader) {
  for (const char* header : {"00 00 00 00", "00 00 00 65", "ff ff ff ff", "80 00 00 00"}) {
    std::string received = from_hex(header);
    EXPECT_EQ(scan_frame(writable_bytes(received), 100).state, FrameScan::State::refused) << header;
  }
  std::string received = from_hex("00 00 00 64");
  EXPECT_EQ(scan_frame(writable_bytes(received), 100).state, FrameScan::State::incomplete);
}

TEST(Request, IsAFlatArray) {
  std::array<std::byte, 4> result{};
  const std::array arguments = {number(ArgType::u16, 300),
                                number(ArgType::session, 70000),
                                number(ArgType::u8, 200),
                                number(ArgType::u8, 1),
                                text("web"),
                                number(ArgType::u8, 0),
                                bytes(result)};
  ByteBuffer out;
  encode_request(out, 1, kAddClassMap, arguments);
  EXPECT_EQ(content(out),
            "00 00 00 2c "                                                                    // length
            "98 01 "                                                                          // array of 8, id
            "b9 63 6d 5f 61 64 64 5f 6f 72 5f 6c 6f 6f 6b 75 70 5f 63 6c 61 73 73 6d 61 70 "  // the name
            "cd 01 2c "                                                                       // context
            "ce 00 01 11 70 "                                                                 // session
            "cc c8 01 "                                                                       // type, mode
            "a3 77 65 62 "                                                                    // name
            "00");                                                                            // add; no result
}

TEST(Request, CarriesBuffersThatAreReadButNoResponse) {
  std::array<std::byte, 65> cursor{};
  cursor[0] = std::byte{'w'};
  std::array<std::byte, 4> more{};
  ResponseBuffer names;
  const std::array arguments = {number(ArgType::u16, 0), number(ArgType::u32, 0xffffffff), bytes(cursor), bytes(more),
                                response(names)};
  ByteBuffer out;
  encode_request(out, 0xdeadbeef, kListClassMaps, arguments);
  std::string zeros;
  for (int count = 0; count < 64; ++count)
    zeros += "00 ";
  EXPECT_EQ(content(out),
            "00 00 00 6a 96 ce de ad be ef "
            "b4 63 6d 5f 63 6c 61 73 73 6d 61 70 5f 67 65 74 5f 6c 69 73 74 "  // cm_classmap_get_list
            "00 ce ff ff ff ff "
            "c4 41 77 " +
                zeros + "c4 04 00 00 00 00");
}

// Why a request is refused; "ok" and so on when its frame is sound.
std::string request(std::string_view hex) {
  std::string payload = from_hex(hex);
  const auto read = decode_request(writable_bytes(payload));
  if (!read) return std::string(read.error());
  return read->verdict == Status::ok ? "ok" : read->verdict == Status::unknown_call ? "unknown call" : "bad arguments";
}

// cm_update_classdesc: u16, session, string, string, u8
const std::string kDescription = "b3 63 6d 5f 75 70 64 61 74 65 5f 63 6c 61 73 73 64 65 73 63 ";

TEST(Request, IsReadByTheCallTable) {
  std::string payload = from_hex("97 05 " + kDescription + "cd ff ff ce ff ff ff ff a3 77 65 62 a0 01");
  const auto read = decode_request(writable_bytes(payload));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->id, 5U);
  EXPECT_EQ(read->verdict, Status::ok);
  EXPECT_EQ(read->call, find_call("cm_update_classdesc"));
  EXPECT_EQ(read->arguments[0].type, ArgType::u16);
  EXPECT_EQ(read->arguments[0].number, 65535U);
  EXPECT_EQ(read->arguments[1].type, ArgType::session);
  EXPECT_EQ(read->arguments[1].number, 4294967295U);
  EXPECT_EQ(read->arguments[2].text, "web");
  EXPECT_EQ(read->arguments[3].text, "");
  EXPECT_EQ(read->arguments[4].number, 1U);
}

TEST(Request, WithOtherArgumentsThanTheTableIsAnsweredSo) {
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 61 a1 62 01"), "ok");
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 61 a1 62 cf 00 00 00 00 00 00 00 01"), "ok");
  EXPECT_EQ(request("96 05 " + kDescription + "05 07 a1 61 a1 62"), "bad arguments");                 // one too few
  EXPECT_EQ(request("98 05 " + kDescription + "05 07 a1 61 a1 62 01 01"), "bad arguments");           // one too many
  EXPECT_EQ(request("92 05 " + kDescription), "bad arguments");                                       // none at all
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 61 a1 62 cd 01 00"), "bad arguments");        // u8 256
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 61 a1 62 ff"), "bad arguments");              // u8 -1
  EXPECT_EQ(request("97 05 " + kDescription + "ce 00 01 00 00 07 a1 61 a1 62 01"), "bad arguments");  // u16 65536
  EXPECT_EQ(request("97 05 " + kDescription + "05 cf 00 00 00 01 00 00 00 00 a1 61 a1 62 01"), "bad arguments");
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 c4 01 61 a1 62 01"), "bad arguments");  // bytes for a text
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 01 a1 62 01"), "bad arguments");        // a number for a text
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 61 a1 62 a1 01"), "bad arguments");  // a text for a number
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 00 a1 62 01"), "bad arguments");     // a NUL in a text
}

TEST(Request, ForAnUnknownCallIsAnsweredSo) {
  EXPECT_EQ(request("92 05 a1 78"), "unknown call");
  EXPECT_EQ(request("92 05 a0"), "unknown call");
  EXPECT_EQ(request("95 05 a1 78 01 a1 61 c4 01 00"), "unknown call");
  EXPECT_EQ(request("dc 00 02 05 a1 78"), "unknown call");
}

TEST(Request, ThatIsMalformedEndsTheSession) {
  EXPECT_EQ(request("c0"), "a request is not an array");
  EXPECT_EQ(request("81 00 00"), "a request is not an array");
  EXPECT_EQ(request("90"), "a request without id and name");
  EXPECT_EQ(request("91 05"), "a request without id and name");
  EXPECT_EQ(request("dc 00 13 05 a1 78"), "a request with an impossible number of arguments");
  EXPECT_EQ(request("dd ff ff ff ff 05 a1 78"), "a request with an impossible number of arguments");
  EXPECT_EQ(request("92"), "a request id is not an unsigned 32-bit number");
  EXPECT_EQ(request("92 ff a1 78"), "a request id is not an unsigned 32-bit number");
  EXPECT_EQ(request("92 cf 00 00 00 01 00 00 00 00 a1 78"), "a request id is not an unsigned 32-bit number");
  EXPECT_EQ(request("92 a1 05 a1 78"), "a request id is not an unsigned 32-bit number");
  EXPECT_EQ(request("92 05 05"), "a call name is not a text");
  EXPECT_EQ(request("92 05 c4 01 78"), "a call name is not a text");
  EXPECT_EQ(request("92 05 a2 78"), "a call name is not a text");
  EXPECT_EQ(request("93 05 a1 78"), "a malformed argument");                                     // one is missing
  EXPECT_EQ(request("93 05 a1 78 c0"), "a malformed argument");                                  // nil
  EXPECT_EQ(request("93 05 a1 78 90"), "a malformed argument");                                  // an array in it
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 61 a1 62 c3"), "a malformed argument");  // true
  EXPECT_EQ(request("97 05 " + kDescription + "05 07 a1 61 db ff ff ff ff"), "a malformed argument");
  EXPECT_EQ(request("92 05 a1 78 00"), "bytes after the end of a request");
}

TEST(Answer, CarriesWhatTheCallReturns) {
  std::array<std::byte, 65> cursor{};
  cursor.fill(std::byte{'c'});
  std::array<std::byte, 4> more = {std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
  ResponseBuffer names;
  names.append(std::string_view("ab"));
  const std::array arguments = {number(ArgType::u16, 0), number(ArgType::u32, 0), bytes(cursor), bytes(more),
                                response(names)};
  ByteBuffer out;
  encode_answer(out, 9, Status::more_data, arguments, kCalls[kListClassMaps].args());
  std::string filled;
  for (int count = 0; count < 65; ++count)
    filled += "63 ";
  EXPECT_EQ(content(out), "00 00 00 54 95 09 ce 40 f3 00 00 c4 41 " + filled + "c4 04 00 00 00 01 c4 02 61 62");
}

TEST(Answer, OfAFailureCarriesNothingElse) {
  std::array<std::byte, 4> result = {std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};
  std::array<Argument, 7> arguments;
  arguments[6] = bytes(result);
  ByteBuffer out;
  encode_answer(out, 9, Status::class_map_in_use, arguments, kCalls[kAddClassMap].args());
  EXPECT_EQ(content(out), "00 00 00 07 92 09 ce 40 f3 00 9b");
  out.clear();
  encode_failure(out, 0x12345678, Status::bad_arguments);
  EXPECT_EQ(content(out), "00 00 00 09 92 ce 12 34 56 78 d1 fc 1c");
}

class ReceivedAnswer : public ::testing::Test {
 protected:
  // The result of an answer to request 9 that lists class-maps.
  std::string read(std::string_view hex) {
    std::string payload = from_hex(hex);
    const std::array arguments = {number(ArgType::u16, 0), number(ArgType::u32, 0), bytes(cursor_), bytes(more_),
                                  response(names_)};
    const auto status = decode_answer(writable_bytes(payload), 9, arguments, kCalls[kListClassMaps].args());
    return status ? std::to_string(static_cast<std::int32_t>(*status)) : std::string(status.error());
  }
  bool untouched() const { return cursor_ == kCursorBefore && more_ == kMoreBefore && names_.size() == 0; }

  static std::string filled() {
    std::string hex = "c4 41 ";
    for (int count = 0; count < 65; ++count)
      hex += "63 ";
    return hex;
  }

  static constexpr std::array<std::byte, 65> kCursorBefore = {std::byte{0xee}};
  static constexpr std::array<std::byte, 4> kMoreBefore = {std::byte{0xee}};
  std::array<std::byte, 65> cursor_ = kCursorBefore;
  std::array<std::byte, 4> more_ = kMoreBefore;
  ResponseBuffer names_;
};

TEST_F(ReceivedAnswer, FillsBuffersAndResponse) {
  EXPECT_EQ(read("95 09 00 " + filled() + "c4 04 00 00 00 01 c4 02 61 62"), "0");
  EXPECT_EQ(cursor_[0], std::byte{'c'});
  EXPECT_EQ(cursor_[64], std::byte{'c'});
  EXPECT_EQ(more_[0], std::byte{0});
  EXPECT_EQ(more_[3], std::byte{1});
  ASSERT_EQ(names_.size(), 2U);
  EXPECT_EQ(names_.bytes()[1], std::byte{'b'});
}

TEST_F(ReceivedAnswer, OfAFailureTouchesNothing) {
  EXPECT_EQ(read("92 09 d1 fc 19"), "-999");
  EXPECT_EQ(read("92 09 ce 40 f3 f0 01"), "1089728513");
  EXPECT_EQ(read("92 09 d2 80 00 00 00"), "-2147483648");
  EXPECT_TRUE(untouched());
}

TEST_F(ReceivedAnswer, ThatIsWrongTouchesNothing) {
  EXPECT_EQ(read("c0"), "an answer is not an array of id and status");
  EXPECT_EQ(read("90"), "an answer is not an array of id and status");
  EXPECT_EQ(read("91 09"), "an answer is not an array of id and status");
  EXPECT_EQ(read("92 a1 09 00"), "an answer id is not an unsigned 32-bit number");
  EXPECT_EQ(read("92 08 ff"), "an answer to another request");
  EXPECT_EQ(read("92 09 a1 00"), "a status is not a signed 32-bit number");
  EXPECT_EQ(read("92 09 ce ff ff ff ff"), "a status is not a signed 32-bit number");
  EXPECT_EQ(read("92 09"), "a status is not a signed 32-bit number");
  EXPECT_EQ(read("92 09 00"), "an answer with a wrong number of values");
  EXPECT_EQ(read("93 09 ff c4 00"), "an answer with a wrong number of values");
  EXPECT_EQ(read("94 09 00 " + filled() + "c4 04 00 00 00 01"), "an answer with a wrong number of values");
  EXPECT_EQ(read("dd ff ff ff ff 09 00"), "an answer with a wrong number of values");
  EXPECT_EQ(read("95 09 00 " + filled() + "c4 03 00 00 00 c4 02 61 62"), "a returned buffer of a wrong length");
  EXPECT_EQ(read("95 09 00 " + filled() + "c4 04 00 00 00 01 a2 61 62"), "a returned value is not a byte string");
  EXPECT_EQ(read("95 09 00 " + filled() + "c4 04 00 00 00 01 c6 ff ff ff ff"), "a returned value is not a byte string");
  EXPECT_EQ(read("95 09 00 " + filled() + "c4 04 00 00 00 01 c4 00 00"), "bytes after the end of an answer");
  EXPECT_TRUE(untouched());
}

}  // namespace
}  // namespace kvel::rpc::frame_test
