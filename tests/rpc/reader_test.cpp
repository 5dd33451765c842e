#include "rpc/wire/reader.h"

#include <gtest/gtest.h>

#include <msgpack.hpp>
#include <random>

#include "tests/rpc/support.h"

namespace kvel::rpc::reader_test {
namespace {

using testing::from_hex;
using testing::writable_bytes;

// The value in `hex` as text; "none" when it is refused, and "+N" when N bytes follow it.
std::string read(std::string_view hex) {
  std::string bytes = from_hex(hex);
  Reader reader(writable_bytes(bytes));
  const auto value = reader.value();
  if (!value) return "none";
  std::string rest;
  for (std::size_t left = 0; !reader.at_end() && reader.value(); ++left)
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
  EXPECT_EQ(array("90"), 0U);
  EXPECT_EQ(array("9f"), 15U);
  EXPECT_EQ(array("dc 01 00"), 256U);
  EXPECT_EQ(array("dd ff ff ff ff"), 4294967295U);
  for (const char* hex : {"", "dc", "dc 00", "dd 00 00 00", "80", "01", "a0", "c4 00"}) {
    EXPECT_EQ(array(hex), std::nullopt) << hex;
  }
}

// A second opinion: what the library writes is read as what was written.
TEST(Reader, AgreesWithTheLibraryAboutRandomValues) {
  std::mt19937_64 random(20240607);
  for (int round = 0; round < 2000; ++round) {
    const auto number = static_cast<std::int64_t>(random() >> (random() % 64)) * (round % 2 == 0 ? 1 : -1);
    const std::string text(random() % 70000 >> (random() % 17), static_cast<char>(random() % 256));
    msgpack::sbuffer buffer;
    msgpack::packer packer(buffer);
    packer.pack_int64(number).pack(text);
    packer.pack_bin(static_cast<std::uint32_t>(text.size()))
        .pack_bin_body(text.data(), static_cast<std::uint32_t>(text.size()));

    Reader reader(std::as_writable_bytes(std::span(buffer.data(), buffer.size())));
    const auto first = reader.value();
    const auto second = reader.value();
    const auto third = reader.value();
    ASSERT_TRUE(first && second && third && reader.at_end());
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
    std::string bytes(random() % 24, '\0');
    for (char& byte : bytes)
      byte = static_cast<char>(random());
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
