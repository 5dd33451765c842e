#include "rpc/wire/reader.h"

#include <gtest/gtest.h>

#include <msgpack.hpp>
#include <random>

#include "tests/rpc/support.h"

namespace kvel::rpc::reader_test {
namespace {

using testing::from_hex;
using testing::writable_bytes;

// The first element of an array that holds `hex`, as text; "none" when it is refused, and "+" for each that follows.
std::string read(std::string_view hex) {
  std::string bytes = '\x9f' + from_hex(hex);
  Reader reader(writable_bytes(bytes));
  const auto value = reader.value();
  if (!value) return "none";
  std::string rest;
  while (reader.value())
    rest += "+";
  switch (value->kind) {
    case ValueKind::integer:
      return "integer " + std::to_string(value->number) + rest;
    case ValueKind::text:
      return "text " + std::string(value->text()) + rest;
    case ValueKind::bytes:
      return "bytes " + testing::to_hex(value->text()) + rest;
  }
  return "";
}

TEST(Reader, TakesIntegersOfEveryWidth) {
  EXPECT_EQ(read("00"), "integer 0");
  EXPECT_EQ(read("7f"), "integer 127");
  EXPECT_EQ(read("e0"), "integer -32");
  EXPECT_EQ(read("ff"), "integer -1");
  EXPECT_EQ(read("cc ff"), "integer 255");
  EXPECT_EQ(read("cd ff fe"), "integer 65534");
  EXPECT_EQ(read("ce ff ff ff fd"), "integer 4294967293");
  EXPECT_EQ(read("cf 00 00 00 00 00 00 00 05"), "integer 5");
  EXPECT_EQ(read("d0 80"), "integer -128");
  EXPECT_EQ(read("d1 80 00"), "integer -32768");
  EXPECT_EQ(read("d2 ff ff fc 19"), "integer -999");
  EXPECT_EQ(read("d2 40 f3 00 0a"), "integer 1089667082");
  EXPECT_EQ(read("d3 80 00 00 00 00 00 00 00"), "integer -9223372036854775808");
}

TEST(Reader, AnIntegerAboveItsRangeStaysAboveEveryField) {
  EXPECT_EQ(read("cf ff ff ff ff ff ff ff ff"), "integer 9223372036854775807");
  EXPECT_EQ(read("cf 80 00 00 00 00 00 00 00"), "integer 9223372036854775807");
}

TEST(Reader, TakesTextsAndByteStringsOfEveryWidth) {
  EXPECT_EQ(read("a0"), "text ");
  EXPECT_EQ(read("a3 77 65 62"), "text web");
  EXPECT_EQ(read("d9 03 77 65 62"), "text web");
  EXPECT_EQ(read("da 00 03 77 65 62"), "text web");
  EXPECT_EQ(read("db 00 00 00 03 77 65 62"), "text web");
  EXPECT_EQ(read("c4 00"), "bytes ");
  EXPECT_EQ(read("c4 02 00 ff"), "bytes 00 ff");
  EXPECT_EQ(read("c5 00 02 00 ff"), "bytes 00 ff");
  EXPECT_EQ(read("c6 00 00 00 02 00 ff"), "bytes 00 ff");
  EXPECT_EQ(read("a1 61 01"), "text a+");
}

TEST(Reader, RefusesWhatIsCutOff) {
  for (const char* hex : {"",
                          "cc",
                          "cd ff",
                          "ce ff ff ff",
                          "cf 00 00 00 00 00 00 00",
                          "d0",
                          "d1 80",
                          "d2 00 00 00",
                          "d3 00",
                          "a1",
                          "a3 77 65",
                          "d9",
                          "d9 01",
                          "da 00",
                          "da 00 01",
                          "db ff ff ff ff",
                          "db 00 00 00 04 77 65 62",
                          "c4",
                          "c4 01",
                          "c5 00",
                          "c6 ff ff ff ff 00",
                          "c6 80 00 00 00"}) {
    EXPECT_EQ(read(hex), "none") << hex;
  }
}

TEST(Reader, RefusesEveryOtherForm) {
  for (const char* hex : {"c0", "c1", "c2", "c3", "ca 00 00 00 00", "cb 00 00 00 00 00 00 00 00", "c7 01 00 00",
                          "c8 00 01 00 00", "c9 ff ff ff ff 00", "d4 00 00", "d8 00", "90", "91 00", "dc 00 00",
                          "dd 00 00 00 00", "80", "81 00 00", "de 00 00", "df 00 00 00 00"}) {
    EXPECT_EQ(read(hex), "none") << hex;
  }
}

std::optional<std::uint32_t> array(std::string_view hex) {
  std::string bytes = from_hex(hex);
  return Reader(writable_bytes(bytes)).array();
}

TEST(Reader, TakesTheHeaderOfAnArrayWithoutBelievingIt) {
  EXPECT_EQ(array("91 05"), 1U);
  EXPECT_EQ(array("90"), 0U);
  EXPECT_EQ(array("9f"), 15U);
  EXPECT_EQ(array("dc 01 00"), 256U);
  EXPECT_EQ(array("dd ff ff ff ff"), 4294967295U);
  for (const char* hex : {"", "dc", "dc 00", "dd 00 00 00", "80", "01", "a0", "c4 00"}) {
    EXPECT_EQ(array(hex), std::nullopt) << hex;
  }
}

TEST(Reader, TakesNothingButAnArray) {
  for (const char* hex : {"05", "a1 61", "c4 01 61", "c0", "81 01 02", ""}) {
    std::string bytes = from_hex(hex);
    Reader reader(writable_bytes(bytes));
    EXPECT_EQ(reader.array(), std::nullopt) << hex;
    EXPECT_FALSE(reader.value()) << hex;
    EXPECT_FALSE(reader.is_whole()) << hex;
  }
}

bool is_whole(std::string_view hex) {
  std::string bytes = from_hex(hex);
  return Reader(writable_bytes(bytes)).is_whole();
}

TEST(Reader, KnowsWhetherTheArrayIsThePayload) {
  EXPECT_TRUE(is_whole("90"));
  EXPECT_TRUE(is_whole("92 05 a1 61"));
  EXPECT_FALSE(is_whole("92 05"));
  EXPECT_FALSE(is_whole("92 05 c0"));
  EXPECT_FALSE(is_whole("91 05 00"));
  EXPECT_FALSE(is_whole("90 90"));
}

TEST(Reader, KeepsWhatIsSoundBeforeAFault) {
  for (const char* hex : {"93 05 06", "93 05 06 c0", "93 05 06 91 07", "93 05 06 a2 61", "dd ff ff ff ff 05 06"}) {
    std::string bytes = from_hex(hex);
    Reader reader(writable_bytes(bytes));
    const auto first = reader.value();
    const auto second = reader.value();
    ASSERT_TRUE(first && second) << hex;
    EXPECT_EQ(first->number, 5) << hex;
    EXPECT_EQ(second->number, 6) << hex;
    EXPECT_FALSE(reader.value()) << hex;
    EXPECT_FALSE(reader.is_whole()) << hex;
  }
}

// As many as a request has at most: id, name and 16 arguments.
TEST(Reader, TakesEighteenElementsAndNoMore) {
  for (const char announced : {char{18}, char{19}}) {
    std::string bytes = from_hex("dc 00") + announced + std::string(static_cast<std::size_t>(announced), '\x05');
    Reader reader(writable_bytes(bytes));
    int count = 0;
    while (reader.value())
      ++count;
    EXPECT_EQ(count, 18);
    EXPECT_EQ(reader.is_whole(), announced == 18);
  }
}

TEST(Reader, ReadsRandomValuesAsTheyWereWritten) {
  std::mt19937_64 random(20240607);
  for (int round = 0; round < 2000; ++round) {
    const auto number = static_cast<std::int64_t>(random() >> (random() % 64)) * (round % 2 == 0 ? 1 : -1);
    const std::string text(random() % 70000 >> (random() % 17), static_cast<char>(random() % 256));
    msgpack::sbuffer buffer;
    msgpack::packer packer(buffer);
    packer.pack_array(3).pack_int64(number).pack(text);
    packer.pack_bin(static_cast<std::uint32_t>(text.size()))
        .pack_bin_body(text.data(), static_cast<std::uint32_t>(text.size()));

    Reader reader(std::as_writable_bytes(std::span(buffer.data(), buffer.size())));
    const auto first = reader.value();
    const auto second = reader.value();
    const auto third = reader.value();
    ASSERT_TRUE(first && second && third && reader.is_whole());
    ASSERT_EQ(first->kind, ValueKind::integer);
    ASSERT_EQ(first->number, number);
    ASSERT_EQ(second->kind, ValueKind::text);
    ASSERT_EQ(second->text(), text);
    ASSERT_EQ(third->kind, ValueKind::bytes);
    ASSERT_EQ(third->text(), text);
  }
}

// The sanitizers watch; a value never reaches outside the bytes.
TEST(Reader, StaysWithinRandomBytes) {
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(1 + random() % 24, '\0');
    for (char& byte : bytes)
      byte = static_cast<char>(random());
    if (round % 4 != 0) bytes[0] = '\x9f';
    const auto all = writable_bytes(bytes);
    Reader reader(all);
    while (const auto value = reader.value()) {
      if (value->kind == ValueKind::integer) continue;
      ASSERT_GE(value->data.data(), all.data());
      ASSERT_LE(value->data.data() + value->data.size(), all.data() + all.size());
    }
  }
}

}  // namespace
}  // namespace kvel::rpc::reader_test
