// Makes calls of a service the way a channel does, with each argument as the call table wants it.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "rpc/calls/call_table.h"
#include "rpc/calls/service.h"

namespace kvel::manager::testing {

inline constexpr std::uint8_t kMatchAny = 0;
inline constexpr std::uint8_t kMatchAll = 1;

// A fixed field with a text at its start, the rest zero.
template <std::size_t N>
std::array<std::byte, N> field(std::string_view text) {
  std::array<std::byte, N> bytes{};
  std::memcpy(bytes.data(), text.data(), std::min(text.size(), N));
  return bytes;
}

template <std::size_t N>
std::string string_of(const std::array<std::byte, N>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), N};
}

struct ListAnswer {
  Status status = Status::internal;
  std::string response;
  std::string more;    // 4 bytes
  std::string cursor;  // 65 or 66 bytes
};

struct Text {
  Status status = Status::internal;
  std::string text;
};

class Client {
 public:
  explicit Client(rpc::Service& service, std::uint16_t context = 0) : service_(service), context_(context) {}

  // The word that the last add or lookup returned.
  std::string word;

  Status create(std::string_view name, std::uint8_t type = 0, std::uint8_t mode = kMatchAll, std::uint8_t add = 1) {
    std::array<std::byte, 4> out{std::byte{9}, std::byte{9}, std::byte{9}, std::byte{9}};
    const std::array arguments{number(rpc::ArgType::u16, context_),
                               number(rpc::ArgType::session, 0x12345678),
                               number(rpc::ArgType::u8, type),
                               number(rpc::ArgType::u8, mode),
                               string(name),
                               number(rpc::ArgType::u8, add),
                               buffer(out)};
    const Status status = call("cm_add_or_lookup_classmap", arguments);
    word = string_of(out);
    return status;
  }
  Status remove(std::string_view name, std::uint8_t type = 0) { return create(name, type, kMatchAll, 0); }

  Status describe(std::string_view name, std::string_view text, std::uint8_t add = 1) {
    const std::array arguments{number(rpc::ArgType::u16, context_), number(rpc::ArgType::session, 0x12345678),
                               string(name), string(text), number(rpc::ArgType::u8, add)};
    return call("cm_update_classdesc", arguments);
  }

  ListAnswer list(std::uint32_t kind, std::array<std::byte, 65> cursor = {}) {
    return page("cm_classmap_get_list", kind, cursor);
  }
  ListAnswer policy_maps(std::uint32_t kind, std::array<std::byte, 65> cursor = {}) {
    return page("cm_policymap_get_list", kind, cursor);
  }
  ListAnswer objects(std::uint32_t kind = 0, std::array<std::byte, 66> cursor = {}) {
    return page("kvel_get_objects", kind, cursor);
  }

  Text object(std::string_view name, std::uint32_t kind = 5) {
    rpc::ResponseBuffer response;
    const std::array arguments{number(rpc::ArgType::u16, context_), number(rpc::ArgType::u32, kind), string(name),
                               holder(response)};
    const Status status = call("kvel_get_object", arguments);
    return {status, text_of(response)};
  }

  // Every name of a kind, page by page.
  std::vector<std::string> names(std::uint32_t kind = 6) {
    std::vector<std::string> names;
    std::array<std::byte, 65> cursor{};
    while (true) {
      const ListAnswer answer = list(kind, cursor);
      EXPECT_TRUE(succeeded(answer.status));
      for (std::size_t at = 0; at < answer.response.size(); at += 65)
        names.emplace_back(answer.response.substr(at, 65).c_str());
      if (answer.status != Status::more_data) return names;
      cursor = field<65>(answer.cursor);
    }
  }

 private:
  static rpc::Argument number(rpc::ArgType type, std::uint32_t value) {
    rpc::Argument argument;
    argument.type = type;
    argument.number = value;
    return argument;
  }
  static rpc::Argument string(std::string_view text) {
    rpc::Argument argument;
    argument.type = rpc::ArgType::string;
    argument.text = text;
    return argument;
  }
  template <std::size_t N>
  static rpc::Argument buffer(std::array<std::byte, N>& bytes) {
    rpc::Argument argument;
    argument.type = rpc::ArgType::buffer;
    argument.bytes = bytes;
    return argument;
  }
  static rpc::Argument holder(rpc::ResponseBuffer& response) {
    rpc::Argument argument;
    argument.type = rpc::ArgType::response;
    argument.response = &response;
    return argument;
  }
  static std::string text_of(const rpc::ResponseBuffer& response) {
    return {reinterpret_cast<const char*>(response.bytes().data()), response.size()};
  }

  template <std::size_t N>
  ListAnswer page(std::string_view name, std::uint32_t kind, std::array<std::byte, N> cursor) {
    std::array<std::byte, 4> more{std::byte{9}, std::byte{9}, std::byte{9}, std::byte{9}};
    rpc::ResponseBuffer response;
    const std::array arguments{number(rpc::ArgType::u16, context_), number(rpc::ArgType::u32, kind), buffer(cursor),
                               buffer(more), holder(response)};
    const Status status = call(name, arguments);
    return {status, text_of(response), string_of(more), string_of(cursor)};
  }

  Status call(std::string_view name, std::span<const rpc::Argument> arguments) {
    return service_.call(rpc::find_call(name), arguments);
  }

  rpc::Service& service_;
  std::uint16_t context_;
};

}  // namespace kvel::manager::testing
