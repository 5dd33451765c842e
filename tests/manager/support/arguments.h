// Arguments of calls as a test writes them, each with its type, and the service that takes them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "rpc/calls/call_table.h"
#include "rpc/calls/service.h"

namespace kvel::manager::testing {

struct Value {
  rpc::ArgType type = rpc::ArgType::u8;
  std::uint32_t number = 0;
  std::string text{};  // of a string, or the bytes of a buffer
};

inline Value u8(std::uint32_t number) { return {rpc::ArgType::u8, number}; }
inline Value u16(std::uint32_t number) { return {rpc::ArgType::u16, number}; }
inline Value u32(std::uint32_t number) { return {rpc::ArgType::u32, number}; }
inline Value session() { return {rpc::ArgType::session, 0x12345678}; }
inline Value string(std::string text) { return {rpc::ArgType::string, 0, std::move(text)}; }
inline Value buffer(std::string bytes) { return {rpc::ArgType::buffer, 0, std::move(bytes)}; }
inline Value response() { return {rpc::ArgType::response}; }

// The big-endian bytes of a word.
inline std::string word(std::uint32_t number) {
  return {static_cast<char>(number >> 24U), static_cast<char>(number >> 16U), static_cast<char>(number >> 8U),
          static_cast<char>(number)};
}

// Calls with arguments of exactly the types that the call table wants. Returned buffers and the response are in their
// values afterwards.
inline Status call_with(rpc::Service& service, std::string_view name, std::vector<Value>& values) {
  const std::size_t row = rpc::find_call(name);
  EXPECT_NE(row, rpc::kNoCall) << name;
  if (row == rpc::kNoCall) return Status::unknown_call;
  const auto shapes = rpc::kCalls[row].args();
  EXPECT_EQ(values.size(), shapes.size()) << name;
  rpc::ResponseBuffer answer;
  std::vector<rpc::Argument> arguments(values.size());
  for (std::size_t index = 0; index < values.size(); ++index) {
    Value& value = values[index];
    EXPECT_EQ(value.type, shapes[index].type) << name << " argument " << index;
    arguments[index].type = value.type;
    arguments[index].number = value.number;
    if (value.type == rpc::ArgType::buffer) {
      EXPECT_EQ(value.text.size(), shapes[index].length) << name << " argument " << index;
      arguments[index].bytes = std::as_writable_bytes(std::span(value.text.data(), value.text.size()));
    } else if (value.type == rpc::ArgType::response) {
      arguments[index].response = &answer;
    } else {
      arguments[index].text = value.text;
    }
  }
  const Status status = service.call(row, arguments);
  const std::string_view answered(reinterpret_cast<const char*>(answer.bytes().data()), answer.size());
  for (Value& value : values) {
    if (value.type == rpc::ArgType::response) value.text = answered;
  }
  return status;
}
inline Status call(rpc::Service& service, std::string_view name, std::vector<Value> values) {
  return call_with(service, name, values);
}

}  // namespace kvel::manager::testing
