// One session's protocol without a socket.
#include "rpc/server/conversation.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstring>

#include "tests/rpc/support.h"

namespace kvel::rpc::testing::conversation_test {
namespace {

using Next = Conversation::Next;

const Conversation::Admit kAdmit = [] { return true; };

class ConversationTest : public ::testing::Test {
 protected:
  // Feeds bytes and takes one step; what is to be sent is left in `sent_`.
  Next feed(std::string_view hex, Conversation& conversation) {
    const std::string bytes = from_hex(hex);
    in_.append(bytes.data(), bytes.size());
    out_.clear();
    const Next next = conversation.proceed(in_, out_);
    sent_ = to_hex({reinterpret_cast<const char*>(out_.bytes().data()), out_.size()});
    return next;
  }
  void greet(Conversation& conversation) { ASSERT_EQ(feed("4b 56 45 4c 00 01 00 00", conversation), Next::send); }

  RecordingService service_;
  ByteBuffer in_;
  ByteBuffer out_;
  std::string sent_;
};

TEST_F(ConversationTest, BeginsWithGreetings) {
  Conversation conversation(service_, kAdmit);
  EXPECT_EQ(feed("4b 56 45", conversation), Next::receive);
  EXPECT_EQ(feed("4c 00 01 00", conversation), Next::receive);
  EXPECT_EQ(feed("00 00", conversation), Next::send);
  EXPECT_EQ(sent_, "4b 56 45 4c 00 01 00 00");
  EXPECT_EQ(in_.size(), 1U);
  EXPECT_EQ(conversation.error(), "");
}

TEST_F(ConversationTest, RefusesOtherVersionsAndProtocols) {
  Conversation version(service_, kAdmit);
  EXPECT_EQ(feed("4b 56 45 4c 00 02 00 00", version), Next::send_and_close);
  EXPECT_EQ(sent_, "4b 56 45 4c 00 01 00 01");
  EXPECT_EQ(version.error(), "a version of the protocol that is not spoken here");
  in_.clear();
  Conversation protocol(service_, kAdmit);
  EXPECT_EQ(feed("47 45 54 20 2f 20 48 54", protocol), Next::close);
  EXPECT_EQ(sent_, "");
  EXPECT_EQ(protocol.error(), "a greeting of another protocol");
  in_.clear();
  Conversation reserved(service_, kAdmit);
  EXPECT_EQ(feed("4b 56 45 4c 00 01 00 01", reserved), Next::close);
}

// A place is taken by a greeting alone, and by one in words that are spoken here.
TEST_F(ConversationTest, AsksForAPlaceWhenThePeerHasGreeted) {
  int asked = 0;
  const auto admit = [&] { return ++asked > 0; };
  Conversation conversation(service_, admit);
  EXPECT_EQ(feed("4b 56 45 4c 00 01 00", conversation), Next::receive);
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(feed("00", conversation), Next::send);
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(feed("00 00 00 04 92 01 a1 78", conversation), Next::send);
  EXPECT_EQ(asked, 1);
  Conversation version(service_, admit);
  EXPECT_EQ(feed("4b 56 45 4c 00 02 00 00", version), Next::send_and_close);
  EXPECT_EQ(asked, 1);
}

TEST_F(ConversationTest, RefusesASessionAboveTheLimit) {
  Conversation conversation(service_, [] { return false; });
  EXPECT_EQ(feed("4b 56 45 4c 00 01 00 00", conversation), Next::send_and_close);
  EXPECT_EQ(sent_, "4b 56 45 4c 00 01 00 02");
  EXPECT_EQ(conversation.error(), "the session limit is reached");
}

TEST_F(ConversationTest, TakesOneRequestAtATime) {
  Conversation conversation(service_, kAdmit);
  greet(conversation);
  EXPECT_EQ(feed("00 00 00 04 92 01 a1 78 00 00 00 04 92 02 a1 79 00", conversation), Next::send);
  EXPECT_EQ(sent_, "00 00 00 05 92 01 d1 fc 19");
  EXPECT_EQ(feed("", conversation), Next::send);
  EXPECT_EQ(sent_, "00 00 00 05 92 02 d1 fc 19");
  EXPECT_EQ(feed("", conversation), Next::receive);
  EXPECT_EQ(in_.size(), 1U);
}

TEST_F(ConversationTest, EndsWithAMalformedFrame) {
  for (const auto& [hex, error] : {std::pair{"00 00 00 00", "a frame of an impossible length"},
                                   std::pair{"00 10 00 01", "a frame of an impossible length"},
                                   std::pair{"00 00 00 01 c0", "a request is not an array"}}) {
    Conversation conversation(service_, kAdmit);
    in_.clear();
    greet(conversation);
    EXPECT_EQ(feed(hex, conversation), Next::close) << hex;
    EXPECT_EQ(conversation.error(), error);
    EXPECT_EQ(sent_, "");
  }
  EXPECT_TRUE(service_.calls().empty());
}

// cm_add_or_lookup_classmap(0, 0, 0, 0, "", 0), whose result is only returned
constexpr const char* kAdd =
    "00 00 00 22 98 01 b9 63 6d 5f 61 64 64 5f 6f 72 5f 6c 6f 6f 6b 75 70 5f 63 6c 61 73 73 6d 61 70 00 00 00 00 a0 00";

TEST_F(ConversationTest, AResultThatIsNotWrittenIsZeros) {
  Conversation conversation(service_, kAdmit);
  greet(conversation);
  service_.set_reply([](std::span<const Argument> arguments) {
    std::ranges::fill(arguments[6].bytes, std::byte{0x77});
    return Status::ok;
  });
  EXPECT_EQ(feed(kAdd, conversation), Next::send);
  EXPECT_EQ(sent_, "00 00 00 09 93 01 00 c4 04 77 77 77 77");
  service_.set_reply([](std::span<const Argument>) { return Status::ok; });
  EXPECT_EQ(feed(kAdd, conversation), Next::send);
  EXPECT_EQ(sent_, "00 00 00 09 93 01 00 c4 04 00 00 00 00");
}

std::size_t allocated() {
  const auto memory = ::mallinfo2();
  return memory.uordblks + memory.hblkhd;
}

// A session that asked for much once does not hold that for ever. (Sanitizers count nothing here.)
TEST_F(ConversationTest, ALargeResponseIsNotKept) {
  Conversation conversation(service_, kAdmit);
  greet(conversation);
  service_.set_reply([](std::span<const Argument> arguments) {
    std::memset(arguments[3].response->extend(4 << 20), 'x', 4 << 20);
    return Status::ok;
  });
  const std::string get_object =
      from_hex("00 00 00 16 95 01 af 6b 76 65 6c 5f 67 65 74 5f 6f 62 6a 65 63 74 00 01 a1 61");
  in_.append(get_object.data(), get_object.size());
  out_.clear();
  const std::size_t before = allocated();
  ASSERT_EQ(conversation.proceed(in_, out_), Next::send);
  EXPECT_EQ(out_.size(), (4U << 20) + 12);
  out_.clear();
  EXPECT_LT(allocated(), before + (1U << 20));
}

}  // namespace
}  // namespace kvel::rpc::testing::conversation_test
