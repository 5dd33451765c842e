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

// Calls with arguments of exactly the types that the call table wants. Returned buffers are in their values afterwards.
inline Status call_with(rpc::Service& service, std::string_view name, std::vector<Value>& values) {
  const std::size_t row = rpc::find_call(name);
  EXPECT_NE(row, rpc::kNoCall) << name;
  if (row == rpc::kNoCall) return Status::unknown_call;
  const auto shapes = rpc::kCalls[row].args();
  EXPECT_EQ(values.size(), shapes.size()) << name;
  std::vector<rpc::Argument> arguments(values.size());
  for (std::size_t index = 0; index < values.size(); ++index) {
    Value& value = values[index];
    EXPECT_EQ(value.type, shapes[index].type) << name << " argument " << index;
    arguments[index].type = value.type;
    arguments[index].number = value.number;
    if (value.type == rpc::ArgType::buffer) {
      EXPECT_EQ(value.text.size(), shapes[index].length) << name << " argument " << index;
      arguments[index].bytes = std::as_writable_bytes(std::span(value.text.data(), value.text.size()));
    } else {
      arguments[index].text = value.text;
    }
  }
  return service.call(row, arguments);
}
inline Status call(rpc::Service& service, std::string_view name, std::vector<Value> values) {
  return call_with(service, name, values);
}

}  // namespace kvel::manager::testing
